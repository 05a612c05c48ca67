#include "FormMain.h"

#include <QtCore/QFileInfo>
#include <QtCore/QFileSystemWatcher>
#include <QtCore/QMimeDatabase>
#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>
#include <QtGui/QDesktopServices>

#include <algorithm>
#include <cmath>

#include <QtCore/QLocale>
#include <QtCore/QMimeData>
#include <QtCore/QTimer>
#include <QtGui/QDragEnterEvent>
#include <QtGui/QDropEvent>
#include <QtGui/QClipboard>
#include <QtGui/QUndoStack>
#include <QtGui/QCloseEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QPainter>
#include <QtPrintSupport/QPrintDialog>
#include <QtPrintSupport/QPrinter>
#include <QtGui/QCursor>
#include <QtGui/QActionGroup>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStatusBar>

#include "DialogSupport.h"
#include "FormExport.h"
#include "FormHelp.h"
#include "FormIconProperties.h"
#include "FormImport.h"
#include "FormPosition.h"
#include "FormPreview.h"
#include "FormStation.h"
#include "FormProperties.h"
#include "FormResultsIcons.h"
#include "FormSlidePanel.h"
#include "LanguageFont.h"
#include "SlideHost.h"
#include "model/ExportPackage.h"
#include "model/Icon.h"
#include "model/IconTransfer.h"
#include "model/QifResults.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/RegEntry.h"
#include "services/StringIds.h"
#include "services/Text.h"
#include "view/IconView.h"
#include "view/OffscreenSurfaces.h"
#include "view/Colors.h"
#include "view/Picture.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

constexpr int kContentsTopic = 906;
constexpr int kMinimumWidthTwips = 2000;
constexpr int kMinimumHeightTwips = 1000;
constexpr int kScrollPanelWidth = 220;
// Icons on the clipboard, as the text format writes them.
constexpr const char* kIconsMimeType = "application/x-kvoeditor-icons";
// How far pasted copies land from their originals, thousandths of the slide.
constexpr int32_t kPasteOffset = 20;
// The zoom's steps; the largest keeps a zoomed slide within what a raster may hold.
constexpr double kZoomSteps[] = {0.25, 1.0 / 3, 0.5, 2.0 / 3, 0.75, 1.0, 1.25, 1.5, 2.0, 3.0, 4.0};
constexpr int kLargestZoomedSide = 8192;

std::string S(int32_t id) { return LoadResString(id); }

QString Step(int32_t id, const ResArg& argument) {
    return Q(FormatResString(id, {argument}));
}

}  // namespace

FormMain::FormMain() {
    setObjectName("FormMain");
    session_ = new DocumentSession(Recovery::DefaultDirectory(), RecentFiles::DefaultStorePath(), this);
    connect(session_, &DocumentSession::aboutToReplace, this, [this] {
        currentIconView_ = nullptr;
        // The selection is kept by place: the icons themselves are replaced.
        selectedPositions_.clear();
        selectedSlide_ = currentSlide_;
        if (const Slide* slide = Current()) {
            for (int32_t i = 1; i <= slide->Icons().Count(); ++i)
                if (std::find(selection_.begin(), selection_.end(), &slide->Icons().Item(i)) != selection_.end())
                    selectedPositions_.push_back(i);
        }
        selection_.clear();
        view_->SetSlide(nullptr);  // its views let go of the icons that are replaced
    });
    connect(session_, &DocumentSession::replaced, this, [this](int current) {
        if (Document()->Slides().Count() == 0) ShowNoSlide();
        else ShowSlide(std::clamp(current, 1, static_cast<int>(Document()->Slides().Count())), true);
        if (const Slide* slide = Current(); slide != nullptr && currentSlide_ == selectedSlide_) {
            std::vector<const Icon*> icons;
            for (const int32_t position : selectedPositions_)
                if (position <= slide->Icons().Count()) icons.push_back(&slide->Icons().Item(position));
            Select(icons);
        }
        picMain_->update();
    });
    connect(session_, &DocumentSession::documentChanged, this, [this] { ShowDocument(); });
    connect(session_, &DocumentSession::stateChanged, this, [this] { UpdateCaption(); });
    connect(session_, &DocumentSession::recentChanged, this, [this] { UpdateRecentMenu(); });
    std::string settingsProblem;
    viewSettings_ = ReadViewSettings(&settingsProblem);
    if (!settingsProblem.empty()) CurrentPrompt().Message(settingsProblem, S(Str::AppTitle), MessageKind::Exclamation);
    BuildControls();
    connect(session_, &DocumentSession::recoveryFailed, statusText_, &QLabel::setText);
    BuildMenus();
    ApplyLanguageFont(*this);
    frameWidth_ = frameGeometry().width() - width();
    frameHeight_ = frameGeometry().height() - height();
    UpdateCaption();
    ReadDirectories();
    view_ = std::make_unique<SlideView>(*this, *picMain_);
    picMain_->SetView(view_.get());
    ConnectSelection();
    setAcceptDrops(true);
    UpdateEnabling();
    resize(960, 720);
}

FormMain::~FormMain() {
    picMain_->SetView(nullptr);
    view_.reset();
}

void FormMain::BuildControls() {
    central_ = new QWidget(this);
    setCentralWidget(central_);
    central_->installEventFilter(this);

    slidePanel_ = new FormSlidePanel(this);
    addDockWidget(Qt::LeftDockWidgetArea, slidePanel_);
    connect(slidePanel_, &FormSlidePanel::slideChosen, this, [this](int number) { ShowSlide(number); });
    connect(slidePanel_, &FormSlidePanel::moveRequested, this,
            [this](int from, int to) { picMain_->Guarded([&] { MoveSlide(from, to); }); });
    connect(&session_->UndoStack(), &QUndoStack::indexChanged, this, [this] { UpdateSlidePanel(); });
    // The slide keeps its size when zoomed beyond the window, and is scrolled.
    scroller_ = new QScrollArea(central_);
    scroller_->setObjectName("scrMain");
    scroller_->setFrameShape(QFrame::NoFrame);
    scroller_->setAlignment(Qt::AlignCenter);
    scroller_->setBackgroundRole(QPalette::Dark);
    picMain_ = new SlideHost(nullptr);
    scroller_->setWidget(picMain_);
    // Room for the slide however narrow the window: the main window's layout
    // leaves a central area that has none where it was.
    central_->setMinimumSize(static_cast<int>(std::lround(kMinimumWidthTwips / picMain_->TwipsPerPixelX())),
                             static_cast<int>(std::lround(kMinimumHeightTwips / picMain_->TwipsPerPixelY())));
    connect(picMain_, &SlideHost::zoomWheel, this, [this](int steps, const QPoint& pixel) { ZoomBy(steps, pixel); });
    sbMain_ = new QStatusBar(central_);
    sbMain_->setObjectName("sbMain");
    sbMain_->setSizeGripEnabled(false);
    statusText_ = new QLabel(sbMain_);
    statusText_->setObjectName("sbMainText");
    sbMain_->addWidget(statusText_, 1);
    stateText_ = new QLabel(sbMain_);
    stateText_->setObjectName("sbMainState");
    stateText_->setContentsMargins(6, 0, 6, 0);
    stateText_->setAutoFillBackground(true);
    stateText_->hide();
    sbMain_->addPermanentWidget(stateText_);
    zoomText_ = new QLabel(sbMain_);
    zoomText_->setObjectName("sbMainZoom");
    sbMain_->addPermanentWidget(zoomText_);
    scrollPanel_ = new QWidget(sbMain_);
    scrollPanel_->setObjectName("scroll");
    scrollPanel_->setFixedWidth(kScrollPanelWidth);
    sbMain_->addPermanentWidget(scrollPanel_);
    hsSlide_ = new QScrollBar(Qt::Horizontal, central_);
    hsSlide_->setObjectName("hsSlide");
    hsSlide_->setRange(0, 0);
    hsSlide_->setPageStep(1);  // a click in the track moves one slide, as the arrows do
    hsSlide_->setEnabled(false);
    connect(hsSlide_, &QScrollBar::valueChanged, this, [this](int value) {
        if (Document() && value >= 1 && value != currentSlide_) ShowSlide(value);
    });
    // Runs after the current event, once the status bar has laid out its panels.
    cmdDelayedResize_ = new QPushButton(central_);
    cmdDelayedResize_->setObjectName("cmdDelayedResize");
    cmdDelayedResize_->hide();
    pictureWatcher_ = new QFileSystemWatcher(this);
    connect(pictureWatcher_, &QFileSystemWatcher::fileChanged, this, [this](const QString& file) {
        // An editor may save by replacing the file: watch the new one too.
        if (!pictureWatcher_->files().contains(file) && QFileInfo::exists(file)) pictureWatcher_->addPath(file);
        if (Slide* slide = Current(); slide != nullptr && Q(slide->PictureFile()) == file) view_->ReloadPicture();
    });
    connect(cmdDelayedResize_, &QPushButton::clicked, this, [this] {
        const QRect panel(scrollPanel_->mapTo(central_, QPoint(0, 0)), scrollPanel_->size());
        hsSlide_->setGeometry(panel.adjusted(1, 2, -1, -2));
        hsSlide_->raise();
    });
}

void FormMain::BuildMenus() {
    // Every command runs under the one error handler: an error is told and the editor goes on.
    const auto action = [this](QMenu* menu, const char* name, int32_t caption, auto slot, QKeySequence keys = {}) {
        auto* item = menu->addAction(Caption(caption));
        item->setObjectName(name);
        item->setShortcut(keys);
        connect(item, &QAction::triggered, this, [this, slot] { picMain_->Guarded([&] { std::invoke(slot, this); }); });
        return item;
    };
    QMenu* file = menuBar()->addMenu(Caption(Str::MenuFile));
    file->setObjectName("mnuFile");
    action(file, "mnuFileNew", Str::MenuFileNew, &FormMain::FileNew, QKeySequence::New);
    action(file, "mnuFileOpen", Str::MenuFileOpen, &FormMain::FileOpen, QKeySequence::Open);
    needDocument_ << action(file, "mnuFileSave", Str::MenuFileSave, &FormMain::FileSave, QKeySequence::Save);
    needDocument_ << action(file, "mnuFileSaveAs", Str::MenuFileSaveAs, &FormMain::FileSaveAs, QKeySequence::SaveAs);
    needDocument_ << action(file, "mnuFileSaveBinary", Str::MenuFileSaveBinary, &FormMain::FileSaveBinary);
    needDocument_ << action(file, "mnuFileClose", Str::MenuFileClose, &FormMain::FileClose, QKeySequence::Close);
    file->addSeparator();
    needDocument_ << action(file, "mnuFileProperties", Str::MenuFileProperties, &FormMain::FileProperties);
    file->addSeparator();
    action(file, "mnuFileImport", Str::MenuFileImport, &FormMain::FileImport);
    needDocument_ << action(file, "mnuFileExport", Str::MenuFileExport, &FormMain::FileExport);
    file->addSeparator();
    needDocument_ << action(file, "mnuFileEvaluate", Str::MenuFileEvaluate, &FormMain::FileEvaluate);
    needDocument_ << action(file, "mnuFileAverage", Str::MenuFileAverage, &FormMain::FileAverage);
    file->addSeparator();
    needDocument_ << action(file, "mnuFilePrint", Str::MenuFilePrint, &FormMain::FilePrint, QKeySequence::Print);
    needDocument_ << action(file, "mnuFileCapture", Str::MenuFileCapture, &FormMain::FileCapture);
    needDocument_ << action(file, "mnuFileCopyImage", Str::MenuFileCopyImage, &FormMain::FileCopyImage);
    file->addSeparator();
    exitAction_ = action(file, "mnuFileExit", Str::MenuFileExit, &FormMain::FileExit, QKeySequence::Quit);
    fileMenu_ = file;
    UpdateRecentMenu();

    QMenu* edit = menuBar()->addMenu(Caption(Str::MenuEdit));
    edit->setObjectName("mnuEdit");
    // The step's name follows the command, as in every editor.
    const auto stepAction = [this, edit](const char* name, int32_t plain, int32_t withStep, auto perform, auto canChanged,
                                         auto textChanged) {
        auto* item = edit->addAction(Caption(plain));
        item->setObjectName(name);
        item->setEnabled(false);
        QUndoStack* steps = &session_->UndoStack();
        connect(item, &QAction::triggered, this, [this, steps, perform] {
            // Not in the middle of a drag.
            if (picMain_->Captured() == nullptr) picMain_->Guarded([&] { (steps->*perform)(); });
        });
        connect(steps, canChanged, item, &QAction::setEnabled);
        connect(steps, textChanged, item, [item, plain, withStep](const QString& step) {
            QString escaped = step;
            item->setText(step.isEmpty() ? Caption(plain)
                                         : Q(FormatResString(withStep, {escaped.replace('&', "&&").toStdString()})));
        });
        return item;
    };
    stepAction("mnuEditUndo", Str::MenuEditUndo, Str::MenuEditUndoStep, &QUndoStack::undo, &QUndoStack::canUndoChanged,
               &QUndoStack::undoTextChanged)
        ->setShortcuts(QKeySequence::Undo);
    // Both, whatever the desktop's own convention.
    stepAction("mnuEditRedo", Str::MenuEditRedo, Str::MenuEditRedoStep, &QUndoStack::redo, &QUndoStack::canRedoChanged,
               &QUndoStack::redoTextChanged)
        ->setShortcuts({QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)});
    edit->addSeparator();
    needSelection_ << action(edit, "mnuEditCut", Str::MenuEditCut, &FormMain::EditCut, QKeySequence::Cut);
    needSelection_ << action(edit, "mnuEditCopy", Str::MenuEditCopy, &FormMain::EditCopy, QKeySequence::Copy);
    QAction* paste = action(edit, "mnuEditPaste", Str::MenuEditPaste, &FormMain::EditPaste, QKeySequence::Paste);
    needSlide_ << paste;
    needSelection_ << action(edit, "mnuEditDuplicate", Str::MenuEditDuplicate, &FormMain::EditDuplicate, QKeySequence(Qt::CTRL | Qt::Key_D));
    needSelection_ << action(edit, "mnuEditDelete", Str::MenuEditDelete, &FormMain::EditDelete, QKeySequence::Delete);
    edit->addSeparator();
    needSlide_ << action(edit, "mnuEditSelectAll", Str::MenuEditSelectAll, &FormMain::EditSelectAll, QKeySequence::SelectAll);

    QMenu* slide = menuBar()->addMenu(Caption(Str::MenuSlide));
    slide->setObjectName("mnuSlide");
    slideFirst_ = action(slide, "mnuSlideFirst", Str::MenuSlideFirst, &FormMain::SlideFirst, QKeySequence(Qt::Key_Home));
    slidePrevious_ = action(slide, "mnuSlidePrevious", Str::MenuSlidePrevious, &FormMain::SlidePrevious, QKeySequence(Qt::Key_PageUp));
    slideNext_ = action(slide, "mnuSlideNext", Str::MenuSlideNext, &FormMain::SlideNext, QKeySequence(Qt::Key_PageDown));
    slideLast_ = action(slide, "mnuSlideLast", Str::MenuSlideLast, &FormMain::SlideLast, QKeySequence(Qt::Key_End));
    slide->addSeparator();
    needDocument_ << action(slide, "mnuSlideAdd", Str::MenuSlideAdd, &FormMain::SlideAdd);
    needDocument_ << action(slide, "mnuSlideInsert", Str::MenuSlideInsert, &FormMain::SlideInsert);
    slideRemove_ = action(slide, "mnuSlideRemove", Str::MenuSlideRemove, &FormMain::SlideRemove);
    slideUp_ = action(slide, "mnuSlideUp", Str::MenuSlideUp, &FormMain::SlideUp);
    slideDown_ = action(slide, "mnuSlideDown", Str::MenuSlideDown, &FormMain::SlideDown);
    slide->addSeparator();
    needSlide_ << action(slide, "mnuSlideTitle", Str::MenuSlideTitle, &FormMain::SlideTitle);
    needSlide_ << action(slide, "mnuSlideHelpTopic", Str::MenuSlideHelpTopic, &FormMain::SlideHelpTopic);
    slideEnabled_ = action(slide, "mnuSlideEnabled", Str::MenuSlideEnabled, &FormMain::SlideEnabled);
    slideEnabled_->setCheckable(true);
    needSlide_ << slideEnabled_;
    QAction* duplicateSlide =
        action(slide, "mnuSlideDuplicate", Str::MenuSlideDuplicate, &FormMain::SlideDuplicate, QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_D));
    needSlide_ << duplicateSlide;
    // The panel's right-click offers them for the slide it was made on, which it shows first.
    auto* separator = new QAction(this);
    separator->setSeparator(true);
    slidePanel_->SetMenuActions({findChild<QAction*>("mnuSlideAdd"), findChild<QAction*>("mnuSlideInsert"), duplicateSlide,
                                 slideRemove_, separator, slideEnabled_, findChild<QAction*>("mnuSlideTitle")});

    QMenu* back = menuBar()->addMenu(Caption(Str::MenuBack));
    back->setObjectName("mnuBack");
    needSlide_ << action(back, "mnuBackSet", Str::MenuBackSet, &FormMain::BackSet);
    needSlide_ << action(back, "mnuBackClear", Str::MenuBackClear, &FormMain::BackClear);
    needSlide_ << action(back, "mnuBackColor", Str::MenuBackColor, &FormMain::BackColor);
    needSlide_ << action(back, "mnuBackPosition", Str::MenuBackPosition, &FormMain::BackPosition);
    needSlide_ << action(back, "mnuBackUpdate", Str::MenuBackUpdate, &FormMain::BackUpdate);
    backEdit_ = action(back, "mnuBackEdit", Str::MenuBackEdit, &FormMain::BackEdit);

    QMenu* icon = menuBar()->addMenu(Caption(Str::MenuIcon));
    icon->setObjectName("mnuIconBar");
    QAction* insertIcon = action(icon, "mnuInsertIcon", Str::MenuInsertIcon, &FormMain::InsertIcon, QKeySequence(Qt::Key_Insert));
    needSlide_ << insertIcon;
    needSlide_ << action(icon, "mnuInsertFromResults", Str::MenuInsertFromResults, &FormMain::InsertFromResults);
    icon->addSeparator();
    QMenu* align = icon->addMenu(Caption(Str::MenuIconAlign));
    align->setObjectName("mnuIconAlign");
    const auto alignAction = [&](const char* name, int32_t caption, Alignment alignment) {
        needSelection_ << action(align, name, caption, [alignment](FormMain* window) { window->AlignIcons(alignment); });
    };
    alignAction("mnuAlignLeft", Str::MenuAlignLeft, Alignment::Left);
    alignAction("mnuAlignRight", Str::MenuAlignRight, Alignment::Right);
    alignAction("mnuAlignTop", Str::MenuAlignTop, Alignment::Top);
    alignAction("mnuAlignBottom", Str::MenuAlignBottom, Alignment::Bottom);
    alignAction("mnuAlignCentres", Str::MenuAlignCentres, Alignment::HorizontalCentres);
    alignAction("mnuAlignMiddles", Str::MenuAlignMiddles, Alignment::VerticalCentres);
    align->addSeparator();
    needSelection_ << action(align, "mnuDistributeAcross", Str::MenuDistributeAcross, [](FormMain* window) { window->DistributeIcons(true); });
    needSelection_ << action(align, "mnuDistributeDown", Str::MenuDistributeDown, [](FormMain* window) { window->DistributeIcons(false); });

    // The pop-up menu of the slide, opened by a right-click where no icon is:
    // what it inserts or pastes lands at the pointer.
    slideMenu_ = new QMenu(this);
    slideMenu_->setObjectName("mnuSlidePopup");
    slideMenu_->addAction(insertIcon);
    slideMenu_->addAction(paste);
    connect(slideMenu_, &QMenu::aboutToHide, this, [this] { QTimer::singleShot(0, this, [this] { pointerPlace_.reset(); }); });

    // The pop-up menu of one icon, opened by a right-click on it.
    iconMenu_ = new QMenu(this);
    iconMenu_->setObjectName("mnuIcon");
    action(iconMenu_, "mnuIconProp", Str::MenuIconProp, &FormMain::IconProperties);
    action(iconMenu_, "mnuIconDelete", Str::MenuIconDelete, &FormMain::IconDelete);
    iconMenu_->addSeparator();
    action(iconMenu_, "mnuIconSetDef", Str::MenuIconSetDef, &FormMain::IconSetDefault);
    // The command runs before the current icon is forgotten.
    connect(iconMenu_, &QMenu::aboutToHide, this, [this] { QTimer::singleShot(0, this, [this] { currentIconView_ = nullptr; }); });

    QMenu* view = menuBar()->addMenu(Caption(Str::MenuScreen));
    view->setObjectName("mnuScreen");
    action(view, "mnuScreen640", Str::MenuScreen640, &FormMain::Screen640);
    action(view, "mnuScreen800", Str::MenuScreen800, &FormMain::Screen800);
    view->addSeparator();
    needDocument_ << action(view, "mnuScreenPreview", Str::MenuScreenPreview, &FormMain::ScreenPreview, QKeySequence(Qt::Key_F5));
    needDocument_ << action(view, "mnuScreenStation", Str::MenuStationMode, &FormMain::ScreenStation);
    view->addSeparator();
    QAction* panel = slidePanel_->toggleViewAction();
    panel->setObjectName("mnuSlidePanel");
    panel->setText(Caption(Str::MenuSlidePanel));
    panel->setShortcut(QKeySequence(Qt::Key_F9));
    view->addAction(panel);
    view->addSeparator();
    snapAction_ = action(view, "mnuSnapToGrid", Str::MenuSnapToGrid, &FormMain::ViewSnapToGrid, QKeySequence(Qt::CTRL | Qt::Key_G));
    snapAction_->setCheckable(true);
    snapAction_->setChecked(viewSettings_.snapToGrid);
    action(view, "mnuGridSize", Str::MenuGridSize, &FormMain::ViewGridSize);
    view->addSeparator();
    // Ctrl+= as well: plus lies on the same key on many keyboards.
    action(view, "mnuZoomIn", Str::MenuZoomIn, &FormMain::ViewZoomIn, QKeySequence::ZoomIn)
        ->setShortcuts({QKeySequence::keyBindings(QKeySequence::ZoomIn).value(0), QKeySequence(Qt::CTRL | Qt::Key_Equal)});
    action(view, "mnuZoomOut", Str::MenuZoomOut, &FormMain::ViewZoomOut, QKeySequence::ZoomOut);
    action(view, "mnuZoomFit", Str::MenuZoomFit, &FormMain::ViewZoomFit, QKeySequence(Qt::CTRL | Qt::Key_0));
    action(view, "mnuZoomActual", Str::MenuZoomActual, &FormMain::ViewActualSize, QKeySequence(Qt::CTRL | Qt::Key_1));
    QMenu* station = view->addMenu(Caption(Str::MenuStationSize));
    station->setObjectName("mnuStationSize");
    auto* stations = new QActionGroup(this);
    const auto stationAction = [&](const QString& caption, const QString& name, std::optional<ScreenSize> size) {
        QAction* item = station->addAction(caption);
        item->setObjectName(name);
        connect(item, &QAction::triggered, this, [this, size] { SetStationSize(size); });
        item->setCheckable(true);
        item->setActionGroup(stations);
        stationActions_ << item;
    };
    stationAction(Caption(Str::MenuStationWindow), "mnuStationWindow", std::nullopt);
    station->addSeparator();
    for (const ScreenSize& size : viewSettings_.stationSizes)
        stationAction(QStringLiteral("%1 \u00D7 %2").arg(size.width).arg(size.height),
                      QStringLiteral("mnuStation%1x%2").arg(size.width).arg(size.height), size);
    stationActions_.front()->setChecked(true);

    QMenu* help = menuBar()->addMenu(Caption(Str::MenuHelp));
    help->setObjectName("mnuHelp");
    action(help, "mnuHelpContents", Str::MenuHelpContents, &FormMain::HelpContents, QKeySequence::HelpContents);
    action(help, "mnuHelpAbout", Str::MenuHelpAbout, [](FormMain*) {
        CurrentPrompt().Message(FormatResString(Str::AboutText, {std::string(QGuiApplication::applicationVersion().toStdString())}),
                                S(Str::AppTitle), MessageKind::Information);
    });
}

void FormMain::ReadDirectories() {
    std::string slideDirectory, bitmapDirectory;
    try {
        RegEntry entry;
        if (entry.TestKey("Wexbridge")) {
            entry.OpenKey("Wexbridge");
            slideDirectory = entry.GetString("DefaultSlideDirectory");
            bitmapDirectory = entry.GetString("DefaultBitmapDirectory");
        }
    } catch (const Error&) {
        // A broken settings store leaves the defaults below.
    }
    slideDirectory_ = DirectoryExists(slideDirectory) ? slideDirectory : ExecutableDirectory();
    bitmapDirectory_ = DirectoryExists(bitmapDirectory) ? bitmapDirectory : slideDirectory_;
}

// Edits and drags record their own steps; anything else counts as a change.
void FormMain::SignalFileChanged() { session_->SignalChange(); }

bool FormMain::Saved() const { return session_->Saved(); }

const std::string& FormMain::FileName() const { return session_->FileName(); }

SlideShow* FormMain::Document() const { return session_->Document(); }

void FormMain::OfferRecovery() {
    session_->FlushRecovery();
    for (const auto& copy : session_->RecoveryCopies().Pending()) {
        const QDateTime written = QFileInfo(Q(copy.path)).lastModified();
        const std::string when = QLocale().toString(written, QLocale::ShortFormat).toStdString();
        switch (CurrentPrompt().Ask(FormatResString(Str::RecoveryOffer, {copy.document, when}), S(Str::RecoveryTitle), true)) {
            case Answer::Yes:
                if (!AskToSave()) return;
                if (session_->Recover(copy)) return;
                break;
            case Answer::No:
                session_->RemoveRecovery(copy.document);
                break;
            case Answer::Cancel:
                return;
        }
    }
}

void FormMain::Edit(const QString& text, int slide, const std::function<void()>& edit) {
    session_->Edit(text, slide, currentSlide_, [&] {
        edit();
        return currentSlide_;
    });
}

void FormMain::ShowNoSlide() {
    currentSlide_ = 0;
    UpdateSlideRange();
    UpdateStatus();
    UpdateEnabling();
    UpdateSlidePanel();
}

void FormMain::SignalIcon(IconView& view) {
    currentIconView_ = &view;
    view.View().ReleaseCapture();  // so that the menu gets the mouse
    iconMenu_->popup(QCursor::pos());
}

std::unique_ptr<IconSurface> FormMain::CreateIcon() { return picMain_->CreateIcon(); }

void FormMain::UpdateCaption() {
    std::string caption = S(Str::AppTitle);
    if (!FileName().empty()) caption += ": " + FileNamePart(FileName());
    if (Document() && !Saved()) caption += "*";  // the usual mark of unsaved changes
    setWindowTitle(Q(caption));
}

void FormMain::UpdateStatus() {
    const int16_t worst = Document() ? Document()->WorstTolerance() : ToleranceState::NotEvaluated;
    stateText_->setVisible(worst != ToleranceState::NotEvaluated);
    if (worst != ToleranceState::NotEvaluated) {
        stateText_->setText(Q(FormatResString(Str::StatusWorst, {ToleranceStateName(worst)})));
        QPalette palette = stateText_->palette();
        palette.setColor(QPalette::Window, ToQColor(view_->StateColor(worst)));
        palette.setColor(QPalette::WindowText, Qt::black);
        stateText_->setPalette(palette);
    }
    if (!Document() || currentSlide_ < 1) {
        statusText_->clear();
        return;
    }
    const bool enabled = Current() == nullptr || Current()->Enabled();
    statusText_->setText(Q(FormatResString(enabled ? Str::SlideStatus : Str::SlideStatusDisabled, {currentSlide_, Document()->Slides().Count()})));
}

void FormMain::UpdateEnabling() {
    const bool open = Document() != nullptr;
    for (QAction* item : needDocument_) item->setEnabled(open);
    const int count = open ? Document()->Slides().Count() : 0;
    const bool current = Current() != nullptr;
    slideFirst_->setEnabled(currentSlide_ > 1);
    slidePrevious_->setEnabled(currentSlide_ > 1);
    slideNext_->setEnabled(currentSlide_ < count);
    slideLast_->setEnabled(currentSlide_ < count);
    slideRemove_->setEnabled(count > 1);
    // Moving is offered only where there is a neighbour to change places with.
    slideUp_->setEnabled(current && currentSlide_ > 1);
    slideDown_->setEnabled(current && currentSlide_ < count);
    for (QAction* item : needSlide_) item->setEnabled(current);
    backEdit_->setEnabled(current && !Current()->PictureFile().empty());
    slideEnabled_->setChecked(current && Current()->Enabled());
    UpdateSelection();
}

Slide* FormMain::Current() const {
    if (!Document() || currentSlide_ < 1 || currentSlide_ > Document()->Slides().Count()) return nullptr;
    return &Document()->Slides().Item(currentSlide_);
}

void FormMain::UpdateSlideRange() {
    const int count = Document() ? Document()->Slides().Count() : 0;
    hsSlide_->blockSignals(true);
    hsSlide_->setRange(count > 0 ? 1 : 0, count);
    hsSlide_->setValue(currentSlide_);
    hsSlide_->setEnabled(count > 1);
    hsSlide_->blockSignals(false);
}

bool FormMain::AskToSave() {
    if (Saved()) return true;
    switch (CurrentPrompt().Ask(S(Str::AskSaveChanges), S(Str::ConfirmTitle), true)) {
        case Answer::Yes:
            FileSave();
            return Saved();
        case Answer::No:
            session_->Discard();
            return true;
        case Answer::Cancel:
            return false;
    }
    return false;
}

// Another document, or none: the window starts again on its first slide.
void FormMain::ShowDocument() {
    currentIconView_ = nullptr;
    selection_.clear();
    currentSlide_ = 0;
    if (Document() == nullptr) {
        ClearWindow();
        return;
    }
    statusText_->clear();
    // Either brings the range, status, menus and slide panel up to date: the
    // panel compares every slide with its thumbnail's copy, so only once.
    if (Document()->Slides().Count() > 0) ShowSlide(1);
    else ShowNoSlide();
}

void FormMain::ShowSlide(int number, bool force) {
    if (!Document() || number < 1 || number > Document()->Slides().Count()) return;
    if (!force && number == currentSlide_ && view_->CurrentSlide() != nullptr) return;  // nothing moves: no repaint
    if (number != currentSlide_) selection_.clear();
    currentSlide_ = number;
    view_->SetSlide(&Document()->Slides().Item(number));
    view_->DecodeAhead(Document()->Slides(), number);
    UpdateSlideRange();
    UpdateStatus();
    UpdateEnabling();
    UpdateSlidePanel();
}

void FormMain::UpdateSlidePanel() {
    slidePanel_->ShowSlides(Document() ? &Document()->Slides() : nullptr, currentSlide_, picMain_->LogicalSize());
}

void FormMain::SlideFirst() { ShowSlide(1); }

void FormMain::SlideLast() {
    if (Document()) ShowSlide(Document()->Slides().Count());
}

void FormMain::SlideNext() {
    if (Document() && currentSlide_ < Document()->Slides().Count()) ShowSlide(currentSlide_ + 1);
}

void FormMain::SlidePrevious() {
    if (currentSlide_ > 1) ShowSlide(currentSlide_ - 1);
}

void FormMain::SlideAdd() {
    Edit(Caption(Str::StepAddSlide), 0, [this] {
        SlideCollection& slides = Document()->Slides();
        if (Current() != nullptr) slides.Add(currentSlide_);
        else slides.Add();
        ShowSlide(Current() != nullptr ? currentSlide_ + 1 : slides.Count(), true);
    });
}

void FormMain::SlideInsert() {
    Edit(Caption(Str::StepInsertSlide), 0, [this] {
        SlideCollection& slides = Document()->Slides();
        if (Current() == nullptr) {
            slides.Insert();
            ShowSlide(slides.Count(), true);
        } else {
            slides.Insert(currentSlide_);
            // The number steps back by one unless it is 1, as it always has.
            ShowSlide(currentSlide_ > 1 ? currentSlide_ - 1 : currentSlide_, true);
        }
    });
}

void FormMain::SlideRemove() {
    Slide* slide = Current();
    if (slide == nullptr || Document()->Slides().Count() <= 1) return;  // the last slide stays
    if (CurrentPrompt().Ask(FormatResString(Str::RemoveSlidePrompt, {slide->Name()}), S(Str::ConfirmTitle), false) != Answer::Yes)
        return;
    const int removed = currentSlide_;
    Edit(Step(Str::StepRemoveSlide, removed), 0, [this, removed] {
        const int next = removed == Document()->Slides().Count() ? removed - 1 : removed;
        view_->SetSlide(nullptr);  // the view lets go of the slide before it goes
        Document()->Slides().Remove(removed);
        ShowSlide(next, true);
    });
}

void FormMain::SlideUp() {
    if (Current() == nullptr || currentSlide_ <= 1) return;
    Edit(Step(Str::StepSlideUp, currentSlide_), 0, [this] { ShowSlide(Document()->Slides().MoveUp(currentSlide_), true); });
}

void FormMain::SlideDown() {
    if (Current() == nullptr || currentSlide_ >= Document()->Slides().Count()) return;
    Edit(Step(Str::StepSlideDown, currentSlide_), 0, [this] { ShowSlide(Document()->Slides().MoveDown(currentSlide_), true); });
}

void FormMain::SlideTitle() {
    if (Current() != nullptr) Edit(Step(Str::StepRenameSlide, currentSlide_), currentSlide_, [this] { view_->UpdateTitle(); });
}

// The operator's preview and station skip a disabled slide; the editor still shows it.
void FormMain::SlideEnabled() {
    Slide* slide = Current();
    if (slide == nullptr) return;
    const bool enable = !slide->Enabled();
    Edit(Step(enable ? Str::StepEnableSlide : Str::StepDisableSlide, currentSlide_), currentSlide_,
         [slide, enable] { slide->SetEnabled(enable); });
    UpdateStatus();
    UpdateEnabling();
}

void FormMain::SlideDuplicate() {
    if (Current() == nullptr) return;
    Edit(Step(Str::StepDuplicateSlide, currentSlide_), 0, [this] {
        Document()->Slides().Duplicate(currentSlide_);
        ShowSlide(currentSlide_ + 1, true);
    });
}

void FormMain::MoveSlide(int from, int to) {
    const int count = Document() ? Document()->Slides().Count() : 0;
    if (from < 1 || from > count || to < 1 || to > count || from == to) return;
    Edit(Q(FormatResString(Str::StepMoveSlide, {from, to})), 0, [&] {
        SlideCollection& slides = Document()->Slides();
        int at = from;
        while (at < to) at = slides.MoveDown(at);
        while (at > to) at = slides.MoveUp(at);
        ShowSlide(at, true);
    });
}

void FormMain::SlideHelpTopic() {
    Slide* slide = Current();
    if (slide == nullptr) return;
    std::string text = std::to_string(slide->HelpTopic());
    int16_t topic = 0;
    for (;;) {
        const auto answer = CurrentPrompt().AskText(S(Str::HelpTopicPrompt), S(Str::HelpTopicTitle), text);
        if (!answer || answer->empty()) return;
        try {
            topic = ToInteger(*answer);
            break;
        } catch (const Error&) {
            CurrentPrompt().Message(S(Str::HelpTopicInvalid), S(Str::HelpTopicTitle), MessageKind::Exclamation);
            text = *answer;  // asked again with what was typed, to be corrected
        }
    }
    Edit(Step(Str::StepSlideHelpTopic, currentSlide_), currentSlide_, [slide, topic] { slide->SetHelpTopic(topic); });
}

void FormMain::BackSet() {
    if (Current() == nullptr) return;
    const auto file = CurrentPrompt().ChooseOpenFile({S(Str::BackgroundTitle), S(Str::PictureFilter), bitmapDirectory_, ""});
    if (!file || file->empty()) return;
    Edit(Caption(Str::StepSetBackground), currentSlide_, [this, &file] { view_->SetBackgroundPicture(*file); });
    UpdateStatus();
    UpdateEnabling();
}

void FormMain::BackClear() {
    if (Current() == nullptr) return;
    Edit(Caption(Str::StepClearBackground), currentSlide_, [this] { view_->SetBackgroundPicture(""); });
    UpdateEnabling();
}

void FormMain::BackColor() {
    Slide* slide = Current();
    if (slide == nullptr) return;
    if (const auto color = CurrentPrompt().ChooseColor(slide->BackColor()))
        Edit(Caption(Str::StepBackColor), currentSlide_, [this, color] { view_->SetBackColor(*color); });
}

void FormMain::BackUpdate() {
    if (Current() != nullptr) view_->ReloadPicture();
}

void FormMain::BackPosition() {
    Slide* slide = Current();
    if (slide == nullptr) return;
    try {
        view_->LoadPicture();
    } catch (const Error&) {
        // Placed all the same: the notice shows where the picture would be.
    }
    const QRect picture = view_->PictureRect();
    const double aspect = picture.height() > 0 ? static_cast<double>(picture.width()) / picture.height() : 1.0;
    Edit(Caption(Str::StepBackPosition), currentSlide_, [&] {
        // A metafile scales with the slide; a bitmap keeps its size and only moves.
        const bool confirmed = view_->IsScaleable()
                                   ? FormPosition::PositionScaleable(*slide, aspect, this)
                                   : FormPosition::PositionFixed(*slide, 1.0 / std::max(view_->CurrentWidthRatio(), 1e-9),
                                                                 1.0 / std::max(view_->CurrentHeightRatio(), 1e-9), aspect, this);
        if (!confirmed) return;
        view_->UpdateSlide();
        for (const auto& iconView : view_->Views()) iconView->RefreshView();
    });
}

void FormMain::InsertIcon() {
    if (Current() == nullptr) return;
    const Icon* inserted = nullptr;
    Edit(Caption(Str::StepInsertIcon), currentSlide_, [this, &inserted] {
        const std::vector<IconBox> taken = Boxes();
        IconView* view = view_->AddIcon(defaultIcon_.get());
        // All 1000 surfaces in use: there is no room for another icon.
        if (view == nullptr) {
            QApplication::beep();
            return;
        }
        // At the pointer when asked for on the slide, else where the template
        // puts it, or the nearest place from there where it covers no icon.
        const Icon& icon = view->Icon();
        const IconBox box = BoxOf(icon);
        IconPlace place{icon.Left(), icon.Top()};
        if (pointerPlace_) place = {pointerPlace_->x(), pointerPlace_->y()};
        else if (const auto free = FreePlace(taken, {box.width, box.height}, icon.Left(), icon.Top())) place = *free;
        view->SetPosition(place.left, place.top);
        inserted = &icon;
    });
    if (inserted != nullptr) Select({inserted});
}

void FormMain::InsertFromResults() {
    Slide* slide = Current();
    if (slide == nullptr) return;
    const auto file = CurrentPrompt().ChooseOpenFile({S(Str::InsertFromResultsTitle), S(Str::QifFilter), slideDirectory_, ""});
    if (!file || file->empty()) return;
    QifResults results;
    try {
        results.LoadFromFile(*file);
    } catch (const Error& error) {
        ShowError(error, *file);
        return;
    }
    FormResultsIcons dialog(results, this);
    if (dialog.exec() != QDialog::Accepted) return;
    const std::vector<int32_t> chosen = dialog.Chosen();
    if (chosen.empty()) return;
    Edit(Step(Str::StepInsertFromResults, static_cast<int>(chosen.size())), currentSlide_, [&] {
        try {
            AddIconsFromResults(*slide, results, chosen, [this](const Icon& icon) {
                return IconView::Extent(icon, view_->TwipsPerPixelX(), view_->TwipsPerPixelY(), view_->HostWidth(),
                                        view_->HostHeight());
            });
        } catch (const Error& error) {
            ShowError(error, *file);  // no room: nothing was added
        }
        ShowSlide(currentSlide_, true);  // a view for every new icon
    });
}

void FormMain::IconSetDefault() {
    if (currentIconView_ == nullptr) return;
    if (!defaultIcon_) defaultIcon_ = std::make_unique<Icon>();
    currentIconView_->Icon().Copy(*defaultIcon_);
    defaultIcon_->SetLeft(100);
    defaultIcon_->SetTop(100);
    defaultIcon_->SetLeaderX(500);
    defaultIcon_->SetLeaderY(500);
    QApplication::beep();  // the only confirmation
}

void FormMain::IconProperties() {
    if (currentIconView_ == nullptr) return;
    IconView* view = currentIconView_;
    Edit(Caption(Str::StepIconProperties), currentSlide_, [this, view] {
        FormIconProperties dialog(view->Icon(), this);
        if (dialog.Edit() != FormIconProperties::kConfirmed) return;
        view->UpdateProperties();
        picMain_->update();
    });
}

void FormMain::IconDelete() {
    Slide* slide = Current();
    if (currentIconView_ == nullptr || slide == nullptr) return;
    IconView* view = currentIconView_;
    currentIconView_ = nullptr;
    Icon& icon = view->Icon();
    Edit(Step(Str::StepDeleteIcon, icon.Name()), currentSlide_, [&] {
        const bool hadLeader = icon.DrawLeader();
        view->Terminate();
        view_->Views().Remove(*view);  // its surface goes with it
        slide->Icons().Remove(icon);
        if (hadLeader) picMain_->update();
    });
    UpdateSelection();
}

void FormMain::BackEdit() {
    Slide* slide = Current();
    if (slide == nullptr || slide->PictureFile().empty()) return;
    const QString file = Q(slide->PictureFile());
    if (!pictureWatcher_->files().contains(file)) pictureWatcher_->addPath(file);
    const QString kind = QFileInfo(file).suffix().toUpper();
    const auto chosen = pictureEditors_.find(kind);
    if (chosen != pictureEditors_.end()) {
        StartPictureEditor(chosen->second, file);
        return;
    }
    // The desktop knows which application edits bitmaps and which metafiles.
    if (HasRegisteredEditor(file) && QDesktopServices::openUrl(QUrl::fromLocalFile(file))) return;
    const std::string type = QMimeDatabase().mimeTypeForFile(file).comment().toStdString();
    if (CurrentPrompt().Ask(FormatResString(Str::NoPictureEditor, {slide->PictureFile(), type}), S(Str::AppTitle), false) !=
        Answer::Yes)
        return;
    const auto program = CurrentPrompt().ChooseOpenFile({S(Str::ChooseProgramTitle), S(Str::ProgramFilter), "/usr/bin", ""});
    if (!program || program->empty()) return;
    if (StartPictureEditor(Q(*program), file)) pictureEditors_[kind] = Q(*program);
}

bool FormMain::HasRegisteredEditor(const QString& file) {
    const QString query = QStandardPaths::findExecutable("xdg-mime");
    if (query.isEmpty()) return false;
    QProcess process;
    process.start(query, {"query", "default", QMimeDatabase().mimeTypeForFile(file).name()});
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished();
        return false;
    }
    return process.exitCode() == 0 && !process.readAllStandardOutput().trimmed().isEmpty();
}

bool FormMain::StartPictureEditor(const QString& program, const QString& file) {
    if (QProcess::startDetached(program, {file})) return true;
    CurrentPrompt().Message(FormatResString(Str::ProgramNotStarted, {program.toStdString()}), S(Str::AppTitle), MessageKind::Stop);
    return false;
}

void FormMain::FileNew() {
    if (!AskToSave()) return;
    const auto name = CurrentPrompt().ChooseSaveFile({S(Str::NewTitle), S(Str::SlideShowFilter), slideDirectory_, ""});
    if (!name || name->empty()) return;
    if (FileExists(*name) &&
        CurrentPrompt().Ask(FormatResString(Str::NewFileExists, {*name}), S(Str::ConfirmTitle), false) != Answer::Yes)
        return;
    session_->New(*name);
}

void FormMain::FileOpen() {
    if (!AskToSave()) return;
    const auto name = CurrentPrompt().ChooseOpenFile({S(Str::OpenTitle), S(Str::SlideShowFilter), slideDirectory_, ""});
    if (name && !name->empty()) OpenDocument(*name);
}

bool FormMain::OpenDocument(const std::string& fileName) {
    return AskToSave() && session_->Open(fileName);
}

// The entries sit just above Exit, numbered for the keyboard, as editors have them.
void FormMain::UpdateRecentMenu() {
    // Later, not now: this may run inside the triggered signal of one of them.
    for (QAction* old : recentActions_) {
        fileMenu_->removeAction(old);
        old->setObjectName({});
        old->deleteLater();
    }
    recentActions_.clear();
    const auto& paths = session_->Recent().Paths();
    const auto labels = session_->Recent().Labels();
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const std::string path = paths[i];
        QString label = Q(labels[i]);
        auto* item = new QAction(QStringLiteral("&%1 %2").arg(i + 1).arg(label.replace('&', "&&")), fileMenu_);
        item->setObjectName(QStringLiteral("mnuFileRecent%1").arg(i + 1));
        item->setStatusTip(Q(path));
        item->setToolTip(Q(path));
        connect(item, &QAction::triggered, this, [this, path] { OpenRecent(path); });
        recentActions_.append(item);
    }
    if (!recentActions_.isEmpty()) {
        auto* separator = new QAction(fileMenu_);
        separator->setSeparator(true);
        recentActions_.append(separator);
    }
    fileMenu_->insertActions(exitAction_, recentActions_);
}

void FormMain::OpenRecent(const std::string& fileName) {
    if (!FileExists(fileName)) {
        CurrentPrompt().Message(FormatResString(Str::RecentFileMissing, {fileName}), S(Str::AppTitle), MessageKind::Exclamation);
        session_->Recent().Remove(fileName);
        UpdateRecentMenu();
        return;
    }
    OpenDocument(fileName);
}

void FormMain::FileSave() {
    if (!Document()) return;
    if (FileName().empty()) FileSaveAs();
    else session_->Save();
}

void FormMain::FileSaveAs() {
    if (!Document()) return;
    if (const auto name = ChooseSaveTarget({S(Str::SaveAsTitle), S(Str::TextFilter), slideDirectory_, FileName()}, ".pdz"))
        session_->SaveAs(*name, false);
}

void FormMain::FileSaveBinary() {
    if (!Document()) return;
    if (const auto name = ChooseSaveTarget({S(Str::SaveAsTitle), S(Str::BinaryFilter), slideDirectory_, FileName()}, ".pdx"))
        session_->SaveAs(*name, true);
}

std::optional<std::string> FormMain::ChooseSaveTarget(const FileChoice& choice, const std::string& extension) {
    const auto name = CurrentPrompt().ChooseSaveFile(choice);
    if (!name || name->empty()) return std::nullopt;
    std::string file = AddExtension(*name, extension);
    if (!ConfirmReplace(file)) return std::nullopt;
    return file;
}

bool FormMain::ConfirmReplace(const std::string& file) {
    return !FileExists(file) ||
           CurrentPrompt().Ask(FormatResString(Str::ReplaceFile, {file}), S(Str::ConfirmTitle), false) == Answer::Yes;
}

void FormMain::ClearWindow() {
    statusText_->clear();
    stateText_->hide();
    picMain_->SetView(nullptr);
    view_ = std::make_unique<SlideView>(*this, *picMain_);  // the old one takes its icon surfaces with it
    picMain_->SetView(view_.get());
    picMain_->SetBackColor(QColor(0xC4, 0xC4, 0xC4));
    picMain_->update();
    UpdateSlideRange();
    UpdateEnabling();
    UpdateSlidePanel();
}

void FormMain::FileClose() {
    if (AskToSave()) session_->Close();
}

void FormMain::FileExit() { close(); }

void FormMain::closeEvent(QCloseEvent* event) {
    if (Saved()) {
        event->accept();
        FormHelp::CloseWithEditor();
        return;
    }
    switch (CurrentPrompt().Ask(S(Str::AskSaveChanges), S(Str::ConfirmTitle), true)) {
        case Answer::Yes:
            // The user saves under a name and closes again afterwards.
            event->ignore();
            FileSaveAs();
            break;
        case Answer::No:
            session_->Discard();  // and the recovery copy goes: the user threw the changes away
            event->accept();
            FormHelp::CloseWithEditor();
            break;
        case Answer::Cancel:
            event->ignore();
            break;
    }
}

void FormMain::FileProperties() {
    if (!Document()) return;
    Edit(Caption(Str::StepShowProperties), 0, [this] {
        FormProperties dialog(*Document(), this);
        dialog.exec();
    });
    if (Saved()) session_->MarkChanged();  // whatever the answer, as it always has
}

void FormMain::FileImport() { ImportPackage(""); }

void FormMain::ImportPackage(const std::string& package) {
    FormImport dialog(this);
    if (!package.empty()) dialog.SetPackage(package);
    dialog.exec();
    if (!dialog.Accepted()) return;
    if (session_->Import(dialog.PackagePath(), dialog.TargetPath())) OpenDocument(dialog.TargetPath());
}

void FormMain::FileExport() {
    if (!Document()) return;
    if (!Saved()) {
        switch (CurrentPrompt().Ask(S(Str::ExportAskSave), S(Str::ConfirmTitle), true)) {
            case Answer::Yes:
                FileSave();
                if (!Saved()) return;
                break;
            case Answer::No:
                break;  // the package holds the show as it is on disk
            case Answer::Cancel:
                return;
        }
    }
    if (!FileExists(FileName())) {
        CurrentPrompt().Message(FormatResString(Str::ExportNotOnDisk, {FileName()}), S(Str::ExportTitle), MessageKind::Exclamation);
        return;
    }
    FormExport dialog(FileName(), this);
    dialog.exec();
    if (!dialog.Accepted()) return;
    session_->Export(dialog.PackagePath(), dialog.Comment());
}

void FormMain::FileEvaluate() {
    if (!Document()) return;
    const auto file = CurrentPrompt().ChooseOpenFile({S(Str::EvaluateTitle), S(Str::ResultsFilter), slideDirectory_, ""});
    if (file && !file->empty() && session_->Evaluate(*file, currentSlide_)) ShowSlide(currentSlide_, true);  // every icon in its new colours
}

void FormMain::FileAverage() {
    if (!Document()) return;
    const auto files = CurrentPrompt().ChooseOpenFiles({S(Str::AverageTitle), S(Str::ResultsFilter), slideDirectory_, ""});
    if (session_->Average(files, currentSlide_)) ShowSlide(currentSlide_, true);
}

void FormMain::ScreenPreview() {
    if (Document()) FormPreview::Preview(*Document(), this);
}

void FormMain::ScreenStation() {
    if (!Document()) return;
    StationSettings settings = ReadStationSettings();
    const auto folder = CurrentPrompt().ChooseFolder({S(Str::StationChooseFolder), "", settings.folder, ""});
    if (!folder || folder->empty()) return;
    settings.folder = *folder;
    WriteStationSettings(settings);
    FormStation::Run(*Document(), settings, this);
}

QImage FormMain::SlideImage() const {
    if (!Document() || currentSlide_ < 1) return {};
    const QSize size = picMain_->LogicalSize();
    return RenderSlide(Document()->Slides().Item(currentSlide_), size.width(), size.height()).image;
}

void FormMain::PrintSlide(QPrinter& printer) {
    const QImage image = SlideImage();
    if (image.isNull()) return;
    QPainter painter(&printer);
    const QRect page = painter.viewport();
    QSize size = image.size();
    size.scale(page.size(), Qt::KeepAspectRatio);
    painter.setViewport(page.x(), page.y(), size.width(), size.height());
    painter.setWindow(image.rect());
    painter.drawImage(0, 0, image);
}

void FormMain::FilePrint() {
    if (!Document()) return;
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageOrientation(QPageLayout::Landscape);
    QPrintDialog dialog(&printer, this);
    if (dialog.exec() == QDialog::Accepted) PrintSlide(printer);
}

void FormMain::FileCapture() {
    const QImage image = SlideImage();
    if (image.isNull()) return;
    const auto name = CurrentPrompt().ChooseSaveFile({S(Str::CaptureTitle), S(Str::CaptureFilter), slideDirectory_, ""});
    if (!name || name->empty()) return;
    const std::string file = EndsWithNoCase(*name, ".png") ? *name : *name + ".png";
    if (!ConfirmReplace(file)) return;
    if (!image.save(Q(file), "PNG"))
        CurrentPrompt().Message(FormatResString(Str::ImageNotWritten, {file}), S(Str::FileErrorTitle), MessageKind::Stop);
}

void FormMain::FileCopyImage() {
    const QImage image = SlideImage();
    if (!image.isNull()) QGuiApplication::clipboard()->setImage(image);
}

void FormMain::ResizeEditingArea(int widthTwips, int heightTwips) {
    const int width = static_cast<int>(std::lround(widthTwips / picMain_->TwipsPerPixelX()));
    const int height = static_cast<int>(std::lround(heightTwips / picMain_->TwipsPerPixelY()));
    // From the central area, not picMain: below the lower bound picMain is larger than the window.
    const int editingHeight = central_->height() - sbMain_->sizeHint().height();
    resize(this->width() + width - central_->width(), this->height() + height - editingHeight);
}

void FormMain::Screen640() { ResizeEditingArea(9600, 6090); }
void FormMain::Screen800() { ResizeEditingArea(12000, 7728); }

void FormMain::HelpContents() {
    ShowHelpContents(this);
    ShowHelpTopic(this, kContentsTopic);
}

// The central area changes with the window and with the slide panel beside it.
bool FormMain::eventFilter(QObject* watched, QEvent* event) {
    if (watched == central_ && event->type() == QEvent::Resize && !isMinimized()) ArrangeControls();
    return QMainWindow::eventFilter(watched, event);
}

void FormMain::ArrangeControls() {
    // Never laid out smaller than 2000 x 1000 twips.
    const int width = std::max(central_->width(), static_cast<int>(std::lround(kMinimumWidthTwips / picMain_->TwipsPerPixelX())));
    const int height = std::max(central_->height(), static_cast<int>(std::lround(kMinimumHeightTwips / picMain_->TwipsPerPixelY())));
    const int statusHeight = sbMain_->sizeHint().height();
    scroller_->setGeometry(0, 0, width, height - statusHeight);
    sbMain_->setGeometry(0, height - statusHeight, width, statusHeight);
    LayOutSlide();
    QTimer::singleShot(0, cmdDelayedResize_, &QPushButton::click);
}

void FormMain::LayOutSlide() {
    const QSize room = scroller_->maximumViewportSize();  // as if no scroll bar were shown
    const QSize logical = stationSize_ ? QSize(stationSize_->width, stationSize_->height) : room;
    if (logical.isEmpty()) return;
    // Without a station the slide takes the window, so fitting it is showing it as it is.
    if (zoomFit_) zoom_ = stationSize_ ? std::min(double(room.width()) / logical.width(), double(room.height()) / logical.height()) : 1.0;
    const double largest = std::min({kZoomSteps[std::size(kZoomSteps) - 1], double(kLargestZoomedSide) / logical.width(),
                                     double(kLargestZoomedSide) / logical.height()});
    zoom_ = std::clamp(zoom_, kZoomSteps[0], largest);
    const QSize before = picMain_->LogicalSize();
    picMain_->SetScale(logical, zoom_);
    UpdateZoomStatus();
    if (logical != before) UpdateSlidePanel();
}

double FormMain::Zoom() const { return picMain_->Zoom(); }

void FormMain::UpdateZoomStatus() {
    const int percent = static_cast<int>(std::lround(zoom_ * 100));
    zoomText_->setText(stationSize_ ? Q(FormatResString(Str::StatusZoomStation, {stationSize_->width, stationSize_->height, percent}))
                                    : Q(FormatResString(Str::StatusZoom, {percent})));
}

void FormMain::SetZoom(double zoom, std::optional<QPoint> anchor) {
    const double before = picMain_->Zoom();
    // The point of the slide under the pointer, or in the middle of what is seen, stays there.
    const QPoint seen = anchor ? picMain_->mapTo(scroller_->viewport(), *anchor)
                               : QPoint(scroller_->viewport()->width() / 2, scroller_->viewport()->height() / 2);
    const QPointF slidePoint = QPointF(picMain_->mapFrom(scroller_->viewport(), seen)) / before;
    zoom_ = zoom;
    LayOutSlide();
    const QPoint now = (slidePoint * picMain_->Zoom()).toPoint();
    scroller_->horizontalScrollBar()->setValue(now.x() - seen.x());
    scroller_->verticalScrollBar()->setValue(now.y() - seen.y());
}

void FormMain::ZoomBy(int steps, std::optional<QPoint> anchor) {
    double zoom = zoom_;
    for (; steps > 0; --steps) {
        const auto next = std::find_if(std::begin(kZoomSteps), std::end(kZoomSteps), [&](double step) { return step > zoom * 1.001; });
        if (next != std::end(kZoomSteps)) zoom = *next;
    }
    for (; steps < 0; ++steps) {
        const auto below = std::find_if(std::rbegin(kZoomSteps), std::rend(kZoomSteps), [&](double step) { return step < zoom / 1.001; });
        if (below != std::rend(kZoomSteps)) zoom = *below;
    }
    zoomFit_ = false;
    SetZoom(zoom, anchor);
}

void FormMain::ViewZoomIn() { ZoomBy(1, std::nullopt); }
void FormMain::ViewZoomOut() { ZoomBy(-1, std::nullopt); }

void FormMain::ViewZoomFit() {
    zoomFit_ = true;
    LayOutSlide();
}

void FormMain::ViewActualSize() {
    zoomFit_ = false;
    SetZoom(1.0, std::nullopt);
}

void FormMain::SetStationSize(std::optional<ScreenSize> size) {
    stationSize_ = size;
    const auto name = size ? QStringLiteral("mnuStation%1x%2").arg(size->width).arg(size->height) : QStringLiteral("mnuStationWindow");
    for (QAction* item : stationActions_) item->setChecked(item->objectName() == name);
    // Pixel for pixel what the station shows.
    zoomFit_ = false;
    SetZoom(1.0, std::nullopt);
}

void FormMain::ConnectSelection() {
    picMain_->SetMouseDown([this](int16_t index) {
        session_->BeginMouseEdit(currentSlide_);
        const IconView* view = view_->Views().FindByIndex(index);
        dragFrom_ = view != nullptr ? std::optional(QPoint(view->Icon().Left(), view->Icon().Top())) : std::nullopt;
    });
    picMain_->SetIconMouseUp([this](int16_t index) {
        // A box that moved lands on the grid; one only clicked stays where it is.
        IconView* view = view_->Views().FindByIndex(index);
        if (view != nullptr && dragFrom_ && *dragFrom_ != QPoint(view->Icon().Left(), view->Icon().Top())) {
            if (viewSettings_.snapToGrid)
                view->SetPosition(SnapToGrid(view->Icon().Left(), GridSize()), SnapToGrid(view->Icon().Top(), GridSize()));
            FollowDraggedBox(*view, *dragFrom_);
            picMain_->update();
        }
        dragFrom_.reset();
        session_->EndMouseEdit(currentSlide_);
        UpdateSelection();
    });
    connect(picMain_, &SlideHost::iconPressed, this, &FormMain::OnIconPressed);
    connect(picMain_, &SlideHost::bandSelected, this, &FormMain::OnBandSelected);
    connect(picMain_, &SlideHost::iconDoubleClicked, this, [this](int index) {
        IconView* view = view_->Views().FindByIndex(static_cast<int16_t>(index));
        if (view == nullptr) return;
        currentIconView_ = view;
        picMain_->Guarded([this] { IconProperties(); });
        currentIconView_ = nullptr;
    });
    connect(picMain_, &SlideHost::contextMenuAt, this, &FormMain::ShowSlideMenu);
    connect(picMain_, &SlideHost::nudged, this, [this](int dx, int dy) { picMain_->Guarded([&] { Nudge(dx, dy); }); });
    connect(picMain_, &SlideHost::escaped, this, [this] { Select({}); });
}

void FormMain::FollowDraggedBox(const IconView& dragged, const QPoint& from) {
    const auto views = SelectedViews();
    if (std::find(views.begin(), views.end(), &dragged) == views.end()) return;
    const QPoint shift = QPoint(dragged.Icon().Left(), dragged.Icon().Top()) - from;
    // In the drag's own step: the session records the slide from the press to the release.
    for (IconView* view : views) {
        if (view == &dragged) continue;
        const IconBox box = BoxOf(view->Icon());
        view->SetPosition(std::clamp(box.left + shift.x(), 0, std::max(Icon::kMaxPosition - box.width, 0)),
                          std::clamp(box.top + shift.y(), 0, std::max(Icon::kMaxPosition - box.height, 0)));
    }
}

void FormMain::OnIconPressed(int index, Qt::KeyboardModifiers modifiers) {
    const IconView* view = view_->Views().FindByIndex(static_cast<int16_t>(index));
    if (view == nullptr) return;
    const Icon* icon = &view->Icon();
    const auto found = std::find(selection_.begin(), selection_.end(), icon);
    if (modifiers.testFlag(Qt::ControlModifier)) {
        if (found != selection_.end()) selection_.erase(found);
        else selection_.push_back(icon);
    } else if (found == selection_.end()) {
        selection_ = {icon};
    }
    UpdateSelection();
}

void FormMain::OnBandSelected(const QList<int>& indices, Qt::KeyboardModifiers modifiers) {
    std::vector<const Icon*> icons;
    if (modifiers.testFlag(Qt::ControlModifier)) icons = selection_;
    for (const int index : indices) {
        const IconView* view = view_->Views().FindByIndex(static_cast<int16_t>(index));
        if (view != nullptr && std::find(icons.begin(), icons.end(), &view->Icon()) == icons.end()) icons.push_back(&view->Icon());
    }
    Select(icons);
}

void FormMain::Select(std::vector<const Icon*> icons) {
    selection_ = std::move(icons);
    UpdateSelection();
}

std::vector<IconView*> FormMain::SelectedViews() const {
    std::vector<IconView*> views;
    if (Current() == nullptr || selection_.empty()) return views;
    for (const auto& view : view_->Views())
        if (std::find(selection_.begin(), selection_.end(), &view->Icon()) != selection_.end()) views.push_back(view.get());
    return views;
}

void FormMain::UpdateSelection() {
    // Only icons still shown stay selected, in slide order.
    const auto views = SelectedViews();
    selection_.clear();
    std::vector<int16_t> indices;
    for (const IconView* view : views) {
        selection_.push_back(&view->Icon());
        indices.push_back(view->Index());
    }
    picMain_->SetSelected(indices);
    for (QAction* item : needSelection_) item->setEnabled(!selection_.empty());
}

IconBox FormMain::BoxOf(const Icon& icon) const {
    const IconExtent extent =
        IconView::Extent(icon, view_->TwipsPerPixelX(), view_->TwipsPerPixelY(), view_->HostWidth(), view_->HostHeight());
    return {icon.Left(), icon.Top(), extent.width, extent.height};
}

std::vector<IconBox> FormMain::Boxes() const {
    std::vector<IconBox> boxes;
    if (const Slide* slide = Current())
        for (const auto& icon : slide->Icons()) boxes.push_back(BoxOf(*icon));
    return boxes;
}

void FormMain::MoveSelected(const QString& text, const std::function<IconPlace(const IconView&, std::size_t)>& place) {
    const auto views = SelectedViews();
    if (views.empty()) return;
    std::vector<IconPlace> places;
    for (std::size_t i = 0; i < views.size(); ++i) places.push_back(place(*views[i], i));
    Edit(text, currentSlide_, [&] {
        for (std::size_t i = 0; i < views.size(); ++i) views[i]->SetPosition(places[i].left, places[i].top);
    });
    picMain_->update();  // the leaders follow their boxes
    UpdateSelection();
}

void FormMain::Nudge(int dx, int dy) {
    const auto count = static_cast<int>(SelectedViews().size());
    if (count == 0) return;
    // One pixel, or with the grid on, to the next line of the grid.
    const auto along = [this](int32_t position, int32_t moved, int pixels) {
        if (pixels == 0) return position;
        const int32_t sign = pixels > 0 ? 1 : -1;
        if (viewSettings_.snapToGrid) {
            const int32_t grid = viewSettings_.gridSize;
            const int32_t line = sign > 0 ? position / grid * grid : (position + grid - 1) / grid * grid;
            return line + sign * grid * std::abs(pixels);
        }
        return moved != position ? moved : position + sign;  // a pixel smaller than a thousandth still moves
    };
    MoveSelected(Step(Str::StepMoveIcons, count), [&](const IconView& view, std::size_t) {
        const QPoint moved = view_->ConvertHostToVirtualHost(view.View().Left() + RoundToLong(dx * view_->TwipsPerPixelX()),
                                                             view.View().Top() + RoundToLong(dy * view_->TwipsPerPixelY()));
        const IconBox box = BoxOf(view.Icon());
        return IconPlace{std::clamp(along(box.left, moved.x(), dx), 0, std::max(Icon::kMaxPosition - box.width, 0)),
                         std::clamp(along(box.top, moved.y(), dy), 0, std::max(Icon::kMaxPosition - box.height, 0))};
    });
}

void FormMain::AlignIcons(Alignment alignment) {
    ArrangeSelected(Str::StepAlignIcons, 2, [alignment](std::vector<IconBox>& boxes) { Align(boxes, alignment); });
}

void FormMain::DistributeIcons(bool horizontally) {
    ArrangeSelected(Str::StepDistributeIcons, 3, [horizontally](std::vector<IconBox>& boxes) { Distribute(boxes, horizontally); });
}

void FormMain::ArrangeSelected(int32_t step, std::size_t least, const std::function<void(std::vector<IconBox>&)>& arrange) {
    const auto views = SelectedViews();
    if (views.size() < least) return;
    std::vector<IconBox> boxes;
    for (const IconView* view : views) boxes.push_back(BoxOf(view->Icon()));
    arrange(boxes);
    MoveSelected(Step(step, static_cast<int>(views.size())),
                 [&](const IconView&, std::size_t i) { return IconPlace{boxes[i].left, boxes[i].top}; });
}

void FormMain::ViewSnapToGrid() {
    viewSettings_.snapToGrid = snapAction_->isChecked();
    SaveViewSettings();
}

void FormMain::ViewGridSize() {
    const auto answer = CurrentPrompt().AskText(S(Str::GridSizePrompt), S(Str::GridSizeTitle), std::to_string(viewSettings_.gridSize));
    if (!answer || answer->empty()) return;
    viewSettings_.gridSize = std::clamp<int32_t>(ToInteger(*answer), ViewSettings::kMinGridSize, ViewSettings::kMaxGridSize);
    SaveViewSettings();
}

// Kept for the next start; a store that cannot be written is told, and the grid works all the same.
void FormMain::SaveViewSettings() {
    try {
        WriteViewSettings(viewSettings_);
    } catch (const Error& error) {
        ShowError(error);
    }
}

void FormMain::EditSelectAll() {
    std::vector<const Icon*> icons;
    if (const Slide* slide = Current())
        for (const auto& icon : slide->Icons()) icons.push_back(icon.get());
    Select(icons);
}

void FormMain::CopySelection() {
    std::vector<const Icon*> icons;
    for (const IconView* view : SelectedViews()) icons.push_back(&view->Icon());
    const std::string text = IconsToText(icons);
    auto* data = new QMimeData;
    data->setData(kIconsMimeType, QByteArray::fromStdString(text));
    data->setText(Q(text));  // for a text editor, and for an editor of an older kind
    QGuiApplication::clipboard()->setMimeData(data);
}

void FormMain::EditCopy() {
    if (!SelectedViews().empty()) CopySelection();
}

void FormMain::EditCut() {
    if (SelectedViews().empty() || picMain_->Captured() != nullptr) return;
    CopySelection();
    DeleteSelection(Str::StepCutIcons);
}

void FormMain::EditDelete() { DeleteSelection(Str::StepDeleteIcons); }

void FormMain::DeleteSelection(int32_t step) {
    Slide* slide = Current();
    const auto views = SelectedViews();
    // Not the icon a drag holds.
    if (slide == nullptr || views.empty() || picMain_->Captured() != nullptr) return;
    currentIconView_ = nullptr;
    Edit(Step(step, static_cast<int>(views.size())), currentSlide_, [&] {
        for (IconView* view : views) {
            const Icon& icon = view->Icon();
            view->Terminate();
            view_->Views().Remove(*view);  // its surface goes with it
            slide->Icons().Remove(icon);
        }
        picMain_->update();
    });
    Select({});
}

void FormMain::EditPaste() {
    if (Current() == nullptr) return;
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    if (data == nullptr) return;
    const std::string text =
        data->hasFormat(kIconsMimeType) ? data->data(kIconsMimeType).toStdString() : data->text().toStdString();
    const auto icons = IconsFromText(text);
    if (icons.empty()) {
        QApplication::beep();  // nothing of ours on the clipboard
        return;
    }
    PlaceCopies(Str::StepPasteIcons, icons, pointerPlace_);
}

void FormMain::EditDuplicate() {
    std::vector<std::unique_ptr<Icon>> copies;
    for (const IconView* view : SelectedViews()) copies.push_back(std::make_unique<Icon>(view->Icon()));
    PlaceCopies(Str::StepDuplicateIcons, copies, std::nullopt);
}

void FormMain::PlaceCopies(int32_t step, const std::vector<std::unique_ptr<Icon>>& icons, std::optional<QPoint> at) {
    if (Current() == nullptr || icons.empty()) return;
    QPoint corner(Icon::kMaxPosition, Icon::kMaxPosition);
    for (const auto& icon : icons) corner = QPoint(std::min(corner.x(), icon->Left()), std::min(corner.y(), icon->Top()));
    const QPoint shift = at ? *at - corner : QPoint(kPasteOffset, kPasteOffset);
    std::vector<const Icon*> placed;
    Edit(Step(step, static_cast<int>(icons.size())), currentSlide_, [&] {
        std::vector<IconBox> taken = Boxes();
        for (const auto& icon : icons) {
            IconView* view = view_->AddIcon(icon.get());
            if (view == nullptr) {
                QApplication::beep();  // every surface is in use
                break;
            }
            const IconBox box = BoxOf(*icon);
            const IconPlace wanted{std::clamp(icon->Left() + shift.x(), 0, Icon::kMaxPosition),
                                   std::clamp(icon->Top() + shift.y(), 0, Icon::kMaxPosition)};
            IconPlace place = FreePlace(taken, {box.width, box.height}, wanted.left, wanted.top).value_or(wanted);
            // No free place left: overlapping, but still never exactly on top of another icon.
            const auto onTop = [&] {
                return std::any_of(taken.begin(), taken.end(), [&](const IconBox& other) { return other.left == place.left && other.top == place.top; });
            };
            while (onTop() && place.left < Icon::kMaxPosition) ++place.left;
            view->SetPosition(place.left, place.top);
            taken.push_back({place.left, place.top, box.width, box.height});
            placed.push_back(&view->Icon());
        }
    });
    picMain_->update();
    Select(placed);
}

void FormMain::ShowSlideMenu(const QPoint& pixel) {
    if (Current() == nullptr) return;
    picMain_->Guarded([&] {
        const QPoint at = picMain_->ToTwips(pixel);
        pointerPlace_ = view_->ConvertHostToVirtualHost(at.x(), at.y());
    });
    slideMenu_->popup(picMain_->mapToGlobal(pixel));
}

FormMain::DropKind FormMain::KindOfDrop(const QString& file) {
    const QString suffix = QFileInfo(file).suffix().toLower();
    if (suffix == "bmp" || suffix == "wmf" || suffix == "emf") return DropKind::Picture;
    if (suffix == "pdz" || suffix == "pdx") return DropKind::SlideShow;
    if (suffix == "exp") return DropKind::Package;
    return DropKind::None;
}

void FormMain::dragEnterEvent(QDragEnterEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() == 1 && urls.front().isLocalFile() && KindOfDrop(urls.front().toLocalFile()) != DropKind::None)
        event->acceptProposedAction();
}

void FormMain::dropEvent(QDropEvent* event) {
    const QList<QUrl> urls = event->mimeData()->urls();
    if (urls.size() != 1 || !urls.front().isLocalFile()) return;
    event->acceptProposedAction();
    const QString file = urls.front().toLocalFile();
    // After the drop has ended: opening may ask questions, which a drag source must not wait for.
    QTimer::singleShot(0, this, [this, file] { picMain_->Guarded([&] { OpenDropped(file); }); });
}

void FormMain::OpenDropped(const QString& file) {
    switch (KindOfDrop(file)) {
        case DropKind::Picture:
            if (Current() == nullptr) return;
            // As Background > Set does, with the slide's own checks of the path.
            Edit(Caption(Str::StepSetBackground), currentSlide_, [this, &file] { view_->SetBackgroundPicture(file.toStdString()); });
            UpdateStatus();
            UpdateEnabling();
            break;
        case DropKind::SlideShow:
        case DropKind::Package: OpenGiven(file.toStdString()); break;
        case DropKind::None: break;
    }
}

void FormMain::OpenGiven(const std::string& fileName) {
    if (KindOfDrop(QString::fromStdString(fileName)) == DropKind::Package)
        ImportPackage(fileName);
    else
        OpenDocument(fileName);
}

}  // namespace kvo

#pragma once

#include <QtWidgets/QMainWindow>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/IconLayout.h"
#include "services/Prompt.h"
#include "services/ViewSettings.h"
#include "session/DocumentSession.h"
#include "view/Surfaces.h"

class QAction;
class QFileSystemWatcher;
class QMenu;
class QLabel;
class QPrinter;
class QPushButton;
class QScrollArea;
class QScrollBar;
class QStatusBar;

namespace kvo {

class Error;
class FormSlidePanel;
class SlideHost;
class Icon;
class Slide;
class SlideShow;
class SlideView;

// The editor's window: one slide show at a time, its current slide on picMain,
// and the file commands.
class FormMain final : public QMainWindow, public ViewOwner {
    Q_OBJECT
public:
    FormMain();
    ~FormMain() override;

    void SignalFileChanged() override;
    void SignalIcon(IconView& view) override;
    std::unique_ptr<IconSurface> CreateIcon() override;

    void FileNew();
    void FileOpen();
    // Opens this file, after asking to save the current document.
    bool OpenDocument(const std::string& fileName);
    // What the desktop hands the editor: a show is opened, a package imported.
    void OpenGiven(const std::string& fileName);
    void FileSave();
    void FileSaveAs();
    void FileSaveBinary();
    void FileClose();
    void FileExit();
    void FileProperties();
    void FileImport();
    // The import with this package already chosen; empty for none.
    void ImportPackage(const std::string& package);
    void FileExport();
    // Fills the show's cells from a report file, or from the mean of several,
    // as one step that can be undone.
    void FileEvaluate();
    void FileAverage();
    void ScreenPreview();
    // Asks for the folder the measuring software writes to, keeps it for the next start, and runs the station.
    void ScreenStation();
    void FilePrint();
    void PrintSlide(QPrinter& printer);
    void FileCapture();
    void FileCopyImage();
    void Screen640();
    void Screen800();
    void HelpContents();
    // Shows slide number, once more even when it is the current one if force.
    void ShowSlide(int number, bool force = false);

    void SlideFirst();
    void SlidePrevious();
    void SlideNext();
    void SlideLast();
    void SlideAdd();
    void SlideInsert();
    void SlideRemove();
    void SlideUp();
    void SlideDown();
    void SlideTitle();
    void SlideHelpTopic();
    void SlideEnabled();
    void SlideDuplicate();
    // Puts slide from at place to, as one step, as Up or Down would one place at a time.
    void MoveSlide(int from, int to);
    void BackSet();
    void BackClear();
    void BackColor();
    void BackUpdate();
    void BackPosition();
    // Opens the picture in the application the desktop has for it, or in one
    // the user chooses when there is none, and shows every edit saved there.
    void BackEdit();

    void InsertIcon();
    // Icons for the features of QIF results that the user checks.
    void InsertFromResults();
    void IconSetDefault();
    void IconProperties();
    void IconDelete();
    // The selected icons of the current slide and what acts on them: each
    // command one undoable step.
    void EditCut();
    void EditCopy();
    void EditPaste();
    // Copies of the selected icons beside them, never on top of another icon.
    void EditDuplicate();
    void EditDelete();
    void EditSelectAll();
    void AlignIcons(Alignment alignment);
    void DistributeIcons(bool horizontally);
    void ViewSnapToGrid();
    void ViewGridSize();
    // The zoom scales the picture and the boxes together; what is placed
    // stays where it is in the show's units.
    void ViewZoomIn();
    void ViewZoomOut();
    // As large as the window allows, also when the window's size changes.
    void ViewZoomFit();
    void ViewActualSize();
    // Shows the slide as a station with a screen of this size shows it; none:
    // the slide takes the window, as it always has.
    void SetStationSize(std::optional<ScreenSize> size);
    std::optional<ScreenSize> StationSize() const { return stationSize_; }
    double Zoom() const;
    QScrollArea& Scroller() const { return *scroller_; }
    FormSlidePanel& SlidePanel() const { return *slidePanel_; }
    // In slide order.
    std::vector<IconView*> SelectedViews() const;
    void Select(std::vector<const Icon*> icons);
    bool SnapsToGrid() const { return viewSettings_.snapToGrid; }
    int32_t GridSize() const { return viewSettings_.gridSize; }
    // The pop-up menu of the slide, opened by a right-click where no icon is.
    QMenu& SlideMenu() const { return *slideMenu_; }
    QMenu& IconMenu() const { return *iconMenu_; }
    IconView* CurrentIconView() const { return currentIconView_; }
    const Icon* DefaultIcon() const { return defaultIcon_.get(); }

    // Offers each recovery copy that is newer than its document, newest first,
    // and restores the first one the user takes.
    void OfferRecovery();

    DocumentSession& Session() const { return *session_; }
    bool Saved() const;
    const std::string& FileName() const;
    SlideShow* Document() const;
    SlideView& View() const { return *view_; }
    SlideHost& Host() const { return *picMain_; }
    int CurrentSlide() const { return currentSlide_; }
    const std::string& SlideDirectory() const { return slideDirectory_; }
    const std::string& BitmapDirectory() const { return bitmapDirectory_; }
    QScrollBar& SlideScrollBar() const { return *hsSlide_; }
    QWidget& ScrollPanel() const { return *scrollPanel_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dropEvent(QDropEvent* event) override;

private:
    // What a file dropped on the window is taken for.
    enum class DropKind { None, Picture, SlideShow, Package };
    static DropKind KindOfDrop(const QString& file);
    void OpenDropped(const QString& file);
    void ConnectSelection();
    void OnIconPressed(int index, Qt::KeyboardModifiers modifiers);
    void OnBandSelected(const QList<int>& indices, Qt::KeyboardModifiers modifiers);
    void Nudge(int dx, int dy);
    // Moves the rest of the selection as far as the dragged box went.
    void FollowDraggedBox(const IconView& dragged, const QPoint& from);
    // Zooms by steps of the zoom list, keeping this pixel of the host under the pointer.
    void ZoomBy(int steps, std::optional<QPoint> anchor);
    void SetZoom(double zoom, std::optional<QPoint> anchor);
    // Sizes picMain for the station size and the zoom.
    void LayOutSlide();
    void UpdateZoomStatus();
    void UpdateSlidePanel();
    void SaveViewSettings();
    void ShowSlideMenu(const QPoint& pixel);
    // Frames the selection anew and enables what acts on it.
    void UpdateSelection();
    IconBox BoxOf(const kvo::Icon& icon) const;
    std::vector<IconBox> Boxes() const;
    // Puts the selected icons where place says, as one step named text.
    void MoveSelected(const QString& text, const std::function<IconPlace(const IconView&, std::size_t)>& place);
    // Aligns or distributes the selected icons' boxes, when at least least are selected.
    void ArrangeSelected(int32_t step, std::size_t least, const std::function<void(std::vector<IconBox>&)>& arrange);
    // Adds copies of icons to the current slide as one step, offset from where
    // they were or from the pointer's place, and selects them.
    void PlaceCopies(int32_t step, const std::vector<std::unique_ptr<kvo::Icon>>& icons, std::optional<QPoint> at);
    void CopySelection();
    void DeleteSelection(int32_t step);
    // Runs one edit and records it as an undoable step named text when it
    // changed the document; slide is the one slide it touches, 0 the whole show.
    void Edit(const QString& text, int slide, const std::function<void()>& edit);
    // Whether the desktop names a default application for the file's type.
    static bool HasRegisteredEditor(const QString& file);
    static bool StartPictureEditor(const QString& program, const QString& file);
    void ShowNoSlide();

    void BuildControls();
    void BuildMenus();
    void ReadDirectories();
    bool AskToSave();
    void ShowDocument();
    void ClearWindow();
    // The name chosen in a save dialog, with the format's extension when none
    // was typed; none when cancelled or when the user keeps an existing file.
    std::optional<std::string> ChooseSaveTarget(const FileChoice& choice, const std::string& extension);
    bool ConfirmReplace(const std::string& file);
    void UpdateCaption();
    void UpdateStatus();
    void UpdateEnabling();
    void UpdateSlideRange();
    Slide* Current() const;
    void ArrangeControls();
    void ResizeEditingArea(int widthTwips, int heightTwips);
    QImage SlideImage() const;
    void RememberDocument(const std::string& fileName);
    void UpdateRecentMenu();
    void OpenRecent(const std::string& fileName);

    QWidget* central_;
    SlideHost* picMain_;
    QStatusBar* sbMain_;
    QLabel* statusText_;
    QLabel* stateText_;  // the worst tolerance state of the show, once it has one
    QLabel* zoomText_;
    QScrollArea* scroller_;
    FormSlidePanel* slidePanel_;
    QWidget* scrollPanel_;
    QScrollBar* hsSlide_;
    QPushButton* cmdDelayedResize_;
    QFileSystemWatcher* pictureWatcher_;
    std::map<QString, QString> pictureEditors_;  // picture kind (upper-cased extension) to the program chosen for it
    QMenu* iconMenu_;
    QMenu* slideMenu_ = nullptr;
    QList<QAction*> needSelection_;  // enabled while icons are selected
    QAction* snapAction_ = nullptr;
    QMenu* fileMenu_ = nullptr;
    QAction* exitAction_ = nullptr;
    QList<QAction*> recentActions_;  // the recent files' entries and the separator after them
    QList<QAction*> needDocument_;   // enabled while a document is open
    QList<QAction*> needSlide_;      // enabled while a slide is shown
    QAction* slideFirst_ = nullptr;
    QAction* slidePrevious_ = nullptr;
    QAction* slideNext_ = nullptr;
    QAction* slideLast_ = nullptr;
    QAction* slideRemove_ = nullptr;
    QAction* slideUp_ = nullptr;
    QAction* slideDown_ = nullptr;
    QAction* backEdit_ = nullptr;
    QAction* slideEnabled_ = nullptr;
    DocumentSession* session_;
    IconView* currentIconView_ = nullptr;  // while the icon menu is open
    std::vector<const kvo::Icon*> selection_;  // icons of the current slide
    std::vector<int32_t> selectedPositions_;   // the selection's places in its slide, across an undo
    int selectedSlide_ = 0;
    std::optional<QPoint> pointerPlace_;       // thousandths of the host, while the slide's menu is open
    std::optional<QPoint> dragFrom_;            // where the dragged icon was, thousandths of the host
    ViewSettings viewSettings_;
    std::optional<ScreenSize> stationSize_;
    double zoom_ = 1.0;
    bool zoomFit_ = false;
    QList<QAction*> stationActions_;  // the window's own size first, then the stations' sizes
    std::unique_ptr<Icon> defaultIcon_;    // the template of new icons, for as long as the program runs
    std::unique_ptr<SlideView> view_;
    std::string slideDirectory_;
    std::string bitmapDirectory_;
    int currentSlide_ = 0;
    int frameWidth_ = 0;
    int frameHeight_ = 0;
};

}  // namespace kvo

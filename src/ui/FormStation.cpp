#include "FormStation.h"

#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QStatusBar>

#include <algorithm>

#include "DialogSupport.h"
#include "SlideHost.h"
#include "TouchButton.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "model/Value.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "session/ResultsFolder.h"
#include "session/StationSession.h"
#include "view/Colors.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

// A status text too long for its place ends in "…" instead of being cut off
// mid-letter; the whole text is its tooltip.
class EndCutLabel final : public QLabel {
public:
    using QLabel::QLabel;
    void SetWholeText(const QString& text) {
        whole_ = text;
        setToolTip(text);
        Cut();
    }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QLabel::resizeEvent(event);
        Cut();
    }

private:
    void Cut() { setText(fontMetrics().elidedText(whole_, Qt::ElideRight, contentsRect().width())); }

    QString whole_;
};

// Touch-sized rows for the history and the settings.
constexpr int kRowHeight = 56;
constexpr int kPanelWidth = 380;
// The languages the station cycles through; 0 follows the measuring software.
constexpr int32_t kLanguages[] = {0, 1033, 1031};

QColor StateColor(int16_t state) {
    switch (state) {
        case ToleranceState::InBand: return ToQColor(SlideView::kColorOK);
        case ToleranceState::Warning: return ToQColor(SlideView::kColorWarning);
        case ToleranceState::OutOfTolerance: return ToQColor(SlideView::kColorError);
        default: return ToQColor(SlideView::kColorEmpty);
    }
}

QString Text(int32_t id, std::initializer_list<ResArg> args = {}) { return QString::fromStdString(FormatResString(id, args)); }

QString LanguageName(int32_t lcid) {
    if (lcid == 0) return Text(Str::StationLanguageHost);
    const QLocale locale(QString::fromStdString(LocaleNameFor(lcid)));
    const QString name = locale.nativeLanguageName();
    return name.isEmpty() ? name : name.front().toUpper() + name.mid(1);
}

QFont Points(QFont font, int points) {
    font.setPointSize(points);
    return font;
}

}  // namespace

bool FormStation::Run(const SlideShow& show, const StationSettings& settings, QWidget* parent) {
    std::unique_ptr<FormStation> station;
    try {
        station = std::make_unique<FormStation>(show, settings, parent);
    } catch (const Error& error) {
        CurrentPrompt().Message(error.Description(), LoadResString(Str::StationTitleWaiting), MessageKind::Exclamation);
        return false;
    }
    station->setWindowState(Qt::WindowFullScreen);
    station->exec();
    return true;
}

FormStation::FormStation(const SlideShow& show, const StationSettings& settings, QWidget* parent)
    : FormPreview(show, parent), settings_(settings), parts_(std::make_unique<StationSession>(show)),
      folder_(new ResultsFolder(this)) {
    if (settings_.folder.empty())
        throw Error(ErrorNumber::FileNotFound, "FormStation", LoadResString(Str::StationNoFolder));
    if (!DirectoryExists(settings_.folder))
        throw Error(ErrorNumber::FileNotFound, "FormStation", FormatResString(Str::StationFolderMissing, {settings_.folder}));
    setObjectName("FormStation");
    BuildPanels();
    connect(folder_, &ResultsFolder::fileReady, this, &FormStation::Receive);
    if (const auto newest = folder_->Watch(QString::fromStdString(settings_.folder))) Receive(*newest);
    ShowStatus();
}

FormStation::~FormStation() = default;

void FormStation::BuildPanels() {
    // The slide shares its row with the history or the settings, when one is open.
    auto* row = new QHBoxLayout;
    Column().removeWidget(&Host());
    row->addWidget(&Host(), 1);
    history_ = new QListWidget(this);
    history_->setObjectName("lstHistory");
    history_->setFont(Points(history_->font(), TouchButton::kPoints - 2));
    history_->setFixedWidth(kPanelWidth);
    history_->setWordWrap(true);
    history_->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    history_->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);  // long entries wrap instead
    history_->hide();
    connect(history_, &QListWidget::itemClicked, this, [this](QListWidgetItem* item) { ShowPart(history_->row(item)); });
    row->addWidget(history_);

    settingsPanel_ = new QWidget(this);
    settingsPanel_->setObjectName("fraSettings");
    settingsPanel_->setFixedWidth(kPanelWidth);
    auto* settings = new QVBoxLayout(settingsPanel_);
    const auto label = [this](const char* name) {
        auto* item = new QLabel(settingsPanel_);
        item->setObjectName(name);
        item->setWordWrap(true);
        item->setFont(Points(item->font(), TouchButton::kPoints - 2));
        return item;
    };
    const auto button = [this](const char* name, int32_t caption, std::function<void()> action) {
        auto* item = CaptionedButton<TouchButton>(settingsPanel_, name, caption);
        connect(item, &QPushButton::clicked, this, std::move(action));
        return item;
    };
    folderSetting_ = label("lblFolder");
    averageSetting_ = label("lblAverage");
    languageSetting_ = label("lblLanguage");
    auto* steps = new QHBoxLayout;
    steps->addWidget(button("cmdFewer", Str::StationFewer, [this] { ChangeAverage(-1); }));
    steps->addWidget(button("cmdMore", Str::StationMore, [this] { ChangeAverage(1); }));
    settings->addWidget(folderSetting_);
    settings->addSpacing(kRowHeight / 2);
    settings->addWidget(averageSetting_);
    settings->addLayout(steps);
    settings->addSpacing(kRowHeight / 2);
    settings->addWidget(languageSetting_);
    settings->addWidget(button("cmdLanguage", Str::StationLanguageNext, [this] { NextLanguage(); }));
    settings->addStretch(1);
    settingsPanel_->hide();
    row->addWidget(settingsPanel_);
    Column().insertLayout(0, row, 1);

    average_ = AddButton("cmdAverage", Str::StationAverageOf, [this] { SetAveraging(!averaging_); });
    average_->setCheckable(true);
    historyButton_ = AddButton("cmdHistory", Str::StationHistory, [this] {
        settingsButton_->setChecked(false);
        settingsPanel_->hide();
        history_->setVisible(historyButton_->isChecked());
    });
    historyButton_->setCheckable(true);
    settingsButton_ = AddButton("cmdSettings", Str::StationSettings, [this] {
        historyButton_->setChecked(false);
        history_->hide();
        settingsPanel_->setVisible(settingsButton_->isChecked());
    });
    settingsButton_->setCheckable(true);
    // Help and Close stay at the right end, where the preview has them.
    for (const char* name : {"cmdHelp", "cmdClose"}) {
        auto* item = findChild<TouchButton*>(name);
        ButtonBar().removeWidget(item);
        ButtonBar().addWidget(item);
    }

    statusBar_ = new QStatusBar(this);
    statusBar_->setObjectName("sbStation");
    statusBar_->setSizeGripEnabled(false);
    part_ = new EndCutLabel(statusBar_);
    part_->setObjectName("sbStationPart");
    part_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);  // a long message never widens the window
    state_ = new QLabel(statusBar_);
    state_->setObjectName("sbStationState");
    state_->setAutoFillBackground(true);
    state_->setMargin(6);
    ButtonBar().removeWidget(&SlideStatus());
    SlideStatus().setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Preferred);  // the status bar has room for it
    for (QLabel* item : {&SlideStatus(), part_, state_}) item->setFont(Points(item->font(), TouchButton::kPoints - 2));
    statusBar_->addWidget(part_, 1);
    statusBar_->addPermanentWidget(&SlideStatus());
    statusBar_->addPermanentWidget(state_);
    Column().addWidget(statusBar_);
    ShowSettings();
}

void FormStation::Receive(const QString& path) {
    const StationPart& part = parts_->Receive(path.toStdString());
    if (part.report) {
        problem_.clear();
        ShowPart(0);
        return;
    }
    // The last good part stays; its place in the history moved down by one.
    problem_ = Text(Str::StationReadFailed, {FileNamePart(part.file), shown_ >= 0 ? FileNamePart(parts_->History()[shown_ + 1].file) : std::string("-")});
    if (shown_ >= 0) ++shown_;
    ListHistory();
    ShowStatus();
}

void FormStation::ShowPart(int index) {
    const auto& history = parts_->History();
    if (index < 0 || index >= static_cast<int>(history.size()) || !history[index].report) return;
    try {
        if (averaging_) {
            auto [show, count] = parts_->Averaged(static_cast<std::size_t>(index), settings_.average);
            Play(*show);
            averaged_ = count;
        } else {
            Play(*parts_->Evaluated(static_cast<std::size_t>(index)));
        }
    } catch (const Error& error) {
        problem_ = QString::fromStdString(error.Description());
        ShowStatus();
        return;
    }
    shown_ = index;
    setWindowTitle(Text(Str::StationTitle, {FileNamePart(history[index].file)}));
    ListHistory();
    ShowStatus();
}

void FormStation::SetAveraging(bool averaging) {
    averaging_ = averaging && settings_.average > 1;
    average_->setChecked(averaging_);
    if (shown_ >= 0) ShowPart(shown_);
    ShowStatus();
}

void FormStation::ChangeAverage(int step) {
    settings_.average = std::clamp(settings_.average + step, 0, StationSettings::kMaxAverage);
    if (settings_.average == 1) settings_.average += step;  // an average of one part is the part
    settings_.average = std::clamp(settings_.average, 0, StationSettings::kMaxAverage);
    SaveSettings();
    SetAveraging(averaging_);
}

void FormStation::NextLanguage() {
    const auto* at = std::find(std::begin(kLanguages), std::end(kLanguages), settings_.language);
    settings_.language = (at == std::end(kLanguages) || at + 1 == std::end(kLanguages)) ? kLanguages[0] : *(at + 1);
    SaveSettings();
}

void FormStation::SaveSettings() {
    try {
        WriteStationSettings(settings_);
    } catch (const Error& error) {
        problem_ = Text(Str::StationSettingsNotSaved, {error.Description()});
        ShowStatus();
    }
    ShowSettings();
}

void FormStation::ShowSettings() {
    folderSetting_->setText(Text(Str::StationFolderSetting, {settings_.folder}));
    averageSetting_->setText(settings_.average > 1 ? Text(Str::StationAverageSetting, {settings_.average})
                                                   : Text(Str::StationAverageOff));
    languageSetting_->setText(Text(Str::StationLanguageSetting, {LanguageName(settings_.language).toStdString()}));
    average_->setText(Text(Str::StationAverageOf, {std::max(settings_.average, 2)}));
    average_->setVisible(settings_.average > 1);
}

void FormStation::ListHistory() {
    history_->clear();
    for (const StationPart& part : parts_->History()) {
        const std::string time = part.received.toString("HH:mm:ss").toStdString();
        auto* item = new QListWidgetItem(history_);
        item->setSizeHint(QSize(kPanelWidth, kRowHeight));
        if (part.report) {
            item->setText(Text(Str::StationHistoryEntry, {time, FileNamePart(part.file), ToleranceStateName(part.worst)}));
            item->setBackground(StateColor(part.worst));
            item->setForeground(Qt::black);
        } else {
            item->setText(Text(Str::StationHistoryError, {time, FileNamePart(part.file), part.error}));
            item->setSizeHint(QSize(kPanelWidth, kRowHeight * 3));
            item->setFlags(Qt::ItemIsEnabled);  // nothing to show: one touch does nothing
        }
    }
    if (shown_ >= 0) history_->setCurrentRow(shown_);
}

void FormStation::ShowStatus() {
    const auto& history = parts_->History();
    QString text;
    if (shown_ < 0) {
        text = Text(Str::StationWaiting, {settings_.folder});
    } else {
        const StationPart& part = history[static_cast<std::size_t>(shown_)];
        text = averaging_ ? Text(Str::StationAveraged, {averaged_, FileNamePart(part.file)})
                          : Text(Str::StationPart, {FileNamePart(part.file), part.received.toString("HH:mm:ss").toStdString()});
    }
    if (!problem_.isEmpty()) text += "   " + problem_;
    static_cast<EndCutLabel*>(part_)->SetWholeText(text);
    if (shown_ < 0) {
        state_->hide();
        return;
    }
    const int16_t worst = Played().WorstTolerance();
    state_->setText(Text(Str::StatusWorst, {ToleranceStateName(worst)}));
    QPalette colours = state_->palette();
    colours.setColor(QPalette::Window, StateColor(worst));
    colours.setColor(QPalette::WindowText, Qt::black);
    state_->setPalette(colours);
    state_->show();
}

}  // namespace kvo

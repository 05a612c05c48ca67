#pragma once

#include <memory>
#include <string>

#include "FormPreview.h"
#include "services/StationSettings.h"

class QLabel;
class QListWidget;
class QStatusBar;

namespace kvo {

class ResultsFolder;
class StationSession;

// The operator display beside the measuring machine: the preview of the show,
// evaluated anew with every results file the measuring software writes into
// the watched folder, from the slide that needs the operator first. A file
// that cannot be read goes into the history with its error; the last good
// part stays on screen.
class FormStation final : public FormPreview {
    Q_OBJECT
public:
    // Plays the show full-screen until the operator closes the station; says
    // why and returns false when it cannot start.
    static bool Run(const SlideShow& show, const StationSettings& settings, QWidget* parent);

    // Error 9 when no slide is enabled, error 53 when the folder does not exist.
    FormStation(const SlideShow& show, const StationSettings& settings, QWidget* parent);
    ~FormStation() override;

    // A complete results file, as the folder tells it.
    void Receive(const QString& path);
    // The part at index of the history, 0 the newest, or the average up to it.
    void ShowPart(int index);
    void SetAveraging(bool averaging);
    void ChangeAverage(int step);
    void NextLanguage();

    ResultsFolder& Folder() const { return *folder_; }
    const StationSession& Parts() const { return *parts_; }
    const StationSettings& Settings() const { return settings_; }
    // The history entry shown, -1 before the first part.
    int Shown() const { return shown_; }
    bool Averaging() const { return averaging_; }

private:
    void BuildPanels();
    void ListHistory();
    void ShowStatus();
    void ShowSettings();
    void SaveSettings();

    StationSettings settings_;
    std::unique_ptr<StationSession> parts_;
    ResultsFolder* folder_;
    int shown_ = -1;
    bool averaging_ = false;
    int averaged_ = 0;  // parts in the average shown
    QString problem_;   // the last file that could not be read, said in the status bar
    TouchButton* average_;
    TouchButton* historyButton_;
    TouchButton* settingsButton_;
    QListWidget* history_;
    QWidget* settingsPanel_;
    QLabel* folderSetting_;
    QLabel* averageSetting_;
    QLabel* languageSetting_;
    QStatusBar* statusBar_;
    QLabel* part_;
    QLabel* state_;
};

}  // namespace kvo

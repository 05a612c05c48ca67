#pragma once

#include <QtWidgets/QMainWindow>

#include <array>
#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/Recovery.h"
#include "services/Prompt.h"
#include "services/RecentFiles.h"
#include "view/Surfaces.h"

class QAction;
class QFileSystemWatcher;
class QMenu;
class QLabel;
class QPrinter;
class QPushButton;
class QScrollBar;
class QStatusBar;
class QTimer;
class QUndoStack;

namespace kvo {

class Error;
class SlideHost;
class Icon;
class Slide;
class SlideShow;
class SlideView;
class DocumentStep;

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
    void FileSave();
    void FileSaveAs();
    void FileSaveBinary();
    void FileClose();
    void FileExit();
    void FileProperties();
    void FileImport();
    void FileExport();
    // Fills the show's cells from a report file, or from the mean of several,
    // as one step that can be undone.
    void FileEvaluate();
    void FileAverage();
    void ScreenPreview();
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
    void BackSet();
    void BackClear();
    void BackColor();
    void BackUpdate();
    void BackPosition();
    // Opens the picture in the application the desktop has for it, and shows
    // every edit saved there.
    void BackEdit();

    void InsertIcon();
    // Icons for the features of QIF results that the user checks.
    void InsertFromResults();
    void IconSetDefault();
    void IconProperties();
    void IconDelete();
    QMenu& IconMenu() const { return *iconMenu_; }
    IconView* CurrentIconView() const { return currentIconView_; }
    const Icon* DefaultIcon() const { return defaultIcon_.get(); }

    // Offers each recovery copy that is newer than its document, newest first,
    // and restores the first one the user takes.
    void OfferRecovery();
    // How long after a change the recovery copy is written.
    void SetRecoveryDelay(std::chrono::milliseconds delay);
    const Recovery& RecoveryCopies() const { return recovery_; }
    QUndoStack& UndoStack() const { return *undoStack_; }

    bool Saved() const;
    const std::string& FileName() const { return fileName_; }
    SlideShow* Document() const { return document_.get(); }
    SlideView& View() const { return *view_; }
    SlideHost& Host() const { return *picMain_; }
    int CurrentSlide() const { return currentSlide_; }
    const std::string& SlideDirectory() const { return slideDirectory_; }
    const std::string& BitmapDirectory() const { return bitmapDirectory_; }
    QScrollBar& SlideScrollBar() const { return *hsSlide_; }
    QWidget& ScrollPanel() const { return *scrollPanel_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    friend class DocumentStep;
    // A drag of an icon or a leader end, from the press to the mouse-up.
    struct MouseEdit {
        int slide;
        std::string before;
        std::vector<std::array<int32_t, 4>> places;  // each icon's left, top and leader end
    };

    // Runs one edit and records it as an undoable step named text when it
    // changed the document; slide is the one slide it touches, 0 the whole show.
    void Edit(const QString& text, int slide, const std::function<void()>& edit);
    std::string Snapshot(int slide) const;
    // Puts a snapshot back and shows slide current, with new views for its icons.
    void PutBack(int slide, const std::string& snapshot, int current);
    void BeginMouseEdit();
    void EndMouseEdit();
    // Saved, or changes the user chose to throw away.
    void SetSaved();
    // A change that is no undoable step.
    void MarkChanged();
    void UndoIndexChanged();
    void WriteRecovery();
    void ShowNoSlide();
    void ResetEditing();

    void BuildControls();
    void BuildMenus();
    void ReadDirectories();
    bool AskToSave();
    void ShowDocument(std::unique_ptr<SlideShow> show, const std::string& fileName);
    void ClearWindow();
    bool Write(const std::string& fileName, bool binary);
    // The name chosen in a save dialog, with the format's extension when none
    // was typed; none when cancelled or when the user keeps an existing file.
    std::optional<std::string> ChooseSaveTarget(const FileChoice& choice, const std::string& extension);
    bool ConfirmReplace(const std::string& file);
    void ShowError(const Error& error, const std::string& fileName);
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
    QWidget* scrollPanel_;
    QScrollBar* hsSlide_;
    QPushButton* cmdDelayedResize_;
    QFileSystemWatcher* pictureWatcher_;
    QMenu* iconMenu_;
    QMenu* fileMenu_ = nullptr;
    QAction* exitAction_ = nullptr;
    QList<QAction*> recentActions_;  // the recent files' entries and the separator after them
    RecentFiles recent_{RecentFiles::DefaultStorePath()};
    QUndoStack* undoStack_;
    Recovery recovery_{Recovery::DefaultDirectory()};
    QTimer* recoveryTimer_;
    std::optional<MouseEdit> mouseEdit_;
    int editDepth_ = 0;
    bool changedOutsideUndo_ = false;  // the deliberate cases that mark a change without a step
    IconView* currentIconView_ = nullptr;  // while the icon menu is open
    std::unique_ptr<Icon> defaultIcon_;    // the template of new icons, for as long as the program runs
    std::unique_ptr<SlideShow> document_;
    std::unique_ptr<SlideView> view_;
    std::string fileName_;
    std::string slideDirectory_;
    std::string bitmapDirectory_;
    int currentSlide_ = 0;
    int frameWidth_ = 0;
    int frameHeight_ = 0;
};

}  // namespace kvo

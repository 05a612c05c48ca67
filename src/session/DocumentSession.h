#pragma once

#include <QtCore/QObject>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>
#include <QtGui/QUndoStack>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/Recovery.h"
#include "services/RecentFiles.h"

namespace kvo {

class Slide;
class SlideShow;

// The open document and everything a window keeps about it besides its
// widgets: the file it came from and its format, whether it is saved, the
// undo steps, the recovery copy and the recent files. Errors go to the user
// through the current prompt, each command's in one place.
class DocumentSession final : public QObject {
    Q_OBJECT
public:
    explicit DocumentSession(std::string recoveryDirectory = Recovery::DefaultDirectory(),
                             std::string recentStore = RecentFiles::DefaultStorePath(), QObject* parent = nullptr);
    ~DocumentSession() override;

    SlideShow* Document() const { return document_.get(); }
    const std::string& FileName() const { return fileName_; }
    bool Saved() const;
    QUndoStack& UndoStack() { return undo_; }
    const Recovery& RecoveryCopies() const { return recovery_; }
    RecentFiles& Recent() { return recent_; }

    // An empty show that is saved as fileName.
    void New(const std::string& fileName);
    // Loaded aside first: a file that cannot be read leaves the session as it was.
    bool Open(const std::string& fileName);
    // A recovery copy in place of its document, unsaved, the copy kept until the user saves or discards.
    bool Recover(const Recovery::Copy& copy);
    void Close();
    // To its own file in its own format; a read-only file is left alone.
    bool Save();
    bool SaveAs(const std::string& fileName, bool binary);
    // The changes are thrown away: saved from now on, and the recovery copy goes.
    void Discard();
    // Fills the cells from a report, or from the mean of several, as one step.
    bool Evaluate(const std::string& reportFile, int current);
    bool Average(const std::vector<std::string>& reportFiles, int current);
    // Writes the package's show to target; false when the user declined or it failed.
    bool Import(const std::string& package, const std::string& target);
    bool Export(const std::string& package, const std::string& comment);

    // One edit, recorded as an undoable step named text when it changed the
    // document: slide is the one slide it touches (0 the whole show), current
    // the slide shown before; edit returns the slide shown after it.
    void Edit(const QString& text, int slide, int current, const std::function<int()>& edit);
    // A drag on slide: its step is named after what moved when it ends.
    void BeginMouseEdit(int slide);
    void EndMouseEdit(int slide);
    // A change told by the views: counted unless an edit or a drag records it.
    void SignalChange();
    // A change that is no undoable step.
    void MarkChanged();

    void SetRecoveryDelay(std::chrono::milliseconds delay) { recoveryTimer_.setInterval(delay); }
    // Removes document's recovery copy on the recovery thread, after the writes before it.
    void RemoveRecovery(const std::string& document);
    // Waits for the recovery writes and removals asked for so far.
    void FlushRecovery() { recoveryWriter_.waitForDone(); }

signals:
    // Another document, or none.
    void documentChanged();
    // Undo or redo is about to put a copy in place: whatever holds a slide lets go.
    void aboutToReplace();
    // ...and has: show slide current.
    void replaced(int current);
    // The saved state or the file name changed.
    void stateChanged();
    void recoveryFailed(const QString& message);
    void recentChanged();

private:
    friend class DocumentStep;
    struct MouseEdit {
        int slide;
        std::unique_ptr<Slide> before;
    };

    void Show(std::unique_ptr<SlideShow> show, const std::string& fileName);
    bool Write(const std::string& fileName, bool binary);
    void Remember(const std::string& fileName);
    void SetSaved();
    void OnUndoIndexChanged();
    void WriteRecovery();

    std::unique_ptr<SlideShow> document_;
    std::string fileName_;
    QUndoStack undo_;
    bool changedOutsideUndo_ = false;  // the deliberate cases that mark a change without a step
    int editDepth_ = 0;
    std::optional<MouseEdit> mouseEdit_;
    Recovery recovery_;
    QTimer recoveryTimer_;
    QThreadPool recoveryWriter_;  // one thread: writes and removals keep their order
    RecentFiles recent_;
};

}  // namespace kvo

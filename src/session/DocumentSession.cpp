#include "DocumentSession.h"

#include <QtCore/QFileInfo>

#include <array>
#include <variant>

#include "model/ExportPackage.h"
#include "model/Icon.h"
#include "model/QifResults.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

constexpr int kUndoLimit = 100;
constexpr std::chrono::milliseconds kRecoveryDelay{30000};

// The read-only attribute: write permission off, whoever is asking.
bool IsReadOnly(const std::string& fileName) {
    const QFileInfo file(QString::fromStdString(fileName));
    return file.exists() && !(file.permissions() & QFileDevice::WriteOwner);
}

QString Step(int32_t id, const ResArg& argument) { return QString::fromStdString(FormatResString(id, {argument})); }

using Copy = std::variant<std::unique_ptr<SlideShow>, std::unique_ptr<Slide>>;

Copy Take(const SlideShow& show, int slide) {
    if (slide == 0) return std::make_unique<SlideShow>(show);
    return std::make_unique<Slide>(show.Slides().Item(slide));
}

bool Unchanged(const SlideShow& show, int slide, const Copy& before) {
    if (slide == 0) return *std::get<0>(before) == show;
    return *std::get<1>(before) == show.Slides().Item(slide);
}

}  // namespace

// One undoable edit. It holds the document (or the one slide the edit touched)
// as it is on the other side of the edit, and undo and redo exchange that with
// the present: nothing is copied or converted, so neither can fail.
class DocumentStep final : public QUndoCommand {
public:
    DocumentStep(DocumentSession& session, const QString& text, int slide, Copy other, int currentBefore, int currentAfter)
        : QUndoCommand(text),
          session_(session),
          slide_(slide),
          other_(std::move(other)),
          currentBefore_(currentBefore),
          currentAfter_(currentAfter) {}

    void undo() override { Exchange(currentBefore_); }
    void redo() override {
        if (!pushed_) {
            pushed_ = true;  // pushed once the edit had been made
            return;
        }
        Exchange(currentAfter_);
    }

private:
    void Exchange(int current) {
        emit session_.aboutToReplace();
        session_.mouseEdit_.reset();
        if (slide_ == 0) {
            auto& show = std::get<0>(other_);
            show->KeepFormatOf(*session_.document_);
            session_.document_.swap(show);
        } else {
            session_.document_->Slides().Exchange(slide_, std::get<1>(other_));
        }
        emit session_.replaced(current);
    }

    DocumentSession& session_;
    int slide_;
    Copy other_;
    int currentBefore_;
    int currentAfter_;
    bool pushed_ = false;
};

DocumentSession::DocumentSession(std::string recoveryDirectory, std::string recentStore, QObject* parent)
    : QObject(parent), recovery_(std::move(recoveryDirectory)), recent_(std::move(recentStore)) {
    undo_.setUndoLimit(kUndoLimit);
    connect(&undo_, &QUndoStack::indexChanged, this, [this] { OnUndoIndexChanged(); });
    recoveryTimer_.setSingleShot(true);
    recoveryTimer_.setInterval(kRecoveryDelay);
    connect(&recoveryTimer_, &QTimer::timeout, this, [this] { WriteRecovery(); });
    recoveryWriter_.setMaxThreadCount(1);
}

DocumentSession::~DocumentSession() {
    recoveryWriter_.waitForDone();
    undo_.clear();  // its steps hold copies of this document
}

bool DocumentSession::Saved() const { return undo_.isClean() && !changedOutsideUndo_; }

void DocumentSession::Show(std::unique_ptr<SlideShow> show, const std::string& fileName) {
    // A document shown starts with nothing to undo and nothing to recover.
    mouseEdit_.reset();
    changedOutsideUndo_ = false;
    recoveryTimer_.stop();
    document_.reset();  // first: the steps of the old document would put it back
    undo_.clear();
    document_ = std::move(show);
    fileName_ = fileName;
    emit documentChanged();
    emit stateChanged();
}

void DocumentSession::New(const std::string& fileName) { Show(std::make_unique<SlideShow>(), fileName); }

bool DocumentSession::Open(const std::string& fileName) {
    auto show = std::make_unique<SlideShow>();
    try {
        show->LoadFromFile(fileName);
    } catch (const Error& error) {
        ShowError(error, fileName);
        return false;
    }
    Show(std::move(show), fileName);
    Remember(fileName);
    if (IsReadOnly(fileName))
        CurrentPrompt().Message(LoadResString(Str::OpenReadOnly), LoadResString(Str::ReadOnlyTitle), MessageKind::Information);
    return true;
}

bool DocumentSession::Recover(const Recovery::Copy& copy) {
    FlushRecovery();
    std::unique_ptr<SlideShow> show;
    try {
        show = recovery_.Load(copy);
    } catch (const Error& error) {
        ShowError(error, copy.path);
        return false;
    }
    Show(std::move(show), copy.document);
    Remember(copy.document);
    MarkChanged();
    WriteRecovery();
    return true;
}

void DocumentSession::Close() { Show(nullptr, {}); }

void DocumentSession::Remember(const std::string& fileName) {
    recent_.Add(fileName);
    emit recentChanged();
}

bool DocumentSession::Write(const std::string& fileName, bool binary) {
    try {
        if (binary) document_->SaveToBinary(fileName);
        else document_->SaveToFile(fileName);
    } catch (const Error& error) {
        ShowError(error, fileName);
        return false;  // the document in memory is untouched and still unsaved
    }
    return true;
}

bool DocumentSession::Save() {
    if (!document_ || fileName_.empty()) return false;
    if (IsReadOnly(fileName_)) {
        CurrentPrompt().Message(LoadResString(Str::SaveReadOnly), LoadResString(Str::ReadOnlyTitle), MessageKind::Information);
        return false;
    }
    if (!Write(fileName_, document_->Binary())) return false;
    SetSaved();
    return true;
}

bool DocumentSession::SaveAs(const std::string& fileName, bool binary) {
    if (!document_ || !Write(fileName, binary)) return false;
    RemoveRecovery(fileName_);
    fileName_ = fileName;
    Remember(fileName);
    SetSaved();
    return true;
}

void DocumentSession::Discard() { SetSaved(); }

void DocumentSession::SetSaved() {
    changedOutsideUndo_ = false;
    undo_.setClean();
    recoveryTimer_.stop();
    if (!fileName_.empty()) RemoveRecovery(fileName_);
    emit stateChanged();
}

void DocumentSession::MarkChanged() {
    changedOutsideUndo_ = true;
    if (document_ && !recoveryTimer_.isActive()) recoveryTimer_.start();
    emit stateChanged();
}

void DocumentSession::SignalChange() {
    if (editDepth_ == 0 && !mouseEdit_) MarkChanged();
}

void DocumentSession::OnUndoIndexChanged() {
    emit stateChanged();
    if (!document_) return;
    if (!Saved()) {
        if (!recoveryTimer_.isActive()) recoveryTimer_.start();
        return;
    }
    // Undone back to what is on disk: nothing left to recover.
    recoveryTimer_.stop();
    RemoveRecovery(fileName_);
}

// The document is copied here and written on the recovery thread, so that a
// large show does not hold up the window.
void DocumentSession::WriteRecovery() {
    if (!document_ || Saved() || fileName_.empty()) return;
    auto copy = std::make_shared<const SlideShow>(*document_);
    recoveryWriter_.start([this, copy, fileName = fileName_] {
        try {
            recovery_.Write(*copy, fileName);
        } catch (const Error& error) {
            // Not worth a dialog every half minute; the next change tries again.
            const QString message = QString::fromStdString(FormatResString(Str::RecoveryWriteFailed, {error.Description()}));
            QMetaObject::invokeMethod(this, [this, message] { emit recoveryFailed(message); }, Qt::QueuedConnection);
        }
    });
}

void DocumentSession::RemoveRecovery(const std::string& fileName) {
    if (fileName.empty()) return;
    recoveryWriter_.start([this, fileName] { recovery_.Remove(fileName); });
}

void DocumentSession::Edit(const QString& text, int slide, int current, const std::function<int()>& edit) {
    if (!document_) return;
    mouseEdit_.reset();
    Copy before = Take(*document_, slide);
    int after = current;
    struct Depth {
        int& depth;
        explicit Depth(int& d) : depth(++d) {}
        ~Depth() { --depth; }
    };
    // What an edit that fails half way did is a step too, so that it can be undone.
    const auto record = [&] {
        if (!document_ || Unchanged(*document_, slide, before)) return;
        undo_.push(new DocumentStep(*this, text, slide, std::move(before), current, after));
    };
    try {
        const Depth depth(editDepth_);
        after = edit();
    } catch (...) {
        record();
        throw;
    }
    record();
}

void DocumentSession::BeginMouseEdit(int slide) {
    mouseEdit_.reset();
    if (!document_ || slide < 1 || slide > document_->Slides().Count()) return;
    mouseEdit_ = MouseEdit{slide, std::make_unique<Slide>(document_->Slides().Item(slide))};
}

void DocumentSession::EndMouseEdit(int slide) {
    std::optional<MouseEdit> edit = std::move(mouseEdit_);
    mouseEdit_.reset();
    if (edit && document_ && edit->slide == slide) {
        const Slide& now = document_->Slides().Item(slide);
        const auto& was = edit->before->Icons();
        if (!(*edit->before == now) && was.Count() == now.Icons().Count()) {
            QString text;
            for (int32_t i = 1; i <= was.Count() && text.isEmpty(); ++i) {
                const Icon& before = was.Item(i);
                const Icon& after = now.Icons().Item(i);
                if (before.Left() != after.Left() || before.Top() != after.Top()) text = Step(Str::StepMoveIcon, after.Name());
                else if (before.LeaderX() != after.LeaderX() || before.LeaderY() != after.LeaderY())
                    text = Step(Str::StepMoveLeader, after.Name());
            }
            undo_.push(new DocumentStep(*this, text, slide, std::move(edit->before), slide, slide));
            return;
        }
    }
    MarkChanged();  // after every mouse-up on an icon, also when nothing moved
}

bool DocumentSession::Evaluate(const std::string& reportFile, int current) {
    if (!document_) return false;
    std::vector<Report> reports;
    try {
        reports = LoadReports(reportFile);
    } catch (const Error& error) {
        ShowError(error, reportFile);
        return false;
    }
    Edit(Step(Str::StepEvaluate, FileNamePart(reportFile)), 0, current, [&] {
        try {
            reports.back().Evaluate(*document_);  // of several results, the latest part
        } catch (const Error& error) {
            ShowError(error, reportFile);  // what was filled in so far is one step to undo
        }
        return current;
    });
    return true;
}

// Any mix of report files and results files; a results file of several parts gives each.
bool DocumentSession::Average(const std::vector<std::string>& reportFiles, int current) {
    if (!document_ || reportFiles.empty()) return false;
    std::vector<Report> reports;
    for (const auto& file : reportFiles) {
        try {
            for (auto& report : LoadReports(file)) reports.push_back(std::move(report));
        } catch (const Error& error) {
            ShowError(error, file);
            return false;
        }
    }
    std::vector<const Report*> set;
    for (const auto& report : reports) set.push_back(&report);
    Edit(Step(Str::StepAverage, static_cast<int>(reports.size())), 0, current, [&] {
        try {
            AverageReports(*document_, set);
        } catch (const Error& error) {
            ShowError(error, reportFiles.front());
        }
        return current;
    });
    return true;
}

bool DocumentSession::Import(const std::string& package, const std::string& target) {
    try {
        return ImportSlideShow(package, target).has_value();  // none: the user declined
    } catch (const Error& error) {
        ShowError(error, package);
        return false;
    }
}

bool DocumentSession::Export(const std::string& package, const std::string& comment) {
    try {
        ExportSlideShow(fileName_, package, comment);
    } catch (const Error& error) {
        ShowError(error, package);
        return false;
    }
    return true;
}

}  // namespace kvo

#include "FormImport.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QLocale>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "model/ExportFile.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {
constexpr int kHelpTopic = 32005;

QLabel* Label(QWidget* parent, const char* name, int32_t id, QWidget* buddy) {
    auto* label = new QLabel(Caption(id), parent);
    label->setObjectName(name);
    label->setBuddy(buddy);
    return label;
}
}  // namespace

FormImport::FormImport(QWidget* parent)
    : QDialog(parent),
      fileName_(new QLineEdit(this)),
      target_(new QLineEdit(this)),
      date_(new QLineEdit(this)),
      comment_(new QLineEdit(this)) {
    setObjectName("FormImport");
    setModal(true);
    ApplyLanguageFont(*this);
    fileName_->setObjectName("txtFileName");
    target_->setObjectName("txtKVOName");
    date_->setObjectName("txtDate");
    comment_->setObjectName("txtComment");
    date_->setReadOnly(true);
    comment_->setReadOnly(true);
    fileName_->setMinimumWidth(380);

    auto* browse = new QPushButton("...", this);
    browse->setObjectName("cmdBrowse");
    browse->setMaximumWidth(40);
    auto* browseTarget = new QPushButton("...", this);
    browseTarget->setObjectName("cmdBrowseTarget");
    browseTarget->setMaximumWidth(40);
    auto* frame = new QGroupBox(Caption(Str::ImportFrame), this);
    frame->setObjectName("fraImport");
    auto* header = new QGridLayout(frame);
    header->addWidget(Label(frame, "lblBackupFile", Str::ImportBackupFileLabel, fileName_), 0, 0);
    header->addWidget(fileName_, 0, 1);
    header->addWidget(browse, 0, 2);
    header->addWidget(Label(frame, "lblBackupDate", Str::ImportBackupDateLabel, date_), 1, 0);
    header->addWidget(date_, 1, 1, 1, 2);
    header->addWidget(Label(frame, "lblComment", Str::ImportCommentLabel, comment_), 2, 0);
    header->addWidget(comment_, 2, 1, 1, 2);
    auto* targetRow = new QHBoxLayout;
    targetRow->addWidget(Label(this, "lblKVOFile", Str::ImportTargetLabel, target_));
    targetRow->addWidget(target_, 1);
    targetRow->addWidget(browseTarget);

    const ButtonRow footer = OkCancelHelp(this);
    ok_ = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;
    ok_->setEnabled(false);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(frame);
    layout->addLayout(targetRow);
    layout->addLayout(footer.layout);

    setWindowTitle(Caption(Str::ImportTitle));
    connect(fileName_, &QLineEdit::textChanged, this, &FormImport::ReadHeader);
    connect(browse, &QPushButton::clicked, this, [this] {
        const auto chosen = CurrentPrompt().ChooseOpenFile(
            {LoadResString(Str::ImportBrowseTitle), LoadResString(Str::PackageFilter), QFileInfo(fileName_->text()).absolutePath().toStdString(), ""});
        if (chosen) fileName_->setText(Q(*chosen));
    });
    connect(browseTarget, &QPushButton::clicked, this, [this] {
        const QFileInfo current(target_->text());
        const auto chosen = CurrentPrompt().ChooseSaveFile({LoadResString(Str::ImportTargetBrowseTitle), LoadResString(Str::SlideShowFilter),
                                                            current.absolutePath().toStdString(), current.fileName().toStdString()});
        if (chosen) target_->setText(Q(*chosen));
    });
    connect(ok_, &QPushButton::clicked, this, &FormImport::Confirm);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
}

namespace {

// A package keeps its time in the classic text form; it is shown in the editor's language.
QString ShownTime(const std::string& stamp) {
    try {
        const QDateTime start(QDate(1899, 12, 30), QTime(0, 0));
        return QLocale().toString(start.addSecs(std::llround(ToDate(stamp) * 86400.0)), QLocale::ShortFormat);
    } catch (const Error&) {
        return Q(stamp);  // as it was written
    }
}

}  // namespace

void FormImport::SetPackage(const std::string& path) { fileName_->setText(Q(path)); }

void FormImport::ReadHeader() {
    const std::string path = fileName_->text().toStdString();
    if (FileExists(path)) {
        try {
            ExportFile package;
            package.OpenForRead(path);
            target_->setText(Q(package.Name()));
            date_->setText(ShownTime(package.Timestamp()));
            comment_->setText(Q(package.Comment()));
            ok_->setEnabled(true);
            return;
        } catch (const Error&) {
            // Not a package: the boxes are cleared and OK stays off.
        }
    }
    target_->clear();
    date_->clear();
    comment_->clear();
    ok_->setEnabled(false);
}

void FormImport::Confirm() {
    const std::string target = TargetPath();
    if (FileExists(target) &&
        CurrentPrompt().Ask(FormatResString(Str::ImportTargetExists, {target}), LoadResString(Str::ConfirmTitle), false) != Answer::Yes)
        return;
    accepted_ = true;
    accept();
}

std::string FormImport::PackagePath() const { return fileName_->text().toStdString(); }
std::string FormImport::TargetPath() const { return target_->text().toStdString(); }

}  // namespace kvo

#include "FormExport.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "model/ExportPackage.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {
constexpr int kHelpTopic = 32004;
}

FormExport::FormExport(const std::string& showPath, QWidget* parent)
    : QDialog(parent), fileName_(new QLineEdit(this)), comment_(new QLineEdit(this)) {
    setObjectName("FormExport");
    setModal(true);
    ApplyLanguageFont(*this);
    fileName_->setObjectName("txtFileName");
    comment_->setObjectName("txtComment");
    fileName_->setMinimumWidth(380);
    auto* fileLabel = new QLabel(Caption(Str::ExportPackageLabel), this);
    fileLabel->setObjectName("lblExportName");
    fileLabel->setBuddy(fileName_);
    auto* commentLabel = new QLabel(Caption(Str::ExportCommentLabel), this);
    commentLabel->setObjectName("lblComment");
    commentLabel->setBuddy(comment_);
    auto* browse = new QPushButton("...", this);
    browse->setObjectName("cmdBrowse");
    browse->setMaximumWidth(40);
    const ButtonRow footer = OkCancelHelp(this);
    ok_ = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;

    auto* grid = new QGridLayout(this);
    grid->addWidget(fileLabel, 0, 0);
    grid->addWidget(fileName_, 0, 1);
    grid->addWidget(browse, 0, 2);
    grid->addWidget(commentLabel, 1, 0);
    grid->addWidget(comment_, 1, 1, 1, 2);
    grid->addLayout(footer.layout, 2, 0, 1, 3);

    setWindowTitle(Caption(Str::ExportTitle));
    connect(fileName_, &QLineEdit::textChanged, this, [this](const QString& text) { ok_->setEnabled(!text.isEmpty()); });
    fileName_->setText(Q(DefaultPackagePath(showPath)));
    connect(browse, &QPushButton::clicked, this, [this] {
        const QFileInfo current(fileName_->text());
        const auto chosen = CurrentPrompt().ChooseSaveFile(
            {LoadResString(Str::ExportBrowseTitle), LoadResString(Str::PackageFilter), current.absolutePath().toStdString(),
             current.fileName().toStdString()});
        if (chosen) fileName_->setText(Q(*chosen));
    });
    connect(ok_, &QPushButton::clicked, this, [this] {
        accepted_ = true;
        accept();
    });
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
}

std::string FormExport::PackagePath() const { return fileName_->text().toStdString(); }
std::string FormExport::Comment() const { return comment_->text().toStdString(); }

}  // namespace kvo

#include "FormHelp.h"

#include <QtCore/QUrl>
#include <QtGui/QDesktopServices>
#include <QtWidgets/QTextBrowser>
#include <QtWidgets/QVBoxLayout>

#include "LanguageFont.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

void Show(QWidget* window, const std::string& file, const QString& anchor) {
    if (file.empty()) return;
    if (EndsWithNoCase(file, ".html")) {
        FormHelp::Instance().ShowAnchor(QString::fromStdString(file), anchor);
        return;
    }
    (void)window;
    QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromStdString(file)));
}

}  // namespace

void ShowHelpTopic(QWidget* window, int topic) { Show(window, HelpFile(), QString::number(topic)); }

void ShowHelpContents(QWidget* window) { Show(window, HelpFile(), "contents"); }

void ShowHelpFileTopic(QWidget* window, const std::string& file, int topic) { Show(window, file, QString::number(topic)); }

FormHelp& FormHelp::Instance() {
    static FormHelp* instance = new FormHelp();  // lives as long as the program
    return *instance;
}

FormHelp::FormHelp() : browser_(new QTextBrowser(this)) {
    setObjectName("FormHelp");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(browser_);
    browser_->setOpenExternalLinks(true);
    resize(640, 560);
    ApplyLanguageFont(*this);
    setWindowTitle(QString::fromStdString(LoadResString(Str::AppTitle) + " – " + LoadResString(Str::MenuHelpContents)).remove('&'));
}

void FormHelp::ShowAnchor(const QString& file, const QString& anchor) {
    QUrl url = QUrl::fromLocalFile(file);
    url.setFragment(anchor);
    browser_->setSource(url);
    browser_->scrollToAnchor(anchor);
    show();
    raise();
    activateWindow();
}

QString FormHelp::CurrentAnchor() const { return browser_->source().fragment(); }

}  // namespace kvo

#include "FormHelp.h"

#include <QtCore/QUrl>
#include <QtGui/QKeyEvent>
#include <QtGui/QWindow>
#include <QtWidgets/QApplication>
#include <QtGui/QDesktopServices>
#include <QtWidgets/QTextBrowser>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "LanguageFont.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

FormHelp* instance = nullptr;  // lives as long as the program, once asked for

void Show(QWidget* window, const std::string& file, const QString& anchor) {
    if (file.empty()) return;
    if (EndsWithNoCase(file, ".html")) {
        FormHelp::Instance().ShowAnchor(Q(file), anchor);
        return;
    }
    (void)window;
    QDesktopServices::openUrl(QUrl::fromLocalFile(Q(file)));
}

}  // namespace

void ShowHelpTopic(QWidget* window, int topic) { Show(window, HelpFile(), QString::number(topic)); }

void ShowHelpContents(QWidget* window) { Show(window, HelpFile(), "contents"); }

void ShowHelpFileTopic(QWidget* window, const std::string& file, int topic) { Show(window, file, QString::number(topic)); }

FormHelp& FormHelp::Instance() {
    if (instance == nullptr) instance = new FormHelp();
    return *instance;
}

void FormHelp::CloseWithEditor() {
    if (instance != nullptr) instance->close();
}

FormHelp::FormHelp() : browser_(new QTextBrowser(this)) {
    setObjectName("FormHelp");
    setAttribute(Qt::WA_QuitOnClose, false);  // the editor's window alone keeps the program running
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(browser_);
    browser_->setOpenExternalLinks(true);
    resize(640, 560);
    ApplyLanguageFont(*this);
    setWindowTitle(Q(LoadResString(Str::AppTitle) + " – " + LoadResString(Str::MenuHelpContents)).remove('&'));
}

void FormHelp::ShowAnchor(const QString& file, const QString& anchor) {
    QUrl url = QUrl::fromLocalFile(file);
    url.setFragment(anchor);
    browser_->setSource(url);
    browser_->scrollToAnchor(anchor);
    // Help asked for from a modal dialog belongs to that dialog, or the dialog
    // would block it until it closes.
    QWindow* owner = QApplication::activeModalWidget() != nullptr ? QApplication::activeModalWidget()->windowHandle() : nullptr;
    create();
    if (windowHandle()->transientParent() != owner) {
        hide();
        windowHandle()->setTransientParent(owner);
    }
    show();
    raise();
    activateWindow();
    browser_->setFocus();
}

void FormHelp::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape || event->matches(QKeySequence::Close)) close();
    else QWidget::keyPressEvent(event);
}

QString FormHelp::CurrentAnchor() const { return browser_->source().fragment(); }

}  // namespace kvo

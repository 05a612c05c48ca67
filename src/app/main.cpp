// kvoeditor [SHOW]: the slide show editor.
#include <QtCore/QTimer>
#include <QtGui/QPaintEvent>
#include <QtWidgets/QApplication>

#include <cstdlib>
#include <iostream>
#include <string_view>

#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/Startup.h"
#include "services/StringIds.h"
#include "ui/FormMain.h"
#include "ui/SlideHost.h"
#include "ui/QtLanguage.h"
#include "ui/QtPrompt.h"

namespace {

// For the start-up benchmark: ends the program once the slide has been painted.
class QuitAfterFirstPaint final : public QObject {
protected:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) QTimer::singleShot(0, qApp, &QApplication::quit);
        return QObject::eventFilter(watched, event);
    }
};

}  // namespace

int main(int argc, char** argv) {
    // Answered before any window system is asked for, so that it works anywhere.
    if (argc == 2 && std::string_view(argv[1]) == "--version") {
        std::cout << "kvoeditor " << KVO_VERSION << '\n';
        return 0;
    }
    QApplication application(argc, argv);
    QApplication::setApplicationName("KVOEditor");
    QApplication::setApplicationVersion(KVO_VERSION);

    // A start-up step that fails is reported, and the editor starts with defaults.
    std::string problem;
    try {
        kvo::InitLanguage();
    } catch (const kvo::Error& error) {
        kvo::SetLanguage(kvo::kDefaultLanguageId);
        kvo::InitResources();
        problem = error.Description();
    }
    kvo::ApplyLanguageToQt();
    kvo::ChooseHelpFile(kvo::LanguageId(), "TV");
    try {
        kvo::GetRepositoryRoot("Tapframe");  // looked up for the operator interface; the editor keeps nothing of it
    } catch (const kvo::Error& error) {
        if (problem.empty()) problem = error.Description();
    }

    kvo::FormMain window;
    kvo::QtPrompt prompt(&window);
    kvo::SetCurrentPrompt(&prompt);
    window.show();
    if (!problem.empty())
        kvo::CurrentPrompt().Message(kvo::FormatResString(kvo::Str::StartupErrorMessage, {problem}),
                                     kvo::LoadResString(kvo::Str::AppTitle), kvo::MessageKind::Exclamation);
    if (argc > 1) window.OpenDocument(argv[1]);
    window.OfferRecovery();  // work a killed editor left behind
    QuitAfterFirstPaint quitter;
    if (std::getenv("KVO_QUIT_AFTER_FIRST_PAINT") != nullptr) window.Host().installEventFilter(&quitter);
    const int status = QApplication::exec();
    kvo::SetCurrentPrompt(nullptr);
    return status;
}

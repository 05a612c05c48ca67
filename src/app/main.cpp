// kvoeditor [SHOW]: the slide show editor.
#include <QtWidgets/QApplication>

#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/Startup.h"
#include "services/StringIds.h"
#include "ui/FormMain.h"
#include "ui/QtPrompt.h"

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QApplication::setApplicationName("KVOEditor");
    QApplication::setApplicationVersion("0.1");

    // A start-up step that fails is reported, and the editor starts with defaults.
    std::string problem;
    try {
        kvo::InitLanguage();
    } catch (const kvo::Error& error) {
        kvo::SetLanguage(kvo::kDefaultLanguageId);
        kvo::InitResources();
        problem = error.Description();
    }
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
    const int status = QApplication::exec();
    kvo::SetCurrentPrompt(nullptr);
    return status;
}

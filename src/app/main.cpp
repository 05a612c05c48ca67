// kvoeditor [SHOW|PACKAGE]: the slide show editor; a package is imported.
// kvoeditor --station [FOLDER] SHOW: the operator display, watching FOLDER
// (without it, the folder kept from the last time) for results.
#include <QtCore/QTimer>
#include <QtGui/QPaintEvent>
#include <QtWidgets/QApplication>

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>

#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/Startup.h"
#include "services/StationSettings.h"
#include "services/StringIds.h"
#include "model/SlideShow.h"
#include "ui/FormMain.h"
#include "ui/FormStation.h"
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

// The station keeps its folder, and the language it was given, for its next start.
int RunStation(int argc, char** argv) {
    if (argc < 3 || argc > 4) {
        std::cerr << kvo::LoadResString(kvo::Str::StationUsage) << '\n';
        return 2;
    }
    kvo::StationSettings settings = kvo::ReadStationSettings();
    if (settings.language != 0) {
        kvo::SetLanguage(settings.language);
        kvo::InitResources();
        kvo::ApplyLanguageToQt();
        kvo::ChooseHelpFile(settings.language, "TV");
    }
    const std::string showFile = argv[argc - 1];
    kvo::QtPrompt prompt(nullptr);
    kvo::SetCurrentPrompt(&prompt);
    kvo::SlideShow show;
    try {
        show.LoadFromFile(showFile);
    } catch (const kvo::Error& error) {
        kvo::ShowError(error, showFile);
        return 1;
    }
    if (argc == 4) {
        settings.folder = argv[2];
        try {
            kvo::WriteStationSettings(settings);
        } catch (const kvo::Error& error) {
            kvo::ShowError(error);  // the station runs all the same, it only forgets the folder
        }
    }
    const bool ran = kvo::FormStation::Run(show, settings, nullptr);
    kvo::SetCurrentPrompt(nullptr);
    return ran ? 0 : 1;
}

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
    if (argc > 1 && std::strcmp(argv[1], "--station") == 0) return RunStation(argc, argv);
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
    if (argc > 1) window.OpenGiven(argv[1]);
    window.OfferRecovery();  // work a killed editor left behind
    QuitAfterFirstPaint quitter;
    if (std::getenv("KVO_QUIT_AFTER_FIRST_PAINT") != nullptr) window.Host().installEventFilter(&quitter);
    const int status = QApplication::exec();
    kvo::SetCurrentPrompt(nullptr);
    return status;
}

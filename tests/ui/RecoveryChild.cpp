// kvo_recovery_child SHOW EXPECTED: an editor for the crash-recovery test. It
// opens SHOW, edits it, writes what the document then holds to EXPECTED, and
// once its recovery copy is on disk says "ready" and waits to be killed.
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <filesystem>
#include <iostream>
#include <sstream>

#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "services/Language.h"
#include "ui/FormMain.h"

int main(int argc, char** argv) {
    if (argc != 3) return 2;
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    kvo::SetLanguage(1033);
    kvo::InitResources();
    kvo::test::RecordingPrompt prompt;
    kvo::FormMain window;
    window.Session().SetRecoveryDelay(std::chrono::milliseconds(50));
    window.show();
    if (!window.OpenDocument(argv[1])) return 1;
    window.SlideAdd();
    window.InsertIcon();
    prompt.texts = {"Renamed"};
    window.SlideTitle();
    std::string text;
    window.Document()->WriteText(text);
    kvo::test::WriteFile(argv[2], text);
    const std::string copy = window.Session().RecoveryCopies().CopyPath(argv[1]);
    if (!QTest::qWaitFor([&] { return std::filesystem::exists(copy); }, 10000)) return 1;
    std::cout << "ready" << std::endl;
    return QApplication::exec();
}

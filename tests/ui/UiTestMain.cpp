// The windows run on the offscreen platform: real widgets, no screen, and the
// user's own settings (the recent files) and state (the recovery copies) in
// folders of the test run's own.
#include <QtWidgets/QApplication>

#include <gtest/gtest.h>

#include <cstdlib>

#include "TestSupport.h"

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    const kvo::test::TempDir userConfig;
    setenv("XDG_CONFIG_HOME", userConfig.Path().c_str(), 1);
    const kvo::test::TempDir userState;
    setenv("XDG_STATE_HOME", userState.Path().c_str(), 1);
    QApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

#include "services/ViewSettings.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "services/RegEntry.h"

namespace kvo {
namespace {

TEST(ViewSettingsTest, StationSizesAreReadAsWrittenAndABadEntryIsNamed) {
    EXPECT_EQ(ParseScreenSizes(" 1024 x 600 ;1366X768;;1024x600; ", "f"), (std::vector<ScreenSize>{{1024, 600}, {1366, 768}}));
    EXPECT_EQ(ParseScreenSizes("  ", "f"), ViewSettings::DefaultStationSizes());
    EXPECT_EQ(ParseScreenSizes("160x120;8192x8192", "f"), (std::vector<ScreenSize>{{160, 120}, {8192, 8192}}));
    for (const char* bad : {"1024", "x768", "1024x", "-640x480", "640x480x2", "159x120", "8193x600", "1e3x600", "99999999x1"}) {
        const Error error = test::RaisedBy([&] { ParseScreenSizes(std::string("800x600;") + bad, "STORE, KEY\\StationSizes"); });
        EXPECT_EQ(error.Number(), 13) << bad;
        EXPECT_NE(error.Description().find("STORE, KEY\\StationSizes"), std::string::npos) << error.Description();
        EXPECT_NE(error.Description().find(std::string("\"") + bad + "\""), std::string::npos) << error.Description();
    }
}

TEST(ViewSettingsTest, TheGridAndTheSizesSurviveTheStoreAndItsFaults) {
    test::TempDir dir;
    const std::string store = dir.File("registry.reg");
    test::ScopedEnv env("ORLANVEX_REGISTRY", store);
    EXPECT_EQ(ReadViewSettings(), ViewSettings());  // no store yet

    ViewSettings written;
    written.snapToGrid = true;
    written.gridSize = 25;
    written.stationSizes = {{1366, 768}, {640, 480}};
    WriteViewSettings(written);
    EXPECT_EQ(ReadViewSettings(), written);

    RegEntry entry;
    entry.OpenKey("Wexbridge");
    entry.SetString("GridSize", "5000");
    entry.SetString("StationSizes", "1366x768;wide");
    std::string problem;
    const ViewSettings read = ReadViewSettings(&problem);
    EXPECT_EQ(read.gridSize, ViewSettings::kMaxGridSize);
    EXPECT_TRUE(read.snapToGrid);
    EXPECT_EQ(read.stationSizes, ViewSettings::DefaultStationSizes());
    EXPECT_NE(problem.find(store), std::string::npos) << problem;
    EXPECT_NE(problem.find("Wexbridge\\StationSizes"), std::string::npos) << problem;
    EXPECT_NE(problem.find("\"wide\""), std::string::npos) << problem;
    entry.SetString("GridSize", "fine");
    EXPECT_EQ(ReadViewSettings().gridSize, ViewSettings().gridSize);
}

}  // namespace
}  // namespace kvo

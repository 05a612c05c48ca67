// kvotool thumbnail as a file manager calls it: on shows and on packages.
#include <gtest/gtest.h>

#include <QtGui/QImage>

#include <filesystem>
#include <set>

#include "EmfPlusBytes.h"
#include "PictureBytes.h"
#include "TestSupport.h"
#include "services/Paths.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

std::set<std::string> FilesBelow(const fs::path& folder) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) files.insert(entry.path().string());
    return files;
}

class ThumbnailTest : public ::testing::Test {
protected:
    int Tool(const std::string& arguments, std::string* output) {
        return test::RunCommand(JoinPath(ExecutableDirectory(), "kvotool") + " " + arguments + " 2>&1 </dev/null", output);
    }
    QImage Png(const std::string& path) { return QImage(QString::fromStdString(path)).convertToFormat(QImage::Format_RGB32); }

    test::TempDir dir_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
};

// The disabled first slide has a grey bitmap; the slide shown is the second,
// an EMF+ picture (decoded by its helper from the bytes in memory when it
// comes out of a package) under an icon.
TEST_F(ThumbnailTest, FirstEnabledSlideFromAShowAndFromAPackageReadInPlace) {
    const std::string pictures = dir_.File("pictures");
    fs::create_directories(pictures);
    const std::string bitmap = JoinPath(pictures, "front.bmp"), metafile = JoinPath(pictures, "top.emf");
    test::WriteFile(bitmap, test::Bmp(200, 150));
    test::WriteFile(metafile, test::EmfPlusFile().Plus(0x400A, 0x8000, {0xFF0000FF, 1, test::Float(0), test::Float(0),
                                                                        test::Float(96), test::Float(48)}).Bytes());
    const std::string show = dir_.File("shows/housing.pdz");
    test::WriteFile(show, "BLOCK SlideShow\r\n"
                          "\tBLOCK Slide\r\n\t\tENABLED=0\r\n\t\tGRAPHIC=" + bitmap + "\r\n\tEND\r\n"
                          "\tBLOCK Slide\r\n\t\tBACKCOLOR=16777215\r\n\t\tGRAPHIC=" + metafile +
                          "\r\n\t\tWIDTH=100\r\n\t\tHEIGHT=100\r\n\t\tLEFT=0\r\n\t\tTOP=0\r\n"
                          "\t\tBLOCK Icon\r\n\t\t\tLEFT=40\r\n\t\t\tTOP=40\r\n\t\tEND\r\n\tEND\r\nEND\r\n");
    std::string out;
    ASSERT_EQ(Tool("render " + show + " --slide 2 -o " + dir_.File("slide2.png"), &out), 0) << out;
    const QImage expected = Png(dir_.File("slide2.png")).scaled(128, 128, Qt::KeepAspectRatio, Qt::SmoothTransformation);

    ASSERT_EQ(Tool("thumbnail " + show + " " + dir_.File("show.png") + " 128", &out), 0) << out;
    const QImage fromShow = Png(dir_.File("show.png"));
    EXPECT_EQ(fromShow.size(), QSize(128, 96));
    EXPECT_EQ(fromShow, expected);
    EXPECT_EQ(QColor(fromShow.pixel(3, 40)), QColor(Qt::blue)) << "the EMF+ picture fills the top left";
    EXPECT_EQ(QColor(fromShow.pixel(120, 90)), QColor(Qt::white));

    const std::string package = dir_.File("shows/housing.exp");
    ASSERT_EQ(Tool("export " + show, &out), 0) << out;
    fs::remove_all(pictures);  // only the package has them now
    const auto before = FilesBelow(dir_.Path());
    const std::string thumbnail = dir_.File("package.png");
    ASSERT_EQ(Tool("thumbnail " + package + " " + thumbnail + " 128", &out), 0) << out;
    EXPECT_EQ(Png(thumbnail), expected);
    auto after = FilesBelow(dir_.Path());
    after.erase(thumbnail);
    EXPECT_EQ(after, before) << "nothing but the thumbnail is written";

    // A package cut short: an error naming it, and no thumbnail.
    const std::string bytes = test::ReadFile(package);
    test::WriteFile(package, bytes.substr(0, bytes.size() - 100));
    fs::remove(thumbnail);
    EXPECT_EQ(Tool("thumbnail " + package + " " + thumbnail + " 128", &out), 1);
    EXPECT_NE(out.find(package), std::string::npos) << out;
    EXPECT_FALSE(fs::exists(thumbnail));
}

}  // namespace
}  // namespace kvo

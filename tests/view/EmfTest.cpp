// Hand-made EMF files, of old-style records and of EMF+ records, drawn through
// kvotool render: each record draws where it says, and a record that lies is
// refused with its place in the file.
#include <gtest/gtest.h>

#include <QtGui/QImage>

#include <filesystem>
#include <functional>
#include <string>

#include "EmfPlusBytes.h"
#include "TestSupport.h"
#include "services/Paths.h"

namespace kvo {
namespace {

using test::EmfPlusFile;
using test::Float;
using test::Shorts;

constexpr uint32_t kRed = 0xFFFF0000, kGreen = 0xFF00C000, kBlue = 0xFF0000FF, kBlack = 0xFF000000;
constexpr uint16_t kColour = 0x8000;  // the brush field holds a colour

class EmfTest : public ::testing::Test {
protected:
    // Renders the file alone on a white slide, two pixels for each of the frame's.
    int Render(const EmfPlusFile& file, std::string* output) {
        const std::string picture = dir_.File("picture.emf");
        test::WriteFile(picture, file.Bytes());
        const std::string show = dir_.File("show.pdz");
        test::WriteFile(show, "BLOCK SlideShow\r\n\tBLOCK Slide\r\n\t\tBACKCOLOR=16777215\r\n\t\tGRAPHIC=" + picture +
                                  "\r\n\t\tWIDTH=100\r\n\t\tHEIGHT=100\r\n\t\tLEFT=0\r\n\t\tTOP=0\r\n\tEND\r\nEND\r\n");
        const std::string png = dir_.File("slide.png");
        std::filesystem::remove(png);
        const int status = test::RunCommand(
            JoinPath(ExecutableDirectory(), "kvotool") + " render " + show + " -o " + png + " --size 384x192 2>&1", output);
        image_ = QImage(QString::fromStdString(png)).convertToFormat(QImage::Format_RGB32);
        return status;
    }

    QImage Drawn(const EmfPlusFile& file) {
        std::string output;
        EXPECT_EQ(Render(file, &output), 0) << output;
        return image_;
    }

    test::TempDir dir_;
    QImage image_;
};

// The colour at a point of the frame.
QColor At(const QImage& image, int x, int y) { return QColor(image.pixel(2 * x + 1, 2 * y + 1)); }

bool IsWhite(const QColor& c) { return c.red() > 240 && c.green() > 240 && c.blue() > 240; }

bool HasInk(const QImage& image, int left, int top, int right, int bottom) {
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right; ++x)
            if (!IsWhite(At(image, x, y))) return true;
    return false;
}

TEST_F(EmfTest, EmfPlusShapesBrushesAndPensDrawWhereTheRecordsSay) {
    EmfPlusFile file;
    file.Plus(0x4008, 0x0100, {0xDBC01002, 0, kBlue})                                                  // brush 0
        .Plus(0x4008, 0x0201, {0xDBC01002, 0, 0, 0, Float(4), 0xDBC01002, 0, kBlack})                  // pen 1
        .Plus(0x4008, 0x0102, {0xDBC01002, 4, 0, 4, Float(0), Float(0), Float(192), Float(10), kRed, kBlue, 0, 0})
        .Plus(0x4008, 0x0303, {0xDBC01002, 3, 0x4000, Shorts(150, 50), Shorts(190, 50), Shorts(170, 80), 0x00810100})
        .Plus(0x400A, kColour, {kRed, 1, Float(10), Float(10), Float(40), Float(30)})
        .Plus(0x400E, 0, {0, Float(100), Float(10), Float(60), Float(30)})
        .Plus(0x400D, 0x0001, {2, Float(10), Float(70), Float(120), Float(70)})
        .Plus(0x4014, kColour | 0x0003, {kGreen})
        .Plus(0x400A, 0, {2, 1, Float(0), Float(86), Float(192), Float(10)});
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(At(image, 30, 25), QColor(255, 0, 0));
    EXPECT_TRUE(IsWhite(At(image, 5, 5)));
    EXPECT_EQ(At(image, 130, 25), QColor(0, 0, 255));
    EXPECT_TRUE(IsWhite(At(image, 102, 12))) << "the ellipse's corner is outside it";
    EXPECT_LT(At(image, 60, 70).lightness(), 60) << "the line";
    EXPECT_TRUE(IsWhite(At(image, 60, 76)));
    EXPECT_EQ(At(image, 170, 60), QColor(0, 192, 0)) << "the triangle path";
    EXPECT_TRUE(IsWhite(At(image, 152, 75)));
    const QColor left = At(image, 4, 90), right = At(image, 188, 90);
    EXPECT_GT(left.red(), left.blue()) << "the gradient starts red";
    EXPECT_GT(right.blue(), right.red()) << "and ends blue";
}

// Written for a 1200 dpi printer: a pen one device pixel wide is still a line
// on a screen, as Windows shows it.
TEST_F(EmfTest, HairlinesOfAFineDeviceShowOnAScreen) {
    constexpr uint32_t kRedPen = 0x0201;
    EmfPlusFile file(false, 1200);
    file.Plus(0x4008, kRedPen, {0xDBC01002, 0, 0, 0, Float(1), 0xDBC01002, 0, kRed})
        .Plus(0x400D, 0x0001, {2, Float(0), Float(300), Float(2400), Float(300)});  // across, a quarter down
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    int reddest = 255;
    for (int y = 40; y < 56; ++y) reddest = std::min(reddest, QColor(image.pixel(100, y)).green());
    EXPECT_LT(reddest, 160) << "the hairline is a line, not a trace of one";
}

TEST_F(EmfTest, TransformsClippingAndSaveRestore) {
    EmfPlusFile file;
    file.Plus(0x4025, 0, {7})                                                          // Save
        .Plus(0x402D, 0, {Float(100), Float(0)})                                       // Translate
        .Plus(0x4032, 0x0100, {Float(0), Float(0), Float(40), Float(40)})             // clip: intersect
        .Plus(0x400A, kColour, {kGreen, 1, Float(0), Float(0), Float(80), Float(80)})
        .Plus(0x4026, 0, {7})                                                          // Restore
        .Plus(0x400A, kColour, {kRed, 1, Float(10), Float(10), Float(20), Float(20)})
        .Plus(0x402A, 0, {Float(2), 0, 0, Float(2), Float(0), Float(50)})              // scale by two, down 50
        .Plus(0x400A, kColour, {kBlue, 1, Float(5), Float(5), Float(10), Float(10)});
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(At(image, 120, 20), QColor(0, 192, 0));
    EXPECT_TRUE(IsWhite(At(image, 160, 20))) << "clipped away";
    EXPECT_TRUE(IsWhite(At(image, 120, 60))) << "clipped away";
    EXPECT_EQ(At(image, 20, 20), QColor(255, 0, 0)) << "the transform and the clip restored";
    EXPECT_EQ(At(image, 20, 70), QColor(0, 0, 255));
    EXPECT_TRUE(IsWhite(At(image, 35, 70)));
}

TEST_F(EmfTest, DualFilesDrawEmfPlusAndWhatGetDCHandsOver) {
    EmfPlusFile dual(true);
    dual.Plus(0x400A, kColour, {kBlue, 1, Float(0), Float(0), Float(50), Float(50)})
        .Old(37, {0x80000004})        // the black stock brush
        .Old(43, {60, 0, 110, 50});   // an old-style twin, skipped
    QImage image = Drawn(dual);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(At(image, 25, 25), QColor(0, 0, 255));
    EXPECT_TRUE(IsWhite(At(image, 85, 25)));

    // After GetDC the old-style records draw.
    dual.Plus(0x4004, 0, {}).Old(43, {120, 20, 180, 80});
    image = Drawn(dual);
    ASSERT_FALSE(image.isNull());
    EXPECT_LT(At(image, 150, 50).lightness(), 60);
}

TEST_F(EmfTest, TextIsDrawnInItsLayoutRectangle) {
    EmfPlusFile file;
    file.Plus(0x4008, 0x0600, {0xDBC01002, Float(30), 2, 1, 0, 4, Shorts('S', 'a'), Shorts('n', 's')})
        .Plus(0x401C, kColour | 0x0000, {kBlack, 0xFFFFFFFF, 2, Float(20), Float(20), Float(150), Float(60), Shorts('M', 'M')});
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    EXPECT_TRUE(HasInk(image, 20, 20, 80, 60));
    EXPECT_FALSE(HasInk(image, 0, 0, 192, 18));
    EXPECT_FALSE(HasInk(image, 110, 0, 192, 96));
}

TEST_F(EmfTest, RecordsThatLieAreRefusedWithTheirPlace) {
    std::string tooLong;  // a FillRects record that says it is longer than its comment
    for (uint32_t word : {Shorts(0x400A, kColour), 0x100u, 20u, kRed, 1u, 0u, 0u}) {
        for (int i = 0; i < 4; ++i) tooLong.push_back(static_cast<char>((word >> (8 * i)) & 0xFF));
    }
    const auto refused = [&](EmfPlusFile file, const std::function<void(EmfPlusFile&)>& add, const std::string& damage) {
        const std::size_t at = file.Next() + 16;  // past the comment's own fields
        add(file);
        std::string output;
        EXPECT_EQ(Render(file, &output), 1) << damage;
        EXPECT_NE(output.find(damage + " at byte " + std::to_string(at)), std::string::npos) << output;
    };
    refused(EmfPlusFile(), [&](EmfPlusFile& f) { f.PlusBytes(tooLong); }, "an EMF+ record with an impossible length");
    refused(EmfPlusFile(), [](EmfPlusFile& f) { f.Plus(0x400A, kColour, {kRed, 1000, Float(0), Float(0), Float(5), Float(5)}); },
            "an EMF+ record whose contents run past its end");
    refused(EmfPlusFile(), [](EmfPlusFile& f) { f.Plus(0x4013, kColour | 200, {kRed}); },
            "an EMF+ record naming an object that cannot exist");
    refused(EmfPlusFile(), [](EmfPlusFile& f) { f.Plus(0x4008, 0x0300, {0xDBC01002, 5000, 0}); },
            "an EMF+ record whose contents run past its end");
}

constexpr uint32_t kColourRefRed = 0x0000FF;

// Two logical units to a pixel of the frame, as the file's window and viewport say.
EmfPlusFile HalfScale() {
    EmfPlusFile file = EmfPlusFile::OldStyle();
    file.Old(17, {8}).Old(9, {384, 192}).Old(11, {192, 96}).Old(18, {1});  // anisotropic; transparent background
    return file;
}

// What libemf2svg left out: pens as wide as the mapping makes them, hatches,
// gradients, clipping and filled paths.
TEST_F(EmfTest, OldStyleRecordsDrawAsWindowsDrawsThem) {
    EmfPlusFile file = HalfScale();
    file.Old(38, {1, 0, 10, 0, kColourRefRed}).Old(37, {1})        // a red pen 10 units (5 pixels) wide
        .Old(27, {20, 170}).Old(54, {360, 170})                      // MoveTo, LineTo
        .Old(37, {0x80000008})                                       // no pen from here on
        .Old(39, {2, 2, 0, 4}).Old(37, {2}).Old(43, {20, 20, 120, 100})  // a black cross hatch
        .Old(118, {0, 0, 0, 0, 2, 1, 0, 140, 20, 0xFF00, 0, 240, 100, 0, 0xFF00, 0, 1})  // red to blue
        .Old(33, {}).Old(30, {260, 20, 300, 100})                    // SaveDC, IntersectClipRect
        .Old(37, {0x80000004}).Old(43, {260, 20, 360, 100})          // black, clipped
        .Old(34, {0xFFFFFFFF}).Old(37, {0x80000004})                 // RestoreDC, black
        .Old(59, {}).Old(27, {300, 110}).Old(54, {380, 110}).Old(54, {340, 150}).Old(61, {}).Old(60, {})
        .Old(62, {0, 0, 0, 0});                                      // a black triangle by FillPath
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    EXPECT_EQ(At(image, 90, 83), QColor(255, 0, 0)) << "the pen is as wide as the mapping makes it";
    EXPECT_EQ(At(image, 90, 86), QColor(255, 0, 0));
    EXPECT_TRUE(IsWhite(At(image, 90, 90)));
    int dark = 0, light = 0;
    for (int y = 15; y < 45; ++y)
        for (int x = 15; x < 55; ++x) (IsWhite(At(image, x, y)) ? light : dark) += 1;
    EXPECT_GT(dark, 40) << "the hatch has lines";
    EXPECT_GT(light, 400) << "and room between them";
    const QColor left = At(image, 72, 30), right = At(image, 118, 30);
    EXPECT_TRUE(left.red() > 200 && left.blue() < 60) << "the gradient starts red";
    EXPECT_TRUE(right.blue() > 200 && right.red() < 60) << "and ends blue";
    EXPECT_LT(At(image, 140, 30).lightness(), 40) << "inside the clip";
    EXPECT_TRUE(IsWhite(At(image, 165, 30))) << "clipped away";
    EXPECT_LT(At(image, 170, 60).lightness(), 40) << "the path, filled once the clip was restored";
    EXPECT_TRUE(IsWhite(At(image, 152, 72)));
}

bool Near(const QColor& a, const QColor& b) {
    return std::abs(a.red() - b.red()) < 60 && std::abs(a.green() - b.green()) < 60 && std::abs(a.blue() - b.blue()) < 60;
}

// A 2 x 2 bitmap, red and blue over green and white: rows are stored from the
// bottom unless the height is negative, and a transparent colour is left out.
TEST_F(EmfTest, BitmapsKeepTheirRowsAndTheirTransparentColour) {
    constexpr uint32_t kRedBlue[] = {0xFFFF0000, 0}, kGreenWhite[] = {0xFF00FF00, 0x0000FFFF};  // BGR, padded
    constexpr uint32_t kDepth = 1 | (24 << 16), kCopy = 0x00CC0020, kOne = 0x3F800000;
    EmfPlusFile file = EmfPlusFile::OldStyle();
    // StretchDIBits, bottom row first, then top row first.
    file.Old(81, {0, 0, 0, 0, 10, 10, 0, 0, 2, 2, 80, 40, 120, 16, 0, kCopy, 40, 40,
                  40, 2, 2, kDepth, 0, 16, 0, 0, 0, 0, kGreenWhite[0], kGreenWhite[1], kRedBlue[0], kRedBlue[1]})
        .Old(81, {0, 0, 0, 0, 60, 10, 0, 0, 2, 2, 80, 40, 120, 16, 0, kCopy, 40, 40,
                  40, 2, static_cast<uint32_t>(-2), kDepth, 0, 16, 0, 0, 0, 0, kRedBlue[0], kRedBlue[1], kGreenWhite[0], kGreenWhite[1]})
        // TransparentBlt with green as the transparent colour.
        .Old(116, {0, 0, 0, 0, 110, 10, 40, 40, 0x00FF00, 0, 0, kOne, 0, 0, kOne, 0, 0, 0, 0, 108, 40, 148, 16, 2, 2,
                   40, 2, 2, kDepth, 0, 16, 0, 0, 0, 0, kGreenWhite[0], kGreenWhite[1], kRedBlue[0], kRedBlue[1]});
    const QImage image = Drawn(file);
    ASSERT_FALSE(image.isNull());
    for (const int left : {10, 60, 110}) {
        EXPECT_TRUE(Near(At(image, left + 10, 20), Qt::red)) << left;
        EXPECT_TRUE(Near(At(image, left + 30, 20), Qt::blue)) << left;
        EXPECT_TRUE(Near(At(image, left + 30, 40), Qt::white)) << left;
    }
    EXPECT_TRUE(Near(At(image, 20, 40), Qt::green));
    EXPECT_TRUE(Near(At(image, 70, 40), Qt::green));
    EXPECT_TRUE(IsWhite(At(image, 120, 40))) << "the transparent colour is not drawn";
}

TEST_F(EmfTest, OldStyleRecordsThatLieAreRefusedWithTheirPlace) {
    const auto refused = [&](std::initializer_list<uint32_t> params, uint32_t type) {
        EmfPlusFile file = EmfPlusFile::OldStyle();
        const std::size_t at = file.Next();
        file.Old(type, params);
        std::string output;
        EXPECT_EQ(Render(file, &output), 1);
        EXPECT_NE(output.find("a record whose contents run past its end at byte " + std::to_string(at)), std::string::npos) << output;
    };
    refused({0, 0, 10, 10, 1000, 1, 1}, 3);  // a polygon of a thousand points, with one
    // StretchDIBits of a 100 x 100 bitmap with the bytes of one pixel.
    refused({0, 0, 0, 0, 0, 0, 0, 0, 100, 100, 80, 40, 120, 4, 0, 0x00CC0020, 100, 100,
             40, 100, 100, 1 | (24 << 16), 0, 0, 0, 0, 0, 0, 0x00FF0000},
            81);
}

}  // namespace
}  // namespace kvo

// Real pictures made by others, drawn through kvotool render as a user would.
#include <gtest/gtest.h>

#include <QtGui/QImage>

#include <filesystem>

#include "TestSupport.h"
#include "services/Paths.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

const fs::path kCorpus = fs::path(KVO_SOURCE_DIR) / ".." / "shared" / "corpus" / "pictures";

class PictureTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!fs::is_directory(kCorpus)) GTEST_SKIP() << "the picture corpus is not at " << kCorpus << "; skipped";
    }

    // Renders a slide that this picture fills, white around it; returns kvotool's
    // exit status, its output, and the image when one was written.
    int Render(const std::string& picture, std::string* output, QImage* image = nullptr, const char* size = "480x360") {
        const std::string show = dir_.File("show.pdz");
        test::WriteFile(show, "BLOCK SlideShow\r\n\tBLOCK Slide\r\n\t\tBACKCOLOR=16777215\r\n\t\tGRAPHIC=" + picture +
                                  "\r\n\t\tWIDTH=100\r\n\t\tHEIGHT=100\r\n\t\tLEFT=0\r\n\t\tTOP=0\r\n\tEND\r\nEND\r\n");
        const std::string png = dir_.File("slide.png");
        fs::remove(png);
        const int status = test::RunCommand(
            JoinPath(ExecutableDirectory(), "kvotool") + " render " + show + " -o " + png + " --size " + size + " 2>&1", output);
        if (status == 0 && (!fs::exists(png) || fs::file_size(png) == 0)) return -1;
        if (image != nullptr && status == 0) *image = QImage(QString::fromStdString(png)).convertToFormat(QImage::Format_RGB32);
        return status;
    }

    std::vector<std::string> Files(const char* folder) const {
        std::vector<std::string> files;
        for (const auto& entry : fs::directory_iterator(kCorpus / folder)) files.push_back(fs::canonical(entry.path()).string());
        std::sort(files.begin(), files.end());
        return files;
    }

    test::TempDir dir_;
};

bool IsInk(QRgb pixel) { return qRed(pixel) < 215 || qGreen(pixel) < 215 || qBlue(pixel) < 215; }

// The share of the image in ink, and of the box around all ink.
std::pair<double, double> InkAndExtent(const QImage& image, const QRect& area) {
    long long ink = 0;
    QRect box;
    for (int y = area.top(); y <= area.bottom(); ++y)
        for (int x = area.left(); x <= area.right(); ++x)
            if (IsInk(image.pixel(x, y))) {
                ++ink;
                box |= QRect(x, y, 1, 1);
            }
    const double size = static_cast<double>(area.width()) * area.height();
    return {ink / size, static_cast<double>(box.width()) * box.height() / size};
}

// A picture drawn outside its frame, or at the wrong scale, leaves the slide
// blank or inks a corner of it.
TEST_F(PictureTest, EveryGoodPictureRendersAndEveryMetafileFillsItsPicture) {
    int count = 0;
    for (const char* folder : {"bmp", "wmf", "emf"}) {
        for (const std::string& file : Files(folder)) {
            std::string output;
            QImage image;
            ASSERT_EQ(Render(file, &output, &image), 0) << file << ": " << output;
            ++count;
            if (std::string(folder) == "bmp") continue;
            const auto [ink, extent] = InkAndExtent(image, image.rect());
            EXPECT_GT(ink, 0.02) << file << " is blank";
            EXPECT_GT(extent, 0.5) << file << " covers only part of its picture";
        }
    }
    EXPECT_GE(count, 20);
    // The line in the Symbol font: Greek letters that a font without them leaves out.
    std::string output;
    QImage text;
    ASSERT_EQ(Render(fs::canonical(kCorpus / "wmf" / "libwmf-text.wmf").string(), &output, &text, "426x800"), 0) << output;
    EXPECT_GT(InkAndExtent(text, QRect(0, 524, 260, 24)).first, 0.05);
}

// The panels of the full test that libemf2svg left empty or wrong: where the
// Windows rendering has ink, so does ours, and little where it has none.
TEST_F(PictureTest, GradientsClippingAndHatchesAreDrawnWhereWindowsDrawsThem) {
    const QImage reference = QImage(QString::fromStdString((kCorpus / "ref" / "wmf2svg-fulltest.emf.windows.png").string()))
                                 .convertToFormat(QImage::Format_RGB32);
    ASSERT_FALSE(reference.isNull());
    std::string output;
    QImage image;
    ASSERT_EQ(Render(fs::canonical(kCorpus / "emf" / "wmf2svg-fulltest.emf").string(), &output, &image, "1056x790"), 0) << output;
    const auto agreement = [&](const QRect& panel, bool ink) {
        long long wanted = 0, met = 0;
        for (int y = panel.top(); y <= panel.bottom(); ++y)
            for (int x = panel.left(); x <= panel.right(); ++x) {
                if (IsInk(reference.pixel(x, y)) != ink) continue;
                ++wanted;
                // Within a pixel of where Windows has it: edges are drawn a little differently.
                bool found = false;
                for (int dy = -1; dy <= 1 && !found; ++dy)
                    for (int dx = -1; dx <= 1 && !found; ++dx) found = IsInk(image.pixel(x + dx, y + dy)) == ink;
                met += found ? 1 : 0;
            }
        return wanted == 0 ? 1.0 : static_cast<double>(met) / static_cast<double>(wanted);
    };
    const std::pair<const char*, QRect> panels[] = {{"gradients", QRect(770, 240, 260, 95)},
                                                    {"clipping", QRect(25, 400, 210, 100)},
                                                    {"hatching", QRect(775, 455, 95, 40)}};
    for (const auto& [name, panel] : panels) {
        EXPECT_GT(agreement(panel, true), 0.9) << name << ": ink missing";
        EXPECT_GT(agreement(panel, false), 0.9) << name << ": ink where Windows has none";
    }
}

// Damaged, cut short or not what its name says: the file is named, nothing drawn.
TEST_F(PictureTest, BadPicturesFailClearly) {
    std::vector<std::string> bad = Files("bad");
    for (const char* name : {"wmf/libwmf-2doorvan.wmf", "emf/libuemf-test-ref.emf", "bmp/rgb24.bmp", "bmp/pal8rle.bmp"}) {
        const std::string whole = test::ReadFile((kCorpus / name).string());
        const std::string extension = fs::path(name).extension().string();
        for (std::size_t cut : {std::size_t{7}, std::size_t{60}, whole.size() / 4, whole.size() / 2, whole.size() * 9 / 10}) {
            bad.push_back(dir_.File("cut" + std::to_string(bad.size()) + "-" + std::to_string(cut) + extension));
            test::WriteFile(bad.back(), whole.substr(0, cut));
        }
    }
    for (const std::string& file : bad) {
        std::string output;
        EXPECT_EQ(Render(file, &output), 1) << file;
        EXPECT_NE(output.find(file), std::string::npos) << output;
    }
    const std::string fake = dir_.File("drawing.wmf");
    fs::copy_file(kCorpus / "bmp" / "rgb24.bmp", fake);
    std::string output;
    EXPECT_EQ(Render(fake, &output), 1);
    EXPECT_NE(output.find("is not a Windows metafile"), std::string::npos) << output;
}

void PutU32(std::string& bytes, std::size_t at, uint32_t value) {
    for (int i = 0; i < 4; ++i) bytes[at + static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

// A picture of more records than the editor draws costs an error, not gigabytes.
TEST_F(PictureTest, PicturesOfTooManyRecordsAreRefused) {
    std::string emf = test::ReadFile((kCorpus / "emf" / "pillow-drawing.emf").string());
    std::string moves;
    for (int i = 0; i <= 100'000; ++i) moves += std::string("\x1B\0\0\0\x10\0\0\0\0\0\0\0\0\0\0\0", 16);  // MoveToEx 0,0
    emf.insert(emf.size() - 20, moves);  // before the end-of-file record
    PutU32(emf, 48, static_cast<uint32_t>(emf.size()));
    std::string wmf = test::ReadFile((kCorpus / "wmf" / "pillow-drawing.wmf").string());
    std::string wmfMoves;
    for (int i = 0; i <= 250'000; ++i) wmfMoves += std::string("\5\0\0\0\x14\2\0\0\0\0", 10);  // MoveTo 0,0
    wmf.insert(wmf.size() - 6, wmfMoves);
    PutU32(wmf, 22 + 6, static_cast<uint32_t>((wmf.size() - 22) / 2));
    for (const auto& [name, bytes] : {std::pair{"many.emf", emf}, std::pair{"many.wmf", wmf}}) {
        const std::string file = dir_.File(name);
        test::WriteFile(file, bytes);
        std::string output;
        EXPECT_EQ(Render(file, &output), 1) << output;
        EXPECT_NE(output.find("more drawing records"), std::string::npos) << output;
    }
}

}  // namespace
}  // namespace kvo

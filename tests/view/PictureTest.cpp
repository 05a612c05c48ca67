// Real pictures made by others, drawn through kvotool render as a user would.
#include <gtest/gtest.h>

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

    // Renders a one-slide show with this picture; returns kvotool's exit status.
    int Render(const std::string& picture, std::string* output) {
        const std::string show = dir_.File("show.pdz");
        test::WriteFile(show, "BLOCK SlideShow\r\n\tBLOCK Slide\r\n\t\tGRAPHIC=" + picture + "\r\n\tEND\r\nEND\r\n");
        const std::string png = dir_.File("slide.png");
        fs::remove(png);
        const int status = test::RunCommand(JoinPath(ExecutableDirectory(), "kvotool") + " render " + show + " -o " + png +
                                                " --size 640x480 2>&1",
                                            output);
        if (status == 0 && (!fs::exists(png) || fs::file_size(png) == 0)) return -1;
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

TEST_F(PictureTest, EveryGoodPictureRenders) {
    int count = 0;
    for (const char* folder : {"bmp", "wmf", "emf"}) {
        for (const std::string& file : Files(folder)) {
            std::string output;
            EXPECT_EQ(Render(file, &output), 0) << file << ": " << output;
            ++count;
        }
    }
    EXPECT_GE(count, 20);
}

TEST_F(PictureTest, DamagedPicturesFailClearly) {
    for (const std::string& file : Files("bad")) {
        std::string output;
        EXPECT_EQ(Render(file, &output), 1) << file;
        EXPECT_NE(output.find(file), std::string::npos) << output;
    }
}

TEST_F(PictureTest, TruncatedCopiesFailClearly) {
    for (const char* name : {"wmf/libwmf-2doorvan.wmf", "emf/libuemf-test-ref.emf", "bmp/rgb24.bmp", "bmp/pal8rle.bmp"}) {
        const std::string whole = test::ReadFile((kCorpus / name).string());
        const std::string extension = fs::path(name).extension().string();
        for (std::size_t cut : {std::size_t{7}, std::size_t{60}, whole.size() / 4, whole.size() / 2, whole.size() * 9 / 10}) {
            const std::string copy = dir_.File("cut-" + std::to_string(cut) + extension);
            test::WriteFile(copy, whole.substr(0, cut));
            std::string output;
            EXPECT_EQ(Render(copy, &output), 1) << name << " cut at " << cut << ": " << output;
            EXPECT_NE(output.find(copy), std::string::npos) << output;
        }
    }
}

TEST_F(PictureTest, AFileThatIsNotWhatItsNameSaysFails) {
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

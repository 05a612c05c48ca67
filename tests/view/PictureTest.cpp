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

}  // namespace
}  // namespace kvo

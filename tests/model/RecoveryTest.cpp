#include "model/Recovery.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sstream>

#include "ModelTestSupport.h"
#include "model/SlideShow.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

using test::TextOf;

void Age(const std::string& path, std::chrono::seconds by) { fs::last_write_time(path, fs::last_write_time(path) - by); }

class RecoveryTest : public ::testing::Test {
protected:
    void SetUp() override {
        show_.Slides().Add().SetName("edited");
        show_.Slides().Item(1).Icons().Add().SetSequenceNumber(12);
    }

    test::TempDir dir_;
    Recovery recovery_{dir_.File("state/recovery")};
    SlideShow show_;
};

TEST_F(RecoveryTest, ACopyIsOfferedOnlyWhileItIsNewerThanItsDocument) {
    const std::string text = dir_.File("text.pdz");
    const std::string binary = dir_.File("binary.pdx");
    const std::string neverSaved = dir_.File("new.pdz");
    SlideShow saved;
    saved.Slides().Add().SetName("as saved");
    saved.SaveToFile(text);
    saved.SaveToBinary(binary);
    Age(text, std::chrono::seconds(20));
    Age(binary, std::chrono::seconds(20));

    recovery_.Write(show_, text);
    recovery_.Write(show_, binary);
    recovery_.Write(show_, neverSaved);
    EXPECT_EQ(fs::status(recovery_.Directory()).permissions() & fs::perms::all, fs::perms::owner_all);
    EXPECT_NE(recovery_.CopyPath(text), recovery_.CopyPath(binary));
    Age(recovery_.CopyPath(neverSaved), std::chrono::seconds(10));
    const auto pending = recovery_.Pending();
    ASSERT_EQ(pending.size(), 3u);
    EXPECT_EQ(pending.back().document, neverSaved);  // newest first

    for (const auto& copy : pending) {
        const auto restored = recovery_.Load(copy);
        EXPECT_EQ(TextOf(*restored), TextOf(show_));
        // Saving the restored show writes the document's own format.
        EXPECT_EQ(restored->Binary(), copy.document == binary) << copy.document;
    }

    // Saved after the copy was written: the document holds the newer work.
    saved.SaveToFile(text);
    EXPECT_EQ(recovery_.Pending().size(), 2u);
    recovery_.Remove(binary);
    recovery_.Remove(neverSaved);
    EXPECT_TRUE(recovery_.Pending().empty());
    EXPECT_FALSE(fs::exists(recovery_.CopyPath(binary)));
}

TEST_F(RecoveryTest, StrayOrDamagedFilesAreSkippedOrNamed) {
    EXPECT_TRUE(recovery_.Pending().empty());  // no folder yet
    const std::string document = dir_.File("gone.pdz");
    recovery_.Write(show_, document);
    test::WriteFile(recovery_.Directory() + "/notes.document", "no line end");
    test::WriteFile(recovery_.Directory() + "/orphan.document", document + "\n");  // its copy is gone
    ASSERT_EQ(recovery_.Pending().size(), 1u);

    test::WriteFile(recovery_.CopyPath(document), "PDXFILE\x05");
    const Error error = test::RaisedBy([&] { recovery_.Load(recovery_.Pending().front()); });
    EXPECT_EQ(error.Number(), ErrorNumber::InputPastEnd);
    EXPECT_NE(error.Description().find(recovery_.CopyPath(document)), std::string::npos) << error.Description();
}

}  // namespace
}  // namespace kvo

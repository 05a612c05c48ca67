#include "services/Language.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "services/Help.h"
#include "services/Paths.h"
#include "services/RegEntry.h"

namespace kvo {
namespace {

// Each test gets its own editor directory and settings store, and leaves the
// program-wide language as it found it.
class LanguageTest : public ::testing::Test {
protected:
    void SetUp() override {
        SetEditorDirectory(editor_);
        SetLanguage(1033);
        InitResources();
    }
    void TearDown() override {
        SetEditorDirectory(EditorDataDirectory());
        SetLanguage(1033);
        InitResources();
    }

    void SetInstallDirectory(const std::string& directory) {
        RegEntry entry;
        entry.CreateKey("Tessiva\\Settings");
        entry.SetString("InstallDirectory", directory);
    }

    test::TempDir dir_;
    std::string editor_ = dir_.File("editor");
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
};

TEST_F(LanguageTest, LanguageCodesFollowTheTableAndFallBackToEnglish) {
    EXPECT_EQ(LanguageCodeFor(1031), "DEU");
    EXPECT_EQ(LanguageCodeFor(6153), "ENI");
    EXPECT_EQ(LanguageCodeFor(-1), "PIG");  // the table's last entry
    EXPECT_EQ(LanguageCodeFor(2052), "ENU");
    SetLanguage(1036);
    EXPECT_EQ(LanguageCode(), "FRA");
    EXPECT_EQ(LanguageId(), 1036);
}

TEST_F(LanguageTest, EachBlockOfAThousandIdsHasItsOwnFile) {
    EXPECT_EQ(StringTableFileName("ENU", 31000), "ENU31000.str");
    EXPECT_EQ(StringTableFileName("ENU", 31999), "ENU31000.str");
    EXPECT_EQ(StringTableFileName("ENU", 32000), "ENU32000.str");
    EXPECT_EQ(StringTableFileName("DEU", 999), "DEU00000.str");

    test::WriteFile(editor_ + "/ENU31000.str", "31000=missing %0%\n31999=last of block\n");
    test::WriteFile(editor_ + "/ENU32000.str", "32000=missing here %0%\n32001=next block\n");
    EXPECT_EQ(LoadResString(31999), "last of block");
    EXPECT_EQ(LoadResString(32001), "next block");
}

TEST_F(LanguageTest, MissingTextsAndFilesHaveTheirOwnAnswers) {
    test::WriteFile(editor_ + "/ENU31000.str", "31000=Text %0% is missing.\n31005=\n");
    test::WriteFile(editor_ + "/ENU33000.str", "33001=a block without its first text\n");
    EXPECT_EQ(LoadResString(31004), "Text 31004 is missing.");
    EXPECT_EQ(LoadResString(31005), "Text 31005 is missing.");  // empty counts as missing
    EXPECT_EQ(LoadResString(33002), "Error: String 33000 Not Found");
    EXPECT_EQ(LoadResString(34000), "Error: Resource File Not Found");
    EXPECT_EQ(FormatResString(34001, {"x"}), "Error: Resource File Not Found");
}

TEST_F(LanguageTest, TablesAreFoundInTheHostBinDirectoryAfterTheEditorDirectory) {
    const std::string host = dir_.File("Tessiva");
    SetInstallDirectory(host);
    test::WriteFile(host + "/Bin/ENU32000.str", "32000=first\n32007=from the host\n");
    EXPECT_EQ(LoadResString(32007), "from the host");

    test::WriteFile(editor_ + "/DEU32000.str", "32000=erster\n32007=vom Editor\n");
    test::WriteFile(host + "/Bin/DEU32000.str", "32000=first\n32007=vom Host\n");
    SetLanguage(1031);
    EXPECT_EQ(LoadResString(32007), "vom Editor");
}

TEST_F(LanguageTest, LongTextsAreCutToTheClassicBufferOnACharacterBoundary) {
    std::string text(1022, 'a');
    text += "\xC3\xA4\xC3\xA4";  // "ää": the 1023-byte cut falls inside the first one
    test::WriteFile(editor_ + "/ENU31000.str", "31000=x\n31001=" + text + "\n");
    EXPECT_EQ(LoadResString(31001), std::string(1022, 'a'));
}

TEST_F(LanguageTest, ArgumentsFillTheirTokensInAscendingOrder) {
    EXPECT_EQ(FormatText("%0% %1% %2%", {Omit, Omit, "x"}), "%0% %1% x");
    EXPECT_EQ(FormatText("%0% and %0%", {"a"}), "a and a");
    EXPECT_EQ(FormatText("%0%", {"%1%", "b"}), "b");  // a later index expands an earlier argument
    EXPECT_EQ(FormatText("%1%", {"b", "%0%"}), "%0%");  // but not the other way round
    EXPECT_EQ(FormatText("line %0% of %1%: %2%", {12, std::string("file.pdz"), 0.8}), "line 12 of file.pdz: 0.8");
    EXPECT_EQ(FormatText("%9%%10%", {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10}), "9%10%");

    test::WriteFile(editor_ + "/ENU31000.str", "31000=x\n31081=Unexpected %0% at line %1%: expected %2%, found %3%.\n");
    EXPECT_EQ(FormatResString(31081, {"BLOCK", 17, "ICON", "VALUE"}),
              "Unexpected BLOCK at line 17: expected ICON, found VALUE.");
}

TEST_F(LanguageTest, ReplaceTextIsCaseSensitiveAndLeftToRight) {
    EXPECT_EQ(ReplaceText("aXbxcX", "X", "-"), "a-bxc-");
    EXPECT_EQ(ReplaceText("aaa", "aa", "b"), "ba");
    EXPECT_EQ(ReplaceText("abc", "b", "bb"), "abbc");
    EXPECT_EQ(ReplaceText("abc", "", "z"), "abc");
    EXPECT_EQ(ReplaceText("", "a", "z"), "");
}

TEST_F(LanguageTest, FontSizesHaveAMinimumByLanguage) {
    EXPECT_EQ(LanguageFontSize(1041, 8), 9);
    EXPECT_EQ(LanguageFontSize(2052, 8.5), 9);
    EXPECT_EQ(LanguageFontSize(1028, 10), 10);
    EXPECT_EQ(LanguageFontSize(1031, 7), 8);
    EXPECT_EQ(LanguageFontSize(1031, 8), 8);
    EXPECT_EQ(LanguageFontSize(1033, 8.25), 8.25);
}

TEST_F(LanguageTest, HelpFileCandidatesAreTriedInOrder) {
    const std::string host = dir_.File("Tessiva");
    SetInstallDirectory(host);
    const std::string bin = host + "/Bin";
    // From the last candidate to the first: each new file must win over the ones before.
    const std::vector<std::string> candidates = {
        bin + "/ENUTV.hlp",      editor_ + "/ENUTV.hlp",  bin + "/DEUTV.hlp",      editor_ + "/DEUTV.hlp",
        bin + "/ENUTV.html",     editor_ + "/ENUTV.html", bin + "/DEUTV.html",     editor_ + "/DEUTV.html",
        bin + "/ENUTV.chm",      editor_ + "/ENUTV.chm",  bin + "/DEUTV.chm",      editor_ + "/DEUTV.chm",
    };
    ChooseHelpFile(1031, "TV");
    EXPECT_EQ(HelpFile(), "");
    for (const std::string& candidate : candidates) {
        test::WriteFile(candidate, "help");
        ChooseHelpFile(1031, "TV");
        EXPECT_EQ(HelpFile(), candidate);
    }
    EXPECT_TRUE(IsHtmlHelp());
    EXPECT_TRUE(IsHtmlHelpFile("C:\\Help\\ENUTV.Chm"));
    EXPECT_FALSE(IsHtmlHelpFile("x.html"));
    EXPECT_FALSE(IsHtmlHelpFile(""));
}

TEST_F(LanguageTest, ABrokenSettingsStoreCostsOnlyTheHostDirectory) {
    test::WriteFile(dir_.File("registry.reg"), "not a registry file\n");
    EXPECT_EQ(LoadResString(31001), "Error: Resource File Not Found");
    test::WriteFile(editor_ + "/ENUTV.chm", "help");
    ChooseHelpFile(1033, "TV");
    EXPECT_EQ(HelpFile(), editor_ + "/ENUTV.chm");
}

}  // namespace
}  // namespace kvo

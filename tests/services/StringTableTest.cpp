#include "services/StringTable.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "TestSupport.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

TEST(StringTable, ReadsLinesCommentsAndEscapes) {
    const StringTable table = StringTable::Parse(
        "\xEF\xBB\xBF; comment\r\n"
        "\r\n"
        "31001=Plain text\r\n"
        "  ; indented comment\n"
        "31002=Two\\nlines and a \\\\ backslash\n"
        "31003 = spaced id, text = with equals\n"
        "31004=Unknown \\t escape\n",
        "ENU31000.str");
    EXPECT_EQ(*table.Find(31001), "Plain text");
    EXPECT_EQ(*table.Find(31002), "Two\nlines and a \\ backslash");
    EXPECT_EQ(*table.Find(31003), " spaced id, text = with equals");
    EXPECT_EQ(*table.Find(31004), "Unknown \\t escape");
    EXPECT_EQ(table.Find(31005), nullptr);
    EXPECT_EQ(table.Problems(), std::vector<std::string>{"ENU31000.str:7: unknown escape \\t (kept as written)"});
}

TEST(StringTable, BadLinesAreSkippedAndReportedWithTheirLine) {
    const StringTable table = StringTable::Parse(
        "31001=first\n"
        "no equals sign\n"
        "abc=letters for an id\n"
        "=no id\n"
        "31001=second\n"
        "31002=kept\n",
        "DEU31000.str");
    EXPECT_EQ(*table.Find(31001), "first");
    EXPECT_EQ(*table.Find(31002), "kept");
    ASSERT_EQ(table.Problems().size(), 4u);
    EXPECT_EQ(table.Problems()[0].rfind("DEU31000.str:2: ", 0), 0u);
    EXPECT_EQ(table.Problems()[1].rfind("DEU31000.str:3: ", 0), 0u);
    EXPECT_EQ(table.Problems()[2].rfind("DEU31000.str:4: ", 0), 0u);
    EXPECT_EQ(table.Problems()[3], "DEU31000.str:5: id 31001 appears again (first at line 1); the first text is kept");
}

std::set<std::string> Placeholders(const std::string& text) {
    static const std::regex token("%[0-9]%");
    std::set<std::string> found;
    for (auto it = std::sregex_iterator(text.begin(), text.end(), token); it != std::sregex_iterator(); ++it)
        found.insert(it->str());
    return found;
}

// Every id the program uses is in every shipped language, with the same
// placeholders, so no translation drops an argument.
TEST(StringTable, ShippedTablesHoldEveryIdInEveryLanguage) {
    const auto english = StringTable::LoadFile(test::SourcePath("resources/lang/ENU31000.str"));
    const auto german = StringTable::LoadFile(test::SourcePath("resources/lang/DEU31000.str"));
    ASSERT_TRUE(english && german);
    EXPECT_TRUE(english->Problems().empty()) << english->Problems().front();
    EXPECT_TRUE(german->Problems().empty()) << german->Problems().front();
    for (int32_t id : Str::kAll) {
        ASSERT_NE(english->Find(id), nullptr) << id;
        ASSERT_NE(german->Find(id), nullptr) << id;
        EXPECT_FALSE(english->Find(id)->empty()) << id;
        EXPECT_FALSE(german->Find(id)->empty()) << id;
        EXPECT_EQ(Placeholders(*english->Find(id)), Placeholders(*german->Find(id))) << id;
    }
    EXPECT_EQ(english->Size(), std::size(Str::kAll));
    EXPECT_EQ(german->Size(), std::size(Str::kAll));
    EXPECT_EQ(std::set<int32_t>(std::begin(Str::kAll), std::end(Str::kAll)).size(), std::size(Str::kAll));
}

}  // namespace
}  // namespace kvo

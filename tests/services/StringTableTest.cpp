#include "services/StringTable.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "TestSupport.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

// Bad lines are skipped and named with their line, so one typo in a
// translation costs one text, not the table.
TEST(StringTable, ReadsLinesCommentsAndEscapesAndReportsBadLines) {
    const StringTable table = StringTable::Parse(
        "\xEF\xBB\xBF; comment\r\n"
        "\r\n"
        "31001=Plain text\r\n"
        "  ; indented comment\n"
        "31002=Two\\nlines and a \\\\ backslash\n"
        "31003 = spaced id, text = with equals\n"
        "31004=Unknown \\t escape\n"
        "no equals sign\n"
        "abc=letters for an id\n"
        "=no id\n"
        "31001=second\n",
        "ENU31000.str");
    EXPECT_EQ(*table.Find(31001), "Plain text");
    EXPECT_EQ(*table.Find(31002), "Two\nlines and a \\ backslash");
    EXPECT_EQ(*table.Find(31003), " spaced id, text = with equals");
    EXPECT_EQ(*table.Find(31004), "Unknown \\t escape");
    EXPECT_EQ(table.Find(31005), nullptr);
    ASSERT_EQ(table.Problems().size(), 5u);
    EXPECT_EQ(table.Problems()[0], "ENU31000.str:7: unknown escape \\t (kept as written)");
    for (std::size_t i = 1; i <= 3; ++i)
        EXPECT_EQ(table.Problems()[i].rfind("ENU31000.str:" + std::to_string(i + 7) + ": ", 0), 0u) << table.Problems()[i];
    EXPECT_EQ(table.Problems()[4], "ENU31000.str:11: id 31001 appears again (first at line 3); the first text is kept");
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

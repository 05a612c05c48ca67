#include "model/BlockParser.h"

#include <gtest/gtest.h>

#include "ModelTestSupport.h"
#include "services/Language.h"

namespace kvo {
namespace {

using test::RaisedBy;

struct Token {
    int16_t kind;
    std::string first;   // key or block type
    std::string second;  // value or block name
};

std::vector<Token> Tokens(BlockParser& parser) {
    std::vector<Token> tokens;
    for (int16_t kind; (kind = parser.GetToken()) != BlockParser::TokenEndFile;) {
        if (kind == BlockParser::TokenKeyValue) tokens.push_back({kind, std::string(parser.Key()), std::string(parser.Value())});
        else if (kind == BlockParser::TokenStartBlock) tokens.push_back({kind, std::string(parser.BlockType()), std::string(parser.BlockName())});
        else tokens.push_back({kind, "", ""});
    }
    return tokens;
}

class BlockParserTest : public ::testing::Test {
protected:
    BlockParser& Open(const std::string& text) {
        test::WriteFile(path_, text);
        parser_.OpenFile(path_, false);
        return parser_;
    }
    test::TempDir dir_;
    std::string path_ = dir_.File("show.pdz");
    BlockParser parser_;
};

TEST_F(BlockParserTest, LineKindsAndCaseRules) {
    auto& parser = Open(
        "BLOCK SlideShow\r\n"
        "  NAME  =  Part 7 = left  \r\n"
        "\tBLOCK\tIcon\r\n"
        "\t\t\t\r\n"
        "; BLOCK Slide\r\n"
        "name=a;b\n"
        "block icon  First Icon\n"
        "BLOCK Icon X=1\n"
        "=abc\n"
        "KEY=\n"
        "BLOCK\n"
        "end\n"
        "End\n"
        "my\tkey\t=\tv\t\r\n"
        "Tab=a\tb");
    const std::vector<Token> expected = {
        {BlockParser::TokenStartBlock, "SLIDESHOW", ""},
        {BlockParser::TokenKeyValue, "NAME", "Part 7 = left"},
        {BlockParser::TokenStartBlock, "ICON", ""},
        {BlockParser::TokenKeyValue, "NAME", "a;b"},
        {BlockParser::TokenStartBlock, "ICON", "First"},
        {BlockParser::TokenKeyValue, "BLOCK ICON X", "1"},  // "=" wins over BLOCK
        {BlockParser::TokenKeyValue, "", "abc"},
        {BlockParser::TokenKeyValue, "KEY", ""},
        {BlockParser::TokenStartBlock, "", ""},
        {BlockParser::TokenEndBlock, "", ""},
        {BlockParser::TokenEndBlock, "", ""},
        {BlockParser::TokenKeyValue, "MY KEY", "v"},
        {BlockParser::TokenKeyValue, "TAB", "a b"},
    };
    const auto tokens = Tokens(parser);
    ASSERT_EQ(tokens.size(), expected.size());
    for (std::size_t i = 0; i < tokens.size(); ++i) {
        EXPECT_EQ(tokens[i].kind, expected[i].kind) << i;
        EXPECT_EQ(tokens[i].first, expected[i].first) << i;
        EXPECT_EQ(tokens[i].second, expected[i].second) << i;
    }
    EXPECT_EQ(parser.CurrentLine(), 15);
}

// The file is read a piece at a time: lines across the seams, a line longer
// than a piece, and properties of the other kind kept while the buffer moves on.
TEST_F(BlockParserTest, LargeFilesReadLikeSmallOnes) {
    std::string text = "BLOCK Slide First\r\nLAST=kept\r\n";
    std::string lines;
    for (int i = 0; i < 40000; ++i) lines += "\tK" + std::to_string(i) + " = v\t" + std::to_string(i) + "\r\n";
    const std::string longValue(700 * 1024, 'x');
    text += std::string(300 * 1024, '\n') + "BLOCK Icon Far\r\n" + lines + "LONG=" + longValue + "\r\nend";
    auto& parser = Open(text);
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenStartBlock);
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenKeyValue);
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenStartBlock);
    EXPECT_EQ(parser.BlockName(), "Far");
    EXPECT_EQ(parser.Key(), "LAST");
    EXPECT_EQ(parser.Value(), "kept");
    for (int i = 0; i < 40000; ++i) {
        ASSERT_EQ(parser.GetToken(), BlockParser::TokenKeyValue) << i;
        ASSERT_EQ(parser.Key(), "K" + std::to_string(i));
        ASSERT_EQ(parser.Value(), "v " + std::to_string(i));
    }
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenKeyValue);
    EXPECT_EQ(parser.Value(), longValue);
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenEndBlock);
    EXPECT_EQ(parser.BlockType(), "ICON");
    parser.CloseFile();
    EXPECT_EQ(parser.Value(), longValue);  // the properties outlive the file
    EXPECT_EQ(parser.CurrentLine(), 2 + 300 * 1024 + 1 + 40000 + 2);
}

TEST_F(BlockParserTest, BlankFilesEndAtOnceAndEndFileRepeats) {
    const struct {
        const char* text;
        int32_t lines;
    } cases[] = {{"", 0}, {"\r\n", 1}, {"  \t \r\n; comment\r\n\r\n", 3}, {"; no line end at the end", 1}};
    for (const auto& c : cases) {
        auto& parser = Open(c.text);
        EXPECT_EQ(parser.GetToken(), BlockParser::TokenEndFile) << c.text;
        EXPECT_EQ(parser.GetToken(), BlockParser::TokenEndFile) << c.text;
        EXPECT_EQ(parser.CurrentLine(), c.lines) << c.text;
    }
}

TEST_F(BlockParserTest, UnknownLineRaisesTheLineErrorAndParsingGoesOn) {
    auto& parser = Open("BLOCK A\nEnd Block\nEND;\nEND\n");
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenStartBlock);
    const Error error = RaisedBy([&] { parser.GetToken(); });
    EXPECT_EQ(error.Number(), 5000);
    EXPECT_EQ(error.Source(), "BlockParse.GetToken");
    EXPECT_EQ(error.Description(), FormatResString(31045, {2}));
    EXPECT_NE(error.Description().find('2'), std::string::npos);
    EXPECT_EQ(RaisedBy([&] { parser.GetToken(); }).Number(), 5000);  // "END;" is no end line
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenEndBlock);
    EXPECT_EQ(parser.CurrentLine(), 4);
}

TEST_F(BlockParserTest, OpeningRefusesTheModeFlagAndReportsMissingFiles) {
    const Error refused = RaisedBy([&] { parser_.OpenFile(path_, true); });
    EXPECT_EQ(refused.Number(), 5000);
    EXPECT_EQ(refused.Source(), "BlockParser.Open");
    EXPECT_EQ(refused.Description(), "Not implemented at this time");
    const Error missing = RaisedBy([&] { parser_.OpenFile(dir_.File("missing.pdz"), false); });
    EXPECT_EQ(missing.Number(), 53);
    EXPECT_NE(missing.Description().find("missing.pdz"), std::string::npos);
    EXPECT_NE(RaisedBy([&] { parser_.OpenFile(dir_.Path(), false); }).Number(), 0);
}

TEST_F(BlockParserTest, ReopeningStartsOverAndClosingTwiceIsHarmless) {
    auto& parser = Open("A=1\nB=2\n");
    parser.GetToken();
    test::WriteFile(dir_.File("other.pdz"), "C=3\n");
    parser.OpenFile(dir_.File("other.pdz"), false);
    EXPECT_EQ(parser.CurrentLine(), 0);
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenKeyValue);
    EXPECT_EQ(parser.Key(), "C");
    parser.CloseFile();
    parser.CloseFile();
    EXPECT_EQ(parser.GetToken(), BlockParser::TokenEndFile);
}

TEST_F(BlockParserTest, ClassifiersWorkOnAnyString) {
    BlockParser parser;
    EXPECT_FALSE(parser.ParseBlock("BLOCKS Icon"));
    EXPECT_FALSE(parser.ParseBlock(""));
    EXPECT_TRUE(parser.ParseEnd("eNd"));
    EXPECT_FALSE(parser.ParseEnd("END SLIDE"));
    EXPECT_FALSE(parser.ParseEnd(""));
    EXPECT_FALSE(parser.ParseKeyValue(""));
    EXPECT_FALSE(parser.ParseKeyValue("no equals"));
    EXPECT_EQ(BlockParser::ExpandTabs("\ta\tb\t\tc"), " a b  c");
}

}  // namespace
}  // namespace kvo

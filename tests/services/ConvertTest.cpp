#include "services/Convert.h"

#include <gtest/gtest.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "TestSupport.h"
#include "services/Language.h"

namespace kvo {
namespace {

using test::RaisedBy;

TEST(Convert, WholeNumbersRoundHalfToEvenAndAcceptTheClassicForms) {
    const struct {
        const char* text;
        int16_t expected;
    } cases[] = {
        {"2.5", 2},    {"3.5", 4},        {"-2.5", -2},      {"0.5", 0},       {"1.5", 2},     {"2.4999", 2},
        {" 12 ", 12},  {"\t7", 7},        {"+7", 7},         {".5", 0},        {"5.", 5},      {"1e3", 1000},
        {"1D2", 100},  {"32767", 32767},  {"-32768", -32768}, {"-32768.5", -32768}, {"&HFFFF", -1}, {"&h7fff", 32767},
        {"&O17", 15},  {"0001", 1},
    };
    for (const auto& c : cases) EXPECT_EQ(ToInteger(c.text), c.expected) << c.text;
}

TEST(Convert, BadTextIsTypeMismatchAndTooLargeIsOverflow) {
    // The forms the C library would read but the format does not know, too.
    for (const char* text : {"", " ", "abc", "12abc", "1e", "True", "1,5", "--1", "1.2.3", "&H", "&HZZ", "e5", ".", "inf",
                             "-nan", "0x1p3", "+-1", "1e+-2", "1d"})
    {
        EXPECT_EQ(RaisedBy([&] { ToInteger(text); }).Number(), ErrorNumber::TypeMismatch) << '"' << text << '"';
        EXPECT_EQ(RaisedBy([&] { ToDouble(text); }).Number(), ErrorNumber::TypeMismatch) << '"' << text << '"';
    }
    for (const char* text : {"32767.5", "32768", "-32769", "1e10", "&H10000", "1.#INF"})
        EXPECT_EQ(RaisedBy([&] { ToInteger(text); }).Number(), ErrorNumber::Overflow) << text;
    EXPECT_EQ(RaisedBy([] { ToLong("2147483648"); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { ToByte("256"); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { ToByte("-1"); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { ToSingle("1e39"); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { ToDouble("1e400"); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { RoundToInteger(32767.5); }).Number(), ErrorNumber::Overflow);
    EXPECT_EQ(RaisedBy([] { RoundToLong(std::nan("")); }).Number(), ErrorNumber::Overflow);
}

TEST(Convert, ErrorsAreMessagesInTheLanguageOfTheTextsAndNameTheText) {
    const auto description = [](const std::function<void()>& call) {
        const Error error = RaisedBy(call);
        EXPECT_NE(std::string(error.what()).find("error " + std::to_string(error.Number())), std::string::npos);
        return error.Description();
    };
    SetLanguage(1031);
    InitResources();
    EXPECT_EQ(description([] { ToInteger("abc"); }), "\"abc\" ist keine ganze Zahl.");
    EXPECT_EQ(description([] { ToInteger("40000"); }), "40000 ist zu groß oder zu klein: zulässig sind -32768 bis 32767.");
    EXPECT_EQ(description([] { ToDouble("1,5"); }), "\"1,5\" ist keine Zahl.");
    SetLanguage(1033);
    InitResources();
    EXPECT_EQ(description([] { ToInteger("12abc"); }), "\"12abc\" is not a whole number.");
    EXPECT_EQ(description([] { ToByte("256"); }), "256 is too large or too small: allowed are 0 to 255.");
}

TEST(Convert, LongsDoublesAndSingles) {
    EXPECT_EQ(ToLong("2147483647"), 2147483647);
    EXPECT_EQ(ToLong("-2147483648"), std::numeric_limits<int32_t>::min());
    EXPECT_EQ(ToLong("&HFFFFFFFF"), -1);
    EXPECT_EQ(ToLong("40000"), 40000);
    // Nine digits and fewer take a short way; both ways must agree at the edge.
    EXPECT_EQ(ToLong("-999999999"), -999999999);
    EXPECT_EQ(ToLong("1000000000"), 1000000000);
    EXPECT_TRUE(std::signbit(ToDouble("-0")));
    EXPECT_EQ(ToDouble("-1.5E-3"), -0.0015);
    EXPECT_EQ(ToDouble("+1.5d+1"), 15.0);
    EXPECT_EQ(ToDouble("-.25D0"), -0.25);
    EXPECT_EQ(ToDouble("1e-400"), 0.0);  // underflow reads as zero, not as an error
    EXPECT_EQ(ToDouble("0.000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
                       "0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
                       "0000000000000000000000000000000000000000000000000000000000000000000000000000000000000000000"
                       "00000000000000000000000000000000000000000000000000001"),
              0.0);
    EXPECT_TRUE(std::isinf(ToDouble("1.#INF")));
    EXPECT_FLOAT_EQ(ToSingle("3.25"), 3.25f);
    EXPECT_EQ(ToByte("255"), 255);
    EXPECT_EQ(RoundToLong(2.5), 2);
    EXPECT_EQ(RoundToLong(-3.5), -4);
    EXPECT_EQ(RoundToInteger(32767.4), 32767);
}

// Short decimals take a quicker way than the others: both must read what the
// C library reads, up to the longest the quick way takes and just past it.
TEST(Convert, DecimalsOfEveryLengthReadAsTheCLibraryReadsThem) {
    std::mt19937_64 random(23);
    for (int i = 0; i < 20000; ++i) {
        std::string digits(1 + random() % 17, '0');
        for (char& digit : digits) digit = static_cast<char>('0' + random() % 10);
        std::string text = (random() % 2 ? "-" : "") + digits;
        text.insert(text.size() - random() % (digits.size() + 1), ".");
        double expected = 0;
        std::from_chars(text.data() + (text[0] == '-'), text.data() + text.size(), expected);
        if (text[0] == '-') expected = -expected;
        if (text == "." || text == "-.") continue;
        EXPECT_EQ(std::bit_cast<uint64_t>(ToDouble(text)), std::bit_cast<uint64_t>(expected)) << text;
    }
}

TEST(Convert, BooleansFromWordsInAnyCaseOrFromNumbers) {
    for (const char* text : {"True", "TRUE", "true", " tRuE ", "-1", "1", "2.5", "0.1", "&H1"})
        EXPECT_TRUE(ToBoolean(text)) << text;
    for (const char* text : {"False", "FALSE", "false", "0", "0.0", " 0 ", "-0"}) EXPECT_FALSE(ToBoolean(text)) << text;
    for (const char* text : {"yes", "no", "", "T", "Truth"})
        EXPECT_EQ(RaisedBy([&] { ToBoolean(text); }).Number(), ErrorNumber::TypeMismatch) << text;
}

// What printf cannot say: the runtime's own words for infinity and truth, and
// that every form written is read back.
TEST(Convert, DoublesAreReadBackAsWrittenAndInfinityAndTruthInTheRuntimesWords) {
    EXPECT_EQ(FormatDouble(std::numeric_limits<double>::infinity()), "1.#INF");
    EXPECT_EQ(FormatSingle(0.1f), "0.1");
    EXPECT_EQ(FormatSingle(3.14159274f), "3.141593");
    EXPECT_EQ(FormatBoolean(true), "True");
    EXPECT_EQ(FormatBoolean(false), "False");
    for (double value : {0.8, 0.071, -12.5, 1e-9, 6.02214076e23, 1.0 / 7, 65535.0})
        EXPECT_NEAR(ToDouble(FormatDouble(value)), value, std::fabs(value) * 1e-14) << FormatDouble(value);
    EXPECT_TRUE(std::isinf(ToDouble(FormatDouble(-std::numeric_limits<double>::infinity()))));
    EXPECT_TRUE(std::isnan(ToDouble(FormatDouble(std::nan("")))));
}

// Short decimals take a quicker way than the others: both must write what
// printf's %.15G writes, near the edges of the quick way too.
TEST(Convert, DoublesOfEveryShapeAreWrittenAsFifteenDigitsGeneral) {
    const auto expected = [](double value) {
        char text[40];
        std::snprintf(text, sizeof text, "%.15G", value);
        return std::string(text) == "-0" ? std::string("0") : std::string(text);
    };
    std::vector<double> values;
    for (int64_t whole : {0LL, 1LL, 5LL, 80LL, 125LL, 999999LL, 1000001LL, 123456789LL, 999999999999999LL})
        for (double scale : {1.0, 1e-1, 1e-3, 1e-4, 1e-5, 1e-6, 1e-7, 1e3, 1e8, 1e9})
            for (double sign : {1.0, -1.0}) values.push_back(sign * static_cast<double>(whole) * scale);
    for (double edge : {1e-4, 9.99999e-5, 1e9, 999999999.999999, 0.1 + 0.2, 1.0 / 3, 2.0 / 3 * 1e6, 1e15, 1e20, -2.5e-7})
        values.push_back(edge);
    std::mt19937_64 random(23);
    for (int i = 0; i < 2000; ++i) {
        values.push_back(std::bit_cast<double>(random()));
        values.push_back(static_cast<double>(random() % 100000000) / 1e6);
    }
    for (double value : values) {
        if (!std::isfinite(value)) continue;
        std::string appended = "x";
        AppendDouble(appended, value);
        EXPECT_EQ(appended, "x" + expected(value)) << value;
    }
}

}  // namespace
}  // namespace kvo

#include "model/Variant.h"

#include <gtest/gtest.h>

#include "ModelTestSupport.h"

namespace kvo {
namespace {

using test::RaisedBy;

TEST(Variant, TextEncodingOfEveryKind) {
    const struct {
        Variant value;
        const char* text;
    } cases[] = {
        {Variant(), "EMPTY"},
        {Variant::MakeNull(), "NULL"},
        {Variant(int16_t{-5}), "INTEGER|-5"},
        {Variant(int32_t{70000}), "LONG|70000"},
        {Variant(0.25f), "SINGLE|0.25"},
        {Variant(0.123), "DOUBLE|0.123"},
        {Variant::MakeDate(37330.5), "DATE|3/15/2002 12:00:00 PM"},
        {Variant("a|b c"), "STRING|a|b c"},
        {Variant(true), "BOOLEAN|True"},
        {Variant(uint8_t{200}), "BYTE|200"},
        {Variant::MakeUnsupported(6), "UNSUPPORTED"},
    };
    for (const auto& c : cases) {
        std::string encoded;
        c.value.Encode(encoded);
        EXPECT_EQ(encoded, c.text);
        if (c.value.Type() != 6) {
            EXPECT_EQ(Variant::Decode(c.text), c.value) << c.text;
        }
    }
}

TEST(Variant, DecodingIsLenientAboutCaseAndEmptyValues) {
    EXPECT_EQ(Variant::Decode("double|0.5"), Variant(0.5));
    EXPECT_EQ(Variant::Decode("DOUBLE|"), Variant(0.0));
    EXPECT_EQ(Variant::Decode("INTEGER"), Variant(int16_t{0}));
    EXPECT_EQ(Variant::Decode("BOOLEAN|"), Variant(false));
    EXPECT_EQ(Variant::Decode("STRING|"), Variant(""));
    EXPECT_EQ(Variant::Decode("Empty"), Variant());
    EXPECT_EQ(Variant::Decode("DATE|2002-03-15"), Variant::MakeDate(37330));
    EXPECT_EQ(Variant::Decode("UNSUPPORTED").Type(), 9);
    EXPECT_EQ(RaisedBy([] { Variant::Decode("MONEY|5"); }).Number(), 13);
    EXPECT_EQ(RaisedBy([] { Variant::Decode("DOUBLE|abc"); }).Number(), 13);
    EXPECT_EQ(RaisedBy([] { Variant::Decode("INTEGER|40000"); }).Number(), 6);
    EXPECT_EQ(RaisedBy([] { Variant::Decode("DATE|2/30/2002"); }).Number(), 13);
}

TEST(Variant, ConversionsFollowTheRuntime) {
    EXPECT_EQ(Variant().ToDouble(), 0.0);
    EXPECT_EQ(Variant().ToText(), "");
    EXPECT_EQ(Variant(" 0.05 ").ToDouble(), 0.05);
    EXPECT_EQ(Variant(true).ToDouble(), -1.0);
    EXPECT_EQ(Variant(2.5).ToInteger(), 2);
    EXPECT_EQ(Variant("7").ToLong(), 7);
    EXPECT_TRUE(Variant("True").ToBoolean());
    EXPECT_EQ(RaisedBy([] { Variant::MakeNull().ToDouble(); }).Number(), 94);
    EXPECT_EQ(RaisedBy([] { Variant::MakeNull().ToText(); }).Number(), 94);
    EXPECT_EQ(RaisedBy([] { Variant::MakeUnsupported(9).ToDouble(); }).Number(), 13);
    EXPECT_EQ(RaisedBy([] { Variant(1e10).ToInteger(); }).Number(), 6);
}

}  // namespace
}  // namespace kvo

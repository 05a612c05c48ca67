#include "model/BinaryStream.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "ModelTestSupport.h"

namespace kvo {
namespace {

using test::RaisedBy;

std::string Hex(std::string_view bytes) {
    static const char* digits = "0123456789ABCDEF";
    std::string out;
    for (char c : bytes) {
        const auto b = static_cast<unsigned char>(c);
        if (!out.empty()) out += ' ';
        out += digits[b >> 4];
        out += digits[b & 0xF];
    }
    return out;
}

class BinaryStreamTest : public ::testing::Test {
protected:
    // The bytes one write produces after the magic.
    template <typename F>
    std::string BytesOf(F&& write) {
        std::filesystem::remove(path_);
        BinaryStream stream;
        EXPECT_TRUE(stream.OpenFile(path_, true));
        write(stream);
        stream.FileClose();
        const std::string bytes = test::ReadFile(path_);
        EXPECT_EQ(bytes.substr(0, 7), "PDXFILE");
        return Hex(bytes.substr(7));
    }

    test::TempDir dir_;
    std::string path_ = dir_.File("show.pdx");
};

TEST_F(BinaryStreamTest, EveryItemHasItsLittleEndianBytes) {
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteBoolean(true); }), "FF FF");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteBoolean(false); }), "00 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteInteger(-2); }), "FE FF");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteLong(0x12345678); }), "78 56 34 12");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteSingle(1.0f); }), "00 00 80 3F");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteDouble(-2.0); }), "00 00 00 00 00 00 00 C0");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteString(""); }), "00 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteString("Ab"); }), "02 00 41 62");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant()); }), "00 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant::MakeNull()); }), "01 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(int16_t{5})); }), "02 00 05 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(int32_t{-1})); }), "03 00 FF FF FF FF");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(0.5f)); }), "04 00 00 00 00 3F");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(0.5)); }), "05 00 00 00 00 00 00 00 E0 3F");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant("x")); }), "08 00 01 00 78");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(true)); }), "0B 00 FF FF");
    // Kinds without a payload in the format: the tag alone.
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant::MakeDate(37000.5)); }), "07 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant(uint8_t{200})); }), "11 00");
    EXPECT_EQ(BytesOf([](BinaryStream& s) { s.WriteVariant(Variant::MakeUnsupported(9)); }), "09 00");
}

TEST_F(BinaryStreamTest, ItemsReadBackAndUnknownTagsReadAsTen) {
    BytesOf([](BinaryStream& s) {
        s.WriteBoolean(true);
        s.WriteInteger(-32768);
        s.WriteLong(-7);
        s.WriteSingle(2.5f);
        s.WriteDouble(0.071);
        s.WriteString("Gehäuse 7");
        s.WriteVariant(Variant::MakeDate(37000.5));
        s.WriteDouble(1.25);  // must still be found after the tag-only date
        s.WriteVariant(Variant("text"));
        s.WriteVariant(Variant(0.123));
        s.WriteVariant(Variant(false));
        s.WriteVariant(Variant::MakeNull());
    });
    BinaryStream stream;
    ASSERT_TRUE(stream.OpenFile(path_, false));
    EXPECT_TRUE(stream.GetBoolean());
    EXPECT_EQ(stream.GetInteger(), -32768);
    EXPECT_EQ(stream.GetLong(), -7);
    EXPECT_EQ(stream.GetSingle(), 2.5f);
    EXPECT_EQ(stream.GetDouble(), 0.071);
    EXPECT_EQ(stream.GetString(), "Gehäuse 7");
    // Read over what the cell held before, as a load does.
    const auto variant = [&] {
        Variant held("held before");
        stream.GetVariant(held);
        return held;
    };
    EXPECT_EQ(variant(), Variant(int32_t{10}));
    EXPECT_EQ(stream.GetDouble(), 1.25);
    EXPECT_EQ(variant(), Variant("text"));
    EXPECT_EQ(variant(), Variant(0.123));
    EXPECT_EQ(variant(), Variant(false));
    EXPECT_TRUE(variant().IsNull());
    const Error past = RaisedBy([&] { stream.GetLong(); });
    EXPECT_EQ(past.Number(), 62);
    EXPECT_NE(past.Description().find("show.pdx"), std::string::npos) << past.Description();
}

TEST_F(BinaryStreamTest, OpeningForReadingChecksTheMagic) {
    BinaryStream stream;
    test::WriteFile(path_, "BLOCK SlideShow\r\nEND\r\n");
    EXPECT_FALSE(stream.OpenFile(path_, false));
    stream.FileClose();
    test::WriteFile(path_, "PDXFIL");
    EXPECT_FALSE(stream.OpenFile(path_, false));
    stream.FileClose();
    EXPECT_FALSE(stream.OpenFile(dir_.File("missing.pdx"), false));
    stream.FileClose();
    stream.FileClose();  // closing what is not open is harmless
    EXPECT_FALSE(stream.OpenFile(dir_.File("no/such/folder/x.pdx"), true));
    test::WriteFile(path_, "PDXFILE");
    EXPECT_TRUE(stream.OpenFile(path_, false));
    EXPECT_EQ(RaisedBy([&] { stream.GetBoolean(); }).Number(), 62);
}

TEST_F(BinaryStreamTest, DamagedCountsAndLengthsAreCaught) {
    test::WriteFile(path_, std::string("PDXFILE") + "\xFF\xFF" + "\x10\x00" + "abc");
    BinaryStream stream;
    ASSERT_TRUE(stream.OpenFile(path_, false));
    EXPECT_EQ(stream.GetString(), "");  // a negative count reads as empty text
    EXPECT_EQ(RaisedBy([&] { stream.GetString(); }).Number(), 62);  // 16 bytes promised, 3 there
}

TEST_F(BinaryStreamTest, WritingKeepsAnOldLongerTailAndRefusesOverlongText) {
    test::WriteFile(path_, std::string(20, 'z'));
    BinaryStream stream;
    ASSERT_TRUE(stream.OpenFile(path_, true));
    stream.WriteInteger(1);
    const Error tooLong = RaisedBy([&] { stream.WriteString(std::string(32768, 'a')); });
    EXPECT_EQ(tooLong.Number(), 6);
    EXPECT_EQ(RaisedBy([&] { stream.WriteVariant(Variant(std::string(40000, 'a'))); }).Number(), 6);
    stream.WriteString(std::string(32767, 'a'));
    stream.FileClose();
    const std::string bytes = test::ReadFile(path_);
    EXPECT_EQ(bytes.size(), 7u + 2 + 2 + 32767);
    test::WriteFile(path_, std::string(20, 'z'));
    ASSERT_TRUE(stream.OpenFile(path_, true));
    stream.WriteInteger(1);
    stream.FileClose();
    EXPECT_EQ(test::ReadFile(path_), std::string("PDXFILE\x01\x00", 9) + std::string(11, 'z'));
}

}  // namespace
}  // namespace kvo

#pragma once

#include <algorithm>
#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

#include "DataFile.h"
#include "Variant.h"

namespace kvo {

// How many records a count read from a file may reserve room for: no more
// than the bytes left could hold, so a damaged count costs no memory.
inline std::size_t ReservedCount(int32_t count, uint64_t remaining, uint64_t minimalRecordBytes) {
    return static_cast<std::size_t>(std::clamp<uint64_t>(count < 0 ? 0 : static_cast<uint64_t>(count), 0, remaining / minimalRecordBytes));
}

// Reads and writes the items of the binary slide show format, little-endian on
// any host: Boolean (2 bytes, True = FF FF), Integer (2), Long (4), Single (4),
// Double (8), String (16-bit count, then the bytes) and Variant (16-bit type tag,
// then the payload). Reading past the end raises error 62 naming the file.
class BinaryStream {
public:
    static constexpr std::string_view kMagic = "PDXFILE";

    BinaryStream() = default;
    ~BinaryStream() { FileClose(); }
    BinaryStream(const BinaryStream&) = delete;
    BinaryStream& operator=(const BinaryStream&) = delete;

    // For writing: opens (without emptying) and writes the magic. For reading:
    // opens and checks the magic. Every failure is reported as false only.
    bool OpenFile(const std::string& fileName, bool forWrite);
    // Appends the magic and then every item to bytes the caller owns and
    // writes in one go, replacing the file only once it is complete.
    void OpenWriter(std::string& out, const std::string& fileName);
    // Reads from a stream the caller owns; false when the magic is not there.
    bool OpenReader(std::istream& in, const std::string& fileName);
    void FileClose() { file_.Close(); }

    bool GetBoolean() { return file_.ReadInteger("BinaryStream.GetBoolean") != 0; }
    double GetDouble() { return file_.ReadDouble("BinaryStream.GetDouble"); }
    int16_t GetInteger() { return file_.ReadInteger("BinaryStream.GetInteger"); }
    int32_t GetLong() { return file_.ReadLong("BinaryStream.GetLong"); }
    float GetSingle() { return file_.ReadSingle("BinaryStream.GetSingle"); }
    // Booleans, Integers, Longs, Singles and Doubles in a row, into the
    // caller's fields, with one check of the bytes left.
    template <typename... T>
    void GetItems(T&... into) {
        file_.ReadItems("BinaryStream.GetItems", into...);
    }
    // Tags 0, 1, 2, 3, 4, 5, 8 and 11 with their payload; any other tag reads
    // as the Long 10, without a payload.
    void GetVariant(Variant& into);
    std::string GetString();
    void GetString(std::string& into) { file_.ReadString(into, "BinaryStream.GetString"); }

    // Booleans, Integers, Longs, Singles and Doubles in a row, with one check
    // of the room left.
    template <typename... T>
    void WriteItems(const T&... items) {
        file_.WriteItems("BinaryStream.WriteItems", items...);
    }
    void WriteBoolean(bool value);
    void WriteDouble(double value);
    void WriteInteger(int16_t value);
    void WriteLong(int32_t value);
    void WriteSingle(float value);
    // Kinds without a payload in the format (date, byte, the unsupported ones)
    // write their tag alone.
    void WriteVariant(const Variant& value);
    // More than 32767 bytes cannot be counted: error 6, nothing written.
    void WriteString(std::string_view value);

    const std::string& FileName() const { return file_.FileName(); }
    // Bytes left to read: a count read from a damaged file reserves no more
    // records than they could hold.
    uint64_t Remaining() const { return file_.Remaining(); }

private:
    bool ReadMagic();

    DataFile file_;
};

}  // namespace kvo

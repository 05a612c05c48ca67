#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "DataFile.h"
#include "Variant.h"

namespace kvo {

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
    // Writes the magic onto a stream the caller owns, for saves that replace the
    // file only once it is complete.
    void OpenWriter(std::ostream& out, const std::string& fileName);
    // Reads from a stream the caller owns; false when the magic is not there.
    bool OpenReader(std::istream& in, const std::string& fileName);
    void FileClose() { file_.Close(); }

    bool GetBoolean();
    double GetDouble();
    int16_t GetInteger();
    int32_t GetLong();
    float GetSingle();
    // Tags 0, 1, 2, 3, 4, 5, 8 and 11 with their payload; any other tag reads
    // as the Long 10, without a payload.
    Variant GetVariant();
    std::string GetString();

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

private:
    bool ReadMagic();

    DataFile file_;
};

}  // namespace kvo

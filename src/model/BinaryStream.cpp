#include "BinaryStream.h"

#include <array>
#include <bit>
#include <cstring>
#include <limits>

#include "services/Error.h"

namespace kvo {

namespace {

constexpr int16_t kBooleanTrue = -1;
constexpr int32_t kUnknownTagValue = 10;

template <typename U>
U ToUnsigned(std::array<unsigned char, sizeof(U)> bytes) {
    U value = 0;
    for (std::size_t i = sizeof(U); i-- > 0;) value = static_cast<U>((value << 8) | bytes[i]);
    return value;
}

template <typename T>
struct UnsignedOf;
template <>
struct UnsignedOf<int16_t> {
    using type = uint16_t;
};
template <>
struct UnsignedOf<int32_t> {
    using type = uint32_t;
};
template <>
struct UnsignedOf<float> {
    using type = uint32_t;
};
template <>
struct UnsignedOf<double> {
    using type = uint64_t;
};

}  // namespace

bool BinaryStream::OpenFile(const std::string& fileName, bool forWrite) {
    FileClose();
    fileName_ = fileName;
    if (forWrite) {
        // Opened without truncation: an existing longer file keeps its old tail.
        { std::ofstream create(fileName, std::ios::binary | std::ios::app); }
        file_.open(fileName, std::ios::binary | std::ios::in | std::ios::out);
        if (!file_) return false;
        writing_ = true;
        file_.write(kMagic.data(), static_cast<std::streamsize>(kMagic.size()));
        return static_cast<bool>(file_);
    }
    file_.open(fileName, std::ios::binary | std::ios::in);
    if (!file_) return false;
    reading_ = true;
    std::array<char, kMagic.size()> magic{};
    file_.read(magic.data(), static_cast<std::streamsize>(magic.size()));
    return file_.gcount() == static_cast<std::streamsize>(magic.size()) &&
           std::string_view(magic.data(), magic.size()) == kMagic;
}

void BinaryStream::FileClose() {
    if (!writing_ && !reading_) return;
    file_.close();
    file_.clear();
    writing_ = false;
    reading_ = false;
}

void BinaryStream::ReadBytes(char* data, std::size_t count, const char* source) {
    if (!reading_) throw Error(ErrorNumber::InvalidCall, source, "The file \"" + fileName_ + "\" is not open for reading");
    const auto offset = file_.tellg();
    file_.read(data, static_cast<std::streamsize>(count));
    if (file_.gcount() != static_cast<std::streamsize>(count))
        throw Error(ErrorNumber::InputPastEnd, source,
                    "Input past end of file: \"" + fileName_ + "\" ends inside the item at byte " +
                        std::to_string(static_cast<long long>(offset)));
}

void BinaryStream::WriteBytes(const char* data, std::size_t count, const char* source) {
    if (!writing_) throw Error(ErrorNumber::InvalidCall, source, "The file \"" + fileName_ + "\" is not open for writing");
    file_.write(data, static_cast<std::streamsize>(count));
    if (!file_) throw Error(ErrorNumber::FileAccess, source, "Cannot write \"" + fileName_ + "\" (is the disk full?)");
}

template <typename T>
T BinaryStream::ReadLittleEndian(const char* source) {
    using U = typename UnsignedOf<T>::type;
    std::array<unsigned char, sizeof(U)> bytes{};
    ReadBytes(reinterpret_cast<char*>(bytes.data()), bytes.size(), source);
    return std::bit_cast<T>(ToUnsigned<U>(bytes));
}

template <typename T>
void BinaryStream::WriteLittleEndian(T value, const char* source) {
    using U = typename UnsignedOf<T>::type;
    auto bits = std::bit_cast<U>(value);
    std::array<char, sizeof(U)> bytes{};
    for (auto& byte : bytes) {
        byte = static_cast<char>(bits & 0xFF);
        bits = static_cast<U>(bits >> 8);
    }
    WriteBytes(bytes.data(), bytes.size(), source);
}

bool BinaryStream::GetBoolean() { return ReadLittleEndian<int16_t>("BinaryStream.GetBoolean") != 0; }
double BinaryStream::GetDouble() { return ReadLittleEndian<double>("BinaryStream.GetDouble"); }
int16_t BinaryStream::GetInteger() { return ReadLittleEndian<int16_t>("BinaryStream.GetInteger"); }
int32_t BinaryStream::GetLong() { return ReadLittleEndian<int32_t>("BinaryStream.GetLong"); }
float BinaryStream::GetSingle() { return ReadLittleEndian<float>("BinaryStream.GetSingle"); }

std::string BinaryStream::GetString() {
    const int16_t count = ReadLittleEndian<int16_t>("BinaryStream.GetString");
    if (count <= 0) return {};
    std::string text(static_cast<std::size_t>(count), '\0');
    ReadBytes(text.data(), text.size(), "BinaryStream.GetString");
    return text;
}

Variant BinaryStream::GetVariant() {
    switch (ReadLittleEndian<int16_t>("BinaryStream.GetVariant")) {
        case Variant::Empty:
            return Variant();
        case Variant::Null:
            return Variant::MakeNull();
        case Variant::Integer:
            return Variant(GetInteger());
        case Variant::Long:
            return Variant(GetLong());
        case Variant::Single:
            return Variant(GetSingle());
        case Variant::Double:
            return Variant(GetDouble());
        case Variant::String:
            return Variant(GetString());
        case Variant::Boolean:
            return Variant(GetBoolean());
        default:
            return Variant(kUnknownTagValue);
    }
}

void BinaryStream::WriteBoolean(bool value) {
    WriteLittleEndian<int16_t>(value ? kBooleanTrue : int16_t{0}, "BinaryStream.WriteBoolean");
}
void BinaryStream::WriteDouble(double value) { WriteLittleEndian(value, "BinaryStream.WriteDouble"); }
void BinaryStream::WriteInteger(int16_t value) { WriteLittleEndian(value, "BinaryStream.WriteInteger"); }
void BinaryStream::WriteLong(int32_t value) { WriteLittleEndian(value, "BinaryStream.WriteLong"); }
void BinaryStream::WriteSingle(float value) { WriteLittleEndian(value, "BinaryStream.WriteSingle"); }

namespace {

void CheckStringLength(std::string_view value) {
    if (value.size() > static_cast<std::size_t>(std::numeric_limits<int16_t>::max()))
        throw Error(ErrorNumber::Overflow, "BinaryStream.WriteString",
                    "Overflow: a text of " + std::to_string(value.size()) + " bytes is longer than 32767");
}

}  // namespace

void BinaryStream::WriteString(std::string_view value) {
    CheckStringLength(value);
    WriteLittleEndian(static_cast<int16_t>(value.size()), "BinaryStream.WriteString");
    WriteBytes(value.data(), value.size(), "BinaryStream.WriteString");
}

void BinaryStream::WriteVariant(const Variant& value) {
    const int16_t type = value.Type();
    if (type == Variant::String) CheckStringLength(value.ToText());  // before the tag, so nothing half-written
    WriteLittleEndian(type, "BinaryStream.WriteVariant");
    switch (type) {
        case Variant::Integer:
            WriteInteger(value.ToInteger());
            break;
        case Variant::Long:
            WriteLong(value.ToLong());
            break;
        case Variant::Single:
            WriteSingle(static_cast<float>(value.ToDouble()));
            break;
        case Variant::Double:
            WriteDouble(value.ToDouble());
            break;
        case Variant::String:
            WriteString(value.ToText());
            break;
        case Variant::Boolean:
            WriteBoolean(value.ToBoolean());
            break;
        default:
            break;  // empty and null have no payload; every other kind writes its tag alone
    }
}

}  // namespace kvo

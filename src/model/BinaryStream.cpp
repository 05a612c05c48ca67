#include "BinaryStream.h"

#include <array>

#include "services/Error.h"

namespace kvo {

namespace {

constexpr int16_t kBooleanTrue = -1;
constexpr int32_t kUnknownTagValue = 10;

}  // namespace

bool BinaryStream::OpenFile(const std::string& fileName, bool forWrite) {
    try {
        if (forWrite) {
            if (!file_.OpenWrite(fileName)) return false;
            file_.WriteBytes(kMagic.data(), kMagic.size(), "BinaryStream.OpenFile");
            return true;
        }
        if (!file_.OpenRead(fileName)) return false;
        return ReadMagic();
    } catch (const Error&) {
        return false;  // the caller closes the stream in every case
    }
}

bool BinaryStream::OpenReader(std::istream& in, const std::string& fileName) {
    file_.AttachReader(in, fileName);
    try {
        return ReadMagic();
    } catch (const Error&) {
        return false;
    }
}

bool BinaryStream::ReadMagic() {
    std::array<char, kMagic.size()> magic{};
    file_.ReadBytes(magic.data(), magic.size(), "BinaryStream.OpenFile");
    return std::string_view(magic.data(), magic.size()) == kMagic;
}

void BinaryStream::OpenWriter(std::string& out, const std::string& fileName) {
    file_.AttachWriter(out, fileName);
    file_.WriteBytes(kMagic.data(), kMagic.size(), "BinaryStream.OpenFile");
}

std::string BinaryStream::GetString() { return file_.ReadString("BinaryStream.GetString"); }

void BinaryStream::GetVariant(Variant& into) {
    switch (file_.ReadInteger("BinaryStream.GetVariant")) {
        case Variant::Empty:
            into.Set(std::monostate());
            break;
        case Variant::Null:
            into.Set(Variant::NullValue());
            break;
        case Variant::Integer:
            into.Set(GetInteger());
            break;
        case Variant::Long:
            into.Set(GetLong());
            break;
        case Variant::Single:
            into.Set(GetSingle());
            break;
        case Variant::Double:
            into.Set(GetDouble());
            break;
        case Variant::String:
            into.Set(GetString());
            break;
        case Variant::Boolean:
            into.Set(GetBoolean());
            break;
        default:
            into.Set(kUnknownTagValue);
    }
}

void BinaryStream::WriteBoolean(bool value) {
    file_.WriteInteger(value ? kBooleanTrue : int16_t{0}, "BinaryStream.WriteBoolean");
}
void BinaryStream::WriteDouble(double value) { file_.WriteDouble(value, "BinaryStream.WriteDouble"); }
void BinaryStream::WriteInteger(int16_t value) { file_.WriteInteger(value, "BinaryStream.WriteInteger"); }
void BinaryStream::WriteLong(int32_t value) { file_.WriteLong(value, "BinaryStream.WriteLong"); }
void BinaryStream::WriteSingle(float value) { file_.WriteSingle(value, "BinaryStream.WriteSingle"); }
void BinaryStream::WriteString(std::string_view value) { file_.WriteString(value, "BinaryStream.WriteString"); }

void BinaryStream::WriteVariant(const Variant& value) {
    const int16_t type = value.Type();
    // Checked before the tag, so an overlong text leaves nothing half-written.
    if (type == Variant::String) DataFile::CheckStringLength(value.ToText(), "BinaryStream.WriteString");
    file_.WriteInteger(type, "BinaryStream.WriteVariant");
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

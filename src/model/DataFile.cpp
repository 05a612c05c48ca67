#include "DataFile.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <limits>

#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr std::size_t kReadBufferSize = 256 * 1024;

template <typename T>
struct Bits;
template <>
struct Bits<int16_t> {
    using type = uint16_t;
};
template <>
struct Bits<int32_t> {
    using type = uint32_t;
};
template <>
struct Bits<float> {
    using type = uint32_t;
};
template <>
struct Bits<double> {
    using type = uint64_t;
};

}  // namespace

bool DataFile::OpenRead(const std::string& fileName) {
    Close();
    fileName_ = fileName;
    file_.open(fileName, std::ios::binary | std::ios::in);
    if (!file_) return false;
    in_ = &file_;
    readPosition_ = 0;
    bufferAt_ = bufferEnd_ = 0;
    MeasureSize();
    return true;
}

bool DataFile::OpenWrite(const std::string& fileName) {
    Close();
    fileName_ = fileName;
    { std::ofstream create(fileName, std::ios::binary | std::ios::app); }
    file_.open(fileName, std::ios::binary | std::ios::in | std::ios::out);
    if (!file_) return false;
    out_ = &file_;
    return true;
}

void DataFile::AttachWriter(std::string& out, const std::string& fileName) {
    Close();
    fileName_ = fileName;
    outBytes_ = &out;
}

void DataFile::AttachReader(std::istream& in, const std::string& fileName) {
    Close();
    fileName_ = fileName;
    in_ = &in;
    readPosition_ = 0;
    MeasureSize();
}

void DataFile::MeasureSize() {
    const auto here = in_->tellg();
    in_->seekg(0, std::ios::end);
    const auto end = in_->tellg();
    in_->seekg(here);
    size_ = (here < 0 || end < here) ? 0 : static_cast<uint64_t>(end - here);
}

void DataFile::FlushPending() {
    outBytes_->append(pending_.data(), pendingSize_);
    pendingSize_ = 0;
}

void DataFile::Close() {
    if (outBytes_ != nullptr) FlushPending();
    if (file_.is_open()) file_.close();
    file_.clear();
    in_ = nullptr;
    out_ = nullptr;
    outBytes_ = nullptr;
    size_ = 0;
    bufferAt_ = bufferEnd_ = 0;
}

void DataFile::ReadBytes(char* data, std::size_t count, const char* source) {
    if (in_ == nullptr) throw Error(ErrorNumber::InvalidCall, source, "\"" + fileName_ + "\" is not open for reading");
    std::size_t done = std::min(count, bufferEnd_ - bufferAt_);
    if (done > 0) std::memcpy(data, readBuffer_.get() + bufferAt_, done);  // the buffer may not exist yet
    bufferAt_ += done;
    if (done < count) {
        // Large reads (a packed file's chunks) go straight to the caller's memory.
        std::streambuf& stream = *in_->rdbuf();
        if (count - done >= kReadBufferSize) {
            done += static_cast<std::size_t>(stream.sgetn(data + done, static_cast<std::streamsize>(count - done)));
        } else {
            if (!readBuffer_) readBuffer_ = std::make_unique_for_overwrite<char[]>(kReadBufferSize);
            bufferEnd_ = static_cast<std::size_t>(stream.sgetn(readBuffer_.get(), static_cast<std::streamsize>(kReadBufferSize)));
            bufferAt_ = std::min(count - done, bufferEnd_);
            if (bufferAt_ > 0) std::memcpy(data + done, readBuffer_.get(), bufferAt_);
            done += bufferAt_;
        }
    }
    if (done != count)
        throw Error(ErrorNumber::InputPastEnd, source, FormatResString(Str::FileEndsEarly, {fileName_}));
    readPosition_ += count;
}

void DataFile::Skip(uint64_t count, const char* source) {
    if (count > Remaining())
        throw Error(ErrorNumber::InputPastEnd, source, FormatResString(Str::FileEndsEarly, {fileName_}));
    const uint64_t buffered = bufferEnd_ - bufferAt_;
    if (count <= buffered) {
        bufferAt_ += static_cast<std::size_t>(count);
    } else {
        bufferAt_ = bufferEnd_ = 0;
        in_->seekg(static_cast<std::streamoff>(count - buffered), std::ios::cur);
    }
    readPosition_ += count;
}

void DataFile::Seek(uint64_t position) {
    if (in_ == nullptr) return;
    bufferAt_ = bufferEnd_ = 0;
    in_->clear();
    in_->seekg(static_cast<std::streamoff>(position), std::ios::beg);
    readPosition_ = position;
}

void DataFile::WriteBytes(const char* data, std::size_t count, const char* source) {
    if (outBytes_ != nullptr) {
        if (count > pending_.size() - pendingSize_) FlushPending();
        if (count > pending_.size()) {
            outBytes_->append(data, count);
        } else {
            std::memcpy(pending_.data() + pendingSize_, data, count);
            pendingSize_ += count;
        }
        return;
    }
    if (out_ == nullptr) throw Error(ErrorNumber::InvalidCall, source, "\"" + fileName_ + "\" is not open for writing");
    out_->write(data, static_cast<std::streamsize>(count));
    if (!*out_) throw Error(ErrorNumber::FileAccess, source, FormatResString(Str::FileNotWritten, {fileName_}));
}

template <typename T>
T DataFile::Read(const char* source) {
    using U = typename Bits<T>::type;
    std::array<unsigned char, sizeof(U)> bytes;
    if (bufferEnd_ - bufferAt_ >= sizeof(U)) {
        std::memcpy(bytes.data(), readBuffer_.get() + bufferAt_, sizeof(U));
        bufferAt_ += sizeof(U);
        readPosition_ += sizeof(U);
    } else {
        ReadBytes(reinterpret_cast<char*>(bytes.data()), bytes.size(), source);
    }
    if constexpr (std::endian::native == std::endian::little) {
        return std::bit_cast<T>(bytes);
    } else {
        U value = 0;
        for (std::size_t i = sizeof(U); i-- > 0;) value = static_cast<U>((value << 8) | bytes[i]);
        return std::bit_cast<T>(value);
    }
}

template <typename T>
void DataFile::Write(T value, const char* source) {
    using U = typename Bits<T>::type;
    std::array<char, sizeof(U)> bytes{};
    if constexpr (std::endian::native == std::endian::little) {
        if (outBytes_ != nullptr && pending_.size() - pendingSize_ >= sizeof(U)) {
            std::memcpy(pending_.data() + pendingSize_, &value, sizeof(U));
            pendingSize_ += sizeof(U);
            return;
        }
        bytes = std::bit_cast<std::array<char, sizeof(U)>>(value);
    } else {
        auto bits = std::bit_cast<U>(value);
        for (auto& byte : bytes) {
            byte = static_cast<char>(bits & 0xFF);
            bits = static_cast<U>(bits >> 8);
        }
    }
    WriteBytes(bytes.data(), bytes.size(), source);
}

template int16_t DataFile::Read<int16_t>(const char*);
template int32_t DataFile::Read<int32_t>(const char*);
template float DataFile::Read<float>(const char*);
template double DataFile::Read<double>(const char*);
void DataFile::WriteInteger(int16_t value, const char* source) { Write(value, source); }
void DataFile::WriteLong(int32_t value, const char* source) { Write(value, source); }
void DataFile::WriteSingle(float value, const char* source) { Write(value, source); }
void DataFile::WriteDouble(double value, const char* source) { Write(value, source); }

std::string DataFile::ReadString(const char* source) {
    std::string text;
    ReadString(text, source);
    return text;
}

void DataFile::ReadLongString(std::string& into, std::size_t size, const char* source) {
    into.resize(size);
    ReadBytes(into.data(), size, source);
}

void DataFile::CheckStringLength(std::string_view value, const char* source) {
    if (value.size() > static_cast<std::size_t>(std::numeric_limits<int16_t>::max()))
        throw Error(ErrorNumber::Overflow, source, FormatResString(Str::TextTooLongForBinary, {std::to_string(value.size()), Excerpt(value)}));
}

void DataFile::WriteString(std::string_view value, const char* source) {
    CheckStringLength(value, source);
    WriteInteger(static_cast<int16_t>(value.size()), source);
    WriteBytes(value.data(), value.size(), source);
}

}  // namespace kvo

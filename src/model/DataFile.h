#pragma once

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace kvo {

// A file of little-endian items, read or written strictly in order: the common
// ground of the binary slide show file and the export package. Reading past the
// end raises error 62 and a failed write error 75, both naming the file.
class DataFile {
public:
    bool OpenRead(const std::string& fileName);
    // Opens for writing without emptying the file, creating it when missing.
    bool OpenWrite(const std::string& fileName);
    // Appends to bytes owned by the caller, which the caller writes in one go;
    // the last of them arrive when the file is closed.
    void AttachWriter(std::string& out, const std::string& fileName);
    // Reads from a stream owned by the caller (bytes kept in memory).
    void AttachReader(std::istream& in, const std::string& fileName);
    void Close();

    bool IsReading() const { return in_ != nullptr; }
    bool IsWriting() const { return out_ != nullptr || outBytes_ != nullptr; }
    const std::string& FileName() const { return fileName_; }
    // Bytes left to read; lengths read from the file are checked against it
    // before anything is created or allocated.
    uint64_t Remaining() const { return readPosition_ < size_ ? size_ - readPosition_ : 0; }

    void ReadBytes(char* data, std::size_t count, const char* source);
    void Skip(uint64_t count, const char* source);
    uint64_t Position() const { return readPosition_; }
    // Back (or forward) to a position read before.
    void Seek(uint64_t position);
    void WriteBytes(const char* data, std::size_t count, const char* source);
    int16_t ReadInteger(const char* source) { return ReadItem<int16_t>(source); }
    int32_t ReadLong(const char* source) { return ReadItem<int32_t>(source); }
    float ReadSingle(const char* source) { return ReadItem<float>(source); }
    double ReadDouble(const char* source) { return ReadItem<double>(source); }
    // A 16-bit count, then the bytes; a count of 0 or less is "".
    std::string ReadString(const char* source);
    // The same into a string of the caller's, which a cell's or icon's field
    // takes without a string made and moved for each. Inline where the buffer
    // holds it; a field that holds these bytes already (a new cell's type, an
    // icon's font, mostly) is left alone.
    void ReadString(std::string& into, const char* source) {
        const int16_t count = ReadItem<int16_t>(source);
        const auto size = static_cast<std::size_t>(count > 0 ? count : 0);
        if (bufferEnd_ - bufferAt_ < size) return ReadLongString(into, size, source);
        const char* bytes = readBuffer_.get() + bufferAt_;
        if (!Holds(into, bytes, size)) into.assign(bytes, size);
        bufferAt_ += size;
        readPosition_ += size;
    }
    void WriteInteger(int16_t value, const char* source);
    void WriteLong(int32_t value, const char* source);
    void WriteSingle(float value, const char* source);
    void WriteDouble(double value, const char* source);
    // More than 32767 bytes cannot be counted: error 6, nothing written.
    void WriteString(std::string_view value, const char* source);

    static void CheckStringLength(std::string_view value, const char* source);

    // Fixed-size items in a row, straight into the caller's fields, checked
    // against the buffer once: a record's fields cost a check each otherwise.
    // A bool is the 16-bit integer the format stores, true when not 0. Where
    // the buffer ends among them they are read one by one, failing as each would.
    template <typename... T>
    void ReadItems(const char* source, T&... into) {
        if constexpr (std::endian::native == std::endian::little) {
            constexpr std::size_t size = (StoredSize<T>() + ...);
            if (bufferEnd_ - bufferAt_ >= size) {
                const char* at = readBuffer_.get() + bufferAt_;
                bufferAt_ += size;
                readPosition_ += size;
                (Take(at, into), ...);
                return;
            }
        }
        ((into = ReadOne<T>(source)), ...);
    }

    // The same for writing, into the pending bytes with one check of the room
    // left; a bool is written as the format's True, -1, or 0.
    template <typename... T>
    void WriteItems(const char* source, const T&... items) {
        if constexpr (std::endian::native == std::endian::little) {
            constexpr std::size_t size = (StoredSize<T>() + ...);
            if (outBytes_ != nullptr && pending_.size() - pendingSize_ >= size) {
                char* at = pending_.data() + pendingSize_;
                (Put(at, items), ...);
                pendingSize_ += size;
                return;
            }
        }
        (WriteOne(items, source), ...);
    }

private:
    // Inline where the buffer holds the item whole on a little-endian host: a
    // call per field cost as much as the field.
    template <typename T>
    T ReadItem(const char* source) {
        if constexpr (std::endian::native == std::endian::little) {
            if (bufferEnd_ - bufferAt_ >= sizeof(T)) {
                T value;
                std::memcpy(&value, readBuffer_.get() + bufferAt_, sizeof(T));
                bufferAt_ += sizeof(T);
                readPosition_ += sizeof(T);
                return value;
            }
        }
        return Read<T>(source);
    }
    template <typename T>
    T Read(const char* source);
    void ReadLongString(std::string& into, std::size_t size, const char* source);
    // Byte by byte: these texts are a few bytes long, and a call to compare
    // them cost more than the rest of the read.
    static bool Holds(const std::string& text, const char* bytes, std::size_t size) {
        if (text.size() != size) return false;
        for (std::size_t i = 0; i < size; ++i)
            if (text[i] != bytes[i]) return false;
        return true;
    }
    template <typename T>
    static constexpr std::size_t StoredSize() {
        return std::is_same_v<T, bool> ? sizeof(int16_t) : sizeof(T);
    }
    template <typename T>
    static void Take(const char*& at, T& into) {
        if constexpr (std::is_same_v<T, bool>) {
            int16_t stored;
            std::memcpy(&stored, at, sizeof stored);
            into = stored != 0;
        } else {
            std::memcpy(&into, at, sizeof(T));
        }
        at += StoredSize<T>();
    }
    template <typename T>
    static void Put(char*& at, const T& item) {
        if constexpr (std::is_same_v<T, bool>) {
            const int16_t stored = item ? -1 : 0;
            std::memcpy(at, &stored, sizeof stored);
        } else {
            std::memcpy(at, &item, sizeof(T));
        }
        at += StoredSize<T>();
    }
    template <typename T>
    void WriteOne(const T& item, const char* source) {
        if constexpr (std::is_same_v<T, bool>) WriteInteger(item ? int16_t{-1} : int16_t{0}, source);
        else if constexpr (std::is_same_v<T, int16_t>) WriteInteger(item, source);
        else if constexpr (std::is_same_v<T, int32_t>) WriteLong(item, source);
        else if constexpr (std::is_same_v<T, float>) WriteSingle(item, source);
        else WriteDouble(item, source);
    }
    template <typename T>
    T ReadOne(const char* source) {
        if constexpr (std::is_same_v<T, bool>) return Read<int16_t>(source) != 0;
        else return Read<T>(source);
    }
    void MeasureSize();
    template <typename T>
    void Write(T value, const char* source);

    std::fstream file_;
    std::string fileName_;
    std::istream* in_ = nullptr;
    std::ostream* out_ = nullptr;
    std::string* outBytes_ = nullptr;
    // Items for outBytes_ gather here first: an append to it per item cost
    // more than the rest of a binary save.
    void FlushPending();
    std::array<char, 4096> pending_;
    std::size_t pendingSize_ = 0;
    uint64_t size_ = 0;          // of what is read, measured when it is opened
    uint64_t readPosition_ = 0;  // kept by hand: asking the stream costs more than the read
    // Reads come out of this buffer: a stream read per field cost more than the
    // rest of loading a binary show. The stream stands bufferEnd_ - bufferAt_
    // bytes ahead of readPosition_.
    std::unique_ptr<char[]> readBuffer_;
    std::size_t bufferAt_ = 0;
    std::size_t bufferEnd_ = 0;
};

}  // namespace kvo

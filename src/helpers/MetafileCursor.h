#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kvo {

// A little-endian 32-bit field of a file's bytes, which the caller has checked are there.
inline uint32_t U32At(const std::vector<char>& bytes, std::size_t at) {
    uint32_t v = 0;
    for (std::size_t i = 0; i < 4; ++i) v |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return v;
}

// A record that runs short of what it says it holds.
struct Short {};
// A record that names an object slot that cannot exist.
struct BadObject {};

// Reads the little-endian fields of one record in turn, or of a part of it;
// a read past its end throws Short.
class Cursor {
public:
    Cursor(const char* data, std::size_t size) : data_(data), size_(size) {}
    std::size_t Left() const { return size_ - pos_; }
    void Need(std::size_t bytes) const {
        if (bytes > Left()) throw Short{};
    }
    uint8_t U8() {
        Need(1);
        return static_cast<uint8_t>(data_[pos_++]);
    }
    uint16_t U16() {
        Need(2);
        const uint16_t v = static_cast<uint16_t>(U8() | (U8() << 8));
        return v;
    }
    uint32_t U32() {
        Need(4);
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i) v |= static_cast<uint32_t>(U8()) << (8 * i);
        return v;
    }
    int32_t I32() { return static_cast<int32_t>(U32()); }
    int16_t I16() { return static_cast<int16_t>(U16()); }
    double F32() {
        const uint32_t bits = U32();
        float f;
        std::memcpy(&f, &bits, sizeof f);
        return std::isfinite(f) ? f : 0.0;
    }
    void Skip(std::size_t bytes) {
        Need(bytes);
        pos_ += bytes;
    }
    const char* Here() const { return data_ + pos_; }
    std::size_t Size() const { return size_; }
    // length bytes from offset, counted from where this cursor began.
    Cursor Part(std::size_t offset, std::size_t length) const {
        if (offset > size_ || length > size_ - offset) throw Short{};
        return {data_ + offset, length};
    }
    // A count of items of at least itemBytes each that must fit in what is left.
    uint32_t Count(std::size_t itemBytes) {
        const uint32_t n = U32();
        if (itemBytes > 0 && n > Left() / itemBytes) throw Short{};
        return n;
    }

private:
    const char* data_;
    std::size_t size_;
    std::size_t pos_ = 0;
};

}  // namespace kvo

#pragma once

// Writes small enhanced metafiles for the tests and the fuzzer's seeds: a frame
// of 192 x 96 pixels at 96 dpi (or as many at another device resolution), of
// old-style records, or of EMF+ records, one per comment.
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

namespace kvo::test {

inline uint32_t Float(float value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

// Two 16-bit values in one word, the first in the low half.
inline uint32_t Shorts(int first, int second) {
    return (static_cast<uint32_t>(first) & 0xFFFF) | (static_cast<uint32_t>(second) & 0xFFFF) << 16;
}

class EmfPlusFile {
public:
    // dual: the EMF+ header says the old-style records draw the same picture.
    explicit EmfPlusFile(bool dual = false, uint32_t dpi = 96) : dpi_(dpi) {
        Plus(0x4001, dual ? 1 : 0, {0xDBC01002, 1, dpi, dpi});
    }

    // A file of old-style records alone, without an EMF+ header.
    static EmfPlusFile OldStyle() {
        EmfPlusFile file;
        file.records_.clear();
        return file;
    }

    EmfPlusFile& Plus(uint16_t type, uint16_t flags, std::initializer_list<uint32_t> data) {
        std::string record;
        Put(record, Shorts(type, flags));
        Put(record, static_cast<uint32_t>(12 + data.size() * 4));
        Put(record, static_cast<uint32_t>(data.size() * 4));
        for (uint32_t word : data) Put(record, word);
        return PlusBytes(record);
    }

    // An EMF+ record as it stands, lengths and all, in a comment of its own.
    EmfPlusFile& PlusBytes(const std::string& record) {
        std::string comment;
        Put(comment, 70);
        Put(comment, static_cast<uint32_t>(16 + record.size()));
        Put(comment, static_cast<uint32_t>(4 + record.size()));
        Put(comment, 0x2B464D45);  // "EMF+"
        records_ += comment + record;
        return *this;
    }

    EmfPlusFile& Old(uint32_t type, std::initializer_list<uint32_t> params) {
        Put(records_, type);
        Put(records_, static_cast<uint32_t>(8 + params.size() * 4));
        for (uint32_t p : params) Put(records_, p);
        return *this;
    }

    // The byte at which the next record will start.
    std::size_t Next() const { return kHeaderSize + records_.size(); }

    std::string Bytes() const {
        std::string body = records_;
        for (uint32_t word : {14u, 20u, 0u, 16u, 20u}) Put(body, word);  // end of file
        std::string file;
        for (uint32_t word : {1u, kHeaderSize, 0u, 0u, 191u, 95u,  // type, size, bounds
                              0u, 0u, 5080u, 2540u,                 // frame in 0.01 mm
                              0x464D4520u, 0x10000u,                // " EMF", version
                              static_cast<uint32_t>(kHeaderSize + body.size()), 0u, 0u, 0u, 0u, 0u,
                              dpi_ * 10, dpi_ * 10, 254u, 254u,  // the device: 10 inches
                              0u, 0u, 0u, 254000u, 254000u})
            Put(file, word);
        return file + body;
    }

private:
    static constexpr uint32_t kHeaderSize = 108;

    static void Put(std::string& out, uint32_t value) {
        for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
    }

    uint32_t dpi_;
    std::string records_;
};

}  // namespace kvo::test

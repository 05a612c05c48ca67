#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>

#include "services/Text.h"

namespace kvo {

// The value of a key line as written: raw, so one holding a line feed cannot
// be written at all (error 1007 names the key and the value's first line).
std::string_view TextValue(std::string_view value, std::string_view key);

// The keys of one kind of block, found in one probe: a multiplier chosen
// while compiling puts every key in a slot of its own, then one comparison
// without regard to case decides. Keys are given in upper case.
template <std::size_t N>
class KeyTable {
public:
    template <typename... Keys>
    consteval explicit KeyTable(Keys... keys) : keys_{std::string_view(keys)...} {
        for (const auto key : keys_) {
            if (key.empty()) throw "a key of a table cannot be empty";
            for (char c : key)
                if (ToUpperAscii(c) != c) throw "the keys of a table are written in upper case";
        }
        for (seed_ = 0x9E3779B1u; !Place(); seed_ += 2)
            if (seed_ > 0x9E3779B1u + 200000) throw "no multiplier separates these keys";
    }

    // Position of key in the list, -1 when it is none of them.
    int Find(std::string_view key) const {
        if (key.empty()) return -1;
        const int index = slots_[Slot(key, seed_)];
        if (index < 0) return -1;
        // Exact bytes first: keys are short and mostly written in upper case.
        const std::string_view known = keys_[static_cast<std::size_t>(index)];
        if (key.size() != known.size()) return -1;
        if (SameBytes(key.data(), known.data(), key.size())) return index;
        return EqualsNoCase(key, known) ? index : -1;
    }

    // For case labels: the position of a key of the list.
    consteval int operator[](std::string_view key) const {
        for (std::size_t i = 0; i < N; ++i)
            if (keys_[i] == key) return static_cast<int>(i);
        throw "not a key of this table";
    }

private:
    static constexpr unsigned kSlotBits = 6;

    // Inline and a word at a time: up to 16 bytes in two overlapping
    // comparisons, where a call to memcmp would cost more than the bytes.
    template <typename Word>
    static Word Load(const char* at) {
        Word word;
        std::memcpy(&word, at, sizeof word);
        return word;
    }
    static bool SameBytes(const char* a, const char* b, std::size_t size) {
        if (size >= 8 && size <= 16) return Load<uint64_t>(a) == Load<uint64_t>(b) && Load<uint64_t>(a + size - 8) == Load<uint64_t>(b + size - 8);
        if (size >= 4 && size < 8) return Load<uint32_t>(a) == Load<uint32_t>(b) && Load<uint32_t>(a + size - 4) == Load<uint32_t>(b + size - 4);
        return std::memcmp(a, b, size) == 0;
    }

    static constexpr uint32_t Fold(char c) { return static_cast<unsigned char>(ToUpperAscii(c)); }
    static constexpr std::size_t Slot(std::string_view key, uint32_t seed) {
        const uint32_t mixed = static_cast<uint32_t>(key.size()) ^ (Fold(key.front()) << 6) ^ (Fold(key[key.size() / 2]) << 14) ^
                               (Fold(key.back()) << 22);
        return static_cast<uint32_t>(mixed * seed) >> (32 - kSlotBits);
    }
    constexpr bool Place() {
        slots_.fill(-1);
        for (std::size_t i = 0; i < N; ++i) {
            const std::size_t slot = Slot(keys_[i], seed_);
            if (slots_[slot] >= 0) return false;
            slots_[slot] = static_cast<int8_t>(i);
        }
        return true;
    }

    std::array<std::string_view, N> keys_;
    std::array<int8_t, std::size_t{1} << kSlotBits> slots_{};
    uint32_t seed_ = 0;
};
template <typename... Keys>
KeyTable(Keys...) -> KeyTable<sizeof...(Keys)>;

// Turns a slide show text file into tokens: block starts, block ends, key/value
// lines and the end of the file. The parser knows nothing of slide shows; each
// document class pulls tokens and decides what a block or key means.
//
// The file is read a piece at a time into one buffer, and the properties are
// views into it (tabs made spaces and keys and types upper-cased where they
// lie): read them before the next GetToken, which may move the buffer on.
class BlockParser {
public:
    static constexpr int16_t TokenStartBlock = 0;
    static constexpr int16_t TokenEndBlock = 1;
    static constexpr int16_t TokenKeyValue = 2;
    static constexpr int16_t TokenEndFile = 3;

    BlockParser() = default;
    ~BlockParser() { CloseFile(); }
    BlockParser(const BlockParser&) = delete;
    BlockParser& operator=(const BlockParser&) = delete;

    // Key of the last key/value line, upper case; its value as written.
    std::string_view Key() const { return key_; }
    std::string_view Value() const { return value_; }
    // Name word of the last BLOCK line, case kept; its type word, upper case.
    std::string_view BlockName() const { return blockName_; }
    std::string_view BlockType() const { return blockType_; }

    // Opens a file for reading; modeFlag must be false (error 5000 otherwise).
    // A missing or unreadable file raises error 53 or 75 naming it.
    void OpenFile(const std::string& fileName, bool modeFlag);
    // Reads text already in memory (the clipboard's); name stands for the file in messages.
    void OpenText(std::string_view text, std::string name);
    void CloseFile();
    int16_t GetToken();

    // The line classifiers GetToken uses; each sets the properties of its kind.
    bool ParseBlock(std::string_view line);
    bool ParseEnd(std::string_view line) const;
    bool ParseKeyValue(std::string_view line);
    // Every tab becomes exactly one space (no tab stops).
    static std::string ExpandTabs(std::string_view line);

    // Physical lines read since OpenFile, for the callers' error messages.
    int32_t CurrentLine() const { return currentLine_; }
    const std::string& FileName() const { return fileName_; }

private:
    // Moves the unread bytes to the front and reads more behind them, or
    // finds the end of the file.
    void Fill();
    // Ends the bytes read with a line feed of their own, one byte behind them:
    // the scans need no bounds check.
    void Seal();
    void ReadFailed() const;
    // Copies the properties that still lie in the buffer before its bytes go.
    void KeepProperties();
    // folded: the key is in upper case without blanks already.
    void SetKeyValue(char* first, char* equals, char* last, bool folded);
    bool BlockIn(char* first, char* last);

    bool open_ = false;
    std::string fileName_;
    std::string_view key_;
    std::string_view value_;
    std::string_view blockName_;
    std::string_view blockType_;
    // Where the properties live when they are not in the buffer.
    std::string keptKey_, keptValue_, keptName_, keptType_;
    std::string keyValueLine_, blockLine_;
    int32_t currentLine_ = 0;
    std::ifstream file_;
    std::unique_ptr<char[]> buffer_;
    std::size_t capacity_ = 0;
    std::size_t begin_ = 0;  // the unread bytes are [begin_, end_)
    std::size_t end_ = 0;
    bool fileDone_ = true;
};

// A key a block does not know is told, not refused: later versions add keys.
void TellUnknownKey(std::string_view block, std::string_view key, int32_t line, int32_t titleId);

}  // namespace kvo

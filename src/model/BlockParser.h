#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvo {

// The value of a key line as written: raw, so one holding a line feed cannot
// be written at all (error 1007 names the key and the value's first line).
const std::string& TextValue(const std::string& value, std::string_view key);

// Turns a slide show text file into tokens: block starts, block ends, key/value
// lines and the end of the file. The parser knows nothing of slide shows; each
// document class pulls tokens and decides what a block or key means.
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
    const std::string& Key() const { return key_; }
    const std::string& Value() const { return value_; }
    // Name word of the last BLOCK line, case kept; its type word, upper case.
    const std::string& BlockName() const { return blockName_; }
    const std::string& BlockType() const { return blockType_; }

    // Opens a file for reading; modeFlag must be false (error 5000 otherwise).
    // A missing or unreadable file raises error 53 or 75 naming it.
    void OpenFile(const std::string& fileName, bool modeFlag);
    // Reads text already in memory (the clipboard's); name stands for the file in messages.
    void OpenText(std::string text, std::string name);
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
    bool NextLine(std::string_view& line);

    bool open_ = false;
    std::string fileName_;
    std::string key_;
    std::string value_;
    std::string blockName_;
    std::string blockType_;
    int32_t currentLine_ = 0;
    std::string content_;  // the whole file: lines are views into it
    std::size_t position_ = 0;
};

}  // namespace kvo

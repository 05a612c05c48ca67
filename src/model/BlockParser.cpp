#include "BlockParser.h"

#include <filesystem>
#include <fstream>

#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

const std::string& TextValue(const std::string& value, std::string_view key) {
    // A lone carriage return reads back as it was: only a line feed ends a line.
    const auto lineBreak = value.find('\n');
    if (lineBreak != std::string::npos)
        throw Error(ErrorNumber::LineBreakInText, LoadResString(Str::SlideShowSaveTitle),
                    FormatResString(Str::SaveLineBreak, {std::string(key), value.substr(0, value.find_first_of("\r\n"))}));
    return value;
}

namespace {

// Tabs count as spaces everywhere: the classifiers see the line as ExpandTabs
// would make it without copying it first.
bool IsSpace(char c) { return c == ' ' || c == '\t'; }

std::string_view TrimSpaces(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

std::string_view TrimLeadingSpaces(std::string_view text) {
    while (!text.empty() && IsSpace(text.front())) text.remove_prefix(1);
    return text;
}

std::string_view TrimTrailingSpaces(std::string_view text) {
    while (!text.empty() && IsSpace(text.back())) text.remove_suffix(1);
    return text;
}

// Splits at the first space: the word before it and the rest after it, the
// rest without leading spaces.
void SplitWord(std::string_view text, std::string_view& word, std::string_view& rest) {
    std::size_t i = 0;
    while (i < text.size() && !IsSpace(text[i])) ++i;
    word = text.substr(0, i);
    rest = i < text.size() ? TrimLeadingSpaces(text.substr(i + 1)) : std::string_view();
}

void AssignExpanded(std::string& target, std::string_view text, bool upper) {
    target.assign(text);
    if (upper) {
        for (char& c : target) c = c == '\t' ? ' ' : ToUpperAscii(c);
    } else if (target.find('\t') != std::string::npos) {
        for (char& c : target)
            if (c == '\t') c = ' ';
    }
}

}  // namespace

void BlockParser::OpenFile(const std::string& fileName, bool modeFlag) {
    if (modeFlag) throw Error(ErrorNumber::Parser, "BlockParser.Open", "Not implemented at this time");
    CloseFile();
    fileName_ = fileName;
    std::ifstream in(fileName, std::ios::binary);
    std::error_code ec;
    if (!in || std::filesystem::is_directory(fileName, ec)) {
        const bool missing = !std::filesystem::exists(fileName, ec);
        throw Error(missing ? ErrorNumber::FileNotFound : ErrorNumber::FileAccess, "BlockParser.Open",
                    FormatResString(missing ? Str::FileMissing : Str::FileUnreadable, {fileName}));
    }
    in.seekg(0, std::ios::end);
    const auto size = in.tellg();
    in.seekg(0, std::ios::beg);
    content_.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    in.read(content_.data(), static_cast<std::streamsize>(content_.size()));
    if (!in) throw Error(ErrorNumber::FileAccess, "BlockParser.Open", FormatResString(Str::FileUnreadable, {fileName}));
    position_ = 0;
    currentLine_ = 0;
    open_ = true;
}

void BlockParser::OpenText(std::string text, std::string name) {
    CloseFile();
    fileName_ = std::move(name);
    content_ = std::move(text);
    position_ = 0;
    currentLine_ = 0;
    open_ = true;
}

void BlockParser::CloseFile() {
    // The open flag stays set, as it always has: closing twice is harmless.
    if (open_) {
        content_.clear();
        content_.shrink_to_fit();
        position_ = 0;
    }
}

bool BlockParser::NextLine(std::string_view& line) {
    if (position_ >= content_.size()) return false;
    const std::string_view rest(content_.data() + position_, content_.size() - position_);
    const auto end = rest.find('\n');
    line = rest.substr(0, end);
    position_ += end == std::string_view::npos ? rest.size() : end + 1;
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    ++currentLine_;
    return true;
}

int16_t BlockParser::GetToken() {
    std::string_view line;
    while (line.empty()) {
        if (!NextLine(line)) return TokenEndFile;
        line = TrimSpaces(line);
        if (!line.empty() && line.front() == ';') line = {};
    }
    if (ParseKeyValue(line)) return TokenKeyValue;
    if (ParseEnd(line)) return TokenEndBlock;
    if (ParseBlock(line)) return TokenStartBlock;
    throw Error(ErrorNumber::Parser, "BlockParse.GetToken", FormatResString(Str::ParserUnknownLine, {currentLine_}));
}

bool BlockParser::ParseKeyValue(std::string_view line) {
    if (line.empty()) return false;
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    AssignExpanded(key_, TrimTrailingSpaces(line.substr(0, equals)), true);
    AssignExpanded(value_, TrimLeadingSpaces(line.substr(equals + 1)), false);
    return true;
}

bool BlockParser::ParseEnd(std::string_view line) const { return !line.empty() && EqualsNoCase(line, "END"); }

bool BlockParser::ParseBlock(std::string_view line) {
    if (line.empty()) return false;
    std::string_view word, rest;
    SplitWord(line, word, rest);
    if (!EqualsNoCase(word, "BLOCK")) return false;
    blockType_.clear();
    blockName_.clear();
    if (!rest.empty()) {
        std::string_view type, afterType;
        SplitWord(rest, type, afterType);
        AssignExpanded(blockType_, type, true);
        if (!afterType.empty()) {
            std::string_view name, ignored;
            SplitWord(afterType, name, ignored);
            AssignExpanded(blockName_, name, false);
        }
    }
    return true;
}

std::string BlockParser::ExpandTabs(std::string_view line) {
    std::string result(line);
    for (char& c : result)
        if (c == '\t') c = ' ';
    return result;
}

}  // namespace kvo

#include "BlockParser.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <functional>

#include "services/Error.h"
#include "services/Language.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

std::string_view TextValue(std::string_view value, std::string_view key) {
    // A lone carriage return reads back as it was: only a line feed ends a line.
    if (value.find('\n') != std::string_view::npos)
        throw Error(ErrorNumber::LineBreakInText, LoadResString(Str::SlideShowSaveTitle),
                    FormatResString(Str::SaveLineBreak, {std::string(key), value.substr(0, value.find_first_of("\r\n"))}));
    return value;
}

namespace {

constexpr std::size_t kPieceSize = 256 * 1024;

// Tabs count as spaces everywhere: the classifiers see the line as ExpandTabs
// would make it.
bool IsSpace(char c) { return c == ' ' || c == '\t'; }

char* SkipSpaces(char* first, char* last) {
    while (first < last && IsSpace(*first)) ++first;
    return first;
}

char* SkipWord(char* first, char* last) {
    while (first < last && !IsSpace(*first)) ++first;
    return first;
}

std::string_view View(const char* first, const char* last) { return {first, static_cast<std::size_t>(last - first)}; }

void TabsToSpaces(char* first, char* last) {
    while ((first = static_cast<char*>(std::memchr(first, '\t', static_cast<std::size_t>(last - first)))) != nullptr) *first++ = ' ';
}

// What a key's byte becomes: upper case, and a tab a space.
constexpr auto kKeyFold = [] {
    std::array<char, 256> fold{};
    for (int c = 0; c < 256; ++c) fold[static_cast<std::size_t>(c)] = c == '\t' ? ' ' : ToUpperAscii(static_cast<char>(c));
    return fold;
}();

void KeepView(std::string_view& view, std::string& store, const char* bufferFirst, const char* bufferLast) {
    if (std::less_equal<>()(bufferFirst, view.data()) && std::less<>()(view.data(), bufferLast)) {
        store.assign(view);
        view = store;
    }
}

}  // namespace

void BlockParser::OpenFile(const std::string& fileName, bool modeFlag) {
    if (modeFlag) throw Error(ErrorNumber::Parser, "BlockParser.Open", "Not implemented at this time");
    CloseFile();
    fileName_ = fileName;
    // Unbuffered: the pieces go straight from the file into the buffer.
    file_.rdbuf()->pubsetbuf(nullptr, 0);
    file_.open(fileName, std::ios::binary);
    std::error_code ec;
    if (!file_ || std::filesystem::is_directory(fileName, ec)) {
        file_.close();
        const bool missing = !std::filesystem::exists(fileName, ec);
        throw Error(missing ? ErrorNumber::FileNotFound : ErrorNumber::FileAccess, "BlockParser.Open",
                    FormatResString(missing ? Str::FileMissing : Str::FileUnreadable, {fileName}));
    }
    capacity_ = kPieceSize;
    buffer_ = std::make_unique_for_overwrite<char[]>(capacity_ + 1);
    begin_ = end_ = 0;
    Seal();
    fileDone_ = false;
    currentLine_ = 0;
    open_ = true;
}

void BlockParser::OpenText(std::string_view text, std::string name) {
    CloseFile();
    fileName_ = std::move(name);
    capacity_ = text.size();
    buffer_ = std::make_unique_for_overwrite<char[]>(capacity_ + 1);
    std::memcpy(buffer_.get(), text.data(), text.size());
    begin_ = 0;
    end_ = text.size();
    Seal();
    fileDone_ = true;
    currentLine_ = 0;
    open_ = true;
}

void BlockParser::CloseFile() {
    // The open flag stays set, as it always has: closing twice is harmless.
    if (open_) {
        KeepProperties();
        if (file_.is_open()) file_.close();
        buffer_.reset();
        capacity_ = begin_ = end_ = 0;
        fileDone_ = true;
    }
}

void BlockParser::KeepProperties() {
    const char* first = buffer_.get();
    const char* last = first + capacity_;
    KeepView(key_, keptKey_, first, last);
    KeepView(value_, keptValue_, first, last);
    KeepView(blockName_, keptName_, first, last);
    KeepView(blockType_, keptType_, first, last);
}

void BlockParser::Seal() {
    buffer_[end_] = '\n';
}

void BlockParser::ReadFailed() const {
    throw Error(ErrorNumber::FileAccess, "BlockParser.GetToken", FormatResString(Str::FileUnreadable, {fileName_}));
}

void BlockParser::Fill() {
    KeepProperties();
    const std::size_t unread = end_ - begin_;
    if (unread == capacity_) {
        // One line longer than the buffer: a larger one.
        auto larger = std::make_unique_for_overwrite<char[]>(capacity_ * 2 + 1);
        std::memcpy(larger.get(), buffer_.get() + begin_, unread);
        buffer_ = std::move(larger);
        capacity_ *= 2;
    } else if (unread > 0) {
        std::memmove(buffer_.get(), buffer_.get() + begin_, unread);
    }
    begin_ = 0;
    end_ = unread;
    file_.read(buffer_.get() + end_, static_cast<std::streamsize>(capacity_ - end_));
    const auto got = static_cast<std::size_t>(file_.gcount());
    if (file_.bad()) ReadFailed();
    end_ += got;
    Seal();
    if (got == 0) {
        fileDone_ = true;
        file_.close();
    }
}

// One pass over each line: the key's bytes are looked at again only to fold
// them, and the value's tabs become spaces as the line end is sought.
int16_t BlockParser::GetToken() {
    if (!open_ || buffer_ == nullptr) return TokenEndFile;
    for (;;) {
        char* const end = buffer_.get() + end_;
        char* first = buffer_.get() + begin_;
        while (IsSpace(*first)) ++first;
        char* at = first;
        // Whether every byte before the "=" has the 0x40 bit and lacks the 0x20
        // bit: then none is a lower-case letter, a blank or a tab, and a key
        // needs no folding.
        unsigned char all = 0xFF, any = 0;
        for (; *at != '\n' && *at != '='; ++at) {
            all &= static_cast<unsigned char>(*at);
            any |= static_cast<unsigned char>(*at);
        }
        char* const equals = *at == '=' ? at : nullptr;
        if (equals != nullptr) {
            for (++at; *at != '\n'; ++at)
                if (*at == '\t') *at = ' ';
        }
        if (at == end) {
            if (!fileDone_) {
                // The line runs on beyond what has been read: read on and look again.
                Fill();
                continue;
            }
            if (begin_ == end_) return TokenEndFile;
            begin_ = end_;  // the last line, without a line end
        } else {
            begin_ = static_cast<std::size_t>(at - buffer_.get()) + 1;
        }
        ++currentLine_;
        char* last = at;
        if (last > first && last[-1] == '\r') --last;
        while (last > first && IsSpace(last[-1])) --last;
        if (first == last || *first == ';') continue;
        if (equals != nullptr) {
            const bool upper = (all & 0x40) != 0 && (any & 0x20) == 0;
            SetKeyValue(first, equals, last, upper);
            return TokenKeyValue;
        }
        if (ParseEnd(View(first, last))) return TokenEndBlock;
        if (BlockIn(first, last)) return TokenStartBlock;
        throw Error(ErrorNumber::Parser, "BlockParse.GetToken", FormatResString(Str::ParserUnknownLine, {currentLine_}));
    }
}

// The value's tabs are spaces already.
void BlockParser::SetKeyValue(char* first, char* equals, char* last, bool folded) {
    char* keyLast = equals;
    if (!folded) {
        while (keyLast > first && IsSpace(keyLast[-1])) --keyLast;
        for (char* c = first; c < keyLast; ++c) *c = kKeyFold[static_cast<unsigned char>(*c)];
    }
    key_ = View(first, keyLast);
    value_ = View(SkipSpaces(equals + 1, last), last);
}

bool BlockParser::BlockIn(char* first, char* last) {
    char* wordLast = SkipWord(first, last);
    if (!EqualsNoCase(View(first, wordLast), "BLOCK")) return false;
    blockType_ = {};
    blockName_ = {};
    char* typeFirst = SkipSpaces(wordLast, last);
    if (typeFirst == last) return true;
    char* typeLast = SkipWord(typeFirst, last);
    for (char* c = typeFirst; c < typeLast; ++c) *c = ToUpperAscii(*c);
    blockType_ = View(typeFirst, typeLast);
    char* nameFirst = SkipSpaces(typeLast, last);
    blockName_ = View(nameFirst, SkipWord(nameFirst, last));
    return true;
}

// Lines from outside are copied first, so that the views have bytes of ours.
bool BlockParser::ParseKeyValue(std::string_view line) {
    const auto equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    keyValueLine_.assign(line);
    char* first = keyValueLine_.data();
    char* last = first + line.size();
    TabsToSpaces(first + equals + 1, last);
    SetKeyValue(first, first + equals, last, false);
    return true;
}

bool BlockParser::ParseEnd(std::string_view line) const { return !line.empty() && EqualsNoCase(line, "END"); }

bool BlockParser::ParseBlock(std::string_view line) {
    const auto word = line.substr(0, std::min(line.find(' '), line.find('\t')));
    if (!EqualsNoCase(word, "BLOCK")) return false;
    blockLine_.assign(line);
    return BlockIn(blockLine_.data(), blockLine_.data() + blockLine_.size());
}

std::string BlockParser::ExpandTabs(std::string_view line) {
    std::string result(line);
    TabsToSpaces(result.data(), result.data() + result.size());
    return result;
}

void TellUnknownKey(std::string_view block, std::string_view key, int32_t line, int32_t titleId) {
    CurrentPrompt().Message(FormatResString(Str::LoadUnknownKey, {std::string(block), Excerpt(key), line}), LoadResString(titleId),
                            MessageKind::Information);
}

}  // namespace kvo

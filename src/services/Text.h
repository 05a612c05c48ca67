#pragma once

#include <string>
#include <string_view>

namespace kvo {

// ASCII-only case rules: the file formats compare keys and names this way, and
// bytes of other characters pass through untouched.
// Inline: the text reader calls it for every character of every key.
constexpr char ToUpperAscii(char c) { return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c; }
std::string ToUpper(std::string_view text);
std::string ToLower(std::string_view text);
// Inline, like the trimming below: the text readers call them for every line.
inline bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (ToUpperAscii(a[i]) != ToUpperAscii(b[i])) return false;
    return true;
}
bool EndsWithNoCase(std::string_view text, std::string_view suffix);

// Blanks and tabs, as the classic Trim functions and the text formats know them.
constexpr bool IsBlank(char c) { return c == ' ' || c == '\t'; }
inline std::string_view TrimLeft(std::string_view text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    return text;
}
inline std::string_view TrimRight(std::string_view text) {
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}
inline std::string_view Trim(std::string_view text) { return TrimRight(TrimLeft(text)); }

// Cuts UTF-8 text to at most maxBytes without splitting a character.
std::string_view CutUtf8(std::string_view text, std::size_t maxBytes);

// Text from a file as a message quotes it: at most 200 characters, and "..."
// where it was cut. A message box with a whole megabyte line never opens.
std::string Excerpt(std::string_view text);

}  // namespace kvo

namespace kvo {

// Conversions for files that Windows tools write in UTF-16 (little-endian).
// Unpaired surrogates become U+FFFD; an odd trailing byte is dropped.
std::string Utf16LeToUtf8(std::string_view bytes);
std::string Utf8ToUtf16Le(std::string_view text);

}  // namespace kvo

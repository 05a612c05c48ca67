#include "Text.h"

#include <algorithm>

namespace kvo {

namespace {
char ToLowerAscii(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }
}  // namespace

std::string ToUpper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), ToUpperAscii);
    return result;
}

std::string ToLower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), ToLowerAscii);
    return result;
}

bool EndsWithNoCase(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && EqualsNoCase(text.substr(text.size() - suffix.size()), suffix);
}

std::string_view CutUtf8(std::string_view text, std::size_t maxBytes) {
    if (text.size() <= maxBytes) return text;
    std::size_t end = maxBytes;
    // Step back over continuation bytes so the cut lands on a character start.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

std::string Excerpt(std::string_view text) {
    constexpr std::size_t kCharacters = 200;
    std::size_t characters = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((static_cast<unsigned char>(text[i]) & 0xC0) == 0x80) continue;
        if (++characters > kCharacters) return std::string(text.substr(0, i)) + "...";
    }
    return std::string(text);
}

}  // namespace kvo

namespace kvo {

namespace {

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

void AppendUtf16(std::string& out, char16_t unit) {
    out.push_back(static_cast<char>(unit & 0xFF));
    out.push_back(static_cast<char>(unit >> 8));
}

}  // namespace

std::string Utf16LeToUtf8(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() / 2);
    const auto unitAt = [&](std::size_t i) {
        return static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                     (static_cast<unsigned char>(bytes[i + 1]) << 8));
    };
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const char16_t unit = unitAt(i);
        if (unit >= 0xD800 && unit < 0xDC00 && i + 3 < bytes.size()) {
            const char16_t low = unitAt(i + 2);
            if (low >= 0xDC00 && low < 0xE000) {
                AppendUtf8(out, 0x10000 + ((static_cast<char32_t>(unit) - 0xD800) << 10) + (low - 0xDC00));
                i += 2;
                continue;
            }
        }
        AppendUtf8(out, (unit >= 0xD800 && unit < 0xE000) ? char32_t{0xFFFD} : char32_t{unit});
    }
    return out;
}

std::string Utf8ToUtf16Le(std::string_view text) {
    std::string out;
    out.reserve(text.size() * 2);
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
        char32_t cp = 0xFFFD;
        bool valid = length > 0 && i + length <= text.size();
        if (valid) {
            cp = length == 1 ? lead : length == 2 ? (lead & 0x1F) : length == 3 ? (lead & 0x0F) : (lead & 0x07);
            for (std::size_t k = 1; k < length && valid; ++k) {
                const auto next = static_cast<unsigned char>(text[i + k]);
                valid = (next & 0xC0) == 0x80;
                cp = (cp << 6) | (next & 0x3F);
            }
        }
        if (!valid) {
            cp = 0xFFFD;
            i += 1;
        } else {
            i += length;
        }
        if (cp >= 0x10000) {
            AppendUtf16(out, static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10)));
            AppendUtf16(out, static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
        } else {
            AppendUtf16(out, static_cast<char16_t>(cp));
        }
    }
    return out;
}

}  // namespace kvo

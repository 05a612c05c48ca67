#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kvo {

// The program's language and its texts. Every user-visible text is fetched by id
// from the string table of the current language; tables are loaded on first use,
// one per block of a thousand ids, and kept until the language changes.

inline constexpr int32_t kDefaultLanguageId = 1033;

// Three-letter code of a Windows language id; unknown ids give "ENU".
std::string LanguageCodeFor(int32_t lcid);
// The language and country of a language id as "de_DE"; unknown ids give "en_US".
std::string LocaleNameFor(int32_t lcid);

int32_t LanguageId();
const std::string& LanguageCode();
bool ResourcesEnabled();

// Empties the table of loaded string tables and enables lookups.
void InitResources();
// Frees every loaded table and switches to the language's code.
void SetLanguage(int32_t lcid);

// The directory searched first for string tables and help files; by default
// EditorDataDirectory(). After it, the host's Bin directory is searched.
void SetEditorDirectory(std::string directory);
const std::string& EditorDirectory();

// A formatting argument: text, a number, or Omit for a position left out.
struct OmittedArgument {};
inline constexpr OmittedArgument Omit{};

class ResArg {
public:
    ResArg(OmittedArgument) {}
    ResArg(std::string_view text) : text_(text) {}
    ResArg(const std::string& text) : text_(text) {}
    ResArg(const char* text) : text_(text) {}
    ResArg(int value) : text_(std::to_string(value)) {}
    ResArg(long value) : text_(std::to_string(value)) {}
    ResArg(long long value) : text_(std::to_string(value)) {}
    ResArg(unsigned value) : text_(std::to_string(value)) {}
    ResArg(unsigned long value) : text_(std::to_string(value)) {}
    ResArg(double value);

    const std::optional<std::string>& Text() const { return text_; }

private:
    std::optional<std::string> text_;
};

inline constexpr int kMaxResArgs = 10;

std::string LoadResString(int32_t id);
// The text of id with "%0%".."%9%" replaced by the arguments given, index by
// index in ascending order; omitted arguments leave their token as it is.
std::string FormatResString(int32_t id, std::initializer_list<ResArg> args = {});
// The same substitution applied to any text.
std::string FormatText(std::string text, std::span<const ResArg> args);
inline std::string FormatText(std::string text, std::initializer_list<ResArg> args) {
    return FormatText(std::move(text), std::span<const ResArg>(args.begin(), args.size()));
}
// Every occurrence of find replaced, case-sensitively, left to right.
std::string ReplaceText(std::string_view text, std::string_view find, std::string_view replacement);

// The text shown when a block's table cannot be found.
inline constexpr std::string_view kResourceFileNotFound = "Error: Resource File Not Found";

// The table file that holds id in the given language, e.g. "ENU31000.str".
std::string StringTableFileName(std::string_view languageCode, int32_t id);

// The smallest font size a window uses for a language: East Asian scripts need
// at least 9 points, every other language at least 8.
double LanguageFontSize(int32_t lcid, double size);

}  // namespace kvo

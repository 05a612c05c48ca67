#include "Language.h"

#include <array>
#include <memory>
#include <deque>

#include "Convert.h"
#include "Host.h"
#include "Paths.h"
#include "StringTable.h"
#include "Text.h"

namespace kvo {

namespace {

struct LanguageEntry {
    int32_t lcid;
    const char* code;
    const char* locale;
};

constexpr std::array<LanguageEntry, 30> kLanguages{{
    {1028, "CHT", "zh_TW"}, {1030, "DAN", "da_DK"}, {1031, "DEU", "de_DE"}, {1033, "ENU", "en_US"}, {1034, "ESP", "es_ES"},
    {1036, "FRA", "fr_FR"}, {1040, "ITA", "it_IT"}, {1041, "JPN", "ja_JP"}, {1042, "KOR", "ko_KR"}, {1043, "NLD", "nl_NL"},
    {1044, "NOR", "nb_NO"}, {1046, "PTB", "pt_BR"}, {1053, "SVE", "sv_SE"}, {2055, "DES", "de_CH"}, {2057, "ENG", "en_GB"},
    {2058, "ESM", "es_MX"}, {2060, "FRB", "fr_BE"}, {2064, "ITS", "it_CH"}, {2067, "NLB", "nl_BE"}, {2068, "NON", "nn_NO"},
    {2070, "PTG", "pt_PT"}, {3079, "DEA", "de_AT"}, {3081, "ENA", "en_AU"}, {3082, "ESN", "es_ES"}, {3084, "FRC", "fr_CA"},
    {4105, "ENC", "en_CA"}, {4108, "FRS", "fr_CH"}, {5129, "ENZ", "en_NZ"}, {6153, "ENI", "en_IE"}, {-1, "PIG", "en_US"},
}};

constexpr std::size_t kStringBufferBytes = 1023;  // the classic 1024-character buffer less its terminator

struct LoadedTable {
    std::string fileName;
    StringTable table;
};

// The program-wide language state.
struct LanguageState {
    int32_t languageId = kDefaultLanguageId;
    std::string languageCode = "ENU";
    bool resourcesEnabled = false;
    std::deque<LoadedTable> tables;  // searched linearly: a handful of blocks at most; entries never move
    std::optional<std::string> editorDirectory;
    bool lookingUpHost = false;
};

LanguageState& State() {
    static LanguageState state;
    return state;
}

int32_t BlockBase(int32_t id) { return id / 1000 * 1000; }

// Reading the host's directory goes through the settings store, whose own errors
// are texts of this module: the guard stops that from looping.
std::string HostBinDirectoryQuietly() {
    LanguageState& state = State();
    if (state.lookingUpHost) return {};
    state.lookingUpHost = true;
    std::string directory;
    try {
        directory = HostBinDirectory();
    } catch (...) {
        directory.clear();
    }
    state.lookingUpHost = false;
    return directory;
}

const StringTable* FindTable(int32_t id) {
    LanguageState& state = State();
    const std::string fileName = StringTableFileName(state.languageCode, id);
    for (const auto& loaded : state.tables)
        if (loaded.fileName == fileName) return &loaded.table;

    auto table = StringTable::LoadFile(JoinPath(EditorDirectory(), fileName));
    if (!table) {
        const std::string bin = HostBinDirectoryQuietly();
        if (!bin.empty()) table = StringTable::LoadFile(JoinPath(bin, fileName));
    }
    if (!table) return nullptr;
    state.tables.push_back({fileName, std::move(*table)});
    return &state.tables.back().table;
}

}  // namespace

ResArg::ResArg(double value) : text_(FormatDouble(value)) {}

std::string LanguageCodeFor(int32_t lcid) {
    for (const auto& entry : kLanguages)
        if (entry.lcid == lcid) return entry.code;
    return "ENU";
}

std::string LocaleNameFor(int32_t lcid) {
    for (const auto& entry : kLanguages)
        if (entry.lcid == lcid) return entry.locale;
    return "en_US";
}

int32_t LanguageId() { return State().languageId; }
const std::string& LanguageCode() { return State().languageCode; }
bool ResourcesEnabled() { return State().resourcesEnabled; }

void InitResources() {
    State().tables.clear();
    State().resourcesEnabled = true;
}

void SetLanguage(int32_t lcid) {
    LanguageState& state = State();
    state.tables.clear();
    state.languageId = lcid;
    state.languageCode = LanguageCodeFor(lcid);
    state.resourcesEnabled = true;
}

void SetEditorDirectory(std::string directory) {
    State().editorDirectory = std::move(directory);
    State().tables.clear();
}

const std::string& EditorDirectory() {
    auto& directory = State().editorDirectory;
    if (!directory) directory = EditorDataDirectory();
    return *directory;
}

std::string StringTableFileName(std::string_view languageCode, int32_t id) {
    const int32_t base = BlockBase(id);
    std::string digits = std::to_string(base < 0 ? -static_cast<int64_t>(base) : base);
    if (digits.size() < 5) digits.insert(0, 5 - digits.size(), '0');
    return std::string(languageCode) + (base < 0 ? "-" : "") + digits + ".str";
}

std::string LoadResString(int32_t id) {
    if (!ResourcesEnabled()) return {};
    const StringTable* table = FindTable(id);
    if (table == nullptr) return std::string(kResourceFileNotFound);
    const std::string* text = table->Find(id);
    // An empty text counts as missing, as it always has for string resources.
    if (text != nullptr && !text->empty()) return std::string(CutUtf8(*text, kStringBufferBytes));
    const int32_t base = BlockBase(id);
    if (id == base) return "Error: String " + std::to_string(id) + " Not Found";
    return FormatResString(base, {std::to_string(id)});
}

std::string FormatText(std::string text, std::span<const ResArg> args) {
    int index = 0;
    for (const ResArg& arg : args) {
        if (index >= kMaxResArgs) break;
        if (arg.Text()) text = ReplaceText(text, "%" + std::to_string(index) + "%", *arg.Text());
        ++index;
    }
    return text;
}

std::string FormatResString(int32_t id, std::initializer_list<ResArg> args) {
    return FormatText(LoadResString(id), args);
}

std::string ReplaceText(std::string_view text, std::string_view find, std::string_view replacement) {
    if (find.empty()) return std::string(text);
    std::string result;
    std::size_t start = 0;
    for (auto match = text.find(find); match != std::string_view::npos; match = text.find(find, start)) {
        result.append(text.substr(start, match - start));
        result.append(replacement);
        start = match + find.size();
    }
    result.append(text.substr(start));
    return result;
}

double LanguageFontSize(int32_t lcid, double size) {
    const bool eastAsian = lcid == 1028 || lcid == 1041 || lcid == 1042 || lcid == 2052;
    if (eastAsian) return size < 9 ? 9 : size;
    return size <= 8 ? 8 : size;
}

}  // namespace kvo

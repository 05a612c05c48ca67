#include "ViewSettings.h"

#include <algorithm>

#include "Convert.h"
#include "Error.h"
#include "Language.h"
#include "RegEntry.h"
#include "StringIds.h"
#include "Text.h"

namespace kvo {

namespace {

constexpr const char* kEditorKey = "Wexbridge";
constexpr const char* kSnapValue = "SnapToGrid";
constexpr const char* kGridValue = "GridSize";
constexpr const char* kSizesValue = "StationSizes";

}  // namespace

std::vector<ScreenSize> ViewSettings::DefaultStationSizes() {
    return {{640, 480}, {800, 600}, {1024, 768}, {1280, 1024}, {1920, 1080}};
}

std::vector<ScreenSize> ParseScreenSizes(const std::string& text, const std::string& field) {
    if (Trim(text).empty()) return ViewSettings::DefaultStationSizes();
    std::vector<ScreenSize> sizes;
    std::size_t start = 0;
    while (start <= text.size()) {
        const std::size_t end = std::min(text.find(';', start), text.size());
        const std::string entry(Trim(std::string_view(text).substr(start, end - start)));
        start = end + 1;
        if (entry.empty()) continue;  // "640x480;" or a doubled separator
        const auto bad = [&] {
            return Error(ErrorNumber::TypeMismatch, "ViewSettings.StationSizes",
                         FormatResString(Str::StationSizesInvalid, {field, entry, ScreenSizesText({ViewSettings::kSmallestScreen}),
                                                                    ScreenSizesText({ViewSettings::kLargestScreen})}));
        };
        const auto cross = entry.find_first_of("xX");
        if (cross == std::string::npos) throw bad();
        const std::string width(Trim(std::string_view(entry).substr(0, cross))), height(Trim(std::string_view(entry).substr(cross + 1)));
        const auto digits = [](const std::string& part) {
            return !part.empty() && part.size() < 6 && std::all_of(part.begin(), part.end(), [](char c) { return c >= '0' && c <= '9'; });
        };
        if (!digits(width) || !digits(height)) throw bad();
        const ScreenSize size{std::stoi(width), std::stoi(height)};
        if (size.width < ViewSettings::kSmallestScreen.width || size.height < ViewSettings::kSmallestScreen.height ||
            size.width > ViewSettings::kLargestScreen.width || size.height > ViewSettings::kLargestScreen.height)
            throw bad();
        if (std::find(sizes.begin(), sizes.end(), size) == sizes.end()) sizes.push_back(size);
    }
    return sizes.empty() ? ViewSettings::DefaultStationSizes() : sizes;
}

std::string ScreenSizesText(const std::vector<ScreenSize>& sizes) {
    std::string text;
    for (const ScreenSize& size : sizes) {
        if (!text.empty()) text += ';';
        text += std::to_string(size.width) + "x" + std::to_string(size.height);
    }
    return text;
}

ViewSettings ReadViewSettings(std::string* problem) {
    ViewSettings settings;
    std::string sizes, path;
    try {
        RegEntry entry;
        if (!entry.TestKey(kEditorKey)) return settings;
        entry.OpenKey(kEditorKey);
        path = entry.StorePath() + ", " + entry.OpenKeyPath() + "\\" + kSizesValue;
        settings.snapToGrid = entry.GetBoolean(kSnapValue);
        const std::string grid = entry.GetString(kGridValue);
        if (!grid.empty()) {
            try {
                settings.gridSize = std::clamp(ToLong(grid), ViewSettings::kMinGridSize, ViewSettings::kMaxGridSize);
            } catch (const Error&) {
                // A word where the grid's size belongs: the default grid.
            }
        }
        sizes = entry.GetString(kSizesValue);
    } catch (const Error&) {
        return settings;  // a broken store starts the editor with the defaults
    }
    try {
        settings.stationSizes = ParseScreenSizes(sizes, path);
    } catch (const Error& error) {
        if (problem != nullptr) *problem = error.Description();
    }
    return settings;
}

void WriteViewSettings(const ViewSettings& settings) {
    RegEntry entry;
    entry.CreateKey(kEditorKey);
    entry.SetBoolean(kSnapValue, settings.snapToGrid);
    entry.SetString(kGridValue, std::to_string(settings.gridSize));
    entry.SetString(kSizesValue, ScreenSizesText(settings.stationSizes));
}

}  // namespace kvo

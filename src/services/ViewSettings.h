#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kvo {

// A station's screen in pixels.
struct ScreenSize {
    int32_t width = 0;
    int32_t height = 0;
    bool operator==(const ScreenSize&) const = default;
};

// How the editor shows and places: kept in the editor's key of the settings
// store, so that a grid chosen once stays, and so that a site can list the
// screens its stations really have.
struct ViewSettings {
    static constexpr int32_t kMinGridSize = 2;
    static constexpr int32_t kMaxGridSize = 200;
    static constexpr ScreenSize kSmallestScreen{160, 120};
    static constexpr ScreenSize kLargestScreen{8192, 8192};

    bool snapToGrid = false;
    int32_t gridSize = 10;  // thousandths of the slide
    std::vector<ScreenSize> stationSizes = DefaultStationSizes();

    static std::vector<ScreenSize> DefaultStationSizes();
    bool operator==(const ViewSettings&) const = default;
};

// "640x480;800x600": sizes in that order. Raises error 13 naming field and the
// entry that is no size within the bounds above; an empty text is the defaults.
std::vector<ScreenSize> ParseScreenSizes(const std::string& text, const std::string& field);
std::string ScreenSizesText(const std::vector<ScreenSize>& sizes);

// The stored settings; a missing or unreadable value reads as its default, a
// grid size out of range is clamped. A station size list that cannot be read
// gives the default list, and its error's description, naming the store and
// the value, in problem.
ViewSettings ReadViewSettings(std::string* problem = nullptr);
// Raises the settings store's error when the store cannot be written.
void WriteViewSettings(const ViewSettings& settings);

}  // namespace kvo

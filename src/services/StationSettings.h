#pragma once

#include <cstdint>
#include <string>

namespace kvo {

// How the station starts: kept in the editor's key of the settings store, so
// that a restarted station watches the same folder in the same way.
struct StationSettings {
    static constexpr int32_t kMaxAverage = 20;  // no more parts than the history keeps

    std::string folder;
    int32_t average = 0;   // parts in the rolling average; 0 or 1 is none
    int32_t language = 0;  // a language id; 0 keeps the host's language

    bool operator==(const StationSettings&) const = default;
};

// The stored settings; what is missing or unreadable reads as the default,
// numbers out of range are clamped.
StationSettings ReadStationSettings();
// Raises the settings store's error when the store cannot be written.
void WriteStationSettings(const StationSettings& settings);

}  // namespace kvo

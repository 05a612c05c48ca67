#include "StationSettings.h"

#include <algorithm>

#include "Convert.h"
#include "Error.h"
#include "RegEntry.h"

namespace kvo {

namespace {

constexpr const char* kEditorKey = "Wexbridge";

int32_t Number(const std::string& text, int32_t smallest, int32_t largest) {
    if (text.empty()) return 0;
    try {
        return std::clamp(ToLong(text), smallest, largest);
    } catch (const Error&) {
        return 0;  // a word where a number belongs
    }
}

}  // namespace

StationSettings ReadStationSettings() {
    StationSettings settings;
    try {
        RegEntry entry;
        if (!entry.TestKey(kEditorKey)) return settings;
        entry.OpenKey(kEditorKey);
        settings.folder = entry.GetString("StationFolder");
        settings.average = Number(entry.GetString("StationAverage"), 0, StationSettings::kMaxAverage);
        settings.language = Number(entry.GetString("StationLanguage"), 0, 0xFFFF);
    } catch (const Error&) {
        // A broken store starts the station with the defaults, as it does the editor.
    }
    return settings;
}

void WriteStationSettings(const StationSettings& settings) {
    RegEntry entry;
    entry.CreateKey(kEditorKey);
    entry.SetString("StationFolder", settings.folder);
    entry.SetString("StationAverage", std::to_string(settings.average));
    entry.SetString("StationLanguage", std::to_string(settings.language));
}

}  // namespace kvo

#include "Startup.h"

#include "Convert.h"
#include "Language.h"
#include "RegEntry.h"

namespace kvo {

namespace {

// A value of a key that may not exist.
std::string Read(const std::string& key, const std::string& value) {
    RegEntry entry;
    if (!entry.TestKey(key)) return {};
    entry.OpenKey(key);
    return entry.GetString(value);
}

void ReplaceWhenSet(std::string& result, const std::string& value) {
    if (!value.empty()) result = value;
}

// The user's own root: the user's key below "Users", when it exists.
void ApplyUser(std::string& result, const std::string& user) {
    const std::string key = "Users\\" + user;
    if (RegEntry().TestKey(key)) ReplaceWhenSet(result, Read(key, "RepositoryRoot"));
}

void ApplyApplication(std::string& result, const std::string& settingsKey) {
    ReplaceWhenSet(result, Read(settingsKey, "RepositoryRoot"));
    ApplyUser(result, Read("Users", "LastUser"));
}

}  // namespace

int32_t InitLanguage() {
    InitResources();  // so that a broken setting is reported in words
    const std::string text = Read("Tessiva\\Settings", "DefaultLanguage");
    const int32_t lcid = text.empty() ? kDefaultLanguageId : ToLong(text);
    SetLanguage(lcid);
    InitResources();
    return lcid;
}

std::string GetRepositoryRoot(std::string applicationName) {
    std::string result = Read("Common", "RepositoryRoot");
    if (applicationName.empty()) applicationName = Read("Common", "StartupApp");
    if (applicationName == "Tessiva") {
        ApplyApplication(result, "Tessiva\\Settings");
    } else if (applicationName == "Brevana") {
        if (RegEntry().TestKey("Brevana\\Settings")) ApplyApplication(result, "Brevana\\Settings");
    } else if (applicationName == "Tapframe") {
        ApplyUser(result, Read("Wexbridge", "KVOUser"));
    }
    return result;
}

}  // namespace kvo

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "RegistryTree.h"
#include "SettingsStore.h"

namespace kvo {

// The one way to the settings: one open key at a time below "SOFTWARE\Orlanvex"
// of the machine-wide root, values read and written as text. Failures raise
// Error 5000 (create), 5001 (open) or 5002 (write); a missing value reads as
// empty text.
class RegEntry {
public:
    static constexpr std::string_view kRoot = "HKEY_LOCAL_MACHINE";
    static constexpr std::string_view kBasePath = "SOFTWARE\\Orlanvex";
    // The classic read buffer: a value must fit with its terminating zero.
    static constexpr std::size_t kReadBufferSize = 256;

    // The store named by ORLANVEX_REGISTRY, or the default file.
    RegEntry();
    explicit RegEntry(std::string storePath);

    void OpenKey(std::string_view keyName);
    void CreateKey(std::string_view keyName);
    bool TestKey(std::string_view keyName) const;
    void DeleteKey(std::string_view keyName);
    void DeleteValue(std::string_view valueName);
    // A value of the open key as text; raises "No ending 0 found" when it does not
    // fit the read buffer.
    std::string Query(std::string_view valueName) const;
    // Every value of the open key as (name, text); the default value's name is "".
    std::vector<std::pair<std::string, std::string>> QueryValues() const;
    std::string GetString(std::string_view valueName) const;
    // Reads the whole text, however long, as international text may be.
    std::string GetStringInternational(std::string_view valueName) const;
    // False for "", "0", "no" and "false" in any letter case; True for anything else.
    bool GetBoolean(std::string_view valueName) const;
    void SetString(std::string_view valueName, std::string_view text);
    // Writes "true" or "false".
    void SetBoolean(std::string_view valueName, bool value);
    // The class identifier registered for a programmatic identifier.
    std::string GetClassID(std::string_view progId) const;
    void RemoveProgID(std::string_view progId);
    // Copies a key with all its values and subkeys; values of any type arrive as text.
    void CopyKey(std::string_view sourceKey, std::string_view destinationKey);

    bool IsOpen() const { return openKey_.has_value(); }
    // The open key's full path, root included; empty when none is open.
    std::string OpenKeyPath() const { return openKey_.value_or(std::string()); }
    const std::string& StorePath() const { return store_.Path(); }

private:
    std::string FullPath(std::string_view keyName) const;
    RegistryTree ReadStore(int32_t errorNumber, const char* source) const;
    const RegValue* FindOpenValue(const RegistryTree& tree, std::string_view valueName) const;
    std::string ReadText(std::string_view valueName) const;

    void OpenInternal(const std::string& path);
    void CreateInternal(const std::string& path);
    void SetValue(std::string_view valueName, std::string_view text);
    void CopyInternal(const std::string& sourcePath, const std::string& destinationPath);
    void DeleteInternal(const std::string& path);

    SettingsStore store_;
    std::optional<std::string> openKey_;
};

}  // namespace kvo

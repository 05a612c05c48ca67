#include "RegEntry.h"

#include "Error.h"
#include "Language.h"
#include "StringIds.h"
#include "Text.h"

namespace kvo {

namespace {

constexpr std::string_view kClassesRoot = "HKEY_CLASSES_ROOT";

std::string Describe(const SettingsFileError& error) {
    if (error.Line() > 0) return FormatResString(Str::SettingsFileDamaged, {error.File(), error.Line(), error.Detail()});
    return FormatResString(Str::SettingsFileUnusable, {error.File(), error.Detail()});
}

// Raised inside a change when the key it writes to has gone meanwhile.
struct KeyVanished {};

void CopyTree(const RegKey& source, RegKey& destination, bool wideStrings) {
    for (const auto& value : source.values) destination.SetString(value.name, value.Text(wideStrings));
    for (const auto& sub : source.subkeys) CopyTree(*sub, destination.AddSubkey(sub->name), wideStrings);
}

std::unique_ptr<RegKey> Clone(const RegKey& key) {
    auto copy = std::make_unique<RegKey>();
    copy->name = key.name;
    copy->values = key.values;
    for (const auto& sub : key.subkeys) copy->subkeys.push_back(Clone(*sub));
    return copy;
}

}  // namespace

RegEntry::RegEntry() : RegEntry(SettingsStore::DefaultPath()) {}

RegEntry::RegEntry(std::string storePath) : store_(std::move(storePath)) {}

std::string RegEntry::FullPath(std::string_view keyName) const {
    return std::string(kRoot) + "\\" + std::string(kBasePath) + "\\" + std::string(keyName);
}

RegistryTree RegEntry::ReadStore(int32_t errorNumber, const char* source) const {
    try {
        return store_.Read();
    } catch (const SettingsFileError& error) {
        throw Error(errorNumber, source, Describe(error));
    }
}

const RegValue* RegEntry::FindOpenValue(const RegistryTree& tree, std::string_view valueName) const {
    if (!openKey_) return nullptr;
    const RegKey* key = tree.Find(*openKey_);
    return key == nullptr ? nullptr : key->FindValue(valueName);
}

void RegEntry::OpenKey(std::string_view keyName) {
    openKey_.reset();
    OpenInternal(FullPath(keyName));
}

void RegEntry::CreateKey(std::string_view keyName) {
    openKey_.reset();
    CreateInternal(FullPath(keyName));
}

bool RegEntry::TestKey(std::string_view keyName) const {
    return ReadStore(ErrorNumber::RegistryOpen, "RegEntry.OpenInternal").Find(FullPath(keyName)) != nullptr;
}

void RegEntry::DeleteKey(std::string_view keyName) {
    // An empty name would take the whole company key with it.
    if (Trim(keyName).empty()) throw Error(ErrorNumber::InvalidCall, "RegEntry.DeleteKey", "No key name given");
    DeleteInternal(FullPath(keyName));
}

void RegEntry::DeleteValue(std::string_view valueName) {
    if (!openKey_) return;
    if (FindOpenValue(ReadStore(ErrorNumber::RegistryWrite, "RegEntry.DeleteValue"), valueName) == nullptr) return;
    try {
        store_.Modify([&](RegistryTree& tree) {
            if (RegKey* key = tree.Find(*openKey_)) key->RemoveValue(valueName);
        });
    } catch (const SettingsFileError& error) {
        throw Error(ErrorNumber::RegistryWrite, "RegEntry.DeleteValue",
                    FormatResString(Str::SettingsValueNotWritten, {*openKey_}) + " " + Describe(error));
    }
}

std::string RegEntry::ReadText(std::string_view valueName) const {
    try {
        const RegistryTree tree = store_.Read();
        const RegValue* value = FindOpenValue(tree, valueName);
        return value == nullptr ? std::string() : value->Text(tree.WideStrings());
    } catch (const SettingsFileError&) {
        return {};  // a failed read gives empty text
    }
}

std::string RegEntry::Query(std::string_view valueName) const {
    std::string text = ReadText(valueName);
    if (text.size() >= kReadBufferSize) throw Error(ErrorNumber::RegistryCreate, "RegEntry.Query", "No ending 0 found");
    return text;
}

std::vector<std::pair<std::string, std::string>> RegEntry::QueryValues() const {
    std::vector<std::pair<std::string, std::string>> result;
    if (!openKey_) return result;
    const RegistryTree tree = ReadStore(ErrorNumber::RegistryOpen, "RegEntry.QueryValues");
    if (const RegKey* key = tree.Find(*openKey_))
        for (const auto& value : key->values) result.emplace_back(value.name, value.Text(tree.WideStrings()));
    return result;
}

std::string RegEntry::GetString(std::string_view valueName) const { return Query(valueName); }

std::string RegEntry::GetStringInternational(std::string_view valueName) const { return ReadText(valueName); }

bool RegEntry::GetBoolean(std::string_view valueName) const {
    const std::string text = GetString(valueName);
    if (text.empty() || text == "0") return false;
    const std::string upper = ToUpper(text);
    return upper != "NO" && upper != "FALSE";
}

void RegEntry::SetString(std::string_view valueName, std::string_view text) { SetValue(valueName, text); }

void RegEntry::SetBoolean(std::string_view valueName, bool value) { SetValue(valueName, value ? "true" : "false"); }

std::string RegEntry::GetClassID(std::string_view progId) const {
    const RegistryTree tree = ReadStore(ErrorNumber::RegistryOpen, "RegEntry.OpenInternal");
    const RegKey* key = tree.Find(std::string(kClassesRoot) + "\\" + std::string(progId) + "\\Clsid");
    const RegValue* value = key == nullptr ? nullptr : key->FindValue("");
    return value == nullptr ? std::string() : value->Text(tree.WideStrings());
}

void RegEntry::RemoveProgID(std::string_view progId) {
    if (Trim(progId).empty()) throw Error(ErrorNumber::InvalidCall, "RegEntry.RemoveProgID", "No identifier given");
    const std::string classId = GetClassID(progId);
    if (!classId.empty()) DeleteInternal(std::string(kClassesRoot) + "\\CLSID\\" + classId);
    DeleteInternal(std::string(kClassesRoot) + "\\" + std::string(progId));
}

void RegEntry::CopyKey(std::string_view sourceKey, std::string_view destinationKey) {
    CopyInternal(FullPath(sourceKey), FullPath(destinationKey));
}

void RegEntry::OpenInternal(const std::string& path) {
    if (ReadStore(ErrorNumber::RegistryOpen, "RegEntry.OpenInternal").Find(path) == nullptr)
        throw Error(ErrorNumber::RegistryOpen, "RegEntry.OpenInternal", FormatResString(Str::SettingsKeyNotOpened, {path}));
    openKey_ = path;
}

void RegEntry::CreateInternal(const std::string& path) {
    constexpr const char* kSource = "RegEntry.CreateInternal";
    // An existing key is only opened: creating needs write access, opening does not.
    if (ReadStore(ErrorNumber::RegistryCreate, kSource).Find(path) == nullptr) {
        try {
            store_.Modify([&](RegistryTree& tree) { tree.Create(path); });
        } catch (const SettingsFileError& error) {
            throw Error(ErrorNumber::RegistryCreate, kSource,
                        FormatResString(Str::SettingsKeyNotCreated, {path}) + " " + Describe(error));
        }
        if (ReadStore(ErrorNumber::RegistryCreate, kSource).Find(path) == nullptr)
            throw Error(ErrorNumber::RegistryCreate, kSource, FormatResString(Str::SettingsKeyNotOpened, {path}));
    }
    openKey_ = path;
}

void RegEntry::SetValue(std::string_view valueName, std::string_view text) {
    constexpr const char* kSource = "RegEntry.SetValue";
    const std::string keyPath = openKey_.value_or(FullPath(""));
    const std::string notWritten = FormatResString(Str::SettingsValueNotWritten, {keyPath});
    if (!openKey_) throw Error(ErrorNumber::RegistryWrite, kSource, notWritten);
    try {
        store_.Modify([&](RegistryTree& tree) {
            RegKey* key = tree.Find(keyPath);
            if (key == nullptr) throw KeyVanished{};
            key->SetString(valueName, text);
        });
    } catch (const SettingsFileError& error) {
        throw Error(ErrorNumber::RegistryWrite, kSource, notWritten + " " + Describe(error));
    } catch (const KeyVanished&) {
        throw Error(ErrorNumber::RegistryWrite, kSource, notWritten);
    }
}

void RegEntry::CopyInternal(const std::string& sourcePath, const std::string& destinationPath) {
    constexpr const char* kSource = "RegEntry.CopyInternal";
    if (ReadStore(ErrorNumber::RegistryOpen, kSource).Find(sourcePath) == nullptr)
        throw Error(ErrorNumber::RegistryOpen, kSource, FormatResString(Str::SettingsKeyNotOpened, {sourcePath}));
    try {
        store_.Modify([&](RegistryTree& tree) {
            const RegKey* source = tree.Find(sourcePath);
            if (source == nullptr) throw KeyVanished{};
            // Copy from a snapshot, so a destination inside the source cannot feed itself.
            const auto snapshot = Clone(*source);
            CopyTree(*snapshot, tree.Create(destinationPath), tree.WideStrings());
        });
    } catch (const SettingsFileError& error) {
        throw Error(ErrorNumber::RegistryCreate, kSource,
                    FormatResString(Str::SettingsKeyNotCreated, {destinationPath}) + " " + Describe(error));
    } catch (const KeyVanished&) {
        throw Error(ErrorNumber::RegistryOpen, kSource, FormatResString(Str::SettingsKeyNotOpened, {sourcePath}));
    }
}

void RegEntry::DeleteInternal(const std::string& path) {
    constexpr const char* kSource = "RegEntry.DeleteInternal";
    if (ReadStore(ErrorNumber::RegistryCreate, kSource).Find(path) == nullptr) return;
    try {
        store_.Modify([&](RegistryTree& tree) { tree.Remove(path); });
    } catch (const SettingsFileError& error) {
        throw Error(ErrorNumber::RegistryCreate, kSource,
                    FormatResString(Str::SettingsKeyNotDeleted, {path}) + " " + Describe(error));
    }
}

}  // namespace kvo

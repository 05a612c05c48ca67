#pragma once

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace kvo {

// Value types as the registry export format names them ("hex(N):").
namespace RegType {
inline constexpr uint32_t None = 0;
inline constexpr uint32_t String = 1;
inline constexpr uint32_t ExpandString = 2;
inline constexpr uint32_t Binary = 3;
inline constexpr uint32_t Dword = 4;
inline constexpr uint32_t MultiString = 7;
inline constexpr uint32_t Qword = 11;
}  // namespace RegType

struct RegValue {
    std::string name;  // "" is the key's default value, written "@"
    uint32_t type = RegType::String;
    // A quoted string's text; for every other form the raw bytes as stored.
    std::string data;
    bool quoted = true;

    // The value read as text, the way a string read of the registry sees it:
    // strings up to their first zero, numbers in decimal.
    std::string Text(bool wideStrings) const;
};

struct RegKey {
    std::string name;
    std::vector<RegValue> values;
    std::vector<std::unique_ptr<RegKey>> subkeys;

    RegKey* FindSubkey(std::string_view subkeyName) const;
    RegKey& AddSubkey(std::string_view subkeyName);
    bool RemoveSubkey(std::string_view subkeyName);
    const RegValue* FindValue(std::string_view valueName) const;
    void SetString(std::string_view valueName, std::string_view text);
    void SetValue(RegValue value);
    bool RemoveValue(std::string_view valueName);
};

// A settings file that could not be read or understood; line is 0 when the
// problem is not tied to a line.
class SettingsFileError : public std::runtime_error {
public:
    SettingsFileError(std::string file, int line, std::string detail);
    const std::string& File() const { return file_; }
    int Line() const { return line_; }
    const std::string& Detail() const { return detail_; }

private:
    std::string file_;
    int line_;
    std::string detail_;
};

// The whole tree of a settings file in the registry export format. Paths are
// "\"-separated and start with the root ("HKEY_LOCAL_MACHINE\SOFTWARE\...");
// names compare without regard to case and keep the case they were given.
class RegistryTree {
public:
    // Parses the file's bytes (UTF-8, or UTF-16LE with its byte-order mark);
    // raises SettingsFileError naming fileName and the line.
    static RegistryTree Parse(std::string_view bytes, const std::string& fileName);
    // The file's bytes, in the header, encoding and line ends it was read with.
    std::string Serialize() const;

    const RegKey* Find(std::string_view path) const;
    RegKey* Find(std::string_view path);
    RegKey& Create(std::string_view path);
    bool Remove(std::string_view path);

    // REGEDIT4 files keep hex strings in 8-bit text, version 5 files in UTF-16.
    bool WideStrings() const { return wideStrings_; }

private:
    RegKey root_;
    bool wideStrings_ = true;
    bool utf16File_ = false;
};

}  // namespace kvo

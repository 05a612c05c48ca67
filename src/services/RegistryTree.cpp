#include "RegistryTree.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

#include "Text.h"

namespace kvo {

namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::size_t kBytesPerHexLine = 25;

std::vector<std::string_view> SplitPath(std::string_view path) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const auto slash = path.find('\\');
        const auto part = path.substr(0, slash);
        if (!part.empty()) parts.push_back(part);
        if (slash == std::string_view::npos) break;
        path.remove_prefix(slash + 1);
    }
    return parts;
}

std::string Escape(std::string_view text) {
    std::string out;
    out.reserve(text.size() + 2);
    for (char c : text) {
        if (c == '\\' || c == '"') out.push_back('\\');
        out.push_back(c);
    }
    return out;
}

bool HasControlCharacter(std::string_view text) {
    return std::any_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

std::string HexBytes(std::string_view bytes) {
    static constexpr std::array<char, 16> kDigits{'0', '1', '2', '3', '4', '5', '6', '7',
                                                  '8', '9', 'a', 'b', 'c', 'd', 'e', 'f'};
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (i > 0) out += (i % kBytesPerHexLine == 0) ? ",\\\r\n  " : ",";
        const auto b = static_cast<unsigned char>(bytes[i]);
        out.push_back(kDigits[b >> 4]);
        out.push_back(kDigits[b & 0xF]);
    }
    return out;
}

std::string HexTypeLabel(uint32_t type) {
    if (type == RegType::Binary) return "hex:";
    std::array<char, 16> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), type, 16).ptr;
    return "hex(" + std::string(buffer.data(), end) + "):";
}

uint64_t LittleEndian(std::string_view bytes, std::size_t count) {
    uint64_t value = 0;
    for (std::size_t i = std::min(count, bytes.size()); i-- > 0;)
        value = (value << 8) | static_cast<unsigned char>(bytes[i]);
    return value;
}

std::string UpToZero(std::string_view text) { return std::string(text.substr(0, text.find('\0'))); }

// Reads the lines of one file, with the position for error messages.
class Parser {
public:
    Parser(std::string_view text, const std::string& fileName) : fileName_(fileName) {
        std::size_t start = 0;
        while (start <= text.size()) {
            auto end = text.find('\n', start);
            if (end == std::string_view::npos) end = text.size();
            auto line = text.substr(start, end - start);
            if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
            lines_.push_back(line);
            start = end + 1;
        }
    }

    void Run(RegKey& root, bool& wideStrings) {
        bool headerSeen = false;
        RegKey* current = nullptr;
        for (index_ = 0; index_ < lines_.size(); ++index_) {
            const std::string_view line = Trim(lines_[index_]);
            if (line.empty()) continue;
            if (!headerSeen) {
                if (line == kHeader5) wideStrings = true;
                else if (line == kHeader4) wideStrings = false;
                else Fail("expected the header \"" + std::string(kHeader5) + "\"");
                headerSeen = true;
            } else if (line.front() == ';') {
                continue;
            } else if (line.front() == '[') {
                current = KeyLine(root, line);
            } else if (line.front() == '"' || line.front() == '@') {
                if (current == nullptr) Fail("a value must follow a [key] line");
                ValueLine(*current, line);
            } else {
                Fail("expected a [key] line or a \"name\"=value line");
            }
        }
    }

private:
    [[noreturn]] void Fail(const std::string& detail) const {
        throw SettingsFileError(fileName_, static_cast<int>(index_ + 1), detail);
    }

    RegKey* KeyLine(RegKey& root, std::string_view line) {
        if (line.back() != ']') Fail("a key line must end with \"]\"");
        std::string_view path = line.substr(1, line.size() - 2);
        const bool deleting = !path.empty() && path.front() == '-';
        if (deleting) path.remove_prefix(1);
        const auto parts = SplitPath(path);
        if (parts.empty() || !EqualsNoCase(parts.front().substr(0, std::min<std::size_t>(5, parts.front().size())), "HKEY_"))
            Fail("a key path must start with a root such as HKEY_LOCAL_MACHINE");
        if (path.find("\\\\") != std::string_view::npos || path.back() == '\\') Fail("a key path has an empty name in it");
        RegKey* key = &root;
        if (deleting) {
            for (std::size_t i = 0; key != nullptr && i + 1 < parts.size(); ++i) key = key->FindSubkey(parts[i]);
            if (key != nullptr) key->RemoveSubkey(parts.back());
            return nullptr;
        }
        for (auto part : parts) key = &key->AddSubkey(part);
        return key;
    }

    // Reads a quoted text starting at pos (just after the opening quote).
    std::string Quoted(std::string_view line, std::size_t& pos, const char* what) const {
        std::string text;
        while (pos < line.size()) {
            const char c = line[pos++];
            if (c == '"') return text;
            if (c == '\\' && pos < line.size()) {
                text.push_back(line[pos++]);
            } else {
                text.push_back(c);
            }
        }
        Fail(std::string("the ") + what + " has no closing quote");
    }

    void ValueLine(RegKey& key, std::string_view line) {
        std::size_t pos = 1;
        const std::string name = line.front() == '@' ? std::string() : Quoted(line, pos, "value name");
        std::string_view rest = TrimLeft(line.substr(pos));
        if (rest.empty() || rest.front() != '=') Fail("expected \"=\" after the value name");
        rest = TrimLeft(rest.substr(1));

        RegValue value;
        value.name = name;
        if (!rest.empty() && rest.front() == '"') {
            std::size_t at = 1;
            value.data = Quoted(rest, at, "value");
            if (!Trim(rest.substr(at)).empty()) Fail("unexpected text after the closing quote");
        } else if (rest == "-") {
            key.RemoveValue(name);
            return;
        } else if (rest.size() > 6 && EqualsNoCase(rest.substr(0, 6), "dword:")) {
            const auto digits = rest.substr(6);
            uint32_t number = 0;
            const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
            if (ec != std::errc() || ptr != digits.data() + digits.size() || digits.size() > 8)
                Fail("a dword value needs up to 8 hexadecimal digits");
            value.type = RegType::Dword;
            value.quoted = false;
            for (int i = 0; i < 4; ++i) value.data.push_back(static_cast<char>((number >> (8 * i)) & 0xFF));
        } else if (rest.size() >= 4 && EqualsNoCase(rest.substr(0, 3), "hex")) {
            HexValue(rest, value);
        } else {
            Fail("expected a quoted text, dword:, hex: or - after \"=\"");
        }
        key.SetValue(std::move(value));
    }

    void HexValue(std::string_view rest, RegValue& value) {
        value.quoted = false;
        value.type = RegType::Binary;
        std::size_t pos = 3;
        if (rest[pos] == '(') {
            const auto close = rest.find(')', pos);
            if (close == std::string_view::npos) Fail("hex( has no closing parenthesis");
            const auto digits = rest.substr(pos + 1, close - pos - 1);
            const auto [ptr, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), value.type, 16);
            if (ec != std::errc() || ptr != digits.data() + digits.size()) Fail("hex( needs a hexadecimal type number");
            pos = close + 1;
        }
        if (pos >= rest.size() || rest[pos] != ':') Fail("expected \":\" after hex");
        std::string bytes(rest.substr(pos + 1));
        // A trailing backslash continues the byte list on the next line.
        while (!TrimRight(bytes).empty() && TrimRight(bytes).back() == '\\') {
            bytes = std::string(TrimRight(bytes));
            bytes.pop_back();
            if (index_ + 1 >= lines_.size() || Trim(lines_[index_ + 1]).empty())
                Fail("the hex data is continued with \"\\\" but no bytes follow");
            bytes += Trim(lines_[++index_]);
        }
        std::string_view list = Trim(bytes);
        if (!list.empty() && list.back() == ',') Fail("the hex data ends with a comma");
        while (!list.empty()) {
            const auto comma = list.find(',');
            const auto item = Trim(list.substr(0, comma));
            unsigned int byte = 0;
            const auto [ptr, ec] = std::from_chars(item.data(), item.data() + item.size(), byte, 16);
            if (item.size() != 2 || ec != std::errc() || ptr != item.data() + item.size())
                Fail("hex data must be two-digit bytes separated by commas");
            value.data.push_back(static_cast<char>(byte));
            if (comma == std::string_view::npos) break;
            list.remove_prefix(comma + 1);
        }
    }

    std::vector<std::string_view> lines_;
    std::size_t index_ = 0;
    const std::string& fileName_;
};

void WriteValue(std::string& out, const RegValue& value, bool wide) {
    out += value.name.empty() ? std::string("@") : "\"" + Escape(value.name) + "\"";
    out += '=';
    if (value.quoted && !HasControlCharacter(value.data)) {
        out += "\"" + Escape(value.data) + "\"";
    } else if (value.quoted) {
        // Line breaks cannot stand in a quoted value; keep them as a hex string.
        const std::string bytes = wide ? Utf8ToUtf16Le(value.data) + std::string(2, '\0') : value.data + '\0';
        out += HexTypeLabel(RegType::String) + HexBytes(bytes);
    } else if (value.type == RegType::Dword && value.data.size() == 4) {
        std::array<char, 9> digits{};
        const uint32_t number = static_cast<uint32_t>(LittleEndian(value.data, 4));
        const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
        out += "dword:" + std::string(8 - static_cast<std::size_t>(end - digits.data()), '0') + std::string(digits.data(), end);
    } else {
        out += HexTypeLabel(value.type) + HexBytes(value.data);
    }
    out += "\r\n";
}

// A key without values but with subkeys is implied by them and is not written,
// so a hand-written file keeps the sections it had.
void WriteKey(std::string& out, const RegKey& key, const std::string& path, bool wide) {
    if (!key.values.empty() || key.subkeys.empty()) {
        out += "[" + path + "]\r\n";
        for (const auto& value : key.values) WriteValue(out, value, wide);
        out += "\r\n";
    }
    for (const auto& sub : key.subkeys) WriteKey(out, *sub, path + "\\" + sub->name, wide);
}

}  // namespace

std::string RegValue::Text(bool wideStrings) const {
    if (quoted) return UpToZero(data);
    switch (type) {
        case RegType::Dword:
            return std::to_string(LittleEndian(data, 4));
        case RegType::Qword:
            return std::to_string(LittleEndian(data, 8));
        case RegType::String:
        case RegType::ExpandString:
        case RegType::MultiString:
            return UpToZero(wideStrings ? Utf16LeToUtf8(data) : data);
        default:
            return UpToZero(data);
    }
}

RegKey* RegKey::FindSubkey(std::string_view subkeyName) const {
    for (const auto& sub : subkeys)
        if (EqualsNoCase(sub->name, subkeyName)) return sub.get();
    return nullptr;
}

RegKey& RegKey::AddSubkey(std::string_view subkeyName) {
    if (RegKey* existing = FindSubkey(subkeyName)) return *existing;
    subkeys.push_back(std::make_unique<RegKey>());
    subkeys.back()->name = std::string(subkeyName);
    return *subkeys.back();
}

bool RegKey::RemoveSubkey(std::string_view subkeyName) {
    const auto it = std::find_if(subkeys.begin(), subkeys.end(),
                                 [&](const auto& sub) { return EqualsNoCase(sub->name, subkeyName); });
    if (it == subkeys.end()) return false;
    subkeys.erase(it);
    return true;
}

const RegValue* RegKey::FindValue(std::string_view valueName) const {
    for (const auto& value : values)
        if (EqualsNoCase(value.name, valueName)) return &value;
    return nullptr;
}

void RegKey::SetString(std::string_view valueName, std::string_view text) {
    RegValue value;
    value.name = std::string(valueName);
    value.data = std::string(text);
    SetValue(std::move(value));
}

void RegKey::SetValue(RegValue value) {
    for (auto& existing : values) {
        if (EqualsNoCase(existing.name, value.name)) {
            value.name = std::move(existing.name);  // an overwrite keeps the name's first spelling
            existing = std::move(value);
            return;
        }
    }
    values.push_back(std::move(value));
}

bool RegKey::RemoveValue(std::string_view valueName) {
    const auto it = std::find_if(values.begin(), values.end(),
                                 [&](const RegValue& value) { return EqualsNoCase(value.name, valueName); });
    if (it == values.end()) return false;
    values.erase(it);
    return true;
}

SettingsFileError::SettingsFileError(std::string file, int line, std::string detail)
    : std::runtime_error(file + (line > 0 ? ":" + std::to_string(line) : std::string()) + ": " + detail),
      file_(std::move(file)),
      line_(line),
      detail_(std::move(detail)) {}

RegistryTree RegistryTree::Parse(std::string_view bytes, const std::string& fileName) {
    RegistryTree tree;
    std::string decoded;
    if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE') {
        decoded = Utf16LeToUtf8(bytes.substr(2));
        tree.utf16File_ = true;
    } else if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") {
        decoded = std::string(bytes.substr(3));
    } else {
        decoded = std::string(bytes);
    }
    Parser(decoded, fileName).Run(tree.root_, tree.wideStrings_);
    return tree;
}

std::string RegistryTree::Serialize() const {
    std::string out(wideStrings_ ? kHeader5 : kHeader4);
    out += "\r\n\r\n";
    for (const auto& hive : root_.subkeys) WriteKey(out, *hive, hive->name, wideStrings_);
    if (!utf16File_) return out;
    return "\xFF\xFE" + Utf8ToUtf16Le(out);
}

const RegKey* RegistryTree::Find(std::string_view path) const {
    const auto parts = SplitPath(path);
    if (parts.empty()) return nullptr;
    const RegKey* key = &root_;
    for (auto part : parts) {
        key = key->FindSubkey(part);
        if (key == nullptr) return nullptr;
    }
    return key;
}

RegKey* RegistryTree::Find(std::string_view path) {
    return const_cast<RegKey*>(std::as_const(*this).Find(path));
}

RegKey& RegistryTree::Create(std::string_view path) {
    RegKey* key = &root_;
    for (auto part : SplitPath(path)) key = &key->AddSubkey(part);
    return *key;
}

bool RegistryTree::Remove(std::string_view path) {
    auto parts = SplitPath(path);
    if (parts.empty()) return false;
    const auto last = parts.back();
    parts.pop_back();
    RegKey* parent = &root_;
    for (auto part : parts) {
        parent = parent->FindSubkey(part);
        if (parent == nullptr) return false;
    }
    return parent->RemoveSubkey(last);
}

}  // namespace kvo

#include "StringTable.h"

#include <charconv>
#include <fstream>
#include <sstream>
#include <unordered_map>

#include "Paths.h"
#include "Text.h"

namespace kvo {

StringTable StringTable::Parse(std::string_view text, std::string_view fileName) {
    StringTable table;
    std::unordered_map<int32_t, int> firstLine;
    if (text.substr(0, 3) == "\xEF\xBB\xBF") text.remove_prefix(3);
    int lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const auto end = text.find('\n');
        std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);

        const auto report = [&](const std::string& what) {
            table.problems_.push_back(std::string(fileName) + ":" + std::to_string(lineNumber) + ": " + what);
        };
        const std::string_view trimmed = TrimLeft(line);
        if (trimmed.empty() || trimmed.front() == ';') continue;
        const auto equals = line.find('=');
        const std::string_view idText = equals == std::string_view::npos ? std::string_view() : Trim(line.substr(0, equals));
        int32_t id = 0;
        const auto [ptr, ec] = std::from_chars(idText.data(), idText.data() + idText.size(), id);
        if (idText.empty() || ec != std::errc() || ptr != idText.data() + idText.size()) {
            report("expected a line of the form id=text");
            continue;
        }
        std::string value;
        const std::string_view raw = line.substr(equals + 1);
        for (std::size_t i = 0; i < raw.size(); ++i) {
            if (raw[i] != '\\' || i + 1 == raw.size()) {
                value.push_back(raw[i]);
            } else if (raw[i + 1] == 'n') {
                value.push_back('\n');
                ++i;
            } else if (raw[i + 1] == '\\') {
                value.push_back('\\');
                ++i;
            } else {
                report(std::string("unknown escape \\") + raw[i + 1] + " (kept as written)");
                value.push_back(raw[i]);
            }
        }
        const auto [it, inserted] = firstLine.emplace(id, lineNumber);
        if (!inserted) {
            report("id " + std::to_string(id) + " appears again (first at line " + std::to_string(it->second) +
                   "); the first text is kept");
            continue;
        }
        table.texts_.emplace(id, std::move(value));
    }
    return table;
}

std::optional<StringTable> StringTable::LoadFile(const std::string& path) {
    if (!FileExists(path)) return std::nullopt;
    std::ifstream in(path, std::ios::binary);
    if (!in) return std::nullopt;
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return Parse(bytes.str(), path);
}

const std::string* StringTable::Find(int32_t id) const {
    const auto it = texts_.find(id);
    return it == texts_.end() ? nullptr : &it->second;
}

}  // namespace kvo

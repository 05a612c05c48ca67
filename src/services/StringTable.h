#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kvo {

// One language's texts for one block of ids: a UTF-8 file of "id=text" lines,
// ";" comment lines, and the escapes "\n" and "\\". Reading never fails on a bad
// line: the line is skipped and reported in Problems(), so one typo in a
// translation does not take every other text of the block with it.
class StringTable {
public:
    static StringTable Parse(std::string_view text, std::string_view fileName);
    // Empty when the file cannot be opened.
    static std::optional<StringTable> LoadFile(const std::string& path);

    const std::string* Find(int32_t id) const;
    std::size_t Size() const { return texts_.size(); }
    // "file:line: what is wrong", in file order.
    const std::vector<std::string>& Problems() const { return problems_; }

private:
    std::unordered_map<int32_t, std::string> texts_;
    std::vector<std::string> problems_;
};

}  // namespace kvo

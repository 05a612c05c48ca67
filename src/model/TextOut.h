#pragma once

#include <charconv>
#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>

#include "services/Convert.h"

namespace kvo {

// The writers of the text format append to one string, which is written to
// the file in one go: a line is its start (the indent and "KEY="), the value
// and CR LF.
inline void AppendLine(std::string& out, std::string_view start, std::string_view value) {
    out.append(start).append(value).append("\r\n");
}

inline void AppendLine(std::string& out, std::string_view start, int32_t value) {
    char digits[16];
    const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    AppendLine(out, start, std::string_view(digits, static_cast<std::size_t>(end - digits)));
}

inline void AppendLine(std::string& out, std::string_view start, double value) {
    AppendDouble(out.append(start), value);
    out += "\r\n";
}

// Only a bool itself: a pointer would turn into one.
template <std::same_as<bool> Bool>
void AppendLine(std::string& out, std::string_view start, Bool value) {
    AppendLine(out, start, std::string_view(value ? "True" : "False"));
}

}  // namespace kvo

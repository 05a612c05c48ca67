#pragma once

#include <cstddef>
#include <string>

#include "services/StringIds.h"

// What a picture helper writes on standard output for the editor: a tag line,
// the picture's natural size in pixels at 96 dpi, then the picture itself
// (a recorded QPicture in a coordinate space of refWidth x refHeight). On
// failure a helper writes one line on standard error, a Problem, and exits
// with a non-zero status.
namespace kvo::PictureProtocol {
inline constexpr char kRecordedTag[] = "KVO-PICTURE 1\n";

// What the editor takes from a helper, so that one picture's share of the
// editor's memory stays bounded (the drawing costs the editor about 4 KB per
// EMF record and 0.7 KB per WMF record): a file with more records is refused
// by its helper, and output past the byte limit by the editor.
inline constexpr long long kMaxEmfRecords = 100'000;
inline constexpr long long kMaxWmfRecords = 250'000;
inline constexpr long long kMaxOutputBytes = 256LL << 20;

// What is wrong with a picture, for the editor to tell in its user's language:
// the id of the string that says it (the picture's name is its %0%), and the
// figure for its %1%, if any.
inline std::string Problem(int32_t id, const std::string& figure = {}) {
    return std::to_string(id) + (figure.empty() ? "" : " " + figure);
}

inline std::string Damaged(int32_t id, std::size_t at) { return Problem(id, std::to_string(at)); }

inline std::string TooManyRecords(long long limit) { return Problem(Str::PictureTooManyRecords, std::to_string(limit)); }
}  // namespace kvo::PictureProtocol

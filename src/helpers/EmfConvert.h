#pragma once

#include <string>
#include <vector>

namespace kvo {

// Turns the bytes of an enhanced metafile into the helper's answer (see
// PictureProtocol.h) in out. Returns what is wrong with the file, or an empty
// text when it was converted.
std::string ConvertEmf(std::vector<char> bytes, std::string& out);

}  // namespace kvo

#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Icon.h"

namespace kvo {

// What the clipboard carries between editors: icons in the text format, one
// "BLOCK Icon" each, everything of them but nothing of their slide.
std::string IconsToText(const std::vector<const Icon*>& icons);
// The icons of such text. Text that does not begin with an icon block holds
// none; a damaged one raises the reader's error.
std::vector<std::unique_ptr<Icon>> IconsFromText(const std::string& text);

}  // namespace kvo

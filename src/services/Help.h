#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvo {

// Finds the help file for a language and makes it the application's help file:
// "<code><prefix>.chm", then "<code><prefix>.html", then "<code><prefix>.hlp",
// each in the editor's directory before the host's Bin directory, and each in
// the language before English. Stays empty when none exists.
void ChooseHelpFile(int32_t lcid, std::string_view prefix);

const std::string& HelpFile();

// Compiled HTML help: the file name ends in ".chm" in any letter case.
bool IsHtmlHelpFile(std::string_view path);
bool IsHtmlHelp();

}  // namespace kvo

#pragma once

#include <cstdint>
#include <string>

namespace kvo {

// Sets the language from the host's "DefaultLanguage" setting (1033 when it is
// empty or absent) and enables the string tables; returns the language id.
int32_t InitLanguage();

// The repository root that applies to an application: the common one, replaced
// by the application's own, replaced by its user's; an empty name means the
// "StartupApp" of "Common". Missing settings are empty, never errors.
std::string GetRepositoryRoot(std::string applicationName);

}  // namespace kvo

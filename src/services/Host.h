#pragma once

#include <string>

namespace kvo {

// The host measurement application's installation, as its settings record it.
// Empty when the host records none.
std::string HostInstallDirectory();
// The installation's "Bin" folder, where string tables and help files may lie.
std::string HostBinDirectory();

}  // namespace kvo

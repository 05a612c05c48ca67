#include "Host.h"

#include "Paths.h"
#include "RegEntry.h"

namespace kvo {

std::string HostInstallDirectory() {
    RegEntry entry;
    if (!entry.TestKey("Tessiva\\Settings")) return {};
    entry.OpenKey("Tessiva\\Settings");
    return entry.GetString("InstallDirectory");
}

std::string HostBinDirectory() {
    const std::string install = HostInstallDirectory();
    return install.empty() ? std::string() : AddBackslash(install) + "Bin";
}

}  // namespace kvo

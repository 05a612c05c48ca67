// The settings store's file reader. What it reads must write out and read
// back as the same tree.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "services/RegistryTree.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo;
    std::string written;
    try {
        written = RegistryTree::Parse({reinterpret_cast<const char*>(data), size}, "fuzz.reg").Serialize();
    } catch (const SettingsFileError&) {
        return 0;
    }
    fuzz::Require(RegistryTree::Parse(written, "written.reg").Serialize() == written,
                  "the settings file written does not read back as the same tree");
    return 0;
}

// The export package reader: its header and the list of entries are read into
// memory and every recorded path is checked, as an import does before it
// writes. Nothing is imported: an entry names a place outside the scratch
// folder.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "model/ExportFile.h"
#include "model/ExportPackage.h"
#include "model/FileDataCollection.h"
#include "services/Error.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    const std::string input = WriteInput("input.exp", {reinterpret_cast<const char*>(data), size});
    try {
        const kvo::PackageInfo info = kvo::ReadPackageInfo(input);
        int64_t total = info.showBytes;
        for (const auto& entry : info.files) total += entry.bytes;
        Require(total >= 0 && static_cast<std::size_t>(total) <= size, "a package lists more bytes than it holds");
    } catch (const kvo::Error&) {
    }
    try {
        kvo::ExportFile package;
        package.OpenForRead(input);
        package.SkipFile();
        kvo::FileDataCollection::CheckEntries(package);
    } catch (const kvo::Error&) {
    }
    return 0;
}

// The string table reader: anything at all is read, with a problem reported
// per bad line.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "services/StringTable.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const StringTable table = StringTable::Parse(text, "fuzz.str");
    fuzz::Require(table.Size() <= size / 2 + 1, "more texts than the table has lines");
    for (const auto& problem : table.Problems())
        fuzz::Require(problem.rfind("fuzz.str:", 0) == 0, "a problem that does not name the file and line");
    return 0;
}

// The text slide show reader. A show that loads must save, and what it saves
// must load and save to the same bytes again.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "model/BinaryStream.h"
#include "model/SlideShow.h"
#include "services/Error.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    // Binary shows are the other fuzzer's.
    if (std::string_view(reinterpret_cast<const char*>(data), size).starts_with(kvo::BinaryStream::kMagic)) return 0;
    const std::string input = WriteInput("input.pdz", {reinterpret_cast<const char*>(data), size});
    kvo::SlideShow show;
    try {
        show.LoadFromFile(input);
    } catch (const kvo::Error&) {
        return 0;
    }
    const std::string first = Scratch() + "/first.pdz", second = Scratch() + "/second.pdz";
    show.SaveToFile(first);
    kvo::SlideShow again;
    again.LoadFromFile(first);
    again.SaveToFile(second);
    Require(ReadBack(first) == ReadBack(second), "a saved show does not save to the same bytes after loading");
    return 0;
}

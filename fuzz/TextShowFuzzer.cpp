// The text slide show reader. A show that loads must save, and what it saves
// must load and save to the same bytes again.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ShowFuzzing.h"
#include "model/BinaryStream.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    if (bytes.starts_with(kvo::BinaryStream::kMagic)) return 0;  // binary shows are the other fuzzer's
    LoadAndSaveTwice(WriteInput("input.pdz", bytes), &kvo::SlideShow::SaveToFile, ".pdz");
    return 0;
}

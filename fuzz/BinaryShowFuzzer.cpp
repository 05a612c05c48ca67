// The binary slide show reader. Inputs are what follows the file's tag, so
// that every input reaches the records.
#include <cstddef>
#include <cstdint>
#include <string>

#include "ShowFuzzing.h"
#include "model/BinaryStream.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    const std::string bytes = std::string(kvo::BinaryStream::kMagic) + std::string(reinterpret_cast<const char*>(data), size);
    LoadAndSaveTwice(WriteInput("input.pdx", bytes), &kvo::SlideShow::SaveToBinary, ".pdx");
    return 0;
}

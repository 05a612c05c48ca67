// The binary slide show reader. Inputs are what follows the file's tag, so
// that every input reaches the records.
#include <cstddef>
#include <cstdint>
#include <string>

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
    const std::string input = WriteInput(
        "input.pdx", std::string(kvo::BinaryStream::kMagic) + std::string(reinterpret_cast<const char*>(data), size));
    kvo::SlideShow show;
    try {
        show.LoadFromFile(input);
    } catch (const kvo::Error&) {
        return 0;
    }
    const std::string first = Scratch() + "/first.pdx", second = Scratch() + "/second.pdx";
    show.SaveToBinary(first);
    kvo::SlideShow again;
    again.LoadFromFile(first);
    again.SaveToBinary(second);
    Require(ReadBack(first) == ReadBack(second), "a saved binary show does not save to the same bytes after loading");
    return 0;
}

// The EMF conversion as the helper runs it: the editor's header checks, then
// libemf2svg and the framing of its SVG.
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "EmfConvert.h"
#include "FuzzSupport.h"
#include "helpers/PictureProtocol.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string out;
    if (!kvo::ConvertEmf(std::vector<char>(data, data + size), out).empty()) return 0;
    kvo::fuzz::Require(out.rfind(kvo::PictureProtocol::kSvgTag, 0) == 0, "a converted metafile without its tag");
    return 0;
}

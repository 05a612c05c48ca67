// Turns an enhanced metafile into SVG with libemf2svg, framed as Windows shows it.
#include "EmfConvert.h"

#include <emf2svg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "PictureProtocol.h"

namespace {

constexpr uint32_t kHeaderRecord = 1;
constexpr uint32_t kSignature = 0x464D4520;  // " EMF"
constexpr std::size_t kMinimumHeader = 88;

int32_t Int32At(const std::vector<char>& bytes, std::size_t at) {
    uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return static_cast<int32_t>(value);
}

// From one header field to another, in doubles: the difference of two
// 32-bit fields need not fit in 32 bits.
double Span(const std::vector<char>& bytes, std::size_t from, std::size_t to) {
    return static_cast<double>(Int32At(bytes, to)) - Int32At(bytes, from);
}

// libemf2svg sizes the SVG by the picture's bounds in device units; Windows
// shows the picture's frame. The root element gets the frame as its view box.
std::string FramedSvg(std::string svg, double x, double y, double width, double height, long outWidth, long outHeight) {
    const auto root = svg.find("<svg");
    const auto close = root == std::string::npos ? std::string::npos : svg.find('>', root);
    if (close == std::string::npos) return svg;
    std::string tag = svg.substr(root, close - root);
    for (const char* attribute : {" width=\"", " height=\""}) {
        const auto at = tag.find(attribute);
        if (at == std::string::npos) continue;
        const auto end = tag.find('"', at + std::strlen(attribute));
        if (end != std::string::npos) tag.erase(at, end + 1 - at);
    }
    tag += " width=\"" + std::to_string(outWidth) + "\" height=\"" + std::to_string(outHeight) + "\" viewBox=\"" +
           std::to_string(x) + " " + std::to_string(y) + " " + std::to_string(width) + " " + std::to_string(height) +
           "\" preserveAspectRatio=\"none\"";
    return svg.replace(root, close - root, tag);
}

void WriteInt(std::string& out, int32_t value) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

}  // namespace

namespace kvo {

std::string ConvertEmf(std::vector<char> bytes, std::string& out) {
    if (bytes.size() < kMinimumHeader || static_cast<uint32_t>(Int32At(bytes, 0)) != kHeaderRecord ||
        static_cast<uint32_t>(Int32At(bytes, 40)) != kSignature)
        return "is not an enhanced metafile (no EMF header)";
    const uint32_t headerSize = static_cast<uint32_t>(Int32At(bytes, 4));
    const uint32_t declaredSize = static_cast<uint32_t>(Int32At(bytes, 48));
    if (headerSize < kMinimumHeader || headerSize > bytes.size()) return "is damaged: its header is cut off";
    if (declaredSize > bytes.size()) return "is truncated: it says it holds more bytes than it does";

    // The frame is in hundredths of a millimetre; the bounds in device pixels.
    const double frameWidth = Span(bytes, 24, 32) / 2540.0 * 96.0;
    const double frameHeight = Span(bytes, 28, 36) / 2540.0 * 96.0;
    double width = frameWidth, height = frameHeight;
    if (!(width >= 1) || !(height >= 1)) {
        width = Span(bytes, 8, 16) + 1.0;
        height = Span(bytes, 12, 20) + 1.0;
    }
    if (!(width >= 1) || !(height >= 1) || width > 100000 || height > 100000) return "has no usable size in its header";

    generatorOptions options{};
    char nameSpace[] = "";
    options.nameSpace = nameSpace;
    options.verbose = false;
    options.emfplus = true;
    options.svgDelimiter = true;
    options.imgWidth = 0;
    options.imgHeight = 0;
    char* svg = nullptr;
    std::size_t svgLength = 0;
    if (emf2svg(bytes.data(), bytes.size(), &svg, &svgLength, &options) != 1 || svg == nullptr || svgLength == 0) {
        std::free(svg);
        return "could not be converted: the metafile is damaged";
    }
    std::string text(svg, svgLength);
    std::free(svg);
    // The frame in device units, through the reference device's size in pixels and millimetres.
    const double devicePerMmX = Int32At(bytes, 80) > 0 ? static_cast<double>(Int32At(bytes, 72)) / Int32At(bytes, 80) : 0;
    const double devicePerMmY = Int32At(bytes, 84) > 0 ? static_cast<double>(Int32At(bytes, 76)) / Int32At(bytes, 84) : 0;
    const long outWidth = std::lround(width), outHeight = std::lround(height);
    if (frameWidth >= 1 && frameHeight >= 1 && devicePerMmX > 0 && devicePerMmY > 0)
        text = FramedSvg(std::move(text), Int32At(bytes, 24) / 100.0 * devicePerMmX, Int32At(bytes, 28) / 100.0 * devicePerMmY,
                         Span(bytes, 24, 32) / 100.0 * devicePerMmX,
                         Span(bytes, 28, 36) / 100.0 * devicePerMmY, outWidth, outHeight);
    out = kvo::PictureProtocol::kSvgTag;
    WriteInt(out, static_cast<int32_t>(outWidth));
    WriteInt(out, static_cast<int32_t>(outHeight));
    out += text;
    return {};
}

}  // namespace kvo

// Turns an enhanced metafile into a picture for the editor: files that begin
// with EMF+ records through our own player, the others into SVG with
// libemf2svg, framed as Windows shows them.
#include "EmfConvert.h"

#include <QtGui/QPicture>

#include <emf2svg.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "EmfPlayer.h"
#include "EmfPlusPlayer.h"
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

// libemf2svg trusts every length it finds in a record; the checks that
// libUEMF has for them are run here first. libUEMF ships no header for them.
extern "C" int U_emf_record_safe(const char* record);

constexpr uint32_t kEndOfFile = 14;
constexpr uint32_t kLastKnownType = 122;

constexpr uint32_t kTextOutA = 83, kTextOutW = 84;
constexpr uint32_t kSpacingBothWays = 0x2000;  // ETO_PDY: two spacings per character

// libUEMF refuses a text record without spacings (offDx 0), which writers
// produce and libemf2svg reads without harm: text records are checked here.
bool TextFits(const std::vector<char>& bytes, std::size_t at, uint32_t size, bool wide) {
    if (size < 76) return false;
    const auto count = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, at + 44)));
    const auto textAt = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, at + 48)));
    const auto options = static_cast<uint32_t>(Int32At(bytes, at + 52));
    const auto spacingAt = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, at + 72)));
    if (textAt + count * (wide ? 2 : 1) > size) return false;
    const uint64_t spacing = count * 4 * ((options & kSpacingBothWays) != 0 ? 2 : 1);
    return spacingAt == 0 || spacingAt + spacing <= size;
}

constexpr uint32_t kSmallTextOut = 108;
constexpr uint32_t kNoRectangle = 0x100, kSmallCharacters = 0x200;

// libUEMF miscounts this one too: 8-bit characters, and no rectangle, are options.
bool SmallTextFits(const std::vector<char>& bytes, std::size_t at, uint32_t size) {
    if (size < 36) return false;
    const auto count = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, at + 16)));
    const auto options = static_cast<uint32_t>(Int32At(bytes, at + 20));
    const uint64_t needed = 36 + ((options & kNoRectangle) != 0 ? 0 : 16) + count * ((options & kSmallCharacters) != 0 ? 1 : 2);
    return needed <= size;
}

std::string Damaged(const std::string& what, std::size_t at) { return "is damaged: " + what + " at byte " + std::to_string(at); }

// libUEMF warns on standard error about record types it cannot check; that
// channel carries the helper's one line for the editor.
class QuietStandardError {
public:
    QuietStandardError() : saved_(dup(STDERR_FILENO)) {
        const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null >= 0) {
            dup2(null, STDERR_FILENO);
            close(null);
        }
    }
    ~QuietStandardError() {
        if (saved_ < 0) return;
        dup2(saved_, STDERR_FILENO);
        close(saved_);
    }
    QuietStandardError(const QuietStandardError&) = delete;
    QuietStandardError& operator=(const QuietStandardError&) = delete;

private:
    int saved_;
};

std::string CheckRecords(const std::vector<char>& bytes, uint32_t headerSize) {
    const QuietStandardError quiet;
    const auto descriptionLength = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, 60)));
    const auto descriptionAt = static_cast<uint64_t>(static_cast<uint32_t>(Int32At(bytes, 64)));
    // libemf2svg reads from the offset even when the length is nought.
    if ((descriptionLength > 0 || descriptionAt > 0) && descriptionAt + descriptionLength * 2 > headerSize)
        return "is damaged: the description in its header runs past the header";
    long long records = 0;
    for (std::size_t at = 0; at < bytes.size();) {
        if (bytes.size() - at < 8) return Damaged("a record is cut off", at);
        const auto type = static_cast<uint32_t>(Int32At(bytes, at));
        const auto size = static_cast<uint32_t>(Int32At(bytes, at + 4));
        if (size < 8 || size % 4 != 0 || size > bytes.size() - at) return Damaged("a record with an impossible length", at);
        // libemf2svg looks a record's type up in its tables without a bound.
        if (type < 1 || type > kLastKnownType) return Damaged("a record of no known type", at);
        const bool safe = type == kTextOutA || type == kTextOutW ? TextFits(bytes, at, size, type == kTextOutW)
                          : type == kSmallTextOut                ? SmallTextFits(bytes, at, size)
                                                                 : U_emf_record_safe(bytes.data() + at) != 0;
        if (!safe) return Damaged("a record whose contents run past its end", at);
        if (type == kEndOfFile) break;
        if (++records > kvo::PictureProtocol::kMaxEmfRecords) return kvo::PictureProtocol::TooManyRecords(kvo::PictureProtocol::kMaxEmfRecords);
        at += size;
    }
    return {};
}

// Everything is recorded with the longer side this long, as for WMF.
constexpr double kRecordedSide = 2048;

// The frame in the reference device's pixels.
QRectF DeviceFrame(const std::vector<char>& bytes) {
    const auto perHundredth = [&](bool vertical) {
        const int32_t pixels = Int32At(bytes, vertical ? 76 : 72), millimetres = Int32At(bytes, vertical ? 84 : 80);
        return millimetres > 0 && pixels > 0 ? pixels / (millimetres * 100.0) : 96 / 2540.0;
    };
    const double x = perHundredth(false), y = perHundredth(true);
    const QRectF frame(Int32At(bytes, 24) * x, Int32At(bytes, 28) * y, Span(bytes, 24, 32) * x, Span(bytes, 28, 36) * y);
    if (frame.width() >= 1 && frame.height() >= 1) return frame;
    return {static_cast<double>(Int32At(bytes, 8)), static_cast<double>(Int32At(bytes, 12)), Span(bytes, 8, 16) + 1.0,
            Span(bytes, 12, 20) + 1.0};
}

using Play = std::string (*)(const std::vector<char>&, std::size_t, const QRectF&, double, int, int, QPicture&);

std::string Record(Play play, const std::vector<char>& bytes, std::size_t headerSize, long width, long height, std::string& out) {
    const double scale = kRecordedSide / static_cast<double>(std::max(width, height));
    const int recordedWidth = std::max(1, static_cast<int>(std::lround(width * scale)));
    const int recordedHeight = std::max(1, static_cast<int>(std::lround(height * scale)));
    QPicture picture;
    if (std::string error = play(bytes, headerSize, DeviceFrame(bytes), static_cast<double>(width), recordedWidth, recordedHeight, picture);
        !error.empty())
        return error;
    out = kvo::PictureProtocol::kRecordedTag;
    for (int32_t v : {static_cast<int32_t>(width), static_cast<int32_t>(height), recordedWidth, recordedHeight}) WriteInt(out, v);
    out.append(picture.data(), picture.size());
    return {};
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
    if (const std::string damage = CheckRecords(bytes, headerSize); !damage.empty()) return damage;

    // The frame is in hundredths of a millimetre; the bounds in device pixels.
    const double frameWidth = Span(bytes, 24, 32) / 2540.0 * 96.0;
    const double frameHeight = Span(bytes, 28, 36) / 2540.0 * 96.0;
    double width = frameWidth, height = frameHeight;
    if (!(width >= 1) || !(height >= 1)) {
        width = Span(bytes, 8, 16) + 1.0;
        height = Span(bytes, 12, 20) + 1.0;
    }
    if (!(width >= 1) || !(height >= 1) || width > 100000 || height > 100000) return "has no usable size in its header";
    // A dual file has all its drawing in old-style records as well: libemf2svg
    // draws those where the EMF+ stream hands drawing over to them, or holds
    // metafiles as pictures, which our player does not draw.
    if (const EmfPlusSurvey survey = SurveyEmfPlus(bytes, headerSize);
        survey.emfPlus && !(survey.dual && (survey.gdiDrawing || survey.metafileImages)))
        return Record(kvo::PlayEmfPlus, bytes, headerSize, std::lround(width), std::lround(height), out);

    return Record(kvo::PlayEmf, bytes, headerSize, std::lround(width), std::lround(height), out);
}

}  // namespace kvo

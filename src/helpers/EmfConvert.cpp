// Turns an enhanced metafile into a picture for the editor: its EMF+ records
// or its old-style ones played by our own players, framed as Windows shows it.
#include "EmfConvert.h"

#include <QtGui/QPicture>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include "EmfPlayer.h"
#include "EmfPlusPlayer.h"
#include "MetafileCursor.h"
#include "PictureProtocol.h"

namespace {

constexpr uint32_t kHeaderRecord = 1;
constexpr uint32_t kSignature = 0x464D4520;  // " EMF"
constexpr std::size_t kMinimumHeader = 88;

int32_t Int32At(const std::vector<char>& bytes, std::size_t at) { return static_cast<int32_t>(kvo::U32At(bytes, at)); }

// From one header field to another, in doubles: the difference of two
// 32-bit fields need not fit in 32 bits.
double Span(const std::vector<char>& bytes, std::size_t from, std::size_t to) {
    return static_cast<double>(Int32At(bytes, to)) - Int32At(bytes, from);
}

void WriteInt(std::string& out, int32_t value) {
    for (int i = 0; i < 4; ++i) out.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
}

constexpr uint32_t kEndOfFile = 14;

// Every record's length, before either player reads one.
std::string CheckRecords(const std::vector<char>& bytes, uint32_t headerSize) {
    long long records = 0;
    for (std::size_t at = headerSize; at < bytes.size();) {
        if (bytes.size() - at < 8) return kvo::PictureProtocol::Damaged(kvo::Str::PictureRecordCutOff, at);
        const auto type = static_cast<uint32_t>(Int32At(bytes, at));
        const auto size = static_cast<uint32_t>(Int32At(bytes, at + 4));
        if (size < 8 || size % 4 != 0 || size > bytes.size() - at) return kvo::PictureProtocol::Damaged(kvo::Str::PictureRecordLength, at);
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
        return PictureProtocol::Problem(Str::PictureNotEmf);
    const uint32_t headerSize = static_cast<uint32_t>(Int32At(bytes, 4));
    const uint32_t declaredSize = static_cast<uint32_t>(Int32At(bytes, 48));
    if (headerSize < kMinimumHeader || headerSize > bytes.size()) return PictureProtocol::Problem(Str::PictureHeaderCutOff);
    if (declaredSize > bytes.size()) return PictureProtocol::Problem(Str::PictureSaysMore);
    if (const std::string damage = CheckRecords(bytes, headerSize); !damage.empty()) return damage;

    // The frame is in hundredths of a millimetre; the bounds in device pixels.
    const double frameWidth = Span(bytes, 24, 32) / 2540.0 * 96.0;
    const double frameHeight = Span(bytes, 28, 36) / 2540.0 * 96.0;
    double width = frameWidth, height = frameHeight;
    if (!(width >= 1) || !(height >= 1)) {
        width = Span(bytes, 8, 16) + 1.0;
        height = Span(bytes, 12, 20) + 1.0;
    }
    if (!(width >= 1) || !(height >= 1) || width > 100000 || height > 100000) return PictureProtocol::Problem(Str::PictureNoUsableSize);
    // A dual file has all its drawing in old-style records as well: they are
    // played alone where the EMF+ stream holds metafiles as pictures, which
    // the EMF+ player does not draw.
    const EmfPlusSurvey survey = SurveyEmfPlus(bytes, headerSize);
    const bool emfPlus = survey.emfPlus && !(survey.dual && survey.metafileImages);
    return Record(emfPlus ? kvo::PlayEmfPlus : kvo::PlayEmf, bytes, headerSize, std::lround(width), std::lround(height), out);
}

}  // namespace kvo

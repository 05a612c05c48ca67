#include "Picture.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtGui/QImageReader>

#include <filesystem>
#include <fstream>
#include <string_view>

#include "DecodedMetafile.h"
#include "PictureCache.h"
#include "PictureHelper.h"
#include "helpers/PictureProtocol.h"
#include "services/Error.h"
#include "services/Paths.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

void RequireFile(const std::string& fileName, const char* source) {
    if (!FileExists(fileName)) throw Error(ErrorNumber::FileNotFound, source, "File not found: \"" + fileName + "\"");
}

int32_t IntAt(const QByteArray& bytes, qsizetype at) {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) value |= static_cast<uint32_t>(static_cast<unsigned char>(bytes[at + i])) << (8 * i);
    return static_cast<int32_t>(value);
}

enum class MetafileFormat { Unknown, Wmf, Emf };

MetafileFormat Sniff(const QByteArray& head) {
    const auto got = head.size();
    const auto byte = [&](int i) { return static_cast<unsigned char>(head[i]); };
    if (got >= 44 && byte(0) == 1 && byte(1) == 0 && byte(2) == 0 && byte(3) == 0 && std::string_view(head.constData() + 40, 4) == " EMF")
        return MetafileFormat::Emf;
    if (got >= 4 && byte(0) == 0xD7 && byte(1) == 0xCD && byte(2) == 0xC6 && byte(3) == 0x9A) return MetafileFormat::Wmf;
    if (got >= 4 && (byte(0) == 1 || byte(0) == 2) && byte(1) == 0 && byte(2) == 9 && byte(3) == 0) return MetafileFormat::Wmf;
    return MetafileFormat::Unknown;
}

}  // namespace

namespace {

// The helper is given the bytes when they are held, else the file's name.
std::shared_ptr<DecodedMetafile> Decode(const std::string& fileName, const QByteArray& head, const QByteArray* whole,
                                        const std::atomic<bool>* stop) {
    const MetafileFormat format = Sniff(head);
    if (format == MetafileFormat::Unknown) PictureFailed(fileName, Str::PictureNotMetafile);
    const bool wmf = format == MetafileFormat::Wmf;
    const QByteArray out = RunPictureHelper(wmf ? "kvo-wmf-helper" : "kvo-emf-helper", fileName, stop, whole);
    const QByteArray tag(PictureProtocol::kRecordedTag);
    const qsizetype header = tag.size() + 16;
    if (!out.startsWith(tag) || out.size() < header) PictureFailed(fileName, Str::PictureReaderNonsense);
    auto decoded = std::make_shared<DecodedMetafile>();
    decoded->naturalSize = QSize(IntAt(out, tag.size()), IntAt(out, tag.size() + 4));
    if (decoded->naturalSize.isEmpty()) PictureFailed(fileName, Str::PictureHasNoSize);
    decoded->recordedSize = QSize(IntAt(out, tag.size() + 8), IntAt(out, tag.size() + 12));
    const QByteArray data = out.mid(header);
    decoded->recording.setData(data.constData(), static_cast<uint>(data.size()));
    decoded->bytes = static_cast<std::size_t>(data.size());
    if (decoded->recording.size() == 0 || decoded->recordedSize.isEmpty())
        PictureFailed(fileName, Str::PictureReaderNonsense);
    return decoded;
}

}  // namespace

std::shared_ptr<DecodedMetafile> DecodeMetafile(const std::string& fileName, const std::atomic<bool>* stop) {
    RequireFile(fileName, "Metafile.LoadFile");
    QFile file(QString::fromLocal8Bit(fileName.c_str()));
    // The helper reads the file itself: a huge one costs its memory, not ours.
    const QByteArray head = file.open(QIODevice::ReadOnly) ? file.read(44) : QByteArray();
    return Decode(fileName, head, nullptr, stop);
}

std::shared_ptr<DecodedMetafile> DecodeMetafileData(const std::string& name, const QByteArray& bytes) {
    auto decoded = Decode(name, bytes, &bytes, nullptr);
    decoded->key = "(in memory) " + name;  // never the key of a file on disk
    return decoded;
}

QSize DeviceSize(const QTransform& transform, const QRect& target) {
    return transform.mapRect(QRectF(target)).toAlignedRect().size().boundedTo(QSize(8192, 8192));
}

void DecodedMetafile::Draw(QPainter& painter, const QRectF& target) const {
    painter.save();
    painter.setClipRect(target, Qt::IntersectClip);
    painter.translate(target.topLeft());
    painter.scale(target.width() / recordedSize.width(), target.height() / recordedSize.height());
    painter.drawPicture(0, 0, recording);
    painter.restore();
}

PictureKind PictureKindForName(const std::string& fileName) {
    const std::string upper = ToUpper(fileName);
    // The extension may stand anywhere from the second character on, and the
    // kinds are tried in this order.
    const auto has = [&](const char* extension) {
        const auto at = upper.find(extension);
        return at != std::string::npos && at >= 1;
    };
    if (has(".WMF") || has(".EMF")) return PictureKind::Metafile;
    if (has(".BMP")) return PictureKind::Bitmap;
    return PictureKind::None;
}

void Metafile::LoadFile(const std::string& fileName) {
    RequireFile(fileName, "Metafile.LoadFile");
    decoded_ = PictureCache::Shared().Decoded(fileName, [&] { return DecodeMetafile(fileName); });
}

int Metafile::Width() const { return decoded_ ? decoded_->naturalSize.width() : 0; }
int Metafile::Height() const { return decoded_ ? decoded_->naturalSize.height() : 0; }

Metafile::Held Metafile::DrawHeld(QPainter& painter, const QRect& target) const {
    if (!decoded_ || target.isEmpty()) return Held::AtSize;
    const QImage raster = PictureCache::Shared().HeldRaster(decoded_);
    if (raster.isNull()) return Held::None;
    painter.drawImage(target, raster);
    return raster.size() == DeviceSize(painter.transform(), target) ? Held::AtSize : Held::OtherSize;
}

// Qt draws what a cut-off BMP still holds and calls it a success; the header
// says how long the file must be.
bool IsTruncatedBmp(const QByteArray& file) {
    if (file.size() < 54 || file[0] != 'B' || file[1] != 'M') return false;
    const int64_t size = file.size();
    const int64_t declared = static_cast<uint32_t>(IntAt(file, 2));
    if (declared > size) return true;
    const int64_t offset = static_cast<uint32_t>(IntAt(file, 10));
    const int64_t width = IntAt(file, 18), height = std::abs(static_cast<int64_t>(IntAt(file, 22)));
    const int bits = static_cast<unsigned char>(file[28]) | (static_cast<unsigned char>(file[29]) << 8);
    const int compression = IntAt(file, 30);
    if (compression != 0 || width <= 0 || bits <= 0) return false;  // compressed sizes are not known in advance
    const int64_t rowBytes = (width * bits + 31) / 32 * 4;
    const int64_t available = size - offset;
    if (available < 0) return true;
    // rowBytes * height > available, without the product (it may not fit).
    return height > 0 && rowBytes > available / height;
}

// Qt draws run-length data that runs past the image as far as it fits; such a
// file is damaged, and is reported. Returns the string that says what is
// wrong, or 0.
int32_t CheckRunLengths(const QByteArray& file) {
    if (file.size() < 54) return {};
    const int compression = IntAt(file, 30);
    if (compression != 1 && compression != 2) return {};
    const bool rle4 = compression == 2;
    const int64_t width = IntAt(file, 18), height = std::abs(static_cast<int64_t>(IntAt(file, 22)));
    qsizetype at = static_cast<uint32_t>(IntAt(file, 10));
    int64_t x = 0, y = 0;
    const auto byte = [&](qsizetype i) { return static_cast<unsigned char>(file[i]); };
    while (at + 1 < file.size()) {
        const int count = byte(at), value = byte(at + 1);
        at += 2;
        if (count > 0) {
            x += count;
        } else if (value == 0) {
            x = 0;
            ++y;
        } else if (value == 1) {
            return {};
        } else if (value == 2) {
            if (at + 1 >= file.size()) break;
            x += byte(at);
            y += byte(at + 1);
            at += 2;
        } else {
            const qsizetype bytes = rle4 ? (value + 1) / 2 : value;
            at += (bytes + 1) / 2 * 2;
            x += value;
        }
        if (x > width || y > height || (y == height && x > 0)) return Str::PictureRunPastImage;
    }
    return Str::PictureRunEndsEarly;
}

void Bitmap::LoadFile(const std::string& fileName) {
    RequireFile(fileName, "Bitmap.LoadFile");
    QFile file(QString::fromLocal8Bit(fileName.c_str()));
    if (!file.open(QIODevice::ReadOnly)) PictureFailed(fileName, Str::PictureNotOpened, file.errorString().toStdString(), "Bitmap.LoadFile");
    LoadData(fileName, file.readAll());
}

void Bitmap::LoadData(const std::string& name, QByteArray bytes) {
    if (IsTruncatedBmp(bytes)) PictureFailed(name, Str::PictureTruncated, {}, "Bitmap.LoadFile");
    if (const int32_t problem = CheckRunLengths(bytes); problem != 0) PictureFailed(name, problem, {}, "Bitmap.LoadFile");
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, "BMP");
    reader.setAutoTransform(false);
    QImage image = reader.read();
    if (image.isNull()) PictureFailed(name, Str::PictureNotBmp, reader.errorString().toStdString(), "Bitmap.LoadFile");
    image_ = std::move(image);
}

void Bitmap::Draw(QPainter& painter, int x, int y) const {
    if (!image_.isNull()) painter.drawImage(QPoint(x, y), image_);
}

}  // namespace kvo

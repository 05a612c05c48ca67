#pragma once

#include <QtCore/QRectF>
#include <QtCore/QString>
#include <QtGui/QPainter>

#include <atomic>
#include <memory>
#include <string>

namespace kvo {

// A background picture as the slide view uses it: loaded from a file, drawn at
// a place and, for a metafile, a size; its natural size in pixels.
class Picture {
public:
    virtual ~Picture() = default;
    // Raises error 53 for a missing file and 481 for one that cannot be read,
    // naming the file and what is wrong.
    virtual void LoadFile(const std::string& fileName) = 0;
    virtual int Width() const = 0;
    virtual int Height() const = 0;
};

struct DecodedMetafile;

// Decodes a WMF or EMF file in its helper; raises as Metafile::LoadFile does.
// The helper is ended, and the picture given up, when stop turns true.
std::shared_ptr<DecodedMetafile> DecodeMetafile(const std::string& fileName, const std::atomic<bool>* stop = nullptr);
// The same for a file's bytes held in memory (a picture inside a package); name
// stands for the file in errors.
std::shared_ptr<DecodedMetafile> DecodeMetafileData(const std::string& name, const QByteArray& bytes);

// The size in device pixels of a picture drawn in this rectangle.
QSize DeviceSize(const QTransform& transform, const QRect& target);

// WMF and EMF pictures, decoded in a helper process and drawn at any size.
class Metafile final : public Picture {
public:
    Metafile() = default;
    // One decoded already, in the background.
    explicit Metafile(std::shared_ptr<const DecodedMetafile> decoded) : decoded_(std::move(decoded)) {}
    void LoadFile(const std::string& fileName) override;
    int Width() const override;
    int Height() const override;
    // Draws the raster held, scaled when it was drawn at another size, and
    // tells which it drew. Never draws the picture itself, so it is quick
    // whatever the picture.
    enum class Held { AtSize, OtherSize, None };
    Held DrawHeld(QPainter& painter, const QRect& target) const;
    const std::shared_ptr<const DecodedMetafile>& Decoded() const { return decoded_; }

private:
    std::shared_ptr<const DecodedMetafile> decoded_;
};

// BMP pictures, drawn at their natural size.
class Bitmap final : public Picture {
public:
    void LoadFile(const std::string& fileName) override;
    // A file's bytes held in memory; name stands for the file in errors.
    void LoadData(const std::string& name, QByteArray bytes);
    int Width() const override { return image_.width(); }
    int Height() const override { return image_.height(); }
    void Draw(QPainter& painter, int x, int y) const;

private:
    QImage image_;
};

// Which kind of picture a file name asks for: ".WMF", then ".EMF", then ".BMP",
// found anywhere from the second character on, in any letter case.
enum class PictureKind { None, Metafile, Bitmap };
PictureKind PictureKindForName(const std::string& fileName);

}  // namespace kvo

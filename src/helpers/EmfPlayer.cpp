// Plays the old-style records of an enhanced metafile onto a QPainter
// recording into a QPicture, with GDI's device context as its state.
#include "EmfPlayer.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QImage>
#include <QtGui/QLinearGradient>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QRawFont>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "MetafileDrawing.h"
#include "MetafileCursor.h"
#include "PictureProtocol.h"

namespace kvo {

namespace {

enum Record : uint32_t {
    kPolyBezier = 2, kPolygon = 3, kPolyline = 4, kPolyBezierTo = 5, kPolylineTo = 6, kPolyPolyline = 7,
    kPolyPolygon = 8, kSetWindowExt = 9, kSetWindowOrg = 10, kSetViewportExt = 11, kSetViewportOrg = 12,
    kEndOfFile = 14, kSetPixel = 15, kSetMapMode = 17, kSetBkMode = 18, kSetPolyFillMode = 19,
    kSetTextAlign = 22, kSetTextColour = 24, kSetBkColour = 25, kOffsetClip = 26, kMoveTo = 27,
    kExcludeClipRect = 29, kIntersectClipRect = 30, kScaleViewportExt = 31, kScaleWindowExt = 32, kSaveDC = 33,
    kRestoreDC = 34, kSetWorldTransform = 35, kModifyWorldTransform = 36, kSelectObject = 37, kCreatePen = 38,
    kCreateBrush = 39, kDeleteObject = 40, kAngleArc = 41, kEllipse = 42, kRectangle = 43, kRoundRect = 44, kArc = 45,
    kChord = 46, kPie = 47, kCreatePalette = 49, kLineTo = 54, kArcTo = 55, kPolyDraw = 56, kSetArcDirection = 57,
    kSetMiterLimit = 58, kBeginPath = 59, kEndPath = 60, kCloseFigure = 61, kFillPath = 62, kStrokeAndFillPath = 63,
    kStrokePath = 64, kFlattenPath = 65, kWidenPath = 66, kSelectClipPath = 67, kAbortPath = 68, kFillRegion = 71,
    kFrameRegion = 72, kInvertRegion = 73, kPaintRegion = 74, kSelectClipRegion = 75, kBitBlt = 76, kStretchBlt = 77,
    kMaskBlt = 78, kPlgBlt = 79, kSetDIBitsToDevice = 80, kStretchDIBits = 81, kCreateFont = 82, kTextOutA = 83,
    kTextOutW = 84, kPolyBezier16 = 85, kPolygon16 = 86, kPolyline16 = 87, kPolyBezierTo16 = 88, kPolylineTo16 = 89,
    kPolyPolyline16 = 90, kPolyPolygon16 = 91, kPolyDraw16 = 92, kCreateMonoBrush = 93, kCreateDibBrush = 94,
    kExtCreatePen = 95, kPolyTextOutA = 96, kPolyTextOutW = 97, kSmallTextOut = 108, kAlphaBlend = 114,
    kTransparentBlt = 116, kGradientFill = 118,
};

constexpr std::size_t kMostObjects = 65536;
constexpr int kLargestImageSide = 16384;
constexpr long long kLargestImagePixels = 64LL << 20;
constexpr std::size_t kDeepestStack = 4096;
constexpr double kShapedPixels = 128;  // text is shaped at this size and scaled

QColor ColourRef(uint32_t v) { return {static_cast<int>(v & 0xFF), static_cast<int>(v >> 8 & 0xFF), static_cast<int>(v >> 16 & 0xFF)}; }

struct Pen {
    QPen pen{Qt::black, 0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin};
    double width = 0;  // logical units; 0 is one pixel wherever shown
    bool none = false;
};

struct Brush {
    QBrush brush{Qt::white};
    bool hatch = false;
    bool mono = false;  // a two-colour pattern drawn in the text and background colours
    bool none = false;
};

struct Font {
    QFont font;
    double height = 0, width = 0;
    double escapement = 0;  // degrees, counter-clockwise
};

struct Other {};

using Object = std::variant<std::monostate, Pen, Brush, Font, Other>;

std::optional<Object> StockObject(uint32_t index) {
    const auto brush = [](const QColor& c) { return Brush{QBrush(c), false, false, false}; };
    const auto pen = [](const QColor& c) { return Pen{QPen(c, 0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin), 0, false}; };
    switch (index) {
        case 0: return brush(Qt::white);
        case 1: return brush(QColor(192, 192, 192));
        case 2: return brush(QColor(128, 128, 128));
        case 3: return brush(QColor(64, 64, 64));
        case 4: return brush(Qt::black);
        case 5: return Brush{Qt::NoBrush, false, false, true};
        case 6: return pen(Qt::white);
        case 7: return pen(Qt::black);
        case 8: return Pen{QPen(Qt::NoPen), 0, true};
        case 10: case 11: case 16: {
            Font f{QFont(QStringLiteral("Monospace")), 16, 0, 0};
            f.font.setStyleHint(QFont::TypeWriter);
            return f;
        }
        case 12: case 13: case 14: case 17: return Font{QFont(QStringLiteral("Sans Serif")), 16, 0, 0};
        case 18: return brush(Qt::white);
        case 19: return pen(Qt::black);
        default: return std::nullopt;
    }
}

// The first fields of a bitmap's header, with its size checked against the limits.
struct DibHeader {
    int32_t width = 0, height = 0;
    uint16_t depth = 0;
    uint32_t compression = 0;
    std::size_t Rows() const { return static_cast<std::size_t>(std::abs(height)); }
    // Bytes in a row, padded to whole 32-bit words.
    std::size_t Stride() const { return (static_cast<std::size_t>(width) * depth + 31) / 32 * 4; }
    // Rows are stored from the bottom up unless the height is negative.
    int Row(std::size_t stored) const { return static_cast<int>(height > 0 ? Rows() - 1 - stored : stored); }
};

std::optional<DibHeader> ReadDibHeader(const Cursor& record, uint32_t headerAt, uint32_t headerSize) {
    if (headerSize < 40) return std::nullopt;
    Cursor c = record.Part(headerAt, headerSize);
    c.U32();
    DibHeader h;
    h.width = c.I32();
    h.height = c.I32();
    c.U16();
    h.depth = c.U16();
    h.compression = c.U32();
    if (h.width <= 0 || h.height == 0 || h.height == INT32_MIN || h.width > kLargestImageSide ||
        std::abs(h.height) > kLargestImageSide || static_cast<long long>(h.width) * std::abs(h.height) > kLargestImagePixels)
        return std::nullopt;
    return h;
}

// A device-independent bitmap from the two parts a record points at. The
// colours of a 32-bit bitmap keep their alpha for blends that ask for it.
// Uncompressed pixels fewer than its header says are a record that lies.
QImage ReadDib(const Cursor& record, uint32_t headerAt, uint32_t headerSize, uint32_t bitsAt, uint32_t bitsSize) {
    const std::optional<DibHeader> h = ReadDibHeader(record, headerAt, headerSize);
    const Cursor bits = record.Part(bitsAt, bitsSize);
    if (!h) return {};
    if ((h->compression == 0 || h->compression == 3) && h->depth <= 32 && h->Stride() * h->Rows() > bits.Size()) throw Short{};
    if (h->compression == 4 || h->compression == 5)  // JPEG or PNG inside
        return QImage::fromData(QByteArray(bits.Here(), static_cast<qsizetype>(bits.Size())));
    if (h->depth == 32 && h->compression == 0) {
        const std::size_t row = h->Stride();
        QImage image(h->width, static_cast<int>(h->Rows()), QImage::Format_ARGB32);
        for (std::size_t y = 0; y < h->Rows(); ++y) std::memcpy(image.scanLine(h->Row(y)), bits.Here() + y * row, row);
        return image;
    }
    // Qt reads every other kind as the bitmap file it would be.
    QByteArray file("BM");
    const auto put = [&file](uint32_t v) {
        for (int i = 0; i < 4; ++i) file.push_back(static_cast<char>(v >> (8 * i) & 0xFF));
    };
    put(static_cast<uint32_t>(14 + headerSize + bitsSize));
    put(0);
    put(14 + headerSize);
    file.append(record.Part(headerAt, headerSize).Here(), static_cast<qsizetype>(headerSize));
    file.append(bits.Here(), static_cast<qsizetype>(bitsSize));
    QImage image = QImage::fromData(file, "BMP");
    return image.format() == QImage::Format_ARGB32 ? image.convertToFormat(QImage::Format_RGB32) : image;
}

// A monochrome bitmap's bits as they are, whatever colours its palette names.
QImage ReadMask(const Cursor& record, uint32_t headerAt, uint32_t headerSize, uint32_t bitsAt, uint32_t bitsSize) {
    const std::optional<DibHeader> h = ReadDibHeader(record, headerAt, headerSize);
    const Cursor bits = record.Part(bitsAt, bitsSize);
    if (!h || h->depth != 1) return {};
    const std::size_t stride = h->Stride();
    if (h->Rows() * stride > bits.Size()) throw Short{};
    QImage mask(h->width, static_cast<int>(h->Rows()), QImage::Format_Mono);
    for (std::size_t y = 0; y < h->Rows(); ++y)
        std::memcpy(mask.scanLine(h->Row(y)), bits.Here() + y * stride,
                    std::min<std::size_t>(stride, static_cast<std::size_t>(mask.bytesPerLine())));
    return mask;
}

// Alpha from a 32-bit bitmap whose colours are multiplied by it already.
QImage Premultiplied(const QImage& image) {
    if (image.format() != QImage::Format_ARGB32) return image;
    QImage out(image.size(), QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < image.height(); ++y) {
        const auto* in = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        auto* to = reinterpret_cast<QRgb*>(out.scanLine(y));
        for (int x = 0; x < image.width(); ++x) {
            const int a = qAlpha(in[x]);
            to[x] = qRgba(std::min(qRed(in[x]), a), std::min(qGreen(in[x]), a), std::min(qBlue(in[x]), a), a);
        }
    }
    return out;
}

QImage Opaque(const QImage& image) {
    return image.format() == QImage::Format_ARGB32 ? image.convertToFormat(QImage::Format_RGB32) : image;
}

struct State {
    uint32_t mapMode = 1;
    QPointF windowOrg, viewportOrg;
    QSizeF windowExt{1, 1}, viewportExt{1, 1};
    QTransform world;
    Pen pen = std::get<Pen>(*StockObject(7));
    Brush brush = std::get<Brush>(*StockObject(0));
    Font font = std::get<Font>(*StockObject(13));
    QColor text = Qt::black, background = Qt::white;
    bool opaque = true;
    uint32_t textAlign = 0;
    Qt::FillRule fill = Qt::OddEvenFill;
    bool clockwise = false;
    QPointF position;
    std::optional<QPainterPath> clip;  // in recorded pixels; none: the whole picture
};

}  // namespace

class GdiPlayer {
public:
    GdiPlayer(QPainter& painter, const QRectF& frame, double pixel, int recordedWidth, int recordedHeight, QSizeF devicePerMm)
        : painter_(painter),
          device_(QTransform::fromTranslate(-frame.x(), -frame.y()) *
                  QTransform::fromScale(recordedWidth / frame.width(), recordedHeight / frame.height())),
          everywhere_(0, 0, recordedWidth, recordedHeight),
          pixel_(pixel),
          devicePerMm_(devicePerMm) {
        ApplyClip();
    }

    // Sets the painter's clip to this player's, after another has drawn.
    void Resume() { ApplyClip(); }

    // Plays one record, read from its start; throws Short where it lies.
    void Play(uint32_t type, Cursor record) {
        Cursor c = record;
        c.Skip(8);
        switch (type) {
            case kPolyBezier: case kPolyBezier16: Poly(c, type == kPolyBezier16, Figure::Bezier); break;
            case kPolygon: case kPolygon16: Poly(c, type == kPolygon16, Figure::Polygon); break;
            case kPolyline: case kPolyline16: Poly(c, type == kPolyline16, Figure::Polyline); break;
            case kPolyBezierTo: case kPolyBezierTo16: Poly(c, type == kPolyBezierTo16, Figure::BezierTo); break;
            case kPolylineTo: case kPolylineTo16: Poly(c, type == kPolylineTo16, Figure::PolylineTo); break;
            case kPolyPolyline: case kPolyPolyline16: case kPolyPolygon: case kPolyPolygon16: {
                c.Skip(16);
                const uint32_t polygons = c.Count(4);
                const uint32_t total = c.U32();
                std::vector<uint32_t> counts(polygons);
                for (uint32_t& n : counts) n = c.U32();
                const bool small = type == kPolyPolyline16 || type == kPolyPolygon16;
                const std::vector<QPointF> points = Points(c, total, small);
                const bool closed = type == kPolyPolygon || type == kPolyPolygon16;
                QPainterPath path;
                std::size_t at = 0;
                for (const uint32_t n : counts) {
                    if (n > points.size() - at) throw Short{};
                    path.addPolygon(QPolygonF(QList<QPointF>(points.begin() + static_cast<long>(at), points.begin() + static_cast<long>(at + n))));
                    if (closed) path.closeSubpath();
                    at += n;
                }
                Draw(path, closed, true);
                break;
            }
            case kPolyDraw: case kPolyDraw16: {
                c.Skip(16);
                const uint32_t count = c.Count(type == kPolyDraw16 ? 5 : 9);
                const std::vector<QPointF> points = Points(c, count, type == kPolyDraw16);
                for (uint32_t i = 0; i < count; ++i) {
                    const uint8_t kind = c.U8();
                    if ((kind & 0x06) == 0x06) {
                        MoveTo(points[i]);
                    } else if ((kind & 0x04) != 0 && i + 2 < count) {
                        BezierTo({points[i], points[i + 1], points[i + 2]});
                        i += 2;
                    } else {
                        LineTo(points[i]);
                    }
                    if ((kind & 0x01) != 0) CloseFigure();
                }
                break;
            }
            case kSetWindowExt: state_.windowExt = Size(c); break;
            case kSetWindowOrg: state_.windowOrg = Point(c); break;
            case kSetViewportExt: state_.viewportExt = Size(c); break;
            case kSetViewportOrg: state_.viewportOrg = Point(c); break;
            case kScaleViewportExt: case kScaleWindowExt: {
                const double xNum = c.I32(), xDenom = c.I32(), yNum = c.I32(), yDenom = c.I32();
                if (xDenom == 0 || yDenom == 0) break;
                QSizeF& ext = type == kScaleViewportExt ? state_.viewportExt : state_.windowExt;
                ext = QSizeF(ext.width() * xNum / xDenom, ext.height() * yNum / yDenom);
                break;
            }
            case kSetMapMode: state_.mapMode = c.U32(); break;
            case kSetWorldTransform: state_.world = ReadMatrix(c); break;
            case kModifyWorldTransform: {
                const QTransform m = ReadMatrix(c);
                switch (c.U32()) {
                    case 1: state_.world = QTransform(); break;
                    case 2: state_.world = m * state_.world; break;
                    case 3: state_.world = state_.world * m; break;
                    case 4: state_.world = m; break;
                    default: break;
                }
                break;
            }
            case kSetBkMode: state_.opaque = c.U32() == 2; break;
            case kSetPolyFillMode: state_.fill = c.U32() == 2 ? Qt::WindingFill : Qt::OddEvenFill; break;
            case kSetTextAlign: state_.textAlign = c.U32(); break;
            case kSetTextColour: state_.text = ColourRef(c.U32()); break;
            case kSetBkColour: state_.background = ColourRef(c.U32()); break;
            case kSetArcDirection: state_.clockwise = c.U32() == 2; break;
            case kSetMiterLimit: break;  // Qt's joins are near enough
            case kMoveTo: MoveTo(Point(c)); break;
            case kLineTo: LineTo(Point(c)); break;
            case kSetPixel: {
                const QPointF at = Transform().map(Point(c));
                const QColor colour = ColourRef(c.U32());
                painter_.fillRect(QRectF(at, QSizeF(pixel_, pixel_)), colour);
                break;
            }
            case kSaveDC:
                if (saved_.size() >= kDeepestStack) saved_.erase(saved_.begin());
                saved_.push_back(state_);
                break;
            case kRestoreDC: {
                const int32_t which = c.I32();
                const long long index = which < 0 ? static_cast<long long>(saved_.size()) + which : which - 1LL;
                if (index < 0 || index >= static_cast<long long>(saved_.size())) break;
                state_ = saved_[static_cast<std::size_t>(index)];
                saved_.resize(static_cast<std::size_t>(index));
                ApplyClip();
                break;
            }
            case kSelectObject: Select(c.U32()); break;
            case kDeleteObject: {
                const uint32_t id = c.U32();
                if (id < objects_.size()) objects_[id] = std::monostate{};
                break;
            }
            case kCreatePen: {
                const uint32_t id = c.U32();
                const uint32_t style = c.U32();
                const double width = c.I32();
                c.I32();
                Store(id, MakePen(style, width, ColourRef(c.U32()), {}));
                break;
            }
            case kExtCreatePen: {
                const uint32_t id = c.U32();
                c.Skip(16);  // a pattern for the pen: drawn in its colour
                const uint32_t style = c.U32();
                const double width = c.U32();
                c.U32();
                const QColor colour = ColourRef(c.U32());
                c.U32();
                const uint32_t entries = c.Count(4);
                QList<qreal> dashes;
                for (uint32_t i = 0; i < entries; ++i) dashes.push_back(c.U32());
                Store(id, MakePen(style, width, colour, dashes));
                break;
            }
            case kCreateBrush: {
                const uint32_t id = c.U32();
                const uint32_t style = c.U32();
                const QColor colour = ColourRef(c.U32());
                const uint32_t hatch = c.U32();
                Brush b;
                if (style == 1) b = Brush{Qt::NoBrush, false, false, true};
                else if (style == 2) b = Brush{QBrush(colour, HatchLines(hatch)), true, false, false};
                else b.brush = QBrush(colour);
                Store(id, b);
                break;
            }
            case kCreateMonoBrush: case kCreateDibBrush: {
                const uint32_t id = c.U32();
                c.U32();
                const uint32_t headerAt = c.U32(), headerSize = c.U32(), bitsAt = c.U32(), bitsSize = c.U32();
                const QImage pattern = ReadDib(record, headerAt, headerSize, bitsAt, bitsSize);
                if (pattern.isNull()) {
                    Store(id, Brush{QBrush(Qt::gray), false, false, false});
                    break;
                }
                QBrush brush(Opaque(pattern));
                brush.setTransform(QTransform::fromScale(pixel_, pixel_));
                Store(id, Brush{brush, false, type == kCreateMonoBrush || pattern.depth() == 1, false});
                break;
            }
            case kCreateFont: {
                const uint32_t id = c.U32();
                Store(id, ReadFont(c));
                break;
            }
            case kCreatePalette: Store(c.U32(), Other{}); break;
            case kAngleArc: {
                const QPointF centre = Point(c);
                const double radius = c.U32();
                const double start = c.F32(), sweep = c.F32();
                const QRectF box(centre.x() - radius, centre.y() - radius, 2 * radius, 2 * radius);
                QPainterPath arc;
                arc.arcMoveTo(box, start);
                LineTo(arc.currentPosition());
                ArcTo(box, start, std::clamp(sweep, -360.0, 360.0));
                break;
            }
            case kEllipse: {
                QPainterPath path;
                path.addEllipse(Box(c));
                Draw(path, true, true);
                break;
            }
            case kRectangle: {
                QPainterPath path;
                path.addRect(Box(c));
                Draw(path, true, true);
                break;
            }
            case kRoundRect: {
                const QRectF box = Box(c);
                const QSizeF corner = Size(c);
                QPainterPath path;
                path.addRoundedRect(box, std::fabs(corner.width()) / 2, std::fabs(corner.height()) / 2);
                Draw(path, true, true);
                break;
            }
            case kArc: case kChord: case kPie: case kArcTo: {
                const QRectF box = Box(c);
                const QPointF from = Point(c), to = Point(c);
                const auto [start, sweep] = Angles(box, from, to);
                if (type == kArcTo) {
                    QPainterPath arc;
                    arc.arcMoveTo(box, start);
                    LineTo(arc.currentPosition());
                    ArcTo(box, start, sweep);
                    break;
                }
                QPainterPath path;
                if (type == kPie) path.moveTo(box.center());
                else path.arcMoveTo(box, start);
                path.arcTo(box, start, sweep);
                if (type != kArc) path.closeSubpath();
                Draw(path, type != kArc, true);
                break;
            }
            case kBeginPath: bracket_ = QPainterPath(); break;
            case kEndPath:
                if (bracket_) done_ = std::move(*bracket_);
                bracket_.reset();
                break;
            case kAbortPath: bracket_.reset(); done_ = QPainterPath(); break;
            case kCloseFigure: CloseFigure(); break;
            case kFlattenPath: case kWidenPath: break;  // curves are drawn smooth either way
            case kFillPath: case kStrokeAndFillPath: case kStrokePath: {
                QPainterPath path = done_;
                path.setFillRule(state_.fill);
                if (type != kStrokePath) FillRecorded(path);
                if (type != kFillPath) StrokeRecorded(path);
                done_ = QPainterPath();
                break;
            }
            case kSelectClipPath: {
                const uint32_t mode = c.U32();
                QPainterPath path = done_;
                path.setFillRule(state_.fill);
                CombineClip(mode, path);
                done_ = QPainterPath();
                break;
            }
            case kSelectClipRegion: {
                const uint32_t size = c.U32();
                const uint32_t mode = c.U32();
                if (size == 0) {
                    if (mode == 5) SetClip(std::nullopt);
                    break;
                }
                // Clipping regions are in the device's pixels, not in logical units.
                CombineClip(mode, device_.map(Region(c.Part(16, size))));
                break;
            }
            case kIntersectClipRect: case kExcludeClipRect: {
                QPainterPath path;
                path.addRect(Box(c));
                CombineClip(type == kIntersectClipRect ? 1 : 4, Transform().map(path));
                break;
            }
            case kOffsetClip: {
                const QPointF by = Point(c);
                if (state_.clip) {
                    const QTransform t = Transform();
                    SetClip(state_.clip->translated(t.map(by) - t.map(QPointF())));
                }
                break;
            }
            case kFillRegion: case kFrameRegion: case kPaintRegion: case kInvertRegion: {
                c.Skip(16);
                const uint32_t size = c.U32();
                const bool withBrush = type == kFillRegion || type == kFrameRegion;
                const uint32_t brushId = withBrush ? c.U32() : 0;
                QSizeF frameSize;
                if (type == kFrameRegion) frameSize = Size(c);
                const QPainterPath region = Region(c.Part(c.Size() - c.Left(), size));
                if (type == kInvertRegion) break;
                Brush brush = state_.brush;
                if (withBrush) {
                    const std::optional<Object> object = ObjectAt(brushId);
                    if (!object || !std::holds_alternative<Brush>(*object)) break;
                    brush = std::get<Brush>(*object);
                }
                const QPainterPath shape = Transform().map(region);
                if (type != kFrameRegion) {
                    FillRecorded(shape, brush);
                    break;
                }
                // A frame is the region less itself moved in by the frame's size.
                const QPointF inset = Transform().map(QPointF(frameSize.width(), frameSize.height())) - Transform().map(QPointF());
                QPainterPath inner = shape;
                for (const QPointF& shift : {QPointF(inset.x(), 0), QPointF(-inset.x(), 0), QPointF(0, inset.y()), QPointF(0, -inset.y())})
                    inner = inner.intersected(shape.translated(shift));
                FillRecorded(shape.subtracted(inner), brush);
                break;
            }
            case kBitBlt: case kStretchBlt: case kAlphaBlend: case kTransparentBlt: {
                c.Skip(16);
                const QRectF target = Rect(c);
                const uint32_t operation = c.U32();
                // The source's corner in its own units, which its transform makes pixels of the bitmap.
                const QPointF fromUnits = Point(c);
                const QTransform sourceTransform = ReadMatrix(c);
                const QPointF from = sourceTransform.map(fromUnits);
                c.U32();
                c.U32();
                const uint32_t headerAt = c.U32(), headerSize = c.U32(), bitsAt = c.U32(), bitsSize = c.U32();
                std::optional<QSizeF> fromSize;
                if (type != kBitBlt) fromSize = sourceTransform.mapRect(QRectF(fromUnits, Size(c))).size();
                if (headerSize == 0) {
                    if (type == kBitBlt || type == kStretchBlt) Pattern(target, operation);
                    break;
                }
                QImage image = ReadDib(record, headerAt, headerSize, bitsAt, bitsSize);
                if (type == kAlphaBlend) {
                    image = (operation >> 24 & 1) != 0 ? Premultiplied(image) : Opaque(image);
                    painter_.setOpacity((operation >> 16 & 0xFF) / 255.0);
                } else if (type == kTransparentBlt) {
                    image = Transparent(Opaque(image), ColourRef(operation));
                } else {
                    image = Opaque(image);
                }
                // A block transfer's bitmap is its source, fitted to the target as Windows plays it.
                if (!fromSize) fromSize = QSizeF(image.width() - from.x(), image.height() - from.y());
                Blit(image, QRectF(from, *fromSize), target, type == kAlphaBlend || type == kTransparentBlt ? 0x00CC0020 : operation);
                painter_.setOpacity(1);
                break;
            }
            case kMaskBlt: case kPlgBlt: {
                c.Skip(16);
                std::array<QPointF, 3> corners;
                QRectF source;
                uint32_t operation = 0xAACC0020;  // the source where the mask is set, else what lies below
                if (type == kMaskBlt) {
                    const QRectF target = Rect(c);
                    corners = {target.topLeft(), target.topRight(), target.bottomLeft()};
                    operation = c.U32();
                    source = QRectF(Point(c), target.size());
                } else {
                    for (QPointF& p : corners) p = Point(c);
                    source = Rect(c);
                }
                source = ReadMatrix(c).mapRect(source);
                c.U32();
                c.U32();
                const uint32_t headerAt = c.U32(), headerSize = c.U32(), bitsAt = c.U32(), bitsSize = c.U32();
                const QPointF maskFrom = Point(c);
                c.U32();
                const uint32_t maskHeaderAt = c.U32(), maskHeaderSize = c.U32(), maskBitsAt = c.U32(), maskBitsSize = c.U32();
                if (headerSize == 0) break;
                QImage image = Opaque(ReadDib(record, headerAt, headerSize, bitsAt, bitsSize));
                if (maskHeaderSize > 0)
                    image = Masked(image, ReadMask(record, maskHeaderAt, maskHeaderSize, maskBitsAt, maskBitsSize),
                                   maskFrom - source.topLeft(), operation);
                DrawImage(image, source, corners);
                break;
            }
            case kSetDIBitsToDevice: case kStretchDIBits: {
                c.Skip(16);
                const QPointF at = Point(c);
                const QPointF from = Point(c);
                const QSizeF fromSize = Size(c);
                const uint32_t headerAt = c.U32(), headerSize = c.U32(), bitsAt = c.U32(), bitsSize = c.U32();
                c.U32();
                uint32_t operation = 0x00CC0020;
                QSizeF size = fromSize;
                if (type == kStretchDIBits) {
                    operation = c.U32();
                    size = Size(c);
                } else {
                    c.Skip(8);
                }
                const QImage image = Opaque(ReadDib(record, headerAt, headerSize, bitsAt, bitsSize));
                if (image.isNull()) break;
                // These count the source's rows from the bitmap's bottom.
                const QRectF source(from.x(), image.height() - from.y() - fromSize.height(), fromSize.width(), fromSize.height());
                Blit(image, source, QRectF(at, size), operation);
                break;
            }
            case kTextOutA: case kTextOutW: {
                c.Skip(16);
                c.U32();
                c.Skip(8);
                Text(record, c, type == kTextOutW);
                break;
            }
            case kPolyTextOutA: case kPolyTextOutW: {
                c.Skip(28);
                const uint32_t strings = c.Count(40);
                for (uint32_t i = 0; i < strings; ++i) Text(record, c, type == kPolyTextOutW);
                break;
            }
            case kSmallTextOut: {
                const QPointF at = Point(c);
                const uint32_t count = c.U32();
                const uint32_t options = c.U32();
                c.Skip(12);
                QRectF clip;
                if ((options & 0x100) == 0) clip = Box(c);
                QString text;
                for (uint32_t i = 0; i < count; ++i) text.push_back((options & 0x200) != 0 ? QChar(c.U8()) : QChar(c.U16()));
                DrawText(at, text, {}, options & ~0x10u, clip);
                break;
            }
            case kGradientFill: Gradient(c); break;
            default: break;  // palettes, colour management, escapes: nothing to draw
        }
    }

private:
    enum class Figure { Bezier, Polygon, Polyline, BezierTo, PolylineTo };

    static QPointF Point(Cursor& c) {
        const double x = c.I32();
        return {x, static_cast<double>(c.I32())};
    }
    static QSizeF Size(Cursor& c) {
        const double w = c.I32();
        return {w, static_cast<double>(c.I32())};
    }
    static QRectF Rect(Cursor& c) {
        const QPointF at = Point(c);
        return {at, Size(c)};
    }
    static QRectF Box(Cursor& c) {
        const QPointF a = Point(c), b = Point(c);
        return QRectF(a, b).normalized();
    }
    static std::vector<QPointF> Points(Cursor& c, uint32_t count, bool small) {
        if (count > c.Left() / (small ? 4 : 8)) throw Short{};
        std::vector<QPointF> points;
        points.reserve(count);
        for (uint32_t i = 0; i < count; ++i) {
            if (small) {
                const double x = c.I16();
                points.emplace_back(x, c.I16());
            } else {
                points.push_back(Point(c));
            }
        }
        return points;
    }

    // A region's rectangles, after its 32-byte header.
    static QPainterPath Region(Cursor c) {
        c.Skip(8);
        const uint32_t count = c.U32();
        c.Skip(20);
        if (count > c.Left() / 16) throw Short{};
        QPainterPath path;
        for (uint32_t i = 0; i < count; ++i) path.addRect(Box(c));
        return path.simplified();
    }


    static Pen MakePen(uint32_t style, double width, const QColor& colour, const QList<qreal>& dashes) {
        Pen p;
        const uint32_t kind = style & 0x0F;
        if (kind == 5) return Pen{QPen(Qt::NoPen), 0, true};
        const bool geometric = (style & 0x10000) != 0 || width > 1;
        p.width = geometric ? std::fabs(width) : 0;
        p.pen.setColor(colour);
        switch (style & 0x0F00) {
            case 0x100: p.pen.setCapStyle(Qt::SquareCap); break;
            case 0x200: p.pen.setCapStyle(Qt::FlatCap); break;
            default: p.pen.setCapStyle(Qt::RoundCap); break;
        }
        switch (style & 0xF000) {
            case 0x1000: p.pen.setJoinStyle(Qt::BevelJoin); break;
            case 0x2000: p.pen.setJoinStyle(Qt::MiterJoin); break;
            default: p.pen.setJoinStyle(Qt::RoundJoin); break;
        }
        // Dashes show on thin pens, and on wide ones made as geometric pens.
        if (p.width > 1 && (style & 0x10000) == 0) return p;
        switch (kind) {
            case 1: p.pen.setStyle(Qt::DashLine); break;
            case 2: case 8: p.pen.setStyle(Qt::DotLine); break;
            case 3: p.pen.setStyle(Qt::DashDotLine); break;
            case 4: p.pen.setStyle(Qt::DashDotDotLine); break;
            case 7: {
                QList<qreal> pattern;
                for (qreal d : dashes) pattern.push_back(std::clamp(d / std::max(1.0, p.width), 0.01, 1000.0));
                if (pattern.size() % 2 == 1) pattern.push_back(pattern.back());
                if (!pattern.isEmpty()) p.pen.setDashPattern(pattern);
                break;
            }
            default: break;
        }
        return p;
    }

    static Font ReadFont(Cursor& c) {
        Font f;
        f.height = c.I32();
        f.width = std::fabs(static_cast<double>(c.I32()));
        f.escapement = c.I32() / 10.0;
        c.I32();
        const int32_t weight = c.I32();
        const bool italic = c.U8() != 0, underline = c.U8() != 0, strikeOut = c.U8() != 0;
        c.Skip(5);
        QString family;
        for (int i = 0; i < 32; ++i) {
            const QChar ch(c.U16());
            if (ch.isNull()) break;
            family.push_back(ch);
        }
        f.font = QFont(family.isEmpty() ? QStringLiteral("Sans Serif") : family);
        if (weight > 0) f.font.setWeight(static_cast<QFont::Weight>(std::clamp(weight, 1, 1000)));
        f.font.setItalic(italic);
        f.font.setUnderline(underline);
        f.font.setStrikeOut(strikeOut);
        return f;
    }

    std::optional<Object> ObjectAt(uint32_t id) const {
        if ((id & 0x80000000u) != 0) return StockObject(id & 0x7FFFFFFFu);
        if (id >= objects_.size() || std::holds_alternative<std::monostate>(objects_[id])) return std::nullopt;
        return objects_[id];
    }

    void Store(uint32_t id, Object object) {
        if (id >= kMostObjects) return;
        if (id >= objects_.size()) objects_.resize(id + 1);
        objects_[id] = std::move(object);
    }

    void Select(uint32_t id) {
        const std::optional<Object> object = ObjectAt(id);
        if (!object) return;
        if (const auto* pen = std::get_if<Pen>(&*object)) state_.pen = *pen;
        else if (const auto* brush = std::get_if<Brush>(&*object)) state_.brush = *brush;
        else if (const auto* font = std::get_if<Font>(&*object)) state_.font = *font;
    }

    // Device pixels per logical unit under the mapping mode, and the window and viewport.
    QTransform Page() const {
        double sx = 1, sy = 1;
        const auto metric = [&](double mm) {
            sx = devicePerMm_.width() * mm;
            sy = -devicePerMm_.height() * mm;
        };
        switch (state_.mapMode) {
            case 2: metric(0.1); break;
            case 3: metric(0.01); break;
            case 4: metric(0.254); break;
            case 5: metric(0.0254); break;
            case 6: metric(25.4 / 1440); break;
            case 7: case 8: {
                const QSizeF w = state_.windowExt, v = state_.viewportExt;
                if (w.width() == 0 || w.height() == 0) break;
                sx = v.width() / w.width();
                sy = v.height() / w.height();
                if (state_.mapMode == 7) {
                    const double s = std::min(std::fabs(sx), std::fabs(sy));
                    sx = std::copysign(s, sx);
                    sy = std::copysign(s, sy);
                }
                break;
            }
            default: break;
        }
        return QTransform::fromTranslate(-state_.windowOrg.x(), -state_.windowOrg.y()) * QTransform::fromScale(sx, sy) *
               QTransform::fromTranslate(state_.viewportOrg.x(), state_.viewportOrg.y());
    }

    QTransform Transform() const { return state_.world * Page() * device_; }

    double Scale() const { return std::sqrt(std::fabs(Transform().determinant())); }

    QPainterPath EverywherePath() const {
        QPainterPath p;
        p.addRect(everywhere_);
        return p;
    }

    void CombineClip(uint32_t mode, const QPainterPath& shape) {
        static constexpr std::array<ClipOperation, 5> kOperations{ClipOperation::Intersect, ClipOperation::Unite,
                                                                  ClipOperation::Xor, ClipOperation::Exclude,
                                                                  ClipOperation::Replace};
        if (mode >= 1 && mode <= kOperations.size())
            SetClip(CombinedClip(state_.clip.value_or(EverywherePath()), shape, kOperations[mode - 1]));
    }

    void SetClip(std::optional<QPainterPath> clip) {
        state_.clip = std::move(clip);
        ApplyClip();
    }

    void ApplyClip() { kvo::ApplyClip(painter_, state_.clip, everywhere_); }

    // Lines and curves that go on from the current position join the figure
    // of an open path; elsewhere they are drawn at once.
    void MoveTo(const QPointF& to) {
        state_.position = to;
        if (bracket_) bracket_->moveTo(Transform().map(to));
    }

    template <typename Extend>
    void Continue(const Extend& extend, const QPointF& end) {
        const QPointF from = Transform().map(state_.position);
        state_.position = end;
        if (bracket_) {
            if (bracket_->elementCount() == 0 || bracket_->currentPosition() != from) bracket_->moveTo(from);
            extend(*bracket_);
            return;
        }
        QPainterPath path(from);
        extend(path);
        StrokeRecorded(path);
    }

    void LineTo(const QPointF& to) {
        const QPointF mapped = Transform().map(to);
        Continue([&](QPainterPath& p) { p.lineTo(mapped); }, to);
    }

    void BezierTo(const std::array<QPointF, 3>& points) {
        const QTransform t = Transform();
        Continue([&](QPainterPath& p) { p.cubicTo(t.map(points[0]), t.map(points[1]), t.map(points[2])); }, points[2]);
    }

    void ArcTo(const QRectF& box, double start, double sweep) {
        QPainterPath arc;
        arc.arcMoveTo(box, start);
        arc.arcTo(box, start, sweep);
        const QPainterPath mapped = Transform().map(arc);
        Continue([&](QPainterPath& p) { p.connectPath(mapped); }, arc.currentPosition());
    }

    void CloseFigure() {
        if (bracket_) bracket_->closeSubpath();
    }

    // Where the radial lines through two points meet the box's ellipse, as
    // Qt's angles (counter-clockwise from three o'clock, in degrees).
    std::pair<double, double> Angles(const QRectF& box, const QPointF& from, const QPointF& to) const {
        const QPointF centre = box.center();
        const auto angle = [&](const QPointF& p) {
            const double rx = std::max(box.width() / 2, 1e-9), ry = std::max(box.height() / 2, 1e-9);
            return std::atan2(-(p.y() - centre.y()) / ry, (p.x() - centre.x()) / rx) * 180 / M_PI;
        };
        const double start = angle(from);
        double sweep = angle(to) - start;
        // Counter-clockwise as the page is seen; a y axis pointing up turns it round.
        const bool flipped = Transform().determinant() < 0;
        if (state_.clockwise != flipped) {
            while (sweep >= 0) sweep -= 360;
        } else {
            while (sweep <= 0) sweep += 360;
        }
        return {start, sweep};
    }

    void Poly(Cursor& c, bool small, Figure figure) {
        c.Skip(16);
        const std::vector<QPointF> points = Points(c, c.U32(), small);
        if (points.empty()) return;
        if (figure == Figure::PolylineTo) {
            for (const QPointF& p : points) LineTo(p);
            return;
        }
        if (figure == Figure::BezierTo) {
            for (std::size_t i = 0; i + 2 < points.size(); i += 3) BezierTo({points[i], points[i + 1], points[i + 2]});
            return;
        }
        QPainterPath path(points[0]);
        if (figure == Figure::Bezier) {
            for (std::size_t i = 1; i + 2 < points.size(); i += 3) path.cubicTo(points[i], points[i + 1], points[i + 2]);
        } else {
            for (std::size_t i = 1; i < points.size(); ++i) path.lineTo(points[i]);
            if (figure == Figure::Polygon) path.closeSubpath();
        }
        Draw(path, figure == Figure::Polygon, true);
    }

    // A shape in logical units: into the open path, or filled and outlined.
    void Draw(QPainterPath shape, bool fill, bool stroke) {
        QPainterPath mapped = Transform().map(shape);
        if (bracket_) {
            bracket_->addPath(mapped);
            return;
        }
        mapped.setFillRule(state_.fill);
        if (fill) FillRecorded(mapped);
        if (stroke) StrokeRecorded(mapped);
    }

    void FillRecorded(const QPainterPath& path) { FillRecorded(path, state_.brush); }

    void FillRecorded(const QPainterPath& path, const Brush& brush) {
        if (brush.none) return;
        painter_.resetTransform();
        if (brush.hatch) {
            if (state_.opaque) painter_.fillPath(path, state_.background);
            QBrush pattern = brush.brush;
            pattern.setTransform(QTransform::fromScale(pixel_, pixel_));
            painter_.fillPath(path, pattern);
        } else if (brush.mono) {
            // A two-colour pattern: its dark pixels in the text colour, the light in the background's.
            QImage image = brush.brush.textureImage().convertToFormat(QImage::Format_RGB32);
            for (int y = 0; y < image.height(); ++y) {
                auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
                for (int x = 0; x < image.width(); ++x) row[x] = qGray(row[x]) >= 128 ? state_.background.rgb() : state_.text.rgb();
            }
            QBrush coloured(image);
            coloured.setTransform(brush.brush.transform());
            painter_.fillPath(path, coloured);
        } else {
            painter_.fillPath(path, brush.brush);
        }
    }

    void StrokeRecorded(const QPainterPath& path) {
        if (state_.pen.none) return;
        QPen pen = state_.pen.pen;
        const double width = state_.pen.width * Scale();
        pen.setWidthF(width < pixel_ ? 0 : width);
        painter_.resetTransform();
        painter_.strokePath(path, pen);
    }

    // A blit without a source: the brush, black or white over the target.
    void Pattern(const QRectF& target, uint32_t operation) {
        QPainterPath path;
        path.addRect(target);
        const QPainterPath mapped = Transform().map(path);
        switch (operation) {
            case 0x00000042: painter_.fillPath(mapped, Qt::black); break;
            case 0x00FF0062: painter_.fillPath(mapped, Qt::white); break;
            case 0x00F00021: FillRecorded(mapped); break;
            default: break;  // inversions of what lies below: left as it is
        }
    }

    static QImage Transparent(const QImage& image, const QColor& key) {
        QImage out = image.convertToFormat(QImage::Format_ARGB32);
        const QRgb match = key.rgb() & 0xFFFFFF;
        for (int y = 0; y < out.height(); ++y) {
            auto* row = reinterpret_cast<QRgb*>(out.scanLine(y));
            for (int x = 0; x < out.width(); ++x)
                if ((row[x] & 0xFFFFFF) == match) row[x] = 0;
        }
        return out;
    }

    // A mask's set pixels take the foreground operation, its clear ones the
    // background's; only where that operation copies the source is it drawn.
    static QImage Masked(const QImage& image, const QImage& mask, const QPointF& offset, uint32_t operation) {
        if (mask.isNull()) return image;
        const bool copySet = (operation >> 16 & 0xFF) == 0xCC, copyClear = (operation >> 24 & 0xFF) == 0xCC;
        QImage out = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < out.height(); ++y) {
            auto* row = reinterpret_cast<QRgb*>(out.scanLine(y));
            for (int x = 0; x < out.width(); ++x) {
                const QPoint at(x + static_cast<int>(offset.x()), y + static_cast<int>(offset.y()));
                const bool set = mask.valid(at) && mask.pixelIndex(at) == 1;
                if (!(set ? copySet : copyClear)) row[x] = 0;
            }
        }
        return out;
    }

    void Blit(const QImage& image, const QRectF& source, const QRectF& target, uint32_t operation) {
        QPainter::CompositionMode mode = QPainter::CompositionMode_SourceOver;
        switch (operation) {
            case 0x008800C6: mode = QPainter::CompositionMode_Multiply; break;    // source AND target
            case 0x00EE0086: mode = QPainter::CompositionMode_Lighten; break;     // source OR target
            case 0x00660046: mode = QPainter::CompositionMode_Difference; break;  // source XOR target
            default: break;
        }
        painter_.setCompositionMode(mode);
        DrawImage(image, source, {target.topLeft(), target.topRight(), target.bottomLeft()});
        painter_.setCompositionMode(QPainter::CompositionMode_SourceOver);
    }

    // Source pixels onto the parallelogram of three logical points.
    void DrawImage(const QImage& image, const QRectF& source, const std::array<QPointF, 3>& corners) {
        if (image.isNull() || source.width() == 0 || source.height() == 0) return;
        // What lies past the bitmap's edge is not drawn, and the rest stays where it was.
        const QRectF inside = source.intersected(QRectF(image.rect()));
        painter_.setTransform(Placed(source, corners[0], corners[1], corners[2]) * Transform());
        painter_.drawImage(inside, image, inside);
        painter_.resetTransform();
    }

    void Text(const Cursor& record, Cursor& c, bool wide) {
        const QPointF at = Point(c);
        const uint32_t count = c.U32();
        const uint32_t textAt = c.U32();
        const uint32_t options = c.U32();
        const QRectF box = Box(c);
        const uint32_t spacingAt = c.U32();
        Cursor chars = record.Part(textAt, std::size_t{count} * (wide ? 2 : 1));
        QString text;
        for (uint32_t i = 0; i < count; ++i) text.push_back(wide ? QChar(chars.U16()) : QChar(chars.U8()));
        std::vector<double> spacing;
        if (spacingAt != 0) {
            const bool both = (options & 0x2000) != 0;
            Cursor dx = record.Part(spacingAt, std::size_t{count} * (both ? 8 : 4));
            for (uint32_t i = 0; i < count; ++i) {
                spacing.push_back(dx.I32());
                if (both) dx.I32();
            }
        }
        DrawText(at, text, spacing, options, box);
    }

    void DrawText(const QPointF& reference, const QString& text, const std::vector<double>& spacing, uint32_t options,
                  const QRectF& box) {
        const Font& f = state_.font;
        const QTransform t = Transform();
        if ((options & 0x02) != 0 && !box.isEmpty()) {
            QPainterPath back;
            back.addRect(box);
            painter_.fillPath(t.map(back), state_.background);
        }
        if (text.isEmpty()) return;
        QFont qfont = f.font;
        qfont.setPixelSize(static_cast<int>(kShapedPixels));
        const QFontMetricsF metrics(qfont);
        // A negative height is the em; a positive one the whole cell.
        const double em = f.height < 0 ? -f.height : f.height > 0 ? f.height * kShapedPixels / metrics.height() : 12 / Scale() * pixel_;
        const double scale = em / kShapedPixels;
        const double stretch = f.width > 0 && metrics.averageCharWidth() > 0
                                   ? std::clamp(f.width / (metrics.averageCharWidth() * scale), 0.1, 10.0)
                                   : 1.0;
        const bool glyphs = (options & 0x10) != 0;
        const QRawFont raw = glyphs ? QRawFont::fromFont(qfont) : QRawFont();
        std::vector<double> left(static_cast<std::size_t>(text.size()) + 1, 0.0);
        for (qsizetype i = 0; i < text.size(); ++i) {
            const auto n = static_cast<std::size_t>(i);
            double advance = 0;
            if (n < spacing.size()) advance = spacing[n];
            else if (glyphs && raw.isValid()) advance = raw.advancesForGlyphIndexes(QList<quint32>{text[i].unicode()}).value(0).x() * scale * stretch;
            else advance = metrics.horizontalAdvance(text[i]) * scale * stretch;
            left[n + 1] = left[n] + advance;
        }
        const double total = left.back();
        const QPointF start = (state_.textAlign & 1) != 0 ? state_.position : reference;
        double x = 0;
        switch (state_.textAlign & 6) {
            case 2: x = -total; break;
            case 6: x = -total / 2; break;
            default: break;
        }
        double baseline = metrics.ascent() * scale;
        if ((state_.textAlign & 24) == 24) baseline = 0;
        else if ((state_.textAlign & 8) != 0) baseline = -metrics.descent() * scale;
        if ((state_.textAlign & 1) != 0 && (state_.textAlign & 6) == 0) state_.position = start + QPointF(total, 0);

        // Text space: x along the baseline, y down the glyphs, both in logical units; upright on the page.
        const QPointF origin = t.map(start);
        const QPointF unitX = t.map(start + QPointF(1, 0)) - origin, unitY = t.map(start + QPointF(0, 1)) - origin;
        const double lengthX = std::hypot(unitX.x(), unitX.y()), lengthY = std::hypot(unitY.x(), unitY.y());
        const double turn = -f.escapement * M_PI / 180;
        const QPointF along(std::cos(turn) * lengthX, std::sin(turn) * lengthX);
        const QPointF downward(-std::sin(turn) * lengthY, std::cos(turn) * lengthY);
        const QTransform toPage(along.x(), along.y(), downward.x(), downward.y(), origin.x(), origin.y());

        QPainterPath shape;
        const QTransform glyphScale = QTransform::fromScale(scale * stretch, scale);
        if (spacing.empty() && !glyphs) {
            QPainterPath shaped;
            shaped.addText(0, 0, qfont, text);
            shape.addPath(glyphScale.map(shaped).translated(x, baseline));
        } else {
            for (qsizetype i = 0; i < text.size(); ++i) {
                QPainterPath shaped;
                if (glyphs && raw.isValid()) shaped = raw.pathForGlyph(text[i].unicode());
                else shaped.addText(0, 0, qfont, QString(text[i]));
                shape.addPath(glyphScale.map(shaped).translated(x + left[static_cast<std::size_t>(i)], baseline));
            }
        }
        shape.setFillRule(Qt::WindingFill);
        painter_.resetTransform();
        painter_.save();
        if ((options & 0x04) != 0 && !box.isEmpty()) {
            QPainterPath clip;
            clip.addRect(box);
            painter_.setClipPath(t.map(clip), Qt::IntersectClip);
        }
        if (state_.opaque && (options & 0x02) == 0) {
            QPainterPath back;
            back.addRect(QRectF(x, baseline - metrics.ascent() * scale, total, metrics.height() * scale));
            painter_.fillPath(toPage.map(back), state_.background);
        }
        painter_.fillPath(toPage.map(shape), state_.text);
        painter_.restore();
    }

    // Colours blended across rectangles or triangles between their corners.
    void Gradient(Cursor& c) {
        c.Skip(16);
        const uint32_t vertices = c.Count(16);
        const uint32_t meshes = c.U32();
        const uint32_t mode = c.U32();
        struct Vertex {
            QPointF at;
            QColor colour;
        };
        std::vector<Vertex> v(vertices);
        for (Vertex& each : v) {
            each.at = Point(c);
            const int r = c.U16() >> 8, g = c.U16() >> 8, b = c.U16() >> 8;
            c.U16();
            each.colour = QColor(r, g, b);
        }
        const QTransform t = Transform();
        if (meshes > c.Left() / (mode == 2 ? 12 : 8)) throw Short{};
        for (uint32_t i = 0; i < meshes; ++i) {
            if (mode == 2) {
                const uint32_t a = c.U32(), b = c.U32(), d = c.U32();
                if (a < v.size() && b < v.size() && d < v.size()) Triangle({t.map(v[a].at), t.map(v[b].at), t.map(v[d].at)}, {v[a].colour, v[b].colour, v[d].colour});
                continue;
            }
            const uint32_t a = c.U32(), b = c.U32();
            if (a >= v.size() || b >= v.size()) continue;
            const QRectF box = QRectF(v[a].at, v[b].at).normalized();
            QLinearGradient gradient(v[a].at, mode == 0 ? QPointF(v[b].at.x(), v[a].at.y()) : QPointF(v[a].at.x(), v[b].at.y()));
            gradient.setColorAt(0, v[a].colour);
            gradient.setColorAt(1, v[b].colour);
            QPainterPath path;
            path.addRect(box);
            painter_.setTransform(t);
            painter_.fillPath(path, gradient);
            painter_.resetTransform();
        }
    }

    // Qt has no triangle shading: the triangle is coloured pixel by pixel at
    // the size it is shown.
    void Triangle(const std::array<QPointF, 3>& p, const std::array<QColor, 3>& colours) {
        const QRectF bounds = QPolygonF(QList<QPointF>(p.begin(), p.end())).boundingRect().intersected(everywhere_);
        if (bounds.isEmpty()) return;
        const int width = std::max(1, static_cast<int>(std::ceil(bounds.width() / pixel_)));
        const int height = std::max(1, static_cast<int>(std::ceil(bounds.height() / pixel_)));
        const double area = (p[1].x() - p[0].x()) * (p[2].y() - p[0].y()) - (p[2].x() - p[0].x()) * (p[1].y() - p[0].y());
        if (std::fabs(area) < 1e-9) return;
        QImage image(width, height, QImage::Format_ARGB32);
        image.fill(Qt::transparent);
        for (int y = 0; y < height; ++y) {
            auto* row = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < width; ++x) {
                const QPointF at = bounds.topLeft() + QPointF((x + 0.5) * pixel_, (y + 0.5) * pixel_);
                const double w1 = ((p[2].x() - p[1].x()) * (at.y() - p[1].y()) - (p[2].y() - p[1].y()) * (at.x() - p[1].x())) / area;
                const double w2 = ((p[0].x() - p[2].x()) * (at.y() - p[2].y()) - (p[0].y() - p[2].y()) * (at.x() - p[2].x())) / area;
                const double w3 = 1 - w1 - w2;
                if (w1 < 0 || w2 < 0 || w3 < 0) continue;
                const auto mix = [&](int a, int b, int d) { return std::clamp(static_cast<int>(std::lround(a * w1 + b * w2 + d * w3)), 0, 255); };
                row[x] = qRgb(mix(colours[0].red(), colours[1].red(), colours[2].red()),
                              mix(colours[0].green(), colours[1].green(), colours[2].green()),
                              mix(colours[0].blue(), colours[1].blue(), colours[2].blue()));
            }
        }
        painter_.drawImage(QRectF(bounds.topLeft(), QSizeF(width * pixel_, height * pixel_)), image);
    }

    QPainter& painter_;
    const QTransform device_;
    const QRectF everywhere_;
    const double pixel_;  // recorded pixels per pixel of the picture on a screen
    const QSizeF devicePerMm_;
    State state_;
    std::vector<State> saved_;
    std::vector<Object> objects_;
    std::optional<QPainterPath> bracket_;  // the path being recorded, in recorded pixels
    QPainterPath done_;                    // the last path recorded
};

GdiPlayback::GdiPlayback(QPainter& painter, const std::vector<char>& bytes, const QRectF& frame, double pixel,
                         int recordedWidth, int recordedHeight)
    : bytes_(bytes) {
    const auto perMm = [&](std::size_t pixels, std::size_t mm) {
        const auto p = static_cast<int32_t>(U32At(bytes, pixels)), m = static_cast<int32_t>(U32At(bytes, mm));
        return p > 0 && m > 0 ? static_cast<double>(p) / m : 96 / 25.4;
    };
    player_ = std::make_unique<GdiPlayer>(painter, frame, pixel, recordedWidth, recordedHeight, QSizeF(perMm(72, 80), perMm(76, 84)));
}

GdiPlayback::~GdiPlayback() = default;

std::string GdiPlayback::Play(std::size_t at) {
    try {
        player_->Play(U32At(bytes_, at), Cursor(bytes_.data() + at, U32At(bytes_, at + 4)));
    } catch (const Short&) {
        return PictureProtocol::Damaged(Str::PictureRecordOverrun, at);
    }
    return {};
}

void GdiPlayback::Resume() { player_->Resume(); }

std::string PlayEmf(const std::vector<char>& bytes, std::size_t headerSize, const QRectF& frame, double naturalWidth,
                    int recordedWidth, int recordedHeight, QPicture& picture) {
    if (!(frame.width() > 0) || !(frame.height() > 0) || !(naturalWidth > 0)) return PictureProtocol::Problem(Str::PictureNoUsableSize);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    GdiPlayback player(painter, bytes, frame, recordedWidth / naturalWidth, recordedWidth, recordedHeight);
    for (std::size_t at = headerSize; at + 8 <= bytes.size();) {
        const uint32_t type = U32At(bytes, at), size = U32At(bytes, at + 4);
        if (type == kEndOfFile || size < 8) break;
        if (std::string problem = player.Play(at); !problem.empty()) return problem;
        at += size;
    }
    painter.end();
    return {};
}

}  // namespace kvo

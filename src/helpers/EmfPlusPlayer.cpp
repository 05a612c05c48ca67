// Plays EMF+ records onto a QPainter recording into a QPicture, as GDI+ plays them.
#include "EmfPlusPlayer.h"

#include <QtGui/QFontMetricsF>
#include <QtGui/QImage>
#include <QtGui/QLinearGradient>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QRadialGradient>
#include <QtGui/QRawFont>
#include <QtCore/QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "EmfPlayer.h"
#include "MetafileDrawing.h"
#include "MetafileCursor.h"
#include "PictureProtocol.h"

namespace kvo {

namespace {

constexpr uint32_t kCommentRecord = 70;
constexpr uint32_t kEmfPlusSignature = 0x2B464D45;  // "EMF+"

enum Record : uint16_t {
    kHeader = 0x4001, kEndOfFile = 0x4002, kGetDC = 0x4004, kObject = 0x4008, kClear = 0x4009,
    kFillRects = 0x400A, kDrawRects = 0x400B, kFillPolygon = 0x400C, kDrawLines = 0x400D, kFillEllipse = 0x400E,
    kDrawEllipse = 0x400F, kFillPie = 0x4010, kDrawPie = 0x4011, kDrawArc = 0x4012, kFillRegion = 0x4013,
    kFillPath = 0x4014, kDrawPath = 0x4015, kFillClosedCurve = 0x4016, kDrawClosedCurve = 0x4017, kDrawCurve = 0x4018,
    kDrawBeziers = 0x4019, kDrawImage = 0x401A, kDrawImagePoints = 0x401B, kDrawString = 0x401C,
    kSave = 0x4025, kRestore = 0x4026, kBeginContainer = 0x4027, kBeginContainerNoParams = 0x4028,
    kEndContainer = 0x4029, kSetWorldTransform = 0x402A, kResetWorldTransform = 0x402B,
    kMultiplyWorldTransform = 0x402C, kTranslateWorldTransform = 0x402D, kScaleWorldTransform = 0x402E,
    kRotateWorldTransform = 0x402F, kSetPageTransform = 0x4030, kResetClip = 0x4031, kSetClipRect = 0x4032,
    kSetClipPath = 0x4033, kSetClipRegion = 0x4034, kOffsetClip = 0x4035, kDrawDriverString = 0x4036,
};

// Record flags.
constexpr uint16_t kColourBrush = 0x8000;  // the brush field is a colour, not an object
constexpr uint16_t kShortCoordinates = 0x4000;
constexpr uint16_t kRelativePoints = 0x0800;
constexpr uint16_t kClosedOrWinding = 0x2000;  // DrawLines: closed; FillClosedCurve: winding
constexpr uint16_t kAppend = 0x2000;           // transform records: after the world transform
constexpr uint16_t kContinued = 0x8000;        // Object: more of it in the next records

constexpr std::size_t kObjects = 64;
constexpr std::size_t kLargestObject = 64u << 20;
constexpr int kLargestImageSide = 16384;
constexpr long long kLargestImagePixels = 64LL << 20;
constexpr std::size_t kDeepestRegion = 64;
constexpr std::size_t kDeepestStack = 4096;
// Text is shaped at this size and scaled, since GDI+ sizes need not be whole pixels.
constexpr double kShapedPixels = 128;

QColor Argb(uint32_t v) { return QColor::fromRgba(v); }

QRectF ReadRect(Cursor& c, bool shortCoordinates) {
    if (shortCoordinates) {
        const double x = c.I16(), y = c.I16(), w = c.I16(), h = c.I16();
        return {x, y, w, h};
    }
    const double x = c.F32(), y = c.F32(), w = c.F32(), h = c.F32();
    return {x, y, w, h};
}

// A coordinate of a relative point: 7 bits in one byte, or 15 in two.
int ReadRelative(Cursor& c) {
    const uint8_t first = c.U8();
    if ((first & 0x80) == 0) return (first & 0x40) != 0 ? first - 0x80 : first;
    const int value = ((first & 0x7F) << 8) | c.U8();
    return (value & 0x4000) != 0 ? value - 0x8000 : value;
}

std::vector<QPointF> ReadPoints(Cursor& c, uint32_t count, uint16_t flags) {
    std::vector<QPointF> points;
    if ((flags & kRelativePoints) != 0) {
        if (count > c.Left() / 2) throw Short{};
        points.reserve(count);
        QPointF at;
        for (uint32_t i = 0; i < count; ++i) {
            const int dx = ReadRelative(c);
            at += QPointF(dx, ReadRelative(c));
            points.push_back(at);
        }
        return points;
    }
    const std::size_t each = (flags & kShortCoordinates) != 0 ? 4 : 8;
    if (count > c.Left() / each) throw Short{};
    points.reserve(count);
    for (uint32_t i = 0; i < count; ++i) {
        if (each == 4) {
            const double x = c.I16();
            points.emplace_back(x, c.I16());
        } else {
            const double x = c.F32();
            points.emplace_back(x, c.F32());
        }
    }
    return points;
}

struct Brush {
    QBrush brush;
    QColor background;  // behind a hatch
    bool hatch = false;
};

struct Pen {
    QPen pen;
    Brush brush;
    double width = 0;
    uint32_t unit = 0;
};

struct Path {
    QPainterPath path;
};

struct Region {
    QPainterPath path;
    bool infinite = false;
};

struct Image {
    QImage image;
};

struct Font {
    QString family;
    double emSize = 0;
    uint32_t unit = 0;
    uint32_t style = 0;
};

struct StringFormat {
    uint32_t flags = 0;
    uint32_t align = 0;
    uint32_t lineAlign = 0;
};

struct Ignored {};

using Object = std::variant<std::monostate, Brush, Pen, Path, Region, Image, Font, StringFormat, Ignored>;

QPainterPath ReadPath(Cursor& c) {
    c.U32();  // version
    const uint32_t count = c.U32();
    const uint32_t flags = c.U32();
    const std::vector<QPointF> points = ReadPoints(c, count, static_cast<uint16_t>(flags));
    std::vector<uint8_t> types;
    types.reserve(count);
    while (types.size() < count) {
        const uint8_t first = c.U8();
        if ((flags & 0x1000) != 0 && (first & 0x40) != 0) {  // a run of one type
            const uint8_t type = c.U8();
            for (int i = 0; i < (first & 0x3F) && types.size() < count; ++i) types.push_back(type);
        } else {
            types.push_back(first);
        }
    }
    QPainterPath path;
    for (std::size_t i = 0; i < count; ++i) {
        const uint8_t kind = types[i] & 0x07;
        if (kind == 0 || path.elementCount() == 0) {
            path.moveTo(points[i]);
        } else if (kind == 3 && i + 2 < count) {
            path.cubicTo(points[i], points[i + 1], points[i + 2]);
            i += 2;
        } else {
            path.lineTo(points[i]);
        }
        if ((types[i] & 0x80) != 0) path.closeSubpath();
    }
    return path;
}

// A region is a tree of shapes joined by set operations, children after their node.
Region ReadRegionNode(Cursor& c, const QRectF& everything, std::size_t depth) {
    if (depth > kDeepestRegion) throw Short{};
    const uint32_t type = c.U32();
    switch (type) {
        case 0x10000000: {
            QPainterPath p;
            p.addRect(ReadRect(c, false).normalized());
            return {p, false};
        }
        case 0x10000001: {
            const uint32_t size = c.U32();
            c.Need(size);
            Cursor inner(c.Here(), size);
            Region r{ReadPath(inner), false};
            c.Skip(size);
            return r;
        }
        case 0x10000002: return {};
        case 0x10000003: {
            QPainterPath p;
            p.addRect(everything);
            return {p, true};
        }
        case 1: case 2: case 3: case 4: case 5: {
            const Region a = ReadRegionNode(c, everything, depth + 1);
            const Region b = ReadRegionNode(c, everything, depth + 1);
            switch (type) {
                case 1: return {a.path.intersected(b.path), a.infinite && b.infinite};
                case 2: return {a.path.united(b.path), a.infinite || b.infinite};
                case 3: return {a.path.subtracted(b.path).united(b.path.subtracted(a.path)), false};
                case 4: return {a.path.subtracted(b.path), false};
                default: return {b.path.subtracted(a.path), false};
            }
        }
        default: throw Short{};
    }
}

QImage ReadBitmap(Cursor& c) {
    const int32_t width = c.I32(), height = c.I32(), stride = c.I32();
    const uint32_t format = c.U32(), type = c.U32();
    if (type == 1) {  // PNG, JPEG, GIF and the like, whole
        const QByteArray data(c.Here(), static_cast<qsizetype>(c.Left()));
        return QImage::fromData(data);
    }
    if (width <= 0 || height <= 0 || width > kLargestImageSide || height > kLargestImageSide ||
        static_cast<long long>(width) * height > kLargestImagePixels || stride <= 0)
        return {};
    const int bits = static_cast<int>((format >> 8) & 0xFF);
    QList<QRgb> palette;
    if ((format & 0x00010000) != 0) {  // indexed: the palette comes first
        c.U32();
        const uint32_t entries = c.Count(4);
        for (uint32_t i = 0; i < entries && i < 256; ++i) palette.push_back(c.U32());
        if (entries > 256) c.Skip((entries - 256) * std::size_t{4});
    }
    if (static_cast<long long>(stride) < (static_cast<long long>(width) * bits + 7) / 8) throw Short{};
    c.Need(static_cast<std::size_t>(stride) * static_cast<std::size_t>(height));
    const auto* rows = reinterpret_cast<const uchar*>(c.Here());
    QImage::Format qtFormat;
    switch (format) {
        case 0x0026200A: qtFormat = QImage::Format_ARGB32; break;
        case 0x000E200B: qtFormat = QImage::Format_ARGB32_Premultiplied; break;
        case 0x00022009: qtFormat = QImage::Format_RGB32; break;
        case 0x00021808: qtFormat = QImage::Format_BGR888; break;
        case 0x00021005: qtFormat = QImage::Format_RGB555; break;
        case 0x00021006: qtFormat = QImage::Format_RGB16; break;
        case 0x00030803: qtFormat = QImage::Format_Indexed8; break;
        case 0x00030101: qtFormat = QImage::Format_Mono; break;
        case 0x00030402: {
            QImage image(width, height, QImage::Format_Indexed8);
            image.setColorTable(palette);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    const uchar pair = rows[static_cast<std::size_t>(y) * stride + x / 2];
                    image.scanLine(y)[x] = (x % 2 == 0) ? pair >> 4 : pair & 0x0F;
                }
            return image;
        }
        default: return {};
    }
    QImage image(width, height, qtFormat);
    if (image.isNull()) return {};
    const auto rowBytes = static_cast<std::size_t>(std::min<qsizetype>(image.bytesPerLine(), stride));
    for (int y = 0; y < height; ++y) std::memcpy(image.scanLine(y), rows + static_cast<std::size_t>(y) * stride, rowBytes);
    if (!palette.isEmpty()) image.setColorTable(palette);
    if (qtFormat == QImage::Format_Indexed8 || qtFormat == QImage::Format_Mono) {
        // Indexes past the palette are black, as GDI+ draws them.
        while (image.colorCount() < (qtFormat == QImage::Format_Mono ? 2 : 256)) image.setColor(image.colorCount(), qRgb(0, 0, 0));
    }
    return image;
}

// Colours at positions along a gradient.
QGradientStops ReadStops(Cursor& c, bool colours, const QColor& from, const QColor& to) {
    const uint32_t count = c.Count(8);
    std::vector<double> positions(count);
    for (double& p : positions) p = std::clamp(c.F32(), 0.0, 1.0);
    QGradientStops stops;
    for (uint32_t i = 0; i < count; ++i) {
        if (colours) {
            stops.push_back({positions[i], Argb(c.U32())});
        } else {
            const double f = std::clamp(c.F32(), 0.0, 1.0);
            const auto mix = [&](int a, int b) { return static_cast<int>(std::lround(a + (b - a) * f)); };
            stops.push_back({positions[i], QColor(mix(from.red(), to.red()), mix(from.green(), to.green()),
                                                  mix(from.blue(), to.blue()), mix(from.alpha(), to.alpha()))});
        }
    }
    return stops;
}

QGradient::Spread SpreadOf(int32_t wrap) {
    switch (wrap) {
        case 0: return QGradient::RepeatSpread;
        case 1: case 2: case 3: return QGradient::ReflectSpread;
        default: return QGradient::PadSpread;
    }
}

Brush ReadBrush(Cursor& c) {
    c.U32();  // version
    const uint32_t type = c.U32();
    Brush b;
    switch (type) {
        case 0: b.brush = QBrush(Argb(c.U32())); break;
        case 1: {
            const uint32_t style = c.U32();
            const QColor fore = Argb(c.U32());
            b.background = Argb(c.U32());
            // The percentage hatches, lightest first, then the rest as a middle grey.
            static constexpr std::array<Qt::BrushStyle, 12> kShades{Qt::Dense7Pattern, Qt::Dense7Pattern, Qt::Dense6Pattern,
                                                                    Qt::Dense6Pattern, Qt::Dense5Pattern, Qt::Dense4Pattern,
                                                                    Qt::Dense4Pattern, Qt::Dense3Pattern, Qt::Dense3Pattern,
                                                                    Qt::Dense2Pattern, Qt::Dense1Pattern, Qt::Dense1Pattern};
            const Qt::BrushStyle qtStyle = style < 6                      ? HatchLines(style)
                                           : style - 6 < kShades.size()   ? kShades[style - 6]
                                                                          : Qt::Dense4Pattern;
            b.brush = QBrush(fore, qtStyle);
            b.hatch = true;
            break;
        }
        case 2: {
            const uint32_t flags = c.U32();
            c.I32();  // wrap mode: a texture always tiles here
            const QTransform transform = (flags & 0x02) != 0 ? ReadMatrix(c) : QTransform();
            c.U32();  // the image's version
            if (c.U32() != 1) break;
            const QImage image = ReadBitmap(c);
            if (image.isNull()) break;
            b.brush = QBrush(image);
            b.brush.setTransform(transform);
            break;
        }
        case 3: {
            const uint32_t flags = c.U32();
            const int32_t wrap = c.I32();
            const QColor centreColour = Argb(c.U32());
            const double cx = c.F32(), cy = c.F32();
            const uint32_t surrounding = c.Count(4);
            QColor edge = centreColour;
            for (uint32_t i = 0; i < surrounding; ++i) {
                const QColor colour = Argb(c.U32());
                if (i == 0) edge = colour;
            }
            std::vector<QPointF> boundary;
            if ((flags & 0x01) != 0) {
                const uint32_t size = c.U32();
                c.Need(size);
                Cursor inner(c.Here(), size);
                const QPainterPath path = ReadPath(inner);
                for (int i = 0; i < path.elementCount(); ++i) boundary.emplace_back(path.elementAt(i));
                c.Skip(size);
            } else {
                boundary = ReadPoints(c, c.U32(), 0);
            }
            const QTransform transform = (flags & 0x02) != 0 ? ReadMatrix(c) : QTransform();
            // The colours run from the centre to the boundary; a circle through
            // the farthest boundary point stands for the boundary.
            const QPointF centre(cx, cy);
            double radius = 0;
            for (const QPointF& p : boundary) radius = std::max(radius, QLineF(centre, p).length());
            QRadialGradient gradient(centre, std::max(radius, 1e-3));
            gradient.setColorAt(0, centreColour);
            gradient.setColorAt(1, edge);
            if ((flags & 0x04) != 0) {
                // Preset colours count from the boundary inwards.
                QGradientStops stops = ReadStops(c, true, edge, centreColour);
                for (auto& stop : stops) stop.first = 1 - stop.first;
                std::sort(stops.begin(), stops.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
                if (!stops.isEmpty()) gradient.setStops(stops);
            }
            gradient.setSpread(SpreadOf(wrap) == QGradient::RepeatSpread ? QGradient::PadSpread : SpreadOf(wrap));
            b.brush = QBrush(gradient);
            b.brush.setTransform(transform);
            break;
        }
        case 4: {
            const uint32_t flags = c.U32();
            const int32_t wrap = c.I32();
            const QRectF rect = ReadRect(c, false);
            const QColor start = Argb(c.U32()), end = Argb(c.U32());
            c.Skip(8);
            const QTransform transform = (flags & 0x02) != 0 ? ReadMatrix(c) : QTransform();
            QLinearGradient gradient(rect.left(), rect.top(), rect.right(), rect.top());
            gradient.setColorAt(0, start);
            gradient.setColorAt(1, end);
            if ((flags & 0x04) != 0) {
                const QGradientStops stops = ReadStops(c, true, start, end);
                if (!stops.isEmpty()) gradient.setStops(stops);
            } else if ((flags & 0x08) != 0) {
                const QGradientStops stops = ReadStops(c, false, start, end);
                if (!stops.isEmpty()) gradient.setStops(stops);
            }
            gradient.setSpread(SpreadOf(wrap));
            b.brush = QBrush(gradient);
            b.brush.setTransform(transform);
            break;
        }
        default: break;
    }
    return b;
}

Pen ReadPen(Cursor& c) {
    c.U32();  // version
    c.U32();  // type
    const uint32_t flags = c.U32();
    Pen p;
    p.unit = c.U32();
    p.width = std::fabs(c.F32());
    p.pen = QPen(Qt::black, 1, Qt::SolidLine, Qt::FlatCap, Qt::MiterJoin);
    if ((flags & 0x0001) != 0) ReadMatrix(c);
    const auto cap = [](int32_t v) {
        switch (v) {
            case 1: case 0x11: return Qt::SquareCap;
            case 2: case 0x12: return Qt::RoundCap;
            default: return Qt::FlatCap;
        }
    };
    if ((flags & 0x0002) != 0) p.pen.setCapStyle(cap(c.I32()));
    if ((flags & 0x0004) != 0) c.I32();  // Qt has one cap for both ends: the start cap stands
    if ((flags & 0x0008) != 0) {
        switch (c.U32()) {
            case 1: p.pen.setJoinStyle(Qt::BevelJoin); break;
            case 2: p.pen.setJoinStyle(Qt::RoundJoin); break;
            case 3: p.pen.setJoinStyle(Qt::SvgMiterJoin); break;
            default: p.pen.setJoinStyle(Qt::MiterJoin); break;
        }
    }
    if ((flags & 0x0010) != 0) p.pen.setMiterLimit(std::clamp(c.F32(), 1.0, 100.0));
    if ((flags & 0x0020) != 0) {
        switch (c.I32()) {
            case 1: p.pen.setStyle(Qt::DashLine); break;
            case 2: p.pen.setStyle(Qt::DotLine); break;
            case 3: p.pen.setStyle(Qt::DashDotLine); break;
            case 4: p.pen.setStyle(Qt::DashDotDotLine); break;
            default: break;
        }
    }
    if ((flags & 0x0040) != 0) c.I32();
    if ((flags & 0x0080) != 0) p.pen.setDashOffset(c.F32());
    if ((flags & 0x0100) != 0) {
        const uint32_t count = c.Count(4);
        QList<qreal> dashes;
        for (uint32_t i = 0; i < count; ++i) dashes.push_back(std::clamp(c.F32(), 0.01, 1000.0));
        if (dashes.size() % 2 == 1) dashes.push_back(dashes.back());
        if (!dashes.isEmpty()) p.pen.setDashPattern(dashes);
    }
    if ((flags & 0x0200) != 0) c.I32();
    if ((flags & 0x0400) != 0) c.Skip(std::size_t{c.Count(4)} * 4);
    if ((flags & 0x0800) != 0) c.Skip(c.U32());  // custom caps: drawn as plain ends
    if ((flags & 0x1000) != 0) c.Skip(c.U32());
    p.brush = ReadBrush(c);
    return p;
}

Font ReadFont(Cursor& c) {
    c.U32();  // version
    Font f;
    f.emSize = std::fabs(c.F32());
    f.unit = c.U32();
    f.style = c.U32();
    c.U32();
    const uint32_t length = c.Count(2);
    QString family;
    for (uint32_t i = 0; i < length; ++i) family.push_back(QChar(c.U16()));
    f.family = family;
    return f;
}

StringFormat ReadStringFormat(Cursor& c) {
    c.U32();  // version
    StringFormat s;
    s.flags = c.U32();
    c.U32();  // language
    s.align = c.U32();
    s.lineAlign = c.U32();
    return s;
}

bool IsOldStyleDrawing(uint32_t type) {
    return (type >= 2 && type <= 8) || type == 15 || (type >= 41 && type <= 47) || (type >= 53 && type <= 56) ||
           (type >= 62 && type <= 64) || (type >= 71 && type <= 74) || (type >= 76 && type <= 81) ||
           (type >= 83 && type <= 92) || type == 96 || type == 97 || type == 108 || type == 114 || type == 116 ||
           type == 118;
}

bool IsEmfPlusComment(const std::vector<char>& bytes, std::size_t at, uint32_t size) {
    return U32At(bytes, at) == kCommentRecord && size >= 16 && U32At(bytes, at + 12) == kEmfPlusSignature;
}

class Player {
public:
    Player(QPainter& painter, const QRectF& frame, double pixel, int recordedWidth, int recordedHeight)
        : painter_(painter),
          // Half a device pixel up and left, where the renderings of EMF+
          // files we compare with put their edges.
          device_(QTransform::fromTranslate(-frame.x() - 0.5, -frame.y() - 0.5) *
                  QTransform::fromScale(recordedWidth / frame.width(), recordedHeight / frame.height())),
          everywhere_(0, 0, recordedWidth, recordedHeight),
          pixel_(pixel) {
        ApplyClip();
    }

    void SetResolution(double dpiX, double dpiY, bool display) {
        dpiX_ = dpiX > 0 ? dpiX : 96;
        dpiY_ = dpiY > 0 ? dpiY : 96;
        display_ = display;
    }

    // Puts this player's clip back on the painter, after another player has drawn.
    void Resume() { ApplyClip(); }

    // Plays one record; throws Short or BadObject where it lies.
    void Play(uint16_t type, uint16_t flags, Cursor c) {
        switch (type) {
            case kHeader: {
                c.U32();
                const uint32_t plusFlags = c.U32();
                const double dpiX = c.U32(), dpiY = c.U32();
                SetResolution(dpiX, dpiY, (plusFlags & 1) != 0);
                break;
            }
            case kObject: ReadObject(flags, c); break;
            case kClear: {
                painter_.save();
                painter_.resetTransform();
                painter_.fillRect(everywhere_, Argb(c.U32()));
                painter_.restore();
                break;
            }
            case kFillRects: {
                const Brush brush = BrushOf(flags, c.U32());
                const uint32_t count = c.Count((flags & kShortCoordinates) != 0 ? 8 : 16);
                QPainterPath path;
                for (uint32_t i = 0; i < count; ++i) path.addRect(ReadRect(c, (flags & kShortCoordinates) != 0));
                Fill(path, brush);
                break;
            }
            case kDrawRects: {
                const Pen* pen = PenAt(flags & 0xFF);
                const uint32_t count = c.Count((flags & kShortCoordinates) != 0 ? 8 : 16);
                QPainterPath path;
                for (uint32_t i = 0; i < count; ++i) path.addRect(ReadRect(c, (flags & kShortCoordinates) != 0));
                Stroke(path, pen);
                break;
            }
            case kFillPolygon: {
                const Brush brush = BrushOf(flags, c.U32());
                const std::vector<QPointF> points = ReadPoints(c, c.U32(), flags);
                QPainterPath path;
                path.addPolygon(QPolygonF(QList<QPointF>(points.begin(), points.end())));
                path.closeSubpath();
                Fill(path, brush);
                break;
            }
            case kDrawLines: {
                const Pen* pen = PenAt(flags & 0xFF);
                const std::vector<QPointF> points = ReadPoints(c, c.U32(), flags);
                QPainterPath path;
                path.addPolygon(QPolygonF(QList<QPointF>(points.begin(), points.end())));
                if ((flags & kClosedOrWinding) != 0) path.closeSubpath();
                Stroke(path, pen);
                break;
            }
            case kFillEllipse: {
                const Brush brush = BrushOf(flags, c.U32());
                QPainterPath path;
                path.addEllipse(ReadRect(c, (flags & kShortCoordinates) != 0));
                Fill(path, brush);
                break;
            }
            case kDrawEllipse: {
                const Pen* pen = PenAt(flags & 0xFF);
                QPainterPath path;
                path.addEllipse(ReadRect(c, (flags & kShortCoordinates) != 0));
                Stroke(path, pen);
                break;
            }
            case kFillPie: {
                const Brush brush = BrushOf(flags, c.U32());
                Fill(Arc(c, flags, true), brush);
                break;
            }
            case kDrawPie: Stroke(Arc(c, flags, true), PenAt(flags & 0xFF)); break;
            case kDrawArc: Stroke(Arc(c, flags, false), PenAt(flags & 0xFF)); break;
            case kFillRegion: {
                const auto* region = std::get_if<Region>(&ObjectAt(flags & 0xFF));
                const Brush brush = BrushOf(flags, c.U32());
                if (region != nullptr) Fill(region->path, brush);
                break;
            }
            case kFillPath: {
                const auto* path = std::get_if<Path>(&ObjectAt(flags & 0xFF));
                const Brush brush = BrushOf(flags, c.U32());
                if (path != nullptr) Fill(path->path, brush);
                break;
            }
            case kDrawPath: {
                const auto* path = std::get_if<Path>(&ObjectAt(flags & 0xFF));
                const Pen* pen = PenAt(c.U32());
                if (path != nullptr) Stroke(path->path, pen);
                break;
            }
            case kFillClosedCurve: {
                const Brush brush = BrushOf(flags, c.U32());
                const double tension = c.F32();
                QPainterPath path = Curve(ReadPoints(c, c.U32(), flags), tension, true, 0, 0);
                path.setFillRule((flags & kClosedOrWinding) != 0 ? Qt::WindingFill : Qt::OddEvenFill);
                Fill(path, brush);
                break;
            }
            case kDrawClosedCurve: {
                const Pen* pen = PenAt(flags & 0xFF);
                const double tension = c.F32();
                Stroke(Curve(ReadPoints(c, c.U32(), flags), tension, true, 0, 0), pen);
                break;
            }
            case kDrawCurve: {
                const Pen* pen = PenAt(flags & 0xFF);
                const double tension = c.F32();
                const uint32_t offset = c.U32(), segments = c.U32();
                Stroke(Curve(ReadPoints(c, c.U32(), flags), tension, false, offset, segments), pen);
                break;
            }
            case kDrawBeziers: {
                const Pen* pen = PenAt(flags & 0xFF);
                const std::vector<QPointF> points = ReadPoints(c, c.U32(), flags);
                QPainterPath path;
                if (!points.empty()) path.moveTo(points[0]);
                for (std::size_t i = 1; i + 2 < points.size(); i += 3)
                    path.cubicTo(points[i], points[i + 1], points[i + 2]);
                Stroke(path, pen);
                break;
            }
            case kDrawImage: {
                const auto* image = std::get_if<Image>(&ObjectAt(flags & 0xFF));
                c.U32();
                c.I32();
                const QRectF source = ReadRect(c, false);
                const QRectF target = ReadRect(c, (flags & kShortCoordinates) != 0);
                if (image != nullptr) DrawImage(image->image, source, target.topLeft(), target.topRight(), target.bottomLeft());
                break;
            }
            case kDrawImagePoints: {
                const auto* image = std::get_if<Image>(&ObjectAt(flags & 0xFF));
                c.U32();
                c.I32();
                const QRectF source = ReadRect(c, false);
                const std::vector<QPointF> points = ReadPoints(c, c.U32(), flags);
                if (points.size() != 3) throw Short{};
                if (image != nullptr) DrawImage(image->image, source, points[0], points[1], points[2]);
                break;
            }
            case kDrawString: DrawString(flags, c); break;
            case kDrawDriverString: DrawDriverString(flags, c); break;
            case kSave: Push(c.U32()); break;
            case kRestore: Pop(c.U32()); break;
            case kBeginContainer: {
                const QRectF target = ReadRect(c, false), source = ReadRect(c, false);
                const double unit = UnitFactor(flags >> 8, false) / PageFactor(false);
                Push(c.U32());
                QTransform map;
                if (source.width() != 0 && source.height() != 0)
                    map = QTransform::fromTranslate(-source.x(), -source.y()) *
                          QTransform::fromScale(target.width() * unit / source.width(), target.height() * unit / source.height()) *
                          QTransform::fromTranslate(target.x() * unit, target.y() * unit);
                state_.base = map * state_.world * state_.base;
                state_.world = QTransform();
                break;
            }
            case kBeginContainerNoParams: {
                Push(c.U32());
                state_.base = state_.world * state_.base;
                state_.world = QTransform();
                break;
            }
            case kEndContainer: Pop(c.U32()); break;
            case kSetWorldTransform: state_.world = ReadMatrix(c); break;
            case kResetWorldTransform: state_.world = QTransform(); break;
            case kMultiplyWorldTransform: Combine(flags, ReadMatrix(c)); break;
            case kTranslateWorldTransform: {
                const double dx = c.F32();
                Combine(flags, QTransform::fromTranslate(dx, c.F32()));
                break;
            }
            case kScaleWorldTransform: {
                const double sx = c.F32();
                Combine(flags, QTransform::fromScale(sx, c.F32()));
                break;
            }
            case kRotateWorldTransform: Combine(flags, QTransform().rotate(c.F32())); break;
            case kSetPageTransform:
                state_.pageUnit = flags & 0xFF;
                state_.pageScale = c.F32();
                if (!(state_.pageScale > 0)) state_.pageScale = 1;
                break;
            case kResetClip: SetClip(std::nullopt); break;
            case kSetClipRect: {
                QPainterPath path;
                path.addRect(ReadRect(c, false).normalized());
                CombineClip(flags >> 8 & 0x0F, Transform().map(path));
                break;
            }
            case kSetClipPath: {
                if (const auto* path = std::get_if<Path>(&ObjectAt(flags & 0xFF)))
                    CombineClip(flags >> 8 & 0x0F, Transform().map(path->path));
                break;
            }
            case kSetClipRegion: {
                if (const auto* region = std::get_if<Region>(&ObjectAt(flags & 0xFF))) {
                    if (region->infinite) CombineClip(flags >> 8 & 0x0F, EverywherePath());
                    else CombineClip(flags >> 8 & 0x0F, Transform().map(region->path));
                }
                break;
            }
            case kOffsetClip: {
                const double dx = c.F32(), dy = c.F32();
                if (state_.clip) {
                    const QTransform t = Transform();
                    const QPointF shift = t.map(QPointF(dx, dy)) - t.map(QPointF(0, 0));
                    SetClip(state_.clip->translated(shift));
                }
                break;
            }
            default: break;  // hints and the like: the picture is smoothed and scaled anyway
        }
    }

private:
    struct State {
        QTransform world, base;
        uint32_t pageUnit = 2;
        double pageScale = 1;
        std::optional<QPainterPath> clip;  // in recorded pixels; none: the whole picture
    };

    const Object& ObjectAt(uint32_t id) const {
        if (id >= kObjects) throw BadObject{};
        return objects_[id];
    }

    const Pen* PenAt(uint32_t id) const { return std::get_if<Pen>(&ObjectAt(id)); }

    Brush BrushOf(uint16_t flags, uint32_t value) const {
        if ((flags & kColourBrush) != 0) return {QBrush(Argb(value)), {}, false};
        if (const auto* brush = std::get_if<Brush>(&ObjectAt(value))) return *brush;
        return {Qt::NoBrush, {}, false};
    }

    void ReadObject(uint16_t flags, Cursor& c) {
        const uint32_t id = flags & 0xFF;
        const uint32_t kind = (flags >> 8) & 0x7F;
        if (id >= kObjects) throw BadObject{};
        if ((flags & kContinued) != 0) {
            // Large objects come in parts, each record with the whole size first.
            const uint32_t total = c.U32();
            if (total > kLargestObject) throw Short{};
            if (!pending_ || pending_->id != id || pending_->total != total) pending_ = Pending{id, kind, total, {}};
            pending_->data.append(c.Here(), std::min<std::size_t>(c.Left(), total - pending_->data.size()));
            if (pending_->data.size() < total) return;
            const Pending whole = std::move(*pending_);
            pending_.reset();
            Store(whole.id, whole.kind, Cursor(whole.data.data(), whole.data.size()));
            return;
        }
        pending_.reset();
        Store(id, kind, c);
    }

    void Store(uint32_t id, uint32_t kind, Cursor c) {
        const QRectF everything = Transform().inverted().mapRect(everywhere_);
        switch (kind) {
            case 1: objects_[id] = ReadBrush(c); break;
            case 2: objects_[id] = ReadPen(c); break;
            case 3: objects_[id] = Path{ReadPath(c)}; break;
            case 4: {
                c.U32();
                c.U32();  // node count: the tree says where it ends
                objects_[id] = ReadRegionNode(c, everything, 0);
                break;
            }
            case 5: {
                c.U32();
                objects_[id] = Image{c.U32() == 1 ? ReadBitmap(c) : QImage()};
                break;
            }
            case 6: objects_[id] = ReadFont(c); break;
            case 7: objects_[id] = ReadStringFormat(c); break;
            default: objects_[id] = Ignored{}; break;
        }
    }

    // Device pixels per unit.
    double UnitFactor(uint32_t unit, bool vertical) const {
        const double dpi = vertical ? dpiY_ : dpiX_;
        switch (unit) {
            case 1: return display_ ? 1 : dpi / 100;
            case 3: return dpi / 72;
            case 4: return dpi;
            case 5: return dpi / 300;
            case 6: return dpi / 25.4;
            default: return 1;
        }
    }

    double PageFactor(bool vertical) const { return UnitFactor(state_.pageUnit, vertical) * state_.pageScale; }

    QTransform Transform() const {
        return state_.world * state_.base * QTransform::fromScale(PageFactor(false), PageFactor(true)) * device_;
    }

    // Recorded pixels per world unit, along the longer of the two axes' mean.
    double Scale() const {
        const QTransform t = Transform();
        return std::sqrt(std::fabs(t.determinant()));
    }

    QPainterPath EverywherePath() const {
        QPainterPath p;
        p.addRect(everywhere_);
        return p;
    }

    void Combine(uint16_t flags, const QTransform& m) { state_.world = (flags & kAppend) != 0 ? state_.world * m : m * state_.world; }

    void CombineClip(uint32_t mode, const QPainterPath& shape) {
        static constexpr std::array<ClipOperation, 6> kOperations{ClipOperation::Replace, ClipOperation::Intersect,
                                                                  ClipOperation::Unite, ClipOperation::Xor,
                                                                  ClipOperation::Exclude, ClipOperation::Complement};
        if (mode < kOperations.size()) SetClip(CombinedClip(state_.clip.value_or(EverywherePath()), shape, kOperations[mode]));
    }

    void SetClip(std::optional<QPainterPath> clip) {
        state_.clip = std::move(clip);
        ApplyClip();
    }

    void ApplyClip() { kvo::ApplyClip(painter_, state_.clip, everywhere_); }

    void Push(uint32_t index) {
        if (saved_.size() >= kDeepestStack) saved_.erase(saved_.begin());
        saved_.push_back({index, state_});
    }

    void Pop(uint32_t index) {
        for (std::size_t i = saved_.size(); i-- > 0;) {
            if (saved_[i].index != index) continue;
            state_ = saved_[i].state;
            saved_.resize(i);
            ApplyClip();
            return;
        }
    }

    // Fills with the brush in world units; hatches stay device pixels wide.
    void Fill(const QPainterPath& path, const Brush& brush) {
        if (brush.brush.style() == Qt::NoBrush) return;
        const QTransform t = Transform();
        painter_.setTransform(t);
        if (brush.hatch) {
            painter_.fillPath(path, brush.background);
            QBrush pattern = brush.brush;
            pattern.setTransform(QTransform::fromScale(pixel_, pixel_) * t.inverted());
            painter_.fillPath(path, pattern);
        } else {
            painter_.fillPath(path, brush.brush);
        }
    }

    void Stroke(const QPainterPath& path, const Pen* pen) {
        if (pen == nullptr || pen->brush.brush.style() == Qt::NoBrush) return;
        const double scale = Scale();
        if (!(scale > 0)) return;
        double width = pen->unit == 0 ? pen->width : pen->width * UnitFactor(pen->unit, false) / PageFactor(false);
        QPen qpen = pen->pen;
        // Thinner than a pixel of the screen is the thinnest line wherever it is shown, as on Windows.
        qpen.setWidthF(width * scale < pixel_ ? 0 : width);
        qpen.setBrush(pen->brush.brush);
        painter_.setTransform(Transform());
        painter_.strokePath(path, qpen);
    }

    QPainterPath Arc(Cursor& c, uint16_t flags, bool pie) {
        const double start = c.F32(), sweep = c.F32();
        const QRectF box = ReadRect(c, (flags & kShortCoordinates) != 0);
        QPainterPath path;
        // Angles run clockwise on the page from the x axis; Qt's run the other way.
        if (pie) path.moveTo(box.center());
        else path.arcMoveTo(box, -start);
        path.arcTo(box, -start, -std::clamp(sweep, -360.0, 360.0));
        if (pie) path.closeSubpath();
        return path;
    }

    // A cardinal spline through the points, as Bézier segments.
    static QPainterPath Curve(const std::vector<QPointF>& points, double tension, bool closed, uint32_t offset, uint32_t segments) {
        QPainterPath path;
        const std::size_t n = points.size();
        if (n < 2) return path;
        const double k = tension / 3;
        const auto at = [&](long long i) {
            if (closed) return points[static_cast<std::size_t>((i % static_cast<long long>(n) + n) % n)];
            return points[static_cast<std::size_t>(std::clamp<long long>(i, 0, static_cast<long long>(n) - 1))];
        };
        std::size_t first = 0, count = closed ? n : n - 1;
        if (!closed && segments > 0) {
            if (offset >= n - 1) return path;
            first = offset;
            count = std::min<std::size_t>(segments, n - 1 - offset);
        }
        path.moveTo(at(static_cast<long long>(first)));
        for (std::size_t s = first; s < first + count; ++s) {
            const auto i = static_cast<long long>(s);
            const QPointF p0 = at(i - 1), p1 = at(i), p2 = at(i + 1), p3 = at(i + 2);
            path.cubicTo(p1 + (p2 - p0) * k, p2 - (p3 - p1) * k, p2);
        }
        if (closed) path.closeSubpath();
        return path;
    }

    void DrawImage(const QImage& image, const QRectF& source, const QPointF& topLeft, const QPointF& topRight,
                   const QPointF& bottomLeft) {
        if (image.isNull() || source.width() == 0 || source.height() == 0) return;
        painter_.setTransform(Placed(source, topLeft, topRight, bottomLeft) * Transform());
        painter_.drawImage(source, image, source);
    }

    std::optional<std::pair<QFont, double>> FontOf(uint32_t id) const {
        const auto* font = std::get_if<Font>(&ObjectAt(id));
        if (font == nullptr || !(font->emSize > 0)) return std::nullopt;
        QFont qfont(font->family);
        qfont.setPixelSize(static_cast<int>(kShapedPixels));
        qfont.setBold((font->style & 1) != 0);
        qfont.setItalic((font->style & 2) != 0);
        qfont.setUnderline((font->style & 4) != 0);
        qfont.setStrikeOut((font->style & 8) != 0);
        const double size = font->unit == 0 ? font->emSize : font->emSize * UnitFactor(font->unit, true) / PageFactor(true);
        return std::pair{qfont, size / kShapedPixels};
    }

    static QString ReadText(Cursor& c, uint32_t length) {
        if (length > c.Left() / 2) throw Short{};
        QString text;
        text.reserve(static_cast<qsizetype>(length));
        for (uint32_t i = 0; i < length; ++i) text.push_back(QChar(c.U16()));
        return text;
    }

    void DrawString(uint16_t flags, Cursor& c) {
        const uint32_t fontId = flags & 0xFF;
        const Brush brush = BrushOf(flags, c.U32());
        const uint32_t formatId = c.U32();
        const uint32_t length = c.U32();
        const QRectF layout = ReadRect(c, false);
        const QString text = ReadText(c, length);
        const StringFormat* format = formatId < kObjects ? std::get_if<StringFormat>(&ObjectAt(formatId)) : nullptr;
        const auto font = FontOf(fontId);
        if (!font) return;
        const auto& [qfont, scale] = *font;
        const QFontMetricsF metrics(qfont);
        const StringFormat f = format != nullptr ? *format : StringFormat{};
        const bool wrap = layout.width() > 0 && (f.flags & 0x1000) == 0;
        // Lines as GDI+ breaks them: at line ends, and between words where they would overrun.
        QStringList lines;
        for (const QString& paragraph : text.split(QRegularExpression(QStringLiteral("\r\n|\n|\r")))) {
            if (!wrap) {
                lines.push_back(paragraph);
                continue;
            }
            QString line;
            for (const QString& word : paragraph.split(QLatin1Char(' '))) {
                const QString candidate = line.isEmpty() ? word : line + QLatin1Char(' ') + word;
                if (!line.isEmpty() && metrics.horizontalAdvance(candidate) * scale > layout.width()) {
                    lines.push_back(line);
                    line = word;
                } else {
                    line = candidate;
                }
            }
            lines.push_back(line);
        }
        const double lineHeight = metrics.lineSpacing() * scale;
        const double blockHeight = lineHeight * static_cast<double>(lines.size());
        double top = layout.top();
        if (f.lineAlign == 1) top += (layout.height() - blockHeight) / 2;
        else if (f.lineAlign == 2) top += layout.height() - blockHeight;
        QPainterPath path;
        for (const QString& line : lines) {
            const double width = metrics.horizontalAdvance(line) * scale;
            double left = layout.left();
            if (f.align == 1) left += (layout.width() - width) / 2;
            else if (f.align == 2) left += layout.width() - width;
            QPainterPath shaped;
            shaped.addText(0, metrics.ascent(), qfont, line);
            path.addPath(QTransform::fromScale(scale, scale).map(shaped).translated(left, top));
            top += lineHeight;
        }
        path.setFillRule(Qt::WindingFill);
        Fill(path, brush);
    }

    void DrawDriverString(uint16_t flags, Cursor& c) {
        const uint32_t fontId = flags & 0xFF;
        const Brush brush = BrushOf(flags, c.U32());
        const uint32_t options = c.U32();
        const uint32_t hasMatrix = c.U32();
        const uint32_t count = c.Count(2);
        std::vector<uint16_t> glyphs(count);
        for (uint16_t& g : glyphs) g = c.U16();
        const bool advanceByFont = (options & 0x04) != 0;
        const std::vector<QPointF> positions = ReadPoints(c, advanceByFont ? std::min<uint32_t>(count, 1) : count, 0);
        const QTransform matrix = hasMatrix != 0 ? ReadMatrix(c) : QTransform();
        const auto font = FontOf(fontId);
        if (!font || count == 0) return;
        const auto& [qfont, scale] = *font;
        const QRawFont raw = QRawFont::fromFont(qfont);
        if (!raw.isValid()) return;
        QList<quint32> indexes;
        if ((options & 0x01) != 0) {  // the glyphs are characters
            QString text;
            for (uint16_t g : glyphs) text.push_back(QChar(g));
            indexes = raw.glyphIndexesForString(text);
        } else {
            for (uint16_t g : glyphs) indexes.push_back(g);
        }
        const QList<QPointF> advances = raw.advancesForGlyphIndexes(indexes);
        QPainterPath path;
        QPointF origin = positions.empty() ? QPointF() : positions[0];
        const QTransform glyphScale = QTransform::fromScale(scale, scale) * matrix;
        for (qsizetype i = 0; i < indexes.size(); ++i) {
            if (!advanceByFont && static_cast<std::size_t>(i) < positions.size()) origin = positions[static_cast<std::size_t>(i)];
            path.addPath(glyphScale.map(raw.pathForGlyph(indexes[i])).translated(origin));
            if (advanceByFont && i < advances.size()) origin += glyphScale.map(advances[i]) - glyphScale.map(QPointF());
        }
        path.setFillRule(Qt::WindingFill);
        Fill(path, brush);
    }

    struct Saved {
        uint32_t index;
        State state;
    };
    struct Pending {
        uint32_t id;
        uint32_t kind;
        uint32_t total;
        std::string data;
    };

    QPainter& painter_;
    const QTransform device_;
    const QRectF everywhere_;
    const double pixel_;  // recorded pixels per pixel of the picture on a screen
    double dpiX_ = 96, dpiY_ = 96;
    bool display_ = true;
    State state_;
    std::vector<Saved> saved_;
    std::array<Object, kObjects> objects_{};
    std::optional<Pending> pending_;
};

}  // namespace

EmfPlusSurvey SurveyEmfPlus(const std::vector<char>& bytes, std::size_t headerSize) {
    EmfPlusSurvey survey;
    for (std::size_t at = headerSize; at + 8 <= bytes.size();) {
        const uint32_t type = U32At(bytes, at), size = U32At(bytes, at + 4);
        if (size < 8 || size > bytes.size() - at) break;
        if (IsEmfPlusComment(bytes, at, size)) {
            const std::size_t end = at + std::min<std::size_t>(size, 12 + std::size_t{U32At(bytes, at + 8)});
            for (std::size_t p = at + 16; p + 12 <= end;) {
                const auto plusType = static_cast<uint16_t>(U32At(bytes, p) & 0xFFFF);
                const uint32_t plusSize = U32At(bytes, p + 4);
                if (at == headerSize && p == at + 16 && plusType == kHeader) {
                    survey.emfPlus = true;
                    survey.dual = (U32At(bytes, p) >> 16 & 1) != 0;
                }
                if (plusSize < 12 || plusSize > end - p) break;
                const uint32_t flags = U32At(bytes, p) >> 16;
                const std::size_t imageType = p + 16 + ((flags & kContinued) != 0 ? 4 : 0);
                if (plusType == kObject && (flags >> 8 & 0x7F) == 5 && imageType + 4 <= p + plusSize && U32At(bytes, imageType) == 2)
                    survey.metafileImages = true;
                p += plusSize;
            }
        }
        if (type == 14) break;
        at += size;
    }
    if (!survey.emfPlus) return {};
    return survey;
}

std::string PlayEmfPlus(const std::vector<char>& bytes, std::size_t headerSize, const QRectF& frame, double naturalWidth,
                        int recordedWidth, int recordedHeight, QPicture& picture) {
    if (!(frame.width() > 0) || !(frame.height() > 0) || !(naturalWidth > 0)) return PictureProtocol::Problem(Str::PictureNoUsableSize);
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing | QPainter::SmoothPixmapTransform);
    Player player(painter, frame, recordedWidth / naturalWidth, recordedWidth, recordedHeight);
    GdiPlayback gdi(painter, bytes, frame, recordedWidth / naturalWidth, recordedWidth, recordedHeight);
    // Old-style drawing is the twin of EMF+ drawing, except where the EMF+
    // stream hands drawing over (GetDC); its objects and state are kept always.
    bool handedOver = false, gdiDrewLast = false;
    long long records = 0;
    for (std::size_t at = headerSize; at + 8 <= bytes.size();) {
        const uint32_t type = U32At(bytes, at), size = U32At(bytes, at + 4);
        if (IsEmfPlusComment(bytes, at, size)) {
            const uint64_t dataSize = U32At(bytes, at + 8);
            if (dataSize + 12 > size || dataSize < 4) return PictureProtocol::Damaged(Str::PictureCommentTooLong, at);
            const std::size_t end = at + 12 + static_cast<std::size_t>(dataSize);
            for (std::size_t p = at + 16; p < end;) {
                if (end - p < 12) return PictureProtocol::Damaged(Str::PicturePlusCutOff, p);
                const uint32_t word = U32At(bytes, p);
                const uint32_t plusSize = U32At(bytes, p + 4), plusData = U32At(bytes, p + 8);
                if (plusSize < 12 || plusSize > end - p || plusData > plusSize - 12)
                    return PictureProtocol::Damaged(Str::PicturePlusLength, p);
                if (++records > PictureProtocol::kMaxEmfRecords) return PictureProtocol::TooManyRecords(PictureProtocol::kMaxEmfRecords);
                const auto plusType = static_cast<uint16_t>(word & 0xFFFF);
                if (gdiDrewLast) player.Resume();
                gdiDrewLast = false;
                handedOver = plusType == kGetDC;
                try {
                    player.Play(plusType, static_cast<uint16_t>(word >> 16), Cursor(bytes.data() + p + 12, plusData));
                } catch (const Short&) {
                    return PictureProtocol::Damaged(Str::PicturePlusOverrun, p);
                } catch (const BadObject&) {
                    return PictureProtocol::Damaged(Str::PicturePlusBadObject, p);
                }
                if (plusType == kEndOfFile) {
                    painter.end();
                    return {};
                }
                p += plusSize;
            }
        } else if (type != 14 && (handedOver || !IsOldStyleDrawing(type))) {
            if (!gdiDrewLast) gdi.Resume();
            gdiDrewLast = true;
            if (std::string problem = gdi.Play(at); !problem.empty()) return problem;
        }
        if (type == 14 || size < 8) break;
        at += size;
    }
    painter.end();
    return {};
}

}  // namespace kvo

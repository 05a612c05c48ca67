// Plays a Windows metafile with libwmf through a device layer of our own and
// records what it draws as a QPicture.
#include <QtCore/QBuffer>
#include <QtCore/QByteArray>
#include <QtCore/QLineF>
#include <QtGui/QFontMetricsF>
#include <QtGui/QImage>
#include <QtGui/QPainter>
#include <QtGui/QPainterPath>
#include <QtGui/QPicture>

#include <libwmf/api.h>
#include <libwmf/defs.h>
#include <libwmf/ipa.h>
#include <libwmf/macro.h>

#include <algorithm>
#include <array>
#include <set>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "PictureProtocol.h"
#include "WmfConvert.h"

namespace {

// Everything is recorded with the longer side this long, so that text sizes,
// which are whole pixels, stay exact when the picture is drawn smaller.
constexpr double kRecordedSide = 2048;
// A natural size in pixels beyond this is damage, as for EMF.
constexpr unsigned kLargestSide = 100000;

struct Device {
    QPainter* painter = nullptr;
    // A placeable file maps its current window onto the picture, as Windows
    // players do: the header's box gives the picture's physical size, and the
    // window only until the file sets its own. Any other file maps the bounds
    // of what it draws.
    bool followsWindow = false;
    double recordedWidth = 1, recordedHeight = 1;
    double originX = 0, originY = 0;  // top left of the bounds
    double scaleX = 1, scaleY = 1;    // bounds to recorded pixels
    double pixelScale = 1;            // recorded pixels per natural pixel
    // The bitmaps made for libwmf: a brush of a pattern style that no bitmap
    // came with carries whatever its memory held, which is never drawn or freed.
    std::set<const QImage*> images;
};

Device& DeviceOf(wmfAPI* api) { return *static_cast<Device*>(api->device_data); }

const QImage* ImageOf(const Device& d, const wmfBMP& bmp) {
    const auto* image = static_cast<const QImage*>(bmp.data);
    return d.images.contains(image) ? image : nullptr;
}

// libwmf's device units per logical unit. Outside the scaled mapping modes it
// keeps them positive and applies the sign of the window's extent on its own.
constexpr U16 kIsotropic = 7, kAnisotropic = 8;  // mapping modes; libwmf keeps its names private

double DeviceUnit(double pixel, S32 extent, U16 mapMode) {
    const bool scaled = mapMode == kIsotropic || mapMode == kAnisotropic;
    return !scaled && extent < 0 ? -pixel : pixel;
}

// Recorded pixels per libwmf device unit, along x and y.
QPointF Scale(const Device& d, const wmfDC* dc) {
    if (!d.followsWindow) return {d.scaleX, d.scaleY};
    // A device length over the window's extent, both in device units, is the share of the picture.
    const double spanX = DeviceUnit(dc->pixel_width, dc->Window.width, dc->map_mode) * dc->Window.width;
    const double spanY = DeviceUnit(dc->pixel_height, dc->Window.height, dc->map_mode) * dc->Window.height;
    return {spanX != 0 ? d.recordedWidth / spanX : 0, spanY != 0 ? d.recordedHeight / spanY : 0};
}

// Sizes (pen widths, text heights, corners) in recorded pixels.
double LengthX(const Device& d, const wmfDC* dc, double v) { return std::fabs(v * Scale(d, dc).x()); }
double LengthY(const Device& d, const wmfDC* dc, double v) { return std::fabs(v * Scale(d, dc).y()); }

// libwmf's device coordinates count from the window's origin.
QPointF Map(const Device& d, const wmfDC* dc, const wmfD_Coord& c) {
    const QPointF scale = Scale(d, dc);
    if (d.followsWindow) return {c.x * scale.x(), c.y * scale.y()};
    return {(c.x - d.originX) * scale.x(), (c.y - d.originY) * scale.y()};
}

QRectF MapRect(const Device& d, const wmfDC* dc, const wmfD_Coord& tl, const wmfD_Coord& br) {
    return QRectF(Map(d, dc, tl), Map(d, dc, br)).normalized();
}

QColor Rgb(const wmfRGB& c) { return QColor(c.r, c.g, c.b); }

QPen MakePen(const Device& d, wmfDC* dc) {
    const wmfPen* pen = dc->pen;
    const unsigned style = WMF_PEN_STYLE(pen);
    if (style == PS_NULL) return Qt::NoPen;
    QPen result(Rgb(pen->lopnColor));
    // Never thinner than one pixel of the picture, as on the screen it was made for.
    result.setWidthF(std::max(d.pixelScale, LengthX(d, dc, WMF_PEN_WIDTH(pen))));
    switch (style) {
        case PS_DASH: result.setStyle(Qt::DashLine); break;
        case PS_DOT: result.setStyle(Qt::DotLine); break;
        case PS_DASHDOT: result.setStyle(Qt::DashDotLine); break;
        case PS_DASHDOTDOT: result.setStyle(Qt::DashDotDotLine); break;
        default: result.setStyle(Qt::SolidLine); break;
    }
    switch (WMF_PEN_ENDCAP(pen)) {
        case PS_ENDCAP_SQUARE: result.setCapStyle(Qt::SquareCap); break;
        case PS_ENDCAP_FLAT: result.setCapStyle(Qt::FlatCap); break;
        default: result.setCapStyle(Qt::RoundCap); break;
    }
    switch (WMF_PEN_JOIN(pen)) {
        case PS_JOIN_BEVEL: result.setJoinStyle(Qt::BevelJoin); break;
        case PS_JOIN_MITER: result.setJoinStyle(Qt::MiterJoin); break;
        default: result.setJoinStyle(Qt::RoundJoin); break;
    }
    return result;
}

QBrush MakeBrush(const Device& d, wmfDC* dc) {
    const wmfBrush* brush = dc->brush;
    switch (WMF_BRUSH_STYLE(brush)) {
        case BS_NULL:
            return Qt::NoBrush;
        case BS_HATCHED: {
            static constexpr std::array<Qt::BrushStyle, 6> kHatches{Qt::HorPattern,   Qt::VerPattern, Qt::FDiagPattern,
                                                                    Qt::BDiagPattern, Qt::CrossPattern, Qt::DiagCrossPattern};
            const unsigned hatch = WMF_BRUSH_HATCH(brush);
            QBrush result(Rgb(brush->lbColor), hatch < kHatches.size() ? kHatches[hatch] : Qt::SolidPattern);
            // Hatches are device pixels wide, like every pattern.
            result.setTransform(QTransform::fromScale(d.pixelScale, d.pixelScale));
            return result;
        }
        case BS_PATTERN:
        case BS_DIBPATTERN:
        case BS_DIBPATTERNPT:
        case BS_PATTERN8X8:
        case BS_DIBPATTERN8X8:
            if (const QImage* image = ImageOf(d, brush->bmp)) {
                QBrush result(*image);
                result.setTransform(QTransform::fromScale(d.pixelScale, d.pixelScale));
                return result;
            }
            return QBrush(Rgb(brush->lbColor));
        default:
            return QBrush(Rgb(brush->lbColor));
    }
}

// Fills with the brush (a hatch on an opaque background first gets the
// background colour), then outlines with the pen.
void FillAndStroke(wmfAPI* api, wmfDC* dc, const QPainterPath& path, bool fill = true) {
    Device& d = DeviceOf(api);
    if (fill && WMF_BRUSH_STYLE(dc->brush) != BS_NULL) {
        if (WMF_BRUSH_STYLE(dc->brush) == BS_HATCHED && dc->bgmode == OPAQUE) d.painter->fillPath(path, Rgb(dc->bgcolor));
        d.painter->fillPath(path, MakeBrush(d, dc));
    }
    const QPen pen = MakePen(d, dc);
    if (pen.style() != Qt::NoPen) d.painter->strokePath(path, pen);
}

Qt::FillRule FillRuleOf(wmfDC* dc) { return dc->polyfillmode == WINDING ? Qt::WindingFill : Qt::OddEvenFill; }

void DrawPixel(wmfAPI* api, wmfDrawPixel_t* p) {
    Device& d = DeviceOf(api);
    const QPointF at = Map(d, p->dc, p->pt);
    d.painter->fillRect(QRectF(at, QSizeF(std::max(1.0, LengthX(d, p->dc, p->pixel_width)), std::max(1.0, LengthY(d, p->dc, p->pixel_height)))),
                        Rgb(p->color));
}

enum class ArcKind { Open, Pie, Chord, Ellipse };

void DrawArcShape(wmfAPI* api, wmfDrawArc_t* a, ArcKind kind) {
    Device& d = DeviceOf(api);
    const QRectF box = MapRect(d, a->dc, a->TL, a->BR);
    QPainterPath path;
    if (kind == ArcKind::Ellipse) {
        path.addEllipse(box);
        FillAndStroke(api, a->dc, path);
        return;
    }
    // Start and end come relative to the centre; the arc runs from start to end
    // clockwise on the page.
    const QPointF scale = Scale(d, a->dc);
    const double startAngle = std::atan2(a->start.y * scale.y(), a->start.x * scale.x()) * 180.0 / M_PI;
    double endAngle = std::atan2(a->end.y * scale.y(), a->end.x * scale.x()) * 180.0 / M_PI;
    if (endAngle <= startAngle) endAngle += 360;
    const double qtStart = -startAngle;
    const double qtSweep = -(endAngle - startAngle);
    if (kind == ArcKind::Pie) {
        path.moveTo(box.center());
        path.arcTo(box, qtStart, qtSweep);
        path.closeSubpath();
    } else {
        path.arcMoveTo(box, qtStart);
        path.arcTo(box, qtStart, qtSweep);
        if (kind == ArcKind::Chord) path.closeSubpath();
    }
    FillAndStroke(api, a->dc, path, kind != ArcKind::Open);
}

void DrawPie(wmfAPI* api, wmfDrawArc_t* a) { DrawArcShape(api, a, ArcKind::Pie); }
void DrawChord(wmfAPI* api, wmfDrawArc_t* a) { DrawArcShape(api, a, ArcKind::Chord); }
void DrawArc(wmfAPI* api, wmfDrawArc_t* a) { DrawArcShape(api, a, ArcKind::Open); }
void DrawEllipse(wmfAPI* api, wmfDrawArc_t* a) { DrawArcShape(api, a, ArcKind::Ellipse); }

void DrawLine(wmfAPI* api, wmfDrawLine_t* l) {
    Device& d = DeviceOf(api);
    QPainterPath path(Map(d, l->dc, l->from));
    path.lineTo(Map(d, l->dc, l->to));
    FillAndStroke(api, l->dc, path, false);
}

QPolygonF Polygon(const Device& d, const wmfDC* dc, const wmfD_Coord* points, unsigned count) {
    QPolygonF polygon;
    polygon.reserve(static_cast<int>(count));
    for (unsigned i = 0; i < count; ++i) polygon << Map(d, dc, points[i]);
    return polygon;
}

// A polyline is never filled, whatever the brush.
void PolyLine(wmfAPI* api, wmfPolyLine_t* p) {
    if (p->count < 2) return;
    QPainterPath path;
    path.addPolygon(Polygon(DeviceOf(api), p->dc, p->pt, p->count));
    FillAndStroke(api, p->dc, path, false);
}

void DrawPolygon(wmfAPI* api, wmfPolyLine_t* p) {
    if (p->count < 2) return;
    QPainterPath path;
    path.setFillRule(FillRuleOf(p->dc));
    path.addPolygon(Polygon(DeviceOf(api), p->dc, p->pt, p->count));
    path.closeSubpath();
    FillAndStroke(api, p->dc, path);
}

void DrawPolyPolygon(wmfAPI* api, wmfPolyPoly_t* p) {
    QPainterPath path;
    path.setFillRule(FillRuleOf(p->dc));
    for (unsigned i = 0; i < p->npoly; ++i) {
        if (p->count[i] < 2) continue;
        path.addPolygon(Polygon(DeviceOf(api), p->dc, p->pt[i], p->count[i]));
        path.closeSubpath();
    }
    FillAndStroke(api, p->dc, path);
}

void DrawRectangle(wmfAPI* api, wmfDrawRectangle_t* r) {
    Device& d = DeviceOf(api);
    QPainterPath path;
    const QRectF box = MapRect(d, r->dc, r->TL, r->BR);
    if (r->width > 0 && r->height > 0) path.addRoundedRect(box, LengthX(d, r->dc, r->width) / 2, LengthY(d, r->dc, r->height) / 2);
    else path.addRect(box);
    FillAndStroke(api, r->dc, path);
}

void RopDraw(wmfAPI* api, wmfROP_Draw_t* r) {
    Device& d = DeviceOf(api);
    const QRectF box = MapRect(d, r->dc, r->TL, r->BR);
    switch (r->ROP) {
        case BLACKNESS: d.painter->fillRect(box, Qt::black); break;
        case WHITENESS: d.painter->fillRect(box, Qt::white); break;
        case PATCOPY: d.painter->fillRect(box, MakeBrush(d, r->dc)); break;
        default: break;  // raster operations on what is below have no meaning in a recording
    }
}

// Turns a packed DIB into an image by giving it the file header it lacks.
void BmpRead(wmfAPI* api, wmfBMP_Read_t* r) {
    r->bmp.data = nullptr;
    if (r->buffer == nullptr || r->length < 40) return;
    const uint32_t headerSize = static_cast<uint32_t>(r->buffer[0] | (r->buffer[1] << 8) | (r->buffer[2] << 16) | (r->buffer[3] << 24));
    const uint16_t bitCount = static_cast<uint16_t>(r->buffer[14] | (r->buffer[15] << 8));
    uint32_t colors = static_cast<uint32_t>(r->buffer[32] | (r->buffer[33] << 8) | (r->buffer[34] << 16) | (r->buffer[35] << 24));
    if (colors == 0 && bitCount <= 8) colors = 1u << bitCount;
    const uint32_t compression = static_cast<uint32_t>(r->buffer[16] | (r->buffer[17] << 8));
    const uint32_t masks = (compression == 3 && headerSize == 40) ? 12 : 0;
    const uint32_t offset = 14 + headerSize + masks + colors * 4;
    QByteArray file;
    file.append("BM", 2);
    const uint32_t fileSize = 14 + static_cast<uint32_t>(r->length);
    for (uint32_t v : {fileSize, 0u, offset}) {
        for (int i = 0; i < 4; ++i) file.append(static_cast<char>((v >> (8 * i)) & 0xFF));
    }
    file.append(reinterpret_cast<const char*>(r->buffer), static_cast<int>(r->length));
    auto* image = new QImage();
    if (!image->loadFromData(file, "BMP") || image->isNull()) {
        delete image;
        return;
    }
    r->bmp.width = static_cast<U16>(image->width());
    r->bmp.height = static_cast<U16>(image->height());
    r->bmp.data = image;
    DeviceOf(api).images.insert(image);
}

void BmpFree(wmfAPI* api, wmfBMP* bmp) {
    if (const QImage* image = ImageOf(DeviceOf(api), *bmp)) {
        DeviceOf(api).images.erase(image);
        delete image;
    }
    bmp->data = nullptr;
}

void BmpDraw(wmfAPI* api, wmfBMP_Draw_t* b) {
    Device& d = DeviceOf(api);
    const QImage* found = ImageOf(d, b->bmp);
    if (found == nullptr) return;
    const QImage& image = *found;
    const QRectF source(b->crop.x, b->crop.y, b->crop.w, b->crop.h);
    const QPointF at = Map(d, b->dc, b->pt);
    const QRectF target(at, QSizeF(LengthX(d, b->dc, b->crop.w * b->pixel_width), LengthY(d, b->dc, b->crop.h * b->pixel_height)));
    d.painter->drawImage(target, image, source);
}

// Windows-1252 for 0x80..0x9F; the rest of the 8-bit range is Latin-1.
constexpr std::array<char16_t, 32> kCp1252High{
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
    0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// The Symbol font's code points (0x20..0x7E and 0xA0..0xFE) as Unicode.
constexpr std::array<char16_t, 95> kSymbolLow{
    0x0020, 0x0021, 0x2200, 0x0023, 0x2203, 0x0025, 0x0026, 0x220B, 0x0028, 0x0029, 0x2217, 0x002B, 0x002C, 0x2212, 0x002E, 0x002F,
    0x0030, 0x0031, 0x0032, 0x0033, 0x0034, 0x0035, 0x0036, 0x0037, 0x0038, 0x0039, 0x003A, 0x003B, 0x003C, 0x003D, 0x003E, 0x003F,
    0x2245, 0x0391, 0x0392, 0x03A7, 0x0394, 0x0395, 0x03A6, 0x0393, 0x0397, 0x0399, 0x03D1, 0x039A, 0x039B, 0x039C, 0x039D, 0x039F,
    0x03A0, 0x0398, 0x03A1, 0x03A3, 0x03A4, 0x03A5, 0x03C2, 0x03A9, 0x039E, 0x03A8, 0x0396, 0x005B, 0x2234, 0x005D, 0x22A5, 0x005F,
    0x203E, 0x03B1, 0x03B2, 0x03C7, 0x03B4, 0x03B5, 0x03C6, 0x03B3, 0x03B7, 0x03B9, 0x03D5, 0x03BA, 0x03BB, 0x03BC, 0x03BD, 0x03BF,
    0x03C0, 0x03B8, 0x03C1, 0x03C3, 0x03C4, 0x03C5, 0x03D6, 0x03C9, 0x03BE, 0x03C8, 0x03B6, 0x007B, 0x007C, 0x007D, 0x223C};
constexpr std::array<char16_t, 95> kSymbolHigh{
    0x20AC, 0x03D2, 0x2032, 0x2264, 0x2044, 0x221E, 0x0192, 0x2663, 0x2666, 0x2665, 0x2660, 0x2194, 0x2190, 0x2191, 0x2192, 0x2193,
    0x00B0, 0x00B1, 0x2033, 0x2265, 0x00D7, 0x221D, 0x2202, 0x2022, 0x00F7, 0x2260, 0x2261, 0x2248, 0x2026, 0x23D0, 0x23AF, 0x21B5,
    0x2135, 0x2111, 0x211C, 0x2118, 0x2297, 0x2295, 0x2205, 0x2229, 0x222A, 0x2283, 0x2287, 0x2284, 0x2282, 0x2286, 0x2208, 0x2209,
    0x2220, 0x2207, 0x00AE, 0x00A9, 0x2122, 0x220F, 0x221A, 0x22C5, 0x00AC, 0x2227, 0x2228, 0x21D4, 0x21D0, 0x21D1, 0x21D2, 0x21D3,
    0x25CA, 0x2329, 0x00AE, 0x00A9, 0x2122, 0x2211, 0x239B, 0x239C, 0x239D, 0x23A1, 0x23A2, 0x23A3, 0x23A7, 0x23A8, 0x23A9, 0x23AA,
    0x0020, 0x232A, 0x222B, 0x2320, 0x23AE, 0x2321, 0x239E, 0x239F, 0x23A0, 0x23A4, 0x23A5, 0x23A6, 0x23AB, 0x23AC, 0x23AD};

constexpr unsigned kSymbolCharset = 2;

bool IsSymbolFont(const wmfFont* font) {
    return font->lfCharSet == kSymbolCharset ||
           (font->lfFaceName != nullptr && QString::fromLatin1(font->lfFaceName).compare("Symbol", Qt::CaseInsensitive) == 0);
}

QString DecodeText(const char* text, bool symbol) {
    QString result;
    for (const unsigned char* c = reinterpret_cast<const unsigned char*>(text); *c != 0; ++c) {
        if (symbol && *c >= 0x20 && *c <= 0x7E) result += QChar(kSymbolLow[*c - 0x20]);
        else if (symbol && *c >= 0xA0 && *c <= 0xFE) result += QChar(kSymbolHigh[*c - 0xA0]);
        else if (*c >= 0x80 && *c <= 0x9F) result += QChar(kCp1252High[*c - 0x80]);
        else result += QChar(*c);
    }
    return result;
}

void DrawText(wmfAPI* api, wmfDrawText_t* t) {
    Device& d = DeviceOf(api);
    const wmfFont* font = t->dc->font;
    if (t->str == nullptr || font == nullptr) return;
    const bool symbol = IsSymbolFont(font);
    const QString text = DecodeText(t->str, symbol);
    QPainter& p = *d.painter;
    p.save();
    if (t->dc->bgmode == OPAQUE) {
        QPolygonF box;
        box << Map(d, t->dc, t->bbox.TL) << Map(d, t->dc, t->bbox.TR) << Map(d, t->dc, t->bbox.BR) << Map(d, t->dc, t->bbox.BL);
        QPainterPath background;
        background.addPolygon(box);
        p.fillPath(background, Rgb(t->dc->bgcolor));
    }
    QFont qfont(font->lfFaceName != nullptr ? QString::fromLatin1(font->lfFaceName) : QString());
    // An empty name, or one of commas and quotes only, leaves Qt a font without
    // a family, which crashes when a QPicture records it.
    if (qfont.families().isEmpty()) qfont.setFamilies({QStringLiteral("Helvetica")});
    // The text is Unicode Greek and mathematics by now, and the font that
    // fontconfig finds for "Symbol" draws none of it.
    if (symbol) qfont.setFamilies({QStringLiteral("DejaVu Serif"), QStringLiteral("DejaVu Sans")});
    const double height = LengthY(d, t->dc, t->font_height);
    qfont.setPixelSize(std::max(1, static_cast<int>(std::lround(height))));
    qfont.setWeight(font->lfWeight >= 600 ? QFont::Bold : QFont::Normal);
    qfont.setItalic(font->lfItalic != 0);
    qfont.setUnderline(font->lfUnderline != 0);
    qfont.setStrikeOut(font->lfStrikeOut != 0);
    if (t->font_ratio > 0 && std::fabs(t->font_ratio - 1.0) > 0.01) {
        qfont.setStretch(std::clamp(static_cast<int>(std::lround(t->font_ratio * 100)), 1, 4000));
    }
    p.setFont(qfont);
    p.setPen(Rgb(t->dc->textcolor));
    // libwmf placed centred and right-aligned text by its own estimate of the
    // width; placed again by the width this font really has.
    const double estimated = QLineF(Map(d, t->dc, t->bbox.BL), Map(d, t->dc, t->bbox.BR)).length();
    const double actual = QFontMetricsF(qfont).horizontalAdvance(text);
    const unsigned horizontal = t->dc->textalign & TA_CENTER;
    const double shift = horizontal == TA_CENTER ? (estimated - actual) / 2 : horizontal == TA_RIGHT ? estimated - actual : 0;
    p.translate(Map(d, t->dc, t->pt));
    p.rotate(-WMF_TEXT_ANGLE(font) * 180.0 / M_PI);
    p.drawText(QPointF(shift, 0), text);
    p.restore();
}

QRegion RegionOf(const Device& d, wmfPolyRectangle_t* r) {
    QRegion region;
    for (unsigned i = 0; i < r->count; ++i) region += MapRect(d, r->dc, r->TL[i], r->BR[i]).toAlignedRect();
    return region;
}

void RegionClip(wmfAPI* api, wmfPolyRectangle_t* r) {
    Device& d = DeviceOf(api);
    if (r->count == 0) d.painter->setClipping(false);
    else d.painter->setClipRegion(RegionOf(d, r));
}

void RegionPaint(wmfAPI* api, wmfPolyRectangle_t* r) {
    Device& d = DeviceOf(api);
    const QBrush brush = MakeBrush(d, r->dc);
    for (unsigned i = 0; i < r->count; ++i) d.painter->fillRect(MapRect(d, r->dc, r->TL[i], r->BR[i]), brush);
}

void RegionFrame(wmfAPI* api, wmfPolyRectangle_t* r) {
    Device& d = DeviceOf(api);
    const QBrush brush = MakeBrush(d, r->dc);
    const double w = std::max(1.0, LengthX(d, r->dc, r->width));
    const double h = std::max(1.0, LengthY(d, r->dc, r->height));
    for (unsigned i = 0; i < r->count; ++i) {
        const QRectF box = MapRect(d, r->dc, r->TL[i], r->BR[i]);
        d.painter->fillRect(QRectF(box.left(), box.top(), box.width(), h), brush);
        d.painter->fillRect(QRectF(box.left(), box.bottom() - h, box.width(), h), brush);
        d.painter->fillRect(QRectF(box.left(), box.top(), w, box.height()), brush);
        d.painter->fillRect(QRectF(box.right() - w, box.top(), w, box.height()), brush);
    }
}

template <typename... Args>
void Ignore(wmfAPI*, Args...) {}

void InstallDevice(wmfAPI* api) {
    auto* functions = static_cast<wmfFunctionReference*>(wmf_malloc(api, sizeof(wmfFunctionReference)));
    std::memset(functions, 0, sizeof(*functions));
    functions->device_open = Ignore<>;
    functions->device_close = Ignore<>;
    functions->device_begin = Ignore<>;
    functions->device_end = Ignore<>;
    functions->flood_interior = Ignore<wmfFlood_t*>;  // flood fills need the pixels below: not in a recording
    functions->flood_exterior = Ignore<wmfFlood_t*>;
    functions->draw_pixel = DrawPixel;
    functions->draw_pie = DrawPie;
    functions->draw_chord = DrawChord;
    functions->draw_arc = DrawArc;
    functions->draw_ellipse = DrawEllipse;
    functions->draw_line = DrawLine;
    functions->poly_line = PolyLine;
    functions->draw_polygon = DrawPolygon;
    functions->draw_polypolygon = DrawPolyPolygon;
    functions->draw_rectangle = DrawRectangle;
    functions->rop_draw = RopDraw;
    functions->bmp_draw = BmpDraw;
    functions->bmp_read = BmpRead;
    functions->bmp_free = BmpFree;
    functions->draw_text = DrawText;
    functions->udata_init = Ignore<wmfUserData_t*>;
    functions->udata_copy = Ignore<wmfUserData_t*>;
    functions->udata_set = Ignore<wmfUserData_t*>;
    functions->udata_free = Ignore<wmfUserData_t*>;
    functions->region_frame = RegionFrame;
    functions->region_paint = RegionPaint;
    functions->region_clip = RegionClip;
    api->function_reference = functions;
    api->device_data = nullptr;
}

uint16_t U16At(const QByteArray& b, qsizetype at) {
    return static_cast<uint16_t>(static_cast<unsigned char>(b[at]) | (static_cast<unsigned char>(b[at + 1]) << 8));
}
uint32_t U32At(const QByteArray& b, qsizetype at) { return U16At(b, at) | (static_cast<uint32_t>(U16At(b, at + 2)) << 16); }
void PutU16(QByteArray& b, qsizetype at, uint16_t v) {
    b[at] = static_cast<char>(v & 0xFF);
    b[at + 1] = static_cast<char>(v >> 8);
}
void PutU32(QByteArray& b, qsizetype at, uint32_t v) {
    PutU16(b, at, static_cast<uint16_t>(v & 0xFFFF));
    PutU16(b, at + 2, static_cast<uint16_t>(v >> 16));
}

constexpr uint16_t kCreateRegion = 0x06FF;
constexpr uint16_t kCreatePen = 0x02FA, kCreateBrush = 0x02FC, kCreateFont = 0x02FB, kCreatePalette = 0x00F7,
                   kCreatePatternBrush = 0x01F9, kCreateDibPatternBrush = 0x0142, kSelectObject = 0x012D, kDeleteObject = 0x01F0;
constexpr uint32_t kRegionRecordWords = 14;  // header and an empty region with its bounds
constexpr uint16_t kSaveDC = 0x001E, kRestoreDC = 0x0127, kSetMapMode = 0x0103;
constexpr uint16_t kSetWindowOrg = 0x020B, kSetWindowExt = 0x020C, kSetViewportOrg = 0x020D, kSetViewportExt = 0x020E;
constexpr uint16_t kOffsetViewportOrg = 0x020F, kOffsetWindowOrg = 0x0211, kScaleWindowExt = 0x0410,
                   kScaleViewportExt = 0x0412;

// The part of the device context that libwmf fails to take back on RestoreDC.
struct Mapping {
    int16_t mapMode = 1;
    std::array<int16_t, 2> windowOrg{}, windowExt{1, 1}, viewportOrg{}, viewportExt{1, 1};  // x, y
    bool operator==(const Mapping&) const = default;
};

QByteArray Record(uint16_t function, std::initializer_list<int16_t> params) {
    QByteArray record(6 + static_cast<qsizetype>(params.size()) * 2, '\0');
    PutU32(record, 0, static_cast<uint32_t>(record.size() / 2));
    PutU16(record, 4, function);
    qsizetype at = 6;
    for (int16_t p : params) {
        PutU16(record, at, static_cast<uint16_t>(p));
        at += 2;
    }
    return record;
}

// Records that bring libwmf from the mapping it has to the one Windows restores.
QByteArray Restore(const Mapping& from, const Mapping& to) {
    QByteArray records;
    if (from.mapMode != to.mapMode) records += Record(kSetMapMode, {to.mapMode});
    if (from.windowExt != to.windowExt) records += Record(kSetWindowExt, {to.windowExt[1], to.windowExt[0]});
    if (from.viewportExt != to.viewportExt) records += Record(kSetViewportExt, {to.viewportExt[1], to.viewportExt[0]});
    // Origins go back by offsets: libwmf keeps an offset apart from the origin it reports.
    const auto back = [](const std::array<int16_t, 2>& a, const std::array<int16_t, 2>& b, int i) {
        return static_cast<int16_t>(b[static_cast<std::size_t>(i)] - a[static_cast<std::size_t>(i)]);
    };
    if (from.windowOrg != to.windowOrg)
        records += Record(kOffsetWindowOrg, {back(from.windowOrg, to.windowOrg, 1), back(from.windowOrg, to.windowOrg, 0)});
    if (from.viewportOrg != to.viewportOrg)
        records += Record(kOffsetViewportOrg, {back(from.viewportOrg, to.viewportOrg, 1), back(from.viewportOrg, to.viewportOrg, 0)});
    return records;
}

void Track(Mapping& m, uint16_t function, const QByteArray& bytes, qsizetype params, uint32_t words) {
    const auto p = [&](int i) { return static_cast<int16_t>(U16At(bytes, params + i * 2)); };
    const auto scale = [](int16_t v, int16_t num, int16_t den) {
        return den == 0 ? v : static_cast<int16_t>(static_cast<int32_t>(v) * num / den);
    };
    const uint32_t count = words - 3;
    if (function == kSetMapMode && count >= 1) m.mapMode = p(0);
    else if (function == kSetWindowOrg && count >= 2) m.windowOrg = {p(1), p(0)};
    else if (function == kSetWindowExt && count >= 2) m.windowExt = {p(1), p(0)};
    else if (function == kSetViewportOrg && count >= 2) m.viewportOrg = {p(1), p(0)};
    else if (function == kSetViewportExt && count >= 2) m.viewportExt = {p(1), p(0)};
    else if (function == kOffsetWindowOrg && count >= 2)
        m.windowOrg = {static_cast<int16_t>(m.windowOrg[0] + p(1)), static_cast<int16_t>(m.windowOrg[1] + p(0))};
    else if (function == kOffsetViewportOrg && count >= 2)
        m.viewportOrg = {static_cast<int16_t>(m.viewportOrg[0] + p(1)), static_cast<int16_t>(m.viewportOrg[1] + p(0))};
    else if (function == kScaleWindowExt && count >= 4)
        m.windowExt = {scale(m.windowExt[0], p(3), p(2)), scale(m.windowExt[1], p(1), p(0))};
    else if (function == kScaleViewportExt && count >= 4)
        m.viewportExt = {scale(m.viewportExt[0], p(3), p(2)), scale(m.viewportExt[1], p(1), p(0))};
}

// How many saved contexts stay after RestoreDC(which): a negative count goes
// back from the last one saved, a positive one names a saved context.
std::size_t KeptAfterRestore(std::size_t saved, int16_t which) {
    return which < 0 ? saved - std::min<std::size_t>(saved, static_cast<std::size_t>(-which))
                     : std::min<std::size_t>(saved, static_cast<std::size_t>(std::max<int16_t>(which - 1, 0)));
}

// The object table as libwmf fills it, lowest free slot first, and the pen,
// brush and font its device context holds, now and in each saved context
// (libwmf selects an object as it creates it). libwmf frees an object deleted
// while its context holds it and goes on drawing with it (a font's name read
// from freed memory); the deletion is put off until nothing holds the object.
class Objects {
public:
    // The records that stand for this one: none for a deletion put off.
    QByteArray Pass(uint16_t function, const QByteArray& record, qsizetype params, uint32_t words) {
        const int index = words >= 4 ? static_cast<int>(U16At(record, params)) : -1;
        if (const Kind made = KindMadeBy(function); made != Kind::Free) {
            QByteArray out;
            if (made != Kind::Other) {
                selected_[static_cast<std::size_t>(made)] = -1;
                out += Release();  // first, so that the new object takes the slot Windows gives it
            }
            const auto free = std::find(slots_.begin(), slots_.end(), Kind::Free);
            const auto slot = static_cast<int>(free - slots_.begin());
            if (free != slots_.end()) *free = made;
            else slots_.push_back(made);
            most_ = std::max(most_, slots_.size());
            if (made != Kind::Other) selected_[static_cast<std::size_t>(made)] = slot;
            return out + record;
        }
        if (function == kSelectObject && KindAt(index) < Kind::Other) {
            selected_[static_cast<std::size_t>(KindAt(index))] = index;
            return record + Release();
        }
        if (function == kSaveDC) saved_.push_back(selected_);
        if (function == kRestoreDC && index >= 0 && !saved_.empty()) {
            const std::size_t keep = KeptAfterRestore(saved_.size(), static_cast<int16_t>(index));
            selected_ = saved_[std::min(keep, saved_.size() - 1)];
            saved_.resize(keep);
            return record + Release();
        }
        if (function == kDeleteObject && KindAt(index) != Kind::Free) {
            if (Held(index)) {
                putOff_.push_back(index);
                return {};
            }
            slots_[static_cast<std::size_t>(index)] = Kind::Free;
        }
        return record;
    }

    // Slots used at most: more than the file counts where a deletion was put off.
    std::size_t Slots() const { return most_; }

private:
    enum class Kind : uint8_t { Pen, Brush, Font, Other, Free };
    using Selection = std::array<int, 3>;  // pen, brush, font

    static Kind KindMadeBy(uint16_t function) {
        switch (function) {
            case kCreatePen: return Kind::Pen;
            case kCreateBrush:
            case kCreatePatternBrush:
            case kCreateDibPatternBrush: return Kind::Brush;
            case kCreateFont: return Kind::Font;
            case kCreatePalette:
            case kCreateRegion: return Kind::Other;
            default: return Kind::Free;
        }
    }
    Kind KindAt(int index) const {
        return index >= 0 && static_cast<std::size_t>(index) < slots_.size() ? slots_[static_cast<std::size_t>(index)] : Kind::Free;
    }
    bool Held(int index) const {
        const auto in = [index](const Selection& selection) { return std::find(selection.begin(), selection.end(), index) != selection.end(); };
        return in(selected_) || std::any_of(saved_.begin(), saved_.end(), in);
    }
    // The deletions put off whose objects nothing holds any more.
    QByteArray Release() {
        QByteArray out;
        for (auto it = putOff_.begin(); it != putOff_.end();) {
            if (Held(*it)) {
                ++it;
                continue;
            }
            out += Record(kDeleteObject, {static_cast<int16_t>(*it)});
            slots_[static_cast<std::size_t>(*it)] = Kind::Free;
            it = putOff_.erase(it);
        }
        return out;
    }

    std::vector<Kind> slots_;
    Selection selected_{-1, -1, -1};
    std::vector<Selection> saved_;
    std::vector<int> putOff_;
    std::size_t most_ = 0;
};

// Three things libwmf gets wrong that Windows does not, mended before it plays
// the file: region records too short for it (it refuses the whole file; they
// become empty regions, so the object table keeps its slots), RestoreDC,
// after which it keeps the window and viewport of before (the mapping being
// restored is set again by explicit records), and objects deleted while
// selected (see Objects).
QByteArray PrepareForLibwmf(const QByteArray& bytes, long long& records) {
    qsizetype at = U32At(bytes, 0) == 0x9AC6CDD7u ? 22 : 0;
    if (at + 18 > bytes.size()) return bytes;
    const qsizetype headerEnd = at + U16At(bytes, at + 2) * 2;
    if (headerEnd <= at || headerEnd > bytes.size()) return bytes;
    QByteArray prepared = bytes.left(headerEnd);
    // libwmf allocates what the header says the largest record is, however
    // large: it gets the size of the largest record there really is.
    uint32_t largest = 5;
    Mapping mapping;
    if (at > 0) {
        // The header's box is the window a placeable file starts with.
        const auto boxAt = [&](qsizetype i) { return static_cast<int16_t>(U16At(bytes, i)); };
        const auto width = static_cast<int16_t>(boxAt(10) - boxAt(6)), height = static_cast<int16_t>(boxAt(12) - boxAt(8));
        mapping.windowOrg = {boxAt(6), boxAt(8)};
        if (width != 0 && height != 0) mapping.windowExt = {width, height};
        prepared += Record(kSetWindowOrg, {mapping.windowOrg[1], mapping.windowOrg[0]});
        prepared += Record(kSetWindowExt, {mapping.windowExt[1], mapping.windowExt[0]});
    }
    std::vector<Mapping> saved;
    Objects objects;
    for (qsizetype record = headerEnd; record + 6 <= bytes.size();) {
        const uint32_t words = U32At(bytes, record);
        const uint16_t function = U16At(bytes, record + 4);
        if (words < 3 || record + qsizetype{words} * 2 > bytes.size()) {
            prepared += bytes.mid(record);  // libwmf reports what is wrong with the rest
            break;
        }
        if (function == kCreateRegion && words < kRegionRecordWords) {
            QByteArray region(kRegionRecordWords * 2, '\0');
            PutU32(region, 0, kRegionRecordWords);
            PutU16(region, 4, kCreateRegion);
            PutU16(region, 8, 6);    // object type: region
            PutU16(region, 14, 22);  // region size in bytes
            prepared += objects.Pass(kCreateRegion, region, 6, kRegionRecordWords);
            largest = std::max(largest, kRegionRecordWords);
        } else {
            prepared += objects.Pass(function, bytes.mid(record, qsizetype{words} * 2), 6, words);
            largest = std::max(largest, words);
        }
        if (function == kSaveDC) {
            saved.push_back(mapping);
        } else if (function == kRestoreDC && words >= 4 && !saved.empty()) {
            const std::size_t keep = KeptAfterRestore(saved.size(), static_cast<int16_t>(U16At(bytes, record + 6)));
            const Mapping restored = saved[std::min(keep, saved.size() - 1)];
            saved.resize(keep);
            prepared += Restore(mapping, restored);
            mapping = restored;
        } else {
            Track(mapping, function, bytes, record + 6, words);
        }
        record += qsizetype{words} * 2;
        ++records;
    }
    PutU32(prepared, at + 6, static_cast<uint32_t>((prepared.size() - at) / 2));
    PutU16(prepared, at + 10, static_cast<uint16_t>(std::min<std::size_t>(std::max<std::size_t>(U16At(prepared, at + 10), objects.Slots()), 0xFFFF)));
    PutU32(prepared, at + 12, largest);
    return prepared;
}

void WriteInt(QByteArray& out, int32_t value) {
    for (int i = 0; i < 4; ++i) out.append(static_cast<char>((value >> (8 * i)) & 0xFF));
}

}  // namespace

namespace kvo {

std::string ConvertWmf(const QByteArray& original, QByteArray& out) {
    if (original.size() < 18) return PictureProtocol::Problem(Str::PictureTooShortForWmf);
    // The header says how long the file is; libwmf would draw a cut-off file half.
    const qsizetype headerAt = U32At(original, 0) == 0x9AC6CDD7u ? 22 : 0;
    // Some writers count the placeable header in as well: the whole file is the bound.
    if (headerAt + 18 > original.size() || qsizetype{U32At(original, headerAt + 6)} * 2 > original.size())
        return PictureProtocol::Problem(Str::PictureTruncated);
    long long records = 0;
    QByteArray bytes = PrepareForLibwmf(original, records);
    if (records > PictureProtocol::kMaxWmfRecords) return PictureProtocol::TooManyRecords(PictureProtocol::kMaxWmfRecords);

    wmfAPI* api = nullptr;
    wmfAPI_Options options{};
    options.function = InstallDevice;
    const unsigned long flags = WMF_OPT_FUNCTION | WMF_OPT_IGNORE_NONFATAL | WMF_OPT_NO_DEBUG | WMF_OPT_NO_ERROR;
    Device device;
    if (wmf_api_create(&api, flags, &options) != wmf_E_None) return PictureProtocol::Problem(Str::PictureWmfLibraryFailed);
    api->device_data = &device;  // bitmaps may be read while the file is scanned
    const auto finish = [&](std::string status) {
        wmf_mem_close(api);
        wmf_api_destroy(api);
        for (const QImage* image : device.images) delete image;  // those libwmf never freed
        return status;
    };
    if (wmf_mem_open(api, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size()) != wmf_E_None)
        return finish(PictureProtocol::Problem(Str::PictureUnreadable));
    wmfD_Rect bounds{};
    if (wmf_scan(api, 0, &bounds) != wmf_E_None) return finish(PictureProtocol::Problem(Str::PictureNotWmf));
    unsigned int width = 0, height = 0;
    if (wmf_display_size(api, &width, &height, 96, 96) != wmf_E_None || width == 0 || height == 0) {
        // The bounds of what it draws, which damaged coordinates can make vast.
        const double spanX = std::max(1.0, static_cast<double>(bounds.BR.x) - bounds.TL.x);
        const double spanY = std::max(1.0, static_cast<double>(bounds.BR.y) - bounds.TL.y);
        if (!(spanX <= kLargestSide) || !(spanY <= kLargestSide)) return finish(PictureProtocol::Problem(Str::PictureDrawingTooLarge));
        width = static_cast<unsigned>(spanX);
        height = static_cast<unsigned>(spanY);
    }
    if (width > kLargestSide || height > kLargestSide) return finish(PictureProtocol::Problem(Str::PictureFrameTooLarge));
    const double pixelScale = kRecordedSide / std::max(width, height);
    const int recordedWidth = std::max(1, static_cast<int>(std::lround(width * pixelScale)));
    const int recordedHeight = std::max(1, static_cast<int>(std::lround(height * pixelScale)));
    device.pixelScale = pixelScale;
    device.recordedWidth = recordedWidth;
    device.recordedHeight = recordedHeight;
    if (U32At(bytes, 0) == 0x9AC6CDD7u) {
        device.followsWindow = true;
    } else {
        const double spanX = bounds.BR.x - bounds.TL.x;
        const double spanY = bounds.BR.y - bounds.TL.y;
        if (!(spanX > 0) || !(spanY > 0)) return finish(PictureProtocol::Problem(Str::PictureDrawsNothing));
        device.originX = bounds.TL.x;
        device.originY = bounds.TL.y;
        device.scaleX = recordedWidth / spanX;
        device.scaleY = recordedHeight / spanY;
    }
    QPicture picture;
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    // What a placeable file draws beyond its box is cut, as LibreOffice cuts it,
    // even where a Windows player shows some of it: the box is the picture's frame.
    painter.setClipRect(QRect(0, 0, recordedWidth, recordedHeight));
    device.painter = &painter;
    const wmf_error_t played = wmf_play(api, 0, &bounds);
    painter.end();
    if (played != wmf_E_None) return finish(PictureProtocol::Problem(Str::PictureWmfPlayFailed));

    out = QByteArray(kvo::PictureProtocol::kRecordedTag);
    for (int32_t v : {static_cast<int32_t>(width), static_cast<int32_t>(height), recordedWidth, recordedHeight}) WriteInt(out, v);
    out.append(QByteArray(picture.data(), static_cast<int>(picture.size())));
    return finish({});
}

}  // namespace kvo

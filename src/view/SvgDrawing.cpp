// glib's headers use "signals" and "slots" as names.
#define QT_NO_KEYWORDS
#include "SvgDrawing.h"

#include <cairo.h>
#include <librsvg/rsvg.h>

#include <algorithm>

#include "services/Error.h"

namespace kvo {

namespace {

constexpr int32_t kInvalidPicture = 481;

}  // namespace

SvgDrawing::SvgDrawing(const QByteArray& svg) {
    GError* error = nullptr;
    RsvgHandle* handle = rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.constData()),
                                                   static_cast<gsize>(svg.size()), &error);
    if (handle == nullptr) {
        const std::string message = error != nullptr ? error->message : "unknown reason";
        if (error != nullptr) g_error_free(error);
        throw Error(kInvalidPicture, "Metafile.LoadFile", "the converted picture cannot be drawn: " + message);
    }
    handle_ = handle;
}

SvgDrawing::~SvgDrawing() {
    if (handle_ != nullptr) g_object_unref(static_cast<RsvgHandle*>(handle_));
}

QImage SvgDrawing::Render(int width, int height) const {
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    // cairo's ARGB32 and Qt's premultiplied ARGB32 share one layout.
    cairo_surface_t* surface = cairo_image_surface_create_for_data(image.bits(), CAIRO_FORMAT_ARGB32, width, height,
                                                                   static_cast<int>(image.bytesPerLine()));
    cairo_t* cr = cairo_create(surface);
    const RsvgRectangle viewport{0, 0, static_cast<double>(width), static_cast<double>(height)};
    GError* error = nullptr;
    if (!rsvg_handle_render_document(static_cast<RsvgHandle*>(handle_), cr, &viewport, &error) && error != nullptr)
        g_error_free(error);  // what could be drawn is drawn
    cairo_destroy(cr);
    cairo_surface_flush(surface);
    cairo_surface_destroy(surface);
    return image;
}

void SvgDrawing::Draw(QPainter& painter, const QRectF& target) const {
    // Rendered at the device's resolution of the target, so it stays sharp.
    const QRect device = painter.transform().mapRect(target).toAlignedRect();
    const int width = std::clamp(device.width(), 1, 8192);
    const int height = std::clamp(device.height(), 1, 8192);
    painter.drawImage(target, Render(width, height));
}

}  // namespace kvo

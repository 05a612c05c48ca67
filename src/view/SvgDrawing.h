#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QRectF>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <memory>
#include <string>

namespace kvo {

// SVG drawn by librsvg through cairo: Qt's own SVG support lacks clip paths,
// which the EMF conversion uses.
class SvgDrawing {
public:
    // Raises an error with the parser's message when the SVG is not usable.
    explicit SvgDrawing(const QByteArray& svg);
    ~SvgDrawing();
    SvgDrawing(const SvgDrawing&) = delete;
    SvgDrawing& operator=(const SvgDrawing&) = delete;

    void Draw(QPainter& painter, const QRectF& target) const;

private:
    QImage Render(int width, int height) const;

    void* handle_ = nullptr;  // RsvgHandle, kept out of this header with glib's macros
};

}  // namespace kvo

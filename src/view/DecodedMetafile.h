#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSize>
#include <QtGui/QPainter>
#include <QtGui/QPicture>

#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace kvo {

class SvgDrawing;

// A metafile as its helper handed it over: a recording (WMF) or SVG (EMF).
struct DecodedMetafile {
    std::string key;        // the file's name and its state on disk when decoded
    std::size_t bytes = 0;  // about what it costs the editor's memory
    QSize naturalSize;      // pixels at 96 dpi
    QPicture recording;     // WMF: drawn in a space of recordedSize
    QSize recordedSize;
    std::shared_ptr<SvgDrawing> svg;  // EMF
    // Held while the picture is drawn: librsvg's handle must not draw in two
    // threads at once.
    mutable std::mutex drawing;

    void Draw(QPainter& painter, const QRectF& target) const;
};

}  // namespace kvo

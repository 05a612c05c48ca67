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

// A metafile as its helper handed it over: a recording of its drawing.
struct DecodedMetafile {
    std::string key;        // the file's name and its state on disk when decoded
    std::size_t bytes = 0;  // about what it costs the editor's memory
    QSize naturalSize;      // pixels at 96 dpi
    QPicture recording;     // drawn in a space of recordedSize
    QSize recordedSize;
    // Held while the picture is drawn: a recording keeps its read position in
    // itself, so two threads must not play it at once.
    mutable std::mutex drawing;

    void Draw(QPainter& painter, const QRectF& target) const;
};

}  // namespace kvo

#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSize>
#include <QtGui/QPainter>
#include <QtGui/QPicture>

#include <memory>

namespace kvo {

class SvgDrawing;

// A metafile as its helper handed it over: a recording (WMF) or SVG (EMF).
struct DecodedMetafile {
    QSize naturalSize;      // pixels at 96 dpi
    QPicture recording;     // WMF: drawn in a space of recordedSize
    QSize recordedSize;
    std::shared_ptr<SvgDrawing> svg;  // EMF

    void Draw(QPainter& painter, const QRectF& target) const;
};

}  // namespace kvo

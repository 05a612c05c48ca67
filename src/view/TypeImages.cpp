#include "TypeImages.h"

#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <array>
#include <mutex>

namespace kvo {

namespace {

// One glyph per measuring symbol, drawn in a 14 x 14 box.
void DrawSymbol(QPainter& p, int symbol) {
    switch (symbol) {
        case 0:  // plain value
            p.drawEllipse(QPointF(7, 7), 1.5, 1.5);
            break;
        case 1:  // diameter
            p.drawEllipse(QPointF(7, 7), 4.5, 4.5);
            p.drawLine(QPointF(2.5, 11.5), QPointF(11.5, 2.5));
            break;
        case 2:  // distance
            p.drawLine(QPointF(2, 7), QPointF(12, 7));
            p.drawLine(QPointF(2, 3), QPointF(2, 11));
            p.drawLine(QPointF(12, 3), QPointF(12, 11));
            break;
        case 3:  // angle
            p.drawLine(QPointF(2, 12), QPointF(12, 12));
            p.drawLine(QPointF(2, 12), QPointF(11, 3));
            break;
        case 4:  // position
            p.drawEllipse(QPointF(7, 7), 4, 4);
            p.drawLine(QPointF(7, 1), QPointF(7, 13));
            p.drawLine(QPointF(1, 7), QPointF(13, 7));
            break;
        case 5:  // roundness
            p.drawEllipse(QPointF(7, 7), 5, 5);
            break;
        default:  // flatness
            p.drawPolygon(QPolygonF({QPointF(1, 10), QPointF(4, 4), QPointF(13, 4), QPointF(10, 10)}));
            break;
    }
}

QImage Draw(int index) {
    QImage image(kTypeImageSize, kTypeImageSize, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Qt::black, 1.2));
    if (index == kTypeImageCount) {  // average: x with a bar
        p.drawLine(QPointF(3, 2), QPointF(11, 2));
        p.drawLine(QPointF(4, 5), QPointF(10, 12));
        p.drawLine(QPointF(10, 5), QPointF(4, 12));
        return image;
    }
    const bool limit = index >= 8;
    DrawSymbol(p, limit ? index - 7 : index - 1);
    if (limit) {  // limits: a small double bar in the corner
        p.setPen(QPen(QColor(0, 0, 160), 1));
        p.drawLine(QPointF(10, 0.5), QPointF(13.5, 0.5));
        p.drawLine(QPointF(10, 2.5), QPointF(13.5, 2.5));
    }
    return image;
}

}  // namespace

QImage TypeImage(int index) {
    static std::once_flag once;
    static std::array<QImage, kTypeImageCount + 1> images;
    std::call_once(once, [] {
        for (int i = 1; i <= kTypeImageCount; ++i) images[static_cast<std::size_t>(i)] = Draw(i);
    });
    if (index < 1 || index > kTypeImageCount) return {};
    return images[static_cast<std::size_t>(index)];
}

}  // namespace kvo

#include "TypeImages.h"

#include <QtGui/QPainter>
#include <QtGui/QPainterPath>

#include <algorithm>
#include <array>
#include <mutex>

namespace kvo {

namespace {

// One glyph per measuring symbol of the catalogue's first entries: 0 a plain
// value, 1 diameter, 2 angle, 3 to 5 the X, Y and Z coordinates, 6 radius.
void DrawSymbol(QPainter& p, int symbol) {
    switch (symbol) {
        case 0:
            p.drawEllipse(QPointF(7, 7), 1.5, 1.5);
            break;
        case 1:
            p.drawEllipse(QPointF(7, 7), 4.5, 4.5);
            p.drawLine(QPointF(2.5, 11.5), QPointF(11.5, 2.5));
            break;
        case 2:
            p.drawLine(QPointF(2, 12), QPointF(12, 12));
            p.drawLine(QPointF(2, 12), QPointF(11, 3));
            break;
        default: {
            QFont font = p.font();
            font.setPixelSize(11);
            font.setBold(true);
            p.setFont(font);
            static const char* letters[] = {"X", "Y", "Z", "R"};
            p.drawText(QRectF(0, 0, 14, 14), Qt::AlignCenter, letters[std::clamp(symbol - 3, 0, 3)]);
            break;
        }
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

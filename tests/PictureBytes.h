#pragma once

#include <QtCore/QBuffer>
#include <QtGui/QImage>

#include <string>

namespace kvo::test {

// A plain 24-bit BMP of the given size.
inline std::string Bmp(int width, int height) {
    QImage image(width, height, QImage::Format_RGB888);
    image.fill(Qt::darkGray);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "BMP");
    return bytes.toStdString();
}

}  // namespace kvo::test

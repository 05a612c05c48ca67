#pragma once

#include <QtCore/QRectF>
#include <QtGui/QPicture>

#include <string>
#include <vector>

namespace kvo {

// Plays the old-style records of an enhanced metafile whose lengths were
// checked record by record, as GDI plays them, into
// a picture recorded as recordedWidth x recordedHeight. The frame is in the
// reference device's pixels; the picture is naturalWidth pixels wide on a
// screen. EMF+ records in comments are passed over. Returns what is wrong
// with the file, or an empty text. Needs a QGuiApplication.
std::string PlayEmf(const std::vector<char>& bytes, std::size_t headerSize, const QRectF& frame, double naturalWidth,
                    int recordedWidth, int recordedHeight, QPicture& picture);

}  // namespace kvo

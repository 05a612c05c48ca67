#pragma once

#include <QtCore/QRectF>
#include <QtGui/QPainter>
#include <QtGui/QPicture>

#include <memory>
#include <string>
#include <vector>

namespace kvo {

class GdiPlayer;

// The old-style records of a file whose lengths were checked, played one at a
// time onto a painter recording the picture: for a stream of EMF+ records
// that hands drawing over to them (GetDC). The frame is in the reference
// device's pixels; pixel is recorded pixels per pixel of the picture on a screen.
class GdiPlayback {
public:
    GdiPlayback(QPainter& painter, const std::vector<char>& bytes, const QRectF& frame, double pixel, int recordedWidth,
                int recordedHeight);
    ~GdiPlayback();
    GdiPlayback(const GdiPlayback&) = delete;
    GdiPlayback& operator=(const GdiPlayback&) = delete;

    // Plays the record at the byte at; returns what is wrong with it, or an empty text.
    std::string Play(std::size_t at);
    // Puts this player's clip back on the painter, after another player has drawn.
    void Resume();

private:
    const std::vector<char>& bytes_;
    std::unique_ptr<GdiPlayer> player_;
};

// Plays the old-style records of an enhanced metafile whose lengths were
// checked record by record, as GDI plays them, into
// a picture recorded as recordedWidth x recordedHeight. The frame is in the
// reference device's pixels; the picture is naturalWidth pixels wide on a
// screen. EMF+ records in comments are passed over. Returns what is wrong
// with the file, or an empty text. Needs a QGuiApplication.
std::string PlayEmf(const std::vector<char>& bytes, std::size_t headerSize, const QRectF& frame, double naturalWidth,
                    int recordedWidth, int recordedHeight, QPicture& picture);

}  // namespace kvo

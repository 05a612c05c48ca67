#pragma once

#include <QtCore/QRectF>
#include <QtGui/QPicture>

#include <string>
#include <vector>

namespace kvo {

// How an enhanced metafile carries EMF+ records.
struct EmfPlusSurvey {
    bool emfPlus = false;     // an EMF+ header comes first: GDI+ plays the EMF+ records
    bool dual = false;            // every EMF+ drawing has an old-style twin beside it
    bool metafileImages = false;  // pictures inside as metafiles, which the player leaves out
};

EmfPlusSurvey SurveyEmfPlus(const std::vector<char>& bytes, std::size_t headerSize);

// Plays the EMF+ records of a metafile whose lengths were checked record by
// record, and of the old-style records between them those that keep state or
// draw where the EMF+ stream hands drawing over (GetDC). The frame is in EMF+
// device pixels; it is recorded as recordedWidth x recordedHeight, the
// picture being naturalWidth pixels wide on a screen. Returns what is wrong
// with the file, or an empty text. Needs a QGuiApplication.
std::string PlayEmfPlus(const std::vector<char>& bytes, std::size_t headerSize, const QRectF& frame, double naturalWidth,
                        int recordedWidth, int recordedHeight, QPicture& picture);

}  // namespace kvo

#pragma once

#include <QtGui/QImage>

namespace kvo {

// The value-type symbols drawn in front of a value: entries 1 to 7 for the
// symbols 0 to 6, 8 to 13 for the limit-toleranced symbols 1 to 6, and 14 for
// an average. A null image for any other entry.
QImage TypeImage(int index);
inline constexpr int kTypeImageCount = 14;
inline constexpr int kTypeImageSize = 14;

}  // namespace kvo

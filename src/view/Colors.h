#pragma once

#include <QtGui/QColor>

#include <cstdint>

namespace kvo {

// Colours as the documents store them: 0x00BBGGRR, or 0x80000000 + n for the
// system colour n, resolved with the classic defaults so that a slide looks the
// same on every machine and in every rendering.
QColor ToQColor(int32_t color);
int32_t FromQColor(const QColor& color);

}  // namespace kvo

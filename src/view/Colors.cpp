#include "Colors.h"

#include <array>

namespace kvo {

namespace {

// The classic default system colours, by index (button face is 15).
constexpr std::array<uint32_t, 31> kSystemColors{
    0xC8C8C8, 0x000000, 0x99B4D1, 0xBFCDDB, 0xF0F0F0, 0xFFFFFF, 0x646464, 0x000000, 0x000000, 0x000000,
    0xB4B4B4, 0xF4F7FC, 0xABABAB, 0x0078D7, 0xFFFFFF, 0xF0F0F0, 0xA0A0A0, 0x6D6D6D, 0x000000, 0x000000,
    0xFFFFFF, 0x696969, 0xE3E3E3, 0x000000, 0xFFFFE1, 0x000000, 0x0066CC, 0xB9D1EA, 0xD7E4F2, 0x0078D7,
    0xF0F0F0};

}  // namespace

QColor ToQColor(int32_t color) {
    const auto bits = static_cast<uint32_t>(color);
    if ((bits & 0x80000000u) != 0) {
        const uint32_t index = bits & 0xFFFFu;
        return QColor::fromRgb(index < kSystemColors.size() ? kSystemColors[index] : 0x000000);
    }
    return QColor(static_cast<int>(bits & 0xFF), static_cast<int>((bits >> 8) & 0xFF), static_cast<int>((bits >> 16) & 0xFF));
}

int32_t FromQColor(const QColor& color) {
    return static_cast<int32_t>(static_cast<uint32_t>(color.red()) | (static_cast<uint32_t>(color.green()) << 8) |
                                (static_cast<uint32_t>(color.blue()) << 16));
}

}  // namespace kvo

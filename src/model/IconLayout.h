#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "Icon.h"

namespace kvo {

// An icon's box on the slide, in thousandths of the host.
struct IconBox {
    int32_t left = 0;
    int32_t top = 0;
    int32_t width = 0;
    int32_t height = 0;

    int32_t Right() const { return left + width; }
    int32_t Bottom() const { return top + height; }
    bool Overlaps(const IconBox& other) const {
        return left < other.Right() && other.left < Right() && top < other.Bottom() && other.top < Bottom();
    }
};

struct IconPlace {
    int32_t left = 0;
    int32_t top = 0;
    bool operator==(const IconPlace&) const = default;
};

// The place nearest to (left, top) where a box of this size lies on the slide
// and overlaps none of taken; none when there is no such place.
std::optional<IconPlace> FreePlace(const std::vector<IconBox>& taken, IconExtent size, int32_t left, int32_t top);

enum class Alignment { Left, Right, Top, Bottom, HorizontalCentres, VerticalCentres };

// Lines the boxes up on the outermost edge among them, or on the centre of all of them.
void Align(std::vector<IconBox>& boxes, Alignment alignment);
// Equal gaps between the boxes in one direction; the outermost two stay where they are.
void Distribute(std::vector<IconBox>& boxes, bool horizontally);
// The multiple of grid nearest to value; a grid below 2 leaves it as it is.
int32_t SnapToGrid(int32_t value, int32_t grid);

}  // namespace kvo

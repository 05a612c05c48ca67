#include "IconLayout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace kvo {

namespace {

// Fine enough to fit boxes snugly, coarse enough to search a full slide at once.
constexpr int32_t kPlaceStep = 5;
constexpr int32_t kCells = Icon::kMaxPosition / kPlaceStep + 1;

// The positions along one axis where a box of this length lies on the slide,
// every kPlaceStep in line with the one nearest to wanted.
std::vector<int32_t> Positions(int32_t wanted, int32_t length) {
    const int32_t last = std::max(Icon::kMaxPosition - length, 0);
    const int32_t start = std::clamp(wanted, 0, last);
    std::vector<int32_t> positions;
    for (int32_t p = start % kPlaceStep; p <= last; p += kPlaceStep) positions.push_back(p);
    return positions;
}

// Which cells of kPlaceStep squared the taken boxes touch, summed so that
// whether a box touches any of them is known at once: a full slide is
// searched in no more time than an empty one.
class Occupancy {
public:
    explicit Occupancy(const std::vector<IconBox>& taken) : sums_((kCells + 1) * (kCells + 1), 0) {
        std::vector<int32_t> marks((kCells + 1) * (kCells + 1), 0);
        for (const IconBox& box : taken) {
            const auto [c0, c1] = Cells(box.left, box.Right());
            const auto [r0, r1] = Cells(box.top, box.Bottom());
            if (c0 >= c1 || r0 >= r1) continue;
            ++At(marks, r0, c0);
            --At(marks, r0, c1);
            --At(marks, r1, c0);
            ++At(marks, r1, c1);
        }
        // The marks summed give how many boxes touch a cell; those summed again, how many cells are touched.
        for (int32_t r = 0; r < kCells; ++r) {
            for (int32_t c = 0; c < kCells; ++c) {
                if (r > 0) At(marks, r, c) += At(marks, r - 1, c);
                if (c > 0) At(marks, r, c) += At(marks, r, c - 1);
                if (r > 0 && c > 0) At(marks, r, c) -= At(marks, r - 1, c - 1);
            }
        }
        for (int32_t r = 0; r < kCells; ++r)
            for (int32_t c = 0; c < kCells; ++c)
                At(sums_, r + 1, c + 1) = (At(marks, r, c) > 0 ? 1 : 0) + At(sums_, r, c + 1) + At(sums_, r + 1, c) - At(sums_, r, c);
    }

    bool Free(const IconBox& box) const {
        const auto [c0, c1] = Cells(box.left, box.Right());
        const auto [r0, r1] = Cells(box.top, box.Bottom());
        return At(sums_, r1, c1) - At(sums_, r0, c1) - At(sums_, r1, c0) + At(sums_, r0, c0) == 0;
    }

private:
    // The cells from the one holding start to the one before the one holding end, within the slide.
    static std::pair<int32_t, int32_t> Cells(int32_t start, int32_t end) {
        const int32_t first = std::clamp(start / kPlaceStep, 0, kCells);
        const int32_t last = std::clamp((end + kPlaceStep - 1) / kPlaceStep, 0, kCells);
        return {first, last};
    }
    static int32_t& At(std::vector<int32_t>& cells, int32_t row, int32_t column) { return cells[row * (kCells + 1) + column]; }
    static int32_t At(const std::vector<int32_t>& cells, int32_t row, int32_t column) { return cells[row * (kCells + 1) + column]; }

    std::vector<int32_t> sums_;
};

}  // namespace

std::optional<IconPlace> FreePlace(const std::vector<IconBox>& taken, IconExtent size, int32_t left, int32_t top) {
    const Occupancy occupancy(taken);
    std::optional<IconPlace> best;
    int64_t bestDistance = 0;
    // Nearest first; of equal ones the upper, then the left one, as one reads.
    for (const int32_t y : Positions(top, size.height)) {
        for (const int32_t x : Positions(left, size.width)) {
            const int64_t dx = x - left, dy = y - top;
            const int64_t distance = dx * dx + dy * dy;
            if (best && distance >= bestDistance) continue;
            if (!occupancy.Free({x, y, size.width, size.height})) continue;
            best = IconPlace{x, y};
            bestDistance = distance;
        }
    }
    return best;
}

void Align(std::vector<IconBox>& boxes, Alignment alignment) {
    if (boxes.empty()) return;
    const auto least = [&](auto edge) {
        return edge(*std::min_element(boxes.begin(), boxes.end(), [&](const IconBox& a, const IconBox& b) { return edge(a) < edge(b); }));
    };
    const auto most = [&](auto edge) {
        return edge(*std::max_element(boxes.begin(), boxes.end(), [&](const IconBox& a, const IconBox& b) { return edge(a) < edge(b); }));
    };
    const auto left = [](const IconBox& b) { return b.left; };
    const auto right = [](const IconBox& b) { return b.Right(); };
    const auto top = [](const IconBox& b) { return b.top; };
    const auto bottom = [](const IconBox& b) { return b.Bottom(); };
    switch (alignment) {
        case Alignment::Left: {
            const int32_t edge = least(left);
            for (auto& box : boxes) box.left = edge;
            break;
        }
        case Alignment::Right: {
            const int32_t edge = most(right);
            for (auto& box : boxes) box.left = edge - box.width;
            break;
        }
        case Alignment::Top: {
            const int32_t edge = least(top);
            for (auto& box : boxes) box.top = edge;
            break;
        }
        case Alignment::Bottom: {
            const int32_t edge = most(bottom);
            for (auto& box : boxes) box.top = edge - box.height;
            break;
        }
        case Alignment::HorizontalCentres: {
            const int32_t twice = least(left) + most(right);
            for (auto& box : boxes) box.left = (twice - box.width) / 2;
            break;
        }
        case Alignment::VerticalCentres: {
            const int32_t twice = least(top) + most(bottom);
            for (auto& box : boxes) box.top = (twice - box.height) / 2;
            break;
        }
    }
}

void Distribute(std::vector<IconBox>& boxes, bool horizontally) {
    if (boxes.size() < 3) return;
    int32_t IconBox::* const start = horizontally ? &IconBox::left : &IconBox::top;
    int32_t IconBox::* const length = horizontally ? &IconBox::width : &IconBox::height;
    std::vector<std::size_t> order(boxes.size());
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return boxes[a].*start < boxes[b].*start; });
    const IconBox& first = boxes[order.front()];
    const IconBox& last = boxes[order.back()];
    int64_t lengths = 0;
    for (const auto& box : boxes) lengths += box.*length;
    const double gap = static_cast<double>(last.*start + last.*length - first.*start - lengths) / static_cast<double>(boxes.size() - 1);
    double at = first.*start;
    for (const std::size_t i : order) {
        boxes[i].*start = static_cast<int32_t>(std::lround(at));
        at += boxes[i].*length + gap;
    }
}

int32_t SnapToGrid(int32_t value, int32_t grid) {
    if (grid < 2) return value;
    return static_cast<int32_t>(std::lround(static_cast<double>(value) / grid)) * grid;
}

}  // namespace kvo

// Draws the background pictures of the example slide show: line drawings of a
// gear housing in three views, written as 24-bit BMP files.
#include <array>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

namespace {

struct Color {
    uint8_t r, g, b;
};

constexpr Color kPaper{255, 255, 255};
constexpr Color kInk{20, 20, 20};
constexpr Color kPart{214, 219, 226};
constexpr Color kCut{150, 160, 175};
constexpr Color kAxis{40, 90, 200};

class Canvas {
public:
    Canvas(int width, int height) : width_(width), height_(height), pixels_(static_cast<std::size_t>(width * height), kPaper) {}

    void Set(int x, int y, Color c) {
        if (x >= 0 && y >= 0 && x < width_ && y < height_) pixels_[static_cast<std::size_t>(y * width_ + x)] = c;
    }
    void FillRect(int x0, int y0, int x1, int y1, Color c) {
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x) Set(x, y, c);
    }
    void Line(int x0, int y0, int x1, int y1, Color c, int thickness = 3, int dash = 0) {
        const int steps = std::max(std::abs(x1 - x0), std::abs(y1 - y0));
        for (int i = 0; i <= steps; ++i) {
            if (dash > 0 && (i / dash) % 2 == 1) continue;
            const double t = steps == 0 ? 0 : static_cast<double>(i) / steps;
            const int x = static_cast<int>(std::lround(x0 + (x1 - x0) * t));
            const int y = static_cast<int>(std::lround(y0 + (y1 - y0) * t));
            FillRect(x - thickness / 2, y - thickness / 2, x + thickness / 2, y + thickness / 2, c);
        }
    }
    void Rect(int x0, int y0, int x1, int y1, Color c, int thickness = 3) {
        Line(x0, y0, x1, y0, c, thickness);
        Line(x1, y0, x1, y1, c, thickness);
        Line(x1, y1, x0, y1, c, thickness);
        Line(x0, y1, x0, y0, c, thickness);
    }
    void Disc(int cx, int cy, int r, Color c) {
        for (int y = -r; y <= r; ++y)
            for (int x = -r; x <= r; ++x)
                if (x * x + y * y <= r * r) Set(cx + x, cy + y, c);
    }
    void Circle(int cx, int cy, int r, Color c, int thickness = 3) {
        for (int y = -r - thickness; y <= r + thickness; ++y)
            for (int x = -r - thickness; x <= r + thickness; ++x) {
                const double d = std::sqrt(static_cast<double>(x * x + y * y));
                if (std::fabs(d - r) <= thickness / 2.0) Set(cx + x, cy + y, c);
            }
    }
    // Diagonal section hatching inside a rectangle.
    void Hatch(int x0, int y0, int x1, int y1, Color c) {
        for (int y = y0; y <= y1; ++y)
            for (int x = x0; x <= x1; ++x)
                if ((x + y) % 14 == 0) Set(x, y, c);
    }
    void Cross(int cx, int cy, int size) {
        Line(cx - size, cy, cx + size, cy, kAxis, 1, 8);
        Line(cx, cy - size, cx, cy + size, kAxis, 1, 8);
    }

    bool WriteBmp(const std::string& path) const {
        const int rowBytes = (width_ * 3 + 3) / 4 * 4;
        const uint32_t imageSize = static_cast<uint32_t>(rowBytes * height_);
        std::vector<uint8_t> file;
        const auto put16 = [&](uint32_t v) {
            file.push_back(static_cast<uint8_t>(v));
            file.push_back(static_cast<uint8_t>(v >> 8));
        };
        const auto put32 = [&](uint32_t v) {
            put16(v & 0xFFFF);
            put16(v >> 16);
        };
        file.push_back('B');
        file.push_back('M');
        put32(54 + imageSize);
        put32(0);
        put32(54);
        put32(40);
        put32(static_cast<uint32_t>(width_));
        put32(static_cast<uint32_t>(height_));
        put16(1);
        put16(24);
        put32(0);
        put32(imageSize);
        put32(3780);  // 96 dpi
        put32(3780);
        put32(0);
        put32(0);
        for (int y = height_ - 1; y >= 0; --y) {  // bottom-up rows
            for (int x = 0; x < width_; ++x) {
                const Color c = pixels_[static_cast<std::size_t>(y * width_ + x)];
                file.push_back(c.b);
                file.push_back(c.g);
                file.push_back(c.r);
            }
            for (int pad = width_ * 3; pad < rowBytes; ++pad) file.push_back(0);
        }
        std::ofstream out(path, std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
        return static_cast<bool>(out);
    }

private:
    int width_;
    int height_;
    std::vector<Color> pixels_;
};

Canvas FrontView() {
    Canvas c(800, 600);
    c.FillRect(100, 100, 700, 500, kPart);
    c.Rect(100, 100, 700, 500, kInk);
    c.Disc(330, 300, 90, kPaper);
    c.Circle(330, 300, 90, kInk);
    c.Circle(330, 300, 110, kInk, 1);
    c.Disc(560, 260, 45, kPaper);
    c.Circle(560, 260, 45, kInk);
    for (const auto& [x, y] : std::array<std::pair<int, int>, 4>{{{140, 140}, {660, 140}, {140, 460}, {660, 460}}}) {
        c.Disc(x, y, 14, kPaper);
        c.Circle(x, y, 14, kInk, 2);
    }
    c.Cross(330, 300, 130);
    c.Cross(560, 260, 65);
    return c;
}

Canvas TopView() {
    Canvas c(800, 600);
    c.FillRect(80, 150, 720, 450, kPart);
    c.Rect(80, 150, 720, 450, kInk);
    c.FillRect(300, 250, 560, 330, kPaper);
    c.Rect(300, 250, 560, 330, kInk);
    c.Line(80, 210, 720, 210, kInk, 1, 10);  // hidden edge of the bore
    c.Line(80, 390, 720, 390, kInk, 1, 10);
    for (int x : {160, 640}) {
        c.Disc(x, 300, 22, kPaper);
        c.Circle(x, 300, 22, kInk, 2);
        c.Cross(x, 300, 40);
    }
    c.Line(60, 300, 740, 300, kAxis, 1, 8);
    return c;
}

Canvas SectionView() {
    Canvas c(800, 600);
    // The wall cut open above and below the stepped bore: wide on the left,
    // narrower where the bore steps down on the right.
    for (const auto& [y0, y1, stepY0, stepY1] : std::array<std::array<int, 4>, 2>{{{120, 230, 230, 260}, {370, 480, 340, 370}}}) {
        c.FillRect(120, y0, 680, y1, kPart);
        c.FillRect(400, stepY0, 680, stepY1, kPart);
        c.Hatch(120, y0, 680, y1, kCut);
        c.Hatch(400, stepY0, 680, stepY1, kCut);
    }
    c.Line(120, 120, 680, 120, kInk);
    c.Line(680, 120, 680, 260, kInk);
    c.Line(680, 260, 400, 260, kInk);
    c.Line(400, 260, 400, 230, kInk);
    c.Line(400, 230, 120, 230, kInk);
    c.Line(120, 230, 120, 120, kInk);
    c.Line(120, 480, 680, 480, kInk);
    c.Line(680, 480, 680, 340, kInk);
    c.Line(680, 340, 400, 340, kInk);
    c.Line(400, 340, 400, 370, kInk);
    c.Line(400, 370, 120, 370, kInk);
    c.Line(120, 370, 120, 480, kInk);
    c.Line(80, 300, 720, 300, kAxis, 1, 8);
    c.Line(120, 510, 680, 510, kInk, 5);  // datum A
    return c;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: kvo_sample_pictures OUTPUT-FOLDER\n";
        return 2;
    }
    const std::string folder = argv[1];
    bool ok = FrontView().WriteBmp(folder + "/housing-front.bmp");
    ok = TopView().WriteBmp(folder + "/housing-top.bmp") && ok;
    ok = SectionView().WriteBmp(folder + "/housing-section.bmp") && ok;
    if (!ok) std::cerr << "kvo_sample_pictures: cannot write into " << folder << '\n';
    return ok ? 0 : 1;
}

#pragma once

#include <QtGui/QImage>

#include <memory>
#include <string>
#include <vector>

#include "Surfaces.h"

namespace kvo {

class Slide;

// Surfaces without a window: for rendering slides to images and for tests,
// which read back what the views did to them.
class OffscreenHost final : public HostSurface {
public:
    OffscreenHost(int widthPixels, int heightPixels, double twipsPerPixel = 15.0);
    int32_t Width() const override;
    int32_t Height() const override;
    double TwipsPerPixelX() const override { return twipsPerPixel_; }
    double TwipsPerPixelY() const override { return twipsPerPixel_; }
    QPoint ScreenOrigin() const override { return screenOrigin; }
    void Refresh() override { ++refreshes; }
    void SetBackColor(const QColor& color) override { backColor = color; }
    void SetPointer(Pointer value) override { pointer = value; }
    void ShowFeedback(const std::vector<QRect>& screenRects) override { feedback = screenRects; }
    QSize PixelSize() const { return size_; }

    QPoint screenOrigin{0, 0};
    int refreshes = 0;
    QColor backColor = Qt::white;
    Pointer pointer = Pointer::Default;
    std::vector<QRect> feedback;

private:
    QSize size_;
    double twipsPerPixel_;
};

class OffscreenOwner;

class OffscreenIcon final : public IconSurface {
public:
    OffscreenIcon(int16_t index, const OffscreenHost& host, OffscreenOwner& owner)
        : index_(index), host_(host), owner_(owner) {}
    ~OffscreenIcon() override;
    OffscreenIcon(const OffscreenIcon&) = delete;
    OffscreenIcon& operator=(const OffscreenIcon&) = delete;
    int16_t Index() const override { return index_; }
    int32_t Left() const override { return left_; }
    int32_t Top() const override { return top_; }
    int32_t Width() const override { return width_; }
    int32_t Height() const override { return height_; }
    void Move(int32_t left, int32_t top) override {
        left_ = left;
        top_ = top;
    }
    void Resize(int32_t width, int32_t height) override {
        width_ = width;
        height_ = height;
    }
    void SetVisible(bool value) override { visible = value; }
    void Refresh() override { ++refreshes; }
    QRect ScreenRect() const override;
    void Capture() override { captured = true; }
    void ReleaseCapture() override { captured = false; }

    bool visible = false;
    bool captured = false;
    int refreshes = 0;

private:
    int16_t index_;
    const OffscreenHost& host_;
    OffscreenOwner& owner_;
    int32_t left_ = 0, top_ = 0, width_ = 0, height_ = 0;
};

class OffscreenOwner final : public ViewOwner {
public:
    explicit OffscreenOwner(const OffscreenHost& host) : host_(host) {}
    void SignalFileChanged() override { ++fileChanges; }
    void SignalIcon(IconView& view) override { signalled.push_back(&view); }
    std::unique_ptr<IconSurface> CreateIcon() override;

    int fileChanges = 0;
    std::vector<IconView*> signalled;
    // Every surface made, in order; a destroyed one leaves nullptr behind. The
    // owner must outlive the views that hold them.
    std::vector<OffscreenIcon*> surfaces;
    int16_t nextIndex = 1;

private:
    const OffscreenHost& host_;
};

struct RenderedSlide {
    QImage image;
    std::string pictureProblem;  // why the picture is missing from the image; empty when it is not
};

// Whether an image drawn beside the screen may take the metafile rasters the
// screen keeps (one size per picture), or plays a metafile itself when the
// raster held is of another size.
enum class Rasters { Shared, LeftToScreen };

// One slide as the editor shows it on a host of this many pixels, its picture
// waited for; drawn from pictureBytes, when given, instead of its file.
RenderedSlide RenderSlide(Slide& slide, int widthPixels, int heightPixels, Rasters rasters = Rasters::Shared,
                          const QByteArray* pictureBytes = nullptr);

}  // namespace kvo

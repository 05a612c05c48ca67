#pragma once

#include <QtCore/QPoint>
#include <QtCore/QRect>
#include <QtGui/QColor>

#include <cstdint>
#include <memory>
#include <vector>

namespace kvo {

class IconView;

enum class Pointer { Default = 0, Cross = 2 };

// The drawing surface a slide is shown on (the main window's picMain). Sizes
// are in twips; screen positions in pixels.
class HostSurface {
public:
    virtual ~HostSurface() = default;
    virtual int32_t Width() const = 0;
    virtual int32_t Height() const = 0;
    virtual double TwipsPerPixelX() const = 0;
    virtual double TwipsPerPixelY() const = 0;
    // The host's top left corner on the screen.
    virtual QPoint ScreenOrigin() const = 0;
    virtual void Refresh() = 0;
    virtual void SetBackColor(const QColor& color) = 0;
    virtual void SetPointer(Pointer pointer) = 0;
    // Drag feedback: these screen rectangles drawn above everything, replacing
    // what was shown before; none removes it.
    virtual void ShowFeedback(const std::vector<QRect>& screenRects) = 0;
};

// The small surface an icon's box is painted on (one of picIcon(1..1000)).
// Geometry in twips of the host.
class IconSurface {
public:
    virtual ~IconSurface() = default;
    virtual int16_t Index() const = 0;
    virtual int32_t Left() const = 0;
    virtual int32_t Top() const = 0;
    virtual int32_t Width() const = 0;
    virtual int32_t Height() const = 0;
    virtual void Move(int32_t left, int32_t top) = 0;
    virtual void Resize(int32_t width, int32_t height) = 0;
    virtual void SetVisible(bool visible) = 0;
    virtual void Refresh() = 0;
    virtual QRect ScreenRect() const = 0;
    virtual void Capture() = 0;
    virtual void ReleaseCapture() = 0;
};

// What the views need of the window that shows them.
class ViewOwner {
public:
    virtual ~ViewOwner() = default;
    virtual void SignalFileChanged() = 0;
    virtual void SignalIcon(IconView& view) = 0;
    // A new icon surface with the lowest free index; empty when none is free.
    virtual std::unique_ptr<IconSurface> CreateIcon() = 0;
};

}  // namespace kvo

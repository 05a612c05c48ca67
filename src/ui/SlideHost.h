#pragma once

#include <QtGui/QImage>
#include <QtWidgets/QWidget>

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "view/Surfaces.h"

namespace kvo {

class SlideView;
class IconWidget;

// picMain: the surface the slide view draws on, with the icon surfaces as
// child widgets and the drag feedback on a transparent layer above them.
class SlideHost final : public QWidget, public HostSurface {
    Q_OBJECT
public:
    static constexpr int kMaxIcons = 1000;

    explicit SlideHost(QWidget* parent);
    ~SlideHost() override;

    // The view that paints here and takes the mouse; nullptr for none.
    void SetView(SlideView* view) { view_ = view; }
    SlideView* View() const { return view_; }

    int32_t Width() const override;
    int32_t Height() const override;
    double TwipsPerPixelX() const override;
    double TwipsPerPixelY() const override;
    QPoint ScreenOrigin() const override { return mapToGlobal(QPoint(0, 0)); }
    void Refresh() override { update(); }
    void SetBackColor(const QColor& color) override;
    void SetPointer(Pointer pointer) override;
    void ShowFeedback(const std::vector<QRect>& screenRects) override;

    // The icon surface with the lowest free index from 1 to 1000; empty when all are in use.
    std::unique_ptr<IconSurface> CreateIcon();
    void ReleaseIndex(int16_t index) { used_.erase(index); }
    // The icon surface holding the mouse during a drag, if any.
    IconWidget* Captured() const { return captured_; }
    void SetCaptured(IconWidget* icon) { captured_ = icon; }
    const std::vector<QRect>& Feedback() const { return feedback_; }
    // Called when a press on an icon surface, or on a leader's end, may start
    // a drag of the icon whose surface has this index.
    void SetMouseDown(std::function<void(int16_t)> handler) { mouseDown_ = std::move(handler); }
    void MouseDown(int16_t index) {
        if (mouseDown_) mouseDown_(index);
    }
    // Called after every mouse-up on an icon surface.
    void SetIconMouseUp(std::function<void(int16_t)> handler) { iconMouseUp_ = std::move(handler); }
    void IconMouseUp(int16_t index) {
        if (iconMouseUp_) iconMouseUp_(index);
    }
    // Runs a mouse event's work under the window's error handler.
    void Guarded(const std::function<void()>& work);

    // The selected icons' surfaces: framed above everything, their leader ends
    // with a handle that is easy to take.
    void SetSelected(std::vector<int16_t> indices);
    const std::vector<int16_t>& Selected() const { return selected_; }
    // Half the handle's side in pixels: twice as large on a touch screen.
    int HandleRadius() const;

    // The slide as a host of this many pixels shows it, drawn zoom times as
    // large: the views place and measure in the logical pixels, so that what
    // is placed does not depend on the zoom. An empty size: the widget's own.
    void SetScale(const QSize& logicalPixels, double zoom);
    double Zoom() const { return zoom_; }
    QSize LogicalSize() const;
    // Screen positions as the views count them (logical pixels from the host's
    // corner) to pixels of this widget, and back.
    QRect FromScreen(const QRect& screen) const;
    QPoint ToScreen(const QPoint& pixel) const;
    // While a leader's end is dragged: the picture around the pointer, four
    // times as large, in this rectangle of the host; empty otherwise.
    QRect Magnifier() const { return magnifier_; }
    // Pixels of this widget to host twips.
    QPoint ToTwips(const QPointF& pixels) const;
    static constexpr int kMagnification = 4;
    // The rubber band being drawn, in pixels of the host; empty when none.
    QRect Band() const { return band_; }

signals:
    // A left press on an icon's box; a double-click on it.
    void iconPressed(int index, Qt::KeyboardModifiers modifiers);
    void iconDoubleClicked(int index);
    // A rubber band (or a click on the empty slide) ended, over these icons.
    void bandSelected(const QList<int>& indices, Qt::KeyboardModifiers modifiers);
    // A right-click on the slide where no icon is, at this pixel.
    void contextMenuAt(const QPoint& pixel);
    // Arrow keys: a move in pixels; Esc.
    void nudged(int dx, int dy);
    void escaped();
    // Ctrl and the wheel: steps (positive: in) about this pixel of the host.
    void zoomWheel(int steps, const QPoint& pixel);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    friend class FeedbackLayer;
    friend class IconWidget;
    // The selected icon whose leader handle is at this pixel, if any.
    IconView* HandleAt(const QPoint& pixel) const;
    QPoint LeaderEnd(const IconView& view) const;
    // Follows the pointer during a leader drag: the snapshot is taken once.
    void MoveMagnifier(const QPoint& pixel);
    void EndMagnifier();

    SlideView* view_ = nullptr;
    std::set<int16_t> used_;
    IconWidget* captured_ = nullptr;
    QWidget* feedbackLayer_;
    std::vector<QRect> feedback_;
    std::function<void(int16_t)> mouseDown_;
    std::function<void(int16_t)> iconMouseUp_;
    std::vector<int16_t> selected_;
    std::map<int16_t, IconWidget*> widgets_;
    std::optional<QPoint> bandStart_;
    QRect band_;
    QSize logical_;
    double zoom_ = 1.0;
    QImage slideSnapshot_;  // the slide without its boxes, at the widget's pixels
    QPoint magnifierAt_;
    QRect magnifier_;
};

// picIcon(n): one icon's box.
class IconWidget final : public QWidget, public IconSurface {
    Q_OBJECT
public:
    IconWidget(SlideHost& host, int16_t index);
    ~IconWidget() override;

    int16_t Index() const override { return index_; }
    int32_t Left() const override;
    int32_t Top() const override;
    int32_t Width() const override;
    int32_t Height() const override;
    void Move(int32_t left, int32_t top) override;
    void Resize(int32_t width, int32_t height) override;
    void SetVisible(bool visible) override { setVisible(visible); }
    void Refresh() override { update(); }
    QRect ScreenRect() const override;
    void Capture() override;
    void ReleaseCapture() override;

protected:
    friend class SlideHost;
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    QPoint ToTwips(const QPointF& pixels) const;
    // Places the widget where its twips say at the host's zoom.
    void ApplyGeometry();

    SlideHost& host_;
    int16_t index_;
    QRect twips_;
};

// Mouse buttons and modifier keys as the views count them.
int ButtonBits(Qt::MouseButtons buttons);
int ShiftBits(Qt::KeyboardModifiers modifiers);

}  // namespace kvo

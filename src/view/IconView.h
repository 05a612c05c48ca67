#pragma once

#include <QtCore/QRect>
#include <QtGui/QFont>
#include <QtGui/QPainter>

#include <cstdint>
#include <memory>
#include <vector>

#include "Surfaces.h"
#include "model/Icon.h"

namespace kvo {

class Icon;
class SlideView;
class Value;

// The on-screen form of one icon: its box, painted on an icon surface, and the
// moving of the box and of its leader's end with the mouse.
class IconView {
public:
    static constexpr int kLeaderHitPixels = 3;
    // The sample that sizes a value cell: six digits, a sign and a point.
    static constexpr const char* kSampleValue = "-9.12345";
    static constexpr int kSampleDigits = 6;

    IconView(SlideView& slideView, kvo::Icon& icon, std::unique_ptr<IconSurface> surface);
    IconView(const IconView&) = delete;
    IconView& operator=(const IconView&) = delete;

    // Lets the surface go: it is unloaded with the view.
    void Terminate();
    IconSurface& View() const { return *surface_; }
    int16_t Index() const { return surface_->Index(); }
    kvo::Icon& Icon() const { return icon_; }

    // The leader on the host, when the icon draws one.
    void PaintTagLine(QPainter& painter);
    // The box, in the surface's own pixels.
    void Paint(QPainter& painter);
    // Whether (x, y), host twips, is within 3 pixels of the leader's end in each axis.
    bool TagHitTest(int32_t x, int32_t y) const;
    void StartTagDrag(int32_t x, int32_t y);
    // Button bits: 1 left, 2 right, 4 middle; x and y in twips of the surface.
    void MouseDown(int button, int shift, int32_t x, int32_t y);
    void MouseMove(int button, int shift, int32_t x, int32_t y);
    void MouseUp(int button, int shift, int32_t x, int32_t y);

    // Places the box at (x, y), thousandths of the host; a real change is
    // stored in the icon and reported.
    void SetPosition(int32_t x, int32_t y);
    // Moves the surface to the icon's stored position, after the host resized.
    void Reposition();
    void GetPosition(int32_t& x, int32_t& y) const;
    // Repaints only when the icon changed since the last paint.
    void TestRepaint();
    void ForceRepaint() { surface_->Refresh(); }
    // Takes the icon's font, colours and digits again and lays the box out anew.
    void UpdateProperties();
    void RefreshView() { surface_->Refresh(); }
    static void FillRectangle(QPainter& painter, int32_t color, const QRect& rectangle);

    bool IsDragging() const { return iconDrag_ || leaderDrag_; }
    bool IsBoxDragging() const { return iconDrag_; }
    // The hollow frame a box drag shows around box, screen pixels.
    static std::vector<QRect> FrameFeedback(const QRect& box);
    // The whole text of the cell at pixel (x, y) of the box when the cell shows it cut; empty otherwise.
    QString CutTextAt(const QPoint& pixel) const;

    // The box an icon gets, in pixels of a host with twipsPerPixelY twips to the
    // pixel; its extent in thousandths of a host of the given size in twips.
    static QSize BoxSize(const kvo::Icon& icon, double twipsPerPixelY);
    static kvo::IconExtent Extent(const kvo::Icon& icon, double twipsPerPixelX, double twipsPerPixelY, int32_t hostWidth,
                                  int32_t hostHeight);

private:
    struct Layout {
        QFont font;
        int nameHeight = 0;
        int cellWidth = 0;
        int cellHeight = 0;
        std::vector<int16_t> rows;     // report rows, in the order the cells name them
        std::vector<int16_t> columns;  // report columns, ascending
        QSize size;
    };

    static Layout MakeLayout(const kvo::Icon& icon, double twipsPerPixelY);
    void LayOut();
    void PaintBox(QPainter& painter);
    QRect CellBox(const Value& cell) const;
    static QRect TextBox(const QRect& cellBox);
    std::vector<QRect> SquareFeedback(const QPoint& center) const;

    SlideView& slideView_;
    kvo::Icon& icon_;
    std::unique_ptr<IconSurface> surface_;
    Layout layout_;
    // The box as last painted; painted again only when the icon changed.
    QImage box_;
    int32_t paintedVersion_ = -1;
    qreal paintedScale_ = 1.0;
    bool iconDrag_ = false;
    bool leaderDrag_ = false;
    bool moved_ = false;
    int32_t grabX_ = 0;
    int32_t grabY_ = 0;
};

}  // namespace kvo

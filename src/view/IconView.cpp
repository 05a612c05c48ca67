#include "IconView.h"

#include <QtGui/QFontMetrics>

#include <algorithm>
#include <cmath>

#include "Colors.h"
#include "SlideView.h"
#include "TypeImages.h"
#include "model/Icon.h"
#include "model/Value.h"
#include "services/Convert.h"
#include "services/Error.h"

namespace kvo {

namespace {

constexpr int32_t kButtonFace = static_cast<int32_t>(0x8000000F);
constexpr int32_t kButtonText = static_cast<int32_t>(0x80000012);
constexpr int kFeedbackThickness = 4;
constexpr int kCellPadding = 3;

}  // namespace

IconView::IconView(SlideView& slideView, kvo::Icon& icon, std::unique_ptr<IconSurface> surface)
    : slideView_(slideView), icon_(icon), surface_(std::move(surface)) {
    LayOut();
    SetPosition(icon_.Left(), icon_.Top());
    surface_->SetVisible(true);
}

void IconView::Terminate() {
    try {
        surface_->ReleaseCapture();
        surface_->SetVisible(false);
    } catch (...) {
    }
}

IconView::Layout IconView::MakeLayout(const kvo::Icon& icon, double twipsPerPixelY) {
    Layout layout;
    layout.font = QFont(QString::fromStdString(icon.FontName()));
    // Points to pixels at the host's resolution: twenty twips to a point.
    layout.font.setPixelSize(std::max(1, static_cast<int>(std::lround(icon.FontSize() * 20.0 / twipsPerPixelY))));
    layout.font.setBold(icon.FontBold());
    const QFontMetrics metrics(layout.font);
    layout.nameHeight = metrics.height() + 2;
    layout.cellHeight = std::max(metrics.height(), kTypeImageSize) + 2;
    const int valueWidth = static_cast<int>(
        std::ceil(metrics.horizontalAdvance(QString::fromLatin1(kSampleValue)) * icon.DisplayDigits() / double(kSampleDigits)));
    layout.cellWidth = kTypeImageSize + 2 * kCellPadding + valueWidth;
    for (const auto& cell : icon.Values()) {
        if (std::find(layout.rows.begin(), layout.rows.end(), cell->Row()) == layout.rows.end()) layout.rows.push_back(cell->Row());
        if (std::find(layout.columns.begin(), layout.columns.end(), cell->Column()) == layout.columns.end())
            layout.columns.push_back(cell->Column());
    }
    std::sort(layout.columns.begin(), layout.columns.end());
    const int nameWidth = metrics.horizontalAdvance(QString::fromStdString(icon.Name())) + 2 * kCellPadding;
    const int width = std::max(nameWidth, static_cast<int>(layout.columns.size()) * layout.cellWidth) + 2;
    const int height = layout.nameHeight + static_cast<int>(layout.rows.size()) * layout.cellHeight + 2;
    layout.size = QSize(width, height);
    return layout;
}

QSize IconView::BoxSize(const kvo::Icon& icon, double twipsPerPixelY) { return MakeLayout(icon, twipsPerPixelY).size; }

kvo::IconExtent IconView::Extent(const kvo::Icon& icon, double twipsPerPixelX, double twipsPerPixelY, int32_t hostWidth,
                                 int32_t hostHeight) {
    const QSize size = BoxSize(icon, twipsPerPixelY);
    const auto thousandths = [](double twips, int32_t host) {
        return host <= 0 ? kvo::Icon::kMaxPosition + 1 : static_cast<int32_t>(std::ceil(twips * 1000.0 / host));
    };
    return {thousandths(size.width() * twipsPerPixelX, hostWidth), thousandths(size.height() * twipsPerPixelY, hostHeight)};
}

void IconView::LayOut() {
    layout_ = MakeLayout(icon_, slideView_.TwipsPerPixelY());
    surface_->Resize(RoundToLong(layout_.size.width() * slideView_.TwipsPerPixelX()),
                     RoundToLong(layout_.size.height() * slideView_.TwipsPerPixelY()));
}

void IconView::PaintTagLine(QPainter& painter) {
    if (!icon_.DrawLeader()) return;
    slideView_.DrawTagLine(painter, *this, icon_.LeaderX(), icon_.LeaderY(), icon_.LeaderBendPoint(), icon_.IsLeaderVertical(),
                           icon_.LeaderColor());
}

void IconView::Paint(QPainter& painter) {
    // Kept at the device's pixels, so that a zoomed box stays sharp.
    const QTransform transform = painter.transform();
    const qreal scale = std::max<qreal>(transform.m11(), 0.01);
    if (paintedVersion_ != icon_.Version() || box_.isNull() || paintedScale_ != scale) {
        LayOut();  // a new name or new cells may need another size
        box_ = QImage((QSizeF(layout_.size) * scale).toSize().expandedTo(QSize(1, 1)), QImage::Format_ARGB32_Premultiplied);
        QPainter boxPainter(&box_);
        boxPainter.scale(scale, scale);
        PaintBox(boxPainter);
        paintedVersion_ = icon_.Version();
        paintedScale_ = scale;
    }
    painter.save();
    painter.setTransform(QTransform::fromTranslate(transform.dx(), transform.dy()));
    painter.drawImage(QPoint(0, 0), box_);
    painter.restore();
}

void IconView::PaintBox(QPainter& painter) {
    const int w = layout_.size.width();
    const int h = layout_.size.height();
    painter.save();
    painter.setFont(layout_.font);
    FillRectangle(painter, kButtonFace, QRect(0, 0, w, h));
    const QRect strip(1, 1, w - 2, layout_.nameHeight);
    FillRectangle(painter, icon_.NameColor(), strip);
    painter.setPen(ToQColor(kButtonText));
    painter.drawText(strip.adjusted(kCellPadding, 0, -kCellPadding, 0), Qt::AlignLeft | Qt::AlignVCenter,
                     QString::fromStdString(icon_.Name()));
    const QFontMetrics metrics(layout_.font);
    for (const auto& cell : icon_.Values()) {
        const QRect box = CellBox(*cell);
        FillRectangle(painter, slideView_.StateColor(cell->Tolerance()), box);
        painter.setPen(QColor(160, 160, 160));
        painter.drawRect(box.adjusted(0, 0, -1, -1));
        const QImage symbol = slideView_.GetTypeImage(cell->GeometricSymbol(), cell->IsLimitTolerance(), cell->IsAverage());
        if (!symbol.isNull())
            painter.drawImage(QPoint(box.left() + kCellPadding, box.top() + (box.height() - symbol.height()) / 2), symbol);
        painter.setPen(ToQColor(icon_.FontColor()));
        // Cut at the end, never at the start, so that what shows reads as the text's beginning.
        const QRect textBox = TextBox(box);
        painter.drawText(textBox, Qt::AlignRight | Qt::AlignVCenter,
                         metrics.elidedText(QString::fromStdString(cell->DisplayText()), Qt::ElideRight, textBox.width()));
    }
    // Raised look: light on the top and left, black on the bottom and right.
    painter.setPen(QColor(224, 224, 224));
    painter.drawLine(0, 0, w - 1, 0);
    painter.drawLine(0, 0, 0, h - 1);
    painter.setPen(Qt::black);
    painter.drawLine(0, h - 1, w - 1, h - 1);
    painter.drawLine(w - 1, 0, w - 1, h - 1);
    painter.restore();
}

QRect IconView::CellBox(const Value& cell) const {
    const auto row = std::find(layout_.rows.begin(), layout_.rows.end(), cell.Row()) - layout_.rows.begin();
    const auto column = std::find(layout_.columns.begin(), layout_.columns.end(), cell.Column()) - layout_.columns.begin();
    return QRect(1 + static_cast<int>(column) * layout_.cellWidth, 1 + layout_.nameHeight + static_cast<int>(row) * layout_.cellHeight,
                 layout_.cellWidth, layout_.cellHeight);
}

QRect IconView::TextBox(const QRect& cellBox) { return cellBox.adjusted(kCellPadding + kTypeImageSize + kCellPadding, 0, -kCellPadding, 0); }

QString IconView::CutTextAt(const QPoint& pixel) const {
    const QFontMetrics metrics(layout_.font);
    // The last cell drawn at a place is the one seen there.
    const auto& cells = icon_.Values();
    for (int32_t index = cells.Count(); index >= 1; --index) {
        const Value& cell = cells.Item(index);
        if (!CellBox(cell).contains(pixel)) continue;
        const QString text = QString::fromStdString(cell.DisplayText());
        return metrics.horizontalAdvance(text) > TextBox(CellBox(cell)).width() ? text : QString();
    }
    return {};
}

bool IconView::TagHitTest(int32_t x, int32_t y) const {
    if (!icon_.DrawLeader()) return false;
    const QPoint end = slideView_.ConvertPictureToHost(icon_.LeaderX(), icon_.LeaderY());
    return std::abs(x - end.x()) <= kLeaderHitPixels * slideView_.TwipsPerPixelX() &&
           std::abs(y - end.y()) <= kLeaderHitPixels * slideView_.TwipsPerPixelY();
}

std::vector<QRect> IconView::FrameFeedback(const QRect& box) {
    const int x = box.x(), y = box.y(), w = box.width(), h = box.height(), t = kFeedbackThickness;
    return {QRect(x, y, t, h), QRect(x + t, y, w - 2 * t, t), QRect(x + w - t, y, t, h), QRect(x + t, y + h - t, w - 2 * t, t)};
}

std::vector<QRect> IconView::SquareFeedback(const QPoint& center) const { return {QRect(center.x() - 1, center.y() - 1, 3, 3)}; }

void IconView::StartTagDrag(int32_t x, int32_t y) {
    surface_->Capture();
    grabX_ = x - surface_->Left();
    grabY_ = y - surface_->Top();
    leaderDrag_ = true;
    iconDrag_ = false;
    moved_ = false;
    const QPoint end = slideView_.ConvertPictureToHost(icon_.LeaderX(), icon_.LeaderY());
    slideView_.ShowFeedback(SquareFeedback(slideView_.ConvertHostToScreen(end.x(), end.y())));
}

void IconView::MouseDown(int button, int, int32_t x, int32_t y) {
    if ((button & 2) != 0 || slideView_.Locked()) {
        slideView_.SignalIcon(*this);
        return;
    }
    surface_->Capture();
    grabX_ = x;
    grabY_ = y;
    iconDrag_ = true;
    leaderDrag_ = false;
    moved_ = false;
    slideView_.ShowFeedback(FrameFeedback(surface_->ScreenRect()));
}

void IconView::MouseMove(int, int, int32_t x, int32_t y) {
    if (iconDrag_) {
        if (x == grabX_ && y == grabY_ && !moved_) return;
        const int dx = RoundToInteger((x - grabX_) / slideView_.TwipsPerPixelX());
        const int dy = RoundToInteger((y - grabY_) / slideView_.TwipsPerPixelY());
        moved_ = true;
        slideView_.ShowFeedback(FrameFeedback(surface_->ScreenRect().translated(dx, dy)));
    } else if (leaderDrag_) {
        if (x == grabX_ && y == grabY_ && !moved_) return;
        moved_ = true;
        slideView_.ShowFeedback(SquareFeedback(slideView_.ConvertHostToScreen(surface_->Left() + x, surface_->Top() + y)));
    }
}

void IconView::MouseUp(int, int, int32_t x, int32_t y) {
    if (!iconDrag_ && !leaderDrag_) return;
    const bool box = iconDrag_;
    surface_->ReleaseCapture();
    iconDrag_ = false;
    leaderDrag_ = false;
    slideView_.ShowFeedback({});
    if (moved_ && box) {
        int32_t left = surface_->Left() + (x - grabX_);
        int32_t top = surface_->Top() + (y - grabY_);
        if (left < 0) left = 0;
        if (top < 0) top = 0;
        // Kept on the host; a box wider than the host ends at a negative left.
        if (left + surface_->Width() > slideView_.HostWidth()) left = slideView_.HostWidth() - surface_->Width();
        if (top + surface_->Height() > slideView_.HostHeight()) top = slideView_.HostHeight() - surface_->Height();
        surface_->Move(left, top);
        const QPoint position = slideView_.ConvertHostToVirtualHost(left, top);
        icon_.SetLeft(position.x());
        icon_.SetTop(position.y());
        slideView_.SignalFileChanged();
    } else if (moved_) {
        const QPoint end = slideView_.ConvertHostToPicture(surface_->Left() + x, surface_->Top() + y);
        icon_.SetLeaderX(end.x());
        icon_.SetLeaderY(end.y());
        slideView_.SignalFileChanged();
    }
    moved_ = false;
    if (icon_.DrawLeader()) slideView_.HostRefresh();
}

void IconView::SetPosition(int32_t x, int32_t y) {
    const QPoint host = slideView_.ConvertVirtualHostToHost(x, y);
    surface_->Move(host.x(), host.y());
    if (x == icon_.Left() && y == icon_.Top()) return;
    icon_.SetLeft(x);
    icon_.SetTop(y);
    slideView_.SignalFileChanged();
}

void IconView::Reposition() {
    const QPoint host = slideView_.ConvertVirtualHostToHost(icon_.Left(), icon_.Top());
    surface_->Move(host.x(), host.y());
}

void IconView::GetPosition(int32_t& x, int32_t& y) const {
    x = icon_.Left();
    y = icon_.Top();
}

void IconView::TestRepaint() {
    if (paintedVersion_ != icon_.Version()) surface_->Refresh();
}

void IconView::UpdateProperties() {
    LayOut();
    box_ = QImage();  // font, colours or digits changed without a new version
    surface_->Refresh();
}

void IconView::FillRectangle(QPainter& painter, int32_t color, const QRect& rectangle) {
    painter.fillRect(rectangle, ToQColor(color));
}

}  // namespace kvo

#include "SlideHost.h"

#include <QtGui/QInputDevice>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtGui/QWheelEvent>
#include <QtWidgets/QToolTip>

#include <algorithm>
#include <cmath>

#include "services/Error.h"
#include "services/Prompt.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

constexpr double kTwipsPerInch = 1440.0;
// A handle of at least 8 pixels: 4 each side of the leader's end, and the end's own.
constexpr int kHandleRadius = 4;
constexpr int kNudgeLarge = 10;
// The magnifier's side in pixels and its distance from the pointer.
constexpr int kMagnifierSide = 128;
constexpr int kMagnifierGap = 24;

}  // namespace

// Draws the drag feedback above the icons and lets every click through.
class FeedbackLayer final : public QWidget {
public:
    explicit FeedbackLayer(SlideHost& host) : QWidget(&host), host_(host) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setAttribute(Qt::WA_NoSystemBackground);
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        PaintSelection(painter);
        PaintMagnifier(painter);
        if (host_.feedback_.empty()) return;
        // The classic pattern brush, inverted against what is below.
        painter.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        const QBrush brush = host_.view_ != nullptr ? host_.view_->DragBrush() : QBrush(Qt::black, Qt::Dense4Pattern);
        for (const QRect& screen : host_.feedback_) painter.fillRect(host_.FromScreen(screen), QBrush(Qt::white, brush.style()));
    }

private:
    void PaintMagnifier(QPainter& painter) {
        const QRect inset = host_.magnifier_;
        if (inset.isEmpty() || host_.slideSnapshot_.isNull()) return;
        const int k = SlideHost::kMagnification;
        const QRectF source(host_.magnifierAt_.x() - inset.width() / (2.0 * k), host_.magnifierAt_.y() - inset.height() / (2.0 * k),
                            inset.width() / double(k), inset.height() / double(k));
        painter.save();
        painter.fillRect(inset, host_.palette().color(QPalette::Window));
        painter.setRenderHint(QPainter::SmoothPixmapTransform, false);  // the pixels themselves, to place an end on one
        painter.drawImage(QRectF(inset), host_.slideSnapshot_, source);
        const QPoint centre = inset.center();
        painter.setPen(QPen(QColor(0, 102, 204), 1));
        painter.drawLine(centre.x() - 8, centre.y(), centre.x() - 3, centre.y());
        painter.drawLine(centre.x() + 3, centre.y(), centre.x() + 8, centre.y());
        painter.drawLine(centre.x(), centre.y() - 8, centre.x(), centre.y() - 3);
        painter.drawLine(centre.x(), centre.y() + 3, centre.x(), centre.y() + 8);
        painter.setPen(QPen(Qt::black, 1));
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(inset.adjusted(0, 0, -1, -1));
        painter.restore();
    }

    void PaintSelection(QPainter& painter) {
        const QColor mark(0, 102, 204);
        painter.setPen(QPen(mark, kFrameWidth));
        painter.setBrush(Qt::NoBrush);
        const int radius = host_.HandleRadius();
        for (const int16_t index : host_.selected_) {
            const auto found = host_.widgets_.find(index);
            if (found == host_.widgets_.end() || !found->second->isVisible()) continue;
            painter.drawRect(found->second->geometry().adjusted(-kFrameWidth, -kFrameWidth, kFrameWidth - 1, kFrameWidth - 1));
        }
        if (host_.view_ != nullptr) {
            painter.setPen(QPen(mark, 1));
            painter.setBrush(Qt::white);
            for (const int16_t index : host_.selected_) {
                const IconView* view = host_.view_->Views().FindByIndex(index);
                if (view == nullptr || !view->Icon().DrawLeader()) continue;
                const QPoint end = host_.LeaderEnd(*view);
                painter.drawRect(QRect(end.x() - radius, end.y() - radius, 2 * radius, 2 * radius));
            }
        }
        if (!host_.band_.isEmpty()) {
            painter.setPen(QPen(mark, 1, Qt::DashLine));
            painter.setBrush(QColor(0, 102, 204, 40));
            painter.drawRect(host_.band_);
        }
    }

    static constexpr int kFrameWidth = 2;

    SlideHost& host_;
};

int ButtonBits(Qt::MouseButtons buttons) {
    return (buttons.testFlag(Qt::LeftButton) ? 1 : 0) | (buttons.testFlag(Qt::RightButton) ? 2 : 0) |
           (buttons.testFlag(Qt::MiddleButton) ? 4 : 0);
}

int ShiftBits(Qt::KeyboardModifiers modifiers) {
    return (modifiers.testFlag(Qt::ShiftModifier) ? 1 : 0) | (modifiers.testFlag(Qt::ControlModifier) ? 2 : 0) |
           (modifiers.testFlag(Qt::AltModifier) ? 4 : 0);
}

SlideHost::SlideHost(QWidget* parent) : QWidget(parent), feedbackLayer_(new FeedbackLayer(*this)) {
    setObjectName("picMain");
    setFocusPolicy(Qt::StrongFocus);
    setAutoFillBackground(true);
    setBackgroundRole(QPalette::Window);  // the slide's colour, not that of the area around it
    setMouseTracking(true);
    SetBackColor(QColor(0xC4, 0xC4, 0xC4));
}

SlideHost::~SlideHost() { view_ = nullptr; }

double SlideHost::TwipsPerPixelX() const { return kTwipsPerInch / logicalDpiX(); }
double SlideHost::TwipsPerPixelY() const { return kTwipsPerInch / logicalDpiY(); }
int32_t SlideHost::Width() const { return static_cast<int32_t>(std::lround(LogicalSize().width() * TwipsPerPixelX())); }
int32_t SlideHost::Height() const { return static_cast<int32_t>(std::lround(LogicalSize().height() * TwipsPerPixelY())); }

QSize SlideHost::LogicalSize() const { return logical_.isEmpty() ? size() : logical_; }

void SlideHost::SetScale(const QSize& logicalPixels, double zoom) {
    logical_ = logicalPixels;
    zoom_ = logicalPixels.isEmpty() ? 1.0 : zoom;
    if (!logical_.isEmpty()) resize((QSizeF(logical_) * zoom_).toSize());
    for (const auto& [index, widget] : widgets_) widget->ApplyGeometry();
    feedbackLayer_->setGeometry(rect());
    if (view_ != nullptr) {
        try {
            view_->HostResize();
        } catch (...) {
            // As in a resize: the icons keep their places.
        }
    }
    update();
}

QRect SlideHost::FromScreen(const QRect& screen) const {
    const QPoint origin = ScreenOrigin();
    return QRect(QPointF((screen.topLeft() - origin) * zoom_).toPoint(), (QSizeF(screen.size()) * zoom_).toSize());
}

QPoint SlideHost::ToScreen(const QPoint& pixel) const { return ScreenOrigin() + QPointF(QPointF(pixel) / zoom_).toPoint(); }

void SlideHost::SetBackColor(const QColor& color) {
    QPalette colors = palette();
    colors.setColor(QPalette::Window, color);
    setPalette(colors);
}

void SlideHost::SetPointer(Pointer pointer) { setCursor(pointer == Pointer::Cross ? Qt::CrossCursor : Qt::ArrowCursor); }

void SlideHost::ShowFeedback(const std::vector<QRect>& screenRects) {
    feedback_ = screenRects;
    // A selected box takes the rest of the selection with it.
    const IconView* dragged = captured_ != nullptr && view_ != nullptr ? view_->Views().FindByIndex(captured_->Index()) : nullptr;
    if (dragged != nullptr && dragged->IsBoxDragging() && !screenRects.empty() &&
        std::find(selected_.begin(), selected_.end(), captured_->Index()) != selected_.end()) {
        QRect frame;
        for (const QRect& bar : screenRects) frame |= bar;
        const QPoint shift = frame.topLeft() - captured_->ScreenRect().topLeft();
        for (const int16_t index : selected_) {
            const auto found = widgets_.find(index);
            if (index == captured_->Index() || found == widgets_.end()) continue;
            for (const QRect& bar : IconView::FrameFeedback(found->second->ScreenRect().translated(shift))) feedback_.push_back(bar);
        }
    }
    feedbackLayer_->raise();
    feedbackLayer_->update();
}

std::unique_ptr<IconSurface> SlideHost::CreateIcon() {
    for (int16_t index = 1; index <= kMaxIcons; ++index) {
        if (used_.count(index) == 0) {
            used_.insert(index);
            auto icon = std::make_unique<IconWidget>(*this, index);
            feedbackLayer_->raise();
            return icon;
        }
    }
    return nullptr;
}

void SlideHost::Guarded(const std::function<void()>& work) {
    try {
        work();
    } catch (const Error& error) {
        ShowError(error);
    }
}

QPoint SlideHost::ToTwips(const QPointF& pixels) const {
    return QPoint(static_cast<int>(std::lround(pixels.x() / zoom_ * TwipsPerPixelX())),
                  static_cast<int>(std::lround(pixels.y() / zoom_ * TwipsPerPixelY())));
}

void SlideHost::paintEvent(QPaintEvent*) {
    if (view_ == nullptr) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(zoom_, zoom_);
    try {
        view_->HostPaint(painter);
    } catch (...) {
        // A paint never fails the window.
    }
}

void SlideHost::SetSelected(std::vector<int16_t> indices) {
    selected_ = std::move(indices);
    feedbackLayer_->raise();
    feedbackLayer_->update();
}

int SlideHost::HandleRadius() const {
    const auto devices = QInputDevice::devices();
    const bool touch = std::any_of(devices.begin(), devices.end(),
                                   [](const QInputDevice* device) { return device->type() == QInputDevice::DeviceType::TouchScreen; });
    return touch ? 2 * kHandleRadius : kHandleRadius;
}

QPoint SlideHost::LeaderEnd(const IconView& view) const {
    const QPoint end = view_->ConvertPictureToHost(view.Icon().LeaderX(), view.Icon().LeaderY());
    return QPoint(static_cast<int>(std::lround(end.x() / TwipsPerPixelX() * zoom_)),
                  static_cast<int>(std::lround(end.y() / TwipsPerPixelY() * zoom_)));
}

IconView* SlideHost::HandleAt(const QPoint& pixel) const {
    if (view_ == nullptr || view_->Locked()) return nullptr;
    const int radius = HandleRadius();
    for (const int16_t index : selected_) {
        IconView* view = view_->Views().FindByIndex(index);
        if (view == nullptr || !view->Icon().DrawLeader()) continue;
        const QPoint end = LeaderEnd(*view);
        if (std::abs(pixel.x() - end.x()) <= radius && std::abs(pixel.y() - end.y()) <= radius) return view;
    }
    return nullptr;
}

void SlideHost::mousePressEvent(QMouseEvent* event) {
    if (view_ == nullptr) return;
    setFocus();
    const QPoint pixel = event->position().toPoint();
    const QPoint at = ToTwips(event->position());
    Guarded([&] { view_->HostMouseDown(ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y()); });
    // Beyond the leader ends the view knows, the larger handles of the selected icons.
    if (captured_ == nullptr && event->button() == Qt::LeftButton) {
        if (IconView* view = HandleAt(pixel)) Guarded([&] { view->StartTagDrag(at.x(), at.y()); });
    }
    if (captured_ != nullptr) {
        MouseDown(captured_->Index());  // a leader end was taken
        MoveMagnifier(pixel);
    } else if (event->button() == Qt::LeftButton) {
        bandStart_ = pixel;
        band_ = QRect();
    } else if (event->button() == Qt::RightButton) {
        emit contextMenuAt(pixel);
    }
}

void SlideHost::mouseMoveEvent(QMouseEvent* event) {
    if (view_ == nullptr) return;
    if (bandStart_) {
        band_ = QRect(*bandStart_, event->position().toPoint()).normalized();
        feedbackLayer_->update();
        return;
    }
    const QPoint at = ToTwips(event->position());
    // During a leader drag the icon holding the mouse takes it, relative to itself.
    Guarded([&] {
        if (captured_ != nullptr)
            view_->ViewMouseMove(captured_->Index(), ButtonBits(event->buttons()), ShiftBits(event->modifiers()),
                                 at.x() - captured_->Left(), at.y() - captured_->Top());
        else
            view_->HostMouseMove(ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y());
    });
    if (captured_ != nullptr) MoveMagnifier(event->position().toPoint());
    else if (HandleAt(event->position().toPoint()) != nullptr) SetPointer(Pointer::Cross);
}

void SlideHost::MoveMagnifier(const QPoint& pixel) {
    if (slideSnapshot_.isNull()) {
        // The picture as the slide shows it, without the boxes above it.
        slideSnapshot_ = QImage(size(), QImage::Format_ARGB32_Premultiplied);
        slideSnapshot_.fill(palette().color(QPalette::Window));
        QPainter painter(&slideSnapshot_);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.scale(zoom_, zoom_);
        try {
            view_->HostPaint(painter);
        } catch (...) {
        }
    }
    magnifierAt_ = pixel;
    // Beside the pointer, and turned to the other side near an edge of what is seen.
    QRect inset(pixel + QPoint(kMagnifierGap, -kMagnifierGap - kMagnifierSide), QSize(kMagnifierSide, kMagnifierSide));
    const QRect seen = visibleRegion().boundingRect();
    if (inset.right() > seen.right()) inset.moveRight(pixel.x() - kMagnifierGap);
    if (inset.top() < seen.top()) inset.moveTop(pixel.y() + kMagnifierGap);
    magnifier_ = inset;
    feedbackLayer_->raise();
    feedbackLayer_->update();
}

void SlideHost::EndMagnifier() {
    slideSnapshot_ = QImage();
    magnifier_ = QRect();
    feedbackLayer_->update();
}

void SlideHost::mouseReleaseEvent(QMouseEvent* event) {
    if (view_ == nullptr) return;
    if (bandStart_) {
        // A click without a band selects nothing: the selection is cleared.
        QList<int> indices;
        if (band_.width() > 2 || band_.height() > 2) {
            for (const auto& [index, widget] : widgets_)
                if (widget->isVisible() && widget->geometry().intersects(band_)) indices.append(index);
        }
        bandStart_.reset();
        band_ = QRect();
        feedbackLayer_->update();
        emit bandSelected(indices, event->modifiers());
        return;
    }
    if (captured_ == nullptr) return;
    EndMagnifier();
    const QPoint at = ToTwips(event->position());
    const int16_t index = captured_->Index();
    Guarded([&] {
        view_->ViewMouseUp(index, ButtonBits(event->button()), ShiftBits(event->modifiers()), at.x() - captured_->Left(),
                           at.y() - captured_->Top());
    });
    IconMouseUp(index);
}

void SlideHost::keyPressEvent(QKeyEvent* event) {
    const int step = event->modifiers().testFlag(Qt::ShiftModifier) ? kNudgeLarge : 1;
    switch (event->key()) {
        case Qt::Key_Left: emit nudged(-step, 0); break;
        case Qt::Key_Right: emit nudged(step, 0); break;
        case Qt::Key_Up: emit nudged(0, -step); break;
        case Qt::Key_Down: emit nudged(0, step); break;
        case Qt::Key_Escape: emit escaped(); break;
        default: QWidget::keyPressEvent(event); return;
    }
    event->accept();
}

void SlideHost::wheelEvent(QWheelEvent* event) {
    if (!event->modifiers().testFlag(Qt::ControlModifier)) {
        event->ignore();  // the scroll area scrolls
        return;
    }
    const int steps = event->angleDelta().y() / QWheelEvent::DefaultDeltasPerStep;
    if (steps != 0) emit zoomWheel(steps, event->position().toPoint());
    event->accept();
}

void SlideHost::resizeEvent(QResizeEvent*) {
    feedbackLayer_->setGeometry(rect());
    if (view_ == nullptr) return;
    // The icons stand at thousandths of this surface, so every new size moves them.
    try {
        view_->HostResize();
    } catch (...) {
        // As in a paint: the icons keep their places and the window goes on.
    }
}

IconWidget::IconWidget(SlideHost& host, int16_t index) : QWidget(&host), host_(host), index_(index) {
    setObjectName(QString("picIcon%1").arg(index));
    host_.widgets_[index_] = this;
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

IconWidget::~IconWidget() {
    if (host_.Captured() == this) host_.SetCaptured(nullptr);
    host_.widgets_.erase(index_);
    host_.ReleaseIndex(index_);
}

// Read back from the widget, as the surfaces always were: what is seen is what counts.
int32_t IconWidget::Left() const { return static_cast<int32_t>(std::lround(x() / host_.Zoom() * host_.TwipsPerPixelX())); }
int32_t IconWidget::Top() const { return static_cast<int32_t>(std::lround(y() / host_.Zoom() * host_.TwipsPerPixelY())); }
int32_t IconWidget::Width() const { return static_cast<int32_t>(std::lround(width() / host_.Zoom() * host_.TwipsPerPixelX())); }
int32_t IconWidget::Height() const { return static_cast<int32_t>(std::lround(height() / host_.Zoom() * host_.TwipsPerPixelY())); }

void IconWidget::Move(int32_t left, int32_t top) {
    twips_.moveTo(left, top);
    ApplyGeometry();
}

void IconWidget::Resize(int32_t width, int32_t height) {
    twips_.setSize(QSize(width, height));
    ApplyGeometry();
}

void IconWidget::ApplyGeometry() {
    const double x = host_.Zoom() / host_.TwipsPerPixelX(), y = host_.Zoom() / host_.TwipsPerPixelY();
    setGeometry(static_cast<int>(std::lround(twips_.x() * x)), static_cast<int>(std::lround(twips_.y() * y)),
                static_cast<int>(std::lround(twips_.width() * x)), static_cast<int>(std::lround(twips_.height() * y)));
}

QRect IconWidget::ScreenRect() const {
    return QRect(host_.ToScreen(pos()), (QSizeF(size()) / host_.Zoom()).toSize());
}

void IconWidget::Capture() { host_.SetCaptured(this); }

void IconWidget::ReleaseCapture() {
    if (host_.Captured() == this) host_.SetCaptured(nullptr);
}

QPoint IconWidget::ToTwips(const QPointF& pixels) const {
    return QPoint(static_cast<int>(std::lround(pixels.x() / host_.Zoom() * host_.TwipsPerPixelX())),
                  static_cast<int>(std::lround(pixels.y() / host_.Zoom() * host_.TwipsPerPixelY())));
}

void IconWidget::paintEvent(QPaintEvent*) {
    if (host_.View() == nullptr) return;
    QPainter painter(this);
    painter.scale(host_.Zoom(), host_.Zoom());
    try {
        host_.View()->ViewPaint(index_, painter);
    } catch (...) {
    }
}

bool IconWidget::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || host_.View() == nullptr) return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const IconView* view = host_.View()->Views().FindByIndex(index_);
    const QString text = view != nullptr ? view->CutTextAt(QPointF(QPointF(help->pos()) / host_.Zoom()).toPoint()) : QString();
    if (text.isEmpty()) {
        QToolTip::hideText();
        event->ignore();
    } else {
        QToolTip::showText(help->globalPos(), text, this);
    }
    return true;
}

void IconWidget::mousePressEvent(QMouseEvent* event) {
    if (host_.View() == nullptr) return;
    const QPoint at = ToTwips(event->position());
    host_.setFocus();
    if (event->button() == Qt::LeftButton && !host_.View()->Locked()) emit host_.iconPressed(index_, event->modifiers());
    host_.MouseDown(index_);
    host_.Guarded([&] { host_.View()->ViewMouseDown(index_, ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y()); });
}

void IconWidget::mouseMoveEvent(QMouseEvent* event) {
    if (host_.View() == nullptr) return;
    const QPoint at = ToTwips(event->position());
    host_.Guarded([&] { host_.View()->ViewMouseMove(index_, ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y()); });
}

void IconWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (host_.View() == nullptr) return;
    const QPoint at = ToTwips(event->position());
    SlideHost& host = host_;  // the mouse-up may take this surface away
    const int16_t index = index_;
    host.Guarded([&] { host.View()->ViewMouseUp(index, ButtonBits(event->button()), ShiftBits(event->modifiers()), at.x(), at.y()); });
    // Changed after every mouse-up on an icon, also when nothing moved, as it always has been.
    host.IconMouseUp(index);
}

void IconWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || host_.View() == nullptr || host_.View()->Locked()) {
        QWidget::mouseDoubleClickEvent(event);
        return;
    }
    emit host_.iconDoubleClicked(index_);
}

}  // namespace kvo

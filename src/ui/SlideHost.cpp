#include "SlideHost.h"

#include <QtGui/QInputDevice>
#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QToolTip>

#include <algorithm>
#include <cmath>

#include "services/Error.h"
#include "services/Prompt.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

constexpr double kTwipsPerInch = 1440.0;
// A handle of at least 8 pixels: 4 each side of the leader's end, and the end's own.
constexpr int kHandleRadius = 4;
constexpr int kNudgeLarge = 10;

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
        if (host_.feedback_.empty()) return;
        // The classic pattern brush, inverted against what is below.
        painter.setCompositionMode(QPainter::RasterOp_SourceXorDestination);
        const QBrush brush = host_.view_ != nullptr ? host_.view_->DragBrush() : QBrush(Qt::black, Qt::Dense4Pattern);
        for (const QRect& screen : host_.feedback_) {
            QRect local = screen;
            local.moveTopLeft(mapFromGlobal(screen.topLeft()));
            painter.fillRect(local, QBrush(Qt::white, brush.style()));
        }
    }

private:
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
    setMouseTracking(true);
    SetBackColor(QColor(0xC4, 0xC4, 0xC4));
}

SlideHost::~SlideHost() { view_ = nullptr; }

double SlideHost::TwipsPerPixelX() const { return kTwipsPerInch / logicalDpiX(); }
double SlideHost::TwipsPerPixelY() const { return kTwipsPerInch / logicalDpiY(); }
int32_t SlideHost::Width() const { return static_cast<int32_t>(std::lround(width() * TwipsPerPixelX())); }
int32_t SlideHost::Height() const { return static_cast<int32_t>(std::lround(height() * TwipsPerPixelY())); }

void SlideHost::SetBackColor(const QColor& color) {
    QPalette colors = palette();
    colors.setColor(QPalette::Window, color);
    setPalette(colors);
}

void SlideHost::SetPointer(Pointer pointer) { setCursor(pointer == Pointer::Cross ? Qt::CrossCursor : Qt::ArrowCursor); }

void SlideHost::ShowFeedback(const std::vector<QRect>& screenRects) {
    feedback_ = screenRects;
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
    return QPoint(static_cast<int>(std::lround(pixels.x() * TwipsPerPixelX())), static_cast<int>(std::lround(pixels.y() * TwipsPerPixelY())));
}

void SlideHost::paintEvent(QPaintEvent*) {
    if (view_ == nullptr) return;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
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
    return QPoint(static_cast<int>(std::lround(end.x() / TwipsPerPixelX())), static_cast<int>(std::lround(end.y() / TwipsPerPixelY())));
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
    if (captured_ == nullptr && HandleAt(event->position().toPoint()) != nullptr) SetPointer(Pointer::Cross);
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

int32_t IconWidget::Left() const { return static_cast<int32_t>(std::lround(x() * host_.TwipsPerPixelX())); }
int32_t IconWidget::Top() const { return static_cast<int32_t>(std::lround(y() * host_.TwipsPerPixelY())); }
int32_t IconWidget::Width() const { return static_cast<int32_t>(std::lround(width() * host_.TwipsPerPixelX())); }
int32_t IconWidget::Height() const { return static_cast<int32_t>(std::lround(height() * host_.TwipsPerPixelY())); }

void IconWidget::Move(int32_t left, int32_t top) {
    move(static_cast<int>(std::lround(left / host_.TwipsPerPixelX())), static_cast<int>(std::lround(top / host_.TwipsPerPixelY())));
}

void IconWidget::Resize(int32_t width, int32_t height) {
    resize(static_cast<int>(std::lround(width / host_.TwipsPerPixelX())), static_cast<int>(std::lround(height / host_.TwipsPerPixelY())));
}

void IconWidget::Capture() { host_.SetCaptured(this); }

void IconWidget::ReleaseCapture() {
    if (host_.Captured() == this) host_.SetCaptured(nullptr);
}

QPoint IconWidget::ToTwips(const QPointF& pixels) const {
    return QPoint(static_cast<int>(std::lround(pixels.x() * host_.TwipsPerPixelX())),
                  static_cast<int>(std::lround(pixels.y() * host_.TwipsPerPixelY())));
}

void IconWidget::paintEvent(QPaintEvent*) {
    if (host_.View() == nullptr) return;
    QPainter painter(this);
    try {
        host_.View()->ViewPaint(index_, painter);
    } catch (...) {
    }
}

bool IconWidget::event(QEvent* event) {
    if (event->type() != QEvent::ToolTip || host_.View() == nullptr) return QWidget::event(event);
    const auto* help = static_cast<QHelpEvent*>(event);
    const IconView* view = host_.View()->Views().FindByIndex(index_);
    const QString text = view != nullptr ? view->CutTextAt(help->pos()) : QString();
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

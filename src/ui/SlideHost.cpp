#include "SlideHost.h"

#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QToolTip>

#include <cmath>

#include "services/Error.h"
#include "services/Prompt.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

constexpr double kTwipsPerInch = 1440.0;

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
        if (host_.feedback_.empty()) return;
        QPainter painter(this);
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

void SlideHost::mousePressEvent(QMouseEvent* event) {
    if (view_ == nullptr) return;
    const QPoint at = ToTwips(event->position());
    Guarded([&] { view_->HostMouseDown(ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y()); });
    if (captured_ != nullptr) MouseDown();  // a leader end was taken
}

void SlideHost::mouseMoveEvent(QMouseEvent* event) {
    if (view_ == nullptr) return;
    const QPoint at = ToTwips(event->position());
    // During a leader drag the icon holding the mouse takes it, relative to itself.
    Guarded([&] {
        if (captured_ != nullptr)
            view_->ViewMouseMove(captured_->Index(), ButtonBits(event->buttons()), ShiftBits(event->modifiers()),
                                 at.x() - captured_->Left(), at.y() - captured_->Top());
        else
            view_->HostMouseMove(ButtonBits(event->buttons()), ShiftBits(event->modifiers()), at.x(), at.y());
    });
}

void SlideHost::mouseReleaseEvent(QMouseEvent* event) {
    if (view_ == nullptr || captured_ == nullptr) return;
    const QPoint at = ToTwips(event->position());
    Guarded([&] {
        view_->ViewMouseUp(captured_->Index(), ButtonBits(event->button()), ShiftBits(event->modifiers()), at.x() - captured_->Left(),
                           at.y() - captured_->Top());
    });
    IconMouseUp();
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
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
}

IconWidget::~IconWidget() {
    if (host_.Captured() == this) host_.SetCaptured(nullptr);
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
    host_.MouseDown();
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
    host.Guarded([&] { host.View()->ViewMouseUp(index_, ButtonBits(event->button()), ShiftBits(event->modifiers()), at.x(), at.y()); });
    // Changed after every mouse-up on an icon, also when nothing moved, as it always has been.
    host.IconMouseUp();
}

}  // namespace kvo

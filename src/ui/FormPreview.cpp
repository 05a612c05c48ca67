#include "FormPreview.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "SlideHost.h"
#include "TouchButton.h"
#include "model/SlideShow.h"
#include "model/Value.h"
#include "services/Error.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

// A swipe is a mostly sideways stroke over an eighth of the slide, and never
// shorter than this, so that a tap never turns the slide.
constexpr int kShortestSwipe = 60;

std::unique_ptr<SlideShow> EnabledSlides(const SlideShow& show) {
    // A copy, not a saved snapshot: that would forget which cells are averages.
    auto copy = std::make_unique<SlideShow>(show);
    for (int32_t i = copy->Slides().Count(); i >= 1; --i)
        if (!copy->Slides().Item(i).Enabled()) copy->Slides().Remove(i);
    if (copy->Slides().Count() == 0)
        throw Error(ErrorNumber::SubscriptOutOfRange, "FormPreview", LoadResString(Str::PreviewNoSlides));
    while (copy->CurrentPosition() > 1) copy->MovePrevious();
    if (copy->CurrentPosition() == 0) copy->MoveNext();  // onto the first slide
    return copy;
}

}  // namespace

bool FormPreview::Preview(const SlideShow& show, QWidget* parent) {
    std::unique_ptr<FormPreview> preview;
    try {
        preview = std::make_unique<FormPreview>(show, parent);
    } catch (const Error& error) {
        CurrentPrompt().Message(error.Description(), LoadResString(Str::PreviewTitle), MessageKind::Information);
        return false;
    }
    preview->setWindowState(Qt::WindowFullScreen);
    preview->exec();
    return true;
}

FormPreview::FormPreview(const SlideShow& show, QWidget* parent) : QDialog(parent), show_(EnabledSlides(show)) {
    setObjectName("FormPreview");
    setWindowTitle(Caption(Str::PreviewTitle));
    host_ = new SlideHost(this);
    view_ = std::make_unique<SlideView>(*this, *host_);
    view_->SetLocked(true);  // the operator looks; nothing moves
    host_->SetView(view_.get());
    host_->installEventFilter(this);

    status_ = new QLabel(this);
    status_->setObjectName("lblStatus");
    QFont statusFont = status_->font();
    statusFont.setPointSize(TouchButton::kPoints - 2);
    status_->setFont(statusFont);
    status_->setMinimumWidth(0);
    status_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);  // the buttons come first
    bar_ = new QHBoxLayout;
    previous_ = AddButton("cmdPrevious", Str::PreviewPrevious, [this] { Previous(); });
    next_ = AddButton("cmdNext", Str::PreviewNext, [this] { Next(); });
    nextOut_ = AddButton("cmdNextOut", Str::PreviewNextOut, [this] { NextOutOfTolerance(); });
    bar_->addSpacing(TouchButton::kHeight / 4);
    bar_->addWidget(status_, 1);
    help_ = AddButton("cmdHelp", Str::PreviewHelp, [this] { Help(); });
    AddButton("cmdClose", Str::PreviewClose, [this] { reject(); });
    column_ = new QVBoxLayout(this);
    column_->setContentsMargins(0, 0, 0, 8);
    column_->addWidget(host_, 1);
    column_->addLayout(bar_);
    ApplyLanguageFont(*this);
    resize(1024, 768);
    ShowCurrent();
}

FormPreview::~FormPreview() {
    host_->SetView(nullptr);
    view_.reset();  // its icon surfaces go before the host does
}

TouchButton* FormPreview::AddButton(const char* name, int32_t caption, std::function<void()> action) {
    auto* button = CaptionedButton<TouchButton>(this, name, caption);
    connect(button, &QPushButton::clicked, this, std::move(action));
    bar_->addWidget(button);
    return button;
}

std::unique_ptr<IconSurface> FormPreview::CreateIcon() {
    auto surface = host_->CreateIcon();
    if (auto* widget = dynamic_cast<QWidget*>(surface.get())) widget->installEventFilter(this);  // a swipe may start on an icon
    return surface;
}

void FormPreview::Play(const SlideShow& show) {
    auto played = EnabledSlides(show);
    // What the operator must see first of a new part: the first slide in its worst state.
    const int16_t worst = played->WorstTolerance();
    if (worst >= ToleranceState::Warning)
        while (played->ActiveSlide().WorstTolerance() != worst) played->MoveNext();
    view_->SetSlide(nullptr);  // lets go of the old show's slide before it goes
    show_ = std::move(played);
    ShowCurrent();
}

void FormPreview::Previous() {
    show_->MovePrevious();
    ShowCurrent();
}

void FormPreview::Next() {
    show_->MoveNext();
    ShowCurrent();
}

void FormPreview::NextOutOfTolerance() {
    show_->MoveNextOutOfTol();
    ShowCurrent();
}

void FormPreview::Help() {
    if (show_->HelpAvailable()) ShowHelpFileTopic(this, show_->HelpFile(), show_->ActiveHelpTopic());
}

void FormPreview::ShowCurrent() {
    Slide& slide = show_->ActiveSlide();
    if (view_->CurrentSlide() != &slide) view_->SetSlide(&slide);
    status_->setText(Q(
        FormatResString(Str::PreviewStatus, {show_->CurrentPosition(), show_->Slides().Count(), slide.Name()})));
    previous_->setEnabled(!show_->IsFirstSlide());
    next_->setEnabled(!show_->IsLastSlide());
    nextOut_->setEnabled(show_->Slides().WorstTolerance() >= ToleranceState::Warning);
    help_->setEnabled(show_->HelpAvailable());
}

void FormPreview::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
        case Qt::Key_Left:
        case Qt::Key_PageUp:
            Previous();
            return;
        case Qt::Key_Right:
        case Qt::Key_PageDown:
        case Qt::Key_Space:
            Next();
            return;
        default:
            QDialog::keyPressEvent(event);  // Escape closes
    }
}

bool FormPreview::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::MouseButtonPress) {
        swipeStart_ = static_cast<QMouseEvent*>(event)->globalPosition();
    } else if (event->type() == QEvent::MouseButtonRelease && swipeStart_) {
        const QPointF stroke = static_cast<QMouseEvent*>(event)->globalPosition() - *swipeStart_;
        swipeStart_.reset();
        const double shortest = std::max<double>(kShortestSwipe, host_->width() / 8.0);
        if (std::abs(stroke.x()) >= shortest && std::abs(stroke.x()) > 2 * std::abs(stroke.y())) {
            if (stroke.x() < 0) Next();  // the slide is pushed away to the left
            else Previous();
        }
    }
    return QDialog::eventFilter(watched, event);
}

}  // namespace kvo

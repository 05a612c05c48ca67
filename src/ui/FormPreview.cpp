#include "FormPreview.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "SlideHost.h"
#include "model/SlideShow.h"
#include "model/Value.h"
#include "services/Error.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "view/SlideView.h"

namespace kvo {

namespace {

// Big enough for a gloved finger on the station's touch screen.
constexpr int kButtonHeight = 72;
constexpr int kButtonFontPoints = 16;

std::unique_ptr<SlideShow> EnabledSlides(const SlideShow& show) {
    auto copy = std::make_unique<SlideShow>(show);
    for (int32_t i = copy->Slides().Count(); i >= 1; --i)
        if (!copy->Slides().Item(i).Enabled()) copy->Slides().Remove(i);
    if (copy->Slides().Count() == 0)
        throw Error(ErrorNumber::SubscriptOutOfRange, "FormPreview", LoadResString(Str::PreviewNoSlides));
    copy->MoveNext();  // onto the first slide
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

    status_ = new QLabel(this);
    status_->setObjectName("lblStatus");
    QFont statusFont = status_->font();
    statusFont.setPointSize(kButtonFontPoints - 2);
    status_->setFont(statusFont);
    const auto button = [this](const char* name, int32_t caption, void (FormPreview::*slot)()) {
        auto* item = CaptionedButton<QPushButton>(this, name, caption);
        QFont font = item->font();
        font.setPointSize(kButtonFontPoints);
        item->setFont(font);
        item->setMinimumHeight(kButtonHeight);
        item->setMinimumWidth(kButtonHeight * 2);
        item->setAutoDefault(false);
        item->setFocusPolicy(Qt::NoFocus);  // the keys belong to the player
        connect(item, &QPushButton::clicked, this, slot);
        return item;
    };
    previous_ = button("cmdPrevious", Str::PreviewPrevious, &FormPreview::Previous);
    next_ = button("cmdNext", Str::PreviewNext, &FormPreview::Next);
    nextOut_ = button("cmdNextOut", Str::PreviewNextOut, &FormPreview::NextOutOfTolerance);
    help_ = button("cmdHelp", Str::PreviewHelp, &FormPreview::Help);
    QPushButton* close = button("cmdClose", Str::PreviewClose, &FormPreview::reject);

    auto* bar = new QHBoxLayout;
    bar->addWidget(previous_);
    bar->addWidget(next_);
    bar->addWidget(nextOut_);
    bar->addSpacing(kButtonHeight / 2);
    bar->addWidget(status_, 1);
    bar->addWidget(help_);
    bar->addWidget(close);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 8);
    layout->addWidget(host_, 1);
    layout->addLayout(bar);
    ApplyLanguageFont(*this);
    resize(1024, 768);
    ShowCurrent();
}

FormPreview::~FormPreview() {
    host_->SetView(nullptr);
    view_.reset();  // its icon surfaces go before the host does
}

std::unique_ptr<IconSurface> FormPreview::CreateIcon() { return host_->CreateIcon(); }

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

}  // namespace kvo

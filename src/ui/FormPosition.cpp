#include "FormPosition.h"

#include <QtWidgets/QFrame>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "model/Slide.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

constexpr int kHelpTopic = 32006;
constexpr double kLandscapeBelow = 1.0;  // a wider picture previews on a landscape slide
constexpr int kDemoLong = 200;
constexpr int kDemoShort = 150;

}  // namespace

bool FormPosition::PositionScaleable(Slide& slide, double aspect, QWidget* parent) {
    FormPosition dialog(slide, true, 1, 1, aspect, parent);
    return dialog.exec() == QDialog::Accepted;
}

bool FormPosition::PositionFixed(Slide& slide, double widthShare, double heightShare, double aspect, QWidget* parent) {
    FormPosition dialog(slide, false, widthShare, heightShare, aspect, parent);
    return dialog.exec() == QDialog::Accepted;
}

FormPosition::FormPosition(Slide& slide, bool scaleable, double widthShare, double heightShare, double aspect, QWidget* parent)
    : QDialog(parent), slide_(slide), scaleable_(scaleable), widthShare_(widthShare), heightShare_(heightShare) {
    setObjectName("FormPosition");
    setModal(true);
    ApplyLanguageFont(*this);
    int16_t l = 0, t = 0, w = 0, h = 0;
    slide.GetPicturePosition(l, t, w, h);

    auto* grid = new QGridLayout;
    const auto bar = [&](const char* name, int32_t caption, int minimum, int value, int row) {
        auto* scroll = new QScrollBar(Qt::Horizontal, this);
        scroll->setObjectName(name);
        scroll->setRange(minimum, 100);
        scroll->setValue(std::clamp(value, minimum, 100));
        scroll->setPageStep(10);
        scroll->setMinimumWidth(200);
        scroll->setFocusPolicy(Qt::StrongFocus);  // arrow keys move it one percent
        scroll->setInvertedControls(false);  // Right raises the value, as the bar's right arrow does
        auto* number = new QSpinBox(this);
        number->setObjectName(QString(name).replace("hs", "txt"));
        number->setRange(minimum, 100);
        number->setSuffix(" %");
        number->setValue(scroll->value());
        auto* label = new QLabel(Caption(caption), this);
        label->setBuddy(number);
        connect(number, &QSpinBox::valueChanged, scroll, &QScrollBar::setValue);
        connect(scroll, &QScrollBar::valueChanged, this, [this, number](int v) {
            number->setValue(v);
            UpdatePreview();
        });
        grid->addWidget(label, row, 0);
        grid->addWidget(scroll, row, 1);
        grid->addWidget(number, row, 2);
        const bool shown = scaleable || row < 2;
        label->setVisible(shown);
        scroll->setVisible(shown);
        number->setVisible(shown);
        return scroll;
    };
    left_ = bar("hsLeft", Str::PositionLeft, 0, l, 0);
    top_ = bar("hsTop", Str::PositionTop, 0, t, 1);
    width_ = bar("hsWidth", Str::PositionWidth, 1, w, 2);
    height_ = bar("hsHeight", Str::PositionHeight, 1, h, 3);

    demo_ = new QFrame(this);
    demo_->setObjectName("picDemo");
    demo_->setFrameShape(QFrame::Box);
    demo_->setAutoFillBackground(true);
    demo_->setPalette(QPalette(QColor(0xC4, 0xC4, 0xC4)));
    const bool landscape = aspect >= kLandscapeBelow;
    demo_->setFixedSize(landscape ? kDemoLong : kDemoShort, landscape ? kDemoShort : kDemoLong);
    shape_ = new QFrame(demo_);
    shape_->setObjectName("picShape");
    shape_->setFrameShape(QFrame::Box);
    shape_->setAutoFillBackground(true);
    shape_->setPalette(QPalette(QColor(70, 110, 170)));

    const ButtonRow footer = OkCancelHelp(this);
    auto* ok = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;
    auto* top = new QHBoxLayout;
    top->addLayout(grid, 1);
    top->addWidget(demo_, 0, Qt::AlignTop);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(footer.layout);

    setWindowTitle(Caption(Str::PositionTitle));
    connect(ok, &QPushButton::clicked, this, &FormPosition::Confirm);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
    UpdatePreview();
}

void FormPosition::UpdatePreview() {
    // The slide view's rule: the margins place the picture in the room it leaves free.
    const int dw = demo_->width(), dh = demo_->height();
    const int w = scaleable_ ? dw * width_->value() / 100 : static_cast<int>(std::lround(dw * std::min(widthShare_, 1.0)));
    const int h = scaleable_ ? dh * height_->value() / 100 : static_cast<int>(std::lround(dh * std::min(heightShare_, 1.0)));
    const int l = left_->value(), t = top_->value();
    shape_->setGeometry(dw * l / 100 - l * w / 100, dh * t / 100 - t * h / 100, std::max(w, 2), std::max(h, 2));
}

void FormPosition::Confirm() {
    const auto value = [](QScrollBar* bar) { return static_cast<int16_t>(bar->value()); };
    if (scaleable_) slide_.SetPicturePosition(value(left_), value(top_), value(width_), value(height_));
    else slide_.SetPicturePosition(value(left_), value(top_), 100, 100);
    accept();
}

}  // namespace kvo

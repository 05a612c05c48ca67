#pragma once

#include <QtWidgets/QPushButton>

namespace kvo {

// A button for a finger on the station's touch screen: at least kHeight pixels
// high, and a caption that always shows whole. When the button is narrow the
// caption wraps at its spaces and, if that is not enough, its font shrinks.
class TouchButton final : public QPushButton {
    Q_OBJECT
public:
    static constexpr int kHeight = 72;
    static constexpr int kPoints = 16;
    static constexpr int kSmallestPoints = 8;

    explicit TouchButton(QWidget* parent);

    // The caption as drawn: without its access key marks.
    QString Caption() const;
    // Where the caption is drawn, and the largest font, from kPoints down, in which it fits there.
    QRect CaptionRect() const;
    QFont CaptionFont() const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace kvo

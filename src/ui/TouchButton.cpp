#include "TouchButton.h"

#include <QtGui/QFontMetrics>
#include <QtWidgets/QStyleOptionButton>
#include <QtWidgets/QStylePainter>

namespace kvo {

namespace {

constexpr int kPadding = 8;
constexpr int kTextFlags = Qt::AlignCenter | Qt::TextWordWrap;

QFont WithPoints(QFont font, int points) {
    font.setPointSize(points);
    return font;
}

bool Fits(const QFont& font, const QRect& room, const QString& text) {
    const QRect needed = QFontMetrics(font).boundingRect(room, kTextFlags, text);
    return needed.width() <= room.width() && needed.height() <= room.height();
}

}  // namespace

TouchButton::TouchButton(QWidget* parent) : QPushButton(parent) {
    setFont(WithPoints(font(), kPoints));
    setMinimumHeight(kHeight);
    setAutoDefault(false);
    setFocusPolicy(Qt::NoFocus);  // the keys belong to the window
}

QString TouchButton::Caption() const {
    QString caption = text();
    caption.replace("&&", QString(QChar(0)));
    caption.remove('&');
    return caption.replace(QChar(0), '&');
}

QRect TouchButton::CaptionRect() const { return rect().adjusted(kPadding, kPadding / 2, -kPadding, -kPadding / 2); }

QFont TouchButton::CaptionFont() const {
    const QRect room = CaptionRect();
    const QString caption = Caption();
    for (int points = font().pointSize(); points > kSmallestPoints; --points)
        if (Fits(WithPoints(font(), points), room, caption)) return WithPoints(font(), points);
    return WithPoints(font(), kSmallestPoints);
}

QSize TouchButton::sizeHint() const {
    const int width = QFontMetrics(font()).horizontalAdvance(Caption()) + 3 * kPadding;
    return {std::max(width, kHeight * 2), kHeight};
}

// Narrow enough to be squeezed, never so narrow that the longest word cannot show in the smallest font.
QSize TouchButton::minimumSizeHint() const {
    const QFontMetrics smallest(WithPoints(font(), kSmallestPoints));
    int word = 0;
    for (const QString& each : Caption().split(' ', Qt::SkipEmptyParts)) word = std::max(word, smallest.horizontalAdvance(each));
    return {word + 3 * kPadding, kHeight};
}

void TouchButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionButton option;
    initStyleOption(&option);
    option.text.clear();  // drawn below, fitted
    painter.drawControl(QStyle::CE_PushButton, option);
    painter.setFont(CaptionFont());
    painter.setPen(palette().color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
    painter.drawText(CaptionRect(), kTextFlags, Caption());
}

}  // namespace kvo

#pragma once

#include <QtCore/QRegularExpression>
#include <QtGui/QRegularExpressionValidator>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QLabel>

#include <cstdint>

#include "services/Language.h"

namespace kvo {

// Captions of the string tables; "&" marks the access key as in menus.
inline QString Caption(int32_t id) { return QString::fromStdString(LoadResString(id)); }

// A label's caption as a window title: without its access key and closing colon.
inline QString TitleOf(int32_t id) {
    QString title = Caption(id).trimmed();
    if (title.endsWith(':')) title.chop(1);
    title.replace("&&", QString(QChar(0)));
    title.remove('&');
    return title.replace(QChar(0), '&').trimmed();
}

// A field for a whole number: a stray letter is refused, typed or pasted,
// and the number stays as it was.
inline void AcceptWholeNumbers(QLineEdit* field) {
    field->setValidator(new QRegularExpressionValidator(QRegularExpression("-?[0-9]*"), field));
}

// A push button that takes its caption from the string tables.
template <typename Button>
Button* CaptionedButton(QWidget* parent, const char* name, int32_t id) {
    auto* button = new Button(parent);
    button->setObjectName(name);
    button->setText(Caption(id));
    return button;
}

}  // namespace kvo

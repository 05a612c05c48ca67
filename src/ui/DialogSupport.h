#pragma once

#include <QtCore/QRegularExpression>
#include <QtGui/QRegularExpressionValidator>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>

#include <cstdint>
#include <string>

#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

// The one conversion of the model's UTF-8 texts for the widgets.
inline QString Q(const std::string& text) { return QString::fromStdString(text); }

// Captions of the string tables; "&" marks the access key as in menus.
inline QString Caption(int32_t id) { return Q(LoadResString(id)); }

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

// The OK, Cancel and Help row at the foot of a dialog, to the right, OK the default.
struct ButtonRow {
    QHBoxLayout* layout;
    QPushButton* ok;
    QPushButton* cancel;
    QPushButton* help;
};

inline ButtonRow OkCancelHelp(QWidget* dialog) {
    ButtonRow row{new QHBoxLayout, CaptionedButton<QPushButton>(dialog, "cmdOK", Str::ButtonOK),
                  CaptionedButton<QPushButton>(dialog, "cmdCancel", Str::ButtonCancel),
                  CaptionedButton<QPushButton>(dialog, "cmdHelp", Str::ButtonHelp)};
    row.ok->setDefault(true);
    row.layout->addStretch();
    row.layout->addWidget(row.ok);
    row.layout->addWidget(row.cancel);
    row.layout->addWidget(row.help);
    return row;
}

}  // namespace kvo

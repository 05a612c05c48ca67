#include "LanguageFont.h"

#include <QtGui/QFontDatabase>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

#include "services/Language.h"

namespace kvo {

void ApplyLanguageFont(QWidget& window) {
    const QString systemFace = QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
    const auto adapt = [&](QWidget& widget) {
        QFont font = widget.font();
        const bool bold = font.bold(), italic = font.italic();
        const double size = font.pointSizeF() > 0 ? font.pointSizeF() : 9.0;
        font.setFamily(systemFace);
        font.setBold(bold);
        font.setItalic(italic);
        font.setPointSizeF(LanguageFontSize(LanguageId(), size));
        widget.setFont(font);
    };
    adapt(window);
    for (QWidget* child : window.findChildren<QWidget*>()) adapt(*child);
}

}  // namespace kvo

#include "QtLanguage.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLibraryInfo>
#include <QtCore/QLocale>
#include <QtCore/QTranslator>

#include <memory>

#include "DialogSupport.h"
#include "services/Language.h"

namespace kvo {

void ApplyLanguageToQt() {
    static std::unique_ptr<QTranslator> translator;
    if (translator) QCoreApplication::removeTranslator(translator.get());
    const QLocale locale(Q(LocaleNameFor(LanguageId())));
    QLocale::setDefault(locale);
    translator = std::make_unique<QTranslator>();
    // "qt" gathers qtbase and Qt's other modules where the distribution has them.
    const QString folder = QLibraryInfo::path(QLibraryInfo::TranslationsPath);
    if (translator->load(locale, "qt", "_", folder) || translator->load(locale, "qtbase", "_", folder))
        QCoreApplication::installTranslator(translator.get());
    else
        translator.reset();
}

}  // namespace kvo

#pragma once

namespace kvo {

// Makes what Qt draws itself (file, colour, font and print dialogs, standard
// buttons, shortcut names, dates and numbers) follow the editor's language from
// the settings, not the system's locale. Without Qt's translations for the
// language, Qt's own texts stay English.
void ApplyLanguageToQt();

}  // namespace kvo

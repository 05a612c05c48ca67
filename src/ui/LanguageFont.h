#pragma once

class QWidget;

namespace kvo {

// Gives every control of a window the system's interface font in the current
// language, keeping bold, italic and size, raised to the language's minimum.
// Called as a window loads, before its captions are set.
void ApplyLanguageFont(QWidget& window);

}  // namespace kvo

#include "Prompt.h"

#include <iostream>

#include "Error.h"
#include "Language.h"
#include "StringIds.h"

namespace kvo {

namespace {

class ConsolePrompt final : public Prompt {
public:
    void Message(const std::string& text, const std::string& title, MessageKind) override {
        std::cerr << title << ": " << text << '\n';
    }
};

ConsolePrompt& Console() {
    static ConsolePrompt console;
    return console;
}

Prompt*& Installed() {
    static Prompt* installed = nullptr;
    return installed;
}

}  // namespace

Prompt& CurrentPrompt() { return Installed() != nullptr ? *Installed() : Console(); }

void SetCurrentPrompt(Prompt* prompt) { Installed() = prompt; }

void ShowError(const Error& error, const std::string& fileName) {
    const std::string text =
        fileName.empty() ? FormatResString(Str::ErrorMessage, {error.Description(), error.Number(), error.Source()})
                         : FormatResString(Str::FileErrorMessage, {error.Description(), fileName, error.Number(), error.Source()});
    CurrentPrompt().Message(text, LoadResString(Str::FileErrorTitle), MessageKind::Stop);
}

}  // namespace kvo

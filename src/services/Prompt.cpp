#include "Prompt.h"

#include <iostream>

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

}  // namespace kvo

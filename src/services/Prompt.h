#pragma once

#include <optional>
#include <string>

namespace kvo {

enum class MessageKind { Information, Exclamation, Stop, Question };

// The four answers to "this file exists already: replace it?" during an import.
enum class OverwriteAnswer { Yes, YesToAll, No, NoToAll };

// Every question and message for the user goes through here, so the document
// model can report without knowing about windows. The editor installs one built
// on dialogs; tests install one that records and answers from a script.
class Prompt {
public:
    virtual ~Prompt() = default;
    // A message with an OK button.
    virtual void Message(const std::string& text, const std::string& title, MessageKind kind) = 0;
    // Whether an existing file may be replaced by the one being imported.
    virtual OverwriteAnswer AskOverwrite(const std::string& existingPath) = 0;
    // A line of text, preset with defaultText; empty when the user cancels.
    virtual std::optional<std::string> AskText(const std::string& prompt, const std::string& title,
                                               const std::string& defaultText) = 0;
};

// The program-wide prompt; without one installed, messages go to standard error
// and no existing file is ever replaced.
Prompt& CurrentPrompt();
// Installs a prompt (nullptr restores the one on standard error). The caller
// keeps it alive while it is installed.
void SetCurrentPrompt(Prompt* prompt);

}  // namespace kvo

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kvo {

class Error;

enum class MessageKind { Information, Exclamation, Stop, Question };

// The four answers to "this file exists already: replace it?" during an import.
enum class OverwriteAnswer { Yes, YesToAll, No, NoToAll };

enum class Answer { Yes, No, Cancel };

// A file dialog: title, filter in the string tables' "Text|*.ext|Text|*.ext"
// form, the folder and name it starts with; the read-only box is always hidden.
struct FileChoice {
    std::string title;
    std::string filter;
    std::string directory;
    std::string fileName;
};

struct FontChoice {
    std::string name;
    int16_t size = 10;
    bool bold = false;
    bool italic = false;
    int32_t color = 0;  // 0x00BBGGRR
};

// Every question and message for the user goes through here, so the document
// model and the views can ask without knowing about windows. The editor
// installs one built on dialogs; tests install one that records and answers
// from a script. Without anyone to ask, every question is answered as if the
// user had cancelled it.
class Prompt {
public:
    virtual ~Prompt() = default;
    // A message with an OK button.
    virtual void Message(const std::string& text, const std::string& title, MessageKind kind) = 0;
    // Yes or No; with Cancel as a third answer when withCancel.
    virtual Answer Ask(const std::string&, const std::string&, bool withCancel) {
        return withCancel ? Answer::Cancel : Answer::No;
    }
    // Whether an existing file may be replaced by the one being imported.
    virtual OverwriteAnswer AskOverwrite(const std::string&) { return OverwriteAnswer::No; }
    // Yes or No to a question about a list of files, each of which is shown.
    virtual bool ConfirmFiles(const std::string&, const std::string&, const std::vector<std::string>&) { return false; }
    // A line of text, preset with defaultText; empty when the user cancels.
    virtual std::optional<std::string> AskText(const std::string&, const std::string&, const std::string&) {
        return std::nullopt;
    }
    virtual std::optional<std::string> ChooseOpenFile(const FileChoice&) { return std::nullopt; }
    // Several existing files at once; none when the user cancels.
    virtual std::vector<std::string> ChooseOpenFiles(const FileChoice&) { return {}; }
    virtual std::optional<std::string> ChooseSaveFile(const FileChoice&) { return std::nullopt; }
    // An existing folder, the dialog starting in choice.directory; the filter is not used.
    virtual std::optional<std::string> ChooseFolder(const FileChoice&) { return std::nullopt; }
    virtual std::optional<int32_t> ChooseColor(int32_t) { return std::nullopt; }
    virtual std::optional<FontChoice> ChooseFont(const FontChoice&) { return std::nullopt; }
};

// The program-wide prompt; without one installed, messages go to standard error.
Prompt& CurrentPrompt();
// The one way an error reaches the user: its description, the file it concerns
// when there is one, its number and where it arose.
void ShowError(const Error& error, const std::string& fileName = {});
// Installs a prompt (nullptr restores the one on standard error). The caller
// keeps it alive while it is installed.
void SetCurrentPrompt(Prompt* prompt);

}  // namespace kvo

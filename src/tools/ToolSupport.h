#pragma once

// What kvotool and kvotool-draw share: the commands' arguments, the prompt on
// the terminal, and running one command. kvotool-draw holds the commands that
// draw with Qt, so that the others start without loading it.
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "services/Prompt.h"

namespace kvo {
class SlideShow;
}

namespace kvo::tool {

using Args = std::vector<std::string>;

struct Command {
    const char* usage;
    const char* summary;
    int (*run)(const Args&);
};

struct UsageError {};

// Messages of the model go to standard error with the file they concern; the
// overwrite question is asked on the terminal, or answered by --yes-all/--no-all.
class ToolPrompt final : public Prompt {
public:
    void Message(const std::string& text, const std::string& title, MessageKind) override;
    OverwriteAnswer AskOverwrite(const std::string& existingPath) override;
    // Files outside the show's folder are written only when allowed up front.
    bool ConfirmFiles(const std::string& text, const std::string&, const std::vector<std::string>& files) override;

    std::string file;
    std::optional<OverwriteAnswer> fixedAnswer;
    bool allowFiles = false;
    int messages = 0;
};

ToolPrompt& Prompts();

// Takes "--name VALUE" out of args; empty when absent.
std::optional<std::string> TakeOption(Args& args, const std::string& name);
bool TakeFlag(Args& args, const std::string& name);
void RequireCount(const Args& args, std::size_t count);
void LoadShow(SlideShow& show, const std::string& path);

// The commands kvotool-draw runs, as kvotool lists them: without run.
const std::map<std::string, Command>& DrawingCommands();

// In the editor's language, with the terminal's prompt: 2 after a usage
// error, 1 after an error of the program.
int RunCommand(const Command& command, const Args& args);

}  // namespace kvo::tool

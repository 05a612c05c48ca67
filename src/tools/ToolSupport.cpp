#include "ToolSupport.h"

#include <unistd.h>

#include <iostream>

#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Startup.h"

namespace kvo::tool {

void ToolPrompt::Message(const std::string& text, const std::string& title, MessageKind) {
    ++messages;
    std::cerr << (file.empty() ? title : file) << ": " << text << '\n';
}

OverwriteAnswer ToolPrompt::AskOverwrite(const std::string& existingPath) {
    if (fixedAnswer) return *fixedAnswer;
    if (!isatty(STDIN_FILENO)) {
        std::cerr << "kvotool: " << existingPath << " exists and is kept; the packed file is stored beside it"
                  << " (no terminal to ask on: use --yes-all to replace)\n";
        return OverwriteAnswer::NoToAll;
    }
    for (;;) {
        std::cerr << existingPath << " exists. Replace it? [y]es, [Y]es to all, [n]o, [N]o to all: " << std::flush;
        std::string answer;
        if (!std::getline(std::cin, answer)) return OverwriteAnswer::NoToAll;
        if (answer == "y" || answer == "yes") return OverwriteAnswer::Yes;
        if (answer == "Y") return OverwriteAnswer::YesToAll;
        if (answer == "n" || answer == "no") return OverwriteAnswer::No;
        if (answer == "N") return OverwriteAnswer::NoToAll;
    }
}

bool ToolPrompt::ConfirmFiles(const std::string& text, const std::string&, const std::vector<std::string>& files) {
    if (!allowFiles) {
        std::cerr << "kvotool: " << text << '\n';
        for (const auto& path : files) std::cerr << "  " << path << '\n';
        std::cerr << "kvotool: nothing imported; use --allow-outside (or --yes-all) to write these files\n";
    }
    return allowFiles;
}

ToolPrompt& Prompts() {
    static ToolPrompt prompt;
    return prompt;
}

std::optional<std::string> TakeOption(Args& args, const std::string& name) {
    for (auto it = args.begin(); it != args.end(); ++it) {
        if (*it != name) continue;
        if (it + 1 == args.end()) throw UsageError{};
        std::string value = *(it + 1);
        args.erase(it, it + 2);
        return value;
    }
    return std::nullopt;
}

bool TakeFlag(Args& args, const std::string& name) {
    for (auto it = args.begin(); it != args.end(); ++it) {
        if (*it == name) {
            args.erase(it);
            return true;
        }
    }
    return false;
}

void RequireCount(const Args& args, std::size_t count) {
    if (args.size() != count) throw UsageError{};
    for (const auto& arg : args)
        if (arg.rfind("--", 0) == 0) throw UsageError{};
}

void LoadShow(SlideShow& show, const std::string& path) {
    Prompts().file = path;
    show.LoadFromFile(path);
}

const std::map<std::string, Command>& DrawingCommands() {
    static const std::map<std::string, Command> commands = {
        {"new", {"new --from-results RESULTS -o SHOW",
                 "a show of one slide with an icon for each feature of QIF results, a deviation cell for each of its characteristics",
                 nullptr}},
        {"render", {"render SHOW -o OUT.png [--slide N] [--size WxH]", "draw one slide as the editor shows it (default: slide 1, 800x600)",
                    nullptr}},
        {"thumbnail", {"thumbnail INPUT OUTPUT.png SIZE",
                       "a file manager's thumbnail of a show or package: its first enabled slide, at most SIZE pixels wide and high",
                       nullptr}},
    };
    return commands;
}

int RunCommand(const Command& command, const Args& args) {
    try {
        InitLanguage();  // the editor's language, from the settings
    } catch (const Error&) {
        SetLanguage(kDefaultLanguageId);
        InitResources();
    }
    SetCurrentPrompt(&Prompts());
    try {
        return command.run(args);
    } catch (const UsageError&) {
        std::cerr << "usage: kvotool " << command.usage << '\n';
        return 2;
    } catch (const Error& error) {
        std::cerr << "kvotool: " << error.Description() << " (" << error.Source() << ", error " << error.Number() << ")\n";
        return 1;
    }
}

}  // namespace kvo::tool

// kvotool: the editor's command-line companion.
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

#include "services/Convert.h"
#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/RegEntry.h"

namespace {

constexpr const char* kUsage =
    "usage: kvotool <command> [arguments]\n"
    "\n"
    "  string [--lang LCID] ID [ARG...]   print text ID of the string tables, ARGs filled in\n"
    "  settings get KEY VALUE             print a value of a settings key (below SOFTWARE\\Orlanvex)\n"
    "  settings set KEY VALUE TEXT        write a value, creating the key if needed\n"
    "  settings list KEY                  print every value of a settings key\n"
    "  help-file [--lang LCID]            print the help file the editor would use\n"
    "\n"
    "The settings file is $ORLANVEX_REGISTRY, or /etc/orlanvex/registry.reg.\n";

int Usage() {
    std::cerr << kUsage;
    return 2;
}

// Takes "--lang LCID" off the front of the arguments and sets that language.
void TakeLanguage(std::vector<std::string>& args) {
    int32_t lcid = kvo::kDefaultLanguageId;
    if (args.size() >= 2 && args[0] == "--lang") {
        lcid = kvo::ToLong(args[1]);
        args.erase(args.begin(), args.begin() + 2);
    }
    kvo::SetLanguage(lcid);
    kvo::InitResources();
}

int StringCommand(std::vector<std::string> args) {
    TakeLanguage(args);
    if (args.empty() || args.size() > 1 + kvo::kMaxResArgs) return Usage();
    const std::vector<kvo::ResArg> formatArgs(args.begin() + 1, args.end());
    std::cout << kvo::FormatText(kvo::LoadResString(kvo::ToLong(args[0])), formatArgs) << '\n';
    return 0;
}

int SettingsCommand(const std::vector<std::string>& args) {
    kvo::RegEntry entry;
    if (args.size() == 3 && args[0] == "get") {
        entry.OpenKey(args[1]);
        std::cout << entry.GetStringInternational(args[2]) << '\n';
    } else if (args.size() == 4 && args[0] == "set") {
        entry.CreateKey(args[1]);
        entry.SetString(args[2], args[3]);
    } else if (args.size() == 2 && args[0] == "list") {
        entry.OpenKey(args[1]);
        for (const auto& [name, text] : entry.QueryValues()) std::cout << (name.empty() ? "@" : name) << '=' << text << '\n';
    } else {
        return Usage();
    }
    return 0;
}

int HelpFileCommand(std::vector<std::string> args) {
    TakeLanguage(args);
    if (!args.empty()) return Usage();
    kvo::ChooseHelpFile(kvo::LanguageId(), "TV");
    if (kvo::HelpFile().empty()) {
        std::cerr << "kvotool: no help file found for " << kvo::LanguageCode() << '\n';
        return 1;
    }
    std::cout << kvo::HelpFile() << '\n';
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    if (args.empty() || args[0] == "--help" || args[0] == "-h") {
        std::cout << kUsage;
        return args.empty() ? 2 : 0;
    }
    const std::string command = args[0];
    args.erase(args.begin());
    try {
        if (command == "string") return StringCommand(args);
        if (command == "settings") return SettingsCommand(args);
        if (command == "help-file") return HelpFileCommand(args);
    } catch (const kvo::Error& error) {
        std::cerr << "kvotool: " << error.Description() << " (" << error.Source() << ", error " << error.Number() << ")\n";
        return 1;
    }
    return Usage();
}

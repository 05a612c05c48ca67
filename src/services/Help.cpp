#include "Help.h"

#include <vector>

#include "Host.h"
#include "Language.h"
#include "Paths.h"
#include "Text.h"

namespace kvo {

namespace {

std::string& ApplicationHelpFile() {
    static std::string helpFile;
    return helpFile;
}

}  // namespace

void ChooseHelpFile(int32_t lcid, std::string_view prefix) {
    const std::string code = LanguageCodeFor(lcid);
    std::string bin;
    try {
        bin = HostBinDirectory();
    } catch (...) {
        bin.clear();  // a broken settings store only costs the host's help files
    }
    std::vector<std::string> directories{EditorDirectory()};
    if (!bin.empty()) directories.push_back(bin);

    ApplicationHelpFile().clear();
    for (const char* extension : {".chm", ".html", ".hlp"}) {
        for (const std::string& language : {code, std::string("ENU")}) {
            for (const std::string& directory : directories) {
                const std::string candidate = JoinPath(directory, language + std::string(prefix) + extension);
                if (FileExists(candidate)) {
                    ApplicationHelpFile() = candidate;
                    return;
                }
            }
        }
    }
}

const std::string& HelpFile() { return ApplicationHelpFile(); }

bool IsHtmlHelpFile(std::string_view path) { return EndsWithNoCase(path, ".CHM"); }

bool IsHtmlHelp() { return IsHtmlHelpFile(ApplicationHelpFile()); }

}  // namespace kvo

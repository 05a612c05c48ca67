#include "IconTransfer.h"

#include "BlockParser.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

std::string IconsToText(const std::vector<const Icon*>& icons) {
    std::string out;
    for (const Icon* icon : icons) icon->SaveToFile(out);
    return out;
}

std::vector<std::unique_ptr<Icon>> IconsFromText(const std::string& text) {
    std::vector<std::unique_ptr<Icon>> icons;
    BlockParser parser;
    parser.OpenText(text, "clipboard");
    // Any other text on the clipboard is simply not ours.
    try {
        if (parser.GetToken() != BlockParser::TokenStartBlock || parser.BlockType() != "ICON") return icons;
    } catch (const Error&) {
        return icons;
    }
    for (;;) {
        auto icon = std::make_unique<Icon>();
        icon->LoadFromFile(parser);
        icons.push_back(std::move(icon));
        const int16_t token = parser.GetToken();
        if (token == BlockParser::TokenEndFile) return icons;
        if (token != BlockParser::TokenStartBlock || parser.BlockType() != "ICON")
            throw Error(ErrorNumber::LoadStructure, LoadResString(Str::IconLoadTitle),
                        FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", parser.CurrentLine(), "ICON", Excerpt(parser.BlockType())}));
    }
}

}  // namespace kvo

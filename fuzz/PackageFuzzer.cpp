// The export package reader and the import's writing side. The header and the
// list of entries are read as an import does before it writes; then the
// package is imported with every recorded full path moved below a scratch
// folder, over a show that is already there. An import that fails must leave
// that folder exactly as it was; one that succeeds leaves a show that loads.
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string_view>

#include "FuzzSupport.h"
#include "model/ExportFile.h"
#include "model/ExportPackage.h"
#include "model/FileDataCollection.h"
#include "model/SlideShow.h"
#include "services/Error.h"

namespace {

// Answers the questions of an import from the input's last byte.
class ScriptedPrompt final : public kvo::Prompt {
public:
    explicit ScriptedPrompt(uint8_t script) : script_(script) {}
    void Message(const std::string&, const std::string&, kvo::MessageKind) override {}
    kvo::OverwriteAnswer AskOverwrite(const std::string&) override {
        return static_cast<kvo::OverwriteAnswer>((script_ >> (2 * (asked_++ % 4))) & 3);
    }
    bool ConfirmFiles(const std::string&, const std::string&, const std::vector<std::string>&) override { return true; }

private:
    uint8_t script_;
    int asked_ = 0;
};

// The same package with each full path moved below root; other paths stay
// as they are, to be refused.
std::string Rooted(const std::string& input, const std::string& root, const std::string& scratch) {
    kvo::ExportFile in;
    in.OpenForRead(input);
    const std::string output = scratch + "/rooted.exp";
    {
        kvo::ExportFile out;
        out.OpenForWrite(output, in.Name(), in.Comment());
        const std::string show = scratch + "/entry";
        in.ReadFile(show);
        out.WriteFile(show);
        const int32_t count = in.ReadLong();
        out.WriteLong(count);
        for (int32_t i = 0; i < count; ++i) {
            const std::string recorded = in.ReadString();
            out.WriteString(!recorded.empty() && recorded.front() == '/' ? root + recorded : recorded);
            in.ReadFile(show);
            out.WriteFile(show);
        }
    }
    return output;
}

std::map<std::string, std::string> Tree(const std::string& root) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        tree[path] = entry.is_regular_file() ? kvo::fuzz::ReadBack(path) : "/";
    }
    return tree;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    const std::string input = WriteInput("input.exp", {reinterpret_cast<const char*>(data), size});
    try {
        const kvo::PackageInfo info = kvo::ReadPackageInfo(input);
        int64_t total = info.showBytes;
        for (const auto& entry : info.files) total += entry.bytes;
        Require(total >= 0 && static_cast<std::size_t>(total) <= size, "a package lists more bytes than it holds");
    } catch (const kvo::Error&) {
        return 0;
    }

    const std::string root = Scratch() + "/root";
    std::filesystem::remove_all(root);
    std::filesystem::create_directories(root + "/shows");
    const std::string target = root + "/shows/show.pdz";
    WriteInput("root/shows/show.pdz", "the user's show");
    std::string rooted;
    try {
        rooted = Rooted(input, root, Scratch());
    } catch (const kvo::Error&) {
        return 0;  // entries too long to move below the root
    }
    const auto before = Tree(root);
    ScriptedPrompt prompt(size > 0 ? data[size - 1] : 0);
    kvo::SetCurrentPrompt(&prompt);
    bool imported = false;
    try {
        imported = kvo::ImportSlideShow(rooted, target).has_value();
    } catch (const kvo::Error&) {
        Require(Tree(root) == before, "a failed import changed what was there");
    }
    if (imported) {
        try {
            kvo::SlideShow().LoadFromFile(target);
        } catch (const kvo::Error&) {
            Require(false, "an imported show does not load");
        }
    }
    InitModel();
    return 0;
}

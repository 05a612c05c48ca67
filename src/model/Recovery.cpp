#include "Recovery.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>

#include "SlideShow.h"
#include "services/AtomicFile.h"
#include "services/Error.h"
#include "services/Paths.h"

namespace kvo {

namespace {

constexpr const char* kCopyExtension = ".pdx";
constexpr const char* kDocumentExtension = ".document";

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

}  // namespace

Recovery::Recovery(std::string directory) : directory_(std::move(directory)) {}

std::string Recovery::DefaultDirectory() {
    return (std::filesystem::path(UserBaseDirectory("XDG_STATE_HOME", ".local/state")) / "kvoeditor" / "recovery").string();
}

// A document path is too long for a file name: the copy is named by its hash.
std::string Recovery::Stem(const std::string& document) const {
    uint64_t hash = 14695981039346656037ULL;
    for (const unsigned char c : AbsolutePath(document)) {
        hash ^= c;
        hash *= 1099511628211ULL;
    }
    char name[17];
    std::snprintf(name, sizeof name, "%016llx", static_cast<unsigned long long>(hash));
    return (std::filesystem::path(directory_) / name).string();
}

std::string Recovery::CopyPath(const std::string& document) const { return Stem(document) + kCopyExtension; }

void Recovery::Write(const SlideShow& show, const std::string& document) const {
    const std::string stem = Stem(document);
    std::error_code ec;
    // Unsaved work is nobody else's business.
    if (std::filesystem::create_directories(directory_, ec))
        std::filesystem::permissions(directory_, std::filesystem::perms::owner_all, ec);
    const std::string name = AbsolutePath(document) + '\n';
    if (ReadAll(stem + kDocumentExtension) != name) WriteFileAtomically(stem + kDocumentExtension, name);
    std::string bytes;
    show.WriteBinary(bytes);
    WriteFileAtomically(stem + kCopyExtension, bytes);
}

void Recovery::Remove(const std::string& document) const {
    const std::string stem = Stem(document);
    std::error_code ec;
    std::filesystem::remove(stem + kCopyExtension, ec);
    std::filesystem::remove(stem + kDocumentExtension, ec);
}

std::vector<Recovery::Copy> Recovery::Pending() const {
    std::vector<Copy> copies;
    std::error_code ec;
    for (std::filesystem::directory_iterator it(directory_, ec), end; !ec && it != end; it.increment(ec)) {
        const auto& entry = it->path();
        if (entry.extension() != kDocumentExtension) continue;
        std::string document = ReadAll(entry.string());
        if (document.empty() || document.back() != '\n') continue;  // not one of ours
        document.pop_back();
        Copy copy{document, (entry.parent_path() / entry.stem()).string() + kCopyExtension, {}};
        std::error_code timeError;
        copy.written = std::filesystem::last_write_time(copy.path, timeError);
        if (timeError) continue;
        const auto saved = std::filesystem::last_write_time(document, timeError);
        if (timeError || copy.written > saved) copies.push_back(std::move(copy));
    }
    std::sort(copies.begin(), copies.end(), [](const Copy& a, const Copy& b) { return a.written > b.written; });
    return copies;
}

std::unique_ptr<SlideShow> Recovery::Load(const Copy& copy) const {
    auto show = std::make_unique<SlideShow>();
    if (FileExists(copy.document)) {
        try {
            show->LoadFromFile(copy.document);
        } catch (const Error&) {
            show = std::make_unique<SlideShow>();  // a damaged document is saved as text
        }
    }
    show->Restore(ReadAll(copy.path), copy.path);
    return show;
}

}  // namespace kvo

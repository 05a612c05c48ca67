#include "RecentFiles.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <utility>

#include "AtomicFile.h"
#include "Error.h"
#include "Paths.h"

namespace kvo {

RecentFiles::RecentFiles(std::string storePath) : storePath_(std::move(storePath)) {
    std::ifstream in(storePath_, std::ios::binary);
    for (std::string line; paths_.size() < kMaxFiles && std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        // A line edited into something else than a full path is dropped, not opened.
        if (IsFullPath(line) && std::find(paths_.begin(), paths_.end(), line) == paths_.end()) paths_.push_back(line);
    }
}

std::string RecentFiles::DefaultStorePath() {
    return (std::filesystem::path(UserBaseDirectory("XDG_CONFIG_HOME", ".config")) / "kvoeditor" / "recent-files").string();
}

void RecentFiles::Add(const std::string& opened) {
    if (opened.find('\n') != std::string::npos) return;  // one line per path
    // A path given relative to where the editor was started means nothing later.
    const std::string path = AbsolutePath(opened);
    if (!IsFullPath(path)) return;
    std::erase(paths_, path);
    paths_.insert(paths_.begin(), path);
    if (paths_.size() > kMaxFiles) paths_.resize(kMaxFiles);
    Save();
}

void RecentFiles::Remove(const std::string& path) {
    if (std::erase(paths_, path) > 0) Save();
}

void RecentFiles::Save() const {
    std::string text;
    for (const auto& path : paths_) text += path + '\n';
    std::error_code ec;
    std::filesystem::create_directories(std::filesystem::path(storePath_).parent_path(), ec);
    try {
        WriteFileAtomically(storePath_, text);
    } catch (const Error&) {
    }
}

}  // namespace kvo

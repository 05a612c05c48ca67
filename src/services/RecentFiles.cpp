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

namespace {

// The folder of a path without its last separator.
std::string FolderOf(const std::string& path) {
    const auto last = path.find_last_of("\\/");
    return last == std::string::npos ? std::string() : path.substr(0, last == 0 ? 1 : last);
}

// The last count components of a folder; the whole folder when it has fewer.
std::string FolderEnd(const std::string& folder, int count) {
    std::size_t start = folder.size();
    for (int i = 0; i < count; ++i) {
        const auto separator = start == 0 ? std::string::npos : folder.find_last_of("\\/", start - 1);
        if (separator == std::string::npos || separator == 0) return folder;
        start = separator;
    }
    return folder.substr(start + 1);
}

}  // namespace

std::vector<std::string> RecentFiles::Labels() const {
    std::vector<std::string> labels;
    for (const auto& path : paths_) {
        const std::string name = FileNamePart(path);
        const std::string folder = FolderOf(path);
        std::vector<std::string> twins;
        for (const auto& other : paths_)
            if (other != path && FileNamePart(other) == name) twins.push_back(FolderOf(other));
        if (twins.empty()) {
            labels.push_back(name);
            continue;
        }
        std::string shown = folder;
        for (int count = 1; FolderEnd(folder, count) != folder; ++count) {
            const std::string end = FolderEnd(folder, count);
            if (std::none_of(twins.begin(), twins.end(), [&](const std::string& twin) { return FolderEnd(twin, count) == end; })) {
                shown = end;
                break;
            }
        }
        labels.push_back(name + " (" + shown + ")");
    }
    return labels;
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

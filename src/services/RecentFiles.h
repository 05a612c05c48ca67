#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kvo {

// The documents this user opened last, newest first, kept in the user's own
// settings (one full path per line), not in the station's shared store.
class RecentFiles {
public:
    static constexpr std::size_t kMaxFiles = 8;

    // Reads the list from storePath; a missing or unreadable file is an empty list.
    explicit RecentFiles(std::string storePath);

    // $XDG_CONFIG_HOME/kvoeditor/recent-files, or ~/.config/kvoeditor/recent-files.
    static std::string DefaultStorePath();

    const std::vector<std::string>& Paths() const { return paths_; }
    // What the menu shows for each path: its file name, and where another entry
    // has the same name, as much of its folder as tells the two apart.
    std::vector<std::string> Labels() const;
    // Puts the opened file first (once, as a full path), keeps the eight newest
    // and writes the list.
    void Add(const std::string& opened);
    void Remove(const std::string& path);

private:
    // The list is a convenience: a store that cannot be written leaves it in
    // memory for this session and is not worth interrupting the user for.
    void Save() const;

    std::string storePath_;
    std::vector<std::string> paths_;
};

}  // namespace kvo

#include "Paths.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "Text.h"

namespace kvo {

namespace {

constexpr char kNativeSeparator = '/';

bool IsDriveSpec(std::string_view path) { return path.size() >= 2 && path[1] == ':'; }

char SeparatorStyleOf(std::string_view path) {
    const auto last = path.find_last_of("\\/");
    if (last != std::string_view::npos) return path[last];
    return IsDriveSpec(path) ? '\\' : kNativeSeparator;
}

// "E:\A\B" -> "E:\A"; a root ("E:\", "E:", "/") is its own parent.
std::string ParentOf(std::string dir) {
    const bool drive = IsDriveSpec(dir);
    const std::size_t rootLength = drive ? (dir.size() >= 3 && IsPathSeparator(dir[2]) ? 3 : 2)
                                         : (!dir.empty() && IsPathSeparator(dir[0]) ? 1 : 0);
    while (dir.size() > rootLength && IsPathSeparator(dir.back())) dir.pop_back();
    if (dir.size() <= rootLength) return dir;
    const auto last = dir.find_last_of("\\/");
    if (last == std::string::npos || last < rootLength) return dir.substr(0, rootLength);
    return dir.substr(0, std::max(last, rootLength));
}

}  // namespace

bool IsPathSeparator(char c) { return c == '\\' || c == '/'; }

bool IsFullPath(std::string_view path) { return IsDriveSpec(path) || (!path.empty() && path[0] == '/'); }

std::string UserBaseDirectory(const char* variable, const char* underHome) {
    const char* set = std::getenv(variable);
    const char* home = std::getenv("HOME");
    if (set != nullptr && *set == '/') return set;
    if (home != nullptr && *home != '\0') return (std::filesystem::path(home) / underHome).string();
    return std::filesystem::temp_directory_path().string();
}

std::string AbsolutePath(const std::string& path) {
    if (IsFullPath(path)) return path;
    std::error_code ec;
    const auto absolute = std::filesystem::absolute(path, ec);
    return ec ? path : absolute.lexically_normal().string();
}

std::string AddBackslash(std::string_view path) {
    std::string result(TrimRight(path));
    if (result.empty() || !IsPathSeparator(result.back())) result.push_back(SeparatorStyleOf(result));
    return result;
}

std::string JoinPath(std::string_view directory, std::string_view relativePath) {
    std::string dir(Trim(directory));
    std::string_view rel = Trim(relativePath);
    if (IsFullPath(rel)) return std::string(rel);
    while (!rel.empty() && rel.front() == '.') {
        if (rel.size() >= 3 && rel[1] == '.' && IsPathSeparator(rel[2])) {
            dir = ParentOf(dir);
            rel.remove_prefix(3);
        } else if (rel.size() >= 2 && IsPathSeparator(rel[1])) {
            rel.remove_prefix(2);
        } else {
            rel.remove_prefix(1);
        }
    }
    // A bare name stays relative rather than becoming one below the root.
    if (dir.empty()) return std::string(rel);
    return AddBackslash(dir) + std::string(rel);
}

std::string FileNamePart(std::string_view path) {
    const auto last = path.find_last_of("\\/");
    return std::string(last == std::string_view::npos ? path : path.substr(last + 1));
}

std::string AddExtension(std::string_view path, std::string_view extension) {
    // A leading dot names a hidden file; it is no extension.
    if (FileNamePart(path).find('.', 1) != std::string::npos) return std::string(path);
    return std::string(path) + std::string(extension);
}

bool FileExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && std::filesystem::is_regular_file(path, ec);
}

bool DirectoryExists(const std::string& path) {
    std::error_code ec;
    return !path.empty() && std::filesystem::is_directory(path, ec);
}

std::string ExecutableDirectory() {
    std::error_code ec;
    const auto exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) return std::filesystem::current_path(ec).string();
    return exe.parent_path().string();
}

std::string CompanionProgram(const std::string& name) {
    const std::string beside = JoinPath(ExecutableDirectory(), name);
    return FileExists(beside) ? beside : JoinPath(ExecutableDirectory(), "../libexec/kvoeditor/" + name);
}

std::string EditorDataDirectory() {
    const std::string exeDir = ExecutableDirectory();
    // From bin/, or from libexec/kvoeditor/ where the helpers are installed.
    for (const char* up : {"..", "../.."}) {
        const auto installed = std::filesystem::path(exeDir) / up / "share" / "kvoeditor";
        std::error_code ec;
        if (std::filesystem::is_directory(installed, ec)) return installed.lexically_normal().string();
    }
    return exeDir;
}

}  // namespace kvo

#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

#include "Error.h"

namespace kvo {

namespace {

constexpr const char* kSource = "AtomicFile";

// Replacing a symbolic link would cut it; write to what it points at instead.
std::string ResolveLinks(const std::string& target) {
    std::filesystem::path path(target);
    std::error_code ec;
    for (int hops = 0; hops < 40 && std::filesystem::is_symlink(path, ec); ++hops) {
        const auto next = std::filesystem::read_symlink(path, ec);
        if (ec) break;
        path = next.is_absolute() ? next : path.parent_path() / next;
    }
    return path.string();
}

mode_t NewFileMode() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

bool SyncPath(const std::string& path, int flags) {
    const int fd = open(path.c_str(), flags | O_CLOEXEC);
    if (fd < 0) return false;
    const bool ok = fsync(fd) == 0;
    close(fd);
    return ok;
}

}  // namespace

AtomicFile::AtomicFile(const std::string& target) : target_(ResolveLinks(target)) {
    const std::filesystem::path path(target_);
    std::string pattern = (path.parent_path() / ("." + path.filename().string() + ".tmp-XXXXXX")).string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) Fail("cannot create a temporary file beside it", errno);
    temporary_ = name.data();
    // Keep the permissions of the file being replaced; a new file gets the usual ones.
    struct stat existing {};
    const mode_t mode = stat(target_.c_str(), &existing) == 0 ? (existing.st_mode & 07777) : NewFileMode();
    fchmod(fd, mode);
    close(fd);
}

std::ostream& AtomicFile::Stream() {
    if (!stream_.is_open()) {
        stream_.open(temporary_, std::ios::binary | std::ios::trunc);
        if (!stream_) Fail("cannot open the temporary file", errno);
    }
    return stream_;
}

AtomicFile::~AtomicFile() {
    if (!committed_ && !temporary_.empty()) {
        stream_.close();
        unlink(temporary_.c_str());
    }
}

void AtomicFile::Commit() {
    if (stream_.is_open()) {
        stream_.flush();
        const bool written = static_cast<bool>(stream_);
        stream_.close();
        if (!written || stream_.fail()) Fail("writing failed (is the disk full?)", errno);
    }
    if (!SyncPath(temporary_, O_RDONLY)) Fail("cannot flush it to disk", errno);
    if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail("cannot replace it", errno);
    committed_ = true;
    SyncPath(std::filesystem::path(target_).parent_path().string(), O_RDONLY | O_DIRECTORY);
}

void AtomicFile::Fail(const std::string& what, int errorNumber) {
    std::string description = "Cannot write \"" + target_ + "\": " + what;
    if (errorNumber != 0) description += " (" + std::string(std::strerror(errorNumber)) + ")";
    throw Error(ErrorNumber::FileAccess, kSource, description);
}

void WriteFileAtomically(const std::string& target, std::string_view bytes) {
    AtomicFile file(target);
    file.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.Commit();
}

}  // namespace kvo

#include "SettingsStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "AtomicFile.h"
#include "Error.h"

namespace kvo {

namespace {

constexpr const char* kDefaultPath = "/etc/orlanvex/registry.reg";

std::string SystemReason(int error) { return std::strerror(error); }

// Held for the whole read-modify-write; a separate file because the store itself
// is replaced by rename and a lock on it would be lost with the old file.
class LockFile {
public:
    explicit LockFile(const std::string& storePath) {
        const std::string lockPath = storePath + ".lock";
        fd_ = open(lockPath.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        if (fd_ < 0) throw SettingsFileError(storePath, 0, "cannot create the lock file " + lockPath + ": " + SystemReason(errno));
        while (flock(fd_, LOCK_EX) != 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            close(fd_);
            throw SettingsFileError(storePath, 0, "cannot lock " + lockPath + ": " + SystemReason(error));
        }
    }
    ~LockFile() {
        flock(fd_, LOCK_UN);
        close(fd_);
    }
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

private:
    int fd_ = -1;
};

}  // namespace

SettingsStore::SettingsStore(std::string path) : path_(std::move(path)) {}

std::string SettingsStore::DefaultPath() {
    const char* fromEnvironment = std::getenv("ORLANVEX_REGISTRY");
    return (fromEnvironment != nullptr && *fromEnvironment != '\0') ? fromEnvironment : kDefaultPath;
}

RegistryTree SettingsStore::Read() const {
    // The error of the open itself decides: asking afterwards whether the file
    // exists races with a writer creating it meanwhile.
    const int fd = open(path_.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        if (errno == ENOENT || errno == ENOTDIR) return RegistryTree{};  // no such file: an empty store
        throw SettingsFileError(path_, 0, "cannot be read: " + SystemReason(errno));
    }
    std::string bytes;
    std::array<char, 65536> chunk{};
    for (;;) {
        const ssize_t count = read(fd, chunk.data(), chunk.size());
        if (count == 0) break;
        if (count < 0) {
            if (errno == EINTR) continue;
            const int error = errno;
            close(fd);
            throw SettingsFileError(path_, 0, "cannot be read: " + SystemReason(error));
        }
        bytes.append(chunk.data(), static_cast<std::size_t>(count));
    }
    close(fd);
    return RegistryTree::Parse(bytes, path_);
}

void SettingsStore::Modify(const std::function<void(RegistryTree&)>& change) const {
    const auto directory = std::filesystem::path(path_).parent_path();
    std::error_code ec;
    if (!directory.empty()) std::filesystem::create_directories(directory, ec);
    if (ec) throw SettingsFileError(path_, 0, "cannot create the folder " + directory.string() + ": " + ec.message());
    // Writers that name the store through a link and by its real path must meet
    // at one lock, beside the file that is really replaced.
    LockFile lock(ResolveLinks(path_));
    RegistryTree tree = Read();
    change(tree);
    try {
        WriteFileAtomically(path_, tree.Serialize());
    } catch (const Error& error) {
        throw SettingsFileError(path_, 0, error.Description());
    }
}

}  // namespace kvo

#include "AtomicFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <vector>

#include "Error.h"
#include "Language.h"
#include "StringIds.h"
#include "Text.h"

namespace kvo {

namespace {

constexpr const char* kSource = "AtomicFile";

constexpr std::string_view kTemporaryMark = ".tmp-";
constexpr std::size_t kRandomPart = 6;  // mkstemp's XXXXXX

// Ours: ".<name>.tmp-XXXXXX", a regular file.
bool IsOurTemporaryName(const std::string& name) {
    if (name.size() < 1 + kTemporaryMark.size() + kRandomPart || name.front() != '.') return false;
    const std::size_t mark = name.size() - kRandomPart - kTemporaryMark.size();
    if (name.compare(mark, kTemporaryMark.size(), kTemporaryMark) != 0) return false;
    for (std::size_t i = name.size() - kRandomPart; i < name.size(); ++i) {
        const char c = name[i];
        if (!((c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'))) return false;
    }
    return true;
}

// A save that was killed leaves its temporary file behind; a day later nobody
// is still writing it. Once per folder and process: an import writes
// thousands of files into one folder.
void RemoveStaleTemporaries(const std::filesystem::path& folder) {
    static std::mutex mutex;
    static std::set<std::string> swept;
    {
        const std::lock_guard lock(mutex);
        if (!swept.insert(folder.string()).second) return;
    }
    std::error_code ec;
    const auto dayAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(24);
    std::filesystem::directory_iterator it(folder.empty() ? "." : folder, ec);
    for (; !ec && it != std::filesystem::directory_iterator(); it.increment(ec)) {
        std::error_code entryError;
        if (!IsOurTemporaryName(it->path().filename().string()) || !it->is_regular_file(entryError)) continue;
        const auto written = it->last_write_time(entryError);
        if (!entryError && written < dayAgo) std::filesystem::remove(it->path(), entryError);
    }
}

// The temporary name must itself be a legal name: a long file name gives up
// the end of its copy in the temporary name.
std::string TemporaryPattern(const std::filesystem::path& target) {
    const std::size_t room = NAME_MAX - 1 - kTemporaryMark.size() - kRandomPart;
    const std::string name(CutUtf8(target.filename().string(), room));
    return (target.parent_path() / ("." + name + std::string(kTemporaryMark) + std::string(kRandomPart, 'X'))).string();
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

AtomicFile::AtomicFile(const std::string& target) : target_(ResolveLinks(target)) {
    const std::filesystem::path path(target_);
    struct stat existing {};
    const bool exists = lstat(target_.c_str(), &existing) == 0;
    if (exists && !S_ISREG(existing.st_mode)) Fail(Str::WriteNotOrdinary, 0);
    if (exists && access(target_.c_str(), W_OK) != 0) Fail(Str::WriteReadOnly, errno);
    RemoveStaleTemporaries(path.parent_path());
    std::string pattern = TemporaryPattern(path);
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    const int fd = mkstemp(name.data());
    if (fd < 0) Fail(Str::WriteNoTemporary, errno);
    temporary_ = name.data();
    // Keep the permissions of the file being replaced (set at the commit, so a
    // read-only file can still be written here); a new file gets the usual ones.
    mode_ = exists ? (existing.st_mode & 07777) : NewFileMode();
    close(fd);
}

std::ostream& AtomicFile::Stream() {
    if (!stream_.is_open()) {
        stream_.open(temporary_, std::ios::binary | std::ios::trunc);
        if (!stream_) Fail(Str::WriteNoTemporary, errno);
    }
    return stream_;
}

AtomicFile::~AtomicFile() {
    if (!committed_ && !temporary_.empty()) {
        stream_.close();
        unlink(temporary_.c_str());
    }
}

void AtomicFile::Close() {
    if (!stream_.is_open()) return;
    stream_.flush();
    const bool written = static_cast<bool>(stream_);
    stream_.close();
    if (!written || stream_.fail()) Fail(Str::WriteFailed, errno);
}

void AtomicFile::Replace() {
    chmod(temporary_.c_str(), mode_);
    if (rename(temporary_.c_str(), target_.c_str()) != 0) Fail(Str::WriteNotReplaced, errno);
    committed_ = true;
}

void AtomicFile::Commit() {
    Close();
    if (!SyncPath(temporary_, O_RDONLY)) Fail(Str::WriteNotFlushed, errno);
    Replace();
    SyncPath(std::filesystem::path(target_).parent_path().string(), O_RDONLY | O_DIRECTORY);
}

namespace {

// Everything written to the file systems that hold these paths is on disk
// once this returns: one call per file system instead of one per file.
bool SyncFileSystems(const std::vector<std::string>& paths) {
    std::set<dev_t> synced;
    bool ok = true;
    for (const auto& path : paths) {
        struct stat info {};
        if (stat(path.c_str(), &info) != 0 || !synced.insert(info.st_dev).second) continue;
        const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
        ok = fd >= 0 && syncfs(fd) == 0 && ok;
        if (fd >= 0) close(fd);
    }
    return ok;
}

}  // namespace

void AtomicFile::CommitAll(const std::vector<AtomicFile*>& files) {
    std::vector<std::string> temporaries;
    for (AtomicFile* file : files) {
        file->Close();
        temporaries.push_back(file->temporary_);
    }
    if (!SyncFileSystems(temporaries)) files.front()->Fail(Str::WriteNotFlushed, errno);
    std::vector<std::string> targets;
    for (AtomicFile* file : files) {
        file->Replace();
        targets.push_back(file->target_);
    }
    SyncFileSystems(targets);
}

void AtomicFile::Fail(int32_t reason, int errorNumber) {
    std::string description = FormatResString(Str::FileNotWrittenBecause, {target_, LoadResString(reason)});
    if (errorNumber != 0) description += " (" + std::string(std::strerror(errorNumber)) + ")";
    throw Error(ErrorNumber::FileAccess, kSource, description);
}

void AtomicFile::NameTheTarget(const Error& error) const {
    std::string description = error.Description();
    for (auto at = description.find(temporary_); at != std::string::npos; at = description.find(temporary_, at + target_.size()))
        description.replace(at, temporary_.size(), target_);
    throw Error(error.Number(), error.Source(), description);
}

void WriteFileAtomically(const std::string& target, std::string_view bytes) {
    AtomicFile file(target);
    file.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.Commit();
}

}  // namespace kvo

#include "FileDataCollection.h"

#include <sys/stat.h>

#include <filesystem>
#include <unordered_set>
#include <utility>

#include "ExportFile.h"
#include "services/AtomicFile.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StringIds.h"
#include "services/Prompt.h"
#include "services/Text.h"

namespace kvo {

namespace {

std::string CopyName(const std::string& folder, char separator, const std::string& fileName, int n) {
    return folder + separator + "Copy(" + std::to_string(n) + ") of " + fileName;
}

}  // namespace

std::string FileDataCollection::Key(std::string_view path) {
    return !path.empty() && path.front() == '/' ? std::string(path) : ToUpper(path);
}

const FileData* FileDataCollection::Find(std::string_view path) const {
    const auto it = index_.find(Key(path));
    return it == index_.end() ? nullptr : &files_[it->second];
}

FileData* FileDataCollection::Find(std::string_view path) {
    return const_cast<FileData*>(std::as_const(*this).Find(path));
}

void FileDataCollection::Add(const std::string& path) {
    if (!index_.emplace(Key(path), files_.size()).second) return;
    FileData file;
    file.SetRecordedPath(path);
    files_.push_back(std::move(file));
}

std::string FileDataCollection::FindNewFileName(std::string_view path) const {
    const FileData* file = Find(path);
    return file == nullptr ? std::string() : file->NewPath();
}

void FileDataCollection::Export(ExportFile& package) const {
    package.WriteLong(Count());
    for (const auto& file : files_) {
        package.WriteString(file.RecordedPath());
        package.WriteFile(file.RecordedPath());
    }
}

namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }

// Control characters are shown as \xNN so that the message itself stays readable.
std::string Printable(const std::string& path) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string shown;
    for (char c : path) {
        if (!IsControl(c)) {
            shown += c;
            continue;
        }
        const auto byte = static_cast<unsigned char>(c);
        shown += "\\x";
        shown += kHex[byte >> 4];
        shown += kHex[byte & 0xF];
    }
    return shown;
}

[[noreturn]] void Refuse(const std::string& path, const std::string& why) {
    throw Error(ErrorNumber::PackageEntryRefused, "Export.Read",
                FormatResString(Str::PackageEntryRefused, {Printable(path), why}));
}

// The first existing part of the path that is a symbolic link; empty when none is.
std::string LinkOnTheWay(const std::string& path) {
    std::error_code ec;
    std::filesystem::path partial;
    for (const auto& part : std::filesystem::path(path)) {
        partial /= part;
        if (std::filesystem::is_symlink(std::filesystem::symlink_status(partial, ec))) return partial.string();
    }
    return {};
}

// Anything at all at the path, a dangling link included.
bool SomethingAt(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0;
}

bool OrdinaryFileAt(const std::string& path) {
    struct stat info {};
    return lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

StagedFiles::StagedFiles() = default;

StagedFiles::~StagedFiles() {
    files_.clear();  // each takes its temporary file with it
    if (committed_) return;
    std::error_code ec;
    for (auto it = madeFolders_.rbegin(); it != madeFolders_.rend(); ++it) std::filesystem::remove(*it, ec);
}

AtomicFile& StagedFiles::Add(const std::string& target) {
    // Each missing folder on the way is remembered, outermost first.
    std::vector<std::string> missing;
    for (auto folder = std::filesystem::path(target).parent_path(); !folder.empty() && !SomethingAt(folder.string());
         folder = folder.parent_path()) {
        missing.insert(missing.begin(), folder.string());
        if (folder == folder.parent_path()) break;
    }
    for (const auto& folder : missing) {
        std::error_code ec;
        if (!std::filesystem::create_directory(folder, ec) || ec)
            throw Error(ErrorNumber::FileAccess, "Export.Read",
                        "Cannot create the folder \"" + folder + "\": " + (ec ? ec.message() : std::string("it exists")));
        madeFolders_.push_back(folder);
    }
    files_.push_back(std::make_unique<AtomicFile>(target));
    return *files_.back();
}

void StagedFiles::Discard(const AtomicFile& file) {
    std::erase_if(files_, [&](const auto& staged) { return staged.get() == &file; });
}

void StagedFiles::Commit() {
    std::vector<AtomicFile*> files;
    for (const auto& file : files_) files.push_back(file.get());
    if (!files.empty()) AtomicFile::CommitAll(files);
    committed_ = true;
}

void FileDataCollection::CheckRecordedPath(const std::string& path) {
    for (char c : path)
        if (IsControl(c)) Refuse(path, LoadResString(Str::PackageEntryControl));
    if (path.empty() || path.front() != '/') Refuse(path, LoadResString(Str::PackageEntryNotFull));
    for (const auto& part : std::filesystem::path(path))
        if (part == "..") Refuse(path, LoadResString(Str::PackageEntryParent));
    if (const std::string link = LinkOnTheWay(path); !link.empty())
        Refuse(path, FormatResString(Str::PackageEntryLink, {link}));
}

std::vector<std::string> FileDataCollection::CheckEntries(ExportFile& package) {
    std::vector<std::string> recordedPaths;
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        std::string recorded = package.ReadString();
        CheckRecordedPath(recorded);
        package.SkipFile(recorded);
        recordedPaths.push_back(std::move(recorded));
    }
    return recordedPaths;
}

void FileDataCollection::Import(ExportFile& package, StagedFiles& staged) {
    // The list keeps one entry at most from before, as it always has; the
    // editor imports into a new list.
    if (files_.size() > 1) {
        files_.erase(files_.begin(), files_.end() - 1);
        index_ = {{Key(files_.front().RecordedPath()), 0}};
    }
    bool askAgain = true;
    bool overwrite = false;
    // Nothing is in place before the end, so a file an earlier entry will
    // write counts as existing.
    std::unordered_set<std::string> planned;
    const auto taken = [&](const std::string& path) { return planned.count(path) > 0 || SomethingAt(path); };
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        const std::string recorded = package.ReadString();
        CheckRecordedPath(recorded);
        const auto slash = recorded.find_last_of("\\/");
        const std::string folder = slash == std::string::npos ? std::string() : recorded.substr(0, slash);
        const char separator = slash == std::string::npos ? '/' : recorded[slash];
        std::string target = recorded;
        if (taken(target)) {
            if (askAgain) {
                switch (CurrentPrompt().AskOverwrite(target)) {
                    case OverwriteAnswer::Yes: overwrite = true; askAgain = true; break;
                    case OverwriteAnswer::YesToAll: overwrite = true; askAgain = false; break;
                    case OverwriteAnswer::No: overwrite = false; askAgain = true; break;
                    case OverwriteAnswer::NoToAll: overwrite = false; askAgain = false; break;
                }
            }
            if (!overwrite) {
                const std::string fileName = recorded.substr(slash == std::string::npos ? 0 : slash + 1);
                for (int n = 1; n <= kMaxCopies; ++n) {
                    target = CopyName(folder, separator, fileName, n);
                    if (!taken(target)) break;
                }
            }
        }
        if (target != recorded) CheckRecordedPath(target);  // a "Copy(n) of" name may be a link too
        if (SomethingAt(target) && !OrdinaryFileAt(target))
            throw Error(ErrorNumber::FileAccess, "Export.Read", FormatResString(Str::ImportNotOrdinaryFile, {Printable(target)}));
        AtomicFile& file = staged.Add(target);
        package.ReadFileInto(file.Stream(), target);
        file.Close();
        planned.insert(target);
        Add(recorded);
        Find(recorded)->SetNewPath(target);
    }
}

}  // namespace kvo

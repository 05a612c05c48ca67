#include "FileDataCollection.h"

#include <filesystem>
#include <utility>

#include "ExportFile.h"
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

const FileData* FileDataCollection::Find(std::string_view path) const {
    for (const auto& file : files_)
        if (EqualsNoCase(file.RecordedPath(), path)) return &file;
    return nullptr;
}

FileData* FileDataCollection::Find(std::string_view path) {
    return const_cast<FileData*>(std::as_const(*this).Find(path));
}

void FileDataCollection::Add(const std::string& path) {
    if (Find(path) != nullptr) return;
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

}  // namespace

void FileDataCollection::CheckRecordedPath(const std::string& path) {
    for (char c : path)
        if (IsControl(c)) Refuse(path, LoadResString(Str::PackageEntryControl));
    if (path.empty() || path.front() != '/') Refuse(path, LoadResString(Str::PackageEntryNotFull));
    for (const auto& part : std::filesystem::path(path))
        if (part == "..") Refuse(path, LoadResString(Str::PackageEntryParent));
    if (const std::string link = LinkOnTheWay(path); !link.empty())
        Refuse(path, FormatResString(Str::PackageEntryLink, {link}));
}

void FileDataCollection::CheckEntries(ExportFile& package) {
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        const std::string recorded = package.ReadString();
        CheckRecordedPath(recorded);
        package.SkipFile(recorded);
    }
}

void FileDataCollection::Import(ExportFile& package) {
    // The list keeps one entry at most from before, as it always has; the
    // editor imports into a new list.
    if (files_.size() > 1) files_.erase(files_.begin(), files_.end() - 1);
    bool askAgain = true;
    bool overwrite = false;
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        const std::string recorded = package.ReadString();
        CheckRecordedPath(recorded);
        const auto slash = recorded.find_last_of("\\/");
        const std::string folder = slash == std::string::npos ? std::string() : recorded.substr(0, slash);
        const char separator = slash == std::string::npos ? '/' : recorded[slash];
        std::string target = recorded;
        if (FileExists(target)) {
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
                    if (!FileExists(target)) break;
                }
            }
        }
        if (target != recorded) CheckRecordedPath(target);  // a "Copy(n) of" name may be a link too
        package.ReadFile(target);
        Add(recorded);
        Find(recorded)->SetNewPath(target);
    }
}

}  // namespace kvo

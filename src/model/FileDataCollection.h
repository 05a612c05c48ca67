#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kvo {

class AtomicFile;
class ExportFile;

// Files written beside their places and put there together by Commit: until
// then nothing that existed has been touched, and without it the temporary
// files and the folders made for them go again.
class StagedFiles {
public:
    StagedFiles();
    ~StagedFiles();
    StagedFiles(const StagedFiles&) = delete;
    StagedFiles& operator=(const StagedFiles&) = delete;

    // A new file for target, creating its folder.
    AtomicFile& Add(const std::string& target);
    // Drops a file that was only needed for a while, with its temporary file.
    void Discard(const AtomicFile& file);
    void Commit();

private:
    std::vector<std::unique_ptr<AtomicFile>> files_;
    std::vector<std::string> madeFolders_;
    bool committed_ = false;
};

// One file a slide show refers to: the path recorded in the package, and where
// an import stored it.
class FileData {
public:
    const std::string& RecordedPath() const { return recordedPath_; }
    void SetRecordedPath(std::string value) { recordedPath_ = std::move(value); }
    const std::string& NewPath() const { return newPath_; }
    void SetNewPath(std::string value) { newPath_ = std::move(value); }

private:
    std::string recordedPath_;
    std::string newPath_;
};

// The files of a slide show, keyed by recorded path: a drive-letter path without
// regard to case, as its file system compares names; a path of this system
// exactly, so that two files whose names differ only in case stay two.
class FileDataCollection {
public:
    static constexpr int kMaxCopies = 1000;

    // A path listed already is ignored.
    void Add(const std::string& path);
    // The new path recorded for path; empty when it is not listed.
    std::string FindNewFileName(std::string_view path) const;
    int32_t Count() const { return static_cast<int32_t>(files_.size()); }
    const FileData& Item(int32_t index) const { return files_.at(static_cast<std::size_t>(index - 1)); }

    // The count, then each file's recorded path and bytes.
    void Export(ExportFile& package) const;
    // Recreates each file of the package at its recorded path, asking through the
    // prompt before one replaces anything that exists there; a file that is not
    // replaced is stored beside it as "Copy(n) of name". The files land in staged,
    // for its caller to commit. Anything but an ordinary file is never replaced.
    void Import(ExportFile& package, StagedFiles& staged);

    // Raises error 1006 naming the entry unless the recorded path may be written
    // here: a full path of this system, without ".." steps or control characters,
    // that does not lead through a symbolic link.
    static void CheckRecordedPath(const std::string& path);
    // Reads the list of files that follows and checks every recorded path,
    // writing nothing; returns the recorded paths.
    static std::vector<std::string> CheckEntries(ExportFile& package);
    // Two recorded paths name one file when their keys are equal: this
    // system's paths by case, drive-letter paths without regard to it.
    static std::string Key(std::string_view path);

private:
    FileData* Find(std::string_view path);
    const FileData* Find(std::string_view path) const;

    std::vector<FileData> files_;
    std::unordered_map<std::string, std::size_t> index_;  // Key(recorded path) -> files_
};

}  // namespace kvo

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace kvo {

class ExportFile;

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

// The files of a slide show, keyed by recorded path without regard to case.
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
    // prompt before one replaces an existing file; a file that is not replaced is
    // stored beside it as "Copy(n) of name".
    void Import(ExportFile& package);

    // Raises error 1006 naming the entry unless the recorded path may be written
    // here: a full path of this system, without ".." steps or control characters,
    // that does not lead through a symbolic link.
    static void CheckRecordedPath(const std::string& path);
    // Reads the list of files that follows and checks every recorded path,
    // writing nothing.
    static void CheckEntries(ExportFile& package);

private:
    FileData* Find(std::string_view path);
    const FileData* Find(std::string_view path) const;

    std::vector<FileData> files_;
};

}  // namespace kvo

#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "DataFile.h"

namespace kvo {

// The export package: "KVTEXPRT", the slide show's path, the moment of export and
// a comment, the slide show file, then every file it refers to with its recorded
// path. Files are copied in and out in chunks of 16384 bytes.
class ExportFile {
public:
    static constexpr std::string_view kMagic = "KVTEXPRT";
    static constexpr std::size_t kChunkSize = 16384;

    ExportFile() = default;
    ~ExportFile() { FileClose(); }
    ExportFile(const ExportFile&) = delete;
    ExportFile& operator=(const ExportFile&) = delete;

    const std::string& Name() const { return name_; }
    const std::string& Timestamp() const { return timestamp_; }
    const std::string& Comment() const { return comment_; }

    // Error 1003 when a package is open already.
    void OpenForWrite(const std::string& fileName, const std::string& name, const std::string& comment);
    // Error 1003 when open already, 1005 when the file is no package.
    void OpenForRead(const std::string& fileName);
    void FileClose();

    // Error 1004 unless open for writing.
    void WriteLong(int32_t value);
    void WriteString(std::string_view value);
    // The file's length, then its bytes.
    void WriteFile(const std::string& path);
    // Error 1004 unless open for reading.
    int32_t ReadLong();
    std::string ReadString();
    // Replaces the file at path with the next file of the package once it is
    // complete, creating its folder; a file that cannot be written is reported
    // with its path.
    void ReadFile(const std::string& path);
    // The next file of the package onto out; path names it in errors.
    void ReadFileInto(std::ostream& out, const std::string& path);
    // Steps over the next file of the package, named in errors; returns its length.
    int32_t SkipFile(const std::string& name = "the next file");
    // Where reading stands, and back to such a place.
    uint64_t Position() const { return file_.Position(); }
    void Rewind(uint64_t position) { file_.Seek(position); }

private:
    void RequireWriting() const;
    void RequireReading() const;
    // The next file's length, checked against what the package still holds.
    uint64_t ReadFileLength(const std::string& path);

    bool open_ = false;
    bool writing_ = false;
    DataFile file_;
    std::string name_;
    std::string timestamp_;
    std::string comment_;
};

}  // namespace kvo

#include "ExportFile.h"

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <limits>

#include "services/AtomicFile.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

// Now as a date of the classic runtime, in local time.
double Now() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    const auto days = std::chrono::sys_days(std::chrono::year_month_day(
        std::chrono::year(local.tm_year + 1900), std::chrono::month(static_cast<unsigned>(local.tm_mon + 1)),
        std::chrono::day(static_cast<unsigned>(local.tm_mday))));
    const double epochDays = static_cast<double>(days.time_since_epoch().count()) + 25569.0;
    return epochDays + (local.tm_hour * 3600 + local.tm_min * 60 + local.tm_sec) / 86400.0;
}

[[noreturn]] void CannotWrite(const std::string& path, int32_t why) {
    throw Error(ErrorNumber::FileAccess, "Export.Read", FormatResString(why, {path}));
}

}  // namespace

void ExportFile::OpenForWrite(const std::string& fileName, const std::string& name, const std::string& comment) {
    if (open_)
        throw Error(ErrorNumber::ExportAlreadyOpen, "OpenForWrite", FormatResString(Str::PackageAlreadyOpen, {fileName}));
    if (!file_.OpenWrite(fileName))
        throw Error(ErrorNumber::FileAccess, "OpenForWrite", FormatResString(Str::FileNotCreated, {fileName}));
    open_ = true;
    writing_ = true;
    name_ = name;
    comment_ = comment;
    timestamp_ = FormatDate(Now());
    file_.WriteBytes(kMagic.data(), kMagic.size(), "Export.Write");
    WriteString(name_);
    WriteString(timestamp_);
    WriteString(comment_);
}

void ExportFile::OpenForRead(const std::string& fileName) {
    if (open_)
        throw Error(ErrorNumber::ExportAlreadyOpen, "Export.Read", FormatResString(Str::PackageAlreadyOpen, {fileName}));
    if (!file_.OpenRead(fileName))
        throw Error(ErrorNumber::FileNotFound, "Export.Read", FormatResString(Str::FileMissing, {fileName}));
    open_ = true;
    writing_ = false;
    std::array<char, kMagic.size()> magic{};
    const bool longEnough = file_.Remaining() >= magic.size();
    if (longEnough) file_.ReadBytes(magic.data(), magic.size(), "Export.Read");
    if (!longEnough || std::string_view(magic.data(), magic.size()) != kMagic)
        throw Error(ErrorNumber::ExportBadMagic, "Export.Read", FormatResString(Str::PackageBadMagic, {fileName}));
    name_ = ReadString();
    timestamp_ = ReadString();
    comment_ = ReadString();
}

void ExportFile::FileClose() {
    if (!open_) return;
    file_.Close();
    open_ = false;
}

void ExportFile::RequireWriting() const {
    if (!open_ || !writing_)
        throw Error(ErrorNumber::ExportNotOpen, "Export.Write", LoadResString(Str::PackageNotOpenForWrite));
}

void ExportFile::RequireReading() const {
    if (!open_ || writing_)
        throw Error(ErrorNumber::ExportNotOpen, "Export.Read", LoadResString(Str::PackageNotOpenForRead));
}

void ExportFile::WriteLong(int32_t value) {
    RequireWriting();
    file_.WriteLong(value, "Export.Write");
}

void ExportFile::WriteString(std::string_view value) {
    RequireWriting();
    file_.WriteString(value, "Export.Write");
}

void ExportFile::WriteFile(const std::string& path) {
    RequireWriting();
    std::error_code ec;
    const auto size = std::filesystem::file_size(path, ec);
    if (ec) throw Error(ErrorNumber::FileNotFound, "Export.Write", FormatResString(Str::FileMissing, {path}));
    if (size > static_cast<uintmax_t>(std::numeric_limits<int32_t>::max()))
        throw Error(ErrorNumber::Overflow, "Export.Write", FormatResString(Str::PackageFileTooLarge, {path}));
    std::ifstream in(path, std::ios::binary);
    if (!in) throw Error(ErrorNumber::FileAccess, "Export.Write", FormatResString(Str::FileUnreadable, {path}));
    WriteLong(static_cast<int32_t>(size));
    // A file that shrinks while it is copied would leave the package out of step:
    // report it rather than write a package that cannot be read back.
    std::array<char, kChunkSize> chunk{};
    for (uintmax_t remaining = size; remaining > 0;) {
        const std::size_t count = remaining > kChunkSize ? kChunkSize : static_cast<std::size_t>(remaining);
        in.read(chunk.data(), static_cast<std::streamsize>(count));
        if (in.gcount() != static_cast<std::streamsize>(count))
            throw Error(ErrorNumber::FileAccess, "Export.Write", FormatResString(Str::PackageFileChanged, {path}));
        file_.WriteBytes(chunk.data(), count, "Export.Write");
        remaining -= count;
    }
}

int32_t ExportFile::ReadLong() {
    RequireReading();
    return file_.ReadLong("Export.Read");
}

std::string ExportFile::ReadString() {
    RequireReading();
    return file_.ReadString("Export.Read");
}

uint64_t ExportFile::ReadFileLength(const std::string& path) {
    const int32_t length = ReadLong();
    const uint64_t size = length > 0 ? static_cast<uint64_t>(length) : 0;
    // A damaged length is caught before anything on disk is touched.
    if (size > file_.Remaining())
        throw Error(ErrorNumber::InputPastEnd, "Export.Read",
                    FormatResString(Str::PackageTruncated, {file_.FileName(), path}));
    return size;
}

int32_t ExportFile::SkipFile(const std::string& name) {
    const uint64_t size = ReadFileLength(name);
    file_.Skip(size, "Export.Read");
    return static_cast<int32_t>(size);
}

void ExportFile::ReadFileInto(std::ostream& out, const std::string& path) {
    const uint64_t size = ReadFileLength(path);
    std::array<char, kChunkSize> chunk{};
    for (uint64_t remaining = size; remaining > 0;) {
        const std::size_t count = remaining > kChunkSize ? kChunkSize : static_cast<std::size_t>(remaining);
        file_.ReadBytes(chunk.data(), count, "Export.Read");
        out.write(chunk.data(), static_cast<std::streamsize>(count));
        if (!out) CannotWrite(path, Str::FileNotWritten);
        remaining -= count;
    }
    out.flush();
    if (!out) CannotWrite(path, Str::FileNotWritten);
}

void ExportFile::ReadFile(const std::string& path) {
    const auto folder = std::filesystem::path(path).parent_path();
    std::error_code ec;
    if (!folder.empty()) std::filesystem::create_directories(folder, ec);
    AtomicFile file(path);
    ReadFileInto(file.Stream(), path);
    file.Commit();
}

}  // namespace kvo

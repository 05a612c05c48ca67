#include "ExportPackage.h"

#include <filesystem>
#include <sstream>

#include "ExportFile.h"
#include "SlideShow.h"
#include "services/AtomicFile.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

std::string DefaultPackagePath(const std::string& showPath) {
    std::string base = showPath;
    if (base.size() > 3 && (EndsWithNoCase(base, ".PDZ") || EndsWithNoCase(base, ".PDX"))) base.resize(base.size() - 4);
    return base + ".exp";
}

void ExportSlideShow(const std::string& showPath, const std::string& packagePath, const std::string& comment) {
    SlideShow show;
    show.LoadFromFile(showPath);
    FileDataCollection files;
    show.BuildFileList(files);

    AtomicFile atomic(packagePath);
    try {
        ExportFile package;
        // The package records the show's full path, however it was named here.
        package.OpenForWrite(atomic.TemporaryPath(), std::filesystem::absolute(showPath).lexically_normal().string(),
                             comment);
        package.WriteFile(showPath);
        files.Export(package);
        package.FileClose();
        atomic.Commit();
    } catch (const Error& error) {
        atomic.NameTheTarget(error);
    }
}

namespace {

// The files an import would write outside the folder the show goes to: the
// user sees them all before anything is written.
std::filesystem::path FolderOf(const std::string& path) { return std::filesystem::absolute(path).lexically_normal().parent_path(); }

std::vector<std::string> OutsideFolder(const std::vector<std::string>& recordedPaths, const std::string& targetPath) {
    const auto folder = FolderOf(targetPath);
    std::vector<std::string> outside;
    for (const auto& recorded : recordedPaths) {
        const auto relative = std::filesystem::path(recorded).lexically_normal().parent_path().lexically_relative(folder);
        if (relative.empty() || *relative.begin() == "..") outside.push_back(recorded);
    }
    return outside;
}

}  // namespace

std::optional<FileDataCollection> ImportSlideShow(const std::string& packagePath, const std::string& targetPath) {
    ExportFile package;
    package.OpenForRead(packagePath);
    // Every entry is checked before anything at all is written.
    const uint64_t start = package.Position();
    package.SkipFile();
    const std::vector<std::string> outside = OutsideFolder(FileDataCollection::CheckEntries(package), targetPath);
    if (!outside.empty() &&
        !CurrentPrompt().ConfirmFiles(FormatResString(Str::ImportOutsideAsk, {FolderOf(targetPath).string(), outside.size()}),
                                      LoadResString(Str::ImportOutsideTitle), outside))
        return std::nullopt;
    package.Rewind(start);

    // The package's show is read from a file of its own before anything of the
    // user's is touched: a damaged one costs the import, never the old show.
    StagedFiles staged;
    SlideShow show;
    AtomicFile& unpacked = staged.Add(targetPath);
    package.ReadFileInto(unpacked.Stream(), targetPath);
    try {
        show.LoadFromFile(unpacked.TemporaryPath());
    } catch (const Error& error) {
        throw Error(error.Number(), error.Source(),
                    FormatResString(Str::ImportShowUnreadable, {packagePath, Excerpt(error.Description())}));
    }
    staged.Discard(unpacked);
    FileDataCollection files;
    files.Import(package, staged);
    show.UpdateFileList(files);
    // Added last, so put in place last: a show never names a picture that is not there yet.
    AtomicFile& rewritten = staged.Add(targetPath);
    std::string bytes;
    if (show.Binary()) show.WriteBinary(bytes);
    else show.WriteText(bytes);
    rewritten.Stream().write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    staged.Commit();
    show.Terminate();
    return files;
}

PackageInfo ReadPackageInfo(const std::string& packagePath) {
    ExportFile package;
    package.OpenForRead(packagePath);
    PackageInfo info;
    info.name = package.Name();
    info.timestamp = package.Timestamp();
    info.comment = package.Comment();
    info.showBytes = package.SkipFile();
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        PackageEntry entry;
        entry.path = package.ReadString();
        entry.bytes = package.SkipFile();
        info.files.push_back(std::move(entry));
    }
    return info;
}

std::string ReadPackagedShow(const std::string& packagePath) {
    ExportFile package;
    package.OpenForRead(packagePath);
    std::ostringstream show;
    package.ReadFileInto(show, package.Name());
    return std::move(show).str();
}

std::optional<std::string> ReadPackagedFile(const std::string& packagePath, const std::string& path) {
    ExportFile package;
    package.OpenForRead(packagePath);
    package.SkipFile();
    const std::string wanted = FileDataCollection::Key(path);
    const int32_t count = package.ReadLong();
    for (int32_t i = 0; i < count; ++i) {
        const std::string recorded = package.ReadString();
        if (FileDataCollection::Key(recorded) != wanted) {
            package.SkipFile(recorded);
            continue;
        }
        std::ostringstream file;
        package.ReadFileInto(file, recorded);
        return std::move(file).str();
    }
    return std::nullopt;
}

}  // namespace kvo

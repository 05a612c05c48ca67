#include "ExportPackage.h"

#include <filesystem>

#include "ExportFile.h"
#include "SlideShow.h"
#include "services/AtomicFile.h"
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
    {
        ExportFile package;
        // The package records the show's full path, however it was named here.
        package.OpenForWrite(atomic.TemporaryPath(), std::filesystem::absolute(showPath).lexically_normal().string(),
                             comment);
        package.WriteFile(showPath);
        files.Export(package);
    }
    atomic.Commit();
}

FileDataCollection ImportSlideShow(const std::string& packagePath, const std::string& targetPath) {
    ExportFile package;
    package.OpenForRead(packagePath);
    // Every entry is checked before anything at all is written.
    const uint64_t start = package.Position();
    package.SkipFile();
    FileDataCollection::CheckEntries(package);
    package.Rewind(start);
    package.ReadFile(targetPath);
    SlideShow show;
    show.LoadFromFile(targetPath);
    FileDataCollection files;
    files.Import(package);
    show.UpdateFileList(files);
    if (show.Binary()) show.SaveToBinary(targetPath);
    else show.SaveToFile(targetPath);
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

}  // namespace kvo

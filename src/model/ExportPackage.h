#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "FileDataCollection.h"

namespace kvo {

// The export and import commands, shared by the editor and kvotool.

// What an export proposes: the show's path without a trailing ".pdz" or ".pdx"
// (in any case), and ".exp".
std::string DefaultPackagePath(const std::string& showPath);

// Packs the show and every file it refers to. A missing file is reported
// before the package is touched; the package is replaced only when complete.
void ExportSlideShow(const std::string& showPath, const std::string& packagePath, const std::string& comment);

// Unpacks the show to targetPath and its files to their recorded paths (asking
// through the prompt before replacing one, and once before writing outside the
// show's folder), points the show at where they landed and saves it again in
// its format. Nothing is replaced unless every file is complete and the show
// loads. Returns where each file went; nothing when the user declined.
std::optional<FileDataCollection> ImportSlideShow(const std::string& packagePath, const std::string& targetPath);

struct PackageEntry {
    std::string path;
    int64_t bytes = 0;
};

struct PackageInfo {
    std::string name;
    std::string timestamp;
    std::string comment;
    int64_t showBytes = 0;
    std::vector<PackageEntry> files;
};

// The header and the table of contents, without unpacking anything.
PackageInfo ReadPackageInfo(const std::string& packagePath);

// The bytes of the show inside a package, and of the file it records as path
// (nothing when it holds none), read in place.
std::string ReadPackagedShow(const std::string& packagePath);
std::optional<std::string> ReadPackagedFile(const std::string& packagePath, const std::string& path);

}  // namespace kvo

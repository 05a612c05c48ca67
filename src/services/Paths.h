#pragma once

#include <string>
#include <string_view>

namespace kvo {

// Path helpers that accept both "\" and "/" and keep the separator style of the
// path they extend, so Windows paths recorded in files stay as they were written.

bool IsPathSeparator(char c);

// A drive-letter path ("E:...") or an absolute path of this system ("/...").
bool IsFullPath(std::string_view path);
// A path given relative to the working folder made full; as given when that fails.
std::string AbsolutePath(const std::string& path);
// One of the user's own folders: $variable when it holds a full path, else
// underHome below $HOME, else the temporary folder.
std::string UserBaseDirectory(const char* variable, const char* underHome);

// Trims trailing blanks and appends a separator unless the path ends with one.
std::string AddBackslash(std::string_view path);

// Joins a directory and a relative path, resolving leading "..\" and ".\" steps;
// a relative path that is already full is returned as it is.
std::string JoinPath(std::string_view directory, std::string_view relativePath);

// The last component of a path, after either kind of separator.
std::string FileNamePart(std::string_view path);

// The path with extension (".pdz") appended when its file name has none.
std::string AddExtension(std::string_view path, std::string_view extension);

bool FileExists(const std::string& path);
bool DirectoryExists(const std::string& path);

// The directory of the running executable.
std::string ExecutableDirectory();

// Where the editor's own files (string tables, help) live: "../share/kvoeditor"
// (or "../../share/kvoeditor", from libexec/kvoeditor) beside the executable
// when that exists, else the executable's directory.
std::string EditorDataDirectory();
// A program of the editor's own (a picture helper, kvotool-draw): beside this
// one in a build tree, in libexec/kvoeditor when installed.
std::string CompanionProgram(const std::string& name);

}  // namespace kvo

#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "services/Error.h"

namespace kvo::test {

// A fresh directory, removed with everything in it at the end of the test.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::string& Path() const { return path_; }
    std::string File(std::string_view name) const;

private:
    std::string path_;
};

// Sets an environment variable for the life of the object.
class ScopedEnv {
public:
    ScopedEnv(const char* name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    std::string name_;
    std::optional<std::string> old_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, std::string_view bytes);

// The repository's own files (string tables, examples).
std::string SourcePath(std::string_view relative);

// Runs a command through the shell; returns its exit status and fills output.
int RunCommand(const std::string& command, std::string* output = nullptr);

// Runs call and returns the error it raised (number 0 when none came).
template <typename F>
Error RaisedBy(F&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error;
    }
    return Error(0, "", "no error raised");
}

}  // namespace kvo::test

#include "TestSupport.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace kvo::test {

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "kvo-test-XXXXXX").string();
    std::vector<char> name(pattern.begin(), pattern.end());
    name.push_back('\0');
    if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
    path_ = name.data();
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

std::string TempDir::File(std::string_view name) const { return (std::filesystem::path(path_) / name).string(); }

ScopedEnv::ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    setenv(name, value.c_str(), 1);
}

ScopedEnv::~ScopedEnv() {
    if (old_) setenv(name_.c_str(), old_->c_str(), 1);
    else unsetenv(name_.c_str());
}

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error("cannot read " + path);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void WriteFile(const std::string& path, std::string_view bytes) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) throw std::runtime_error("cannot write " + path);
}

std::string SourcePath(std::string_view relative) { return (std::filesystem::path(KVO_SOURCE_DIR) / relative).string(); }

int RunCommand(const std::string& command, std::string* output) {
    FILE* pipe = popen(command.c_str(), "r");
    if (pipe == nullptr) return -1;
    std::array<char, 4096> buffer{};
    std::string collected;
    for (std::size_t n; (n = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) collected.append(buffer.data(), n);
    const int status = pclose(pipe);
    if (output != nullptr) *output = collected;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace kvo::test

#pragma once

// What every fuzzer shares: a private scratch folder, the input as a file in
// it, and a prompt that answers nothing.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "services/Language.h"
#include "services/Prompt.h"

namespace kvo::fuzz {

class QuietPrompt final : public Prompt {
public:
    void Message(const std::string&, const std::string&, MessageKind) override {}
};

// A folder of this process's own, made once.
inline const std::string& Scratch() {
    static const std::string folder = [] {
        std::string pattern = "/tmp/kvo-fuzz-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) std::abort();
        return pattern;
    }();
    return folder;
}

inline std::string WriteInput(const std::string& name, std::string_view bytes) {
    const std::string path = Scratch() + "/" + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) std::abort();
    return path;
}

inline std::string ReadBack(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The model's texts in English, and messages kept off the terminal.
inline void InitModel() {
    static QuietPrompt prompt;
    SetLanguage(1033);
    InitResources();
    SetCurrentPrompt(&prompt);
}

// A broken promise of the code under test: reported to libFuzzer as a crash.
inline void Require(bool condition, const char* what) {
    if (condition) return;
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
}

}  // namespace kvo::fuzz

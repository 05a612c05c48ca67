// From process start to the first painted frame: the editor opening the example
// show and a show of 2000 slides (in each format), next to a minimal Qt widget
// program started the same way.
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "LargeShow.h"
#include "services/Paths.h"

extern char** environ;

namespace {

void Run(benchmark::State& state, const std::vector<std::string>& command) {
    setenv("QT_QPA_PLATFORM", "offscreen", 1);
    setenv("KVO_QUIT_AFTER_FIRST_PAINT", "1", 1);
    std::vector<char*> argv;
    for (const auto& part : command) argv.push_back(const_cast<char*>(part.c_str()));
    argv.push_back(nullptr);
    for (auto _ : state) {
        pid_t pid = 0;
        if (posix_spawn(&pid, argv[0], nullptr, nullptr, argv.data(), environ) != 0) {
            state.SkipWithError("cannot start the program");
            return;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) state.SkipWithError("the program failed");
    }
}

void BM_MinimalQtWidget(benchmark::State& state) { Run(state, {kvo::JoinPath(kvo::ExecutableDirectory(), "kvo_bench_minimal_widget")}); }
BENCHMARK(BM_MinimalQtWidget)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

void BM_EditorWithExample(benchmark::State& state) {
    Run(state, {kvo::JoinPath(kvo::ExecutableDirectory(), "kvoeditor"),
                kvo::JoinPath(kvo::EditorDataDirectory(), "samples/GearHousing.pdz")});
}
BENCHMARK(BM_EditorWithExample)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

// 2000 slides x 50 icons x 4 cells, written once per run.
const std::string& LargeShow(bool binary) {
    static const auto paths = [] {
        const auto folder = std::filesystem::temp_directory_path() / "kvo-bench-startup";
        std::filesystem::create_directories(folder);
        const std::string text = (folder / "show2000.pdz").string();
        const std::string bin = (folder / "show2000.pdx").string();
        kvo::bench::WriteLargeShow(2000, text, bin);
        return std::pair{text, bin};
    }();
    return binary ? paths.second : paths.first;
}

void BM_EditorWithLargeShow(benchmark::State& state) {
    const std::string& show = LargeShow(state.range(0) != 0);
    Run(state, {kvo::JoinPath(kvo::ExecutableDirectory(), "kvoeditor"), show});
    state.SetLabel(state.range(0) != 0 ? "binary" : "text");
}
BENCHMARK(BM_EditorWithLargeShow)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime()->Iterations(10);

}  // namespace

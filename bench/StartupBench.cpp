// From process start to the first painted frame: the editor opening the example
// show, next to a minimal Qt widget program started the same way.
#include <benchmark/benchmark.h>

#include <spawn.h>
#include <sys/wait.h>

#include <cstdlib>
#include <string>
#include <vector>

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

}  // namespace

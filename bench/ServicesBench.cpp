// Text lookups happen on every caption and message; the settings store is read
// at start-up and whenever the editor looks up a directory.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "services/Convert.h"
#include "services/Language.h"
#include "services/RegEntry.h"
#include "services/StringIds.h"

namespace {

void BM_LoadResString(benchmark::State& state) {
    kvo::SetLanguage(1033);
    kvo::InitResources();
    for (auto _ : state) benchmark::DoNotOptimize(kvo::LoadResString(kvo::Str::AppTitle));
}
BENCHMARK(BM_LoadResString);

void BM_FormatResString(benchmark::State& state) {
    kvo::SetLanguage(1033);
    kvo::InitResources();
    for (auto _ : state)
        benchmark::DoNotOptimize(kvo::FormatResString(kvo::Str::LoadUnexpectedBlock, {"BLOCK", 1234, "ICON", "VALUE"}));
}
BENCHMARK(BM_FormatResString);

void BM_ToDouble(benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(kvo::ToDouble("0.0712345"));
}
BENCHMARK(BM_ToDouble);

void BM_FormatDouble(benchmark::State& state) {
    double value = 0.0712345;
    for (auto _ : state) benchmark::DoNotOptimize(kvo::FormatDouble(value));
}
BENCHMARK(BM_FormatDouble);

// One GetString against a store of state.range(0) keys: each read parses the file.
void BM_RegEntryGetString(benchmark::State& state) {
    const auto path = std::filesystem::temp_directory_path() / "kvo-bench-registry.reg";
    std::filesystem::remove(path);
    {
        kvo::RegEntry writer(path.string());
        for (int i = 0; i < state.range(0); ++i) {
            writer.CreateKey("Bench\\Key" + std::to_string(i));
            writer.SetString("Value", "text " + std::to_string(i));
        }
    }
    kvo::RegEntry reader(path.string());
    reader.OpenKey("Bench\\Key0");
    for (auto _ : state) benchmark::DoNotOptimize(reader.GetString("Value"));
    std::filesystem::remove(path);
    std::filesystem::remove(path.string() + ".lock");
}
BENCHMARK(BM_RegEntryGetString)->Arg(10)->Arg(200);

}  // namespace

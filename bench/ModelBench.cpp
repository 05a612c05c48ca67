// Reading speed of the text format: BlockParser against a plain std::getline
// pass over the same file, in the same run.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "model/BlockParser.h"
#include "model/Icon.h"

namespace {

constexpr int kIcons = 20000;
constexpr int kCellsPerIcon = 3;

// A slide-show-like text of icon and value blocks, written once per run.
const std::string& LargeFile() {
    static const std::string path = [] {
        const auto file = std::filesystem::temp_directory_path() / "kvo-bench-blocks.pdz";
        std::string text = "BLOCK SlideShow\r\n\tNAME=Benchmark\r\n\tBLOCK Slide\r\n";
        kvo::Icon icon;
        for (int c = 0; c < kCellsPerIcon; ++c) icon.Values().Add().SetCurrentValue(kvo::Variant(0.0123 * c));
        for (int i = 0; i < kIcons; ++i) {
            icon.SetSequenceNumber(i + 1);
            icon.SaveToFile(text);
        }
        text += "\tEND\r\nEND\r\n";
        std::ofstream(file, std::ios::binary).write(text.data(), static_cast<std::streamsize>(text.size()));
        return file.string();
    }();
    return path;
}

int64_t CountLines(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string line;
    int64_t lines = 0;
    while (std::getline(in, line)) ++lines;
    return lines;
}

void BM_GetlineBaseline(benchmark::State& state) {
    const std::string& path = LargeFile();
    int64_t lines = 0;
    for (auto _ : state) {
        lines = CountLines(path);
        benchmark::DoNotOptimize(lines);
    }
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_GetlineBaseline)->Unit(benchmark::kMillisecond);

void BM_BlockParserTokens(benchmark::State& state) {
    const std::string& path = LargeFile();
    int64_t lines = 0;
    for (auto _ : state) {
        kvo::BlockParser parser;
        parser.OpenFile(path, false);
        int64_t tokens = 0;
        while (parser.GetToken() != kvo::BlockParser::TokenEndFile) ++tokens;
        benchmark::DoNotOptimize(tokens);
        lines = parser.CurrentLine();
    }
    state.counters["lines/s"] = benchmark::Counter(static_cast<double>(lines), benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(BM_BlockParserTokens)->Unit(benchmark::kMillisecond);

}  // namespace

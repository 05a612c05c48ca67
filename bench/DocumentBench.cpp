// Whole documents: load and save of a large show in both formats, an undo step,
// and export and import of a package of 50 MB of pictures next to a plain copy of
// the same bytes.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "LargeShow.h"
#include "ShowFloor.h"
#include "model/ExportPackage.h"
#include "model/SlideShow.h"
#include "services/AtomicFile.h"
#include "services/Language.h"
#include "services/Prompt.h"

namespace fs = std::filesystem;

namespace {

const fs::path& Folder() {
    static const fs::path folder = [] {
        const fs::path path = fs::temp_directory_path() / "kvo-bench-documents";
        fs::remove_all(path);
        fs::create_directories(path);
        return path;
    }();
    return folder;
}

// 200 slides x 50 icons x 4 cells, saved once in each format.
const std::string& LargeShow(bool binary) {
    static const auto paths = [] {
        const std::string text = (Folder() / "large.pdz").string();
        const std::string bin = (Folder() / "large.pdx").string();
        kvo::bench::WriteLargeShow(200, text, bin);
        return std::pair{text, bin};
    }();
    return binary ? paths.second : paths.first;
}

void BM_LoadShow(benchmark::State& state) {
    const std::string& path = LargeShow(state.range(0) != 0);
    for (auto _ : state) {
        kvo::SlideShow show;
        show.LoadFromFile(path);
        benchmark::DoNotOptimize(show.Slides().Count());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(path)));
    state.SetLabel(state.range(0) != 0 ? "binary" : "text");
}
BENCHMARK(BM_LoadShow)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The baselines: the same bytes read into memory, and written out, plainly.
void BM_PlainRead(benchmark::State& state) {
    const std::string& path = LargeShow(state.range(0) != 0);
    const auto size = static_cast<std::streamsize>(fs::file_size(path));
    for (auto _ : state) {
        std::ifstream in(path, std::ios::binary);
        std::string bytes(static_cast<std::size_t>(size), '\0');
        in.read(bytes.data(), size);
        benchmark::DoNotOptimize(bytes.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(path)));
    state.SetLabel(state.range(0) != 0 ? "binary" : "text");
}
BENCHMARK(BM_PlainRead)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_PlainWrite(benchmark::State& state) {
    const bool binary = state.range(0) != 0;
    std::ifstream in(LargeShow(binary), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const fs::path out = Folder() / (binary ? "plain.pdx" : "plain.pdz");
    for (auto _ : state) std::ofstream(out, std::ios::binary | std::ios::trunc).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
    state.SetLabel(binary ? "binary" : "text");
}
BENCHMARK(BM_PlainWrite)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The floors: the same bytes parsed by the shortest code that fills compact
// records, and written once as a save writes them (a temporary file flushed
// to disk and renamed over the target).
void BM_LoadFloor(benchmark::State& state) {
    const bool binary = state.range(0) != 0;
    const std::string& path = LargeShow(binary);
    for (auto _ : state) {
        const kvo::bench::FloorShow show = binary ? kvo::bench::BinaryFloor(path) : kvo::bench::TextFloor(path);
        benchmark::DoNotOptimize(show.cells.size());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(path)));
    state.SetLabel(binary ? "binary" : "text");
}
BENCHMARK(BM_LoadFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_SaveFloor(benchmark::State& state) {
    const bool binary = state.range(0) != 0;
    std::ifstream in(LargeShow(binary), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    const std::string out = (Folder() / (binary ? "floor.pdx" : "floor.pdz")).string();
    for (auto _ : state) kvo::WriteFileAtomically(out, bytes);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
    state.SetLabel(binary ? "binary" : "text");
}
BENCHMARK(BM_SaveFloor)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BM_SaveShow(benchmark::State& state) {
    const bool binary = state.range(0) != 0;
    kvo::SlideShow show;
    show.LoadFromFile(LargeShow(binary));
    const std::string out = (Folder() / (binary ? "saved.pdx" : "saved.pdz")).string();
    for (auto _ : state) {
        if (binary) show.SaveToBinary(out);
        else show.SaveToFile(out);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(fs::file_size(out)));
    state.SetLabel(binary ? "binary" : "text");
}
BENCHMARK(BM_SaveShow)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// What an undoable edit costs: one slide of 50 icons (Arg 0) or the whole show
// (Arg 1) copied before the edit and compared after it, and the copy let go
// when its step falls off the stack. Undo and redo only exchange the copy with
// the present.
void BM_UndoStep(benchmark::State& state) {
    const bool whole = state.range(0) != 0;
    kvo::SlideShow show;
    show.LoadFromFile(LargeShow(true));
    const kvo::Slide& slide = show.Slides().Item(1);
    for (auto _ : state) {
        if (whole) {
            const kvo::SlideShow before(show);
            benchmark::DoNotOptimize(before == show);
        } else {
            const kvo::Slide before(slide);
            benchmark::DoNotOptimize(before == slide);
        }
    }
    state.SetLabel(whole ? "whole show" : "one slide");
}
BENCHMARK(BM_UndoStep)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

constexpr int kPictures = 25;
constexpr std::size_t kPictureBytes = 2 * 1024 * 1024;

// 25 pictures of 2 MB and a show that refers to each.
const std::string& PictureShow() {
    static const std::string path = [] {
        std::mt19937 random(42);
        std::vector<char> bytes(kPictureBytes);
        kvo::SlideShow show;
        fs::create_directories(Folder() / "pictures");
        for (int i = 0; i < kPictures; ++i) {
            for (auto& b : bytes) b = static_cast<char>(random());
            const fs::path picture = Folder() / "pictures" / ("picture" + std::to_string(i) + ".bmp");
            std::ofstream(picture, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
            show.Slides().Add().SetPictureFile(picture.string());
        }
        const std::string showPath = (Folder() / "pictures.pdz").string();
        show.SaveToFile(showPath);
        return showPath;
    }();
    return path;
}

constexpr int64_t kPackageBytes = int64_t{kPictures} * static_cast<int64_t>(kPictureBytes);

void BM_PlainCopyBaseline(benchmark::State& state) {
    PictureShow();
    fs::create_directories(Folder() / "copies");
    for (auto _ : state) {
        for (int i = 0; i < kPictures; ++i) {
            const std::string name = "picture" + std::to_string(i) + ".bmp";
            fs::copy_file(Folder() / "pictures" / name, Folder() / "copies" / name, fs::copy_options::overwrite_existing);
        }
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kPackageBytes);
}
BENCHMARK(BM_PlainCopyBaseline)->Unit(benchmark::kMillisecond);

void BM_ExportPackage(benchmark::State& state) {
    const std::string& show = PictureShow();
    const std::string package = (Folder() / "pictures.exp").string();
    for (auto _ : state) kvo::ExportSlideShow(show, package, "benchmark");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kPackageBytes);
}
BENCHMARK(BM_ExportPackage)->Unit(benchmark::kMillisecond);

class ReplaceAll final : public kvo::Prompt {
public:
    void Message(const std::string&, const std::string&, kvo::MessageKind) override {}
    kvo::OverwriteAnswer AskOverwrite(const std::string&) override { return kvo::OverwriteAnswer::YesToAll; }
};

void BM_ImportPackage(benchmark::State& state) {
    const std::string package = (Folder() / "pictures.exp").string();
    kvo::ExportSlideShow(PictureShow(), package, "benchmark");
    ReplaceAll replaceAll;
    kvo::SetCurrentPrompt(&replaceAll);
    for (auto _ : state) kvo::ImportSlideShow(package, (Folder() / "imported.pdz").string());
    kvo::SetCurrentPrompt(nullptr);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kPackageBytes);
}
BENCHMARK(BM_ImportPackage)->Unit(benchmark::kMillisecond);

}  // namespace

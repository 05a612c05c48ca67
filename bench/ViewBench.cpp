// Painting a slide: 500 and 1000 icons on a WMF background, in milliseconds per frame
// (the budget of a 60 Hz screen is 16.7 ms), the load time of each kind of
// picture (a WMF and an EMF start their helper process; a BMP is read in place),
// and the GUI thread's time for one slide change of a show of metafile backgrounds.
#include <benchmark/benchmark.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <memory>
#include <vector>

#include "model/Slide.h"
#include "model/SlideCollection.h"
#include "services/Error.h"
#include "services/Language.h"
#include "view/OffscreenSurfaces.h"
#include "view/Picture.h"
#include "view/PictureCache.h"
#include "view/SlideView.h"

namespace fs = std::filesystem;

namespace {

const fs::path kCorpus = fs::path(KVO_SOURCE_DIR) / ".." / "shared" / "corpus" / "pictures";

// A sample picture of each kind: from the corpus when it is there, else the
// build's own example BMP only.
std::string PictureOf(const char* kind) {
    if (std::string(kind) == "wmf") return (kCorpus / "wmf" / "libwmf-fulltest.wmf").string();
    if (std::string(kind) == "emf") return (kCorpus / "emf" / "wmf2svg-fulltest.emf").string();
    return (kCorpus / "bmp" / "rgb24.bmp").string();
}

void BM_PaintSlide(benchmark::State& state) {
    const std::string wmf = PictureOf("wmf");
    if (!fs::exists(wmf)) {
        state.SkipWithError("the picture corpus is absent");
        return;
    }
    kvo::Slide slide;
    slide.SetPictureFile(wmf);
    for (int64_t i = 0; i < state.range(0); ++i) {
        kvo::Icon& icon = slide.Icons().Add();
        icon.SetSequenceNumber(static_cast<int32_t>(i + 1));
        icon.SetLeft(static_cast<int32_t>(i % 40 * 25));
        icon.SetTop(static_cast<int32_t>(i / 40 * 40));
        icon.SetLeaderX(static_cast<int32_t>(500 + i % 100));
        icon.SetLeaderY(500);
        kvo::Value& cell = icon.Values().Add();
        cell.SetCurrentValue(kvo::Variant(0.0125));
        cell.SetTolerance(static_cast<int16_t>(i % 4));
    }
    kvo::OffscreenHost host(1280, 960);
    kvo::OffscreenOwner owner(host);
    kvo::SlideView view(owner, host);
    view.SetSlide(&slide);
    QImage frame(1280, 960, QImage::Format_ARGB32_Premultiplied);
    for (auto _ : state) {
        frame.fill(Qt::white);
        QPainter painter(&frame);
        view.HostPaint(painter);
        for (const auto& iconView : view.Views()) {
            const QRect box = iconView->View().ScreenRect();
            painter.save();
            painter.translate(box.topLeft());
            iconView->Paint(painter);
            painter.restore();
        }
    }
    state.counters["budget_ms"] = 16.7;
    view.SetSlide(nullptr);
}
BENCHMARK(BM_PaintSlide)->Arg(500)->Arg(1000)->Unit(benchmark::kMillisecond)->UseRealTime();

template <typename PictureType>
void LoadPicture(benchmark::State& state, const char* kind) {
    const std::string file = PictureOf(kind);
    if (!fs::exists(file)) {
        state.SkipWithError("the picture corpus is absent");
        return;
    }
    int copy = 0;
    for (auto _ : state) {
        // A fresh copy each time, so the decoded-picture cache cannot answer.
        state.PauseTiming();
        const fs::path path = fs::temp_directory_path() / ("kvo-bench-" + std::to_string(copy++ % 2) + fs::path(file).filename().string());
        fs::copy_file(file, path, fs::copy_options::overwrite_existing);
        fs::last_write_time(path, fs::file_time_type::clock::now() + std::chrono::seconds(copy));
        state.ResumeTiming();
        PictureType picture;
        picture.LoadFile(path.string());
        benchmark::DoNotOptimize(picture.Width());
    }
}
void BM_LoadBmp(benchmark::State& state) { LoadPicture<kvo::Bitmap>(state, "bmp"); }
void BM_LoadWmf(benchmark::State& state) { LoadPicture<kvo::Metafile>(state, "wmf"); }
void BM_LoadEmf(benchmark::State& state) { LoadPicture<kvo::Metafile>(state, "emf"); }
BENCHMARK(BM_LoadBmp)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadWmf)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_LoadEmf)->Unit(benchmark::kMillisecond)->UseRealTime();

// A generated 30-slide show with every corpus metafile as a background in turn;
// with withPictures false, the same show without pictures: the floor of a slide change.
std::unique_ptr<kvo::SlideCollection> ThirtySlides(bool withPictures) {
    std::vector<std::string> pictures;
    for (const char* folder : {"wmf", "emf"})
        if (fs::is_directory(kCorpus / folder))
            for (const auto& entry : fs::directory_iterator(kCorpus / folder)) pictures.push_back(entry.path().string());
    std::sort(pictures.begin(), pictures.end());
    if (pictures.empty()) return nullptr;
    auto slides = std::make_unique<kvo::SlideCollection>();
    for (std::size_t i = 0; i < 30; ++i) {
        kvo::Slide& slide = slides->Add();
        if (withPictures) slide.SetPictureFile(pictures[i % pictures.size()]);
        kvo::Icon& icon = slide.Icons().Add();
        icon.SetSequenceNumber(1);
    }
    return slides;
}

enum class Visit { Floor, Cold, Warm };

// One slide change as the editor makes it: the next slide set on the view, the
// show's pictures asked for in the background, and the slide painted once, at
// range(0) x range(1) pixels. Cold visits find no picture decoded or drawn (and
// the helpers busy with the show); warm ones find every picture drawn.
void SlideChange(benchmark::State& state, Visit visit) {
    auto slides = ThirtySlides(visit != Visit::Floor);
    if (!slides) {
        state.SkipWithError("the picture corpus is absent");
        return;
    }
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    kvo::OffscreenHost host(width, height);
    kvo::OffscreenOwner owner(host);
    kvo::SlideView view(owner, host);
    QImage frame(width, height, QImage::Format_ARGB32_Premultiplied);
    const auto show = [&](int32_t number) {
        view.SetSlide(&slides->Item(number));
        view.DecodeAhead(*slides, number);
        frame.fill(Qt::white);
        QPainter painter(&frame);
        view.HostPaint(painter);
    };
    kvo::PictureCache& cache = kvo::PictureCache::Shared();
    const auto forget = [&] {
        cache.SetBudget(0);
        cache.SetBudget(kvo::PictureCache::kDefaultBudget);
    };
    forget();
    if (visit == Visit::Warm) {
        for (int32_t number = 1; number <= slides->Count(); ++number) {
            view.SetSlide(&slides->Item(number));
            try {
                view.LoadPicture();
            } catch (const kvo::Error&) {
                // Shown as its notice, as in the editor.
            }
        }
    }
    int32_t next = 0;
    for (auto _ : state) {
        if (visit == Visit::Cold) {
            state.PauseTiming();
            forget();
            state.ResumeTiming();
        }
        show(next++ % slides->Count() + 1);
    }
    state.counters["cache_MB"] = static_cast<double>(cache.Bytes()) / (1 << 20);
    view.SetSlide(nullptr);
}
void BM_SlideChangeFloor(benchmark::State& state) { SlideChange(state, Visit::Floor); }
void BM_SlideChangeCold(benchmark::State& state) { SlideChange(state, Visit::Cold); }
void BM_SlideChangeWarm(benchmark::State& state) { SlideChange(state, Visit::Warm); }
BENCHMARK(BM_SlideChangeFloor)->Args({1280, 960})->Args({1920, 1080})->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SlideChangeCold)->Args({1280, 960})->Args({1920, 1080})->Iterations(30)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_SlideChangeWarm)->Args({1280, 960})->Args({1920, 1080})->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    QGuiApplication application(argc, argv);
    kvo::SetLanguage(1033);
    kvo::InitResources();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}

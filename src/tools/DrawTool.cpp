// kvotool-draw: the commands of kvotool that draw with Qt. kvotool hands them
// over with its own arguments, so that its other commands start without Qt.
#include <QtGui/QGuiApplication>
#include <QtGui/QImage>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>

#include "ToolSupport.h"
#include "model/ExportFile.h"
#include "model/ExportPackage.h"
#include "model/QifResults.h"
#include "model/SlideShow.h"
#include "services/Convert.h"
#include "services/Paths.h"
#include "view/IconView.h"
#include "view/OffscreenSurfaces.h"

namespace {

using namespace kvo::tool;

// Fonts need a running application; no window is ever opened.
std::unique_ptr<QGuiApplication> FontsApplication() {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static int argc = 1;
    static char name[] = "kvotool";
    static char* argv[] = {name, nullptr};
    return std::make_unique<QGuiApplication>(argc, argv);
}

// A new show of one slide with an icon for every feature of the results that
// has a characteristic the catalogue knows, laid out for the host that render
// draws by default (800 x 600 pixels of 15 twips).
int New(const Args& given) {
    Args args = given;
    const auto results = TakeOption(args, "--from-results");
    const auto output = TakeOption(args, "-o");
    RequireCount(args, 0);
    if (!results || !output) throw UsageError{};
    Prompts().file = *results;
    kvo::QifResults read;
    read.LoadFromFile(*results);
    std::vector<int32_t> features;
    for (const auto& m : read.Measurements(1))
        if (m.feature != 0 && m.row != 0 && std::find(features.begin(), features.end(), m.feature) == features.end())
            features.push_back(m.feature);
    std::sort(features.begin(), features.end());
    const auto application = FontsApplication();
    constexpr double kTwipsPerPixel = 15;
    kvo::SlideShow show;
    kvo::Slide& slide = show.Slides().Add();
    slide.SetName(kvo::FileNamePart(*results));
    kvo::AddIconsFromResults(slide, read, features, [&](const kvo::Icon& icon) {
        return kvo::IconView::Extent(icon, kTwipsPerPixel, kTwipsPerPixel, static_cast<int32_t>(800 * kTwipsPerPixel),
                                     static_cast<int32_t>(600 * kTwipsPerPixel));
    });
    show.SaveToFile(*output);
    std::cout << "Wrote " << *output << ": " << features.size() << " icons\n";
    return 0;
}

int Render(const Args& given) {
    Args args = given;
    const auto slideText = TakeOption(args, "--slide");
    const auto sizeText = TakeOption(args, "--size");
    const auto output = TakeOption(args, "-o");
    RequireCount(args, 1);
    if (!output) throw UsageError{};
    const int32_t slideNumber = slideText ? kvo::ToLong(*slideText) : 1;
    int width = 800, height = 600;
    if (sizeText) {
        const auto x = sizeText->find('x');
        if (x == std::string::npos) throw UsageError{};
        width = kvo::ToLong(sizeText->substr(0, x));
        height = kvo::ToLong(sizeText->substr(x + 1));
        if (width < 1 || height < 1 || width > 10000 || height > 10000) throw UsageError{};
    }
    const auto application = FontsApplication();
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    if (slideNumber < 1 || slideNumber > show.Slides().Count()) {
        std::cerr << "kvotool: " << args[0] << " has no slide " << slideNumber << " (it has " << show.Slides().Count() << ")\n";
        return 1;
    }
    const kvo::RenderedSlide rendered = kvo::RenderSlide(show.Slides().Item(slideNumber), width, height);
    if (!rendered.image.save(QString::fromStdString(*output), "PNG")) {
        std::cerr << "kvotool: cannot write " << *output << '\n';
        return 1;
    }
    if (!rendered.pictureProblem.empty()) {
        std::cerr << "kvotool: " << rendered.pictureProblem << '\n';
        return 1;
    }
    return 0;
}

bool IsPackage(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::string magic(kvo::ExportFile::kMagic.size(), '\0');
    return in.read(magic.data(), static_cast<std::streamsize>(magic.size())) && magic == kvo::ExportFile::kMagic;
}

// For file managers: the first enabled slide (else the first) as an 800 x 600
// station shows it, scaled to fit SIZE. A package is read in place, so that
// nothing but OUTPUT is ever written. A missing picture still gives a
// thumbnail, with the notice in the picture's place.
int Thumbnail(const Args& args) {
    RequireCount(args, 3);
    const int32_t size = kvo::ToLong(args[2]);
    if (size < 1 || size > 4096) throw UsageError{};
    const std::string& input = args[0];
    const auto application = FontsApplication();
    const bool package = IsPackage(input);
    kvo::SlideShow show;
    Prompts().file = input;
    if (package)
        show.LoadFromBytes(kvo::ReadPackagedShow(input), input);
    else
        show.LoadFromFile(input);
    if (show.Slides().Count() == 0) {
        std::cerr << "kvotool: " << input << " has no slide\n";
        return 1;
    }
    kvo::Slide* slide = &show.Slides().Item(1);
    for (const auto& candidate : show.Slides()) {
        if (candidate->Enabled()) {
            slide = candidate.get();
            break;
        }
    }
    std::optional<QByteArray> picture;
    if (package && !slide->PictureFile().empty()) {
        if (auto bytes = kvo::ReadPackagedFile(input, slide->PictureFile())) picture = QByteArray::fromStdString(*bytes);
    }
    const kvo::RenderedSlide rendered = kvo::RenderSlide(*slide, 800, 600, kvo::Rasters::Shared, picture ? &*picture : nullptr);
    const QImage thumbnail = rendered.image.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    if (!thumbnail.save(QString::fromLocal8Bit(args[1].c_str()), "PNG")) {
        std::cerr << "kvotool: cannot write " << args[1] << '\n';
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    auto commands = kvo::tool::DrawingCommands();
    commands.at("new").run = New;
    commands.at("render").run = Render;
    commands.at("thumbnail").run = Thumbnail;
    const auto found = commands.find(argv[1]);
    if (found == commands.end()) {
        std::cerr << "kvotool-draw: unknown command \"" << argv[1] << "\"\n";
        return 2;
    }
    return kvo::tool::RunCommand(found->second, Args(argv + 2, argv + argc));
}

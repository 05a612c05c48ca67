// kvotool: the editor's command-line companion, for people who prepare slide
// shows in batches and for scripts.
#include <unistd.h>

#include <QtGui/QGuiApplication>
#include <QtGui/QImage>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "model/ExportFile.h"
#include "model/ExportPackage.h"
#include "model/FileDataCollection.h"
#include "model/QifResults.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "view/IconView.h"
#include "view/OffscreenSurfaces.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/Startup.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/RegEntry.h"
#include "services/StringIds.h"

namespace {

using Args = std::vector<std::string>;

struct Command {
    const char* usage;
    const char* summary;
    int (*run)(const Args&);
};

const std::map<std::string, Command>& Commands();

struct UsageError {};

int PrintUsage(std::ostream& out) {
    out << "usage: kvotool <command> [arguments]   (kvotool <command> --help for one command, kvotool --version)\n\n";
    for (const auto& [name, command] : Commands()) out << "  " << command.usage << "\n      " << command.summary << "\n";
    out << "\nThe settings file is $ORLANVEX_REGISTRY, or /etc/orlanvex/registry.reg.\n";
    return 2;
}

// Messages of the model go to standard error with the file they concern; the
// overwrite question is asked on the terminal, or answered by --yes-all/--no-all.
class ToolPrompt final : public kvo::Prompt {
public:
    void Message(const std::string& text, const std::string& title, kvo::MessageKind) override {
        ++messages;
        std::cerr << (file.empty() ? title : file) << ": " << text << '\n';
    }

    kvo::OverwriteAnswer AskOverwrite(const std::string& existingPath) override {
        if (fixedAnswer) return *fixedAnswer;
        if (!isatty(STDIN_FILENO)) {
            std::cerr << "kvotool: " << existingPath << " exists and is kept; the packed file is stored beside it"
                      << " (no terminal to ask on: use --yes-all to replace)\n";
            return kvo::OverwriteAnswer::NoToAll;
        }
        for (;;) {
            std::cerr << existingPath << " exists. Replace it? [y]es, [Y]es to all, [n]o, [N]o to all: " << std::flush;
            std::string answer;
            if (!std::getline(std::cin, answer)) return kvo::OverwriteAnswer::NoToAll;
            if (answer == "y" || answer == "yes") return kvo::OverwriteAnswer::Yes;
            if (answer == "Y") return kvo::OverwriteAnswer::YesToAll;
            if (answer == "n" || answer == "no") return kvo::OverwriteAnswer::No;
            if (answer == "N") return kvo::OverwriteAnswer::NoToAll;
        }
    }

    // Files outside the show's folder are written only when allowed up front.
    bool ConfirmFiles(const std::string& text, const std::string&, const std::vector<std::string>& files) override {
        if (!allowFiles) {
            std::cerr << "kvotool: " << text << '\n';
            for (const auto& path : files) std::cerr << "  " << path << '\n';
            std::cerr << "kvotool: nothing imported; use --allow-outside (or --yes-all) to write these files\n";
        }
        return allowFiles;
    }

    std::string file;
    std::optional<kvo::OverwriteAnswer> fixedAnswer;
    bool allowFiles = false;
    int messages = 0;
};

ToolPrompt& Prompts() {
    static ToolPrompt prompt;
    return prompt;
}

// Takes "--name VALUE" out of args; empty when absent.
std::optional<std::string> TakeOption(Args& args, const std::string& name) {
    for (auto it = args.begin(); it != args.end(); ++it) {
        if (*it != name) continue;
        if (it + 1 == args.end()) throw UsageError{};
        std::string value = *(it + 1);
        args.erase(it, it + 2);
        return value;
    }
    return std::nullopt;
}

bool TakeFlag(Args& args, const std::string& name) {
    for (auto it = args.begin(); it != args.end(); ++it) {
        if (*it == name) {
            args.erase(it);
            return true;
        }
    }
    return false;
}

void RequireCount(const Args& args, std::size_t count) {
    if (args.size() != count) throw UsageError{};
    for (const auto& arg : args)
        if (arg.rfind("--", 0) == 0) throw UsageError{};
}

// "--lang LCID" selects the language of the texts; the editor's otherwise.
void TakeLanguage(Args& args) {
    const auto lcid = TakeOption(args, "--lang");
    if (!lcid) return;
    kvo::SetLanguage(kvo::ToLong(*lcid));
    kvo::InitResources();
}

void LoadShow(kvo::SlideShow& show, const std::string& path) {
    Prompts().file = path;
    show.LoadFromFile(path);
}

int Info(const Args& given) {
    Args args = given;
    RequireCount(args, 1);
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    int icons = 0, cells = 0;
    std::vector<std::string> files;
    if (!show.HelpFile().empty()) files.push_back(show.HelpFile());
    for (const auto& slide : show.Slides()) {
        icons += slide->Icons().Count();
        for (const auto& icon : slide->Icons()) cells += icon->Values().Count();
        if (!slide->PictureFile().empty()) files.push_back(slide->PictureFile());
    }
    std::cout << "File:        " << args[0] << '\n';
    if (show.Binary()) {
        std::cout << "Format:      binary, version " << show.FileVersion();
        if (!show.BinaryHeader().empty()) std::cout << " (header \"" << show.BinaryHeader() << "\")";
        std::cout << '\n';
    } else {
        std::cout << "Format:      text\n";
    }
    std::cout << "Name:        " << show.Name() << '\n'
              << "Customer:    " << show.Customer() << '\n'
              << "Slides:      " << show.Slides().Count() << '\n'
              << "Icons:       " << icons << '\n'
              << "Value cells: " << cells << '\n'
              << "Files:       " << (files.empty() ? "none" : "") << '\n';
    for (const auto& file : files) std::cout << (kvo::FileExists(file) ? "  present  " : "  MISSING  ") << file << '\n';
    return 0;
}

int Check(const Args& given) {
    Args args = given;
    RequireCount(args, 1);
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    int problems = Prompts().messages;
    int slideNumber = 0;
    for (const auto& slide : show.Slides()) {
        ++slideNumber;
        const std::string& picture = slide->PictureFile();
        if (picture.empty()) continue;
        if (!kvo::IsFullPath(picture)) {
            std::cerr << args[0] << ": slide " << slideNumber << ": the picture \"" << picture << "\" is not a full path\n";
            ++problems;
        } else if (!kvo::FileExists(picture)) {
            std::cerr << args[0] << ": slide " << slideNumber << ": the picture \"" << picture << "\" does not exist\n";
            ++problems;
        }
    }
    if (!show.HelpFile().empty() && !kvo::FileExists(show.HelpFile())) {
        std::cerr << args[0] << ": the help file \"" << show.HelpFile() << "\" does not exist\n";
        ++problems;
    }
    if (problems == 0) std::cout << args[0] << ": no problems\n";
    return problems == 0 ? 0 : 1;
}

int Convert(const Args& given) {
    Args args = given;
    const auto to = TakeOption(args, "--to");
    RequireCount(args, 2);
    if (!to || (*to != "text" && *to != "binary")) throw UsageError{};
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    if (*to == "binary") show.SaveToBinary(args[1]);
    else show.SaveToFile(args[1]);
    return 0;
}

// One line per cell: where it is, what the icon shows and its state; averaged
// cells also say how many reports made their mean.
void PrintCells(const kvo::SlideShow& show, bool averaged) {
    std::cout << std::left << std::setw(6) << "Slide" << std::setw(20) << "Icon" << std::setw(10) << "Row/Col" << std::setw(14)
              << "Value" << (averaged ? "Samples  " : "") << "State\n";
    int number = 0;
    for (const auto& slide : show.Slides()) {
        ++number;
        for (const auto& icon : slide->Icons()) {
            for (const auto& cell : icon->Values()) {
                if (averaged && cell->Column() != kvo::Value::kDeviationColumn) continue;
                std::cout << std::setw(5) << number << ' ' << std::setw(19) << icon->Name() << ' ' << std::setw(9)
                          << (std::to_string(cell->Row()) + "/" + std::to_string(cell->Column())) << ' ' << std::setw(13)
                          << cell->DisplayText() << ' ';
                if (averaged) std::cout << std::setw(9) << (std::to_string(cell->SummCount()) + " of " + std::to_string(cell->SampleSize()));
                std::cout << kvo::ToleranceStateName(cell->Tolerance()) << '\n';
            }
        }
    }
    std::cout << "Worst state: " << kvo::ToleranceStateName(show.WorstTolerance()) << '\n';
}

// Every sample of a report file or a QIF results file.
std::vector<kvo::Report> LoadReports(const std::string& path) {
    Prompts().file = path;
    return kvo::LoadReports(path);
}

// --sample N, 1-based; the last sample when absent.
int32_t SampleNumber(const std::optional<std::string>& text, int32_t count, const std::string& path) {
    const int32_t sample = text ? kvo::ToLong(*text) : count;
    if (sample < 1 || sample > count)
        throw kvo::Error(kvo::ErrorNumber::SubscriptOutOfRange, kvo::LoadResString(kvo::Str::QifLoadTitle),
                         kvo::FormatResString(kvo::Str::QifNoSample, {path, count, sample}));
    return sample;
}

// The evaluated show goes where asked, in the format it came in.
void SaveEvaluated(kvo::SlideShow& show, const std::optional<std::string>& output) {
    if (!output) return;
    if (show.Binary()) show.SaveToBinary(*output);
    else show.SaveToFile(*output);
    std::cout << "Wrote " << *output << '\n';
}

int Evaluate(const Args& given) {
    Args args = given;
    const auto output = TakeOption(args, "-o");
    const auto sample = TakeOption(args, "--sample");
    RequireCount(args, 2);
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    const std::vector<kvo::Report> reports = LoadReports(args[1]);
    reports[static_cast<std::size_t>(SampleNumber(sample, static_cast<int32_t>(reports.size()), args[1])) - 1].Evaluate(show);
    PrintCells(show, false);
    SaveEvaluated(show, output);
    return 0;
}

int Average(const Args& given) {
    Args args = given;
    const auto output = TakeOption(args, "-o");
    if (args.size() < 2) throw UsageError{};
    RequireCount(args, args.size());
    kvo::SlideShow show;
    LoadShow(show, args[0]);
    std::vector<kvo::Report> reports;
    for (std::size_t i = 1; i < args.size(); ++i)
        for (auto& report : LoadReports(args[i])) reports.push_back(std::move(report));
    std::vector<const kvo::Report*> set;
    for (const auto& report : reports) set.push_back(&report);
    kvo::AverageReports(show, set);
    PrintCells(show, true);
    SaveEvaluated(show, output);
    return 0;
}

// Shortest text that reads back as the same double; empty when absent.
std::string FullNumber(const std::optional<double>& value) {
    if (!value) return "";
    char buffer[32];
    const auto end = std::to_chars(buffer, buffer + sizeof buffer, *value).ptr;
    return std::string(buffer, end);
}

// Every characteristic measurement of a QIF results file, with the state its
// deviation cell gets and the file's own status; ends with how often the two
// agree, counting the measurements with a PASS or FAIL and a catalogue symbol.
int Results(const Args& given) {
    Args args = given;
    const auto sampleText = TakeOption(args, "--sample");
    const bool tsv = TakeFlag(args, "--tsv");
    RequireCount(args, 1);
    Prompts().file = args[0];
    kvo::QifResults results;
    results.LoadFromFile(args[0]);
    int32_t first = 1, last = results.SampleCount();
    if (sampleText) first = last = SampleNumber(sampleText, results.SampleCount(), args[0]);
    const auto featureName = [&](const kvo::QifMeasurement& m) {
        return m.feature == 0 ? std::string() : results.Features()[static_cast<std::size_t>(m.feature) - 1];
    };
    if (tsv) std::cout << "sample\tid\tfeature\ttype\tsymbol\trow\tmeasured\tnominal\tupper\tlower\tdeviation\tstate\tstatus\n";
    else
        std::cout << std::left << std::setw(7) << "Sample" << std::setw(6) << "Id" << std::setw(18) << "Feature" << std::setw(18)
                  << "Type" << std::setw(5) << "Sym" << std::setw(5) << "Row" << std::setw(14) << "Measured" << std::setw(12)
                  << "Nominal" << std::setw(10) << "Upper" << std::setw(10) << "Lower" << std::setw(12) << "Deviation"
                  << std::setw(18) << "State" << "Status\n";
    int checked = 0;
    std::vector<std::string> disagreeing;
    for (int32_t sample = first; sample <= last; ++sample) {
        for (const auto& m : results.Measurements(sample)) {
            const auto& c = m.columns;
            if (tsv) {
                std::cout << sample << '\t' << m.id << '\t' << featureName(m) << '\t' << m.type << '\t' << m.symbol << '\t'
                          << m.row << '\t' << FullNumber(c[0]) << '\t' << FullNumber(c[1]) << '\t' << FullNumber(c[2]) << '\t'
                          << FullNumber(c[3]) << '\t' << FullNumber(c[4]) << '\t' << m.state << '\t' << m.status << '\n';
            } else {
                const auto shown = [](const std::optional<double>& value) {
                    std::ostringstream text;
                    if (value) text << std::setprecision(6) << *value;
                    return text.str();
                };
                std::cout << std::setw(7) << sample << std::setw(6) << m.id << std::setw(18) << featureName(m) << std::setw(18)
                          << m.type << std::setw(5) << m.symbol << std::setw(5) << m.row << std::setw(14) << shown(c[0])
                          << std::setw(12) << shown(c[1]) << std::setw(10) << shown(c[2]) << std::setw(10) << shown(c[3])
                          << std::setw(12) << shown(c[4]) << std::setw(18) << kvo::ToleranceStateName(m.state) << m.status << '\n';
            }
            if (m.symbol == 0 || (m.status != "PASS" && m.status != "FAIL")) continue;
            ++checked;
            if ((m.state == kvo::ToleranceState::OutOfTolerance) != (m.status == "FAIL"))
                disagreeing.push_back("sample " + std::to_string(sample) + ", id " + m.id + " (" + m.type + " of \"" + featureName(m) +
                                      "\"): state " + std::to_string(m.state) + ", file " + m.status);
        }
    }
    std::ostream& summary = tsv ? std::cerr : std::cout;
    summary << checked - static_cast<int>(disagreeing.size()) << " of " << checked
            << " characteristics agree with the file's status\n";
    for (const auto& line : disagreeing) summary << "  " << line << '\n';
    return 0;
}

int Export(const Args& given) {
    Args args = given;
    const std::string comment = TakeOption(args, "--comment").value_or("");
    if (args.size() == 1) args.push_back(kvo::DefaultPackagePath(args[0]));
    RequireCount(args, 2);
    Prompts().file = args[0];
    kvo::ExportSlideShow(args[0], args[1], comment);
    std::cout << "Exported " << args[0] << " to " << args[1] << '\n';
    return 0;
}

int Import(const Args& given) {
    Args args = given;
    const bool yesAll = TakeFlag(args, "--yes-all");
    const bool noAll = TakeFlag(args, "--no-all");
    Prompts().allowFiles = TakeFlag(args, "--allow-outside") || yesAll;
    RequireCount(args, 2);
    if (yesAll && noAll) throw UsageError{};
    if (yesAll) Prompts().fixedAnswer = kvo::OverwriteAnswer::YesToAll;
    if (noAll) Prompts().fixedAnswer = kvo::OverwriteAnswer::NoToAll;
    if (kvo::FileExists(args[1]) && !yesAll) {
        std::cerr << "kvotool: " << args[1] << " exists already; use --yes-all to replace it\n";
        return 1;
    }
    Prompts().file = args[0];
    const std::optional<kvo::FileDataCollection> imported = kvo::ImportSlideShow(args[0], args[1]);
    if (!imported) return 1;
    const kvo::FileDataCollection& files = *imported;
    std::cout << "Imported " << args[1] << '\n';
    for (int32_t i = 1; i <= files.Count(); ++i) {
        const kvo::FileData& file = files.Item(i);
        std::cout << "  " << file.NewPath();
        if (file.NewPath() != file.RecordedPath()) std::cout << "  (recorded as " << file.RecordedPath() << ")";
        std::cout << '\n';
    }
    return 0;
}

int PackageInfo(const Args& given) {
    Args args = given;
    RequireCount(args, 1);
    const kvo::PackageInfo info = kvo::ReadPackageInfo(args[0]);
    std::cout << "Package:     " << args[0] << '\n'
              << "Slide show:  " << info.name << " (" << info.showBytes << " bytes)\n"
              << "Exported on: " << info.timestamp << '\n'
              << "Comment:     " << info.comment << '\n'
              << "Files:       " << info.files.size() << '\n';
    for (const auto& file : info.files) std::cout << "  " << file.path << " (" << file.bytes << " bytes)\n";
    return 0;
}

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

int String(const Args& given) {
    Args args = given;
    TakeLanguage(args);
    if (args.empty() || args.size() > 1 + kvo::kMaxResArgs) throw UsageError{};
    const std::vector<kvo::ResArg> formatArgs(args.begin() + 1, args.end());
    std::cout << kvo::FormatText(kvo::LoadResString(kvo::ToLong(args[0])), formatArgs) << '\n';
    return 0;
}

int Settings(const Args& args) {
    kvo::RegEntry entry;
    if (args.size() == 3 && args[0] == "get") {
        entry.OpenKey(args[1]);
        std::cout << entry.GetStringInternational(args[2]) << '\n';
    } else if (args.size() == 4 && args[0] == "set") {
        entry.CreateKey(args[1]);
        entry.SetString(args[2], args[3]);
    } else if (args.size() == 2 && args[0] == "list") {
        entry.OpenKey(args[1]);
        for (const auto& [name, text] : entry.QueryValues()) std::cout << (name.empty() ? "@" : name) << '=' << text << '\n';
    } else {
        throw UsageError{};
    }
    return 0;
}

int HelpFile(const Args& given) {
    Args args = given;
    TakeLanguage(args);
    RequireCount(args, 0);
    kvo::ChooseHelpFile(kvo::LanguageId(), "TV");
    if (kvo::HelpFile().empty()) {
        std::cerr << "kvotool: no help file found for " << kvo::LanguageCode() << '\n';
        return 1;
    }
    std::cout << kvo::HelpFile() << '\n';
    return 0;
}

const std::map<std::string, Command>& Commands() {
    static const std::map<std::string, Command> commands = {
        {"info", {"info SHOW", "format, header, counts of slides, icons and cells, and the files the show refers to", Info}},
        {"check", {"check SHOW", "load the show and report every problem with file and line; exit status 1 if any", Check}},
        {"convert", {"convert SHOW OUT --to text|binary", "write the show in the other format", Convert}},
        {"evaluate", {"evaluate SHOW REPORT [--sample N] [-o OUT]",
                      "the show's cells as the report (or QIF results: sample N, default the last) fills them, their states and the worst; -o writes the evaluated show",
                      Evaluate}},
        {"average", {"average SHOW REPORT... [-o OUT]",
                     "the mean of each deviation cell over the reports and every sample of QIF results, as one sample set; -o writes the averaged show",
                     Average}},
        {"new", {"new --from-results RESULTS -o SHOW",
                 "a show of one slide with an icon for each feature of QIF results, a deviation cell for each of its characteristics",
                 New}},
        {"results", {"results RESULTS [--sample N] [--tsv]",
                     "every characteristic measurement of a QIF results file, its report row and state beside the file's own status",
                     Results}},
        {"export", {"export SHOW [PACKAGE] [--comment TEXT]", "pack the show and its pictures (default PACKAGE: SHOW with .exp)", Export}},
        {"import", {"import PACKAGE TARGET [--yes-all | --no-all] [--allow-outside]",
                    "unpack a package; asks before replacing a file, and writes outside TARGET's folder only when allowed", Import}},
        {"package-info", {"package-info PACKAGE", "the header of a package and the files in it", PackageInfo}},
        {"render", {"render SHOW -o OUT.png [--slide N] [--size WxH]", "draw one slide as the editor shows it (default: slide 1, 800x600)", Render}},
        {"thumbnail", {"thumbnail INPUT OUTPUT.png SIZE",
                       "a file manager's thumbnail of a show or package: its first enabled slide, at most SIZE pixels wide and high",
                       Thumbnail}},
        {"string", {"string [--lang LCID] ID [ARG...]", "a text of the string tables, with its arguments filled in", String}},
        {"settings", {"settings get KEY VALUE | set KEY VALUE TEXT | list KEY", "read or write the settings store below SOFTWARE\\Orlanvex", Settings}},
        {"help-file", {"help-file [--lang LCID]", "the help file the editor would use", HelpFile}},
    };
    return commands;
}

}  // namespace

int main(int argc, char** argv) {
    Args args(argv + 1, argv + argc);
    if (args.empty()) return PrintUsage(std::cerr);
    if (args[0] == "--help" || args[0] == "-h") {
        PrintUsage(std::cout);
        return 0;
    }
    if (args[0] == "--version") {
        std::cout << "kvotool " << KVO_VERSION << '\n';
        return 0;
    }
    const auto found = Commands().find(args[0]);
    if (found == Commands().end()) {
        std::cerr << "kvotool: unknown command \"" << args[0] << "\"\n";
        return PrintUsage(std::cerr);
    }
    const Command& command = found->second;
    args.erase(args.begin());
    if (!args.empty() && (args[0] == "--help" || args[0] == "-h")) {
        std::cout << "usage: kvotool " << command.usage << "\n  " << command.summary << '\n';
        return 0;
    }
    try {
        kvo::InitLanguage();  // the editor's language, from the settings
    } catch (const kvo::Error&) {
        kvo::SetLanguage(kvo::kDefaultLanguageId);
        kvo::InitResources();
    }
    kvo::SetCurrentPrompt(&Prompts());
    try {
        return command.run(args);
    } catch (const UsageError&) {
        std::cerr << "usage: kvotool " << command.usage << '\n';
        return 2;
    } catch (const kvo::Error& error) {
        std::cerr << "kvotool: " << error.Description() << " (" << error.Source() << ", error " << error.Number() << ")\n";
        return 1;
    }
}

// kvotool: the editor's command-line companion, for people who prepare slide
// shows in batches and for scripts.
#include <unistd.h>

#include <charconv>
#include <iomanip>
#include <iostream>
#include <map>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "model/ExportPackage.h"
#include "model/FileDataCollection.h"
#include "model/QifResults.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Help.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/RegEntry.h"
#include "services/StringIds.h"
#include "ToolSupport.h"

namespace {

using namespace kvo::tool;

const std::map<std::string, Command>& Commands();

int PrintUsage(std::ostream& out) {
    out << "usage: kvotool <command> [arguments]   (kvotool <command> --help for one command, kvotool --version)\n\n";
    for (const auto& [name, command] : Commands()) out << "  " << command.usage << "\n      " << command.summary << "\n";
    out << "\nThe settings file is $ORLANVEX_REGISTRY, or /etc/orlanvex/registry.reg.\n";
    return 2;
}

// "--lang LCID" selects the language of the texts; the editor's otherwise.
void TakeLanguage(Args& args) {
    const auto lcid = TakeOption(args, "--lang");
    if (!lcid) return;
    kvo::SetLanguage(kvo::ToLong(*lcid));
    kvo::InitResources();
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

int RunDrawingCommand(char** argv) {
    std::string program = kvo::CompanionProgram("kvotool-draw");
    argv[0] = program.data();
    execv(program.c_str(), argv);
    std::cerr << "kvotool: " << argv[1] << " cannot run: kvotool-draw is not installed with the program\n";
    return 1;
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
        {"results", {"results RESULTS [--sample N] [--tsv]",
                     "every characteristic measurement of a QIF results file, its report row and state beside the file's own status",
                     Results}},
        {"export", {"export SHOW [PACKAGE] [--comment TEXT]", "pack the show and its pictures (default PACKAGE: SHOW with .exp)", Export}},
        {"import", {"import PACKAGE TARGET [--yes-all | --no-all] [--allow-outside]",
                    "unpack a package; asks before replacing a file, and writes outside TARGET's folder only when allowed", Import}},
        {"package-info", {"package-info PACKAGE", "the header of a package and the files in it", PackageInfo}},
        {"string", {"string [--lang LCID] ID [ARG...]", "a text of the string tables, with its arguments filled in", String}},
        {"settings", {"settings get KEY VALUE | set KEY VALUE TEXT | list KEY", "read or write the settings store below SOFTWARE\\Orlanvex", Settings}},
        {"help-file", {"help-file [--lang LCID]", "the help file the editor would use", HelpFile}},
    };
    static const std::map<std::string, Command> all = [] {
        auto merged = commands;
        merged.insert(kvo::tool::DrawingCommands().begin(), kvo::tool::DrawingCommands().end());
        return merged;
    }();
    return all;
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
    if (command.run == nullptr) return RunDrawingCommand(argv);
    return kvo::tool::RunCommand(command, args);
}

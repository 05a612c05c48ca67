#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <vector>

#include "TestSupport.h"
#include "services/Paths.h"
#include "services/RegEntry.h"

namespace kvo {
namespace {

// kvotool as a user runs it, on the example show the build draws.
class KvotoolTest : public ::testing::Test {
protected:
    int Run(const std::string& arguments, std::string* output = nullptr) {
        return test::RunCommand(JoinPath(ExecutableDirectory(), "kvotool") + " " + arguments + " 2>&1 </dev/null", output);
    }
    std::string Sample() const { return JoinPath(EditorDataDirectory(), "samples/GearHousing.pdz"); }

    test::TempDir dir_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
};

TEST_F(KvotoolTest, InfoCheckAndConvertOnTheExampleShow) {
    std::string out;
    ASSERT_EQ(Run("info " + Sample(), &out), 0) << out;
    EXPECT_NE(out.find("Format:      text"), std::string::npos) << out;
    EXPECT_NE(out.find("Slides:      3"), std::string::npos) << out;
    EXPECT_NE(out.find("Value cells: 16"), std::string::npos) << out;
    EXPECT_EQ(out.find("MISSING"), std::string::npos) << out;
    EXPECT_EQ(Run("check " + Sample(), &out), 0) << out;

    const std::string binary = dir_.File("g.pdx");
    const std::string text = dir_.File("g.pdz");
    ASSERT_EQ(Run("convert " + Sample() + " " + binary + " --to binary"), 0);
    ASSERT_EQ(Run("convert " + binary + " " + text + " --to text"), 0);
    EXPECT_EQ(test::ReadFile(binary).substr(0, 7), "PDXFILE");
    EXPECT_EQ(test::ReadFile(text), test::ReadFile(Sample()));
}

// The manual page names every command the tool has, and the version is the build's.
TEST_F(KvotoolTest, TheManualPageNamesEveryCommand) {
    std::string help;
    ASSERT_EQ(Run("--help", &help), 0);
    const std::string manual = test::ReadFile(JoinPath(KVO_SOURCE_DIR, "doc/kvotool.1"));
    std::istringstream lines(help);
    int commands = 0;
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind("  ", 0) != 0 || line.rfind("      ", 0) == 0) continue;
        const std::string name = line.substr(2, line.find(' ', 2) - 2);
        std::string troff;  // hyphens are escaped in the page
        for (char c : name) troff += c == '-' ? std::string("\\-") : std::string(1, c);
        EXPECT_NE(manual.find(".BI \"" + troff), std::string::npos) << name;
        ++commands;
    }
    EXPECT_GE(commands, 10);  // the help was read at all
    std::string version;
    ASSERT_EQ(Run("--version", &version), 0);
    EXPECT_EQ(version, std::string("kvotool ") + KVO_VERSION + "\n");
}

TEST_F(KvotoolTest, CheckReportsEveryProblemWithFileAndLine) {
    const std::string show = dir_.File("bad.pdz");
    test::WriteFile(show, "BLOCK SlideShow\r\n\tAUTHOR=me\r\n\tBLOCK Slide\r\n\t\tGRAPHIC=/nowhere/pic.bmp\r\n"
                          "\t\tCOLOUR=1\r\n\tEND\r\nEND\r\n");
    std::string out;
    EXPECT_EQ(Run("check " + show, &out), 1);
    EXPECT_NE(out.find(show + ": Line 2: the SlideShow block contains the unknown key \"AUTHOR\""), std::string::npos) << out;
    EXPECT_NE(out.find("Line 5: the Slide block"), std::string::npos) << out;
    EXPECT_NE(out.find("/nowhere/pic.bmp\" does not exist"), std::string::npos) << out;

    test::WriteFile(show, "BLOCK SlideShow\r\n\tHELPTOPIC=abc\r\nEND\r\n");
    EXPECT_EQ(Run("check " + show, &out), 1);
    EXPECT_NE(out.find(show + ", line 2: \"abc\" is not a whole number."), std::string::npos) << out;

    // The editor's language from the settings, as the editor takes it.
    RegEntry entry;
    entry.CreateKey("Tessiva\\Settings");
    entry.SetString("DefaultLanguage", "1031");
    EXPECT_EQ(Run("check " + show, &out), 1);
    EXPECT_NE(out.find(show + ", Zeile 2: \"abc\" ist keine ganze Zahl."), std::string::npos) << out;
}

TEST_F(KvotoolTest, EvaluateAndAverageTheExampleReport) {
    const std::string report = JoinPath(EditorDataDirectory(), "samples/GearHousing-part7.rpt");
    const std::string evaluated = dir_.File("evaluated.pdz");
    std::string out;
    ASSERT_EQ(Run("evaluate " + Sample() + " " + report + " -o " + evaluated, &out), 0) << out;
    EXPECT_NE(out.find("1     BORE_B2             9/4       .071          warning\n"), std::string::npos) << out;
    EXPECT_NE(out.find("Worst state: out of tolerance\n"), std::string::npos) << out;
    EXPECT_NE(test::ReadFile(evaluated).find("VALUE=DOUBLE|-0.048"), std::string::npos);

    // A second part whose bore 12 is further out; its flatness was not measured.
    std::string second = test::ReadFile(report);
    second.replace(second.find("C4=0.018"), 8, "C4=0.024");
    second.erase(second.find("\tBLOCK Feature\n\t\tSEQNUMBER=14"), second.find("\tBLOCK Feature\n\t\tSEQNUMBER=20") - second.find("\tBLOCK Feature\n\t\tSEQNUMBER=14"));
    test::WriteFile(dir_.File("part8.rpt"), second);
    ASSERT_EQ(Run("average " + Sample() + " " + report + " " + dir_.File("part8.rpt"), &out), 0) << out;
    EXPECT_NE(out.find("1     #12                 2/4       .021          2 of 2   warning\n"), std::string::npos) << out;
    EXPECT_NE(out.find("1     FLANGE_FLATNESS     10/4      .031          1 of 2   not evaluated\n"), std::string::npos) << out;

    test::WriteFile(dir_.File("bad.rpt"), "BLOCK Report\n\tBLOCK Feature\n\t\tSEQNUMBER=x\n");
    EXPECT_EQ(Run("evaluate " + Sample() + " " + dir_.File("bad.rpt"), &out), 1);
    EXPECT_NE(out.find(dir_.File("bad.rpt") + ": Line 3: SEQNUMBER in the Feature block must be a number"), std::string::npos) << out;
    EXPECT_EQ(Run("average " + Sample(), &out), 2);
}

// The example QIF results: the listing's exact layout, the agreement on standard
// error, and evaluation of the last part or a chosen one.
TEST_F(KvotoolTest, ResultsListsTheExampleQifAndEvaluateTakesTheChosenPart) {
    const std::string results = JoinPath(EditorDataDirectory(), "samples/GearHousing-results.qif");
    const std::string tool = JoinPath(ExecutableDirectory(), "kvotool");
    std::string out, err;
    ASSERT_EQ(test::RunCommand(tool + " results --tsv " + results + " 2>/dev/null", &out), 0);
    ASSERT_EQ(test::RunCommand(tool + " results --tsv " + results + " 2>&1 >/dev/null", &err), 0);
    EXPECT_EQ(err, "16 of 16 characteristics agree with the file's status\n");
    std::vector<std::string> lines;
    for (std::size_t at = 0, end; (end = out.find('\n', at)) != std::string::npos; at = end + 1) lines.push_back(out.substr(at, end - at));
    ASSERT_EQ(lines.size(), 17u) << out;
    EXPECT_EQ(lines[0], "sample\tid\tfeature\ttype\tsymbol\trow\tmeasured\tnominal\tupper\tlower\tdeviation\tstate\tstatus");
    for (const auto& line : lines) EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 12) << line;
    EXPECT_EQ(lines[10], "2\t66\tBORE_B2\tDiameter\t1\t2\t51.975\t52\t0.03\t0.03\t-0.02499999999999858\t2\tPASS");
    EXPECT_EQ(lines[11], "2\t67\tBORE_B2\tPosition\t9\t9\t0.083\t\t0.05\t0\t0.083\t3\tFAIL");

    const auto positionState = [&](const std::string& options) {
        std::string shown;
        EXPECT_EQ(Run("evaluate " + Sample() + " " + results + options, &shown), 0) << shown;
        const auto at = shown.find("BORE_B2             9/4");
        return at == std::string::npos ? shown : shown.substr(at, shown.find('\n', at) - at);
    };
    EXPECT_NE(positionState("").find(".083          out of tolerance"), std::string::npos) << positionState("");
    EXPECT_NE(positionState(" --sample 1").find(".041          in tolerance"), std::string::npos) << positionState(" --sample 1");
    EXPECT_EQ(Run("evaluate " + Sample() + " " + results + " --sample 3", &out), 1);
    EXPECT_NE(out.find(results + " holds 2 results; there is no result 3."), std::string::npos) << out;
}

// One icon per feature of the widget, though most features have several
// characteristics; the icons' states are checked in the model's tests.
TEST_F(KvotoolTest, NewFromResultsMakesOneIconPerFeature) {
    const std::string widget = std::string(KVO_SOURCE_DIR) + "/../shared/corpus/qif/WIDGET_QIF_RESULTS.QIF";
    if (!std::filesystem::exists(widget)) GTEST_SKIP() << widget << " is not there; skipped";
    const std::string show = dir_.File("widget.pdz");
    std::string out;
    ASSERT_EQ(Run("new --from-results " + widget + " -o " + show, &out), 0) << out;
    ASSERT_EQ(Run("info " + show, &out), 0) << out;
    EXPECT_NE(out.find("Icons:       19"), std::string::npos) << out;
    EXPECT_NE(out.find("Files:       none"), std::string::npos) << out;
}

TEST_F(KvotoolTest, ExportAndImportThroughTheTool) {
    // A copy of the example whose pictures are this test's own.
    const std::string samples = JoinPath(EditorDataDirectory(), "samples");
    const std::string pictures = dir_.File("pictures");
    std::filesystem::create_directories(pictures);
    for (const char* name : {"housing-front.bmp", "housing-top.bmp", "housing-section.bmp"})
        std::filesystem::copy_file(JoinPath(samples, name), JoinPath(pictures, name));
    std::string text = test::ReadFile(Sample());
    for (std::size_t at; (at = text.find(samples + "/")) != std::string::npos;) text.replace(at, samples.size(), pictures);
    const std::string show = dir_.File("shows/g.pdz");
    test::WriteFile(show, text);
    const std::string package = dir_.File("shows/g.exp");
    std::string out;
    ASSERT_EQ(Run("export " + show + " --comment 'for station 2'", &out), 0) << out;
    ASSERT_EQ(Run("package-info " + package, &out), 0) << out;
    EXPECT_NE(out.find("Comment:     for station 2"), std::string::npos) << out;
    EXPECT_NE(out.find("Files:       3"), std::string::npos) << out;

    std::filesystem::remove_all(pictures);
    const std::string target = dir_.File("station2/g.pdz");
    // The pictures go outside the show's folder: listed, and written only when allowed.
    EXPECT_EQ(Run("import " + package + " " + target, &out), 1);
    EXPECT_NE(out.find(JoinPath(pictures, "housing-top.bmp")), std::string::npos) << out;
    EXPECT_FALSE(std::filesystem::exists(pictures));
    EXPECT_FALSE(std::filesystem::exists(dir_.File("station2")));
    ASSERT_EQ(Run("import " + package + " " + target + " --allow-outside", &out), 0) << out;
    EXPECT_TRUE(std::filesystem::exists(JoinPath(pictures, "housing-top.bmp")));
    EXPECT_EQ(Run("import " + package + " " + target, &out), 1);  // the target exists now
    EXPECT_NE(out.find("exists already"), std::string::npos) << out;
    EXPECT_EQ(Run("check " + target, &out), 0) << out;
}

TEST_F(KvotoolTest, UsageErrorsExitWithTwo) {
    std::string out;
    EXPECT_EQ(Run("", &out), 2);
    EXPECT_EQ(Run("frobnicate", &out), 2);
    EXPECT_NE(out.find("unknown command"), std::string::npos);
    EXPECT_EQ(Run("convert a b", &out), 2);
    EXPECT_EQ(Run("convert a b --to pdf", &out), 2);
    EXPECT_EQ(Run("import a b --yes-all --no-all", &out), 2);
    EXPECT_EQ(Run("render " + dir_.File("any.pdz"), &out), 2);  // handed to kvotool-draw, which says the same
    EXPECT_NE(out.find("usage: kvotool render SHOW -o OUT.png"), std::string::npos) << out;
    EXPECT_EQ(Run("info --help", &out), 0);
    EXPECT_NE(out.find("usage: kvotool info SHOW"), std::string::npos);
    EXPECT_EQ(Run("info " + dir_.File("missing.pdz"), &out), 1);
    EXPECT_NE(out.find("missing.pdz"), std::string::npos) << out;
}

}  // namespace
}  // namespace kvo

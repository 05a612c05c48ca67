#include "model/Report.h"

#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "ModelTestSupport.h"
#include "model/SlideShow.h"
#include "services/Paths.h"

namespace kvo {
namespace {

class ReportTest : public ::testing::Test {
protected:
    Report Load(const std::string& text, const std::string& name = "report.rpt") {
        test::WriteFile(dir_.File(name), text);
        Report report;
        report.LoadFromFile(dir_.File(name));
        return report;
    }

    const Value& Cell(const SlideShow& show, int slide, const std::string& icon, int row, int column) {
        for (const auto& each : show.Slides().Item(slide).Icons()) {
            if (each->Name() != icon) continue;
            for (const auto& cell : each->Values())
                if (cell->Row() == row && cell->Column() == column) return *cell;
        }
        ADD_FAILURE() << "no cell " << icon << " " << row << "/" << column;
        static const Value none;
        return none;
    }

    test::TempDir dir_;
    test::RecordingPrompt prompt_;
};

// Worked out by hand from the tolerance rules for the example report: the
// warning band is the percentage of the tolerance, bounds are inclusive, row 9
// adds the MMC bonus, limits are centred on their middle, zero is always in.
TEST_F(ReportTest, TheExampleReportEvaluatesAsWorkedOutByHand) {
    SlideShow show;
    show.LoadFromFile(JoinPath(EditorDataDirectory(), "samples/GearHousing.pdz"));
    Report report;
    report.LoadFromFile(JoinPath(EditorDataDirectory(), "samples/GearHousing-part7.rpt"));
    EXPECT_EQ(report.Name(), "Gear housing GH-40, part 7");
    ASSERT_EQ(report.Features().size(), 8u);
    report.Evaluate(show);

    const std::tuple<int, const char*, int, int, const char*, int16_t> expected[] = {
        {1, "#12", 2, 4, ".018", ToleranceState::InBand},  // 0.018 within 0.8 x 0.025
        {1, "#12", 2, 0, "40.018", ToleranceState::NotEvaluated},
        {1, "BORE_B2", 2, 4, ".027", ToleranceState::Warning},  // beyond 0.024, within 0.03
        {1, "BORE_B2", 9, 4, ".071", ToleranceState::Warning},  // 0.05 + bonus 0.03: band 0.064
        {1, "FLANGE_FLATNESS", 10, 4, ".031", ToleranceState::OutOfTolerance},
        {1, "FLANGE_FLATNESS", 10, 2, ".025", ToleranceState::NotEvaluated},
        {2, "#20", 1, 4, ".00", ToleranceState::InBand},  // zero deviation, angular decimals
        {2, "SLOT_WIDTH", 14, 4, ".005", ToleranceState::InBand},  // 12.02 - (12.05 + 11.98) / 2
        {2, "SLOT_WIDTH", 14, 2, "12.050", ToleranceState::NotEvaluated},
        {2, "SLOT_WIDTH", 14, 3, "11.980", ToleranceState::NotEvaluated},
        {2, "#31", 7, 4, "-.04", ToleranceState::InBand},
        {3, "DATUM_A", 10, 4, ".004", ToleranceState::InBand},
        {3, "DATUM_A", 11, 4, ".011", ToleranceState::Warning},
        {3, "#44", 2, 4, "-.048", ToleranceState::OutOfTolerance},  // 24.962 against 25.00..25.02
        {3, "#44", 2, 0, "24.962", ToleranceState::NotEvaluated},
        {3, "REMARK", 2, 0, "visual check: no burrs", ToleranceState::NotEvaluated},  // not in the report
    };
    for (const auto& [slide, icon, row, column, text, state] : expected) {
        const Value& cell = Cell(show, slide, icon, row, column);
        EXPECT_EQ(cell.DisplayText(), text) << icon << " " << row << "/" << column;
        EXPECT_EQ(cell.Tolerance(), state) << icon << " " << row << "/" << column;
    }
    const Value& bonus = Cell(show, 1, "BORE_B2", 9, 4);
    EXPECT_DOUBLE_EQ(bonus.PlusTol(), 0.08);
    EXPECT_DOUBLE_EQ(bonus.SoftPlusTol(), 0.064);
    EXPECT_DOUBLE_EQ(bonus.MinusTol(), 0);
    const Value& limits = Cell(show, 2, "SLOT_WIDTH", 14, 4);
    EXPECT_NEAR(limits.PlusTol(), 0.035, 1e-12);
    EXPECT_NEAR(limits.SoftMinusTol(), -0.0175, 1e-12);
    EXPECT_EQ(show.WorstTolerance(), ToleranceState::OutOfTolerance);
    EXPECT_TRUE(show.Slides().IsOutOfTolerance(1));
    EXPECT_FALSE(show.Slides().IsOutOfTolerance(2));
    EXPECT_TRUE(show.Slides().IsOutOfTolerance(3));
}

TEST_F(ReportTest, AveragesOverThreeReportsShowAnIncompleteSetUnevaluated) {
    SlideShow show;
    Slide& slide = show.Slides().Add();
    Icon& bore = slide.Icons().Add();
    bore.SetSequenceNumber(12);
    bore.Values().Add().SetRow(2);
    bore.Values().Add().SetColumn(0);  // measured values are not averaged
    Icon& flat = slide.Icons().Add();
    flat.SetFeatureName("FLAT");
    Value& saved = flat.Values().Add();
    saved.SetRow(10);
    saved.SetCurrentValue(Variant(0.5));  // saved with a state of its own, which is no sample
    saved.SetTolerance(ToleranceState::OutOfTolerance);
    const auto report = [&](const char* name, const char* bore, const char* flat) {
        std::string text = "BLOCK Report\n BLOCK Feature\n  SEQNUMBER=12\n  FEATURENAME=BORE\n  BLOCK Row\n   ROW=2\n"
                           "   C0=" + std::string(bore) + "\n   C2=0.025\n   C3=0.025\n   C4=" + bore + "\n  END\n END\n";
        if (flat != nullptr)
            text += " BLOCK Feature\n  SEQNUMBER=14\n  FEATURENAME=flat\n  BLOCK Row\n   ROW=10\n   C2=0.04\n   C4=" +
                    std::string(flat) + "\n  END\n END\n";
        return Load(text + "END\n", name);
    };
    const Report first = report("part1.rpt", "0.020", "0.020");
    const Report second = report("part2.rpt", "0.022", "0.030");
    const Report third = report("part3.rpt", "0.024", nullptr);  // the flatness was not measured
    AverageReports(show, {&first, &second, &third});

    const Value& mean = bore.Values().Item(1);
    EXPECT_EQ(mean.DisplayText(), ".022");
    EXPECT_EQ(mean.Tolerance(), ToleranceState::Warning);  // beyond 0.8 x 0.025
    EXPECT_TRUE(mean.IsAverage());
    ASSERT_EQ(mean.LogCount(), 3);
    EXPECT_EQ(mean.LogItem(3), dir_.File("part3.rpt"));
    const Value& incomplete = flat.Values().Item(1);
    EXPECT_EQ(incomplete.DisplayText(), ".025");  // (0.020 + 0.030) / 2
    EXPECT_EQ(incomplete.SummCount(), 2);
    EXPECT_EQ(incomplete.Tolerance(), ToleranceState::NotEvaluated);
}

TEST_F(ReportTest, BadReportsNameTheFileTheLineAndWhatWasExpected) {
    const std::string feature = "BLOCK Report\n\tBLOCK Feature\n\t\tSEQNUMBER=12\n\t\tFEATURENAME=BORE\n";
    const std::pair<std::string, std::string> cases[] = {
        {"BLOCK SlideShow\nEND\n", "Line 1: the file does not begin with a BLOCK Report line."},
        {feature + "\t\tSEQ=3\n", "Line 5: the Feature block has no key \"SEQ\"; expected SEQNUMBER, FEATURENAME"},
        {feature + "\t\tMMC=yes\n", "Line 5: MMC in the Feature block must be True or False, not \"yes\"."},
        {feature + "\t\tBLOCK Row\n\t\t\tROW=2\n\t\t\tC4=0,5\n", "Line 7: C4 in the Row block must be a number, not \"0,5\"."},
        {feature + "\t\tBLOCK Row\n\t\t\tC4=0.5\n\t\tEND\n", "Line 5: the Row block that starts here has no ROW."},
        {feature + "\t\tBLOCK Row\n\t\t\tROW=2\n\t\t\tC4=1\n\t\tEND\n\t\tBLOCK Row\n\t\t\tROW=2\n\t\t\tC4=2\n\t\tEND\n",
         "Line 9: column 4 of row 2 is given twice for this feature."},
        {feature + "\t\tBLOCK Value\n", "Unexpected BLOCK at line 5: expected ROW, found VALUE."},
        {"BLOCK Report\n\tBLOCK Feature\n\t\tFEATURENAME=BORE\n\tEND\nEND\n", "Line 2: the Feature block that starts here has no SEQNUMBER."},
        {feature + "\tEND\n", "Line 5: the file ends inside the Report block"},
        {feature + "\tEND\nEND\nBLOCK Report\n", "Line 7: there is more text after the end of the report."},
    };
    for (const auto& [text, message] : cases) {
        const Error error = test::RaisedBy([&, &input = text] { Load(input); });
        EXPECT_EQ(error.Number(), ErrorNumber::LoadStructure) << text;
        EXPECT_EQ(error.Description().rfind(dir_.File("report.rpt") + ": ", 0), 0u) << error.Description();
        EXPECT_NE(error.Description().find(message), std::string::npos) << error.Description();
    }
    EXPECT_NE(test::RaisedBy([&] { Report().LoadFromFile(dir_.File("missing.rpt")); }).Description().find("missing.rpt"),
              std::string::npos);
    EXPECT_TRUE(prompt_.shown.empty());  // errors, never messages
}

}  // namespace
}  // namespace kvo

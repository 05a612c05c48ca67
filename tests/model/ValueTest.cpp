#include "model/Value.h"

#include <gtest/gtest.h>

#include <cmath>

#include <array>
#include <sstream>

#include "ModelTestSupport.h"
#include "model/BinaryStream.h"
#include "model/Icon.h"
#include "model/ValueCollection.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

using test::FakeHostReport;
using test::RaisedBy;

std::string Saved(const Value& value) {
    std::string out;
    value.SaveToFile(out);
    return out;
}

class ValueTest : public ::testing::Test {
protected:
    void SetUp() override {
        rows_.fill(1);
        columns_.fill(1);
    }

    // A deviation cell (row 2, column 4) updated from a host with tolerance +/-0.1.
    Value Updated(double deviation, int16_t decimals = 4, int16_t percent = 80) {
        Value value;
        value.SetPercentage(percent);
        host_.linearDecimals = Variant(decimals);
        host_.cells[{2, 2}] = Variant(0.1);
        host_.cells[{3, 2}] = Variant(0.1);
        host_.cells[{4, 2}] = Variant(deviation);
        value.UpdateReport(host_, rows_, columns_);
        return value;
    }

    FakeHostReport host_;
    std::array<int16_t, 20> rows_{};
    std::array<int16_t, 8> columns_{};
};

TEST_F(ValueTest, FreshCellSavesItsDefaults) {
    EXPECT_EQ(Saved(Value()),
              "\t\t\tBLOCK Value\r\n"
              "\t\t\t\tTYPE=DA\r\n"
              "\t\t\t\tSYMBOL=1\r\n"
              "\t\t\t\tROW=2\r\n"
              "\t\t\t\tCOLUMN=4\r\n"
              "\t\t\t\tPERCENTAGE=0.8\r\n"
              "\t\t\t\tVALUE=EMPTY\r\n"
              "\t\t\t\tFORMAT=3\r\n"
              "\t\t\t\tTOLERANCE=0\r\n"
              "\t\t\t\tISLIMIT=False\r\n"
              "\t\t\tEND\r\n");
}

TEST_F(ValueTest, ClassificationAtFractionPointEightHasInclusiveBounds) {
    const struct {
        double deviation;
        int16_t state;
    } cases[] = {{0, 1},       {0.08, 1},  {0.0801, 2}, {0.1, 2},  {0.1001, 3},
                 {-0.08, 1},   {-0.1, 2},  {-0.1001, 3}, {0.05, 1}, {-0.0999, 2}};
    for (const auto& c : cases) {
        const Value value = Updated(c.deviation);
        EXPECT_EQ(value.Tolerance(), c.state) << c.deviation;
        EXPECT_DOUBLE_EQ(value.SoftPlusTol(), 0.08);
        EXPECT_DOUBLE_EQ(value.SoftMinusTol(), -0.08);
        EXPECT_TRUE(value.GotTols());
    }
}

TEST_F(ValueTest, ZeroDeviationIsInBandEvenWithoutTolerances) {
    host_.cells[{4, 2}] = Variant(0.0);
    Value value;
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_EQ(value.Tolerance(), 1);
    host_.cells[{4, 2}] = Variant(0.001);
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_EQ(value.Tolerance(), 3);
    EXPECT_TRUE(value.IsOutOfTolerance());
}

TEST_F(ValueTest, TheShownDeviationDecidesTheState) {
    // 0.10004 shows as .100 with three decimals, which is within tolerance.
    const Value value = Updated(0.10004, 3);
    EXPECT_EQ(value.DisplayText(), ".100");
    EXPECT_EQ(value.CurrentValue(), Variant(0.1));
    EXPECT_EQ(value.Tolerance(), 2);
}

// Found by fuzzing: with no decimals a zero (and anything that rounds to it)
// shows as "."; what is shown must still read back as its number.
TEST_F(ValueTest, ShownTextsWithoutDigitsReadBackAsZero) {
    const Value zero = Updated(0.0, 0);
    EXPECT_EQ(zero.DisplayText(), ".");
    EXPECT_EQ(zero.Tolerance(), ToleranceState::InBand);
    const Value small = Updated(-0.2, 0);
    EXPECT_EQ(small.DisplayText(), ".");
    EXPECT_EQ(small.Tolerance(), ToleranceState::InBand);
    EXPECT_EQ(Updated(12.4, 0).DisplayText(), "12.");
    EXPECT_EQ(Updated(12.4, 0).Tolerance(), ToleranceState::OutOfTolerance);

    Icon part;
    part.SetSequenceNumber(12);
    zero.Copy(part.Values().Add());
    part.Values().Item(1).SetTolerance(ToleranceState::InBand);
    part.Values().Item(1).SetCurrentValue(Variant(0.0));
    Icon target;
    target.SetSequenceNumber(12);
    target.Values().Add().InitializeSampleSet(1);
    part.CollectSampleSet(target, "part 1");
    EXPECT_EQ(target.Values().Item(1).SummCount(), 1);
    EXPECT_EQ(target.Values().Item(1).Summ(), 0.0);
}

TEST_F(ValueTest, HostDecimalsAreCappedAtSeven) {
    EXPECT_EQ(Updated(0.01, 9).Decimals(), 7);
    EXPECT_EQ(Updated(0.01, 7).Decimals(), 7);
    Value angular;
    angular.SetRow(7);
    host_.angularDecimals = Variant(int16_t{1});
    angular.UpdateReport(host_, rows_, columns_);
    EXPECT_EQ(angular.Decimals(), 1);
}

TEST_F(ValueTest, LimitTolerancingMeasuresFromTheMiddleOfTheLimits) {
    host_.limits = true;
    host_.cells[{0, 2}] = Variant(10.15);
    host_.cells[{2, 2}] = Variant(10.2);
    host_.cells[{3, 2}] = Variant(9.8);
    Value value;
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_TRUE(value.IsLimitTolerance());
    EXPECT_NEAR(value.PlusTol(), 0.2, 1e-12);
    EXPECT_NEAR(value.MinusTol(), -0.2, 1e-12);
    EXPECT_NEAR(value.SoftPlusTol(), 0.16, 1e-12);
    EXPECT_EQ(value.CurrentValue(), Variant(0.15));
    EXPECT_EQ(value.Tolerance(), 1);

    Value narrow;
    narrow.SetPercentage(50);
    narrow.UpdateReport(host_, rows_, columns_);
    EXPECT_NEAR(narrow.SoftPlusTol(), 0.1, 1e-12);
    EXPECT_EQ(narrow.Tolerance(), 2);
}

TEST_F(ValueTest, FormTolerancesAreOneSidedAndTheMmcBonusWidensRowNine) {
    host_.mmc = true;
    host_.bonus = Variant(0.03);
    host_.cells[{2, 9}] = Variant(0.05);
    host_.cells[{3, 9}] = Variant(0.5);  // ignored: no lower tolerance for form
    host_.cells[{4, 9}] = Variant(0.07);
    Value value;
    value.SetRow(9);
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_NEAR(value.PlusTol(), 0.08, 1e-12);
    EXPECT_EQ(value.MinusTol(), 0);
    EXPECT_NEAR(value.SoftPlusTol(), 0.064, 1e-12);
    EXPECT_EQ(value.SoftMinusTol(), 0);
    EXPECT_EQ(value.Tolerance(), 2);

    host_.cells[{2, 10}] = Variant(0.05);
    host_.cells[{4, 10}] = Variant(0.07);
    Value row10;
    row10.SetRow(10);
    row10.UpdateReport(host_, rows_, columns_);
    EXPECT_NEAR(row10.PlusTol(), 0.05, 1e-12);  // the bonus is for row 9 only
    EXPECT_EQ(row10.Tolerance(), 3);
}

TEST_F(ValueTest, OtherColumnsTakeTheReportValueUnevaluated) {
    host_.cells[{0, 2}] = Variant("25.004");
    Value value;
    value.SetColumn(0);
    value.SetTolerance(3);
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_EQ(value.Tolerance(), 0);
    EXPECT_EQ(value.CurrentValue(), Variant("25.004"));
    EXPECT_FALSE(value.GotTols());
}

TEST_F(ValueTest, FlagsAndTypeDecideWhetherACellIsUpdated) {
    host_.cells[{4, 2}] = Variant(0.5);
    Value value;
    rows_[2] = 0;
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_TRUE(value.CurrentValue().IsEmpty());
    rows_[2] = 1;
    columns_.fill(0);
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_TRUE(value.CurrentValue().IsEmpty());
    columns_[0] = 1;  // element 0 selects every column
    value.UpdateReport(host_, rows_, columns_);
    EXPECT_EQ(value.CurrentValue(), Variant(0.5));

    Value other;
    other.SetValueType("TX");
    other.UpdateReport(host_, rows_, columns_);
    EXPECT_TRUE(other.CurrentValue().IsEmpty());
    Value beyond;
    beyond.SetRow(50);  // no flag for it: nothing happens, nothing raised
    beyond.UpdateReport(host_, rows_, columns_);
    EXPECT_TRUE(beyond.CurrentValue().IsEmpty());
}

TEST_F(ValueTest, AHostErrorEndsTheUpdateAndKeepsWhatWasSet) {
    host_.cells[{2, 2}] = Variant(0.1);
    host_.cells[{3, 2}] = Variant(0.2);
    host_.failingCell = std::make_pair(int16_t{4}, int16_t{2});
    Value value;
    value.SetTolerance(3);
    EXPECT_NO_THROW(value.UpdateReport(host_, rows_, columns_));
    EXPECT_DOUBLE_EQ(value.PlusTol(), 0.1);
    EXPECT_DOUBLE_EQ(value.MinusTol(), -0.2);
    EXPECT_EQ(value.Tolerance(), 3);
    EXPECT_FALSE(value.GotTols());
    host_.failingCell.reset();
    host_.cells[{4, 2}] = Variant::MakeNull();  // invalid use of Null ends it too
    EXPECT_NO_THROW(value.UpdateReport(host_, rows_, columns_));
}

TEST_F(ValueTest, DisplayTextHasNoLeadingZero) {
    const struct {
        Variant value;
        const char* format;
        const char* shown;
    } cases[] = {
        {Variant(0.5), "3", ".500"},          {Variant(-0.0234), "3", "-.023"},
        {Variant(12.3456), "3", "12.346"},    {Variant(12.3), "0", "12."},
        {Variant(0.0005), "3", ".001"},       {Variant(-0.0004), "3", ".000"},
        {Variant(2.5f), "1", "2.5"},          {Variant(), "3", ""},
        {Variant::MakeNull(), "3", "NULL"},   {Variant("OK"), "3", "OK"},
        {Variant(int32_t{10}), "3", "10"},    {Variant(true), "3", "True"},
        {Variant(123456.0), "2", "123456.00"},
    };
    for (const auto& c : cases) {
        test::ParserOn on(std::string("BLOCK Value\nFORMAT=") + c.format + "\nEND\n");
        Value value;
        value.LoadFromFile(on.parser);
        value.SetCurrentValue(c.value);
        EXPECT_EQ(value.DisplayText(), c.shown) << c.format << " " << c.shown;
    }
}

TEST_F(ValueTest, AveragesAreEvaluatedOnlyForACompleteSet) {
    Value value = Updated(0.05);
    value.InitializeSampleSet(5);
    EXPECT_TRUE(value.IsAverage());
    value.SetSumm(Variant(0.3));
    value.SetSummCount(2);
    value.CalculateAverage();
    EXPECT_EQ(value.CurrentValue(), Variant(0.15));
    EXPECT_EQ(value.Tolerance(), 0);
    value.SetSumm(Variant(0.45));
    value.SetSummCount(5);
    value.CalculateAverage();
    EXPECT_EQ(value.CurrentValue(), Variant(0.09));
    EXPECT_EQ(value.Tolerance(), 2);

    Value unevaluatedColumn;
    unevaluatedColumn.SetColumn(2);
    unevaluatedColumn.SetSummCount(1);
    unevaluatedColumn.SetSumm(Variant(1.0));
    unevaluatedColumn.CalculateAverage();
    EXPECT_TRUE(unevaluatedColumn.CurrentValue().IsEmpty());
}

TEST_F(ValueTest, TerminateKeepsTheLastItemOfEachList) {
    Value value;
    value.AddLog("part 1");
    value.AddLog("part 2");
    value.AddLog("part 3");
    value.AddValue(".010");
    value.Terminate();
    EXPECT_EQ(value.LogCount(), 1);
    EXPECT_EQ(value.LogItem(1), "part 3");
    EXPECT_EQ(value.ValueCount(), 1);
    EXPECT_TRUE(value.IsLogCol("part 3"));
    EXPECT_FALSE(value.IsLogCol("PART 3"));
    EXPECT_EQ(RaisedBy([&] { value.LogItem(2); }).Number(), 9);
    EXPECT_EQ(RaisedBy([&] { value.ValueItem(0); }).Number(), 9);
}

TEST_F(ValueTest, TextBlockReadsKeysInAnyCaseAndReportsUnknownOnes) {
    test::RecordingPrompt prompt;
    test::ParserOn on(
        "BLOCK Value\n"
        "type=TX\nsymbol=7\nROW=9\nCOLUMN=2\nFORMAT=4\nPERCENTAGE=0.55\n"
        "VALUE=double|0.0123\nTOLERANCE=2\nISLIMIT=-1\nCOLOUR=red\n"
        "END\nNEXT=1\n");
    Value value;
    value.LoadFromFile(on.parser);
    EXPECT_EQ(value.ValueType(), "TX");
    EXPECT_EQ(value.GeometricSymbol(), 7);
    EXPECT_EQ(value.Row(), 9);
    EXPECT_EQ(value.Column(), 2);
    EXPECT_EQ(value.Decimals(), 4);
    EXPECT_EQ(value.Percentage(), 55);
    EXPECT_EQ(value.CurrentValue(), Variant(0.0123));
    EXPECT_EQ(value.Tolerance(), 2);
    EXPECT_TRUE(value.IsLimitTolerance());
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_EQ(prompt.shown[0].text, FormatResString(Str::LoadUnknownKey, {"Icon Value", "COLOUR", 11}));
    EXPECT_EQ(prompt.shown[0].title, LoadResString(Str::ValueLoadTitle));
    EXPECT_EQ(on.parser.GetToken(), BlockParser::TokenKeyValue);  // stopped right after its END
    EXPECT_EQ(on.parser.Key(), "NEXT");
}

TEST_F(ValueTest, TextBlockErrors) {
    test::ParserOn nested("BLOCK Value\nROW=3\nBLOCK Icon\nEND\nEND\n");
    Value value;
    const Error error = RaisedBy([&] { value.LoadFromFile(nested.parser); });
    EXPECT_EQ(error.Number(), 1001);
    EXPECT_EQ(error.Source(), LoadResString(Str::ValueLoadTitle));
    EXPECT_EQ(error.Description(), FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", 3, "none", "ICON"}));

    test::ParserOn badNumber("BLOCK Value\nROW=3x\nEND\n");
    EXPECT_EQ(RaisedBy([&] { Value().LoadFromFile(badNumber.parser); }).Number(), 13);
    EXPECT_EQ(badNumber.parser.CurrentLine(), 2);  // the caller can name the line
    test::ParserOn tooLarge("BLOCK Value\nSYMBOL=40000\nEND\n");
    EXPECT_EQ(RaisedBy([&] { Value().LoadFromFile(tooLarge.parser); }).Number(), 6);
}

TEST_F(ValueTest, CellsRoundTripThroughBothFormats) {
    Value original = Updated(0.0871, 4, 55);
    original.SetGeometricSymbol(5);
    original.SetValueType("DA");
    const std::string text = Saved(original);
    EXPECT_NE(text.find("\tPERCENTAGE=0.55\r\n"), std::string::npos);  // a whole percent over a stored fraction
    test::ParserOn on(text);
    Value fromText;
    fromText.LoadFromFile(on.parser);
    EXPECT_EQ(Saved(fromText), text);

    test::TempDir dir;
    {
        BinaryStream out;
        ASSERT_TRUE(out.OpenFile(dir.File("v.pdx"), true));
        original.SaveToBinary(out);
        original.SaveToBinary(out);
    }
    BinaryStream in;
    ASSERT_TRUE(in.OpenFile(dir.File("v.pdx"), false));
    Value version1;
    version1.LoadFromBinary(in, 1);
    EXPECT_EQ(Saved(version1), text);
    EXPECT_TRUE(version1.GotTols());
    EXPECT_DOUBLE_EQ(version1.SoftPlusTol(), original.SoftPlusTol());
    Value version0;  // an older file has no tolerances: they are not read
    version0.LoadFromBinary(in, 0);
    EXPECT_FALSE(version0.GotTols());
    EXPECT_EQ(version0.PlusTol(), 0);
    EXPECT_EQ(in.GetDouble(), original.PlusTol());  // so the stream stands before them
}

TEST_F(ValueTest, CollectionsCopyKeysAndWorstStates) {
    ValueCollection cells;
    cells.Add().SetTolerance(1);
    cells.Add("Bore").SetTolerance(3);
    cells.Add().SetTolerance(2);
    EXPECT_EQ(cells.WorstTolerance(), 3);
    EXPECT_TRUE(cells.IsOutOfTolerance());
    EXPECT_EQ(cells.Item("bore").Tolerance(), 3);
    EXPECT_EQ(RaisedBy([&] { cells.Add("BORE"); }).Number(), 457);
    EXPECT_EQ(RaisedBy([&] { cells.Item("other"); }).Number(), 5);
    EXPECT_EQ(RaisedBy([&] { cells.Item(4); }).Number(), 9);

    cells.Item(1).SetPercentage(55);
    cells.Item(1).SetCurrentValue(Variant(0.2));
    ValueCollection copy;
    copy.Add();
    cells.Copy(copy);
    ASSERT_EQ(copy.Count(), 3);
    EXPECT_EQ(copy.Item(1).Percentage(), 55);
    EXPECT_EQ(copy.Item(1).CurrentValue(), Variant(0.2));
    EXPECT_EQ(copy.Item(2).Tolerance(), 0);  // the state is not copied

    // An undo copy keeps the keys where they were; a key goes with its cell.
    const ValueCollection undo(cells);
    EXPECT_EQ(undo, cells);
    EXPECT_EQ(&undo.Item("BORE"), &undo.Item(2));
    cells.Remove(1);
    cells.Add("Shaft");
    EXPECT_EQ(cells.Item("bore").Tolerance(), 3);
    EXPECT_NE(ValueCollection(cells), undo);
    cells.Remove("Bore");
    EXPECT_EQ(cells.WorstTolerance(), 2);
    cells.Add("bore");  // free again
    cells.Remove(2);
    EXPECT_EQ(RaisedBy([&] { cells.Item("shaft"); }).Number(), 5);
    EXPECT_EQ(cells.Item("BORE").Tolerance(), 0);
    cells.Remove(1);
    EXPECT_FALSE(cells.IsOutOfTolerance());
    cells.Clear();
    EXPECT_EQ(cells.WorstTolerance(), 0);
    EXPECT_FALSE(cells.IsOutOfTolerance());
}

// The run-time state lives apart, made on its first change: a cell without it
// equals one whose state was set back to the defaults, and copies carry it.
TEST_F(ValueTest, RunTimeStateIsMadeOnDemandAndCopiedWhole) {
    Value plain;
    Value reset;
    reset.SetTolerances(0.0, 0.0, 0.0, 0.0);
    EXPECT_EQ(reset, plain);
    reset.SetTolerances(-0.0, 0.0, 0.0, 0.0);
    EXPECT_TRUE(std::signbit(reset.PlusTol()));  // written back to a binary file as it was read
    reset.SetTolerances(0.0, 0.0, 0.0, 0.0);
    EXPECT_EQ(reset, plain);
    Value averaged;
    averaged.InitializeSampleSet(3);
    averaged.SetTolerances(0.0, 0.0, 0.0, -0.04);
    averaged.AddLog("part 7");
    averaged.AddValue(".012");
    EXPECT_NE(averaged, plain);
    Value copy(averaged);
    EXPECT_EQ(copy, averaged);
    EXPECT_EQ(copy.LogItem(1), "part 7");
    EXPECT_EQ(copy.SampleSize(), 3);
    copy.AddLog("part 8");
    EXPECT_EQ(averaged.LogCount(), 1);  // deep, not shared
    copy = plain;
    EXPECT_EQ(copy.LogCount(), 0);
    averaged.Initialize();
    EXPECT_EQ(averaged, plain);
}

}  // namespace
}  // namespace kvo

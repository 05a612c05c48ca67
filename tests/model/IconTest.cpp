#include "model/Icon.h"

#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <sstream>

#include "ModelTestSupport.h"
#include "model/BinaryStream.h"
#include "model/IconCollection.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

using test::RaisedBy;

std::string Saved(const Icon& icon) {
    std::string out;
    icon.SaveToFile(out);
    return out;
}

class IconTest : public ::testing::Test {};

TEST_F(IconTest, NewIconSavesItsDefaultsLineForLine) {
    EXPECT_EQ(Saved(Icon()),
              "\t\tBLOCK Icon\r\n"
              "\t\t\tFEATURENAME=NEWICON\r\n"
              "\t\t\tLEFT=100\r\n"
              "\t\t\tTOP=100\r\n"
              "\t\t\tDRAWLEADER=True\r\n"
              "\t\t\tLEADERCOLOR=0\r\n"
              "\t\t\tLEADERX=500\r\n"
              "\t\t\tLEADERY=500\r\n"
              "\t\t\tBENDPOINT=60\r\n"
              "\t\t\tISVERTICAL=False\r\n"
              "\t\t\tDISPLAYDIGITS=6\r\n"
              "\t\t\tFONTNAME=Courier New\r\n"
              "\t\t\tFONTSIZE=12\r\n"
              "\t\t\tFONTBOLD=True\r\n"
              "\t\t\tFONTCOLOR=0\r\n"
              "\t\t\tNAMECOLOR=-2147483633\r\n"
              "\t\tEND\r\n");
}

// Every limit from both sides: a value past it lands on it, one on it stays.
TEST_F(IconTest, PropertiesClampToTheirLimits) {
    const auto set = [](int32_t position, int32_t bend, int32_t digits, int32_t size) {
        Icon icon;
        icon.SetLeft(position);
        icon.SetTop(position);
        icon.SetLeaderX(position);
        icon.SetLeaderY(position);
        icon.SetLeaderBendPoint(bend);
        icon.SetDisplayDigits(digits);
        icon.SetFontSize(size);
        return std::vector<int32_t>{icon.Left(), icon.Top(), icon.LeaderX(), icon.LeaderY(), icon.LeaderBendPoint(),
                                    icon.DisplayDigits(), icon.FontSize()};
    };
    const std::vector<int32_t> lowest{0, 0, 0, 0, 0, 3, 8}, highest{1000, 1000, 1000, 1000, 100, 15, 24};
    EXPECT_EQ(set(-1, -1, 2, 7), lowest);
    EXPECT_EQ(set(0, 0, 3, 8), lowest);
    EXPECT_EQ(set(1001, 101, 16, 70000), highest);
    EXPECT_EQ(set(1000, 100, 15, 24), highest);
}

TEST_F(IconTest, TextReaderStoresSomeKeysAsTheyStandAndClampsTheOthers) {
    test::RecordingPrompt prompt;
    test::ParserOn on(
        "BLOCK Icon\n"
        "LEFT=1200\nTOP=-40\nBENDPOINT=150\nLEADERX=2000\nFONTSIZE=99\nDISPLAYDIGITS=1\n"
        "featurename=Bore2\nFONTNAME=Arial Narrow\nNAMECOLOR=&H8000000F\nLEADERCOLOR=255\n"
        "DRAWLEADER=False\nISVERTICAL=true\nFONTBOLD=0\nFONTCOLOR=65280\nLEADERY=10\nWIDTH=5\n"
        "BLOCK Value\nROW=9\nEND\n"
        "BLOCK Value\nEND\n"
        "END\n");
    Icon icon;
    icon.LoadFromFile(on.parser);
    EXPECT_EQ(icon.Left(), 1200);
    EXPECT_EQ(icon.Top(), -40);
    EXPECT_EQ(icon.LeaderBendPoint(), 150);
    EXPECT_EQ(icon.LeaderX(), 1000);
    EXPECT_EQ(icon.LeaderY(), 10);
    EXPECT_EQ(icon.FontSize(), 24);
    EXPECT_EQ(icon.DisplayDigits(), 3);
    EXPECT_EQ(icon.Name(), "Bore2");
    EXPECT_EQ(icon.FeatureName(), "BORE2");
    EXPECT_EQ(icon.FontName(), "Arial Narrow");
    EXPECT_EQ(icon.NameColor(), Icon::kButtonFaceColor);
    EXPECT_EQ(icon.LeaderColor(), 255);
    EXPECT_FALSE(icon.DrawLeader());
    EXPECT_TRUE(icon.IsLeaderVertical());
    EXPECT_FALSE(icon.FontBold());
    EXPECT_EQ(icon.FontColor(), 65280);
    ASSERT_EQ(icon.Values().Count(), 2);
    EXPECT_EQ(icon.Values().Item(1).Row(), 9);
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_EQ(prompt.shown[0].text, FormatResString(Str::LoadUnknownKey, {"Icon", "WIDTH", 17}));
    EXPECT_EQ(prompt.shown[0].title, LoadResString(Str::IconLoadTitle));
}

TEST_F(IconTest, TextReaderErrorsNameTheBlockAndTheLine) {
    test::ParserOn nested("BLOCK Icon\nLEFT=1\nBLOCK Slide\nEND\n");
    const Error wrongBlock = RaisedBy([&] { Icon().LoadFromFile(nested.parser); });
    EXPECT_EQ(wrongBlock.Number(), 1001);
    EXPECT_EQ(wrongBlock.Source(), LoadResString(Str::IconLoadTitle));
    EXPECT_EQ(wrongBlock.Description(), FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", 3, "VALUE", "SLIDE"}));

    test::ParserOn badColour("BLOCK Icon\nFONTCOLOR=red\nEND\n");
    EXPECT_EQ(RaisedBy([&] { Icon().LoadFromFile(badColour.parser); }).Number(), 13);
}

Icon& Populated(IconCollection& icons) {
    Icon& icon = icons.Add();
    icon.SetFeatureName("Bore1");
    icon.SetLeft(250);
    icon.SetLeaderColor(0x0000FF);
    icon.SetIsLeaderVertical(true);
    icon.SetFontName("Arial");
    Value& first = icon.Values().Add();
    first.SetCurrentValue(Variant(0.031));
    first.SetTolerance(2);
    Value& second = icon.Values().Add();
    second.SetRow(9);
    second.SetColumn(2);
    second.SetCurrentValue(Variant("OK"));
    return icon;
}

TEST_F(IconTest, IconsRoundTripThroughBothFormats) {
    IconCollection icons;
    Icon& original = Populated(icons);
    Icon& numbered = icons.Add();
    numbered.SetSequenceNumber(-40);
    EXPECT_EQ(numbered.Version(), 1);
    const std::string savedNumber = Saved(numbered);  // a number replaces the name
    EXPECT_NE(savedNumber.find("\t\t\tSEQNUMBER=-40\r\n"), std::string::npos);
    EXPECT_EQ(savedNumber.find("FEATURENAME"), std::string::npos);

    test::ParserOn on(Saved(original));
    Icon fromText;
    fromText.LoadFromFile(on.parser);
    EXPECT_EQ(Saved(fromText), Saved(original));
    EXPECT_EQ(fromText.Name(), "BORE1");  // text keeps the feature name only

    test::TempDir dir;
    {
        BinaryStream out;
        ASSERT_TRUE(out.OpenFile(dir.File("icons.pdx"), true));
        icons.SaveToBinary(out);
    }
    BinaryStream in;
    ASSERT_TRUE(in.OpenFile(dir.File("icons.pdx"), false));
    IconCollection read;
    read.AddFromBinary(in, 1);
    ASSERT_EQ(read.Count(), 2);
    EXPECT_EQ(Saved(read.Item(1)), Saved(original));
    EXPECT_EQ(read.Item(1).Name(), "Bore1");  // binary keeps the name as typed
    EXPECT_EQ(read.Item(2).Name(), "#-40");
    EXPECT_TRUE(read.Item(2).IsSequenceNumber());
    EXPECT_EQ(RaisedBy([&] { in.GetLong(); }).Number(), 62);  // nothing after the last record
}

TEST_F(IconTest, CopyGoesThroughTheTargetsProperties) {
    IconCollection icons;
    Icon& original = Populated(icons);
    original.Values().Item(1).SetTolerance(ToleranceState::NotEvaluated);  // a state is not copied
    Icon target;
    for (int i = 0; i < 3; ++i) target.Values().Add();
    original.Copy(target);
    EXPECT_EQ(Saved(target), Saved(original));  // every field, and no cell left over
    EXPECT_EQ(target.Name(), "BORE1");
    EXPECT_EQ(target.Version(), 1);
}

TEST_F(IconTest, UpdateMatchesByNumberOrByTrimmedUpperCaseName) {
    test::FakeHostReport host;
    std::array<int16_t, 16> rows{};
    std::array<int16_t, 8> columns{};
    rows.fill(1);
    columns.fill(1);
    host.cells[{2, 2}] = Variant(0.1);
    host.cells[{3, 2}] = Variant(0.1);
    host.cells[{4, 2}] = Variant(0.2);

    Icon byName;
    byName.SetFeatureName("BORE1");
    byName.Values().Add();
    host.featureName = Variant(" bore1 ");
    byName.UpdateReport(host, rows, columns);
    EXPECT_EQ(byName.Version(), 2);
    EXPECT_EQ(byName.WorstTolerance(), 3);

    Icon byNumber;
    byNumber.SetSequenceNumber(13);
    byNumber.Values().Add();
    byNumber.UpdateReport(host, rows, columns);  // the host reports number 12
    EXPECT_EQ(byNumber.Version(), 1);
    EXPECT_EQ(byNumber.WorstTolerance(), 0);
    host.sequenceNumber = Variant("13");
    byNumber.UpdateReport(host, rows, columns);
    EXPECT_EQ(byNumber.Version(), 2);
    EXPECT_TRUE(byNumber.IsOutOfTolerance());

    Icon empty;  // a match with no cells still counts as a change
    empty.SetSequenceNumber(13);
    empty.UpdateReport(host, rows, columns);
    EXPECT_EQ(empty.Version(), 2);
}

// Sums of averages are checked with whole reports; here the tolerances an
// average takes from its first part, and what keeps a part out: taken
// already, a full set, a reading never evaluated, a name typed otherwise.
TEST_F(IconTest, SampleSetsCountEachPartOncePerCell) {
    Icon measured;
    measured.SetFeatureName("Bore1");
    Value& reading = measured.Values().Add();
    reading.SetCurrentValue(Variant(0.021));
    reading.SetTolerance(ToleranceState::InBand);
    reading.SetTolerances(0.1, 0.0, 0.0, 0.0);
    reading.SetGotTols(true);
    measured.Values().Add().SetColumn(2);

    Icon average;
    average.SetFeatureName("Bore1");
    average.Values().Add();
    average.Values().Add().SetColumn(2);
    average.InitializeSampleSet(2);
    for (const char* part : {"part 1", "part 1", "part 2", "part 3"}) measured.CollectSampleSet(average, part);
    const Value& collector = average.Values().Item(1);
    EXPECT_EQ(collector.SummCount(), 2);
    EXPECT_DOUBLE_EQ(collector.Summ(), 0.042);
    EXPECT_EQ(collector.LogItem(2), "part 2");
    EXPECT_TRUE(collector.GotTols());
    EXPECT_DOUBLE_EQ(collector.PlusTol(), 0.1);
    EXPECT_EQ(average.Values().Item(2).SummCount(), 0);

    Icon other;
    other.SetFeatureName("BORE1");
    other.Values().Add().InitializeSampleSet(2);
    measured.CollectSampleSet(other, "part 4");
    EXPECT_EQ(other.Values().Item(1).SummCount(), 0);
}

TEST_F(IconTest, CollectionsRemoveByPositionOrIdentity) {
    IconCollection icons;
    EXPECT_EQ(icons.WorstTolerance(), 0);
    for (int16_t state : {0, 2, 1}) icons.Add().Values().Add().SetTolerance(state);
    EXPECT_EQ(icons.WorstTolerance(), 2);
    EXPECT_TRUE(icons.IsOutOfTolerance());
    Icon stranger;
    icons.Remove(stranger);
    EXPECT_EQ(icons.Count(), 3);
    icons.Remove(icons.Item(2));
    EXPECT_EQ(icons.WorstTolerance(), 1);
    EXPECT_FALSE(icons.IsOutOfTolerance());
    icons.Remove(1);
    EXPECT_EQ(icons.Count(), 1);
    EXPECT_EQ(RaisedBy([&] { icons.Remove(2); }).Number(), 9);
    EXPECT_EQ(RaisedBy([&] { icons.Item(0); }).Number(), 9);
}

// A collection's icons make their cells in one pool: a cell keeps its place
// while others come and go, and a copy's cells outlive the original's pool.
TEST_F(IconTest, CellsOutliveTheIconsAroundThemAndTheOriginalOfACopy) {
    auto icons = std::make_unique<IconCollection>();
    for (int16_t i = 1; i <= 30; ++i) {
        Icon& icon = icons->Add();
        for (int16_t row = 1; row <= 3; ++row) icon.Values().Add().SetRow(static_cast<int16_t>(i * 10 + row));
    }
    const Value* kept = &icons->Item(30).Values().Item(3);
    while (icons->Count() > 1) icons->Remove(1);
    icons->Add().Values().Add().SetRow(7);
    EXPECT_EQ(&icons->Item(1).Values().Item(3), kept);
    EXPECT_EQ(kept->Row(), 303);

    const IconCollection copy(*icons);
    icons.reset();
    ASSERT_EQ(copy.Count(), 2);
    EXPECT_EQ(copy.Item(1).Values().Item(3).Row(), 303);
    EXPECT_EQ(copy.Item(2).Values().Item(1).Row(), 7);
    copy.Item(2).Values().Add().SetRow(8);
    EXPECT_EQ(copy.Item(2).Values().Count(), 2);
}

}  // namespace
}  // namespace kvo

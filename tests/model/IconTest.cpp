#include "model/Icon.h"

#include <gtest/gtest.h>

#include <array>
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

TEST_F(IconTest, NameFollowsTheWayTheFeatureIsFound) {
    Icon icon;
    EXPECT_EQ(icon.Name(), "NEWICON");
    icon.SetFeatureName("Bore1");
    EXPECT_EQ(icon.FeatureName(), "BORE1");
    EXPECT_EQ(icon.Name(), "Bore1");
    EXPECT_FALSE(icon.IsSequenceNumber());
    icon.SetSequenceNumber(12);
    EXPECT_EQ(icon.Name(), "#12");
    EXPECT_TRUE(icon.IsSequenceNumber());
    EXPECT_EQ(icon.Version(), 2);
    const std::string saved = Saved(icon);
    EXPECT_NE(saved.find("\t\t\tSEQNUMBER=12\r\n"), std::string::npos);
    EXPECT_EQ(saved.find("FEATURENAME"), std::string::npos);
    icon.SetSequenceNumber(-3);
    EXPECT_EQ(icon.Name(), "#-3");
}

TEST_F(IconTest, PropertiesClampToTheirLimits) {
    Icon icon;
    const struct {
        void (Icon::*set)(int32_t);
        int32_t (*get)(const Icon&);
        int32_t given;
        int32_t read;
    } cases[] = {
        {&Icon::SetLeft, [](const Icon& i) { return i.Left(); }, -5, 0},
        {&Icon::SetLeft, [](const Icon& i) { return i.Left(); }, 1001, 1000},
        {&Icon::SetTop, [](const Icon& i) { return i.Top(); }, 2000, 1000},
        {&Icon::SetLeaderX, [](const Icon& i) { return i.LeaderX(); }, -1, 0},
        {&Icon::SetLeaderY, [](const Icon& i) { return i.LeaderY(); }, 1500, 1000},
        {&Icon::SetLeaderBendPoint, [](const Icon& i) { return int32_t{i.LeaderBendPoint()}; }, 101, 100},
        {&Icon::SetLeaderBendPoint, [](const Icon& i) { return int32_t{i.LeaderBendPoint()}; }, -1, 0},
        {&Icon::SetDisplayDigits, [](const Icon& i) { return int32_t{i.DisplayDigits()}; }, 2, 3},
        {&Icon::SetDisplayDigits, [](const Icon& i) { return int32_t{i.DisplayDigits()}; }, 16, 15},
        {&Icon::SetFontSize, [](const Icon& i) { return int32_t{i.FontSize()}; }, 7, 8},
        {&Icon::SetFontSize, [](const Icon& i) { return int32_t{i.FontSize()}; }, 30, 24},
        {&Icon::SetFontSize, [](const Icon& i) { return int32_t{i.FontSize()}; }, 70000, 24},
        {&Icon::SetLeft, [](const Icon& i) { return i.Left(); }, 250, 250},
    };
    for (const auto& c : cases) {
        (icon.*c.set)(c.given);
        EXPECT_EQ(c.get(icon), c.read) << c.given;
    }
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

    test::ParserOn unterminated("BLOCK Icon\nLEFT=1\nBLOCK Value\nROW=2\n");
    const Error endsInside = RaisedBy([&] { Icon().LoadFromFile(unterminated.parser); });
    EXPECT_EQ(endsInside.Number(), 1001);
    EXPECT_EQ(endsInside.Description(), FormatResString(Str::LoadEndsInsideBlock, {"Icon", 4}));

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
    icons.Add().SetSequenceNumber(40);

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
    EXPECT_EQ(read.Item(2).Name(), "#40");
    EXPECT_EQ(RaisedBy([&] { in.GetLong(); }).Number(), 62);  // nothing after the last record
}

TEST_F(IconTest, CopyGoesThroughTheTargetsProperties) {
    IconCollection icons;
    Icon& original = Populated(icons);
    Icon target;
    target.Values().Add();
    target.Values().Add();
    target.Values().Add();
    original.Copy(target);
    EXPECT_EQ(target.Name(), "BORE1");
    EXPECT_EQ(target.Version(), 1);
    EXPECT_EQ(target.Left(), 250);
    EXPECT_EQ(target.LeaderColor(), 0x0000FF);
    EXPECT_TRUE(target.IsLeaderVertical());
    EXPECT_EQ(target.FontName(), "Arial");
    ASSERT_EQ(target.Values().Count(), 2);
    EXPECT_EQ(target.Values().Item(2).CurrentValue(), Variant("OK"));
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

TEST_F(IconTest, SampleSetsCountEachPartOncePerCell) {
    Icon measured;
    measured.SetFeatureName("Bore1");
    Value& reading = measured.Values().Add();
    reading.SetCurrentValue(Variant(0.021));
    reading.SetTolerance(1);
    reading.SetPlusTol(0.1);
    reading.SetMinusTol(-0.1);
    reading.SetSoftPlusTol(0.08);
    reading.SetSoftMinusTol(-0.08);
    reading.SetGotTols(true);
    Value& unevaluated = measured.Values().Add();
    unevaluated.SetColumn(2);
    unevaluated.SetCurrentValue(Variant(5.0));

    Icon average;
    average.SetFeatureName("Bore1");
    average.Values().Add();
    average.Values().Add().SetColumn(2);
    average.InitializeSampleSet(2);

    measured.CollectSampleSet(average, "part 1");
    measured.CollectSampleSet(average, "part 1");  // the same part again: refused
    Value& collector = average.Values().Item(1);
    EXPECT_EQ(collector.SummCount(), 1);
    EXPECT_DOUBLE_EQ(collector.Summ(), 0.021);
    EXPECT_EQ(collector.LogItem(1), "part 1");
    EXPECT_EQ(collector.ValueItem(1), ".021");
    EXPECT_TRUE(collector.GotTols());
    EXPECT_DOUBLE_EQ(collector.PlusTol(), 0.1);
    EXPECT_EQ(average.Values().Item(2).SummCount(), 0);  // its reading was not evaluated

    measured.CollectSampleSet(average, "part 2");
    measured.CollectSampleSet(average, "part 3");  // the set of two is full
    EXPECT_EQ(collector.SummCount(), 2);
    average.CalculateAverage();
    EXPECT_EQ(collector.CurrentValue(), Variant(0.021));
    EXPECT_EQ(collector.Tolerance(), 1);

    Icon other;
    other.SetFeatureName("BORE1");  // a different name as typed: no match
    other.InitializeSampleSet(2);
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

}  // namespace
}  // namespace kvo

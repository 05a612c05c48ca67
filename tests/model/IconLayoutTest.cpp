#include "model/IconLayout.h"

#include <gtest/gtest.h>

#include "ModelTestSupport.h"
#include "model/IconTransfer.h"

namespace kvo {
namespace {

TEST(IconLayoutTest, AFreePlaceIsTheNearestThatOverlapsNothing) {
    const std::vector<IconBox> taken{{100, 0, 200, 100}, {100, 105, 200, 100}};
    // Wanted on top of the first: beside it is nearer than below the second.
    EXPECT_EQ(FreePlace(taken, {200, 100}, 100, 0), (IconPlace{300, 0}));
    EXPECT_EQ(FreePlace(taken, {200, 100}, 100, 150), (IconPlace{100, 205}));
    EXPECT_EQ(FreePlace(taken, {200, 100}, 600, 600), (IconPlace{600, 600}));  // free already
    EXPECT_EQ(FreePlace({}, {200, 100}, 950, 990), (IconPlace{800, 900}));    // kept on the slide
    EXPECT_EQ(FreePlace({{0, 0, 1000, 1000}}, {10, 10}, 0, 0), std::nullopt);
    // A box as large as the slide still has its one place on an empty one.
    EXPECT_EQ(FreePlace({}, {1000, 1200}, 300, 300), (IconPlace{0, 0}));
}

TEST(IconLayoutTest, AlignAndDistributeLineTheBoxesUp) {
    const std::vector<IconBox> boxes{{100, 50, 100, 40}, {400, 300, 50, 20}, {250, 700, 80, 60}};
    const auto aligned = [&](Alignment how) {
        auto result = boxes;
        Align(result, how);
        return result;
    };
    const auto lefts = [](const std::vector<IconBox>& b) { return std::vector<int32_t>{b[0].left, b[1].left, b[2].left}; };
    const auto tops = [](const std::vector<IconBox>& b) { return std::vector<int32_t>{b[0].top, b[1].top, b[2].top}; };
    EXPECT_EQ(lefts(aligned(Alignment::Left)), (std::vector<int32_t>{100, 100, 100}));
    EXPECT_EQ(lefts(aligned(Alignment::Right)), (std::vector<int32_t>{350, 400, 370}));
    EXPECT_EQ(tops(aligned(Alignment::Top)), (std::vector<int32_t>{50, 50, 50}));
    EXPECT_EQ(tops(aligned(Alignment::Bottom)), (std::vector<int32_t>{720, 740, 700}));
    EXPECT_EQ(lefts(aligned(Alignment::HorizontalCentres)), (std::vector<int32_t>{225, 250, 235}));  // centre 275
    EXPECT_EQ(tops(aligned(Alignment::VerticalCentres)), (std::vector<int32_t>{385, 395, 375}));    // centre 405
    EXPECT_EQ(tops(aligned(Alignment::Left)), tops(boxes));  // one axis only

    auto spread = boxes;
    Distribute(spread, true);  // 100..450 holds 230 of boxes: two gaps of 60
    EXPECT_EQ(lefts(spread), (std::vector<int32_t>{100, 400, 260}));
    Distribute(spread, false);  // 50..760 holds 120: two gaps of 295
    EXPECT_EQ(tops(spread), (std::vector<int32_t>{50, 385, 700}));
    auto two = std::vector<IconBox>(boxes.begin(), boxes.begin() + 2);
    Distribute(two, true);
    EXPECT_EQ(two[1].left, 400);  // two boxes have no gap between them to share

    EXPECT_EQ(SnapToGrid(37, 10), 40);
    EXPECT_EQ(SnapToGrid(34, 10), 30);
    EXPECT_EQ(SnapToGrid(37, 1), 37);
}

TEST(IconLayoutTest, IconsSurviveTheClipboardText) {
    test::RecordingPrompt prompt;
    Icon first;
    first.SetSequenceNumber(12);
    first.SetLeft(640);
    first.SetLeaderX(17);
    first.SetLeaderColor(0x00FF00);
    first.SetIsLeaderVertical(true);
    first.SetFontName("Arial");
    first.SetFontSize(20);
    first.SetNameColor(0x123456);
    Value& cell = first.Values().Add();
    cell.SetRow(9);
    cell.SetColumn(3);
    cell.SetGeometricSymbol(4);
    Icon second;
    second.SetFeatureName("BORE 2");  // the format keeps a name in capitals
    second.SetDrawLeader(false);

    const auto back = IconsFromText(IconsToText({&first, &second}));
    ASSERT_EQ(back.size(), 2u);
    EXPECT_EQ(*back[0], first);
    EXPECT_EQ(*back[1], second);
    EXPECT_TRUE(prompt.shown.empty());

    EXPECT_TRUE(IconsFromText("a note from another program").empty());
    EXPECT_TRUE(IconsFromText("BLOCK Slide\r\nEND\r\n").empty());
    EXPECT_TRUE(IconsFromText("").empty());
    EXPECT_EQ(test::RaisedBy([&] { IconsFromText("BLOCK Icon\r\nLEFT=5\r\n"); }).Number(), ErrorNumber::LoadStructure);
    EXPECT_EQ(test::RaisedBy([&] { IconsFromText(IconsToText({&first}) + "BLOCK Slide\r\nEND\r\n"); }).Number(),
              ErrorNumber::LoadStructure);
}

}  // namespace
}  // namespace kvo

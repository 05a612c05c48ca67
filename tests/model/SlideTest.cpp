#include "model/Slide.h"

#include <gtest/gtest.h>

#include <sstream>

#include "ModelTestSupport.h"
#include "model/SlideCollection.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

using test::RaisedBy;

class SlideTest : public ::testing::Test {};

TEST_F(SlideTest, EmptyBlockGivesTheDefaultsAndOldKeysAreIgnored) {
    test::RecordingPrompt prompt;
    test::ParserOn on("BLOCK Slide\nKEY=5\nCOLOR=5\nEND\n");
    Slide slide;
    slide.LoadFromFile(on.parser);
    EXPECT_TRUE(slide.Enabled());
    EXPECT_EQ(slide.BackColor(), 0x00C4C4C4);
    int16_t left = 0, top = 0, width = 0, height = 0;
    slide.GetPicturePosition(left, top, width, height);
    EXPECT_EQ(std::vector<int16_t>({left, top, width, height}), std::vector<int16_t>({10, 10, 80, 80}));
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_EQ(prompt.shown[0].text, FormatResString(Str::LoadUnknownKey, {"Slide", "COLOR", 3}));
    EXPECT_EQ(prompt.shown[0].title, LoadResString(Str::SlideLoadTitle));
}

TEST_F(SlideTest, BlockIsWrittenAsTheFormatWantsAndReadBack) {
    Slide slide;
    slide.SetName("Front view");
    slide.SetEnabled(false);
    slide.SetPictureFile("C:\\Pictures\\front.bmp");
    slide.SetPicturePosition(5, 6, 70, 75);
    slide.SetHelpTopic(12);
    slide.Icons().Add().SetSequenceNumber(3);
    std::string text;
    slide.SaveToFile(text);
    EXPECT_EQ(text.substr(0, text.find("\t\tBLOCK Icon")),
              "\tBLOCK Slide\r\n"
              "\t\tNAME=Front view\r\n"
              "\t\tENABLED=False\r\n"
              "\t\tGRAPHIC=C:\\Pictures\\front.bmp\r\n"
              "\t\tBACKCOLOR=12895428\r\n"
              "\t\tLEFT=5\r\n"
              "\t\tTOP=6\r\n"
              "\t\tWIDTH=70\r\n"
              "\t\tHEIGHT=75\r\n"
              "\t\tHELPTOPIC=12\r\n");
    EXPECT_EQ(text.substr(text.size() - 6), "\tEND\r\n");
    test::ParserOn on(text);
    Slide back;
    back.LoadFromFile(on.parser);
    std::string again;
    back.SaveToFile(again);
    EXPECT_EQ(again, text);
}

TEST_F(SlideTest, ReaderErrors) {
    test::ParserOn wrong("BLOCK Slide\nBLOCK Value\nEND\nEND\n");
    const Error nested = RaisedBy([&] { Slide().LoadFromFile(wrong.parser); });
    EXPECT_EQ(nested.Number(), 1001);
    EXPECT_EQ(nested.Source(), LoadResString(Str::SlideLoadTitle));
    EXPECT_EQ(nested.Description(), FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", 2, "ICON", "VALUE"}));
    test::ParserOn badColour("BLOCK Slide\nBACKCOLOR=grey\nEND\n");
    EXPECT_EQ(RaisedBy([&] { Slide().LoadFromFile(badColour.parser); }).Number(), 13);
}

TEST_F(SlideTest, PictureFileMustBeAFullPath) {
    test::RecordingPrompt prompt;
    Slide slide;
    ASSERT_TRUE(slide.SetPictureFile("C:\\A\\pic.bmp"));
    const struct {
        const char* path;
        const char* message;
    } refused[] = {
        {"C:", "Invalid picture file specification"},
        {"pic.bmp", "A full path specification for a picture file is required."},
        {"\\\\server\\share\\pic.bmp", "A full path specification for a picture file is required."},
        {"..\\pic.bmp", "A full path specification for a picture file is required."},
    };
    for (const auto& r : refused) {
        prompt.shown.clear();
        EXPECT_FALSE(slide.SetPictureFile(r.path)) << r.path;
        EXPECT_EQ(slide.PictureFile(), "C:\\A\\pic.bmp");
        ASSERT_EQ(prompt.shown.size(), 1u);
        EXPECT_EQ(prompt.shown[0].text, r.message);
        EXPECT_EQ(prompt.shown[0].title, "Set Picture File");
    }
    EXPECT_TRUE(slide.SetPictureFile("/srv/pictures/pic.bmp"));
    EXPECT_TRUE(slide.SetPictureFile(""));
    EXPECT_EQ(slide.PictureFile(), "");
}

TEST_F(SlideTest, CollectionAddsInsertsMovesAndRemoves) {
    SlideCollection slides;
    slides.Add().SetName("A");
    slides.Add().SetName("B");
    slides.Insert(1).SetName("first");
    slides.Add(1).SetName("after first");
    slides.Insert().SetName("last");
    const auto names = [&] {
        std::string all;
        for (const auto& slide : slides) all += slide->Name() + ",";
        return all;
    };
    EXPECT_EQ(names(), "first,after first,A,B,last,");
    EXPECT_EQ(slides.Add().Name(), LoadResString(Str::NewSlideName));
    slides.Remove(6);
    EXPECT_EQ(slides.MoveDown(2), 3);
    EXPECT_EQ(names(), "first,A,after first,B,last,");
    EXPECT_EQ(slides.MoveUp(5), 4);
    EXPECT_EQ(names(), "first,A,after first,last,B,");
    EXPECT_EQ(slides.MoveUp(1), 0);  // nothing before the first: nothing moves
    EXPECT_EQ(slides.MoveDown(5), 6);
    EXPECT_EQ(names(), "first,A,after first,last,B,");
    EXPECT_EQ(RaisedBy([&] { slides.Insert(7); }).Number(), 9);
    EXPECT_EQ(RaisedBy([&] { slides.Remove(0); }).Number(), 9);
    slides.Terminate();
    EXPECT_EQ(names(), "B,");
}

}  // namespace
}  // namespace kvo

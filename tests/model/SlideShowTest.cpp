#include "model/ExportPackage.h"
#include "model/SlideShow.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>

#include "ModelTestSupport.h"
#include "model/FileDataCollection.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

using test::RaisedBy;
using test::TextOf;

// A show with something of everything the formats carry.
void Fill(SlideShow& show) {
    show.SetName("Housing, part 7");
    show.SetDescription("Bores and flatness");
    show.SetCustomer("Werk 2");
    show.SetHelpTopic(4);
    for (int s = 1; s <= 3; ++s) {
        Slide& slide = show.Slides().Add();
        slide.SetName("Slide " + std::to_string(s));
        slide.SetPictureFile("C:\\Pictures\\view" + std::to_string(s) + ".bmp");
        slide.SetPicturePosition(static_cast<int16_t>(s), 10, 80, 70);
        slide.SetHelpTopic(static_cast<int16_t>(s == 2 ? 0 : 10 + s));
        for (int i = 1; i <= 2; ++i) {
            Icon& icon = slide.Icons().Add();
            if (i == 1) icon.SetSequenceNumber(s * 10 + i);
            else icon.SetFeatureName("BORE" + std::to_string(s));
            icon.SetLeft(100 * i);
            icon.SetIsLeaderVertical(i == 2);
            Value& cell = icon.Values().Add();
            cell.SetCurrentValue(Variant(0.0125 * s * i));
            cell.SetTolerance(static_cast<int16_t>((s + i) % 4));
            icon.Values().Add().SetColumn(0);
        }
    }
}

class SlideShowTest : public ::testing::Test {
protected:
    SlideShow& Load(const std::string& text) {
        test::WriteFile(path_, text);
        show_.Initialize();
        show_.LoadFromFile(path_);
        return show_;
    }

    test::TempDir dir_;
    std::string path_ = dir_.File("show.pdz");
    SlideShow show_;
};

TEST_F(SlideShowTest, MinimalFileIsAnEmptyShowAndSavesAsTheExample) {
    SlideShow& show = Load("block slideshow\r\nend\r\n");
    EXPECT_EQ(show.Slides().Count(), 0);
    EXPECT_FALSE(show.Binary());
    show.SetName("Housing");
    show.SaveToFile(path_);
    EXPECT_EQ(test::ReadFile(path_),
              "BLOCK SlideShow\r\n\tNAME=Housing\r\n\tDESCRIPTION=\r\n\tCUSTOMER=\r\n\tHELPFILE=\r\n\tHELPTOPIC=0\r\nEND\r\n");
}

TEST_F(SlideShowTest, KeysInAnyCaseAndUnknownKeysReportedOnce) {
    test::RecordingPrompt prompt;
    SlideShow& show = Load("BLOCK SlideShow\nname=A\nNAME=B\nAUTHOR=x\ncustomer=C\nhelptopic=7\nEND\n");
    EXPECT_EQ(show.Name(), "B");
    EXPECT_EQ(show.Customer(), "C");
    EXPECT_EQ(show.HelpTopic(), 7);
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_EQ(prompt.shown[0].text, FormatResString(Str::LoadUnknownKey, {"SlideShow", "AUTHOR", 4}));
    EXPECT_EQ(prompt.shown[0].title, LoadResString(Str::SlideShowLoadTitle));

    // A megabyte line is quoted, not shown whole: a message box of it never opens.
    const std::string huge(1 << 20, 'A');
    prompt.shown.clear();
    Load("BLOCK SlideShow\n" + huge + "=1\nEND\n");
    ASSERT_EQ(prompt.shown.size(), 1u);
    EXPECT_LT(prompt.shown[0].text.size(), 400u);
    EXPECT_NE(prompt.shown[0].text.find(std::string(200, 'A') + "..."), std::string::npos);
    test::WriteFile(path_, "BLOCK SlideShow\nHELPTOPIC=" + huge + "\nEND\n");
    EXPECT_LT(RaisedBy([&] { SlideShow().LoadFromFile(path_); }).Description().size(), 400u);
}

TEST_F(SlideShowTest, StructuralErrorsNameTheFileAndLine) {
    const std::string title = LoadResString(Str::SlideShowLoadTitle);
    const struct {
        const char* text;
        int32_t number;
        std::string description;
    } cases[] = {
        {"NAME=x\n", 1001, FormatResString(Str::LoadNoBlock, {1})},
        {"\n\nBLOCK Slide\nEND\n", 1001, FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", 3, "SLIDESHOW", "SLIDE"})},
        {"BLOCK SlideShow\nBLOCK Icon\nEND\nEND\n", 1001,
         FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", 2, "SLIDE", "ICON"})},
        {"BLOCK SlideShow\nEND\n; fine\nBLOCK SlideShow\nEND\n", 1001, FormatResString(Str::LoadTrailingText, {4})},
        {"BLOCK SlideShow\nHELPTOPIC=abc\nEND\n", 13, ""},
        {"BLOCK SlideShow\nHELPTOPIC=99999\nEND\n", 6, ""},
        {"BLOCK SlideShow\nwhat is this\nEND\n", 5000, FormatResString(Str::ParserUnknownLine, {2})},
    };
    for (const auto& c : cases) {
        const Error error = RaisedBy([&] { Load(c.text); });
        EXPECT_EQ(error.Number(), c.number) << c.text;
        EXPECT_EQ(error.Description().rfind(path_, 0), 0u) << error.Description();
        if (!c.description.empty()) {
            EXPECT_EQ(error.Description(), path_ + ": " + c.description);
            if (c.number == 1001) {
                EXPECT_EQ(error.Source(), title);
            }
        } else {
            EXPECT_NE(error.Description().find(", line 2: "), std::string::npos) << error.Description();
        }
    }
}

TEST_F(SlideShowTest, FileErrorsAreMessagesInTheLanguageOfTheTexts) {
    SetLanguage(1031);
    InitResources();
    EXPECT_EQ(RaisedBy([&] { Load("BLOCK SlideShow\nHELPTOPIC=abc\nEND\n"); }).Description(),
              path_ + ", Zeile 2: \"abc\" ist keine ganze Zahl.");
    EXPECT_EQ(RaisedBy([&] { Load("BLOCK SlideShow\nHELPTOPIC=99999\nEND\n"); }).Description(),
              path_ + ", Zeile 2: 99999 ist zu groß oder zu klein: zulässig sind -32768 bis 32767.");
    const std::string missing = dir_.File("missing.pdz");
    EXPECT_EQ(RaisedBy([&] { show_.LoadFromFile(missing); }).Description(), "Die Datei \"" + missing + "\" ist nicht vorhanden.");
    const std::string package = dir_.File("missing.exp");
    EXPECT_EQ(RaisedBy([&] { ImportSlideShow(package, path_); }).Description(), "Die Datei \"" + package + "\" ist nicht vorhanden.");
    EXPECT_EQ(RaisedBy([&] { Load("BLOCK SlideShow\nBLOCK Slide\nBLOCK Icon\nBLOCK Value\nVALUE=abc\nEND\nEND\nEND\nEND\n"); }).Description(),
              path_ + ", Zeile 5: \"abc\" ist kein Wert (erwartet: EMPTY, NULL oder eine Art mit Wert wie DOUBLE|0.5).");

    // Writing: a text the binary format cannot hold, a target that is a folder, a file cut short.
    SlideShow show;
    show.Slides().Add().SetName(std::string(40000, 'x'));
    const std::string binary = dir_.File("show.pdx");
    EXPECT_EQ(RaisedBy([&] { show.SaveToBinary(binary); }).Description().find("Ein Text von 40000 Byte ist zu lang für das Binärformat"), 0u);
    show.Slides().Item(1).SetName("Front");
    EXPECT_EQ(RaisedBy([&] { show.SaveToBinary(dir_.Path()); }).Description(),
              "Die Datei \"" + dir_.Path() + "\" kann nicht geschrieben werden: sie ist keine gewöhnliche Datei.");
    show.SaveToBinary(binary);
    const std::string whole = test::ReadFile(binary);
    test::WriteFile(binary, whole.substr(0, whole.size() - 3));
    EXPECT_EQ(RaisedBy([&] { SlideShow().LoadFromFile(binary); }).Description(),
              "Die Datei \"" + binary + "\" endet vor ihrem Inhalt: Sie ist beschädigt oder wurde abgeschnitten.");
}

// Each block's reader names itself and the last line it read.
TEST_F(SlideShowTest, FilesEndingInsideABlockFailAtEveryDepth) {
    const struct {
        const char* text;
        const char* block;
        int line;
    } cases[] = {
        {"BLOCK SlideShow\nNAME=x\n", "SlideShow", 2},
        {"BLOCK SlideShow\nBLOCK Slide\nNAME=s\n", "Slide", 3},
        {"BLOCK SlideShow\nBLOCK Slide\nBLOCK Icon\nLEFT=5\n", "Icon", 4},
        {"BLOCK SlideShow\nBLOCK Slide\nBLOCK Icon\nBLOCK Value\nROW=2\n", "Icon", 5},  // a cell leaves it to its icon
    };
    for (const auto& c : cases) {
        const Error error = RaisedBy([&] { Load(c.text); });
        EXPECT_EQ(error.Number(), 1001) << c.text;
        EXPECT_EQ(error.Description(), path_ + ": " + FormatResString(Str::LoadEndsInsideBlock, {c.block, c.line}));
    }
}

TEST_F(SlideShowTest, ShowsRoundTripThroughBothFormats) {
    SlideShow original;
    Fill(original);
    // Longer than the binary writer gathers before it appends, between shorter items.
    original.Slides().Item(1).SetName(std::string(5000, 'n'));
    const std::string text = TextOf(original);
    original.SaveToFile(path_);
    EXPECT_EQ(test::ReadFile(path_), text);

    SlideShow fromText;
    fromText.LoadFromFile(path_);
    EXPECT_EQ(TextOf(fromText), text);
    fromText.SaveToBinary(dir_.File("show.pdx"));
    EXPECT_TRUE(fromText.Binary());

    SlideShow fromBinary;
    fromBinary.LoadFromFile(dir_.File("show.pdx"));
    EXPECT_TRUE(fromBinary.Binary());
    EXPECT_EQ(fromBinary.FileVersion(), 1);
    EXPECT_EQ(fromBinary.BinaryHeader(), "### | 1 | 22-feb-02");
    EXPECT_EQ(TextOf(fromBinary), text);
}

// The recovery copy puts the document back from its bytes: whatever the
// formats carry must come back, and the file it came from stays as it was.
TEST_F(SlideShowTest, SnapshotsRestoreTheContentsAndKeepTheFileFormat) {
    SlideShow original;
    Fill(original);
    const std::string text = TextOf(original);
    const std::string whole = original.Snapshot();

    original.SaveToBinary(path_);
    SlideShow show;
    show.LoadFromFile(path_);
    show.SetName("changed");
    show.Slides().Remove(1);
    show.Slides().Item(1).Icons().Clear();
    show.Slides().Item(1).SetBackColor(0xFF);
    show.Restore(whole, "snapshot");
    EXPECT_EQ(TextOf(show), text);
    EXPECT_TRUE(show.Binary());
    EXPECT_EQ(show.FileVersion(), 1);

    SlideShow older;
    older.Restore(whole, "snapshot");
    EXPECT_FALSE(older.Binary());
    EXPECT_EQ(older.FileVersion(), 0);
    EXPECT_EQ(TextOf(older), text);

    EXPECT_EQ(RaisedBy([&] { older.Restore("BLOCK SlideShow", "copy.pdx"); }).Number(), ErrorNumber::InvalidCall);
    EXPECT_EQ(RaisedBy([&] { older.Restore(whole.substr(0, whole.size() / 2), "copy.pdx"); }).Number(), ErrorNumber::InputPastEnd);
}

// Found by fuzzing: a binary show with a line break in a text loaded, then
// saved as text that could not be read back.
TEST_F(SlideShowTest, LineBreaksOnlyTheBinaryFormCanHoldAreRefusedBeforeATextSave) {
    const auto withBreak = [](SlideShow& show, int where) {
        Fill(show);
        Slide& slide = show.Slides().Item(2);
        Icon& icon = slide.Icons().Item(2);
        switch (where) {
            case 0: show.SetDescription("Bore\r\nflange"); return "DESCRIPTION";
            case 1: slide.SetName("Bore\nflange"); return "NAME";
            case 2: icon.SetFeatureName("Bore\nflange"); return "FEATURENAME";
            default: icon.Values().Item(1).SetCurrentValue(Variant(std::string("Bore\r\nflange"))); return "VALUE";
        }
    };
    for (int where = 0; where < 4; ++where) {
        SlideShow show;
        const std::string key = withBreak(show, where);
        show.SaveToBinary(dir_.File("show.pdx"));
        SlideShow loaded;
        loaded.LoadFromFile(dir_.File("show.pdx"));
        test::WriteFile(path_, "the earlier save");
        const Error error = test::RaisedBy([&] { loaded.SaveToFile(path_); });
        EXPECT_EQ(error.Number(), 1007) << key;
        EXPECT_EQ(error.Description().rfind(key + " holds a line break", 0), 0u) << error.Description();
        EXPECT_EQ(error.Description().find_first_of("\r\n"), std::string::npos) << error.Description();
        EXPECT_EQ(test::ReadFile(path_), "the earlier save");
        EXPECT_TRUE(loaded.Binary());
    }
    // A lone carriage return ends no line when read, so it is written as it is.
    SlideShow show;
    show.SetDescription("\rBore\r flange\r");
    show.SaveToFile(path_);
    SlideShow loaded;
    loaded.LoadFromFile(path_);
    EXPECT_EQ(loaded.Description(), "\rBore\r flange\r");
}

TEST_F(SlideShowTest, EmptyShowInBinaryHasItsExactBytes) {
    SlideShow show;
    show.SaveToBinary(path_);
    const std::string header = "### | 1 | 22-feb-02";
    const std::string expected = std::string("PDXFILE") + static_cast<char>(header.size()) + '\0' + header +
                                 std::string(8, '\0') +  // name, description, customer, help file
                                 std::string(2, '\0') +  // help topic
                                 std::string(4, '\0');   // no slides
    EXPECT_EQ(test::ReadFile(path_), expected);
}

TEST_F(SlideShowTest, OlderBinaryFilesHaveNoHeaderAndNoTolerances) {
    std::string file = "PDXFILE";
    const auto text = [&](const std::string& s) {
        file += static_cast<char>(s.size());
        file += '\0';
        file += s;
    };
    text("Old show");  // no header: the name comes first
    text("desc");
    text("cust");
    text("");
    file += std::string("\x05\x00", 2);                 // help topic 5
    file += std::string("\x01\x00\x00\x00", 4);         // one slide
    text("S1");
    file += std::string("\xFF\xFF", 2);                 // enabled
    text("");
    file += std::string("\xC4\xC4\xC4\x00", 4);         // back colour
    file += std::string("\x0A\x00\x0A\x00\x50\x00\x50\x00\x00\x00", 10);
    file += std::string("\x00\x00\x00\x00", 4);         // no icons
    test::WriteFile(path_, file);
    SlideShow show;
    show.LoadFromFile(path_);
    EXPECT_EQ(show.FileVersion(), 0);
    EXPECT_EQ(show.BinaryHeader(), "");
    EXPECT_EQ(show.Name(), "Old show");
    EXPECT_EQ(show.HelpTopic(), 5);
    ASSERT_EQ(show.Slides().Count(), 1);
    EXPECT_EQ(show.Slides().Item(1).Name(), "S1");
}

TEST_F(SlideShowTest, TruncatedBinaryFilesFailClearly) {
    SlideShow original;
    Fill(original);
    original.SaveToBinary(path_);
    const std::string bytes = test::ReadFile(path_);
    for (std::size_t cut : {std::size_t{8}, std::size_t{40}, bytes.size() / 2, bytes.size() - 1}) {
        test::WriteFile(path_, bytes.substr(0, cut));
        SlideShow show;
        const Error error = RaisedBy([&] { show.LoadFromFile(path_); });
        EXPECT_EQ(error.Number(), 62) << cut;
        EXPECT_NE(error.Description().find(path_), std::string::npos);
    }
    // A count no file could hold reserves nothing for it: the load ends at the end of the file.
    SlideShow empty;
    empty.SaveToBinary(path_);
    std::string damaged = test::ReadFile(path_);
    damaged.replace(damaged.size() - 4, 4, "\xFF\xFF\xFF\x7F");
    test::WriteFile(path_, damaged + "S");
    SlideShow show;
    EXPECT_EQ(RaisedBy([&] { show.LoadFromFile(path_); }).Number(), 62);
}

TEST_F(SlideShowTest, CursorMovesAndWrapsToSlidesOutOfTolerance) {
    SlideShow show;
    for (int16_t state : {0, 3, 0, 2}) show.Slides().Add().Icons().Add().Values().Add().SetTolerance(state);
    EXPECT_FALSE(show.IsFirstSlide());
    EXPECT_FALSE(show.IsLastSlide());
    EXPECT_EQ(show.ActiveHelpTopic(), 3);
    show.MoveNextOutOfTol();
    EXPECT_EQ(show.CurrentPosition(), 2);
    show.MoveNextOutOfTol();
    EXPECT_EQ(show.CurrentPosition(), 4);
    EXPECT_TRUE(show.IsLastSlide());
    show.MoveNextOutOfTol();  // wraps to the first one out of tolerance
    EXPECT_EQ(show.CurrentPosition(), 2);
    show.MoveNext();
    show.MoveNext();
    show.MoveNext();
    EXPECT_EQ(show.CurrentPosition(), 4);
    show.MovePrevious();
    EXPECT_EQ(show.CurrentPosition(), 3);
    show.Slides().Item(4).Icons().Item(1).Values().Item(1).SetTolerance(0);
    show.MoveNextOutOfTol();
    EXPECT_EQ(show.CurrentPosition(), 2);
    show.Slides().Item(2).SetHelpTopic(9);
    EXPECT_EQ(show.ActiveHelpTopic(), 9);
    show.MoveNextOutOfTol();  // only the current slide is out of tolerance: nothing moves
    EXPECT_EQ(show.CurrentPosition(), 2);
    show.MovePrevious();
    EXPECT_TRUE(show.IsFirstSlide());
    show.MovePrevious();
    EXPECT_EQ(show.CurrentPosition(), 1);
    show.SetHelpTopic(6);
    EXPECT_EQ(show.ActiveHelpTopic(), 6);
}

TEST_F(SlideShowTest, AMissingHelpFileStopsTheFileList) {
    SlideShow show;
    Fill(show);
    show.SetHelpFile(dir_.File("show.chm"));
    const Error missingHelp = RaisedBy([&] {
        FileDataCollection files;
        show.BuildFileList(files);
    });
    EXPECT_EQ(missingHelp.Number(), 53);
    EXPECT_EQ(missingHelp.Source(), "SlideShow");
    EXPECT_EQ(missingHelp.Description(), "File not found '" + dir_.File("show.chm") + "'.");
}

// A save that fails half-way (here: a file size limit, like a full disk) leaves
// the previous file as it was, in both formats.
TEST_F(SlideShowTest, FailedSaveLeavesThePreviousFileIntact) {
    SlideShow small;
    small.SetName("small");
    small.SaveToFile(path_);
    small.SaveToBinary(dir_.File("show.pdx"));
    const std::string oldText = test::ReadFile(path_);
    const std::string oldBinary = test::ReadFile(dir_.File("show.pdx"));

    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{1000, 1000};
        setrlimit(RLIMIT_FSIZE, &limit);
        SlideShow large;
        Fill(large);
        for (int i = 0; i < 20; ++i) large.Slides().Add().Icons().Add();
        int failures = 0;
        try {
            large.SaveToFile(path_);
        } catch (const Error&) {
            ++failures;
        }
        try {
            large.SaveToBinary(dir_.File("show.pdx"));
        } catch (const Error&) {
            ++failures;
        }
        _exit(failures);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 2);
    EXPECT_EQ(test::ReadFile(path_), oldText);
    EXPECT_EQ(test::ReadFile(dir_.File("show.pdx")), oldBinary);

    SlideShow overlong;  // a text the binary format cannot count
    overlong.SetName(std::string(40000, 'x'));
    EXPECT_EQ(RaisedBy([&] { overlong.SaveToBinary(dir_.File("show.pdx")); }).Number(), 6);
    EXPECT_EQ(test::ReadFile(dir_.File("show.pdx")), oldBinary);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir_.Path()), {}), 2);  // no temporary left
}

TEST_F(SlideShowTest, AnyLegalNameSavesAndTemporariesOfKilledSavesGoAfterADay) {
    // The temporary name of a 250-byte name would be longer than any name may be.
    const std::string longName = dir_.File(std::string(246, 'n') + ".pdz");
    SlideShow show;
    show.SetName("long");
    show.SaveToFile(longName);
    SlideShow reread;
    reread.LoadFromFile(longName);
    EXPECT_EQ(reread.Name(), "long");

    // In a folder this process has not written to yet.
    std::filesystem::create_directory(dir_.File("shows"));
    const std::string stale = dir_.File("shows/.show.pdz.tmp-AbC123");
    const std::string fresh = dir_.File("shows/.show.pdz.tmp-XyZ789");
    const std::string someoneElses = dir_.File("shows/.notes.tmp-old");
    for (const auto& path : {stale, fresh, someoneElses}) test::WriteFile(path, "left behind");
    const auto twoDaysAgo = std::filesystem::file_time_type::clock::now() - std::chrono::hours(48);
    std::filesystem::last_write_time(stale, twoDaysAgo);
    std::filesystem::last_write_time(someoneElses, twoDaysAgo);
    show.SaveToFile(dir_.File("shows/show.pdz"));
    EXPECT_FALSE(std::filesystem::exists(stale));
    EXPECT_TRUE(std::filesystem::exists(fresh));  // a save that may still be going on
    EXPECT_TRUE(std::filesystem::exists(someoneElses));
}

// Killed while saving over and over: the file is always one whole save or the other.
TEST_F(SlideShowTest, KilledSaveNeverLeavesAHalfWrittenFile) {
    SlideShow show;
    Fill(show);
    for (int i = 0; i < 200; ++i) show.Slides().Add().Icons().Add().Values().Add();
    show.SaveToFile(path_);
    const std::string whole = test::ReadFile(path_);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (;;) show.SaveToFile(path_);
    }
    usleep(30000);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_EQ(test::ReadFile(path_), whole);
}

}  // namespace
}  // namespace kvo

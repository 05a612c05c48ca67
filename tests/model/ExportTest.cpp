#include "model/ExportFile.h"

#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <vector>

#include "ModelTestSupport.h"
#include "model/ExportPackage.h"
#include "model/FileDataCollection.h"
#include "model/SlideShow.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

using test::RaisedBy;

std::string Long(int32_t value) {
    std::string bytes(4, '\0');
    for (int i = 0; i < 4; ++i) bytes[static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
    return bytes;
}

std::string String(const std::string& text) { return std::string{static_cast<char>(text.size() & 0xFF), static_cast<char>(text.size() >> 8)} + text; }

class ExportTest : public ::testing::Test {
protected:
    // A show in dir/shows that refers to two pictures in dir/pictures.
    std::string MakeShow() {
        test::WriteFile(Picture("front.bmp"), std::string(16385, 'F'));
        test::WriteFile(Picture("top.bmp"), std::string(16384, 'T'));
        SlideShow show;
        show.SetName("Housing");
        show.Slides().Add().SetPictureFile(Picture("front.bmp"));
        show.Slides().Add().SetPictureFile(Picture("top.bmp"));
        show.Slides().Add().SetPictureFile(Picture("front.bmp"));  // twice in the show, once in the package
        const std::string path = dir_.File("shows/Line1.pdz");
        std::filesystem::create_directories(dir_.File("shows"));
        show.SaveToFile(path);
        return path;
    }
    std::string Picture(const std::string& name) const { return dir_.File("pictures/" + name); }

    test::TempDir dir_;
    std::string package_ = dir_.File("Line1.exp");
};

TEST_F(ExportTest, PackageLayoutWithChunkBoundaries) {
    test::WriteFile(dir_.File("empty.bin"), "");
    test::WriteFile(dir_.File("exact.bin"), std::string(16384, 'a'));
    test::WriteFile(dir_.File("plus1.bin"), std::string(16385, 'b'));
    {
        ExportFile package;
        package.OpenForWrite(package_, "C:\\Shows\\Line1.pdz", "for station 2");
        EXPECT_FALSE(package.Timestamp().empty());
        package.WriteFile(dir_.File("empty.bin"));
        FileDataCollection files;
        files.Add(dir_.File("exact.bin"));
        files.Add(dir_.File("plus1.bin"));
        files.Export(package);
    }
    const std::string bytes = test::ReadFile(package_);
    ExportFile reader;
    reader.OpenForRead(package_);
    const std::string expected = "KVTEXPRT" + String("C:\\Shows\\Line1.pdz") + String(reader.Timestamp()) +
                                 String("for station 2") + Long(0) + Long(2) + String(dir_.File("exact.bin")) +
                                 Long(16384) + std::string(16384, 'a') + String(dir_.File("plus1.bin")) + Long(16385) +
                                 std::string(16385, 'b');
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(reader.Name(), "C:\\Shows\\Line1.pdz");
    EXPECT_EQ(reader.Comment(), "for station 2");
    reader.ReadFile(dir_.File("out/empty.bin"));
    EXPECT_EQ(test::ReadFile(dir_.File("out/empty.bin")), "");
    EXPECT_EQ(reader.ReadLong(), 2);
    EXPECT_EQ(reader.ReadString(), dir_.File("exact.bin"));
    reader.ReadFile(dir_.File("out/exact.bin"));
    EXPECT_EQ(test::ReadFile(dir_.File("out/exact.bin")), std::string(16384, 'a'));
}

TEST_F(ExportTest, PackageErrorsKeepTheirNumbersAndSources) {
    ExportFile package;
    const Error notOpen = RaisedBy([&] { package.WriteLong(1); });
    EXPECT_EQ(notOpen.Number(), 1004);
    EXPECT_EQ(notOpen.Source(), "Export.Write");
    EXPECT_EQ(notOpen.Description(), LoadResString(Str::PackageNotOpenForWrite));
    const Error notReading = RaisedBy([&] { package.ReadLong(); });
    EXPECT_EQ(notReading.Number(), 1004);
    EXPECT_EQ(notReading.Source(), "Export.Read");

    package.OpenForWrite(package_, "n", "c");
    const Error twice = RaisedBy([&] { package.OpenForWrite(package_, "n", "c"); });
    EXPECT_EQ(twice.Number(), 1003);
    EXPECT_EQ(twice.Source(), "OpenForWrite");
    EXPECT_EQ(RaisedBy([&] { package.OpenForRead(package_); }).Source(), "Export.Read");
    EXPECT_EQ(RaisedBy([&] { package.ReadString(); }).Number(), 1004);  // open, but for writing
    package.FileClose();

    test::WriteFile(dir_.File("show.pdz"), "BLOCK SlideShow\r\nEND\r\n");
    ExportFile wrong;
    const Error magic = RaisedBy([&] { wrong.OpenForRead(dir_.File("show.pdz")); });
    EXPECT_EQ(magic.Number(), 1005);
    EXPECT_EQ(magic.Source(), "Export.Read");
    EXPECT_EQ(magic.Description(), FormatResString(Str::PackageBadMagic, {dir_.File("show.pdz")}));
    test::WriteFile(dir_.File("short"), "KVT");
    EXPECT_EQ(RaisedBy([&] { ExportFile().OpenForRead(dir_.File("short")); }).Number(), 1005);
}

TEST_F(ExportTest, FileListsIgnoreCaseAndDuplicates) {
    FileDataCollection files;
    files.Add("C:\\A\\pic.bmp");
    files.Add("c:\\a\\PIC.BMP");
    EXPECT_EQ(files.Count(), 1);
    EXPECT_EQ(files.FindNewFileName("C:\\A\\PIC.bmp"), "");
    EXPECT_EQ(files.FindNewFileName("C:\\B\\other.bmp"), "");
    EXPECT_EQ(DefaultPackagePath("C:\\Shows\\Line1.pdz"), "C:\\Shows\\Line1.exp");
    EXPECT_EQ(DefaultPackagePath("/srv/Line1.PDX"), "/srv/Line1.exp");
    EXPECT_EQ(DefaultPackagePath("/srv/Line1.txt"), "/srv/Line1.txt.exp");
    EXPECT_EQ(DefaultPackagePath("pdz"), "pdz.exp");
}

TEST_F(ExportTest, ExistingFilesAreKeptOrReplacedAsTheUserAnswers) {
    const std::string show = MakeShow();
    ExportSlideShow(show, package_, "");
    test::WriteFile(Picture("front.bmp"), "mine");
    test::WriteFile(Picture("top.bmp"), "mine too");

    test::RecordingPrompt prompt;
    prompt.answers = {OverwriteAnswer::No, OverwriteAnswer::Yes};
    const std::string target = dir_.File("station2/Line1.pdz");
    const FileDataCollection landed = ImportSlideShow(package_, target).value();
    EXPECT_EQ(prompt.asked, std::vector<std::string>({Picture("front.bmp"), Picture("top.bmp")}));
    EXPECT_EQ(test::ReadFile(Picture("front.bmp")), "mine");
    EXPECT_EQ(test::ReadFile(Picture("Copy(1) of front.bmp")), std::string(16385, 'F'));
    EXPECT_EQ(landed.FindNewFileName(Picture("front.bmp")), Picture("Copy(1) of front.bmp"));
    EXPECT_EQ(test::ReadFile(Picture("top.bmp")), std::string(16384, 'T'));
    SlideShow imported;
    imported.LoadFromFile(target);
    EXPECT_EQ(imported.Slides().Item(1).PictureFile(), Picture("Copy(1) of front.bmp"));

    prompt.asked.clear();
    prompt.answers = {OverwriteAnswer::NoToAll};
    ImportSlideShow(package_, target);
    EXPECT_EQ(prompt.asked.size(), 1u);  // "to all" asks once
    EXPECT_TRUE(std::filesystem::exists(Picture("Copy(2) of front.bmp")));
    EXPECT_TRUE(std::filesystem::exists(Picture("Copy(1) of top.bmp")));

    prompt.asked.clear();
    prompt.answers = {OverwriteAnswer::YesToAll};
    ImportSlideShow(package_, target);
    EXPECT_EQ(prompt.asked.size(), 1u);
    EXPECT_EQ(test::ReadFile(Picture("front.bmp")), std::string(16385, 'F'));
    EXPECT_FALSE(std::filesystem::exists(Picture("Copy(3) of front.bmp")));
}

TEST_F(ExportTest, MissingPicturesStopTheExportBeforeThePackageIsTouched) {
    const std::string show = MakeShow();
    test::WriteFile(package_, "old package");
    std::filesystem::remove(Picture("top.bmp"));
    const Error error = RaisedBy([&] { ExportSlideShow(show, package_, ""); });
    EXPECT_EQ(error.Number(), 53);
    EXPECT_EQ(error.Description(), "File not found '" + Picture("top.bmp") + "'.");
    EXPECT_EQ(test::ReadFile(package_), "old package");
}

// A package with an empty show followed by the given picture entries, each holding "x".
std::string CraftedPackage(const std::vector<std::string>& entries) {
    const test::TempDir scratch;
    SlideShow().SaveToFile(scratch.File("empty.pdz"));
    const std::string show = test::ReadFile(scratch.File("empty.pdz"));
    std::string bytes = "KVTEXPRT" + String("/shows/Line1.pdz") + String("2026-11-21 10:00:00") + String("") +
                        Long(static_cast<int32_t>(show.size())) + show + Long(static_cast<int32_t>(entries.size()));
    for (const auto& entry : entries) bytes += String(entry) + Long(1) + "x";
    return bytes;
}

TEST_F(ExportTest, EntriesThatWouldWriteElsewhereAreRefusedBeforeAnythingIsWritten) {
    std::filesystem::create_directories(dir_.File("elsewhere"));
    std::filesystem::create_directory_symlink(dir_.File("elsewhere"), dir_.File("link"));
    const std::string good = dir_.File("pictures/good.bmp");
    const struct {
        std::string entry;
        std::string why;
        std::string shown;
    } cases[] = {
        {"pictures/a.bmp", LoadResString(Str::PackageEntryNotFull), "pictures/a.bmp"},
        {"C:\\Parts\\a.bmp", LoadResString(Str::PackageEntryNotFull), "C:\\Parts\\a.bmp"},
        {dir_.File("pictures/../../a.bmp"), LoadResString(Str::PackageEntryParent), dir_.File("pictures/../../a.bmp")},
        {dir_.File(std::string("a\0b.bmp", 7)), LoadResString(Str::PackageEntryControl), dir_.File("a\\x00b.bmp")},
        {dir_.File("a\nb.bmp"), LoadResString(Str::PackageEntryControl), dir_.File("a\\x0Ab.bmp")},
        {dir_.File("link/a.bmp"), FormatResString(Str::PackageEntryLink, {dir_.File("link")}), dir_.File("link/a.bmp")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        test::WriteFile(package_, CraftedPackage({good, c.entry}));
        const std::string target = dir_.File("station2/Line1.pdz");
        const Error error = RaisedBy([&] { ImportSlideShow(package_, target); });
        EXPECT_EQ(error.Number(), 1006);
        EXPECT_EQ(error.Description(), FormatResString(Str::PackageEntryRefused, {c.shown, c.why}));
        // Neither the show, nor the good entry before the bad one, nor anything behind the link.
        EXPECT_FALSE(std::filesystem::exists(target));
        EXPECT_FALSE(std::filesystem::exists(good));
        EXPECT_TRUE(std::filesystem::is_empty(dir_.File("elsewhere")));
    }
    // A link inside the folder an entry names is as bad as one on its way.
    std::filesystem::create_directories(dir_.File("pictures"));
    std::filesystem::create_symlink(dir_.File("elsewhere/victim"), good);
    test::WriteFile(package_, CraftedPackage({good}));
    EXPECT_EQ(RaisedBy([&] { ImportSlideShow(package_, dir_.File("station2/Line1.pdz")); }).Number(), 1006);
    EXPECT_TRUE(std::filesystem::is_empty(dir_.File("elsewhere")));
    // The same layout with ordinary paths imports.
    std::filesystem::remove(good);
    test::RecordingPrompt prompt;
    ImportSlideShow(package_, dir_.File("station2/Line1.pdz"));
    EXPECT_EQ(test::ReadFile(good), "x");
}

// Every file and folder below root with its bytes ("/" for a folder): what an
// import that fails must leave exactly as it was.
std::map<std::string, std::string> Tree(const std::string& root) {
    std::map<std::string, std::string> tree;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string path = entry.path().string();
        tree[path] = entry.is_regular_file() ? test::ReadFile(path) : entry.is_directory() ? "/" : "(other)";
    }
    return tree;
}

TEST_F(ExportTest, AFailedImportLeavesEveryExistingFileAsItWas) {
    const std::string show = MakeShow();
    ExportSlideShow(show, package_, "");
    const std::string good = test::ReadFile(package_);
    const std::string showBytes = test::ReadFile(show);
    const std::size_t showStart = good.find(showBytes);
    ASSERT_NE(showStart, std::string::npos);
    std::string randomShow = good.substr(0, showStart - 4) + Long(5000);
    std::mt19937 random(7);
    for (int i = 0; i < 5000; ++i) randomShow += static_cast<char>(random() % 256);
    randomShow += good.substr(showStart + showBytes.size());
    const struct {
        const char* what;
        std::string bytes;
    } packages[] = {
        {"a show of random bytes", randomShow},
        {"cut inside the show", good.substr(0, showStart + showBytes.size() / 2)},
        {"cut inside the last picture", good.substr(0, good.size() - 100)},
    };
    // The user's show in the target's place, and the user's own pictures.
    const std::string target = dir_.File("pictures/Line1.pdz");
    test::WriteFile(target, "the user's show");
    test::WriteFile(Picture("front.bmp"), "the user's front");
    const auto before = Tree(dir_.File("pictures"));
    for (const auto& p : packages) {
        SCOPED_TRACE(p.what);
        test::WriteFile(package_, p.bytes);
        test::RecordingPrompt prompt;
        prompt.answers = {OverwriteAnswer::YesToAll};
        const Error error = RaisedBy([&] { ImportSlideShow(package_, target); });
        EXPECT_NE(error.Number(), 0);
        if (&p == &packages[2]) {
            EXPECT_EQ(error.Number(), 62);
            EXPECT_NE(error.Description().find(Picture("top.bmp")), std::string::npos) << error.Description();
        }
        if (&p == &packages[0]) {  // the package is named, not the user's show
            EXPECT_EQ(error.Description().rfind(FormatResString(Str::ImportShowUnreadable, {package_, ""}), 0), 0u)
                << error.Description();
        }
        EXPECT_EQ(Tree(dir_.File("pictures")), before);
    }
    // A picture that cannot be written (here: a folder stands where it goes).
    test::WriteFile(package_, good);
    std::filesystem::remove(Picture("top.bmp"));
    std::filesystem::create_directory(Picture("top.bmp"));
    const auto withFolder = Tree(dir_.File("pictures"));
    test::RecordingPrompt prompt;
    prompt.answers = {OverwriteAnswer::YesToAll};
    const Error error = RaisedBy([&] { ImportSlideShow(package_, target); });
    EXPECT_EQ(error.Description(), FormatResString(Str::ImportNotOrdinaryFile, {Picture("top.bmp")}));
    EXPECT_EQ(Tree(dir_.File("pictures")), withFolder);
    // A disk that fills up while the pictures are written.
    std::filesystem::remove(Picture("top.bmp"));
    const auto beforeFull = Tree(dir_.File("pictures"));
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit limit{10000, 10000};
        setrlimit(RLIMIT_FSIZE, &limit);
        test::RecordingPrompt childPrompt;
        childPrompt.answers = {OverwriteAnswer::YesToAll};
        try {
            ImportSlideShow(package_, target);
        } catch (const Error& e) {
            _exit(e.Description().find(Picture("front.bmp")) != std::string::npos ? 3 : 4);
        }
        _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_EQ(WEXITSTATUS(status), 3);
    EXPECT_TRUE(Tree(dir_.File("pictures")) == beforeFull);
}

TEST_F(ExportTest, AnImportKilledAnywhereLeavesTheOldFilesOrTheCompleteNewOnes) {
    // Pictures large enough that an import takes a while to kill.
    test::WriteFile(Picture("front.bmp"), std::string(3 << 20, 'F'));
    test::WriteFile(Picture("top.bmp"), std::string(2 << 20, 'T'));
    SlideShow source;
    source.Slides().Add().SetPictureFile(Picture("front.bmp"));
    source.Slides().Add().SetPictureFile(Picture("top.bmp"));
    source.SaveToFile(dir_.File("Line1.pdz"));
    ExportSlideShow(dir_.File("Line1.pdz"), package_, "");
    const std::string target = dir_.File("pictures/Line1.pdz");
    test::RecordingPrompt prompt;
    prompt.answers = {OverwriteAnswer::YesToAll};
    ImportSlideShow(package_, target);
    const auto complete = Tree(dir_.File("pictures"));
    const std::map<std::string, std::string> old = {
        {target, "old show"}, {Picture("front.bmp"), "old front"}, {Picture("top.bmp"), "old top"}};

    const char* runsGiven = std::getenv("KVO_KILL_RUNS");
    const int runs = runsGiven != nullptr ? std::atoi(runsGiven) : 30;
    std::mt19937 random(11);
    int mixed = 0;
    for (int run = 0; run < runs; ++run) {
        for (const auto& [path, bytes] : old) test::WriteFile(path, bytes);
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            test::RecordingPrompt childPrompt;
            childPrompt.answers = {OverwriteAnswer::YesToAll};
            ImportSlideShow(package_, target);
            _exit(0);
        }
        usleep(static_cast<useconds_t>(random() % 40000));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        for (const auto& [path, bytes] : old) {
            const std::string now = test::ReadFile(path);
            if (now != bytes && now != complete.at(path)) ++mixed;
        }
        for (const auto& entry : std::filesystem::directory_iterator(dir_.File("pictures")))
            if (entry.path().filename().string().front() == '.') std::filesystem::remove(entry.path());  // a killed import's
    }
    EXPECT_EQ(mixed, 0) << "of " << runs << " killed imports";
}

TEST_F(ExportTest, WhatIsNoOrdinaryFileIsNeverReplacedAndCaseMakesTwoFiles) {
    // Two pictures whose names differ only in case are two files here.
    test::WriteFile(Picture("Front.bmp"), "upper");
    test::WriteFile(Picture("front.bmp"), "lower");
    SlideShow source;
    source.Slides().Add().SetPictureFile(Picture("Front.bmp"));
    source.Slides().Add().SetPictureFile(Picture("front.bmp"));
    source.SaveToFile(dir_.File("Line1.pdz"));
    ExportSlideShow(dir_.File("Line1.pdz"), package_, "");
    EXPECT_EQ(ReadPackageInfo(package_).files.size(), 2u);
    std::filesystem::remove_all(dir_.File("pictures"));
    test::RecordingPrompt prompt;
    const std::string target = dir_.File("station2/Line1.pdz");
    ImportSlideShow(package_, target);
    EXPECT_EQ(test::ReadFile(Picture("Front.bmp")), "upper");
    EXPECT_EQ(test::ReadFile(Picture("front.bmp")), "lower");
    SlideShow imported;
    imported.LoadFromFile(target);
    EXPECT_EQ(imported.Slides().Item(1).PictureFile(), Picture("Front.bmp"));
    EXPECT_EQ(imported.Slides().Item(2).PictureFile(), Picture("front.bmp"));

    // A pipe and an empty folder where the pictures go: asked about, kept on
    // No to All, and never replaced on Yes.
    std::filesystem::remove(Picture("Front.bmp"));
    std::filesystem::remove(Picture("front.bmp"));
    ASSERT_EQ(mkfifo(Picture("Front.bmp").c_str(), 0600), 0);
    std::filesystem::create_directory(Picture("front.bmp"));
    std::filesystem::remove(target);
    prompt.answers = {OverwriteAnswer::NoToAll};
    ImportSlideShow(package_, target);
    EXPECT_EQ(prompt.asked, std::vector<std::string>({Picture("Front.bmp")}));
    EXPECT_TRUE(std::filesystem::is_fifo(Picture("Front.bmp")));
    EXPECT_TRUE(std::filesystem::is_empty(Picture("front.bmp")));
    EXPECT_EQ(test::ReadFile(Picture("Copy(1) of Front.bmp")), "upper");
    EXPECT_EQ(test::ReadFile(Picture("Copy(1) of front.bmp")), "lower");
    prompt.answers = {OverwriteAnswer::Yes};
    EXPECT_EQ(RaisedBy([&] { ImportSlideShow(package_, target); }).Description(),
              FormatResString(Str::ImportNotOrdinaryFile, {Picture("Front.bmp")}));
    EXPECT_TRUE(std::filesystem::is_fifo(Picture("Front.bmp")));
}

// On the other station the pictures are not there yet: they land where they
// were, but outside the show's folder only when the user allows it.
TEST_F(ExportTest, ExportAndImportMoveAShowWithItsPicturesAndAskBeforeWritingOutsideItsFolder) {
    const std::string show = MakeShow();
    ExportSlideShow(show, package_, "to station 2");
    const PackageInfo info = ReadPackageInfo(package_);
    EXPECT_EQ(info.name, show);
    EXPECT_EQ(info.comment, "to station 2");
    ASSERT_EQ(info.files.size(), 2u);
    EXPECT_EQ(info.files[0].path, Picture("front.bmp"));
    EXPECT_EQ(info.files[0].bytes, 16385);

    std::filesystem::remove_all(dir_.File("pictures"));
    test::RecordingPrompt prompt;
    prompt.allowFiles = false;
    const std::string target = dir_.File("station2/Line1.pdz");
    EXPECT_FALSE(ImportSlideShow(package_, target).has_value());
    ASSERT_EQ(prompt.confirmed.size(), 1u);
    EXPECT_EQ(prompt.confirmed[0].files, std::vector<std::string>({Picture("front.bmp"), Picture("top.bmp")}));
    EXPECT_FALSE(std::filesystem::exists(dir_.File("station2")));
    EXPECT_FALSE(std::filesystem::exists(dir_.File("pictures")));
    prompt.allowFiles = true;
    const FileDataCollection landed = ImportSlideShow(package_, target).value();
    EXPECT_TRUE(prompt.asked.empty());
    EXPECT_EQ(test::ReadFile(Picture("front.bmp")), std::string(16385, 'F'));
    EXPECT_EQ(landed.FindNewFileName(Picture("top.bmp")), Picture("top.bmp"));
    SlideShow imported;
    imported.LoadFromFile(target);
    EXPECT_EQ(imported.Slides().Item(2).PictureFile(), Picture("top.bmp"));

    // Into the pictures' own folder, or one above it, nothing is asked.
    std::filesystem::remove_all(dir_.File("pictures"));
    prompt.confirmed.clear();
    ASSERT_TRUE(ImportSlideShow(package_, Picture("Line1.pdz")).has_value());
    ASSERT_TRUE(ImportSlideShow(package_, dir_.File("Line1.pdz")).has_value());
    EXPECT_TRUE(prompt.confirmed.empty());
    EXPECT_EQ(test::ReadFile(Picture("top.bmp")), std::string(16384, 'T'));
}

}  // namespace
}  // namespace kvo

#include "services/Paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "TestSupport.h"

namespace kvo {
namespace {

TEST(Paths, JoinPathResolvesLeadingDotsAndKeepsFullPaths) {
    const struct {
        const char* directory;
        const char* relative;
        const char* expected;
    } cases[] = {
        {"E:\\A\\B", "..\\x.dll", "E:\\A\\x.dll"},
        {"E:\\A", "D:\\y", "D:\\y"},
        {"E:\\A", ".\\x", "E:\\A\\x"},
        {"E:\\A\\", "x", "E:\\A\\x"},
        {"E:\\A\\B", "..\\..\\x", "E:\\x"},
        {"E:\\", "..\\x", "E:\\x"},
        {"E:\\A", ".x", "E:\\A\\x"},  // a lone leading "." is dropped
        {"  E:\\A  ", "  x  ", "E:\\A\\x"},
        {"C:\\Tessiva", "Bin", "C:\\Tessiva\\Bin"},
        {"/opt/kvo/bin", "../share/x.str", "/opt/kvo/share/x.str"},
        {"/opt/kvo/bin/", "./x", "/opt/kvo/bin/x"},
        {"/a", "/etc/x", "/etc/x"},
        {"/a", "../../x", "/x"},
        {"C:\\Shows/Line1", "..\\x", "C:\\Shows\\x"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(JoinPath(c.directory, c.relative), c.expected) << c.directory << " + " << c.relative;
}

TEST(Paths, AddBackslashKeepsTheSeparatorStyleOfThePath) {
    EXPECT_EQ(AddBackslash("C:\\dir  "), "C:\\dir\\");
    EXPECT_EQ(AddBackslash("C:\\dir\\"), "C:\\dir\\");
    EXPECT_EQ(AddBackslash("C:"), "C:\\");
    EXPECT_EQ(AddBackslash("/usr/lib"), "/usr/lib/");
    EXPECT_EQ(AddBackslash("/"), "/");
    EXPECT_EQ(AddBackslash("/usr/lib/"), "/usr/lib/");
}

TEST(Paths, FullPathsAndFileNames) {
    EXPECT_TRUE(IsFullPath("C:\\x.bmp"));
    EXPECT_TRUE(IsFullPath("/home/x.bmp"));
    EXPECT_FALSE(IsFullPath("x.bmp"));
    EXPECT_FALSE(IsFullPath("..\\x.bmp"));
    EXPECT_EQ(FileNamePart("C:\\Shows\\Line1.pdz"), "Line1.pdz");
    EXPECT_EQ(FileNamePart("/srv/shows/a.pdx"), "a.pdx");
    EXPECT_EQ(FileNamePart("plain"), "plain");
}

// The user's folders follow the desktop's variables, but only a full path in
// one counts: a relative one would land wherever the editor was started.
TEST(Paths, UserFoldersAndAbsolutePaths) {
    {
        test::ScopedEnv state("XDG_STATE_HOME", "/var/tmp/state");
        test::ScopedEnv home("HOME", "/home/quality");
        EXPECT_EQ(UserBaseDirectory("XDG_STATE_HOME", ".local/state"), "/var/tmp/state");
    }
    {
        test::ScopedEnv state("XDG_STATE_HOME", "state");
        test::ScopedEnv home("HOME", "/home/quality");
        EXPECT_EQ(UserBaseDirectory("XDG_STATE_HOME", ".local/state"), "/home/quality/.local/state");
    }
    {
        test::ScopedEnv state("XDG_STATE_HOME", "");
        test::ScopedEnv home("HOME", "");
        EXPECT_EQ(UserBaseDirectory("XDG_STATE_HOME", ".local/state"), std::filesystem::temp_directory_path().string());
    }
    EXPECT_EQ(AbsolutePath("C:\\Shows\\a.pdz"), "C:\\Shows\\a.pdz");
    EXPECT_EQ(AbsolutePath("./shows/../a.pdz"), (std::filesystem::current_path() / "a.pdz").string());
}

// A folder is no file: a picture path naming one must not count as found.
TEST(Paths, FileExistsOnlyForFiles) {
    test::TempDir dir;
    test::WriteFile(dir.File("a.txt"), "x");
    EXPECT_TRUE(FileExists(dir.File("a.txt")));
    EXPECT_FALSE(FileExists(dir.Path()));
    EXPECT_FALSE(FileExists(""));
    EXPECT_TRUE(DirectoryExists(dir.Path()));
    EXPECT_FALSE(DirectoryExists(dir.File("a.txt")));
}

}  // namespace
}  // namespace kvo

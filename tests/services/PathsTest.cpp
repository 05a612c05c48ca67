#include "services/Paths.h"

#include <gtest/gtest.h>

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

TEST(Paths, FileExistsOnlyForFiles) {
    test::TempDir dir;
    test::WriteFile(dir.File("a.txt"), "x");
    EXPECT_TRUE(FileExists(dir.File("a.txt")));
    EXPECT_FALSE(FileExists(dir.Path()));
    EXPECT_FALSE(FileExists(dir.File("missing.txt")));
    EXPECT_FALSE(FileExists(""));
    EXPECT_TRUE(DirectoryExists(dir.Path()));
    EXPECT_FALSE(DirectoryExists(dir.File("a.txt")));
}

TEST(Paths, EditorDataDirectoryHoldsTheStringTablesInTheBuildTree) {
    EXPECT_TRUE(FileExists(JoinPath(EditorDataDirectory(), "ENU31000.str"))) << EditorDataDirectory();
}

}  // namespace
}  // namespace kvo

#include "services/RecentFiles.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "TestSupport.h"

namespace kvo {
namespace {

TEST(RecentFiles, TheStoreIsReadWithJudgementAndWrittenWhole) {
    test::TempDir dir;
    const std::string store = dir.File("config/kvoeditor/recent-files");
    std::filesystem::create_directories(dir.File("config/kvoeditor"));
    // Edited by hand: a relative path, a blank line, a duplicate and CR LF ends.
    test::WriteFile(store, "/srv/a.pdz\r\nrelative.pdz\r\n\r\n/srv/b.pdz\r\n/srv/a.pdz\r\n");
    RecentFiles recent(store);
    EXPECT_EQ(recent.Paths(), (std::vector<std::string>{"/srv/a.pdz", "/srv/b.pdz"}));

    recent.Add("/srv/b.pdz");
    recent.Add("/srv/odd\nname.pdz");  // could not be read back as one line
    recent.Remove("/srv/never-listed.pdz");
    EXPECT_EQ(test::ReadFile(store), "/srv/b.pdz\n/srv/a.pdz\n");
    recent.Remove("/srv/a.pdz");
    EXPECT_EQ(RecentFiles(store).Paths(), std::vector<std::string>{"/srv/b.pdz"});
    recent.Add("shows/../c.pdz");  // as given on a command line
    EXPECT_EQ(recent.Paths().front(), (std::filesystem::current_path() / "c.pdz").string());

    // A store that cannot be written keeps the list for the session.
    RecentFiles unwritable(dir.File("config/kvoeditor/recent-files/inside-a-file"));
    unwritable.Add("/srv/c.pdz");
    EXPECT_EQ(unwritable.Paths(), std::vector<std::string>{"/srv/c.pdz"});

    test::ScopedEnv config("XDG_CONFIG_HOME", dir.File("config"));
    EXPECT_EQ(RecentFiles::DefaultStorePath(), store);
}

TEST(RecentFiles, FilesOfTheSameNameAreToldApartByTheirFolders) {
    test::TempDir dir;
    RecentFiles recent(dir.File("recent-files"));
    for (const char* path : {"/srv/other.pdz", "/srv/b/line1/show.pdz", "/srv/a/line1/show.pdz", "/srv/a/line2/show.pdz", "/show.pdz"})
        recent.Add(path);
    EXPECT_EQ(recent.Labels(), (std::vector<std::string>{"show.pdz (/)", "show.pdz (line2)", "show.pdz (a/line1)",
                                                         "show.pdz (b/line1)", "other.pdz"}));
}

}  // namespace
}  // namespace kvo

#include "services/Startup.h"

#include <gtest/gtest.h>

#include "TestSupport.h"
#include "services/Language.h"
#include "services/RegEntry.h"

namespace kvo {
namespace {

class StartupTest : public ::testing::Test {
protected:
    void Set(const std::string& key, const std::string& value, const std::string& text) {
        RegEntry entry;
        entry.CreateKey(key);
        entry.SetString(value, text);
    }

    test::TempDir dir_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
};

TEST_F(StartupTest, LanguageComesFromTheHostOrIsEnglish) {
    EXPECT_EQ(InitLanguage(), 1033);
    Set("Tessiva\\Settings", "DefaultLanguage", "1031");
    EXPECT_EQ(InitLanguage(), 1031);
    EXPECT_EQ(LanguageCode(), "DEU");
    Set("Tessiva\\Settings", "DefaultLanguage", "");
    EXPECT_EQ(InitLanguage(), 1033);
    EXPECT_EQ(LanguageCode(), "ENU");  // the German of the start before is gone
}

TEST_F(StartupTest, RepositoryRootUserWinsOverApplicationOverCommon) {
    EXPECT_EQ(GetRepositoryRoot("Tessiva"), "");  // nothing set: empty, no error
    Set("Common", "RepositoryRoot", "C:\\Common");
    EXPECT_EQ(GetRepositoryRoot("Tessiva"), "C:\\Common");
    EXPECT_EQ(GetRepositoryRoot("Other"), "C:\\Common");
    Set("Tessiva\\Settings", "RepositoryRoot", "C:\\Host");
    EXPECT_EQ(GetRepositoryRoot("Tessiva"), "C:\\Host");
    Set("Users", "LastUser", "jane");
    Set("Users\\jane", "Other", "x");  // a user key without a root leaves the one before
    EXPECT_EQ(GetRepositoryRoot("Tessiva"), "C:\\Host");
    Set("Users\\jane", "RepositoryRoot", "C:\\Jane");
    EXPECT_EQ(GetRepositoryRoot("Tessiva"), "C:\\Jane");

    EXPECT_EQ(GetRepositoryRoot("Brevana"), "C:\\Common");  // no light edition installed
    Set("Brevana\\Settings", "RepositoryRoot", "C:\\Light");
    Set("Users", "LastUser", "john");
    EXPECT_EQ(GetRepositoryRoot("Brevana"), "C:\\Light");

    Set("Wexbridge", "KVOUser", "jane");
    EXPECT_EQ(GetRepositoryRoot("Tapframe"), "C:\\Jane");
    Set("Common", "StartupApp", "Tapframe");
    EXPECT_EQ(GetRepositoryRoot(""), "C:\\Jane");
}

}  // namespace
}  // namespace kvo

#include "services/RegEntry.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "TestSupport.h"
#include "services/Language.h"

namespace kvo {
namespace {

using test::RaisedBy;

class RegEntryTest : public ::testing::Test {
protected:
    test::TempDir dir_;
    std::string path_ = dir_.File("registry.reg");
};

TEST_F(RegEntryTest, BooleansReadFalseOnlyForTheFewFalseWordsAndAreWrittenInLowerCase) {
    RegEntry entry(path_);
    entry.CreateKey("Flags");
    const struct {
        const char* text;
        bool expected;
    } cases[] = {{"No", false},   {"no", false}, {"NO", false}, {"False", false}, {"fAlSe", false}, {"0", false},
                 {"", false},     {"-1", true},  {"yes", true}, {"1", true},      {"TRUE", true},   {" 0", true},
                 {"00", true},    {"off", true}};
    for (const auto& c : cases) {
        entry.SetString("Flag", c.text);
        EXPECT_EQ(entry.GetBoolean("Flag"), c.expected) << '"' << c.text << '"';
    }
    EXPECT_FALSE(entry.GetBoolean("Absent"));
    entry.SetBoolean("On", true);
    entry.SetBoolean("Off", false);
    const std::string file = test::ReadFile(path_);
    EXPECT_NE(file.find("\"On\"=\"true\"\r\n"), std::string::npos) << file;
    EXPECT_NE(file.find("\"Off\"=\"false\"\r\n"), std::string::npos) << file;
}

TEST_F(RegEntryTest, ValueLongerThanTheReadBufferGivesNoEndingZeroFound) {
    RegEntry entry(path_);
    entry.CreateKey("Long");
    entry.SetString("Fits", std::string(255, 'a'));
    entry.SetString("TooLong", std::string(256, 'b'));
    EXPECT_EQ(entry.GetString("Fits"), std::string(255, 'a'));
    const Error error = RaisedBy([&] { entry.GetString("TooLong"); });
    EXPECT_EQ(error.Description(), "No ending 0 found");
    EXPECT_EQ(entry.GetStringInternational("TooLong"), std::string(256, 'b'));
}

TEST_F(RegEntryTest, OpeningAMissingKeyRaises5001NamingTheKey) {
    RegEntry entry(path_);
    const Error error = RaisedBy([&] { entry.OpenKey("Tessiva\\Settings"); });
    EXPECT_EQ(error.Number(), 5001);
    EXPECT_EQ(error.Source(), "RegEntry.OpenInternal");
    EXPECT_EQ(error.Description(),
              "The settings key \"HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Tessiva\\Settings\" could not be opened.");
    EXPECT_FALSE(entry.IsOpen());
    EXPECT_EQ(entry.GetString("DefaultLanguage"), "");  // a read with no key open is empty, not an error
}

TEST_F(RegEntryTest, CreateKeyMakesEveryLevelAndNamesCompareWithoutCase) {
    RegEntry entry(path_);
    entry.CreateKey("Users\\Jane\\Deep");
    EXPECT_TRUE(entry.TestKey("Users"));
    EXPECT_TRUE(entry.TestKey("users\\JANE"));
    EXPECT_FALSE(entry.TestKey("Users\\John"));
    entry.SetString("RepositoryRoot", "R1");
    RegEntry other(path_);
    other.OpenKey("USERS\\jane\\deep");
    EXPECT_EQ(other.GetString("repositoryroot"), "R1");
    other.SetString("REPOSITORYROOT", "R2");  // overwrites, keeping the first spelling
    EXPECT_NE(test::ReadFile(path_).find("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Users\\Jane\\Deep]\r\n"
                                         "\"RepositoryRoot\"=\"R2\""),
              std::string::npos);
}

TEST_F(RegEntryTest, CreatingAnExistingKeyWritesNothing) {
    RegEntry entry(path_);
    entry.CreateKey("Common");
    const auto written = std::filesystem::last_write_time(path_);
    std::filesystem::permissions(dir_.Path(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_exec);
    RegEntry again(path_);
    EXPECT_NO_THROW(again.CreateKey("Common"));
    std::filesystem::permissions(dir_.Path(), std::filesystem::perms::owner_all);
    EXPECT_EQ(std::filesystem::last_write_time(path_), written);
}

TEST_F(RegEntryTest, FailedWritesRaiseTheirNumbersAndSayWhy) {
    test::WriteFile(dir_.File("plain-file"), "x");
    RegEntry blocked(dir_.File("plain-file/registry.reg"));  // its folder cannot be made
    const Error create = RaisedBy([&] { blocked.CreateKey("Common"); });
    EXPECT_EQ(create.Number(), 5000);
    EXPECT_EQ(create.Source(), "RegEntry.CreateInternal");
    EXPECT_NE(create.Description().find("could not be created"), std::string::npos) << create.Description();
    EXPECT_NE(create.Description().find("plain-file"), std::string::npos) << create.Description();

    RegEntry entry(path_);
    const Error noKey = RaisedBy([&] { entry.SetString("V", "1"); });
    EXPECT_EQ(noKey.Number(), 5002);
    EXPECT_EQ(noKey.Source(), "RegEntry.SetValue");

    entry.CreateKey("Gone");
    RegEntry(path_).DeleteKey("Gone");
    EXPECT_EQ(RaisedBy([&] { entry.SetString("V", "1"); }).Number(), 5002);
    EXPECT_EQ(entry.GetString("V"), "");
}

TEST_F(RegEntryTest, DamagedStoreIsReportedWithFileAndLine) {
    test::WriteFile(path_, "Windows Registry Editor Version 5.00\n\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Common]\n"
                           "RepositoryRoot=C:\\Repo\n");
    RegEntry entry(path_);
    const Error error = RaisedBy([&] { entry.OpenKey("Common"); });
    EXPECT_EQ(error.Number(), 5001);
    EXPECT_NE(error.Description().find(path_), std::string::npos) << error.Description();
    EXPECT_NE(error.Description().find("line 4"), std::string::npos) << error.Description();
    EXPECT_EQ(RaisedBy([&] { entry.CreateKey("Other"); }).Number(), 5000);
}

TEST_F(RegEntryTest, CopyKeyReproducesNestedLevelsWithEveryValueAsText) {
    test::WriteFile(path_,
                    "Windows Registry Editor Version 5.00\r\n\r\n"
                    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Source]\r\n\"Name\"=\"top\"\r\n\"Count\"=dword:00000010\r\n"
                    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Source\\Level1]\r\n\"Path\"=hex(2):41,00,00,00\r\n"
                    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Source\\Level1\\Level2]\r\n@=\"deepest\"\r\n"
                    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Source\\Empty]\r\n");
    RegEntry entry(path_);
    entry.CopyKey("Source", "Copy");
    entry.OpenKey("Copy");
    EXPECT_EQ(entry.GetString("Name"), "top");
    EXPECT_EQ(entry.GetString("Count"), "16");
    entry.OpenKey("Copy\\Level1");
    EXPECT_EQ(entry.GetString("Path"), "A");
    entry.OpenKey("Copy\\Level1\\Level2");
    EXPECT_EQ(entry.GetString(""), "deepest");
    EXPECT_TRUE(entry.TestKey("Copy\\Empty"));
    EXPECT_NE(test::ReadFile(path_).find("\"Count\"=\"16\""), std::string::npos);

    entry.CopyKey("Source", "Source\\Inner");  // into itself: one copy, no endless nesting
    EXPECT_TRUE(entry.TestKey("Source\\Inner\\Level1\\Level2"));
    EXPECT_FALSE(entry.TestKey("Source\\Inner\\Inner"));

    const Error missing = RaisedBy([&] { entry.CopyKey("Nowhere", "Copy2"); });
    EXPECT_EQ(missing.Number(), 5001);
    EXPECT_EQ(missing.Source(), "RegEntry.CopyInternal");
}

TEST_F(RegEntryTest, DeletingKeysAndValues) {
    RegEntry entry(path_);
    EXPECT_NO_THROW(entry.DeleteValue("Anything"));  // no key open yet
    EXPECT_FALSE(std::filesystem::exists(path_));
    entry.CreateKey("A\\B\\C");
    entry.SetString("X", "1");
    entry.SetString("Y", "2");
    entry.DeleteValue("x");
    EXPECT_EQ(entry.QueryValues(), (std::vector<std::pair<std::string, std::string>>{{"Y", "2"}}));
    entry.DeleteKey("A\\B");
    EXPECT_TRUE(entry.TestKey("A"));
    EXPECT_FALSE(entry.TestKey("A\\B\\C"));
    EXPECT_NO_THROW(entry.DeleteKey("Never\\There"));
    EXPECT_EQ(RaisedBy([&] { entry.DeleteKey(""); }).Number(), 5);
    EXPECT_TRUE(entry.TestKey("A"));
}

TEST_F(RegEntryTest, ClassIdentifiersAndTheirRemoval) {
    test::WriteFile(path_,
                    "Windows Registry Editor Version 5.00\r\n\r\n"
                    "[HKEY_CLASSES_ROOT\\KVOGraphics.Metafile\\Clsid]\r\n@=\"{1234-ABCD}\"\r\n"
                    "[HKEY_CLASSES_ROOT\\CLSID\\{1234-ABCD}\\InProcServer32]\r\n@=\"kvographics.dll\"\r\n"
                    "[HKEY_CLASSES_ROOT\\CLSID\\{1234-ABCD}\\TypeLib]\r\n@=\"{9999}\"\r\n"
                    "[HKEY_CLASSES_ROOT\\CLSID\\{5678}]\r\n@=\"another\"\r\n");
    RegEntry entry(path_);
    EXPECT_EQ(entry.GetClassID("KVOGraphics.Metafile"), "{1234-ABCD}");
    EXPECT_EQ(entry.GetClassID("KVOGraphics.Bitmap"), "");
    entry.RemoveProgID("KVOGraphics.Metafile");
    EXPECT_EQ(entry.GetClassID("KVOGraphics.Metafile"), "");
    const std::string file = test::ReadFile(path_);
    EXPECT_EQ(file.find("{1234-ABCD}"), std::string::npos) << file;
    EXPECT_NE(file.find("[HKEY_CLASSES_ROOT\\CLSID\\{5678}]"), std::string::npos) << file;
}

}  // namespace
}  // namespace kvo

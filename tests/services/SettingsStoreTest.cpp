#include "services/SettingsStore.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "TestSupport.h"
#include "services/Paths.h"
#include "services/RegEntry.h"
#include "services/Text.h"

namespace kvo {
namespace {

constexpr const char* kHandEdited =
    "Windows Registry Editor Version 5.00\r\n"
    "\r\n"
    "; written by hand on the measuring station\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Tessiva\\Settings]\r\n"
    "\"DefaultLanguage\"=\"1031\"\r\n"
    "\"InstallDirectory\"=\"C:\\\\Program Files\\\\Tessiva\"\r\n"
    "\"Quote\"=\"say \\\"hi\\\"\"\r\n"
    "@=\"default text\"\r\n"
    "\"Count\"=dword:0000002a\r\n"
    "\"Path\"=hex(2):25,00,50,00,41,00,54,00,48,00,25,00,5c,00,78,00,\\\r\n"
    "  00,00\r\n"
    "\r\n"
    "[hkey_local_machine\\software\\orlanvex\\Common]\n"  // lone LF and other case
    "\"RepositoryRoot\"=\"D:\\\\Repo\"\n";

RegistryTree ParseText(std::string_view text) { return RegistryTree::Parse(text, "test.reg"); }

TEST(SettingsStore, HandEditedExportIsReadAndWrittenBackUnchanged) {
    const RegistryTree tree = ParseText(kHandEdited);
    const RegKey* settings = tree.Find("HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Tessiva\\Settings");
    ASSERT_NE(settings, nullptr);
    EXPECT_EQ(settings->FindValue("defaultlanguage")->Text(true), "1031");
    EXPECT_EQ(settings->FindValue("InstallDirectory")->Text(true), "C:\\Program Files\\Tessiva");
    EXPECT_EQ(settings->FindValue("Quote")->Text(true), "say \"hi\"");
    EXPECT_EQ(settings->FindValue("")->Text(true), "default text");
    EXPECT_EQ(settings->FindValue("Count")->Text(true), "42");
    EXPECT_EQ(settings->FindValue("Path")->Text(true), "%PATH%\\x");
    // Keys written in another case are the same keys, and keep their first spelling.
    const RegKey* common = tree.Find("HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\COMMON");
    ASSERT_NE(common, nullptr);
    EXPECT_EQ(common->name, "Common");
    EXPECT_EQ(tree.Find("HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex")->name, "Orlanvex");
    EXPECT_EQ(common->FindValue("RepositoryRoot")->Text(true), "D:\\Repo");

    const std::string written = tree.Serialize();
    EXPECT_EQ(written.rfind("Windows Registry Editor Version 5.00\r\n", 0), 0u);
    EXPECT_NE(written.find("\"Count\"=dword:0000002a\r\n"), std::string::npos);
    EXPECT_NE(written.find("\"Quote\"=\"say \\\"hi\\\"\"\r\n"), std::string::npos);
    EXPECT_EQ(ParseText(written).Serialize(), written);
    // Line breaks cannot stand in a quoted string: they go as a hex string.
    RegistryTree multi;
    multi.Create("HKEY_LOCAL_MACHINE\\K").SetString("Multi", "one\r\ntwo");
    EXPECT_EQ(ParseText(multi.Serialize()).Find("HKEY_LOCAL_MACHINE\\K")->FindValue("Multi")->Text(true), "one\r\ntwo");
}

TEST(SettingsStore, Utf16AndRegedit4FilesAreUnderstood) {
    const std::string utf16 = "\xFF\xFE" + Utf8ToUtf16Le("Windows Registry Editor Version 5.00\r\n\r\n"
                                                          "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Wexbridge]\r\n"
                                                          "\"KVOUser\"=\"Jürgen\"\r\n\r\n");
    const RegistryTree wide = ParseText(utf16);
    EXPECT_EQ(wide.Find("HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Wexbridge")->FindValue("KVOUser")->Text(true),
              "Jürgen");
    EXPECT_EQ(wide.Serialize(), utf16);  // written back in the encoding it came in

    const RegistryTree old = ParseText("REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"S\"=hex(2):61,62,00\r\n");
    EXPECT_FALSE(old.WideStrings());
    EXPECT_EQ(old.Find("HKEY_LOCAL_MACHINE\\K")->FindValue("S")->Text(false), "ab");
}

TEST(SettingsStore, DeletionLinesRemoveKeysAndValues) {
    const RegistryTree tree = ParseText(
        "Windows Registry Editor Version 5.00\n"
        "[HKEY_LOCAL_MACHINE\\A\\B]\n\"x\"=\"1\"\n\"y\"=\"2\"\n"
        "[HKEY_LOCAL_MACHINE\\A\\C]\n"
        "[-HKEY_LOCAL_MACHINE\\A\\C]\n"
        "[HKEY_LOCAL_MACHINE\\A\\B]\n\"x\"=-\n");
    EXPECT_EQ(tree.Find("HKEY_LOCAL_MACHINE\\A\\C"), nullptr);
    const RegKey* b = tree.Find("HKEY_LOCAL_MACHINE\\A\\B");
    EXPECT_EQ(b->FindValue("x"), nullptr);
    EXPECT_NE(b->FindValue("y"), nullptr);
}

TEST(SettingsStore, DamagedFilesNameTheFileAndTheLine) {
    const struct {
        const char* text;
        int line;
    } cases[] = {
        {"[HKEY_LOCAL_MACHINE\\A]\n", 1},  // no header
        {"Windows Registry Editor Version 5.00\n\n\"x\"=\"1\"\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A\n", 2},
        {"Windows Registry Editor Version 5.00\n[SOFTWARE\\A]\n", 2},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\\\A]\n", 2},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=\"open\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=dword:123456789\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=hex:1,zz\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=hex:01,\\\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\" \"1\"\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=\"1\" trailing\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\nstray text\n", 3},
        {"Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\A]\n\"x\"=number\n", 3},
    };
    for (const auto& c : cases) {
        try {
            ParseText(c.text);
            ADD_FAILURE() << "accepted: " << c.text;
        } catch (const SettingsFileError& error) {
            EXPECT_EQ(error.File(), "test.reg");
            EXPECT_EQ(error.Line(), c.line) << c.text << " -> " << error.what();
            EXPECT_FALSE(error.Detail().empty());
        }
    }
}

TEST(SettingsStore, AMissingOrEmptyFileIsAnEmptyStoreAndADamagedOneIsNeverOverwritten) {
    test::TempDir dir;
    {
        test::TempDir other;
        EXPECT_EQ(SettingsStore(other.File("none.reg")).Read().Find("HKEY_LOCAL_MACHINE"), nullptr);
        test::WriteFile(other.File("empty.reg"), "");
        EXPECT_EQ(SettingsStore(other.File("empty.reg")).Read().Find("HKEY_LOCAL_MACHINE"), nullptr);
    }
    const std::string path = dir.File("registry.reg");
    const std::string damaged = "Windows Registry Editor Version 5.00\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\A]\ngarbage\n";
    test::WriteFile(path, damaged);
    EXPECT_THROW(SettingsStore(path).Modify([](RegistryTree& tree) { tree.Create("HKEY_LOCAL_MACHINE\\B"); }),
                 SettingsFileError);
    EXPECT_EQ(test::ReadFile(path), damaged);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 2);  // the file and its lock
}

TEST(SettingsStore, TwoWritersAtOnceLoseNothing) {
    test::TempDir dir;
    const std::string path = dir.File("registry.reg");
    // Half the writers name the store through a link: they still wait for each
    // other, and write into the store instead of replacing the link.
    const std::string link = dir.File("link.reg");
    std::filesystem::create_symlink(path, link);
    constexpr int kWriters = 4;
    constexpr int kValuesEach = 15;
    std::vector<pid_t> children;
    for (int w = 0; w < kWriters; ++w) {
        const pid_t pid = fork();
        ASSERT_GE(pid, 0);
        if (pid == 0) {
            int status = 0;
            try {
                RegEntry entry(w % 2 == 0 ? path : link);
                entry.CreateKey("Race\\Writer" + std::to_string(w));
                for (int i = 0; i < kValuesEach; ++i) entry.SetString("V" + std::to_string(i), std::to_string(w * 100 + i));
            } catch (...) {
                status = 1;
            }
            _exit(status);
        }
        children.push_back(pid);
    }
    for (pid_t pid : children) {
        int status = 0;
        waitpid(pid, &status, 0);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    RegEntry reader(path);
    for (int w = 0; w < kWriters; ++w) {
        reader.OpenKey("Race\\Writer" + std::to_string(w));
        for (int i = 0; i < kValuesEach; ++i)
            EXPECT_EQ(reader.GetString("V" + std::to_string(i)), std::to_string(w * 100 + i)) << w << '/' << i;
    }
}

TEST(SettingsStore, AnotherProcessReadsWhatThisOneWroteAndTheOtherWay) {
    test::TempDir dir;
    const std::string path = dir.File("registry.reg");
    test::ScopedEnv env("ORLANVEX_REGISTRY", path);
    const std::string tool = JoinPath(ExecutableDirectory(), "kvotool");

    RegEntry entry;
    entry.CreateKey("Wexbridge");
    entry.SetString("DefaultSlideDirectory", "/srv/shows");
    std::string output;
    ASSERT_EQ(test::RunCommand(tool + " settings get Wexbridge DefaultSlideDirectory", &output), 0);
    EXPECT_EQ(output, "/srv/shows\n");

    ASSERT_EQ(test::RunCommand(tool + " settings set 'Tessiva\\Settings' DefaultLanguage 1031"), 0);
    entry.OpenKey("Tessiva\\Settings");
    EXPECT_EQ(entry.GetString("DefaultLanguage"), "1031");
}

}  // namespace
}  // namespace kvo

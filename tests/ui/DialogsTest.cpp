#include <gtest/gtest.h>

#include <QtCore/QRegularExpression>
#include <QtGui/QFontInfo>
#include <QtTest/QTest>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QFontDialog>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTextBrowser>
#include <QtWidgets/QTabBar>

#include "UiTestSupport.h"
#include "model/ExportPackage.h"
#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "services/Help.h"
#include "services/Paths.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "ui/FormExport.h"
#include "ui/FormHelp.h"
#include "ui/FormImport.h"
#include "ui/FormMain.h"
#include "ui/FormOverwrite.h"
#include "ui/FormProperties.h"
#include "ui/QtLanguage.h"
#include "ui/QtPrompt.h"

namespace kvo {
namespace {

class DialogsTest : public ::testing::Test {
protected:
    test::TempDir dir_;
    test::RecordingPrompt prompt_;
};

template <typename T>
T& Child(QWidget& parent, const char* name) {
    T* child = parent.findChild<T*>(name);
    if (child == nullptr) throw std::runtime_error(std::string("no control ") + name);
    return *child;
}

TEST_F(DialogsTest, ExportProposesThePackageAndNeedsAName) {
    FormExport dialog("C:\\Shows\\Line1.pdz");
    EXPECT_EQ(Child<QLineEdit>(dialog, "txtFileName").text().toStdString(), "C:\\Shows\\Line1.exp");
    auto& ok = Child<QPushButton>(dialog, "cmdOK");
    EXPECT_TRUE(ok.isEnabled());
    Child<QLineEdit>(dialog, "txtFileName").clear();
    EXPECT_FALSE(ok.isEnabled());
    QTest::keyClicks(&Child<QLineEdit>(dialog, "txtFileName"), "/tmp/x.exp");
    QTest::keyClicks(&Child<QLineEdit>(dialog, "txtComment"), "for line 4");
    ok.click();
    EXPECT_TRUE(dialog.Accepted());
    EXPECT_EQ(dialog.PackagePath(), "/tmp/x.exp");
    EXPECT_EQ(dialog.Comment(), "for line 4");
}

TEST_F(DialogsTest, ImportReadsTheHeaderAndAsksBeforeReplacingTheTarget) {
    SlideShow show;
    show.SaveToFile(dir_.File("line.pdz"));
    ExportSlideShow(dir_.File("line.pdz"), dir_.File("line.exp"), "second station");
    test::WriteFile(dir_.File("not-a-package.exp"), "hello");

    FormImport dialog;
    auto& ok = Child<QPushButton>(dialog, "cmdOK");
    auto& file = Child<QLineEdit>(dialog, "txtFileName");
    EXPECT_FALSE(ok.isEnabled());
    file.setText(QString::fromStdString(dir_.File("not-a-package.exp")));  // error 1005, caught inside
    EXPECT_FALSE(ok.isEnabled());
    EXPECT_TRUE(Child<QLineEdit>(dialog, "txtComment").text().isEmpty());
    file.setText(QString::fromStdString(dir_.File("line.exp")));
    EXPECT_TRUE(ok.isEnabled());
    EXPECT_EQ(Child<QLineEdit>(dialog, "txtComment").text().toStdString(), "second station");
    EXPECT_EQ(dialog.TargetPath(), dir_.File("line.pdz"));
    EXPECT_FALSE(Child<QLineEdit>(dialog, "txtDate").text().isEmpty());

    prompt_.answersToAsk = {Answer::No};
    ok.click();  // the target exists: No keeps the dialog open
    EXPECT_FALSE(dialog.Accepted());
    ASSERT_EQ(prompt_.questions.size(), 1u);
    EXPECT_EQ(prompt_.questions[0].text, FormatResString(Str::ImportTargetExists, {dir_.File("line.pdz")}));
    prompt_.answersToAsk = {Answer::Yes};
    ok.click();
    EXPECT_TRUE(dialog.Accepted());

    // The package's time in the editor's language.
    struct English {
        ~English() {
            SetLanguage(1033);
            ApplyLanguageToQt();
        }
    } restore;
    SetLanguage(1031);
    ApplyLanguageToQt();
    FormImport german;
    Child<QLineEdit>(german, "txtFileName").setText(QString::fromStdString(dir_.File("line.exp")));
    const QString shown = Child<QLineEdit>(german, "txtDate").text();
    EXPECT_TRUE(QRegularExpression("^\\d\\d\\.\\d\\d\\.\\d\\d \\d\\d:\\d\\d$").match(shown).hasMatch()) << shown.toStdString();
}

TEST_F(DialogsTest, OverwriteHasFourAnswers) {
    const struct {
        const char* button;
        bool overwrite;
        bool askAgain;
    } cases[] = {{"cmdYes", true, true}, {"cmdYesAll", true, false}, {"cmdNo", false, true}, {"cmdNoAll", false, false}};
    for (const auto& c : cases) {
        FormOverwrite dialog("/srv/pictures/pic.bmp");
        EXPECT_EQ(Child<QLabel>(dialog, "lblPrompt").text().toStdString(),
                  FormatResString(Str::OverwritePrompt, {"/srv/pictures/pic.bmp"}));
        Child<QPushButton>(dialog, c.button).click();
        EXPECT_EQ(dialog.Overwrite(), c.overwrite) << c.button;
        EXPECT_EQ(dialog.AskAgain(), c.askAgain) << c.button;
    }
}

TEST_F(DialogsTest, PropertiesCountAndRefuseAMissingHelpFile) {
    SlideShow show;
    show.SetName("Housing");
    for (int s = 0; s < 2; ++s) {
        Slide& slide = show.Slides().Add();
        for (int i = 0; i < 3; ++i) {
            Icon& icon = slide.Icons().Add();
            icon.Values().Add();
            icon.Values().Add();
        }
    }
    FormProperties dialog(show);
    EXPECT_EQ(Child<QLabel>(dialog, "lblSlideCount").text().toStdString(), FormatResString(Str::PropertiesSlideCount, {2}));
    EXPECT_EQ(Child<QLabel>(dialog, "lblIconCount").text().toStdString(), FormatResString(Str::PropertiesIconCount, {6}));
    EXPECT_EQ(Child<QLabel>(dialog, "lblValueCount").text().toStdString(), FormatResString(Str::PropertiesValueCount, {12}));
    EXPECT_EQ(Child<QLineEdit>(dialog, "txtName").text().toStdString(), "Housing");
    EXPECT_EQ(Child<QLineEdit>(dialog, "txtHelpTopic").text().toStdString(), "0");

    Child<QPushButton>(dialog, "cmdBrowse").click();
    ASSERT_EQ(prompt_.fileDialogs.size(), 1u);
    EXPECT_EQ(prompt_.fileDialogs[0].title, "Help file");

    Child<QLineEdit>(dialog, "txtName").setText("Renamed");
    Child<QLineEdit>(dialog, "txtHelpFile").setText(QString::fromStdString(dir_.File("missing.html")));
    Child<QPushButton>(dialog, "cmdOK").click();
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_EQ(prompt_.shown[0].text, LoadResString(Str::HelpFileMissing));
    EXPECT_EQ(show.Name(), "Housing");  // nothing stored

    Child<QLineEdit>(dialog, "txtHelpFile").clear();
    Child<QLineEdit>(dialog, "txtHelpTopic").setText("12");
    Child<QPushButton>(dialog, "cmdOK").click();
    EXPECT_EQ(show.Name(), "Renamed");
    EXPECT_EQ(show.HelpTopic(), 12);
    EXPECT_EQ(show.HelpFile(), "");
}

TEST_F(DialogsTest, ChoosersOpenOnTheValueAndOkAloneChangesNothing) {
    QWidget owner;
    QtPrompt qt(&owner);
    const auto accept = [](QWidget& dialog) { static_cast<QDialog&>(dialog).accept(); };
    // A font this machine does not have, as icons from other stations name them.
    const FontChoice courier{"Courier New", 10, true, false, 0x0000FF};
    QString opened;
    test::WhenDialogOpens([&](QWidget& dialog) {
        const QFont current = static_cast<QFontDialog&>(dialog).currentFont();
        opened = current.family() + (current.bold() ? " bold" : "");
        static_cast<QDialog&>(dialog).accept();
    });
    const auto same = qt.ChooseFont(courier);
    ASSERT_TRUE(same);
    EXPECT_EQ(same->name, "Courier New");
    EXPECT_EQ(same->size, 10);
    EXPECT_TRUE(same->bold);
    EXPECT_EQ(opened.toStdString(), (QFontInfo(QFont("Courier New")).family() + " bold").toStdString());  // the substitute that icons are drawn in
    test::WhenDialogOpens([](QWidget& dialog) {
        auto& fonts = static_cast<QFontDialog&>(dialog);
        QFont larger = fonts.currentFont();
        larger.setPointSize(14);
        fonts.setCurrentFont(larger);
        fonts.accept();
    });
    const auto larger = qt.ChooseFont(courier);
    ASSERT_TRUE(larger);
    EXPECT_EQ(larger->size, 14);
    EXPECT_EQ(larger->name, "Courier New");
    EXPECT_TRUE(larger->bold);

    const int32_t windowColor = static_cast<int32_t>(0x80000005);  // a system colour
    test::WhenDialogOpens(accept);
    EXPECT_EQ(qt.ChooseColor(windowColor), windowColor);
    test::WhenDialogOpens([](QWidget& dialog) {
        static_cast<QColorDialog&>(dialog).setCurrentColor(QColor(0x11, 0x22, 0x33));
        static_cast<QColorDialog&>(dialog).accept();
    });
    EXPECT_EQ(qt.ChooseColor(windowColor), 0x332211);
}

TEST_F(DialogsTest, HelpOpensAtTheTopicOverADialogAndClosesWithItsKeysAndWithTheEditor) {
    SetEditorDirectory(EditorDataDirectory());
    ChooseHelpFile(1033, "TV");
    ASSERT_NE(HelpFile().find("ENUTV.html"), std::string::npos) << HelpFile();
    FormHelp& help = FormHelp::Instance();
    QScrollBar* bar = help.findChild<QTextBrowser*>()->verticalScrollBar();
    int scrolledTo = -1;
    QString anchor;
    test::WhenDialogOpens([&](QWidget& dialog) {
        test::Click(dialog, "cmdHelp");
        anchor = help.CurrentAnchor();
        bar->setValue(0);
        QTest::keyClick(help.windowHandle(), Qt::Key_End);  // as the window system delivers it
        scrolledTo = bar->value();
        test::Click(dialog, "cmdCancel");
    });
    FormExport dialog("/srv/a.pdz");
    dialog.exec();
    EXPECT_GT(scrolledTo, 0);
    EXPECT_EQ(anchor.toStdString(), "32004");

    EXPECT_TRUE(help.isVisible());
    QTest::keyClick(&help, Qt::Key_Escape);
    EXPECT_FALSE(help.isVisible());
    ShowHelpContents(nullptr);
    EXPECT_EQ(help.CurrentAnchor().toStdString(), "contents");
    QTest::keyClick(&help, Qt::Key_W, Qt::ControlModifier);
    EXPECT_FALSE(help.isVisible());

    ShowHelpContents(nullptr);
    {
        FormMain window;
        window.show();
        EXPECT_TRUE(window.close());
    }
    EXPECT_FALSE(help.isVisible());  // nothing is left to keep the program running
    EXPECT_FALSE(help.testAttribute(Qt::WA_QuitOnClose));
}

}  // namespace
}  // namespace kvo

#include "ui/FormMain.h"

#include <gtest/gtest.h>

#include <QtCore/QFileInfo>
#include <QtCore/QLibraryInfo>
#include <QtCore/QPointer>
#include <QtGui/QUndoStack>
#include <QtWidgets/QDialogButtonBox>
#include <QtPrintSupport/QPrinter>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QMenuBar>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStatusBar>

#include <filesystem>
#include <vector>

#include "UiTestSupport.h"
#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/RegEntry.h"
#include "services/StringIds.h"
#include "ui/QtLanguage.h"
#include "ui/SlideHost.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

class FormMainTest : public ::testing::Test {
protected:
    void SetUp() override {
        const std::string sample = JoinPath(EditorDataDirectory(), "samples/GearHousing.pdz");
        fs::copy_file(sample, show_);
    }

    std::unique_ptr<FormMain> Window() {
        auto window = std::make_unique<FormMain>();
        window->resize(900, 700);
        window->show();
        QApplication::processEvents();
        return window;
    }

    test::TempDir dir_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
    std::string show_ = dir_.File("GearHousing.pdz");
    test::RecordingPrompt prompt_;
};

TEST_F(FormMainTest, DirectoriesComeFromTheSettingsWithTheirFallbacks) {
    EXPECT_EQ(Window()->SlideDirectory(), ExecutableDirectory());
    RegEntry entry;
    entry.CreateKey("Wexbridge");
    entry.SetString("DefaultSlideDirectory", dir_.Path());
    entry.SetString("DefaultBitmapDirectory", dir_.File("no-such-folder"));
    auto window = Window();
    EXPECT_EQ(window->SlideDirectory(), dir_.Path());
    EXPECT_EQ(window->BitmapDirectory(), dir_.Path());  // falls back to the slide directory
    window->FileOpen();
    ASSERT_EQ(prompt_.fileDialogs.size(), 1u);
    EXPECT_EQ(prompt_.fileDialogs[0].directory, dir_.Path());
    EXPECT_EQ(prompt_.fileDialogs[0].title, LoadResString(Str::OpenTitle));
}

TEST_F(FormMainTest, OpeningShowsTheDocumentAndItsSlides) {
    auto window = Window();
    EXPECT_EQ(window->windowTitle().toStdString(), LoadResString(Str::AppTitle));
    prompt_.files = {show_};
    window->FileOpen();
    EXPECT_EQ(window->windowTitle().toStdString(), LoadResString(Str::AppTitle) + ": GearHousing.pdz");
    EXPECT_TRUE(window->Saved());
    EXPECT_EQ(window->CurrentSlide(), 1);
    EXPECT_EQ(window->SlideScrollBar().maximum(), 3);
    window->SlideScrollBar().triggerAction(QAbstractSlider::SliderPageStepAdd);  // a click in the track
    EXPECT_EQ(window->CurrentSlide(), 2);
    window->SlideScrollBar().setValue(2);
    EXPECT_EQ(window->CurrentSlide(), 2);
    EXPECT_EQ(window->View().CurrentSlide(), &window->Document()->Slides().Item(2));
    EXPECT_EQ(window->View().Views().Count(), 3);
    QApplication::processEvents();
    // The scroll bar lies over the status bar's "scroll" panel.
    const QRect panel(window->ScrollPanel().mapTo(window->centralWidget(), QPoint(0, 0)), window->ScrollPanel().size());
    EXPECT_TRUE(panel.contains(window->SlideScrollBar().geometry().center()));
}

TEST_F(FormMainTest, TheTitleMarksUnsavedChanges) {
    auto window = Window();
    window->OpenDocument(show_);
    const std::string title = LoadResString(Str::AppTitle) + ": GearHousing.pdz";
    window->SlideAdd();
    EXPECT_EQ(window->windowTitle().toStdString(), title + "*");
    window->Session().UndoStack().undo();
    EXPECT_EQ(window->windowTitle().toStdString(), title);
    window->SignalFileChanged();
    EXPECT_EQ(window->windowTitle().toStdString(), title + "*");
    window->FileSave();
    EXPECT_EQ(window->windowTitle().toStdString(), title);
}

TEST_F(FormMainTest, AFileThatCannotBeReadLeavesTheWindowAsItWas) {
    auto window = Window();
    window->OpenDocument(show_);
    test::WriteFile(dir_.File("bad.pdz"), "BLOCK SlideShow\r\nHELPTOPIC=abc\r\nEND\r\n");
    EXPECT_FALSE(window->OpenDocument(dir_.File("bad.pdz")));
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_NE(prompt_.shown[0].text.find("bad.pdz, line 2"), std::string::npos) << prompt_.shown[0].text;
    EXPECT_NE(prompt_.shown[0].text.find("error 13"), std::string::npos) << prompt_.shown[0].text;
    EXPECT_EQ(window->FileName(), show_);
    EXPECT_EQ(window->Document()->Slides().Count(), 3);
}

TEST_F(FormMainTest, RecentFilesListTheEightLastOpenedAndDropAMissingOne) {
    test::ScopedEnv config("XDG_CONFIG_HOME", dir_.File("config"));
    const auto recent = [](FormMain& window) {
        std::vector<std::string> entries;
        for (QAction* item : window.menuBar()->findChild<QMenu*>("mnuFile")->actions())
            if (item->objectName().startsWith("mnuFileRecent")) entries.push_back(item->text().toStdString());
        return entries;
    };
    auto window = Window();
    EXPECT_TRUE(recent(*window).empty());
    for (int i = 1; i <= 9; ++i) {
        fs::copy_file(show_, dir_.File("show" + std::to_string(i) + ".pdz"));
        ASSERT_TRUE(window->OpenDocument(dir_.File("show" + std::to_string(i) + ".pdz")));
    }
    test::WriteFile(dir_.File("bad.pdz"), "not a show");
    EXPECT_FALSE(window->OpenDocument(dir_.File("bad.pdz")));  // what did not open is not listed
    window->OpenDocument(dir_.File("show5.pdz"));              // opened again: first, and once
    const std::vector<std::string> expected = {"&1 show5.pdz", "&2 show9.pdz", "&3 show8.pdz", "&4 show7.pdz",
                                               "&5 show6.pdz", "&6 show4.pdz", "&7 show3.pdz", "&8 show2.pdz"};
    EXPECT_EQ(recent(*window), expected);
    // The list is the user's, so the next window has it too.
    window.reset();
    window = Window();
    EXPECT_EQ(recent(*window), expected);

    fs::remove(dir_.File("show9.pdz"));
    window->findChild<QAction*>("mnuFileRecent2")->trigger();
    ASSERT_EQ(prompt_.shown.size(), 2u);  // the bad file's message, then this one
    EXPECT_EQ(prompt_.shown[1].text, FormatResString(Str::RecentFileMissing, {dir_.File("show9.pdz")}));
    EXPECT_EQ(recent(*window).size(), 7u);
    EXPECT_EQ(recent(*window)[1], "&2 show8.pdz");
    EXPECT_EQ(window->FileName(), "");  // nothing was opened
    window->findChild<QAction*>("mnuFileRecent2")->trigger();
    EXPECT_EQ(window->FileName(), dir_.File("show8.pdz"));
}

TEST_F(FormMainTest, ExitWithChangesAsksAndYesOpensSaveAs) {
    auto window = Window();
    window->OpenDocument(show_);
    window->SignalFileChanged();
    prompt_.answersToAsk = {Answer::Yes};
    EXPECT_FALSE(window->close());  // Yes: Save As, and the editor keeps running
    ASSERT_EQ(prompt_.fileDialogs.size(), 1u);
    EXPECT_EQ(prompt_.fileDialogs[0].title, LoadResString(Str::SaveAsTitle));
    EXPECT_TRUE(window->isVisible());
    prompt_.answersToAsk = {Answer::Cancel};
    EXPECT_FALSE(window->close());
    prompt_.answersToAsk = {Answer::No};
    EXPECT_TRUE(window->close());
    EXPECT_EQ(prompt_.questions.size(), 3u);
    EXPECT_EQ(prompt_.questions[0].text, LoadResString(Str::AskSaveChanges));
}

TEST_F(FormMainTest, AReadOnlyFileIsNeitherWrittenNorCountedAsSaved) {
    auto window = Window();
    fs::permissions(show_, fs::perms::owner_read | fs::perms::group_read);
    window->OpenDocument(show_);
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_EQ(prompt_.shown[0].text, LoadResString(Str::OpenReadOnly));
    const std::string before = test::ReadFile(show_);
    window->SignalFileChanged();
    window->FileSave();
    ASSERT_EQ(prompt_.shown.size(), 2u);
    EXPECT_EQ(prompt_.shown[1].text, LoadResString(Str::SaveReadOnly));
    EXPECT_EQ(prompt_.shown[1].title, LoadResString(Str::ReadOnlyTitle));
    EXPECT_FALSE(window->Saved());
    EXPECT_EQ(test::ReadFile(show_), before);
    fs::permissions(show_, fs::perms::owner_all);
}

TEST_F(FormMainTest, PropertiesMarkTheDocumentChangedEvenWhenCancelled) {
    auto window = Window();
    window->OpenDocument(show_);
    test::WhenDialogOpens([](QWidget& dialog) { test::Click(dialog, "cmdCancel"); });
    window->FileProperties();
    EXPECT_FALSE(window->Saved());
    prompt_.answersToAsk = {Answer::Cancel};
    window->FileClose();  // asks, and Cancel keeps the document
    EXPECT_EQ(prompt_.questions.size(), 1u);
    EXPECT_NE(window->Document(), nullptr);
    prompt_.answersToAsk = {Answer::No};
    window->FileClose();
    EXPECT_EQ(window->Document(), nullptr);
    EXPECT_EQ(window->windowTitle().toStdString(), LoadResString(Str::AppTitle));
    EXPECT_EQ(window->SlideScrollBar().maximum(), 0);
    EXPECT_TRUE(window->Saved());
}

TEST_F(FormMainTest, NewAsksBeforeUsingAnExistingFile) {
    auto window = Window();
    prompt_.files = {show_};
    prompt_.answersToAsk = {Answer::No};
    window->FileNew();
    EXPECT_EQ(window->Document(), nullptr);
    EXPECT_EQ(prompt_.questions[0].text, FormatResString(Str::NewFileExists, {show_}));
    prompt_.files = {dir_.File("fresh.pdz")};
    window->FileNew();
    ASSERT_NE(window->Document(), nullptr);
    EXPECT_EQ(window->FileName(), dir_.File("fresh.pdz"));
    EXPECT_EQ(window->Document()->Slides().Count(), 0);
    window->FileSave();
    EXPECT_TRUE(fs::exists(dir_.File("fresh.pdz")));
}

TEST_F(FormMainTest, SavingKeepsTheFormatAndAFailedSaveLosesNothing) {
    auto window = Window();
    window->OpenDocument(show_);
    prompt_.files = {dir_.File("copy.pdx")};
    window->FileSaveBinary();
    EXPECT_EQ(window->FileName(), dir_.File("copy.pdx"));
    window->Document()->SetName("changed");
    window->SignalFileChanged();
    window->FileSave();  // in the document's own format
    EXPECT_TRUE(window->Saved());
    EXPECT_EQ(test::ReadFile(dir_.File("copy.pdx")).substr(0, 7), "PDXFILE");

    // From the menu, as a user meets it: told, and the editor goes on.
    window->SignalFileChanged();
    prompt_.files = {dir_.File("no-such-folder/x.pdz")};
    window->findChild<QAction*>("mnuFileSaveAs")->trigger();
    EXPECT_FALSE(window->Saved());
    EXPECT_EQ(window->FileName(), dir_.File("copy.pdx"));
    EXPECT_EQ(window->Document()->Name(), "changed");
    EXPECT_EQ(prompt_.shown.back().title, LoadResString(Str::FileErrorTitle));
    const int slide = window->CurrentSlide();
    window->findChild<QAction*>("mnuSlideNext")->trigger();
    EXPECT_EQ(window->CurrentSlide(), slide + 1);
}

TEST_F(FormMainTest, SavingUnderANameAddsTheExtensionAndAsksBeforeReplacing) {
    auto window = Window();
    window->OpenDocument(show_);
    prompt_.files = {dir_.File("plain")};
    window->FileSaveAs();
    EXPECT_EQ(window->FileName(), dir_.File("plain.pdz"));
    EXPECT_TRUE(fs::exists(dir_.File("plain.pdz")));
    prompt_.files = {dir_.File("packed")};
    window->FileSaveBinary();
    EXPECT_EQ(window->FileName(), dir_.File("packed.pdx"));
    EXPECT_EQ(test::ReadFile(dir_.File("packed.pdx")).substr(0, 7), "PDXFILE");
    EXPECT_EQ(window->findChild<QAction*>("mnuFileRecent1")->text().toStdString(), "&1 packed.pdx");
    EXPECT_TRUE(prompt_.questions.empty());  // nothing was there to replace

    test::WriteFile(dir_.File("other.pdz"), "keep me");
    test::WriteFile(dir_.File("slide.png"), "keep me");
    prompt_.files = {dir_.File("other.pdz"), dir_.File("other.pdz"), dir_.File("slide")};
    prompt_.answersToAsk = {Answer::No, Answer::No, Answer::No};
    window->FileSaveAs();
    window->FileSaveBinary();
    window->FileCapture();
    ASSERT_EQ(prompt_.questions.size(), 3u);
    EXPECT_EQ(prompt_.questions[0].text, FormatResString(Str::ReplaceFile, {dir_.File("other.pdz")}));
    EXPECT_EQ(prompt_.questions[2].text, FormatResString(Str::ReplaceFile, {dir_.File("slide.png")}));
    EXPECT_EQ(test::ReadFile(dir_.File("other.pdz")), "keep me");
    EXPECT_EQ(test::ReadFile(dir_.File("slide.png")), "keep me");
    EXPECT_EQ(window->FileName(), dir_.File("packed.pdx"));

    prompt_.files = {dir_.File("other.pdz"), dir_.File("slide.png")};
    prompt_.answersToAsk = {Answer::Yes, Answer::Yes};
    window->FileSaveAs();
    window->FileCapture();
    EXPECT_EQ(window->FileName(), dir_.File("other.pdz"));
    EXPECT_NE(test::ReadFile(dir_.File("other.pdz")), "keep me");
    EXPECT_EQ(test::ReadFile(dir_.File("slide.png")).substr(1, 3), "PNG");
}

TEST_F(FormMainTest, ExportAsksAboutUnsavedChangesInsteadOfSavingThem) {
    auto window = Window();
    window->OpenDocument(show_);
    const std::string onDisk = test::ReadFile(show_);
    window->Document()->SetName("changed");
    window->SignalFileChanged();
    const std::string package = dir_.File("out.exp");

    bool opened = false;
    QPointer<QTimer> guard = test::WhenDialogOpens([&](QWidget& dialog) {
        opened = true;
        test::Click(dialog, "cmdCancel");
    });
    prompt_.answersToAsk = {Answer::Cancel};
    window->FileExport();
    EXPECT_FALSE(opened);
    delete guard;
    ASSERT_EQ(prompt_.questions.size(), 1u);
    EXPECT_EQ(prompt_.questions[0].text, LoadResString(Str::ExportAskSave));

    // No: the package holds the file as it is on disk, and the changes stay unsaved.
    test::WhenDialogOpens([&](QWidget& dialog) {
        dialog.findChild<QLineEdit*>("txtFileName")->setText(QString::fromStdString(package));
        test::Click(dialog, "cmdOK");
    });
    prompt_.answersToAsk = {Answer::No};
    window->FileExport();
    EXPECT_TRUE(fs::exists(package));
    EXPECT_EQ(test::ReadFile(show_), onDisk);
    EXPECT_FALSE(window->Saved());

    test::WhenDialogOpens([](QWidget& dialog) { test::Click(dialog, "cmdCancel"); });
    prompt_.answersToAsk = {Answer::Yes};
    window->FileExport();
    EXPECT_TRUE(window->Saved());
    EXPECT_NE(test::ReadFile(show_), onDisk);
}

TEST_F(FormMainTest, WindowLayoutHasALowerBoundAndScreenSizes) {
    auto window = Window();
    window->resize(40, 40);
    QApplication::processEvents();
    const SlideHost& host = window->Host();
    EXPECT_GE(host.width(), 2000 / 15);
    EXPECT_GE(host.height() + window->findChild<QStatusBar*>("sbMain")->height(), 1000 / 15);
    window->Screen640();
    QApplication::processEvents();
    EXPECT_EQ(host.size(), QSize(640, 406));
    window->Screen800();
    QApplication::processEvents();
    EXPECT_EQ(host.size(), QSize(800, 515));
}

TEST_F(FormMainTest, PrintingToPdfWorksWithoutAPrinter) {
    auto window = Window();
    window->OpenDocument(show_);
    QPrinter printer;
    printer.setOutputFormat(QPrinter::PdfFormat);
    printer.setOutputFileName(QString::fromStdString(dir_.File("slide.pdf")));
    window->PrintSlide(printer);
    ASSERT_TRUE(fs::exists(dir_.File("slide.pdf")));
    EXPECT_GT(fs::file_size(dir_.File("slide.pdf")), 1000u);
    prompt_.files = {dir_.File("no-such-folder/slide.png")};
    window->FileCapture();
    ASSERT_FALSE(prompt_.shown.empty());
    EXPECT_EQ(prompt_.shown.back().text, FormatResString(Str::ImageNotWritten, {dir_.File("no-such-folder/slide.png")}));
}

TEST_F(FormMainTest, MenusSpeakTheLanguageOfTheSettings) {
    SetLanguage(1031);
    auto window = Window();
    EXPECT_EQ(window->menuBar()->actions()[0]->text().toStdString(), "&Datei");
    EXPECT_EQ(window->findChild<QAction*>("mnuFileSaveAs")->text().toStdString(), "Speichern &unter...");
    EXPECT_EQ(window->windowTitle().toStdString(), "KVO-Editor");
}

TEST_F(FormMainTest, WhatQtDrawsItselfSpeaksTheLanguageOfTheSettings) {
    if (!QFileInfo::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_de.qm"))
        GTEST_SKIP() << "Qt's German translations are not installed (qt6-translations-l10n)";
    struct English {
        ~English() {
            SetLanguage(1033);
            ApplyLanguageToQt();
        }
    } restore;
    SetLanguage(1031);
    ApplyLanguageToQt();
    auto window = Window();
    EXPECT_EQ(window->findChild<QAction*>("mnuFileNew")->shortcut().toString(QKeySequence::NativeText).toStdString(), "Strg+N");
    EXPECT_EQ(window->findChild<QAction*>("mnuSlidePrevious")->shortcut().toString(QKeySequence::NativeText).toStdString(),
              "Bild aufwärts");
    QDialogButtonBox buttons(QDialogButtonBox::Cancel);
    EXPECT_EQ(buttons.button(QDialogButtonBox::Cancel)->text().toStdString(), "Abbrechen");
}

}  // namespace
}  // namespace kvo

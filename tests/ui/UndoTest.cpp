#include <gtest/gtest.h>

#include <QtCore/QProcess>
#include <QtGui/QUndoStack>
#include <QtTest/QTest>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>

#include <functional>
#include <sstream>

#include "PictureBytes.h"
#include "UiTestSupport.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

using test::Send;
using test::TextOf;

class UndoTest : public test::WindowTest {
protected:
    void SetUp() override {
        test::WriteFile(picture_, test::Bmp(160, 120));
        SlideShow show;
        for (const char* name : {"A", "B", "C"}) show.Slides().Add().SetName(name);
        Slide& first = show.Slides().Item(1);
        first.SetPictureFile(picture_);
        Icon& numbered = first.Icons().Add();
        numbered.SetSequenceNumber(12);
        numbered.SetDrawLeader(true);
        numbered.SetLeaderX(500);
        numbered.SetLeaderY(500);
        first.Icons().Add().SetFeatureName("BORE1");
        Open(show);
    }

    std::string Text() const { return TextOf(*window_.Document()); }
    void Choose(int icon, const char* entry) {
        Send(Surface(icon), QEvent::MouseButtonPress, QPoint(3, 3), Qt::RightButton, Qt::RightButton);
        Send(Surface(icon), QEvent::MouseButtonRelease, QPoint(3, 3), Qt::RightButton, Qt::NoButton);
        window_.IconMenu().findChild<QAction*>(entry)->trigger();
        window_.IconMenu().hide();
        QApplication::processEvents();
    }
    // Every icon of the slide shown has a view and a surface, and nothing else has.
    void ExpectViewsMatch(const std::string& step) {
        const int icons = window_.View().CurrentSlide()->Icons().Count();
        EXPECT_EQ(window_.View().Views().Count(), icons) << step;
        EXPECT_EQ(window_.Host().findChildren<IconWidget*>().size(), icons) << step;
    }

    // Makes one edit, then undoes and redoes it from the Edit menu.
    void Check(const QString& name, const std::function<void()>& edit) {
        const std::string step = name.toStdString();
        const std::string before = Text();
        const int slideBefore = window_.CurrentSlide();
        const int steps = window_.Session().UndoStack().count();
        edit();
        const std::string after = Text();
        const int slideAfter = window_.CurrentSlide();
        ASSERT_NE(after, before) << step;
        ASSERT_EQ(window_.Session().UndoStack().count(), steps + 1) << step;
        EXPECT_EQ(Command("mnuEditUndo")->text(), "&Undo " + name);
        EXPECT_FALSE(window_.Saved()) << step;

        Command("mnuEditUndo")->trigger();
        EXPECT_EQ(Text(), before) << step;
        EXPECT_EQ(window_.CurrentSlide(), slideBefore) << step;
        EXPECT_EQ(window_.View().CurrentSlide(), &window_.Document()->Slides().Item(slideBefore)) << step;
        ExpectViewsMatch(step);
        EXPECT_EQ(Command("mnuEditRedo")->text(), "&Redo " + name);

        Command("mnuEditRedo")->trigger();
        EXPECT_EQ(Text(), after) << step;
        EXPECT_EQ(window_.CurrentSlide(), slideAfter) << step;
        ExpectViewsMatch(step);
    }

    std::string picture_ = dir_.File("plan.bmp");
};

TEST_F(UndoTest, EveryKindOfEditIsOneStepThatUndoesAndRedoes) {
    const std::string opened = Text();
    Check("Add slide", [&] { window_.SlideAdd(); });
    Check("Insert slide", [&] { window_.SlideInsert(); });
    window_.SlideLast();
    Check("Move slide 5 up", [&] { window_.SlideUp(); });
    Check("Move slide 4 down", [&] { window_.SlideDown(); });
    prompt_.answersToAsk = {Answer::Yes};
    Check("Remove slide 5", [&] { window_.SlideRemove(); });
    prompt_.texts = {"Renamed"};
    Check("Rename slide 4", [&] { window_.SlideTitle(); });
    prompt_.texts = {"77"};
    Check("Help topic of slide 4", [&] { window_.SlideHelpTopic(); });

    window_.SlideFirst();
    prompt_.colors = {0x00FF00};
    Check("Background colour", [&] { window_.BackColor(); });
    test::WhenDialogOpens([](QWidget& dialog) {
        dialog.findChild<QScrollBar*>("hsLeft")->setValue(30);
        test::Click(dialog, "cmdOK");
    });
    Check("Background position", [&] { window_.BackPosition(); });
    Check("Clear background picture", [&] { window_.BackClear(); });
    prompt_.files = {dir_.File("plan.bmp")};
    window_.BackClear();
    Check("Set background picture", [&] { window_.BackSet(); });

    Check("Insert icon", [&] { window_.InsertIcon(); });
    // The icon deleted comes back with a view and a surface of its own.
    Check("Delete icon BORE1", [&] { Choose(2, "mnuIconDelete"); });
    test::WhenDialogOpens([](QWidget& dialog) {
        dialog.findChild<QLineEdit*>("txtLeaderBend")->setText("40");
        test::Click(dialog, "cmdOK");
    });
    Check("Icon properties", [&] { Choose(1, "mnuIconProp"); });
    Check("Move icon #12", [&] {
        Send(Surface(1), QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::LeftButton);
        Send(Surface(1), QEvent::MouseMove, QPoint(200, 90), Qt::NoButton, Qt::LeftButton);
        Send(Surface(1), QEvent::MouseButtonRelease, QPoint(200, 90), Qt::LeftButton, Qt::NoButton);
    });
    Check("Move leader of icon #12", [&] {
        SlideHost& host = window_.Host();
        const Icon& icon = window_.Document()->Slides().Item(1).Icons().Item(1);
        const QPoint end = window_.View().ConvertPictureToHost(icon.LeaderX(), icon.LeaderY());
        const QPoint pixel(static_cast<int>(end.x() / host.TwipsPerPixelX()), static_cast<int>(end.y() / host.TwipsPerPixelY()));
        Send(&host, QEvent::MouseButtonPress, pixel, Qt::LeftButton, Qt::LeftButton);
        Send(&host, QEvent::MouseMove, QPoint(40, 30), Qt::NoButton, Qt::LeftButton);
        Send(&host, QEvent::MouseButtonRelease, QPoint(40, 30), Qt::LeftButton, Qt::NoButton);
    });
    test::WhenDialogOpens([](QWidget& dialog) {
        dialog.findChild<QLineEdit*>("txtCustomer")->setText("Werk 3");
        test::Click(dialog, "cmdOK");
    });
    Check("Slide show properties", [&] { window_.FileProperties(); });

    // All the way back is the file as it was opened.
    while (window_.Session().UndoStack().canUndo()) window_.Session().UndoStack().undo();
    EXPECT_EQ(Text(), opened);
    EXPECT_EQ(window_.CurrentSlide(), 1);
}

TEST_F(UndoTest, TheSavedStateIsWhereTheLastSaveWas) {
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    window_.SlideAdd();
    window_.FileSave();
    const std::string saved = Text();
    window_.InsertIcon();
    QTest::keyClick(&window_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(window_.Saved());
    QTest::keyClick(&window_, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_FALSE(window_.Saved());  // before the save
    QTest::keyClick(&window_, Qt::Key_Y, Qt::ControlModifier);
    EXPECT_TRUE(window_.Saved());
    EXPECT_EQ(Text(), saved);
    QTest::keyClick(&window_, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(window_.View().CurrentSlide()->Icons().Count(), 1);

    // Cancelled and unchanged edits leave no step behind.
    const int steps = window_.Session().UndoStack().count();
    window_.BackColor();
    prompt_.texts = {std::nullopt};
    window_.SlideHelpTopic();
    EXPECT_EQ(window_.Session().UndoStack().count(), steps);

    // A new document starts with nothing to undo.
    window_.FileSave();
    window_.OpenDocument(file_);
    EXPECT_FALSE(window_.Session().UndoStack().canUndo());
    EXPECT_TRUE(window_.Saved());
}

TEST_F(UndoTest, ChangesKeptDeliberatelyWithoutAStepStayUnsaved) {
    // A click that moves nothing, and properties confirmed unchanged, count as changes as they always have.
    Send(Surface(1), QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::LeftButton);
    Send(Surface(1), QEvent::MouseButtonRelease, QPoint(5, 5), Qt::LeftButton, Qt::NoButton);
    EXPECT_FALSE(window_.Session().UndoStack().canUndo());
    EXPECT_FALSE(window_.Saved());
    window_.FileSave();
    test::WhenDialogOpens([](QWidget& dialog) { test::Click(dialog, "cmdOK"); });
    window_.FileProperties();
    EXPECT_FALSE(window_.Session().UndoStack().canUndo());
    EXPECT_FALSE(window_.Saved());
    window_.InsertIcon();
    window_.Session().UndoStack().undo();
    EXPECT_FALSE(window_.Saved());

    // Not in the middle of a drag: the icon held would vanish under the mouse.
    window_.Session().UndoStack().redo();
    Send(Surface(1), QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::LeftButton);
    Send(Surface(1), QEvent::MouseMove, QPoint(60, 40), Qt::NoButton, Qt::LeftButton);
    Command("mnuEditUndo")->trigger();
    EXPECT_EQ(window_.Session().UndoStack().index(), 1);
    Send(Surface(1), QEvent::MouseButtonRelease, QPoint(60, 40), Qt::LeftButton, Qt::NoButton);
    Command("mnuEditUndo")->trigger();  // the drag
    EXPECT_EQ(window_.Session().UndoStack().index(), 1);
}

// A child editor makes unsaved changes, waits for its recovery copy and is
// killed; the next editor offers the copy and restores exactly that work.
TEST_F(UndoTest, AKilledEditorsWorkIsRestored) {
    const std::string onDisk = test::ReadFile(file_);
    const std::string expected = dir_.File("expected.pdz");
    QProcess child;
    child.start(KVO_RECOVERY_CHILD, {QString::fromStdString(file_), QString::fromStdString(expected)});
    ASSERT_TRUE(child.waitForStarted(10000));
    ASSERT_TRUE(child.waitForReadyRead(30000)) << child.readAllStandardError().toStdString();
    EXPECT_EQ(child.readLine().trimmed(), "ready");
    child.kill();  // SIGKILL: nothing of the editor runs after this
    ASSERT_TRUE(child.waitForFinished(10000));
    EXPECT_EQ(child.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(test::ReadFile(file_), onDisk);

    prompt_.answersToAsk = {Answer::Yes};
    window_.OfferRecovery();
    ASSERT_EQ(prompt_.questions.size(), 1u);
    EXPECT_NE(prompt_.questions[0].text.find(file_), std::string::npos) << prompt_.questions[0].text;
    EXPECT_EQ(Text(), test::ReadFile(expected));
    EXPECT_EQ(window_.FileName(), file_);
    EXPECT_FALSE(window_.Saved());
    EXPECT_FALSE(window_.Document()->Binary());
    window_.FileSave();
    EXPECT_EQ(test::ReadFile(file_), test::ReadFile(expected));
    window_.Session().FlushRecovery();
    EXPECT_TRUE(window_.Session().RecoveryCopies().Pending().empty());

    window_.OfferRecovery();  // nothing left to offer
    EXPECT_EQ(prompt_.questions.size(), 1u);
}

}  // namespace
}  // namespace kvo

#include "session/DocumentSession.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <filesystem>
#include <sstream>

#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

using test::TextOf;

class DocumentSessionTest : public ::testing::Test {
protected:
    void SetUp() override {
        SlideShow show;
        for (const char* name : {"Front", "Top"}) {
            Slide& slide = show.Slides().Add();
            slide.SetName(name);
            Icon& icon = slide.Icons().Add();
            icon.SetFeatureName("BORE");
            icon.Values().Add().SetCurrentValue(Variant(0.012));
        }
        show.SaveToFile(file_);
        ASSERT_TRUE(session_.Open(file_));
    }

    Value& FirstCell() { return session_.Document()->Slides().Item(1).Icons().Item(1).Values().Item(1); }

    test::TempDir dir_;
    std::string file_ = dir_.File("show.pdz");
    test::RecordingPrompt prompt_;
    DocumentSession session_{dir_.File("recovery"), dir_.File("recent.txt")};
};

// Each step puts back exactly what was there, also what no file format holds
// and texts longer than the binary format allows, and neither way can fail.
TEST_F(DocumentSessionTest, UndoAndRedoPutBackEveryField) {
    QSignalSpy replaced(&session_, &DocumentSession::replaced);
    const std::string original = TextOf(*session_.Document());
    const std::string longName(40000, 'n');
    session_.Edit("rename", 1, 1, [&] {
        session_.Document()->Slides().Item(1).SetName(longName);
        return 1;
    });
    session_.Edit("average", 0, 1, [&] {
        Value& cell = FirstCell();
        cell.InitializeSampleSet(3);
        cell.SetSumm(Variant(0.036));
        cell.SetSummCount(3);
        cell.AddLog("part 1");
        return 2;
    });
    session_.Edit("add", 0, 2, [&] {
        session_.Document()->Slides().Add();
        return 3;
    });
    session_.Edit("nothing", 0, 3, [] { return 3; });  // no change: no step
    ASSERT_EQ(session_.UndoStack().count(), 3);
    const SlideShow after(*session_.Document());

    session_.UndoStack().undo();
    EXPECT_EQ(session_.Document()->Slides().Count(), 2);
    EXPECT_EQ(replaced.takeLast().at(0).toInt(), 2);
    session_.UndoStack().undo();
    EXPECT_FALSE(FirstCell().IsAverage());
    EXPECT_EQ(replaced.takeLast().at(0).toInt(), 1);
    session_.UndoStack().undo();
    EXPECT_EQ(TextOf(*session_.Document()), original);

    while (session_.UndoStack().canRedo()) session_.UndoStack().redo();
    EXPECT_TRUE(*session_.Document() == after);
    EXPECT_TRUE(FirstCell().IsAverage());
    EXPECT_EQ(FirstCell().LogItem(1), "part 1");
    EXPECT_EQ(session_.Document()->Slides().Item(1).Name(), longName);

    // An edit that fails half way is a step all the same.
    EXPECT_THROW(session_.Edit("fails", 1, 1,
                               [&]() -> int {
                                   session_.Document()->Slides().Item(1).SetName("half");
                                   throw Error(5, "test", "failed");
                               }),
                 Error);
    EXPECT_EQ(session_.UndoStack().count(), 4);
    session_.UndoStack().undo();
    EXPECT_EQ(session_.Document()->Slides().Item(1).Name(), longName);
}

TEST_F(DocumentSessionTest, SavedFollowsSavesUndoAndRedo) {
    QSignalSpy state(&session_, &DocumentSession::stateChanged);
    EXPECT_TRUE(session_.Saved());
    session_.Edit("rename", 1, 1, [&] {
        session_.Document()->Slides().Item(1).SetName("Side");
        return 1;
    });
    EXPECT_FALSE(session_.Saved());
    EXPECT_FALSE(state.isEmpty());
    ASSERT_TRUE(session_.Save());
    EXPECT_TRUE(session_.Saved());
    session_.UndoStack().undo();
    EXPECT_FALSE(session_.Saved());
    session_.UndoStack().redo();
    EXPECT_TRUE(session_.Saved());
    session_.MarkChanged();
    EXPECT_FALSE(session_.Saved());
    session_.Discard();
    EXPECT_TRUE(session_.Saved());

    // A drag is one step named after what moved; a click that moves nothing is a change without one.
    session_.BeginMouseEdit(1);
    session_.Document()->Slides().Item(1).Icons().Item(1).SetLeft(700);
    session_.EndMouseEdit(1);
    EXPECT_EQ(session_.UndoStack().undoText().toStdString(), FormatResString(Str::StepMoveIcon, {std::string("BORE")}));
    const int steps = session_.UndoStack().count();
    session_.BeginMouseEdit(1);
    session_.EndMouseEdit(1);
    EXPECT_EQ(session_.UndoStack().count(), steps);

    const std::string binary = dir_.File("show.pdx");
    ASSERT_TRUE(session_.SaveAs(binary, true));
    EXPECT_EQ(session_.FileName(), binary);
    EXPECT_EQ(session_.Recent().Paths().front(), binary);
    session_.UndoStack().undo();  // the format stays that of the file
    EXPECT_TRUE(session_.Document()->Binary());
}

TEST_F(DocumentSessionTest, TheRecoveryCopyFollowsTheUnsavedState) {
    session_.SetRecoveryDelay(std::chrono::milliseconds(10));
    const std::string copy = session_.RecoveryCopies().CopyPath(file_);
    session_.Edit("rename", 1, 1, [&] {
        session_.Document()->Slides().Item(1).SetName("Side");
        return 1;
    });
    ASSERT_TRUE(QTest::qWaitFor([&] {
        session_.FlushRecovery();
        return fs::exists(copy);
    }, 5000));
    const auto pending = session_.RecoveryCopies().Pending();
    ASSERT_EQ(pending.size(), 1u);
    EXPECT_EQ(TextOf(*session_.RecoveryCopies().Load(pending[0])), TextOf(*session_.Document()));
    session_.UndoStack().undo();  // back to what is on disk
    session_.FlushRecovery();
    EXPECT_FALSE(fs::exists(copy));

    // Changes the user throws away leave no copy behind either.
    session_.MarkChanged();
    ASSERT_TRUE(QTest::qWaitFor([&] {
        session_.FlushRecovery();
        return fs::exists(copy);
    }, 5000));
    session_.Discard();
    session_.FlushRecovery();
    EXPECT_FALSE(fs::exists(copy));
}

TEST_F(DocumentSessionTest, FailuresAreToldAndChangeNothing) {
    session_.MarkChanged();
    const std::string nowhere = dir_.File("show.pdz/inside.pdz");  // below a file: cannot be made
    EXPECT_FALSE(session_.SaveAs(nowhere, false));
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_NE(prompt_.shown[0].text.find(nowhere), std::string::npos) << prompt_.shown[0].text;
    EXPECT_EQ(session_.FileName(), file_);
    EXPECT_FALSE(session_.Saved());

    test::WriteFile(dir_.File("bad.pdz"), "BLOCK SlideShow\nHELPTOPIC=abc\nEND\n");
    const SlideShow* shown = session_.Document();
    EXPECT_FALSE(session_.Open(dir_.File("bad.pdz")));
    EXPECT_EQ(prompt_.shown.size(), 2u);
    EXPECT_EQ(session_.Document(), shown);
    EXPECT_FALSE(session_.Evaluate(dir_.File("missing.qif"), 1));
    EXPECT_EQ(prompt_.shown.size(), 3u);
    EXPECT_EQ(session_.UndoStack().count(), 0);
}

}  // namespace
}  // namespace kvo

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

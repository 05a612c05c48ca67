#include <gtest/gtest.h>

#include <QtCore/QMimeData>
#include <QtCore/QUrl>
#include <QtGui/QClipboard>
#include <QtGui/QDragEnterEvent>
#include <QtGui/QDropEvent>
#include <QtTest/QTest>
#include <QtWidgets/QMenu>

#include "PictureBytes.h"
#include "UiTestSupport.h"
#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "ui/FormMain.h"
#include "ui/SlideHost.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

// A show of two slides, the first with one icon that has something of everything.
void SaveShow(const std::string& file) {
    SlideShow show;
    Slide& first = show.Slides().Add();
    first.SetName("A");
    Icon& icon = first.Icons().Add();
    icon.SetSequenceNumber(7);
    icon.SetLeft(300);
    icon.SetTop(300);
    icon.SetLeaderColor(0x0000FF);
    icon.SetFontSize(14);
    icon.SetNameColor(0x00FFFF);
    Value& cell = icon.Values().Add();
    cell.SetRow(3);
    cell.SetColumn(2);
    cell.SetGeometricSymbol(5);
    show.Slides().Add().SetName("B");
    show.SaveToFile(file);
}

// Everything of an icon but where it is.
void ExpectSameButPlace(const Icon& copy, const Icon& original) {
    Icon moved(copy);
    moved.SetLeft(original.Left());
    moved.SetTop(original.Top());
    EXPECT_EQ(moved, original);
}

class EditingComfortTest : public ::testing::Test {
protected:
    void SetUp() override {
        SaveShow(file_);
        window_.resize(900, 700);
        window_.show();
        window_.OpenDocument(file_);
        window_.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    }

    Slide& SlideAt(int number) { return window_.Document()->Slides().Item(number); }
    Icon& IconAt(int number) { return SlideAt(window_.CurrentSlide()).Icons().Item(number); }
    SlideHost& Host() { return window_.Host(); }
    QWidget* Surface(int index) { return Host().findChild<QWidget*>(QString("picIcon%1").arg(index)); }
    QAction* Command(const char* name) { return window_.findChild<QAction*>(name); }
    void Key(int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        QTest::keyClick(&window_, static_cast<Qt::Key>(key), modifiers);
    }
    // No two icon boxes of the shown slide share a pixel.
    void ExpectNoOverlap() {
        const auto& views = window_.View().Views();
        for (int32_t i = 1; i <= views.Count(); ++i)
            for (int32_t j = i + 1; j <= views.Count(); ++j)
                EXPECT_FALSE(Surface(views.Item(i).Index())->geometry().intersects(Surface(views.Item(j).Index())->geometry()))
                    << i << " and " << j;
    }

    test::TempDir dir_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
    std::string file_ = dir_.File("show.pdz");
    test::RecordingPrompt prompt_;
    FormMain window_;
};

TEST_F(EditingComfortTest, SelectedIconsMoveWithTheKeysAndAreDeletedAsOneStep) {
    window_.InsertIcon();
    window_.InsertIcon();
    ASSERT_EQ(SlideAt(1).Icons().Count(), 3);
    ExpectNoOverlap();  // inserted where no icon is

    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    EXPECT_EQ(Host().Selected(), (std::vector<int16_t>{1}));
    QTest::mouseClick(Surface(3), Qt::LeftButton, Qt::ControlModifier, QPoint(3, 3));
    EXPECT_EQ(Host().Selected(), (std::vector<int16_t>{1, 3}));
    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::ControlModifier, QPoint(3, 3));
    EXPECT_EQ(Host().Selected(), (std::vector<int16_t>{3}));
    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::ControlModifier, QPoint(3, 3));

    const QPoint first = Surface(1)->pos(), second = Surface(2)->pos(), third = Surface(3)->pos();
    const int32_t firstLeft = IconAt(1).Left();
    QTest::keyClick(&Host(), Qt::Key_Right);
    const int32_t movedLeft = IconAt(1).Left();
    EXPECT_GT(movedLeft, firstLeft);
    EXPECT_EQ(Surface(1)->pos(), first + QPoint(1, 0));
    QTest::keyClick(&Host(), Qt::Key_Down, Qt::ShiftModifier);
    EXPECT_EQ(Surface(3)->pos(), third + QPoint(1, 10));
    EXPECT_EQ(Surface(2)->pos(), second);  // not selected
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(Surface(3)->pos(), third + QPoint(1, 0));
    EXPECT_EQ(Host().Selected(), (std::vector<int16_t>{1, 3}));  // kept across the undo

    Key(Qt::Key_Delete);
    EXPECT_EQ(SlideAt(1).Icons().Count(), 1);
    EXPECT_EQ(Host().Selected(), std::vector<int16_t>{});
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(SlideAt(1).Icons().Count(), 3);
    EXPECT_EQ(SlideAt(1).Icons().Item(1).Left(), movedLeft);  // the whole deletion came back, as it was

    // A rubber band over all of them, then a click on the empty slide.
    QTest::mousePress(&Host(), Qt::LeftButton, Qt::NoModifier, QPoint(1, 1));
    QTest::mouseMove(&Host(), QPoint(Host().width() / 2, Host().height() / 2));
    EXPECT_FALSE(Host().Band().isEmpty());
    QTest::mouseMove(&Host(), QPoint(Host().width() - 2, Host().height() - 2));
    QTest::mouseRelease(&Host(), Qt::LeftButton, Qt::NoModifier, QPoint(Host().width() - 2, Host().height() - 2));
    EXPECT_EQ(Host().Selected().size(), 3u);
    EXPECT_TRUE(Host().Band().isEmpty());
    QTest::keyClick(&Host(), Qt::Key_Escape);
    EXPECT_TRUE(Host().Selected().empty());

    // A double-click opens the icon's properties.
    QString opened;
    test::WhenDialogOpens([&](QWidget& dialog) {
        opened = dialog.objectName();
        test::Click(dialog, "cmdCancel");
    });
    QTest::mouseDClick(Surface(2), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    EXPECT_EQ(opened, "FormIconProperties");
}

TEST_F(EditingComfortTest, CopiesTravelAcrossSlidesAndEditorsAndNeverLandOnAnIcon) {
    const Icon original(IconAt(1));
    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    Key(Qt::Key_C, Qt::ControlModifier);
    const QMimeData* data = QGuiApplication::clipboard()->mimeData();
    ASSERT_TRUE(data->hasFormat("application/x-kvoeditor-icons"));
    EXPECT_TRUE(data->text().contains("SEQNUMBER=7"));

    Key(Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(SlideAt(1).Icons().Count(), 2);
    ExpectSameButPlace(IconAt(2), original);
    ExpectNoOverlap();
    EXPECT_EQ(Host().Selected(), (std::vector<int16_t>{2}));  // the copy, ready to be moved

    Key(Qt::Key_PageDown);
    ASSERT_EQ(window_.CurrentSlide(), 2);
    Key(Qt::Key_V, Qt::ControlModifier);
    ASSERT_EQ(SlideAt(2).Icons().Count(), 1);
    EXPECT_EQ(IconAt(1).Left(), 320);  // offset, though nothing is in the way
    EXPECT_EQ(IconAt(1).Top(), 320);
    Key(Qt::Key_X, Qt::ControlModifier);
    EXPECT_EQ(SlideAt(2).Icons().Count(), 0);

    // Another editor takes it from the system clipboard.
    const std::string otherFile = dir_.File("other.pdz");
    SlideShow other;
    other.Slides().Add();
    other.SaveToFile(otherFile);
    FormMain second;
    second.show();
    second.OpenDocument(otherFile);
    second.findChild<QAction*>("mnuEditPaste")->trigger();
    ASSERT_EQ(second.Document()->Slides().Item(1).Icons().Count(), 1);
    ExpectSameButPlace(second.Document()->Slides().Item(1).Icons().Item(1), original);

    // Ten of the same layout: one, and nine duplicates of it.
    Key(Qt::Key_PageUp);
    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    for (int i = 0; i < 9; ++i) Key(Qt::Key_D, Qt::ControlModifier);
    ASSERT_EQ(SlideAt(1).Icons().Count(), 11);
    ExpectNoOverlap();
    for (int32_t i = 2; i <= 11; ++i) ExpectSameButPlace(IconAt(i), original);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(SlideAt(1).Icons().Count(), 10);  // each duplicate its own step
}

TEST_F(EditingComfortTest, AlignDistributeAndTheGridPlaceTheSelection) {
    window_.InsertIcon();
    window_.InsertIcon();
    Key(Qt::Key_A, Qt::ControlModifier);
    ASSERT_EQ(Host().Selected().size(), 3u);
    int least = Host().width();
    std::vector<QPoint> before;
    for (int i = 1; i <= 3; ++i) {
        least = std::min(least, Surface(i)->x());
        before.push_back(Surface(i)->pos());
    }
    Command("mnuAlignLeft")->trigger();
    for (int i = 1; i <= 3; ++i) EXPECT_EQ(Surface(i)->x(), least);
    ExpectNoOverlap();  // they were apart in height, or they would be on top of each other now
    Command("mnuDistributeDown")->trigger();
    std::vector<QRect> boxes;
    for (int i = 1; i <= 3; ++i) boxes.push_back(Surface(i)->geometry());
    std::sort(boxes.begin(), boxes.end(), [](const QRect& a, const QRect& b) { return a.top() < b.top(); });
    EXPECT_NEAR(boxes[1].top() - boxes[0].bottom(), boxes[2].top() - boxes[1].bottom(), 2);
    const int32_t distributedTop = IconAt(2).Top();
    Key(Qt::Key_Z, Qt::ControlModifier);
    Key(Qt::Key_Z, Qt::ControlModifier);
    for (int i = 1; i <= 3; ++i) EXPECT_EQ(Surface(i)->pos(), before[static_cast<std::size_t>(i) - 1]);
    Key(Qt::Key_Y, Qt::ControlModifier);
    Key(Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(IconAt(2).Top(), distributedTop);

    prompt_.texts = {std::string("50")};
    Command("mnuGridSize")->trigger();
    Command("mnuSnapToGrid")->trigger();
    ASSERT_TRUE(window_.SnapsToGrid());
    EXPECT_EQ(window_.GridSize(), 50);
    QWidget* box = Surface(2);
    QTest::mousePress(box, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    QTest::mouseMove(box, QPoint(60, 47));
    QTest::mouseRelease(box, Qt::LeftButton, Qt::NoModifier, QPoint(60, 47));
    EXPECT_EQ(IconAt(2).Left() % 50, 0);
    EXPECT_EQ(IconAt(2).Top() % 50, 0);
    const int32_t left = IconAt(2).Left();
    QTest::keyClick(&Host(), Qt::Key_Left);
    EXPECT_EQ(IconAt(2).Left(), left - 50);
}

TEST_F(EditingComfortTest, TheSelectedLeaderHasALargerHandleAndInsertingFollowsThePointer) {
    IconAt(1).SetLeaderX(500);
    IconAt(1).SetLeaderY(500);
    Host().update();
    const QPoint end = window_.View().ConvertPictureToHost(500, 500);
    const QPoint pixel(static_cast<int>(std::lround(end.x() / Host().TwipsPerPixelX())),
                       static_cast<int>(std::lround(end.y() / Host().TwipsPerPixelY())));
    const QPoint beside = pixel + QPoint(4, -4);  // beyond the 3 pixels of an unselected leader end

    QTest::mousePress(&Host(), Qt::LeftButton, Qt::NoModifier, beside);
    EXPECT_TRUE(Host().Feedback().empty());
    QTest::mouseRelease(&Host(), Qt::LeftButton, Qt::NoModifier, beside);

    QTest::mouseClick(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(3, 3));
    QTest::mousePress(&Host(), Qt::LeftButton, Qt::NoModifier, beside);
    EXPECT_EQ(Host().Feedback().size(), 1u);
    QTest::mouseMove(&Host(), pixel + QPoint(40, 30));
    QTest::mouseRelease(&Host(), Qt::LeftButton, Qt::NoModifier, pixel + QPoint(40, 30));
    EXPECT_GT(IconAt(1).LeaderX(), 500);
    EXPECT_GT(IconAt(1).LeaderY(), 500);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(IconAt(1).LeaderX(), 500);

    // Inserted where the slide was right-clicked.
    const QPoint spot(40, Host().height() - 80);
    QTest::mouseClick(&Host(), Qt::RightButton, Qt::NoModifier, spot);
    ASSERT_TRUE(window_.SlideMenu().isVisible());
    Command("mnuInsertIcon")->trigger();
    window_.SlideMenu().hide();
    QApplication::processEvents();
    ASSERT_EQ(SlideAt(1).Icons().Count(), 2);
    EXPECT_NEAR(Surface(2)->x(), spot.x(), 1);
    EXPECT_NEAR(Surface(2)->y(), spot.y(), 1);
    // From the menu bar: where it covers no icon.
    Command("mnuInsertIcon")->trigger();
    ASSERT_EQ(SlideAt(1).Icons().Count(), 3);
    ExpectNoOverlap();
}

TEST_F(EditingComfortTest, ASlideIsDisabledAndEnabledAgainAsSteps) {
    QAction* enabled = Command("mnuSlideEnabled");
    ASSERT_TRUE(enabled->isChecked());
    enabled->trigger();
    EXPECT_FALSE(SlideAt(1).Enabled());
    EXPECT_FALSE(enabled->isChecked());
    EXPECT_TRUE(SlideAt(2).Enabled());
    Key(Qt::Key_PageDown);
    EXPECT_TRUE(enabled->isChecked());  // the menu follows the slide shown
    Key(Qt::Key_PageUp);
    EXPECT_FALSE(enabled->isChecked());
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(SlideAt(1).Enabled());
    EXPECT_TRUE(enabled->isChecked());
    EXPECT_TRUE(window_.Saved());
}

TEST_F(EditingComfortTest, DroppedFilesBecomeTheBackgroundOrTheDocument) {
    const auto drop = [&](const std::string& file) {
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QString::fromStdString(file))});
        QDragEnterEvent enter(QPoint(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window_, &enter);
        if (!enter.isAccepted()) return false;
        QDropEvent dropped(QPointF(100, 100), Qt::CopyAction, &data, Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(&window_, &dropped);
        QApplication::processEvents();
        return true;
    };
    const std::string picture = dir_.File("part.bmp");
    test::WriteFile(picture, test::Bmp(40, 30));
    ASSERT_TRUE(drop(picture));
    EXPECT_EQ(SlideAt(1).PictureFile(), picture);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(SlideAt(1).PictureFile(), "");

    EXPECT_FALSE(drop(dir_.File("notes.txt")));
    const std::string otherFile = dir_.File("other.pdz");
    SlideShow other;
    other.Slides().Add().SetName("Z");
    other.SaveToFile(otherFile);
    ASSERT_TRUE(drop(otherFile));
    EXPECT_EQ(window_.FileName(), otherFile);
    EXPECT_EQ(SlideAt(1).Name(), "Z");
}

}  // namespace
}  // namespace kvo

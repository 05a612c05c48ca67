#include <gtest/gtest.h>

#include <QtCore/QMimeData>
#include <QtCore/QUrl>
#include <QtGui/QClipboard>
#include <QtGui/QDragEnterEvent>
#include <QtGui/QDropEvent>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

#include "PictureBytes.h"
#include "UiTestSupport.h"
#include "model/Slide.h"
#include "model/SlideCollection.h"
#include "services/RegEntry.h"
#include "ui/FormSlidePanel.h"
#include "view/Colors.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

// Everything of an icon but where it is.
void ExpectSameButPlace(const Icon& copy, const Icon& original) {
    Icon moved(copy);
    moved.SetLeft(original.Left());
    moved.SetTop(original.Top());
    EXPECT_EQ(moved, original);
}

// A show of two slides, the first with one icon that has something of everything.
class EditingComfortTest : public test::WindowTest {
protected:
    void SetUp() override {
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
        Open(show);
        window_.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    }

    Slide& SlideAt(int number) { return window_.Document()->Slides().Item(number); }
    Icon& IconAt(int number) { return SlideAt(window_.CurrentSlide()).Icons().Item(number); }
    SlideHost& Host() { return window_.Host(); }
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


TEST_F(EditingComfortTest, ZoomScalesPictureAndBoxesTogetherAndEditingKeepsTheShowsUnits) {
    const std::string picture = dir_.File("part.bmp");
    test::WriteFile(picture, test::Bmp(400, 300));
    SlideAt(1).SetPictureFile(picture);
    IconAt(1).SetLeaderX(500);
    IconAt(1).SetLeaderY(500);
    window_.ShowSlide(1, true);
    Command("mnuStation800x600")->trigger();
    ASSERT_EQ(Host().LogicalSize(), QSize(800, 600));
    ASSERT_EQ(Host().size(), QSize(800, 600));  // pixel for pixel what the station shows
    window_.View().LoadPicture();  // as the first paint would
    ASSERT_EQ(window_.View().PictureRect().size(), QSize(400 * 15, 300 * 15));
    EXPECT_TRUE(window_.findChild<QLabel*>("sbMainZoom")->text().contains("800"));
    const QRect box = Surface(1)->geometry();
    const QRect pictureRect = window_.View().PictureRect();

    for (int i = 0; i < 4; ++i) Key(Qt::Key_Plus, Qt::ControlModifier);  // 125, 150, 200, 300 %
    EXPECT_DOUBLE_EQ(window_.Zoom(), 3.0);
    Key(Qt::Key_Minus, Qt::ControlModifier);
    ASSERT_DOUBLE_EQ(window_.Zoom(), 2.0);
    EXPECT_EQ(Host().size(), QSize(1600, 1200));
    EXPECT_GT(window_.Scroller().horizontalScrollBar()->maximum(), 0);
    EXPECT_EQ(window_.View().PictureRect(), pictureRect);  // the same in the show's units
    EXPECT_NEAR(Surface(1)->x(), 2 * box.x(), 1);
    EXPECT_NEAR(Surface(1)->y(), 2 * box.y(), 1);
    EXPECT_NEAR(Surface(1)->width(), 2 * box.width(), 2);
    EXPECT_NEAR(Surface(1)->height(), 2 * box.height(), 2);
    // The box is drawn as large: its dark lower right edge is in the surface's corner, not cut off.
    const QImage shown = Surface(1)->grab().toImage();
    EXPECT_EQ(shown.pixelColor(shown.width() - 2, shown.height() - 2), QColor(Qt::black));

    // A drag of 40 pixels at 200 % moves the box by 20 of the station's.
    window_.Scroller().ensureWidgetVisible(Surface(1));
    const int32_t left = IconAt(1).Left(), top = IconAt(1).Top();
    QTest::mousePress(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(6, 6));
    QTest::mouseMove(Surface(1), QPoint(46, 26));
    QTest::mouseRelease(Surface(1), Qt::LeftButton, Qt::NoModifier, QPoint(46, 26));
    EXPECT_NEAR(IconAt(1).Left() - left, 20 * 1000 / 800, 1);
    EXPECT_NEAR(IconAt(1).Top() - top, 10 * 1000 / 600, 1);

    // The leader's end, taken at its handle and brought near the picture's right edge, shows
    // the picture around it four times as large beside the pointer.
    const QPoint end(static_cast<int>(std::lround(window_.View().ConvertPictureToHost(500, 500).x() / Host().TwipsPerPixelX() * 2)),
                     static_cast<int>(std::lround(window_.View().ConvertPictureToHost(500, 500).y() / Host().TwipsPerPixelY() * 2)));
    const int rightEdge = static_cast<int>(std::lround((pictureRect.x() + pictureRect.width()) / Host().TwipsPerPixelX() * 2));
    const QPoint nearEdge(rightEdge - 10, end.y() + 23);
    window_.Scroller().ensureVisible(end.x(), end.y(), 300, 300);
    QTest::mousePress(&Host(), Qt::LeftButton, Qt::NoModifier, end + QPoint(3, 3));
    ASSERT_NE(Host().Captured(), nullptr);
    QTest::mouseMove(&Host(), nearEdge);
    const QRect inset = Host().Magnifier();
    ASSERT_EQ(inset.size(), QSize(128, 128));
    EXPECT_FALSE(inset.contains(nearEdge));
    const QImage seen = Host().grab(inset).toImage();
    const QPoint middle(seen.width() / 2, seen.height() / 2);
    EXPECT_EQ(seen.pixelColor(middle + QPoint(20, 0)), QColor(Qt::darkGray));  // 5 pixels right: the picture
    EXPECT_EQ(seen.pixelColor(middle + QPoint(60, 0)), ToQColor(Slide::kDefaultBackColor));  // 15: beyond it
    QTest::mouseRelease(&Host(), Qt::LeftButton, Qt::NoModifier, nearEdge);
    EXPECT_TRUE(Host().Magnifier().isEmpty());
    // Where the pointer let go: 5 pixels of the station left of the 400 x 300 picture's edge.
    EXPECT_NEAR(IconAt(1).LeaderX(), 1000 - 5 * 1000 / 400.0, 1);
    EXPECT_NEAR(IconAt(1).LeaderY(), 500 + 11.5 * 1000 / 300, 1);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(IconAt(1).LeaderX(), 500);

    // Ctrl and the wheel; the wheel alone scrolls.
    const auto wheel = [&](Qt::KeyboardModifiers modifiers) {
        QWheelEvent event(QPointF(100, 100), Host().mapToGlobal(QPointF(100, 100)), QPoint(), QPoint(0, -120), Qt::NoButton,
                          modifiers, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&Host(), &event);
    };
    wheel(Qt::NoModifier);
    EXPECT_DOUBLE_EQ(window_.Zoom(), 2.0);
    wheel(Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(window_.Zoom(), 1.5);
    Key(Qt::Key_0, Qt::ControlModifier);
    EXPECT_LE(Host().width(), window_.Scroller().viewport()->width());
    EXPECT_LE(Host().height(), window_.Scroller().viewport()->height());
    Key(Qt::Key_1, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(window_.Zoom(), 1.0);
    EXPECT_EQ(Surface(1)->width(), box.width());

    // Back to the window's own size, the slide takes the window again.
    Command("mnuStationWindow")->trigger();
    EXPECT_EQ(Host().size(), window_.Scroller().viewport()->size());
}

TEST_F(EditingComfortTest, ASelectionIsDraggedAsOneStepAndTheGridIsKept) {
    window_.InsertIcon();
    window_.InsertIcon();
    Key(Qt::Key_A, Qt::ControlModifier);
    std::vector<QPoint> before, places;
    for (int i = 1; i <= 3; ++i) {
        before.push_back(Surface(i)->pos());
        places.emplace_back(IconAt(i).Left(), IconAt(i).Top());
    }
    QTest::mousePress(Surface(2), Qt::LeftButton, Qt::NoModifier, QPoint(4, 4));
    QTest::mouseMove(Surface(2), QPoint(34, 24));
    EXPECT_EQ(Host().Feedback().size(), 12u);  // a frame for each of the three
    QTest::mouseRelease(Surface(2), Qt::LeftButton, Qt::NoModifier, QPoint(34, 24));
    EXPECT_EQ(Host().Selected().size(), 3u);
    const QPoint shift(IconAt(2).Left() - places[1].x(), IconAt(2).Top() - places[1].y());
    EXPECT_GT(shift.x(), 0);
    for (int i = 1; i <= 3; ++i) {
        EXPECT_EQ(QPoint(IconAt(i).Left(), IconAt(i).Top()), places[static_cast<std::size_t>(i) - 1] + shift) << i;
        EXPECT_NEAR(Surface(i)->x(), before[static_cast<std::size_t>(i) - 1].x() + 30, 1) << i;
    }
    Key(Qt::Key_Z, Qt::ControlModifier);
    for (int i = 1; i <= 3; ++i) EXPECT_EQ(QPoint(IconAt(i).Left(), IconAt(i).Top()), places[static_cast<std::size_t>(i) - 1]) << i;

    prompt_.texts = {std::string("40")};
    Command("mnuGridSize")->trigger();
    Command("mnuSnapToGrid")->trigger();
    FormMain next;
    EXPECT_TRUE(next.SnapsToGrid());
    EXPECT_EQ(next.GridSize(), 40);
    EXPECT_TRUE(next.findChild<QAction*>("mnuSnapToGrid")->isChecked());
}

TEST_F(EditingComfortTest, StationSizesComeFromTheSettingsAndABadListIsTold) {
    RegEntry entry;
    entry.CreateKey("Wexbridge");
    entry.SetString("StationSizes", "1366x768;800x480");
    FormMain listed;
    EXPECT_NE(listed.findChild<QAction*>("mnuStation1366x768"), nullptr);
    EXPECT_EQ(listed.findChild<QAction*>("mnuStation640x480"), nullptr);
    EXPECT_TRUE(prompt_.shown.empty());
    entry.SetString("StationSizes", "1366x768;huge");
    FormMain told;
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_NE(prompt_.shown[0].text.find("StationSizes"), std::string::npos);
    EXPECT_NE(prompt_.shown[0].text.find("\"huge\""), std::string::npos);
    EXPECT_NE(told.findChild<QAction*>("mnuStation1920x1080"), nullptr);  // the defaults instead
}

TEST_F(EditingComfortTest, TheSlidePanelShowsGoesToAndReordersTheSlides) {
    Command("mnuSlideLast")->trigger();
    Command("mnuSlideAdd")->trigger();
    SlideAt(3).SetName("C");
    window_.ShowSlide(1);
    FormSlidePanel& panel = window_.SlidePanel();
    QListWidget& list = panel.List();
    const auto names = [&] {
        std::string order;
        for (const auto& slide : window_.Document()->Slides()) order += slide->Name();
        return order;
    };
    const auto centre = [&](int row) { return list.visualItemRect(list.item(row)).center(); };
    ASSERT_EQ(list.count(), 3);
    EXPECT_TRUE(list.item(2)->text().contains("3") && list.item(2)->text().contains("C"));
    EXPECT_EQ(list.currentRow(), 0);

    QTest::mouseClick(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre(1));
    EXPECT_EQ(window_.CurrentSlide(), 2);

    // The first slide dragged below the last, in one step.
    const QPoint below = list.visualItemRect(list.item(2)).bottomLeft() + QPoint(20, -3);
    QTest::mousePress(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre(0));
    QTest::mouseMove(list.viewport(), centre(1));
    QTest::mouseMove(list.viewport(), below);
    QTest::mouseRelease(list.viewport(), Qt::LeftButton, Qt::NoModifier, below);
    EXPECT_EQ(names(), "BCA");
    EXPECT_EQ(window_.CurrentSlide(), 3);
    EXPECT_TRUE(list.item(2)->text().contains("A"));
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(names(), "ABC");
    // Dropped on its own place, nothing moves and no step is made.
    const int steps = window_.Session().UndoStack().count();
    QTest::mousePress(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre(1));
    QTest::mouseMove(list.viewport(), centre(1) + QPoint(0, 12));
    QTest::mouseRelease(list.viewport(), Qt::LeftButton, Qt::NoModifier, centre(1) + QPoint(0, 12));
    EXPECT_EQ(names(), "ABC");
    EXPECT_EQ(window_.Session().UndoStack().count(), steps);

    // The right-click offers the slide commands for the slide it was made on.
    QContextMenuEvent menu(QContextMenuEvent::Mouse, centre(2), list.viewport()->mapToGlobal(centre(2)));
    QApplication::sendEvent(list.viewport(), &menu);
    EXPECT_EQ(window_.CurrentSlide(), 3);
    ASSERT_TRUE(panel.Menu().isVisible());
    EXPECT_TRUE(panel.Menu().actions().contains(Command("mnuSlideDuplicate")));
    panel.Menu().hide();
    Key(Qt::Key_D, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_EQ(window_.Document()->Slides().Count(), 4);
    EXPECT_EQ(SlideAt(4), SlideAt(3));
    EXPECT_EQ(list.count(), 4);
    Key(Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(list.count(), 3);

    // Drawn in the background as the slide is drawn, and drawn again when the slide changes.
    QTRY_VERIFY(!panel.Drawing());
    const QImage first = panel.Thumbnail(1);
    ASSERT_FALSE(first.isNull());
    EXPECT_EQ(first.width(), FormSlidePanel::kThumbnailWidth);
    window_.ShowSlide(1);
    prompt_.colors = {0x0000FF};
    Command("mnuBackColor")->trigger();
    QTRY_VERIFY(!panel.Drawing());
    EXPECT_EQ(panel.Thumbnail(1).pixelColor(first.width() - 2, first.height() - 2), QColor(Qt::red));
    EXPECT_NE(panel.Thumbnail(1), first);
    // A disabled slide is greyed.
    Command("mnuSlideEnabled")->trigger();
    EXPECT_EQ(list.item(0)->foreground().color(), list.palette().color(QPalette::Disabled, QPalette::Text));
    EXPECT_TRUE(list.item(0)->text().contains("disabled"));
    // Moved, a slide takes its picture along and nothing is drawn again.
    QTRY_VERIFY(!panel.Drawing());
    const QImage moved = panel.Thumbnail(1), next = panel.Thumbnail(2), stays = panel.Thumbnail(3);
    Command("mnuSlideDown")->trigger();
    EXPECT_FALSE(panel.Drawing());
    EXPECT_EQ(panel.Thumbnail(1), next);
    EXPECT_EQ(panel.Thumbnail(2), moved);
    EXPECT_EQ(panel.Thumbnail(3), stays);
}

// A show of hundreds of slides: the panel draws the rows near the view, and
// lets go of the pictures far from it when the list moves on.
TEST_F(EditingComfortTest, SlidePanelDrawsAndKeepsOnlyTheRowsNearTheView) {
    SlideCollection slides;
    for (int i = 0; i < 300; ++i) slides.Add().SetBackColor(0x00FF00);
    FormSlidePanel panel(nullptr);
    panel.resize(220, 500);
    panel.show();
    panel.ShowSlides(&slides, 1, QSize(400, 300));
    const auto drawn = [&] {
        int count = 0;
        for (int number = 1; number <= slides.Count(); ++number) count += panel.Thumbnail(number).isNull() ? 0 : 1;
        return count;
    };
    QTRY_VERIFY(!panel.Drawing());
    EXPECT_FALSE(panel.Thumbnail(2).isNull());
    EXPECT_TRUE(panel.Thumbnail(300).isNull());
    EXPECT_LE(drawn(), 2 * FormSlidePanel::kRowsAhead);

    panel.List().scrollToBottom();
    QTRY_VERIFY(!panel.Thumbnail(300).isNull());
    QTRY_VERIFY(!panel.Drawing());
    EXPECT_TRUE(panel.Thumbnail(2).isNull());
    EXPECT_FALSE(panel.Thumbnail(1).isNull());  // the current slide's stays
    EXPECT_LE(drawn(), 4 * FormSlidePanel::kRowsAhead);
    // Back at the top, the first rows are drawn again.
    panel.List().scrollToTop();
    QTRY_VERIFY(!panel.Thumbnail(2).isNull());
}

}  // namespace
}  // namespace kvo

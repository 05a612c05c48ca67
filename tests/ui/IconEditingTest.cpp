#include <gtest/gtest.h>

#include <QtGui/QClipboard>
#include <QtGui/QInputMethodEvent>
#include <QtTest/QTest>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenu>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>

#include "UiTestSupport.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "ui/FormIconContents.h"
#include "ui/FormIconProperties.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

using test::Send;

class IconEditingTest : public test::WindowTest {
protected:
    void SetUp() override {
        SlideShow show;
        show.Slides().Add().SetName("A");
        Open(show);
    }

    Slide& CurrentSlide() { return window_.Document()->Slides().Item(1); }
    void OpenMenuOn(int index) {
        Send(Surface(index), QEvent::MouseButtonPress, QPoint(3, 3), Qt::RightButton, Qt::RightButton);
        Send(Surface(index), QEvent::MouseButtonRelease, QPoint(3, 3), Qt::RightButton, Qt::NoButton);
    }
    // Runs a command of the open icon menu, as a click on it would.
    void Choose(const char* entry) {
        window_.IconMenu().findChild<QAction*>(entry)->trigger();
        window_.IconMenu().hide();
        QApplication::processEvents();
    }
};

TEST_F(IconEditingTest, NewIconsFollowTheDefaultTemplate) {
    window_.InsertIcon();
    Icon& first = CurrentSlide().Icons().Item(1);
    EXPECT_EQ(first.Name(), "NEWICON");
    EXPECT_EQ(first.Left(), 100);
    EXPECT_FALSE(window_.Saved());
    first.SetSequenceNumber(12);
    first.SetLeft(600);
    first.SetLeaderX(50);
    first.SetFontSize(20);
    first.Values().Add().SetRow(9);

    OpenMenuOn(1);
    ASSERT_EQ(window_.CurrentIconView(), &window_.View().Views().Item(1));
    Choose("mnuIconSetDef");
    ASSERT_NE(window_.DefaultIcon(), nullptr);
    EXPECT_EQ(window_.DefaultIcon()->Left(), 100);
    EXPECT_EQ(window_.DefaultIcon()->LeaderX(), 500);
    window_.InsertIcon();
    Icon& second = CurrentSlide().Icons().Item(2);
    EXPECT_EQ(second.Name(), "#12");
    EXPECT_EQ(second.FontSize(), 20);
    EXPECT_EQ(second.Left(), 100);
    EXPECT_EQ(second.LeaderY(), 500);
    EXPECT_EQ(second.Values().Item(1).Row(), 9);
    EXPECT_EQ(window_.CurrentIconView(), nullptr);  // forgotten once the menu closed
}

TEST_F(IconEditingTest, AThousandSurfacesAtMostAndFreedIndicesAreReused) {
    for (int i = 0; i < 1000; ++i) window_.InsertIcon();
    EXPECT_EQ(CurrentSlide().Icons().Count(), 1000);
    window_.InsertIcon();  // the 1001st finds no surface
    EXPECT_EQ(CurrentSlide().Icons().Count(), 1000);
    OpenMenuOn(7);
    Choose("mnuIconDelete");
    EXPECT_EQ(CurrentSlide().Icons().Count(), 999);
    EXPECT_EQ(Surface(7), nullptr);
    window_.InsertIcon();
    EXPECT_NE(Surface(7), nullptr);  // the lowest free index again
    EXPECT_EQ(CurrentSlide().Icons().Count(), 1000);
}

// The view's drag rules are checked without Qt; here Qt's events reach them
// through the surfaces and the host, and the main window counts the change.
TEST_F(IconEditingTest, MouseEventsDragBoxesAndLeadersAndARightClickOnlyOpensTheMenu) {
    window_.InsertIcon();
    QWidget* box = Surface(1);
    SlideHost& host = window_.Host();
    const QPoint before = box->pos();
    Send(box, QEvent::MouseButtonPress, QPoint(3, 3), Qt::RightButton, Qt::RightButton);
    EXPECT_TRUE(window_.IconMenu().isVisible());
    Send(box, QEvent::MouseMove, QPoint(80, 60), Qt::NoButton, Qt::RightButton);
    Send(box, QEvent::MouseButtonRelease, QPoint(80, 60), Qt::RightButton, Qt::NoButton);
    EXPECT_EQ(box->pos(), before);
    EXPECT_TRUE(host.Feedback().empty());
    window_.IconMenu().hide();

    Send(box, QEvent::MouseButtonPress, QPoint(5, 5), Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(host.Feedback().size(), 4u);
    Send(box, QEvent::MouseMove, QPoint(3000, 5), Qt::NoButton, Qt::LeftButton);
    Send(box, QEvent::MouseButtonRelease, QPoint(3000, 5), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(box->x() + box->width(), host.width());
    EXPECT_GT(CurrentSlide().Icons().Item(1).Left(), 800);

    const QPoint end = window_.View().ConvertPictureToHost(500, 500);
    const QPoint pixel(static_cast<int>(end.x() / host.TwipsPerPixelX()), static_cast<int>(end.y() / host.TwipsPerPixelY()));
    Send(&host, QEvent::MouseMove, pixel + QPoint(1, 0), Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(host.cursor().shape(), Qt::CrossCursor);
    Send(&host, QEvent::MouseButtonPress, pixel, Qt::LeftButton, Qt::LeftButton);
    EXPECT_EQ(host.Feedback().size(), 1u);
    Send(&host, QEvent::MouseMove, QPoint(host.width() - 1, 2), Qt::NoButton, Qt::LeftButton);
    Send(&host, QEvent::MouseButtonRelease, QPoint(host.width() - 1, 2), Qt::LeftButton, Qt::NoButton);
    EXPECT_EQ(CurrentSlide().Icons().Item(1).LeaderX(), 1000);  // beyond the picture: on its border
    EXPECT_EQ(CurrentSlide().Icons().Item(1).LeaderY(), 0);
    EXPECT_TRUE(host.Feedback().empty());

    window_.View().SetLocked(true);  // locked: a left click also only opens the menu
    Send(box, QEvent::MouseButtonPress, QPoint(3, 3), Qt::LeftButton, Qt::LeftButton);
    EXPECT_TRUE(window_.IconMenu().isVisible());
    EXPECT_TRUE(host.Feedback().empty());
    window_.IconMenu().hide();
}

// Keys, pastes and input methods pass one filter: what a key may not type,
// a paste or a composed text may not bring in either.
TEST_F(IconEditingTest, PropertiesFilterKeysPastesAndInputMethodsAlikeAndEnableByTheRules) {
    Icon icon;
    icon.SetSequenceNumber(0);
    FormIconProperties dialog(icon);
    auto* name = dialog.findChild<QLineEdit*>("txtIconName");
    auto* ok = dialog.findChild<QPushButton*>("cmdOK");
    const auto paste = [](QLineEdit* field, const char* text) {
        QGuiApplication::clipboard()->setText(text);
        field->paste();
    };
    const auto compose = [name](const char* text) {
        QInputMethodEvent event;
        event.setCommitString(text);
        QApplication::sendEvent(name, &event);
    };
    EXPECT_EQ(name->text(), "1");  // 0 opens as 1
    name->clear();
    QTest::keyClicks(name, "12a3456");
    EXPECT_EQ(name->text(), "12345");
    const struct {
        const char* text;
        bool enabled;
    } numbers[] = {{"0", false}, {"32767", true}, {"32768", false}, {"40000", false}, {"", false}};
    for (const auto& n : numbers) {
        name->setText(n.text);
        EXPECT_EQ(ok->isEnabled(), n.enabled) << n.text;
    }
    name->setText("12");
    paste(name, "3a");
    EXPECT_EQ(name->text(), "12");
    paste(name, "345");
    paste(name, "6");
    EXPECT_EQ(name->text(), "12345");

    dialog.findChild<QRadioButton*>("optFeatureName")->setChecked(true);
    EXPECT_EQ(name->text(), "FtrName");
    name->clear();
    paste(name, "f1 x");
    EXPECT_EQ(name->text(), "");
    QTest::keyClicks(name, "f1");
    EXPECT_EQ(name->text(), "F1");
    EXPECT_FALSE(ok->isEnabled());
    compose("0;");
    EXPECT_EQ(name->text(), "F1");
    compose("0");
    EXPECT_EQ(name->text(), "F10");
    EXPECT_TRUE(ok->isEnabled());
    QTest::keyClicks(name, " x");
    EXPECT_EQ(name->text(), "F10X");  // the space is refused
    name->setText("FRX");
    EXPECT_TRUE(ok->isEnabled());
    name->setText("FR");
    EXPECT_FALSE(ok->isEnabled());
    name->setText("f2");  // as an icon from an old file may hold it
    EXPECT_FALSE(ok->isEnabled());

    // A number field keeps its number against a stray letter and clamps to its range.
    auto* bend = dialog.findChild<QLineEdit*>("txtLeaderBend");
    bend->clear();
    QTest::keyClicks(bend, "4x");
    EXPECT_EQ(bend->text(), "4");
    paste(bend, "x");
    EXPECT_EQ(bend->text(), "4");
    bend->setText("150");
    EXPECT_EQ(bend->text(), "100");
    bend->setText("-5");
    EXPECT_EQ(bend->text(), "0");

    Icon big;
    big.SetSequenceNumber(40000);
    FormIconProperties bigDialog(big);
    EXPECT_EQ(bigDialog.findChild<QLineEdit*>("txtIconName")->text(), "32767");
}

TEST_F(IconEditingTest, PropertiesWriteThroughTheIconOnlyOnOk) {
    Icon icon;
    icon.SetFeatureName("BORE1");
    icon.Values().Add().SetRow(2);
    icon.Values().Add().SetRow(9);
    {
        FormIconProperties dialog(icon);
        auto* list = dialog.findChild<QListWidget*>("lstIcons");
        ASSERT_EQ(list->count(), 3);  // two cells and "end of list"
        EXPECT_EQ(list->item(2)->text().toStdString(), LoadResString(Str::IconEndOfList));
        list->setCurrentRow(2);
        EXPECT_FALSE(dialog.findChild<QPushButton*>("cmdEdit")->isEnabled());
        list->setCurrentRow(0);
        EXPECT_TRUE(dialog.findChild<QPushButton*>("cmdDelete")->isEnabled());
        dialog.findChild<QPushButton*>("cmdDelete")->click();
        EXPECT_EQ(list->count(), 2);
        EXPECT_EQ(list->currentRow(), 0);  // the entry that followed
        dialog.findChild<QPushButton*>("cmdCancel")->click();
    }
    EXPECT_EQ(icon.Values().Count(), 2);  // cancelled: untouched

    FormIconProperties dialog(icon);
    dialog.findChild<QRadioButton*>("optSeqNum")->setChecked(true);
    dialog.findChild<QLineEdit*>("txtIconName")->setText("44");
    dialog.findChild<QComboBox*>("cboDigits")->setCurrentText("9");
    dialog.findChild<QRadioButton*>("optLeaderVertical")->setChecked(true);
    dialog.findChild<QLineEdit*>("txtLeaderBend")->setText("30");
    dialog.findChild<QListWidget*>("lstIcons")->setCurrentRow(1);
    dialog.findChild<QPushButton*>("cmdDelete")->click();
    dialog.findChild<QPushButton*>("cmdOK")->click();
    EXPECT_EQ(icon.Name(), "#44");
    EXPECT_EQ(icon.DisplayDigits(), 9);
    EXPECT_TRUE(icon.DrawLeader());
    EXPECT_TRUE(icon.IsLeaderVertical());
    EXPECT_EQ(icon.LeaderBendPoint(), 30);
    ASSERT_EQ(icon.Values().Count(), 1);
    EXPECT_EQ(icon.Values().Item(1).Row(), 2);
}

TEST_F(IconEditingTest, ContentsRefuseOneSidedTolerancesInTheWrongColumns) {
    const struct {
        int column;
        bool accepted;
    } cases[] = {{0, false}, {1, false}, {2, true}, {3, false}, {4, true}};
    for (const auto& c : cases) {
        Value cell;
        FormIconContents dialog(cell, "Cell");
        dialog.findChild<QListWidget*>("lstCharacteristics")->setCurrentRow(8);  // 9: position, on row 9
        dialog.findChild<QComboBox*>("cboDatatypeColumn")->setCurrentIndex(c.column);
        prompt_.shown.clear();
        dialog.findChild<QPushButton*>("cmdOK")->click();
        EXPECT_EQ(dialog.ResultCode(), c.accepted ? 1 : 2) << c.column;
        EXPECT_EQ(cell.Row(), c.accepted ? 9 : 2) << c.column;
        if (!c.accepted) {
            ASSERT_EQ(prompt_.shown.size(), 1u);
            EXPECT_EQ(prompt_.shown[0].text,
                      LoadResString(Str::OneSidedTolerance) + "\r\n\r\n" + LoadResString(Str::OneSidedColumns));
            EXPECT_EQ(prompt_.shown[0].kind, MessageKind::Stop);
        }
    }
}

TEST_F(IconEditingTest, ContentsFilterAndCorrectThePercentageAndConfirmOnDoubleClick) {
    Value cell;
    FormIconContents dialog(cell, "Cell");
    auto* percent = dialog.findChild<QLineEdit*>("txtPercent");
    percent->setText("0");
    EXPECT_EQ(percent->text(), "1");
    percent->setText("250");
    EXPECT_EQ(percent->text(), "100");
    percent->clear();
    QTest::keyClicks(percent, "8x");
    EXPECT_EQ(percent->text(), "8");
    percent->clear();
    QTest::keyClicks(percent, "-");
    EXPECT_EQ(percent->text(), "-");  // on the way to a number
    percent->clear();
    auto* list = dialog.findChild<QListWidget*>("lstCharacteristics");
    dialog.findChild<QComboBox*>("cboDatatypeColumn")->setCurrentIndex(0);
    list->setCurrentRow(1);  // 2: angle, on the angular row 1
    emit list->itemDoubleClicked(list->item(1));
    EXPECT_EQ(dialog.ResultCode(), 1);
    EXPECT_EQ(cell.GeometricSymbol(), 2);
    EXPECT_EQ(cell.Row(), 1);
    EXPECT_EQ(cell.Column(), 0);
    EXPECT_EQ(cell.Percentage(), 100);  // empty: the whole tolerance
}

}  // namespace
}  // namespace kvo

#include <gtest/gtest.h>

#include <QtGui/QUndoStack>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>

#include <filesystem>
#include <sstream>

#include "UiTestSupport.h"
#include "services/Paths.h"
#include "ui/FormHelp.h"
#include "ui/FormPreview.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

using test::TextOf;

std::string Shown(const Slide& slide, const char* icon, int row) {
    for (const auto& each : slide.Icons())
        if (each->Name() == icon)
            for (const auto& cell : each->Values())
                if (cell->Row() == row && cell->Column() == 4) return cell->DisplayText();
    return "(none)";
}

class ReportUiTest : public test::WindowTest {
protected:
    ReportUiTest() {
        window_.resize(900, 700);
        window_.show();
        window_.OpenDocument(sample_);
    }

    QLabel* State() { return window_.findChild<QLabel*>("sbMainState"); }

    std::string sample_ = JoinPath(EditorDataDirectory(), "samples/GearHousing.pdz");
    std::string report_ = JoinPath(EditorDataDirectory(), "samples/GearHousing-part7.rpt");
};

TEST_F(ReportUiTest, EvaluatingAndAveragingAreStepsThatRecolourTheShow) {
    const std::string before = TextOf(*window_.Document());
    prompt_.files = {report_};
    window_.FileEvaluate();
    EXPECT_EQ(window_.Session().UndoStack().undoText(), "Evaluate report GearHousing-part7.rpt");
    const Slide& front = window_.Document()->Slides().Item(1);
    EXPECT_EQ(Shown(front, "#12", 2), ".018");
    EXPECT_EQ(Shown(front, "BORE_B2", 9), ".071");
    EXPECT_TRUE(State()->isVisible());
    EXPECT_EQ(State()->text(), "Worst state: out of tolerance");
    const std::string evaluated = TextOf(*window_.Document());
    window_.Session().UndoStack().undo();
    EXPECT_EQ(TextOf(*window_.Document()), before);
    window_.Session().UndoStack().redo();
    EXPECT_EQ(TextOf(*window_.Document()), evaluated);

    // Two parts: the second's bore 12 further out.
    std::string second = test::ReadFile(report_);
    second.replace(second.find("C4=0.018"), 8, "C4=0.024");
    test::WriteFile(dir_.File("part8.rpt"), second);
    prompt_.fileLists = {{report_, dir_.File("part8.rpt")}};
    window_.FileAverage();
    EXPECT_EQ(window_.Session().UndoStack().undoText(), "Average of 2 reports");
    EXPECT_EQ(Shown(window_.Document()->Slides().Item(1), "#12", 2), ".021");

    // A bad report is reported and changes nothing.
    test::WriteFile(dir_.File("bad.rpt"), "BLOCK Report\n\tBLOCK Feature\n\t\tDECIMALS=many\n");
    const int steps = window_.Session().UndoStack().count();
    prompt_.files = {dir_.File("bad.rpt")};
    window_.FileEvaluate();
    EXPECT_EQ(window_.Session().UndoStack().count(), steps);
    ASSERT_FALSE(prompt_.shown.empty());
    EXPECT_NE(prompt_.shown.back().text.find("Line 3: DECIMALS in the Feature block must be a number"), std::string::npos)
        << prompt_.shown.back().text;
}

// QIF results are told from report files by their content; the latest part
// is evaluated, and averaging takes every part beside report files.
TEST_F(ReportUiTest, QifResultsAreEvaluatedAndAveragedBesideReportFiles) {
    const std::string results = JoinPath(EditorDataDirectory(), "samples/GearHousing-results.qif");
    const std::string renamed = dir_.File("parts.rpt");
    test::WriteFile(renamed, test::ReadFile(results));
    prompt_.files = {renamed};
    window_.FileEvaluate();
    ASSERT_FALSE(prompt_.fileDialogs.empty());
    EXPECT_NE(prompt_.fileDialogs.back().filter.find("QIF results (*.qif *.QIF)"), std::string::npos);
    const Slide& front = window_.Document()->Slides().Item(1);
    EXPECT_EQ(Shown(front, "BORE_B2", 9), ".083");  // part 8: 0.05 + bonus 0.005 exceeded
    EXPECT_EQ(State()->text(), "Worst state: out of tolerance");

    prompt_.fileLists = {{report_, results}};
    window_.FileAverage();
    EXPECT_EQ(window_.Session().UndoStack().undoText(), "Average of 3 reports");
    EXPECT_EQ(Shown(window_.Document()->Slides().Item(1), "BORE_B2", 2), ".005");  // (0.027 + 0.012 - 0.025) / 3
}

// The widget's results: icons for the checked features, then evaluated by the
// same results, show the file's failures; the insertion is one step to undo.
TEST_F(ReportUiTest, IconsInsertedFromResultsShowWhatTheResultsSay) {
    const std::string widget = std::string(KVO_SOURCE_DIR) + "/../shared/corpus/qif/WIDGET_QIF_RESULTS.QIF";
    if (!std::filesystem::exists(widget)) GTEST_SKIP() << widget << " is not there; skipped";
    window_.SlideInsert();
    const int before = window_.Document()->Slides().Item(window_.CurrentSlide()).Icons().Count();
    int listed = 0;
    test::WhenDialogOpens([&](QWidget& dialog) {
        auto* list = dialog.findChild<QListWidget*>("lstFeatures");
        listed = list->count();
        list->item(0)->setCheckState(Qt::Unchecked);  // DATUM_A
        test::Click(dialog, "cmdOK");
    });
    prompt_.files = {widget};
    window_.InsertFromResults();
    EXPECT_EQ(listed, 19);
    EXPECT_EQ(window_.Session().UndoStack().undoText(), "Insert 18 icons from results");
    const Slide& slide = window_.Document()->Slides().Item(window_.CurrentSlide());
    ASSERT_EQ(slide.Icons().Count(), before + 18);
    EXPECT_EQ(slide.Icons().Item(before + 1).Name(), "DATUM_B");

    prompt_.files = {widget};
    window_.FileEvaluate();
    EXPECT_EQ(Shown(window_.Document()->Slides().Item(window_.CurrentSlide()), "CYLINDER6", 9), ".256");
    EXPECT_EQ(State()->text(), "Worst state: out of tolerance");
    window_.Session().UndoStack().undo();
    window_.Session().UndoStack().undo();
    EXPECT_EQ(window_.Document()->Slides().Item(window_.CurrentSlide()).Icons().Count(), before);
}

TEST_F(ReportUiTest, ThePreviewPlaysTheEnabledSlidesReadOnly) {
    SlideShow show;
    for (const char* name : {"A", "B", "C", "D"}) show.Slides().Add().SetName(name);
    show.Slides().Item(2).SetEnabled(false);
    show.Slides().Item(4).SetName(std::string(40000, 'd'));  // more than the binary format holds
    Value& out = show.Slides().Item(3).Icons().Add().Values().Add();
    out.SetTolerance(ToleranceState::OutOfTolerance);
    show.Slides().Item(3).SetHelpTopic(22);
    show.SetHelpFile(JoinPath(EditorDataDirectory(), "ENUTV.html"));
    const std::string original = TextOf(show);

    FormPreview preview(show, &window_);
    preview.show();
    ASSERT_EQ(preview.Played().Slides().Count(), 3);
    EXPECT_EQ(preview.Played().ActiveSlide().Name(), "A");
    const auto button = [&](const char* name) { return preview.findChild<QPushButton*>(name); };
    EXPECT_FALSE(button("cmdPrevious")->isEnabled());
    button("cmdNext")->click();
    EXPECT_EQ(preview.View().CurrentSlide()->Name(), "C");  // B is not shown
    button("cmdNext")->click();
    EXPECT_FALSE(button("cmdNext")->isEnabled());
    button("cmdNextOut")->click();  // round to the only slide out of tolerance
    EXPECT_EQ(preview.View().CurrentSlide()->Name(), "C");
    EXPECT_EQ(preview.findChild<QLabel*>("lblStatus")->text(), "Slide 2 of 3: C");
    button("cmdHelp")->click();
    EXPECT_EQ(FormHelp::Instance().CurrentAnchor(), "22");
    FormHelp::Instance().hide();

    // Read-only: an icon does not move under the mouse, and the show is untouched.
    QWidget* icon = preview.Host().findChild<QWidget*>("picIcon1");
    ASSERT_NE(icon, nullptr);
    const QPoint at = icon->pos();
    QTest::mousePress(icon, Qt::LeftButton, {}, QPoint(3, 3));
    QTest::mouseMove(icon, QPoint(90, 60));
    QTest::mouseRelease(icon, Qt::LeftButton, {}, QPoint(90, 60));
    EXPECT_EQ(icon->pos(), at);
    QTest::keyClick(&preview, Qt::Key_Escape);
    EXPECT_FALSE(preview.isVisible());
    EXPECT_EQ(TextOf(show), original);

    for (int i = 1; i <= 4; ++i) show.Slides().Item(i).SetEnabled(false);
    EXPECT_FALSE(FormPreview::Preview(show, &window_));
    EXPECT_EQ(prompt_.shown.back().text, "The slide show has no enabled slide to show.");
}

}  // namespace
}  // namespace kvo

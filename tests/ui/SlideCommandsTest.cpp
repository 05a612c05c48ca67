#include <gtest/gtest.h>

#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QSpinBox>

#include <filesystem>

#include "PictureBytes.h"
#include "UiTestSupport.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StringIds.h"
#include "ui/FormPosition.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

namespace fs = std::filesystem;

class SlideCommandsTest : public test::WindowTest {
protected:
    void SetUp() override {
        SlideShow show;
        for (const char* name : {"A", "B", "C"}) show.Slides().Add().SetName(name);
        Open(show);
    }

    std::string Names() const {
        std::string names;
        for (const auto& slide : window_.Document()->Slides()) names += slide->Name();
        return names;
    }
    std::string Shown() const { return window_.View().CurrentSlide()->Name(); }
};

TEST_F(SlideCommandsTest, NavigationMovesOnlyWhereThereIsASlide) {
    window_.SlideNext();
    EXPECT_EQ(Shown(), "B");
    window_.SlideLast();
    EXPECT_EQ(window_.CurrentSlide(), 3);
    const Slide* shown = window_.View().CurrentSlide();
    window_.SlideNext();  // on the last slide: nothing moves
    EXPECT_EQ(window_.View().CurrentSlide(), shown);
    EXPECT_EQ(window_.CurrentSlide(), 3);
    window_.SlideFirst();
    window_.SlidePrevious();
    EXPECT_EQ(window_.CurrentSlide(), 1);
    window_.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window_));
    QTest::keyClick(&window_, Qt::Key_PageDown);
    EXPECT_EQ(window_.CurrentSlide(), 2);
    QTest::keyClick(&window_, Qt::Key_End);
    EXPECT_EQ(window_.CurrentSlide(), 3);
    window_.SlideScrollBar().setValue(1);
    EXPECT_EQ(Shown(), "A");
    EXPECT_TRUE(window_.Saved());
}

TEST_F(SlideCommandsTest, AddAndInsertFollowTheirNumberRules) {
    window_.SlideAdd();  // after slide 1
    EXPECT_EQ(window_.CurrentSlide(), 2);
    EXPECT_EQ(Shown(), LoadResString(Str::NewSlideName));
    EXPECT_FALSE(window_.Saved());
    window_.SlideFirst();
    window_.SlideInsert();  // while slide 1 is current the number stays 1
    EXPECT_EQ(window_.CurrentSlide(), 1);
    EXPECT_EQ(window_.Document()->Slides().Count(), 5);
    window_.SlideLast();
    window_.SlideInsert();  // before slide 5: the number steps back to 4
    EXPECT_EQ(window_.CurrentSlide(), 4);
    EXPECT_EQ(window_.SlideScrollBar().maximum(), 6);
}

TEST_F(SlideCommandsTest, RemoveAsksAndNeverTakesTheLastSlide) {
    window_.SlideLast();
    prompt_.answersToAsk = {Answer::No};
    window_.SlideRemove();
    EXPECT_EQ(Names(), "ABC");
    EXPECT_EQ(prompt_.questions.back().text, FormatResString(Str::RemoveSlidePrompt, {"C"}));
    prompt_.answersToAsk = {Answer::Yes};
    window_.SlideRemove();  // the last of three: slide 2 is shown
    EXPECT_EQ(Names(), "AB");
    EXPECT_EQ(window_.CurrentSlide(), 2);
    EXPECT_EQ(Shown(), "B");
    window_.SlideFirst();
    prompt_.answersToAsk = {Answer::Yes};
    window_.SlideRemove();  // slide 1: the new slide 1 is shown
    EXPECT_EQ(Shown(), "B");
    const std::size_t asked = prompt_.questions.size();
    window_.SlideRemove();  // one slide left: nothing happens, nothing is asked
    EXPECT_EQ(Names(), "B");
    EXPECT_EQ(prompt_.questions.size(), asked);
    EXPECT_FALSE(window_.findChild<QAction*>("mnuSlideRemove")->isEnabled());
}

TEST_F(SlideCommandsTest, MovingSlidesFollowsTheSlide) {
    EXPECT_FALSE(window_.findChild<QAction*>("mnuSlideUp")->isEnabled());
    window_.SlideDown();
    EXPECT_EQ(Names(), "BAC");
    EXPECT_EQ(window_.CurrentSlide(), 2);
    EXPECT_EQ(Shown(), "A");
    window_.SlideDown();
    EXPECT_EQ(Names(), "BCA");
    EXPECT_FALSE(window_.findChild<QAction*>("mnuSlideDown")->isEnabled());
    window_.SlideUp();
    EXPECT_EQ(Names(), "BAC");
    EXPECT_EQ(window_.CurrentSlide(), 2);
}

TEST_F(SlideCommandsTest, HelpTopicAndTitleAskForText) {
    prompt_.texts = {std::string("27"), std::string("")};
    window_.SlideHelpTopic();
    EXPECT_EQ(window_.Document()->Slides().Item(1).HelpTopic(), 27);
    EXPECT_EQ(prompt_.askedText[0].text, LoadResString(Str::HelpTopicPrompt));
    window_.SlideHelpTopic();  // an empty answer keeps it
    EXPECT_EQ(window_.Document()->Slides().Item(1).HelpTopic(), 27);
    prompt_.texts = {std::string("12a"), std::string("12")};
    window_.SlideHelpTopic();  // asked again with the text to correct
    ASSERT_EQ(prompt_.shown.size(), 1u);
    EXPECT_EQ(prompt_.shown[0].text, LoadResString(Str::HelpTopicInvalid));
    EXPECT_EQ(prompt_.lastDefault, "12a");
    EXPECT_EQ(window_.Document()->Slides().Item(1).HelpTopic(), 12);
    prompt_.texts = {std::string("Top")};
    window_.SlideTitle();
    EXPECT_EQ(Shown(), "Top");
    EXPECT_FALSE(window_.Saved());
}

TEST_F(SlideCommandsTest, BackgroundCommands) {
    test::WriteFile(dir_.File("pictures/plan.bmp"), test::Bmp(200, 100));
    prompt_.files = {dir_.File("pictures/plan.bmp")};
    window_.BackSet();
    EXPECT_EQ(prompt_.fileDialogs.back().title, LoadResString(Str::BackgroundTitle));
    EXPECT_EQ(prompt_.fileDialogs.back().filter, LoadResString(Str::PictureFilter));
    EXPECT_EQ(window_.View().BackgroundPicture(), dir_.File("pictures/plan.bmp"));
    EXPECT_FALSE(window_.Saved());
    window_.View().LoadPicture();
    EXPECT_EQ(window_.View().PictureRect().width(), 200 * 15);

    // No program set up for the type (no xdg-mime to tell one): the user is
    // told, chooses one, and it is used again without asking.
    const std::string editor = dir_.File("editor.sh"), opened = dir_.File("opened.txt");
    test::WriteFile(editor, "#!/bin/sh\necho \"$1\" >> '" + opened + "'\n");
    fs::permissions(editor, fs::perms::owner_all);
    {
        test::ScopedEnv path("PATH", dir_.File("bin"));
        prompt_.answersToAsk = {Answer::Yes};
        prompt_.files = {editor};
        window_.BackEdit();
        ASSERT_EQ(prompt_.questions.size(), 1u);
        EXPECT_NE(prompt_.questions[0].text.find("plan.bmp"), std::string::npos) << prompt_.questions[0].text;
        EXPECT_EQ(prompt_.fileDialogs.back().title, LoadResString(Str::ChooseProgramTitle));
        window_.BackEdit();
        EXPECT_EQ(prompt_.questions.size(), 1u);
    }
    const std::string twice = dir_.File("pictures/plan.bmp") + "\n" + dir_.File("pictures/plan.bmp") + "\n";
    EXPECT_TRUE(QTest::qWaitFor([&] { return fs::exists(opened) && test::ReadFile(opened) == twice; }, 5000));

    // An edit saved by another program shows without a further step.
    test::WriteFile(dir_.File("pictures/plan.bmp"), test::Bmp(300, 100));
    EXPECT_TRUE(QTest::qWaitFor([&] {
        QApplication::processEvents();
        try {
            window_.View().LoadPicture();
        } catch (...) {
        }
        return window_.View().PictureRect().width() == 300 * 15;
    }, 5000));

    window_.BackColor();  // cancelled: nothing changes
    EXPECT_EQ(window_.Document()->Slides().Item(1).BackColor(), Slide::kDefaultBackColor);
    window_.BackClear();
    EXPECT_EQ(window_.View().BackgroundPicture(), "");
}

TEST_F(SlideCommandsTest, PositionDialogInBothModes) {
    Slide& slide = window_.Document()->Slides().Item(1);
    test::WhenDialogOpens([](QWidget& dialog) {
        EXPECT_FALSE(dialog.findChild<QScrollBar*>("hsWidth")->isVisible());  // a bitmap only moves
        // From the keyboard: a number typed, and a bar moved with the arrow keys.
        auto* left = dialog.findChild<QSpinBox*>("txtLeft");
        left->selectAll();
        QTest::keyClicks(left, "30");
        EXPECT_EQ(dialog.findChild<QScrollBar*>("hsLeft")->value(), 30);
        auto* top = dialog.findChild<QScrollBar*>("hsTop");
        top->setValue(68);
        EXPECT_NE(top->focusPolicy() & Qt::TabFocus, 0);
        QTest::keyClick(top, Qt::Key_Right);
        QTest::keyClick(top, Qt::Key_Right);
        EXPECT_EQ(dialog.findChild<QSpinBox*>("txtTop")->value(), 70);
        test::Click(dialog, "cmdOK");
    });
    EXPECT_TRUE(FormPosition::PositionFixed(slide, 0.5, 0.5, 1.5, &window_));
    int16_t l = 0, t = 0, w = 0, h = 0;
    slide.GetPicturePosition(l, t, w, h);
    EXPECT_EQ(std::vector<int16_t>({l, t, w, h}), std::vector<int16_t>({30, 70, 100, 100}));

    test::WhenDialogOpens([](QWidget& dialog) {
        auto* shape = dialog.findChild<QWidget*>("picShape");
        const QRect before = shape->geometry();
        dialog.findChild<QScrollBar*>("hsWidth")->setValue(20);
        EXPECT_NE(shape->geometry(), before);  // the preview follows every change
        dialog.findChild<QScrollBar*>("hsHeight")->setValue(40);
        test::Click(dialog, "cmdOK");
    });
    EXPECT_TRUE(FormPosition::PositionScaleable(slide, 0.7, &window_));
    slide.GetPicturePosition(l, t, w, h);
    EXPECT_EQ(std::vector<int16_t>({l, t, w, h}), std::vector<int16_t>({30, 70, 20, 40}));

    test::WhenDialogOpens([](QWidget& dialog) {
        dialog.findChild<QScrollBar*>("hsLeft")->setValue(0);
        test::Click(dialog, "cmdCancel");
    });
    EXPECT_FALSE(FormPosition::PositionScaleable(slide, 1.0, &window_));
    slide.GetPicturePosition(l, t, w, h);
    EXPECT_EQ(l, 30);
}

}  // namespace
}  // namespace kvo

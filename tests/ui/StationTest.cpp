#include <gtest/gtest.h>

#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "model/ModelTestSupport.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "model/Value.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StationSettings.h"
#include "session/ResultsFolder.h"
#include "session/StationSession.h"
#include "ui/FormMain.h"
#include "ui/FormPreview.h"
#include "ui/FormStation.h"
#include "ui/SlideHost.h"
#include "ui/TouchButton.h"
#include "view/IconView.h"
#include "view/SlideView.h"

namespace kvo {
namespace {

std::string Sample(const char* name) { return JoinPath(EditorDataDirectory(), std::string("samples/") + name); }

std::unique_ptr<SlideShow> LoadShow(const std::string& file) {
    auto show = std::make_unique<SlideShow>();
    show->LoadFromFile(file);
    return show;
}

// Every icon box where its thousandths of the host put it, give or take the rounding.
void ExpectIconsInPlace(const SlideView& view, const QWidget& host, const char* where) {
    ASSERT_GT(view.Views().Count(), 0) << where;
    for (int32_t i = 1; i <= view.Views().Count(); ++i) {
        const IconView& icon = view.Views().Item(i);
        const auto* box = host.findChild<QWidget*>(QString("picIcon%1").arg(icon.View().Index()));
        ASSERT_NE(box, nullptr);
        EXPECT_NEAR(box->x(), icon.Icon().Left() * host.width() / 1000.0, 1.0) << where << ", " << icon.Icon().Name();
        EXPECT_NEAR(box->y(), icon.Icon().Top() * host.height() / 1000.0, 1.0) << where << ", " << icon.Icon().Name();
    }
}

void Settle(QWidget& window, QSize size) {
    window.resize(size);
    window.show();
    QCoreApplication::processEvents();
}

TEST(PreviewLayoutTest, IconsFollowTheSlidesSizeFromTheFirstPaintOn) {
    SetLanguage(1033);
    InitResources();
    test::TempDir dir;
    test::ScopedEnv store{"ORLANVEX_REGISTRY", dir.File("registry.reg")};
    const auto loaded = LoadShow(Sample("GearHousing.pdz"));
    const SlideShow& show = *loaded;
    for (const QSize size : {QSize(640, 480), QSize(1920, 1080)}) {
        FormPreview preview(show, nullptr);
        Settle(preview, size);
        ExpectIconsInPlace(preview.View(), preview.Host(), "first shown");
        preview.resize(size.width() * 3 / 4, size.height() * 2 / 3);
        QCoreApplication::processEvents();
        ExpectIconsInPlace(preview.View(), preview.Host(), "resized");
        preview.Next();
        ExpectIconsInPlace(preview.View(), preview.Host(), "next slide");
    }
    FormMain window;
    window.OpenDocument(Sample("GearHousing.pdz"));
    Settle(window, QSize(900, 700));
    window.resize(1200, 900);
    QCoreApplication::processEvents();
    ExpectIconsInPlace(window.View(), window.Host(), "main window");
}

// The captions of the station's buttons at the size that cut them before, in both languages.
TEST(PreviewLayoutTest, TouchButtonsShowTheirWholeCaptions) {
    test::TempDir dir;
    test::ScopedEnv store{"ORLANVEX_REGISTRY", dir.File("registry.reg")};
    const auto loaded = LoadShow(Sample("GearHousing.pdz"));
    const SlideShow& show = *loaded;
    for (const int32_t language : {1033, 1031}) {
        SetLanguage(language);
        InitResources();
        FormStation station(show, {dir.Path(), 3, 0}, nullptr);
        Settle(station, QSize(1024, 768));
        const auto buttons = station.findChildren<TouchButton*>();
        ASSERT_GE(buttons.size(), 8);
        for (const TouchButton* button : buttons) {
            if (!button->isVisible()) continue;
            EXPECT_GE(button->height(), TouchButton::kHeight) << button->objectName().toStdString();
            const QRect room = button->CaptionRect();
            const QRect needed = QFontMetrics(button->CaptionFont()).boundingRect(room, Qt::AlignCenter | Qt::TextWordWrap, button->Caption());
            EXPECT_TRUE(room.contains(needed)) << language << " " << button->Caption().toStdString();
        }
    }
    SetLanguage(1033);
    InitResources();
}

// The cells of a show as text: where, what and in which state.
std::string Cells(const SlideShow& show) {
    std::ostringstream out;
    for (const auto& slide : show.Slides())
        for (const auto& icon : slide->Icons())
            for (const auto& cell : icon->Values())
                out << icon->Name() << ' ' << cell->Row() << '/' << cell->Column() << ' ' << cell->DisplayText() << ' '
                    << cell->Tolerance() << '\n';
    return out.str();
}

class StationTest : public ::testing::Test {
protected:
    StationTest() {
        SetLanguage(1033);
        InitResources();
    }

    // Copies a file into the watched folder as the measuring software might: in two writes.
    void WriteInHalves(const std::string& from, const std::string& name, const std::function<void()>& between) {
        const std::string bytes = test::ReadFile(from);
        std::ofstream out(folder_.File(name), std::ios::binary);
        out << bytes.substr(0, bytes.size() / 2) << std::flush;
        between();
        out << bytes.substr(bytes.size() / 2) << std::flush;
    }

    test::TempDir dir_;
    test::TempDir folder_;
    test::ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
    test::RecordingPrompt prompt_;
};

TEST_F(StationTest, EachCompleteResultsFileIsShownOnceFromTheFirstSlideOutOfTolerance) {
    const auto loaded = LoadShow(Sample("GearHousing.pdz"));
    const SlideShow& show = *loaded;
    test::WriteFile(folder_.File("old.rpt"), test::ReadFile(Sample("GearHousing-part7.rpt")));
    FormStation station(show, {folder_.Path(), 0, 0}, nullptr);
    Settle(station, QSize(1024, 768));
    // What was there at the start is shown, not replayed.
    ASSERT_EQ(station.Parts().History().size(), 1u);
    EXPECT_EQ(station.windowTitle(), "Station: old.rpt");
    // Bring slide 1 to a warning only, so that slide 3 holds the first cell out of tolerance.
    std::string part = test::ReadFile(Sample("GearHousing-part7.rpt"));
    part.replace(part.find("C4=0.031"), 8, "C4=0.010");
    test::WriteFile(dir_.File("part8.rpt"), part);
    station.Folder().Watch(QString::fromStdString(folder_.Path()), std::chrono::milliseconds(1500));

    int told = 0;
    QObject::connect(&station.Folder(), &ResultsFolder::fileReady, [&] { ++told; });
    WriteInHalves(dir_.File("part8.rpt"), "part8.rpt", [&] {
        station.Folder().Poll();
        station.Folder().Poll();
    });
    EXPECT_EQ(told, 0);
    QTRY_COMPARE_WITH_TIMEOUT(told, 1, 10000);
    EXPECT_EQ(station.Parts().History().size(), 2u);
    EXPECT_EQ(station.windowTitle(), "Station: part8.rpt");
    EXPECT_EQ(station.Played().CurrentPosition(), 3);
    EXPECT_EQ(station.Played().ActiveSlide().WorstTolerance(), ToleranceState::OutOfTolerance);
    EXPECT_EQ(station.Played().Slides().Item(1).WorstTolerance(), ToleranceState::Warning);
    EXPECT_EQ(station.findChild<QLabel*>("sbStationState")->text(), "Worst state: out of tolerance");
    EXPECT_NE(station.findChild<QLabel*>("sbStationPart")->text().indexOf("part8.rpt, "), -1);
    for (int i = 0; i < 5; ++i) station.Folder().Poll();
    EXPECT_EQ(told, 1);

    // A damaged file: listed with its error, the last good part stays.
    test::WriteFile(folder_.File("broken.qif"), "<?xml version=\"1.0\"?><QIFDocument><Results>");
    QTRY_COMPARE_WITH_TIMEOUT(told, 2, 10000);
    ASSERT_EQ(station.Parts().History().size(), 3u);
    const StationPart& broken = station.Parts().History().front();
    EXPECT_EQ(broken.report, nullptr);
    EXPECT_NE(broken.error.find("broken.qif"), std::string::npos) << broken.error;
    EXPECT_EQ(station.windowTitle(), "Station: part8.rpt");
    EXPECT_EQ(station.Shown(), 1);
    EXPECT_EQ(station.Played().CurrentPosition(), 3);
    auto* history = station.findChild<QListWidget*>("lstHistory");
    ASSERT_EQ(history->count(), 3);
    EXPECT_NE(history->item(0)->text().indexOf("cannot be read"), -1);
    EXPECT_EQ(history->currentRow(), 1);
    // The status bar says so within its width, the whole message in its tooltip.
    const auto* status = station.findChild<QLabel*>("sbStationPart");
    const QString whole = status->toolTip();
    EXPECT_NE(whole.indexOf("broken.qif"), -1) << whole.toStdString();
    ASSERT_GT(status->fontMetrics().horizontalAdvance(whole), status->contentsRect().width()) << "the message should not fit";
    EXPECT_LE(status->fontMetrics().horizontalAdvance(status->text()), status->contentsRect().width());
    EXPECT_TRUE(status->text().endsWith(QChar(0x2026)) && whole.startsWith(status->text().chopped(1)))
        << status->text().toStdString();

    // One touch on the oldest part shows it again.
    station.findChild<TouchButton*>("cmdHistory")->click();
    QTest::mouseClick(history->viewport(), Qt::LeftButton, {}, history->visualItemRect(history->item(2)).center());
    EXPECT_EQ(station.windowTitle(), "Station: old.rpt");
    EXPECT_EQ(station.Played().CurrentPosition(), 1);
}

TEST_F(StationTest, TheRollingAverageIsTheAveragingToolsMean) {
    const std::string corpus = std::string(KVO_SOURCE_DIR) + "/../shared/corpus/qif/";
    if (!std::filesystem::exists(corpus + "SheetMetal_QIF_Results_sample_1.QIF")) GTEST_SKIP() << corpus << " is not there; skipped";
    const std::string tool = JoinPath(ExecutableDirectory(), "kvotool");
    const std::string showFile = dir_.File("sheet.kvo");
    ASSERT_EQ(test::RunCommand(tool + " new --from-results " + corpus + "SheetMetal_QIF_Results_sample_1.QIF -o " + showFile + " >/dev/null"), 0);
    const auto show = LoadShow(showFile);

    FormStation station(*show, {folder_.Path(), 3, 0}, nullptr);
    std::vector<std::string> files;
    for (int i = 1; i <= 4; ++i) {
        files.push_back(corpus + "SheetMetal_QIF_Results_sample_" + std::to_string(i) + ".QIF");
        station.Receive(QString::fromStdString(files.back()));
    }
    test::WriteFile(folder_.File("damaged.qif"), "not results");
    station.Receive(QString::fromStdString(folder_.File("damaged.qif")));  // skipped by the average
    station.findChild<TouchButton*>("cmdAverage")->click();
    ASSERT_TRUE(station.Averaging());
    const std::string averaged = dir_.File("averaged.kvo");
    ASSERT_EQ(test::RunCommand(tool + " average " + showFile + " " + files[1] + " " + files[2] + " " + files[3] + " -o " + averaged +
                               " >/dev/null"),
              0);
    const std::string expected = Cells(*LoadShow(averaged));
    EXPECT_EQ(Cells(station.Played()), expected);
    int averagedCells = 0;
    for (const auto& icon : station.Played().Slides().Item(1).Icons())
        for (const auto& cell : icon->Values())
            if (cell->IsAverage() && cell->SummCount() == 3) ++averagedCells;
    EXPECT_EQ(averagedCells, 21);
    const std::string latest = Cells(*station.Parts().Evaluated(1));
    EXPECT_NE(latest, expected);
    station.findChild<TouchButton*>("cmdAverage")->click();
    EXPECT_EQ(Cells(station.Played()), latest);

    // The number of parts is kept for the next start.
    station.findChild<TouchButton*>("cmdMore")->click();
    EXPECT_EQ(ReadStationSettings().average, 4);
    EXPECT_EQ(ReadStationSettings().folder, folder_.Path());
}

}  // namespace
}  // namespace kvo

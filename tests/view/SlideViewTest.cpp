#include "view/SlideView.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <future>

#include "PictureBytes.h"
#include "model/ModelTestSupport.h"
#include "model/Slide.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "view/DecodedMetafile.h"
#include "view/OffscreenSurfaces.h"
#include "view/Picture.h"
#include "view/PictureLoader.h"
#include "view/TypeImages.h"

namespace kvo {
namespace {

using test::RaisedBy;

// A placeable metafile of a 100 x 100 logical frame with one rectangle, and
// the given records after it.
std::string TinyWmf(const std::vector<std::vector<int>>& more = {}) {
    std::string bytes;
    const auto u16 = [&](int v) {
        bytes.push_back(static_cast<char>(v & 0xFF));
        bytes.push_back(static_cast<char>((v >> 8) & 0xFF));
    };
    const auto u32 = [&](uint32_t v) {
        u16(static_cast<int>(v & 0xFFFF));
        u16(static_cast<int>(v >> 16));
    };
    const std::array<uint16_t, 10> placeable{0xCDD7, 0x9AC6, 0, 0, 0, 100, 100, 96, 0, 0};
    uint16_t checksum = 0;
    for (uint16_t word : placeable) checksum ^= word;
    for (uint16_t word : placeable) u16(word);
    u16(checksum);
    std::vector<std::vector<int>> records = {{0x020B, 0, 0}, {0x020C, 100, 100}, {0x041B, 90, 90, 10, 10}};
    records.insert(records.end(), more.begin(), more.end());
    uint32_t words = 9 + 3;
    for (const auto& r : records) words += 3 + static_cast<uint32_t>(r.size() - 1);
    u16(1), u16(9), u16(0x0300), u32(words), u16(1), u32(20), u16(0);
    for (const auto& r : records) {
        u32(3 + static_cast<uint32_t>(r.size() - 1));
        u16(r[0]);
        for (std::size_t i = 1; i < r.size(); ++i) u16(r[i]);
    }
    u32(3), u16(0);
    return bytes;
}

class SlideViewTest : public ::testing::Test {
protected:
    void SetUp() override {
        slide_.SetName("Front");
    }

    // The picture rectangle's twips for the slide's current picture and position.
    SlideView& Bind() {
        view_.SetSlide(&slide_);
        try {
            view_.LoadPicture();
        } catch (const Error&) {
        }
        return view_;
    }

    test::TempDir dir_;
    OffscreenHost host_{800, 600};  // 12000 x 9000 twips
    OffscreenOwner owner_{host_};
    SlideView view_{owner_, host_};
    Slide slide_;
};

// Found by fuzzing: header fields whose arithmetic overflowed, and a WMF
// header whose largest-record field made libwmf allocate gigabytes.
TEST_F(SlideViewTest, HeaderFieldsAtTheirLimitsAreHandled) {
    const auto put32 = [](std::string& bytes, std::size_t at, uint32_t value) {
        for (int i = 0; i < 4; ++i) bytes[at + static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
    };
    std::string bmp = test::Bmp(2, 2);
    put32(bmp, 18, 0x7FFFFFFF);  // width
    put32(bmp, 22, 0x7FFFFFFF);  // height
    test::WriteFile(dir_.File("huge.bmp"), bmp);
    Bitmap bitmap;
    const Error bmpError = RaisedBy([&] { bitmap.LoadFile(dir_.File("huge.bmp")); });
    EXPECT_EQ(bmpError.Number(), 481);
    EXPECT_NE(bmpError.Description().find("is truncated"), std::string::npos) << bmpError.Description();

    std::string wmf = TinyWmf();
    put32(wmf, 22 + 12, 0x6E750007);  // the largest record, as the header says
    test::WriteFile(dir_.File("claims.wmf"), wmf);
    Metafile metafile;
    metafile.LoadFile(dir_.File("claims.wmf"));
    EXPECT_GT(metafile.Width(), 0);

    // An EMF header whose frame runs from the least to the greatest 32-bit value.
    std::string emf(88, '\0');
    put32(emf, 0, 1);
    put32(emf, 4, 88);
    put32(emf, 24, 0x80000000u);
    put32(emf, 28, 0x80000000u);
    put32(emf, 32, 0x7FFFFFFF);
    put32(emf, 36, 0x7FFFFFFF);
    put32(emf, 40, 0x464D4520);
    put32(emf, 48, 88 + 20);
    emf += std::string("\x0E\0\0\0\x14\0\0\0\0\0\0\0\x10\0\0\0\x14\0\0\0", 20);  // end of file
    test::WriteFile(dir_.File("vast.emf"), emf);
    const Error emfError = RaisedBy([&] { metafile.LoadFile(dir_.File("vast.emf")); });
    EXPECT_EQ(emfError.Number(), 481);
    EXPECT_NE(emfError.Description().find("has no usable size"), std::string::npos) << emfError.Description();

    // In the user's language, whether the editor or a picture helper found it.
    SetLanguage(1031);
    InitResources();
    EXPECT_EQ(RaisedBy([&] { metafile.LoadFile(dir_.File("vast.emf")); }).Description(),
              "Das Bild \"" + dir_.File("vast.emf") + "\" hat in seinem Kopf keine verwendbare Größe");
    EXPECT_EQ(RaisedBy([&] { bitmap.LoadFile(dir_.File("huge.bmp")); }).Description(),
              "Das Bild \"" + dir_.File("huge.bmp") + "\" ist abgeschnitten: Es ist kürzer, als sein Kopf angibt");
    SetLanguage(1033);
    InitResources();
}

// Found by fuzzing: text in a font without a name crashed Qt as it was
// recorded, a pattern brush without a pattern was drawn from stray memory,
// text after its font was deleted read the font's freed name, and EMF record
// types no writer uses, or a description lying past the header, were read
// out of bounds.
TEST_F(SlideViewTest, FuzzedMetafilesDrawOrFailClearly) {
    // CreateFontIndirect with an empty face name, select it, TextOut "Hi".
    test::WriteFile(dir_.File("nameless.wmf"), TinyWmf({{0x02FB, 20, 0, 0, 0, 400, 0, 0, 0, 0},
                                                         {0x012D, 0},
                                                         {0x0521, 2, 0x6948, 50, 10}}));
    Metafile metafile;
    metafile.LoadFile(dir_.File("nameless.wmf"));
    EXPECT_GT(metafile.Width(), 0);
    // A pattern brush made without a pattern, filling an ellipse.
    test::WriteFile(dir_.File("patternless.wmf"), TinyWmf({{0x02FC, 3, 0, 0, 0}, {0x012D, 0}, {0x0418, 60, 60, 20, 20}}));
    metafile.LoadFile(dir_.File("patternless.wmf"));
    EXPECT_GT(metafile.Width(), 0);
    // A font "Ar" made and deleted at once (libwmf holds it as made), a pen
    // made in its slot, then TextOut "Hi": the font's name was read from the pen.
    test::WriteFile(dir_.File("deleted-font.wmf"), TinyWmf({{0x02FB, 20, 0, 0, 0, 400, 0, 0, 0, 0, 0x7241, 0},
                                                             {0x01F0, 0},
                                                             {0x02FA, 0, 1, 0, 0x4141, 0x41},
                                                             {0x0521, 2, 0x6948, 50, 10}}));
    metafile.LoadFile(dir_.File("deleted-font.wmf"));
    EXPECT_GT(metafile.Width(), 0);

    // Without a frame, the size comes from what it draws: here a viewport scaled far out.
    test::WriteFile(dir_.File("vast.wmf"), TinyWmf({{0x0103, 8},
                                                     {0x020E, 32767, 32767},
                                                     {0x0412, 1, 32767, 1, 32767},
                                                     {0x041B, 32767, 32767, -32768, -32768}})
                                               .substr(22));
    const Error vast = RaisedBy([&] { metafile.LoadFile(dir_.File("vast.wmf")); });
    EXPECT_EQ(vast.Number(), 481);
    EXPECT_NE(vast.Description().find("has no usable size"), std::string::npos) << vast.Description();
    // Or nothing at all: told as such, not as a number the editor does not know.
    // (a header, SetMapMode and the end record, without a frame)
    test::WriteFile(dir_.File("blank.wmf"), std::string("\x01\0\x09\0\0\x03\x10\0\0\0\0\0\x05\0\0\0\0\0"
                                                        "\x04\0\0\0\x03\x01\x08\0\x03\0\0\0\0\0",
                                                        32));
    EXPECT_NE(RaisedBy([&] { metafile.LoadFile(dir_.File("blank.wmf")); }).Description().find("draws nothing"), std::string::npos);

    std::string emf(88, '\0');
    const auto put32 = [&](std::size_t at, uint32_t value) {
        for (int i = 0; i < 4; ++i) emf[at + static_cast<std::size_t>(i)] = static_cast<char>((value >> (8 * i)) & 0xFF);
    };
    put32(0, 1), put32(4, 88), put32(16, 99), put32(20, 99), put32(40, 0x464D4520), put32(48, 88 + 20);
    emf += std::string("\x0E\0\0\0\x14\0\0\0\0\0\0\0\x10\0\0\0\x14\0\0\0", 20);
    // Windows passes over a record it does not know, and never reads the description.
    put32(60, 4000);
    put32(64, 80);
    test::WriteFile(dir_.File("unknown.emf"), emf.substr(0, 88) + std::string("\x0E\0\0\xF7\x14\0\0\0", 8) +
                                                  std::string(12, '\0') + emf.substr(88));
    metafile.LoadFile(dir_.File("unknown.emf"));
    EXPECT_EQ(metafile.Width(), 100);
}

TEST_F(SlideViewTest, PictureKindFollowsTheNameRule) {
    EXPECT_EQ(PictureKindForName("C:\\PLAN.WMF"), PictureKind::Metafile);
    EXPECT_EQ(PictureKindForName("/srv/plan.bmp"), PictureKind::Bitmap);
    EXPECT_EQ(PictureKindForName("/srv/plan.Emf"), PictureKind::Metafile);
    EXPECT_EQ(PictureKindForName("/srv/plan.gif"), PictureKind::None);
    EXPECT_EQ(PictureKindForName(".BMP"), PictureKind::None);  // the match must start at the second character or later
    EXPECT_EQ(PictureKindForName("x.BMP"), PictureKind::Bitmap);
    EXPECT_EQ(PictureKindForName("/srv/a.wmf.bmp"), PictureKind::Metafile);  // searched anywhere, WMF first
}

TEST_F(SlideViewTest, ConversionsRoundHalfToEvenAndClampAtThePictureEdges) {
    SlideView& view = Bind();  // no picture: 10, 10, 80, 80 percent of the host
    EXPECT_EQ(view.PictureRect(), QRect(1200, 900, 9600, 7200));
    EXPECT_EQ(view.ConvertHostToPicture(0, 0), QPoint(0, 0));
    EXPECT_EQ(view.ConvertHostToPicture(20000, 20000), QPoint(1000, 1000));
    EXPECT_EQ(view.ConvertHostToPicture(6000, 4500), QPoint(500, 500));
    EXPECT_EQ(view.ConvertPictureToHost(1000, 1000), QPoint(10800, 8100));
    EXPECT_EQ(view.ConvertPictureToHost(-100, 0), QPoint(240, 900));  // no clamping this way
    EXPECT_EQ(view.ConvertHostToVirtualHost(6, 0), QPoint(0, 0));     // 0.5 rounds to even
    EXPECT_EQ(view.ConvertHostToVirtualHost(18, 27), QPoint(2, 3));   // 1.5 and 3.0
    EXPECT_EQ(view.ConvertVirtualHostToHost(500, 1000), QPoint(6000, 9000));
    EXPECT_EQ(RaisedBy([&] { view.ConvertHostToVirtualHost(3000000, 0); }).Number(), 6);
    host_.screenOrigin = QPoint(100, 50);
    EXPECT_EQ(view.ConvertHostToScreen(150, 300), QPoint(110, 70));
}

TEST_F(SlideViewTest, PicturePositionIsClampedAndReported) {
    SlideView& view = Bind();
    view.SetPicturePosition(90, 95, 20, 0);
    int16_t l = 0, t = 0, w = 0, h = 0;
    slide_.GetPicturePosition(l, t, w, h);
    EXPECT_EQ(std::vector<int16_t>({l, t, w, h}), std::vector<int16_t>({80, 95, 20, 1}));
    EXPECT_EQ(owner_.fileChanges, 1);
    view.SetPicturePosition(-5, -5, 500, 100);
    slide_.GetPicturePosition(l, t, w, h);
    EXPECT_EQ(std::vector<int16_t>({l, t, w, h}), std::vector<int16_t>({0, 0, 100, 100}));
}

TEST_F(SlideViewTest, PictureRectangleRules) {
    slide_.SetPicturePosition(100, 0, 50, 50);

    test::WriteFile(dir_.File("plan.wmf"), TinyWmf());
    slide_.SetPictureFile(dir_.File("plan.wmf"));
    SlideView& view = Bind();
    ASSERT_TRUE(view.IsScaleable()) << view.PictureProblem();
    EXPECT_EQ(view.PictureRect(), QRect(6000, 0, 6000, 4500));  // flush with the right edge
    EXPECT_DOUBLE_EQ(view.CurrentWidthRatio(), 2.0);

    test::WriteFile(dir_.File("plan.bmp"), test::Bmp(200, 100));
    slide_.SetPictureFile(dir_.File("plan.bmp"));
    slide_.SetPicturePosition(50, 50, 80, 80);
    Bind();
    EXPECT_FALSE(view.IsScaleable());
    // A bitmap keeps its natural size and is placed in the room it leaves free.
    EXPECT_EQ(view.PictureRect(), QRect(6000 - 1500, 4500 - 750, 3000, 1500));

    slide_.SetPicturePosition(100, 100, 80, 80);
    slide_.SetPictureFile("");
    EXPECT_EQ(Bind().PictureRect().topLeft(), QPoint(12000, 9000));  // no picture: L = 100 is the host's edge
}

TEST_F(SlideViewTest, LeadersBendAsTheirIconSays) {
    Icon& icon = slide_.Icons().Add();
    SlideView& view = Bind();
    IconView& iconView = view.Views().Item(1);
    const IconSurface& box = iconView.View();
    const QPoint s(box.Left() + box.Width() / 2, box.Top() + box.Height() / 2);
    const QPoint p = view.ConvertPictureToHost(500, 500);
    EXPECT_EQ(view.TagLinePoints(iconView, 500, 500, 0, false), std::vector<QPoint>({s, p}));
    const auto vertical = view.TagLinePoints(iconView, 500, 500, 50, true);
    ASSERT_EQ(vertical.size(), 3u);
    EXPECT_EQ(vertical[1].x(), s.x());
    EXPECT_NEAR(vertical[1].y(), (s.y() + p.y()) / 2.0, 1);
    const auto square = view.TagLinePoints(iconView, 500, 500, 100, false);
    EXPECT_EQ(square[1], QPoint(p.x(), s.y()));  // the corner level with the target
    icon.SetDrawLeader(false);
    EXPECT_FALSE(iconView.TagHitTest(p.x(), p.y()));
}

TEST_F(SlideViewTest, TheLeaderEndIsHitWithinThreePixelsSquare) {
    slide_.Icons().Add();
    SlideView& view = Bind();
    const QPoint end = view.ConvertPictureToHost(500, 500);
    const IconView& iconView = view.Views().Item(1);
    EXPECT_TRUE(iconView.TagHitTest(end.x() + 45, end.y() + 45));   // 3 pixels in each axis
    EXPECT_TRUE(iconView.TagHitTest(end.x() - 45, end.y() - 45));
    EXPECT_FALSE(iconView.TagHitTest(end.x() + 60, end.y()));       // 4 pixels
    EXPECT_FALSE(iconView.TagHitTest(end.x(), end.y() - 60));
    view.HostMouseMove(0, 0, end.x() + 10, end.y());
    EXPECT_EQ(host_.pointer, Pointer::Cross);
    view.HostMouseMove(0, 0, 0, 0);
    EXPECT_EQ(host_.pointer, Pointer::Default);
}

TEST_F(SlideViewTest, BoxDragsStayOnTheHostAndAClickStoresNothing) {
    Icon& icon = slide_.Icons().Add();
    SlideView& view = Bind();
    IconView& iconView = view.Views().Item(1);
    const IconSurface& box = iconView.View();
    const int16_t key = iconView.Index();

    view.ViewMouseDown(key, 1, 0, 30, 30);
    view.ViewMouseUp(key, 1, 0, 30, 30);
    EXPECT_EQ(owner_.fileChanges, 0);
    EXPECT_EQ(icon.Left(), 100);

    view.ViewMouseDown(key, 1, 0, 30, 30);
    ASSERT_EQ(host_.feedback.size(), 4u);  // the frame, four bars 4 pixels thick
    EXPECT_EQ(host_.feedback[0].width(), 4);
    view.ViewMouseMove(key, 1, 0, 30 + 20000, 30 - 5000);
    view.ViewMouseUp(key, 1, 0, 30 + 20000, 30 - 5000);
    EXPECT_TRUE(host_.feedback.empty());
    EXPECT_EQ(box.Left() + box.Width(), host_.Width());  // right edge on the host's right edge
    EXPECT_EQ(box.Top(), 0);
    EXPECT_EQ(icon.Top(), 0);
    EXPECT_EQ(icon.Left(), view.ConvertHostToVirtualHost(box.Left(), 0).x());
    EXPECT_EQ(owner_.fileChanges, 1);
}

TEST_F(SlideViewTest, LeaderDragsLandOnThePictureBorder) {
    Icon& icon = slide_.Icons().Add();
    SlideView& view = Bind();
    IconView& iconView = view.Views().Item(1);
    const QPoint end = view.ConvertPictureToHost(500, 500);
    view.HostMouseDown(1, 0, end.x(), end.y());
    ASSERT_EQ(host_.feedback.size(), 1u);
    EXPECT_EQ(host_.feedback[0].size(), QSize(3, 3));
    // Coordinates now come relative to the capturing icon surface.
    const IconSurface& box = iconView.View();
    view.ViewMouseMove(iconView.Index(), 1, 0, -box.Left() - 500, 4000 - box.Top());
    view.ViewMouseUp(iconView.Index(), 1, 0, -box.Left() - 500, 4000 - box.Top());
    EXPECT_EQ(icon.LeaderX(), 0);
    EXPECT_EQ(icon.LeaderY(), view.ConvertHostToPicture(0, 4000).y());
    EXPECT_EQ(owner_.fileChanges, 1);
}

TEST_F(SlideViewTest, ALockedViewOnlySignalsTheIcon) {
    Icon& icon = slide_.Icons().Add();
    SlideView& view = Bind();
    view.SetLocked(true);
    IconView& iconView = view.Views().Item(1);
    view.ViewMouseDown(iconView.Index(), 1, 0, 10, 10);
    ASSERT_EQ(owner_.signalled.size(), 1u);
    EXPECT_EQ(owner_.signalled[0], &iconView);
    EXPECT_TRUE(host_.feedback.empty());
    EXPECT_FALSE(owner_.surfaces[0]->captured);
    const QPoint end = view.ConvertPictureToHost(icon.LeaderX(), icon.LeaderY());
    host_.pointer = Pointer::Default;
    view.HostMouseMove(0, 0, end.x(), end.y());
    view.HostMouseDown(1, 0, end.x(), end.y());
    EXPECT_EQ(host_.pointer, Pointer::Default);
    EXPECT_TRUE(host_.feedback.empty());
    view.SetLocked(false);
    view.ViewMouseDown(iconView.Index(), 2, 0, 10, 10);  // the right button signals too
    EXPECT_EQ(owner_.signalled.size(), 2u);
}

TEST_F(SlideViewTest, ViewsFollowTheSlideAndItsIcons) {
    slide_.Icons().Add();
    slide_.Icons().Add().SetSequenceNumber(7);
    SlideView& view = Bind();
    EXPECT_EQ(view.Views().Count(), 2);
    EXPECT_EQ(owner_.surfaces.size(), 2u);
    EXPECT_NE(view.Views().FindByIndex(2), nullptr);
    EXPECT_EQ(view.Views().FindByIndex(9), nullptr);
    Icon templateIcon;
    templateIcon.SetFeatureName("Bore");
    templateIcon.SetFontSize(20);
    IconView* added = view.AddIcon(&templateIcon);
    ASSERT_NE(added, nullptr);
    EXPECT_EQ(added->Icon().Name(), "BORE");
    EXPECT_EQ(added->Icon().FontSize(), 20);
    EXPECT_EQ(slide_.Icons().Count(), 3);
    EXPECT_EQ(owner_.fileChanges, 1);

    view.Views().Item(1).SetPosition(100, 100);  // where it is already
    EXPECT_EQ(owner_.fileChanges, 1);
    view.Views().Item(1).SetPosition(300, 100);
    EXPECT_EQ(owner_.fileChanges, 2);

    OffscreenIcon& surface = *owner_.surfaces[1];
    QImage image(400, 200, QImage::Format_ARGB32);
    QPainter painter(&image);
    view.Views().Item(2).Paint(painter);
    const int painted = surface.refreshes;
    view.TestRepaint();
    EXPECT_EQ(surface.refreshes, painted);  // nothing changed since the paint
    view.Views().Item(2).Icon().SetSequenceNumber(8);
    view.TestRepaint();
    EXPECT_EQ(surface.refreshes, painted + 1);
    painter.end();

    view.SetSlide(nullptr);
    EXPECT_EQ(view.Views().Count(), 0);
    EXPECT_EQ(std::count(owner_.surfaces.begin(), owner_.surfaces.end(), nullptr), 3);  // every surface is gone
}

// A text longer than its cell shows whole where the cut one is.
TEST_F(SlideViewTest, ATextTooLongForItsCellIsOfferedWhole) {
    Icon& icon = slide_.Icons().Add();
    const std::string remark = "visual check: no burrs on the whole sealing face";
    Value& longCell = icon.Values().Add();
    longCell.SetColumn(0);
    longCell.SetCurrentValue(Variant(remark));
    Value& shortCell = icon.Values().Add();
    shortCell.SetColumn(1);
    shortCell.SetCurrentValue(Variant(std::string("ok")));
    SlideView& view = Bind();
    IconView& iconView = view.Views().Item(1);
    const int width = static_cast<int>(owner_.surfaces[0]->Width() / host_.TwipsPerPixelX());
    const int height = static_cast<int>(owner_.surfaces[0]->Height() / host_.TwipsPerPixelY());
    const int cellWidth = (width - 2) / 2;
    const int row = height - 5;
    EXPECT_EQ(iconView.CutTextAt(QPoint(cellWidth / 2, row)).toStdString(), remark);
    EXPECT_TRUE(iconView.CutTextAt(QPoint(cellWidth + cellWidth / 2, row)).isEmpty());
    EXPECT_TRUE(iconView.CutTextAt(QPoint(cellWidth / 2, 2)).isEmpty());  // the name strip
}

TEST_F(SlideViewTest, RenamingAndTheTypeImages) {
    test::RecordingPrompt prompt;
    SlideView& view = Bind();
    prompt.texts = {std::string("Top view")};
    view.UpdateTitle();
    EXPECT_EQ(slide_.Name(), "Top view");
    EXPECT_EQ(prompt.lastDefault, "Front");
    EXPECT_EQ(prompt.askedText[0].text, LoadResString(Str::SlideNamePrompt));
    view.UpdateTitle();  // cancelled: the name is emptied, as it always was
    EXPECT_EQ(slide_.Name(), "");

    EXPECT_EQ(view.GetTypeImage(1, false, false), TypeImage(2));
    EXPECT_EQ(view.GetTypeImage(6, true, false), TypeImage(13));
    EXPECT_EQ(view.GetTypeImage(4, false, true), TypeImage(14));
    EXPECT_EQ(view.GetTypeImage(10, true, true), TypeImage(14));
    EXPECT_TRUE(view.GetTypeImage(20, false, false).isNull());
    for (int i = 1; i <= kTypeImageCount; ++i) EXPECT_FALSE(TypeImage(i).isNull()) << i;
}

TEST_F(SlideViewTest, AnUnreadablePictureBecomesANoticeNotACrash) {
    test::WriteFile(dir_.File("broken.bmp"), "BM this is no bitmap");
    slide_.SetPictureFile(dir_.File("broken.bmp"));
    slide_.Icons().Add();
    const RenderedSlide rendered = RenderSlide(slide_, 640, 480);
    EXPECT_FALSE(rendered.image.isNull());
    EXPECT_NE(rendered.pictureProblem.find(dir_.File("broken.bmp")), std::string::npos) << rendered.pictureProblem;
    slide_.SetPictureFile(dir_.File("missing.wmf"));
    EXPECT_NE(RenderSlide(slide_, 640, 480).pictureProblem.find("File not found"), std::string::npos);
    const Error error = RaisedBy([&] {
        view_.SetSlide(&slide_);
        view_.LoadPicture();
    });
    EXPECT_EQ(error.Number(), 53);
}

// Decodes in the background only when the test lets it: red for a file whose
// name holds "good", error 481 for any other.
class GatedDecoder {
public:
    PictureLoader::Decoder Decoder() {
        return [this](const std::string& fileName, const std::atomic<bool>&) -> std::shared_ptr<DecodedMetafile> {
            // Bounded only so that a view that waits here fails the test instead of hanging it.
            gate_.wait_for(std::chrono::seconds(30));
            returned_ = true;
            if (fileName.find("good") == std::string::npos) throw Error(481, "Metafile.LoadFile", "bad picture " + fileName);
            auto decoded = std::make_shared<DecodedMetafile>();
            QPainter painter(&decoded->recording);
            painter.fillRect(0, 0, 10, 10, Qt::red);
            painter.end();
            decoded->recordedSize = QSize(10, 10);
            decoded->naturalSize = QSize(10, 10);
            return decoded;
        };
    }
    void Release() {
        if (!released_) promise_.set_value();
        released_ = true;
    }
    bool Returned() const { return returned_; }
    ~GatedDecoder() { Release(); }

private:
    std::promise<void> promise_;
    std::shared_future<void> gate_ = promise_.get_future().share();
    std::atomic<bool> returned_ = false;
    bool released_ = false;
};

TEST_F(SlideViewTest, ASlideChangeShowsAPlaceholderAtOnceAndThePictureOrItsProblemWhenDecoded) {
    GatedDecoder decoder;
    OffscreenHost host(200, 150);
    OffscreenOwner owner(host);
    SlideView view(owner, host, std::make_unique<PictureLoader>(decoder.Decoder(), 1));
    QImage frame(200, 150, QImage::Format_ARGB32_Premultiplied);
    const auto paint = [&] {
        frame.fill(Qt::white);
        QPainter painter(&frame);
        view.HostPaint(painter);
    };
    // The event loop runs until the view has asked to be painted and then
    // shows what is wanted; a view that never asks fails.
    const auto paintedOnRequest = [&](const std::function<bool()>& shown) {
        QDeadlineTimer deadline(std::chrono::seconds(20));
        int refreshes = host.refreshes;
        while (!deadline.hasExpired()) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
            if (host.refreshes == refreshes) continue;
            refreshes = host.refreshes;
            paint();
            if (shown()) return true;
        }
        return false;
    };
    const QPoint middle(100, 75);

    test::WriteFile(dir_.File("good.wmf"), "decoded by the test");
    Slide good;
    good.SetPictureFile(dir_.File("good.wmf"));
    view.SetSlide(&good);
    paint();
    EXPECT_FALSE(decoder.Returned()) << "the slide change waited for its picture";
    EXPECT_NE(frame.pixelColor(middle), QColor(Qt::red));
    EXPECT_TRUE(view.PictureProblem().empty());

    decoder.Release();
    EXPECT_TRUE(paintedOnRequest([&] { return frame.pixelColor(middle) == QColor(Qt::red); }));

    test::WriteFile(dir_.File("bad.wmf"), "refused by the test");
    Slide bad;
    bad.SetPictureFile(dir_.File("bad.wmf"));
    view.SetSlide(&bad);
    paint();
    EXPECT_TRUE(paintedOnRequest([&] { return !view.PictureProblem().empty(); }));
    EXPECT_NE(view.PictureProblem().find("bad picture"), std::string::npos) << view.PictureProblem();
    view.SetSlide(nullptr);
}

}  // namespace
}  // namespace kvo

#pragma once

#include <QtCore/QObject>
#include <QtGui/QBrush>
#include <QtGui/QImage>
#include <QtGui/QPainter>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "IconViewCollection.h"
#include "PictureLoader.h"
#include "Surfaces.h"

namespace kvo {

class Bitmap;
class Icon;
class Metafile;
class Slide;
class SlideCollection;

// Shows one slide on a host surface: the background picture in its rectangle,
// the slide's name, the leaders, and one icon view per icon. Works in four
// coordinate systems: host twips, thousandths of the host ("virtual host"),
// thousandths of the picture rectangle, and screen pixels; every conversion
// rounds half to even and raises error 6 on 32-bit overflow. A metafile is
// decoded and drawn in the background; the slide shows a placeholder until
// it is ready.
class SlideView {
public:
    // Tolerance colours, 0x00BBGGRR.
    static constexpr int32_t kColorOK = 0x00FF00;
    static constexpr int32_t kColorWarning = 0x00FFFF;
    static constexpr int32_t kColorError = 0x0000FF;
    static constexpr int32_t kColorEmpty = 0xFFFF00;

    // Without a loader, one of the metafile helpers, a thread per core.
    SlideView(ViewOwner& owner, HostSurface& host, std::unique_ptr<PictureLoader> loader = nullptr);
    ~SlideView();
    SlideView(const SlideView&) = delete;
    SlideView& operator=(const SlideView&) = delete;

    // Drops every icon view and the picture.
    void Release();

    std::string BackgroundPicture() const;
    void SetBackgroundPicture(const std::string& fileName);
    void ReloadPicture();
    void ClearPicture();
    // Loads the slide's picture, and draws it at the size shown, waiting for
    // both; raises the picture's own error when it cannot. Given bytes, they
    // stand for the picture's file.
    void LoadPicture(const QByteArray* bytes = nullptr);
    // Has the pictures of the show decoded in the background, the current
    // slide's and its neighbours' first (and drawn at the size shown), then
    // the rest from the nearest on. current is 1-based.
    void DecodeAhead(const SlideCollection& slides, int32_t current);
    void SetPicturePosition(int16_t left, int16_t top, int16_t width, int16_t height);
    void GetPicturePosition(int16_t& left, int16_t& top, int16_t& width, int16_t& height) const;
    QBrush DragBrush() const;
    void DrawTagLine(QPainter& painter, const IconView& view, int32_t x, int32_t y, int16_t bend, bool vertical,
                     int32_t color);
    // The leader's corners in host twips: the box centre, the bend if any, the target.
    std::vector<QPoint> TagLinePoints(const IconView& view, int32_t x, int32_t y, int16_t bend, bool vertical) const;

    QPoint ConvertVirtualHostToHost(int32_t x, int32_t y) const;
    QPoint ConvertHostToVirtualHost(int32_t x, int32_t y) const;
    QPoint ConvertHostToPicture(int32_t x, int32_t y) const;
    QPoint ConvertPictureToHost(int32_t x, int32_t y) const;
    QPoint ConvertHostToScreen(int32_t x, int32_t y) const;
    int32_t HostWidth() const { return host_.Width(); }
    int32_t HostHeight() const { return host_.Height(); }
    void HostRefresh() { host_.Refresh(); }
    double TwipsPerPixelX() const { return host_.TwipsPerPixelX(); }
    double TwipsPerPixelY() const { return host_.TwipsPerPixelY(); }
    void ShowFeedback(const std::vector<QRect>& screenRects) { host_.ShowFeedback(screenRects); }

    void ViewMouseDown(int16_t key, int button, int shift, int32_t x, int32_t y);
    void ViewMouseMove(int16_t key, int button, int shift, int32_t x, int32_t y);
    void ViewMouseUp(int16_t key, int button, int shift, int32_t x, int32_t y);
    void ViewPaint(int16_t key, QPainter& painter);
    void HostMouseDown(int button, int shift, int32_t x, int32_t y);
    void HostMouseMove(int button, int shift, int32_t x, int32_t y);
    // Picture, slide name and leaders, in host pixels. Never raises: a picture
    // that cannot be read is replaced by a notice. Never waits for a metafile:
    // one not ready is asked for and shown when it is.
    void HostPaint(QPainter& painter);
    void HostResize();
    void SizePicture();
    void SetSlide(Slide* slide);
    Slide* CurrentSlide() const { return slide_; }
    void UpdateSlide();
    // Asks for the slide's name; a cancelled question leaves the name empty.
    void UpdateTitle();
    QImage GetImage(int index) const;
    QImage GetTypeImage(int16_t symbol, bool isLimit, bool isAverage) const;
    int32_t ColorEmpty() const { return kColorEmpty; }
    int32_t ColorOK() const { return kColorOK; }
    int32_t ColorWarning() const { return kColorWarning; }
    int32_t ColorError() const { return kColorError; }
    // A tolerance state's colour, wherever a state is shown.
    int32_t StateColor(int16_t state) const;
    // For an image made beside the screen: a metafile is played here unless the
    // raster the screen keeps is of the size drawn, and that raster is left as it is.
    void SetOwnRaster(bool own) { ownRaster_ = own; }
    bool Locked() const { return locked_; }
    void SetLocked(bool locked) { locked_ = locked; }
    void SetBackColor(int32_t color);
    void TestRepaint();
    void ForceRepaint();
    void SignalIcon(IconView& view);
    bool IsScaleable() const { return metafile_ != nullptr; }
    double CurrentWidthRatio() const;
    double CurrentHeightRatio() const;
    // A new icon on the slide, a copy of the template when there is one.
    IconView* AddIcon(const kvo::Icon* templateIcon);
    void SignalFileChanged();

    IconViewCollection& Views() { return views_; }
    const IconViewCollection& Views() const { return views_; }
    // The picture rectangle, host twips.
    QRect PictureRect() const { return QRect(pictureLeft_, pictureTop_, pictureWidth_, pictureHeight_); }
    // Why the picture is not shown; empty when it is, or when there is none.
    const std::string& PictureProblem() const { return pictureProblem_; }

private:
    void RemoveViews();
    QRect ToPixels(const QRect& twips) const;
    // The slide's picture, decoded here when wait is set, else asked of the
    // loader, or from bytes that stand for its file; raises its error.
    void OpenPicture(bool wait, const QByteArray* bytes = nullptr);
    void PictureDone(const std::string& fileName);
    void DrawLoading(QPainter& painter, const QRect& picture) const;
    // Device pixels of the slide's picture if it is a metafile.
    QSize MetafilePixels(const Slide& slide) const;

    ViewOwner& owner_;
    HostSurface& host_;
    IconViewCollection views_;
    bool locked_ = false;
    bool ownRaster_ = false;
    int32_t pictureWidth_ = 0;
    int32_t pictureHeight_ = 0;
    int32_t pictureLeft_ = 0;
    int32_t pictureTop_ = 0;
    bool reload_ = false;
    bool pictureLoading_ = false;  // a metafile that the loader is still at
    QObject notices_;              // the loader's news arrives through it, on this thread
    std::unique_ptr<PictureLoader> loader_;  // after notices_: its threads end first
    std::unique_ptr<Metafile> metafile_;
    std::unique_ptr<Bitmap> bitmap_;
    std::string pictureProblem_;
    Slide* slide_ = nullptr;
};

}  // namespace kvo

#include "OffscreenSurfaces.h"

#include <QtGui/QPainter>

#include <algorithm>
#include <cmath>

#include "Colors.h"
#include "SlideView.h"
#include "model/Slide.h"
#include "services/Convert.h"
#include "services/Error.h"

namespace kvo {

OffscreenHost::OffscreenHost(int widthPixels, int heightPixels, double twipsPerPixel)
    : size_(widthPixels, heightPixels), twipsPerPixel_(twipsPerPixel) {}

int32_t OffscreenHost::Width() const { return RoundToLong(size_.width() * twipsPerPixel_); }
int32_t OffscreenHost::Height() const { return RoundToLong(size_.height() * twipsPerPixel_); }

QRect OffscreenIcon::ScreenRect() const {
    const QPoint origin = host_.ScreenOrigin();
    return QRect(origin.x() + RoundToLong(left_ / host_.TwipsPerPixelX()), origin.y() + RoundToLong(top_ / host_.TwipsPerPixelY()),
                 RoundToLong(width_ / host_.TwipsPerPixelX()), RoundToLong(height_ / host_.TwipsPerPixelY()));
}

OffscreenIcon::~OffscreenIcon() { std::replace(owner_.surfaces.begin(), owner_.surfaces.end(), this, static_cast<OffscreenIcon*>(nullptr)); }

std::unique_ptr<IconSurface> OffscreenOwner::CreateIcon() {
    auto surface = std::make_unique<OffscreenIcon>(nextIndex++, host_, *this);
    surfaces.push_back(surface.get());
    return surface;
}

RenderedSlide RenderSlide(Slide& slide, int widthPixels, int heightPixels, Rasters rasters, const QByteArray* pictureBytes) {
    OffscreenHost host(widthPixels, heightPixels);
    OffscreenOwner owner(host);
    SlideView view(owner, host);
    view.SetOwnRaster(rasters == Rasters::LeftToScreen);
    view.SetSlide(&slide);
    try {
        view.LoadPicture(pictureBytes);  // the whole picture: an image is not drawn again when it comes
    } catch (const Error&) {
        // Drawn as the notice in the picture's place.
    }
    RenderedSlide rendered;
    rendered.image = QImage(widthPixels, heightPixels, QImage::Format_ARGB32_Premultiplied);
    rendered.image.setDotsPerMeterX(3780);  // 96 dpi, as twips per pixel say
    rendered.image.setDotsPerMeterY(3780);
    rendered.image.fill(ToQColor(slide.BackColor()));
    QPainter painter(&rendered.image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    view.HostPaint(painter);
    // The icon surfaces lie above the host, as their windows do in the editor.
    for (const auto& iconView : view.Views()) {
        const QRect box = iconView->View().ScreenRect();
        painter.save();
        painter.translate(box.topLeft());
        painter.setClipRect(QRect(QPoint(0, 0), box.size()));
        iconView->Paint(painter);
        painter.restore();
    }
    painter.end();
    rendered.pictureProblem = view.PictureProblem();
    view.SetSlide(nullptr);
    return rendered;
}

}  // namespace kvo

#include "SlideView.h"

#include <QtGui/QFontMetrics>

#include <cmath>
#include <limits>

#include "Colors.h"
#include "Picture.h"
#include "PictureCache.h"
#include "TypeImages.h"
#include "model/Icon.h"
#include "model/Slide.h"
#include "model/SlideCollection.h"
#include "model/Value.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {

constexpr int32_t kDivisionByZero = 11;
constexpr double kLeaderPenWidth = 2;

// A product of two 32-bit numbers that must itself fit 32 bits, as the
// runtime's Long arithmetic demands.
int32_t Product(int64_t a, int64_t b) {
    const int64_t product = a * b;
    if (product < std::numeric_limits<int32_t>::min() || product > std::numeric_limits<int32_t>::max())
        throw Error(ErrorNumber::Overflow, "SlideView", "Overflow: " + std::to_string(a) + " * " + std::to_string(b));
    return static_cast<int32_t>(product);
}

int32_t Quotient(double numerator, double denominator) {
    if (denominator == 0) throw Error(kDivisionByZero, "SlideView", "Division by zero");
    return RoundToLong(numerator / denominator);
}

int32_t Difference(int64_t a, int64_t b) { return Product(a - b, 1); }

}  // namespace

SlideView::SlideView(ViewOwner& owner, HostSurface& host, std::unique_ptr<PictureLoader> loader)
    : owner_(owner), host_(host), views_(*this), loader_(loader ? std::move(loader) : std::make_unique<PictureLoader>()) {
    loader_->OnDone(&notices_, [this](const std::string& fileName) { PictureDone(fileName); });
    SizePicture();
}

SlideView::~SlideView() { Release(); }

void SlideView::Release() {
    RemoveViews();
    metafile_.reset();
    bitmap_.reset();
}

void SlideView::RemoveViews() {
    while (views_.Count() > 0) {
        views_.Item(1).Terminate();
        views_.Remove(1);
    }
}

std::string SlideView::BackgroundPicture() const { return slide_ != nullptr ? slide_->PictureFile() : std::string(); }

int32_t SlideView::StateColor(int16_t state) const {
    switch (state) {
        case ToleranceState::InBand: return ColorOK();
        case ToleranceState::Warning: return ColorWarning();
        case ToleranceState::OutOfTolerance: return ColorError();
        default: return ColorEmpty();
    }
}

void SlideView::SetBackgroundPicture(const std::string& fileName) {
    if (slide_ == nullptr || !slide_->SetPictureFile(fileName)) return;
    ClearPicture();
    reload_ = true;
    SizePicture();
    host_.Refresh();
    for (const auto& view : views_) view->RefreshView();
    SignalFileChanged();
}

void SlideView::ReloadPicture() {
    loader_->Forget(BackgroundPicture());
    ClearPicture();
    reload_ = true;
    host_.Refresh();
    for (const auto& view : views_) view->RefreshView();
}

void SlideView::ClearPicture() {
    metafile_.reset();
    bitmap_.reset();
    pictureProblem_.clear();
    reload_ = false;
    pictureLoading_ = false;
    host_.Refresh();
}

void SlideView::LoadPicture(const QByteArray* bytes) {
    OpenPicture(true, bytes);
    if (metafile_ && !ownRaster_) {
        const QRect picture = ToPixels(PictureRect());
        if (!picture.isEmpty()) PictureCache::Shared().Raster(metafile_->Decoded(), DeviceSize(QTransform(), picture));
    }
}

void SlideView::OpenPicture(bool wait, const QByteArray* bytes) {
    reload_ = false;
    pictureLoading_ = false;
    metafile_.reset();
    bitmap_.reset();
    pictureProblem_.clear();
    const std::string fileName = slide_ != nullptr ? slide_->PictureFile() : std::string();
    try {
        switch (PictureKindForName(fileName)) {
            case PictureKind::Metafile:
                if (bytes != nullptr)
                    metafile_ = std::make_unique<Metafile>(DecodeMetafileData(fileName, *bytes));
                else if (auto decoded = wait ? loader_->Wait(fileName) : loader_->Find(fileName))
                    metafile_ = std::make_unique<Metafile>(std::move(decoded));
                else
                    pictureLoading_ = true;
                break;
            case PictureKind::Bitmap: {
                auto bitmap = std::make_unique<Bitmap>();
                if (bytes != nullptr)
                    bitmap->LoadData(fileName, *bytes);
                else
                    bitmap->LoadFile(fileName);
                bitmap_ = std::move(bitmap);
                break;
            }
            case PictureKind::None:
                break;
        }
    } catch (const Error& error) {
        pictureProblem_ = error.Description();
        SizePicture();
        throw;
    }
    SizePicture();
}

void SlideView::PictureDone(const std::string& fileName) {
    if (slide_ == nullptr || slide_->PictureFile() != fileName) return;
    if (pictureLoading_) reload_ = true;
    host_.Refresh();
}

void SlideView::DecodeAhead(const SlideCollection& slides, int32_t current) {
    std::vector<PictureLoader::Job> jobs;
    const auto want = [&](int32_t index, bool draw) {
        if (index < 1 || index > slides.Count()) return;
        const Slide& slide = slides.Item(index);
        if (PictureKindForName(slide.PictureFile()) != PictureKind::Metafile) return;
        QSize size;
        try {
            if (draw) size = MetafilePixels(slide);
        } catch (const Error&) {
            // Too large to place: decoded only, and shown with its problem when visited.
        }
        jobs.push_back({slide.PictureFile(), size});
    };
    want(current, true);
    for (int32_t step = 1; step < slides.Count(); ++step) {
        want(current + step, step == 1);
        want(current - step, step == 1);
    }
    loader_->Want(jobs);
}

QSize SlideView::MetafilePixels(const Slide& slide) const {
    int16_t l = 0, t = 0, w = 0, h = 0;
    slide.GetPicturePosition(l, t, w, h);
    const QRect twips(0, 0, Quotient(Product(HostWidth(), w), 100), Quotient(Product(HostHeight(), h), 100));
    return DeviceSize(QTransform(), ToPixels(twips));
}

void SlideView::SetPicturePosition(int16_t left, int16_t top, int16_t width, int16_t height) {
    if (slide_ == nullptr) return;
    width = std::clamp<int16_t>(width, 1, 100);
    height = std::clamp<int16_t>(height, 1, 100);
    left = std::max<int16_t>(left, 0);
    top = std::max<int16_t>(top, 0);
    if (left > 100 - width) left = static_cast<int16_t>(100 - width);
    if (top > 100 - height) top = static_cast<int16_t>(100 - height);
    slide_->SetPicturePosition(left, top, width, height);
    SizePicture();
    host_.Refresh();
    SignalFileChanged();
}

void SlideView::GetPicturePosition(int16_t& left, int16_t& top, int16_t& width, int16_t& height) const {
    if (slide_ != nullptr) slide_->GetPicturePosition(left, top, width, height);
}

QBrush SlideView::DragBrush() const { return QBrush(Qt::black, Qt::Dense4Pattern); }

void SlideView::SizePicture() {
    const int32_t hw = HostWidth(), hh = HostHeight();
    if (slide_ == nullptr) {
        pictureLeft_ = 0;
        pictureTop_ = 0;
        pictureWidth_ = hw;
        pictureHeight_ = hh;
        return;
    }
    int16_t l = 0, t = 0, w = 0, h = 0;
    slide_->GetPicturePosition(l, t, w, h);
    // A metafile still loading takes its room already, so nothing moves when it comes.
    if (metafile_ || pictureLoading_ || bitmap_) {
        if (!bitmap_) {
            pictureWidth_ = Quotient(Product(hw, w), 100);
            pictureHeight_ = Quotient(Product(hh, h), 100);
        } else {
            pictureWidth_ = RoundToLong(bitmap_->Width() * TwipsPerPixelX());
            pictureHeight_ = RoundToLong(bitmap_->Height() * TwipsPerPixelY());
        }
        // L and T place the picture within the room it leaves free: 100 is flush right or bottom.
        pictureLeft_ = RoundToLong(Product(hw, l) / 100.0 - Product(l, pictureWidth_) / 100.0);
        pictureTop_ = RoundToLong(Product(hh, t) / 100.0 - Product(t, pictureHeight_) / 100.0);
        return;
    }
    pictureLeft_ = Quotient(Product(hw, l), 100);
    pictureTop_ = Quotient(Product(hh, t), 100);
    pictureWidth_ = Quotient(Product(hw, w), 100);
    pictureHeight_ = Quotient(Product(hh, h), 100);
}

QPoint SlideView::ConvertVirtualHostToHost(int32_t x, int32_t y) const {
    return {Quotient(Product(x, HostWidth()), 1000), Quotient(Product(y, HostHeight()), 1000)};
}

QPoint SlideView::ConvertHostToVirtualHost(int32_t x, int32_t y) const {
    return {Quotient(Product(x, 1000), HostWidth()), Quotient(Product(y, 1000), HostHeight())};
}

QPoint SlideView::ConvertHostToPicture(int32_t x, int32_t y) const {
    const int32_t px = Quotient(Product(Difference(x, pictureLeft_), 1000), pictureWidth_);
    const int32_t py = Quotient(Product(Difference(y, pictureTop_), 1000), pictureHeight_);
    return {std::clamp(px, 0, 1000), std::clamp(py, 0, 1000)};
}

QPoint SlideView::ConvertPictureToHost(int32_t x, int32_t y) const {
    return {RoundToLong(Product(pictureWidth_, x) / 1000.0 + pictureLeft_),
            RoundToLong(Product(pictureHeight_, y) / 1000.0 + pictureTop_)};
}

QPoint SlideView::ConvertHostToScreen(int32_t x, int32_t y) const {
    const QPoint origin = host_.ScreenOrigin();
    return {RoundToLong(x / TwipsPerPixelX() + origin.x()), RoundToLong(y / TwipsPerPixelY() + origin.y())};
}

QRect SlideView::ToPixels(const QRect& twips) const {
    return QRect(RoundToLong(twips.x() / TwipsPerPixelX()), RoundToLong(twips.y() / TwipsPerPixelY()),
                 RoundToLong(twips.width() / TwipsPerPixelX()), RoundToLong(twips.height() / TwipsPerPixelY()));
}

std::vector<QPoint> SlideView::TagLinePoints(const IconView& view, int32_t x, int32_t y, int16_t bend, bool vertical) const {
    const IconSurface& box = view.View();
    const QPoint s(RoundToLong(box.Left() + box.Width() / 2.0), RoundToLong(box.Top() + box.Height() / 2.0));
    const QPoint p = ConvertPictureToHost(x, y);
    std::vector<QPoint> points{s};
    if (bend >= 1) {
        if (vertical) points.emplace_back(s.x(), RoundToLong(s.y() - Product(Difference(s.y(), p.y()), bend) / 100.0));
        else points.emplace_back(RoundToLong(s.x() - Product(Difference(s.x(), p.x()), bend) / 100.0), s.y());
    }
    points.push_back(p);
    return points;
}

void SlideView::DrawTagLine(QPainter& painter, const IconView& view, int32_t x, int32_t y, int16_t bend, bool vertical,
                            int32_t color) {
    const std::vector<QPoint> points = TagLinePoints(view, x, y, bend, vertical);
    painter.save();
    painter.setPen(QPen(ToQColor(color), kLeaderPenWidth));
    for (std::size_t i = 1; i < points.size(); ++i)
        painter.drawLine(QPointF(points[i - 1].x() / TwipsPerPixelX(), points[i - 1].y() / TwipsPerPixelY()),
                         QPointF(points[i].x() / TwipsPerPixelX(), points[i].y() / TwipsPerPixelY()));
    painter.restore();
}

void SlideView::ViewMouseDown(int16_t key, int button, int shift, int32_t x, int32_t y) {
    if (slide_ == nullptr) return;
    if (IconView* view = views_.FindByIndex(key)) view->MouseDown(button, shift, x, y);
}

void SlideView::ViewMouseMove(int16_t key, int button, int shift, int32_t x, int32_t y) {
    if (slide_ == nullptr) return;
    if (IconView* view = views_.FindByIndex(key)) view->MouseMove(button, shift, x, y);
}

void SlideView::ViewMouseUp(int16_t key, int button, int shift, int32_t x, int32_t y) {
    if (slide_ == nullptr) return;
    if (IconView* view = views_.FindByIndex(key)) view->MouseUp(button, shift, x, y);
}

void SlideView::ViewPaint(int16_t key, QPainter& painter) {
    if (IconView* view = views_.FindByIndex(key)) view->Paint(painter);
}

void SlideView::HostMouseDown(int, int, int32_t x, int32_t y) {
    if (slide_ == nullptr || locked_) return;
    for (const auto& view : views_) {
        if (view->TagHitTest(x, y)) {
            view->StartTagDrag(x, y);
            return;
        }
    }
}

void SlideView::HostMouseMove(int, int, int32_t x, int32_t y) {
    if (slide_ == nullptr || locked_) return;
    bool onLeaderEnd = false;
    for (const auto& view : views_) {
        if (view->TagHitTest(x, y)) {
            onLeaderEnd = true;
            break;
        }
    }
    host_.SetPointer(onLeaderEnd ? Pointer::Cross : Pointer::Default);
}

void SlideView::HostPaint(QPainter& painter) {
    if (slide_ == nullptr) return;
    try {
        if (reload_) OpenPicture(false);
    } catch (const std::exception&) {
        // Shown below as a notice in the picture's place.
    }
    try {
        const QRect picture = ToPixels(PictureRect());
        if (metafile_ && ownRaster_) {
            // The screen's raster when it is of this size, else the picture played here.
            const QImage held = PictureCache::Shared().HeldRaster(metafile_->Decoded());
            if (held.size() == DeviceSize(painter.transform(), picture)) painter.drawImage(picture, held);
            else metafile_->Decoded()->Draw(painter, picture);
        } else if (metafile_) {
            const Metafile::Held held = metafile_->DrawHeld(painter, picture);
            if (held != Metafile::Held::AtSize) loader_->Want({{slide_->PictureFile(), DeviceSize(painter.transform(), picture)}});
            if (held == Metafile::Held::None) DrawLoading(painter, picture);
        } else if (pictureLoading_) {
            DrawLoading(painter, picture);
        } else if (bitmap_) {
            bitmap_->Draw(painter, picture.x(), picture.y());
        } else if (!pictureProblem_.empty()) {
            painter.save();
            painter.setPen(QPen(QColor(190, 40, 40), 1, Qt::DashLine));
            painter.setBrush(QColor(255, 235, 235));
            const QRect notice = picture.adjusted(4, 4, -4, -4);
            painter.drawRect(notice);
            const QImage glyph = GetImage(1);
            painter.drawImage(notice.topLeft() + QPoint(8, 8), glyph);
            painter.setPen(QColor(120, 20, 20));
            painter.drawText(notice.adjusted(16 + glyph.width(), 8, -8, -8), Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
                             QString::fromStdString(pictureProblem_));
            painter.restore();
        }
    } catch (const std::exception&) {
    }
    painter.save();
    painter.setPen(Qt::black);
    painter.drawText(QRect(2, 2, RoundToLong(HostWidth() / TwipsPerPixelX()), RoundToLong(HostHeight() / TwipsPerPixelY())),
                     Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, QString::fromStdString(slide_->Name()));
    painter.restore();
    for (const auto& view : views_) {
        try {
            view->PaintTagLine(painter);
        } catch (const std::exception&) {
        }
    }
}

void SlideView::DrawLoading(QPainter& painter, const QRect& picture) const {
    painter.save();
    painter.setPen(QPen(QColor(160, 160, 160), 1, Qt::DotLine));
    painter.setBrush(QColor(0, 0, 0, 10));
    painter.drawRect(picture.adjusted(4, 4, -4, -4));
    painter.setPen(QColor(130, 130, 130));
    painter.drawText(picture, Qt::AlignCenter | Qt::TextWordWrap, QString::fromStdString(LoadResString(Str::PictureLoading)));
    painter.restore();
}

void SlideView::HostResize() {
    if (slide_ == nullptr) return;
    SizePicture();
    for (const auto& view : views_) view->Reposition();
}

void SlideView::SetSlide(Slide* slide) {
    RemoveViews();
    ClearPicture();
    slide_ = slide;
    if (slide_ == nullptr) {
        SizePicture();
        return;
    }
    for (const auto& icon : slide_->Icons()) {
        auto surface = owner_.CreateIcon();
        if (surface) views_.Add(*icon, std::move(surface));
    }
    reload_ = true;
    SizePicture();
    host_.SetBackColor(ToQColor(slide_->BackColor()));
    host_.Refresh();
}

void SlideView::UpdateSlide() {
    if (slide_ == nullptr) return;
    SizePicture();
    host_.Refresh();
}

void SlideView::UpdateTitle() {
    if (slide_ == nullptr) return;
    // Whatever comes back is the name, an empty one included.
    const auto answer =
        CurrentPrompt().AskText(LoadResString(Str::SlideNamePrompt), LoadResString(Str::SlideNameTitle), slide_->Name());
    slide_->SetName(answer.value_or(std::string()));
    host_.Refresh();
    SignalFileChanged();
}

QImage SlideView::GetImage(int index) const {
    if (index != 1) return {};
    // The picture-missing glyph of the notice.
    QImage image(16, 16, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(190, 40, 40), 2));
    p.drawRect(QRectF(1.5, 1.5, 13, 13));
    p.drawLine(QPointF(4, 4), QPointF(12, 12));
    p.drawLine(QPointF(12, 4), QPointF(4, 12));
    return image;
}

QImage SlideView::GetTypeImage(int16_t symbol, bool isLimit, bool isAverage) const {
    int index = isLimit ? symbol + 7 : symbol + 1;
    if (isAverage && (symbol == 4 || symbol == 10)) index = kTypeImageCount;
    return TypeImage(index);
}

void SlideView::SetBackColor(int32_t color) {
    if (slide_ == nullptr) return;
    slide_->SetBackColor(color);
    host_.SetBackColor(ToQColor(color));
    host_.Refresh();
    SignalFileChanged();
}

void SlideView::TestRepaint() {
    for (const auto& view : views_) view->TestRepaint();
}

void SlideView::ForceRepaint() {
    host_.Refresh();
    for (const auto& view : views_) view->ForceRepaint();
}

void SlideView::SignalIcon(IconView& view) {
    try {
        owner_.SignalIcon(view);
    } catch (...) {
    }
}

void SlideView::SignalFileChanged() {
    try {
        owner_.SignalFileChanged();
    } catch (...) {
    }
}

double SlideView::CurrentWidthRatio() const {
    return pictureWidth_ != 0 ? static_cast<double>(HostWidth()) / pictureWidth_ : 0.0;
}

double SlideView::CurrentHeightRatio() const {
    return pictureHeight_ != 0 ? static_cast<double>(HostHeight()) / pictureHeight_ : 0.0;
}

IconView* SlideView::AddIcon(const kvo::Icon* templateIcon) {
    if (slide_ == nullptr) return nullptr;
    auto surface = owner_.CreateIcon();
    if (!surface) return nullptr;  // every surface is in use
    kvo::Icon& icon = slide_->Icons().Add();
    if (templateIcon != nullptr) templateIcon->Copy(icon);
    IconView& view = views_.Add(icon, std::move(surface));
    host_.Refresh();
    SignalFileChanged();
    return &view;
}

}  // namespace kvo

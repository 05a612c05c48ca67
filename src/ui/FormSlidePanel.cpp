#include "FormSlidePanel.h"

#include <QtGui/QContextMenuEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenu>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStyle>
#include <QtWidgets/QStyleOption>

#include <optional>

#include "DialogSupport.h"
#include "model/Slide.h"
#include "model/SlideCollection.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "view/Colors.h"
#include "view/OffscreenSurfaces.h"
#include "view/PictureCache.h"

namespace kvo {

namespace {

constexpr int kPanelWidth = FormSlidePanel::kThumbnailWidth + 48;

std::string PictureKey(const Slide& slide) {
    return slide.PictureFile().empty() ? std::string() : PictureCache::FileKey(slide.PictureFile());
}

}  // namespace

// The list of the panel: a press chooses a slide, a drag moves it. The drag is
// the list's own, not the desktop's, so that nothing but a slide's place can
// change through it.
class SlideList final : public QListWidget {
public:
    explicit SlideList(FormSlidePanel& panel) : QListWidget(&panel), panel_(panel) {
        setObjectName("lstSlides");
        // The number and name below each picture.
        setViewMode(QListView::IconMode);
        setFlow(QListView::TopToBottom);
        setWrapping(false);
        setResizeMode(QListView::Adjust);
        setWordWrap(true);
        setMovement(QListView::Static);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setSelectionMode(QAbstractItemView::SingleSelection);
        setDragEnabled(false);
        setUniformItemSizes(true);
        setSpacing(4);
        setTextElideMode(Qt::ElideRight);
    }

    // As wide as it must be and no wider: a window made larger gives the room to the slide.
    QSize sizeHint() const override { return QSize(kPanelWidth, QListWidget::sizeHint().height()); }
    QSize minimumSizeHint() const override { return QSize(kPanelWidth, QListWidget::minimumSizeHint().height()); }

    // Before which row the dragged slide would land; during a drag only.
    std::optional<int> DropRow() const { return dropRow_; }

protected:
    void mousePressEvent(QMouseEvent* event) override {
        QListWidget::mousePressEvent(event);
        const QModelIndex index = indexAt(event->position().toPoint());
        if (event->button() != Qt::LeftButton || !index.isValid()) return;
        pressRow_ = index.row();
        pressAt_ = event->position().toPoint();
        emit panel_.slideChosen(index.row() + 1);
    }

    void mouseMoveEvent(QMouseEvent* event) override {
        if (!pressRow_ || !event->buttons().testFlag(Qt::LeftButton)) {
            QListWidget::mouseMoveEvent(event);
            return;
        }
        const QPoint at = event->position().toPoint();
        if (!dropRow_ && (at - pressAt_).manhattanLength() < QApplication::startDragDistance()) return;
        dropRow_ = RowBefore(at);
        viewport()->update();
    }

    void mouseReleaseEvent(QMouseEvent* event) override {
        const std::optional<int> from = pressRow_, before = dropRow_;
        pressRow_.reset();
        dropRow_.reset();
        viewport()->update();
        if (!from || !before) {
            QListWidget::mouseReleaseEvent(event);
            return;
        }
        // Dropped just above or below itself, it stays.
        const int to = *before > *from ? *before - 1 : *before;
        if (to != *from) emit panel_.moveRequested(*from + 1, to + 1);
    }

    void contextMenuEvent(QContextMenuEvent* event) override {
        const QModelIndex index = indexAt(event->pos());
        if (!index.isValid()) return;
        emit panel_.slideChosen(index.row() + 1);
        panel_.Menu().popup(event->globalPos());
    }

    void paintEvent(QPaintEvent* event) override {
        QListWidget::paintEvent(event);
        if (!dropRow_) return;
        // The line where the slide would land.
        const int rows = count();
        const QRect item = visualRect(model()->index(std::min(*dropRow_, rows - 1), 0));
        const int y = *dropRow_ < rows ? item.top() - spacing() / 2 : item.bottom() + spacing() / 2;
        QPainter painter(viewport());
        painter.setPen(QPen(palette().color(QPalette::Highlight), 3));
        painter.drawLine(4, y, viewport()->width() - 4, y);
    }

private:
    int RowBefore(const QPoint& at) const {
        for (int row = 0; row < count(); ++row) {
            const QRect item = visualRect(model()->index(row, 0));
            if (at.y() < item.center().y()) return row;
        }
        return count();
    }

    FormSlidePanel& panel_;
    std::optional<int> pressRow_;
    QPoint pressAt_;
    std::optional<int> dropRow_;
};

FormSlidePanel::FormSlidePanel(QWidget* parent) : QDockWidget(Caption(Str::SlidePanelTitle), parent), list_(new SlideList(*this)) {
    setObjectName("FormSlidePanel");
    setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea);
    setFeatures(QDockWidget::DockWidgetClosable | QDockWidget::DockWidgetMovable);
    setWidget(list_);
    menu_ = new QMenu(this);
    menu_->setObjectName("mnuSlidePanel");
    drawer_.setMaxThreadCount(1);
    connect(list_->verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { Schedule(); });
}

void FormSlidePanel::resizeEvent(QResizeEvent* event) {
    QDockWidget::resizeEvent(event);
    Schedule();
}

FormSlidePanel::~FormSlidePanel() {
    queue_.clear();
    drawer_.waitForDone();
}

QListWidget& FormSlidePanel::List() const { return *list_; }

void FormSlidePanel::SetMenuActions(const QList<QAction*>& actions) {
    menu_->clear();
    menu_->addActions(actions);
}

// The thumb drawn, or being drawn, of a slide just as it is. After an edit, an
// insertion or a move, a slide is found at its old place or next to it.
std::shared_ptr<FormSlidePanel::Thumb> FormSlidePanel::ThumbFor(const Slide& slide, std::size_t row,
                                                                const std::vector<std::shared_ptr<Thumb>>& before) {
    std::optional<std::string> key;  // the disk is asked only when there is a copy to compare with
    const auto same = [&](const Thumb& thumb) {
        if (!thumb.slide) return false;
        if (!key) key = PictureKey(slide);
        return thumb.pictureKey == *key && *thumb.slide == slide;
    };
    for (const std::size_t at : {row, row - 1, row + 1})
        if (at < before.size() && same(*before[at])) return before[at];
    for (const auto& thumb : before)
        if (same(*thumb)) return thumb;
    return std::make_shared<Thumb>();
}

void FormSlidePanel::ShowSlides(const SlideCollection* slides, int current, const QSize& hostPixels) {
    slides_ = slides;
    current_ = current;
    std::vector<std::shared_ptr<Thumb>> before;
    if (hostPixels == hostPixels_) before = std::move(thumbs_);  // every slide looks otherwise on another host
    hostPixels_ = hostPixels;
    thumbs_.clear();
    if (slides != nullptr && !hostPixels.isEmpty()) {
        const QSize size(kThumbnailWidth, std::max(1, kThumbnailWidth * hostPixels.height() / hostPixels.width()));
        if (size != thumbSize_) blanks_.clear();
        thumbSize_ = size;
        thumbs_.reserve(static_cast<std::size_t>(slides->Count()));
        for (int32_t i = 1; i <= slides->Count(); ++i) thumbs_.push_back(ThumbFor(slides->Item(i), thumbs_.size(), before));
    }
    UpdateItems();
    Schedule();
}

void FormSlidePanel::UpdateItems() {
    const int count = static_cast<int>(thumbs_.size());
    rows_.resize(thumbs_.size());
    list_->setIconSize(thumbSize_);
    while (list_->count() > count) delete list_->takeItem(list_->count() - 1);
    while (list_->count() < count) list_->addItem(new QListWidgetItem);
    for (int row = 0; row < count; ++row) UpdateRow(row);
    if (current_ >= 1 && current_ <= count) {
        list_->setCurrentRow(current_ - 1);
        list_->scrollToItem(list_->item(current_ - 1));
    } else {
        list_->clearSelection();
    }
}

// The slide shown in row, none where the slides changed without being shown again.
const Slide* FormSlidePanel::SlideAt(std::size_t row) const {
    return slides_ != nullptr && row < static_cast<std::size_t>(slides_->Count()) ? &slides_->Item(static_cast<int32_t>(row) + 1) : nullptr;
}

void FormSlidePanel::UpdateRow(int row) {
    const Slide* shownSlide = SlideAt(static_cast<std::size_t>(row));
    QListWidgetItem* item = list_->item(row);
    if (shownSlide == nullptr || item == nullptr) return;  // the list is still being made
    const Slide& slide = *shownSlide;
    const Thumb& thumb = *thumbs_[static_cast<std::size_t>(row)];
    const bool enabled = slide.Enabled();
    const auto greyed = [&](const QPixmap& picture) {
        if (enabled) return picture;
        QStyleOption option;
        option.initFrom(list_);
        return style()->generatedIconPixmap(QIcon::Disabled, picture, &option);
    };
    QPixmap picture = thumb.picture;
    if (picture.isNull()) {
        // Until it is drawn, the slide's colour.
        QPixmap& blank = blanks_[static_cast<quint32>(slide.BackColor()) | (enabled ? 0 : quint64{1} << 32)];
        if (blank.isNull()) {
            QPixmap filled(thumbSize_);
            filled.fill(ToQColor(slide.BackColor()));
            blank = greyed(filled);
        }
        picture = blank;
    }
    Row& shown = rows_[static_cast<std::size_t>(row)];
    if (shown.picture != picture.cacheKey() || shown.enabled != enabled) {
        shown.picture = picture.cacheKey();
        item->setIcon(QIcon(thumb.picture.isNull() ? picture : greyed(picture)));
    }
    const QString text = Q(FormatResString(enabled ? Str::SlidePanelEntry : Str::SlidePanelDisabled, {row + 1, slide.Name()}));
    if (shown.text != text || shown.enabled != enabled) {
        shown.text = text;
        item->setText(text);
        item->setForeground(palette().color(enabled ? QPalette::Active : QPalette::Disabled, QPalette::Text));
        item->setToolTip(text);
    }
    shown.enabled = enabled;
}

std::pair<int, int> FormSlidePanel::RowsInView() const {
    // Rows run from top to bottom: the first whose bottom is in view, then the first below the view.
    const auto firstWhere = [&](int from, auto below) {
        int low = from, high = list_->count();
        while (low < high) {
            const int middle = low + (high - low) / 2;
            if (below(list_->visualItemRect(list_->item(middle)))) high = middle;
            else low = middle + 1;
        }
        return low;
    };
    const int first = firstWhere(0, [](const QRect& item) { return item.bottom() >= 0; });
    const int height = list_->viewport()->height();
    return {first, firstWhere(first, [&](const QRect& item) { return item.top() >= height; }) - 1};
}

void FormSlidePanel::Schedule() {
    queue_.clear();
    const int count = static_cast<int>(thumbs_.size());
    const auto [first, last] = RowsInView();
    const int current = current_ - 1;
    // Far from the view, a picture is let go and drawn again when the list comes back.
    for (int row = 0; row < count; ++row) {
        if (row == current || (row >= first - 2 * kRowsAhead && row <= last + 2 * kRowsAhead)) continue;
        auto& thumb = thumbs_[static_cast<std::size_t>(row)];
        if (!thumb->slide) continue;
        thumb = std::make_shared<Thumb>();
        UpdateRow(row);
    }
    const auto want = [&](int row) {
        if (row >= 0 && row < count && !thumbs_[static_cast<std::size_t>(row)]->slide) queue_.push_back(thumbs_[static_cast<std::size_t>(row)]);
    };
    want(current);
    for (int row = first; row <= last; ++row) want(row);
    for (int row = 1; row <= kRowsAhead; ++row) {
        want(last + row);
        want(first - row);
    }
    if (!running_) DrawNext();
}

void FormSlidePanel::DrawNext() {
    while (!queue_.empty()) {
        const std::shared_ptr<Thumb> thumb = queue_.front();
        queue_.pop_front();
        const auto at = std::find(thumbs_.begin(), thumbs_.end(), thumb);
        const Slide* slide = at == thumbs_.end() ? nullptr : SlideAt(static_cast<std::size_t>(at - thumbs_.begin()));
        if (thumb->slide || slide == nullptr) continue;  // listed twice, or no longer shown
        // Copied now, not when shown: a show of thousands of slides opens without copying them all.
        thumb->slide = std::make_shared<const Slide>(*slide);
        thumb->pictureKey = PictureKey(*slide);
        running_ = true;
        const QSize host = hostPixels_, size = thumbSize_;
        drawer_.start([this, thumb, copy = thumb->slide, host, size] {
            Slide slide(*copy);
            // Drawn at the host's size, as the slide itself, and made smaller.
            QImage image = RenderSlide(slide, host.width(), host.height(), Rasters::LeftToScreen)
                               .image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            QMetaObject::invokeMethod(
                this,
                [this, thumb, image = std::move(image)]() mutable {
                    running_ = false;
                    thumb->picture = QPixmap::fromImage(std::move(image));
                    // A thumbnail of a slide that changed meanwhile is no longer shown.
                    for (std::size_t row = 0; row < thumbs_.size(); ++row)
                        if (thumbs_[row] == thumb) UpdateRow(static_cast<int>(row));
                    DrawNext();
                },
                Qt::QueuedConnection);
        });
        return;
    }
}

QImage FormSlidePanel::Thumbnail(int number) const {
    if (number < 1 || number > static_cast<int>(thumbs_.size())) return {};
    return thumbs_[static_cast<std::size_t>(number) - 1]->picture.toImage();
}

}  // namespace kvo

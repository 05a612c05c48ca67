#include "FormSlidePanel.h"

#include <QtGui/QContextMenuEvent>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QMenu>
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

std::shared_ptr<FormSlidePanel::Thumb> FormSlidePanel::ThumbFor(const Slide& slide) {
    const std::string pictureKey = slide.PictureFile().empty() ? std::string() : PictureCache::FileKey(slide.PictureFile());
    for (const auto& thumb : thumbs_)
        if (thumb->pictureKey == pictureKey && *thumb->slide == slide) return thumb;
    auto thumb = std::make_shared<Thumb>();
    thumb->slide = std::make_shared<const Slide>(slide);
    thumb->pictureKey = pictureKey;
    return thumb;
}

void FormSlidePanel::ShowSlides(const SlideCollection* slides, int current, const QSize& hostPixels) {
    current_ = current;
    if (hostPixels != hostPixels_) thumbs_.clear();  // every slide looks otherwise on another host
    hostPixels_ = hostPixels;
    std::vector<std::shared_ptr<Thumb>> thumbs;
    enabled_.clear();
    names_.clear();
    if (slides != nullptr && !hostPixels.isEmpty()) {
        thumbSize_ = QSize(kThumbnailWidth, std::max(1, kThumbnailWidth * hostPixels.height() / hostPixels.width()));
        for (int32_t i = 1; i <= slides->Count(); ++i) {
            const Slide& slide = slides->Item(i);
            thumbs.push_back(ThumbFor(slide));
            enabled_.push_back(slide.Enabled());
            names_.push_back(slide.Name());
        }
    }
    thumbs_ = std::move(thumbs);
    UpdateItems();
    Schedule();
}

void FormSlidePanel::UpdateItems() {
    const int count = static_cast<int>(thumbs_.size());
    list_->setIconSize(thumbSize_);
    while (list_->count() > count) delete list_->takeItem(list_->count() - 1);
    while (list_->count() < count) list_->addItem(new QListWidgetItem);
    for (int row = 0; row < count; ++row) {
        const Thumb& thumb = *thumbs_[static_cast<std::size_t>(row)];
        const bool enabled = enabled_[static_cast<std::size_t>(row)];
        QPixmap picture;
        if (thumb.image.isNull()) {
            // Until it is drawn, the slide's colour.
            picture = QPixmap(thumbSize_);
            picture.fill(ToQColor(thumb.slide->BackColor()));
        } else {
            picture = QPixmap::fromImage(thumb.image);
        }
        if (!enabled) {
            QStyleOption option;
            option.initFrom(list_);
            picture = style()->generatedIconPixmap(QIcon::Disabled, picture, &option);
        }
        QListWidgetItem* item = list_->item(row);
        const std::string& name = names_[static_cast<std::size_t>(row)];
        item->setIcon(QIcon(picture));
        item->setText(Q(FormatResString(enabled ? Str::SlidePanelEntry : Str::SlidePanelDisabled, {row + 1, name})));
        item->setForeground(palette().color(enabled ? QPalette::Active : QPalette::Disabled, QPalette::Text));
        item->setToolTip(item->text());
    }
    if (current_ >= 1 && current_ <= count) {
        list_->setCurrentRow(current_ - 1);
        list_->scrollToItem(list_->item(current_ - 1));
    } else {
        list_->clearSelection();
    }
}

void FormSlidePanel::Schedule() {
    queue_.clear();
    const auto want = [&](int row) {
        if (row < 0 || row >= static_cast<int>(thumbs_.size())) return;
        const auto& thumb = thumbs_[static_cast<std::size_t>(row)];
        if (thumb->image.isNull() && std::find(queue_.begin(), queue_.end(), thumb) == queue_.end()) queue_.push_back(thumb);
    };
    want(current_ - 1);
    for (int row = 0; row < static_cast<int>(thumbs_.size()); ++row) want(row);
    if (!running_) DrawNext();
}

void FormSlidePanel::DrawNext() {
    if (queue_.empty()) return;
    const std::shared_ptr<Thumb> thumb = queue_.front();
    queue_.pop_front();
    running_ = true;
    const QSize host = hostPixels_, size = thumbSize_;
    drawer_.start([this, thumb, host, size] {
        Slide slide(*thumb->slide);
        // Drawn at the host's size, as the slide itself, and made smaller.
        const QImage image = RenderSlide(slide, host.width(), host.height(), Rasters::LeftToScreen)
                                 .image.scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        QMetaObject::invokeMethod(
            this,
            [this, thumb, image] {
                running_ = false;
                thumb->image = image;
                // A thumbnail of a slide that changed meanwhile is no longer shown.
                if (std::find(thumbs_.begin(), thumbs_.end(), thumb) != thumbs_.end()) UpdateItems();
                DrawNext();
            },
            Qt::QueuedConnection);
    });
}

QImage FormSlidePanel::Thumbnail(int number) const {
    if (number < 1 || number > static_cast<int>(thumbs_.size())) return {};
    return thumbs_[static_cast<std::size_t>(number) - 1]->image;
}

}  // namespace kvo

#pragma once

#include <QtCore/QHash>
#include <QtCore/QThreadPool>
#include <QtCore/QTimer>
#include <QtGui/QImage>
#include <QtGui/QPixmap>
#include <QtWidgets/QDockWidget>

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class QListWidget;
class QMenu;

namespace kvo {

class Slide;
class SlideCollection;
class SlideList;

// The slide panel: every slide of the show as a small picture, drawn as the
// slide itself is drawn, with its number and name, greyed when the operator
// does not see it. A click goes to a slide, a drag puts it elsewhere, a
// right-click offers the slide commands for it. The pictures are drawn one
// at a time in the background, for the rows in view and those near them, and
// kept while their slide stays as it was and the list stays near them: a show
// of thousands of slides holds a few hundred pictures, not all.
class FormSlidePanel final : public QDockWidget {
    Q_OBJECT
public:
    static constexpr int kThumbnailWidth = 160;
    // Rows drawn beyond those in view on either side; twice as many are kept.
    static constexpr int kRowsAhead = 40;

    explicit FormSlidePanel(QWidget* parent);
    ~FormSlidePanel() override;

    // Shows these slides (none: nothing), current (1-based) marked, as a host
    // of hostPixels shows them. A slide is copied only when its picture is
    // drawn, so the collection must stay until the next call; every change
    // to the slides is followed by one.
    void ShowSlides(const SlideCollection* slides, int current, const QSize& hostPixels);
    // What the right-click offers, for the slide it was made on.
    void SetMenuActions(const QList<QAction*>& actions);
    QListWidget& List() const;
    QMenu& Menu() const { return *menu_; }
    // The picture shown for slide number, as drawn so far; null until it is.
    QImage Thumbnail(int number) const;
    // Whether pictures are still to be drawn.
    bool Drawing() const { return running_ || !queue_.empty(); }

signals:
    void slideChosen(int number);
    // A slide dragged from one place to another, both 1-based.
    void moveRequested(int from, int to);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Thumb {
        std::shared_ptr<const Slide> slide;  // the slide as it was drawn; none until its drawing starts
        std::string pictureKey;              // its picture as it was on disk
        QPixmap picture;
    };
    // What a row of the list shows, so that only a row that changes is set again.
    struct Row {
        qint64 picture = 0;
        bool enabled = true;
        QString text;
    };

    std::shared_ptr<Thumb> ThumbFor(const Slide& slide, std::size_t row, const std::vector<std::shared_ptr<Thumb>>& before);
    // Draws what is missing near the rows in view, the current slide's first,
    // one at a time, and lets go of the pictures far from them.
    void Schedule();
    // The first and last row in view; last < first when none is.
    std::pair<int, int> RowsInView() const;
    void DrawNext();
    void UpdateItems();
    void UpdateRow(int row);
    const Slide* SlideAt(std::size_t row) const;

    SlideList* list_;
    QMenu* menu_;
    const SlideCollection* slides_ = nullptr;
    std::vector<std::shared_ptr<Thumb>> thumbs_;  // one per slide shown, in order
    std::vector<Row> rows_;
    std::deque<std::shared_ptr<Thumb>> queue_;
    bool running_ = false;
    int current_ = 0;
    QSize hostPixels_;
    QSize thumbSize_;
    QHash<quint64, QPixmap> blanks_;  // by colour and greying: thousands of undrawn slides share a few
    QThreadPool drawer_;  // one thread, so that the editor keeps the other cores
};

}  // namespace kvo

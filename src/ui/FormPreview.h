#pragma once

#include <QtCore/QPointF>
#include <QtWidgets/QDialog>

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "view/Surfaces.h"

class QBoxLayout;
class QLabel;

namespace kvo {

class SlideHost;
class SlideShow;
class SlideView;
class TouchButton;

// The show as the operator's touch screen shows it: its enabled slides only,
// drawn by the same views, read-only, moved through with big buttons or a
// swipe. Escape returns to the editor.
class FormPreview : public QDialog, public ViewOwner {
    Q_OBJECT
public:
    // Plays a copy of the show full-screen until the user closes it; says so
    // and returns false when no slide is enabled.
    static bool Preview(const SlideShow& show, QWidget* parent);

    // Takes the enabled slides of the show; error 9 when there is none.
    FormPreview(const SlideShow& show, QWidget* parent);
    ~FormPreview() override;

    // Plays another show in place of this one, from the first slide in its
    // worst state when that is a warning or worse, else from its first slide.
    // Error 9 when no slide is enabled; the show played so far stays then.
    void Play(const SlideShow& show);

    void Previous();
    void Next();
    // The next slide out of tolerance, wrapping round to the first.
    void NextOutOfTolerance();
    void Help();

    const SlideShow& Played() const { return *show_; }
    SlideView& View() const { return *view_; }
    SlideHost& Host() const { return *host_; }

    void SignalFileChanged() override {}
    void SignalIcon(IconView&) override {}
    std::unique_ptr<IconSurface> CreateIcon() override;

protected:
    // For a window that adds its own controls: the row of buttons, and the
    // window's column with the slide on top and that row below.
    QBoxLayout& ButtonBar() const { return *bar_; }
    QBoxLayout& Column() const { return *column_; }
    QLabel& SlideStatus() const { return *status_; }
    TouchButton* AddButton(const char* name, int32_t caption, std::function<void()> action);

    void keyPressEvent(QKeyEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void ShowCurrent();

    std::unique_ptr<SlideShow> show_;
    SlideHost* host_;
    std::unique_ptr<SlideView> view_;
    QBoxLayout* bar_;
    QBoxLayout* column_;
    QLabel* status_;
    TouchButton* previous_;
    TouchButton* next_;
    TouchButton* nextOut_;
    TouchButton* help_;
    std::optional<QPointF> swipeStart_;
};

}  // namespace kvo

#pragma once

#include <QtWidgets/QDialog>

#include <memory>
#include <string>

#include "view/Surfaces.h"

class QLabel;
class QPushButton;

namespace kvo {

class SlideHost;
class SlideShow;
class SlideView;

// The show as the operator's touch screen shows it: its enabled slides only,
// drawn by the same views, read-only, moved through with big buttons. Escape
// returns to the editor.
class FormPreview final : public QDialog, public ViewOwner {
    Q_OBJECT
public:
    // Plays a copy of the show full-screen until the user closes it; says so
    // and returns false when no slide is enabled.
    static bool Preview(const SlideShow& show, QWidget* parent);

    // Takes the enabled slides of the show; error 9 when there is none.
    FormPreview(const SlideShow& show, QWidget* parent);
    ~FormPreview() override;

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
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ShowCurrent();

    std::unique_ptr<SlideShow> show_;
    SlideHost* host_;
    std::unique_ptr<SlideView> view_;
    QLabel* status_;
    QPushButton* previous_;
    QPushButton* next_;
    QPushButton* nextOut_;
    QPushButton* help_;
};

}  // namespace kvo

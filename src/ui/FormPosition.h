#pragma once

#include <QtWidgets/QDialog>

class QFrame;
class QLabel;
class QScrollBar;

namespace kvo {

class Slide;

// Where the background picture sits on the slide: left and top margin, and for
// a picture that scales (a metafile) its width and height, in percent, with a
// small preview of the slide that follows every change.
class FormPosition final : public QDialog {
    Q_OBJECT
public:
    // Landscape or portrait preview by the picture's width over height.
    static bool PositionScaleable(Slide& slide, double aspect, QWidget* parent = nullptr);
    // Only left and top; the preview shows the picture at its share of the slide.
    static bool PositionFixed(Slide& slide, double widthShare, double heightShare, double aspect, QWidget* parent = nullptr);

    FormPosition(Slide& slide, bool scaleable, double widthShare, double heightShare, double aspect, QWidget* parent = nullptr);

private:
    void UpdatePreview();
    void Confirm();

    Slide& slide_;
    bool scaleable_;
    double widthShare_;
    double heightShare_;
    QScrollBar* left_;
    QScrollBar* top_;
    QScrollBar* width_;
    QScrollBar* height_;
    QFrame* demo_;
    QFrame* shape_;
};

}  // namespace kvo

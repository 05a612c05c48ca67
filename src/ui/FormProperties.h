#pragma once

#include <QtWidgets/QDialog>

class QLabel;
class QLineEdit;
class QTabBar;
class QWidget;

namespace kvo {

class SlideShow;

// The slide show's name, description, customer, help file and topic, and how
// large it is.
class FormProperties final : public QDialog {
    Q_OBJECT
public:
    FormProperties(SlideShow& show, QWidget* parent = nullptr);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void Confirm();

    SlideShow& show_;
    QLineEdit* name_;
    QLineEdit* description_;
    QLineEdit* customer_;
    QLineEdit* helpFile_;
    QLineEdit* helpTopic_;
};

}  // namespace kvo

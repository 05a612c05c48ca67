#pragma once

#include <QtWidgets/QDialog>

class QComboBox;
class QLineEdit;
class QListWidget;

namespace kvo {

class Value;

// What one value cell shows: the characteristic (and so its report row and
// symbol), the report column, and the warning band in percent.
class FormIconContents final : public QDialog {
    Q_OBJECT
public:
    static constexpr int kConfirmed = 1;
    static constexpr int kCancelled = 2;

    FormIconContents(Value& cell, const QString& caption, QWidget* parent = nullptr);
    // Shows the dialog; 1 when confirmed (the cell is changed), 2 when cancelled.
    int Edit();
    int ResultCode() const { return resultCode_; }

private:
    void Confirm();

    Value& cell_;
    QListWidget* characteristics_;
    QComboBox* column_;
    QLineEdit* percent_;
    int resultCode_ = kCancelled;
};

}  // namespace kvo

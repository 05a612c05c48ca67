#pragma once

#include <QtWidgets/QDialog>

#include <string>

class QLineEdit;
class QPushButton;

namespace kvo {

// Before an export: the package file and a comment.
class FormExport final : public QDialog {
    Q_OBJECT
public:
    FormExport(const std::string& showPath, QWidget* parent = nullptr);
    bool Accepted() const { return accepted_; }
    std::string PackagePath() const;
    std::string Comment() const;

private:
    QLineEdit* fileName_;
    QLineEdit* comment_;
    QPushButton* ok_;
    bool accepted_ = false;
};

}  // namespace kvo

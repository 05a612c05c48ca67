#pragma once

#include <QtWidgets/QDialog>

#include <string>

class QLineEdit;
class QPushButton;

namespace kvo {

// Before an import: the package, its header, and where the slide show goes.
class FormImport final : public QDialog {
    Q_OBJECT
public:
    explicit FormImport(QWidget* parent = nullptr);
    // Starts with this package chosen, as when one is dropped on the editor.
    void SetPackage(const std::string& path);
    bool Accepted() const { return accepted_; }
    std::string PackagePath() const;
    std::string TargetPath() const;

private:
    void ReadHeader();
    void Confirm();

    QLineEdit* fileName_;
    QLineEdit* target_;
    QLineEdit* date_;
    QLineEdit* comment_;
    QPushButton* ok_;
    bool accepted_ = false;
};

}  // namespace kvo

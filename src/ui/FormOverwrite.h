#pragma once

#include <QtWidgets/QDialog>

#include <string>

#include "services/Prompt.h"

namespace kvo {

// During an import: may the file that exists already be replaced? Four answers.
class FormOverwrite final : public QDialog {
    Q_OBJECT
public:
    FormOverwrite(const std::string& existingPath, QWidget* parent = nullptr);
    OverwriteAnswer Result() const { return answer_; }
    bool Overwrite() const { return answer_ == OverwriteAnswer::Yes || answer_ == OverwriteAnswer::YesToAll; }
    bool AskAgain() const { return answer_ == OverwriteAnswer::Yes || answer_ == OverwriteAnswer::No; }

private:
    OverwriteAnswer answer_ = OverwriteAnswer::No;  // closing the window keeps the file
};

}  // namespace kvo

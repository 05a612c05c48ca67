#pragma once

#include <QtCore/QString>

#include "services/Prompt.h"

class QWidget;

namespace kvo {

// The prompts of the editor, as Qt dialogs over the main window.
class QtPrompt final : public Prompt {
public:
    explicit QtPrompt(QWidget* parent) : parent_(parent) {}

    void Message(const std::string& text, const std::string& title, MessageKind kind) override;
    Answer Ask(const std::string& text, const std::string& title, bool withCancel) override;
    OverwriteAnswer AskOverwrite(const std::string& existingPath) override;
    bool ConfirmFiles(const std::string& text, const std::string& title, const std::vector<std::string>& files) override;
    std::optional<std::string> AskText(const std::string& prompt, const std::string& title,
                                       const std::string& defaultText) override;
    std::optional<std::string> ChooseOpenFile(const FileChoice& choice) override;
    std::optional<std::string> ChooseSaveFile(const FileChoice& choice) override;
    std::vector<std::string> ChooseOpenFiles(const FileChoice& choice) override;
    std::optional<std::string> ChooseFolder(const FileChoice& choice) override;
    std::optional<int32_t> ChooseColor(int32_t initial) override;
    std::optional<FontChoice> ChooseFont(const FontChoice& initial) override;

private:
    QWidget* parent_;
};

// "Text|*.a;*.b|Text|*.*" from the string tables as a Qt file dialog filter.
QString QtFileFilter(const std::string& filter);

}  // namespace kvo

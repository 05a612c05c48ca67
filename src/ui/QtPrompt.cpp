#include "QtPrompt.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtGui/QFontInfo>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFontDialog>
#include <QtWidgets/QInputDialog>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include "DialogSupport.h"
#include "FormOverwrite.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "view/Colors.h"

namespace kvo {

namespace {

QString StartPath(const FileChoice& choice) {
    if (choice.fileName.empty()) return Q(choice.directory);
    const QFileInfo file(Q(choice.fileName));
    return file.isAbsolute() ? file.filePath() : QDir(Q(choice.directory)).filePath(Q(choice.fileName));
}

}  // namespace

QString QtFileFilter(const std::string& filter) {
    const QStringList parts = Q(filter).split('|');
    QStringList filters;
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        QString text = parts[i];
        const auto paren = text.lastIndexOf('(');
        if (paren > 0) text = text.left(paren).trimmed();
        QString patterns = parts[i + 1];
        patterns.replace(';', ' ').replace("*.*", "*");
        filters << text + " (" + patterns + ")";
    }
    return filters.join(";;");
}

void QtPrompt::Message(const std::string& text, const std::string& title, MessageKind kind) {
    const QMessageBox::Icon icon = kind == MessageKind::Stop          ? QMessageBox::Critical
                                   : kind == MessageKind::Exclamation ? QMessageBox::Warning
                                   : kind == MessageKind::Question    ? QMessageBox::Question
                                                                      : QMessageBox::Information;
    QMessageBox box(icon, Q(title), Q(text), QMessageBox::NoButton, parent_);
    box.setDefaultButton(box.addButton(Q(LoadResString(Str::ButtonOK)), QMessageBox::AcceptRole));
    box.exec();
}

Answer QtPrompt::Ask(const std::string& text, const std::string& title, bool withCancel) {
    QMessageBox box(QMessageBox::Question, Q(title), Q(text), QMessageBox::NoButton, parent_);
    QPushButton* yes = box.addButton(Q(LoadResString(Str::ButtonYes)), QMessageBox::YesRole);
    QPushButton* no = box.addButton(Q(LoadResString(Str::ButtonNo)), QMessageBox::NoRole);
    QPushButton* cancel = withCancel ? box.addButton(Q(LoadResString(Str::ButtonCancel)), QMessageBox::RejectRole) : nullptr;
    box.setDefaultButton(yes);
    box.setEscapeButton(withCancel ? cancel : no);
    box.exec();
    if (box.clickedButton() == yes) return Answer::Yes;
    if (box.clickedButton() == no) return Answer::No;
    return withCancel ? Answer::Cancel : Answer::No;
}

bool QtPrompt::ConfirmFiles(const std::string& text, const std::string& title, const std::vector<std::string>& files) {
    constexpr std::size_t kShown = 10;  // the rest behind the details button, so the box fits the screen
    QStringList all;
    for (const auto& file : files) all << Q(file);
    QMessageBox box(QMessageBox::Question, Q(title), Q(text), QMessageBox::NoButton, parent_);
    box.setInformativeText(all.mid(0, kShown).join('\n') + (files.size() > kShown ? QStringLiteral("\n...") : QString()));
    if (files.size() > kShown) box.setDetailedText(all.join('\n'));
    QPushButton* yes = box.addButton(Q(LoadResString(Str::ButtonYes)), QMessageBox::YesRole);
    QPushButton* no = box.addButton(Q(LoadResString(Str::ButtonNo)), QMessageBox::NoRole);
    box.setDefaultButton(no);
    box.setEscapeButton(no);
    box.exec();
    return box.clickedButton() == yes;
}

OverwriteAnswer QtPrompt::AskOverwrite(const std::string& existingPath) {
    FormOverwrite dialog(existingPath, parent_);
    dialog.exec();
    return dialog.Result();
}

std::optional<std::string> QtPrompt::AskText(const std::string& prompt, const std::string& title, const std::string& defaultText) {
    bool accepted = false;
    const QString text = QInputDialog::getText(parent_, Q(title), Q(prompt), QLineEdit::Normal, Q(defaultText), &accepted);
    if (!accepted) return std::nullopt;
    return text.toStdString();
}

std::optional<std::string> QtPrompt::ChooseOpenFile(const FileChoice& choice) {
    const QString file = QFileDialog::getOpenFileName(parent_, Q(choice.title), StartPath(choice), QtFileFilter(choice.filter),
                                                      nullptr, QFileDialog::ReadOnly);
    if (file.isEmpty()) return std::nullopt;
    return file.toStdString();
}

std::optional<std::string> QtPrompt::ChooseFolder(const FileChoice& choice) {
    const QString folder = QFileDialog::getExistingDirectory(parent_, Q(choice.title), Q(choice.directory));
    if (folder.isEmpty()) return std::nullopt;
    return folder.toStdString();
}

std::vector<std::string> QtPrompt::ChooseOpenFiles(const FileChoice& choice) {
    std::vector<std::string> files;
    for (const QString& file : QFileDialog::getOpenFileNames(parent_, Q(choice.title), StartPath(choice), QtFileFilter(choice.filter),
                                                             nullptr, QFileDialog::ReadOnly))
        files.push_back(file.toStdString());
    return files;
}

std::optional<std::string> QtPrompt::ChooseSaveFile(const FileChoice& choice) {
    // Replacing is the caller's question, asked in its own words.
    const QString file = QFileDialog::getSaveFileName(parent_, Q(choice.title), StartPath(choice), QtFileFilter(choice.filter),
                                                      nullptr, QFileDialog::DontConfirmOverwrite);
    if (file.isEmpty()) return std::nullopt;
    return file.toStdString();
}

std::optional<int32_t> QtPrompt::ChooseColor(int32_t initial) {
    QColorDialog dialog(ToQColor(initial), parent_);
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    // A system colour shows as its resolved value: left as it was, it stays a system colour.
    const QColor chosen = dialog.selectedColor();
    if (!chosen.isValid() || chosen.rgb() == ToQColor(initial).rgb()) return initial;
    return FromQColor(chosen);
}

std::optional<FontChoice> QtPrompt::ChooseFont(const FontChoice& initial) {
    QFont font(Q(initial.name));
    font.setPointSize(initial.size);
    font.setBold(initial.bold);
    font.setItalic(initial.italic);
    // A font this machine lacks opens on the substitute the icon is drawn in;
    // only what the user changed from there may change the icon's font.
    font.setFamily(QFontInfo(font).family());
    QFontDialog dialog(font, parent_);
    const QFont shown = dialog.currentFont();
    if (dialog.exec() != QDialog::Accepted) return std::nullopt;
    const QFont chosen = dialog.selectedFont();
    FontChoice result = initial;
    if (chosen.family() != shown.family()) result.name = chosen.family().toStdString();
    if (chosen.pointSize() != shown.pointSize()) result.size = static_cast<int16_t>(chosen.pointSize());
    if (chosen.bold() != shown.bold()) result.bold = chosen.bold();
    if (chosen.italic() != shown.italic()) result.italic = chosen.italic();
    return result;
}

}  // namespace kvo

#pragma once

#include <QtWidgets/QWidget>

#include <string>

class QTextBrowser;

namespace kvo {

// The editor's help: an HTML help file opens in this window at the topic's
// anchor; a compiled help file opens in the desktop's own viewer. Without a
// help file nothing is shown.
void ShowHelpTopic(QWidget* window, int topic);
void ShowHelpContents(QWidget* window);
// The same for a help file of the user's own, such as a slide show's.
void ShowHelpFileTopic(QWidget* window, const std::string& file, int topic);

class FormHelp final : public QWidget {
    Q_OBJECT
public:
    static FormHelp& Instance();
    // Closes the help window, if there is one, with the editor's own window.
    static void CloseWithEditor();
    void ShowAnchor(const QString& file, const QString& anchor);
    QString CurrentAnchor() const;

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    FormHelp();
    QTextBrowser* browser_;
};

}  // namespace kvo

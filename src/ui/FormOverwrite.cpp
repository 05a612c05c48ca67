#include "FormOverwrite.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStyle>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "services/Language.h"
#include "services/StringIds.h"

namespace kvo {

namespace {
constexpr int kHelpTopic = 32007;
}

FormOverwrite::FormOverwrite(const std::string& existingPath, QWidget* parent) : QDialog(parent) {
    setObjectName("FormOverwrite");
    setModal(true);
    auto* prompt = new QLabel(this);
    prompt->setObjectName("lblPrompt");
    prompt->setWordWrap(true);
    prompt->setMinimumWidth(420);
    auto* icon = new QLabel(this);
    icon->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxQuestion).pixmap(32, 32));
    auto* top = new QHBoxLayout;
    top->addWidget(icon, 0, Qt::AlignTop);
    top->addWidget(prompt, 1);
    auto* buttons = new QHBoxLayout;
    const auto add = [&](const char* name, int32_t caption, OverwriteAnswer answer) {
        auto* button = new QPushButton(this);
        button->setObjectName(name);
        button->setProperty("caption", caption);
        connect(button, &QPushButton::clicked, this, [this, answer] {
            answer_ = answer;
            accept();
        });
        buttons->addWidget(button);
        return button;
    };
    add("cmdYes", Str::ButtonYes, OverwriteAnswer::Yes)->setDefault(true);
    add("cmdYesAll", Str::ButtonYesToAll, OverwriteAnswer::YesToAll);
    add("cmdNo", Str::ButtonNo, OverwriteAnswer::No);
    add("cmdNoAll", Str::ButtonNoToAll, OverwriteAnswer::NoToAll);
    buttons->addStretch();
    auto* help = new QPushButton(this);
    help->setObjectName("cmdHelp");
    help->setProperty("caption", Str::ButtonHelp);
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
    buttons->addWidget(help);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addLayout(buttons);

    ApplyLanguageFont(*this);
    setWindowTitle(Q(LoadResString(Str::OverwriteTitle)));
    prompt->setText(Q(FormatResString(Str::OverwritePrompt, {existingPath})));
    for (auto* button : findChildren<QPushButton*>())
        button->setText(Q(LoadResString(button->property("caption").toInt())));
}

}  // namespace kvo

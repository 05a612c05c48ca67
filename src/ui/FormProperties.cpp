#include "FormProperties.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "LanguageFont.h"
#include "model/SlideShow.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {
constexpr int kHelpTopic = 32008;
}

FormProperties::FormProperties(SlideShow& show, QWidget* parent)
    : QDialog(parent),
      show_(show),
      name_(new QLineEdit(this)),
      description_(new QLineEdit(this)),
      customer_(new QLineEdit(this)),
      helpFile_(new QLineEdit(this)),
      helpTopic_(new QLineEdit(this)) {
    setObjectName("FormProperties");
    setModal(true);
    ApplyLanguageFont(*this);

    auto* tabs = new QTabBar(this);
    tabs->setObjectName("TabStrip1");
    tabs->addTab(Caption(Str::PropertiesGeneralTab).remove('&'));
    tabs->addTab(Caption(Str::PropertiesContentsTab).remove('&'));
    auto* panels = new QStackedWidget(this);
    auto* general = new QWidget(panels);
    general->setObjectName("picTab1");
    auto* contents = new QWidget(panels);
    contents->setObjectName("picTab2");
    panels->addWidget(general);
    panels->addWidget(contents);

    auto* grid = new QGridLayout(general);
    const struct {
        QLineEdit* box;
        const char* name;
        int32_t caption;
    } fields[] = {{name_, "txtName", Str::PropertiesNameLabel},
                  {description_, "txtDescription", Str::PropertiesDescriptionLabel},
                  {customer_, "txtCustomer", Str::PropertiesCustomerLabel},
                  {helpFile_, "txtHelpFile", Str::PropertiesHelpFileLabel},
                  {helpTopic_, "txtHelpTopic", Str::PropertiesHelpTopicLabel}};
    int row = 0;
    for (const auto& field : fields) {
        field.box->setObjectName(field.name);
        field.box->installEventFilter(this);
        auto* label = new QLabel(Caption(field.caption), general);
        label->setObjectName(QString("Label1_%1").arg(row));
        label->setBuddy(field.box);
        grid->addWidget(label, row, 0);
        grid->addWidget(field.box, row, 1, 1, field.box == helpFile_ ? 1 : 2);
        ++row;
    }
    name_->setMinimumWidth(360);
    auto* browse = new QPushButton("...", general);
    browse->setObjectName("cmdBrowse");
    browse->setMaximumWidth(40);
    grid->addWidget(browse, 3, 2);
    grid->setRowStretch(row, 1);

    // Counted once, as the dialog opens.
    int icons = 0, cells = 0;
    for (const auto& slide : show.Slides()) {
        icons += slide->Icons().Count();
        for (const auto& icon : slide->Icons()) cells += icon->Values().Count();
    }
    auto* counts = new QVBoxLayout(contents);
    const auto count = [&](const char* name, int32_t id, int value) {
        auto* label = new QLabel(Q(FormatResString(id, {value})), contents);
        label->setObjectName(name);
        counts->addWidget(label);
    };
    count("lblSlideCount", Str::PropertiesSlideCount, show.Slides().Count());
    count("lblIconCount", Str::PropertiesIconCount, icons);
    count("lblValueCount", Str::PropertiesValueCount, cells);
    counts->addStretch();

    const ButtonRow footer = OkCancelHelp(this);
    auto* ok = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(tabs);
    layout->addWidget(panels);
    layout->addLayout(footer.layout);

    setWindowTitle(Caption(Str::PropertiesTitle));
    name_->setText(Q(show.Name()));
    description_->setText(Q(show.Description()));
    customer_->setText(Q(show.Customer()));
    helpFile_->setText(Q(show.HelpFile()));
    helpTopic_->setText(QString::number(show.HelpTopic()));

    connect(tabs, &QTabBar::currentChanged, panels, &QStackedWidget::setCurrentIndex);
    connect(browse, &QPushButton::clicked, this, [this] {
        const auto chosen = CurrentPrompt().ChooseOpenFile({TitleOf(Str::PropertiesHelpFileLabel).toStdString(), LoadResString(Str::HelpFileFilter),
                                                            "", helpFile_->text().toStdString()});
        if (chosen && !chosen->empty()) helpFile_->setText(Q(*chosen));
    });
    connect(ok, &QPushButton::clicked, this, &FormProperties::Confirm);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
}

bool FormProperties::eventFilter(QObject* watched, QEvent* event) {
    // Entering a box selects its whole text, so typing replaces it.
    if (event->type() == QEvent::FocusIn) {
        if (auto* box = qobject_cast<QLineEdit*>(watched)) QTimer::singleShot(0, box, &QLineEdit::selectAll);
    }
    return QDialog::eventFilter(watched, event);
}

void FormProperties::Confirm() {
    const std::string helpFile = helpFile_->text().toStdString();
    if (!helpFile.empty() && !FileExists(helpFile)) {
        CurrentPrompt().Message(LoadResString(Str::HelpFileMissing), LoadResString(Str::PropertiesTitle), MessageKind::Information);
        return;
    }
    show_.SetName(name_->text().toStdString());
    show_.SetDescription(description_->text().toStdString());
    show_.SetCustomer(customer_->text().toStdString());
    show_.SetHelpFile(helpFile);
    try {
        show_.SetHelpTopic(ToInteger(helpTopic_->text().toStdString()));
    } catch (const Error&) {
        // A topic that is no number keeps the one before, as it always has.
    }
    accept();
}

}  // namespace kvo

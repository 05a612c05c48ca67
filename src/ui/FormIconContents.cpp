#include "FormIconContents.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "model/IconCatalogue.h"
#include "LanguageFont.h"
#include "model/Value.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Prompt.h"
#include "services/StringIds.h"

namespace kvo {

namespace {
constexpr int kHelpTopic = 32002;
}

FormIconContents::FormIconContents(Value& cell, const QString& caption, QWidget* parent)
    : QDialog(parent),
      cell_(cell),
      characteristics_(new QListWidget(this)),
      column_(new QComboBox(this)),
      percent_(new QLineEdit(this)) {
    setObjectName("FormIconContents");
    setModal(true);
    ApplyLanguageFont(*this);
    characteristics_->setObjectName("lstCharacteristics");
    column_->setObjectName("cboDatatypeColumn");
    percent_->setObjectName("txtPercent");
    AcceptWholeNumbers(percent_);
    percent_->setMaximumWidth(60);
    for (int symbol = 1; symbol <= IconCatalogue::kCharacteristics; ++symbol)
        characteristics_->addItem(Caption(IconCatalogue::SymbolDescription[static_cast<std::size_t>(symbol)]));
    for (int32_t name : IconCatalogue::DatatypeColumnName) column_->addItem(Caption(name));

    const auto label = [this](const char* name, int32_t caption, QWidget* buddy) {
        auto* text = new QLabel(Caption(caption), this);
        text->setObjectName(name);
        text->setBuddy(buddy);
        return text;
    };
    auto* grid = new QGridLayout;
    grid->addWidget(label("lblCharacteristic", Str::ContentsCharacteristicLabel, characteristics_), 0, 0, Qt::AlignTop);
    grid->addWidget(characteristics_, 0, 1);
    grid->addWidget(label("lblDatatypeColumn", Str::ContentsColumnLabel, column_), 1, 0);
    grid->addWidget(column_, 1, 1);
    grid->addWidget(label("lblPercent", Str::ContentsPercentLabel, percent_), 2, 0);
    grid->addWidget(percent_, 2, 1, Qt::AlignLeft);
    const ButtonRow footer = OkCancelHelp(this);
    auto* ok = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(grid);
    layout->addLayout(footer.layout);
    setWindowTitle(caption);

    const int symbol = cell.GeometricSymbol();
    characteristics_->setCurrentRow(symbol >= 1 && symbol <= IconCatalogue::kCharacteristics ? symbol - 1 : 0);
    for (std::size_t i = 0; i < IconCatalogue::DatatypeColumnNumber.size(); ++i)
        if (IconCatalogue::DatatypeColumnNumber[i] == cell.Column()) column_->setCurrentIndex(static_cast<int>(i));
    percent_->setText(QString::number(cell.Percentage()));

    connect(percent_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.isEmpty() || text == "-") return;
        try {
            const int16_t value = ToInteger(text.toStdString());
            if (value < 1) percent_->setText("1");
            else if (value > 100) percent_->setText("100");
        } catch (const Error&) {
            percent_->setText(text.startsWith('-') ? "1" : "100");  // beyond any Integer: as far as it goes
        }
    });
    connect(characteristics_, &QListWidget::itemDoubleClicked, this, &FormIconContents::Confirm);
    connect(ok, &QPushButton::clicked, this, &FormIconContents::Confirm);
    connect(cancel, &QPushButton::clicked, this, [this] {
        resultCode_ = kCancelled;
        reject();
    });
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
}

int FormIconContents::Edit() {
    exec();
    return resultCode_;
}

void FormIconContents::Confirm() {
    const auto symbol = static_cast<int16_t>(characteristics_->currentRow() + 1);
    const int16_t row = IconCatalogue::SymbolDimArray[static_cast<std::size_t>(symbol)];
    const int16_t column = IconCatalogue::DatatypeColumnNumber[static_cast<std::size_t>(std::max(column_->currentIndex(), 0))];
    if (IconCatalogue::IsRefused(row, column)) {
        CurrentPrompt().Message(LoadResString(Str::OneSidedTolerance) + "\r\n\r\n" + LoadResString(Str::OneSidedColumns),
                                LoadResString(Str::OneSidedTitle), MessageKind::Stop);
        return;
    }
    cell_.SetGeometricSymbol(symbol);
    cell_.SetRow(row);
    cell_.SetColumn(column);
    int16_t percent = 100;
    if (!percent_->text().isEmpty()) {
        try {
            percent = ToInteger(percent_->text().toStdString());
        } catch (const Error&) {
        }
    }
    cell_.SetPercentage(percent);
    resultCode_ = kConfirmed;
    accept();
}

}  // namespace kvo

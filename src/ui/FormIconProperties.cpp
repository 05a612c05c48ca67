#include "FormIconProperties.h"

#include <QtGui/QValidator>
#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFrame>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QRadioButton>
#include <QtWidgets/QVBoxLayout>

#include <cmath>

#include "DialogSupport.h"
#include "FormHelp.h"
#include "FormIconContents.h"
#include "model/IconCatalogue.h"
#include "LanguageFont.h"
#include "model/Icon.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/StringIds.h"
#include "view/Colors.h"

namespace kvo {

namespace {

constexpr int kHelpTopic = 32003;
constexpr int32_t kMaxSequenceNumber = 32767;
const QStringList kReservedNames{"FR", "F1", "F2", "F3", "F4", "F5", "F6", "F7", "F8", "F9"};
const QString kNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-()[]_";

void Paint(QFrame* swatch, int32_t color) {
    swatch->setStyleSheet(QString("background-color: %1; border: 1px solid #555;").arg(ToQColor(color).name()));
}

QString CellText(const Value& cell) {
    const int symbol = cell.GeometricSymbol();
    const QString characteristic = symbol >= 1 && symbol <= IconCatalogue::kCharacteristics
                                       ? Caption(IconCatalogue::SymbolDescription[static_cast<std::size_t>(symbol)])
                                       : QString::number(symbol);
    QString column = QString::number(cell.Column());
    for (std::size_t i = 0; i < IconCatalogue::DatatypeColumnNumber.size(); ++i)
        if (IconCatalogue::DatatypeColumnNumber[i] == cell.Column()) column = Caption(IconCatalogue::DatatypeColumnName[i]);
    return Q(
        FormatResString(Str::IconCellEntry, {characteristic.toStdString(), column.toStdString(), static_cast<int>(cell.Percentage())}));
}

// Typed keys, paste, drop and input methods all pass this one filter: a number
// of up to five digits, or a name from the allowed characters in either case.
class IconNameValidator final : public QValidator {
public:
    IconNameValidator(const QRadioButton& bySequence, QObject* parent) : QValidator(parent), bySequence_(bySequence) {}

    State validate(QString& input, int&) const override {
        if (bySequence_.isChecked()) {
            if (input.size() > FormIconProperties::kMaxNumberLength) return Invalid;
            for (const QChar c : input)
                if (c < QChar('0') || c > QChar('9')) return Invalid;
            return Acceptable;
        }
        if (input.size() > FormIconProperties::kMaxNameLength) return Invalid;
        for (const QChar c : input)
            if (!kNameCharacters.contains(c.toUpper())) return Invalid;
        return Acceptable;
    }

private:
    const QRadioButton& bySequence_;
};

}  // namespace

FormIconProperties::FormIconProperties(Icon& icon, QWidget* parent) : QDialog(parent), icon_(icon) {
    setObjectName("FormIconProperties");
    setModal(true);
    ApplyLanguageFont(*this);

    // Identity.
    auto* identity = new QGroupBox(Caption(Str::IconFindBy), this);
    bySequence_ = CaptionedButton<QRadioButton>(identity, "optSeqNum", Str::IconBySequenceNumber);
    byName_ = CaptionedButton<QRadioButton>(identity, "optFeatureName", Str::IconByFeatureName);
    name_ = new QLineEdit(identity);
    name_->setObjectName("txtIconName");
    auto* identityLayout = new QGridLayout(identity);
    identityLayout->addWidget(bySequence_, 0, 0);
    identityLayout->addWidget(byName_, 0, 1);
    identityLayout->addWidget(name_, 1, 0, 1, 2);
    name_->setValidator(new IconNameValidator(*bySequence_, name_));
    digits_ = new QComboBox(this);
    digits_->setObjectName("cboDigits");
    for (int d = Icon::kMinDisplayDigits; d <= Icon::kMaxDisplayDigits; ++d) digits_->addItem(QString::number(d));
    auto* digitsLabel = new QLabel(Caption(Str::IconDigitsLabel), this);
    digitsLabel->setBuddy(digits_);

    // Leader.
    auto* leader = new QGroupBox(Caption(Str::IconLeaderFrame), this);
    noLeader_ = CaptionedButton<QRadioButton>(leader, "optNoLeader", Str::IconNoLeader);
    horizontal_ = CaptionedButton<QRadioButton>(leader, "optLeaderHorizontal", Str::IconLeaderHorizontal);
    vertical_ = CaptionedButton<QRadioButton>(leader, "optLeaderVertical", Str::IconLeaderVertical);
    bend_ = new QLineEdit(leader);
    bend_->setObjectName("txtLeaderBend");
    AcceptWholeNumbers(bend_);
    bend_->setMaximumWidth(60);
    auto* bendLabel = new QLabel(Caption(Str::IconBendLabel), leader);
    bendLabel->setBuddy(bend_);
    leaderSwatch_ = new QFrame(leader);
    leaderSwatch_->setObjectName("picColor");
    leaderSwatch_->setFixedSize(28, 18);
    auto* leaderColor = CaptionedButton<QPushButton>(leader, "cmdColor", Str::IconLeaderColor);
    auto* leaderLayout = new QGridLayout(leader);
    leaderLayout->addWidget(noLeader_, 0, 0);
    leaderLayout->addWidget(horizontal_, 1, 0);
    leaderLayout->addWidget(vertical_, 2, 0);
    leaderLayout->addWidget(bendLabel, 0, 1);
    leaderLayout->addWidget(bend_, 0, 2);
    leaderLayout->addWidget(leaderSwatch_, 1, 1, Qt::AlignRight);
    leaderLayout->addWidget(leaderColor, 1, 2);

    // Font and colours.
    auto* look = new QGroupBox(this);
    fontSample_ = new QLabel("-9.12345", look);
    fontSample_->setObjectName("lblFont");
    fontSample_->setMinimumHeight(36);
    fontDescription_ = new QLabel(look);
    fontDescription_->setObjectName("lblFontDescription");
    auto* fontButton = CaptionedButton<QPushButton>(look, "cmdFont", Str::IconFont);
    auto* fontColor = CaptionedButton<QPushButton>(look, "cmdFontColor", Str::IconFontColor);
    nameSwatch_ = new QFrame(look);
    nameSwatch_->setObjectName("picNameColor");
    nameSwatch_->setFixedSize(28, 18);
    auto* nameColor = CaptionedButton<QPushButton>(look, "cmdNameColor", Str::IconNameColor);
    auto* lookLayout = new QGridLayout(look);
    lookLayout->addWidget(fontSample_, 0, 0, 1, 2);
    lookLayout->addWidget(fontDescription_, 1, 0, 1, 2);
    lookLayout->addWidget(fontButton, 0, 2);
    lookLayout->addWidget(fontColor, 1, 2);
    lookLayout->addWidget(nameSwatch_, 2, 1, Qt::AlignRight);
    lookLayout->addWidget(nameColor, 2, 2);

    // Cells.
    auto* cellsBox = new QGroupBox(Caption(Str::IconCellsFrame), this);
    list_ = new QListWidget(cellsBox);
    list_->setObjectName("lstIcons");
    auto* add = CaptionedButton<QPushButton>(cellsBox, "cmdAdd", Str::IconCellAdd);
    edit_ = CaptionedButton<QPushButton>(cellsBox, "cmdEdit", Str::IconCellEdit);
    delete_ = CaptionedButton<QPushButton>(cellsBox, "cmdDelete", Str::IconCellDelete);
    auto* cellButtons = new QVBoxLayout;
    cellButtons->addWidget(add);
    cellButtons->addWidget(edit_);
    cellButtons->addWidget(delete_);
    cellButtons->addStretch();
    auto* cellsLayout = new QHBoxLayout(cellsBox);
    cellsLayout->addWidget(list_, 1);
    cellsLayout->addLayout(cellButtons);

    const ButtonRow footer = OkCancelHelp(this);
    ok_ = footer.ok;
    auto* cancel = footer.cancel;
    auto* help = footer.help;

    auto* top = new QGridLayout;
    top->addWidget(identity, 0, 0, 1, 2);
    top->addWidget(digitsLabel, 1, 0);
    top->addWidget(digits_, 1, 1, Qt::AlignLeft);
    top->addWidget(leader, 0, 2, 2, 1);
    top->addWidget(look, 2, 0, 1, 3);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(top);
    layout->addWidget(cellsBox, 1);
    layout->addLayout(footer.layout);
    setWindowTitle(Caption(Str::IconPropertiesTitle));

    // Filling from the icon.
    if (icon.IsSequenceNumber()) {
        workingNumber_ = std::clamp<int32_t>(icon.SequenceNumber(), 1, kMaxSequenceNumber);
        workingName_ = "FtrName";
        bySequence_->setChecked(true);
        name_->setText(QString::number(workingNumber_));
    } else {
        workingName_ = icon.FeatureName();
        workingNumber_ = 1;
        byName_->setChecked(true);
        name_->setText(Q(workingName_));
    }
    digits_->setCurrentIndex(std::clamp<int>(icon.DisplayDigits(), Icon::kMinDisplayDigits, Icon::kMaxDisplayDigits) -
                             Icon::kMinDisplayDigits);
    (!icon.DrawLeader() ? noLeader_ : icon.IsLeaderVertical() ? vertical_ : horizontal_)->setChecked(true);
    bend_->setText(QString::number(icon.LeaderBendPoint()));
    leaderColor_ = icon.LeaderColor();
    nameColor_ = icon.NameColor();
    Paint(leaderSwatch_, leaderColor_);
    Paint(nameSwatch_, nameColor_);
    font_ = {icon.FontName(), icon.FontSize(), icon.FontBold(), false, icon.FontColor()};
    ShowFont();
    icon.Values().Copy(cells_);
    FillCells(cells_.Count() > 0 ? 0 : -1);
    CheckText();

    connect(bySequence_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) name_->setText(QString::number(workingNumber_));
    });
    connect(byName_, &QRadioButton::toggled, this, [this](bool on) {
        if (on) name_->setText(Q(workingName_));
    });
    connect(name_, &QLineEdit::textChanged, this, &FormIconProperties::CheckText);
    // What the user enters becomes upper case; a name the icon already had stays as it was.
    connect(name_, &QLineEdit::textEdited, this, [this](const QString& text) {
        if (byName_->isChecked() && text != text.toUpper()) {
            const int cursor = name_->cursorPosition();
            name_->setText(text.toUpper());
            name_->setCursorPosition(cursor);
        }
    });
    connect(bend_, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.isEmpty() || text == "-") return;
        try {
            const int16_t value = ToInteger(text.toStdString());
            if (value < 0) bend_->setText("0");
            else if (value > 100) bend_->setText("100");
        } catch (const Error&) {
            bend_->setText(text.startsWith('-') ? "0" : "100");
        }
    });
    connect(leaderColor, &QPushButton::clicked, this, [this] {
        if (const auto color = CurrentPrompt().ChooseColor(leaderColor_)) Paint(leaderSwatch_, leaderColor_ = *color);
    });
    connect(nameColor, &QPushButton::clicked, this, [this] {
        if (const auto color = CurrentPrompt().ChooseColor(nameColor_)) Paint(nameSwatch_, nameColor_ = *color);
    });
    connect(fontButton, &QPushButton::clicked, this, [this] {
        if (const auto font = CurrentPrompt().ChooseFont(font_)) {
            font_ = *font;
            ShowFont();
        }
    });
    connect(fontColor, &QPushButton::clicked, this, [this] {
        if (const auto color = CurrentPrompt().ChooseColor(font_.color)) {
            font_.color = *color;
            ShowFont();
        }
    });
    connect(list_, &QListWidget::currentRowChanged, this, &FormIconProperties::UpdateCellButtons);
    connect(add, &QPushButton::clicked, this, [this] {
        auto cell = std::make_unique<Value>();
        EditCell(*cell, true);
    });
    connect(edit_, &QPushButton::clicked, this, [this] {
        const int row = list_->currentRow();
        if (row >= 0 && row < cells_.Count()) EditCell(cells_.Item(row + 1), false);
    });
    connect(list_, &QListWidget::itemDoubleClicked, this, [this] {
        if (edit_->isEnabled()) edit_->click();
    });
    connect(delete_, &QPushButton::clicked, this, [this] {
        const int row = list_->currentRow();
        if (row < 0 || row >= cells_.Count()) return;
        cells_.Remove(row + 1);
        FillCells(row);  // the entry that followed
    });
    connect(ok_, &QPushButton::clicked, this, &FormIconProperties::Confirm);
    connect(cancel, &QPushButton::clicked, this, [this] {
        resultCode_ = kCancelled;
        reject();
    });
    connect(help, &QPushButton::clicked, this, [this] { ShowHelpTopic(this, kHelpTopic); });
}

int FormIconProperties::Edit() {
    exec();
    return resultCode_;
}

void FormIconProperties::CheckText() {
    const QString text = name_->text();
    if (text.isEmpty()) {
        ok_->setEnabled(false);
        return;
    }
    if (bySequence_->isChecked()) {
        try {
            workingNumber_ = ToLong(text.toStdString());
        } catch (const Error&) {
            workingNumber_ = 0;
        }
        ok_->setEnabled(workingNumber_ >= 1 && workingNumber_ <= kMaxSequenceNumber);
    } else {
        ok_->setEnabled(!kReservedNames.contains(text, Qt::CaseInsensitive));
        workingName_ = text.toStdString();
    }
}

void FormIconProperties::FillCells(int select) {
    list_->clear();
    for (const auto& cell : cells_) list_->addItem(CellText(*cell));
    list_->addItem(Caption(Str::IconEndOfList));
    list_->setCurrentRow(std::clamp(select, -1, cells_.Count()));
    UpdateCellButtons();
}

void FormIconProperties::UpdateCellButtons() {
    const int row = list_->currentRow();
    const bool cell = row >= 0 && row < cells_.Count();  // "end of list" edits nothing
    edit_->setEnabled(cell);
    delete_->setEnabled(cell);
}

void FormIconProperties::ShowFont() {
    QFont font(Q(font_.name));
    font.setPointSize(font_.size);
    font.setBold(font_.bold);
    fontSample_->setFont(font);
    fontSample_->setStyleSheet(QString("color: %1;").arg(ToQColor(font_.color).name()));
    std::string description = font_.name + ", " + std::to_string(font_.size) + " pt.";
    if (font_.bold) description += ", " + LoadResString(Str::IconFontBold);
    fontDescription_->setText(Q(description));
}

void FormIconProperties::EditCell(Value& cell, bool added) {
    FormIconContents contents(cell, Caption(Str::IconContentsTitle), this);
    if (contents.Edit() != FormIconContents::kConfirmed) return;
    if (added) {
        cell.Copy(cells_.Add());
        FillCells(cells_.Count() - 1);
    } else {
        FillCells(list_->currentRow());
    }
}

void FormIconProperties::Confirm() {
    if (bySequence_->isChecked()) icon_.SetSequenceNumber(workingNumber_);
    else icon_.SetFeatureName(workingName_);
    icon_.SetDisplayDigits(digits_->currentText().toInt());
    if (noLeader_->isChecked()) {
        icon_.SetDrawLeader(false);
    } else {
        icon_.SetDrawLeader(true);
        icon_.SetIsLeaderVertical(vertical_->isChecked());
    }
    if (!bend_->text().isEmpty()) {
        try {
            icon_.SetLeaderBendPoint(ToInteger(bend_->text().toStdString()));
        } catch (const Error&) {
        }
    }
    icon_.SetFontName(font_.name);
    icon_.SetFontSize(font_.size);
    icon_.SetFontBold(font_.bold);
    icon_.SetFontColor(font_.color);
    icon_.SetNameColor(nameColor_);
    icon_.SetLeaderColor(leaderColor_);
    cells_.Copy(icon_.Values());
    resultCode_ = kConfirmed;
    accept();
}

}  // namespace kvo

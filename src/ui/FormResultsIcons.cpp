#include "FormResultsIcons.h"

#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

#include "DialogSupport.h"
#include "LanguageFont.h"
#include "model/QifResults.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/StringIds.h"

namespace kvo {

FormResultsIcons::FormResultsIcons(const QifResults& results, QWidget* parent) : QDialog(parent), features_(new QListWidget(this)) {
    setObjectName("FormResultsIcons");
    setModal(true);
    auto* prompt = new QLabel(this);
    prompt->setObjectName("lblPrompt");
    prompt->setWordWrap(true);
    features_->setObjectName("lstFeatures");
    features_->setMinimumSize(420, 300);
    for (std::size_t i = 0; i < results.Features().size(); ++i) {
        QStringList types;
        bool shown = false;
        for (const auto& m : results.Measurements(1)) {
            if (m.feature != static_cast<int32_t>(i) + 1) continue;
            types << Q(m.type);
            shown = shown || m.row != 0;
        }
        types.removeDuplicates();
        auto* item = new QListWidgetItem(Q(results.Features()[i]) + (types.isEmpty() ? "" : ": " + types.join(", ")),
                                         features_);
        item->setData(Qt::UserRole, static_cast<int>(i) + 1);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(shown ? Qt::Checked : Qt::Unchecked);
    }
    auto* buttons = new QDialogButtonBox(this);
    auto* ok = CaptionedButton<QPushButton>(this, "cmdOK", Str::ButtonOK);
    ok->setDefault(true);
    buttons->addButton(ok, QDialogButtonBox::AcceptRole);
    buttons->addButton(CaptionedButton<QPushButton>(this, "cmdCancel", Str::ButtonCancel), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(prompt);
    layout->addWidget(features_, 1);
    layout->addWidget(buttons);

    ApplyLanguageFont(*this);
    setWindowTitle(Caption(Str::ResultsIconsTitle));
    prompt->setText(Q(FormatResString(Str::ResultsIconsPrompt, {FileNamePart(results.FileName())})));
}

std::vector<int32_t> FormResultsIcons::Chosen() const {
    std::vector<int32_t> chosen;
    for (int row = 0; row < features_->count(); ++row)
        if (features_->item(row)->checkState() == Qt::Checked) chosen.push_back(features_->item(row)->data(Qt::UserRole).toInt());
    return chosen;
}

}  // namespace kvo

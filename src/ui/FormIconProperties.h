#pragma once

#include <QtWidgets/QDialog>

#include <string>

#include "model/ValueCollection.h"
#include "services/Prompt.h"

class QComboBox;
class QFrame;
class QLabel;
class QLineEdit;
class QListWidget;
class QPushButton;
class QRadioButton;

namespace kvo {

class Icon;

// One icon's settings, edited on a working copy and written into the icon,
// through its properties, only on OK.
class FormIconProperties final : public QDialog {
    Q_OBJECT
public:
    static constexpr int kConfirmed = 1;
    static constexpr int kCancelled = 2;
    static constexpr int kMaxNameLength = 64;
    static constexpr int kMaxNumberLength = 5;

    FormIconProperties(Icon& icon, QWidget* parent = nullptr);
    // Shows the dialog; 1 when confirmed, 2 when cancelled.
    int Edit();

private:
    void CheckText();
    void FillCells(int select);
    void UpdateCellButtons();
    void ShowFont();
    void EditCell(Value& cell, bool added);
    void Confirm();

    Icon& icon_;
    int32_t workingNumber_ = 1;
    std::string workingName_;
    ValueCollection cells_;  // the working copy
    FontChoice font_;
    int32_t leaderColor_ = 0;
    int32_t nameColor_ = 0;
    int resultCode_ = kCancelled;

    QLineEdit* name_;
    QRadioButton* bySequence_;
    QRadioButton* byName_;
    QComboBox* digits_;
    QRadioButton* noLeader_;
    QRadioButton* horizontal_;
    QRadioButton* vertical_;
    QLineEdit* bend_;
    QFrame* leaderSwatch_;
    QFrame* nameSwatch_;
    QLabel* fontSample_;
    QLabel* fontDescription_;
    QListWidget* list_;
    QPushButton* edit_;
    QPushButton* delete_;
    QPushButton* ok_;
};

}  // namespace kvo

#pragma once

#include <QtWidgets/QDialog>

#include <cstdint>
#include <vector>

class QListWidget;

namespace kvo {

class QifResults;

// Which features of QIF results get an icon: a list with check boxes, each
// feature with its characteristics; those the catalogue knows are checked.
class FormResultsIcons final : public QDialog {
    Q_OBJECT
public:
    FormResultsIcons(const QifResults& results, QWidget* parent = nullptr);
    // The checked features, 1-based numbers of the results' feature list.
    std::vector<int32_t> Chosen() const;

private:
    QListWidget* features_;
};

}  // namespace kvo

#pragma once

#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>

#include <functional>

namespace kvo::test {

// Runs act on the modal dialog that the next call opens, once it is up. The
// timer returned may be deleted to stop waiting when no dialog is to open.
inline QTimer* WhenDialogOpens(std::function<void(QWidget&)> act) {
    auto* timer = new QTimer;
    timer->setInterval(10);
    QObject::connect(timer, &QTimer::timeout, [timer, act] {
        if (QWidget* dialog = QApplication::activeModalWidget()) {
            timer->stop();
            timer->deleteLater();
            act(*dialog);
        }
    });
    timer->start();
    return timer;
}

inline void Click(QWidget& dialog, const char* button) {
    auto* found = dialog.findChild<QPushButton*>(button);
    if (found != nullptr) found->click();
}

}  // namespace kvo::test

#pragma once

#include <gtest/gtest.h>

#include <QtCore/QTimer>
#include <QtGui/QMouseEvent>
#include <QtWidgets/QApplication>
#include <QtWidgets/QPushButton>

#include <functional>

#include "model/ModelTestSupport.h"
#include "model/SlideShow.h"
#include "ui/FormMain.h"
#include "ui/SlideHost.h"

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

// Sends a mouse event as it arrives from the window system, with the buttons
// held after it, which QTest's helpers cannot give.
inline void Send(QWidget* widget, QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons) {
    QMouseEvent event(type, QPointF(at), QPointF(widget->mapToGlobal(at)), button, buttons, Qt::NoModifier);
    QApplication::sendEvent(widget, &event);
}

// A main window with its own settings store and prompt, on a show the test saves.
class WindowTest : public ::testing::Test {
protected:
    void Open(SlideShow& show) {
        show.SaveToFile(file_);
        window_.resize(900, 700);
        window_.show();
        window_.OpenDocument(file_);
        QApplication::processEvents();
    }
    QWidget* Surface(int index) { return window_.Host().findChild<QWidget*>(QString("picIcon%1").arg(index)); }
    QAction* Command(const char* name) { return window_.findChild<QAction*>(name); }

    TempDir dir_;
    ScopedEnv store_{"ORLANVEX_REGISTRY", dir_.File("registry.reg")};
    std::string file_ = dir_.File("show.pdz");
    RecordingPrompt prompt_;
    FormMain window_;
};

}  // namespace kvo::test

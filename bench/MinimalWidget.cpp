// The baseline of the start-up benchmark: a Qt widget program that quits once
// its window has been painted.
#include <QtCore/QTimer>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>
#include <QtWidgets/QWidget>

namespace {

class Painted final : public QWidget {
protected:
    void paintEvent(QPaintEvent*) override {
        QPainter(this).fillRect(rect(), Qt::white);
        QTimer::singleShot(0, qApp, &QApplication::quit);
    }
};

}  // namespace

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    Painted window;
    window.resize(960, 720);
    window.show();
    return QApplication::exec();
}

// kvo-wmf-helper FILE|-: plays a Windows metafile (from standard input for -)
// with libwmf and records what it draws as a QPicture. Runs in a process of its own: libwmf is C parsing
// untrusted files, and it cannot share a process with the EMF library.
#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtGui/QGuiApplication>

#include <cstdio>
#include <iostream>
#include <string>
#include <string_view>

#include "PictureProtocol.h"
#include "WmfConvert.h"

namespace {

int Fail(const std::string& message) {
    std::cerr << message << '\n';
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return Fail("usage: kvo-wmf-helper FILE|-");
    // Standard error carries one line for the editor, and Qt's chatter is not it.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    // Read before the application starts, which takes longer than most files.
    QFile file;
    const bool opened = std::string_view(argv[1]) == "-" ? file.open(stdin, QIODevice::ReadOnly)
                                                         : (file.setFileName(QString::fromLocal8Bit(argv[1])), file.open(QIODevice::ReadOnly));
    if (!opened) return Fail(kvo::PictureProtocol::Problem(kvo::Str::PictureNotOpened, file.errorString().toStdString()));
    const QByteArray original = file.readAll();
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QByteArray out;
    if (const std::string error = kvo::ConvertWmf(original, out); !error.empty()) return Fail(error);
    std::fwrite(out.constData(), 1, static_cast<std::size_t>(out.size()), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

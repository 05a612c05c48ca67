// kvo-emf-helper FILE|-: plays an enhanced metafile (from standard input for
// -), its EMF+ records or its old-style ones, into a QPicture. Runs in a
// process of its own, under limits of time and memory: the file is untrusted.
#include <QtGui/QGuiApplication>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "EmfConvert.h"
#include "PictureProtocol.h"

namespace {

int Fail(const std::string& message) {
    std::cerr << message << '\n';
    return 1;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return Fail("usage: kvo-emf-helper FILE|-");
    std::ifstream file;
    if (std::string_view(argv[1]) != "-") {
        file.open(argv[1], std::ios::binary);
        if (!file) return Fail(kvo::PictureProtocol::Problem(kvo::Str::PictureNotOpened, std::strerror(errno)));
    }
    std::istream& in = file.is_open() ? file : std::cin;
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // Standard error carries one line for the editor, and Qt's chatter is not it.
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    std::string out;
    if (const std::string error = kvo::ConvertEmf(std::move(bytes), out); !error.empty()) return Fail(error);
    std::fwrite(out.data(), 1, out.size(), stdout);
    return std::fflush(stdout) == 0 ? 0 : 1;
}

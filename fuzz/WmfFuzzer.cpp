// The WMF conversion as the helper runs it: the editor's repairs, then libwmf
// playing through our device layer into a QPicture.
#include <QtCore/QByteArray>
#include <QtGui/QGuiApplication>

#include <cstddef>
#include <cstdint>

#include "FuzzSupport.h"
#include "WmfConvert.h"
#include "helpers/PictureProtocol.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static QGuiApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    const QByteArray input(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QByteArray out;
    if (!kvo::ConvertWmf(input, out).empty()) return 0;
    kvo::fuzz::Require(out.startsWith(kvo::PictureProtocol::kRecordedTag), "a converted metafile without its tag");
    return 0;
}

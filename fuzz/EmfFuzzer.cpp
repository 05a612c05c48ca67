// The EMF conversion as the helper runs it: the editor's header checks, then
// our EMF+ player or our player of the old-style records.
#include <QtGui/QGuiApplication>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "EmfConvert.h"
#include "FuzzSupport.h"
#include "helpers/PictureProtocol.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {});
    static QGuiApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    std::string out;
    if (!kvo::ConvertEmf(std::vector<char>(data, data + size), out).empty()) return 0;
    kvo::fuzz::Require(out.rfind(kvo::PictureProtocol::kRecordedTag, 0) == 0, "a converted metafile without its tag");
    return 0;
}

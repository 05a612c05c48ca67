// The BMP loader: the editor's own checks of the header and the run lengths,
// then Qt's reader.
#include <QtGui/QGuiApplication>

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "services/Error.h"
#include "view/Picture.h"

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QGuiApplication app(*argc, *argv);
    kvo::fuzz::InitModel();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    const std::string input = WriteInput("input.bmp", {reinterpret_cast<const char*>(data), size});
    kvo::Bitmap bitmap;
    try {
        bitmap.LoadFile(input);
    } catch (const kvo::Error&) {
        return 0;
    }
    Require(bitmap.Width() > 0 && bitmap.Height() > 0, "a bitmap that loads without a size");
    return 0;
}

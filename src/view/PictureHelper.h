#pragma once

#include <QtCore/QByteArray>

#include <atomic>
#include <cstdint>
#include <string>

namespace kvo {

// Raises error 481 for a picture that cannot be drawn, in the user's language:
// why is the id of a string with the picture's name as its %0% and the figure
// as its %1%.
[[noreturn]] void PictureFailed(const std::string& fileName, int32_t why, const std::string& figure = {},
                                const char* source = "Metafile.LoadFile");

// Runs a picture helper (kvo-wmf-helper, kvo-emf-helper) on a file with a time
// and a memory limit and returns what it wrote. A helper that fails, crashes or
// runs out of time raises error 481 naming the file and what went wrong. When
// stop turns true the helper is ended and the picture given up (error 481 too).
// With bytes, the helper reads them instead of the file, which they stand for.
QByteArray RunPictureHelper(const std::string& helperName, const std::string& fileName,
                            const std::atomic<bool>* stop = nullptr, const QByteArray* bytes = nullptr);

}  // namespace kvo

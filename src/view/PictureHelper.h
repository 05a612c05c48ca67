#pragma once

#include <QtCore/QByteArray>

#include <atomic>
#include <string>

namespace kvo {

// Runs a picture helper (kvo-wmf-helper, kvo-emf-helper) on a file with a time
// and a memory limit and returns what it wrote. A helper that fails, crashes or
// runs out of time raises error 481 naming the file and what went wrong. When
// stop turns true the helper is ended and the picture given up (error 481 too).
// With bytes, the helper reads them instead of the file, which they stand for.
QByteArray RunPictureHelper(const std::string& helperName, const std::string& fileName,
                            const std::atomic<bool>* stop = nullptr, const QByteArray* bytes = nullptr);

}  // namespace kvo

#pragma once

#include <QtCore/QByteArray>

#include <string>

namespace kvo {

// Turns the bytes of a Windows metafile into the helper's answer (see
// PictureProtocol.h) in out. Returns what is wrong with the file, or an empty
// text when it was converted. Needs a QGuiApplication.
std::string ConvertWmf(const QByteArray& original, QByteArray& out);

}  // namespace kvo

#pragma once

// What a picture helper writes on standard output for the editor: a tag line,
// the picture's natural size in pixels at 96 dpi, then the picture itself
// (a recorded QPicture in a coordinate space of refWidth x refHeight for WMF,
// SVG text for EMF). On failure a helper writes one line on standard error and
// exits with a non-zero status.
namespace kvo::PictureProtocol {
inline constexpr char kRecordedTag[] = "KVO-PICTURE 1\n";
inline constexpr char kSvgTag[] = "KVO-SVG 1\n";
}  // namespace kvo::PictureProtocol

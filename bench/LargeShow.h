#pragma once

// The large show the document and start-up benchmarks share: slides of 50
// icons of 4 cells each, half the icons found by number, half by name.
#include <string>

#include "model/SlideShow.h"
#include "services/Language.h"

namespace kvo::bench {

inline void WriteLargeShow(int slides, const std::string& textPath, const std::string& binaryPath) {
    SetLanguage(1033);
    InitResources();
    SlideShow show;
    show.SetName("Benchmark");
    for (int s = 0; s < slides; ++s) {
        Slide& slide = show.Slides().Add();
        slide.SetPictureFile("C:\\Pictures\\slide" + std::to_string(s) + ".bmp");
        for (int i = 0; i < 50; ++i) {
            Icon& icon = slide.Icons().Add();
            if (i % 2 == 0) icon.SetSequenceNumber(s * 100 + i);
            else icon.SetFeatureName("FEATURE_" + std::to_string(i));
            icon.SetLeft(i * 20);
            for (int c = 0; c < 4; ++c) {
                Value& cell = icon.Values().Add();
                cell.SetRow(static_cast<int16_t>(c + 1));
                cell.SetCurrentValue(Variant(0.0125 * c));
            }
        }
    }
    show.SaveToFile(textPath);
    show.SaveToBinary(binaryPath);
}

}  // namespace kvo::bench

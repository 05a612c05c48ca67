#pragma once

// What both slide show fuzzers do with an input: load it, and if it loads,
// save it in its own format, load that and save again: the two saves must be
// the same bytes.
#include <string>

#include "FuzzSupport.h"
#include "model/SlideShow.h"
#include "services/Error.h"

namespace kvo::fuzz {

inline void LoadAndSaveTwice(const std::string& input, void (SlideShow::*save)(const std::string&),
                             const std::string& extension) {
    SlideShow show;
    try {
        show.LoadFromFile(input);
    } catch (const Error&) {
        return;
    }
    const std::string first = Scratch() + "/first" + extension, second = Scratch() + "/second" + extension;
    (show.*save)(first);
    SlideShow again;
    again.LoadFromFile(first);
    (again.*save)(second);
    Require(ReadBack(first) == ReadBack(second), "a saved show does not save to the same bytes after loading");
}

}  // namespace kvo::fuzz

#pragma once

// What both report fuzzers do with what they read: evaluate and average it
// into copies of the example show, each of which must save as text and load back.
#include <string>
#include <vector>

#include "FuzzSupport.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Paths.h"

namespace kvo::fuzz {

// The example show, loaded once; call from LLVMFuzzerInitialize.
inline const std::string& ExampleShow() {
    static const std::string snapshot = [] {
        SlideShow show;
        show.LoadFromFile(JoinPath(EditorDataDirectory(), "samples/GearHousing.pdz"));
        return show.Snapshot();
    }();
    return snapshot;
}

inline void EvaluateAndAverage(const Report& evaluate, const std::vector<const Report*>& average) {
    SlideShow evaluated;
    evaluated.Restore(ExampleShow(), "example");
    evaluate.Evaluate(evaluated);
    SlideShow averaged;
    averaged.Restore(ExampleShow(), "example");
    AverageReports(averaged, average);
    for (SlideShow* show : {&evaluated, &averaged}) {
        const std::string saved = Scratch() + "/evaluated.pdz";
        show->SaveToFile(saved);
        SlideShow again;
        try {
            again.LoadFromFile(saved);
        } catch (const Error&) {
            Require(false, "an evaluated show does not load after it was saved");
        }
    }
}

}  // namespace kvo::fuzz

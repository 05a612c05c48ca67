// The report reader, and evaluation with whatever numbers a report holds: a
// report that loads is evaluated and averaged into the example show, which
// must then save as text and load back.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "model/Report.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Paths.h"

namespace {

std::string example;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    kvo::SlideShow show;
    show.LoadFromFile(kvo::JoinPath(kvo::EditorDataDirectory(), "samples/GearHousing.pdz"));
    example = show.Snapshot();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    kvo::Report report;
    try {
        report.LoadFromFile(WriteInput("input.rpt", std::string_view(reinterpret_cast<const char*>(data), size)));
    } catch (const kvo::Error&) {
        return 0;
    }
    kvo::SlideShow evaluated;
    evaluated.Restore(example, "example");
    report.Evaluate(evaluated);
    kvo::SlideShow averaged;
    averaged.Restore(example, "example");
    kvo::AverageReports(averaged, {&report, &report});
    for (kvo::SlideShow* show : {&evaluated, &averaged}) {
        const std::string saved = Scratch() + "/evaluated.pdz";
        show->SaveToFile(saved);
        kvo::SlideShow again;
        try {
            again.LoadFromFile(saved);
        } catch (const kvo::Error&) {
            Require(false, "an evaluated show does not load after it was saved");
        }
    }
    return 0;
}

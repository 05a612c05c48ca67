// The QIF results reader, with the files a results file refers to, and
// evaluation and averaging with whatever it reads: every measurement must name
// a feature of the list or none and carry a state the cells know; the example
// show, evaluated and averaged, must then save as text and load back.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "FuzzSupport.h"
#include "ReportFuzzing.h"
#include "model/QifResults.h"
#include "services/Error.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    kvo::fuzz::ExampleShow();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
    using namespace kvo::fuzz;
    kvo::QifResults results;
    try {
        results.LoadFromFile(WriteInput("input.qif", std::string_view(reinterpret_cast<const char*>(data), size)));
    } catch (const kvo::Error&) {
        return 0;
    }
    Require(results.SampleCount() >= 1, "results without a sample were read");
    const auto features = static_cast<int32_t>(results.Features().size());
    for (int32_t sample = 1; sample <= results.SampleCount(); ++sample) {
        for (const auto& m : results.Measurements(sample)) {
            Require(m.feature >= 0 && m.feature <= features, "a measurement names a feature outside the list");
            Require(m.state >= 0 && m.state <= 3, "a measurement has a state no cell knows");
            Require((m.symbol == 0) == (m.row == 0), "a symbol without its row");
        }
    }
    std::vector<const kvo::Report*> set;
    for (int32_t sample = 1; sample <= results.SampleCount(); ++sample) set.push_back(&results.SampleReport(sample));
    EvaluateAndAverage(results.SampleReport(results.SampleCount()), set);
    return 0;
}

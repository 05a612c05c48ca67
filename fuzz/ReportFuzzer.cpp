// The report reader, and evaluation with whatever numbers a report holds: a
// report that loads is evaluated and averaged into the example show, which
// must then save as text and load back.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "FuzzSupport.h"
#include "ReportFuzzing.h"
#include "model/Report.h"
#include "services/Error.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    kvo::fuzz::InitModel();
    kvo::fuzz::ExampleShow();
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
    EvaluateAndAverage(report, {&report, &report});
    return 0;
}

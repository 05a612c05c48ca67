#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Icon.h"
#include "Report.h"

namespace kvo {

class Slide;

// One characteristic measurement of a QIF results file, as it fills a row of
// its feature's report.
struct QifMeasurement {
    std::string id;        // the measurement element's QIF id
    std::string type;      // the characteristic type without "Characteristic": "Diameter"
    int16_t symbol = 0;    // catalogue number; 0 when the catalogue has no counterpart
    int16_t row = 0;       // report row; 0 with symbol 0
    int32_t feature = 0;   // 1-based position in Features(); 0 when it names no feature
    std::string status;    // the file's own status word (PASS, FAIL, ...), or empty
    std::array<std::optional<double>, 5> columns;  // report columns 0 to 4, empty when absent
    int16_t state = 0;     // the state a deviation cell of its row gets, warning band 80 %
};

// QIF 3.0 results (ISO 23952) read as the host's report: one report per
// MeasurementResults (sample), one report feature per FeatureItem, numbered by
// its position in the file's feature list, named by its FeatureName.
// How characteristics become report rows is described in the README.
class QifResults {
public:
    // Reads fileName and the QIF files it refers to. Errors name the file, the
    // line and what was expected there.
    void LoadFromFile(const std::string& fileName);

    const std::string& FileName() const { return fileName_; }
    const std::vector<std::string>& Features() const { return features_; }
    int32_t SampleCount() const { return static_cast<int32_t>(samples_.size()); }
    // sample is 1-based.
    const std::vector<QifMeasurement>& Measurements(int32_t sample) const;
    const Report& SampleReport(int32_t sample) const;
    // The reports, for a caller that keeps them beyond this object.
    std::vector<Report> TakeReports();

private:
    struct Sample {
        std::vector<QifMeasurement> measurements;
        Report report;
    };
    const Sample& At(int32_t sample) const;

    std::string fileName_;
    std::vector<std::string> features_;
    std::vector<Sample> samples_;
};

// One icon per chosen feature (1-based numbers of Features()), named after it,
// with one deviation cell per report row that the first sample's
// characteristics of that feature fill (the first one's symbol). The icons go
// left to right, top to bottom into the first places of a grid where their
// boxes, as extentOf measures them, overlap no other icon of the slide; when
// one finds no place, nothing is added and the error names its feature.
void AddIconsFromResults(Slide& slide, const QifResults& results, const std::vector<int32_t>& features,
                         const std::function<IconExtent(const Icon&)>& extentOf);

// True when the file's content is XML (a QIF file) rather than a report file.
bool IsXmlFile(const std::string& fileName);

// Every sample of a report file or of a QIF results file, told apart by
// content: a report file has one.
std::vector<Report> LoadReports(const std::string& fileName);

}  // namespace kvo

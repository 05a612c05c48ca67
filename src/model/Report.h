#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "HostReport.h"

namespace kvo {

class BlockParser;
class SlideShow;

// One measured feature of a report file, answering as the host's report object
// does: cells by column and row, empty where the report has none.
class ReportFeature final : public HostReport {
public:
    Variant S6A(int16_t n) override;
    Variant S1D() override { return Variant(name); }
    Variant s(int16_t column, int16_t row) override;
    bool MmcTolerancing() override { return mmc; }
    bool limittolerancing() override { return limit; }
    Variant MmcBonus() override { return Variant(bonus); }

    int32_t sequenceNumber = 0;
    std::string name;
    int16_t decimals = 3;
    int16_t angularDecimals = 2;
    bool mmc = false;
    bool limit = false;
    double bonus = 0;
    std::map<std::pair<int16_t, int16_t>, double> cells;  // (column, row)
    // Rows measured without a tolerance: asking for their tolerance or deviation
    // is an error, so a cell showing one stays unevaluated.
    std::set<int16_t> untoleranced;
};

// A report file: the measured features of one part, in the block text format of
// slide shows ("BLOCK Report", its "BLOCK Feature"s and their "BLOCK Row"s).
// It stands in for the host's report when a show is evaluated without the host.
class Report {
public:
    Report() = default;
    // A report another reader has made; fileName also tells samples of one
    // averaged set apart, so each sample's must differ.
    Report(std::string fileName, std::string name, std::vector<std::unique_ptr<ReportFeature>> features)
        : fileName_(std::move(fileName)), name_(std::move(name)), features_(std::move(features)) {}

    // Errors name the file and the line, and say what was expected there.
    void LoadFromFile(const std::string& fileName);

    const std::string& Name() const { return name_; }
    const std::string& FileName() const { return fileName_; }
    const std::vector<std::unique_ptr<ReportFeature>>& Features() const { return features_; }
    // Updates every icon of the show from every feature, all rows and columns selected.
    void Evaluate(SlideShow& show) const;

private:
    void ReadFeature(BlockParser& parser);
    void ReadRow(BlockParser& parser, ReportFeature& feature, int32_t startLine);

    std::string fileName_;
    std::string name_;
    std::vector<std::unique_ptr<ReportFeature>> features_;
};

// Several reports averaged into one show, as the host averages a sample set:
// every cell of the result holds the mean of the reports that measured it, and
// a cell that not every report measured is shown unevaluated. The show takes its
// tolerances from the reports.
void AverageReports(SlideShow& show, const std::vector<const Report*>& reports);

// "not evaluated", "in tolerance", "warning", "out of tolerance" in the current language.
std::string ToleranceStateName(int16_t state);

}  // namespace kvo

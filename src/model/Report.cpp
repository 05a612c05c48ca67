#include "Report.h"

#include <limits>
#include <optional>

#include "BlockParser.h"
#include "SlideShow.h"
#include "Value.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr const char* kReportKeys = "NAME";
constexpr const char* kFeatureKeys = "SEQNUMBER, FEATURENAME, DECIMALS, ANGULARDECIMALS, MMC, LIMIT, BONUS";
constexpr const char* kRowKeys = "ROW, C0, C1, C2, C3, C4 (or C and another column number)";

Error Problem(int32_t id, std::initializer_list<ResArg> arguments) {
    return Error(ErrorNumber::LoadStructure, LoadResString(Str::ReportLoadTitle), FormatResString(id, arguments));
}

// A key's value converted, or an error that names the line, the key and what it holds.
template <typename Convert>
auto Converted(const BlockParser& parser, const char* block, int32_t message, Convert convert) {
    try {
        return convert(parser.Value());
    } catch (const Error&) {
        throw Problem(message, {block, Excerpt(parser.Key()), parser.CurrentLine(), Excerpt(parser.Value())});
    }
}

int16_t Whole(const BlockParser& parser, const char* block) {
    return Converted(parser, block, Str::ReportBadNumber, [](std::string_view text) { return ToInteger(text); });
}

double Number(const BlockParser& parser, const char* block) {
    return Converted(parser, block, Str::ReportBadNumber, [](std::string_view text) { return ToDouble(text); });
}

bool Boolean(const BlockParser& parser, const char* block) {
    return Converted(parser, block, Str::ReportBadBoolean, [](std::string_view text) { return ToBoolean(text); });
}

[[noreturn]] void Unexpected(const BlockParser& parser, int16_t token, const char* block, const char* keys, const char* blocks) {
    switch (token) {
        case BlockParser::TokenKeyValue:
            throw Problem(Str::ReportUnknownKey, {block, Excerpt(parser.Key()), parser.CurrentLine(), keys});
        case BlockParser::TokenStartBlock:
            throw Problem(Str::LoadUnexpectedBlock, {"BLOCK", parser.CurrentLine(), blocks, Excerpt(parser.BlockType())});
        default:
            throw Problem(Str::LoadEndsInsideBlock, {block, parser.CurrentLine()});
    }
}

// A column key: "C" and the column's number.
std::optional<int16_t> ColumnOf(std::string_view key) {
    if (key.size() < 2 || key[0] != 'C' || key.find_first_not_of("0123456789", 1) != std::string_view::npos) return std::nullopt;
    try {
        return ToInteger(key.substr(1));
    } catch (const Error&) {
        return std::nullopt;
    }
}

}  // namespace

Variant ReportFeature::S6A(int16_t n) {
    if (n == 0) return Variant(sequenceNumber);
    return Variant(n == 2 ? angularDecimals : decimals);
}

Variant ReportFeature::s(int16_t column, int16_t row) {
    if (column >= 2 && column <= 4 && untoleranced.contains(row))
        throw Error(ErrorNumber::InvalidCall, "Report", "row " + std::to_string(row) + " has no tolerance");
    const auto found = cells.find({column, row});
    return found == cells.end() ? Variant() : Variant(found->second);
}

void Report::LoadFromFile(const std::string& fileName) {
    fileName_ = fileName;
    name_.clear();
    features_.clear();
    BlockParser parser;
    parser.OpenFile(fileName, false);
    try {
        if (parser.GetToken() != BlockParser::TokenStartBlock || parser.BlockType() != "REPORT")
            throw Problem(Str::ReportNoBlock, {parser.CurrentLine()});
        for (int16_t token = parser.GetToken(); token != BlockParser::TokenEndBlock; token = parser.GetToken()) {
            if (token == BlockParser::TokenKeyValue && parser.Key() == "NAME") name_ = std::string(parser.Value());
            else if (token == BlockParser::TokenStartBlock && parser.BlockType() == "FEATURE") ReadFeature(parser);
            else Unexpected(parser, token, "Report", kReportKeys, "FEATURE");
        }
        if (parser.GetToken() != BlockParser::TokenEndFile) throw Problem(Str::ReportTrailingText, {parser.CurrentLine()});
    } catch (const Error& error) {
        features_.clear();
        throw Error(error.Number(), error.Source(), fileName + ": " + error.Description());
    }
}

void Report::ReadFeature(BlockParser& parser) {
    const int32_t start = parser.CurrentLine();
    auto feature = std::make_unique<ReportFeature>();
    bool numbered = false, named = false;
    for (int16_t token = parser.GetToken(); token != BlockParser::TokenEndBlock; token = parser.GetToken()) {
        const std::string_view key = parser.Key();
        if (token == BlockParser::TokenStartBlock && parser.BlockType() == "ROW") {
            ReadRow(parser, *feature, parser.CurrentLine());
        } else if (token != BlockParser::TokenKeyValue) {
            Unexpected(parser, token, "Feature", kFeatureKeys, "ROW");
        } else if (key == "SEQNUMBER") {
            feature->sequenceNumber = Converted(parser, "Feature", Str::ReportBadNumber, [](std::string_view text) { return ToLong(text); });
            numbered = true;
        } else if (key == "FEATURENAME") {
            feature->name = std::string(Trim(parser.Value()));
            named = !feature->name.empty();
        } else if (key == "DECIMALS") {
            feature->decimals = Whole(parser, "Feature");
        } else if (key == "ANGULARDECIMALS") {
            feature->angularDecimals = Whole(parser, "Feature");
        } else if (key == "MMC") {
            feature->mmc = Boolean(parser, "Feature");
        } else if (key == "LIMIT") {
            feature->limit = Boolean(parser, "Feature");
        } else if (key == "BONUS") {
            feature->bonus = Number(parser, "Feature");
        } else {
            Unexpected(parser, token, "Feature", kFeatureKeys, "ROW");
        }
    }
    // The host always knows both; icons find their feature by either.
    if (!numbered) throw Problem(Str::ReportMissingKey, {"Feature", start, "SEQNUMBER"});
    if (!named) throw Problem(Str::ReportMissingKey, {"Feature", start, "FEATURENAME"});
    features_.push_back(std::move(feature));
}

void Report::ReadRow(BlockParser& parser, ReportFeature& feature, int32_t startLine) {
    std::optional<int16_t> row;
    std::vector<std::pair<int16_t, double>> columns;
    for (int16_t token = parser.GetToken(); token != BlockParser::TokenEndBlock; token = parser.GetToken()) {
        if (token != BlockParser::TokenKeyValue) Unexpected(parser, token, "Row", kRowKeys, "none");
        if (parser.Key() == "ROW") {
            row = Whole(parser, "Row");
        } else if (const auto column = ColumnOf(parser.Key())) {
            if (!Trim(parser.Value()).empty()) columns.emplace_back(*column, Number(parser, "Row"));  // empty: not measured
        } else {
            Unexpected(parser, token, "Row", kRowKeys, "none");
        }
    }
    if (!row) throw Problem(Str::ReportMissingKey, {"Row", startLine, "ROW"});
    for (const auto& [column, value] : columns) {
        if (!feature.cells.emplace(std::pair{column, *row}, value).second)
            throw Problem(Str::ReportDuplicateCell, {*row, startLine, column});
    }
}

void Report::Evaluate(SlideShow& show) const {
    // Every row and every column selected: flag 1 at each index a cell may name.
    static const std::vector<int16_t> all(static_cast<std::size_t>(std::numeric_limits<int16_t>::max()) + 1, 1);
    for (const auto& feature : features_) show.UpdateReport(*feature, all, all);
}

void AverageReports(SlideShow& show, const std::vector<const Report*>& reports) {
    const std::string original = show.Snapshot();
    // The mean is classified by the tolerances the reports give.
    for (const Report* report : reports) report->Evaluate(show);
    show.InitializeSampleSet(static_cast<int16_t>(reports.size()));
    for (const Report* report : reports) {
        SlideShow sample;
        sample.Restore(original, report->FileName());
        // Only what this report measured is a sample: not the states the show was saved with.
        for (const auto& slide : sample.Slides())
            for (const auto& icon : slide->Icons())
                for (const auto& cell : icon->Values()) cell->SetTolerance(ToleranceState::NotEvaluated);
        report->Evaluate(sample);
        sample.CollectSampleSet(show, report->FileName());
    }
    show.CalculateAverage();
}

std::string ToleranceStateName(int16_t state) {
    switch (state) {
        case ToleranceState::InBand:
            return LoadResString(Str::StateInBand);
        case ToleranceState::Warning:
            return LoadResString(Str::StateWarning);
        case ToleranceState::OutOfTolerance:
            return LoadResString(Str::StateOutOfTolerance);
        default:
            return LoadResString(Str::StateNotEvaluated);
    }
}

}  // namespace kvo

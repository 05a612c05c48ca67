#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Variant.h"

namespace kvo {

class BinaryStream;
class BlockParser;
class HostReport;

// Tolerance states shared by the model, the views and the dialogs.
namespace ToleranceState {
inline constexpr int16_t NotEvaluated = 0;
inline constexpr int16_t InBand = 1;
inline constexpr int16_t Warning = 2;
inline constexpr int16_t OutOfTolerance = 3;
}  // namespace ToleranceState

// One value cell of an icon: which entry of the host's report it shows (row and
// column), how it is shown, and the value, tolerances and tolerance state of the
// last update. Column 4, the deviation, is the only one evaluated.
class Value {
public:
    static constexpr int16_t kDeviationColumn = 4;
    static constexpr int16_t kMaxDecimals = 7;

    Value() { Initialize(); }
    bool operator==(const Value&) const = default;

    void Initialize();
    // Empties the log and value lists down to their last item, as it always has.
    void Terminate();
    // Reads the body of a "BLOCK Value" whose start line the caller has consumed.
    void LoadFromFile(BlockParser& parser);
    // Appends the block to out.
    void SaveToFile(std::string& out) const;
    void LoadFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;

    // A floating value with "." and one "0" per decimal (0.5 shows as ".500");
    // empty is "", null is "NULL", anything else its plain text.
    std::string DisplayText() const;
    // A display text read back as a number: without decimals a zero shows as
    // "." alone, which is 0.
    static double ShownNumber(const std::string& shown);

    const Variant& CurrentValue() const { return currentValue_; }
    void SetCurrentValue(Variant value) { currentValue_ = std::move(value); }
    double PlusTol() const { return plusTol_; }
    void SetPlusTol(double value) { plusTol_ = value; }
    double MinusTol() const { return minusTol_; }
    void SetMinusTol(double value) { minusTol_ = value; }
    double SoftPlusTol() const { return softPlusTol_; }
    void SetSoftPlusTol(double value) { softPlusTol_ = value; }
    double SoftMinusTol() const { return softMinusTol_; }
    void SetSoftMinusTol(double value) { softMinusTol_ = value; }
    double Summ() const { return summ_; }
    void SetSumm(const Variant& value) { summ_ = value.ToDouble(); }
    int16_t SummCount() const { return summCount_; }
    void SetSummCount(int16_t value) { summCount_ = value; }
    int16_t SampleSize() const { return sampleSize_; }
    void SetSampleSize(int16_t value) { sampleSize_ = value; }
    int32_t LogCount() const { return static_cast<int32_t>(logList_.size()); }
    // 1-based; outside the list raises error 9.
    const std::string& LogItem(int32_t index) const;
    int32_t ValueCount() const { return static_cast<int32_t>(valueList_.size()); }
    const std::string& ValueItem(int32_t index) const;
    bool IsLimitTolerance() const { return isLimit_; }
    bool IsAverage() const { return isAverage_; }
    void SetIsAverage(bool value) { isAverage_ = value; }
    bool GotTols() const { return gotTols_; }
    void SetGotTols(bool value) { gotTols_ = value; }
    const std::string& ValueType() const { return type_; }
    void SetValueType(std::string value) { type_ = std::move(value); }
    int16_t GeometricSymbol() const { return symbol_; }
    void SetGeometricSymbol(int16_t value) { symbol_ = value; }
    int16_t Row() const { return row_; }
    void SetRow(int16_t value) { row_ = value; }
    int16_t Column() const { return column_; }
    void SetColumn(int16_t value) { column_ = value; }
    int16_t Tolerance() const { return tolerance_; }
    void SetTolerance(int16_t value) { tolerance_ = value; }
    // Whole percent: the stored fraction x 100, rounded half to even.
    int16_t Percentage() const;
    void SetPercentage(int16_t percent) { fraction_ = percent / 100.0; }
    // Decimals shown, as the host last gave them (the FORMAT of the file).
    int16_t Decimals() const { return decimals_; }

    // Fetches value and tolerances from the host's report for the rows and
    // columns whose flags are set; a host error ends it silently.
    void UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags);
    void Copy(Value& target) const;
    // A warning counts as out of tolerance here.
    bool IsOutOfTolerance() const;
    void InitializeSampleSet(int16_t sampleSize);
    void CalculateAverage();
    bool IsLogCol(std::string_view name) const;
    void AddLog(std::string name) { logList_.push_back(std::move(name)); }
    void AddValue(std::string text) { valueList_.push_back(std::move(text)); }

private:
    int16_t Classify(double deviation) const;
    double RoundToDecimals(double value) const;

    std::string type_;
    int16_t row_ = 0;
    int16_t column_ = 0;
    int16_t symbol_ = 0;
    int16_t tolerance_ = 0;
    Variant currentValue_;
    double fraction_ = 0;
    bool isLimit_ = false;
    int16_t decimals_ = 0;
    double plusTol_ = 0;
    double minusTol_ = 0;
    double softPlusTol_ = 0;
    double softMinusTol_ = 0;
    bool isAverage_ = false;
    int16_t sampleSize_ = 0;
    int16_t summCount_ = 0;
    double summ_ = 0;
    bool gotTols_ = false;
    std::vector<std::string> logList_;
    std::vector<std::string> valueList_;
};

}  // namespace kvo

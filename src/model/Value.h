#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Variant.h"

namespace kvo {

class BinaryStream;

// A part of an object that most objects never need: made on its first change,
// read as its defaults until then, copied deep and compared by its contents.
template <typename Part>
class OnDemand {
public:
    OnDemand() = default;
    OnDemand(const OnDemand& other) : part_(other.part_ ? std::make_unique<Part>(*other.part_) : nullptr) {}
    OnDemand& operator=(const OnDemand& other) {
        part_ = other.part_ ? std::make_unique<Part>(*other.part_) : nullptr;
        return *this;
    }
    OnDemand(OnDemand&&) noexcept = default;
    OnDemand& operator=(OnDemand&&) noexcept = default;
    bool operator==(const OnDemand& other) const { return Get() == other.Get(); }

    const Part& Get() const {
        static const Part defaults{};
        return part_ ? *part_ : defaults;
    }
    Part& Set() {
        if (!part_) part_ = std::make_unique<Part>();
        return *part_;
    }
    bool Made() const { return part_ != nullptr; }

private:
    std::unique_ptr<Part> part_;
};
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

    Value() = default;
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
    double PlusTol() const { return run_.Get().plusTol; }
    double MinusTol() const { return run_.Get().minusTol; }
    double SoftPlusTol() const { return run_.Get().softPlusTol; }
    double SoftMinusTol() const { return run_.Get().softMinusTol; }
    // All four at once: setting what is there makes no run-time part (+0, as
    // most files hold; -0 differs, in its bytes). A new cell's zeros are
    // checked inline: a load sets every cell's.
    void SetTolerances(double plus, double minus, double softPlus, double softMinus) {
        const auto bits = [](double value) { return std::bit_cast<uint64_t>(value); };
        if (!run_.Made() && (bits(plus) | bits(minus) | bits(softPlus) | bits(softMinus)) == 0) return;
        StoreTolerances(plus, minus, softPlus, softMinus);
    }
    double Summ() const { return run_.Get().summ; }
    void SetSumm(const Variant& value) { run_.Set().summ = value.ToDouble(); }
    int16_t SummCount() const { return run_.Get().summCount; }
    void SetSummCount(int16_t value) { run_.Set().summCount = value; }
    int16_t SampleSize() const { return run_.Get().sampleSize; }
    void SetSampleSize(int16_t value) { run_.Set().sampleSize = value; }
    int32_t LogCount() const { return static_cast<int32_t>(run_.Get().logList.size()); }
    // 1-based; outside the list raises error 9.
    const std::string& LogItem(int32_t index) const;
    int32_t ValueCount() const { return static_cast<int32_t>(run_.Get().valueList.size()); }
    const std::string& ValueItem(int32_t index) const;
    bool IsLimitTolerance() const { return isLimit_; }
    bool IsAverage() const { return run_.Get().isAverage; }
    void SetIsAverage(bool value) { run_.Set().isAverage = value; }
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
    void AddLog(std::string name) { run_.Set().logList.push_back(std::move(name)); }
    void AddValue(std::string text) { run_.Set().valueList.push_back(std::move(text)); }

private:
    void StoreTolerances(double plus, double minus, double softPlus, double softMinus);
    int16_t Classify(double deviation) const;
    double RoundToDecimals(double value) const;

    // What an update or an average sets: most cells of a file never have it.
    struct RunTime {
        double plusTol = 0;
        double minusTol = 0;
        double softPlusTol = 0;
        double softMinusTol = 0;
        double summ = 0;
        int16_t sampleSize = 0;
        int16_t summCount = 0;
        bool isAverage = false;
        std::vector<std::string> logList;
        std::vector<std::string> valueList;
        bool operator==(const RunTime&) const = default;
    };
    static bool Same(double a, double b) { return std::bit_cast<uint64_t>(a) == std::bit_cast<uint64_t>(b); }

    // A new cell's: what Initialize puts back.
    std::string type_ = "DA";
    Variant currentValue_;
    double fraction_ = 0.8;
    OnDemand<RunTime> run_;
    int16_t row_ = 2;
    int16_t column_ = kDeviationColumn;
    int16_t symbol_ = 1;
    int16_t tolerance_ = ToleranceState::NotEvaluated;
    int16_t decimals_ = 3;
    bool isLimit_ = false;
    bool gotTols_ = false;
};

}  // namespace kvo

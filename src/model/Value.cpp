#include "Value.h"

#include <algorithm>
#include <cmath>

#include "BinaryStream.h"
#include "BlockParser.h"
#include "HostReport.h"
#include "TextOut.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr KeyTable kKeys{"TYPE", "SYMBOL", "ROW", "COLUMN", "FORMAT", "PERCENTAGE", "VALUE", "TOLERANCE", "ISLIMIT"};

const std::string& ListItem(const std::vector<std::string>& list, int32_t index, const char* source) {
    if (index < 1 || index > static_cast<int32_t>(list.size()))
        throw Error(ErrorNumber::SubscriptOutOfRange, source, "Subscript out of range: " + std::to_string(index));
    return list[static_cast<std::size_t>(index - 1)];
}

int16_t Flag(std::span<const int16_t> flags, int16_t index) {
    if (index < 0 || static_cast<std::size_t>(index) >= flags.size())
        throw Error(ErrorNumber::SubscriptOutOfRange, "Value.UpdateReport", "Subscript out of range");
    return flags[static_cast<std::size_t>(index)];
}

void KeepOneItem(std::vector<std::string>& list) {
    if (list.size() > 1) list.erase(list.begin(), list.end() - 1);
}

}  // namespace

void Value::Initialize() { *this = Value(); }

void Value::Terminate() {
    if (run_.Get().logList.size() > 1) KeepOneItem(run_.Set().logList);
    if (run_.Get().valueList.size() > 1) KeepOneItem(run_.Set().valueList);
}

void Value::LoadFromFile(BlockParser& parser) {
    for (;;) {
        const int16_t token = parser.GetToken();
        if (token == BlockParser::TokenEndBlock || token == BlockParser::TokenEndFile) return;
        if (token == BlockParser::TokenStartBlock)
            throw Error(ErrorNumber::LoadStructure, LoadResString(Str::ValueLoadTitle),
                        FormatResString(Str::LoadUnexpectedBlock,
                                        {"BLOCK", parser.CurrentLine(), "none", parser.BlockType()}));
        const std::string_view key = parser.Key();
        const std::string_view text = parser.Value();
        switch (kKeys.Find(key)) {
            case kKeys["TYPE"]: type_ = text; break;
            case kKeys["SYMBOL"]: symbol_ = ToInteger(text); break;
            case kKeys["ROW"]: row_ = ToInteger(text); break;
            case kKeys["COLUMN"]: column_ = ToInteger(text); break;
            case kKeys["FORMAT"]: decimals_ = ToInteger(text); break;
            case kKeys["PERCENTAGE"]: fraction_ = ToDouble(text); break;
            case kKeys["VALUE"]: currentValue_ = Variant::Decode(text); break;
            case kKeys["TOLERANCE"]: tolerance_ = ToInteger(text); break;
            case kKeys["ISLIMIT"]: isLimit_ = ToBoolean(text); break;
            default:
                TellUnknownKey("Icon Value", key, parser.CurrentLine(), Str::ValueLoadTitle);
        }
    }
}

void Value::SaveToFile(std::string& out) const {
    out += "\t\t\tBLOCK Value\r\n";
    AppendLine(out, "\t\t\t\tTYPE=", TextValue(type_, "TYPE"));
    AppendLine(out, "\t\t\t\tSYMBOL=", symbol_);
    AppendLine(out, "\t\t\t\tROW=", row_);
    AppendLine(out, "\t\t\t\tCOLUMN=", column_);
    AppendLine(out, "\t\t\t\tPERCENTAGE=", fraction_);
    out += "\t\t\t\tVALUE=";
    const std::size_t valueAt = out.size();
    currentValue_.Encode(out);
    TextValue(std::string_view(out).substr(valueAt), "VALUE");
    out += "\r\n";
    AppendLine(out, "\t\t\t\tFORMAT=", decimals_);
    AppendLine(out, "\t\t\t\tTOLERANCE=", tolerance_);
    AppendLine(out, "\t\t\t\tISLIMIT=", isLimit_);
    out += "\t\t\tEND\r\n";
}

void Value::LoadFromBinary(BinaryStream& stream, int32_t version) {
    stream.GetString(type_);
    stream.GetItems(symbol_, row_, column_, decimals_, fraction_, tolerance_, isLimit_);
    stream.GetVariant(currentValue_);
    if (version == 1) {
        double plus, minus, softPlus, softMinus;
        stream.GetItems(plus, minus, softPlus, softMinus);
        SetTolerances(plus, minus, softPlus, softMinus);
        gotTols_ = true;
    }
}

void Value::SaveToBinary(BinaryStream& stream) const {
    stream.WriteString(type_);
    stream.WriteItems(symbol_, row_, column_, decimals_, fraction_, tolerance_, isLimit_);
    stream.WriteVariant(currentValue_);
    stream.WriteItems(PlusTol(), MinusTol(), SoftPlusTol(), SoftMinusTol());
}

std::string Value::DisplayText() const {
    if (currentValue_.IsEmpty()) return {};
    if (currentValue_.IsNull()) return "NULL";
    if (currentValue_.IsFloating()) return FormatFixed(currentValue_.ToDouble(), decimals_, false);
    try {
        return currentValue_.ToText();
    } catch (const Error&) {
        return {};  // a kind without a text form shows nothing
    }
}

double Value::ShownNumber(const std::string& shown) {
    return shown == "." || shown == "-." ? 0.0 : ToDouble(shown);
}

const std::string& Value::LogItem(int32_t index) const { return ListItem(run_.Get().logList, index, "Value.LogItem"); }

const std::string& Value::ValueItem(int32_t index) const { return ListItem(run_.Get().valueList, index, "Value.ValueItem"); }

int16_t Value::Percentage() const { return RoundToInteger(fraction_ * 100); }

int16_t Value::Classify(double deviation) const {
    if (deviation == 0) return ToleranceState::InBand;
    const RunTime& run = run_.Get();
    if (deviation > run.plusTol || deviation < run.minusTol) return ToleranceState::OutOfTolerance;
    if (deviation <= run.softPlusTol && deviation >= run.softMinusTol) return ToleranceState::InBand;
    return ToleranceState::Warning;
}

double Value::RoundToDecimals(double value) const { return ToDouble(FormatFixed(value, decimals_, true)); }

void Value::UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags) {
    if (type_ != "DA") return;
    try {
        if (Flag(rowFlags, row_) == 0 || (Flag(columnFlags, column_) == 0 && Flag(columnFlags, 0) == 0)) return;
        decimals_ = host.S6A((row_ == 1 || row_ == 7) ? 2 : 1).ToInteger();
        if (decimals_ > kMaxDecimals) decimals_ = kMaxDecimals;
        host.S6A(0);
        host.S1D();
        if (column_ != kDeviationColumn) {
            tolerance_ = ToleranceState::NotEvaluated;
            currentValue_ = host.s(column_, row_);
            return;
        }
        double deviation = 0;
        RunTime& run = run_.Set();
        if (row_ < 9 || row_ > 13) {
            isLimit_ = host.limittolerancing();
            if (!isLimit_) {
                run.plusTol = host.s(2, row_).ToDouble();
                run.minusTol = -host.s(3, row_).ToDouble();
                run.softPlusTol = run.plusTol * fraction_;
                run.softMinusTol = run.minusTol * fraction_;
                deviation = host.s(4, row_).ToDouble();
            } else {
                // s(2) and s(3) are the two limits; the deviation is taken from their middle.
                currentValue_ = host.s(0, row_);
                const double upper = host.s(2, row_).ToDouble();
                const double lower = host.s(3, row_).ToDouble();
                const double middle = (upper + lower) / 2;
                const double half = std::fabs((lower - upper) / 2);
                run.plusTol = half;
                run.minusTol = -half;
                run.softPlusTol = half * fraction_;
                run.softMinusTol = -half * fraction_;
                deviation = host.s(0, row_).ToDouble() - middle;
            }
        } else {
            run.plusTol = host.s(2, row_).ToDouble();
            run.minusTol = 0;
            run.softPlusTol = run.plusTol * fraction_;
            run.softMinusTol = 0;
            deviation = host.s(4, row_).ToDouble();
            if (row_ == 9 && host.MmcTolerancing()) {
                run.plusTol = host.MmcBonus().ToDouble() + host.s(2, row_).ToDouble();
                run.softPlusTol = run.plusTol * fraction_;
            }
        }
        currentValue_ = Variant(RoundToDecimals(deviation));
        gotTols_ = true;
        // Classify what is shown, so the colour always agrees with the text.
        tolerance_ = Classify(ShownNumber(DisplayText()));
    } catch (...) {
        // The host's errors end the update; what was set so far stays.
    }
}

void Value::Copy(Value& target) const {
    target.SetValueType(type_);
    target.SetRow(row_);
    target.SetColumn(column_);
    target.SetGeometricSymbol(symbol_);
    target.SetPercentage(Percentage());
    target.SetCurrentValue(currentValue_);
    target.SetIsAverage(IsAverage());
    target.SetTolerances(PlusTol(), MinusTol(), SoftPlusTol(), SoftMinusTol());
}

void Value::StoreTolerances(double plus, double minus, double softPlus, double softMinus) {
    const RunTime& now = run_.Get();
    if (Same(plus, now.plusTol) && Same(minus, now.minusTol) && Same(softPlus, now.softPlusTol) && Same(softMinus, now.softMinusTol)) return;
    RunTime& run = run_.Set();
    run.plusTol = plus;
    run.minusTol = minus;
    run.softPlusTol = softPlus;
    run.softMinusTol = softMinus;
}

bool Value::IsOutOfTolerance() const {
    return tolerance_ == ToleranceState::Warning || tolerance_ == ToleranceState::OutOfTolerance;
}

void Value::InitializeSampleSet(int16_t sampleSize) {
    RunTime& run = run_.Set();
    run.summ = 0;
    run.isAverage = true;
    run.summCount = 0;
    run.sampleSize = sampleSize;
}

void Value::CalculateAverage() {
    const RunTime& run = run_.Get();
    if (column_ != kDeviationColumn || run.summCount < 1) return;
    try {
        const double average = RoundToDecimals(run.summ / run.summCount);
        currentValue_ = Variant(average);
        // An incomplete set is shown unevaluated.
        tolerance_ = (run.summCount == run.sampleSize && gotTols_) ? Classify(average) : ToleranceState::NotEvaluated;
    } catch (...) {
        // Arithmetic that cannot be shown ends the average silently.
    }
}

bool Value::IsLogCol(std::string_view name) const {
    const auto& logs = run_.Get().logList;
    return std::find(logs.begin(), logs.end(), name) != logs.end();
}

}  // namespace kvo

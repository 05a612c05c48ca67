#include "Icon.h"

#include <algorithm>
#include <charconv>

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

constexpr KeyTable kKeys{"LEFT",      "TOP",       "LEADERCOLOR",   "LEADERX",  "LEADERY",  "DRAWLEADER", "BENDPOINT", "ISVERTICAL",
                         "FEATURENAME", "SEQNUMBER", "DISPLAYDIGITS", "FONTNAME", "FONTSIZE", "FONTBOLD",   "FONTCOLOR", "NAMECOLOR"};

template <typename T>
T Clamp(int32_t value, T low, T high) {
    return static_cast<T>(std::clamp<int32_t>(value, low, high));
}

}  // namespace

void Icon::Initialize() {
    values_.Clear();
    static_cast<IconFields&>(*this) = IconFields();
}

void Icon::SetLeft(int32_t value) { left_ = Clamp(value, kMinPosition, kMaxPosition); }
void Icon::SetTop(int32_t value) { top_ = Clamp(value, kMinPosition, kMaxPosition); }
void Icon::SetLeaderX(int32_t value) { leaderX_ = Clamp(value, kMinPosition, kMaxPosition); }
void Icon::SetLeaderY(int32_t value) { leaderY_ = Clamp(value, kMinPosition, kMaxPosition); }
void Icon::SetLeaderBendPoint(int32_t value) { bendPoint_ = Clamp(value, kMinBendPoint, kMaxBendPoint); }
void Icon::SetDisplayDigits(int32_t value) { displayDigits_ = Clamp(value, kMinDisplayDigits, kMaxDisplayDigits); }
void Icon::SetFontSize(int32_t value) { fontSize_ = Clamp(value, kMinFontSize, kMaxFontSize); }

void Icon::SetSequenceNumber(int32_t value) {
    isSequenceNumber_ = true;
    sequenceNumber_ = value;
    // Written in place: a load names every other icon this way.
    char digits[12];
    const char* end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    name_.assign(1, '#').append(digits, static_cast<std::size_t>(end - digits));
    ++version_;
}

void Icon::SetFeatureName(std::string_view value) {
    name_ = value;
    NameByFeature();
}

void Icon::NameByFeature() {
    featureName_ = name_;
    std::transform(featureName_.begin(), featureName_.end(), featureName_.begin(), ToUpperAscii);
    isSequenceNumber_ = false;
    ++version_;
}

void Icon::LoadFromFile(BlockParser& parser) {
    for (;;) {
        const int16_t token = parser.GetToken();
        if (token == BlockParser::TokenEndBlock) return;
        if (token == BlockParser::TokenEndFile)
            throw Error(ErrorNumber::LoadStructure, LoadResString(Str::IconLoadTitle),
                        FormatResString(Str::LoadEndsInsideBlock, {"Icon", parser.CurrentLine()}));
        if (token == BlockParser::TokenStartBlock) {
            if (parser.BlockType() != "VALUE")
                throw Error(ErrorNumber::LoadStructure, LoadResString(Str::IconLoadTitle),
                            FormatResString(Str::LoadUnexpectedBlock,
                                            {"BLOCK", parser.CurrentLine(), "VALUE", Excerpt(parser.BlockType())}));
            values_.AddFromFile(parser);
            continue;
        }
        // Some keys go through the properties (clamped, named, counted), the rest are
        // stored as the file has them, beyond the limits if need be.
        const std::string_view key = parser.Key();
        const std::string_view text = parser.Value();
        switch (kKeys.Find(key)) {
            case kKeys["LEFT"]: left_ = ToLong(text); break;
            case kKeys["TOP"]: top_ = ToLong(text); break;
            case kKeys["LEADERCOLOR"]: leaderColor_ = ToLong(text); break;
            case kKeys["LEADERX"]: SetLeaderX(ToLong(text)); break;
            case kKeys["LEADERY"]: SetLeaderY(ToLong(text)); break;
            case kKeys["DRAWLEADER"]: drawLeader_ = ToBoolean(text); break;
            case kKeys["BENDPOINT"]: bendPoint_ = ToInteger(text); break;
            case kKeys["ISVERTICAL"]: isVertical_ = ToBoolean(text); break;
            case kKeys["FEATURENAME"]: SetFeatureName(text); break;
            case kKeys["SEQNUMBER"]: SetSequenceNumber(ToLong(text)); break;
            case kKeys["DISPLAYDIGITS"]: SetDisplayDigits(ToInteger(text)); break;
            case kKeys["FONTNAME"]: fontName_ = text; break;
            case kKeys["FONTSIZE"]: SetFontSize(ToInteger(text)); break;
            case kKeys["FONTBOLD"]: SetFontBold(ToBoolean(text)); break;
            case kKeys["FONTCOLOR"]: fontColor_ = ToLong(text); break;
            case kKeys["NAMECOLOR"]: nameColor_ = ToLong(text); break;
            default:
                TellUnknownKey("Icon", key, parser.CurrentLine(), Str::IconLoadTitle);
        }
    }
}

void Icon::SaveToFile(std::string& out) const {
    out += "\t\tBLOCK Icon\r\n";
    if (isSequenceNumber_) AppendLine(out, "\t\t\tSEQNUMBER=", sequenceNumber_);
    else AppendLine(out, "\t\t\tFEATURENAME=", TextValue(featureName_, "FEATURENAME"));
    AppendLine(out, "\t\t\tLEFT=", left_);
    AppendLine(out, "\t\t\tTOP=", top_);
    AppendLine(out, "\t\t\tDRAWLEADER=", drawLeader_);
    AppendLine(out, "\t\t\tLEADERCOLOR=", leaderColor_);
    AppendLine(out, "\t\t\tLEADERX=", leaderX_);
    AppendLine(out, "\t\t\tLEADERY=", leaderY_);
    AppendLine(out, "\t\t\tBENDPOINT=", bendPoint_);
    AppendLine(out, "\t\t\tISVERTICAL=", isVertical_);
    AppendLine(out, "\t\t\tDISPLAYDIGITS=", displayDigits_);
    AppendLine(out, "\t\t\tFONTNAME=", TextValue(fontName_, "FONTNAME"));
    AppendLine(out, "\t\t\tFONTSIZE=", fontSize_);
    AppendLine(out, "\t\t\tFONTBOLD=", fontBold_);
    AppendLine(out, "\t\t\tFONTCOLOR=", fontColor_);
    AppendLine(out, "\t\t\tNAMECOLOR=", nameColor_);
    for (const auto& cell : values_) cell->SaveToFile(out);
    out += "\t\tEND\r\n";
}

void Icon::LoadFromBinary(BinaryStream& stream, int32_t version) {
    stream.GetItems(left_, top_, leaderColor_, leaderX_, leaderY_, drawLeader_, bendPoint_, isVertical_, displayDigits_);
    stream.GetString(fontName_);
    bool bySequence;
    stream.GetItems(fontSize_, fontBold_, fontColor_, nameColor_, bySequence);
    if (bySequence) {
        SetSequenceNumber(stream.GetLong());
    } else {
        stream.GetString(name_);
        NameByFeature();
    }
    values_.AddFromBinary(stream, version);
}

void Icon::SaveToBinary(BinaryStream& stream) const {
    stream.WriteItems(left_, top_, leaderColor_, leaderX_, leaderY_, drawLeader_, bendPoint_, isVertical_, displayDigits_);
    stream.WriteString(fontName_);
    stream.WriteItems(fontSize_, fontBold_, fontColor_, nameColor_, isSequenceNumber_);
    // The name, not the feature name: a name typed in mixed case keeps its letters.
    if (isSequenceNumber_) stream.WriteLong(sequenceNumber_);
    else stream.WriteString(name_);
    values_.SaveToBinary(stream);
}

void Icon::UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags) {
    bool matches = false;
    try {
        matches = isSequenceNumber_ ? host.S6A(0).ToDouble() == sequenceNumber_
                                    : ToUpper(Trim(host.S1D().ToText())) == featureName_;
    } catch (...) {
        return;  // a host that cannot say which feature it reports matches no icon
    }
    if (!matches) return;
    for (const auto& cell : values_) cell->UpdateReport(host, rowFlags, columnFlags);
    ++version_;
}

bool Icon::operator==(const Icon& other) const { return Fields() == other.Fields(); }

void Icon::Copy(Icon& target) const {
    if (isSequenceNumber_) target.SetSequenceNumber(sequenceNumber_);
    else target.SetFeatureName(featureName_);
    target.SetLeft(left_);
    target.SetTop(top_);
    target.SetDrawLeader(drawLeader_);
    target.SetLeaderX(leaderX_);
    target.SetLeaderY(leaderY_);
    target.SetLeaderBendPoint(bendPoint_);
    target.SetIsLeaderVertical(isVertical_);
    target.SetDisplayDigits(displayDigits_);
    target.SetFontName(fontName_);
    target.SetFontSize(fontSize_);
    target.SetFontBold(fontBold_);
    target.SetFontColor(fontColor_);
    target.SetNameColor(nameColor_);
    target.SetLeaderColor(leaderColor_);
    values_.Copy(target.values_);
}

void Icon::InitializeSampleSet(int16_t sampleSize) {
    for (const auto& cell : values_) cell->InitializeSampleSet(sampleSize);
}

void Icon::CollectSampleSet(Icon& target, std::string_view logName) const {
    if (target.name_ != name_) return;
    for (const auto& collector : target.values_) {
        for (const auto& own : values_) {
            if (collector->Row() != own->Row() || collector->Column() != own->Column()) continue;
            if (own->Tolerance() == ToleranceState::NotEvaluated) continue;
            if (collector->SummCount() >= collector->SampleSize()) continue;
            if (collector->IsLogCol(logName)) continue;
            const std::string shown = own->DisplayText();
            collector->SetSumm(Variant(collector->Summ() + Value::ShownNumber(shown)));
            collector->SetSummCount(static_cast<int16_t>(collector->SummCount() + 1));
            collector->AddLog(std::string(logName));
            collector->AddValue(shown);
            if (!collector->GotTols() && own->GotTols()) {
                collector->SetTolerances(own->PlusTol(), own->MinusTol(), own->SoftPlusTol(), own->SoftMinusTol());
                collector->SetGotTols(true);
            }
        }
    }
}

void Icon::CalculateAverage() {
    for (const auto& cell : values_) cell->CalculateAverage();
}

}  // namespace kvo

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>

#include "ValueCollection.h"

namespace kvo {

class BinaryStream;
class BlockParser;
class HostReport;

// An icon's box, in thousandths of the host's width and height.
struct IconExtent {
    int32_t width = 0;
    int32_t height = 0;
};

// An icon's own fields as Initialize leaves them: a new icon is built with
// them once, where setting them again after construction cost a twentieth
// of a binary load.
struct IconFields {
    static constexpr int32_t kButtonFaceColor = static_cast<int32_t>(0x8000000F);

    std::string name_ = "NEWICON";
    bool isSequenceNumber_ = false;
    int32_t sequenceNumber_ = 0;
    std::string featureName_ = "NEWICON";
    int32_t left_ = 100;
    int32_t top_ = 100;
    bool drawLeader_ = true;
    int32_t leaderX_ = 500;
    int32_t leaderY_ = 500;
    int16_t bendPoint_ = 60;
    bool isVertical_ = false;
    int32_t version_ = 0;
    int16_t displayDigits_ = 6;
    std::string fontName_ = "Courier New";
    int16_t fontSize_ = 12;
    bool fontBold_ = true;
    int32_t fontColor_ = 0;
    int32_t nameColor_ = kButtonFaceColor;
    int32_t leaderColor_ = 0;
};

// The box that stands for one measured feature on a slide, found in the host's
// report by sequence number or by feature name. Positions are thousandths of the
// slide (0 to 1000); colours are 0x00BBGGRR, or 0x80000000 + n for system colour n.
class Icon : private IconFields {
public:
    static constexpr int32_t kMinPosition = 0;
    static constexpr int32_t kMaxPosition = 1000;
    static constexpr int16_t kMinBendPoint = 0;
    static constexpr int16_t kMaxBendPoint = 100;
    static constexpr int16_t kMinDisplayDigits = 3;
    static constexpr int16_t kMaxDisplayDigits = 15;
    static constexpr int16_t kMinFontSize = 8;
    static constexpr int16_t kMaxFontSize = 24;
    using IconFields::kButtonFaceColor;

    Icon() = default;
    // Its cells made in the pool its collection shares among its icons.
    explicit Icon(Pool<Value>& cells) : values_(cells) {}
    Icon(const Icon& other, Pool<Value>& cells) : IconFields(other), values_(other.values_, cells) {}
    // Everything but the paint counter: an icon set to what it was is unchanged.
    bool operator==(const Icon& other) const;
    Icon& operator=(const Icon&) = delete;

    void Initialize();
    void Terminate() { values_.Clear(); }
    void LoadFromFile(BlockParser& parser);
    // Appends the block to out.
    void SaveToFile(std::string& out) const;
    void LoadFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;

    ValueCollection& Values() { return values_; }
    const ValueCollection& Values() const { return values_; }
    // "#12" when found by number, else the feature name as it was typed.
    const std::string& Name() const { return name_; }

    // The limited properties clamp what they are given.
    int32_t Left() const { return left_; }
    void SetLeft(int32_t value);
    int32_t Top() const { return top_; }
    void SetTop(int32_t value);
    bool DrawLeader() const { return drawLeader_; }
    void SetDrawLeader(bool value) { drawLeader_ = value; }
    int32_t LeaderColor() const { return leaderColor_; }
    void SetLeaderColor(int32_t value) { leaderColor_ = value; }
    int32_t LeaderX() const { return leaderX_; }
    void SetLeaderX(int32_t value);
    int32_t LeaderY() const { return leaderY_; }
    void SetLeaderY(int32_t value);
    int16_t LeaderBendPoint() const { return bendPoint_; }
    void SetLeaderBendPoint(int32_t value);
    bool IsLeaderVertical() const { return isVertical_; }
    void SetIsLeaderVertical(bool value) { isVertical_ = value; }
    int32_t SequenceNumber() const { return sequenceNumber_; }
    // Finds the icon by number from now on: the name becomes "#n".
    void SetSequenceNumber(int32_t value);
    const std::string& FeatureName() const { return featureName_; }
    // Finds the icon by name from now on: matched in upper case, shown as typed.
    void SetFeatureName(std::string_view value);
    bool IsSequenceNumber() const { return isSequenceNumber_; }
    void SetIsSequenceNumber(bool value) { isSequenceNumber_ = value; }
    int16_t DisplayDigits() const { return displayDigits_; }
    void SetDisplayDigits(int32_t value);
    const std::string& FontName() const { return fontName_; }
    void SetFontName(std::string value) { fontName_ = std::move(value); }
    int16_t FontSize() const { return fontSize_; }
    void SetFontSize(int32_t value);
    bool FontBold() const { return fontBold_; }
    void SetFontBold(bool value) { fontBold_ = value; }
    int32_t FontColor() const { return fontColor_; }
    void SetFontColor(int32_t value) { fontColor_ = value; }
    int32_t NameColor() const { return nameColor_; }
    void SetNameColor(int32_t value) { nameColor_ = value; }
    // Grows with every change of identity and every matching update; views
    // redraw when it differs from what they drew.
    int32_t Version() const { return version_; }

    void UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags);
    bool IsOutOfTolerance() const { return values_.IsOutOfTolerance(); }
    int16_t WorstTolerance() const { return values_.WorstTolerance(); }
    // Through the target's properties, so its limits apply and its version moves.
    void Copy(Icon& target) const;
    void InitializeSampleSet(int16_t sampleSize);
    // Offers this icon's readings to the target's cells, counting each measured
    // part (its log name) once per cell.
    void CollectSampleSet(Icon& target, std::string_view logName) const;
    void CalculateAverage();

private:
    // Found by the name as it stands from now on.
    void NameByFeature();
    auto Fields() const {
        return std::tie(values_, name_, isSequenceNumber_, sequenceNumber_, featureName_, left_, top_, drawLeader_, leaderX_, leaderY_,
                        bendPoint_, isVertical_, displayDigits_, fontName_, fontSize_, fontBold_, fontColor_, nameColor_,
                        leaderColor_);
    }

    ValueCollection values_;
};

}  // namespace kvo

#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "IconCollection.h"

namespace kvo {

class BinaryStream;
class BlockParser;
class FileDataCollection;
class HostReport;

// One screen of a slide show: a background picture on a background colour, the
// picture's place on the slide, a help topic, and the icons placed on it.
class Slide {
public:
    static constexpr int32_t kDefaultBackColor = 0x00C4C4C4;

    Slide() { Initialize(); }
    explicit Slide(const Slide&) = default;
    bool operator==(const Slide&) const = default;
    Slide& operator=(const Slide&) = delete;

    void Initialize();
    void Terminate() { icons_.Clear(); }
    // Reads the body of a "BLOCK Slide" whose start line the caller has consumed.
    void LoadFromFile(BlockParser& parser);
    // Appends the block to out.
    void SaveToFile(std::string& out) const;
    void LoadFromBinary(BinaryStream& stream, int32_t version);
    void SaveToBinary(BinaryStream& stream) const;

    const std::string& Name() const { return name_; }
    void SetName(std::string value) { name_ = std::move(value); }
    bool Enabled() const { return enabled_; }
    void SetEnabled(bool value) { enabled_ = value; }
    int32_t BackColor() const { return backColor_; }
    void SetBackColor(int32_t value) { backColor_ = value; }
    IconCollection& Icons() { return icons_; }
    const IconCollection& Icons() const { return icons_; }
    // The picture's rectangle on the slide, set and read as a group.
    void SetPicturePosition(int16_t left, int16_t top, int16_t width, int16_t height);
    void GetPicturePosition(int16_t& left, int16_t& top, int16_t& width, int16_t& height) const;
    const std::string& PictureFile() const { return pictureFile_; }
    // Empty clears the picture; anything else must be a full path (a drive
    // letter, or "/" here). A refused path is reported and changes nothing.
    bool SetPictureFile(const std::string& path);
    int16_t HelpTopic() const { return helpTopic_; }
    void SetHelpTopic(int16_t value) { helpTopic_ = value; }

    void UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags);
    bool IsOutOfTolerance() const { return icons_.IsOutOfTolerance(); }
    int16_t WorstTolerance() const { return icons_.WorstTolerance(); }
    // Error 53 when the picture is missing.
    void BuildFileList(FileDataCollection& files) const;
    void UpdateFileList(const FileDataCollection& files);
    void InitializeSampleSet(int16_t sampleSize);
    // This slide's icons offer their readings to the other slide's icons.
    void CollectSampleSet(Slide& other, std::string_view logName) const;
    void CalculateAverage();

private:
    IconCollection icons_;
    std::string name_;
    bool enabled_ = true;
    std::string pictureFile_;
    int32_t backColor_ = kDefaultBackColor;
    int16_t left_ = 0;
    int16_t top_ = 0;
    int16_t width_ = 0;
    int16_t height_ = 0;
    int16_t helpTopic_ = 0;
};

}  // namespace kvo

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "SlideCollection.h"

namespace kvo {

class BinaryStream;
class BlockParser;
class FileDataCollection;
class HostReport;

// The document: a few descriptive texts, a help reference and the slides. Loads
// either format (binary when the file starts with the magic, else text) and
// saves either, always by writing a temporary file and renaming it over the
// target, so a failed save leaves the previous file as it was.
class SlideShow {
public:
    static constexpr std::string_view kBinaryHeader = "### | 1 | 22-feb-02";
    static constexpr int32_t kBinaryVersion = 1;  // the version in kBinaryHeader
    static constexpr int16_t kFallbackHelpTopic = 3;

    SlideShow() { Initialize(); }
    // Deep, for undo and for a copy that another thread writes.
    explicit SlideShow(const SlideShow&) = default;
    bool operator==(const SlideShow&) const = default;
    // A show put back by undo stays in the format of the file it came from.
    void KeepFormatOf(const SlideShow& other) {
        binary_ = other.binary_;
        binaryHeader_ = other.binaryHeader_;
        fileVersion_ = other.fileVersion_;
    }
    SlideShow& operator=(const SlideShow&) = delete;

    bool Initialize();
    void Terminate() { slides_.Terminate(); }
    SlideCollection& Slides() { return slides_; }
    const SlideCollection& Slides() const { return slides_; }

    // Errors name the file, and for text the line.
    void LoadFromFile(const std::string& fileName);
    // The same from a file's bytes held in memory (a show inside a package);
    // name stands for the file in errors.
    void LoadFromBytes(const std::string& bytes, const std::string& name);
    void SaveToFile(const std::string& fileName);
    void SaveToBinary(const std::string& fileName);
    // The text form, as SaveToFile writes it, appended to out.
    void WriteText(std::string& out) const;
    // The binary form, as SaveToBinary writes it, appended to out.
    void WriteBinary(std::string& out) const;
    // The whole document as the binary format's bytes, for the recovery copy
    // and the samples of an average.
    // Restore puts such bytes back and keeps the format and header of the file
    // the document came from, so that Save writes what it wrote before.
    std::string Snapshot() const;
    void Restore(const std::string& snapshot, const std::string& source);
    bool Binary() const { return binary_; }
    // The header of the binary file last read, and the format version from it.
    const std::string& BinaryHeader() const { return binaryHeader_; }
    int32_t FileVersion() const { return fileVersion_; }

    void MoveNext();
    // To the next slide out of tolerance, wrapping round, never the current one.
    void MoveNextOutOfTol();
    void MovePrevious();
    // Error 9 before the first move.
    Slide& ActiveSlide() const { return slides_.Item(currentPosition_); }
    int16_t CurrentPosition() const { return currentPosition_; }
    bool IsFirstSlide() const { return currentPosition_ == 1; }
    bool IsLastSlide() const { return currentPosition_ == slides_.Count(); }
    bool IsOutOfTolerance() const { return slides_.IsOutOfTolerance(currentPosition_); }
    int16_t WorstTolerance() const { return slides_.WorstTolerance(); }
    bool HelpAvailable() const { return !helpFile_.empty(); }
    // The current slide's topic, else the show's, else 3.
    int16_t ActiveHelpTopic() const;

    void UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags);

    const std::string& Name() const { return name_; }
    void SetName(std::string value) { name_ = std::move(value); }
    const std::string& Description() const { return description_; }
    void SetDescription(std::string value) { description_ = std::move(value); }
    const std::string& Customer() const { return customer_; }
    void SetCustomer(std::string value) { customer_ = std::move(value); }
    const std::string& HelpFile() const { return helpFile_; }
    void SetHelpFile(std::string value) { helpFile_ = std::move(value); }
    int16_t HelpTopic() const { return helpTopic_; }
    void SetHelpTopic(int16_t value) { helpTopic_ = value; }

    // Every file the show refers to; error 53 for one that is missing.
    void BuildFileList(FileDataCollection& files) const;
    // Points every reference at where an import stored its file.
    void UpdateFileList(const FileDataCollection& files);
    void InitializeSampleSet(int16_t sampleSize);
    // Slide by slide, this show's readings go to the other show's icons.
    void CollectSampleSet(SlideShow& other, std::string_view logName) const;
    void CalculateAverage();

private:
    void ReadText(BlockParser& parser);
    void ReadBinary(BinaryStream& stream);
    void ReadLocatedText(BlockParser& parser);
    void HandleKey(std::string_view key, std::string_view value, int32_t line);
    void ReadBinaryRecord(BinaryStream& stream);

    SlideCollection slides_;
    std::string name_;
    std::string helpFile_;
    int16_t helpTopic_ = 0;
    std::string customer_;
    std::string description_;
    int16_t currentPosition_ = 0;
    bool binary_ = false;
    std::string binaryHeader_;
    int32_t fileVersion_ = 0;
};

}  // namespace kvo

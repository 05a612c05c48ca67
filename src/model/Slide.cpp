#include "Slide.h"


#include "BinaryStream.h"
#include "BlockParser.h"
#include "FileDataCollection.h"
#include "SlideShow.h"
#include "TextOut.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr KeyTable kKeys{"NAME", "ENABLED", "GRAPHIC", "BACKCOLOR", "LEFT", "TOP", "WIDTH", "HEIGHT", "KEY", "HELPTOPIC"};

constexpr const char* kPictureTitle = "Set Picture File";

}  // namespace

void Slide::Initialize() {
    icons_.Clear();
    name_.clear();
    enabled_ = true;
    pictureFile_.clear();
    backColor_ = kDefaultBackColor;
    left_ = 10;
    top_ = 10;
    width_ = 80;
    height_ = 80;
    helpTopic_ = 0;
}

void Slide::LoadFromFile(BlockParser& parser) {
    for (;;) {
        const int16_t token = parser.GetToken();
        if (token == BlockParser::TokenEndBlock) return;
        if (token == BlockParser::TokenEndFile)
            throw Error(ErrorNumber::LoadStructure, LoadResString(Str::SlideLoadTitle),
                        FormatResString(Str::LoadEndsInsideBlock, {"Slide", parser.CurrentLine()}));
        if (token == BlockParser::TokenStartBlock) {
            if (parser.BlockType() != "ICON")
                throw Error(ErrorNumber::LoadStructure, LoadResString(Str::SlideLoadTitle),
                            FormatResString(Str::LoadUnexpectedBlock,
                                            {"BLOCK", parser.CurrentLine(), "ICON", Excerpt(parser.BlockType())}));
            icons_.AddFromFile(parser);
            continue;
        }
        const std::string_view key = parser.Key();
        const std::string_view text = parser.Value();
        switch (kKeys.Find(key)) {
            case kKeys["NAME"]: name_ = text; break;
            case kKeys["ENABLED"]: enabled_ = ToBoolean(text); break;
            case kKeys["GRAPHIC"]: pictureFile_ = text; break;  // as written: no path check on load
            case kKeys["BACKCOLOR"]: backColor_ = ToLong(text); break;
            case kKeys["LEFT"]: left_ = ToInteger(text); break;
            case kKeys["TOP"]: top_ = ToInteger(text); break;
            case kKeys["WIDTH"]: width_ = ToInteger(text); break;
            case kKeys["HEIGHT"]: height_ = ToInteger(text); break;
            case kKeys["KEY"]: break;  // written by an older layout; means nothing now
            case kKeys["HELPTOPIC"]: helpTopic_ = ToInteger(text); break;
            default:
                TellUnknownKey("Slide", key, parser.CurrentLine(), Str::SlideLoadTitle);
        }
    }
}

void Slide::SaveToFile(std::string& out) const {
    out += "\tBLOCK Slide\r\n";
    AppendLine(out, "\t\tNAME=", TextValue(name_, "NAME"));
    AppendLine(out, "\t\tENABLED=", enabled_);
    AppendLine(out, "\t\tGRAPHIC=", TextValue(pictureFile_, "GRAPHIC"));
    AppendLine(out, "\t\tBACKCOLOR=", backColor_);
    AppendLine(out, "\t\tLEFT=", left_);
    AppendLine(out, "\t\tTOP=", top_);
    AppendLine(out, "\t\tWIDTH=", width_);
    AppendLine(out, "\t\tHEIGHT=", height_);
    AppendLine(out, "\t\tHELPTOPIC=", helpTopic_);
    for (const auto& icon : icons_) icon->SaveToFile(out);
    out += "\tEND\r\n";
}

void Slide::LoadFromBinary(BinaryStream& stream, int32_t version) {
    stream.GetString(name_);
    enabled_ = stream.GetBoolean();
    stream.GetString(pictureFile_);
    backColor_ = stream.GetLong();
    left_ = stream.GetInteger();
    top_ = stream.GetInteger();
    width_ = stream.GetInteger();
    height_ = stream.GetInteger();
    helpTopic_ = stream.GetInteger();
    icons_.AddFromBinary(stream, version);
}

void Slide::SaveToBinary(BinaryStream& stream) const {
    stream.WriteString(name_);
    stream.WriteBoolean(enabled_);
    stream.WriteString(pictureFile_);
    stream.WriteLong(backColor_);
    stream.WriteInteger(left_);
    stream.WriteInteger(top_);
    stream.WriteInteger(width_);
    stream.WriteInteger(height_);
    stream.WriteInteger(helpTopic_);
    icons_.SaveToBinary(stream);
}

void Slide::SetPicturePosition(int16_t left, int16_t top, int16_t width, int16_t height) {
    left_ = left;
    top_ = top;
    width_ = width;
    height_ = height;
}

void Slide::GetPicturePosition(int16_t& left, int16_t& top, int16_t& width, int16_t& height) const {
    left = left_;
    top = top_;
    width = width_;
    height = height_;
}

bool Slide::SetPictureFile(const std::string& path) {
    if (!path.empty()) {
        if (path.size() < 3) {
            CurrentPrompt().Message("Invalid picture file specification", kPictureTitle, MessageKind::Information);
            return false;
        }
        if (!IsFullPath(path)) {
            CurrentPrompt().Message("A full path specification for a picture file is required.", kPictureTitle,
                                    MessageKind::Information);
            return false;
        }
    }
    pictureFile_ = path;
    return true;
}

void Slide::UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags) {
    for (const auto& icon : icons_) icon->UpdateReport(host, rowFlags, columnFlags);
}

void Slide::BuildFileList(FileDataCollection& files) const {
    if (pictureFile_.empty()) return;
    if (!FileExists(pictureFile_)) throw Error(ErrorNumber::FileNotFound, "Slide", "File not found '" + pictureFile_ + "'.");
    files.Add(pictureFile_);
}

void Slide::UpdateFileList(const FileDataCollection& files) {
    if (!pictureFile_.empty()) pictureFile_ = files.FindNewFileName(pictureFile_);
}

void Slide::InitializeSampleSet(int16_t sampleSize) {
    for (const auto& icon : icons_) icon->InitializeSampleSet(sampleSize);
}

void Slide::CollectSampleSet(Slide& other, std::string_view logName) const {
    for (const auto& icon : icons_)
        for (const auto& target : other.icons_) icon->CollectSampleSet(*target, logName);
}

void Slide::CalculateAverage() {
    for (const auto& icon : icons_) icon->CalculateAverage();
}

}  // namespace kvo

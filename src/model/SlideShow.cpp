#include "SlideShow.h"

#include <algorithm>
#include <sstream>

#include "BinaryStream.h"
#include "BlockParser.h"
#include "FileDataCollection.h"
#include "TextOut.h"
#include "services/AtomicFile.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"
#include "services/Prompt.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

// Room for a whole save, told by the counts of its records: grown by doubling,
// a large show's bytes were copied and their pages touched afresh at each step.
std::size_t ExpectedBytes(const SlideCollection& slides, std::size_t perSlide, std::size_t perIcon, std::size_t perCell) {
    std::size_t bytes = 1024;
    for (const auto& slide : slides) {
        bytes += perSlide + perIcon * static_cast<std::size_t>(slide->Icons().Count());
        for (const auto& icon : slide->Icons()) bytes += perCell * static_cast<std::size_t>(icon->Values().Count());
    }
    return bytes;
}

// The version between the first and second "|" of a binary header; 0 when
// there is none or it is no number.
int32_t HeaderVersion(const std::string& header) {
    const auto first = header.find('|');
    if (first == std::string::npos) return 0;
    const auto second = header.find('|', first + 1);
    const std::string field = header.substr(first + 1, second == std::string::npos ? std::string::npos : second - first - 1);
    try {
        return ToLong(field);
    } catch (const Error&) {
        return 0;
    }
}

// Adds the file, and the line where the line is not in the message already.
Error Located(const Error& error, const BlockParser& parser) {
    if (error.Number() != ErrorNumber::LoadStructure && error.Number() != ErrorNumber::Parser)
        return Error(error.Number(), error.Source(),
                     FormatResString(Str::LoadErrorAt, {parser.FileName(), parser.CurrentLine(), error.Description()}));
    return Error(error.Number(), error.Source(), parser.FileName() + ": " + error.Description());
}

}  // namespace

bool SlideShow::Initialize() {
    slides_.Initialize();
    name_.clear();
    helpFile_.clear();
    helpTopic_ = 0;
    customer_.clear();
    description_.clear();
    currentPosition_ = 0;
    binary_ = false;
    binaryHeader_.clear();
    fileVersion_ = 0;
    return true;
}

void SlideShow::LoadFromFile(const std::string& fileName) {
    binary_ = false;
    {
        BinaryStream stream;
        if (stream.OpenFile(fileName, false)) return ReadBinary(stream);
    }
    BlockParser parser;
    parser.OpenFile(fileName, false);
    ReadLocatedText(parser);
}

void SlideShow::LoadFromBytes(const std::string& bytes, const std::string& name) {
    binary_ = false;
    {
        std::istringstream in(bytes);
        BinaryStream stream;
        if (stream.OpenReader(in, name)) return ReadBinary(stream);
    }
    BlockParser parser;
    parser.OpenText(bytes, name);
    ReadLocatedText(parser);
}

void SlideShow::ReadBinary(BinaryStream& stream) {
    ReadBinaryRecord(stream);
    slides_.AddFromBinary(stream, fileVersion_);
    binary_ = true;
}

void SlideShow::ReadLocatedText(BlockParser& parser) {
    try {
        ReadText(parser);
    } catch (const Error& error) {
        throw Located(error, parser);
    }
}

void SlideShow::ReadText(BlockParser& parser) {
    const std::string title = LoadResString(Str::SlideShowLoadTitle);
    if (parser.GetToken() != BlockParser::TokenStartBlock)
        throw Error(ErrorNumber::LoadStructure, title, FormatResString(Str::LoadNoBlock, {parser.CurrentLine()}));
    if (parser.BlockType() != "SLIDESHOW")
        throw Error(ErrorNumber::LoadStructure, title,
                    FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", parser.CurrentLine(), "SLIDESHOW", Excerpt(parser.BlockType())}));
    for (;;) {
        const int16_t token = parser.GetToken();
        if (token == BlockParser::TokenEndBlock) break;
        if (token == BlockParser::TokenKeyValue) {
            HandleKey(parser.Key(), parser.Value(), parser.CurrentLine());
        } else if (token == BlockParser::TokenStartBlock) {
            if (parser.BlockType() != "SLIDE")
                throw Error(ErrorNumber::LoadStructure, title,
                            FormatResString(Str::LoadUnexpectedBlock, {"BLOCK", parser.CurrentLine(), "SLIDE", parser.BlockType()}));
            slides_.AddFromFile(parser);
        } else {
            // The outer block never closed: say so instead of waiting for an END that cannot come.
            throw Error(ErrorNumber::LoadStructure, title,
                        FormatResString(Str::LoadEndsInsideBlock, {"SlideShow", parser.CurrentLine()}));
        }
    }
    if (parser.GetToken() != BlockParser::TokenEndFile)
        throw Error(ErrorNumber::LoadStructure, title, FormatResString(Str::LoadTrailingText, {parser.CurrentLine()}));
}

void SlideShow::HandleKey(std::string_view key, std::string_view value, int32_t line) {
    static constexpr KeyTable kKeys{"NAME", "DESCRIPTION", "CUSTOMER", "HELPFILE", "HELPTOPIC"};
    switch (kKeys.Find(key)) {
        case kKeys["NAME"]: name_ = value; break;
        case kKeys["DESCRIPTION"]: description_ = value; break;
        case kKeys["CUSTOMER"]: customer_ = value; break;
        case kKeys["HELPFILE"]: helpFile_ = value; break;
        case kKeys["HELPTOPIC"]: helpTopic_ = ToInteger(value); break;
        default:
            TellUnknownKey("SlideShow", key, line, Str::SlideShowLoadTitle);
    }
}

void SlideShow::ReadBinaryRecord(BinaryStream& stream) {
    binaryHeader_ = stream.GetString();
    fileVersion_ = 0;
    if (binaryHeader_.rfind("###", 0) == 0) {
        fileVersion_ = HeaderVersion(binaryHeader_);
        name_ = stream.GetString();
    }
    if (fileVersion_ == 0) {
        // An older file without a header: what was read is the name.
        name_ = binaryHeader_;
        binaryHeader_.clear();
    }
    description_ = stream.GetString();
    customer_ = stream.GetString();
    helpFile_ = stream.GetString();
    helpTopic_ = stream.GetInteger();
}

void SlideShow::WriteText(std::string& out) const {
    out.reserve(out.size() + ExpectedBytes(slides_, 512, 512, 256));
    out += "BLOCK SlideShow\r\n";
    AppendLine(out, "\tNAME=", TextValue(name_, "NAME"));
    AppendLine(out, "\tDESCRIPTION=", TextValue(description_, "DESCRIPTION"));
    AppendLine(out, "\tCUSTOMER=", TextValue(customer_, "CUSTOMER"));
    AppendLine(out, "\tHELPFILE=", TextValue(helpFile_, "HELPFILE"));
    AppendLine(out, "\tHELPTOPIC=", helpTopic_);
    for (const auto& slide : slides_) slide->SaveToFile(out);
    out += "END\r\n";
}

void SlideShow::SaveToFile(const std::string& fileName) {
    std::string text;
    WriteText(text);
    WriteFileAtomically(fileName, text);
    binary_ = false;
}

void SlideShow::WriteBinary(std::string& out) const {
    out.reserve(out.size() + ExpectedBytes(slides_, 256, 128, 96));
    BinaryStream stream;
    stream.OpenWriter(out, "slide show");
    stream.WriteString(kBinaryHeader);
    stream.WriteString(name_);
    stream.WriteString(description_);
    stream.WriteString(customer_);
    stream.WriteString(helpFile_);
    stream.WriteInteger(helpTopic_);
    slides_.SaveToBinary(stream);
}

void SlideShow::SaveToBinary(const std::string& fileName) {
    std::string bytes;
    WriteBinary(bytes);
    WriteFileAtomically(fileName, bytes);
    binary_ = true;
}

std::string SlideShow::Snapshot() const {
    std::string bytes;
    WriteBinary(bytes);
    return bytes;
}

void SlideShow::Restore(const std::string& snapshot, const std::string& source) {
    std::istringstream in(snapshot, std::ios::binary);
    BinaryStream stream;
    if (!stream.OpenReader(in, source))
        throw Error(ErrorNumber::InvalidCall, "SlideShow.Restore", "\"" + source + "\" is not a binary slide show");
    const std::string header = binaryHeader_;
    const int32_t version = fileVersion_;
    slides_.Initialize();
    ReadBinaryRecord(stream);
    slides_.AddFromBinary(stream, fileVersion_);
    binaryHeader_ = header;
    fileVersion_ = version;
    currentPosition_ = std::min<int16_t>(currentPosition_, static_cast<int16_t>(slides_.Count()));
}

void SlideShow::MoveNext() {
    if (currentPosition_ < slides_.Count()) ++currentPosition_;
}

void SlideShow::MovePrevious() {
    if (currentPosition_ > 1) --currentPosition_;
}

void SlideShow::MoveNextOutOfTol() {
    const int32_t count = slides_.Count();
    if (currentPosition_ != count) {
        for (int32_t i = currentPosition_ + 1; i <= count; ++i) {
            if (slides_.IsOutOfTolerance(i)) {
                currentPosition_ = static_cast<int16_t>(i);
                return;
            }
        }
    }
    if (currentPosition_ == 1) return;
    for (int32_t i = 1; i < currentPosition_; ++i) {
        if (slides_.IsOutOfTolerance(i)) {
            currentPosition_ = static_cast<int16_t>(i);
            return;
        }
    }
}

int16_t SlideShow::ActiveHelpTopic() const {
    if (currentPosition_ >= 1 && currentPosition_ <= slides_.Count() && ActiveSlide().HelpTopic() >= 1)
        return ActiveSlide().HelpTopic();
    return helpTopic_ >= 1 ? helpTopic_ : kFallbackHelpTopic;
}

void SlideShow::UpdateReport(HostReport& host, std::span<const int16_t> rowFlags, std::span<const int16_t> columnFlags) {
    for (const auto& slide : slides_) slide->UpdateReport(host, rowFlags, columnFlags);
}

void SlideShow::BuildFileList(FileDataCollection& files) const {
    if (!helpFile_.empty()) {
        if (!FileExists(helpFile_)) throw Error(ErrorNumber::FileNotFound, "SlideShow", "File not found '" + helpFile_ + "'.");
        files.Add(helpFile_);
    }
    for (const auto& slide : slides_) slide->BuildFileList(files);
}

void SlideShow::UpdateFileList(const FileDataCollection& files) {
    if (!helpFile_.empty()) helpFile_ = files.FindNewFileName(helpFile_);
    for (const auto& slide : slides_) slide->UpdateFileList(files);
}

void SlideShow::InitializeSampleSet(int16_t sampleSize) {
    for (const auto& slide : slides_) slide->InitializeSampleSet(sampleSize);
}

void SlideShow::CollectSampleSet(SlideShow& other, std::string_view logName) const {
    const int32_t count = std::min(slides_.Count(), other.slides_.Count());
    for (int32_t i = 1; i <= count; ++i) slides_.Item(i).CollectSampleSet(other.slides_.Item(i), logName);
}

void SlideShow::CalculateAverage() {
    for (const auto& slide : slides_) slide->CalculateAverage();
}

}  // namespace kvo

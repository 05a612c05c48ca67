#pragma once

// The floor a show load is measured against: the same bytes read in one go
// and parsed by the shortest code that still converts every field into a
// compact record that owns its texts (the bytes are let go after a load), a
// show being three flat arrays. No messages, no limits, no checks beyond
// staying inside the bytes: what no loader can do without.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace kvo::bench {

struct FloorCell {
    double fraction = 0;
    double value = 0;
    double tolerances[4] = {};
    std::string type;
    int16_t symbol = 0, row = 0, column = 0, decimals = 0, tolerance = 0;
    bool isLimit = false;
    int16_t valueKind = 0;
};

struct FloorIcon {
    std::string name, fontName;
    int32_t left = 0, top = 0, leaderColor = 0, leaderX = 0, leaderY = 0, sequenceNumber = 0, fontColor = 0, nameColor = 0;
    int16_t bendPoint = 0, displayDigits = 0, fontSize = 0;
    bool drawLeader = false, isVertical = false, fontBold = false, bySequence = false;
    uint32_t firstCell = 0;
};

struct FloorSlide {
    std::string name, picture;
    int32_t backColor = 0;
    int16_t left = 0, top = 0, width = 0, height = 0, helpTopic = 0;
    bool enabled = false;
    uint32_t firstIcon = 0;
};

struct FloorShow {
    std::string name, description, customer, helpFile, header;
    int16_t helpTopic = 0;
    std::vector<FloorSlide> slides;
    std::vector<FloorIcon> icons;
    std::vector<FloorCell> cells;
};

struct FloorBytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
};

// One read into memory that is not cleared first.
inline FloorBytes ReadWhole(const std::string& path) {
    FloorBytes bytes;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat info {};
    fstat(fd, &info);
    bytes.size = static_cast<std::size_t>(info.st_size);
    bytes.data = std::make_unique_for_overwrite<char[]>(bytes.size);
    std::size_t done = 0;
    while (done < bytes.size) {
        const ssize_t got = read(fd, bytes.data.get() + done, bytes.size - done);
        if (got <= 0) break;
        done += static_cast<std::size_t>(got);
    }
    close(fd);
    return bytes;
}

template <typename T>
T Whole(std::string_view text) {
    long value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return static_cast<T>(value);
}

inline double Number(std::string_view text) {
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

inline bool Truth(std::string_view text) { return !text.empty() && (text[0] == 'T' || text[0] == 't'); }

constexpr uint32_t KeyHash(std::string_view key) {
    uint32_t hash = 2166136261u;
    for (char c : key) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619u;
    return hash;
}

inline FloorShow TextFloor(const std::string& path) {
    FloorShow show;
    const FloorBytes bytes = ReadWhole(path);
    const char* at = bytes.data.get();
    const char* const end = at + bytes.size;
    int depth = -1;
    while (at < end) {
        const char* lineEnd = static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
        if (lineEnd == nullptr) lineEnd = end;
        const char* first = at;
        const char* last = lineEnd;
        at = lineEnd + 1;
        while (first < last && (*first == ' ' || *first == '\t')) ++first;
        while (last > first && (last[-1] == ' ' || last[-1] == '\t' || last[-1] == '\r')) --last;
        if (first == last || *first == ';') continue;
        const std::string_view line(first, static_cast<std::size_t>(last - first));
        const auto equals = line.find('=');
        if (equals == std::string_view::npos) {
            if (line.size() == 3) {
                --depth;
                continue;
            }
            ++depth;
            if (depth == 1) show.slides.emplace_back().firstIcon = static_cast<uint32_t>(show.icons.size());
            if (depth == 2) show.icons.emplace_back().firstCell = static_cast<uint32_t>(show.cells.size());
            if (depth == 3) show.cells.emplace_back();
            continue;
        }
        const std::string_view key = line.substr(0, equals);
        std::string_view value = line.substr(equals + 1);
        const uint32_t hash = KeyHash(key);
        if (depth == 3) {
            FloorCell& cell = show.cells.back();
            switch (hash) {
                case KeyHash("TYPE"): cell.type = value; break;
                case KeyHash("SYMBOL"): cell.symbol = Whole<int16_t>(value); break;
                case KeyHash("ROW"): cell.row = Whole<int16_t>(value); break;
                case KeyHash("COLUMN"): cell.column = Whole<int16_t>(value); break;
                case KeyHash("PERCENTAGE"): cell.fraction = Number(value); break;
                case KeyHash("VALUE"):
                    if (const auto bar = value.find('|'); bar != std::string_view::npos) {
                        cell.valueKind = 5;
                        cell.value = Number(value.substr(bar + 1));
                    }
                    break;
                case KeyHash("FORMAT"): cell.decimals = Whole<int16_t>(value); break;
                case KeyHash("TOLERANCE"): cell.tolerance = Whole<int16_t>(value); break;
                case KeyHash("ISLIMIT"): cell.isLimit = Truth(value); break;
                default: break;
            }
        } else if (depth == 2) {
            FloorIcon& icon = show.icons.back();
            switch (hash) {
                case KeyHash("SEQNUMBER"): icon.bySequence = true; icon.sequenceNumber = Whole<int32_t>(value); break;
                case KeyHash("FEATURENAME"): icon.name = value; break;
                case KeyHash("LEFT"): icon.left = Whole<int32_t>(value); break;
                case KeyHash("TOP"): icon.top = Whole<int32_t>(value); break;
                case KeyHash("DRAWLEADER"): icon.drawLeader = Truth(value); break;
                case KeyHash("LEADERCOLOR"): icon.leaderColor = Whole<int32_t>(value); break;
                case KeyHash("LEADERX"): icon.leaderX = Whole<int32_t>(value); break;
                case KeyHash("LEADERY"): icon.leaderY = Whole<int32_t>(value); break;
                case KeyHash("BENDPOINT"): icon.bendPoint = Whole<int16_t>(value); break;
                case KeyHash("ISVERTICAL"): icon.isVertical = Truth(value); break;
                case KeyHash("DISPLAYDIGITS"): icon.displayDigits = Whole<int16_t>(value); break;
                case KeyHash("FONTNAME"): icon.fontName = value; break;
                case KeyHash("FONTSIZE"): icon.fontSize = Whole<int16_t>(value); break;
                case KeyHash("FONTBOLD"): icon.fontBold = Truth(value); break;
                case KeyHash("FONTCOLOR"): icon.fontColor = Whole<int32_t>(value); break;
                case KeyHash("NAMECOLOR"): icon.nameColor = Whole<int32_t>(value); break;
                default: break;
            }
        } else if (depth == 1) {
            FloorSlide& slide = show.slides.back();
            switch (hash) {
                case KeyHash("NAME"): slide.name = value; break;
                case KeyHash("ENABLED"): slide.enabled = Truth(value); break;
                case KeyHash("GRAPHIC"): slide.picture = value; break;
                case KeyHash("BACKCOLOR"): slide.backColor = Whole<int32_t>(value); break;
                case KeyHash("LEFT"): slide.left = Whole<int16_t>(value); break;
                case KeyHash("TOP"): slide.top = Whole<int16_t>(value); break;
                case KeyHash("WIDTH"): slide.width = Whole<int16_t>(value); break;
                case KeyHash("HEIGHT"): slide.height = Whole<int16_t>(value); break;
                case KeyHash("HELPTOPIC"): slide.helpTopic = Whole<int16_t>(value); break;
                default: break;
            }
        } else {
            switch (hash) {
                case KeyHash("NAME"): show.name = value; break;
                case KeyHash("DESCRIPTION"): show.description = value; break;
                case KeyHash("CUSTOMER"): show.customer = value; break;
                case KeyHash("HELPFILE"): show.helpFile = value; break;
                case KeyHash("HELPTOPIC"): show.helpTopic = Whole<int16_t>(value); break;
                default: break;
            }
        }
    }
    return show;
}

// Little-endian items straight out of the bytes; a read past the end stops
// the reading.
class FloorReader {
public:
    FloorReader(const char* at, const char* end) : at_(at), end_(end) {}
    bool Ok() const { return ok_; }
    template <typename T>
    T Get() {
        T value{};
        if (static_cast<std::size_t>(end_ - at_) < sizeof(T)) {
            ok_ = false;
            return value;
        }
        std::memcpy(&value, at_, sizeof(T));
        at_ += sizeof(T);
        return value;
    }
    std::string_view Text() {
        const int16_t count = Get<int16_t>();
        if (count <= 0) return {};
        if (end_ - at_ < count) {
            ok_ = false;
            return {};
        }
        const std::string_view text(at_, static_cast<std::size_t>(count));
        at_ += count;
        return text;
    }

private:
    const char* at_;
    const char* end_;
    bool ok_ = true;
};

inline FloorShow BinaryFloor(const std::string& path) {
    FloorShow show;
    const FloorBytes bytes = ReadWhole(path);
    FloorReader in(bytes.data.get() + 7, bytes.data.get() + bytes.size);
    show.header = in.Text();
    show.name = in.Text();
    show.description = in.Text();
    show.customer = in.Text();
    show.helpFile = in.Text();
    show.helpTopic = in.Get<int16_t>();
    const int32_t slides = in.Get<int32_t>();
    show.slides.reserve(static_cast<std::size_t>(std::max(slides, 0)));
    for (int32_t s = 0; s < slides && in.Ok(); ++s) {
        FloorSlide& slide = show.slides.emplace_back();
        slide.firstIcon = static_cast<uint32_t>(show.icons.size());
        slide.name = in.Text();
        slide.enabled = in.Get<int16_t>() != 0;
        slide.picture = in.Text();
        slide.backColor = in.Get<int32_t>();
        slide.left = in.Get<int16_t>();
        slide.top = in.Get<int16_t>();
        slide.width = in.Get<int16_t>();
        slide.height = in.Get<int16_t>();
        slide.helpTopic = in.Get<int16_t>();
        const int32_t icons = in.Get<int32_t>();
        for (int32_t i = 0; i < icons && in.Ok(); ++i) {
            FloorIcon& icon = show.icons.emplace_back();
            icon.firstCell = static_cast<uint32_t>(show.cells.size());
            icon.left = in.Get<int32_t>();
            icon.top = in.Get<int32_t>();
            icon.leaderColor = in.Get<int32_t>();
            icon.leaderX = in.Get<int32_t>();
            icon.leaderY = in.Get<int32_t>();
            icon.drawLeader = in.Get<int16_t>() != 0;
            icon.bendPoint = in.Get<int16_t>();
            icon.isVertical = in.Get<int16_t>() != 0;
            icon.displayDigits = in.Get<int16_t>();
            icon.fontName = in.Text();
            icon.fontSize = in.Get<int16_t>();
            icon.fontBold = in.Get<int16_t>() != 0;
            icon.fontColor = in.Get<int32_t>();
            icon.nameColor = in.Get<int32_t>();
            icon.bySequence = in.Get<int16_t>() != 0;
            if (icon.bySequence) icon.sequenceNumber = in.Get<int32_t>();
            else icon.name = in.Text();
            const int32_t cells = in.Get<int32_t>();
            for (int32_t c = 0; c < cells && in.Ok(); ++c) {
                FloorCell& cell = show.cells.emplace_back();
                cell.type = in.Text();
                cell.symbol = in.Get<int16_t>();
                cell.row = in.Get<int16_t>();
                cell.column = in.Get<int16_t>();
                cell.decimals = in.Get<int16_t>();
                cell.fraction = in.Get<double>();
                cell.tolerance = in.Get<int16_t>();
                cell.isLimit = in.Get<int16_t>() != 0;
                cell.valueKind = in.Get<int16_t>();
                if (cell.valueKind == 5) cell.value = in.Get<double>();
                for (double& tolerance : cell.tolerances) tolerance = in.Get<double>();
            }
        }
    }
    return show;
}

}  // namespace kvo::bench

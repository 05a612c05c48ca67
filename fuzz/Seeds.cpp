// kvo_fuzz_seeds FOLDER: writes a seed corpus for every fuzzer into
// FOLDER/<fuzzer>/: the example show in both formats, a package, the string
// tables, settings files, and small pictures of each kind, each with a few cut
// short as variants.
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iostream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "EmfPlusBytes.h"
#include "model/BinaryStream.h"
#include "model/ExportPackage.h"
#include "model/SlideShow.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/Paths.h"

namespace fs = std::filesystem;

namespace {

std::string ReadAll(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// The seed itself and, for the small variants, the same cut at a few places.
void Seed(const fs::path& folder, const std::string& name, const std::string& bytes, bool withCuts = true) {
    fs::create_directories(folder);
    std::ofstream(folder / name, std::ios::binary) << bytes;
    if (!withCuts || bytes.size() < 16) return;
    for (int part = 1; part < 4; ++part)
        std::ofstream(folder / (name + ".cut" + std::to_string(part)), std::ios::binary)
            << bytes.substr(0, bytes.size() * static_cast<std::size_t>(part) / 4);
}

// A folder for the files the seeds are made from, gone afterwards.
class Scratch {
public:
    explicit Scratch(fs::path folder) : folder_(std::move(folder)) { fs::create_directories(folder_); }
    ~Scratch() {
        std::error_code ignored;
        fs::remove_all(folder_, ignored);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    std::string File(const std::string& name) const { return (folder_ / name).string(); }

private:
    fs::path folder_;
};

class Bytes {
public:
    Bytes& U8(int v) {
        text_.push_back(static_cast<char>(v & 0xFF));
        return *this;
    }
    Bytes& U16(int v) { return U8(v).U8(v >> 8); }
    Bytes& U32(int64_t v) { return U16(static_cast<int>(v & 0xFFFF)).U16(static_cast<int>((v >> 16) & 0xFFFF)); }
    Bytes& Raw(const std::string& bytes) {
        text_ += bytes;
        return *this;
    }
    std::size_t Size() const { return text_.size(); }
    const std::string& Text() const { return text_; }

private:
    std::string text_;
};

// A BMP with an info header; pixels are the rows as stored.
std::string Bmp(int width, int height, int bits, int compression, int colours, const std::string& pixels) {
    Bytes info;
    info.U32(40).U32(width).U32(height).U16(1).U16(bits).U32(compression).U32(static_cast<int64_t>(pixels.size()));
    info.U32(3780).U32(3780).U32(colours).U32(0);
    for (int i = 0; i < colours; ++i) info.U8(i * 40).U8(255 - i * 30).U8(i * 70).U8(0);
    Bytes file;
    const std::size_t offset = 14 + info.Size();
    file.U8('B').U8('M').U32(static_cast<int64_t>(offset + pixels.size())).U32(0).U32(static_cast<int64_t>(offset));
    return file.Raw(info.Text()).Raw(pixels).Text();
}

void WriteBitmaps(const fs::path& folder) {
    Seed(folder, "rgb24.bmp", Bmp(3, 2, 24, 0, 0, std::string(12, '\x40') + std::string(12, '\x90')));
    Seed(folder, "mono.bmp", Bmp(9, 2, 1, 0, 2, std::string("\xAA\x80\0\0\x55\0\0\0", 8)));
    Seed(folder, "pal4.bmp", Bmp(4, 2, 4, 0, 3, std::string("\x01\x20\0\0\x12\x10\0\0", 8)));
    // Run-length coded: runs, an absolute run, a delta, end of line and of picture.
    Seed(folder, "rle8.bmp", Bmp(8, 3, 8, 1, 4, std::string("\x04\x01\x00\x04\x02\x03\x01\x00\x00\x00\x00\x02\x02\x01\x03\x02\x00\x01", 18)));
    Seed(folder, "rle4.bmp", Bmp(8, 2, 4, 2, 3, std::string("\x08\x12\x00\x00\x00\x03\x21\x20\x00\x00\x00\x01", 12)));
}

// Windows metafile records: size in words, function, parameters.
std::string Wmf(bool placeable, const std::vector<std::vector<int>>& records) {
    Bytes body;
    std::size_t largest = 3;
    for (const auto& r : records) {
        body.U32(static_cast<int64_t>(r.size() + 2)).U16(r[0]);
        for (std::size_t i = 1; i < r.size(); ++i) body.U16(r[i]);
        largest = std::max(largest, r.size() + 2);
    }
    body.U32(3).U16(0);
    Bytes file;
    if (placeable) {
        const int words[] = {0xCDD7, 0x9AC6, 0, 0, 0, 1000, 800, 1440, 0, 0};
        int checksum = 0;
        for (int w : words) file.U16(w), checksum ^= w;
        file.U16(checksum);
    }
    file.U16(1).U16(9).U16(0x0300).U32(static_cast<int64_t>(9 + body.Size() / 2)).U16(4).U32(static_cast<int64_t>(largest)).U16(0);
    return file.Raw(body.Text()).Text();
}

void WriteMetafiles(const fs::path& wmf, const fs::path& emf) {
    const std::vector<int> window = {0x020B, 0, 0}, extent = {0x020C, 800, 1000};
    Seed(wmf, "shapes.wmf",
         Wmf(true, {window, extent,
                    {0x02FA, 0, 5, 0, 0x00FF, 0},              // CreatePenIndirect
                    {0x012D, 0},                               // SelectObject
                    {0x02FC, 0, 0x8000, 0x0080, 0},            // CreateBrushIndirect
                    {0x012D, 1},
                    {0x041B, 700, 900, 100, 100},              // Rectangle
                    {0x0418, 600, 500, 200, 200},              // Ellipse
                    {0x0214, 50, 50}, {0x0213, 750, 950},      // MoveTo, LineTo
                    {0x0324, 3, 10, 10, 500, 10, 250, 400},    // Polygon
                    {0x0817, 0, 0, 800, 0, 600, 600, 0, 0},    // Arc
                    {0x01F0, 1}}));                            // DeleteObject
    Seed(wmf, "text.wmf",
         Wmf(false, {window, extent,
                     {0x02FB, 120, 0, 0, 0, 700, 0, 0, 0, 0x4142, 0x4344, 0},  // CreateFontIndirect "ABCD"
                     {0x012D, 0},
                     {0x0209, 0x00FF, 0},                                       // SetTextColor
                     {0x0521, 5, 0x6548, 0x6C6C, 0x006F, 300, 100}}));          // TextOut "Hello"
    // SaveDC and RestoreDC around a changed mapping, and a region record shorter than libwmf wants.
    Seed(wmf, "restore.wmf",
         Wmf(true, {window, extent, {0x001E}, {0x020B, 100, 100}, {0x020C, 50, 50}, {0x041B, 40, 40, 0, 0},
                    {0x0127, 0xFFFF}, {0x06FF, 0, 0, 0}, {0x012B, 0, 0}, {0x041B, 400, 400, 0, 0}}));

    // An enhanced metafile: header record, a few drawing records, end of file.
    Bytes records;
    const auto record = [&](int type, std::initializer_list<int64_t> params) {
        records.U32(type).U32(static_cast<int64_t>(8 + params.size() * 4));
        for (int64_t p : params) records.U32(p);
    };
    record(27, {10, 10});                 // MoveToEx
    record(54, {300, 200});               // LineTo
    record(43, {20, 20, 200, 150});       // Rectangle
    record(42, {100, 50, 300, 250});      // Ellipse
    // A wide pen, a path filled and outlined, a clipping rectangle, a gradient, text and a bitmap.
    record(38, {1, 0, 5, 0, 0x0000FF});                                            // CreatePen
    record(37, {1});                                                               // SelectObject
    record(59, {});                                                                // BeginPath
    record(27, {40, 40}), record(54, {200, 60}), record(54, {90, 180});            // MoveToEx, LineTo
    record(61, {}), record(60, {}), record(63, {0, 0, 319, 239});                 // CloseFigure, EndPath, StrokeAndFillPath
    record(30, {10, 10, 250, 200});                                                // IntersectClipRect
    record(118, {0, 0, 319, 239, 2, 1, 0, 10, 10, 0xFF00, 0xFF000000, 300, 200, 0xFF000000, 0xFF00FF00, 0, 1});  // GradientFill
    record(84, {0, 0, 100, 100, 1, 0, 0, 50, 60, 2, 76, 0, 0, 0, 0, 0, 0, 0x00690048});  // ExtTextOutW "Hi"
    record(81, {0, 0, 2, 2, 5, 5, 0, 0, 2, 2, 80, 40, 120, 16, 0, 0x00CC0020, 40, 40,    // StretchDIBits of a
                40, 2, 2, 1 | (24 << 16), 0, 16, 0, 0, 0, 0,                             // 2 x 2 bitmap
                0x00FF0000, 0x00FF00FF, 0x00FF0000, 0x0000FF00});
    record(14, {0, 0, 20});               // EOF
    Bytes header;
    const int64_t headerSize = 108;
    header.U32(1).U32(headerSize).U32(0).U32(0).U32(319).U32(239)  // type, size, bounds
        .U32(0).U32(0).U32(8467).U32(6350)                          // frame in 0.01 mm
        .U32(0x464D4520).U32(0x10000)                               // " EMF", version
        .U32(static_cast<int64_t>(headerSize + records.Size())).U32(6).U16(0).U16(0)
        .U32(0).U32(0).U32(0)                                       // description, palette
        .U32(1024).U32(768).U32(320).U32(240)                       // device in pixels and mm
        .U32(0).U32(0).U32(0).U32(320000).U32(240000);              // pixel format, OpenGL, micrometres
    Seed(emf, "shapes.emf", header.Raw(records.Text()).Text());

    // EMF+ alone: objects, transforms, clipping and text; then a dual file
    // whose EMF+ stream hands drawing to old-style records.
    using kvo::test::Float;
    using kvo::test::Shorts;
    kvo::test::EmfPlusFile plus;
    plus.Plus(0x4008, 0x0100, {0xDBC01002, 0, 0xFF2040C0})                                      // solid brush 0
        .Plus(0x4008, 0x0201, {0xDBC01002, 0, 0x20, 0, Float(3), 1, 0xDBC01002, 0, 0xFF000000})  // dashed pen 1
        .Plus(0x4008, 0x0302, {0xDBC01002, 3, 0, Float(10), Float(10), Float(90), Float(10), Float(50), Float(80),
                               0x00810100})                                                      // triangle path 2
        .Plus(0x4008, 0x0103, {0xDBC01002, 4, 0, 0, Float(0), Float(0), Float(192), Float(96), 0xFFFF0000, 0xFF0000FF, 0, 0})
        .Plus(0x4008, 0x0604, {0xDBC01002, Float(12), 2, 1, 0, 4, Shorts('S', 'a'), Shorts('n', 's')})  // font 4
        .Plus(0x4008, 0x0405, {0xDBC01002, 3, 2, 0x10000000, Float(0), Float(0), Float(100), Float(60), 0x10000000,
                               Float(50), Float(30), Float(100), Float(60)})  // region 5: two rectangles joined
        .Plus(0x4025, 0, {1})
        .Plus(0x402D, 0, {Float(20), Float(5)})
        .Plus(0x4034, 0x0105, {})
        .Plus(0x4014, 0x0002, {3})
        .Plus(0x4015, 0x0002, {1})
        .Plus(0x4026, 0, {1})
        .Plus(0x400A, 0x8000, {0xFF00FF00, 1, Float(150), Float(10), Float(30), Float(30)})
        .Plus(0x4010, 0x4000, {0, Float(0), Float(270), Shorts(120, 50), Shorts(40, 40)})
        .Plus(0x4018, 0x0001, {Float(0.5), 0, 2, 3, Float(10), Float(90), Float(60), Float(50), Float(110), Float(90)})
        .Plus(0x401C, 0x8004, {0xFF000000, 0xFFFFFFFF, 2, Float(100), Float(60), Float(90), Float(30), Shorts('E', 'M')})
        .Plus(0x4002, 0, {});
    Seed(emf, "emfplus.emf", plus.Bytes());
    kvo::test::EmfPlusFile dual(true);
    dual.Plus(0x400A, 0x8000, {0xFF0000FF, 1, Float(0), Float(0), Float(50), Float(50)})
        .Old(43, {0, 0, 50, 50})  // the same square, old style
        .Plus(0x4004, 0, {})
        .Old(43, {100, 20, 180, 80})
        .Plus(0x4002, 0, {});
    Seed(emf, "dual.emf", dual.Bytes());
}

void WriteShows(const fs::path& out) {
    const std::string example = kvo::JoinPath(kvo::EditorDataDirectory(), "samples/GearHousing.pdz");
    if (!kvo::FileExists(example)) throw std::runtime_error("the example show is not built: " + example);
    const Scratch scratch(out / ".scratch");
    kvo::SlideShow show;
    show.LoadFromFile(example);
    show.SaveToFile(scratch.File("example.pdz"));
    show.SaveToBinary(scratch.File("example.pdx"));
    kvo::SlideShow empty;
    empty.SaveToFile(scratch.File("empty.pdz"));
    empty.SaveToBinary(scratch.File("empty.pdx"));
    for (const char* name : {"example", "empty"}) {
        Seed(out / "text_show", std::string(name) + ".pdz", ReadAll(scratch.File(std::string(name) + ".pdz")));
        // The binary fuzzer supplies the tag itself.
        const std::string binary = ReadAll(scratch.File(std::string(name) + ".pdx"));
        Seed(out / "binary_show", std::string(name) + ".pdx", binary.substr(kvo::BinaryStream::kMagic.size()));
    }

    // A package of a show with two small pictures: a large one would only slow the fuzzer.
    kvo::SlideShow small;
    small.SetName("Seed");
    for (const char* picture : {"front.bmp", "top.bmp"}) {
        std::ofstream(scratch.File(picture), std::ios::binary) << Bmp(2, 1, 24, 0, 0, std::string(8, '\x20'));
        small.Slides().Add().SetPictureFile(scratch.File(picture));
    }
    small.SaveToFile(scratch.File("small.pdz"));
    kvo::ExportSlideShow(scratch.File("small.pdz"), scratch.File("small.exp"), "seed package");
    Seed(out / "package", "small.exp", ReadAll(scratch.File("small.exp")));
    Seed(out / "report", "part7.rpt", ReadAll(kvo::JoinPath(kvo::EditorDataDirectory(), "samples/GearHousing-part7.rpt")));
    Seed(out / "qif_results", "parts7-8.qif", ReadAll(kvo::JoinPath(kvo::EditorDataDirectory(), "samples/GearHousing-results.qif")));
}

void WriteTexts(const fs::path& out) {
    for (const char* table : {"ENU31000.str", "DEU31000.str"}) {
        const std::string text = ReadAll(kvo::JoinPath(kvo::EditorDataDirectory(), table));
        Seed(out / "string_table", std::string(table) + ".head", text.substr(0, 600), false);
        Seed(out / "string_table", table, text, false);
    }
    Seed(out / "string_table", "odd.str", "; comment\n31000=first\n\n31001 = spaced\n31002=\n=no id\n99999999999=big\n");
    Seed(out / "settings", "export5.reg",
         "Windows Registry Editor Version 5.00\r\n\r\n; by hand\r\n"
         "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Orlanvex\\Tessiva\\Settings]\r\n"
         "\"DefaultLanguage\"=\"1031\"\r\n\"Quote\"=\"say \\\"hi\\\"\"\r\n@=\"default\"\r\n"
         "\"Count\"=dword:0000002a\r\n\"Big\"=hex(b):01,00,00,00,00,00,00,00\r\n"
         "\"Path\"=hex(2):25,00,50,00,41,00,25,00,\\\r\n  00,00\r\n\"List\"=hex(7):61,00,00,00,00,00\r\n"
         "\"Raw\"=hex:01,02,ff\r\n\"Gone\"=-\r\n\r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Old]\r\n");
    Seed(out / "settings", "regedit4.reg", "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"S\"=hex(2):61,62,00\r\n");
    Bytes utf16;
    utf16.U8(0xFF).U8(0xFE);
    for (char c : std::string("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\K]\r\n\"S\"=\"text\"\r\n"))
        utf16.U16(static_cast<unsigned char>(c));
    Seed(out / "settings", "utf16.reg", utf16.Text());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: kvo_fuzz_seeds FOLDER\n";
        return 2;
    }
    try {
        kvo::SetLanguage(1033);
        kvo::InitResources();
        const fs::path out = argv[1];
        WriteShows(out);
        WriteTexts(out);
        WriteBitmaps(out / "bitmap");
        WriteMetafiles(out / "wmf", out / "emf");
    } catch (const std::exception& error) {
        std::cerr << "kvo_fuzz_seeds: " << error.what() << '\n';
        return 1;
    }
    return 0;
}

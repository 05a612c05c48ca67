#include "Variant.h"

#include <type_traits>

#include "BlockParser.h"
#include "services/Convert.h"
#include "services/Error.h"
#include "services/Language.h"
#include "services/StringIds.h"
#include "services/Text.h"

namespace kvo {

namespace {

constexpr int16_t kUnsupportedDecoded = 9;  // what "UNSUPPORTED" reads back as: an object

[[noreturn]] void InvalidUseOfNull() { throw Error(ErrorNumber::InvalidUseOfNull, "Variant", "Invalid use of Null"); }
[[noreturn]] void Unsupported() { throw Error(ErrorNumber::TypeMismatch, "Variant", "Type mismatch: the value has no number or text"); }

template <class... Ts>
struct Overloaded : Ts... {
    using Ts::operator()...;
};
template <class... Ts>
Overloaded(Ts...) -> Overloaded<Ts...>;

struct KindWord {
    std::string_view word;
    int16_t kind;
};
constexpr KindWord kWords[] = {
    {"INTEGER", Variant::Integer}, {"LONG", Variant::Long},     {"SINGLE", Variant::Single},
    {"DOUBLE", Variant::Double},   {"DATE", Variant::Date},     {"STRING", Variant::String},
    {"BOOLEAN", Variant::Boolean}, {"BYTE", Variant::Byte},
};

}  // namespace

int16_t Variant::Type() const {
    return std::visit(Overloaded{
                          [](std::monostate) -> int16_t { return Empty; },
                          [](NullValue) -> int16_t { return Null; },
                          [](int16_t) -> int16_t { return Integer; },
                          [](int32_t) -> int16_t { return Long; },
                          [](float) -> int16_t { return Single; },
                          [](double) -> int16_t { return Double; },
                          [](DateValue) -> int16_t { return Date; },
                          [](const std::string&) -> int16_t { return String; },
                          [](bool) -> int16_t { return Boolean; },
                          [](uint8_t) -> int16_t { return Byte; },
                          [](UnsupportedValue u) -> int16_t { return u.typeNumber; },
                      },
                      value_);
}

double Variant::ToDouble() const {
    return std::visit(Overloaded{
                          [](std::monostate) { return 0.0; },
                          [](NullValue) -> double { InvalidUseOfNull(); },
                          [](DateValue d) { return d.days; },
                          [](const std::string& s) { return kvo::ToDouble(s); },
                          [](bool b) { return b ? -1.0 : 0.0; },
                          [](UnsupportedValue) -> double { Unsupported(); },
                          [](auto number) { return static_cast<double>(number); },
                      },
                      value_);
}

int16_t Variant::ToInteger() const {
    if (const auto* text = std::get_if<std::string>(&value_)) return kvo::ToInteger(*text);
    return RoundToInteger(ToDouble());
}

int32_t Variant::ToLong() const {
    if (const auto* text = std::get_if<std::string>(&value_)) return kvo::ToLong(*text);
    return RoundToLong(ToDouble());
}

bool Variant::ToBoolean() const {
    if (const auto* text = std::get_if<std::string>(&value_)) return kvo::ToBoolean(*text);
    return ToDouble() != 0.0;
}

std::string Variant::ToText() const {
    return std::visit(Overloaded{
                          [](std::monostate) { return std::string(); },
                          [](NullValue) -> std::string { InvalidUseOfNull(); },
                          [](float f) { return FormatSingle(f); },
                          [](double d) { return FormatDouble(d); },
                          [](DateValue d) { return FormatDate(d.days); },
                          [](const std::string& s) { return s; },
                          [](bool b) { return FormatBoolean(b); },
                          [](UnsupportedValue) -> std::string { Unsupported(); },
                          [](auto whole) { return std::to_string(whole); },
                      },
                      value_);
}

void Variant::Encode(std::string& out) const {
    const int16_t type = Type();
    if (type == Empty) {
        out += "EMPTY";
        return;
    }
    if (type == Null) {
        out += "NULL";
        return;
    }
    for (const auto& entry : kWords) {
        if (entry.kind != type) continue;
        out.append(entry.word).append(1, '|');
        if (const auto* number = std::get_if<double>(&value_)) AppendDouble(out, *number);
        else out += ToText();
        return;
    }
    out += "UNSUPPORTED";
}

Variant Variant::Decode(std::string_view text) {
    static constexpr KeyTable kDecoded{"EMPTY", "NULL", "UNSUPPORTED", "INTEGER", "LONG", "SINGLE", "DOUBLE", "DATE", "STRING", "BOOLEAN", "BYTE"};
    const auto bar = text.find('|');
    const std::string_view word = text.substr(0, bar);
    const std::string_view rest = bar == std::string_view::npos ? std::string_view() : text.substr(bar + 1);
    const std::string_view number = rest.empty() ? std::string_view("0") : rest;
    switch (kDecoded.Find(word)) {
        case kDecoded["EMPTY"]: return Variant();
        case kDecoded["NULL"]: return MakeNull();
        case kDecoded["UNSUPPORTED"]: return MakeUnsupported(kUnsupportedDecoded);
        case kDecoded["INTEGER"]: return Variant(kvo::ToInteger(number));
        case kDecoded["LONG"]: return Variant(kvo::ToLong(number));
        case kDecoded["SINGLE"]: return Variant(kvo::ToSingle(number));
        case kDecoded["DOUBLE"]: return Variant(kvo::ToDouble(number));
        case kDecoded["DATE"]: return MakeDate(rest.empty() ? 0.0 : ToDate(rest));
        case kDecoded["STRING"]: return Variant(std::string(rest));
        case kDecoded["BOOLEAN"]: return Variant(kvo::ToBoolean(number));
        case kDecoded["BYTE"]: return Variant(kvo::ToByte(number));
        default: throw Error(ErrorNumber::TypeMismatch, "Variant", FormatResString(Str::NotAValue, {Excerpt(text)}));
    }
}

}  // namespace kvo

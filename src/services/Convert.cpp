#include "Convert.h"

#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Error.h"
#include "Text.h"

namespace kvo {

namespace {

constexpr const char* kSource = "Convert";

[[noreturn]] void TypeMismatch(std::string_view text, const char* target) {
    throw Error(ErrorNumber::TypeMismatch, kSource,
                "Type mismatch: \"" + std::string(text) + "\" is not " + target);
}

[[noreturn]] void Overflow(std::string_view what, const char* target) {
    throw Error(ErrorNumber::Overflow, kSource, "Overflow: " + std::string(what) + " does not fit " + target);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The special texts the classic runtime writes for values that are no finite number.
struct SpecialValue {
    std::string_view text;
    double value;
};
const std::array<SpecialValue, 4> kSpecialValues{{
    {"1.#INF", std::numeric_limits<double>::infinity()},
    {"-1.#INF", -std::numeric_limits<double>::infinity()},
    {"1.#QNAN", std::numeric_limits<double>::quiet_NaN()},
    {"-1.#IND", -std::numeric_limits<double>::quiet_NaN()},
}};

// "&H" hex or "&O" octal: the 32-bit pattern, so "&HFFFFFFFF" is -1 as a Long.
bool ParseRadix(std::string_view text, uint32_t& bits) {
    if (text.size() < 3 || text[0] != '&') return false;
    const char marker = ToUpperAscii(text[1]);
    const int base = marker == 'H' ? 16 : marker == 'O' ? 8 : 0;
    if (base == 0) return false;
    const char* first = text.data() + 2;
    const char* last = text.data() + text.size();
    uint64_t value = 0;
    const auto [ptr, ec] = std::from_chars(first, last, value, base);
    if (ec != std::errc() || ptr != last || value > 0xFFFFFFFFull) return false;
    bits = static_cast<uint32_t>(value);
    return true;
}

// Strict decimal grammar: [sign] digits [. digits] [E|D [sign] digits], digits on
// at least one side of the point. Fills a normalised copy for from_chars.
bool NormaliseDecimal(std::string_view text, std::string& out, long& decimalExponentEstimate) {
    std::size_t i = 0;
    out.clear();
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) {
        if (text[i] == '-') out.push_back('-');
        ++i;
    }
    std::size_t intDigits = 0, fracDigits = 0;
    long leadingFracZeros = -1;
    long significantIntDigits = 0;
    bool seenNonZero = false;
    for (; i < text.size() && IsDigit(text[i]); ++i, ++intDigits) {
        out.push_back(text[i]);
        if (text[i] != '0') seenNonZero = true;
        if (seenNonZero) ++significantIntDigits;
    }
    if (i < text.size() && text[i] == '.') {
        out.push_back('.');
        ++i;
        for (; i < text.size() && IsDigit(text[i]); ++i, ++fracDigits) {
            out.push_back(text[i]);
            if (leadingFracZeros < 0 && text[i] != '0') leadingFracZeros = static_cast<long>(fracDigits);
        }
    }
    if (intDigits + fracDigits == 0) return false;
    long exponent = 0;
    if (i < text.size() && (ToUpperAscii(text[i]) == 'E' || ToUpperAscii(text[i]) == 'D')) {
        out.push_back('e');
        ++i;
        std::size_t expStart = out.size();
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) out.push_back(text[i++]);
        std::size_t expDigits = 0;
        for (; i < text.size() && IsDigit(text[i]); ++i, ++expDigits) out.push_back(text[i]);
        if (expDigits == 0) return false;
        const std::string_view expText(out.data() + expStart, out.size() - expStart);
        const char* expFirst = expText.data() + (expText[0] == '+' ? 1 : 0);
        if (std::from_chars(expFirst, expText.data() + expText.size(), exponent).ec != std::errc())
            exponent = expText[0] == '-' ? std::numeric_limits<long>::min() / 2 : std::numeric_limits<long>::max() / 2;
    }
    if (i != text.size()) return false;
    decimalExponentEstimate = significantIntDigits > 0 ? significantIntDigits - 1 + exponent
                              : leadingFracZeros >= 0   ? -(leadingFracZeros + 1) + exponent
                                                        : 0;
    return true;
}

// Parses a number; whole is set when it came from "&H" / "&O" so callers can
// reinterpret the bit pattern.
double ParseNumber(std::string_view original, const char* target, bool& fromRadix, uint32_t& radixBits) {
    const std::string_view text = Trim(original);
    fromRadix = ParseRadix(text, radixBits);
    if (fromRadix) return static_cast<double>(radixBits);
    for (const auto& special : kSpecialValues)
        if (text == special.text) return special.value;
    std::string normalised;
    long magnitude = 0;
    if (!NormaliseDecimal(text, normalised, magnitude)) TypeMismatch(original, target);
    double value = 0;
    const auto [ptr, ec] = std::from_chars(normalised.data(), normalised.data() + normalised.size(), value);
    if (ec == std::errc::result_out_of_range) {
        if (magnitude < 0) return 0.0;  // underflow reads as zero, as it always has
        Overflow(Trim(original), target);
    }
    if (ec != std::errc() || ptr != normalised.data() + normalised.size()) TypeMismatch(original, target);
    return value;
}

template <typename T>
T RoundChecked(double value, const char* target, std::string_view shown) {
    if (std::isnan(value)) Overflow(shown, target);
    const double rounded = std::nearbyint(value);  // default mode: ties to even
    if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<T>::max()))
        Overflow(shown, target);
    return static_cast<T>(rounded);
}

std::string FormatGeneral(char* first, char* last) {
    std::string text(first, last);
    const auto e = text.find('e');
    if (e != std::string::npos) text[e] = 'E';
    if (text == "-0") text = "0";
    return text;
}

}  // namespace

int16_t ToInteger(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, "an Integer", radix, bits);
    if (radix) {
        if (bits > 0xFFFF) Overflow(Trim(text), "an Integer");
        return static_cast<int16_t>(static_cast<uint16_t>(bits));
    }
    return RoundChecked<int16_t>(value, "an Integer", Trim(text));
}

int32_t ToLong(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, "a Long", radix, bits);
    if (radix) return static_cast<int32_t>(bits);
    return RoundChecked<int32_t>(value, "a Long", Trim(text));
}

uint8_t ToByte(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, "a Byte", radix, bits);
    return RoundChecked<uint8_t>(value, "a Byte", Trim(text));
}

double ToDouble(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, "a Double", radix, bits);
    return radix ? static_cast<double>(static_cast<int32_t>(bits)) : value;
}

float ToSingle(std::string_view text) {
    const double value = ToDouble(text);
    if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) Overflow(Trim(text), "a Single");
    return static_cast<float>(value);
}

bool ToBoolean(std::string_view text) {
    const std::string_view trimmed = Trim(text);
    if (EqualsNoCase(trimmed, "True")) return true;
    if (EqualsNoCase(trimmed, "False")) return false;
    bool radix = false;
    uint32_t bits = 0;
    return ParseNumber(text, "a Boolean", radix, bits) != 0.0;
}

int16_t RoundToInteger(double value) { return RoundChecked<int16_t>(value, "an Integer", FormatDouble(value)); }

int32_t RoundToLong(double value) { return RoundChecked<int32_t>(value, "a Long", FormatDouble(value)); }

std::string FormatDouble(double value) {
    if (std::isinf(value)) return value > 0 ? "1.#INF" : "-1.#INF";
    if (std::isnan(value)) return std::signbit(value) ? "-1.#IND" : "1.#QNAN";
    std::array<char, 40> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 15);
    return FormatGeneral(buffer.data(), result.ptr);
}

std::string FormatSingle(float value) {
    if (!std::isfinite(value)) return FormatDouble(value);
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 7);
    return FormatGeneral(buffer.data(), result.ptr);
}

std::string FormatBoolean(bool value) { return value ? "True" : "False"; }

}  // namespace kvo

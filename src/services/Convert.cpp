#include "Convert.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Error.h"
#include "Language.h"
#include "StringIds.h"
#include "Text.h"

namespace kvo {

namespace {

constexpr const char* kSource = "Convert";

// What a text was to become, in the words of the user's message.
struct Target {
    int32_t notSuch;  // the text is no such value
    const char* lowest;
    const char* highest;
};
constexpr Target kInteger{Str::ConvertNotWholeNumber, "-32768", "32767"};
constexpr Target kLong{Str::ConvertNotWholeNumber, "-2147483648", "2147483647"};
constexpr Target kByte{Str::ConvertNotWholeNumber, "0", "255"};
constexpr Target kSingle{Str::ConvertNotNumber, "-3.402823E+38", "3.402823E+38"};
constexpr Target kDouble{Str::ConvertNotNumber, "-1.79769313486232E+308", "1.79769313486232E+308"};
constexpr Target kBoolean{Str::ConvertNotBoolean, "-1.79769313486232E+308", "1.79769313486232E+308"};
constexpr Target kDate{Str::ConvertNotDate, "100-01-01", "9999-12-31"};

[[noreturn]] void TypeMismatch(std::string_view text, const Target& target) {
    throw Error(ErrorNumber::TypeMismatch, kSource, FormatResString(target.notSuch, {Excerpt(text)}));
}

[[noreturn]] void Overflow(std::string_view what, const Target& target) {
    throw Error(ErrorNumber::Overflow, kSource, FormatResString(Str::ConvertOutOfRange, {Excerpt(what), target.lowest, target.highest}));
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
// at least one side of the point. Gives where the exponent letter stands (npos
// without one) and the decimal exponent of the first significant digit, which
// tells an overflow from an underflow.
bool ScanDecimal(std::string_view text, std::size_t& letter, long& magnitude) {
    std::size_t i = 0;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
    std::size_t intDigits = 0, fracDigits = 0;
    long leadingFracZeros = -1;
    long significantIntDigits = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i, ++intDigits)
        if (significantIntDigits > 0 || text[i] != '0') ++significantIntDigits;
    if (i < text.size() && text[i] == '.') {
        for (++i; i < text.size() && IsDigit(text[i]); ++i, ++fracDigits)
            if (leadingFracZeros < 0 && text[i] != '0') leadingFracZeros = static_cast<long>(fracDigits);
    }
    if (intDigits + fracDigits == 0) return false;
    long exponent = 0;
    letter = std::string_view::npos;
    if (i < text.size() && (ToUpperAscii(text[i]) == 'E' || ToUpperAscii(text[i]) == 'D')) {
        letter = i++;
        const bool negative = i < text.size() && text[i] == '-';
        if (i < text.size() && (text[i] == '+' || text[i] == '-')) ++i;
        const std::size_t digitsFrom = i;
        for (; i < text.size() && IsDigit(text[i]); ++i)
            exponent = std::min(exponent * 10 + (text[i] - '0'), std::numeric_limits<long>::max() / 20);
        if (i == digitsFrom) return false;
        if (negative) exponent = -exponent;
    }
    if (i != text.size()) return false;
    magnitude = significantIntDigits > 0 ? significantIntDigits - 1 + exponent
                : leadingFracZeros >= 0  ? -(leadingFracZeros + 1) + exponent
                                         : 0;
    return true;
}

// from_chars straight on the text: it reads E but not D, and no plus sign
// before the number, so only those two are changed, on a copy.
double ParseDecimal(std::string_view text, const Target& target, std::string_view original) {
    std::size_t letter = std::string_view::npos;
    long magnitude = 0;
    if (!ScanDecimal(text, letter, magnitude)) TypeMismatch(original, target);
    if (text.front() == '+') {
        text.remove_prefix(1);
        if (letter != std::string_view::npos) --letter;
    }
    std::string copy;
    if (letter != std::string_view::npos && ToUpperAscii(text[letter]) == 'D') {
        copy.assign(text);
        copy[letter] = 'e';
        text = copy;
    }
    double value = 0;
    const auto [ptr, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (ec == std::errc::result_out_of_range) {
        if (magnitude < 0) return 0.0;  // underflow reads as zero, as it always has
        Overflow(Trim(original), target);
    }
    if (ec != std::errc() || ptr != text.data() + text.size()) TypeMismatch(original, target);
    return value;
}

// Plain decimals of up to fifteen digits are most of what a slide show holds
// ("80", "-3", "0.8"): their digits make a whole number that a double holds
// exactly, and one division by an exact power of ten rounds it as reading the
// text would. They need neither the special forms nor a copy for from_chars.
bool ParseShortDecimal(std::string_view text, double& value) {
    static constexpr double kTens[] = {1, 1e1, 1e2, 1e3, 1e4, 1e5, 1e6, 1e7, 1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    int64_t whole = 0;
    int digits = 0;
    int decimals = -1;  // none until the point
    for (char c : text) {
        if (IsDigit(c)) {
            if (++digits > 15) return false;
            whole = whole * 10 + (c - '0');
            if (decimals >= 0) ++decimals;
        } else if (c == '.' && decimals < 0) {
            decimals = 0;
        } else {
            return false;
        }
    }
    if (digits == 0) return false;
    const double magnitude = decimals > 0 ? static_cast<double>(whole) / kTens[decimals] : static_cast<double>(whole);
    value = negative ? -magnitude : magnitude;
    return true;
}

// "80", "-3", "12895428": most whole numbers of a file, taken without the
// general path when the type holds them.
template <typename T>
bool ParseShortWhole(std::string_view text, T& value) {
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) text.remove_prefix(1);
    if (text.empty() || text.size() > 9) return false;
    int64_t whole = 0;
    for (char c : text) {
        if (!IsDigit(c)) return false;
        whole = whole * 10 + (c - '0');
    }
    if (negative) whole = -whole;
    if (whole < std::numeric_limits<T>::min() || whole > std::numeric_limits<T>::max()) return false;
    value = static_cast<T>(whole);
    return true;
}

// Parses a number; whole is set when it came from "&H" / "&O" so callers can
// reinterpret the bit pattern.
double ParseNumber(std::string_view original, const Target& target, bool& fromRadix, uint32_t& radixBits) {
    const std::string_view text = Trim(original);
    fromRadix = false;
    if (double plain = 0; ParseShortDecimal(text, plain)) return plain;
    fromRadix = ParseRadix(text, radixBits);
    if (fromRadix) return static_cast<double>(radixBits);
    for (const auto& special : kSpecialValues)
        if (text == special.text) return special.value;
    return ParseDecimal(text, target, original);
}

template <typename T>
T RoundChecked(double value, const Target& target, std::string_view shown) {
    if (std::isnan(value)) Overflow(shown, target);
    const double rounded = std::nearbyint(value);  // default mode: ties to even
    if (rounded < static_cast<double>(std::numeric_limits<T>::min()) ||
        rounded > static_cast<double>(std::numeric_limits<T>::max()))
        Overflow(shown, target);
    return static_cast<T>(rounded);
}

void AppendGeneral(std::string& out, char* first, char* last) {
    if (last - first == 2 && first[0] == '-' && first[1] == '0') ++first;
    std::replace(first, last, 'e', 'E');
    out.append(first, last);
}

std::string FormatGeneral(char* first, char* last) {
    std::string text;
    AppendGeneral(text, first, last);
    return text;
}

// Most doubles of a file are short decimals (0.8, 0.0125): when a whole number
// of millionths reads back as the value exactly, those digits are the value
// rounded to 15 significant ones, written without the general conversion.
bool AppendMillionths(std::string& out, double value) {
    const double size = std::fabs(value);
    if (size < 1e-4 || size >= 1e9) return false;
    const double millionths = std::nearbyint(value * 1e6);
    if (millionths / 1e6 != value) return false;
    auto whole = static_cast<int64_t>(millionths);
    if (whole < 0) {
        out += '-';
        whole = -whole;
    }
    char digits[24];
    char* end = std::to_chars(digits, digits + sizeof digits, whole / 1000000).ptr;
    if (int64_t fraction = whole % 1000000; fraction != 0) {
        *end++ = '.';
        for (int64_t unit = 100000; fraction != 0; unit /= 10) {
            *end++ = static_cast<char>('0' + fraction / unit);
            fraction %= unit;
        }
    }
    out.append(digits, end);
    return true;
}

}  // namespace

int16_t ToInteger(std::string_view text) {
    if (int16_t whole = 0; ParseShortWhole(text, whole)) return whole;
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, kInteger, radix, bits);
    if (radix) {
        if (bits > 0xFFFF) Overflow(Trim(text), kInteger);
        return static_cast<int16_t>(static_cast<uint16_t>(bits));
    }
    return RoundChecked<int16_t>(value, kInteger, Trim(text));
}

int32_t ToLong(std::string_view text) {
    if (int32_t whole = 0; ParseShortWhole(text, whole)) return whole;
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, kLong, radix, bits);
    if (radix) return static_cast<int32_t>(bits);
    return RoundChecked<int32_t>(value, kLong, Trim(text));
}

uint8_t ToByte(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, kByte, radix, bits);
    return RoundChecked<uint8_t>(value, kByte, Trim(text));
}

double ToDouble(std::string_view text) {
    bool radix = false;
    uint32_t bits = 0;
    const double value = ParseNumber(text, kDouble, radix, bits);
    return radix ? static_cast<double>(static_cast<int32_t>(bits)) : value;
}

float ToSingle(std::string_view text) {
    const double value = ToDouble(text);
    if (std::isfinite(value) && std::fabs(value) > std::numeric_limits<float>::max()) Overflow(Trim(text), kSingle);
    return static_cast<float>(value);
}

bool ToBoolean(std::string_view text) {
    // As the writer spells them, before the general comparison.
    if (text == "True") return true;
    if (text == "False") return false;
    const std::string_view trimmed = Trim(text);
    if (EqualsNoCase(trimmed, "True")) return true;
    if (EqualsNoCase(trimmed, "False")) return false;
    bool radix = false;
    uint32_t bits = 0;
    return ParseNumber(text, kBoolean, radix, bits) != 0.0;
}

int16_t RoundToInteger(double value) { return RoundChecked<int16_t>(value, kInteger, FormatDouble(value)); }

int32_t RoundToLong(double value) { return RoundChecked<int32_t>(value, kLong, FormatDouble(value)); }

void AppendDouble(std::string& out, double value) {
    if (std::isinf(value)) {
        out += value > 0 ? "1.#INF" : "-1.#INF";
    } else if (std::isnan(value)) {
        out += std::signbit(value) ? "-1.#IND" : "1.#QNAN";
    } else if (!AppendMillionths(out, value)) {
        std::array<char, 40> buffer;
        const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 15);
        AppendGeneral(out, buffer.data(), result.ptr);
    }
}

std::string FormatDouble(double value) {
    std::string text;
    AppendDouble(text, value);
    return text;
}

std::string FormatSingle(float value) {
    if (!std::isfinite(value)) return FormatDouble(value);
    std::array<char, 32> buffer{};
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, 7);
    return FormatGeneral(buffer.data(), result.ptr);
}

std::string FormatBoolean(bool value) { return value ? "True" : "False"; }

std::string FormatFixed(double value, int decimals, bool leadingZero) {
    if (!std::isfinite(value)) return FormatDouble(value);
    decimals = std::clamp(decimals, 0, 30);
    // The 15 significant digits the runtime works with, then decimal rounding.
    std::array<char, 40> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), std::fabs(value),
                                   std::chars_format::scientific, 14).ptr;
    const std::string_view text(buffer.data(), static_cast<std::size_t>(end - buffer.data()));
    const auto e = text.find('e');
    std::string digits;
    for (char c : text.substr(0, e))
        if (c != '.') digits.push_back(c);
    int exponent = 0;
    const auto expText = text.substr(e + 1);
    std::from_chars(expText.data() + (expText[0] == '+' ? 1 : 0), expText.data() + expText.size(), exponent);
    if (value == 0) exponent = 0;

    const int pointPos = exponent + 1;  // digits before the decimal point
    std::string whole, fraction;
    if (pointPos <= 0) {
        whole = "0";
        fraction = std::string(static_cast<std::size_t>(-pointPos), '0') + digits;
    } else if (pointPos >= static_cast<int>(digits.size())) {
        whole = digits + std::string(static_cast<std::size_t>(pointPos) - digits.size(), '0');
    } else {
        whole = digits.substr(0, static_cast<std::size_t>(pointPos));
        fraction = digits.substr(static_cast<std::size_t>(pointPos));
    }
    const auto kept = static_cast<std::size_t>(decimals);
    bool carry = fraction.size() > kept && fraction[kept] >= '5';
    fraction.resize(kept, '0');
    for (auto it = fraction.rbegin(); carry && it != fraction.rend(); ++it) {
        carry = *it == '9';
        *it = carry ? '0' : static_cast<char>(*it + 1);
    }
    for (auto it = whole.rbegin(); carry && it != whole.rend(); ++it) {
        carry = *it == '9';
        *it = carry ? '0' : static_cast<char>(*it + 1);
    }
    if (carry) whole.insert(whole.begin(), '1');
    whole.erase(0, std::min(whole.find_first_not_of('0'), whole.size()));
    if (whole.empty() && leadingZero) whole = "0";
    const bool nonZero = (whole + fraction).find_first_not_of("0") != std::string::npos;
    return (value < 0 && nonZero ? "-" : "") + whole + "." + fraction;
}

namespace {

// Days from 1 January 1970 for a civil date, and back (proleptic Gregorian).
int64_t DaysFromCivil(int64_t y, int64_t m, int64_t d) {
    y -= m <= 2;
    const int64_t era = (y >= 0 ? y : y - 399) / 400;
    const int64_t yoe = y - era * 400;
    const int64_t doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const int64_t doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(int64_t z, int64_t& y, int64_t& m, int64_t& d) {
    z += 719468;
    const int64_t era = (z >= 0 ? z : z - 146096) / 146097;
    const int64_t doe = z - era * 146097;
    const int64_t yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const int64_t doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const int64_t mp = (5 * doy + 2) / 153;
    d = doy - (153 * mp + 2) / 5 + 1;
    m = mp + (mp < 10 ? 3 : -9);
    y = yoe + era * 400 + (m <= 2);
}

constexpr int64_t kEpochOffset = 25569;  // 1899-12-30 to 1970-01-01
constexpr double kMaxDate = 2958465.99999;  // 31 December 9999
constexpr double kMinDate = -657434.0;      // 1 January 100

bool ReadNumber(std::string_view& text, int64_t& value, std::size_t maxDigits) {
    std::size_t n = 0;
    while (n < text.size() && n < maxDigits && IsDigit(text[n])) ++n;
    if (n == 0) return false;
    std::from_chars(text.data(), text.data() + n, value);
    text.remove_prefix(n);
    return true;
}

bool Take(std::string_view& text, char c) {
    if (text.empty() || text.front() != c) return false;
    text.remove_prefix(1);
    return true;
}

// "h:mm[:ss][ AM|PM]" into seconds of the day.
bool ReadTime(std::string_view text, int64_t& seconds) {
    int64_t h = 0, mi = 0, se = 0;
    if (!ReadNumber(text, h, 2) || !Take(text, ':') || !ReadNumber(text, mi, 2)) return false;
    if (Take(text, ':') && !ReadNumber(text, se, 2)) return false;
    text = Trim(text);
    if (EqualsNoCase(text, "AM") || EqualsNoCase(text, "PM")) {
        if (h < 1 || h > 12) return false;
        h = (h % 12) + (EqualsNoCase(text, "PM") ? 12 : 0);
    } else if (!text.empty()) {
        return false;
    }
    if (h > 23 || mi > 59 || se > 59) return false;
    seconds = h * 3600 + mi * 60 + se;
    return true;
}

}  // namespace

std::string FormatDate(double date) {
    if (!std::isfinite(date) || date < kMinDate || date > kMaxDate + 1) Overflow(FormatDouble(date), kDate);
    double dayPart = std::trunc(date);
    int64_t seconds = std::llround(std::fabs(date - dayPart) * 86400.0);
    if (seconds >= 86400) {  // rounding reached midnight
        seconds = 0;
        dayPart += date < 0 ? -1 : 1;
    }
    std::string result;
    if (dayPart != 0 || seconds == 0) {
        int64_t y = 0, m = 0, d = 0;
        CivilFromDays(static_cast<int64_t>(dayPart) - kEpochOffset, y, m, d);
        result = std::to_string(m) + "/" + std::to_string(d) + "/" + std::to_string(y);
    }
    if (seconds != 0) {
        const int64_t h = seconds / 3600, mi = seconds / 60 % 60, se = seconds % 60;
        const auto two = [](int64_t v) { return (v < 10 ? "0" : "") + std::to_string(v); };
        if (!result.empty()) result += ' ';
        result += std::to_string(h % 12 == 0 ? 12 : h % 12) + ":" + two(mi) + ":" + two(se) + (h < 12 ? " AM" : " PM");
    }
    return result;
}

double ToDate(std::string_view original) {
    std::string_view text = Trim(original);
    int64_t a = 0, b = 0, c = 0, seconds = 0;
    std::string_view rest = text;
    bool haveDate = false;
    int64_t y = 0, m = 0, d = 0;
    if (ReadNumber(rest, a, 4) && !rest.empty() && (rest.front() == '/' || rest.front() == '-')) {
        const char separator = rest.front();
        rest.remove_prefix(1);
        if (!ReadNumber(rest, b, 2) || !Take(rest, separator) || !ReadNumber(rest, c, 4)) TypeMismatch(original, kDate);
        if (separator == '-') y = a, m = b, d = c;
        else m = a, d = b, y = c;
        if (m < 1 || m > 12 || d < 1 || d > 31 || y < 100) TypeMismatch(original, kDate);
        int64_t cy = 0, cm = 0, cd = 0;
        CivilFromDays(DaysFromCivil(y, m, d), cy, cm, cd);
        if (cd != d) TypeMismatch(original, kDate);  // 31 April and the like
        haveDate = true;
        rest = TrimLeft(rest);
        if (!rest.empty() && !ReadTime(rest, seconds)) TypeMismatch(original, kDate);
    } else if (!ReadTime(text, seconds)) {
        TypeMismatch(original, kDate);
    }
    const double days = haveDate ? static_cast<double>(DaysFromCivil(y, m, d) + kEpochOffset) : 0.0;
    const double time = static_cast<double>(seconds) / 86400.0;
    return days < 0 ? days - time : days + time;
}

}  // namespace kvo

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace kvo {

// The classic text conversions every reader uses. Blanks around the text are
// ignored; a number may carry a sign, a decimal point and an exponent (E or D),
// or be written "&H1F" / "&O17". Text that is no number raises error 13, a number
// outside the target's range error 6. Whole-number targets round half to even.
int16_t ToInteger(std::string_view text);
int32_t ToLong(std::string_view text);
uint8_t ToByte(std::string_view text);
float ToSingle(std::string_view text);
double ToDouble(std::string_view text);
// "True" / "False" in any letter case, or a number (zero is False).
bool ToBoolean(std::string_view text);

// Round to nearest, ties to even, and check the range (error 6).
int16_t RoundToInteger(double value);
int32_t RoundToLong(double value);

// Shortest text that reads back to the same value: up to 15 significant digits
// for a Double, 7 for a Single; exponents as "1E+20" and "1.5E-05".
std::string FormatDouble(double value);
// The same text appended to out, as the writers of the text format need it.
void AppendDouble(std::string& out, double value);
std::string FormatSingle(float value);
std::string FormatBoolean(bool value);

// A number with a fixed count of decimals, rounded half away from zero on its
// decimal digits: the patterns "0.000" (leadingZero) and ".000" (without: 0.5
// shows as ".500"). The point is always written, so 12.3 with no decimals is "12.".
std::string FormatFixed(double value, int decimals, bool leadingZero);

// Dates are day counts from 30 December 1899 with the time of day as the
// fraction. Text as the classic runtime writes it ("3/15/2002 2:05:09 PM");
// reading also takes "2002-03-15 14:05:09". Bad text raises error 13.
std::string FormatDate(double date);
double ToDate(std::string_view text);

}  // namespace kvo

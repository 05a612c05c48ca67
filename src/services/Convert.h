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
std::string FormatSingle(float value);
std::string FormatBoolean(bool value);

}  // namespace kvo

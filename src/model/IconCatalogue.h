#pragma once

#include <array>
#include <cstdint>

#include "services/StringIds.h"

namespace kvo::IconCatalogue {

// The characteristics a value cell can show, numbered 1 to 25 (the cell's
// geometric symbol): the report row each is found in, and its description.
// Angles are on the angular rows 1 and 7; the one-sided form, orientation and
// position tolerances on rows 9 to 13, position on row 9, where the maximum
// material condition may widen the tolerance.
inline constexpr int kCharacteristics = 25;
inline constexpr std::array<int16_t, kCharacteristics + 1> SymbolDimArray{
    0, 2, 1, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 7, 11, 12, 13, 9, 9, 12, 13, 17};
inline constexpr std::array<int32_t, kCharacteristics + 1> SymbolDescription{
    0,
    Str::Characteristic1,  Str::Characteristic2,  Str::Characteristic3,  Str::Characteristic4,  Str::Characteristic5,
    Str::Characteristic6,  Str::Characteristic7,  Str::Characteristic8,  Str::Characteristic9,  Str::Characteristic10,
    Str::Characteristic11, Str::Characteristic12, Str::Characteristic13, Str::Characteristic14, Str::Characteristic15,
    Str::Characteristic16, Str::Characteristic17, Str::Characteristic18, Str::Characteristic19, Str::Characteristic20,
    Str::Characteristic21, Str::Characteristic22, Str::Characteristic23, Str::Characteristic24, Str::Characteristic25};

// The report row of a characteristic; 0 for a number outside the catalogue.
inline constexpr int16_t ReportRow(int symbol) {
    return symbol >= 1 && symbol <= kCharacteristics ? SymbolDimArray[static_cast<std::size_t>(symbol)] : 0;
}

// The report columns a cell can show; only the deviation is checked against
// the tolerance.
inline constexpr std::array<int32_t, 5> DatatypeColumnName{Str::ColumnMeasured, Str::ColumnNominal, Str::ColumnUpper,
                                                           Str::ColumnLower, Str::ColumnDeviation};
inline constexpr std::array<int16_t, 5> DatatypeColumnNumber{0, 1, 2, 3, 4};

// One-sided tolerances have no lower tolerance, measured or nominal value to show.
inline constexpr bool IsRefused(int16_t row, int16_t column) {
    return row >= 9 && row <= 13 && (column == 0 || column == 1 || column == 3);
}

}  // namespace kvo::IconCatalogue

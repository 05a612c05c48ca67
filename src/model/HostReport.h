#pragma once

#include <cstdint>

#include "Variant.h"

namespace kvo {

// The host measurement application's report for one feature, as the value cells
// and icons read it. Any member may raise an error; an update then stops.
class HostReport {
public:
    virtual ~HostReport() = default;

    // n = 0: the feature's sequence number; 1 and 2: the decimals for linear and
    // angular characteristics.
    virtual Variant S6A(int16_t n) = 0;
    // The feature's name.
    virtual Variant S1D() = 0;
    // One cell of the report: column, row.
    virtual Variant s(int16_t column, int16_t row) = 0;
    virtual bool MmcTolerancing() = 0;
    virtual bool limittolerancing() = 0;
    virtual Variant MmcBonus() = 0;
};

}  // namespace kvo

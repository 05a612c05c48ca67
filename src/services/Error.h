#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kvo {

// Error numbers callers test for. The platform's own keep their classic values.
namespace ErrorNumber {
inline constexpr int32_t InvalidCall = 5;
inline constexpr int32_t Overflow = 6;
inline constexpr int32_t SubscriptOutOfRange = 9;
inline constexpr int32_t TypeMismatch = 13;
inline constexpr int32_t FileNotFound = 53;
inline constexpr int32_t InputPastEnd = 62;
inline constexpr int32_t FileAccess = 75;
inline constexpr int32_t InvalidUseOfNull = 94;
inline constexpr int32_t KeyInUse = 457;
inline constexpr int32_t LoadStructure = 1001;
inline constexpr int32_t ExportAlreadyOpen = 1003;
inline constexpr int32_t ExportNotOpen = 1004;
inline constexpr int32_t ExportBadMagic = 1005;
inline constexpr int32_t PackageEntryRefused = 1006;
inline constexpr int32_t LineBreakInText = 1007;
inline constexpr int32_t Parser = 5000;
inline constexpr int32_t RegistryCreate = 5000;
inline constexpr int32_t RegistryOpen = 5001;
inline constexpr int32_t RegistryWrite = 5002;
}  // namespace ErrorNumber

// The one error type: number, source ("Class.Operation") and a description for the user.
class Error : public std::runtime_error {
public:
    Error(int32_t number, std::string source, std::string description);

    int32_t Number() const noexcept { return number_; }
    const std::string& Source() const noexcept { return source_; }
    const std::string& Description() const noexcept { return description_; }

private:
    int32_t number_;
    std::string source_;
    std::string description_;
};

}  // namespace kvo

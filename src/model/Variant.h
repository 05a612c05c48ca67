#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace kvo {

// The value of a cell: the kinds the classic runtime's Variant could hold that
// this program meets. Unsupported stands for every other kind (currency, object,
// array…) and keeps only its type number.
class Variant {
public:
    // The runtime's type numbers; they are also the tags of the binary format.
    enum Kind : int16_t {
        Empty = 0,
        Null = 1,
        Integer = 2,
        Long = 3,
        Single = 4,
        Double = 5,
        Date = 7,
        String = 8,
        Boolean = 11,
        Byte = 17,
    };

    struct NullValue {
        bool operator==(const NullValue&) const = default;
    };
    struct DateValue {
        double days;
        bool operator==(const DateValue&) const = default;
    };
    struct UnsupportedValue {
        int16_t typeNumber;
        bool operator==(const UnsupportedValue&) const = default;
    };

    Variant() = default;
    static Variant MakeNull() { return Variant(NullValue{}); }
    static Variant MakeDate(double days) { return Variant(DateValue{days}); }
    static Variant MakeUnsupported(int16_t typeNumber) { return Variant(UnsupportedValue{typeNumber}); }
    Variant(int16_t value) : value_(value) {}
    Variant(int32_t value) : value_(value) {}
    Variant(float value) : value_(value) {}
    Variant(double value) : value_(value) {}
    Variant(std::string value) : value_(std::move(value)) {}
    Variant(const char* value) : value_(std::string(value)) {}
    Variant(bool value) : value_(value) {}
    Variant(uint8_t value) : value_(value) {}

    // Holds value from now on, set in place: a load sets every cell's value.
    template <typename T>
    void Set(T value) {
        value_.template emplace<T>(std::move(value));
    }

    // The runtime's type number (VarType).
    int16_t Type() const;
    bool IsEmpty() const { return Type() == Empty; }
    bool IsNull() const { return Type() == Null; }
    // Single or Double: the kinds shown with a number pattern.
    bool IsFloating() const { return Type() == Single || Type() == Double; }

    // Conversions as the runtime does them: Empty is 0 or "", Null raises
    // error 94, text is parsed (error 13), out of range is error 6.
    double ToDouble() const;
    int16_t ToInteger() const;
    int32_t ToLong() const;
    bool ToBoolean() const;
    // Text as the runtime converts it ("True", "0.5", "3/15/2002"); Null raises 94.
    std::string ToText() const;

    // Appends the text form of the file format: "EMPTY", "NULL", "DOUBLE|0.123",
    // "UNSUPPORTED"…
    void Encode(std::string& out) const;
    // Reads that form; the word before "|" in any case. Raises 13 for an unknown
    // word and the conversion errors for a bad value.
    static Variant Decode(std::string_view text);

    bool operator==(const Variant&) const = default;

private:
    explicit Variant(NullValue value) : value_(value) {}
    explicit Variant(DateValue value) : value_(value) {}
    explicit Variant(UnsupportedValue value) : value_(value) {}

    std::variant<std::monostate, NullValue, int16_t, int32_t, float, double, DateValue, std::string, bool, uint8_t,
                 UnsupportedValue>
        value_;
};

}  // namespace kvo

/// @file
/// Exact values of the scaled integers that memory maps are written in ("0x1000", "#FF", "4k",
/// "-3M"), for rules that compare addresses, sizes and widths.
#ifndef IPXACT_CATALOG_SCALED_VALUE_H
#define IPXACT_CATALOG_SCALED_VALUE_H

#include <string>
#include <string_view>

namespace ipxact {
namespace catalog {

/// An integer of any size read from a scaled text, or the fact that the text has no value that
/// can be known without evaluating it.
///
/// The form read: an optional sign, then either decimal digits or hexadecimal digits after `0x`,
/// `0X` or `#`, then optionally one of the multipliers k/K (2^10), m/M (2^20), g/G (2^30) or t/T
/// (2^40). Leading and trailing white space is ignored. Anything else (an expression, a parameter
/// name, hexadecimal digits without a prefix, an empty text) is not checkable: the value is not
/// guessed. Values are exact whatever their size, so comparisons never overflow.
///
/// A value that fits in 64 bits is held and computed inline; a larger one is one heap integer. The
/// type keeps its arithmetic library out of this header.
class ScaledValue {
public:
    /// Not checkable.
    ScaledValue() = default;
    /// The exact value of a 64-bit integer.
    explicit ScaledValue(long long value) : m_form(Form::small), m_small(value) {}
    ~ScaledValue()
    {
        if (m_big)
            release_big();
    }
    ScaledValue(const ScaledValue& other) : m_form(other.m_form), m_small(other.m_small)
    {
        if (other.m_big)
            copy_big(other);
    }
    ScaledValue& operator=(const ScaledValue& other)
    {
        // Copied first, so that a failed allocation leaves this value as it was.
        if (this != &other)
            *this = ScaledValue(other);
        return *this;
    }
    ScaledValue(ScaledValue&& other) noexcept : m_form(other.m_form), m_small(other.m_small), m_big(other.m_big)
    {
        other.m_big = nullptr;
        other.m_form = Form::unknown;
    }
    ScaledValue& operator=(ScaledValue&& other) noexcept
    {
        if (this != &other) {
            if (m_big)
                release_big();
            m_form = other.m_form;
            m_small = other.m_small;
            m_big = other.m_big;
            other.m_big = nullptr;
            other.m_form = Form::unknown;
        }
        return *this;
    }

    /// Reads `text` in the scaled form above; not checkable when it is not in that form.
    static ScaledValue parse(std::string_view text);

    /// Whether the value is known.
    bool checkable() const { return m_form != Form::unknown; }
    /// -1, 0 or 1 by sign; 0 when not checkable.
    int sign() const;
    /// Decimal text of the value, "?" when not checkable.
    std::string to_string() const;
    /// The same in hexadecimal with a "0x" prefix (a '-' before it when negative).
    std::string to_hex() const;

    /// Arithmetic on known values; a result involving a value that is not checkable is not
    /// checkable either.
    friend ScaledValue operator+(const ScaledValue& a, const ScaledValue& b);
    friend ScaledValue operator-(const ScaledValue& a, const ScaledValue& b);
    friend ScaledValue operator*(const ScaledValue& a, const ScaledValue& b);
    /// Quotient rounded towards positive infinity (units needed to hold `a` items of size `b`);
    /// not checkable when b is not positive.
    static ScaledValue ceil_div(const ScaledValue& a, const ScaledValue& b);
    /// 2 to the power `bits` (0 <= bits), the first value that does not fit in `bits` bits.
    static ScaledValue power_of_two(unsigned long bits);

    /// Three-way comparison of two known values (negative, 0, positive); both must be checkable.
    static int compare(const ScaledValue& a, const ScaledValue& b)
    {
        if (a.m_form == Form::small && b.m_form == Form::small)
            return (a.m_small > b.m_small) - (a.m_small < b.m_small);
        return compare_exactly(a, b);
    }
    /// Number of bits needed to write a non-negative known value (0 for zero).
    unsigned long bit_length() const;
    /// The value when it is known and fits in an unsigned long; `fallback` otherwise.
    unsigned long to_ulong(unsigned long fallback) const;

private:
    struct Number;
    enum class Form : unsigned char { unknown, small, big };
    /// The value of an exact integer, held inline when it fits.
    static ScaledValue of(const Number& exact);
    /// A known value as an exact integer, whichever way it is held.
    Number exact() const;
    static int compare_exactly(const ScaledValue& a, const ScaledValue& b);
    /// a op b: inline while the result fits in 64 bits, exactly past that.
    template <class Inline, class Exact>
    static ScaledValue combine(const ScaledValue& a, const ScaledValue& b, Inline inline_op, Exact exact_op);

    // The heap integer's copy and release, out of line: the inline paths above serve the values that
    // fit in 64 bits, which are nearly all, without a call.
    void copy_big(const ScaledValue& other);
    void release_big();

    Form m_form = Form::unknown;
    long long m_small = 0;    // the value when m_form is small
    Number* m_big = nullptr;  // owned; the value when m_form is big
};

}  // namespace catalog
}  // namespace ipxact

#endif

#include <ipxact/catalog/scaled_value.h>

#include <cstdio>
#include <limits>

#include <gmpxx.h>

namespace ipxact {
namespace catalog {

struct ScaledValue::Number {
    mpz_class value;
};

void ScaledValue::copy_big(const ScaledValue& other)
{
    m_big = new Number(*other.m_big);
}

void ScaledValue::release_big()
{
    delete m_big;
    m_big = nullptr;
}

ScaledValue ScaledValue::of(const Number& exact)
{
    // long is the widest type GMP converts to directly; where it is narrower than long long, a
    // value between the two stays a heap integer, which every operation accepts.
    if (exact.value.fits_slong_p())
        return ScaledValue(exact.value.get_si());
    ScaledValue v;
    v.m_form = Form::big;
    v.m_big = new Number(exact);
    return v;
}

ScaledValue::Number ScaledValue::exact() const
{
    if (m_form == Form::big)
        return *m_big;
    Number n;
    if (m_small >= std::numeric_limits<long>::min() && m_small <= std::numeric_limits<long>::max())
        n.value = static_cast<long>(m_small);
    else
        n.value.set_str(std::to_string(m_small), 10);
    return n;
}

namespace {

bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool is_hex_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// |value|, which for the most negative value does not fit in a long long.
unsigned long long magnitude_of(long long value)
{
    return value < 0 ? 0ULL - static_cast<unsigned long long>(value) : static_cast<unsigned long long>(value);
}

// The power of two a multiplier letter stands for, 0 for a character that is none.
unsigned multiplier_bits(char c)
{
    switch (c) {
    case 'k': case 'K': return 10;
    case 'm': case 'M': return 20;
    case 'g': case 'G': return 30;
    case 't': case 'T': return 40;
    default: return 0;
    }
}

}  // namespace

ScaledValue ScaledValue::parse(std::string_view text)
{
    while (!text.empty() && is_space(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && is_space(text.back()))
        text.remove_suffix(1);
    bool negative = false;
    if (!text.empty() && (text.front() == '+' || text.front() == '-')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    int base = 10;
    if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        base = 16;
        text.remove_prefix(2);
    } else if (!text.empty() && text[0] == '#') {
        base = 16;
        text.remove_prefix(1);
    }
    unsigned shift = 0;
    if (!text.empty() && multiplier_bits(text.back())) {
        shift = multiplier_bits(text.back());
        text.remove_suffix(1);
    }
    if (text.empty())
        return ScaledValue();
    for (char c : text)
        // Hexadecimal digits without a prefix match the lexical form but say nothing about which
        // number is meant, so such a text is left unevaluated.
        if (base == 16 ? !is_hex_digit(c) : !(c >= '0' && c <= '9'))
            return ScaledValue();
    // Nearly every value fits in 64 bits and is read without the big-integer library.
    unsigned long long magnitude = 0;
    bool fits = true;
    for (char c : text) {
        unsigned digit = c <= '9' ? unsigned(c - '0') : unsigned((c | 0x20) - 'a' + 10);
        fits = fits && !__builtin_mul_overflow(magnitude, unsigned(base), &magnitude) &&
               !__builtin_add_overflow(magnitude, digit, &magnitude);
    }
    fits = fits && (shift == 0 || magnitude >> (64 - shift) == 0);
    const unsigned long long largest = static_cast<unsigned long long>(std::numeric_limits<long long>::max());
    if (fits) {
        magnitude <<= shift;
        if (magnitude <= largest)
            return ScaledValue(negative ? -static_cast<long long>(magnitude) : static_cast<long long>(magnitude));
        if (negative && magnitude == largest + 1)
            return ScaledValue(std::numeric_limits<long long>::min());
    }
    Number number;
    if (number.value.set_str(std::string(text), base) != 0)
        return ScaledValue();
    number.value <<= shift;
    if (negative)
        number.value = -number.value;
    return of(number);
}

int ScaledValue::sign() const
{
    switch (m_form) {
    case Form::small: return (m_small > 0) - (m_small < 0);
    case Form::big: return sgn(m_big->value);
    case Form::unknown: break;
    }
    return 0;
}

std::string ScaledValue::to_string() const
{
    switch (m_form) {
    case Form::small: return std::to_string(m_small);
    case Form::big: return m_big->value.get_str(10);
    case Form::unknown: break;
    }
    return "?";
}

std::string ScaledValue::to_hex() const
{
    if (m_form == Form::unknown)
        return "?";
    if (m_form == Form::small) {
        char digits[17];
        std::snprintf(digits, sizeof digits, "%llx", magnitude_of(m_small));
        return (m_small < 0 ? "-0x" : "0x") + std::string(digits);
    }
    mpz_class magnitude = abs(m_big->value);
    return (sgn(m_big->value) < 0 ? "-0x" : "0x") + magnitude.get_str(16);
}

template <class Inline, class Exact>
ScaledValue ScaledValue::combine(const ScaledValue& a, const ScaledValue& b, Inline inline_op, Exact exact_op)
{
    if (!a.checkable() || !b.checkable())
        return ScaledValue();
    long long result;
    // The inline operation says true when the result overflows 64 bits.
    if (a.m_form == Form::small && b.m_form == Form::small && !inline_op(a.m_small, b.m_small, &result))
        return ScaledValue(result);
    return of({exact_op(a.exact().value, b.exact().value)});
}

ScaledValue operator+(const ScaledValue& a, const ScaledValue& b)
{
    return ScaledValue::combine(
        a, b, [](long long x, long long y, long long* r) { return __builtin_add_overflow(x, y, r); },
        [](const mpz_class& x, const mpz_class& y) { return mpz_class(x + y); });
}

ScaledValue operator-(const ScaledValue& a, const ScaledValue& b)
{
    return ScaledValue::combine(
        a, b, [](long long x, long long y, long long* r) { return __builtin_sub_overflow(x, y, r); },
        [](const mpz_class& x, const mpz_class& y) { return mpz_class(x - y); });
}

ScaledValue operator*(const ScaledValue& a, const ScaledValue& b)
{
    return ScaledValue::combine(
        a, b, [](long long x, long long y, long long* r) { return __builtin_mul_overflow(x, y, r); },
        [](const mpz_class& x, const mpz_class& y) { return mpz_class(x * y); });
}

ScaledValue ScaledValue::ceil_div(const ScaledValue& a, const ScaledValue& b)
{
    if (!a.checkable() || !b.checkable() || b.sign() <= 0)
        return ScaledValue();
    if (a.m_form == Form::small && b.m_form == Form::small)
        // Division truncates towards zero, which already rounds a negative quotient up.
        return ScaledValue(a.m_small / b.m_small + (a.m_small % b.m_small > 0 ? 1 : 0));
    Number quotient;
    mpz_cdiv_q(quotient.value.get_mpz_t(), a.exact().value.get_mpz_t(), b.exact().value.get_mpz_t());
    return of(quotient);
}

ScaledValue ScaledValue::power_of_two(unsigned long bits)
{
    if (bits < 63)
        return ScaledValue(1LL << bits);
    Number n;
    n.value = 1;
    n.value <<= bits;
    return of(n);
}

int ScaledValue::compare_exactly(const ScaledValue& a, const ScaledValue& b)
{
    return cmp(a.exact().value, b.exact().value);
}

unsigned long ScaledValue::bit_length() const
{
    if (m_form == Form::unknown || sign() == 0)
        return 0;
    if (m_form == Form::small) {
        return static_cast<unsigned long>(64 - __builtin_clzll(magnitude_of(m_small)));
    }
    return static_cast<unsigned long>(mpz_sizeinbase(m_big->value.get_mpz_t(), 2));
}

unsigned long ScaledValue::to_ulong(unsigned long fallback) const
{
    if (m_form == Form::unknown || sign() < 0)
        return fallback;
    if (m_form == Form::small)
        return static_cast<unsigned long long>(m_small) <= std::numeric_limits<unsigned long>::max()
                   ? static_cast<unsigned long>(m_small)
                   : fallback;
    return m_big->value.fits_ulong_p() ? m_big->value.get_ui() : fallback;
}

}  // namespace catalog
}  // namespace ipxact

#include <ipxact/catalog/scaled_value.h>

#include <limits>

#include <gmpxx.h>

namespace ipxact {
namespace catalog {

struct ScaledValue::Number {
    mpz_class value;
};

ScaledValue::ScaledValue() = default;
ScaledValue::ScaledValue(long long value) : m_value(new Number)
{
    // mpz_class has no long long constructor on every platform; where long is narrower, go
    // through the decimal text.
    if (value >= std::numeric_limits<long>::min() && value <= std::numeric_limits<long>::max())
        m_value->value = static_cast<long>(value);
    else
        m_value->value.set_str(std::to_string(value), 10);
}
ScaledValue::ScaledValue(std::unique_ptr<Number> value) : m_value(std::move(value)) {}
ScaledValue::~ScaledValue() = default;
ScaledValue::ScaledValue(const ScaledValue& other) : m_value(other.m_value ? new Number(*other.m_value) : nullptr) {}
ScaledValue& ScaledValue::operator=(const ScaledValue& other)
{
    if (this != &other)
        m_value.reset(other.m_value ? new Number(*other.m_value) : nullptr);
    return *this;
}
ScaledValue::ScaledValue(ScaledValue&& other) noexcept = default;
ScaledValue& ScaledValue::operator=(ScaledValue&& other) noexcept = default;

namespace {

bool is_space(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

bool is_hex_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
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
    std::unique_ptr<Number> number(new Number);
    if (number->value.set_str(std::string(text), base) != 0)
        return ScaledValue();
    number->value <<= shift;
    if (negative)
        number->value = -number->value;
    return ScaledValue(std::move(number));
}

int ScaledValue::sign() const
{
    return m_value ? sgn(m_value->value) : 0;
}

std::string ScaledValue::to_string() const
{
    return m_value ? m_value->value.get_str(10) : "?";
}

std::string ScaledValue::to_hex() const
{
    if (!m_value)
        return "?";
    mpz_class magnitude = abs(m_value->value);
    return (sgn(m_value->value) < 0 ? "-0x" : "0x") + magnitude.get_str(16);
}

ScaledValue operator+(const ScaledValue& a, const ScaledValue& b)
{
    if (!a.m_value || !b.m_value)
        return ScaledValue();
    std::unique_ptr<ScaledValue::Number> n(new ScaledValue::Number);
    n->value = a.m_value->value + b.m_value->value;
    return ScaledValue(std::move(n));
}

ScaledValue operator-(const ScaledValue& a, const ScaledValue& b)
{
    if (!a.m_value || !b.m_value)
        return ScaledValue();
    std::unique_ptr<ScaledValue::Number> n(new ScaledValue::Number);
    n->value = a.m_value->value - b.m_value->value;
    return ScaledValue(std::move(n));
}

ScaledValue operator*(const ScaledValue& a, const ScaledValue& b)
{
    if (!a.m_value || !b.m_value)
        return ScaledValue();
    std::unique_ptr<ScaledValue::Number> n(new ScaledValue::Number);
    n->value = a.m_value->value * b.m_value->value;
    return ScaledValue(std::move(n));
}

ScaledValue ScaledValue::ceil_div(const ScaledValue& a, const ScaledValue& b)
{
    if (!a.m_value || !b.m_value || sgn(b.m_value->value) <= 0)
        return ScaledValue();
    std::unique_ptr<Number> n(new Number);
    mpz_cdiv_q(n->value.get_mpz_t(), a.m_value->value.get_mpz_t(), b.m_value->value.get_mpz_t());
    return ScaledValue(std::move(n));
}

ScaledValue ScaledValue::power_of_two(unsigned long bits)
{
    std::unique_ptr<Number> n(new Number);
    n->value = 1;
    n->value <<= bits;
    return ScaledValue(std::move(n));
}

int ScaledValue::compare(const ScaledValue& a, const ScaledValue& b)
{
    return cmp(a.m_value->value, b.m_value->value);
}

unsigned long ScaledValue::bit_length() const
{
    if (!m_value || sgn(m_value->value) == 0)
        return 0;
    return static_cast<unsigned long>(mpz_sizeinbase(m_value->value.get_mpz_t(), 2));
}

unsigned long ScaledValue::to_ulong(unsigned long fallback) const
{
    if (!m_value || sgn(m_value->value) < 0 || !m_value->value.fits_ulong_p())
        return fallback;
    return m_value->value.get_ui();
}

}  // namespace catalog
}  // namespace ipxact

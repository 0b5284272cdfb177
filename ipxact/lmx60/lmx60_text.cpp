#include <ipxact/lmx60/lmx60_text.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <limits>
#include <system_error>

namespace lmx60 {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_sign(char c) { return c == '+' || c == '-'; }

std::size_t count_digits_from(std::string_view text, std::size_t pos) {
  std::size_t end = pos;
  while (end < text.size() && is_digit(text[end])) ++end;
  return end - pos;
}

bool is_special_float(std::string_view text) {
  return text == "INF" || text == "-INF" || text == "NaN";
}

// Decimal mantissa with an optional exponent, as xs:float and xs:double
// share it: "1", "-1.", ".5", "+2.5E-3".
bool is_decimal_float_lexical(std::string_view text) {
  std::size_t pos = !text.empty() && is_sign(text.front()) ? 1 : 0;
  std::size_t integer_digits = count_digits_from(text, pos);
  pos += integer_digits;
  std::size_t fraction_digits = 0;
  if (pos < text.size() && text[pos] == '.') {
    fraction_digits = count_digits_from(text, pos + 1);
    pos += 1 + fraction_digits;
  }
  if (integer_digits + fraction_digits == 0) return false;
  if (pos == text.size()) return true;
  if (text[pos] != 'e' && text[pos] != 'E') return false;
  return is_integer_lexical(text.substr(pos + 1));
}

bool is_float_lexical(std::string_view text) {
  return is_special_float(text) || is_decimal_float_lexical(text);
}

// from_chars refuses values it cannot represent; their nearest value is
// infinity when the leading significant digit stands above the units
// position, and zero otherwise. The text is known to be a lexically valid,
// non-zero decimal here.
bool exceeds_unit_magnitude(std::string_view number) {
  if (number.front() == '-') number.remove_prefix(1);
  const std::size_t exponent_mark = number.find_first_of("eE");
  const std::string_view mantissa = number.substr(0, exponent_mark);
  const std::size_t point = std::min(mantissa.find('.'), mantissa.size());
  const std::size_t first_significant = mantissa.find_first_of("123456789");
  long long leading_power = first_significant < point
                                ? static_cast<long long>(point - first_significant) - 1
                                : static_cast<long long>(point) - static_cast<long long>(first_significant);
  if (exponent_mark != std::string_view::npos) {
    std::string_view exponent = number.substr(exponent_mark + 1);
    const bool negative = exponent.front() == '-';
    if (is_sign(exponent.front())) exponent.remove_prefix(1);
    // Any exponent beyond a few thousand already decides the outcome.
    long long magnitude = 0;
    for (char c : exponent) magnitude = std::min(magnitude * 10 + (c - '0'), 1000000LL);
    leading_power += negative ? -magnitude : magnitude;
  }
  return leading_power > 0;
}

template <typename F>
bool parse_floating(const std::string& text, F* out) {
  std::string_view number = trim_xml_whitespace(text);
  if (!is_float_lexical(number)) return false;
  if (number == "INF") {
    *out = std::numeric_limits<F>::infinity();
    return true;
  }
  if (number == "-INF") {
    *out = -std::numeric_limits<F>::infinity();
    return true;
  }
  if (number == "NaN") {
    *out = std::numeric_limits<F>::quiet_NaN();
    return true;
  }
  if (number.front() == '+') number.remove_prefix(1);
  F value{};
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec == std::errc::result_out_of_range) {
    const F magnitude = exceeds_unit_magnitude(number) ? std::numeric_limits<F>::infinity() : F(0);
    value = number.front() == '-' ? -magnitude : magnitude;
  } else if (result.ec != std::errc() || result.ptr != number.data() + number.size()) {
    return false;
  }
  *out = value;
  return true;
}

template <typename F>
void append_floating(std::string& out, F value) {
  if (std::isnan(value)) {
    out += "NaN";
  } else if (std::isinf(value)) {
    out += value < 0 ? "-INF" : "INF";
  } else {
    char buffer[64];
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
    out.append(buffer, result.ptr);
  }
}

bool needs_collapse(const std::string& value) {
  if (value.empty()) return false;
  if (value.front() == ' ' || value.back() == ' ') return true;
  char previous = '\0';
  for (char c : value) {
    if (c == '\t' || c == '\r' || c == '\n' || (c == ' ' && previous == ' ')) return true;
    previous = c;
  }
  return false;
}

}  // namespace

bool is_integer_lexical(std::string_view text) {
  std::size_t pos = !text.empty() && is_sign(text.front()) ? 1 : 0;
  std::size_t digits = count_digits_from(text, pos);
  return digits > 0 && pos + digits == text.size();
}

bool same_ignoring_ascii_case(std::string_view a, std::string_view b) {
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [&](char x, char y) { return lower(x) == lower(y); });
}

void apply_whitespace(std::string& value, elmx_whitespace rule) {
  if (rule == ews_preserve) return;
  if (rule == ews_replace) {
    for (char& c : value) {
      if (is_xml_whitespace(c)) c = ' ';
    }
    return;
  }
  if (!needs_collapse(value)) return;
  // Compacting in place is safe: the write position never passes the read position.
  std::size_t length = 0;
  bool space_pending = false;
  for (std::size_t read = 0; read < value.size(); ++read) {
    const char c = value[read];
    if (is_xml_whitespace(c)) {
      space_pending = length > 0;
      continue;
    }
    if (space_pending) {
      value[length++] = ' ';
      space_pending = false;
    }
    value[length++] = c;
  }
  value.resize(length);
}

bool is_valid_bool(const std::string& text) {
  bool ignored;
  return parse_bool(text, &ignored);
}

bool is_valid_integer(const std::string& text) { return is_integer_lexical(trim_xml_whitespace(text)); }

bool is_valid_float(const std::string& text) { return is_float_lexical(trim_xml_whitespace(text)); }

bool parse_bool(const std::string& text, bool* out) {
  const std::string_view value = trim_xml_whitespace(text);
  if (value == "true" || value == "1") {
    *out = true;
    return true;
  }
  if (value == "false" || value == "0") {
    *out = false;
    return true;
  }
  return false;
}

bool parse_long_long(const std::string& text, long long* out) {
  std::string_view number = trim_xml_whitespace(text);
  if (!is_integer_lexical(number)) return false;
  if (number.front() == '+') number.remove_prefix(1);
  long long value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec != std::errc()) return false;
  *out = value;
  return true;
}

bool parse_unsigned_long_long(const std::string& text, unsigned long long* out) {
  std::string_view number = trim_xml_whitespace(text);
  if (!is_integer_lexical(number)) return false;
  if (number.front() == '-') {
    // "-0" and "-000" are zero, which an unsigned type holds.
    if (number.find_first_not_of('0', 1) != std::string_view::npos) return false;
    *out = 0;
    return true;
  }
  if (number.front() == '+') number.remove_prefix(1);
  unsigned long long value = 0;
  const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
  if (result.ec != std::errc()) return false;
  *out = value;
  return true;
}

bool parse_int(const std::string& text, int* out) {
  long long value = 0;
  if (!parse_long_long(text, &value) || value < INT_MIN || value > INT_MAX) return false;
  *out = static_cast<int>(value);
  return true;
}

bool parse_double(const std::string& text, double* out) { return parse_floating(text, out); }

bool parse_float(const std::string& text, float* out) { return parse_floating(text, out); }

std::string format_bool(bool value) { return value ? "true" : "false"; }

std::string format_double(double value) {
  std::string text;
  append_double(text, value);
  return text;
}

std::string format_float(float value) {
  std::string text;
  append_float(text, value);
  return text;
}

void append_double(std::string& out, double value) { append_floating(out, value); }

void append_float(std::string& out, float value) { append_floating(out, value); }

void append_long_long(std::string& out, long long value) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  out.append(buffer, result.ptr);
}

// Length of the UTF-8 sequence at `p` if it encodes a character XML 1.0 allows, else 0.
size_t xml_char_length(const unsigned char* p, const unsigned char* end)
{
    unsigned char lead = p[0];
    size_t length;
    unsigned long code;
    if (lead < 0x80)
        return (lead >= 0x20 || lead == '\t' || lead == '\n' || lead == '\r') ? 1 : 0;
    if ((lead & 0xE0) == 0xC0) { length = 2; code = lead & 0x1F; }
    else if ((lead & 0xF0) == 0xE0) { length = 3; code = lead & 0x0F; }
    else if ((lead & 0xF8) == 0xF0) { length = 4; code = lead & 0x07; }
    else return 0;
    if (static_cast<size_t>(end - p) < length)
        return 0;
    for (size_t i = 1; i < length; ++i) {
        if ((p[i] & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (p[i] & 0x3F);
    }
    static const unsigned long kMinimum[5] = {0, 0, 0x80, 0x800, 0x10000};
    if (code < kMinimum[length] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF) || code == 0xFFFE ||
        code == 0xFFFF)
        return 0;
    return length;
}

void append_xml_escaped(std::string& out, const char* text, size_t length, bool inAttribute) {
  size_t run = 0;
  for (size_t i = 0; i < length; ++i) {
    if (const char* replacement = xml_escape(text[i], inAttribute)) {
      out.append(text + run, i - run);
      out += replacement;
      run = i + 1;
    }
  }
  out.append(text + run, length - run);
}

}  // namespace lmx60

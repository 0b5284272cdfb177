#include <ipxact/lmx60/c_big_int.h>

#include <ipxact/lmx60/lmx60_text.h>

#include <charconv>

namespace lmx60 {

namespace {

using e_ordering = c_big_int::e_ordering;

// A valid integer text seen as sign and magnitude; the magnitude has no
// leading zeros, so zero is the empty magnitude and is never negative.
struct s_signed_digits {
  bool negative;
  std::string_view magnitude;
};

s_signed_digits split_valid_integer(std::string_view text) {
  const bool minus = text.front() == '-';
  if (text.front() == '+' || minus) text.remove_prefix(1);
  const std::size_t first_significant = text.find_first_not_of('0');
  const std::string_view magnitude =
      first_significant == std::string_view::npos ? std::string_view() : text.substr(first_significant);
  return {minus && !magnitude.empty(), magnitude};
}

e_ordering compare_magnitudes(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return a.size() < b.size() ? e_ordering::less : e_ordering::greater;
  const int bytes = a.compare(b);
  return bytes < 0 ? e_ordering::less : bytes > 0 ? e_ordering::greater : e_ordering::equal;
}

e_ordering compare_signed_digits(const s_signed_digits& a, const s_signed_digits& b) {
  if (a.negative != b.negative) return a.negative ? e_ordering::less : e_ordering::greater;
  const e_ordering magnitudes = compare_magnitudes(a.magnitude, b.magnitude);
  if (!a.negative || magnitudes == e_ordering::equal) return magnitudes;
  return magnitudes == e_ordering::less ? e_ordering::greater : e_ordering::less;
}

template <typename Integer>
e_ordering compare_with_integer(const std::string& valid_text, Integer value) {
  char buffer[24];
  const auto result = std::to_chars(buffer, buffer + sizeof buffer, value);
  return compare_signed_digits(split_valid_integer(valid_text),
                               split_valid_integer(std::string_view(buffer, result.ptr - buffer)));
}

}  // namespace

c_big_int::c_big_int(long long value) { append_long_long(m_text, value); }

c_big_int::c_big_int(const std::string& text) : c_big_int() { set(text); }

c_big_int::c_big_int(const char* text) : c_big_int() {
  if (text) set(text);
}

c_big_int& c_big_int::operator=(const std::string& text) {
  if (!set(text)) m_text = "0";
  return *this;
}

c_big_int& c_big_int::operator=(long long value) {
  m_text.clear();
  append_long_long(m_text, value);
  return *this;
}

bool c_big_int::is_valid(const std::string& text) { return is_valid_integer(text); }

bool c_big_int::set(const std::string& text) {
  const std::string_view trimmed = trim_xml_whitespace(text);
  if (!is_integer_lexical(trimmed)) return false;
  m_text.assign(trimmed);
  return true;
}

std::string c_big_int::canonical() const {
  const s_signed_digits digits = split_valid_integer(m_text);
  if (digits.magnitude.empty()) return "0";
  std::string result;
  result.reserve(digits.magnitude.size() + 1);
  if (digits.negative) result += '-';
  result += digits.magnitude;
  return result;
}

bool c_big_int::is_negative() const { return split_valid_integer(m_text).negative; }

bool c_big_int::is_zero() const { return split_valid_integer(m_text).magnitude.empty(); }

bool c_big_int::get_as_long_long(long long* out) const { return parse_long_long(m_text, out); }

bool c_big_int::get_as_unsigned_long_long(unsigned long long* out) const {
  return parse_unsigned_long_long(m_text, out);
}

e_ordering c_big_int::compare(const c_big_int& other) const {
  return compare_signed_digits(split_valid_integer(m_text), split_valid_integer(other.m_text));
}

e_ordering c_big_int::compare_text(std::string_view text) const {
  const std::string_view trimmed = trim_xml_whitespace(text);
  if (!is_integer_lexical(trimmed)) return e_ordering::unordered;
  return compare_signed_digits(split_valid_integer(m_text), split_valid_integer(trimmed));
}

e_ordering c_big_int::compare_signed(long long value) const { return compare_with_integer(m_text, value); }

e_ordering c_big_int::compare_unsigned(unsigned long long value) const {
  return compare_with_integer(m_text, value);
}

}  // namespace lmx60

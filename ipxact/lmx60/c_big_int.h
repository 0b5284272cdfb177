#ifndef IPXACT_LMX60_C_BIG_INT_H
#define IPXACT_LMX60_C_BIG_INT_H

#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

namespace lmx60 {

// An xs:integer of any size. The value lives only in its lexical text, so a
// document is written back exactly as it was read ("+007" stays "+007") and
// small values cost no more than a short string.
class c_big_int {
 public:
  enum class e_ordering { less, equal, greater, unordered };

  c_big_int() : m_text("0") {}
  // Implicit, as for any widening of an integer.
  c_big_int(long long value);
  c_big_int(int value) : c_big_int(static_cast<long long>(value)) {}
  // Invalid text gives zero.
  explicit c_big_int(const std::string& text);
  explicit c_big_int(const char* text);

  c_big_int& operator=(const std::string& text);
  c_big_int& operator=(long long value);

  static bool is_valid(const std::string& text);
  // Stores the text without its surrounding whitespace; invalid text is
  // refused and the value stays as it was.
  bool set(const std::string& text);

  const std::string& text() const { return m_text; }
  // Without "+", leading zeros or a negative zero: "7", "-12", "0".
  std::string canonical() const;
  bool is_negative() const;
  bool is_zero() const;
  bool get_as_long_long(long long* out) const;
  bool get_as_unsigned_long_long(unsigned long long* out) const;

  void swap(c_big_int& other) noexcept { m_text.swap(other.m_text); }

  e_ordering compare(const c_big_int& other) const;
  // Text that is not an integer is unordered with every value.
  e_ordering compare_text(std::string_view text) const;
  e_ordering compare_signed(long long value) const;
  e_ordering compare_unsigned(unsigned long long value) const;

 private:
  std::string m_text;
};

// The comparisons accept a c_big_int on one side and, on the other, another
// c_big_int, a text (std::string, const char*, string literal) or any
// integer type. A text operand that is not an integer makes == false, !=
// true and every ordering false.
template <typename T>
inline constexpr bool is_big_int_operand_v =
    (std::is_integral_v<T> && !std::is_same_v<T, bool>) ||
    (std::is_convertible_v<const T&, std::string_view> && !std::is_null_pointer_v<T>);

namespace big_int_detail {

template <typename T>
c_big_int::e_ordering compare(const c_big_int& big, const T& operand) {
  if constexpr (std::is_integral_v<T> && std::is_signed_v<T>) {
    return big.compare_signed(operand);
  } else if constexpr (std::is_integral_v<T>) {
    return big.compare_unsigned(operand);
  } else if constexpr (std::is_pointer_v<std::decay_t<T>>) {
    const char* text = operand;
    return text ? big.compare_text(text) : c_big_int::e_ordering::unordered;
  } else {
    return big.compare_text(operand);
  }
}

inline bool is_less_or_equal(c_big_int::e_ordering order) {
  return order == c_big_int::e_ordering::less || order == c_big_int::e_ordering::equal;
}

inline bool is_greater_or_equal(c_big_int::e_ordering order) {
  return order == c_big_int::e_ordering::greater || order == c_big_int::e_ordering::equal;
}

}  // namespace big_int_detail

inline bool operator==(const c_big_int& a, const c_big_int& b) { return a.compare(b) == c_big_int::e_ordering::equal; }
inline bool operator!=(const c_big_int& a, const c_big_int& b) { return !(a == b); }
inline bool operator<(const c_big_int& a, const c_big_int& b) { return a.compare(b) == c_big_int::e_ordering::less; }
inline bool operator>(const c_big_int& a, const c_big_int& b) { return a.compare(b) == c_big_int::e_ordering::greater; }
inline bool operator<=(const c_big_int& a, const c_big_int& b) { return big_int_detail::is_less_or_equal(a.compare(b)); }
inline bool operator>=(const c_big_int& a, const c_big_int& b) { return big_int_detail::is_greater_or_equal(a.compare(b)); }

template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator==(const c_big_int& a, const T& b) {
  return big_int_detail::compare(a, b) == c_big_int::e_ordering::equal;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator!=(const c_big_int& a, const T& b) {
  return !(a == b);
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator<(const c_big_int& a, const T& b) {
  return big_int_detail::compare(a, b) == c_big_int::e_ordering::less;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator>(const c_big_int& a, const T& b) {
  return big_int_detail::compare(a, b) == c_big_int::e_ordering::greater;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator<=(const c_big_int& a, const T& b) {
  return big_int_detail::is_less_or_equal(big_int_detail::compare(a, b));
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator>=(const c_big_int& a, const T& b) {
  return big_int_detail::is_greater_or_equal(big_int_detail::compare(a, b));
}

template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator==(const T& a, const c_big_int& b) {
  return b == a;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator!=(const T& a, const c_big_int& b) {
  return b != a;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator<(const T& a, const c_big_int& b) {
  return b > a;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator>(const T& a, const c_big_int& b) {
  return b < a;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator<=(const T& a, const c_big_int& b) {
  return b >= a;
}
template <typename T, typename = std::enable_if_t<is_big_int_operand_v<T>>>
bool operator>=(const T& a, const c_big_int& b) {
  return b <= a;
}

inline std::ostream& operator<<(std::ostream& os, const c_big_int& value) { return os << value.text(); }

inline void swap(c_big_int& a, c_big_int& b) noexcept { a.swap(b); }

}  // namespace lmx60

#endif

#include <ipxact/lmx60/c_date.h>

#include <ipxact/lmx60/lmx60_text.h>

#include <cstdlib>
#include <string_view>
#include <utility>

namespace lmx60 {

namespace {

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Each take_ function consumes its piece from the front of `rest` and fails
// when the piece is not there in its exact form.

bool take_char(std::string_view& rest, char expected) {
  if (rest.empty() || rest.front() != expected) return false;
  rest.remove_prefix(1);
  return true;
}

bool take_two_digits(std::string_view& rest, int* out) {
  if (rest.size() < 2 || !is_digit(rest[0]) || !is_digit(rest[1])) return false;
  *out = (rest[0] - '0') * 10 + (rest[1] - '0');
  rest.remove_prefix(2);
  return true;
}

// Four digits at least; longer years must not start with zero, and there is
// no year zero. Eighteen digits keep every year inside a long long.
bool take_year(std::string_view& rest, long long* out) {
  const bool negative = take_char(rest, '-');
  std::size_t length = 0;
  while (length < rest.size() && is_digit(rest[length])) ++length;
  if (length < 4 || length > 18 || (length > 4 && rest.front() == '0')) return false;
  long long year = 0;
  for (std::size_t i = 0; i < length; ++i) year = year * 10 + (rest[i] - '0');
  if (year == 0) return false;
  rest.remove_prefix(length);
  *out = negative ? -year : year;
  return true;
}

// Negative years use the same rule on their absolute value, so -0004 is a
// leap year and -0001 is not. Strictly, with no year zero, -0001 is the year
// before 0001 and would be the leap one; the simple rule is kept because
// dates before the Common Era have no use in these documents.
bool is_leap_year(long long year) {
  const long long absolute = std::llabs(year);
  return (absolute % 4 == 0 && absolute % 100 != 0) || absolute % 400 == 0;
}

int days_in_month(long long year, int month) {
  static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && is_leap_year(year) ? 29 : days[month - 1];
}

bool take_date(std::string_view& rest, s_calendar_fields* fields) {
  if (!take_year(rest, &fields->year) || !take_char(rest, '-')) return false;
  if (!take_two_digits(rest, &fields->month) || fields->month < 1 || fields->month > 12) return false;
  if (!take_char(rest, '-') || !take_two_digits(rest, &fields->day)) return false;
  return fields->day >= 1 && fields->day <= days_in_month(fields->year, fields->month);
}

// "24:00:00" is allowed, with a fraction of zeros only.
bool take_time(std::string_view& rest, s_calendar_fields* fields) {
  if (!take_two_digits(rest, &fields->hour) || !take_char(rest, ':')) return false;
  if (!take_two_digits(rest, &fields->minute) || !take_char(rest, ':')) return false;
  if (!take_two_digits(rest, &fields->second)) return false;
  bool fraction_is_zero = true;
  if (take_char(rest, '.')) {
    if (rest.empty() || !is_digit(rest.front())) return false;
    while (!rest.empty() && is_digit(rest.front())) {
      fraction_is_zero = fraction_is_zero && rest.front() == '0';
      rest.remove_prefix(1);
    }
  }
  if (fields->minute > 59 || fields->second > 59) return false;
  if (fields->hour == 24) return fields->minute == 0 && fields->second == 0 && fraction_is_zero;
  return fields->hour <= 23;
}

// The zone must be all that is left: nothing, "Z", or "(+|-)hh:mm" within
// fourteen hours.
bool take_final_zone(std::string_view& rest, s_calendar_fields* fields) {
  if (rest.empty()) return true;
  fields->has_timezone = true;
  if (rest == "Z") return true;
  const bool negative = rest.front() == '-';
  if (!take_char(rest, '+') && !take_char(rest, '-')) return false;
  int hours = 0;
  int minutes = 0;
  if (!take_two_digits(rest, &hours) || !take_char(rest, ':') || !take_two_digits(rest, &minutes)) return false;
  if (!rest.empty() || minutes > 59 || hours > 14 || (hours == 14 && minutes != 0)) return false;
  const int offset = hours * 60 + minutes;
  fields->tz_offset_minutes = negative ? -offset : offset;
  return true;
}

bool parse_date(std::string_view text, s_calendar_fields* fields) {
  return take_date(text, fields) && take_final_zone(text, fields);
}

bool parse_datetime(std::string_view text, s_calendar_fields* fields) {
  return take_date(text, fields) && take_char(text, 'T') && take_time(text, fields) &&
         take_final_zone(text, fields);
}

}  // namespace

c_date::c_date(const std::string& text) { set(text); }

c_date& c_date::operator=(const std::string& text) {
  if (!set(text)) *this = c_date();
  return *this;
}

bool c_date::is_valid(const std::string& text) {
  s_calendar_fields ignored;
  return parse_date(trim_xml_whitespace(text), &ignored);
}

bool c_date::set(const std::string& text) {
  const std::string_view trimmed = trim_xml_whitespace(text);
  s_calendar_fields fields;
  if (!parse_date(trimmed, &fields)) return false;
  m_text.assign(trimmed);
  m_fields = fields;
  return true;
}

void c_date::swap(c_date& other) noexcept {
  m_text.swap(other.m_text);
  std::swap(m_fields, other.m_fields);
}

c_datetime::c_datetime(const std::string& text) { set(text); }

c_datetime& c_datetime::operator=(const std::string& text) {
  if (!set(text)) *this = c_datetime();
  return *this;
}

bool c_datetime::is_valid(const std::string& text) {
  s_calendar_fields ignored;
  return parse_datetime(trim_xml_whitespace(text), &ignored);
}

bool c_datetime::set(const std::string& text) {
  const std::string_view trimmed = trim_xml_whitespace(text);
  s_calendar_fields fields;
  if (!parse_datetime(trimmed, &fields)) return false;
  m_text.assign(trimmed);
  m_fields = fields;
  return true;
}

std::string c_datetime::fraction_text() const {
  if (m_text.empty()) return std::string();
  // The seconds end eight characters after the 'T'; the year cannot hold a 'T'.
  const std::size_t seconds_end = m_text.find('T') + 9;
  if (seconds_end >= m_text.size() || m_text[seconds_end] != '.') return std::string();
  std::size_t end = seconds_end + 1;
  while (end < m_text.size() && is_digit(m_text[end])) ++end;
  return m_text.substr(seconds_end + 1, end - seconds_end - 1);
}

void c_datetime::swap(c_datetime& other) noexcept {
  m_text.swap(other.m_text);
  std::swap(m_fields, other.m_fields);
}

}  // namespace lmx60

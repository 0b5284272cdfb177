#ifndef IPXACT_LMX60_C_DATE_H
#define IPXACT_LMX60_C_DATE_H

#include <ostream>
#include <string>

namespace lmx60 {

// What a date or date-time text says, field by field. Fields a form does not
// have stay zero.
struct s_calendar_fields {
  long long year = 0;
  int month = 0;
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  bool has_timezone = false;
  int tz_offset_minutes = 0;
};

// An xs:date ("-?YYYY-MM-DD" with an optional zone). The text is kept as
// read, without its surrounding whitespace, and is what gets written back.
class c_date {
 public:
  c_date() = default;
  // Invalid text leaves the value unset.
  explicit c_date(const std::string& text);
  c_date& operator=(const std::string& text);

  static bool is_valid(const std::string& text);
  // Invalid text is refused and the value stays as it was.
  bool set(const std::string& text);

  const std::string& text() const { return m_text; }
  bool is_set() const { return !m_text.empty(); }
  long long year() const { return m_fields.year; }
  int month() const { return m_fields.month; }
  int day() const { return m_fields.day; }
  bool has_timezone() const { return m_fields.has_timezone; }
  int tz_offset_minutes() const { return m_fields.tz_offset_minutes; }

  void swap(c_date& other) noexcept;

 private:
  std::string m_text;
  s_calendar_fields m_fields;
};

// An xs:dateTime ("-?YYYY-MM-DDThh:mm:ss(.s+)?" with an optional zone);
// "24:00:00" stands for the end of its day and is kept as written.
class c_datetime {
 public:
  c_datetime() = default;
  // Invalid text leaves the value unset.
  explicit c_datetime(const std::string& text);
  c_datetime& operator=(const std::string& text);

  static bool is_valid(const std::string& text);
  // Invalid text is refused and the value stays as it was.
  bool set(const std::string& text);

  const std::string& text() const { return m_text; }
  bool is_set() const { return !m_text.empty(); }
  long long year() const { return m_fields.year; }
  int month() const { return m_fields.month; }
  int day() const { return m_fields.day; }
  int hour() const { return m_fields.hour; }
  int minute() const { return m_fields.minute; }
  int second() const { return m_fields.second; }
  // The digits after the decimal point of the seconds, as written.
  std::string fraction_text() const;
  bool has_timezone() const { return m_fields.has_timezone; }
  int tz_offset_minutes() const { return m_fields.tz_offset_minutes; }

  void swap(c_datetime& other) noexcept;

 private:
  std::string m_text;
  s_calendar_fields m_fields;
};

inline bool operator==(const c_date& a, const c_date& b) { return a.text() == b.text(); }
inline bool operator!=(const c_date& a, const c_date& b) { return !(a == b); }
inline bool operator==(const c_datetime& a, const c_datetime& b) { return a.text() == b.text(); }
inline bool operator!=(const c_datetime& a, const c_datetime& b) { return !(a == b); }

inline std::ostream& operator<<(std::ostream& os, const c_date& value) { return os << value.text(); }
inline std::ostream& operator<<(std::ostream& os, const c_datetime& value) { return os << value.text(); }

inline void swap(c_date& a, c_date& b) noexcept { a.swap(b); }
inline void swap(c_datetime& a, c_datetime& b) noexcept { a.swap(b); }

}  // namespace lmx60

#endif

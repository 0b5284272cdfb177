#ifndef IPXACT_LMX60_LMX60_TEXT_H
#define IPXACT_LMX60_LMX60_TEXT_H

// Conversions between XML Schema simple-value texts and C++ values.
// Every parser accepts exactly the XML Schema 1.0 lexical form after the
// surrounding XML whitespace is removed, independent of the C locale.

#include <string>
#include <string_view>

namespace lmx60 {

enum elmx_whitespace { ews_preserve, ews_replace, ews_collapse };

bool is_xml_whitespace(char c);

// The view without leading and trailing XML whitespace; what every simple
// type other than string sees of its text.
std::string_view trim_xml_whitespace(std::string_view text);

void apply_whitespace(std::string& value, elmx_whitespace rule);

bool is_valid_bool(const std::string& text);
bool is_valid_integer(const std::string& text);
// The same check on a text whose surrounding whitespace is already gone.
bool is_integer_lexical(std::string_view text);
bool is_valid_float(const std::string& text);

// Each parser returns false and leaves *out untouched when the text is not
// lexically valid or its value does not fit the target type.
bool parse_bool(const std::string& text, bool* out);
bool parse_long_long(const std::string& text, long long* out);
bool parse_unsigned_long_long(const std::string& text, unsigned long long* out);
bool parse_int(const std::string& text, int* out);
// Magnitudes beyond the type's range become INF or -INF and those below its
// smallest subnormal become zero, the nearest representable values.
bool parse_double(const std::string& text, double* out);
bool parse_float(const std::string& text, float* out);

std::string format_bool(bool value);
// Shortest text that reads back to the identical value; INF, -INF and NaN
// for the special values.
std::string format_double(double value);
std::string format_float(float value);

void append_double(std::string& out, double value);
void append_float(std::string& out, float value);
void append_long_long(std::string& out, long long value);

}  // namespace lmx60

#endif

#ifndef IPXACT_LMX60_LMX60_TEXT_H
#define IPXACT_LMX60_LMX60_TEXT_H

// Conversions between XML Schema simple-value texts and C++ values.
// Every parser accepts exactly the XML Schema 1.0 lexical form after the
// surrounding XML whitespace is removed, independent of the C locale.

#include <cstddef>
#include <string>
#include <string_view>

namespace lmx60 {

enum elmx_whitespace { ews_preserve, ews_replace, ews_collapse };

// Inline: reading asks of every character of many values.
inline bool is_xml_whitespace(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// The view without leading and trailing XML whitespace; what every simple
// type other than string sees of its text.
inline std::string_view trim_xml_whitespace(std::string_view text) {
  while (!text.empty() && is_xml_whitespace(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_xml_whitespace(text.back())) text.remove_suffix(1);
  return text;
}
// Whether two texts are the same but for the case of ASCII letters (file name extensions, language
// names).
bool same_ignoring_ascii_case(std::string_view a, std::string_view b);

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

// What a float member holds before a value is stored: positive zero, which is written as "0".
constexpr float float_zero() { return 0.0f; }

void append_double(std::string& out, double value);
void append_float(std::string& out, float value);
void append_long_long(std::string& out, long long value);

// The reference that stands for `c` in XML text or in a quoted attribute value; null where the
// character is written as it is. Carriage returns, and in attribute values tabs and line ends, are
// references so that a reader's normalisation cannot change them.
inline const char* xml_escape(char c, bool inAttribute)
{
    switch (c) {
    case '&': return "&amp;";
    case '<': return "&lt;";
    case '>': return "&gt;";
    case '"': return inAttribute ? "&quot;" : nullptr;
    case '\t': return inAttribute ? "&#9;" : nullptr;
    case '\n': return inAttribute ? "&#10;" : nullptr;
    case '\r': return "&#13;";
    default: return nullptr;
    }
}

// Length of the UTF-8 sequence at `p` (before `end`) if it encodes a character XML 1.0 allows, in
// its shortest form; 0 otherwise.
size_t xml_char_length(const unsigned char* p, const unsigned char* end);

// Appends `length` bytes of `text` with xml_escape's references in place of the characters.
void append_xml_escaped(std::string& out, const char* text, size_t length, bool inAttribute);

}  // namespace lmx60

#endif

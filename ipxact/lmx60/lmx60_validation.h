// Per-member description of a simple value's checks, attached to the generated member tables.
#ifndef IPXACT_LMX60_LMX60_VALIDATION_H
#define IPXACT_LMX60_LMX60_VALIDATION_H

#include <string>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

class c_xml_reader;

// A reader-side check: 0 when the text passes; otherwise the fault goes through the reader.
typedef elmx_error (*reader_value_check)(c_xml_reader& reader, const std::string& value);

struct c_untyped_validation_spec {
    elmx_whitespace whitespace;
    reader_value_check lexical;  // pattern facets, on the text
    reader_value_check value;    // enumerations, bounds and lengths, on the text
};

extern const c_untyped_validation_spec validation_spec_empty;
extern const c_untyped_validation_spec validation_spec_collapse;

// The checks a generated validator is made of.
class c_regexp;
elmx_error check_pattern(c_xml_reader& reader, const c_regexp& pattern, const std::string& value);
elmx_error check_enumeration(c_xml_reader& reader, const char* const* allowed, const std::string& value);
bool is_one_of(const char* const* allowed, const std::string& value);

// Bound and length facets; null texts and negative lengths are absent facets. Bounds compare
// numerically (integers of any size, or floating point when either side has a fraction). The length
// of a list value is its number of items, that of any other value its number of characters.
struct c_facets {
    const char* min_inclusive;
    const char* max_inclusive;
    const char* min_exclusive;
    const char* max_exclusive;
    long min_length;
    long max_length;
    bool counts_items = false;
};
// A list without items where the facets require some is an empty list (code 20), any other length
// outside them a facet fault (code 36).
bool facets_hold(const c_facets& facets, const std::string& value);
// `code` is what a failed bound or length gives: ELMX_VALUE_FACET, or ELMX_CONSTRAINT_VALUE for the
// values of timing and load constraints.
elmx_error check_facets(c_xml_reader& reader, const c_facets& facets, const std::string& value,
                        elmx_error code = ELMX_VALUE_FACET);

}  // namespace lmx60

#endif

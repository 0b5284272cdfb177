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

class c_regexp;
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
bool facets_hold(const c_facets& facets, const std::string& value);

// One restricted simple type, as the generated validators describe it: each of them is a row of
// these handed to the checks below, so the checking itself exists once. A null pattern or value list
// is an absent facet.
struct c_restriction {
    const c_regexp* pattern;
    const char* const* allowed;  // null-terminated
    c_facets facets;
    // What a failed bound or length gives: ELMX_VALUE_FACET, or ELMX_CONSTRAINT_VALUE for the values
    // of timing and load constraints.
    elmx_error facet_code;
};

// The checks of a value being read, in the order the reader runs them; a fault goes through the
// reader, named after its current item. check_lexical: the pattern (code 22). check_value: the value
// list (code 38), then the facets: a list without items where they require some is an empty list
// (code 20), any other length or bound outside them facet_code.
elmx_error check_lexical(c_xml_reader& reader, const c_restriction& restriction, const std::string& value);
elmx_error check_value(c_xml_reader& reader, const c_restriction& restriction, const std::string& value);
// The first fault of a value given to a setter, in the order pattern, value list, facets (an empty
// list included, which is facet_code here); 0 when the value passes. Reports nothing.
elmx_error restriction_fault(const c_restriction& restriction, const std::string& value);

}  // namespace lmx60

#endif

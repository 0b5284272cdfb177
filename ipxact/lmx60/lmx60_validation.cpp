#include <ipxact/lmx60/lmx60_validation.h>

#include <cmath>
#include <cstring>

#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_regexp.h>

namespace lmx60 {

const c_untyped_validation_spec validation_spec_empty = {ews_preserve, nullptr, nullptr};
const c_untyped_validation_spec validation_spec_collapse = {ews_collapse, nullptr, nullptr};

bool is_one_of(const char* const* allowed, const std::string& value)
{
    for (; *allowed; ++allowed)
        if (std::strlen(*allowed) == value.size() && std::memcmp(*allowed, value.data(), value.size()) == 0)
            return true;
    return false;
}

namespace {

const int kNotANumber = 2;  // the text is no number: its parser's fault, not the bound's
const int kUnordered = 3;   // NaN, which no bound holds

// -1, 0 or 1 as `value` is below, equal to or above `bound`; kNotANumber or kUnordered otherwise.
int compare_number(const std::string& value, const char* bound)
{
    std::string boundText(bound);
    // Nearly every value and bound is an integer of a few digits: compared as a machine integer,
    // with big integers only for what does not fit.
    long long small, smallBound;
    if (parse_long_long(value, &small) && parse_long_long(boundText, &smallBound))
        return small < smallBound ? -1 : (smallBound < small ? 1 : 0);
    if (c_big_int::is_valid(value) && c_big_int::is_valid(boundText)) {
        c_big_int a(value), b(boundText);
        return a < b ? -1 : (b < a ? 1 : 0);
    }
    double a, b;
    if (!parse_double(value, &a) || !parse_double(boundText, &b))
        return kNotANumber;
    if (std::isnan(a) || std::isnan(b))
        return kUnordered;
    return a < b ? -1 : (b < a ? 1 : 0);
}

long count_characters(const std::string& value)
{
    long count = 0;
    for (unsigned char c : value)
        count += (c & 0xC0) != 0x80;
    return count;
}

long count_items(const std::string& value)
{
    long count = 0;
    bool inItem = false;
    for (char c : value) {
        bool separator = is_xml_whitespace(c);
        count += !separator && !inItem;
        inItem = !separator;
    }
    return count;
}

long length_of(const c_facets& facets, const std::string& value)
{
    return facets.counts_items ? count_items(value) : count_characters(value);
}

}  // namespace

// Text that is no number at all is the value type's fault, which its parser reports; the bounds
// judge numbers only, so that one bad text is one fault.
bool facets_hold(const c_facets& facets, const std::string& value)
{
    // Each bound: the comparisons it allows; NaN, unordered, is inside none.
    auto holds = [&value](const char* bound, bool below, bool equal, bool above) {
        if (!bound)
            return true;
        int order = compare_number(value, bound);
        return order == kNotANumber || (order == -1 && below) || (order == 0 && equal) || (order == 1 && above);
    };
    if (!holds(facets.min_inclusive, false, true, true) || !holds(facets.max_inclusive, true, true, false) ||
        !holds(facets.min_exclusive, false, false, true) || !holds(facets.max_exclusive, true, false, false))
        return false;
    long length = (facets.min_length >= 0 || facets.max_length >= 0) ? length_of(facets, value) : 0;
    if (facets.min_length >= 0 && length < facets.min_length)
        return false;
    if (facets.max_length >= 0 && length > facets.max_length)
        return false;
    return true;
}

elmx_error check_lexical(c_xml_reader& reader, const c_restriction& restriction, const std::string& value)
{
    if (!restriction.pattern || restriction.pattern->matches(value))
        return ELMX_OK;
    return reader.capture_error(ELMX_PATTERN_FACET, reader.get_current_item(), __FILE__, __LINE__);
}

elmx_error check_value(c_xml_reader& reader, const c_restriction& restriction, const std::string& value)
{
    if (restriction.allowed && !is_one_of(restriction.allowed, value)) {
        elmx_error error = reader.capture_error(ELMX_ENUMERATION_FACET, reader.get_current_item(), __FILE__, __LINE__);
        // A handler that lets the read go on has the facets judged as well.
        if (error != ELMX_OK)
            return error;
    }
    const c_facets& facets = restriction.facets;
    if (facets_hold(facets, value))
        return ELMX_OK;
    if (facets.counts_items && facets.min_length > 0 && count_items(value) == 0)
        return reader.capture_error(ELMX_EMPTY_LIST, reader.get_current_item(), __FILE__, __LINE__);
    return reader.capture_error(restriction.facet_code, reader.get_current_item(), __FILE__, __LINE__);
}

elmx_error restriction_fault(const c_restriction& restriction, const std::string& value)
{
    if (restriction.pattern && !restriction.pattern->matches(value))
        return ELMX_PATTERN_FACET;
    if (restriction.allowed && !is_one_of(restriction.allowed, value))
        return ELMX_ENUMERATION_FACET;
    if (!facets_hold(restriction.facets, value))
        return restriction.facet_code;
    return ELMX_OK;
}

}  // namespace lmx60

#include <ipxact/lmx60/lmx60_validation.h>

#include <cstring>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_regexp.h>

namespace lmx60 {

const c_untyped_validation_spec validation_spec_empty = {ews_preserve, nullptr, nullptr};
const c_untyped_validation_spec validation_spec_collapse = {ews_collapse, nullptr, nullptr};

elmx_error check_pattern(c_xml_reader& reader, const c_regexp& pattern, const std::string& value)
{
    if (pattern.matches(value))
        return ELMX_OK;
    return reader.capture_error(ELMX_PATTERN_FACET, reader.get_current_item(), __FILE__, __LINE__);
}

bool is_one_of(const char* const* allowed, const std::string& value)
{
    for (; *allowed; ++allowed)
        if (std::strlen(*allowed) == value.size() && std::memcmp(*allowed, value.data(), value.size()) == 0)
            return true;
    return false;
}

elmx_error check_enumeration(c_xml_reader& reader, const char* const* allowed, const std::string& value)
{
    if (is_one_of(allowed, value))
        return ELMX_OK;
    return reader.capture_error(ELMX_ENUMERATION_FACET, reader.get_current_item(), __FILE__, __LINE__);
}

}  // namespace lmx60

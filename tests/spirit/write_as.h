// A document read through one class and written back, as text; the tests that compare what different
// classes make of the same document share it.
#ifndef IPXACT_TESTS_SPIRIT_WRITE_AS_H
#define IPXACT_TESTS_SPIRIT_WRITE_AS_H

#include <string>

#include <ipxact/lmx60/lmx60.h>

namespace spirit_test {

// The text T writes after reading xml, or what went wrong, so that a comparison shows the fault.
template <class T>
std::string write_as(const std::string& xml)
{
    T object;
    lmx60::s_debug_error debug;
    if (object.unmarshal(xml.data(), xml.size(), &debug) != lmx60::ELMX_OK)
        return "read failed: " + debug.to_string();
    std::string written;
    if (object.marshal(&written, &debug) != lmx60::ELMX_OK)
        return "write failed: " + debug.to_string();
    return written;
}

}  // namespace spirit_test

#endif

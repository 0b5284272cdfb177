// A host that lets reading carry on past every fault still gets an object it can copy, compare and
// write: writing succeeds, fails with a code, or throws lmx60::lmx_exception where a required child
// was never read (as the getter of an absent child does); it never crashes.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/spirit/HIPGSpirit.h>

namespace {

void write(const HIPGSpirit::HIPGSTop& top)
{
    std::string written;
    lmx60::s_debug_error debug;
    try {
        top.marshal(&written, &debug);
    } catch (const lmx60::lmx_exception&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lmx60::c_xml_reader_memory reader(reinterpret_cast<const char*>(data), size);
    reader.set_error_handler([](lmx60::elmx_error, const std::string&, int) { return lmx60::ELMX_OK; });
    HIPGSpirit::HIPGSTop top;
    top.unmarshal(reader);

    HIPGSpirit::HIPGSTop copy(top);
    if (!(copy == top)) {
        std::fprintf(stderr, "a copy of a partly read object differs from it\n");
        std::abort();
    }
    HIPGSpirit::HIPGSTop assigned;
    assigned = top;
    top.reset();
    write(top);
    write(assigned);
    return 0;
}

// Arbitrary bytes read as a document of any global element; what reads must write, what is written
// must read back to an equal object, and that object must write the same text again. Anything else
// aborts so that libFuzzer keeps the input.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <ipxact/spirit/HIPGSpirit.h>

namespace {

[[noreturn]] void fail(const char* what, const lmx60::s_debug_error& debug, const std::string& written)
{
    std::fprintf(stderr, "%s: %s\n--- written ---\n%s\n", what, debug.to_string().c_str(), written.c_str());
    std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    HIPGSpirit::HIPGSTop top;
    lmx60::s_debug_error debug;
    if (top.unmarshal(reinterpret_cast<const char*>(data), size, &debug) != lmx60::ELMX_OK)
        return 0;
    std::string written;
    if (top.marshal(&written, &debug) != lmx60::ELMX_OK)
        fail("a document that reads does not write", debug, written);
    HIPGSpirit::HIPGSTop back;
    if (back.unmarshal(written.data(), written.size(), &debug) != lmx60::ELMX_OK)
        fail("the written document does not read back", debug, written);
    if (!(back == top))
        fail("the document reads back different", debug, written);
    std::string rewritten;
    if (back.marshal(&rewritten, &debug) != lmx60::ELMX_OK || rewritten != written)
        fail("writing what was read back gives another text", debug, rewritten);
    return 0;
}

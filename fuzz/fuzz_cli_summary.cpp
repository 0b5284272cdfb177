// Arbitrary bytes through the command line's own path: read collecting every fault, as `ipxact info`
// and `ipxact format` do, then, when the document read cleanly, summarise it as `ipxact info` does and write it back as
// `ipxact format` does. None of it may crash or throw; a document that reads must also write.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>

#include "faults.h"
#include "summary.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    HIPGSpirit::HIPGSTop document;
    if (!ipxact_cli::read_document_text(reinterpret_cast<const char*>(data), size, document).empty())
        return 0;
    std::ostringstream summary;
    ipxact_cli::print_summary(summary, ipxact_cli::summarize(document));
    std::string written;
    lmx60::s_debug_error debug;
    if (document.marshal(&written, &debug) != lmx60::ELMX_OK) {
        std::fprintf(stderr, "a document that reads does not write: %s\n", debug.to_string().c_str());
        std::abort();
    }
    return 0;
}

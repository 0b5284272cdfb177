// Reading untrusted documents under watch: the outcome, the time it took and the memory it needed.
#ifndef IPXACT_TESTS_HOSTILE_HOSTILE_SUPPORT_H
#define IPXACT_TESTS_HOSTILE_HOSTILE_SUPPORT_H

#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60_error.h>

namespace hostile {

// Generous enough for a sanitizer build on a busy machine, far below what a hang or a blow-up takes.
constexpr double kSecondsPerDocument = 30.0;
constexpr long kMegabytesPerDocument = 400;

struct outcome {
    lmx60::elmx_error code = lmx60::ELMX_OK;
    int line = -1;
    std::string description;  // "line 3: ... (item)"
    double seconds = 0;
    long peak_growth_mb = 0;  // how far the peak resident size rose above the size at the start
};

// Reads `xml` from a buffer as a document of any global element.
outcome read_document(const std::string& xml);

struct continued_outcome {
    lmx60::elmx_error code = lmx60::ELMX_OK;
    int faults = 0;
    int first_line = -1;
    bool copy_equal = false;
};

// Reads `xml` with a handler that carries on past every fault, then copies, compares and writes
// what was read, the way a host that collects all faults would. Writing may end in a code, or in
// lmx60::lmx_exception where a required child was never read; anything else escapes to the test.
continued_outcome read_continuing(const std::string& xml);

// The peak resident size in kilobytes, and the current one, from the kernel.
long peak_resident_kb();
long current_resident_kb();

std::string read_file(const std::string& path);
// A document from tests/hostile/inputs/.
std::string input(const std::string& name);
// The components of the shared corpus that read without a fault; empty when the corpus is missing.
std::vector<std::string> readable_corpus_components();
std::string corpus_directory();

// The line, counted from 1, on which `offset` of `text` stands.
int line_at(const std::string& text, size_t offset);

}  // namespace hostile

#endif

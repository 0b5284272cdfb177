// Reading documents for the command line: every fault of a document is collected, not only the
// first, so that one run shows all there is to fix.
#ifndef IPXACT_CLI_FAULTS_H
#define IPXACT_CLI_FAULTS_H

#include <cstddef>
#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact_cli {

struct fault {
    int line;  // document line; 0 or less when unknown
    lmx60::elmx_error code;
    std::string element;  // what was being read, as the document names it
};

// Reads the whole document at `path`; empty when it read cleanly. Reading carries on past faults
// that leave the document readable, up to a limit per document.
std::vector<fault> read_document(const std::string& path, HIPGSpirit::HIPGSTop& document);
// The same for a document held in memory.
std::vector<fault> read_document_text(const char* data, size_t size, HIPGSpirit::HIPGSTop& document);

// "FILE:LINE: error CODE: DESCRIPTION (ELEMENT)"
std::string describe(const std::string& path, const fault& f);

}  // namespace ipxact_cli

#endif

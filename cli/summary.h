// What `ipxact info` tells about a document: its root element, its identifier and the numbers of
// things a user looks for first, gathered by walking the typed objects.
#ifndef IPXACT_CLI_SUMMARY_H
#define IPXACT_CLI_SUMMARY_H

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact_cli {

struct identifier {
    std::string vendor;
    std::string library;
    std::string name;
    std::string version;
};

struct count {
    std::string label;  // "bus interfaces"
    size_t value;
};

struct document_summary {
    std::string root;  // "spirit:component"
    std::optional<identifier> id;
    std::vector<count> counts;
    std::vector<std::string> vendor_blocks;  // qualified names of the vendor elements met, in document order
};

document_summary summarize(const HIPGSpirit::HIPGSTop& document);

// The value of one count, by label; 0 when the document kind has no such count.
size_t count_of(const document_summary& summary, const std::string& label);

void print_summary(std::ostream& out, const document_summary& summary);

}  // namespace ipxact_cli

#endif

/// @file
/// Writing findings for people (one line each) and for CI systems (SARIF 2.1.0).
#ifndef IPXACT_CATALOG_REPORT_H
#define IPXACT_CATALOG_REPORT_H

#include <ostream>
#include <string>
#include <vector>

#include <ipxact/catalog/finding.h>
#include <ipxact/catalog/rule.h>

namespace ipxact {
namespace catalog {

/// Writes each finding as format_finding() does, one per line.
void write_text(std::ostream& out, const std::vector<Finding>& findings);

/// What a SARIF log says about the tool that made it.
struct SarifTool {
    std::string name = "ipxact";  ///< the driver's name
    std::string version;          ///< its version, left out when empty
};

/// Writes a SARIF 2.1.0 log with one run: the rules (those given, in that order, then the ids
/// used by the findings that are none of them, such as "read.fault"), and one result per finding
/// with its level, message, file (a relative URI reference when the file name is relative), line
/// (when known) and element path (as a logical location). Text is written as JSON strings: control
/// characters escaped, bytes that are not UTF-8 replaced by U+FFFD, so the log is always valid JSON.
void write_sarif(std::ostream& out, const std::vector<Finding>& findings, const std::vector<const Rule*>& rules,
                 const SarifTool& tool = {});

/// Whether any finding is an error.
bool has_errors(const std::vector<Finding>& findings);

}  // namespace catalog
}  // namespace ipxact

#endif

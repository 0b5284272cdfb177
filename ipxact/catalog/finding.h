/// @file
/// What the catalog and its rules report: one finding per fault, with where it is.
#ifndef IPXACT_CATALOG_FINDING_H
#define IPXACT_CATALOG_FINDING_H

#include <string>

namespace ipxact {
namespace catalog {

/// How much a finding matters. Only errors make `ipxact check` and `ipxact catalog` fail.
enum class Severity : unsigned char {
    note,     ///< information: a check that could not be made ("not checked: ... not loaded"), a reference to a document not loaded
    warning,  ///< likely wrong
    error     ///< wrong whatever else is loaded
};

/// "note", "warning" or "error".
const char* severity_name(Severity severity);

/// One fault found in one document.
///
/// A finding always names a file. `line` is the line of the element the finding is about, or of
/// the nearest element around it that the document's line index knows; 0 when the file has no
/// line to point at (it cannot be opened, say). `path` is the element path in the form
/// LineIndex::path writes ("component/memoryMaps/memoryMap[2]/addressBlock"), empty for findings
/// about a whole file.
struct Finding {
    std::string rule;     ///< stable rule id, such as "reference.unresolved"
    Severity severity = Severity::error;  ///< how much it matters
    std::string file;     ///< the document's file, as it was given or found
    int line = 0;         ///< 1-based line; 0 when unknown
    std::string path;     ///< element path inside the document; may be empty
    std::string message;  ///< one line, without the file, line or rule id
};

/// "file:line: severity: [rule] message (path)", the path part left out when the path is empty.
std::string format_finding(const Finding& finding);

/// Orders findings by file, line, rule and message, so that reports do not depend on the order in
/// which threads finished.
bool finding_less(const Finding& a, const Finding& b);

}  // namespace catalog
}  // namespace ipxact

#endif

#include <ipxact/catalog/finding.h>

#include <tuple>

namespace ipxact {
namespace catalog {

const char* severity_name(Severity severity)
{
    switch (severity) {
    case Severity::note:
        return "note";
    case Severity::warning:
        return "warning";
    case Severity::error:
        break;
    }
    return "error";
}

std::string format_finding(const Finding& finding)
{
    std::string text = finding.file + ':' + std::to_string(finding.line > 0 ? finding.line : 0) + ": " +
                       severity_name(finding.severity) + ": [" + finding.rule + "] " + finding.message;
    if (!finding.path.empty())
        text += " (" + finding.path + ')';
    return text;
}

bool finding_less(const Finding& a, const Finding& b)
{
    return std::tie(a.file, a.line, a.rule, a.message, a.path) < std::tie(b.file, b.line, b.rule, b.message, b.path);
}

}  // namespace catalog
}  // namespace ipxact

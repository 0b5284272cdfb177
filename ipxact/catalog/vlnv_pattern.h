// Private to the catalog and its reference rules: a vendor reference whose parts are regular
// expressions, compiled once for matching and for saying why it cannot match.
#ifndef IPXACT_CATALOG_VLNV_PATTERN_H
#define IPXACT_CATALOG_VLNV_PATTERN_H

#include <optional>
#include <regex>
#include <string>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/vlnv.h>

namespace ipxact {
namespace catalog {

// A part left out matches anything, a part written empty only an empty part, and a pattern with a
// part that is no regular expression matches nothing.
class VlnvPattern {
public:
    explicit VlnvPattern(const Reference& reference)
    {
        const char* const names[4] = {"vendor", "library", "name", "version"};
        const Vlnv& parts = reference.target;
        const std::string* texts[4] = {&parts.vendor, &parts.library, &parts.name, &parts.version};
        for (size_t i = 0; i < 4 && m_fault.empty(); ++i) {
            if (!(reference.written & (1u << i)))
                continue;
            try {
                m_parts[i].emplace(*texts[i]);
            } catch (const std::regex_error& e) {
                m_fault = std::string(names[i]) + " '" + *texts[i] + "' is no regular expression (" + e.what() + ")";
            }
        }
    }

    bool matches(const Vlnv& id) const
    {
        const std::string* values[4] = {&id.vendor, &id.library, &id.name, &id.version};
        if (!m_fault.empty())
            return false;
        for (size_t i = 0; i < 4; ++i)
            if (m_parts[i] && !std::regex_match(*values[i], *m_parts[i]))
                return false;
        return true;
    }

    // The first part that is no regular expression, with the reason; empty when every part compiles.
    const std::string& fault() const { return m_fault; }

private:
    std::optional<std::regex> m_parts[4];
    std::string m_fault;
};

}  // namespace catalog
}  // namespace ipxact

#endif

// Operations on the element a reader stands on, for readers written by hand, and the namespace
// context that a fragment taken out of its document needs to be read again on its own.
#ifndef IPXACT_LMX60_C_XML_H
#define IPXACT_LMX60_C_XML_H

#include <string>
#include <utility>
#include <vector>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_error.h>

namespace lmx60 {

class c_xml {
public:
    // From a start tag: keeps the whole element as self-contained XML (capture_element) and returns
    // the code of the fault that stopped it, or 0.
    static elmx_error get_any_element(c_xml_reader& reader, c_any_info* element);
    // The type that an "xsi:type" attribute of the current start tag names, resolved in the element's
    // scope: false when there is none. An unprefixed name is in the default namespace; a prefix
    // declared nowhere leaves *nsUri empty.
    static bool get_xsi_type(const c_xml_reader& reader, std::string* nsUri, std::string* localName);
};

class c_xml_local {
public:
    using binding = std::pair<std::string, std::string>;  // prefix (empty for the default), URI

    // Takes the bindings in scope at the reader's current element, the innermost of each prefix,
    // then the mappings a host added that the document does not override.
    void extract_namespace_context(const c_xml_reader& reader);
    // Makes them known to another reader through add_namespace_mapping.
    void apply(c_xml_reader& reader) const;
    const std::vector<binding>& bindings() const { return m_bindings; }

private:
    bool binds(const std::string& prefix) const;

    std::vector<binding> m_bindings;
};

}  // namespace lmx60

#endif

#include <ipxact/lmx60/c_xml.h>

#include <algorithm>

#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

elmx_error c_xml::get_any_element(c_xml_reader& reader, c_any_info* element)
{
    try {
        reader.capture_element(element);
        return ELMX_OK;
    } catch (const c_lmx_reader_exception& fault) {
        return fault.get_error();
    }
}

bool c_xml::get_xsi_type(const c_xml_reader& reader, std::string* nsUri, std::string* localName)
{
    std::string value;
    if (!reader.find_attribute(kSchemaInstanceNamespace, "type", &value))
        return false;
    const std::string_view qname = trim_xml_whitespace(value);
    const size_t colon = qname.find(':');
    const std::string prefix(colon == std::string_view::npos ? std::string_view() : qname.substr(0, colon));
    *localName = std::string(colon == std::string_view::npos ? qname : qname.substr(colon + 1));
    if (!reader.get_namespace(prefix, nsUri))
        nsUri->clear();
    return true;
}

bool c_xml_local::binds(const std::string& prefix) const
{
    return std::any_of(m_bindings.begin(), m_bindings.end(),
                       [&](const binding& known) { return known.first == prefix; });
}

void c_xml_local::extract_namespace_context(const c_xml_reader& reader)
{
    m_bindings.clear();
    for (size_t i = reader.m_scope.size(); i > 0; --i) {
        const c_xml_reader::ns_binding& declared = reader.m_scope[i - 1];
        std::string prefix = declared.prefix ? declared.prefix : "";
        if (prefix != "xml" && !binds(prefix))
            m_bindings.emplace_back(std::move(prefix), declared.uri ? declared.uri : "");
    }
    for (auto added = reader.m_added_mappings.rbegin(); added != reader.m_added_mappings.rend(); ++added)
        if (!binds(added->first))
            m_bindings.push_back(*added);
}

void c_xml_local::apply(c_xml_reader& reader) const
{
    for (const binding& known : m_bindings)
        reader.add_namespace_mapping(known.first, known.second);
}

}  // namespace lmx60

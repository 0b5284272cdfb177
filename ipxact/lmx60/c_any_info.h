// An element kept whole as XML text, for content that no class binds.
#ifndef IPXACT_LMX60_C_ANY_INFO_H
#define IPXACT_LMX60_C_ANY_INFO_H

#include <string>

namespace lmx60 {

class c_any_info {
public:
    c_any_info() = default;
    // `xml` is a self-contained element: it declares every namespace it uses.
    c_any_info(const std::string& nsUri, const std::string& localName, const std::string& xml)
        : m_ns_uri(nsUri), m_local_name(localName), m_xml(xml) {}

    void set(const std::string& nsUri, const std::string& localName, const std::string& xml);

    const std::string& get_namespace() const { return m_ns_uri; }
    const std::string& get_local_name() const { return m_local_name; }
    // The qualified name as the text spells it ("vorlix:portInfo").
    std::string get_qname() const;
    const std::string& get_xml() const { return m_xml; }
    // The line of the document it was read from where the element began (its text's line 1); 0 for
    // an element made in memory. Not part of its value: equal elements may come from other lines.
    int get_source_line() const { return m_source_line; }
    void set_source_line(int line) { m_source_line = line; }

    bool operator==(const c_any_info& other) const;
    bool operator!=(const c_any_info& other) const { return !(*this == other); }
    void swap(c_any_info& other) noexcept;

private:
    std::string m_ns_uri;
    std::string m_local_name;
    std::string m_xml;
    int m_source_line = 0;
};

// An attribute kept as read, for elements that admit attributes of other namespaces.
struct c_any_attribute {
    std::string ns_uri;
    std::string qname;
    std::string value;
    bool operator==(const c_any_attribute& other) const
    {
        return ns_uri == other.ns_uri && qname == other.qname && value == other.value;
    }
};

}  // namespace lmx60

#endif

#include <ipxact/lmx60/c_any_info.h>

#include <utility>

namespace lmx60 {

void c_any_info::set(const std::string& nsUri, const std::string& localName, const std::string& xml)
{
    m_ns_uri = nsUri;
    m_local_name = localName;
    m_xml = xml;
}

std::string c_any_info::get_qname() const
{
    if (m_xml.size() < 2 || m_xml[0] != '<')
        return m_local_name;
    size_t end = m_xml.find_first_of(" \t\r\n/>", 1);
    return m_xml.substr(1, end == std::string::npos ? std::string::npos : end - 1);
}

bool c_any_info::operator==(const c_any_info& other) const
{
    return m_ns_uri == other.m_ns_uri && m_local_name == other.m_local_name && m_xml == other.m_xml;
}

void c_any_info::swap(c_any_info& other) noexcept
{
    m_ns_uri.swap(other.m_ns_uri);
    m_local_name.swap(other.m_local_name);
    m_xml.swap(other.m_xml);
    std::swap(m_source_line, other.m_source_line);
}

}  // namespace lmx60

// Scratch directories and small documents for the catalog tests.
#ifndef IPXACT_TESTS_CATALOG_SUPPORT_H
#define IPXACT_TESTS_CATALOG_SUPPORT_H

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

namespace catalog_test {

namespace fs = std::filesystem;

class scratch_directory {
public:
    scratch_directory()
        : m_path(fs::temp_directory_path() / ("ipxact_catalog_" + std::to_string(getpid()) + "_" + std::to_string(++count())))
    {
        fs::create_directories(m_path);
    }
    ~scratch_directory() { fs::remove_all(m_path); }
    fs::path operator/(const std::string& name) const { return m_path / name; }
    const fs::path& path() const { return m_path; }

    // Writes `text` to `name` (subdirectories created) and returns the file's path.
    std::string write(const std::string& name, const std::string& text) const
    {
        fs::path file = m_path / name;
        fs::create_directories(file.parent_path());
        std::ofstream(file) << text;
        return file.string();
    }

private:
    static int& count()
    {
        static int n = 0;
        return n;
    }
    fs::path m_path;
};

inline const char* spirit_ns()
{
    return "xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"";
}

inline std::string vlnv_elements(const std::string& vendor, const std::string& library, const std::string& name,
                                 const std::string& version)
{
    return "  <spirit:vendor>" + vendor + "</spirit:vendor>\n  <spirit:library>" + library +
           "</spirit:library>\n  <spirit:name>" + name + "</spirit:name>\n  <spirit:version>" + version +
           "</spirit:version>\n";
}

inline std::string ref(const std::string& element, const std::string& vendor, const std::string& library,
                       const std::string& name, const std::string& version)
{
    return "<spirit:" + element + " spirit:vendor=\"" + vendor + "\" spirit:library=\"" + library +
           "\" spirit:name=\"" + name + "\" spirit:version=\"" + version + "\"/>";
}

inline std::string bus_definition(const std::string& name)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:busDefinition ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "buses", name, "1.0") +
           "  <spirit:directConnection>true</spirit:directConnection>\n"
           "  <spirit:isAddressable>true</spirit:isAddressable>\n</spirit:busDefinition>\n";
}

// A component with one slave bus interface on `bus` (and its abstraction `bus`_rtl).
inline std::string component(const std::string& name, const std::string& bus)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "ip", name, "1.0") +
           "  <spirit:busInterfaces>\n    <spirit:busInterface>\n      <spirit:name>s</spirit:name>\n      " +
           ref("busType", "acme.example.com", "buses", bus, "1.0") + "\n      " +
           ref("abstractionType", "acme.example.com", "buses", bus + "_rtl", "1.0") +
           "\n      <spirit:slave/>\n    </spirit:busInterface>\n  </spirit:busInterfaces>\n</spirit:component>\n";
}

// A design instancing each named component of library "ip".
inline std::string design(const std::string& name, const std::vector<std::string>& components)
{
    std::string text = std::string("<?xml version=\"1.0\"?>\n<spirit:design ") + spirit_ns() + ">\n" +
                       vlnv_elements("acme.example.com", "ip", name, "1.0") + "  <spirit:componentInstances>\n";
    for (size_t i = 0; i < components.size(); ++i)
        text += "    <spirit:componentInstance>\n      <spirit:instanceName>i" + std::to_string(i) +
                "</spirit:instanceName>\n      " + ref("componentRef", "acme.example.com", "ip", components[i], "1.0") +
                "\n    </spirit:componentInstance>\n";
    return text + "  </spirit:componentInstances>\n</spirit:design>\n";
}

}  // namespace catalog_test

#endif

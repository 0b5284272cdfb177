// Private to the rules of bus interfaces, designs and files: path building, identifiers of library
// references, and a flat view of a document's elements of the standard's namespace, with
// their attributes and text, for checks that look for an attribute wherever it may stand (a
// spirit:choiceRef or spirit:id may sit on any of some sixty kinds of element, which the typed
// objects offer no common way to reach).
//
// The view is made by writing the document's objects back to text and reading that with libxml2,
// so it costs about one more read of the document; rules take it only when they need it.
#ifndef IPXACT_CATALOG_RULES_SUPPORT_H
#define IPXACT_CATALOG_RULES_SUPPORT_H

#include <libxml/xmlreader.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/vlnv.h>
#include <ipxact/spirit/HIPGSBusInterfaceType.h>
#include <ipxact/spirit/HIPGSInterfaceMode.h>
#include <ipxact/spirit/HIPGSLibraryRefType2.h>
#include <ipxact/spirit/HIPGSMirroredSystem.h>
#include <ipxact/spirit/HIPGSSystem.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact {
namespace catalog {
namespace rules_detail {

// `parent/name`, with the 1-based position that LineIndex writes for every sibling after the first
// of that name; `index` is 0-based.
inline std::string child_path(const std::string& parent, const char* name, size_t index = 0)
{
    std::string path = parent + "/" + name;
    if (index > 0)
        path += "[" + std::to_string(index + 1) + "]";
    return path;
}

// The identifier a library reference names.
inline Vlnv vlnv_of(const HIPGSpirit::HIPGSLibraryRefType2& reference)
{
    return Vlnv{reference.getVendorAttr(), reference.getLibraryAttr(), reference.getNameAttr(),
                reference.getVersionAttr()};
}

enum class Mode { master, slave, system, mirrored_master, mirrored_slave, mirrored_system, monitor, none };

inline const char* mode_name(Mode mode)
{
    switch (mode) {
    case Mode::master: return "master";
    case Mode::slave: return "slave";
    case Mode::system: return "system";
    case Mode::mirrored_master: return "mirroredMaster";
    case Mode::mirrored_slave: return "mirroredSlave";
    case Mode::mirrored_system: return "mirroredSystem";
    case Mode::monitor: return "monitor";
    case Mode::none: break;
    }
    return "no mode";
}

// The interface's mode and, for the two system modes, its group.
inline Mode mode_of(const HIPGSpirit::HIPGSBusInterfaceType& bus, std::string* group = nullptr)
{
    if (!bus.isSetInterfaceMode())
        return Mode::none;
    const HIPGSpirit::HIPGSInterfaceMode& mode = bus.getInterfaceMode();
    if (mode.isSetMaster())
        return Mode::master;
    if (mode.isSetSlave())
        return Mode::slave;
    if (mode.isSetSystem()) {
        if (group)
            *group = mode.getSystem().getGroup();
        return Mode::system;
    }
    if (mode.isSetMirroredMaster())
        return Mode::mirrored_master;
    if (mode.isSetMirroredSlave())
        return Mode::mirrored_slave;
    if (mode.isSetMirroredSystem()) {
        if (group)
            *group = mode.getMirroredSystem().getGroup();
        return Mode::mirrored_system;
    }
    if (mode.isSetMonitor())
        return Mode::monitor;
    return Mode::none;
}

inline std::string bus_name(const HIPGSpirit::HIPGSBusInterfaceType& bus)
{
    return bus.isSetNameGroup() ? bus.getNameGroup().getName() : std::string();
}

inline const char* spirit_namespace()
{
    return "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
}

// One element of the standard's namespace.
struct TreeElement {
    std::string local;  // local name
    std::string path;   // in LineIndex's form, so that findings get the element's line
    std::vector<std::pair<std::string, std::string>> attributes;  // standard-namespace attributes: local name, value
    std::string text;   // the element's own text, for elements of simple content
    size_t parent = static_cast<size_t>(-1);

    const std::string* attribute(const std::string& name) const
    {
        for (const auto& a : attributes)
            if (a.first == name)
                return &a.second;
        return nullptr;
    }
};

// The elements of the document in document order; empty when the objects cannot be written back.
//
// Elements of other namespaces are left out with everything below them: the line index does not
// hold the content of vendor blocks either, and the standard's references never point into them.
inline std::vector<TreeElement> element_tree(const Document& document)
{
    std::vector<TreeElement> out;
    std::string text;
    if (document.top().marshal(&text) != lmx60::ELMX_OK)
        return out;
    xmlTextReaderPtr reader =
        xmlReaderForMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!reader)
        return out;
    // For each open element: its index in `out` (npos for one left out) and how many children of
    // each local name it has had so far.
    struct Open {
        size_t index;
        std::map<std::string, size_t> seen;
    };
    std::vector<Open> open;
    const size_t npos = static_cast<size_t>(-1);
    while (xmlTextReaderRead(reader) == 1) {
        int type = xmlTextReaderNodeType(reader);
        if (type == XML_READER_TYPE_END_ELEMENT) {
            if (!open.empty())
                open.pop_back();
            continue;
        }
        if (type == XML_READER_TYPE_TEXT || type == XML_READER_TYPE_CDATA) {
            if (!open.empty() && open.back().index != npos) {
                const xmlChar* value = xmlTextReaderConstValue(reader);
                if (value)
                    out[open.back().index].text += reinterpret_cast<const char*>(value);
            }
            continue;
        }
        if (type != XML_READER_TYPE_ELEMENT)
            continue;
        bool empty = xmlTextReaderIsEmptyElement(reader) == 1;
        const char* local = reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader));
        const char* ns = reinterpret_cast<const char*>(xmlTextReaderConstNamespaceUri(reader));
        bool inside_left_out = !open.empty() && open.back().index == npos;
        bool ours = !inside_left_out && ns && std::string(ns) == spirit_namespace();
        size_t index = npos;
        if (ours) {
            TreeElement element;
            element.local = local ? local : "";
            size_t position = 1;
            if (!open.empty()) {
                position = ++open.back().seen[element.local];
                element.parent = open.back().index;
                element.path = out[element.parent].path + "/";
            }
            element.path += element.local;
            if (position > 1)
                element.path += "[" + std::to_string(position) + "]";
            while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
                const char* ans = reinterpret_cast<const char*>(xmlTextReaderConstNamespaceUri(reader));
                if (!ans || std::string(ans) != spirit_namespace())
                    continue;
                element.attributes.emplace_back(reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader)),
                                                reinterpret_cast<const char*>(xmlTextReaderConstValue(reader)));
            }
            xmlTextReaderMoveToElement(reader);
            index = out.size();
            out.push_back(std::move(element));
        } else if (!open.empty() && !inside_left_out) {
            // Counted all the same: the line index numbers siblings by local name whatever their namespace.
            ++open.back().seen[local ? local : ""];
        }
        if (!empty)
            open.push_back(Open{index, {}});
    }
    xmlFreeTextReader(reader);
    return out;
}

}  // namespace rules_detail
}  // namespace catalog
}  // namespace ipxact

#endif

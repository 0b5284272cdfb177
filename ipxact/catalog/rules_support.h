// Private to the rules of bus interfaces, designs and files: element paths, the identifiers that
// library references name, and interface modes.
#ifndef IPXACT_CATALOG_RULES_SUPPORT_H
#define IPXACT_CATALOG_RULES_SUPPORT_H

#include <string>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/vlnv.h>
#include <ipxact/spirit/HIPGSBusInterfaceType.h>
#include <ipxact/spirit/HIPGSComponentType.h>
#include <ipxact/spirit/HIPGSInterfaceMode.h>
#include <ipxact/spirit/HIPGSLibraryRefType2.h>
#include <ipxact/spirit/HIPGSMirroredSystem.h>
#include <ipxact/spirit/HIPGSSystem.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact {
namespace catalog {
namespace rules_detail {

// The component a document holds; null for no document or one of another kind.
inline const HIPGSpirit::HIPGSComponentType* component_of(const Document* document)
{
    return document && document->top().isSetComponent() ? &document->top().getComponent() : nullptr;
}

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

}  // namespace rules_detail
}  // namespace catalog
}  // namespace ipxact

#endif

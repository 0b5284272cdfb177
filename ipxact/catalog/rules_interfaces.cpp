// Rules about a component's bus interfaces: port maps against the abstraction definition and the
// component's own ports, the logical ports each mode requires or forbids, and the modes of the
// interfaces that bridges and channels name. Whether a name used inside the component exists at
// all (a physical port, a memory map, a bridge's master) is schema.keyref's to say; these rules
// stay quiet about names that do not exist so that one fault gives one finding.
#include <algorithm>
#include <map>
#include <set>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/rule.h>
#include <ipxact/spirit/HIPGSAbstractionDefinition.h>
#include <ipxact/spirit/HIPGSComponentType.h>
#include <ipxact/spirit/HIPGSTop.h>

#include "rules_support.h"

namespace ipxact {
namespace catalog {

namespace {

using namespace HIPGSpirit;
using rules_detail::child_path;
using rules_detail::component_of;
using rules_detail::Mode;

const char* kInterfaces = "component/busInterfaces";

std::string interface_path(size_t i)
{
    return child_path(kInterfaces, "busInterface", i);
}

// Calls f(bus, i) for each bus interface of a component document.
template <class F>
void each_interface(const Document& document, F&& f)
{
    const HIPGSComponentType* component = component_of(&document);
    if (!component || !component->isSetBusInterfaces())
        return;
    const HIPGSBusInterfaces& all = component->getBusInterfaces();
    for (size_t i = 0; i < all.sizeBusInterface(); ++i)
        f(all.getBusInterface(i), i);
}

// Calls f(map, j, path) for each port map of an interface.
template <class F>
void each_port_map(const HIPGSBusInterfaceType& bus, size_t i, F&& f)
{
    if (!bus.isSetPortMaps())
        return;
    const HIPGSPortMaps& maps = bus.getPortMaps();
    std::string parent = interface_path(i) + "/portMaps";
    for (size_t j = 0; j < maps.sizePortMap(); ++j)
        f(maps.getPortMap(j), child_path(parent, "portMap", j));
}

// ---- the logical ports of an abstraction definition, inherited ones included ----

struct LogicalPorts {
    std::map<std::string, const HIPGSAbstractionDefinitionPortsPort*> ports;
    bool complete = true;   // false when a definition along the chain is not loaded
    Vlnv missing;           // the first one that is not
};

// Follows `extends` so that a port the definition inherits counts as its own; a port it
// redefines hides the inherited one.
LogicalPorts logical_ports(const RuleContext& context, const Vlnv& abstraction)
{
    LogicalPorts result;
    std::set<const Document*> seen;
    Vlnv next = abstraction;
    for (;;) {
        const Document* document = context.find(next);
        if (!document || !document->top().isSetAbstractionDefinition()) {
            result.complete = false;
            result.missing = next;
            return result;
        }
        if (!seen.insert(document).second)
            return result;
        const HIPGSAbstractionDefinition& definition = document->top().getAbstractionDefinition();
        if (definition.isSetPorts()) {
            const HIPGSAbstractionDefinitionPorts& ports = definition.getPorts();
            for (size_t i = 0; i < ports.sizePort(); ++i)
                result.ports.emplace(ports.getPort(i).getLogicalName(), &ports.getPort(i));
        }
        if (!definition.isSetExtends())
            return result;
        next = rules_detail::vlnv_of(definition.getExtends());
    }
}

// What an abstraction definition says of one logical port in one mode.
struct PortInMode {
    bool described = false;  // the definition has an onMaster/onSlave/onSystem for the mode
    std::string presence;    // "required", "illegal", "optional" (the default)
    bool has_width = false;
    long long width = 0;
};

PortInMode port_in_mode(const HIPGSAbstractionDefinitionPortsPort& port, Mode mode, const std::string& group)
{
    PortInMode result;
    if (!port.isSetAbstractionDefinitionPortsPortAnonWire())
        return result;
    const HIPGSAbstractionDefinitionPortsPortAnonWire& kind = port.getAbstractionDefinitionPortsPortAnonWire();
    auto take_wire = [&](const HIPGSWirePort& wire) {
        result.described = true;
        result.presence = wire.isSetPresence() ? wire.getPresence() : "optional";
        if (wire.isSetWidth())
            result.has_width = wire.getWidth().get_as_long_long(&result.width);
    };
    auto take_transactional = [&](const HIPGSTransactionalPort& transactional) {
        result.described = true;
        result.presence = transactional.isSetPresence() ? transactional.getPresence() : "optional";
    };
    bool master = mode == Mode::master || mode == Mode::mirrored_master;
    bool slave = mode == Mode::slave || mode == Mode::mirrored_slave;
    bool system = mode == Mode::system || mode == Mode::mirrored_system;
    if (kind.isSetWire()) {
        const HIPGSWire& wire = kind.getWire();
        if (master && wire.isSetOnMaster() && wire.getOnMaster().isSetWirePort())
            take_wire(wire.getOnMaster().getWirePort());
        if (slave && wire.isSetOnSlave() && wire.getOnSlave().isSetWirePort())
            take_wire(wire.getOnSlave().getWirePort());
        if (system)
            for (size_t i = 0; i < wire.sizeOnSystem(); ++i)
                if (wire.getOnSystem(i).getGroup() == group && wire.getOnSystem(i).isSetWirePort())
                    take_wire(wire.getOnSystem(i).getWirePort());
    } else if (kind.isSetTransactional()) {
        const HIPGSTransactional& transactional = kind.getTransactional();
        if (master && transactional.isSetOnMaster() && transactional.getOnMaster().isSetTransactionalPort())
            take_transactional(transactional.getOnMaster().getTransactionalPort());
        if (slave && transactional.isSetOnSlave() && transactional.getOnSlave().isSetTransactionalPort())
            take_transactional(transactional.getOnSlave().getTransactionalPort());
        if (system)
            for (size_t i = 0; i < transactional.sizeOnSystem(); ++i)
                if (transactional.getOnSystem(i).getGroup() == group &&
                    transactional.getOnSystem(i).isSetTransactionalPort())
                    take_transactional(transactional.getOnSystem(i).getTransactionalPort());
    }
    return result;
}

// The logical ports of each bus interface's abstraction type, gathered once for the four rules that
// compare port maps with them; empty for an interface without one.
struct InterfaceLogicalPorts {
    explicit InterfaceLogicalPorts(RuleContext& context)
    {
        each_interface(context.document(), [&](const HIPGSBusInterfaceType& bus, size_t i) {
            by_interface.resize(i + 1);
            if (bus.isSetAbstractionType())
                by_interface[i] = logical_ports(context, rules_detail::vlnv_of(bus.getAbstractionType()));
        });
    }
    std::vector<LogicalPorts> by_interface;
};

// Runs f(bus, i, ports) for every interface with an abstraction type; an interface whose
// definition (or one it extends) is not loaded gets a note instead.
template <class F>
void with_logical_ports(RuleContext& context, const std::string& what, F&& f)
{
    const InterfaceLogicalPorts& all = context.shared<InterfaceLogicalPorts>();
    each_interface(context.document(), [&](const HIPGSBusInterfaceType& bus, size_t i) {
        if (!bus.isSetAbstractionType())
            return;
        const LogicalPorts& ports = all.by_interface[i];
        if (!ports.complete) {
            context.not_checked(interface_path(i) + "/abstractionType",
                                what + " of bus interface '" + rules_detail::bus_name(bus) + "'", ports.missing);
            return;
        }
        f(bus, i, ports);
    });
}

// ---- the component's physical ports ----

struct PhysicalPort {
    bool is_wire = false;
    bool has_vector = false;
    long long low = 0, high = 0;  // the bits the port has, when both bounds are plain numbers
    bool bounds_known = false;
};

std::map<std::string, PhysicalPort> physical_ports(const HIPGSComponentType& component)
{
    std::map<std::string, PhysicalPort> result;
    if (!component.isSetModel() || !component.getModel().isSetPorts())
        return result;
    const HIPGSPorts& ports = component.getModel().getPorts();
    for (size_t i = 0; i < ports.sizePort(); ++i) {
        const HIPGSPortType& port = ports.getPort(i);
        if (!port.isSetNameGroupPort())
            continue;
        PhysicalPort info;
        if (port.isSetAnonWire() && port.getAnonWire().isSetWire()) {
            info.is_wire = true;
            const HIPGSPortWireType& wire = port.getAnonWire().getWire();
            if (wire.isSetVector()) {
                info.has_vector = true;
                const HIPGSVector& vector = wire.getVector();
                long long left = 0, right = 0;
                if (vector.isSetLeft() && vector.isSetRight() && vector.getLeft().getLeft().get_as_long_long(&left) &&
                    vector.getRight().getRight().get_as_long_long(&right)) {
                    info.low = std::min(left, right);
                    info.high = std::max(left, right);
                    info.bounds_known = true;
                }
            } else {
                info.bounds_known = true;  // a scalar wire has the one bit 0
            }
        }
        result.emplace(port.getNameGroupPort().getName(), info);
    }
    return result;
}

// ---- rules ----

class LogicalPortExists : public Rule {
public:
    const char* id() const override { return "interface.logical-port"; }
    const char* description() const override
    {
        return "a port map names a logical port of the interface's abstraction definition";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        with_logical_ports(context, "logical ports", [&](const HIPGSBusInterfaceType& bus, size_t i, const LogicalPorts& ports) {
            each_port_map(bus, i, [&](const HIPGSPortMap& map, const std::string& path) {
                if (!map.isSetLogicalPort())
                    return;
                const std::string& name = map.getLogicalPort().getName();
                if (!ports.ports.count(name))
                    context.report(Severity::error, path + "/logicalPort/name",
                                   "logical port '" + name + "' is not a port of abstraction definition " +
                                       rules_detail::vlnv_of(bus.getAbstractionType()).to_string());
            });
        });
    }
};

class LogicalRange : public Rule {
public:
    const char* id() const override { return "interface.logical-range"; }
    const char* description() const override
    {
        return "a port map's logical vector lies inside the width the abstraction definition gives the port in the interface's mode";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        with_logical_ports(context, "logical port widths", [&](const HIPGSBusInterfaceType& bus, size_t i, const LogicalPorts& ports) {
            std::string group;
            Mode mode = rules_detail::mode_of(bus, &group);
            each_port_map(bus, i, [&](const HIPGSPortMap& map, const std::string& path) {
                if (!map.isSetLogicalPort() || !map.getLogicalPort().isSetVector())
                    return;
                auto port = ports.ports.find(map.getLogicalPort().getName());
                if (port == ports.ports.end())
                    return;  // interface.logical-port reports it
                PortInMode described = port_in_mode(*port->second, mode, group);
                if (!described.has_width)
                    return;
                const HIPGSLogicalPortVector& vector = map.getLogicalPort().getVector();
                long long bound = 0;
                if (vector.isSetLeft() && vector.getLeft().getLeft().get_as_long_long(&bound) && bound >= described.width)
                    report(context, path + "/logicalPort/vector/left", port->first, bound, described.width, mode);
                if (vector.isSetRight() && vector.getRight().getRight().get_as_long_long(&bound) &&
                    bound >= described.width)
                    report(context, path + "/logicalPort/vector/right", port->first, bound, described.width, mode);
            });
        });
    }

private:
    static void report(RuleContext& context, const std::string& path, const std::string& port, long long bound,
                       long long width, Mode mode)
    {
        context.report(Severity::error, path,
                       "bit " + std::to_string(bound) + " of logical port '" + port + "' is outside its width " +
                           std::to_string(width) + " on a " + rules_detail::mode_name(mode) + " interface");
    }
};

class PhysicalRange : public Rule {
public:
    const char* id() const override { return "interface.physical-range"; }
    const char* description() const override
    {
        return "a port map's physical vector lies inside the bits of the component's port";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        const HIPGSComponentType* component = component_of(&context.document());
        if (!component)
            return;
        std::map<std::string, PhysicalPort> ports = physical_ports(*component);
        each_interface(context.document(), [&](const HIPGSBusInterfaceType& bus, size_t i) {
            each_port_map(bus, i, [&](const HIPGSPortMap& map, const std::string& path) {
                if (!map.isSetPhysicalPort() || !map.getPhysicalPort().isSetVector())
                    return;
                auto port = ports.find(map.getPhysicalPort().getName());
                if (port == ports.end() || !port->second.is_wire || !port->second.bounds_known)
                    return;
                const HIPGSVector& vector = map.getPhysicalPort().getVector();
                long long bound = 0;
                if (vector.isSetLeft() && vector.getLeft().getLeft().get_as_long_long(&bound))
                    check_bound(context, path + "/physicalPort/vector/left", port->first, port->second, bound);
                if (vector.isSetRight() && vector.getRight().getRight().get_as_long_long(&bound))
                    check_bound(context, path + "/physicalPort/vector/right", port->first, port->second, bound);
            });
        });
    }

private:
    static void check_bound(RuleContext& context, const std::string& path, const std::string& name,
                            const PhysicalPort& port, long long bound)
    {
        if (bound >= port.low && bound <= port.high)
            return;
        std::string range = port.has_vector
                                ? "[" + std::to_string(port.high) + ":" + std::to_string(port.low) + "]"
                                : "(a scalar port)";
        context.report(Severity::error, path,
                       "bit " + std::to_string(bound) + " is outside port '" + name + "' " + range);
    }
};

// The logical ports mapped by an interface.
std::set<std::string> mapped_logical_ports(const HIPGSBusInterfaceType& bus)
{
    std::set<std::string> mapped;
    if (bus.isSetPortMaps())
        for (size_t j = 0; j < bus.getPortMaps().sizePortMap(); ++j)
            if (bus.getPortMaps().getPortMap(j).isSetLogicalPort())
                mapped.insert(bus.getPortMaps().getPortMap(j).getLogicalPort().getName());
    return mapped;
}

class RequiredPort : public Rule {
public:
    const char* id() const override { return "interface.required-port"; }
    const char* description() const override
    {
        return "every logical port the abstraction definition requires in the interface's mode is mapped";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        with_logical_ports(context, "required logical ports", [&](const HIPGSBusInterfaceType& bus, size_t i, const LogicalPorts& ports) {
            std::string group;
            Mode mode = rules_detail::mode_of(bus, &group);
            if (mode == Mode::monitor || mode == Mode::none)
                return;
            std::set<std::string> mapped = mapped_logical_ports(bus);
            for (const auto& port : ports.ports) {
                if (mapped.count(port.first) || port_in_mode(*port.second, mode, group).presence != "required")
                    continue;
                context.report(Severity::error, interface_path(i),
                               "logical port '" + port.first + "' is required on a " + rules_detail::mode_name(mode) +
                                   " interface but bus interface '" + rules_detail::bus_name(bus) +
                                   "' does not map it");
            }
        });
    }
};

class IllegalPort : public Rule {
public:
    const char* id() const override { return "interface.illegal-port"; }
    const char* description() const override
    {
        return "no port map names a logical port that the abstraction definition makes illegal in the interface's mode";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        with_logical_ports(context, "illegal logical ports", [&](const HIPGSBusInterfaceType& bus, size_t i, const LogicalPorts& ports) {
            std::string group;
            Mode mode = rules_detail::mode_of(bus, &group);
            if (mode == Mode::monitor || mode == Mode::none)
                return;
            each_port_map(bus, i, [&](const HIPGSPortMap& map, const std::string& path) {
                if (!map.isSetLogicalPort())
                    return;
                auto port = ports.ports.find(map.getLogicalPort().getName());
                if (port == ports.ports.end() || port_in_mode(*port->second, mode, group).presence != "illegal")
                    return;
                context.report(Severity::error, path + "/logicalPort/name",
                               "logical port '" + port->first + "' is illegal on a " + rules_detail::mode_name(mode) +
                                   " interface");
            });
        });
    }
};

// The mode of each of the component's interfaces, by name.
std::map<std::string, Mode> interface_modes(const Document& document)
{
    std::map<std::string, Mode> modes;
    each_interface(document, [&](const HIPGSBusInterfaceType& bus, size_t) {
        modes.emplace(rules_detail::bus_name(bus), rules_detail::mode_of(bus));
    });
    return modes;
}

class BridgeMaster : public Rule {
public:
    const char* id() const override { return "interface.bridge"; }
    const char* description() const override
    {
        return "a slave interface's bridge names a master bus interface, not one of another mode";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        std::map<std::string, Mode> modes = interface_modes(context.document());
        each_interface(context.document(), [&](const HIPGSBusInterfaceType& bus, size_t i) {
            if (rules_detail::mode_of(bus) != Mode::slave)
                return;
            const HIPGSSlave& slave = bus.getInterfaceMode().getSlave();
            for (size_t k = 0; k < slave.sizeBridge(); ++k) {
                const std::string& target = slave.getBridge(k).getMasterRefAttr();
                std::string path = child_path(interface_path(i) + "/slave", "bridge", k);
                auto found = modes.find(target);
                if (found != modes.end() && found->second != Mode::master)
                    context.report(Severity::error, path,
                                   "bridge of bus interface '" + rules_detail::bus_name(bus) + "' names '" + target +
                                       "', a " + rules_detail::mode_name(found->second) + " interface, not a master");
            }
        });
    }
};

class ChannelInterfaces : public Rule {
public:
    const char* id() const override { return "interface.channel"; }
    const char* description() const override { return "a channel names mirrored bus interfaces, not ones of other modes"; }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        const HIPGSComponentType* component = component_of(&context.document());
        if (!component || !component->isSetChannels())
            return;
        std::map<std::string, Mode> modes = interface_modes(context.document());
        const HIPGSChannels& channels = component->getChannels();
        for (size_t c = 0; c < channels.sizeChannel(); ++c) {
            const HIPGSChannel& channel = channels.getChannel(c);
            std::string name = channel.isSetNameGroup() ? channel.getNameGroup().getName() : std::string();
            std::string parent = child_path("component/channels", "channel", c);
            for (size_t k = 0; k < channel.sizeBusInterfaceRef(); ++k) {
                const std::string& target = channel.getBusInterfaceRef(k);
                std::string path = child_path(parent, "busInterfaceRef", k);
                auto found = modes.find(target);
                if (found != modes.end() && found->second != Mode::mirrored_master && found->second != Mode::mirrored_slave &&
                         found->second != Mode::mirrored_system)
                    context.report(Severity::error, path,
                                   "channel '" + name + "' names '" + target + "', a " +
                                       rules_detail::mode_name(found->second) + " interface, not a mirrored one");
            }
        }
    }
};

}  // namespace

IPXACT_CATALOG_RULE(LogicalPortExists);
IPXACT_CATALOG_RULE(LogicalRange);
IPXACT_CATALOG_RULE(PhysicalRange);
IPXACT_CATALOG_RULE(RequiredPort);
IPXACT_CATALOG_RULE(IllegalPort);
IPXACT_CATALOG_RULE(BridgeMaster);
IPXACT_CATALOG_RULE(ChannelInterfaces);

}  // namespace catalog
}  // namespace ipxact

// Rules about designs: instances whose components are loaded, and connections, hierarchical
// connections and configured values that name what those components (and the component the design
// implements) really have. Names of instances inside the design are schema.keyref's to check; these
// rules look across to the components.
#include <map>
#include <set>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/rule.h>
#include <ipxact/spirit/HIPGSBusDefinition.h>
#include <ipxact/spirit/HIPGSComponentType.h>
#include <ipxact/spirit/HIPGSDesign.h>
#include <ipxact/spirit/HIPGSTop.h>

#include "rules_support.h"
#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

using namespace HIPGSpirit;
using rules_detail::child_path;
using rules_detail::component_of;
using rules_detail::Mode;

const HIPGSDesign* design_of(const Document& document)
{
    return document.top().isSetDesign() ? &document.top().getDesign() : nullptr;
}

std::string instance_path(size_t i)
{
    return child_path("design/componentInstances", "componentInstance", i);
}

// One component instance of the design and what its component offers.
struct Instance {
    size_t index = 0;
    const HIPGSComponentInstance* object = nullptr;
    Vlnv component_id;
    const Document* document = nullptr;            // the component's document, when loaded
    const HIPGSComponentType* component = nullptr;
};

std::map<std::string, Instance> instances_of(const RuleContext& context, const HIPGSDesign& design)
{
    std::map<std::string, Instance> result;
    if (!design.isSetComponentInstances())
        return result;
    const HIPGSComponentInstances& all = design.getComponentInstances();
    for (size_t i = 0; i < all.sizeComponentInstance(); ++i) {
        const HIPGSComponentInstance& object = all.getComponentInstance(i);
        Instance instance;
        instance.index = i;
        instance.object = &object;
        if (object.isSetComponentRef()) {
            instance.component_id = rules_detail::vlnv_of(object.getComponentRef());
            instance.document = context.find(instance.component_id);
            instance.component = component_of(instance.document);
        }
        result.emplace(object.getInstanceName(), instance);
    }
    return result;
}

const HIPGSBusInterfaceType* find_interface(const HIPGSComponentType& component, const std::string& name)
{
    if (!component.isSetBusInterfaces())
        return nullptr;
    const HIPGSBusInterfaces& all = component.getBusInterfaces();
    for (size_t i = 0; i < all.sizeBusInterface(); ++i)
        if (rules_detail::bus_name(all.getBusInterface(i)) == name)
            return &all.getBusInterface(i);
    return nullptr;
}

bool has_port(const HIPGSComponentType& component, const std::string& name)
{
    if (!component.isSetModel() || !component.getModel().isSetPorts())
        return false;
    const HIPGSPorts& ports = component.getModel().getPorts();
    for (size_t i = 0; i < ports.sizePort(); ++i)
        if (ports.getPort(i).isSetNameGroupPort() && ports.getPort(i).getNameGroupPort().getName() == name)
            return true;
    return false;
}

// The components whose hierarchical view names this design, directly or through a design
// configuration: the design's external ports and interfaces are theirs.
std::vector<const Document*> top_components(const RuleContext& context)
{
    std::vector<const Document*> tops;
    std::set<const Document*> seen;
    auto add_from = [&](const Document& target) {
        for (const ReferenceSite& site : context.catalog().referrers(target))
            if (component_of(site.from) && site.reference->element == "spirit:hierarchyRef" &&
                seen.insert(site.from).second)
                tops.push_back(site.from);
    };
    add_from(context.document());
    for (const ReferenceSite& site : context.catalog().referrers(context.document()))
        if (site.from->kind() == DocumentKind::design_configuration)
            add_from(*site.from);
    return tops;
}

// Calls f(interface, path, monitor) for every reference to an instance's bus interface in the
// design; `monitor` is true for the ends of monitor interconnections.
template <class F>
void each_interface_reference(const HIPGSDesign& design, F&& f)
{
    if (design.isSetInterconnections()) {
        const HIPGSInterconnections& all = design.getInterconnections();
        for (size_t k = 0; k < all.sizeInterconnection(); ++k) {
            const HIPGSInterconnection& connection = all.getInterconnection(k);
            std::string parent = child_path("design/interconnections", "interconnection", k);
            for (size_t m = 0; m < connection.sizeActiveInterface(); ++m)
                f(connection.getActiveInterface(m), child_path(parent, "activeInterface", m), false);
        }
        for (size_t k = 0; k < all.sizeMonitorInterconnection(); ++k) {
            const HIPGSMonitorInterconnection& connection = all.getMonitorInterconnection(k);
            std::string parent = child_path("design/interconnections", "monitorInterconnection", k);
            if (connection.isSetMonitoredActiveInterface())
                f(connection.getMonitoredActiveInterface(), parent + "/monitoredActiveInterface", true);
            for (size_t m = 0; m < connection.sizeMonitorInterface(); ++m)
                f(connection.getMonitorInterface(m), child_path(parent, "monitorInterface", m), true);
        }
    }
    if (design.isSetHierConnections()) {
        const HIPGSHierConnections& all = design.getHierConnections();
        for (size_t k = 0; k < all.sizeHierConnection(); ++k)
            if (all.getHierConnection(k).isSetInterface())
                f(all.getHierConnection(k).getInterface(),
                  child_path("design/hierConnections", "hierConnection", k) + "/interface", false);
    }
}

// ---- rules ----

class InstanceComponent : public Rule {
public:
    const char* id() const override { return "design.instance-component"; }
    const char* description() const override
    {
        return "every component instance's component is loaded, so that the design's connections can be checked";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design)
            return;
        for (const auto& entry : instances_of(context, *design)) {
            const Instance& instance = entry.second;
            if (!instance.object->isSetComponentRef() || instance.document)
                continue;
            context.not_checked(instance_path(instance.index) + "/componentRef",
                                "component of instance '" + entry.first + "'", instance.component_id);
        }
    }
};

class InterfaceReference : public Rule {
public:
    const char* id() const override { return "design.interface-reference"; }
    const char* description() const override
    {
        return "an interconnection or hierarchical connection names a component instance and one of its component's bus interfaces";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design)
            return;
        std::map<std::string, Instance> instances = instances_of(context, *design);
        each_interface_reference(*design, [&](const HIPGSInterface& reference, const std::string& path, bool monitor) {
            const std::string& name = reference.getComponentRefAttr();
            auto instance = instances.find(name);
            if (instance == instances.end()) {
                // The schema's key references cover the other ends (schema.keyref reports them).
                if (monitor)
                    context.report(Severity::error, path, "'" + name + "' is not a component instance of the design");
                return;
            }
            const HIPGSComponentType* component = instance->second.component;
            if (component && !find_interface(*component, reference.getBusRefAttr()))
                context.report(Severity::error, path,
                               "instance '" + name + "' has no bus interface '" + reference.getBusRefAttr() + "' (" +
                                   instance->second.component_id.to_string() + ")");
        });
    }
};

// Whether two interface modes may be joined by an interconnection.
bool compatible(Mode a, Mode b)
{
    auto either = [&](Mode x, Mode y) { return (a == x && b == y) || (a == y && b == x); };
    return either(Mode::master, Mode::slave) || either(Mode::master, Mode::mirrored_master) ||
           either(Mode::slave, Mode::mirrored_slave) || either(Mode::system, Mode::mirrored_system);
}

// Calls f(first, second, path) for each interconnection whose two ends are bus interfaces of
// loaded components.
template <class F>
void each_resolved_interconnection(const RuleContext& context, const HIPGSDesign& design, F&& f)
{
    if (!design.isSetInterconnections())
        return;
    std::map<std::string, Instance> instances = instances_of(context, design);
    auto end = [&](const HIPGSInterface& reference) -> const HIPGSBusInterfaceType* {
        auto instance = instances.find(reference.getComponentRefAttr());
        if (instance == instances.end() || !instance->second.component)
            return nullptr;
        return find_interface(*instance->second.component, reference.getBusRefAttr());
    };
    const HIPGSInterconnections& all = design.getInterconnections();
    for (size_t k = 0; k < all.sizeInterconnection(); ++k) {
        const HIPGSInterconnection& connection = all.getInterconnection(k);
        if (connection.sizeActiveInterface() != 2)
            continue;
        const HIPGSBusInterfaceType* first = end(connection.getActiveInterface(0));
        const HIPGSBusInterfaceType* second = end(connection.getActiveInterface(1));
        if (first && second)
            f(connection, *first, *second, child_path("design/interconnections", "interconnection", k));
    }
}

std::string end_name(const HIPGSInterface& reference)
{
    return reference.getComponentRefAttr() + "." + reference.getBusRefAttr();
}

// The bus definition `id` and those it extends, as far as they are loaded.
std::vector<Vlnv> bus_lineage(const RuleContext& context, const Vlnv& id)
{
    std::vector<Vlnv> lineage{id};
    for (;;) {
        const Document* document = context.find(lineage.back());
        if (!document || !document->top().isSetBusDefinition() ||
            !document->top().getBusDefinition().isSetExtends())
            return lineage;
        Vlnv next = rules_detail::vlnv_of(document->top().getBusDefinition().getExtends());
        for (const Vlnv& seen : lineage)
            if (seen == next)
                return lineage;
        lineage.push_back(next);
    }
}

class InterconnectionBusType : public Rule {
public:
    const char* id() const override { return "design.interconnection-bus-type"; }
    const char* description() const override
    {
        return "an interconnection joins two bus interfaces of the same bus type, or of bus types one of which extends the other";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design)
            return;
        each_resolved_interconnection(context, *design, [&](const HIPGSInterconnection& connection,
                                                            const HIPGSBusInterfaceType& first,
                                                            const HIPGSBusInterfaceType& second, const std::string& path) {
            if (!first.isSetBusType() || !second.isSetBusType())
                return;
            Vlnv a = rules_detail::vlnv_of(first.getBusType());
            Vlnv b = rules_detail::vlnv_of(second.getBusType());
            if (a == b)
                return;
            auto descends = [&](const Vlnv& from, const Vlnv& to) {
                for (const Vlnv& step : bus_lineage(context, from))
                    if (step == to)
                        return true;
                return false;
            };
            if (descends(a, b) || descends(b, a))
                return;
            context.report(Severity::error, path,
                           "interconnection joins " + end_name(connection.getActiveInterface(0)) + " on bus " +
                               a.to_string() + " with " + end_name(connection.getActiveInterface(1)) + " on bus " +
                               b.to_string());
        });
    }
};

class InterconnectionModes : public Rule {
public:
    const char* id() const override { return "design.interconnection-mode"; }
    const char* description() const override
    {
        return "an interconnection joins compatible modes: master with slave (where the bus allows direct connection) or mirrored master, slave with mirrored slave, system with mirrored system of the same group";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design)
            return;
        each_resolved_interconnection(context, *design, [&](const HIPGSInterconnection& connection,
                                                            const HIPGSBusInterfaceType& first,
                                                            const HIPGSBusInterfaceType& second, const std::string& path) {
            std::string group_a, group_b;
            Mode a = rules_detail::mode_of(first, &group_a);
            Mode b = rules_detail::mode_of(second, &group_b);
            if (a == Mode::none || b == Mode::none)
                return;
            std::string ends = end_name(connection.getActiveInterface(0)) + " (" + rules_detail::mode_name(a) +
                               ") with " + end_name(connection.getActiveInterface(1)) + " (" +
                               rules_detail::mode_name(b) + ")";
            if (!compatible(a, b))
                context.report(Severity::error, path, "interconnection joins " + ends);
            else if ((a == Mode::master && b == Mode::slave) || (a == Mode::slave && b == Mode::master)) {
                // A master meets a slave without a mirrored interface between them only where
                // the bus allows direct connection.
                if (!first.isSetBusType())
                    return;
                Vlnv bus = rules_detail::vlnv_of(first.getBusType());
                const Document* definition = context.find(bus);
                if (!definition || !definition->top().isSetBusDefinition())
                    context.not_checked(path, "direct connection of " + ends, bus);
                else if (!definition->top().getBusDefinition().getDirectConnection())
                    context.report(Severity::error, path,
                                   "interconnection joins " + ends + " directly, which bus " + bus.to_string() +
                                       " does not allow (directConnection false)");
            } else if (a == Mode::system || a == Mode::mirrored_system) {
                if (group_a != group_b)
                    context.report(Severity::error, path,
                                   "interconnection joins " + ends + " of different groups '" + group_a + "' and '" +
                                       group_b + "'");
            }
        });
    }
};

class AdHocPort : public Rule {
public:
    const char* id() const override { return "design.adhoc-port"; }
    const char* description() const override
    {
        return "an ad hoc connection names ports of component instances, and external ports of the component the design implements";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design || !design->isSetAdHocConnections())
            return;
        std::map<std::string, Instance> instances = instances_of(context, *design);
        std::vector<const Document*> tops;
        bool tops_known = false;
        const HIPGSAdHocConnections& all = design->getAdHocConnections();
        for (size_t k = 0; k < all.sizeAdHocConnection(); ++k) {
            const HIPGSAdHocConnection& connection = all.getAdHocConnection(k);
            std::string parent = child_path("design/adHocConnections", "adHocConnection", k);
            for (size_t m = 0; m < connection.sizeInternalPortReference(); ++m) {
                const HIPGSInternalPortReference& reference = connection.getInternalPortReference(m);
                std::string path = child_path(parent, "internalPortReference", m);
                auto instance = instances.find(reference.getComponentRefAttr());
                // An instance name that does not exist is schema.keyref's finding.
                if (instance != instances.end() && instance->second.component &&
                    !has_port(*instance->second.component, reference.getPortRefAttr()))
                    context.report(Severity::error, path,
                                   "instance '" + instance->first + "' has no port '" + reference.getPortRefAttr() +
                                       "' (" + instance->second.component_id.to_string() + ")");
            }
            if (connection.sizeExternalPortReference() == 0)
                continue;
            if (!tops_known) {
                tops = top_components(context);
                tops_known = true;
            }
            for (size_t m = 0; m < connection.sizeExternalPortReference(); ++m) {
                const std::string& port = connection.getExternalPortReference(m).getPortRefAttr();
                for (const Document* top : tops)
                    if (!has_port(top->top().getComponent(), port))
                        context.report(Severity::error, child_path(parent, "externalPortReference", m),
                                       "external port '" + port + "' is not a port of " + top->vlnv().to_string() +
                                           ", whose hierarchy is this design");
            }
        }
    }
};

class HierConnectionInterface : public Rule {
public:
    const char* id() const override { return "design.hier-connection"; }
    const char* description() const override
    {
        return "a hierarchical connection's interfaceRef names a bus interface of the component the design implements";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design || !design->isSetHierConnections())
            return;
        std::vector<const Document*> tops = top_components(context);
        const HIPGSHierConnections& all = design->getHierConnections();
        for (size_t k = 0; k < all.sizeHierConnection(); ++k) {
            const std::string& name = all.getHierConnection(k).getInterfaceRefAttr();
            for (const Document* top : tops)
                if (!find_interface(top->top().getComponent(), name))
                    context.report(Severity::error, child_path("design/hierConnections", "hierConnection", k),
                                   "hierarchical connection names interface '" + name + "', which " +
                                       top->vlnv().to_string() + " (whose hierarchy is this design) does not have");
        }
    }
};

class ConfigurableElement : public Rule {
public:
    const char* id() const override { return "design.configurable-element"; }
    const char* description() const override
    {
        return "a configurable element value's referenceId names a spirit:id of the instance's component";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::design); }
    void check(RuleContext& context) const override
    {
        const HIPGSDesign* design = design_of(context.document());
        if (!design)
            return;
        struct Known {
            std::set<std::string> ids;
            std::set<std::string> parameter_names;
        };
        std::map<const Document*, Known> ids_by_component;
        for (const auto& entry : instances_of(context, *design)) {
            const Instance& instance = entry.second;
            if (!instance.component || !instance.object->isSetConfigurableElementValues())
                continue;
            auto cached = ids_by_component.find(instance.document);
            if (cached == ids_by_component.end()) {
                // spirit:id may stand on any configurable element, of which there are dozens of
                // kinds; the tree finds them all at once.
                Known known;
                RulesTree tree(*instance.document);
                for (RulesTree::Node id : tree.select("//@spirit:id"))
                    known.ids.insert(RulesTree::text(id));
                // Designs often name a parameter where its value's spirit:id is meant; the message
                // says so, as the fix is then on the component's side.
                auto add_names = [&](const auto& parameter) {
                    if (parameter.isSetNameGroupString())
                        known.parameter_names.insert(parameter.getNameGroupString().getName());
                };
                const HIPGSComponentType& component = *instance.component;
                if (component.isSetParameters())
                    for (size_t k = 0; k < component.getParameters().sizeParameter(); ++k)
                        add_names(component.getParameters().getParameter(k));
                if (component.isSetModel() && component.getModel().isSetModelParameters())
                    for (size_t k = 0; k < component.getModel().getModelParameters().sizeModelParameter(); ++k)
                        add_names(component.getModel().getModelParameters().getModelParameter(k));
                cached = ids_by_component.emplace(instance.document, std::move(known)).first;
            }
            const HIPGSConfigurableElementValues& values = instance.object->getConfigurableElementValues();
            std::string parent = instance_path(instance.index) + "/configurableElementValues";
            for (size_t m = 0; m < values.sizeConfigurableElementValue(); ++m) {
                const std::string& reference = values.getConfigurableElementValue(m).getReferenceIdAttr();
                if (cached->second.ids.count(reference))
                    continue;
                std::string message = "instance '" + entry.first + "' configures '" + reference +
                                      "', which is no spirit:id of " + instance.component_id.to_string();
                if (cached->second.parameter_names.count(reference))
                    message += " (a parameter of that name has no spirit:id on its value)";
                context.report(Severity::error, child_path(parent, "configurableElementValue", m), message);
            }
        }
    }
};

}  // namespace

IPXACT_CATALOG_RULE(InstanceComponent);
IPXACT_CATALOG_RULE(InterfaceReference);
IPXACT_CATALOG_RULE(InterconnectionBusType);
IPXACT_CATALOG_RULE(InterconnectionModes);
IPXACT_CATALOG_RULE(AdHocPort);
IPXACT_CATALOG_RULE(HierConnectionInterface);
IPXACT_CATALOG_RULE(ConfigurableElement);

}  // namespace catalog
}  // namespace ipxact

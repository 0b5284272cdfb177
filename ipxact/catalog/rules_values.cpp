// Values the binding keeps although the standard does not list them, and references by name inside
// one document that reading does not resolve.
#include <functional>
#include <set>
#include <string>

#include <ipxact/catalog/rule.h>
#include <ipxact/spirit/HIPGSAbstractorMode.h>
#include <ipxact/spirit/HIPGSAbstractorPortWireType.h>
#include <ipxact/spirit/HIPGSAccess.h>
#include <ipxact/spirit/HIPGSBitSteering.h>
#include <ipxact/spirit/HIPGSBusInterfaceType.h>
#include <ipxact/spirit/HIPGSCellClass.h>
#include <ipxact/spirit/HIPGSCellFunction.h>
#include <ipxact/spirit/HIPGSFieldData.h>
#include <ipxact/spirit/HIPGSFileType.h>
#include <ipxact/spirit/HIPGSFunction.h>
#include <ipxact/spirit/HIPGSGeneratorType.h>
#include <ipxact/spirit/HIPGSInitiative.h>
#include <ipxact/spirit/HIPGSMemoryBlockData.h>
#include <ipxact/spirit/HIPGSPortAccessType.h>
#include <ipxact/spirit/HIPGSPortWireType.h>
#include <ipxact/spirit/HIPGSPresence.h>
#include <ipxact/spirit/HIPGSServiceType.h>
#include <ipxact/spirit/HIPGSTransportMethods.h>
#include <ipxact/spirit/HIPGSWhiteboxElementType.h>
#include <ipxact/spirit/HIPGSWirePort.h>

#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

using namespace HIPGSpirit;

// ---- values outside their enumeration ----

// Whether the binding's own list for a member holds a text: its setter stores only listed values,
// so the lists stay those of the generated classes and are not repeated here.
template <class Class, lmx60::elmx_error (Class::*Setter)(const std::string&)>
bool listed(const std::string& text)
{
    Class scratch;
    return (scratch.*Setter)(text) == lmx60::ELMX_OK;
}

struct EnumeratedMember {
    const char* where;  // XPath of the elements or attributes holding the value
    const char* what;
    bool (*listed)(const std::string&);
};

// The enumerated elements. Enumerated attributes (spirit:resolve, spirit:format, spirit:bankAlignment
// and the rest) are checked while reading, and a document with an unlisted one does not read
// cleanly; an element's text is kept whatever it is, so that nothing a tool wrote is lost.
const EnumeratedMember kEnumeratedMembers[] = {
    {"/spirit:component/spirit:model/spirit:ports/spirit:port/spirit:wire/spirit:direction", "port direction",
     listed<HIPGSPortWireType, &HIPGSPortWireType::setDirection>},
    {"/spirit:abstractor/spirit:model/spirit:ports/spirit:port/spirit:wire/spirit:direction", "port direction",
     listed<HIPGSAbstractorPortWireType, &HIPGSAbstractorPortWireType::setDirection>},
    {"/spirit:abstractionDefinition/spirit:ports/spirit:port/spirit:wire/*/spirit:direction", "port direction",
     listed<HIPGSWirePort, &HIPGSWirePort::setDirection>},
    {"//spirit:presence", "presence", listed<HIPGSPresence, &HIPGSPresence::setPresence>},
    {"/spirit:component//spirit:service/spirit:initiative|/spirit:abstractor//spirit:service/spirit:initiative",
     "initiative", listed<HIPGSInitiative, &HIPGSInitiative::setInitiative>},
    {"/spirit:abstractionDefinition//spirit:service/spirit:initiative", "initiative",
     listed<HIPGSServiceType, &HIPGSServiceType::setInitiative>},
    // A port's spirit:access is of another type (it holds spirit:portAccessType, below).
    {"//spirit:addressBlock/spirit:access|//spirit:bank/spirit:access|//spirit:register/spirit:access|"
     "//spirit:alternateRegister/spirit:access|//spirit:field/spirit:access",
     "access", listed<HIPGSAccess, &HIPGSAccess::setAccess>},
    {"//spirit:addressBlock/spirit:usage|//spirit:bank/spirit:usage", "usage",
     listed<HIPGSMemoryBlockData, &HIPGSMemoryBlockData::setUsage>},
    {"//spirit:field/spirit:modifiedWriteValue", "modified write value",
     listed<HIPGSFieldData, &HIPGSFieldData::setModifiedWriteValue>},
    {"//spirit:field/spirit:readAction", "read action", listed<HIPGSFieldData, &HIPGSFieldData::setReadAction>},
    {"//spirit:busInterface/spirit:endianness", "endianness",
     listed<HIPGSBusInterfaceType, &HIPGSBusInterfaceType::setEndianness>},
    {"//spirit:busInterface/spirit:bitSteering", "bit steering", listed<HIPGSBitSteering, &HIPGSBitSteering::setBitSteering>},
    {"//spirit:port/spirit:access/spirit:portAccessType", "port access type",
     listed<HIPGSPortAccessType, &HIPGSPortAccessType::setPortAccessType>},
    {"//spirit:fileType", "file type", listed<HIPGSFileType, &HIPGSFileType::setFileType>},
    {"//spirit:componentGenerator/spirit:apiType|//spirit:abstractorGenerator/spirit:apiType|//spirit:generator/spirit:apiType",
     "generator API type", listed<HIPGSGeneratorType, &HIPGSGeneratorType::setApiType>},
    {"//spirit:cellSpecification/spirit:cellFunction", "cell function",
     listed<HIPGSCellFunction, &HIPGSCellFunction::setCellFunction>},
    {"//spirit:cellSpecification/spirit:cellClass", "cell class", listed<HIPGSCellClass, &HIPGSCellClass::setCellClass>},
    {"/spirit:component/spirit:whiteboxElements/spirit:whiteboxElement/spirit:whiteboxType", "whitebox type",
     listed<HIPGSWhiteboxElementType, &HIPGSWhiteboxElementType::setWhiteboxType>},
    {"//spirit:function/spirit:returnType", "function return type", listed<HIPGSFunction, &HIPGSFunction::setReturnType>},
    {"//spirit:transportMethods/spirit:transportMethod", "transport method",
     listed<HIPGSTransportMethods, &HIPGSTransportMethods::setTransportMethod>},
    {"/spirit:abstractor/spirit:abstractorMode", "abstractor mode",
     listed<HIPGSAbstractorMode, &HIPGSAbstractorMode::setAbstractorMode>},
};

const bool kValuesRead = [] {
    for (const EnumeratedMember& member : kEnumeratedMembers)
        RulesTree::reads_text(member.where);
    return true;
}();

class UnlistedValue : public Rule {
public:
    const char* id() const override { return "values.unlisted"; }
    const char* description() const override
    {
        return "an enumerated value is one the standard lists (a port direction is in, out, inout or phantom; "
               "a presence required, illegal or optional)";
    }
    void check(RuleContext& context) const override
    {
        const RulesTree& tree = context.shared<RulesTree>();
        if (!tree.ok())
            return;
        std::vector<RulesTree::Node> holders;
        for (const EnumeratedMember& member : kEnumeratedMembers) {
            std::string listed;  // the last value found listed: a document repeats a few values
            tree.select(member.where, nullptr, holders);
            for (RulesTree::Node node : holders) {
                std::string text = RulesTree::text(node);
                if (text == listed)
                    continue;
                if (member.listed(text))
                    listed = text;
                else
                    context.report(Severity::error, RulesTree::path(node),
                                   std::string(member.what) + " '" + text + "' is not one of the values the standard lists");
            }
        }
    }
};

// An attribute written without the standard's prefix is not the standard's attribute: a class that
// admits other attributes keeps it as read, so `resolve="user"` on spirit:size is held but never
// read as spirit:resolve.
class UnqualifiedAttribute : public Rule {
public:
    const char* id() const override { return "values.unqualified-attribute"; }
    const char* description() const override
    {
        return "an attribute named as one of its element's standard attributes carries the standard's namespace "
               "(without it, it is kept as written but is not the standard's attribute)";
    }
    void check(RuleContext& context) const override
    {
        const RulesTree& tree = context.shared<RulesTree>();
        for (RulesTree::Node attribute : tree.unqualified_attributes()) {
            if (!RulesTree::shadows_standard_attribute(attribute))
                continue;
            std::string local = RulesTree::local_name(attribute);
            context.report(Severity::warning, RulesTree::path(attribute),
                           "attribute '" + local + "' has no namespace, so it is not spirit:" + local +
                               ": it is kept as written, and what reads the standard's attribute does not see it");
        }
    }
};

// ---- references inside one document ----

// A reference by name to another element of the same document: inside each `scope`, every
// `referrer`'s `field` must be the `key` of one of the `targets`. Fields are written as in NameSet.
struct NameReference {
    const char* scope;
    const char* referrers;
    const char* field;
    const char* targets;
    const char* key;
    const char* what;  // "a bus interface", for the message
};

// The schema's key references, which reading does not enforce. The bus interface and design rules
// check what the names found here lead to (a bridge's master is a master, a connection's instance
// has that bus interface) and leave names that lead nowhere to this rule.
const NameReference kNameReferences[] = {
    {"/spirit:component", "spirit:busInterfaces/spirit:busInterface/spirit:slave/spirit:bridge", "@spirit:masterRef",
     "spirit:busInterfaces/spirit:busInterface", "spirit:name", "bus interface"},
    {"/spirit:component", "spirit:channels/spirit:channel/spirit:busInterfaceRef", ".",
     "spirit:busInterfaces/spirit:busInterface", "spirit:name", "bus interface"},
    {"/spirit:component", ".//spirit:subspaceMap", "@spirit:masterRef", "spirit:busInterfaces/spirit:busInterface",
     "spirit:name", "bus interface"},
    {"/spirit:component", ".//spirit:addressSpaceRef", "@spirit:addressSpaceRef",
     "spirit:addressSpaces/spirit:addressSpace", "spirit:name", "address space"},
    {"/spirit:component", ".//spirit:memoryMapRef", "@spirit:memoryMapRef", "spirit:memoryMaps/spirit:memoryMap",
     "spirit:name", "memory map"},
    {"/spirit:component|/spirit:abstractor", ".//*[@spirit:choiceRef]", "@spirit:choiceRef",
     "spirit:choices/spirit:choice", "spirit:name", "choice"},
    {"/spirit:component|/spirit:abstractor", ".//spirit:viewNameRef", ".", "spirit:model/spirit:views/spirit:view",
     "spirit:name", "view"},
    {"/spirit:component|/spirit:abstractor", ".//spirit:fileSetRef", "spirit:localName", ".//spirit:fileSet",
     "spirit:name", "file set"},
    {"/spirit:component", "spirit:memoryMaps/spirit:memoryMap/spirit:memoryRemap", "@spirit:state",
     "spirit:remapStates/spirit:remapState", "spirit:name", "remap state"},
    {"/spirit:component",
     "spirit:busInterfaces/spirit:busInterface/spirit:mirroredSlave/spirit:baseAddresses/spirit:remapAddress",
     "@spirit:state", "spirit:remapStates/spirit:remapState", "spirit:name", "remap state"},
    {"/spirit:component",
     "spirit:busInterfaces/spirit:busInterface/spirit:portMaps/spirit:portMap/spirit:physicalPort/spirit:name", ".",
     "spirit:model/spirit:ports/spirit:port", "spirit:name", "port"},
    {"/spirit:abstractor",
     "spirit:abstractorInterfaces/spirit:abstractorInterface/spirit:portMaps/spirit:portMap/spirit:physicalPort/"
     "spirit:name",
     ".", "spirit:model/spirit:ports/spirit:port", "spirit:name", "port"},
    {"/spirit:component", "spirit:remapStates/spirit:remapState/spirit:remapPorts/spirit:remapPort",
     "@spirit:portNameRef", "spirit:model/spirit:ports/spirit:port", "spirit:name", "port"},
    {"/spirit:component", "spirit:model/spirit:views/spirit:view/spirit:whiteboxElementRefs/spirit:whiteboxElementRef",
     "@spirit:name", "spirit:whiteboxElements/spirit:whiteboxElement", "spirit:name", "whitebox element"},
    {"/spirit:component", ".//spirit:generatorRef", ".", "spirit:componentGenerators/spirit:componentGenerator",
     "spirit:name", "component generator"},
    {"/spirit:abstractionDefinition", ".//spirit:timingConstraint", "@spirit:clockName", "spirit:ports/spirit:port",
     "spirit:logicalName", "logical port"},
    {"/spirit:design", "spirit:interconnections/spirit:interconnection/spirit:activeInterface", "@spirit:componentRef",
     "spirit:componentInstances/spirit:componentInstance", "spirit:instanceName", "component instance"},
    {"/spirit:design", "spirit:hierConnections/spirit:hierConnection/spirit:interface", "@spirit:componentRef",
     "spirit:componentInstances/spirit:componentInstance", "spirit:instanceName", "component instance"},
    {"/spirit:design", "spirit:adHocConnections/spirit:adHocConnection/spirit:internalPortReference",
     "@spirit:componentRef", "spirit:componentInstances/spirit:componentInstance", "spirit:instanceName",
     "component instance"},
};

const bool kFieldsRead = [] {
    for (const NameReference& reference : kNameReferences) {
        RulesTree::reads_field(reference.referrers, reference.field);
        RulesTree::reads_field(reference.targets, reference.key);
    }
    return true;
}();

class NameReferences : public Rule {
public:
    const char* id() const override { return "schema.keyref"; }
    const char* description() const override
    {
        return "a reference by name inside a document names an element the document has (a bridge's master "
               "interface, a memory map, a view, a file set, a physical port, a design's instance...)";
    }
    void check(RuleContext& context) const override
    {
        const RulesTree& tree = context.shared<RulesTree>();
        if (!tree.ok())
            return;
        std::vector<RulesTree::Node> scopes, referrers, targets;
        for (const NameReference& reference : kNameReferences) {
            tree.select(reference.scope, nullptr, scopes);
            for (RulesTree::Node scope : scopes) {
                tree.select(reference.referrers, scope, referrers);
                if (referrers.empty())
                    continue;  // nothing refers, so the names referred to need not be gathered
                std::set<std::string> keys;
                tree.select(reference.targets, scope, targets);
                for (RulesTree::Node target : targets) {
                    std::string key;
                    if (tree.field(target, reference.key, &key))
                        keys.insert(key);
                }
                for (RulesTree::Node referrer : referrers) {
                    std::string name;
                    if (!tree.field(referrer, reference.field, &name) || keys.count(name))
                        continue;
                    context.report(Severity::error, RulesTree::path(referrer),
                                   std::string(reference.what) + " '" + name + "' does not exist in this document");
                }
            }
        }
    }
};

}  // namespace

IPXACT_CATALOG_RULE(UnlistedValue);
IPXACT_CATALOG_RULE(UnqualifiedAttribute);
IPXACT_CATALOG_RULE(NameReferences);

}  // namespace catalog
}  // namespace ipxact

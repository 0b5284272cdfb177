// Names that must be unique: among the siblings that one element holds (ports of a model, registers
// of a block, instances of a design...), and spirit:id values across a whole document.
#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include <ipxact/catalog/rule.h>

#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

// One set of names: inside each element `scope` selects, the elements `members` selects (relative
// to it) are told apart by `key` (a child element, an attribute, or "." for their own text).
struct NameSet {
    const char* scope;
    const char* members;
    const char* key;
    const char* what;
};

// Each set the standard asks to be unique, written as the schema's identity constraints write them
// where it has one, so that a document a validator accepts passes here too.
const NameSet kNameSets[] = {
    // components and abstractors
    {"/*/spirit:busInterfaces", "spirit:busInterface", "spirit:name", "bus interfaces"},
    {"/*/spirit:abstractorInterfaces", "spirit:abstractorInterface", "spirit:name", "abstractor interfaces"},
    {"/*/spirit:channels", "spirit:channel", "spirit:name", "channels"},
    {"/*/spirit:remapStates", "spirit:remapState", "spirit:name", "remap states"},
    {"/*/spirit:addressSpaces", "spirit:addressSpace", "spirit:name", "address spaces"},
    {"/*/spirit:memoryMaps", "spirit:memoryMap", "spirit:name", "memory maps"},
    {"/*/spirit:model/spirit:views", "spirit:view", "spirit:name", "views"},
    {"/*/spirit:model/spirit:ports", "spirit:port", "spirit:name", "ports"},
    {"/*/spirit:componentGenerators", "spirit:componentGenerator", "spirit:name", "component generators"},
    {"/*/spirit:choices", "spirit:choice", "spirit:name", "choices"},
    {"/*", ".//spirit:fileSet", "spirit:name", "file sets"},
    {"/*/spirit:whiteboxElements", "spirit:whiteboxElement", "spirit:name", "whitebox elements"},
    {"/*/spirit:cpus", "spirit:cpu", "spirit:name", "cpus"},
    {"/*/spirit:otherClockDrivers", "spirit:otherClockDriver", "@spirit:clockName", "clock drivers"},
    {"//spirit:channel", "spirit:busInterfaceRef", ".", "bus interface references of a channel"},
    {"//spirit:wireTypeDefs", "spirit:wireTypeDef/spirit:viewNameRef", ".", "view references of wire type definitions"},
    // memory
    {"//spirit:memoryMap|//spirit:memoryRemap|//spirit:localMemoryMap|//spirit:bank",
     "spirit:subspaceMap|spirit:addressBlock|spirit:bank|spirit:memoryRemap", "spirit:name",
     "address blocks, banks, subspace maps and remaps"},
    {"//spirit:memoryMap", "spirit:memoryRemap", "@spirit:state", "memory remaps of one state"},
    {"//spirit:segments", "spirit:segment", "spirit:name", "segments"},
    {"//spirit:addressBlock|//spirit:registerFile",
     "spirit:register|spirit:registerFile|spirit:register/spirit:alternateRegisters/spirit:alternateRegister",
     "spirit:name", "registers, register files and alternate registers"},
    {"//spirit:register|//spirit:alternateRegister", "spirit:field", "spirit:name", "fields"},
    {"//spirit:alternateRegisters", "spirit:alternateRegister/spirit:alternateGroups/spirit:alternateGroup", ".",
     "alternate groups"},
    {"//spirit:enumeratedValues", "spirit:enumeratedValue", "spirit:name", "enumerated values"},
    // parameters wherever they are held
    {"//spirit:parameters", "spirit:parameter", "spirit:name", "parameters"},
    {"//spirit:modelParameters", "spirit:modelParameter", "spirit:name", "model parameters"},
    // abstraction and bus definitions
    {"/spirit:abstractionDefinition/spirit:ports", "spirit:port", "spirit:logicalName", "logical ports"},
    {"/spirit:busDefinition/spirit:systemGroupNames", "spirit:systemGroupName", ".", "system group names"},
    // designs and their configurations
    {"/spirit:design/spirit:componentInstances", "spirit:componentInstance", "spirit:instanceName",
     "component instances"},
    {"/spirit:design", ".//spirit:interconnection|.//spirit:monitorInterconnection", "spirit:name",
     "interconnections"},
    {"/spirit:design", ".//spirit:adHocConnection", "spirit:name", "ad hoc connections"},
    {"/spirit:designConfiguration", "spirit:viewConfiguration", "spirit:instanceName", "view configurations"},
    {"/spirit:designConfiguration", "spirit:interconnectionConfiguration/spirit:abstractors/spirit:abstractor",
     "spirit:instanceName", "abstractor instances"},
    {"/spirit:designConfiguration", "spirit:interconnectionConfiguration", "spirit:interconnectionRef",
     "interconnection configurations"},
};

const bool kKeysRead = [] {
    for (const NameSet& set : kNameSets)
        RulesTree::reads_field(set.members, set.key);
    return true;
}();

// A member's name, held in a text that gathers the names of the scope.
struct Named {
    size_t offset;
    size_t length;
    RulesTree::Node node;
};

// Calls `report(again, first)` for each member whose name an earlier member (in document order)
// has, with the first of them. Sorting keeps a scope's few names in one array, without a node per
// name as a map would make, and moves no text; equal names stay in document order.
template <class Report>
void report_repeated(std::vector<Named>& named, const std::string& names, Report report)
{
    auto name = [&names](const Named& n) { return std::string_view(names).substr(n.offset, n.length); };
    std::sort(named.begin(), named.end(), [&name](const Named& a, const Named& b) {
        int order = name(a).compare(name(b));
        return order != 0 ? order < 0 : RulesTree::position(a.node) < RulesTree::position(b.node);
    });
    for (size_t first = 0, next = 1; next < named.size(); ++next) {
        if (name(named[next]) != name(named[first]))
            first = next;
        else
            report(std::string(name(named[next])), named[next].node, named[first].node);
    }
}

class UniqueNames : public Rule {
public:
    const char* id() const override { return "names.unique"; }
    const char* description() const override
    {
        return "names are unique among their siblings (ports, bus interfaces, memory maps, blocks, registers, "
               "fields, views, file sets, parameters, instances...) and spirit:id values within a document";
    }
    void check(RuleContext& context) const override
    {
        const RulesTree& tree = context.shared<RulesTree>();
        if (!tree.ok())
            return;
        std::vector<Named> named;
        std::string names;
        std::vector<RulesTree::Node> scopes, members;
        auto gather = [&](RulesTree::Node member, const char* key) {
            size_t offset = names.size();
            if (tree.append_field(member, key, names))
                named.push_back({offset, names.size() - offset, member});
            else
                names.resize(offset);
        };
        for (const NameSet& set : kNameSets) {
            tree.select(set.scope, nullptr, scopes);
            for (RulesTree::Node scope : scopes) {
                named.clear();
                names.clear();
                tree.select(set.members, scope, members);
                for (RulesTree::Node member : members)
                    gather(member, set.key);
                report_repeated(named, names, [&](const std::string& name, RulesTree::Node again, RulesTree::Node first) {
                    context.report(Severity::error, RulesTree::path(again),
                                   "name '" + name + "' is used twice among " + set.what + " (first at " +
                                       RulesTree::path(first) + ")");
                });
            }
        }
        // spirit:id values name configurable values for expressions and configurations anywhere in
        // the document, so they are one set whatever element carries them.
        named.clear();
        names.clear();
        for (RulesTree::Node id : tree.select("//@spirit:id"))
            gather(id, ".");
        report_repeated(named, names, [&](const std::string& name, RulesTree::Node again, RulesTree::Node first) {
            context.report(Severity::error, RulesTree::path(again),
                           "spirit:id '" + name + "' is used twice in the document (first at " +
                               RulesTree::path(first) + ")");
        });
    }
};

}  // namespace

IPXACT_CATALOG_RULE(UniqueNames);

}  // namespace catalog
}  // namespace ipxact

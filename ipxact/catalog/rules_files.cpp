// Rules about files, views, configurable values and generators: file references of functions,
// the language named in a view's environment, dependent values and what their expressions name,
// choices of generator chains and the groups that generator chains select.
//
// The schema's key references (a view's file set, a viewNameRef, a generatorRef, a choiceRef of a
// component or abstractor) are schema.keyref's; these rules take what it does not cover.
#include <cctype>
#include <set>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/rule.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSAbstractorType.h>
#include <ipxact/spirit/HIPGSComponentType.h>
#include <ipxact/spirit/HIPGSGeneratorChain.h>
#include <ipxact/spirit/HIPGSTop.h>

#include "rules_support.h"
#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

using namespace HIPGSpirit;
using rules_detail::child_path;
using rules_detail::component_of;

// ---- function file references ----

class FunctionFileRef : public Rule {
public:
    const char* id() const override { return "file.function-file-ref"; }
    const char* description() const override
    {
        return "a file set function's fileRef names the fileId of a file (or the id of an executable image) of the component";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component); }
    void check(RuleContext& context) const override
    {
        const HIPGSComponentType* component = component_of(&context.document());
        if (!component || !component->isSetFileSets())
            return;
        const HIPGSFileSets& sets = component->getFileSets();
        std::set<std::string> ids;
        for (size_t s = 0; s < sets.sizeFileSet(); ++s)
            for (size_t f = 0; f < sets.getFileSet(s).sizeFile(); ++f)
                if (sets.getFileSet(s).getFile(f).isSetFileIdAttr())
                    ids.insert(sets.getFileSet(s).getFile(f).getFileIdAttr());
        if (component->isSetAddressSpaces())
            for (size_t a = 0; a < component->getAddressSpaces().sizeAddressSpace(); ++a) {
                const HIPGSAddressSpace& space = component->getAddressSpaces().getAddressSpace(a);
                for (size_t e = 0; e < space.sizeExecutableImage(); ++e)
                    ids.insert(space.getExecutableImage(e).getIdAttr());
            }
        // A fileRef is an XML IDREF: any identifier of the document satisfies it, so the
        // configurable elements' spirit:id values are gathered too, but only when the files'
        // own identifiers fall short.
        bool all_ids = false;
        for (size_t s = 0; s < sets.sizeFileSet(); ++s) {
            const HIPGSFileSetType& set = sets.getFileSet(s);
            std::string parent = child_path("component/fileSets", "fileSet", s);
            for (size_t k = 0; k < set.sizeFunction(); ++k) {
                const std::string& target = set.getFunction(k).getFileRef();
                if (ids.count(target))
                    continue;
                if (!all_ids) {
                    const RulesTree& tree = context.shared<RulesTree>();
                    for (RulesTree::Node id : tree.select("//@spirit:id"))
                        ids.insert(RulesTree::text(id));
                    all_ids = true;
                    if (ids.count(target))
                        continue;
                }
                context.report(Severity::error, child_path(parent, "function", k) + "/fileRef",
                               "function's fileRef '" + target + "' names no file of the component");
            }
        }
    }
};

// ---- environment identifiers ----

// The file types the schema lists, less those with a version ("vhdlSource-93"): the pattern of an
// environment identifier has no '-', so they cannot stand in one.
const char* const kFileTypes[] = {
    "unknown", "cSource", "cppSource", "asmSource", "vhdlSource", "verilogSource", "swObject", "swObjectLibrary",
    "vhdlBinaryLibrary", "verilogBinaryLibrary", "unelaboratedHdl", "executableHdl", "systemVerilogSource",
    "systemCSource", "veraSource", "eSource", "perlSource", "tclSource", "OVASource", "SVASource", "pslSource", "SDC"};

// The schema's pattern already holds an identifier to three parts of a few characters each;
// what it cannot say is that the first part, when given, names a language. Its documentation asks
// for a file type; tools commonly write the language itself ("verilog" for verilogSource), which
// names the same thing, so both are taken. What is left is mostly a tool or vendor name written in
// the wrong part ("vcs.example.com::"). A '*' stands for any, as in the tool part. Languages are
// written in either case ("VHDL", "SystemC"), so case does not count.
bool language_known(const std::string& identifier)
{
    std::string language = identifier.substr(0, identifier.find(':'));
    if (language.empty() || language.find('*') != std::string::npos)
        return true;
    auto same = lmx60::same_ignoring_ascii_case;
    const std::string_view suffix = "Source";
    for (const char* type : kFileTypes) {
        std::string_view name = type;
        if (same(language, name))
            return true;
        if (name.size() > suffix.size() && name.substr(name.size() - suffix.size()) == suffix &&
            same(language, name.substr(0, name.size() - suffix.size())))
            return true;
    }
    return false;
}

class EnvironmentIdentifier : public Rule {
public:
    const char* id() const override { return "view.env-identifier"; }
    const char* description() const override
    {
        return "the language part of a view's envIdentifier (language:tool:vendor) is empty, a file type or the language of one (verilog for verilogSource)";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::component) | kind_bit(DocumentKind::abstractor); }
    void check(RuleContext& context) const override
    {
        const Document& document = context.document();
        if (const HIPGSComponentType* component = component_of(&document)) {
            if (!component->isSetModel() || !component->getModel().isSetViews())
                return;
            const HIPGSViews& views = component->getModel().getViews();
            for (size_t v = 0; v < views.sizeView(); ++v)
                check_view(context, views.getView(v), child_path("component/model/views", "view", v));
        } else if (document.top().isSetAbstractor()) {
            const HIPGSAbstractorType& abstractor = document.top().getAbstractor();
            if (!abstractor.isSetModel() || !abstractor.getModel().isSetViews())
                return;
            const HIPGSAbstractorModelTypeViews& views = abstractor.getModel().getViews();
            for (size_t v = 0; v < views.sizeView(); ++v)
                check_view(context, views.getView(v), child_path("abstractor/model/views", "view", v));
        }
    }

private:
    template <class View>
    static void check_view(RuleContext& context, const View& view, const std::string& path)
    {
        for (size_t e = 0; e < view.sizeEnvIdentifier(); ++e) {
            const std::string& identifier = view.getEnvIdentifier(e);
            if (!language_known(identifier))
                context.report(Severity::warning, child_path(path, "envIdentifier", e),
                               "environment '" + identifier + "' names language '" +
                                   identifier.substr(0, identifier.find(':')) +
                                   "', which is neither a file type nor the language of one (verilogSource or verilog, ...)");
        }
    }
};

// ---- dependent values ----

// The names an expression refers to through id('name') (or id("name")).
std::vector<std::string> ids_named(const std::string& expression)
{
    std::vector<std::string> names;
    size_t at = 0;
    while ((at = expression.find("id(", at)) != std::string::npos) {
        // "id(" inside a longer name ("myid(") is not the function.
        bool whole = at == 0 || !(isalnum(static_cast<unsigned char>(expression[at - 1])) ||
                                  expression[at - 1] == '_' || expression[at - 1] == '-' ||
                                  expression[at - 1] == ':' || expression[at - 1] == '.');
        size_t open = at + 3;
        at = open;
        if (!whole)
            continue;
        while (open < expression.size() && isspace(static_cast<unsigned char>(expression[open])))
            ++open;
        if (open >= expression.size() || (expression[open] != '\'' && expression[open] != '"'))
            continue;
        size_t close = expression.find(expression[open], open + 1);
        if (close == std::string::npos)
            continue;
        names.push_back(expression.substr(open + 1, close - open - 1));
        at = close + 1;
    }
    return names;
}

class DependentValue : public Rule {
public:
    const char* id() const override { return "configurable.dependency"; }
    const char* description() const override
    {
        return "a value resolved as 'dependent' carries a spirit:dependency, and the id('...') names in a dependency are spirit:id values of the document";
    }
    KindSet kinds() const override
    {
        return kind_bit(DocumentKind::component) | kind_bit(DocumentKind::abstractor) |
               kind_bit(DocumentKind::bus_definition) | kind_bit(DocumentKind::abstraction_definition) |
               kind_bit(DocumentKind::generator_chain);
    }
    void check(RuleContext& context) const override
    {
        const RulesTree& tree = context.shared<RulesTree>();
        if (!tree.ok())
            return;
        std::vector<RulesTree::Node> dependent = tree.select("//*[@spirit:resolve='dependent' or @spirit:dependency]");
        if (dependent.empty())
            return;
        std::set<std::string> ids;
        for (RulesTree::Node id : tree.select("//@spirit:id"))
            ids.insert(RulesTree::text(id));
        for (RulesTree::Node element : dependent) {
            if (!RulesTree::has_attribute(element, "dependency")) {
                context.report(Severity::error, RulesTree::path(element),
                               "value is resolved as 'dependent' but gives no spirit:dependency");
                continue;
            }
            for (const std::string& name : ids_named(RulesTree::attribute(element, "dependency")))
                if (!ids.count(name))
                    context.report(Severity::error, RulesTree::path(element),
                                   "dependency names id('" + name + "'), which is no spirit:id of the document");
        }
    }
};

// ---- generator chains ----

class ChainChoiceRef : public Rule {
public:
    const char* id() const override { return "generator.choice-ref"; }
    const char* description() const override
    {
        return "a spirit:choiceRef inside a generator chain names one of the chain's choices";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::generator_chain); }
    void check(RuleContext& context) const override
    {
        if (!context.document().top().isSetGeneratorChain())
            return;
        const HIPGSGeneratorChain& chain = context.document().top().getGeneratorChain();
        std::set<std::string> choices;
        if (chain.isSetChoices())
            for (size_t c = 0; c < chain.getChoices().sizeChoice(); ++c)
                choices.insert(chain.getChoices().getChoice(c).getName());
        const RulesTree& tree = context.shared<RulesTree>();
        for (RulesTree::Node reference : tree.select("//@spirit:choiceRef")) {
            std::string name = RulesTree::text(reference);
            if (!choices.count(name))
                context.report(Severity::error, RulesTree::path(reference),
                               "choiceRef '" + name + "' names no choice of the generator chain");
        }
    }
};

// Component generator groups and generator chain groups of every loaded document.
struct LoadedGroups {
    std::set<std::string> component_generator;
    std::set<std::string> chain;
};

LoadedGroups loaded_groups(const Catalog& catalog)
{
    LoadedGroups groups;
    for (const Document* document : catalog.of_kind(DocumentKind::component)) {
        if (!document->read_cleanly() || !document->top().isSetComponent())
            continue;
        const HIPGSComponentType& component = document->top().getComponent();
        if (!component.isSetComponentGenerators())
            continue;
        const HIPGSComponentGenerators& generators = component.getComponentGenerators();
        for (size_t g = 0; g < generators.sizeComponentGenerator(); ++g)
            for (size_t k = 0; k < generators.getComponentGenerator(g).sizeGroup(); ++k)
                groups.component_generator.insert(generators.getComponentGenerator(g).getGroup(k));
    }
    for (const Document* document : catalog.of_kind(DocumentKind::generator_chain)) {
        if (!document->read_cleanly() || !document->top().isSetGeneratorChain())
            continue;
        const HIPGSGeneratorChain& chain = document->top().getGeneratorChain();
        for (size_t k = 0; k < chain.sizeChainGroup(); ++k)
            groups.chain.insert(chain.getChainGroup(k));
    }
    return groups;
}

class GroupSelector : public Rule {
public:
    const char* id() const override { return "generator.group-selector"; }
    const char* description() const override
    {
        return "a generator chain's group selector names a group of some loaded component generator or generator chain "
               "(a note: the group may be defined outside the catalog)";
    }
    KindSet kinds() const override { return kind_bit(DocumentKind::generator_chain); }
    void check(RuleContext& context) const override
    {
        if (!context.document().top().isSetGeneratorChain())
            return;
        const HIPGSGeneratorChain& chain = context.document().top().getGeneratorChain();
        if (chain.sizeAnonGeneratorChainSelector() == 0)
            return;
        LoadedGroups groups = loaded_groups(context.catalog());
        size_t chains = 0, generators = 0;  // positions among siblings of each name
        for (size_t i = 0; i < chain.sizeAnonGeneratorChainSelector(); ++i) {
            const HIPGSAnonGeneratorChainSelector& selector = chain.getAnonGeneratorChainSelector(i);
            if (selector.isSetGeneratorChainSelector()) {
                std::string path = child_path("generatorChain", "generatorChainSelector", chains++);
                const HIPGSGeneratorChainSelector& chosen = selector.getGeneratorChainSelector();
                if (chosen.isSetGroupSelector())
                    check_names(context, chosen.getGroupSelector(), path, groups.chain, "generator chain");
            } else if (selector.isSetComponentGeneratorSelector()) {
                std::string path = child_path("generatorChain", "componentGeneratorSelector", generators++);
                const HIPGSGeneratorSelectorType& chosen = selector.getComponentGeneratorSelector();
                if (chosen.isSetGroupSelector())
                    check_names(context, chosen.getGroupSelector(), path, groups.component_generator,
                                "component generator");
            }
        }
    }

private:
    static void check_names(RuleContext& context, const HIPGSGroupSelector& selector, const std::string& path,
                            const std::set<std::string>& known, const char* what)
    {
        for (size_t n = 0; n < selector.sizeName(); ++n)
            if (!known.count(selector.getName(n)))
                context.report(Severity::note, child_path(path + "/groupSelector", "name", n),
                               "no loaded " + std::string(what) + " is in group '" + selector.getName(n) + "'");
    }
};

}  // namespace

IPXACT_CATALOG_RULE(FunctionFileRef);
IPXACT_CATALOG_RULE(EnvironmentIdentifier);
IPXACT_CATALOG_RULE(DependentValue);
IPXACT_CATALOG_RULE(ChainChoiceRef);
IPXACT_CATALOG_RULE(GroupSelector);

}  // namespace catalog
}  // namespace ipxact

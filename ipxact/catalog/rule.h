/// @file
/// Semantic rules: checks the schema cannot express, run over one document at a time with the
/// whole catalog at hand for lookups.
///
/// Writing a rule takes three steps:
/// @code
/// #include <ipxact/catalog/rule.h>
///
/// namespace {
/// class PortDirection : public ipxact::catalog::Rule {
/// public:
///     const char* id() const override { return "port.direction"; }
///     const char* description() const override { return "a port direction is one the standard lists"; }
///     ipxact::catalog::KindSet kinds() const override
///     {
///         return ipxact::catalog::kind_bit(ipxact::catalog::DocumentKind::component);
///     }
///     void check(ipxact::catalog::RuleContext& context) const override
///     {
///         // Walk context.document().top(); report with an element path:
///         context.report(ipxact::catalog::Severity::error, "component/model/ports/port[3]/wire/direction",
///                        "direction 'sideways' is not in, out, inout or phantom");
///     }
/// };
/// }  // namespace
///
/// IPXACT_CATALOG_RULE(PortDirection);
/// @endcode
#ifndef IPXACT_CATALOG_RULE_H
#define IPXACT_CATALOG_RULE_H

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/finding.h>
#include <ipxact/catalog/line_index.h>
#include <ipxact/catalog/vlnv.h>

namespace ipxact {
namespace catalog {

class Catalog;
class RuleContext;

/// A semantic rule. One rule has one stable id, which every finding it reports carries.
///
/// check() runs once per document of the kinds() it names that read cleanly, possibly in several
/// threads at once on different documents: it must not change shared state (the rule object
/// included). The document and the catalog are const. An exception thrown out of check() becomes
/// a note "rule.failed" on that document rather than a stop.
class Rule {
public:
    virtual ~Rule() = default;
    /// Stable id, lower case, dot-separated family and name: "memory.block-overlap". Never change
    /// an id once released: CI systems filter and baseline by it.
    virtual const char* id() const = 0;
    /// One line saying what the rule requires, for `--help` and the SARIF rule list.
    virtual const char* description() const = 0;
    /// The kinds of document the rule looks at; every kind by default.
    virtual KindSet kinds() const { return kAnyKind; }
    /// Looks at context.document() and reports through the context.
    virtual void check(RuleContext& context) const = 0;
};

/// What the rules checking one document build from it and share: made by the first rule that asks,
/// kept while the rules of that document run, so that a parsed view of the document is made once
/// per check rather than once per rule.
class DocumentScratch {
public:
    /// The slot that `key` names; empty until something is stored in it.
    std::shared_ptr<void>& slot(const void* key);

private:
    std::vector<std::pair<const void*, std::shared_ptr<void>>> m_slots;
};

/// What a rule sees while it checks one document, and where it reports.
class RuleContext {
public:
    /// For Catalog: a context for `rule` over `document`, appending to `out`.
    RuleContext(const Catalog& catalog, const Document& document, const Rule& rule, std::vector<Finding>& out);
    /// The same, sharing `scratch` with the other rules run over the same document.
    RuleContext(const Catalog& catalog, const Document& document, const Rule& rule, std::vector<Finding>& out,
                DocumentScratch& scratch);

    /// The document being checked.
    const Document& document() const { return m_document; }
    /// The catalog it belongs to, for lookups of other documents.
    const Catalog& catalog() const { return m_catalog; }
    /// The rule being run.
    const Rule& rule() const { return m_rule; }

    /// The loaded document with this identifier (the first loaded when several define it), or null.
    const Document* find(const Vlnv& id) const;
    /// The document a reference of this document names (the first match of a pattern), or null.
    const Document* resolve(const Reference& reference) const;

    /// Reports a finding at an element of the document's line index (npos: the whole document).
    void report(Severity severity, LineIndex::Node node, const std::string& message);
    /// Reports a finding at an element path (LineIndex's form). The line is the element's or, when
    /// the path goes below what the index holds, that of the deepest element along the path that it
    /// holds; the path is kept as given.
    void report(Severity severity, std::string_view path, const std::string& message);
    /// A T made once for all the rules that check the document: from the context
    /// (`T(RuleContext&)`, which may itself ask for other shared parts) or else from the document
    /// (`T(const Document&)`).
    template <class T>
    const T& shared()
    {
        static const char key = 0;  // one address per type
        if (const std::shared_ptr<void>& made = m_scratch.slot(&key))
            return *static_cast<const T*>(made.get());
        std::shared_ptr<void> made;
        if constexpr (std::is_constructible_v<T, RuleContext&>)
            made = std::make_shared<T>(*this);
        else
            made = std::make_shared<T>(m_document);
        // Asked again: making T may have added slots, which moves them.
        std::shared_ptr<void>& slot = m_scratch.slot(&key);
        slot = std::move(made);
        return *static_cast<const T*>(slot.get());
    }

    /// Says that a check could not be made because a document it needs is not loaded: a note
    /// "not checked: WHAT: VENDOR:LIBRARY:NAME:VERSION not loaded" at `path`.
    void not_checked(std::string_view path, const std::string& what, const Vlnv& missing);

private:
    void add(Severity severity, int line, std::string path, const std::string& message);

    const Catalog& m_catalog;
    const Document& m_document;
    const Rule& m_rule;
    std::vector<Finding>& m_out;
    DocumentScratch m_own_scratch;  // for a context made without one to share
    DocumentScratch& m_scratch;
};

/// The rules known to the process. Rules in this library register themselves when it is loaded
/// (IPXACT_CATALOG_RULE); a host may add its own before checking.
class RuleRegistry {
public:
    /// The process-wide registry.
    static RuleRegistry& instance();
    /// Adds a rule; a rule whose id is already registered is refused (returns false).
    bool add(std::unique_ptr<Rule> rule);
    /// The rules, in id order.
    std::vector<const Rule*> rules() const;
    /// The rule with this id, or null.
    const Rule* find(std::string_view id) const;

private:
    RuleRegistry() = default;
    std::vector<std::unique_ptr<Rule>> m_rules;
};

/// Registers one default-constructed rule of type R when constructed; used by IPXACT_CATALOG_RULE.
template <class R>
struct RuleRegistration {
    /// Adds an R to the process-wide registry.
    RuleRegistration() { RuleRegistry::instance().add(std::unique_ptr<Rule>(new R())); }
};

}  // namespace catalog
}  // namespace ipxact

/// Registers rule class `Class` (default-constructible, derived from Rule) at load time. Use once,
/// at namespace scope, in the file that defines the rule.
#define IPXACT_CATALOG_RULE(Class) \
    static const ::ipxact::catalog::RuleRegistration<Class> ipxact_catalog_rule_registration_##Class

#endif

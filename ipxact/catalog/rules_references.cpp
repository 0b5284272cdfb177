// Rules about documents as a whole and the references between them: identifiers defined once,
// references that resolve to a document of the kind their element names, no cycles.
#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/rule.h>

#include "vlnv_pattern.h"

namespace ipxact {
namespace catalog {

namespace {

std::string described(const Reference& reference)
{
    return reference.element + (reference.pattern ? " pattern " : " ") + reference.target.to_string();
}

// Why a pattern reference cannot match, as the catalog compiles it; empty when it can.
std::string pattern_fault(const Reference& reference)
{
    return reference.pattern ? VlnvPattern(reference).fault() : std::string();
}

class UnresolvedReference : public Rule {
public:
    const char* id() const override { return "reference.unresolved"; }
    const char* description() const override
    {
        return "every reference names a loaded document (a note: the document may exist outside the catalog)";
    }
    void check(RuleContext& context) const override
    {
        for (const Reference& reference : context.document().references()) {
            if (context.resolve(reference) || !pattern_fault(reference).empty())
                continue;
            std::string message = reference.pattern
                                      ? described(reference) + " matches no loaded " + kinds_name(reference.expected)
                                      : described(reference) + " is not loaded";
            context.report(Severity::note, reference.path, message);
        }
    }
};

// A pattern that does not compile matches nothing: a typo would otherwise pass as a reference to
// a document that is merely not loaded.
class PatternSyntax : public Rule {
public:
    const char* id() const override { return "reference.pattern"; }
    const char* description() const override
    {
        return "every part of a vendor pattern reference is a regular expression";
    }
    void check(RuleContext& context) const override
    {
        for (const Reference& reference : context.document().references()) {
            std::string fault = pattern_fault(reference);
            if (!fault.empty())
                context.report(Severity::error, reference.path, reference.element + " pattern: " + fault);
        }
    }
};

class ReferenceKind : public Rule {
public:
    const char* id() const override { return "reference.kind"; }
    const char* description() const override
    {
        return "a reference names a document of the kind its element calls for (a busType a bus definition)";
    }
    void check(RuleContext& context) const override
    {
        for (const Reference& reference : context.document().references()) {
            const Document* target = context.resolve(reference);
            if (!target || (reference.expected & kind_bit(target->kind())))
                continue;
            context.report(Severity::error, reference.path,
                           described(reference) + " is a " + kind_name(target->kind()) + " (" + target->file() +
                               "), not a " + kinds_name(reference.expected));
        }
    }
};

class DuplicateIdentifier : public Rule {
public:
    const char* id() const override { return "catalog.duplicate-vlnv"; }
    const char* description() const override { return "no two loaded documents have the same identifier"; }
    void check(RuleContext& context) const override
    {
        const Document& document = context.document();
        if (!document.has_vlnv())
            return;
        std::vector<const Document*> all = context.catalog().find_all(document.vlnv());
        if (all.size() < 2)
            return;
        std::string files;
        for (const Document* other : all)
            files += (files.empty() ? "" : ", ") + other->file();
        context.report(Severity::error, document.lines().root(),
                       document.vlnv().to_string() + " is defined by " + std::to_string(all.size()) +
                           " documents: " + files);
    }
};

class ReferenceCycle : public Rule {
public:
    const char* id() const override { return "reference.cycle"; }
    const char* description() const override
    {
        return "references do not go round in a cycle (a design that instances a component whose hierarchy is that design)";
    }
    void check(RuleContext& context) const override
    {
        const Document& document = context.document();
        for (const std::vector<const Document*>& cycle : context.catalog().cycles()) {
            // Reported once, on the first document of the cycle, at its reference to the next.
            if (cycle.front() != &document)
                continue;
            std::string chain;
            for (const Document* step : cycle)
                chain += (chain.empty() ? "" : " -> ") + (step->has_vlnv() ? step->vlnv().to_string() : step->file());
            std::string at;
            for (const Reference& reference : document.references())
                if (context.resolve(reference) == cycle[1]) {
                    at = reference.path;
                    break;
                }
            context.report(Severity::error, at, "references go round in a cycle: " + chain);
        }
    }
};

}  // namespace

IPXACT_CATALOG_RULE(UnresolvedReference);
IPXACT_CATALOG_RULE(PatternSyntax);
IPXACT_CATALOG_RULE(ReferenceKind);
IPXACT_CATALOG_RULE(DuplicateIdentifier);
IPXACT_CATALOG_RULE(ReferenceCycle);

}  // namespace catalog
}  // namespace ipxact

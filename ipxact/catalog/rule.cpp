#include <ipxact/catalog/rule.h>

#include <algorithm>
#include <cstring>

#include <ipxact/catalog/catalog.h>

namespace ipxact {
namespace catalog {

std::shared_ptr<void>& DocumentScratch::slot(const void* key)
{
    for (auto& held : m_slots)
        if (held.first == key)
            return held.second;
    m_slots.emplace_back(key, nullptr);
    return m_slots.back().second;
}

RuleContext::RuleContext(const Catalog& catalog, const Document& document, const Rule& rule, std::vector<Finding>& out)
    : m_catalog(catalog), m_document(document), m_rule(rule), m_out(out), m_scratch(m_own_scratch)
{
}

RuleContext::RuleContext(const Catalog& catalog, const Document& document, const Rule& rule, std::vector<Finding>& out,
                         DocumentScratch& scratch)
    : m_catalog(catalog), m_document(document), m_rule(rule), m_out(out), m_scratch(scratch)
{
}

const Document* RuleContext::find(const Vlnv& id) const
{
    return m_catalog.find(id);
}

const Document* RuleContext::resolve(const Reference& reference) const
{
    return m_catalog.resolve(reference);
}

void RuleContext::add(Severity severity, int line, std::string path, const std::string& message)
{
    m_out.push_back(Finding{m_rule.id(), severity, m_document.file(), line, std::move(path), message});
}

void RuleContext::report(Severity severity, LineIndex::Node node, const std::string& message)
{
    const LineIndex& lines = m_document.lines();
    add(severity, lines.line(node), lines.path(node), message);
}

void RuleContext::report(Severity severity, std::string_view path, const std::string& message)
{
    const LineIndex& lines = m_document.lines();
    add(severity, lines.line(lines.find_nearest(path)), std::string(path), message);
}

void RuleContext::not_checked(std::string_view path, const std::string& what, const Vlnv& missing)
{
    report(Severity::note, path, "not checked: " + what + ": " + missing.to_string() + " not loaded");
}

RuleRegistry& RuleRegistry::instance()
{
    static RuleRegistry registry;
    return registry;
}

bool RuleRegistry::add(std::unique_ptr<Rule> rule)
{
    if (!rule || find(rule->id()))
        return false;
    m_rules.push_back(std::move(rule));
    return true;
}

std::vector<const Rule*> RuleRegistry::rules() const
{
    std::vector<const Rule*> all;
    for (const auto& rule : m_rules)
        all.push_back(rule.get());
    std::sort(all.begin(), all.end(), [](const Rule* a, const Rule* b) { return std::strcmp(a->id(), b->id()) < 0; });
    return all;
}

const Rule* RuleRegistry::find(std::string_view id) const
{
    for (const auto& rule : m_rules)
        if (id == rule->id())
            return rule.get();
    return nullptr;
}

}  // namespace catalog
}  // namespace ipxact

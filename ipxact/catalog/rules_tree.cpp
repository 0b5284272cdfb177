#include "rules_tree.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <string_view>
#include <unordered_map>

#include <ipxact/catalog/document.h>
#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/spirit/HIPGSStructure.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace ipxact {
namespace catalog {

namespace {

const char kSpiritNamespace[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";

std::string_view trimmed(std::string_view s)
{
    const char* space = " \t\r\n";
    size_t first = s.find_first_not_of(space);
    if (first == std::string_view::npos)
        return std::string_view();
    return s.substr(first, s.find_last_not_of(space) - first + 1);
}

}  // namespace

// Elements and attributes in document order: an element, then its attributes, then its children.
// Names and namespaces are interned per tree: equal names have equal ids and equal pointers.
struct RulesTree::Item {
    enum class Kind : uint8_t { document, element, attribute };
    Kind kind = Kind::document;
    uint32_t order = 0;  // position in document order; the document item is 0
    uint32_t end = 0;    // one past the order of the last item of its subtree
    uint32_t local_id = 0;
    uint32_t ns_id = 0;
    uint32_t position = 1;  // elements: 1-based, among the siblings of the same local name
    const char* local = "";
    const char* ns = "";
    const Item* parent = nullptr;
    const Item* first_child = nullptr;  // elements only
    const Item* last_child = nullptr;
    const Item* next_sibling = nullptr;  // for attributes: the element's next attribute
    const Item* first_attribute = nullptr;
    HIPGSpirit::ValueSite value;  // an attribute's value, an element's own text: read when asked for
};

namespace {

// One step of a location path.
struct Step {
    enum class Test : uint8_t { self, name, any_element, attribute };
    bool descendant = false;  // reached through "//"
    Test test = Test::name;
    std::string ns;
    std::string local;
    // Attribute tests joined by "or"; a test without `equals` asks only that the attribute be there.
    struct AttributeTest {
        std::string ns;
        std::string local;
        bool compare = false;
        std::string equals;
    };
    std::vector<AttributeTest> any_of;
};

struct Path {
    bool absolute = false;
    std::vector<Step> steps;
};

// The alternatives of an expression; empty when the expression is outside the supported form.
using Expression = std::vector<Path>;

bool parse_name(std::string_view text, std::string* ns, std::string* local)
{
    size_t colon = text.find(':');
    if (colon == std::string_view::npos) {
        ns->clear();
        *local = std::string(text);
        return !text.empty();
    }
    if (text.substr(0, colon) != "spirit")
        return false;
    *ns = kSpiritNamespace;
    *local = std::string(text.substr(colon + 1));
    return !local->empty();
}

bool parse_predicate(std::string_view text, Step& step)
{
    while (!text.empty()) {
        size_t next = text.find(" or ");
        std::string_view term = trimmed(text.substr(0, next));
        text = next == std::string_view::npos ? std::string_view() : text.substr(next + 4);
        if (term.empty() || term[0] != '@')
            return false;
        Step::AttributeTest test;
        size_t equals = term.find('=');
        if (!parse_name(trimmed(term.substr(1, equals == std::string_view::npos ? term.npos : equals - 1)), &test.ns,
                        &test.local))
            return false;
        if (equals != std::string_view::npos) {
            std::string_view quoted = trimmed(term.substr(equals + 1));
            if (quoted.size() < 2 || quoted.front() != '\'' || quoted.back() != '\'')
                return false;
            test.compare = true;
            test.equals = std::string(quoted.substr(1, quoted.size() - 2));
        }
        step.any_of.push_back(std::move(test));
    }
    return true;
}

bool parse_step(std::string_view text, Step& step)
{
    size_t bracket = text.find('[');
    if (bracket != std::string_view::npos) {
        if (text.back() != ']' || !parse_predicate(text.substr(bracket + 1, text.size() - bracket - 2), step))
            return false;
        text = text.substr(0, bracket);
    }
    if (text == ".") {
        step.test = Step::Test::self;
        return true;
    }
    if (text == "*") {
        step.test = Step::Test::any_element;
        return true;
    }
    if (!text.empty() && text[0] == '@') {
        step.test = Step::Test::attribute;
        text.remove_prefix(1);
    }
    return parse_name(text, &step.ns, &step.local);
}

bool parse_path(std::string_view text, Path& path)
{
    text = trimmed(text);
    if (!text.empty() && text[0] == '/') {
        path.absolute = true;
        text.remove_prefix(1);
    }
    bool descendant = false;
    while (true) {
        size_t slash = text.find('/');
        std::string_view step_text = text.substr(0, slash);
        if (step_text.empty()) {
            // "//": the next step looks at every descendant
            if (descendant || slash == std::string_view::npos)
                return false;
            descendant = true;
        } else {
            Step step;
            step.descendant = descendant;
            descendant = false;
            if (!parse_step(step_text, step))
                return false;
            path.steps.push_back(std::move(step));
        }
        if (slash == std::string_view::npos)
            break;
        text.remove_prefix(slash + 1);
    }
    return !path.steps.empty();
}

Expression parse_expression(std::string_view text)
{
    Expression alternatives;
    while (true) {
        size_t bar = text.find('|');
        Path path;
        if (!parse_path(text.substr(0, bar), path))
            return Expression();
        alternatives.push_back(std::move(path));
        if (bar == std::string_view::npos)
            return alternatives;
        text.remove_prefix(bar + 1);
    }
}

// Rules ask the same few expressions, from their own tables, for every document: each is parsed
// once per process, and a thread finds it again by its address without taking the lock.
const Expression& parsed(const char* text)
{
    thread_local std::unordered_map<const char*, const Expression*> seen;
    const Expression*& known = seen[text];
    if (known)
        return *known;
    static std::mutex guard;
    static std::unordered_map<std::string, Expression> cache;
    std::lock_guard<std::mutex> lock(guard);
    auto found = cache.find(text);
    if (found == cache.end())
        found = cache.emplace(text, parse_expression(text)).first;
    known = &found->second;
    return found->second;
}

bool in_order(RulesTree::Node a, RulesTree::Node b)
{
    return a->order < b->order;
}

std::string value_of(RulesTree::Node node)
{
    std::string value;
    HIPGSpirit::value_text(node->value, value);
    return value;
}

constexpr uint32_t kNoName = 0xFFFFFFFFu;

}  // namespace

struct RulesTree::Impl {
    std::deque<Item> items;  // in document order; stable addresses while the tree grows
    std::deque<std::string> names;  // interned names and namespaces, by id
    std::unordered_map<std::string_view, uint32_t> name_ids;
    std::vector<std::vector<const Item*>> elements_named;    // by local name id, in document order
    std::vector<std::vector<const Item*>> attributes_named;  // by local name id, in document order
    // The ids of a step's names in this tree (kNoName: no item has it). Rules of one document run
    // in one thread, so the memo needs no guard.
    mutable std::unordered_map<const Step*, std::pair<uint32_t, uint32_t>> step_names;
    bool ok = false;

    uint32_t intern(std::string_view s)
    {
        auto found = name_ids.find(s);
        if (found != name_ids.end())
            return found->second;
        names.emplace_back(s);
        auto id = static_cast<uint32_t>(names.size() - 1);
        name_ids.emplace(names.back(), id);
        return id;
    }
    uint32_t lookup(const std::string& s) const
    {
        auto found = name_ids.find(s);
        return found == name_ids.end() ? kNoName : found->second;
    }
    // Local name and namespace ids of a step's test; kNoName when the tree has no such name.
    std::pair<uint32_t, uint32_t> names_of(const Step& step) const
    {
        auto found = step_names.find(&step);
        if (found == step_names.end())
            found = step_names.emplace(&step, std::make_pair(lookup(step.local), lookup(step.ns))).first;
        return found->second;
    }

    bool passes_predicate(const Item* item, const Step& step) const;
    void apply(const Step& step, const Item* context, std::vector<const Item*>& out) const;
    // Appends the descendants of `context` that pass the attribute predicate of `step`, in order.
    void keep_holders(const Step& step, const Item* context, std::vector<const Item*>& out) const;
};

namespace {

// Builds the items from a walk over the objects. Names come from the binding's tables, so the same
// few pointers come again and again: they are interned once per tree by address.
class TreeBuilder : public HIPGSpirit::StructureVisitor {
public:
    explicit TreeBuilder(RulesTree::Impl& impl) : m_impl(impl) { add(Item::Kind::document); }

    void start_element(const char* ns, const char* local) override
    {
        Item* element = add(Item::Kind::element);
        link_child(element);
        name(element, ns, local);
        place(element);
        m_open.push_back(element);
        m_last_attribute = nullptr;
    }
    void attribute(const char* ns, const char* local, const HIPGSpirit::ValueSite& value) override
    {
        Item* attribute = add(Item::Kind::attribute);
        attribute->parent = m_open.back();
        if (m_last_attribute)
            m_last_attribute->next_sibling = attribute;
        else
            m_open.back()->first_attribute = attribute;
        m_last_attribute = attribute;
        name(attribute, ns, local);
        attribute->value = value;
    }
    void text(const HIPGSpirit::ValueSite& value) override { m_open.back()->value = value; }
    void kept_element(const lmx60::c_any_info& any) override
    {
        Item* element = add(Item::Kind::element);
        link_child(element);
        name(element, any.get_namespace().c_str(), any.get_local_name().c_str());
        place(element);
        element->end = element->order + 1;
    }
    void end_element() override
    {
        Item* element = m_open.back();
        element->end = static_cast<uint32_t>(m_impl.items.size());
        m_open.pop_back();
    }

    // After the walk: names point into the finished store, and the name indexes are filled.
    void finish()
    {
        m_impl.items.front().end = static_cast<uint32_t>(m_impl.items.size());
        m_impl.elements_named.resize(m_impl.names.size());
        m_impl.attributes_named.resize(m_impl.names.size());
        for (Item& item : m_impl.items) {
            item.local = m_impl.names[item.local_id].c_str();
            item.ns = m_impl.names[item.ns_id].c_str();
            if (item.kind == Item::Kind::element)
                m_impl.elements_named[item.local_id].push_back(&item);
            else if (item.kind == Item::Kind::attribute)
                m_impl.attributes_named[item.local_id].push_back(&item);
        }
    }

private:
    using Item = RulesTree::Item;

    Item* add(Item::Kind kind)
    {
        m_impl.items.emplace_back();
        Item* item = &m_impl.items.back();
        item->kind = kind;
        item->order = static_cast<uint32_t>(m_impl.items.size() - 1);
        return item;
    }
    void link_child(Item* element)
    {
        Item* parent = m_open.back();
        element->parent = parent;
        if (parent->last_child) {
            const_cast<Item*>(parent->last_child)->next_sibling = element;
        } else {
            parent->first_child = element;
        }
        parent->last_child = element;
    }
    uint32_t intern(const char* text)
    {
        uint32_t& known = m_by_address[text];
        if (known == 0)
            known = m_impl.intern(text) + 1;
        return known - 1;
    }
    void name(Item* item, const char* ns, const char* local)
    {
        item->local_id = intern(local);
        item->ns_id = intern(ns);
    }
    // Counts the element among its parent's children of the same local name (whatever their
    // namespace, as the line index does). Per name, the counts of the open parents that have such
    // children are kept innermost last, so that placing an element takes constant time however
    // many siblings it has. An element is open while its end is 0.
    void place(Item* element)
    {
        if (m_counts.size() <= element->local_id)
            m_counts.resize(element->local_id + 1);
        std::vector<std::pair<const Item*, uint32_t>>& counts = m_counts[element->local_id];
        while (!counts.empty() && counts.back().first != element->parent && counts.back().first->end != 0)
            counts.pop_back();
        if (!counts.empty() && counts.back().first == element->parent)
            element->position = ++counts.back().second;
        else
            counts.emplace_back(element->parent, 1);
    }

    RulesTree::Impl& m_impl;
    std::vector<Item*> m_open{&m_impl.items.front()};
    std::unordered_map<const char*, uint32_t> m_by_address;  // name id + 1 by the name's address
    std::vector<std::vector<std::pair<const Item*, uint32_t>>> m_counts;  // by local name id: open parent, children so far
    Item* m_last_attribute = nullptr;
};

}  // namespace

RulesTree::RulesTree(const Document& document) : m_impl(new Impl)
{
    TreeBuilder builder(*m_impl);
    HIPGSpirit::walk_structure(document.top(), builder);
    builder.finish();
    m_impl->ok = m_impl->items.front().first_child != nullptr;
}

RulesTree::~RulesTree() = default;

bool RulesTree::ok() const
{
    return m_impl->ok;
}

RulesTree::Node RulesTree::root() const
{
    return m_impl->ok ? m_impl->items.front().first_child : nullptr;
}

bool RulesTree::Impl::passes_predicate(const Item* item, const Step& step) const
{
    if (step.any_of.empty())
        return true;
    for (const Step::AttributeTest& test : step.any_of)
        for (const Item* a = item->first_attribute; a; a = a->next_sibling)
            if (test.local == a->local && test.ns == a->ns && (!test.compare || value_of(a) == test.equals))
                return true;
    return false;
}

void RulesTree::Impl::apply(const Step& step, const Item* context, std::vector<const Item*>& out) const
{
    auto keep = [&](const Item* item) {
        if (passes_predicate(item, step))
            out.push_back(item);
    };
    if (step.test == Step::Test::self) {
        keep(context);
        return;
    }
    if (step.test == Step::Test::any_element) {
        if (!step.descendant) {
            for (const Item* child = context->first_child; child; child = child->next_sibling)
                keep(child);
            return;
        }
        if (!step.any_of.empty()) {
            keep_holders(step, context, out);
            return;
        }
        for (uint32_t order = context->order + 1; order < context->end; ++order)
            if (items[order].kind == Item::Kind::element)
                keep(&items[order]);
        return;
    }
    std::pair<uint32_t, uint32_t> ids = names_of(step);
    if (ids.first == kNoName || ids.second == kNoName)
        return;
    auto named = [&](const Item* item) { return item->local_id == ids.first && item->ns_id == ids.second; };
    if (!step.descendant) {
        const Item* first = step.test == Step::Test::attribute ? context->first_attribute : context->first_child;
        for (const Item* item = first; item; item = item->next_sibling)
            if (named(item))
                keep(item);
        return;
    }
    // Every descendant (and, for attributes, the context's own): the items of that name ordered
    // between the context and the end of its subtree.
    const std::vector<const Item*>& list =
        (step.test == Step::Test::attribute ? attributes_named : elements_named)[ids.first];
    auto first = std::upper_bound(list.begin(), list.end(), context->order,
                                  [](uint32_t order, const Item* item) { return order < item->order; });
    for (auto it = first; it != list.end() && (*it)->order < context->end; ++it)
        if (named(*it))
            keep(*it);
}

void RulesTree::Impl::keep_holders(const Step& step, const Item* context, std::vector<const Item*>& out) const
{
    // Only an element that carries one of the predicate's attributes can pass it, and the
    // attribute index names those elements without every descendant being looked at.
    size_t first_kept = out.size();
    for (const Step::AttributeTest& test : step.any_of) {
        uint32_t local = lookup(test.local);
        uint32_t ns = lookup(test.ns);
        if (local == kNoName || ns == kNoName)
            continue;
        const std::vector<const Item*>& list = attributes_named[local];
        auto first = std::upper_bound(list.begin(), list.end(), context->order,
                                      [](uint32_t order, const Item* item) { return order < item->order; });
        for (auto it = first; it != list.end() && (*it)->order < context->end; ++it)
            if ((*it)->ns_id == ns && (*it)->parent != context && passes_predicate((*it)->parent, step))
                out.push_back((*it)->parent);
    }
    // An element carrying more than one of the attributes was found once for each.
    std::sort(out.begin() + static_cast<std::ptrdiff_t>(first_kept), out.end(), in_order);
    out.erase(std::unique(out.begin() + static_cast<std::ptrdiff_t>(first_kept), out.end()), out.end());
}

std::vector<RulesTree::Node> RulesTree::select(const char* expression, Node context) const
{
    std::vector<Node> selected;
    if (!m_impl->ok)
        return selected;
    const Expression& alternatives = parsed(expression);
    Node start = context ? context : root();
    if (alternatives.size() == 1 && alternatives[0].steps.size() == 1) {
        // One step from one node: its results come in order already.
        m_impl->apply(alternatives[0].steps[0], alternatives[0].absolute ? &m_impl->items.front() : start, selected);
        return selected;
    }
    std::vector<Node> current;
    std::vector<Node> next;
    for (const Path& path : alternatives) {
        current.assign(1, path.absolute ? &m_impl->items.front() : start);
        for (const Step& step : path.steps) {
            next.clear();
            for (Node node : current)
                if (node->kind != Item::Kind::attribute)
                    m_impl->apply(step, node, next);
            // Each context's results are in order; several contexts may give them interleaved.
            if (current.size() > 1) {
                std::sort(next.begin(), next.end(), in_order);
                next.erase(std::unique(next.begin(), next.end()), next.end());
            }
            current.swap(next);
        }
        selected.insert(selected.end(), current.begin(), current.end());
    }
    if (alternatives.size() > 1) {
        std::sort(selected.begin(), selected.end(), in_order);
        selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
    }
    return selected;
}

namespace {

// The first element a chain of child name steps reaches from `from`, depth first in document order.
RulesTree::Node first_along(const RulesTree::Impl& impl, const std::vector<Step>& steps, size_t step,
                            RulesTree::Node from)
{
    std::pair<uint32_t, uint32_t> ids = impl.names_of(steps[step]);
    if (ids.first == kNoName || ids.second == kNoName)
        return nullptr;
    for (RulesTree::Node child = from->first_child; child; child = child->next_sibling) {
        if (child->local_id != ids.first || child->ns_id != ids.second || !impl.passes_predicate(child, steps[step]))
            continue;
        if (step + 1 == steps.size())
            return child;
        if (RulesTree::Node found = first_along(impl, steps, step + 1, child))
            return found;
    }
    return nullptr;
}

bool is_child_chain(const Path& path)
{
    if (path.absolute)
        return false;
    for (const Step& step : path.steps)
        if (step.descendant || step.test != Step::Test::name)
            return false;
    return true;
}

}  // namespace

RulesTree::Node RulesTree::first(const char* expression, Node context) const
{
    if (!m_impl->ok)
        return nullptr;
    const Expression& alternatives = parsed(expression);
    if (alternatives.size() == 1 && is_child_chain(alternatives[0]))
        return first_along(*m_impl, alternatives[0].steps, 0, context ? context : root());
    std::vector<Node> all = select(expression, context);
    return all.empty() ? nullptr : all.front();
}

bool RulesTree::field(Node member, const char* key, std::string* value) const
{
    if (std::strcmp(key, ".") == 0) {
        *value = text(member);
        return true;
    }
    if (std::strncmp(key, "@spirit:", 8) == 0) {
        if (!has_attribute(member, key + 8))
            return false;
        *value = attribute(member, key + 8);
        return true;
    }
    Node found = first(key, member);
    if (!found)
        return false;
    *value = text(found);
    return true;
}

size_t RulesTree::size() const
{
    return m_impl->items.size();
}

size_t RulesTree::position(Node node)
{
    return node->order;
}

RulesTree::Node RulesTree::parent(Node node)
{
    if (!node)
        return nullptr;
    Node holder = node->parent;
    if (node->kind == Item::Kind::attribute)
        holder = holder->parent;
    return holder && holder->kind == Item::Kind::element ? holder : nullptr;
}

bool RulesTree::is(Node node, const char* local)
{
    return node && node->kind == Item::Kind::element && std::strcmp(node->local, local) == 0;
}

std::string RulesTree::path(Node node)
{
    std::vector<Node> chain;
    for (Node e = node && node->kind == Item::Kind::attribute ? node->parent : node;
         e && e->kind == Item::Kind::element; e = e->parent)
        chain.push_back(e);
    std::string joined;
    for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
        if (!joined.empty())
            joined += '/';
        joined += (*it)->local;
        if ((*it)->position != 1)
            joined += "[" + std::to_string((*it)->position) + "]";
    }
    return joined;
}

namespace {

void append_text(RulesTree::Node element, std::string& out)
{
    HIPGSpirit::value_text(element->value, out);
    for (RulesTree::Node child = element->first_child; child; child = child->next_sibling)
        append_text(child, out);
}

}  // namespace

std::string RulesTree::text(Node node)
{
    if (!node)
        return std::string();
    if (node->kind == Item::Kind::attribute || !node->first_child)
        return std::string(trimmed(value_of(node)));
    std::string all;
    append_text(node, all);
    return std::string(trimmed(all));
}

namespace {

RulesTree::Node spirit_attribute(RulesTree::Node element, const char* local)
{
    if (!element || element->kind != RulesTree::Item::Kind::element)
        return nullptr;
    for (RulesTree::Node a = element->first_attribute; a; a = a->next_sibling)
        if (std::strcmp(a->local, local) == 0 && std::strcmp(a->ns, kSpiritNamespace) == 0)
            return a;
    return nullptr;
}

}  // namespace

std::string RulesTree::attribute(Node element, const char* local)
{
    Node found = spirit_attribute(element, local);
    return found ? value_of(found) : std::string();
}

bool RulesTree::has_attribute(Node element, const char* local)
{
    return spirit_attribute(element, local) != nullptr;
}

}  // namespace catalog
}  // namespace ipxact

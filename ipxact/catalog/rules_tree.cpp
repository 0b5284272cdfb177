#include "rules_tree.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include <ipxact/catalog/document.h>
#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/lmx60_frontends.h>
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
// Names and namespaces point into the tree's interned strings, so equal names are equal pointers.
struct RulesTree::Item {
    enum class Kind : uint8_t { document, element, attribute };
    Kind kind = Kind::document;
    uint32_t order = 0;  // position in document order; the document item is 0
    uint32_t end = 0;    // one past the order of the last item of its subtree
    const char* local = "";
    const char* ns = "";
    const Item* parent = nullptr;
    const Item* first_child = nullptr;  // elements only
    const Item* next_sibling = nullptr;
    const Item* prev_sibling = nullptr;
    const Item* first_attribute = nullptr;  // the others follow through next_sibling
    std::string_view value;  // an attribute's value, an element's own text
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

// Rules ask the same few expressions for every document: each is parsed once per process.
const Expression& parsed(const char* text)
{
    static std::mutex guard;
    static std::unordered_map<std::string, Expression> cache;
    std::lock_guard<std::mutex> lock(guard);
    auto found = cache.find(text);
    if (found == cache.end())
        found = cache.emplace(text, parse_expression(text)).first;
    return found->second;
}

bool in_order(RulesTree::Node a, RulesTree::Node b)
{
    return a->order < b->order;
}

}  // namespace

struct RulesTree::Impl {
    std::deque<Item> items;  // stable addresses while the tree grows
    std::vector<const Item*> by_order;
    std::string text_store;  // every value, one after another
    std::vector<std::pair<size_t, size_t>> value_spans;  // per item: offset and length in text_store
    std::unordered_set<std::string> strings;             // interned names and namespaces
    std::unordered_map<const char*, std::vector<const Item*>> elements_named;    // by interned local name
    std::unordered_map<const char*, std::vector<const Item*>> attributes_named;  // by interned local name
    bool ok = false;

    const char* intern(std::string_view s) { return strings.emplace(s).first->c_str(); }
    // The interned form of a name the tree holds, or null when no item has it.
    const char* interned(const std::string& s) const
    {
        auto found = strings.find(s);
        return found == strings.end() ? nullptr : found->c_str();
    }

    bool matches(const Item* item, const Step& step) const;
    void apply(const Step& step, const Item* context, std::vector<const Item*>& out) const;
};

namespace {

// Builds the items from the writer's events. Prefixes are bound after their element starts, so an
// element's names are resolved once its start tag is complete.
class TreeBuilder : public lmx60::c_xml_event_sink {
public:
    explicit TreeBuilder(RulesTree::Impl& impl) : m_impl(impl) { add(RulesTree::Item::Kind::document); }

    void start_element(const char* qname) override
    {
        settle();
        Item* element = add(RulesTree::Item::Kind::element);
        element->parent = m_open.back();
        link_child(element);
        m_open.push_back(element);
        m_pending_element = element;
        m_pending_qname = qname;
        m_last_attribute = nullptr;
        m_scope_marks.push_back(m_scope.size());
    }
    void namespace_declaration(const char* prefix, const char* uri) override
    {
        m_scope.emplace_back(prefix, m_impl.intern(uri));
    }
    void attribute(const char* qname, const std::string& value) override
    {
        Item* attribute = add(RulesTree::Item::Kind::attribute);
        Item* element = m_open.back();
        attribute->parent = element;
        if (m_last_attribute)
            m_last_attribute->next_sibling = attribute;
        else
            element->first_attribute = attribute;
        m_last_attribute = attribute;
        set_value(attribute, value);
        m_pending_attributes.emplace_back(attribute, qname);
    }
    void text(const std::string& value) override
    {
        settle();
        set_value(m_open.back(), value);
    }
    void any_element(const lmx60::c_any_info& any) override
    {
        settle();
        Item* element = add(RulesTree::Item::Kind::element);
        element->parent = m_open.back();
        element->local = m_impl.intern(any.get_local_name());
        element->ns = m_impl.intern(any.get_namespace());
        link_child(element);
        element->end = element->order + 1;
    }
    void end_element() override
    {
        settle();
        Item* element = m_open.back();
        element->end = static_cast<uint32_t>(m_impl.items.size());
        m_open.pop_back();
        m_last_child.erase(element);
        m_scope.resize(m_scope_marks.back());
        m_scope_marks.pop_back();
    }

    // After the walk: values point into the finished store, and the name indexes are filled.
    void finish()
    {
        settle();
        Item& document = m_impl.items.front();
        document.end = static_cast<uint32_t>(m_impl.items.size());
        m_impl.by_order.reserve(m_impl.items.size());
        for (size_t i = 0; i < m_impl.items.size(); ++i) {
            Item& item = m_impl.items[i];
            const auto& span = m_impl.value_spans[i];
            item.value = std::string_view(m_impl.text_store).substr(span.first, span.second);
            m_impl.by_order.push_back(&item);
            if (item.kind == RulesTree::Item::Kind::element)
                m_impl.elements_named[item.local].push_back(&item);
            else if (item.kind == RulesTree::Item::Kind::attribute)
                m_impl.attributes_named[item.local].push_back(&item);
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
        m_impl.value_spans.emplace_back(0, 0);
        return item;
    }
    void link_child(Item* element)
    {
        Item* parent = m_open.back();
        auto last = m_last_child.find(parent);
        if (last == m_last_child.end()) {
            parent->first_child = element;
        } else {
            last->second->next_sibling = element;
            element->prev_sibling = last->second;
        }
        m_last_child[parent] = element;
    }
    void set_value(Item* item, const std::string& value)
    {
        m_impl.value_spans[item->order] = {m_impl.text_store.size(), value.size()};
        m_impl.text_store += value;
    }
    // The namespace a prefix is bound to where the builder stands; "" for none.
    const char* resolve(std::string_view prefix) const
    {
        for (auto it = m_scope.rbegin(); it != m_scope.rend(); ++it)
            if (it->first == prefix)
                return it->second;
        return "";
    }
    void name(Item* item, const char* qname, bool isAttribute)
    {
        std::string_view q(qname);
        size_t colon = q.find(':');
        std::string_view prefix = colon == q.npos ? std::string_view() : q.substr(0, colon);
        item->local = m_impl.intern(colon == q.npos ? q : q.substr(colon + 1));
        // An attribute without a prefix is in no namespace; an element without one is in the default.
        item->ns = (isAttribute && prefix.empty()) ? "" : resolve(prefix);
    }
    // Resolves the names of the element whose start tag has just been completed.
    void settle()
    {
        if (m_pending_element) {
            name(m_pending_element, m_pending_qname, false);
            m_pending_element = nullptr;
        }
        for (const auto& pending : m_pending_attributes)
            name(pending.first, pending.second, true);
        m_pending_attributes.clear();
    }

    RulesTree::Impl& m_impl;
    std::vector<Item*> m_open{&m_impl.items.front()};
    std::unordered_map<const Item*, Item*> m_last_child;
    std::vector<std::pair<std::string, const char*>> m_scope;  // prefix, interned namespace
    std::vector<size_t> m_scope_marks;
    Item* m_pending_element = nullptr;
    const char* m_pending_qname = nullptr;
    Item* m_last_attribute = nullptr;
    std::vector<std::pair<Item*, const char*>> m_pending_attributes;
};

}  // namespace

RulesTree::RulesTree(const Document& document) : m_impl(new Impl)
{
    TreeBuilder builder(*m_impl);
    lmx60::c_xml_writer writer(builder);
    const HIPGSpirit::HIPGSTop& top = document.top();
    lmx60::elmx_error result = lmx60::run_marshal([&] { return top.marshal(writer, nullptr); });
    builder.finish();
    m_impl->ok = result == lmx60::ELMX_OK && writer.flush() == lmx60::ELMX_OK && m_impl->items.front().first_child;
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

bool RulesTree::Impl::matches(const Item* item, const Step& step) const
{
    switch (step.test) {
    case Step::Test::self:
        break;
    case Step::Test::any_element:
        if (item->kind != Item::Kind::element)
            return false;
        break;
    case Step::Test::name:
    case Step::Test::attribute:
        if (std::strcmp(item->local, step.local.c_str()) != 0 || std::strcmp(item->ns, step.ns.c_str()) != 0)
            return false;
        break;
    }
    if (step.any_of.empty())
        return true;
    for (const Step::AttributeTest& test : step.any_of)
        for (const Item* a = item->first_attribute; a; a = a->next_sibling)
            if (test.local == a->local && test.ns == a->ns && (!test.compare || a->value == test.equals))
                return true;
    return false;
}

void RulesTree::Impl::apply(const Step& step, const Item* context, std::vector<const Item*>& out) const
{
    if (step.test == Step::Test::self && !step.descendant) {
        if (matches(context, step))
            out.push_back(context);
        return;
    }
    if (!step.descendant) {
        if (step.test == Step::Test::attribute) {
            for (const Item* a = context->first_attribute; a; a = a->next_sibling)
                if (matches(a, step))
                    out.push_back(a);
            return;
        }
        for (const Item* child = context->first_child; child; child = child->next_sibling)
            if (matches(child, step))
                out.push_back(child);
        return;
    }
    // Every descendant (and, for attributes, the context's own): items ordered between the
    // context and the end of its subtree; named tests take them from the name index.
    if (step.test == Step::Test::name || step.test == Step::Test::attribute) {
        const char* local = interned(step.local);
        if (!local)
            return;
        const auto& index = step.test == Step::Test::name ? elements_named : attributes_named;
        auto named = index.find(local);
        if (named == index.end())
            return;
        const std::vector<const Item*>& list = named->second;
        auto first = std::upper_bound(list.begin(), list.end(), context->order,
                                      [](uint32_t order, const Item* item) { return order < item->order; });
        for (auto it = first; it != list.end() && (*it)->order < context->end; ++it)
            if (matches(*it, step))
                out.push_back(*it);
        return;
    }
    for (uint32_t order = context->order + 1; order < context->end; ++order)
        if (by_order[order]->kind == Item::Kind::element && matches(by_order[order], step))
            out.push_back(by_order[order]);
}

std::vector<RulesTree::Node> RulesTree::select(const char* expression, Node context) const
{
    std::vector<Node> selected;
    if (!m_impl->ok)
        return selected;
    for (const Path& path : parsed(expression)) {
        std::vector<Node> current{path.absolute ? &m_impl->items.front() : (context ? context : root())};
        std::vector<Node> next;
        for (const Step& step : path.steps) {
            next.clear();
            for (Node node : current)
                if (node->kind != Item::Kind::attribute)
                    m_impl->apply(step, node, next);
            if (current.size() > 1) {
                std::sort(next.begin(), next.end(), in_order);
                next.erase(std::unique(next.begin(), next.end()), next.end());
            }
            current.swap(next);
        }
        selected.insert(selected.end(), current.begin(), current.end());
    }
    std::sort(selected.begin(), selected.end(), in_order);
    selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
    return selected;
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
    std::vector<Node> found = select(key, member);
    if (found.empty())
        return false;
    *value = text(found.front());
    return true;
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
        // The line index counts siblings of the same local name, whatever their namespace.
        size_t position = 1;
        for (Node s = (*it)->prev_sibling; s; s = s->prev_sibling)
            if (s->local == (*it)->local)
                ++position;
        if (!joined.empty())
            joined += '/';
        joined += (*it)->local;
        if (position != 1)
            joined += "[" + std::to_string(position) + "]";
    }
    return joined;
}

namespace {

void append_text(RulesTree::Node element, std::string& out)
{
    out.append(element->value.data(), element->value.size());
    for (RulesTree::Node child = element->first_child; child; child = child->next_sibling)
        append_text(child, out);
}

}  // namespace

std::string RulesTree::text(Node node)
{
    if (!node)
        return std::string();
    if (node->kind == Item::Kind::attribute || !node->first_child)
        return std::string(trimmed(node->value));
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
    return found ? std::string(found->value) : std::string();
}

bool RulesTree::has_attribute(Node element, const char* local)
{
    return spirit_attribute(element, local) != nullptr;
}

}  // namespace catalog
}  // namespace ipxact

#include "rules_tree.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <new>
#include <set>
#include <stdexcept>
#include <string_view>
#include <type_traits>
#include <unordered_map>

#include <ipxact/catalog/document.h>
#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSBinding.h>
#include <ipxact/spirit/HIPGSNamespaces.h>
#include <ipxact/spirit/HIPGSStructure.h>
#include <ipxact/spirit/HIPGSTop.h>

#include "read_document.h"
#include "recent_by_address.h"

namespace ipxact {
namespace catalog {

namespace {

using lmx60::trim_xml_whitespace;

// A name's process-wide id, and its text, which lives as long as the process.
struct NameId {
    uint32_t id = 0;
    const char* text = nullptr;
};

// The names and namespaces that trees and path steps use, with one id each for the whole process,
// so that a step's names are known in every tree without a lookup per tree.
class Names {
public:
    static Names& instance()
    {
        static Names names;
        return names;
    }
    uint32_t id(std::string_view text)
    {
        std::lock_guard<std::mutex> lock(m_guard);
        auto found = m_ids.find(text);
        if (found != m_ids.end())
            return found->second;
        m_texts.emplace_back(text);
        auto id = static_cast<uint32_t>(m_texts.size() - 1);
        m_ids.emplace(m_texts.back(), id);
        return id;
    }
    // Valid for the life of the process.
    const char* text(uint32_t id)
    {
        std::lock_guard<std::mutex> lock(m_guard);
        return m_texts[id].c_str();
    }
    // One past the largest id given so far.
    uint32_t size()
    {
        std::lock_guard<std::mutex> lock(m_guard);
        return static_cast<uint32_t>(m_texts.size());
    }
    NameId name(std::string_view text)
    {
        uint32_t known = id(text);
        return NameId{known, this->text(known)};
    }

private:
    std::mutex m_guard;
    std::deque<std::string> m_texts;  // stable addresses as the table grows
    std::unordered_map<std::string_view, uint32_t> m_ids;
};

// A name whose text never changes at its address (the binding's tables, literals): known again by
// the address in each thread without taking the table's lock.
NameId lasting_name(const char* text)
{
    thread_local std::unordered_map<const char*, NameId> known;
    auto found = known.find(text);
    return found != known.end() ? found->second : known.emplace(text, Names::instance().name(text)).first->second;
}

// A name known by its text (a line index's, which lives no longer than its document): the same ids
// as lasting_name() gives, found by text in a table of each thread's own.
NameId text_name(std::string_view text)
{
    thread_local std::unordered_map<std::string_view, NameId> known;  // keys view the process-wide table
    auto found = known.find(text);
    if (found != known.end())
        return found->second;
    NameId name = Names::instance().name(text);
    return known.emplace(name.text, name).first->second;
}

// Names of content kept as read (vendor elements, attributes a class admits whatever they are) are
// whatever a document says, so they get ids of their tree's own, from here up: a document cannot
// grow the process-wide table, and no path step, which always names the standard's namespace, can
// match them.
constexpr uint32_t kFirstOwnId = 0x80000000u;

uint32_t spirit_namespace_id()
{
    static const uint32_t id = Names::instance().id(HIPGSpirit::kSpiritNamespaceUri);
    return id;
}

}  // namespace

// Elements and attributes in document order: an element, then its attributes, then its children.
// Names and namespaces are known by ids: process-wide ones, or the tree's own for content kept as
// read.
struct RulesTree::Item {
    enum class Kind : uint8_t { document, element, attribute };
    Kind kind = Kind::document;
    uint32_t order = 0;  // position in document order; the document item is 0
    uint32_t end = 0;    // one past the order of the last item of its subtree
    uint32_t local_id = 0;
    uint32_t ns_id = 0;
    // Elements: 1-based, among the siblings of the same local name; 0 until a path asks for it, when
    // the positions of all the parent's children are counted at once.
    mutable uint32_t position = 0;
    const char* local = "";
    const Item* parent = nullptr;
    const Item* first_child = nullptr;   // elements only
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
    uint32_t ns = 0;  // name ids
    uint32_t local = 0;
    // Attribute tests joined by "or"; a test without `equals` asks only that the attribute be there.
    struct AttributeTest {
        uint32_t ns = 0;
        uint32_t local = 0;
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

bool parse_name(std::string_view text, uint32_t* ns, uint32_t* local)
{
    size_t colon = text.find(':');
    if (colon == std::string_view::npos || text.substr(0, colon) != "spirit" || colon + 1 == text.size())
        return false;
    *ns = spirit_namespace_id();
    *local = Names::instance().id(text.substr(colon + 1));
    return true;
}

bool parse_predicate(std::string_view text, Step& step)
{
    while (!text.empty()) {
        size_t next = text.find(" or ");
        std::string_view term = trim_xml_whitespace(text.substr(0, next));
        text = next == std::string_view::npos ? std::string_view() : text.substr(next + 4);
        if (term.empty() || term[0] != '@')
            return false;
        Step::AttributeTest test;
        size_t equals = term.find('=');
        std::string_view name = term.substr(1, equals == std::string_view::npos ? term.npos : equals - 1);
        if (!parse_name(trim_xml_whitespace(name), &test.ns, &test.local))
            return false;
        if (equals != std::string_view::npos) {
            std::string_view quoted = trim_xml_whitespace(term.substr(equals + 1));
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
    text = trim_xml_whitespace(text);
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
// once per process, and a thread finds it again by its address in a table of its own without taking
// the lock. A tree keeps the few its rules ask in front of this (RulesTree::Impl::expression).
const Expression& parsed(const char* text)
{
    thread_local std::unordered_map<const char*, const Expression*> seen;
    const Expression*& known = seen[text];
    if (!known) {
        static std::mutex guard;
        static std::unordered_map<std::string, Expression> cache;
        std::lock_guard<std::mutex> lock(guard);
        auto found = cache.find(text);
        if (found == cache.end())
            found = cache.emplace(text, parse_expression(text)).first;
        known = &found->second;
    }
    return *known;
}

bool in_order(RulesTree::Node a, RulesTree::Node b)
{
    return a->order < b->order;
}

// The first of a run of items in document order that comes after `context`.
const RulesTree::Item* const* after(const RulesTree::Item* const* begin, const RulesTree::Item* const* end,
                                    RulesTree::Node context)
{
    return std::upper_bound(begin, end, context->order,
                            [](uint32_t order, const RulesTree::Item* item) { return order < item->order; });
}

std::string value_of(RulesTree::Node node)
{
    std::string value;
    HIPGSpirit::value_text(node->value, value);
    return value;
}

// The items, in one array sized before the first is added, so that they keep their addresses; each
// is made when it is added, while the builder has it in the cache anyway. They are counted rather
// than measured: an item's size is no power of two.
class ItemStore {
public:
    void reserve(size_t capacity)
    {
        m_items.reset(static_cast<RulesTree::Item*>(::operator new(capacity * sizeof(RulesTree::Item))));
        m_capacity = static_cast<uint32_t>(capacity);
    }
    RulesTree::Item& add()
    {
        if (m_count == m_capacity)
            throw std::logic_error("rules tree: more items than were counted");
        return *new (m_items.get() + m_count++) RulesTree::Item;
    }
    const RulesTree::Item& operator[](uint32_t order) const { return m_items.get()[order]; }
    RulesTree::Item& front() { return *m_items; }
    const RulesTree::Item& front() const { return *m_items; }
    uint32_t size() const { return m_count; }

    template <class Visit>
    void for_each(Visit visit) const
    {
        for (uint32_t order = 0; order < m_count; ++order)
            visit(m_items.get()[order]);
    }

private:
    // Items need no destruction: their storage is released as it is.
    struct Release {
        void operator()(RulesTree::Item* items) const { ::operator delete(items); }
    };
    static_assert(std::is_trivially_destructible<RulesTree::Item>::value, "items are released without destruction");
    std::unique_ptr<RulesTree::Item, Release> m_items;
    uint32_t m_count = 0;
    uint32_t m_capacity = 0;
};

// The elements and the attributes of each name, each in document order: one array, in runs by name
// id and kind.
class ByName {
public:
    // Counts an item as it is added; names of the tree's own are left out, since no step names them.
    void count(const RulesTree::Item& item)
    {
        if (item.local_id >= kFirstOwnId)
            return;
        size_t k = key(item.local_id, item.kind == RulesTree::Item::Kind::attribute) + 2;
        if (k >= m_start.size())
            m_start.resize(k + 1 + 64, 0);
        ++m_start[k];
    }
    // After the last item is counted: lays the runs out.
    void fill(const ItemStore& items)
    {
        for (size_t k = 2; k < m_start.size(); ++k)
            m_start[k] += m_start[k - 1];
        m_items.resize(m_start.empty() ? 0 : m_start.back());
        items.for_each([&](const RulesTree::Item& item) {
            if (item.kind != RulesTree::Item::Kind::document && item.local_id < kFirstOwnId)
                m_items[m_start[key(item.local_id, item.kind == RulesTree::Item::Kind::attribute) + 1]++] = &item;
        });
    }
    // The elements (or attributes) named `id`, in document order.
    std::pair<const RulesTree::Item* const*, const RulesTree::Item* const*> named(uint32_t id, bool attributes) const
    {
        size_t k = key(id, attributes);
        if (k + 1 >= m_start.size())
            return {nullptr, nullptr};
        return {m_items.data() + m_start[k], m_items.data() + m_start[k + 1]};
    }

private:
    static size_t key(uint32_t id, bool attribute) { return 2 * size_t{id} + (attribute ? 1 : 0); }

    std::vector<uint32_t> m_start;  // by key: counts while building, then where each run begins
    std::vector<const RulesTree::Item*> m_items;
};

}  // namespace

struct RulesTree::Impl {
    ItemStore items;  // in document order
    std::deque<std::string> own_names;  // by id - kFirstOwnId
    ByName by_name;
    std::vector<const Item*> unqualified;  // kept attributes in no namespace, in document order
    std::vector<const Item*> current, next;  // select()'s working lists
    // The expressions this tree was asked, by address, in front of parsed(): the rules of one
    // document ask a few dozen, thousands of times, and the thread's own table costs more to reach.
    mutable RecentByAddress<const Expression*, 127> expressions;
    bool ok = false;

    const Expression& expression(const char* text) const
    {
        return *expressions.find(text, [text] { return &parsed(text); });
    }

    bool passes_predicate(const Item* item, const Step& step) const;
    void apply(const Step& step, const Item* context, std::vector<const Item*>& out) const;
    // Appends the descendants of `context` that pass the attribute predicate of `step`, in order.
    void keep_holders(const Step& step, const Item* context, std::vector<const Item*>& out) const;
    // Appends what alternatives of the form ends_by_one_name() admits select from `context`, in order.
    void select_upwards(const Expression& alternatives, const Item* context, std::vector<const Item*>& out) const;
    bool selected_upwards(const Path& path, const Item* item, const Item* context) const;
};

namespace {

// Builds the items from the line index and the values noted while the document was read.
class TreeBuilder {
public:
    // `elements` and `attributes`: how many of each the tree will hold.
    TreeBuilder(RulesTree::Impl& impl, size_t elements, size_t attributes) : m_impl(impl)
    {
        m_impl.items.reserve(1 + elements + attributes);
        m_open.emplace_back().element = &add(Item::Kind::document);
    }

    void element(NameId ns, NameId local)
    {
        Item& element = add(Item::Kind::element);
        Open& parent = m_open.back();
        element.parent = parent.element;
        if (parent.last_child)
            parent.last_child->next_sibling = &element;
        else
            parent.element->first_child = &element;
        parent.last_child = &element;
        name(element, ns, local);
        // Made in place (as the items are): a pair made aside and copied in stalls on every element.
        m_open.emplace_back().element = &element;
        m_last_attribute = nullptr;
    }
    // An attribute its class declares: its names are the member's, known again by the member.
    void declared_attribute(const HIPGSpirit::ValueSite& value)
    {
        const MemberNames names = m_member_names.find(value.member, [&value] {
            const char* ns = nullptr;
            const char* local = nullptr;
            HIPGSpirit::attribute_name(value, &ns, &local);
            return MemberNames{lasting_name(ns), lasting_name(local)};
        });
        name(add_attribute(value), names.ns, names.local);
    }
    // An attribute kept as read, whatever it is: names of the tree's own.
    void kept_attribute(const char* ns, const char* local, const HIPGSpirit::ValueSite& value)
    {
        Item& attribute = add_attribute(value);
        name(attribute, own_name(ns), own_name(local));
        if (*ns == '\0')
            m_impl.unqualified.push_back(&attribute);
    }
    void text(const HIPGSpirit::ValueSite& value) { m_open.back().element->value = value; }
    void end_element()
    {
        m_open.back().element->end = m_impl.items.size();
        m_open.pop_back();
    }

    // After the last element: the name indexes are filled.
    void finish()
    {
        m_impl.items.front().end = m_impl.items.size();
        m_impl.by_name.fill(m_impl.items);
    }

    // A name of an element outside the standard's namespace, which no path step can match.
    NameId own_name(std::string_view text)
    {
        auto found = m_own_ids.find(text);
        if (found == m_own_ids.end()) {
            m_impl.own_names.emplace_back(text);
            auto id = static_cast<uint32_t>(kFirstOwnId + m_impl.own_names.size() - 1);
            found = m_own_ids.emplace(m_impl.own_names.back(), id).first;
        }
        return NameId{found->second, m_impl.own_names[found->second - kFirstOwnId].c_str()};
    }

private:
    using Item = RulesTree::Item;
    struct Open {
        Item* element = nullptr;
        Item* last_child = nullptr;
    };

    struct MemberNames {
        NameId ns;
        NameId local;
    };

    Item& add_attribute(const HIPGSpirit::ValueSite& value)
    {
        Item& attribute = add(Item::Kind::attribute);
        Item* holder = m_open.back().element;
        attribute.parent = holder;
        if (m_last_attribute)
            m_last_attribute->next_sibling = &attribute;
        else
            holder->first_attribute = &attribute;
        m_last_attribute = &attribute;
        attribute.value = value;
        return attribute;
    }
    Item& add(Item::Kind kind)
    {
        Item& item = m_impl.items.add();
        item.kind = kind;
        item.order = m_impl.items.size() - 1;
        return item;
    }
    void name(Item& item, NameId ns, NameId local)
    {
        item.local_id = local.id;
        item.local = local.text;
        item.ns_id = ns.id;
        m_impl.by_name.count(item);
    }
    RulesTree::Impl& m_impl;
    RecentByAddress<MemberNames, 61> m_member_names;  // a document's few attribute members
    std::vector<Open> m_open;
    std::unordered_map<std::string_view, uint32_t> m_own_ids;
    Item* m_last_attribute = nullptr;
};

// Hands one noted value to the builder: an attribute of the element last begun, or its text.
void add_value(TreeBuilder& builder, const ReadValues::Value& noted)
{
    HIPGSpirit::ValueSite site{noted.owner, noted.member, noted.index};
    const char* ns = nullptr;
    const char* local = nullptr;
    if (noted.member->kind == HIPGSpirit::MemberKind::attribute && noted.owner)
        builder.declared_attribute(site);
    else if (noted.member->kind != HIPGSpirit::MemberKind::any_attribute)
        builder.text(site);
    else if (HIPGSpirit::attribute_name(site, &ns, &local))
        builder.kept_attribute(ns, local, site);
}

}  // namespace

RulesTree::RulesTree(const Document& document) : m_impl(new Impl)
{
    const LineIndex& lines = document.lines();
    const ReadValues& noted = DocumentAccess::values(document);
    TreeBuilder builder(*m_impl, lines.size(), noted.attributes);
    const NameId spirit{spirit_namespace_id(), HIPGSpirit::kSpiritNamespaceUri};
    const NameId foreign_ns = builder.own_name("");
    // The line index numbers each distinct name of the document: each is looked up once.
    std::vector<NameId> names(lines.name_count());
    std::vector<LineIndex::Node> open;
    auto next_foreign = noted.foreign.begin();
    auto next_value = noted.values.begin();
    for (LineIndex::Node node = 0; node < lines.size(); ++node) {
        for (LineIndex::Node parent = lines.parent(node); !open.empty() && open.back() != parent; open.pop_back())
            builder.end_element();
        bool foreign = next_foreign != noted.foreign.end() && *next_foreign == node;
        if (foreign) {
            ++next_foreign;
            builder.element(foreign_ns, builder.own_name(lines.name(node)));
        } else {
            NameId& name = names[lines.name_number(node)];
            if (!name.text)
                name = text_name(lines.name(node));
            builder.element(spirit, name);
        }
        open.push_back(node);
        // Reading tells each value while it stands on its element, so values come in node order.
        for (; next_value != noted.values.end() && next_value->node <= node; ++next_value)
            if (next_value->node == node)
                add_value(builder, *next_value);
    }
    for (; !open.empty(); open.pop_back())
        builder.end_element();
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
            if (test.local == a->local_id && test.ns == a->ns_id && (!test.compare || value_of(a) == test.equals))
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
    auto named = [&](const Item* item) { return item->local_id == step.local && item->ns_id == step.ns; };
    if (!step.descendant) {
        const Item* first = step.test == Step::Test::attribute ? context->first_attribute : context->first_child;
        for (const Item* item = first; item; item = item->next_sibling)
            if (named(item))
                keep(item);
        return;
    }
    // Every descendant (and, for attributes, the context's own): the items of that name ordered
    // between the context and the end of its subtree.
    auto [begin, end] = by_name.named(step.local, step.test == Step::Test::attribute);
    for (auto it = after(begin, end, context); it != end && (*it)->order < context->end; ++it)
        if (named(*it))
            keep(*it);
}

void RulesTree::Impl::keep_holders(const Step& step, const Item* context, std::vector<const Item*>& out) const
{
    // Only an element that carries one of the predicate's attributes can pass it, and the
    // attribute index names those elements without every descendant being looked at.
    size_t first_kept = out.size();
    for (const Step::AttributeTest& test : step.any_of) {
        auto [begin, end] = by_name.named(test.local, true);
        for (auto it = after(begin, end, context); it != end && (*it)->order < context->end; ++it)
            if ((*it)->ns_id == test.ns && (*it)->parent != context && passes_predicate((*it)->parent, step))
                out.push_back((*it)->parent);
    }
    // An element carrying more than one of the attributes was found once for each.
    std::sort(out.begin() + static_cast<std::ptrdiff_t>(first_kept), out.end(), in_order);
    out.erase(std::unique(out.begin() + static_cast<std::ptrdiff_t>(first_kept), out.end()), out.end());
}

namespace {

// Whether a path of two or more steps can be answered from the items bearing its last name: only
// the first step may look at every descendant, and every step names an element or attribute (or,
// before the last, is `*`).
bool ends_by_name(const Path& path)
{
    if (path.steps.size() < 2 || path.steps.back().descendant ||
        (path.steps.back().test != Step::Test::name && path.steps.back().test != Step::Test::attribute))
        return false;
    for (size_t i = 0; i + 1 < path.steps.size(); ++i) {
        const Step& step = path.steps[i];
        if ((step.descendant && i > 0) || (step.test != Step::Test::name && step.test != Step::Test::any_element))
            return false;
    }
    return true;
}

// Whether every alternative has that form and ends in the same name (of the same kind).
bool ends_by_one_name(const Expression& alternatives)
{
    for (const Path& path : alternatives)
        if (!ends_by_name(path) || path.steps.back().test != alternatives.front().steps.back().test ||
            path.steps.back().local != alternatives.front().steps.back().local)
            return false;
    return !alternatives.empty();
}

// Whether every alternative is one step to the children of some name, from the context.
bool are_child_names(const Expression& alternatives)
{
    for (const Path& path : alternatives)
        if (path.absolute || path.steps.size() != 1 || path.steps[0].descendant ||
            path.steps[0].test != Step::Test::name)
            return false;
    return !alternatives.empty();
}

}  // namespace

// Whether `item`, an item of the last step's name, is one that `path` (of the form ends_by_name()
// admits) selects from `context`: its chain of parents answers the steps before the last. Names are
// compared first, all the way up: most items of a name stand under other parents ("access" of a
// field against "//spirit:register/spirit:access"), and fail at the first of them.
bool RulesTree::Impl::selected_upwards(const Path& path, const Item* item, const Item* context) const
{
    const std::vector<Step>& steps = path.steps;
    if (item->ns_id != steps.back().ns)
        return false;
    const Item* at = item;
    for (size_t i = steps.size() - 1; i-- > 0;) {
        at = at->parent;
        if (!at || at->kind != Item::Kind::element ||
            (steps[i].test != Step::Test::any_element && (at->local_id != steps[i].local || at->ns_id != steps[i].ns)))
            return false;
    }
    // `at` is the element the first step took: a child of the context or, after "//", any element
    // below it.
    if (steps.front().descendant ? at->order <= context->order || at->order >= context->end : at->parent != context)
        return false;
    at = item;
    for (size_t i = steps.size(); i-- > 0; at = at->parent)
        if (!steps[i].any_of.empty() && !passes_predicate(at, steps[i]))
            return false;
    return true;
}

void RulesTree::Impl::select_upwards(const Expression& alternatives, const Item* context,
                                     std::vector<const Item*>& out) const
{
    // Walking down visits every child of every element on the way ("//spirit:field/spirit:access"
    // looks at each child of each field); walking up from the items of the last name visits only
    // those, each against a chain of parents, and keeps document order without sorting, however
    // many alternatives end in that name.
    const Step& last = alternatives.front().steps.back();
    auto [begin, end] = by_name.named(last.local, last.test == Step::Test::attribute);
    const Item* range = context;
    for (const Path& path : alternatives)
        if (path.absolute)
            range = &items.front();
    for (auto it = after(begin, end, range); it != end && (*it)->order < range->end; ++it)
        for (const Path& path : alternatives)
            if (selected_upwards(path, *it, path.absolute ? &items.front() : context)) {
                out.push_back(*it);
                break;
            }
}

std::vector<RulesTree::Node> RulesTree::select(const char* expression, Node context) const
{
    std::vector<Node> selected;
    select(expression, context, selected);
    return selected;
}

void RulesTree::select(const char* expression, Node context, std::vector<Node>& selected) const
{
    selected.clear();
    if (!m_impl->ok)
        return;
    const Expression& alternatives = m_impl->expression(expression);
    Node start = context ? context : root();
    if (ends_by_one_name(alternatives)) {
        m_impl->select_upwards(alternatives, start, selected);
        return;
    }
    if (alternatives.size() == 1 && alternatives[0].steps.size() == 1) {
        // One step from one node: its results come in order already.
        m_impl->apply(alternatives[0].steps[0], alternatives[0].absolute ? &m_impl->items.front() : start, selected);
        return;
    }
    if (are_child_names(alternatives)) {
        // Children of several names ("spirit:register|spirit:registerFile"): one pass over the
        // children, in order.
        for (Node child = start->first_child; child; child = child->next_sibling)
            for (const Path& path : alternatives)
                if (child->local_id == path.steps[0].local && child->ns_id == path.steps[0].ns &&
                    m_impl->passes_predicate(child, path.steps[0])) {
                    selected.push_back(child);
                    break;
                }
        return;
    }
    // The steps' working lists are the tree's own, kept from call to call (a tree serves one
    // thread at a time): a rule selects thousands of times per document.
    std::vector<Node>& current = m_impl->current;
    std::vector<Node>& next = m_impl->next;
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
        // Each alternative's results are in order: they are merged as they come.
        size_t merged = selected.size();
        selected.insert(selected.end(), current.begin(), current.end());
        std::inplace_merge(selected.begin(), selected.begin() + static_cast<std::ptrdiff_t>(merged), selected.end(),
                           in_order);
    }
    if (alternatives.size() > 1)
        selected.erase(std::unique(selected.begin(), selected.end()), selected.end());
}

namespace {

// The first element a chain of child name steps reaches from `from`, depth first in document order.
RulesTree::Node first_along(const RulesTree::Impl& impl, const std::vector<Step>& steps, size_t step,
                            RulesTree::Node from)
{
    for (RulesTree::Node child = from->first_child; child; child = child->next_sibling) {
        if (child->local_id != steps[step].local || child->ns_id != steps[step].ns ||
            !impl.passes_predicate(child, steps[step]))
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
    const Expression& alternatives = m_impl->expression(expression);
    if (alternatives.size() == 1 && is_child_chain(alternatives[0]))
        return first_along(*m_impl, alternatives[0].steps, 0, context ? context : root());
    std::vector<Node> all = select(expression, context);
    return all.empty() ? nullptr : all.front();
}

namespace {

// A node's own value, then the texts of the elements below it (an attribute has none).
void append_text(RulesTree::Node node, std::string& out)
{
    HIPGSpirit::value_text(node->value, out);
    for (RulesTree::Node child = node->first_child; child; child = child->next_sibling)
        append_text(child, out);
}

RulesTree::Node spirit_attribute(RulesTree::Node element, const char* local)
{
    if (!element || element->kind != RulesTree::Item::Kind::element)
        return nullptr;
    for (RulesTree::Node a = element->first_attribute; a; a = a->next_sibling)
        if (a->ns_id == spirit_namespace_id() && std::strcmp(a->local, local) == 0)
            return a;
    return nullptr;
}

// The local names of elements whose text some rule reads; filled while the library loads.
std::set<std::string, std::less<>>& texts_read()
{
    static std::set<std::string, std::less<>> names;
    return names;
}

// Appends a node's string value with white space at its ends removed, trimmed where it stands:
// most values have nothing to trim, and none is copied.
void append_trimmed_text(RulesTree::Node node, std::string& out)
{
    // Reading kept no text for this element: every rule must name what it reads (reads_text).
    if (node->kind == RulesTree::Item::Kind::element && !node->value.member &&
        node->ns_id == spirit_namespace_id() && !RulesTree::text_is_read(node->local))
        throw std::logic_error(std::string("the text of spirit:") + node->local + " is read by no registered rule");
    size_t start = out.size();
    append_text(node, out);
    std::string_view kept = trim_xml_whitespace(std::string_view(out).substr(start));
    size_t from = static_cast<size_t>(kept.data() - out.data());
    out.erase(from + kept.size());
    out.erase(start, from - start);
}

}  // namespace

bool RulesTree::field(Node member, const char* key, std::string* value) const
{
    value->clear();
    return append_field(member, key, *value);
}

bool RulesTree::append_field(Node member, const char* key, std::string& out) const
{
    if (std::strcmp(key, ".") == 0) {
        append_trimmed_text(member, out);
        return true;
    }
    if (std::strncmp(key, "@spirit:", 8) == 0) {
        Node found = spirit_attribute(member, key + 8);
        if (!found)
            return false;
        HIPGSpirit::value_text(found->value, out);
        return true;
    }
    Node found = first(key, member);
    if (!found)
        return false;
    append_trimmed_text(found, out);
    return true;
}

size_t RulesTree::size() const
{
    return m_impl->items.size();
}

const std::vector<RulesTree::Node>& RulesTree::unqualified_attributes() const
{
    return m_impl->unqualified;
}

bool RulesTree::shadows_standard_attribute(Node attribute)
{
    const HIPGSpirit::HIPGSBase* owner = attribute ? attribute->value.owner : nullptr;
    const HIPGSpirit::ClassInfo* info = owner ? owner->getClassInfo() : nullptr;
    for (uint32_t i = 0; info && i < info->member_count; ++i) {
        const HIPGSpirit::MemberInfo& member = info->members[i];
        if (member.kind == HIPGSpirit::MemberKind::attribute && member.ns_id == HIPGSpirit::kSpiritNamespaceId &&
            std::strcmp(member.name, attribute->local) == 0)
            return true;
    }
    return false;
}

const char* RulesTree::local_name(Node node)
{
    return node ? node->local : "";
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

namespace {

// Numbers the element children of `parent` among the siblings of the same local name (whatever
// their namespace, as the line index does), in one pass over them.
void count_positions(const RulesTree::Item* parent)
{
    std::unordered_map<uint32_t, uint32_t> seen;
    for (const RulesTree::Item* child = parent->first_child; child; child = child->next_sibling)
        child->position = ++seen[child->local_id];
}

}  // namespace

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
        if ((*it)->position == 0)
            count_positions((*it)->parent);
        if ((*it)->position != 1)
            joined += "[" + std::to_string((*it)->position) + "]";
    }
    return joined;
}

void RulesTree::reads_text(const char* expression)
{
    for (const Path& path : parse_expression(expression))
        if (!path.steps.empty() && path.steps.back().test == Step::Test::name)
            texts_read().emplace(Names::instance().text(path.steps.back().local));
}

void RulesTree::reads_field(const char* members, const char* key)
{
    if (std::strcmp(key, ".") == 0)
        reads_text(members);
    else if (key[0] != '@')
        reads_text(key);
}

bool RulesTree::text_is_read(std::string_view local)
{
    return texts_read().count(local) > 0;
}

std::string RulesTree::text(Node node)
{
    std::string all;
    if (node)
        append_trimmed_text(node, all);
    return all;
}

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

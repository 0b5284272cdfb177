// Memory layout: address blocks of a map apart, registers of a block apart and inside it, fields of
// a register apart and inside it, values fitting their width, sizes positive. Addresses and sizes
// are compared exactly (ScaledValue); a value that cannot be known without evaluating it is left
// out of every check and named once by memory.not-checkable.
#include <algorithm>
#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include <ipxact/catalog/rule.h>
#include <ipxact/catalog/scaled_value.h>

#include "rules_tree.h"

namespace ipxact {
namespace catalog {

namespace {

using Node = RulesTree::Node;

// A layout value (a child element holding a number); the node is null when the element is absent.
struct Value {
    Node node = nullptr;
    ScaledValue value;
    std::string text;
    std::string why;  // empty when the value is known or absent
};

// A value given to the user, a generator or an expression to decide is a default at best: what the
// layout will be is not known here.
bool decided_elsewhere(Node node, std::string* why)
{
    std::string resolve = RulesTree::attribute(node, "resolve");
    if (resolve == "user" || resolve == "generated" || resolve == "dependent") {
        *why = "spirit:resolve=\"" + resolve + "\"";
        return true;
    }
    return false;
}

Value read_value(Node node)
{
    Value v;
    v.node = node;
    v.text = RulesTree::text(v.node);
    if (decided_elsewhere(v.node, &v.why))
        return v;
    v.value = ScaledValue::parse(v.text);
    if (!v.value.checkable())
        v.why = "not a decimal or prefixed hexadecimal number";
    return v;
}

// The layout values the rules read, each a child of the element it belongs to.
enum Part : uint8_t {
    kAddressUnitBits,
    kBaseAddress,
    kRange,
    kWidth,
    kAddressOffset,
    kSize,
    kResetValue,
    kResetMask,
    kBitOffset,
    kBitWidth,
    kValue,
    kParts
};

const char* const kPartPaths[kParts] = {
    "spirit:addressUnitBits", "spirit:baseAddress", "spirit:range",       "spirit:width",
    "spirit:addressOffset",   "spirit:size",        "spirit:reset/spirit:value", "spirit:reset/spirit:mask",
    "spirit:bitOffset",       "spirit:bitWidth",    "spirit:value",
};

// A document's tree with its layout values, each looked up and parsed once for all the memory
// rules: they look at the same offsets, sizes and widths, one rule after another.
class Layout {
public:
    explicit Layout(RuleContext& context) : m_tree(context.shared<RulesTree>()), m_records(m_tree.size(), kNone) {}

    std::vector<Node> select(const char* expression, Node context = nullptr) const
    {
        return m_tree.select(expression, context);
    }
    bool field(Node member, const char* key, std::string* value) const { return m_tree.field(member, key, value); }
    // The value `part` of the element `parent`; its node is null when the element has none.
    const Value& value(Node parent, Part part) const
    {
        uint32_t& record = m_records[RulesTree::position(parent)];
        if (record == kNone) {
            record = static_cast<uint32_t>(m_parts.size());
            m_parts.emplace_back();
            m_parts.back().fill(kNone);
        }
        uint32_t& slot = m_parts[record][part];
        if (slot == kNone) {
            Node node = m_tree.first(kPartPaths[part], parent);
            if (!node)
                return m_absent;
            slot = static_cast<uint32_t>(m_values.size());
            m_values.push_back(read_value(node));
        }
        return m_values[slot];
    }

private:
    static constexpr uint32_t kNone = 0xFFFFFFFFu;
    const RulesTree& m_tree;
    const Value m_absent;
    // The rules of one document run in one thread, one after another. Per node of the tree, where
    // its parts stand in m_parts; per part, where its value stands in m_values (an absent part is
    // looked for again, which costs little: most parts are there).
    mutable std::vector<uint32_t> m_records;
    mutable std::deque<std::array<uint32_t, kParts>> m_parts;
    mutable std::deque<Value> m_values;
};

bool known(const Value& v)
{
    return v.node && v.value.checkable();
}

std::string name_of(const Layout& tree, Node node)
{
    std::string name;
    tree.field(node, "spirit:name", &name);
    return name;
}

// Bits per address unit of the map or address space holding `node` (8 when not said or not known).
ScaledValue address_unit_bits(const Layout& tree, Node node)
{
    for (Node holder = RulesTree::parent(node); holder; holder = RulesTree::parent(holder))
        if (RulesTree::is(holder, "memoryMap") || RulesTree::is(holder, "addressSpace")) {
            const Value& bits = tree.value(holder, kAddressUnitBits);
            return known(bits) && bits.value.sign() > 0 ? bits.value : ScaledValue(8);
        }
    return ScaledValue(8);
}

// [first, last] as text, for messages: addresses in hexadecimal, bit positions in decimal.
std::string span(const ScaledValue& first, const ScaledValue& size, bool bits = false)
{
    ScaledValue last = first + size - ScaledValue(1);
    return bits ? first.to_string() + ".." + last.to_string()
                : "[" + first.to_hex() + ", " + last.to_hex() + "]";
}

// One item laid out in a container: a block in a map, a register in a block, a field in a register.
struct Item {
    Node node;
    const char* kind;
    ScaledValue first;
    ScaledValue size;
    bool bits = false;  // bit positions rather than addresses
};

// Reports each item that overlaps one placed before it in address order, naming the first such.
void report_overlaps(RuleContext& context, const Layout& tree, std::vector<Item> items)
{
    std::stable_sort(items.begin(), items.end(),
                     [](const Item& a, const Item& b) { return ScaledValue::compare(a.first, b.first) < 0; });
    std::vector<ScaledValue> ends;
    ends.reserve(items.size());
    for (const Item& item : items)
        ends.push_back(item.first + item.size);
    // An item overlaps an earlier one exactly when it starts before the furthest end so far; only
    // then is the earlier one looked for.
    size_t furthest = 0;
    for (size_t i = 1; i < items.size(); ++i) {
        const Item& later = items[i];
        if (ScaledValue::compare(later.first, ends[furthest]) < 0) {
            size_t j = 0;
            while (ScaledValue::compare(later.first, ends[j]) >= 0)
                ++j;
            const Item& earlier = items[j];
            context.report(Severity::error, RulesTree::path(later.node),
                           std::string(later.kind) + " '" + name_of(tree, later.node) + "' " +
                               span(later.first, later.size, later.bits) + " overlaps " + earlier.kind + " '" +
                               name_of(tree, earlier.node) + "' " + span(earlier.first, earlier.size, earlier.bits));
        }
        if (ScaledValue::compare(ends[i], ends[furthest]) > 0)
            furthest = i;
    }
}

// The registers and register files of a block or register file, with their extent in address units.
std::vector<Item> registers_of(const Layout& tree, Node container)
{
    std::vector<Item> items;
    ScaledValue unit = address_unit_bits(tree, container);
    for (Node reg : tree.select("spirit:register", container)) {
        const Value& offset = tree.value(reg, kAddressOffset);
        const Value& size = tree.value(reg, kSize);
        if (known(offset) && known(size) && size.value.sign() > 0)
            items.push_back({reg, "register", offset.value, ScaledValue::ceil_div(size.value, unit)});
    }
    for (Node file : tree.select("spirit:registerFile", container)) {
        const Value& offset = tree.value(file, kAddressOffset);
        const Value& range = tree.value(file, kRange);
        if (known(offset) && known(range) && range.value.sign() > 0)
            items.push_back({file, "register file", offset.value, range.value});
    }
    return items;
}

const char kContainers[] = "//spirit:addressBlock|//spirit:registerFile";
const char kRegisters[] = "//spirit:register|//spirit:alternateRegister";

KindSet memory_kinds()
{
    return kind_bit(DocumentKind::component);
}

// Whether a component has anything laid out in memory; most have not, and the line index says so
// without the tree being built.
bool has_memory(const Document& document)
{
    const LineIndex& lines = document.lines();
    return lines.find("component/memoryMaps") != LineIndex::npos ||
           lines.find("component/addressSpaces") != LineIndex::npos;
}

class BlockOverlap : public Rule {
public:
    const char* id() const override { return "memory.block-overlap"; }
    const char* description() const override { return "the address blocks of a memory map do not overlap"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        // A remap holds the blocks seen in its state instead of the map's own, so each is a layout
        // of its own; blocks of a bank are placed by the bank and have no base address.
        for (Node map : tree.select("//spirit:memoryMap|//spirit:memoryRemap|//spirit:localMemoryMap")) {
            std::vector<Item> blocks;
            for (Node block : tree.select("spirit:addressBlock", map)) {
                const Value& base = tree.value(block, kBaseAddress);
                const Value& range = tree.value(block, kRange);
                if (known(base) && known(range) && range.value.sign() > 0)
                    blocks.push_back({block, "address block", base.value, range.value});
            }
            report_overlaps(context, tree, blocks);
        }
    }
};

class RegisterOverlap : public Rule {
public:
    const char* id() const override { return "memory.register-overlap"; }
    const char* description() const override
    {
        return "the registers and register files of an address block (or register file) do not overlap";
    }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node container : tree.select(kContainers))
            report_overlaps(context, tree, registers_of(tree, container));
    }
};

class RegisterOutside : public Rule {
public:
    const char* id() const override { return "memory.register-outside"; }
    const char* description() const override
    {
        return "a register (or register file) lies inside the range of its address block (or register file)";
    }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node container : tree.select(kContainers)) {
            const Value& range = tree.value(container, kRange);
            if (!known(range))
                continue;
            for (const Item& item : registers_of(tree, container))
                if (ScaledValue::compare(item.first + item.size, range.value) > 0)
                    context.report(Severity::error, RulesTree::path(item.node),
                                   item.kind + std::string(" '") + name_of(tree, item.node) + "' " + span(item.first, item.size) +
                                       " goes past the end of its range of " + range.value.to_hex() + " address units");
        }
    }
};

// The fields of a register with their bit offset and width.
std::vector<Item> fields_of(const Layout& tree, Node reg)
{
    std::vector<Item> items;
    for (Node field : tree.select("spirit:field", reg)) {
        const Value& offset = tree.value(field, kBitOffset);
        const Value& width = tree.value(field, kBitWidth);
        if (known(offset) && known(width) && width.value.sign() > 0)
            items.push_back({field, "field", offset.value, width.value, true});
    }
    return items;
}

class FieldOverlap : public Rule {
public:
    const char* id() const override { return "memory.field-overlap"; }
    const char* description() const override { return "the fields of a register do not overlap"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node reg : tree.select(kRegisters)) {
            report_overlaps(context, tree, fields_of(tree, reg));
        }
    }
};

class FieldOutside : public Rule {
public:
    const char* id() const override { return "memory.field-outside"; }
    const char* description() const override { return "a field lies inside the size of its register"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node reg : tree.select(kRegisters)) {
            const Value& size = tree.value(reg, kSize);
            if (!known(size))
                continue;
            for (const Item& field : fields_of(tree, reg))
                if (ScaledValue::compare(field.first + field.size, size.value) > 0)
                    context.report(Severity::error, RulesTree::path(field.node),
                                   "field '" + name_of(tree, field.node) + "' bits " + span(field.first, field.size, true) +
                                       " go past the register's size of " + size.value.to_string() + " bits");
        }
    }
};

// Whether a value fits in `bits` bits: 0 <= v < 2^bits, or, for a negative value, as two's complement.
bool fits(const ScaledValue& value, const ScaledValue& bits)
{
    unsigned long n = bits.to_ulong(0);
    if (n == 0)
        return true;  // a width too large to matter holds anything
    if (value.sign() >= 0)
        return ScaledValue::compare(value, ScaledValue::power_of_two(n)) < 0;
    return ScaledValue::compare(value, ScaledValue(0) - ScaledValue::power_of_two(n - 1)) >= 0;
}

class ResetWidth : public Rule {
public:
    const char* id() const override { return "memory.reset-width"; }
    const char* description() const override { return "a register's reset value and mask fit in its size"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node reg : tree.select(kRegisters)) {
            const Value& size = tree.value(reg, kSize);
            if (!known(size) || size.value.sign() <= 0)
                continue;
            for (Part part : {kResetValue, kResetMask}) {
                const Value& v = tree.value(reg, part);
                if (known(v) && !fits(v.value, size.value))
                    context.report(Severity::error, RulesTree::path(v.node),
                                   std::string("reset ") + (part == kResetValue ? "value " : "mask ") + v.text + " needs " +
                                       std::to_string(v.value.bit_length()) + " bits; the register has " +
                                       size.value.to_string());
            }
        }
    }
};

class EnumeratedValueWidth : public Rule {
public:
    const char* id() const override { return "memory.enum-width"; }
    const char* description() const override { return "a field's enumerated values fit in its bit width"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (Node field : tree.select("//spirit:field")) {
            const Value& width = tree.value(field, kBitWidth);
            if (!known(width) || width.value.sign() <= 0)
                continue;
            for (Node item : tree.select("spirit:enumeratedValues/spirit:enumeratedValue", field)) {
                const Value& v = tree.value(item, kValue);
                if (known(v) && !fits(v.value, width.value))
                    context.report(Severity::error, RulesTree::path(v.node),
                                   "enumerated value '" + name_of(tree, item) + "' = " + v.text +
                                       " does not fit in the field's " + width.value.to_string() + " bits");
            }
        }
    }
};

// Each sized element: where it stands (XPath of its parent) and its size.
struct SizedElement {
    const char* parents;
    Part child;
    const char* what;
};

const SizedElement kSized[] = {
    {"//spirit:addressBlock|//spirit:addressSpace|//spirit:registerFile", kRange, "range"},
    {"//spirit:addressBlock|//spirit:addressSpace", kWidth, "width"},
    {"//spirit:register|//spirit:alternateRegister", kSize, "size"},
    {"//spirit:field", kBitWidth, "bit width"},
};

class PositiveSize : public Rule {
public:
    const char* id() const override { return "memory.positive"; }
    const char* description() const override
    {
        return "ranges, widths and sizes of blocks, address spaces, register files, registers and fields are positive";
    }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (const SizedElement& sized : kSized)
            for (Node parent : tree.select(sized.parents)) {
                const Value& v = tree.value(parent, sized.child);
                if (known(v) && v.value.sign() <= 0)
                    context.report(Severity::error, RulesTree::path(v.node),
                                   std::string(sized.what) + " is " + v.text + "; it must be positive");
            }
    }
};

// Every value the layout rules read, by parent and part.
const SizedElement kLayoutValues[] = {
    {"//spirit:memoryMap|//spirit:addressSpace", kAddressUnitBits, "address unit bits"},
    {"//spirit:addressBlock", kBaseAddress, "base address"},
    {"//spirit:addressBlock|//spirit:addressSpace|//spirit:registerFile", kRange, "range"},
    {"//spirit:addressBlock|//spirit:addressSpace", kWidth, "width"},
    {"//spirit:register|//spirit:registerFile", kAddressOffset, "address offset"},
    {"//spirit:register|//spirit:alternateRegister", kSize, "size"},
    {"//spirit:register|//spirit:alternateRegister", kResetValue, "reset value"},
    {"//spirit:register|//spirit:alternateRegister", kResetMask, "reset mask"},
    {"//spirit:field", kBitOffset, "bit offset"},
    {"//spirit:field", kBitWidth, "bit width"},
    {"//spirit:enumeratedValue", kValue, "enumerated value"},
};

class NotCheckable : public Rule {
public:
    const char* id() const override { return "memory.not-checkable"; }
    const char* description() const override
    {
        return "names each memory layout value that the memory rules cannot know without evaluating it "
               "(an expression, a value the user or a generator decides), which they leave out (a note)";
    }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        if (!has_memory(context.document()))
            return;
        const Layout& tree = context.shared<Layout>();
        for (const SizedElement& layout : kLayoutValues)
            for (Node parent : tree.select(layout.parents)) {
                const Value& v = tree.value(parent, layout.child);
                if (v.node && !v.why.empty())
                    context.report(Severity::note, RulesTree::path(v.node),
                                   std::string("not checkable: ") + layout.what + " '" + v.text + "' (" + v.why + ")");
            }
    }
};

}  // namespace

IPXACT_CATALOG_RULE(BlockOverlap);
IPXACT_CATALOG_RULE(RegisterOverlap);
IPXACT_CATALOG_RULE(RegisterOutside);
IPXACT_CATALOG_RULE(FieldOverlap);
IPXACT_CATALOG_RULE(FieldOutside);
IPXACT_CATALOG_RULE(ResetWidth);
IPXACT_CATALOG_RULE(EnumeratedValueWidth);
IPXACT_CATALOG_RULE(PositiveSize);
IPXACT_CATALOG_RULE(NotCheckable);

}  // namespace catalog
}  // namespace ipxact

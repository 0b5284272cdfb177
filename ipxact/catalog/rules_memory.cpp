// Memory layout: address blocks of a map apart, registers of a block apart and inside it, fields of
// a register apart and inside it, values fitting their width, sizes positive. Addresses and sizes
// are compared exactly (ScaledValue); a value that cannot be known without evaluating it is left
// out of every check and named once by memory.not-checkable.
#include <algorithm>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include <ipxact/catalog/rule.h>
#include <ipxact/catalog/scaled_value.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSAddressBankType.h>
#include <ipxact/spirit/HIPGSAddressBlockDefinitionGroup.h>
#include <ipxact/spirit/HIPGSAddressBlockExtensions.h>
#include <ipxact/spirit/HIPGSAddressBlockType.h>
#include <ipxact/spirit/HIPGSAddressSpace.h>
#include <ipxact/spirit/HIPGSAddressSpaces.h>
#include <ipxact/spirit/HIPGSAddressSpecifier.h>
#include <ipxact/spirit/HIPGSAlternateRegister.h>
#include <ipxact/spirit/HIPGSAlternateRegisterDefinitionGroup.h>
#include <ipxact/spirit/HIPGSAlternateRegisterDefinitionGroupReset.h>
#include <ipxact/spirit/HIPGSAlternateRegisterDefinitionGroupResetMask.h>
#include <ipxact/spirit/HIPGSAlternateRegisterDefinitionGroupResetValue.h>
#include <ipxact/spirit/HIPGSAlternateRegisters.h>
#include <ipxact/spirit/HIPGSAnonAddressBlock.h>
#include <ipxact/spirit/HIPGSBankBase.h>
#include <ipxact/spirit/HIPGSBankedBankType.h>
#include <ipxact/spirit/HIPGSBankedBlockType.h>
#include <ipxact/spirit/HIPGSBaseAddress2.h>
#include <ipxact/spirit/HIPGSBitWidth.h>
#include <ipxact/spirit/HIPGSBlockSize.h>
#include <ipxact/spirit/HIPGSBlockSizeRange.h>
#include <ipxact/spirit/HIPGSEnumeratedValue.h>
#include <ipxact/spirit/HIPGSEnumeratedValues.h>
#include <ipxact/spirit/HIPGSFieldData.h>
#include <ipxact/spirit/HIPGSFieldDefinitionGroup.h>
#include <ipxact/spirit/HIPGSFieldType.h>
#include <ipxact/spirit/HIPGSLocalMemoryMapType.h>
#include <ipxact/spirit/HIPGSMask.h>
#include <ipxact/spirit/HIPGSMemoryMap.h>
#include <ipxact/spirit/HIPGSMemoryMapType.h>
#include <ipxact/spirit/HIPGSMemoryMaps.h>
#include <ipxact/spirit/HIPGSMemoryRemapType.h>
#include <ipxact/spirit/HIPGSNameGroup.h>
#include <ipxact/spirit/HIPGSRegister.h>
#include <ipxact/spirit/HIPGSRegisterData.h>
#include <ipxact/spirit/HIPGSRegisterDefinitionGroup.h>
#include <ipxact/spirit/HIPGSRegisterFile.h>
#include <ipxact/spirit/HIPGSRegisterFileDefinitionGroup.h>
#include <ipxact/spirit/HIPGSRegisterFileDefinitionGroupRange.h>
#include <ipxact/spirit/HIPGSReset.h>
#include <ipxact/spirit/HIPGSResetValue.h>
#include <ipxact/spirit/HIPGSSize.h>
#include <ipxact/spirit/HIPGSWidth.h>

#include "rules_support.h"

namespace ipxact {
namespace catalog {

namespace {

using namespace HIPGSpirit;

// An element of the layout, known by its parent and its place among the parent's children of its
// name; its element path (LineIndex's form) is written only for a finding.
struct Place {
    const Place* parent;
    const char* name;
    size_t index;
};

std::string path_of(const Place* place)
{
    if (!place->parent)
        return place->name;
    return rules_detail::child_path(path_of(place->parent), place->name, place->index);
}

// A layout value: a child element holding a number. Texts are the objects' own, valid while the
// document lives.
struct Value {
    const Place* holder = nullptr;  // the element it is a child of; null for a value that is absent
    const char* element = nullptr;  // its path below the holder: "size", "reset/value"
    ScaledValue value;
    std::string_view text;
    std::string_view resolve;  // who decides the value instead, when it is not the document

    std::string path() const { return path_of(holder) + "/" + element; }
    // Why a value that is present is not known; empty when it is known.
    std::string why_unknown() const
    {
        if (!resolve.empty())
            return "spirit:resolve=\"" + std::string(resolve) + "\"";
        return value.checkable() ? std::string() : "not a decimal or prefixed hexadecimal number";
    }
};

bool known(const Value& v)
{
    return v.holder && v.value.checkable();
}

// One element of a component's memory layout.
struct Item {
    enum class Kind : uint8_t {
        memory_map,
        remap,
        local_map,
        address_space,
        block,         // of a map, remap or local map: placed by its base address
        banked_block,  // of a bank: placed by the bank
        register_file,
        register_,
        alternate_register,
        field,
        enumerated_value,
    };
    // The values an item may have, each held by some kinds only.
    enum Role : uint8_t {
        start,       // base address (blocks), address offset (registers, register files), bit offset
                     // (fields), value (enumerated values)
        extent,      // range (blocks, spaces, register files), size (registers), bit width (fields)
        width,       // blocks and spaces
        reset_value,
        reset_mask,
        unit_bits,   // address unit bits of maps and spaces
        copies,      // registers and register files laid out as arrays: the product of their spirit:dim
        kRoles
    };
    static constexpr uint32_t kNone = 0xFFFFFFFFu;

    Kind kind;
    const Place* place;
    std::string_view name;
    uint32_t holder;                    // the item this one is laid out in; kNone for maps and spaces
    uint32_t first_content = kNone;     // the first item laid out in this one
    uint32_t next = kNone;              // the next item laid out in the same holder
    uint32_t values[kRoles] = {kNone, kNone, kNone, kNone, kNone, kNone, kNone};  // into the layout's values
};

using Kind = Item::Kind;
using Role = Item::Role;

template <class Element>
std::string_view name_of(const Element& element)
{
    return element.isSetNameGroup() ? lmx60::trim_xml_whitespace(element.getNameGroup().getName()) : std::string_view();
}

// A component's memory layout, read once from its objects for all the memory rules: they look at
// the same offsets, sizes and widths, one rule after another.
class Layout {
public:
    explicit Layout(const Document& document);

    size_t size() const { return m_items.size(); }
    const Item& item(uint32_t at) const { return m_items[at]; }
    // An item's value in `role`; one whose holder is null when the item has none.
    const Value& value(const Item& item, Role role) const
    {
        return item.values[role] == Item::kNone ? m_absent : m_values[item.values[role]];
    }
    // Calls `visit` with each item laid out directly in item `holder`, in document order.
    template <class Visit>
    void for_contents(const Item& holder, Visit visit) const
    {
        for (uint32_t at = holder.first_content; at != Item::kNone; at = m_items[at].next)
            visit(m_items[at]);
    }
    // Bits per address unit of the memory map or address space that `item` lies in (8 when not
    // said or not known).
    ScaledValue address_unit_bits(const Item& item) const;

private:
    const Place* place(const Place* parent, const char* name, size_t index = 0);
    uint32_t add(Kind kind, const Place* at, std::string_view name, uint32_t holder);
    void set(uint32_t item, Role role, const char* element, std::string_view text, std::string_view resolve = {});
    // A value element carrying the configurable attributes.
    template <class Element>
    void set_configurable(uint32_t item, Role role, const char* element, const Element& value, std::string_view text);
    void add_block_size(const HIPGSBlockSize& size, uint32_t item);
    template <class Map>
    void add_map_content(const Map& map, const Place* at, uint32_t holder);
    void add_bank_content(const HIPGSBankBase& bank, const Place* at, uint32_t holder);
    void add_registers(const HIPGSRegisterData& data, const Place* at, uint32_t holder);
    template <class Register>
    void add_fields(const Register& group, const Place* at, uint32_t holder);
    template <class Reset>
    void add_reset(const Reset& reset, uint32_t item);
    template <class Element>
    void add_copies(const Element& element, uint32_t item);

    std::deque<Place> m_places;
    std::vector<Item> m_items;
    std::vector<uint32_t> m_last_content;  // per item, the last item laid out in it so far
    std::deque<Value> m_values;
    const Value m_absent;
};

const Place* Layout::place(const Place* parent, const char* name, size_t index)
{
    m_places.push_back(Place{parent, name, index});
    return &m_places.back();
}

uint32_t Layout::add(Kind kind, const Place* at, std::string_view name, uint32_t holder)
{
    uint32_t position = static_cast<uint32_t>(m_items.size());
    m_items.push_back(Item{kind, at, name, holder});
    m_last_content.push_back(Item::kNone);
    if (holder != Item::kNone) {
        uint32_t& last = m_last_content[holder];
        (last == Item::kNone ? m_items[holder].first_content : m_items[last].next) = position;
        last = position;
    }
    return position;
}

void Layout::set(uint32_t item, Role role, const char* element, std::string_view text, std::string_view resolve)
{
    m_items[item].values[role] = static_cast<uint32_t>(m_values.size());
    Value& v = m_values.emplace_back();
    v.holder = m_items[item].place;
    v.element = element;
    v.text = lmx60::trim_xml_whitespace(text);
    v.resolve = resolve;
    if (resolve.empty())
        v.value = ScaledValue::parse(v.text);
}

// A value given to the user, a generator or an expression to decide is a default at best: what the
// layout will be is not known here.
template <class Element>
void Layout::set_configurable(uint32_t item, Role role, const char* element, const Element& value,
                              std::string_view text)
{
    std::string_view resolve;
    if (value.isSetResolveAttr()) {
        const std::string& decider = value.getResolveAttr();
        if (decider == "user" || decider == "generated" || decider == "dependent")
            resolve = decider;
    }
    set(item, role, element, text, resolve);
}

void Layout::add_block_size(const HIPGSBlockSize& size, uint32_t item)
{
    if (size.isSetRange())
        set_configurable(item, Item::extent, "range", size.getRange(), size.getRange().getRange());
    if (size.isSetWidth())
        set_configurable(item, Item::width, "width", size.getWidth(), size.getWidth().getWidth().text());
}

// The blocks, banks and subspace maps of a memory map, remap or local map, counted by name for
// their element paths.
template <class Map>
void Layout::add_map_content(const Map& map, const Place* at, uint32_t holder)
{
    size_t blocks = 0, banks = 0;
    for (size_t i = 0; i < map.sizeMemoryMap(); ++i) {
        const HIPGSMemoryMap& choice = map.getMemoryMap(i);
        if (choice.isSetAddressBlock()) {
            const HIPGSAddressBlockType& block = choice.getAddressBlock();
            const Place* block_at = place(at, "addressBlock", blocks++);
            uint32_t position = add(Kind::block, block_at, name_of(block), holder);
            if (block.isSetAddressSpecifier() && block.getAddressSpecifier().isSetBaseAddress()) {
                const HIPGSBaseAddress2& base = block.getAddressSpecifier().getBaseAddress();
                set_configurable(position, Item::start, "baseAddress", base, base.getBaseAddress());
            }
            if (!block.isSetAddressBlockDefinitionGroup())
                continue;
            const HIPGSAddressBlockDefinitionGroup& definition = block.getAddressBlockDefinitionGroup();
            if (definition.isSetBlockSize())
                add_block_size(definition.getBlockSize(), position);
            if (definition.isSetRegisterData())
                add_registers(definition.getRegisterData(), block_at, position);
        } else if (choice.isSetBank()) {
            const HIPGSAddressBankType& bank = choice.getBank();
            if (bank.isSetBankBase())
                add_bank_content(bank.getBankBase(), place(at, "bank", banks), holder);
            ++banks;
        }
    }
}

// A bank's blocks, and those of the banks it holds, are laid out in the map that holds it.
void Layout::add_bank_content(const HIPGSBankBase& bank, const Place* at, uint32_t holder)
{
    size_t blocks = 0, banks = 0;
    for (size_t i = 0; i < bank.sizeAnonAddressBlock(); ++i) {
        const HIPGSAnonAddressBlock& choice = bank.getAnonAddressBlock(i);
        if (choice.isSetAddressBlock()) {
            const HIPGSBankedBlockType& block = choice.getAddressBlock();
            const Place* block_at = place(at, "addressBlock", blocks++);
            uint32_t position = add(Kind::banked_block, block_at, name_of(block), holder);
            if (block.isSetBlockSize())
                add_block_size(block.getBlockSize(), position);
            if (block.isSetAddressBlockExtensions() && block.getAddressBlockExtensions().isSetRegisterData())
                add_registers(block.getAddressBlockExtensions().getRegisterData(), block_at, position);
        } else if (choice.isSetBank()) {
            const HIPGSBankedBankType& inner = choice.getBank();
            if (inner.isSetBankBase())
                add_bank_content(inner.getBankBase(), place(at, "bank", banks), holder);
            ++banks;
        }
    }
}

void Layout::add_registers(const HIPGSRegisterData& data, const Place* at, uint32_t holder)
{
    for (size_t i = 0; i < data.sizeRegister(); ++i) {
        const HIPGSRegister& reg = data.getRegister(i);
        const Place* reg_at = place(at, "register", i);
        uint32_t position = add(Kind::register_, reg_at, name_of(reg), holder);
        set(position, Item::start, "addressOffset", reg.getAddressOffset());
        add_copies(reg, position);
        if (reg.isSetRegisterDefinitionGroup()) {
            const HIPGSRegisterDefinitionGroup& definition = reg.getRegisterDefinitionGroup();
            if (definition.isSetSize())
                set_configurable(position, Item::extent, "size", definition.getSize(),
                                 definition.getSize().getSize().text());
            if (definition.isSetReset())
                add_reset(definition.getReset(), position);
            add_fields(definition, reg_at, position);
        }
        if (!reg.isSetAlternateRegisters())
            continue;
        const HIPGSAlternateRegisters& alternates = reg.getAlternateRegisters();
        const Place* alternates_at = place(reg_at, "alternateRegisters");
        for (size_t a = 0; a < alternates.sizeAlternateRegister(); ++a) {
            const HIPGSAlternateRegister& alternate = alternates.getAlternateRegister(a);
            const Place* alternate_at = place(alternates_at, "alternateRegister", a);
            uint32_t alternate_position = add(Kind::alternate_register, alternate_at, name_of(alternate), position);
            if (!alternate.isSetAlternateRegisterDefinitionGroup())
                continue;
            const HIPGSAlternateRegisterDefinitionGroup& definition = alternate.getAlternateRegisterDefinitionGroup();
            if (definition.isSetReset())
                add_reset(definition.getReset(), alternate_position);
            add_fields(definition, alternate_at, alternate_position);
        }
    }
    for (size_t i = 0; i < data.sizeRegisterFile(); ++i) {
        const HIPGSRegisterFile& file = data.getRegisterFile(i);
        const Place* file_at = place(at, "registerFile", i);
        uint32_t position = add(Kind::register_file, file_at, name_of(file), holder);
        set(position, Item::start, "addressOffset", file.getAddressOffset());
        add_copies(file, position);
        if (!file.isSetRegisterFileDefinitionGroup())
            continue;
        const HIPGSRegisterFileDefinitionGroup& definition = file.getRegisterFileDefinitionGroup();
        if (definition.isSetRange())
            set_configurable(position, Item::extent, "range", definition.getRange(), definition.getRange().getRange());
        if (definition.isSetRegisterData())
            add_registers(definition.getRegisterData(), file_at, position);
    }
}

// An array (spirit:dim, one element per dimension) takes as many consecutive places as the product
// of its dimensions; the dimensions are plain integers, so the product is always known.
template <class Element>
void Layout::add_copies(const Element& element, uint32_t item)
{
    if (element.sizeDim() == 0)
        return;
    ScaledValue copies = ScaledValue::parse("1");
    for (size_t i = 0; i < element.sizeDim(); ++i)
        copies = copies * ScaledValue::parse(element.getDim(i).text());
    m_items[item].values[Item::copies] = static_cast<uint32_t>(m_values.size());
    Value& v = m_values.emplace_back();
    v.holder = m_items[item].place;
    v.element = "dim";
    v.value = std::move(copies);
}

template <class Reset>
void Layout::add_reset(const Reset& reset, uint32_t item)
{
    if (reset.isSetValue())
        set_configurable(item, Item::reset_value, "reset/value", reset.getValue(), reset.getValue().getValue());
    if (reset.isSetMask())
        set_configurable(item, Item::reset_mask, "reset/mask", reset.getMask(), reset.getMask().getMask());
}

template <class Register>
void Layout::add_fields(const Register& group, const Place* at, uint32_t holder)
{
    for (size_t i = 0; i < group.sizeField(); ++i) {
        const HIPGSFieldType& field = group.getField(i);
        const Place* field_at = place(at, "field", i);
        uint32_t position = add(Kind::field, field_at, name_of(field), holder);
        set(position, Item::start, "bitOffset", field.getBitOffset().text());
        if (!field.isSetFieldDefinitionGroup())
            continue;
        const HIPGSFieldDefinitionGroup& definition = field.getFieldDefinitionGroup();
        if (definition.isSetBitWidth())
            set_configurable(position, Item::extent, "bitWidth", definition.getBitWidth(),
                             definition.getBitWidth().getBitWidth().text());
        if (!definition.isSetFieldData() || !definition.getFieldData().isSetEnumeratedValues())
            continue;
        const HIPGSEnumeratedValues& values = definition.getFieldData().getEnumeratedValues();
        const Place* values_at = place(field_at, "enumeratedValues");
        for (size_t v = 0; v < values.sizeEnumeratedValue(); ++v) {
            const HIPGSEnumeratedValue& enumerated = values.getEnumeratedValue(v);
            uint32_t value_position =
                add(Kind::enumerated_value, place(values_at, "enumeratedValue", v), name_of(enumerated), position);
            set(value_position, Item::start, "value", enumerated.getValue());
        }
    }
}

Layout::Layout(const Document& document)
{
    const HIPGSComponentType* component = rules_detail::component_of(&document);
    if (!component)
        return;
    const Place* root = place(nullptr, "component");
    if (component->isSetAddressSpaces()) {
        const Place* spaces = place(root, "addressSpaces");
        const HIPGSAddressSpaces& all = component->getAddressSpaces();
        for (size_t i = 0; i < all.sizeAddressSpace(); ++i) {
            const HIPGSAddressSpace& space = all.getAddressSpace(i);
            const Place* at = place(spaces, "addressSpace", i);
            uint32_t position = add(Kind::address_space, at, name_of(space), Item::kNone);
            if (space.isSetBlockSize())
                add_block_size(space.getBlockSize(), position);
            if (space.isSetAddressUnitBits())
                set(position, Item::unit_bits, "addressUnitBits", space.getAddressUnitBits().text());
            if (space.isSetLocalMemoryMap()) {
                const HIPGSLocalMemoryMapType& local = space.getLocalMemoryMap();
                const Place* local_at = place(at, "localMemoryMap");
                add_map_content(local, local_at, add(Kind::local_map, local_at, name_of(local), position));
            }
        }
    }
    if (component->isSetMemoryMaps()) {
        const Place* maps = place(root, "memoryMaps");
        const HIPGSMemoryMaps& all = component->getMemoryMaps();
        for (size_t i = 0; i < all.sizeMemoryMap(); ++i) {
            const HIPGSMemoryMapType& map = all.getMemoryMap(i);
            const Place* at = place(maps, "memoryMap", i);
            uint32_t position = add(Kind::memory_map, at, name_of(map), Item::kNone);
            if (map.isSetAddressUnitBits())
                set(position, Item::unit_bits, "addressUnitBits", map.getAddressUnitBits().text());
            add_map_content(map, at, position);
            for (size_t r = 0; r < map.sizeMemoryRemap(); ++r) {
                const HIPGSMemoryRemapType& remap = map.getMemoryRemap(r);
                const Place* remap_at = place(at, "memoryRemap", r);
                add_map_content(remap, remap_at, add(Kind::remap, remap_at, name_of(remap), position));
            }
        }
    }
}

ScaledValue Layout::address_unit_bits(const Item& item) const
{
    for (uint32_t holder = item.holder; holder != Item::kNone; holder = m_items[holder].holder) {
        const Item& container = m_items[holder];
        if (container.kind == Kind::memory_map || container.kind == Kind::address_space) {
            const Value& bits = value(container, Item::unit_bits);
            return known(bits) && bits.value.sign() > 0 ? bits.value : ScaledValue(8);
        }
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

// Where one item lies in its container: a block in a map, a register in a block, a field in a
// register.
struct Span {
    const Item* item;
    const char* kind;
    ScaledValue first;
    ScaledValue size;
    bool bits = false;  // bit positions rather than addresses
};

std::string quoted(std::string_view name)
{
    return "'" + std::string(name) + "'";
}

// Reports each item that overlaps one placed before it in address order, naming the first such.
void report_overlaps(RuleContext& context, std::vector<Span>& spans)
{
    if (spans.size() < 2)
        return;
    auto by_first = [](const Span& a, const Span& b) { return ScaledValue::compare(a.first, b.first) < 0; };
    // Items are mostly written in address order already.
    if (!std::is_sorted(spans.begin(), spans.end(), by_first))
        std::stable_sort(spans.begin(), spans.end(), by_first);
    // An item overlaps an earlier one exactly when it starts before the furthest end so far; only
    // then is the earlier one looked for.
    ScaledValue furthest = spans[0].first + spans[0].size;
    for (size_t i = 1; i < spans.size(); ++i) {
        const Span& later = spans[i];
        if (ScaledValue::compare(later.first, furthest) < 0) {
            size_t j = 0;
            while (ScaledValue::compare(later.first, spans[j].first + spans[j].size) >= 0)
                ++j;
            const Span& earlier = spans[j];
            context.report(Severity::error, path_of(later.item->place),
                           std::string(later.kind) + " " + quoted(later.item->name) + " " +
                               span(later.first, later.size, later.bits) + " overlaps " + earlier.kind + " " +
                               quoted(earlier.item->name) + " " + span(earlier.first, earlier.size, earlier.bits));
        }
        ScaledValue end = later.first + later.size;
        if (ScaledValue::compare(end, furthest) > 0)
            furthest = std::move(end);
    }
}

bool is_register(const Item& item)
{
    return item.kind == Kind::register_ || item.kind == Kind::alternate_register;
}

bool holds_registers(const Item& item)
{
    return item.kind == Kind::block || item.kind == Kind::banked_block || item.kind == Kind::register_file;
}

// The registers and register files of a block or register file, with their extent in address units,
// into `spans` (emptied first: the rules reuse one vector for every container).
void registers_of(const Layout& layout, const Item& container, std::vector<Span>& spans)
{
    spans.clear();
    ScaledValue unit = layout.address_unit_bits(container);
    layout.for_contents(container, [&](const Item& item) {
        if (item.kind != Kind::register_ && item.kind != Kind::register_file)
            return;
        const Value& offset = layout.value(item, Item::start);
        const Value& extent = layout.value(item, Item::extent);
        if (!known(offset) || !known(extent) || extent.value.sign() <= 0)
            return;
        ScaledValue one = item.kind == Kind::register_ ? ScaledValue::ceil_div(extent.value, unit) : extent.value;
        const Value& copies = layout.value(item, Item::copies);
        if (copies.holder && copies.value.sign() <= 0)
            return;
        spans.push_back({&item, item.kind == Kind::register_ ? "register" : "register file", offset.value,
                         copies.holder ? one * copies.value : std::move(one)});
    });
}

// The fields of a register with their bit offset and width, into `spans` (emptied first).
void fields_of(const Layout& layout, const Item& reg, std::vector<Span>& spans)
{
    spans.clear();
    layout.for_contents(reg, [&](const Item& field) {
        const Value& offset = layout.value(field, Item::start);
        const Value& width = layout.value(field, Item::extent);
        if (field.kind == Kind::field && known(offset) && known(width) && width.value.sign() > 0)
            spans.push_back({&field, "field", offset.value, width.value, true});
    });
}

KindSet memory_kinds()
{
    return kind_bit(DocumentKind::component);
}

// The layout of a component that has anything laid out in memory; null for the many that have not.
const Layout* layout_of(RuleContext& context)
{
    const HIPGSComponentType* component = rules_detail::component_of(&context.document());
    if (!component || (!component->isSetMemoryMaps() && !component->isSetAddressSpaces()))
        return nullptr;
    return &context.shared<Layout>();
}

// Calls `visit` with each item of the layout that `wanted` accepts.
template <class Wanted, class Visit>
void for_items(const Layout& layout, Wanted wanted, Visit visit)
{
    for (uint32_t at = 0; at < layout.size(); ++at)
        if (wanted(layout.item(at)))
            visit(layout.item(at));
}

class BlockOverlap : public Rule {
public:
    const char* id() const override { return "memory.block-overlap"; }
    const char* description() const override { return "the address blocks of a memory map do not overlap"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        // A remap holds the blocks seen in its state instead of the map's own, so each is a layout
        // of its own; blocks of a bank are placed by the bank and have no base address.
        auto is_map = [](const Item& item) {
            return item.kind == Kind::memory_map || item.kind == Kind::remap || item.kind == Kind::local_map;
        };
        std::vector<Span> blocks;
        for_items(*layout, is_map, [&](const Item& map) {
            blocks.clear();
            layout->for_contents(map, [&](const Item& block) {
                const Value& base = layout->value(block, Item::start);
                const Value& range = layout->value(block, Item::extent);
                if (block.kind == Kind::block && known(base) && known(range) && range.value.sign() > 0)
                    blocks.push_back({&block, "address block", base.value, range.value});
            });
            report_overlaps(context, blocks);
        });
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
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        std::vector<Span> spans;
        for_items(*layout, holds_registers, [&](const Item& container) {
            registers_of(*layout, container, spans);
            report_overlaps(context, spans);
        });
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
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        std::vector<Span> spans;
        for_items(*layout, holds_registers, [&](const Item& container) {
            const Value& range = layout->value(container, Item::extent);
            if (!known(range))
                return;
            registers_of(*layout, container, spans);
            for (const Span& placed : spans)
                if (ScaledValue::compare(placed.first + placed.size, range.value) > 0)
                    context.report(Severity::error, path_of(placed.item->place),
                                   placed.kind + std::string(" ") + quoted(placed.item->name) + " " +
                                       span(placed.first, placed.size) + " goes past the end of its range of " +
                                       range.value.to_hex() + " address units");
        });
    }
};

class FieldOverlap : public Rule {
public:
    const char* id() const override { return "memory.field-overlap"; }
    const char* description() const override { return "the fields of a register do not overlap"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        std::vector<Span> spans;
        for_items(*layout, is_register, [&](const Item& reg) {
            fields_of(*layout, reg, spans);
            report_overlaps(context, spans);
        });
    }
};

class FieldOutside : public Rule {
public:
    const char* id() const override { return "memory.field-outside"; }
    const char* description() const override { return "a field lies inside the size of its register"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        std::vector<Span> spans;
        for_items(*layout, is_register, [&](const Item& reg) {
            const Value& size = layout->value(reg, Item::extent);
            if (!known(size))
                return;
            fields_of(*layout, reg, spans);
            for (const Span& field : spans)
                if (ScaledValue::compare(field.first + field.size, size.value) > 0)
                    context.report(Severity::error, path_of(field.item->place),
                                   "field " + quoted(field.item->name) + " bits " + span(field.first, field.size, true) +
                                       " go past the register's size of " + size.value.to_string() + " bits");
        });
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
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        for_items(*layout, is_register, [&](const Item& reg) {
            const Value& size = layout->value(reg, Item::extent);
            if (!known(size) || size.value.sign() <= 0)
                return;
            for (Role part : {Item::reset_value, Item::reset_mask}) {
                const Value& v = layout->value(reg, part);
                if (known(v) && !fits(v.value, size.value))
                    context.report(Severity::error, v.path(),
                                   std::string("reset ") + (part == Item::reset_value ? "value " : "mask ") +
                                       std::string(v.text) + " needs " + std::to_string(v.value.bit_length()) +
                                       " bits; the register has " + size.value.to_string());
            }
        });
    }
};

class EnumeratedValueWidth : public Rule {
public:
    const char* id() const override { return "memory.enum-width"; }
    const char* description() const override { return "a field's enumerated values fit in its bit width"; }
    KindSet kinds() const override { return memory_kinds(); }
    void check(RuleContext& context) const override
    {
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        auto is_field = [](const Item& item) { return item.kind == Kind::field; };
        for_items(*layout, is_field, [&](const Item& field) {
            const Value& width = layout->value(field, Item::extent);
            if (!known(width) || width.value.sign() <= 0)
                return;
            layout->for_contents(field, [&](const Item& item) {
                const Value& v = layout->value(item, Item::start);
                if (known(v) && !fits(v.value, width.value))
                    context.report(Severity::error, v.path(),
                                   "enumerated value " + quoted(item.name) + " = " + std::string(v.text) +
                                       " does not fit in the field's " + width.value.to_string() + " bits");
            });
        });
    }
};

// What the rules call each value of each kind of item, for their messages.
const char* value_name(Kind kind, Role role)
{
    switch (role) {
    case Item::start:
        switch (kind) {
        case Kind::block: return "base address";
        case Kind::register_:
        case Kind::register_file: return "address offset";
        case Kind::field: return "bit offset";
        case Kind::enumerated_value: return "enumerated value";
        default: return nullptr;
        }
    case Item::extent:
        switch (kind) {
        case Kind::register_: return "size";
        case Kind::field: return "bit width";
        default: return "range";
        }
    case Item::width: return "width";
    case Item::reset_value: return "reset value";
    case Item::reset_mask: return "reset mask";
    case Item::unit_bits: return "address unit bits";
    case Item::copies: return "dimensions";
    case Item::kRoles: break;
    }
    return nullptr;
}

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
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        for_items(*layout, [](const Item&) { return true; }, [&](const Item& item) {
            for (Role role : {Item::extent, Item::width}) {
                const Value& v = layout->value(item, role);
                if (known(v) && v.value.sign() <= 0)
                    context.report(Severity::error, v.path(),
                                   std::string(value_name(item.kind, role)) + " is " + std::string(v.text) +
                                       "; it must be positive");
            }
        });
    }
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
        const Layout* layout = layout_of(context);
        if (!layout)
            return;
        for_items(*layout, [](const Item&) { return true; }, [&](const Item& item) {
            for (uint8_t role = 0; role < Item::kRoles; ++role) {
                const Value& v = layout->value(item, static_cast<Role>(role));
                if (v.holder && !v.value.checkable())
                    context.report(Severity::note, v.path(),
                                   std::string("not checkable: ") + value_name(item.kind, static_cast<Role>(role)) +
                                       " '" + std::string(v.text) + "' (" + v.why_unknown() + ")");
            }
        });
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

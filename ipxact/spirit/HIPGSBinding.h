// The table-driven reading and writing shared by every generated class. A generated class describes
// itself with a static ClassInfo (its members in schema order, each with the holder operations that
// read and write it); the loops that walk those tables live here, once.
#ifndef IPXACT_SPIRIT_HIPGSBINDING_H
#define IPXACT_SPIRIT_HIPGSBINDING_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/c_date.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_holders.h>
#include <ipxact/lmx60/lmx60_validation.h>
#include <ipxact/spirit/HIPGSBase.h>

namespace HIPGSpirit {

enum class MemberKind : uint8_t {
    attribute,
    element,         // a child element, simple or complex
    simple_content,  // the text of the element itself
    group,           // a named group, read and written in place
    choice,          // an anonymous choice, in place
    sequence,        // an anonymous sequence, in place
    any_element,     // open content kept as captured elements
    any_attribute,   // attributes kept as read
    vendor_slot      // a vendor element taken out of spirit:vendorExtensions into a typed member
};

enum class ContentKind : uint8_t { sequence, choice, all, simple, empty };

constexpr uint32_t kUnbounded = 0xFFFFFFFFu;

struct MemberInfo;
struct ClassInfo;

// One occurrence of a member as a walk over the objects meets it: a child object, or an element or
// attribute kept as read; all null for a simple value, whose text MemberOps::text gives.
struct MemberItem {
    const HIPGSBase* object = nullptr;
    const lmx60::c_any_info* element = nullptr;
    const lmx60::c_any_attribute* attribute = nullptr;
};

// Reads and writes one member of an object; made once per member from the member's holder type.
class MemberOps {
public:
    // The reader stands on the member's start tag (or attribute); reads one occurrence.
    virtual void read(lmx60::c_xml_reader& reader, HIPGSBase& owner, const MemberInfo& member) const = 0;
    // Writes every occurrence present.
    virtual void write(lmx60::c_xml_writer& writer, const HIPGSBase& owner, const MemberInfo& member) const = 0;
    virtual size_t count(const HIPGSBase& owner) const = 0;
    // False when what the member holds cannot be written as it stands (a list present without items).
    virtual bool is_writable(const HIPGSBase& owner) const = 0;
    // Used by choices: making an alternative current creates it, releasing it destroys it.
    virtual void create(HIPGSBase& owner) const = 0;
    virtual void clear(HIPGSBase& owner) const = 0;
    // The child object of a single complex member, or null (absent, or not such a member).
    virtual HIPGSBase* object(HIPGSBase& owner) const = 0;
    virtual const HIPGSBase* object(const HIPGSBase& owner) const = 0;
    // Occurrence `index` (below count()) of a complex or open-content member.
    virtual MemberItem item(const HIPGSBase& owner, size_t index) const = 0;
    // Appends the text occurrence `index` of a simple member is written as (UTF-8, not escaped);
    // false for a member without text (complex, open content, an empty element).
    virtual bool text(const HIPGSBase& owner, size_t index, std::string& text) const = 0;

    // Whether is_writable() can ever say false; most holders are always writable, and checking an
    // object before it is written then costs no call per member.
    const bool may_be_unwritable;
    // Whether the member holds simple values, each with a text (not objects, kept elements or
    // empty elements): known without a call.
    const bool holds_text;

protected:
    constexpr MemberOps(bool mayBeUnwritable, bool holdsText)
        : may_be_unwritable(mayBeUnwritable), holds_text(holdsText)
    {
    }
    ~MemberOps() = default;
};

struct MemberInfo {
    MemberKind kind;
    int32_t ns_id;
    const char* name;      // local name; for open content the namespace rule ("##any", "##other")
    const char* qname;     // prefixed name, used for writing and in messages
    int32_t event;
    uint32_t min_occurs;
    uint32_t max_occurs;
    const int32_t* first_events;  // in-place members: the events that can start them, 0-terminated
    const MemberOps* ops;
    const lmx60::c_untyped_validation_spec* checks;  // whitespace rule, pattern and value checks
    const char* default_text = nullptr;  // an element's schema default (or fixed value): its value when empty
};

// A type that may stand where its family's root is expected, named by "xsi:type".
struct DerivedType {
    int32_t ns_id;
    const char* type_name;
    HIPGSBase* (*create)();
};

struct ClassInfo {
    const char* element_id;
    int32_t ns_id;           // document element check of global elements; 0 for others
    const char* local_name;
    ContentKind content;
    const MemberInfo* members;
    uint32_t member_count;
    const lmx60::s_ns_map* writer_ns_map;
    int32_t type_id;           // derivation family id, 0 outside families
    const char* type_qname;    // written as "xsi:type" where the family root is expected
    const DerivedType* derived;  // types that may replace this one, ended by a null type_name
    bool type_always_written = false;  // "xsi:type" on every element of this type below the document element
};

// Choices hold which alternative is current; the alternatives themselves are ordinary members.
class HIPGSChoiceContent : public HIPGSBase {
public:
    int getChoiceId() const { return m_choice_id; }

protected:
    explicit HIPGSChoiceContent(int none) : m_choice_id(none) {}
    int m_choice_id;
    friend struct BindingAccess;
};

// "all" content: children in any order, written back in the order read.
class HIPGSAllContent : public HIPGSBase {
protected:
    std::vector<uint16_t> m_read_order;  // member indexes in the order the children were read
    friend struct BindingAccess;
};

// Runs reading steps and turns the fault that unwinds them (the reader's default handler throws) into
// its code; every entry point that returns codes goes through here.
template <class Steps>
lmx60::elmx_error reading_code(Steps&& steps)
{
    try {
        return steps();
    } catch (const lmx60::c_lmx_reader_exception& e) {
        return e.get_error();
    }
}

// ---- the loops ----

// The virtual element entry of every class: reads the element the reader stands on.
lmx60::elmx_error read_element(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info,
                               const std::string& name);
// The document entry: reads the document element, which must be this class's element.
lmx60::elmx_error read_document(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// Typed vendor slots: after an owner is read, the first matching vendor element of its open
// content moves into the slot; on writing, the slot comes first inside spirit:vendorExtensions.
void fill_vendor_slot(lmx60::c_xml_reader& reader, HIPGSBase& owner, const MemberInfo& extensions,
                      const MemberInfo& slot);
void write_vendor_extensions(lmx60::c_xml_writer& writer, const HIPGSBase& owner, const MemberInfo& extensions,
                             const MemberInfo& slot);

// Reads a group or compositor in place, at the reader's current element.
lmx60::elmx_error read_in_place(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// The document entry of in-place content (the root dispatcher): the document element is the
// content's first element, whichever of its alternatives it is.
lmx60::elmx_error read_document_in_place(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// Writes in-place content without an element frame of its own; at the top of a document its first
// element becomes the document element and declares the map of `info`.
lmx60::elmx_error write_in_place(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info);
lmx60::elmx_error write_element(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info,
                                const char* name);
// The steps of read_element and write_element, one by one, for hosts that drive a class step by step
// (HIPGSBase::unmarshal_attributes and its siblings). Reading steps report faults through the reader.
//
// The reader stands on an attribute of the start tag: reads it into the class's member for it and
// returns that member, or null when the class has none.
const MemberInfo* read_own_attribute(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// An attribute no member takes: kept by the class's wildcard, passed over when it is a hint for
// validators (xsi), a fault otherwise.
void read_other_attribute(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// Reports each required attribute that the start tag does not carry (code 25).
lmx60::elmx_error check_required_attributes(lmx60::c_xml_reader& reader, const ClassInfo& info);
// From the start tag: the simple value, or the children up to the end tag.
void read_content_to_end(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
// Inside a start tag still open: the attributes, in table order.
void write_attributes(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info);
// The simple value, or the children in schema order.
void write_content(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info);
bool occurs_ok(const HIPGSBase& obj, const ClassInfo& info);
void select_alternative(HIPGSChoiceContent& obj, const ClassInfo& info, int alternative);
void release_alternatives(HIPGSChoiceContent& obj, const ClassInfo& info);
// Whether the reader's current element can start the in-place content described by `info`.
bool starts_content(lmx60::c_xml_reader& reader, const ClassInfo& info);

// Enumerated members keep their text; these map it to the number of its listed value (1 up; 0 for
// an unset or unlisted text) and back (null for a number outside the list).
int enum_number(const char* const* values, bool isSet, const std::string& text);
const char* enum_text(const char* const* values, int number);

// A setter's check of a value against its type's restriction: the first fault, reported through
// HIPGSBase::lmx_error, or 0 when the value passes.
lmx60::elmx_error check_set_value(const lmx60::c_restriction& restriction, const std::string& value, const char* item);

// Makes the names of a binding known to the readers' event lookup (done once, at load).
void register_element_events(const lmx60::s_event_map* table);
int element_event(lmx60::c_xml_reader& reader);

// ---- holder operations ----

namespace detail {

void read_inline(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info);
void write_inline(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info);
// `exact` is the child's own class description when the child is known to be of the declared
// class: the engine then reads it directly instead of through its virtual entry.
void read_child(lmx60::c_xml_reader& reader, HIPGSBase& child, const MemberInfo& member, const ClassInfo* exact);
void write_child(lmx60::c_xml_writer& writer, const HIPGSBase& child, const ClassInfo& declared,
                 const MemberInfo& member);
// Creates the type an "xsi:type" attribute names, when it is one of the declared type's family.
HIPGSBase* create_derived(lmx60::c_xml_reader& reader, const ClassInfo& declared);
void missing_required_child(const MemberInfo& member);

// The text of a simple value: the attribute value, or the element's character content.
void take_text(lmx60::c_xml_reader& reader, const MemberInfo& member, std::string* text);
// A value's text as an attribute, as character content or as an element of its own; UTF-8, escaped
// by the writer.
void write_text(lmx60::c_xml_writer& writer, const MemberInfo& member, const std::string& text);
void write_empty_element(lmx60::c_xml_writer& writer, const MemberInfo& member);
void write_any(lmx60::c_xml_writer& writer, const lmx60::c_any_info& any);
void write_any_attribute(lmx60::c_xml_writer& writer, const lmx60::c_any_attribute& attribute);
void capture(lmx60::c_xml_reader& reader, lmx60::c_any_info* any);
// False when the list text failed its checks; the items are then not to be stored.
bool read_list_text(lmx60::c_xml_reader& reader, const MemberInfo& member, std::vector<std::string>* items);
// The name a fault of a simple value is reported under: simple content has no name of its own, so
// the element being read is the item.
std::string value_item(lmx60::c_xml_reader& reader, const MemberInfo& member);

// Conversion of one simple value between text and its member type; false on text that is not a value.
bool parse_value(const std::string& text, std::string& value);
bool parse_value(const std::string& text, bool& value);
bool parse_value(const std::string& text, long long& value);
bool parse_value(const std::string& text, double& value);
bool parse_value(const std::string& text, float& value);
bool parse_value(const std::string& text, lmx60::c_big_int& value);
bool parse_value(const std::string& text, lmx60::c_date& value);
bool parse_value(const std::string& text, lmx60::c_datetime& value);
void format_value(const std::string& value, std::string& text);
void format_value(bool value, std::string& text);
void format_value(long long value, std::string& text);
void format_value(double value, std::string& text);
void format_value(float value, std::string& text);
void format_value(const lmx60::c_big_int& value, std::string& text);
void format_value(const lmx60::c_date& value, std::string& text);
void format_value(const lmx60::c_datetime& value, std::string& text);

// Applies the member's whitespace rule and pattern check; false when the value must not be stored.
bool parse_checked(lmx60::c_xml_reader& reader, const MemberInfo& member, std::string& text);

// Checks, whitespace-normalises and converts one value; faults go through the reader, and a value
// refused under a continuing handler is not stored.
template <class V>
bool read_value(lmx60::c_xml_reader& reader, const MemberInfo& member, V& value)
{
    std::string text;
    take_text(reader, member, &text);
    if (text.empty() && member.default_text && member.kind != MemberKind::attribute)
        text = member.default_text;
    if (!parse_checked(reader, member, text))
        return false;
    V parsed{};
    if (!parse_value(text, parsed)) {
        reader.capture_error(lmx60::ELMX_BAD_VALUE, value_item(reader, member), __FILE__, __LINE__);
        return false;
    }
    value = std::move(parsed);
    return true;
}

// A string member goes out through the host's conversion to UTF-8, as it came in through the
// reading hook.
void write_value(lmx60::c_xml_writer& writer, const MemberInfo& member, const std::string& value);

template <class V>
void write_value(lmx60::c_xml_writer& writer, const MemberInfo& member, const V& value)
{
    std::string text;
    format_value(value, text);
    write_text(writer, member, text);
}

template <class H>
struct holder_io;

// What the holders of simple values have no occurrences of, and complex holders no text of.
struct without_items {
    template <class H>
    static MemberItem item(const H&, size_t)
    {
        return {};
    }
};
struct without_text {
    template <class H>
    static bool text(const H&, size_t, std::string&)
    {
        return false;
    }
};

template <class V>
struct holder_io<lmx60::ct_simple_single<V>> : without_items {
    using H = lmx60::ct_simple_single<V>;
    static bool text(const H& h, size_t, std::string& t)
    {
        format_value(h.get(), t);
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m) { read_value(r, m, h.get()); }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m) { write_value(w, m, h.get()); }
    static size_t count(const H&) { return 1; }
    static void create(H&) {}
    static void clear(H& h) { h = H(); }
};

template <class V, bool Boxed>
struct holder_io<lmx60::ct_simple_optional<V, Boxed>> : without_items {
    using H = lmx60::ct_simple_optional<V, Boxed>;
    static bool text(const H& h, size_t, std::string& t)
    {
        if (!h.is_set())
            return false;
        format_value(h.get(), t);
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        V value = std::as_const(h).get();
        if (read_value(r, m, value))
            h.set(std::move(value));
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        if (h.is_set())
            write_value(w, m, h.get());
    }
    static size_t count(const H& h) { return h.is_set() ? 1 : 0; }
    static void create(H& h) { h.set(std::as_const(h).get()); }
    static void clear(H& h) { h.unset(); }
};

template <class V>
struct holder_io<lmx60::ct_simple_multi<V>> : without_items {
    using H = lmx60::ct_simple_multi<V>;
    static bool text(const H& h, size_t index, std::string& t)
    {
        if (index >= h.size())
            return false;
        format_value(h.items()[index], t);
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        V value{};
        if (read_value(r, m, value))
            h.append(value);
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        for (const V& value : h.items())
            write_value(w, m, value);
    }
    static size_t count(const H& h) { return h.size(); }
    static void create(H&) {}
    static void clear(H& h) { h.clear(); }
};

template <>
struct holder_io<lmx60::ct_simple_multi<lmx60::c_any_info>> : without_text {
    using H = lmx60::ct_simple_multi<lmx60::c_any_info>;
    static MemberItem item(const H& h, size_t index)
    {
        MemberItem item;
        if (index < h.size())
            item.element = &h.items()[index];
        return item;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo&)
    {
        lmx60::c_any_info any;
        capture(r, &any);
        h.items().push_back(std::move(any));
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo&)
    {
        for (const lmx60::c_any_info& any : h.items())
            write_any(w, any);
    }
    static size_t count(const H& h) { return h.size(); }
    static void create(H&) {}
    static void clear(H& h) { h.clear(); }
};

template <>
struct holder_io<lmx60::ct_simple_multi<lmx60::c_any_attribute>> {
    using H = lmx60::ct_simple_multi<lmx60::c_any_attribute>;
    static MemberItem item(const H& h, size_t index)
    {
        MemberItem item;
        if (index < h.size())
            item.attribute = &h.items()[index];
        return item;
    }
    static bool text(const H& h, size_t index, std::string& t)
    {
        if (index >= h.size())
            return false;
        t += h.items()[index].value;
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo&)
    {
        h.append({r.attribute_ns_uri(), r.attribute_qname(), r.attribute_value()});
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo&)
    {
        for (const lmx60::c_any_attribute& attribute : h.items())
            write_any_attribute(w, attribute);
    }
    static size_t count(const H& h) { return h.size(); }
    static void create(H&) {}
    static void clear(H& h) { h.clear(); }
};

template <class V, class H>
void read_list(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
{
    std::vector<std::string> items;
    if (!read_list_text(r, m, &items))
        return;
    h.clear();
    for (const std::string& text : items) {
        V value{};
        if (parse_value(text, value))
            h.append(value);
        else
            r.capture_error(lmx60::ELMX_BAD_VALUE, value_item(r, m), __FILE__, __LINE__);
    }
}

template <class H>
void append_list(const H& h, std::string& joined)
{
    for (size_t i = 0; i < h.size(); ++i) {
        if (i)
            joined += ' ';
        format_value(h.get(i), joined);
    }
}

template <class V, class H>
void write_list(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
{
    std::string joined;
    append_list(h, joined);
    write_text(w, m, joined);
}

template <class V>
struct holder_io<lmx60::ct_simple_list_optional<V>> : without_items {
    using H = lmx60::ct_simple_list_optional<V>;
    static bool text(const H& h, size_t, std::string& t)
    {
        if (!h.is_set())
            return false;
        append_list(h, t);
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        read_list<V>(r, h, m);
        h.set_present();
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        if (!h.is_set())
            return;
        if (h.size() == 0)
            w.capture_error(lmx60::ELMX_EMPTY_LIST, m.qname, __FILE__, __LINE__);
        write_list<V>(w, h, m);
    }
    static size_t count(const H& h) { return h.is_set() ? 1 : 0; }
    static void create(H& h) { h.set_present(); }
    static void clear(H& h) { h.unset(); }
};

template <class V>
struct holder_io<lmx60::ct_simple_list_single<V>> : without_items {
    using H = lmx60::ct_simple_list_single<V>;
    static bool text(const H& h, size_t, std::string& t)
    {
        append_list(h, t);
        return true;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m) { read_list<V>(r, h, m); }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m) { write_list<V>(w, h, m); }
    static size_t count(const H&) { return 1; }
    static void create(H&) {}
    static void clear(H& h) { h.clear(); }
};

template <class T>
struct holder_io<lmx60::ct_empty_single<T>> : without_items, without_text {
    using H = lmx60::ct_empty_single<T>;
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        std::string text;
        take_text(r, m, &text);
        h.set();
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        if (h.is_set())
            write_empty_element(w, m);
    }
    static size_t count(const H& h) { return h.is_set() ? 1 : 0; }
    static void create(H& h) { h.set(); }
    static void clear(H& h) { h.unset(); }
};

inline bool is_in_place(const MemberInfo& m)
{
    return m.kind == MemberKind::group || m.kind == MemberKind::choice || m.kind == MemberKind::sequence;
}

template <class T>
void read_complex(lmx60::c_xml_reader& r, T& child, const MemberInfo& m, bool ofDeclaredClass)
{
    if (is_in_place(m))
        read_inline(r, child, T::s_class_info);
    else
        read_child(r, child, m, ofDeclaredClass ? &T::s_class_info : nullptr);
}

template <class T>
void write_complex(lmx60::c_xml_writer& w, const T& child, const MemberInfo& m)
{
    if (is_in_place(m))
        write_inline(w, child, T::s_class_info);
    else
        write_child(w, child, T::s_class_info, m);
}

template <class T>
struct holder_io<lmx60::ct_complex_single<T>> : without_text {
    using H = lmx60::ct_complex_single<T>;
    static MemberItem item(const H& h, size_t)
    {
        MemberItem item;
        item.object = h.get_ptr();
        return item;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        bool fresh = !h.is_set();
        HIPGSBase* derived = fresh ? create_derived(r, T::s_class_info) : nullptr;
        if (derived)
            h.assign(static_cast<T*>(derived));
        read_complex(r, h.get(), m, fresh && !derived);
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        if (h.is_set())
            write_complex(w, *h.get_ptr(), m);
        else if (m.min_occurs > 0)
            missing_required_child(m);
    }
    static size_t count(const H& h) { return h.is_set() ? 1 : 0; }
    static void create(H& h) { h.get(); }
    static void clear(H& h) { h.unset(); }
};

template <class T>
struct holder_io<lmx60::ct_complex_multi<T>> : without_text {
    using H = lmx60::ct_complex_multi<T>;
    static MemberItem item(const H& h, size_t index)
    {
        MemberItem item;
        if (index < h.size())
            item.object = &h.get(index);
        return item;
    }
    static void read(lmx60::c_xml_reader& r, H& h, const MemberInfo& m)
    {
        HIPGSBase* derived = create_derived(r, T::s_class_info);
        T& child = derived ? h.append(static_cast<T*>(derived)) : h.append();
        read_complex(r, child, m, !derived);
    }
    static void write(lmx60::c_xml_writer& w, const H& h, const MemberInfo& m)
    {
        for (size_t i = 0; i < h.size(); ++i)
            write_complex(w, h.get(i), m);
    }
    static size_t count(const H& h) { return h.size(); }
    static void create(H& h)
    {
        if (h.size() == 0)
            h.append();
    }
    static void clear(H& h) { h.clear(); }
};

template <class>
struct member_pointer_traits;
template <class C, class H>
struct member_pointer_traits<H C::*> {
    using owner = C;
    using holder = H;
};

template <class H>
struct single_child {
    static HIPGSBase* get(H&) { return nullptr; }
    static const HIPGSBase* get(const H&) { return nullptr; }
};

template <class T>
struct single_child<lmx60::ct_complex_single<T>> {
    static HIPGSBase* get(lmx60::ct_complex_single<T>& h) { return h.get_ptr(); }
    static const HIPGSBase* get(const lmx60::ct_complex_single<T>& h) { return h.get_ptr(); }
};

template <class H>
bool holds_writable(const H&)
{
    return true;
}

template <class V>
bool holds_writable(const lmx60::ct_simple_list_optional<V>& h)
{
    return !h.is_set() || h.size() > 0;
}

template <class H>
constexpr bool holder_may_be_unwritable = false;

template <class V>
constexpr bool holder_may_be_unwritable<lmx60::ct_simple_list_optional<V>> = true;

// Where a member's holder stands in its object: a field of its class, or a field of the block of
// rarely set members that the class holds behind one pointer (lmx60::ct_boxed), which reading
// through a const object never creates.
template <auto Member>
struct field_access {
    using C = typename member_pointer_traits<decltype(Member)>::owner;
    using H = typename member_pointer_traits<decltype(Member)>::holder;
    static H& held(HIPGSBase& o) { return static_cast<C&>(o).*Member; }
    static const H& held(const HIPGSBase& o) { return static_cast<const C&>(o).*Member; }
    static H* existing(HIPGSBase& o) { return &held(o); }
};

template <auto Box, auto Member>
struct boxed_access {
    using C = typename member_pointer_traits<decltype(Box)>::owner;
    using H = typename member_pointer_traits<decltype(Member)>::holder;
    static H& held(HIPGSBase& o) { return (static_cast<C&>(o).*Box).own().*Member; }
    static const H& held(const HIPGSBase& o) { return (static_cast<const C&>(o).*Box).get().*Member; }
    // Null while the block is not made: nothing there to clear or to hand out.
    static H* existing(HIPGSBase& o)
    {
        auto* block = (static_cast<C&>(o).*Box).find();
        return block ? &(block->*Member) : nullptr;
    }
};

template <class Access>
class member_ops final : public MemberOps {
    using H = typename Access::H;
    using io = holder_io<H>;

public:
    constexpr member_ops() : MemberOps(holder_may_be_unwritable<H>, !std::is_base_of_v<without_text, io>) {}
    void read(lmx60::c_xml_reader& r, HIPGSBase& o, const MemberInfo& m) const override
    {
        io::read(r, Access::held(o), m);
    }
    void write(lmx60::c_xml_writer& w, const HIPGSBase& o, const MemberInfo& m) const override
    {
        io::write(w, Access::held(o), m);
    }
    size_t count(const HIPGSBase& o) const override { return io::count(Access::held(o)); }
    bool is_writable(const HIPGSBase& o) const override { return holds_writable(Access::held(o)); }
    void create(HIPGSBase& o) const override { io::create(Access::held(o)); }
    void clear(HIPGSBase& o) const override
    {
        if (H* h = Access::existing(o))
            io::clear(*h);
    }
    HIPGSBase* object(HIPGSBase& o) const override
    {
        H* h = Access::existing(o);
        return h ? single_child<H>::get(*h) : nullptr;
    }
    const HIPGSBase* object(const HIPGSBase& o) const override { return single_child<H>::get(Access::held(o)); }
    MemberItem item(const HIPGSBase& o, size_t index) const override { return io::item(Access::held(o), index); }
    bool text(const HIPGSBase& o, size_t index, std::string& t) const override
    {
        return io::text(Access::held(o), index, t);
    }

    static const member_ops instance;
};

template <class Access>
const member_ops<Access> member_ops<Access>::instance{};

}  // namespace detail

// The operations of one member, for the generated tables: HIPGSpirit::ops<&HIPGSFoo::m_bar>(), or
// ops<&HIPGSFoo::m_box, &HIPGSFoo::Box::m_bar>() for a member held in a box of rarely set ones.
template <auto Member>
constexpr const MemberOps* ops()
{
    return &detail::member_ops<detail::field_access<Member>>::instance;
}

template <auto Box, auto Member>
constexpr const MemberOps* ops()
{
    return &detail::member_ops<detail::boxed_access<Box, Member>>::instance;
}

}  // namespace HIPGSpirit

#endif

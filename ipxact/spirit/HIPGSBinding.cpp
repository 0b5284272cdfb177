#include <ipxact/spirit/HIPGSBinding.h>

#include <cstring>
#include <string_view>
#include <unordered_map>

#include <ipxact/common/HI18N.h>
#include <ipxact/lmx60/lmx60_convert.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSNamespaces.h>
#include <ipxact/spirit/HIPGSStructure.h>

namespace HIPGSpirit {

struct BindingAccess {
    static int& choice_id(HIPGSChoiceContent& obj) { return obj.m_choice_id; }
    static int choice_id(const HIPGSChoiceContent& obj) { return obj.m_choice_id; }
    static std::vector<uint16_t>& read_order(HIPGSAllContent& obj) { return obj.m_read_order; }
    static const std::vector<uint16_t>& read_order(const HIPGSAllContent& obj) { return obj.m_read_order; }
};

namespace {

const char* const kAnonymousCompositor = "{anonymous compositor}";

const char* namespace_uri(int32_t nsId)
{
    switch (nsId) {
    case kSpiritNamespaceId: return kSpiritNamespaceUri;
    case kVorlixNamespaceId: return kVorlixNamespaceUri;
    case kXsiNamespaceId: return kXsiNamespaceUri;
    default: return "";
    }
}

std::string_view local_part(const std::string& qname)
{
    size_t colon = qname.find(':');
    return colon == std::string::npos ? std::string_view(qname) : std::string_view(qname).substr(colon + 1);
}

// The reading being observed on this thread, if any (ObservedReading).
struct Observation {
    const lmx60::c_xml_reader* reader = nullptr;
    ReadObserver* observer = nullptr;
};
// Initial-exec: every member read asks, and the general model would call the runtime each time.
thread_local Observation t_observation __attribute__((tls_model("initial-exec")));

ReadObserver* observer_of(const lmx60::c_xml_reader& reader)
{
    return t_observation.reader == &reader ? t_observation.observer : nullptr;
}

// After an occurrence of a member was read, the reader still on it: its text, where it is one.
void tell_text(ReadObserver& observer, const lmx60::c_xml_reader& reader, const HIPGSBase& obj,
               const MemberInfo& member)
{
    if (!member.ops->holds_text || !observer.wants_text(reader))
        return;
    if (size_t count = member.ops->count(obj))
        observer.text(ValueSite{&obj, &member, static_cast<uint32_t>(count - 1)});
}

// After an attribute was kept as read: the last one the member holds.
void tell_kept_attribute(ReadObserver& observer, const HIPGSBase& obj, const MemberInfo& member)
{
    size_t count = member.ops->count(obj);
    if (count == 0)
        return;
    if (const lmx60::c_any_attribute* kept = member.ops->item(obj, count - 1).attribute)
        // The local name is a view into the kept qname, which ends where the name does.
        observer.attribute(kept->ns_uri.c_str(), local_part(kept->qname).data(),
                           ValueSite{&obj, &member, static_cast<uint32_t>(count - 1)});
}

struct name_key {
    int ns_id;
    std::string_view name;
    bool operator==(const name_key& other) const { return ns_id == other.ns_id && name == other.name; }
};

struct name_key_hash {
    size_t operator()(const name_key& key) const
    {
        return std::hash<std::string_view>()(key.name) * 31u + static_cast<size_t>(key.ns_id);
    }
};

std::unordered_map<name_key, int, name_key_hash>& event_table()
{
    static std::unordered_map<name_key, int, name_key_hash> table;
    return table;
}

// The qualified name of each element event, for faults that must name an element.
std::vector<std::string>& event_names()
{
    static std::vector<std::string> names;
    return names;
}

bool accepts(lmx60::c_xml_reader& reader, const MemberInfo& member, int event)
{
    switch (member.kind) {
    case MemberKind::element:
        return event != lmx60::EVENT_UNKNOWN && event == member.event;
    case MemberKind::group:
    case MemberKind::choice:
    case MemberKind::sequence:
        for (const int32_t* first = member.first_events; first && *first; ++first)
            if (*first == event)
                return true;
        return false;
    case MemberKind::any_element:
        if (std::strcmp(member.name, "##other") == 0)
            return reader.element_ns_id() != member.ns_id && reader.element_ns_id() != -1;
        return true;
    default:
        return false;
    }
}

using detail::is_in_place;

bool is_content(const MemberInfo& member)
{
    return member.kind != MemberKind::attribute && member.kind != MemberKind::any_attribute &&
           member.kind != MemberKind::vendor_slot;
}

bool is_attribute(const MemberInfo& member)
{
    return member.kind == MemberKind::attribute || member.kind == MemberKind::any_attribute;
}

// The member of a choice's alternative number `alternative`; null past the last one.
const MemberInfo* alternative_member(const ClassInfo& info, int alternative)
{
    int index = 0;
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_content(info.members[i]) && index++ == alternative)
            return &info.members[i];
    return nullptr;
}

bool has_slot_after(const ClassInfo& info, uint32_t index)
{
    return index + 1 < info.member_count && info.members[index + 1].kind == MemberKind::vendor_slot;
}

void fill_vendor_slots(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    for (uint32_t i = 0; i + 1 < info.member_count; ++i)
        if (has_slot_after(info, i))
            fill_vendor_slot(reader, obj, info.members[i], info.members[i + 1]);
}

// What a missing member is called in a fault: its element, or for content read in place (a group,
// an anonymous compositor) the elements that can begin it, since a group's name is no element.
std::string missing_item(const MemberInfo& member)
{
    if (!is_in_place(member) || !member.first_events)
        return member.qname ? member.qname : kAnonymousCompositor;
    const std::vector<std::string>& names = event_names();
    std::string item;
    for (const int32_t* event = member.first_events; *event; ++event) {
        if (*event < 0 || static_cast<size_t>(*event) >= names.size() || names[*event].empty())
            continue;
        item += (item.empty() ? "" : " or ") + names[*event];
    }
    return item.empty() ? std::string(member.qname ? member.qname : kAnonymousCompositor) : item;
}

// The source of a fault is reported at the element being read.
void report_missing(lmx60::c_xml_reader& reader, const MemberInfo& member)
{
    lmx60::elmx_error code =
        member.kind == MemberKind::choice ? lmx60::ELMX_NO_CHOICE_ALTERNATIVE : lmx60::ELMX_REQUIRED_ELEMENT_MISSING;
    reader.capture_error(code, missing_item(member), __FILE__, __LINE__);
}

// Reads one occurrence and leaves the reader on the token after it.
void read_member(lmx60::c_xml_reader& reader, HIPGSBase& obj, const MemberInfo& member)
{
    if (is_in_place(member)) {
        member.ops->read(reader, obj, member);
        return;
    }
    lmx60::c_xml_reader_local scope(reader);
    if (member.qname)
        reader.set_current_item(member.qname);
    else
        reader.set_current_item(reader.element_qname());
    member.ops->read(reader, obj, member);
    if (ReadObserver* observer = observer_of(reader); observer && member.kind == MemberKind::element)
        tell_text(*observer, reader, obj, member);
    reader.advance();
}

// Occurrences are counted per reading, not from the holders: a required simple value always has a
// value, read or not.
bool below_maximum(const MemberInfo& member, uint32_t occurrences)
{
    return member.max_occurs == kUnbounded || occurrences < member.max_occurs;
}

// How far the reading of one element's content has come. After an element the content does not
// allow (passed over when the fault handler goes on), reading resumes from here: what was read before
// is neither read again nor reported missing, and a member that is missing is reported once.
struct ContentProgress {
    uint32_t position = 0;     // sequence: the member being read
    uint32_t occurrences = 0;  // sequence: its occurrences so far
    uint32_t reported_to = 0;  // sequence: the members before this one are present or reported missing
    bool started = false;
    std::vector<uint32_t> all_occurrences;  // all: per member
};

void read_sequence(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info, ContentProgress& progress)
{
    uint32_t& position = progress.position;
    uint32_t& occurrences = progress.occurrences;  // of the member at `position`
    auto report_once = [&](uint32_t index) {
        if (index >= progress.reported_to) {
            report_missing(reader, info.members[index]);
            progress.reported_to = index + 1;
        }
    };
    if (!progress.started) {
        progress.started = true;
        while (position < info.member_count && !is_content(info.members[position]))
            ++position;
    }
    while (reader.current() == lmx60::c_xml_reader::tok_start) {
        int event = element_event(reader);
        uint32_t candidate = position;
        for (; candidate < info.member_count; ++candidate) {
            const MemberInfo& member = info.members[candidate];
            uint32_t seen = candidate == position ? occurrences : 0;
            if (accepts(reader, member, event) && below_maximum(member, seen))
                break;
            if (seen < member.min_occurs)
                report_once(candidate);
        }
        if (candidate == info.member_count) {
            progress.reported_to = info.member_count;
            return;
        }
        if (candidate != position) {
            position = candidate;
            occurrences = 0;
        }
        size_t before = reader.token_count();
        read_member(reader, obj, info.members[position]);
        if (reader.token_count() == before)
            return;  // an in-place member that cannot start here: leave the element to the caller
        ++occurrences;
    }
    for (uint32_t index = position, seen = occurrences; index < info.member_count; ++index, seen = 0) {
        const MemberInfo& member = info.members[index];
        if (is_content(member) && seen < member.min_occurs)
            report_once(index);
    }
}

void read_choice(lmx60::c_xml_reader& reader, HIPGSChoiceContent& obj, const ClassInfo& info, ContentProgress& progress)
{
    // Resumed after an element passed over: the alternative read before stands, and only more of
    // its occurrences may follow.
    if (progress.started) {
        const MemberInfo* chosen = alternative_member(info, BindingAccess::choice_id(obj));
        while (chosen && reader.current() == lmx60::c_xml_reader::tok_start &&
               accepts(reader, *chosen, element_event(reader))) {
            size_t before = reader.token_count();
            read_member(reader, obj, *chosen);
            if (reader.token_count() == before)
                return;
        }
        return;
    }
    progress.started = true;
    if (reader.current() == lmx60::c_xml_reader::tok_start) {
        int event = element_event(reader);
        int alternative = 0;
        for (uint32_t i = 0; i < info.member_count; ++i) {
            const MemberInfo& member = info.members[i];
            if (!is_content(member))
                continue;
            if (accepts(reader, member, event)) {
                BindingAccess::choice_id(obj) = alternative;
                uint32_t occurrences = 0;
                do {
                    read_member(reader, obj, member);
                    ++occurrences;
                } while (reader.current() == lmx60::c_xml_reader::tok_start && below_maximum(member, occurrences) &&
                         accepts(reader, member, element_event(reader)));
                return;
            }
            ++alternative;
        }
    }
    // A choice one of whose alternatives may match nothing is present even without an element of
    // its own ("<spirit:qualifier/>"); that alternative is current and holds nothing.
    int alternative = 0;
    for (uint32_t i = 0; i < info.member_count; ++i) {
        if (!is_content(info.members[i]))
            continue;
        if (info.members[i].min_occurs == 0) {
            BindingAccess::choice_id(obj) = alternative;
            return;
        }
        ++alternative;
    }
    reader.capture_error(lmx60::ELMX_NO_CHOICE_ALTERNATIVE, kAnonymousCompositor, __FILE__, __LINE__);
}

void read_all(lmx60::c_xml_reader& reader, HIPGSAllContent& obj, const ClassInfo& info, ContentProgress& progress)
{
    std::vector<uint16_t>& order = BindingAccess::read_order(obj);
    std::vector<uint32_t>& occurrences = progress.all_occurrences;
    if (!progress.started) {
        progress.started = true;
        order.clear();
        occurrences.assign(info.member_count, 0);
    }
    while (reader.current() == lmx60::c_xml_reader::tok_start) {
        int event = element_event(reader);
        uint32_t found = info.member_count;
        for (uint32_t i = 0; i < info.member_count; ++i)
            if (is_content(info.members[i]) && accepts(reader, info.members[i], event) &&
                below_maximum(info.members[i], occurrences[i])) {
                found = i;
                break;
            }
        if (found == info.member_count)
            break;
        read_member(reader, obj, info.members[found]);
        ++occurrences[found];
        order.push_back(static_cast<uint16_t>(found));
    }
    // Stopped by an element the content does not allow: the caller passes over it and resumes, and
    // what is missing is known only at the end.
    if (reader.current() == lmx60::c_xml_reader::tok_start)
        return;
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_content(info.members[i]) && occurrences[i] < info.members[i].min_occurs)
            report_missing(reader, info.members[i]);
}

void read_content(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info, ContentProgress& progress)
{
    switch (info.content) {
    case ContentKind::choice:
        read_choice(reader, static_cast<HIPGSChoiceContent&>(obj), info, progress);
        break;
    case ContentKind::all:
        read_all(reader, static_cast<HIPGSAllContent&>(obj), info, progress);
        break;
    default:
        read_sequence(reader, obj, info, progress);
        break;
    }
}

void read_content(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    ContentProgress progress;
    read_content(reader, obj, info, progress);
}

bool is_xsi(const char* uri)
{
    return std::strcmp(uri, kXsiNamespaceUri) == 0;
}

const MemberInfo* find_attribute_member(const ClassInfo& info, int nsId, const char* local)
{
    for (uint32_t i = 0; i < info.member_count; ++i) {
        const MemberInfo& member = info.members[i];
        if (member.kind == MemberKind::attribute && member.ns_id == nsId && std::strcmp(member.name, local) == 0)
            return &member;
    }
    return nullptr;
}

// The reader's map leaves xsi out: its attributes come as an unknown namespace (0).
int attribute_ns_id(lmx60::c_xml_reader& reader)
{
    int nsId = reader.attribute_ns_id();
    return nsId == 0 && is_xsi(reader.attribute_ns_uri()) ? kXsiNamespaceId : nsId;
}

uint32_t required_attribute_count(const ClassInfo& info)
{
    uint32_t count = 0;
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (info.members[i].kind == MemberKind::attribute && info.members[i].min_occurs > 0)
            ++count;
    return count;
}

void read_attributes(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    // Counted per reading, not taken from the holders: a required attribute always holds a value.
    uint32_t requiredSeen = 0;
    for (bool more = reader.first_attribute(); more; more = reader.next_attribute()) {
        const MemberInfo* member = read_own_attribute(reader, obj, info);
        if (!member)
            read_other_attribute(reader, obj, info);
        else if (member->min_occurs > 0)
            ++requiredSeen;
    }
    if (requiredSeen < required_attribute_count(info))
        check_required_attributes(reader, info);
}

// Elements the content model does not allow here (children are taken in schema order only, never
// searched for) are faults; a continuing handler passes over them, and reading resumes where it stood.
void read_to_end_tag(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info, ContentProgress& progress)
{
    while (reader.current() == lmx60::c_xml_reader::tok_start) {
        reader.capture_error(lmx60::ELMX_UNEXPECTED_ELEMENT, reader.element_qname(), __FILE__, __LINE__);
        reader.skip_element();
        reader.advance();
        if (info.content != ContentKind::empty)
            read_content(reader, obj, info, progress);
    }
}

void read_body(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    if (info.ns_id != 0 && (reader.element_ns_id() != info.ns_id ||
                            std::strcmp(reader.element_local_name(), info.local_name) != 0))
        reader.capture_error(lmx60::ELMX_WRONG_ELEMENT, reader.element_qname(), __FILE__, __LINE__);
    read_attributes(reader, obj, info);
    read_content_to_end(reader, obj, info);
}

void write_members(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info);

void write_member(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const MemberInfo& member)
{
    size_t count = member.ops->count(obj);
    bool repeated = member.max_occurs != 1;
    if ((member.max_occurs != kUnbounded && count > member.max_occurs) || (repeated && count < member.min_occurs))
        writer.capture_error(lmx60::ELMX_OCCURRENCE_ERROR, member.name ? member.name : "", __FILE__, __LINE__);
    if (count == 0 && member.min_occurs > 0 && is_in_place(member))
        writer.capture_error(lmx60::ELMX_ELEMENT_NOT_FOUND, kAnonymousCompositor, __FILE__, __LINE__);
    member.ops->write(writer, obj, member);
}

void write_choice(lmx60::c_xml_writer& writer, const HIPGSChoiceContent& obj, const ClassInfo& info)
{
    if (const MemberInfo* chosen = alternative_member(info, BindingAccess::choice_id(obj)))
        write_member(writer, obj, *chosen);
    else
        writer.capture_error(lmx60::ELMX_ELEMENT_NOT_FOUND, kAnonymousCompositor, __FILE__, __LINE__);
}

void write_all(lmx60::c_xml_writer& writer, const HIPGSAllContent& obj, const ClassInfo& info)
{
    std::vector<bool> written(info.member_count, false);
    for (uint16_t index : BindingAccess::read_order(obj)) {
        if (index >= info.member_count || written[index])
            writer.capture_error(lmx60::ELMX_INTERNAL, info.local_name ? info.local_name : "", __FILE__, __LINE__);
        else if (info.members[index].ops->count(obj) > 0) {
            written[index] = true;
            write_member(writer, obj, info.members[index]);
        }
    }
    // Children set through accessors after reading follow in schema order.
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_content(info.members[i]) && !written[i])
            write_member(writer, obj, info.members[i]);
}

void write_members(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info)
{
    switch (info.content) {
    case ContentKind::choice:
        write_choice(writer, static_cast<const HIPGSChoiceContent&>(obj), info);
        return;
    case ContentKind::all:
        write_all(writer, static_cast<const HIPGSAllContent&>(obj), info);
        return;
    default:
        for (uint32_t i = 0; i < info.member_count; ++i) {
            if (has_slot_after(info, i))
                write_vendor_extensions(writer, obj, info.members[i], info.members[i + 1]);
            else if (is_content(info.members[i]))
                write_member(writer, obj, info.members[i]);
        }
        return;
    }
}

}  // namespace

const MemberInfo* read_own_attribute(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    const MemberInfo* member = find_attribute_member(info, attribute_ns_id(reader), reader.attribute_local_name());
    if (member) {
        lmx60::c_xml_reader_local scope(reader);
        reader.set_current_item(member->qname);
        member->ops->read(reader, obj, *member);
        ReadObserver* observer = observer_of(reader);
        if (observer && member->ns_id != kXsiNamespaceId && member->ops->count(obj) > 0)
            observer->attribute(namespace_uri(member->ns_id), member->name, ValueSite{&obj, member, 0});
    }
    return member;
}

void read_other_attribute(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    const int nsId = attribute_ns_id(reader);
    if (nsId == kXsiNamespaceId)
        return;  // xsi:type chose the class already; hints inside a document are for validators
    // The wildcards of the standard admit any namespace, and no namespace (code -1) too.
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (info.members[i].kind == MemberKind::any_attribute && (nsId == 0 || nsId == -1)) {
            info.members[i].ops->read(reader, obj, info.members[i]);
            if (ReadObserver* observer = observer_of(reader))
                tell_kept_attribute(*observer, obj, info.members[i]);
            return;
        }
    reader.capture_error(lmx60::ELMX_UNEXPECTED_ATTRIBUTE, reader.attribute_qname(), __FILE__, __LINE__);
}

lmx60::elmx_error check_required_attributes(lmx60::c_xml_reader& reader, const ClassInfo& info)
{
    for (uint32_t i = 0; i < info.member_count; ++i) {
        const MemberInfo& member = info.members[i];
        if (member.kind != MemberKind::attribute || member.min_occurs == 0)
            continue;
        bool present = false;
        for (bool more = reader.first_attribute(); more && !present; more = reader.next_attribute())
            present = &member == find_attribute_member(info, attribute_ns_id(reader), reader.attribute_local_name());
        if (!present) {
            const char* item = info.local_name ? info.local_name : info.element_id;
            lmx60::elmx_error code =
                reader.capture_error(lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING, item, __FILE__, __LINE__);
            if (code != lmx60::ELMX_OK)
                return code;
        }
    }
    return lmx60::ELMX_OK;
}

void read_content_to_end(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    if (info.content == ContentKind::simple) {
        for (uint32_t i = 0; i < info.member_count; ++i)
            if (info.members[i].kind == MemberKind::simple_content) {
                info.members[i].ops->read(reader, obj, info.members[i]);
                if (ReadObserver* observer = observer_of(reader))
                    tell_text(*observer, reader, obj, info.members[i]);
            }
        return;
    }
    reader.enter();
    ContentProgress progress;
    if (info.content != ContentKind::empty)
        read_content(reader, obj, info, progress);
    read_to_end_tag(reader, obj, info, progress);
    fill_vendor_slots(reader, obj, info);
}

int enum_number(const char* const* values, bool isSet, const std::string& text)
{
    if (!isSet)
        return 0;
    for (int i = 0; values[i]; ++i)
        if (text == values[i])
            return i + 1;
    return 0;
}

const char* enum_text(const char* const* values, int number)
{
    for (int i = 1; values[i - 1]; ++i)
        if (i == number)
            return values[i - 1];
    return nullptr;
}

lmx60::elmx_error check_set_value(const lmx60::c_restriction& restriction, const std::string& value, const char* item)
{
    return HIPGSBase::lmx_error(lmx60::restriction_fault(restriction, value), item, __FILE__, __LINE__);
}

void register_element_events(const lmx60::s_event_map* table)
{
    for (; table && table->name; ++table) {
        event_table()[name_key{table->ns_id, std::string_view(table->name, table->length)}] = table->event;
        std::vector<std::string>& names = event_names();
        if (table->event < 0)
            continue;
        if (names.size() <= static_cast<size_t>(table->event))
            names.resize(static_cast<size_t>(table->event) + 1);
        const char* prefix = table->ns_id == kSpiritNamespaceId   ? "spirit:"
                             : table->ns_id == kVorlixNamespaceId ? "vorlix:"
                                                                  : "";
        names[table->event] = prefix + std::string(table->name, table->length);
    }
}

int element_event(lmx60::c_xml_reader& reader)
{
    if (reader.current() != lmx60::c_xml_reader::tok_start)
        return lmx60::EVENT_UNKNOWN;
    int event;
    if (reader.token_note(&event))
        return event;
    if (!reader.name_note(&event)) {
        const auto& table = event_table();
        auto found = table.find(name_key{reader.element_ns_id(),
                                         std::string_view(reader.element_local_name(), reader.element_local_length())});
        event = found == table.end() ? lmx60::EVENT_UNKNOWN : found->second;
        reader.set_name_note(event);
    }
    reader.set_token_note(event);
    return event;
}

namespace {

// Faults unwind through here to the entry point that was called.
void read_named(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info, const char* name)
{
    lmx60::c_xml_reader_local scope(reader);
    reader.set_current_item(name);
    read_body(reader, obj, info);
}

}  // namespace

lmx60::elmx_error read_element(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info,
                               const std::string& name)
{
    return reading_code([&]() -> lmx60::elmx_error {
        read_named(reader, obj, info, name.c_str());
        return lmx60::ELMX_OK;
    });
}

lmx60::elmx_error read_in_place(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    return reading_code([&]() -> lmx60::elmx_error {
        read_content(reader, obj, info);
        return lmx60::ELMX_OK;
    });
}

namespace {

// Faults after the document element (a second root, broken trailing markup) still count.
lmx60::elmx_error read_document_end(lmx60::c_xml_reader& reader)
{
    return reading_code([&]() -> lmx60::elmx_error {
        while (reader.current() != lmx60::c_xml_reader::tok_eof) {
            reader.advance();
            if (reader.current() == lmx60::c_xml_reader::tok_start)
                reader.capture_error(lmx60::ELMX_NOT_WELL_FORMED, reader.element_qname(), __FILE__, __LINE__);
        }
        return lmx60::ELMX_OK;
    });
}

// A class whose own map declares nothing (a named type, a local element) may still be written as the
// document element, through the root dispatcher or a stream front end; its names need declarations.
const lmx60::s_ns_map* document_ns_map(const lmx60::c_xml_writer& writer, const ClassInfo& info)
{
    bool declaresNothing = !info.writer_ns_map || info.writer_ns_map->id == 0;
    return writer.depth() == 0 && declaresNothing ? ns_map_reader : info.writer_ns_map;
}

// The chosen alternative of a choice when it is an element held as a value, with no object of its own
// to keep the attributes of its start tag.
const MemberInfo* chosen_value_root(const HIPGSBase& obj, const ClassInfo& info)
{
    if (info.content != ContentKind::choice)
        return nullptr;
    const MemberInfo* chosen =
        alternative_member(info, BindingAccess::choice_id(static_cast<const HIPGSChoiceContent&>(obj)));
    return chosen && chosen->kind == MemberKind::element && !chosen->ops->object(obj) ? chosen : nullptr;
}

void clear_attributes(HIPGSBase& obj, const ClassInfo& info)
{
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_attribute(info.members[i]))
            info.members[i].ops->clear(obj);
}

}  // namespace

lmx60::elmx_error read_document(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    obj.reset();  // a document replaces what the object held; it is not merged into it
    reader.set_ns_map(ns_map_reader);
    lmx60::elmx_error result = reading_code([&]() -> lmx60::elmx_error {
        reader.read_document_element();
        if (reader.element_ns_id() != info.ns_id || std::strcmp(reader.element_local_name(), info.local_name) != 0)
            return reader.capture_error(lmx60::ELMX_WRONG_ELEMENT, reader.element_qname(), __FILE__, __LINE__);
        return lmx60::ELMX_OK;
    });
    if (result != lmx60::ELMX_OK)
        return result;
    result = obj.unmarshal(reader, reader.element_qname());
    return result != lmx60::ELMX_OK ? result : read_document_end(reader);
}

lmx60::elmx_error read_document_in_place(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    reader.set_ns_map(ns_map_reader);
    clear_attributes(obj, info);
    lmx60::elmx_error result = reading_code([&]() -> lmx60::elmx_error {
        reader.read_document_element();
        // A root that no alternative takes is named as such, rather than as an empty choice.
        if (!starts_content(reader, info))
            return reader.capture_error(lmx60::ELMX_WRONG_ELEMENT, reader.element_qname(), __FILE__, __LINE__);
        for (bool more = reader.first_attribute(); more; more = reader.next_attribute())
            if (attribute_ns_id(reader) == kXsiNamespaceId)
                read_own_attribute(reader, obj, info);
        return lmx60::ELMX_OK;
    });
    if (result != lmx60::ELMX_OK)
        return result;
    size_t before = reader.token_count();
    result = read_in_place(reader, obj, info);
    if (result != lmx60::ELMX_OK)
        return result;
    // The hints stay here only for a root held as a value; an object kept its own.
    if (!chosen_value_root(obj, info))
        clear_attributes(obj, info);
    // A continuing handler carried on past a document element that no alternative takes: pass over
    // it, or its children would count as further document elements.
    if (reader.token_count() == before) {
        result = reading_code([&]() -> lmx60::elmx_error {
            reader.skip_element();
            return lmx60::ELMX_OK;
        });
        if (result != lmx60::ELMX_OK)
            return result;
    }
    return read_document_end(reader);
}

lmx60::elmx_error write_in_place(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info)
{
    writer.conditionally_select_ns_map(info.writer_ns_map);
    const MemberInfo* root = writer.depth() == 0 ? chosen_value_root(obj, info) : nullptr;
    if (!root) {
        detail::write_inline(writer, obj, info);
        return lmx60::ELMX_OK;
    }
    // A root held as a value gets the element frame here, where the content's hints can go on it.
    obj.validationAssertion(occurs_ok(obj, info), true);
    writer.start_element(root->qname);
    write_attributes(writer, obj, info);
    MemberInfo text = *root;
    text.kind = MemberKind::simple_content;
    root->ops->write(writer, obj, text);
    writer.end_element(root->qname);
    return lmx60::ELMX_OK;
}

namespace {

// The namespaces of the document's own maps are declared up front; xsi only where a hint is written.
void write_attribute(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const MemberInfo& member)
{
    if (member.ns_id == kXsiNamespaceId && member.ops->count(obj) > 0)
        writer.ensure_namespace("xsi", kXsiNamespaceUri);
    member.ops->write(writer, obj, member);
}

}  // namespace

lmx60::elmx_error write_element(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info,
                                const char* name)
{
    if (!name && info.local_name) {
        writer.fail_stream();
        return lmx60::ELMX_WRITE_FAILED;
    }
    // Groups and compositors have no element of their own: their children stand in the owner's element.
    if (!info.local_name) {
        detail::write_inline(writer, obj, info);
        return lmx60::ELMX_OK;
    }
    obj.validationAssertion(occurs_ok(obj, info), true);
    writer.conditionally_select_ns_map(document_ns_map(writer, info));
    writer.start_element(name);
    int expected = writer.get_expected_type();
    writer.set_expected_type(0);
    const bool belowDocumentElement = writer.depth() > 1;
    if ((expected != 0 && info.type_id != 0 && expected != info.type_id) ||
        (info.type_always_written && belowDocumentElement)) {
        writer.ensure_namespace("xsi", kXsiNamespaceUri);
        writer.attribute("xsi:type", info.type_qname);
    }
    write_attributes(writer, obj, info);
    write_content(writer, obj, info);
    writer.end_element(name);
    return lmx60::ELMX_OK;
}

void write_attributes(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info)
{
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_attribute(info.members[i]))
            write_attribute(writer, obj, info.members[i]);
}

void write_content(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info)
{
    if (info.content != ContentKind::simple) {
        write_members(writer, obj, info);
        return;
    }
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (info.members[i].kind == MemberKind::simple_content)
            info.members[i].ops->write(writer, obj, info.members[i]);
}

bool occurs_ok(const HIPGSBase& obj, const ClassInfo& info)
{
    if (info.content == ContentKind::choice) {
        int selected = BindingAccess::choice_id(static_cast<const HIPGSChoiceContent&>(obj));
        int alternatives = 0;
        for (uint32_t i = 0; i < info.member_count; ++i)
            alternatives += is_content(info.members[i]) ? 1 : 0;
        if (selected < 0 || selected >= alternatives)
            return false;
    }
    for (uint32_t i = 0; i < info.member_count; ++i) {
        const MemberInfo& member = info.members[i];
        if (info.content == ContentKind::choice && is_content(member))
            continue;
        if ((member.min_occurs > 0 && member.ops->count(obj) < member.min_occurs) ||
            (member.ops->may_be_unwritable && !member.ops->is_writable(obj)))
            return false;
    }
    return true;
}

void select_alternative(HIPGSChoiceContent& obj, const ClassInfo& info, int alternative)
{
    int& selected = BindingAccess::choice_id(obj);
    if (selected == alternative)
        return;
    release_alternatives(obj, info);
    if (const MemberInfo* member = alternative_member(info, alternative)) {
        member->ops->create(obj);
        selected = alternative;
    }
}

void release_alternatives(HIPGSChoiceContent& obj, const ClassInfo& info)
{
    int none = 0;
    for (uint32_t i = 0; i < info.member_count; ++i)
        if (is_content(info.members[i])) {
            info.members[i].ops->clear(obj);
            ++none;
        }
    BindingAccess::choice_id(obj) = none;
}

bool starts_content(lmx60::c_xml_reader& reader, const ClassInfo& info)
{
    if (reader.current() != lmx60::c_xml_reader::tok_start)
        return false;
    int event = element_event(reader);
    for (uint32_t i = 0; i < info.member_count; ++i) {
        const MemberInfo& member = info.members[i];
        if (!is_content(member))
            continue;
        if (accepts(reader, member, event))
            return true;
        if (info.content != ContentKind::choice && info.content != ContentKind::all && member.min_occurs > 0)
            return false;
    }
    return false;
}

// ---- the structure walk: the writing loops' order, with nothing written ----

namespace {

class StructureWalk {
public:
    explicit StructureWalk(StructureVisitor& visitor) : m_visitor(visitor) {}

    // An element's own attributes and content, inside its start.
    void element(const HIPGSBase& obj, const ClassInfo& info)
    {
        for (uint32_t i = 0; i < info.member_count; ++i) {
            const MemberInfo& member = info.members[i];
            if (member.kind == MemberKind::attribute && member.ns_id != kXsiNamespaceId) {
                if (member.ops->count(obj) > 0)
                    m_visitor.attribute(namespace_uri(member.ns_id), member.name, ValueSite{&obj, &member, 0});
            } else if (member.kind == MemberKind::any_attribute) {
                for (size_t n = member.ops->count(obj), k = 0; k < n; ++k)
                    if (const lmx60::c_any_attribute* kept = member.ops->item(obj, k).attribute)
                        // The local name is a view into the kept qname, which ends where the name does.
                        m_visitor.attribute(kept->ns_uri.c_str(), local_part(kept->qname).data(),
                                            ValueSite{&obj, &member, static_cast<uint32_t>(k)});
            }
        }
        if (info.content != ContentKind::simple) {
            members(obj, info);
            return;
        }
        for (uint32_t i = 0; i < info.member_count; ++i)
            if (info.members[i].kind == MemberKind::simple_content && info.members[i].ops->count(obj) > 0)
                m_visitor.text(ValueSite{&obj, &info.members[i], 0});
    }

    // The content elements, as write_members orders them.
    void members(const HIPGSBase& obj, const ClassInfo& info)
    {
        switch (info.content) {
        case ContentKind::choice:
            if (const MemberInfo* chosen =
                    alternative_member(info, BindingAccess::choice_id(static_cast<const HIPGSChoiceContent&>(obj))))
                member(obj, *chosen);
            return;
        case ContentKind::all: {
            std::vector<bool> done(info.member_count, false);
            for (uint16_t index : BindingAccess::read_order(static_cast<const HIPGSAllContent&>(obj)))
                if (index < info.member_count && !done[index] && info.members[index].ops->count(obj) > 0) {
                    done[index] = true;
                    member(obj, info.members[index]);
                }
            for (uint32_t i = 0; i < info.member_count; ++i)
                if (is_content(info.members[i]) && !done[i])
                    member(obj, info.members[i]);
            return;
        }
        default:
            for (uint32_t i = 0; i < info.member_count; ++i) {
                if (has_slot_after(info, i))
                    vendor_extensions(obj, info.members[i], info.members[i + 1]);
                else if (is_content(info.members[i]))
                    member(obj, info.members[i]);
            }
            return;
        }
    }

    void member(const HIPGSBase& obj, const MemberInfo& member)
    {
        for (size_t n = member.ops->count(obj), k = 0; k < n; ++k) {
            MemberItem item = member.ops->item(obj, k);
            if (item.element) {
                m_visitor.kept_element(*item.element);
                continue;
            }
            const ClassInfo* info = item.object ? item.object->getClassInfo() : nullptr;
            if (is_in_place(member) || (info && !info->local_name)) {
                if (info)
                    members(*item.object, *info);
                continue;
            }
            m_visitor.start_element(namespace_uri(member.ns_id), member.name);
            if (info)
                element(*item.object, *info);
            else if (!item.object)
                m_visitor.text(ValueSite{&obj, &member, static_cast<uint32_t>(k)});
            m_visitor.end_element();
        }
    }

    // spirit:vendorExtensions with its typed slot first, as write_vendor_extensions writes it: the
    // element only when it holds something.
    void vendor_extensions(const HIPGSBase& obj, const MemberInfo& extensions, const MemberInfo& slot)
    {
        const HIPGSBase* open = extensions.ops->count(obj) > 0 ? extensions.ops->item(obj, 0).object : nullptr;
        const ClassInfo* openInfo = open ? open->getClassInfo() : nullptr;
        size_t kept = 0;
        for (uint32_t i = 0; openInfo && i < openInfo->member_count; ++i)
            if (openInfo->members[i].kind == MemberKind::any_element)
                kept += openInfo->members[i].ops->count(*open);
        if (slot.ops->count(obj) == 0 && kept == 0)
            return;
        m_visitor.start_element(namespace_uri(extensions.ns_id), extensions.name);
        member(obj, slot);
        for (uint32_t i = 0; openInfo && i < openInfo->member_count; ++i)
            if (openInfo->members[i].kind == MemberKind::any_element)
                member(*open, openInfo->members[i]);
        m_visitor.end_element();
    }

private:
    StructureVisitor& m_visitor;
};

}  // namespace

ObservedReading::ObservedReading(const lmx60::c_xml_reader& reader, ReadObserver& observer)
    : m_outer_reader(t_observation.reader), m_outer_observer(t_observation.observer)
{
    t_observation = Observation{&reader, &observer};
}

ObservedReading::~ObservedReading()
{
    t_observation = Observation{m_outer_reader, m_outer_observer};
}

bool value_text(const ValueSite& site, std::string& text)
{
    return site.owner && site.member && site.member->ops->text(*site.owner, site.index, text);
}

bool attribute_name(const ValueSite& site, const char** ns, const char** local)
{
    if (!site.owner || !site.member)
        return false;
    if (site.member->kind == MemberKind::attribute) {
        *ns = namespace_uri(site.member->ns_id);
        *local = site.member->name;
        return true;
    }
    if (site.member->kind != MemberKind::any_attribute || site.index >= site.member->ops->count(*site.owner))
        return false;
    const lmx60::c_any_attribute* kept = site.member->ops->item(*site.owner, site.index).attribute;
    if (!kept)
        return false;
    *ns = kept->ns_uri.c_str();
    // The local name is a view into the kept qname, which ends where the name does.
    *local = local_part(kept->qname).data();
    return true;
}

void walk_structure(const HIPGSBase& root, StructureVisitor& visitor)
{
    const ClassInfo* info = root.getClassInfo();
    if (!info)
        return;
    StructureWalk walk(visitor);
    if (!info->local_name) {
        walk.members(root, *info);
        return;
    }
    visitor.start_element(namespace_uri(info->ns_id), info->local_name);
    walk.element(root, *info);
    visitor.end_element();
}

namespace detail {


void read_inline(lmx60::c_xml_reader& reader, HIPGSBase& obj, const ClassInfo& info)
{
    read_content(reader, obj, info);
}

void write_inline(lmx60::c_xml_writer& writer, const HIPGSBase& obj, const ClassInfo& info)
{
    obj.validationAssertion(occurs_ok(obj, info), true);
    write_members(writer, obj, info);
}

void read_child(lmx60::c_xml_reader& reader, HIPGSBase& child, const MemberInfo& member, const ClassInfo* exact)
{
    if (exact) {
        read_named(reader, child, *exact, member.qname);
        return;
    }
    lmx60::elmx_error result = child.unmarshal(reader, member.qname);
    if (result != lmx60::ELMX_OK)
        throw lmx60::c_lmx_reader_exception(result, reader.line());
}

void write_child(lmx60::c_xml_writer& writer, const HIPGSBase& child, const ClassInfo& declared,
                 const MemberInfo& member)
{
    writer.set_expected_type(declared.type_id);
    lmx60::elmx_error result = child.marshal(writer, member.qname);
    if (result != lmx60::ELMX_OK)
        throw lmx60::c_lmx_exception_with_name(result, -1, member.qname);
}

HIPGSBase* create_derived(lmx60::c_xml_reader& reader, const ClassInfo& declared)
{
    if (!declared.derived)
        return nullptr;
    std::string typeName;
    if (!reader.find_attribute(kXsiNamespaceUri, "type", &typeName))
        return nullptr;
    std::string prefix;
    std::string local = typeName;
    size_t colon = typeName.find(':');
    if (colon != std::string::npos) {
        prefix = typeName.substr(0, colon);
        local = typeName.substr(colon + 1);
    }
    std::string uri;
    int nsId = reader.get_namespace(prefix, &uri) ? reader.ns_id_of_uri(uri.c_str()) : -1;
    for (const DerivedType* derived = declared.derived; derived->type_name; ++derived)
        if (derived->ns_id == nsId && local == derived->type_name)
            return derived->create();
    return nullptr;
}

void missing_required_child(const MemberInfo&)
{
    throw lmx60::lmx_exception("access to an absent child element");
}

void take_text(lmx60::c_xml_reader& reader, const MemberInfo& member, std::string* text)
{
    if (member.kind == MemberKind::attribute)
        *text = reader.attribute_value();
    else
        reader.read_text(text);
}

std::string value_item(lmx60::c_xml_reader& reader, const MemberInfo& member)
{
    return member.qname ? std::string(member.qname) : reader.get_current_item();
}

bool parse_checked(lmx60::c_xml_reader& reader, const MemberInfo& member, std::string& text)
{
    const lmx60::c_untyped_validation_spec* checks = member.checks ? member.checks : &lmx60::validation_spec_empty;
    lmx60::apply_whitespace(text, checks->whitespace);
    if (checks->lexical && checks->lexical(reader, text) != lmx60::ELMX_OK)
        return false;
    if (checks->value && checks->value(reader, text) != lmx60::ELMX_OK)
        return false;
    return true;
}

bool read_list_text(lmx60::c_xml_reader& reader, const MemberInfo& member, std::vector<std::string>* items)
{
    std::string text;
    take_text(reader, member, &text);
    items->clear();
    // Lengths of a list count its items; a list type that allows none reads from empty text.
    if (!parse_checked(reader, member, text))
        return false;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && lmx60::is_xml_whitespace(text[i]))
            ++i;
        size_t start = i;
        while (i < text.size() && !lmx60::is_xml_whitespace(text[i]))
            ++i;
        if (i > start)
            items->push_back(text.substr(start, i - start));
    }
    return true;
}

void write_value(lmx60::c_xml_writer& writer, const MemberInfo& member, const std::string& value)
{
    write_text(writer, member, HI18N::convertToUTF8(value));
}

void write_text(lmx60::c_xml_writer& writer, const MemberInfo& member, const std::string& text)
{
    switch (member.kind) {
    case MemberKind::attribute:
        writer.attribute(member.qname, text);
        break;
    case MemberKind::simple_content:
        writer.text(text, member.qname);
        break;
    default:
        writer.start_element(member.qname);
        writer.text(text, member.qname);
        writer.end_element(member.qname);
        break;
    }
}

void write_empty_element(lmx60::c_xml_writer& writer, const MemberInfo& member)
{
    writer.start_element(member.qname);
    writer.end_element(member.qname);
}

void write_any(lmx60::c_xml_writer& writer, const lmx60::c_any_info& any)
{
    writer.any_element(any);
}

void write_any_attribute(lmx60::c_xml_writer& writer, const lmx60::c_any_attribute& attribute)
{
    size_t colon = attribute.qname.find(':');
    if (colon != std::string::npos)
        writer.ensure_namespace(attribute.qname.substr(0, colon).c_str(), attribute.ns_uri.c_str());
    writer.attribute(attribute.qname.c_str(), HI18N::convertToUTF8(attribute.value));
}

void capture(lmx60::c_xml_reader& reader, lmx60::c_any_info* any)
{
    reader.capture_element(any);
}

bool parse_value(const std::string& text, std::string& value)
{
    lmx60::custom_vtostring(value, text);
    return true;
}
bool parse_value(const std::string& text, bool& value) { return lmx60::parse_bool(text, &value); }
bool parse_value(const std::string& text, long long& value) { return lmx60::parse_long_long(text, &value); }
bool parse_value(const std::string& text, double& value) { return lmx60::parse_double(text, &value); }
bool parse_value(const std::string& text, float& value) { return lmx60::parse_float(text, &value); }
bool parse_value(const std::string& text, lmx60::c_big_int& value) { return value.set(text); }
bool parse_value(const std::string& text, lmx60::c_date& value) { return value.set(text); }
bool parse_value(const std::string& text, lmx60::c_datetime& value) { return value.set(text); }

void format_value(const std::string& value, std::string& text) { text += HI18N::convertToUTF8(value); }
void format_value(bool value, std::string& text) { text += value ? "true" : "false"; }
void format_value(long long value, std::string& text) { lmx60::append_long_long(text, value); }
void format_value(double value, std::string& text) { lmx60::append_double(text, value); }
void format_value(float value, std::string& text) { lmx60::append_float(text, value); }
void format_value(const lmx60::c_big_int& value, std::string& text) { text += value.text(); }
void format_value(const lmx60::c_date& value, std::string& text) { text += value.text(); }
void format_value(const lmx60::c_datetime& value, std::string& text) { text += value.text(); }

}  // namespace detail

}  // namespace HIPGSpirit

// The elements and attributes that bound objects would be written as, walked without writing, and
// the values reading stores, told as it stores them: for tools that look at a whole document by
// element name (checks, indexes) and need neither text nor escaping, only the values they ask for.
#ifndef IPXACT_SPIRIT_HIPGSSTRUCTURE_H
#define IPXACT_SPIRIT_HIPGSSTRUCTURE_H

#include <cstdint>
#include <string>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/spirit/HIPGSBase.h>

namespace lmx60 {
class c_xml_reader;
}

namespace HIPGSpirit {

struct MemberInfo;

// Where a simple value is held: occurrence `index` of `member` of `owner`. Valid while the object
// lives and is not changed.
struct ValueSite {
    const HIPGSBase* owner = nullptr;
    const MemberInfo* member = nullptr;
    uint32_t index = 0;
};

// Appends the text the value would be written as (UTF-8, not escaped); false when the site holds
// no text (an empty element, a site of no value).
bool value_text(const ValueSite& site, std::string& text);

// The namespace URI ("" for none) and local name of the attribute a site holds, one of its class
// or one kept as read; false for a site of no attribute. Valid while the object lives unchanged.
bool attribute_name(const ValueSite& site, const char** ns, const char** local);

// What walk_structure meets, in the order the writer would write it: an element's attributes come
// after its start and before its content. Names are namespace URIs ("" for none) and local names,
// valid while the objects live.
class StructureVisitor {
public:
    virtual void start_element(const char* ns, const char* local) = 0;
    virtual void attribute(const char* ns, const char* local, const ValueSite& value) = 0;
    // The text of the element last started.
    virtual void text(const ValueSite& value) = 0;
    // An element kept whole as it was read (open content); it has no children in the walk.
    virtual void kept_element(const lmx60::c_any_info& element) = 0;
    virtual void end_element() = 0;

protected:
    ~StructureVisitor() = default;
};

// Told of each value as reading stores it in the objects: for a tool that notes where values stand
// while a document is read (beside a line index, say) instead of walking the objects afterwards.
// Schema hints (xsi) are not told, as the walk leaves them out.
class ReadObserver {
public:
    // An attribute of the element the reader stands on; one kept as read has its own namespace and
    // local name.
    virtual void attribute(const char* ns, const char* local, const ValueSite& value) = 0;
    // The text of the element the reader stands on: a simple element, or an element's simple content.
    virtual void text(const ValueSite& value) = 0;
    // Asked before text(), with the reader on the element: an observer that keeps the texts of few
    // elements says no to the others before their value is looked for.
    virtual bool wants_text(const lmx60::c_xml_reader& reader) = 0;

protected:
    ~ReadObserver() = default;
};

// While it lives, `observer` is told of the values read on this thread through `reader`. Values
// read through another reader are not told: a typed vendor slot is filled from a reader of its own,
// and its content is no element of the document's reader. Scopes nest: the innermost one observes,
// and the one around it observes again once it ends.
class ObservedReading {
public:
    ObservedReading(const lmx60::c_xml_reader& reader, ReadObserver& observer);
    ~ObservedReading();
    ObservedReading(const ObservedReading&) = delete;
    ObservedReading& operator=(const ObservedReading&) = delete;

private:
    const lmx60::c_xml_reader* m_outer_reader;
    ReadObserver* m_outer_observer;
};

// Walks what `root` holds: a document held in place (HIPGSTop), or an object of a global element's
// class, which is then the first element. Schema hints (xsi) are not part of the walk; choices walk
// their current alternative, and content read in any order walks in the order read, as written.
void walk_structure(const HIPGSBase& root, StructureVisitor& visitor);

}  // namespace HIPGSpirit

#endif

// Small records shared by the reader, the writer and the generated tables.
#ifndef IPXACT_LMX60_LMX60_TYPES_H
#define IPXACT_LMX60_LMX60_TYPES_H

#include <cstddef>
#include <cstdint>

namespace lmx60 {

// The namespace of xsi:type and the schema location hints.
constexpr const char* kSchemaInstanceNamespace = "http://www.w3.org/2001/XMLSchema-instance";

// Namespace map record; arrays end with an all-zero record.
struct s_ns_map {
    int32_t id;
    const char* prefix;
    const char* uri;
};

// Event map record: names an element or attribute the reader may meet; arrays end with a record
// whose name is null and whose event is 1.
struct s_event_map {
    int32_t ns_id;
    const char* name;
    size_t length;
    int32_t event;
};

enum { EVENT_END_OF_TABLE = 1, EVENT_UNKNOWN = 0 };

// What the reader's tokeniser reports besides a name's own event. Names in event maps take numbers from
// EVENT_FIRST_NAME up, so that a reading switch can tell these apart from any name.
enum {
    EVENT_END_TAG = 2,              // the element being read ends here
    EVENT_NO_MORE_ATTRIBUTES = 3,   // every attribute of the start tag has been tokenised
    EVENT_END_OF_DOCUMENT = 4,      // nothing more can be read: past the document element, or stopped by a fault
    EVENT_FIRST_NAME = 14
};

// Whether the tokeniser moves to the next attribute of the current start tag or to the next tag.
enum elxp_attr_elem { exae_attribute, exae_element };

// Looks a name up in an event map; EVENT_UNKNOWN when absent.
int find_event(const s_event_map* map, int nsId, const char* name, size_t length);

}  // namespace lmx60

#endif

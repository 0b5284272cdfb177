// Small records shared by the reader, the writer and the generated tables.
#ifndef IPXACT_LMX60_LMX60_TYPES_H
#define IPXACT_LMX60_LMX60_TYPES_H

#include <cstddef>
#include <cstdint>

namespace lmx60 {

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

// Looks a name up in an event map; EVENT_UNKNOWN when absent.
int find_event(const s_event_map* map, int nsId, const char* name, size_t length);

}  // namespace lmx60

#endif

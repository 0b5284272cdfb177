// A small cache in front of a slower lookup, for the catalog's own use. Not part of the public
// interface.
#ifndef IPXACT_CATALOG_RECENT_BY_ADDRESS_H
#define IPXACT_CATALOG_RECENT_BY_ADDRESS_H

#include <cstddef>
#include <cstdint>

namespace ipxact {
namespace catalog {

// The answers last given for a few hundred addresses, in front of a slower lookup: the same few
// things (the binding's names and members, the rules' expressions) are asked about again and again.
template <class Value, size_t Size>
class RecentByAddress {
public:
    template <class Lookup>
    Value find(const void* address, Lookup lookup)
    {
        Slot& slot = m_slots[reinterpret_cast<uintptr_t>(address) % Size];
        if (slot.address != address)
            slot = {address, lookup()};
        return slot.value;
    }

private:
    struct Slot {
        const void* address = nullptr;
        Value value{};
    };
    Slot m_slots[Size];
};

}  // namespace catalog
}  // namespace ipxact

#endif

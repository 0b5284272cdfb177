"""One global numbering of element names and attribute names.

Every element name (namespace id + local name) gets one event number, used
in every element table that lists it; every attribute name gets one too.
Elements and attributes draw from the same pool, so an attribute and an
element of the same name get different numbers and no number means two
names. Numbers below FIRST_EVENT belong to the XML runtime's structural
events (1 ends a table).

Pinned numbers (pinned_events.py) are always held, even for names the loaded
schema set lacks, so that adding the vendor schema later cannot move them.
The other names take the lowest free numbers, in order of namespace id,
then local name, elements before attributes of the same name.
"""

from __future__ import annotations

import pinned_events

FIRST_EVENT = 14
ELEMENT, ATTRIBUTE = "element", "attribute"


class NumberingError(Exception):
    pass


def _pinned() -> dict:
    pinned = {}
    for kind, rows in ((ELEMENT, pinned_events.ELEMENT_EVENTS),
                       (ATTRIBUTE, pinned_events.ATTRIBUTE_EVENTS)):
        for ns_id, local, event in rows:
            key = (kind, ns_id, local)
            if pinned.get(key, event) != event:
                raise NumberingError("%s %s pinned to two numbers" % (kind, local))
            pinned[key] = event
    holders = {}
    for key, event in pinned.items():
        if event < FIRST_EVENT:
            raise NumberingError("%s pinned below %d" % (key, FIRST_EVENT))
        if event in holders:
            raise NumberingError("%s and %s both pinned to %d" % (holders[event], key, event))
        holders[event] = key
    return pinned


def number_names(element_names: set, attribute_names: set) -> tuple:
    """Events for the given (ns_id, local) names.

    Returns (element_events, attribute_events), each a dict (ns_id, local) -> event.
    """
    pinned = _pinned()
    used = set(pinned.values())
    wanted = [(ns_id, local, ELEMENT) for ns_id, local in element_names]
    wanted += [(ns_id, local, ATTRIBUTE) for ns_id, local in attribute_names]
    events = {ELEMENT: {}, ATTRIBUTE: {}}
    next_free = FIRST_EVENT
    # Elements sort before attributes of the same name: "attribute" > "element".
    for ns_id, local, kind in sorted(wanted, key=lambda w: (w[0], w[1], w[2] != ELEMENT)):
        key = (kind, ns_id, local)
        if key in pinned:
            events[kind][(ns_id, local)] = pinned[key]
            continue
        while next_free in used:
            next_free += 1
        events[kind][(ns_id, local)] = next_free
        used.add(next_free)
    return events[ELEMENT], events[ATTRIBUTE]

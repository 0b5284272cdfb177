"""The distinct simple-type restrictions that the generated code checks.

The generated validators are one per distinct restriction, not one per
member: two members whose types allow the same pattern texts, the same
value list, the same bounds and the same lengths share one check. Ids are
given in a fixed order (patterns, then value lists, then bounds, then
lengths, each sorted by content), so they do not depend on the order in
which classes happen to be built.
"""

from __future__ import annotations

from typing import Optional

from model import Restriction
from value_types import SimpleValue, is_list_kind

def _key(value: SimpleValue) -> Optional[tuple]:
    facets = value.facets
    bounds = (facets.min_inclusive, facets.max_inclusive, facets.min_exclusive, facets.max_exclusive)
    min_length, max_length = facets.min_length, facets.max_length
    if facets.length is not None:
        min_length = max_length = facets.length
    lengths = (min_length, max_length)
    if not facets.patterns and not facets.enumerations and bounds == (None,) * 4 and lengths == (None, None):
        return None
    # Bounds compare numbers of the value's kind and lengths of a list count its items, so in either
    # case the kind is part of the check.
    counted_kind = bounds != (None,) * 4 or (lengths != (None, None) and is_list_kind(value.value_type))
    value_kind = value.value_type if counted_kind else ""
    # Only bounds and lengths fail with a constraint's own code; its patterns and value lists do not.
    constraint_value = value.constraint_value and (bounds != (None,) * 4 or lengths != (None, None))
    return (tuple(facets.patterns), tuple(facets.enumerations), bounds, lengths, value_kind, constraint_value)


def _sort_key(key: tuple) -> tuple:
    patterns, enumerations, bounds, lengths, value_kind, constraint_value = key
    present = (bool(patterns), bool(enumerations), bounds != (None,) * 4, lengths != (None, None))
    category = present.index(True)

    def text(items):
        return tuple("" if item is None else str(item) for item in items)

    return (category, patterns, enumerations, text(bounds), text(lengths), value_kind, constraint_value)


class RestrictionTable:
    """Collects the restrictions of all members, then numbers them."""

    def __init__(self):
        self._first_seen = {}  # key -> SimpleValue
        self._ids = None

    def note(self, value: SimpleValue) -> None:
        key = _key(value)
        if key is not None:
            self._first_seen.setdefault(key, value)

    def number(self) -> list:
        ordered = sorted(self._first_seen, key=_sort_key)
        self._ids = {key: index + 1 for index, key in enumerate(ordered)}
        return [self._restriction(key) for key in ordered]

    def id_of(self, value: SimpleValue) -> Optional[int]:
        if self._ids is None:
            raise RuntimeError("restrictions are numbered only after every member was noted")
        key = _key(value)
        return None if key is None else self._ids[key]

    def _restriction(self, key: tuple) -> Restriction:
        patterns, enumerations, bounds, lengths, _, constraint_value = key
        value = self._first_seen[key]
        return Restriction(id=self._ids[key], base=value.value_type, patterns=list(patterns),
                           enumerations=list(enumerations), min_inclusive=bounds[0],
                           max_inclusive=bounds[1], min_exclusive=bounds[2], max_exclusive=bounds[3],
                           min_length=lengths[0], max_length=lengths[1], whitespace=value.whitespace,
                           constraint_value=constraint_value)

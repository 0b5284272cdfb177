"""What a simple type turns into in C++: a value kind plus the facets to check.

A simple type is followed down its derivation chain to the XML Schema
built-in it rests on; that built-in fixes the value kind, and the facets met
on the way are merged, the most derived declaration of each facet winning
(a derived type's patterns replace its base's, which for the IEEE types only
ever narrow them).
"""

from __future__ import annotations

from dataclasses import dataclass, field, replace

from xsd_loader import XS, Facets, QName, SchemaSet, SimpleType

# Integers without a fixed width become the runtime's big integer; fixed-width
# ones fit in a long long. Scaled values are restrictions of xs:string in the
# schema and so stay strings without any special case.
_BUILTIN_VALUE_TYPES = {
    "boolean": "bool",
    "integer": "big_int", "nonNegativeInteger": "big_int", "positiveInteger": "big_int",
    "nonPositiveInteger": "big_int", "negativeInteger": "big_int", "unsignedLong": "big_int",
    "long": "long_long", "int": "long_long", "short": "long_long", "byte": "long_long",
    "unsignedInt": "long_long", "unsignedShort": "long_long", "unsignedByte": "long_long",
    "float": "float", "double": "double", "decimal": "double",
    "date": "date", "dateTime": "datetime",
    "NMTOKENS": "string_list", "IDREFS": "string_list", "ENTITIES": "string_list",
}
_NUMERIC_ITEMS = {"float", "double"}


@dataclass
class SimpleValue:
    value_type: str
    facets: Facets = field(default_factory=Facets)
    whitespace: str = "preserve"
    schema_type: str = ""  # the simple type's own name, or the built-in's, for comments
    constraint_value: bool = False  # held by a timing or load constraint


def _builtin_whitespace(local: str) -> str:
    if local in ("string", "anySimpleType"):
        return "preserve"
    if local == "normalizedString":
        return "replace"
    return "collapse"


# The value spaces of the built-in integers, checked like the bounds a schema writes itself: a value
# one past them is as wrong as one past a declared facet.
_BUILTIN_BOUNDS = {
    "nonNegativeInteger": ("0", None), "positiveInteger": ("1", None),
    "nonPositiveInteger": (None, "0"), "negativeInteger": (None, "-1"),
    "unsignedLong": ("0", "18446744073709551615"),
    "long": ("-9223372036854775808", "9223372036854775807"), "int": ("-2147483648", "2147483647"),
    "short": ("-32768", "32767"), "byte": ("-128", "127"),
    "unsignedInt": ("0", "4294967295"), "unsignedShort": ("0", "65535"), "unsignedByte": ("0", "255"),
}


# The built-in list types hold at least one item; a list type a schema derives itself may be empty.
_BUILTIN_LISTS = ("NMTOKENS", "IDREFS", "ENTITIES")


def is_list_kind(value_type: str) -> bool:
    return value_type.endswith("_list")


def _builtin(local: str) -> SimpleValue:
    minimum, maximum = _BUILTIN_BOUNDS.get(local, (None, None))
    min_length = 1 if local in _BUILTIN_LISTS else None
    return SimpleValue(_BUILTIN_VALUE_TYPES.get(local, "string"),
                       Facets(min_inclusive=minimum, max_inclusive=maximum, min_length=min_length),
                       _builtin_whitespace(local), "xs:" + local)


def _overlay(base: Facets, own: Facets) -> Facets:
    """Facets of a restriction step over those of its base: each declared facet wins."""
    merged = replace(base, patterns=list(base.patterns), enumerations=list(base.enumerations))
    if own.patterns:
        merged.patterns = list(own.patterns)
    if own.enumerations:
        merged.enumerations = list(own.enumerations)
    for name in ("min_inclusive", "max_inclusive", "min_exclusive", "max_exclusive",
                 "length", "min_length", "max_length", "whitespace"):
        if getattr(own, name) is not None:
            setattr(merged, name, getattr(own, name))
    return merged


def narrowed(value: SimpleValue, facets: Facets) -> SimpleValue:
    """value further restricted by facets, as a simpleContent restriction does."""
    if facets.is_empty():
        return value
    merged = _overlay(value.facets, facets)
    return replace(value, facets=merged, whitespace=merged.whitespace or value.whitespace)


class ValueTypes:
    """Resolves simple types of one schema set; results are cached per type."""

    def __init__(self, schemas: SchemaSet):
        self._schemas = schemas
        self._cache = {}

    def of(self, simple_type) -> SimpleValue:
        """The value of a QName naming a simple type, an inline SimpleType, or None (any text)."""
        if simple_type is None:
            return _builtin("anySimpleType")
        key = simple_type if isinstance(simple_type, QName) else id(simple_type)
        if key not in self._cache:
            self._cache[key] = self._resolve(simple_type)
        return self._cache[key]

    def _resolve(self, simple_type) -> SimpleValue:
        if isinstance(simple_type, QName):
            found = self._schemas.type(simple_type)
            if isinstance(found, QName):
                return _builtin(found.local) if found.ns == XS else _builtin("string")
            if not isinstance(found, SimpleType):
                raise ValueError("%s is a complex type where a simple type is needed" % (simple_type,))
            simple_type = found
        value = {"atomic": self._atomic, "list": self._list, "union": self._union}[simple_type.variety](simple_type)
        if simple_type.name is not None:
            value = replace(value, schema_type=simple_type.name.local)
        return value

    def _atomic(self, simple_type: SimpleType) -> SimpleValue:
        base = self.of(simple_type.base if simple_type.base is not None else simple_type.inline_base)
        facets = _overlay(base.facets, simple_type.facets)
        return SimpleValue(base.value_type, facets, facets.whitespace or base.whitespace, base.schema_type)

    def _list(self, simple_type: SimpleType) -> SimpleValue:
        item = self.of(simple_type.item_type if simple_type.item_type is not None
                       else simple_type.inline_item)
        value_type = "double_list" if item.value_type in _NUMERIC_ITEMS else "string_list"
        return SimpleValue(value_type, Facets(), "collapse", "list")

    def _union(self, simple_type: SimpleType) -> SimpleValue:
        members = [self.of(m) for m in simple_type.member_types]
        members += [self.of(m) for m in simple_type.inline_members]
        kinds = {m.value_type for m in members}
        # A union of one kind reads as that kind; a mixed union can only be held as text.
        if len(kinds) == 1 and len(members) == 1:
            return replace(members[0], schema_type="union")
        return SimpleValue(kinds.pop() if len(kinds) == 1 else "string", Facets(), "collapse", "union")

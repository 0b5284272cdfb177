"""Simple types for the test-document generator: flattening, random values, checks.

A simple type is followed down to its XML Schema built-in; every restriction
step on the way is kept as a level of its own, because XML Schema ANDs the
patterns of different steps (a scaled positive integer must also be a scaled
integer) while the patterns of one step are alternatives. Values are drawn
to exercise a reader: big integers past 64 bits, signs and leading zeros,
booleans as 1/0, floating-point exponents, texts with markup characters and
letters outside ASCII.
"""

from __future__ import annotations

import random
import re
from dataclasses import dataclass, field
from decimal import Decimal, InvalidOperation
from typing import Optional

from xsd_loader import XS, Facets, QName, SchemaSet, SimpleType
from xsd_regex import Pattern

_PATTERNS: dict = {}


def compiled(text: str) -> Pattern:
    if text not in _PATTERNS:
        _PATTERNS[text] = Pattern(text)
    return _PATTERNS[text]


@dataclass
class FlatSimple:
    """A simple type as the generator needs it; levels run from the most derived step down."""

    builtin: str  # local name of the XML Schema built-in at the bottom
    variety: str = "atomic"  # atomic | list | union
    levels: list = field(default_factory=list)  # Facets, most derived first
    item: Optional["FlatSimple"] = None
    members: list = field(default_factory=list)
    name: str = ""

    def enumerations(self) -> list:
        for level in self.levels:
            if level.enumerations:
                return level.enumerations
        return []

    def pattern_levels(self) -> list:
        return [level.patterns for level in self.levels if level.patterns]

    def bound(self, facet: str) -> Optional[str]:
        for level in self.levels:
            value = getattr(level, facet)
            if value is not None:
                return value
        return None

    def restricted(self, facets: Facets) -> "FlatSimple":
        """This type with one more restriction step on top."""
        return FlatSimple(self.builtin, self.variety, [facets] + self.levels, self.item,
                          self.members, self.name)


_COLLAPSED = {"token", "Name", "NCName", "NMTOKEN", "NMTOKENS", "ID", "IDREF", "anyURI", "boolean",
              "language", "QName"}
_INTEGERS = {"integer": (None, None), "nonNegativeInteger": (0, None), "positiveInteger": (1, None),
             "nonPositiveInteger": (None, 0), "negativeInteger": (None, -1),
             "long": (-2 ** 63, 2 ** 63 - 1), "int": (-2 ** 31, 2 ** 31 - 1),
             "short": (-2 ** 15, 2 ** 15 - 1), "byte": (-128, 127),
             "unsignedLong": (0, 2 ** 64 - 1), "unsignedInt": (0, 2 ** 32 - 1),
             "unsignedShort": (0, 65535), "unsignedByte": (0, 255)}
_BUILTIN_BASES = {"normalizedString": "string", "token": "string", "Name": "string",
                  "NCName": "string", "NMTOKEN": "string", "ID": "string", "IDREF": "string",
                  "language": "string"}
# Built-ins whose values get a running number, so that names in a document
# differ and the schema's keys hold without further repair.
_TEXTUAL = {"string", "normalizedString", "token", "Name", "NCName", "NMTOKEN", "ID", "anySimpleType"}
_NAME_START = re.compile(r"[^\W\d]|_|:", re.UNICODE)


def flatten(schemas: SchemaSet, reference) -> FlatSimple:
    """The FlatSimple of a QName, a SimpleType, or None (xs:anySimpleType)."""
    if reference is None:
        return FlatSimple("anySimpleType", name="xs:anySimpleType")
    if isinstance(reference, QName):
        resolved = schemas.type(reference)
        if isinstance(resolved, QName):
            return _builtin(resolved.local)
        return flatten(schemas, resolved)
    simple: SimpleType = reference
    name = str(simple.name) if simple.name else ""
    if simple.variety == "list":
        item = flatten(schemas, simple.inline_item or simple.item_type)
        return FlatSimple("list", "list", [], item, name=name)
    if simple.variety == "union":
        members = [flatten(schemas, m) for m in simple.member_types]
        members += [flatten(schemas, m) for m in simple.inline_members]
        return FlatSimple("union", "union", [], members=members, name=name)
    base = flatten(schemas, simple.inline_base or simple.base)
    flat = base.restricted(simple.facets)
    flat.name = name or base.name
    return flat


def _builtin(local: str) -> FlatSimple:
    if local in ("NMTOKENS", "IDREFS", "ENTITIES"):
        return FlatSimple("list", "list", [], _builtin(local[:-1]), name="xs:" + local)
    return FlatSimple(local, name="xs:" + local)


def collapses(flat: FlatSimple) -> bool:
    if flat.variety != "atomic":
        return True
    if any(level.whitespace == "collapse" for level in flat.levels):
        return True
    return flat.builtin in _COLLAPSED or flat.builtin in _INTEGERS or flat.builtin in (
        "float", "double", "decimal", "date", "dateTime", "time")


# --- checking ---------------------------------------------------------------

def is_valid(flat: FlatSimple, value: str) -> bool:
    """Whether value is in the type's lexical space, all facets included."""
    if flat.variety == "union":
        return any(is_valid(member, value) for member in flat.members)
    if flat.variety == "list":
        items = value.split()
        return _list_length_ok(flat, len(items)) and all(is_valid(flat.item, i) for i in items) \
            and _enumeration_ok(flat, value)
    if collapses(flat):
        value = " ".join(value.split())
    if not _builtin_ok(flat.builtin, value):
        return False
    if not _enumeration_ok(flat, value):
        return False
    for patterns in flat.pattern_levels():
        if not any(compiled(p).matches(value) for p in patterns):
            return False
    return _length_ok(flat, len(value)) and _bounds_ok(flat, value)


def _enumeration_ok(flat: FlatSimple, value: str) -> bool:
    values = flat.enumerations()
    return not values or value in values


def _list_length_ok(flat: FlatSimple, count: int) -> bool:
    return _length_ok(flat, count)


def _length_ok(flat: FlatSimple, length: int) -> bool:
    exact, low, high = flat.bound("length"), flat.bound("min_length"), flat.bound("max_length")
    return ((exact is None or length == exact) and (low is None or length >= low)
            and (high is None or length <= high))


def _bounds_ok(flat: FlatSimple, value: str) -> bool:
    limits = [(flat.bound(f), op) for f, op in (
        ("min_inclusive", lambda v, b: v >= b), ("max_inclusive", lambda v, b: v <= b),
        ("min_exclusive", lambda v, b: v > b), ("max_exclusive", lambda v, b: v < b))]
    limits = [(b, op) for b, op in limits if b is not None]
    if not limits:
        return True
    number = _number(value)
    return number is not None and all(op(number, Decimal(b)) for b, op in limits)


def _number(value: str) -> Optional[Decimal]:
    try:
        return Decimal(value)
    except InvalidOperation:
        return None


def _builtin_ok(builtin: str, value: str) -> bool:
    if builtin in _INTEGERS:
        if not re.fullmatch(r"[+-]?[0-9]+", value):
            return False
        low, high = _INTEGERS[builtin]
        number = int(value)
        return (low is None or number >= low) and (high is None or number <= high)
    if builtin == "boolean":
        return value in ("true", "false", "1", "0")
    if builtin in ("float", "double"):
        return value in ("INF", "-INF", "NaN") or re.fullmatch(
            r"[+-]?([0-9]+(\.[0-9]*)?|\.[0-9]+)([eE][+-]?[0-9]+)?", value) is not None
    if builtin == "decimal":
        return re.fullmatch(r"[+-]?([0-9]+(\.[0-9]*)?|\.[0-9]+)", value) is not None
    if builtin in ("Name", "NCName", "ID", "IDREF"):
        if not value or not _NAME_START.match(value[0]):
            return False
        if builtin != "Name" and ":" in value:
            return False
        return all(c.isalnum() or c in "._-:" for c in value)
    if builtin == "NMTOKEN":
        return bool(value) and all(c.isalnum() or c in "._-:" for c in value)
    if builtin == "date":
        return re.fullmatch(r"-?[0-9]{4,}-[0-9]{2}-[0-9]{2}(Z|[+-][0-9]{2}:[0-9]{2})?", value) is not None
    if builtin == "dateTime":
        return re.fullmatch(r"-?[0-9]{4,}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}(\.[0-9]+)?"
                            r"(Z|[+-][0-9]{2}:[0-9]{2})?", value) is not None
    return True


# --- drawing ----------------------------------------------------------------

class ValueDrawer:
    """Random lexical values; `unique` appends a running number when the type allows it."""

    def __init__(self, rng: random.Random):
        self.rng = rng
        self.counter = 0

    def draw(self, flat: FlatSimple, unique: bool = True, attribute: bool = False) -> str:
        for _ in range(40):
            value = self._candidate(flat, attribute)
            if unique and flat.builtin in _TEXTUAL and not flat.enumerations():
                value = self._made_unique(flat, value)
            if is_valid(flat, value):
                return value
        raise ValueError("no valid value drawn for %s" % (flat.name or flat.builtin))

    def next_number(self) -> int:
        self.counter += 1
        return self.counter

    def _made_unique(self, flat: FlatSimple, value: str) -> str:
        stripped = value.rstrip()
        candidate = stripped + "_%d" % self.next_number() + value[len(stripped):]
        return candidate if is_valid(flat, candidate) else value

    def _candidate(self, flat: FlatSimple, attribute: bool) -> str:
        rng = self.rng
        if flat.variety == "union":
            return self._candidate(rng.choice(flat.members), attribute)
        if flat.variety == "list":
            low = flat.bound("min_length") or flat.bound("length") or 0
            high = flat.bound("max_length") or flat.bound("length") or 3
            count = rng.randint(max(low, 1 if high else 0), max(high, low))
            separator = rng.choice([" ", " ", "  "]) if not attribute else " "
            return separator.join(self._candidate(flat.item, attribute) for _ in range(count))
        enumerations = flat.enumerations()
        if enumerations:
            return rng.choice(enumerations)
        pattern_levels = flat.pattern_levels()
        if pattern_levels:
            return compiled(rng.choice(pattern_levels[0])).draw(rng)
        return self._builtin_value(flat, attribute)

    def _builtin_value(self, flat: FlatSimple, attribute: bool) -> str:
        builtin, rng = flat.builtin, self.rng
        if builtin in _INTEGERS:
            return self._integer(flat, *_INTEGERS[builtin])
        if builtin == "boolean":
            return rng.choice(["true", "false", "true", "false", "1", "0"])
        if builtin in ("float", "double", "decimal"):
            return self._real(flat)
        if builtin == "date":
            return "%04d-%02d-%02d%s" % (rng.randint(1970, 2099), rng.randint(1, 12), rng.randint(1, 28),
                                         rng.choice(["", "", "Z", "+02:00", "-05:30"]))
        if builtin == "dateTime":
            return "%04d-%02d-%02dT%02d:%02d:%02d%s%s" % (
                rng.randint(1970, 2099), rng.randint(1, 12), rng.randint(1, 28), rng.randint(0, 23),
                rng.randint(0, 59), rng.randint(0, 59), rng.choice(["", "", ".5", ".125"]),
                rng.choice(["", "Z", "+01:00", "-08:00"]))
        if builtin in ("Name", "NCName", "ID", "IDREF"):
            return self._name(colon=builtin == "Name")
        if builtin == "NMTOKEN":
            return rng.choice(["", "1", "-", "."]) + self._name(colon=False)
        if builtin == "anyURI":
            return rng.choice(["../rtl/top.v", "file:///work/ip/x.vhd", "http://example.com/ip/a%20b",
                               "lib/core.xml#frag"])
        if builtin in ("token", "normalizedString", "language"):
            return " ".join(self._word() for _ in range(rng.randint(1, 3)))
        return self._text(attribute)

    def _integer(self, flat: FlatSimple, low: Optional[int], high: Optional[int]) -> str:
        rng = self.rng
        facet_low, facet_high = flat.bound("min_inclusive"), flat.bound("max_inclusive")
        if facet_low is not None:
            low = int(Decimal(facet_low)) if low is None else max(low, int(Decimal(facet_low)))
        if facet_high is not None:
            high = int(Decimal(facet_high)) if high is None else min(high, int(Decimal(facet_high)))
        # Past 64 bits, but within the 24 digits that libxml2's schema validator
        # can hold: larger values would make the test documents unverifiable.
        picks = [0, 1, 7, 42, 255, 4096, 2 ** 32, 2 ** 63 - 1, 2 ** 64, 2 ** 79, 10 ** 23 + 1,
                 -1, -42, -2 ** 63, -(2 ** 70)]
        picks += [rng.randint(0, 10 ** rng.randint(1, 23))]
        if low is not None:
            picks += [low, low + 1]
        if high is not None:
            picks += [high, high - 1]
        allowed = [p for p in picks if (low is None or p >= low) and (high is None or p <= high)]
        number = rng.choice(allowed)
        text = str(abs(number))
        if rng.random() < 0.1 and len(text) < 23:
            text = "00" + text
        sign = "-" if number < 0 else rng.choice(["", "", "", "", "+"])
        return sign + text

    def _real(self, flat: FlatSimple) -> str:
        rng = self.rng
        low, high = flat.bound("min_inclusive"), flat.bound("max_inclusive")
        if low is not None or high is not None:
            low_value = float(low) if low is not None else 0.0
            high_value = float(high) if high is not None else low_value + 1000.0
            return rng.choice([str(low_value), str(high_value),
                               "%.3f" % rng.uniform(low_value, high_value),
                               "%g" % rng.uniform(low_value, high_value)])
        if flat.builtin == "decimal":
            return rng.choice(["0", "1.5", "-12.25", "3.14159", "+0.5", "100"])
        return rng.choice(["0", "1", "1.5", "-0.25", "2.5E3", "1e-9", "3.14159", "+7", "100.0",
                           "6.02E23", "INF", "-INF", "0.1", "12", "-0"])

    def _word(self) -> str:
        rng = self.rng
        return rng.choice(["alpha", "beta", "gamma", "delta", "bus", "clk", "rst", "data", "reg",
                           "données", "größe", "λ", "node"])

    def _name(self, colon: bool) -> str:
        rng = self.rng
        name = rng.choice(["n", "port", "blk", "Reg", "_x", "élan", "ctl"]) + rng.choice(
            ["", "_a", ".b", "-c", "0"])
        if colon and rng.random() < 0.1:
            name += ":q"
        return name

    def _text(self, attribute: bool) -> str:
        rng = self.rng
        words = [self._word() for _ in range(rng.randint(1, 4))]
        text = " ".join(words)
        roll = rng.random()
        if roll < 0.15:
            text += rng.choice([" & co", " <tag>", " a>b", ' "quoted"', " it's", " ]]> end"])
        elif roll < 0.22:
            text = rng.choice(["  ", "\n", "\t"]) + text + rng.choice(["  ", "\n", " "])
        elif roll < 0.28:
            text = text.replace(" ", rng.choice(["\n", "\t", "  "]), 1)
        elif roll < 0.3 and not attribute:
            text = ""
        return text

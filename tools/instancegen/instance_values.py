"""Simple types for the test-document generator: flattening, random values, checks.

A simple type is followed down to its XML Schema built-in; every restriction
step on the way is kept as a level of its own, because XML Schema ANDs the
patterns of different steps (a scaled positive integer must also be a scaled
integer) while the patterns of one step are alternatives. Values are drawn
to exercise a reader: big integers past 64 bits, signs and leading zeros,
booleans as 1/0, floating-point exponents, texts with markup characters and
letters outside ASCII. A share of the values are edge forms instead: empty
lists and texts, lengths and numbers at their limits, INF and NaN, far years
and time zones, and whitespace around and inside collapsed values, because a
reader that handles typical values can still trip over the smallest valid ones.
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

# How often a value is an edge form of its type rather than a typical value, and how often a
# whitespace-collapsed value is written with whitespace around or inside it.
EDGE_SHARE = 0.15
PADDING_SHARE = 0.1
# Built-ins whose empty text is a value (the name types need a character).
_EMPTY_ALLOWED = {"string", "normalizedString", "token", "anySimpleType", "anyURI"}
# Built-ins that libxml2's validator refuses with whitespace around them, although the whitespace
# collapses away; the test documents are checked with that validator, so these stay bare.
_BARE = {"long", "int", "short", "byte", "unsignedLong", "unsignedInt", "unsignedShort", "unsignedByte",
         "date", "dateTime", "time"}
# Likewise, whitespace after these is refused.
_SPECIAL_REALS = {"INF", "-INF", "NaN"}
_WHITESPACE_RUNS = [" ", "  ", "\t", "\n", "\n    ", " \t\n", "\r\n"]
# The largest magnitude libxml2's validator holds for an integer without a fixed size (24 digits).
_CHECKABLE_INTEGER = 10 ** 24 - 1
_REAL_LIMITS = {"float": ("3.4028235E38", "1.4E-45"), "double": ("1.7976931348623157E308", "4.9E-324")}
_DATE_EDGES = ["0001-01-01", "9999-12-31", "-0001-12-31", "10000-01-01", "2000-02-29", "2008-02-29Z",
               "1970-01-01Z", "2009-12-31+14:00", "2009-01-01-14:00", "2009-06-15+00:00", "2009-06-15-00:00"]
_DATE_TIME_EDGES = ["0001-01-01T00:00:00Z", "9999-12-31T23:59:59.999999999+14:00",
                    "-0001-12-31T23:59:59-14:00", "10000-01-01T00:00:00", "2009-12-31T24:00:00",
                    "2008-02-29T12:00:00.000", "1970-01-01T00:00:00+00:00", "2009-06-15T12:34:56.5Z",
                    "2009-06-15T00:00:00-00:00"]


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
        # The built-in lists hold at least one item: an empty NMTOKENS is not a value.
        return FlatSimple("list", "list", [Facets(min_length=1)], _builtin(local[:-1]), name="xs:" + local)
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
    # NaN is not ordered against anything, so it is outside every bound.
    return number is not None and not number.is_nan() and all(op(number, Decimal(b)) for b, op in limits)


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
    if builtin in ("date", "dateTime"):
        return _date_ok(value, with_time=builtin == "dateTime")
    return True


_DATE = re.compile(r"(-?)([0-9]{4,})-([0-9]{2})-([0-9]{2})"
                   r"(?:T([0-9]{2}):([0-9]{2}):([0-9]{2})(\.[0-9]+)?)?(Z|[+-]([0-9]{2}):([0-9]{2}))?")


def _date_ok(value: str, with_time: bool) -> bool:
    """Calendar dates only: the edge forms go to the limits (year 1, 24:00:00, +14:00), and
    one step past them (year 0, February 29 of a common year, +14:01) is not a value."""
    match = _DATE.fullmatch(value)
    if match is None or (match.group(5) is not None) != with_time:
        return False
    sign, year_text, month_text, day_text, hour, minute, second, fraction, zone, zone_hour, zone_minute = \
        match.groups()
    year, month, day = int(year_text), int(month_text), int(day_text)
    if year == 0 or (len(year_text) > 4 and year_text[0] == "0") or not 1 <= month <= 12:
        return False
    # Years before year 1 number leap years differently from one reading to the next: February 29
    # of a negative year is left out rather than guessed.
    leap = not sign and year % 4 == 0 and (year % 100 != 0 or year % 400 == 0)
    days = [31, 29 if leap else 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31][month - 1]
    if not 1 <= day <= days:
        return False
    if with_time:
        if int(minute) > 59 or int(second) > 59:
            return False
        fraction_digits = (fraction or ".")[1:]
        if int(hour) > 24 or (int(hour) == 24 and (int(minute) or int(second) or fraction_digits.strip("0"))):
            return False
    if zone_hour is not None:
        if int(zone_minute) > 59 or int(zone_hour) > 14 or (int(zone_hour) == 14 and int(zone_minute)):
            return False
    return True


def _integer_range(flat: FlatSimple) -> tuple:
    """(lowest, highest) value of an integer type, None where unbounded: the built-in's range
    narrowed by the facets, an exclusive bound one step inside."""
    low, high = _INTEGERS[flat.builtin]
    for facet, step, narrower in (("min_inclusive", 0, max), ("min_exclusive", 1, max),
                                  ("max_inclusive", 0, min), ("max_exclusive", -1, min)):
        bound = flat.bound(facet)
        if bound is None:
            continue
        number = Decimal(bound)
        # A fractional bound rounds inwards: above 2.5 the least integer is 3, below 2.5 it is 2.
        limit = int(number.to_integral_value(rounding="ROUND_CEILING" if narrower is max else "ROUND_FLOOR"))
        if number == limit:
            limit += step
        current = low if narrower is max else high
        limit = limit if current is None else narrower(current, limit)
        if narrower is max:
            low = limit
        else:
            high = limit
    return low, high


def _paddable(flat: FlatSimple) -> bool:
    """Whether whitespace around the value collapses away and the validator takes it."""
    if flat.variety == "union":
        return all(_paddable(member) for member in flat.members)
    if flat.variety == "list":
        return True
    return collapses(flat) and flat.builtin not in _BARE


# --- drawing ----------------------------------------------------------------

class ValueDrawer:
    """Random lexical values; `unique` appends a running number when the type allows it."""

    def __init__(self, rng: random.Random):
        self.rng = rng
        self.counter = 0

    def draw(self, flat: FlatSimple, unique: bool = True, attribute: bool = False) -> str:
        """A valid value; in an attribute never an empty one (nor one of only whitespace).

        Edge forms are not made unique: the running number would fill an empty text or break an
        exact length. Repeated ones are left to the identity repair, like any repeated value."""
        for _ in range(40):
            value = self._edge(flat, attribute) if self.rng.random() < EDGE_SHARE else None
            if value is None:
                value = self._candidate(flat, attribute)
                if unique and flat.builtin in _TEXTUAL and not flat.enumerations():
                    value = self._made_unique(flat, value)
            if is_valid(flat, value):
                return self._maybe_padded(flat, value)
        raise ValueError("no valid value drawn for %s" % (flat.name or flat.builtin))

    def next_number(self) -> int:
        self.counter += 1
        return self.counter

    def _made_unique(self, flat: FlatSimple, value: str) -> str:
        stripped = value.rstrip()
        candidate = stripped + "_%d" % self.next_number() + value[len(stripped):]
        return candidate if is_valid(flat, candidate) else value

    # --- edge forms -----------------------------------------------------------

    def _edge(self, flat: FlatSimple, attribute: bool) -> Optional[str]:
        """One of the type's edge forms that is valid, or None when it has none."""
        edges = [e for e in self._edges(flat, attribute) if is_valid(flat, e) and (e.strip() or not attribute)]
        return self.rng.choice(edges) if edges else None

    def _edges(self, flat: FlatSimple, attribute: bool) -> list:
        if flat.variety == "union":
            return self._edges(self.rng.choice(flat.members), attribute)
        if flat.variety == "list":
            return self._list_edges(flat, attribute)
        if flat.enumerations():
            return []
        builtin = flat.builtin
        if builtin in _INTEGERS:
            return self._integer_edges(flat)
        if builtin in ("float", "double", "decimal"):
            return self._real_edges(flat)
        if builtin == "boolean":
            return ["true", "false", "1", "0"]
        if builtin == "date":
            return list(_DATE_EDGES)
        if builtin == "dateTime":
            return list(_DATE_TIME_EDGES)
        return self._length_edges(flat, attribute)

    def _list_edges(self, flat: FlatSimple, attribute: bool) -> list:
        """No items (empty or only whitespace), exactly the least and exactly the most items allowed."""
        exact = flat.bound("length")
        low = exact if exact is not None else flat.bound("min_length") or 0
        high = exact if exact is not None else flat.bound("max_length")
        edges = []
        for count in sorted({low, high} - {None}):
            if count == 0:
                edges += ["", self.rng.choice(_WHITESPACE_RUNS)] if not attribute else []
            else:
                separator = " " if attribute else self.rng.choice(_WHITESPACE_RUNS)
                edges.append(separator.join(self._item(flat.item, attribute) for _ in range(count)))
        return edges

    def _item(self, flat: FlatSimple, attribute: bool) -> str:
        """A list item: half of them edge forms of the item type themselves."""
        edge = self._edge(flat, attribute) if self.rng.random() < 0.5 else None
        return edge if edge is not None and edge.strip() else self._candidate(flat, attribute)

    def _length_edges(self, flat: FlatSimple, attribute: bool) -> list:
        """Texts exactly as long as the length facets allow; the empty text where the type has one."""
        if flat.builtin == "ID":
            return []  # IDs must differ within a document, and the identity repair renames none
        lengths = {flat.bound(f) for f in ("length", "min_length", "max_length")} - {None}
        if flat.builtin in _EMPTY_ALLOWED:
            lengths.add(0)
        edges = []
        for length in sorted(lengths):
            if length == 0:
                # Only whitespace is empty too once collapsed, and a text of its own for xs:string.
                edges += ["", self.rng.choice(_WHITESPACE_RUNS)] if not attribute else []
            else:
                edges.append("".join(self.rng.choice("aZé_λx") for _ in range(length)))
        return edges

    def _integer_edges(self, flat: FlatSimple) -> list:
        """The bounds, spelled plainly, with a plus sign and with leading zeros; zero with either sign;
        the checkable limit where the type has no bound."""
        low, high = _integer_range(flat)
        numbers = [0, low if low is not None else -_CHECKABLE_INTEGER,
                   high if high is not None else _CHECKABLE_INTEGER]
        edges = ["-0", "+0"]
        for number in numbers:
            sign = "-" if number < 0 else ""
            edges += [str(number), sign + "0" + str(abs(number))]
            if number >= 0:
                edges.append("+" + str(number))
        return edges

    def _real_edges(self, flat: FlatSimple) -> list:
        edges = ["0", "-0", "0.0", ".5", "5.", "+1"]
        if flat.builtin in _REAL_LIMITS:
            largest, smallest = _REAL_LIMITS[flat.builtin]
            edges += ["INF", "-INF", "NaN", largest, "-" + largest, smallest, "-" + smallest, "1e+3", "-1E-3",
                      "0E0", "-0.0e-0"]
        for facet in ("min_inclusive", "max_inclusive"):
            bound = flat.bound(facet)
            if bound is not None:
                number = Decimal(bound)
                # The bound as written and the same number spelled otherwise (100.0, 1E+2).
                edges += [bound, str(number.normalize())]
                if flat.builtin != "decimal":
                    edges.append("%sE0" % bound)
        return edges

    # --- whitespace ---------------------------------------------------------

    def _maybe_padded(self, flat: FlatSimple, value: str) -> str:
        if not _paddable(flat) or self.rng.random() >= PADDING_SHARE:
            return value
        padded = self._padded(value)
        return padded if is_valid(flat, padded) else value

    def _padded(self, value: str) -> str:
        """The value with whitespace before and after it, and a run of whitespace for each space
        inside it (between list items or words of a token). In attributes too: the writer spells
        tabs and line ends there as character references, which attribute normalisation keeps."""
        rng = self.rng
        inner = re.sub(" ", lambda _: rng.choice(_WHITESPACE_RUNS), value)
        before = rng.choice([""] + _WHITESPACE_RUNS)
        after = "" if value.strip() in _SPECIAL_REALS else rng.choice([""] + _WHITESPACE_RUNS)
        if not before and not after:
            before = rng.choice(_WHITESPACE_RUNS)
        return before + inner + after

    # --- typical values -----------------------------------------------------

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
            return self._integer(flat)
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

    def _integer(self, flat: FlatSimple) -> str:
        rng = self.rng
        low, high = _integer_range(flat)
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

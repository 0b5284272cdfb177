"""The binding model: what the C++ emitters consume.

Plain data only. build_model.py fills it from a loaded schema set; the
emitters read it (or its JSON dump) and never look at the schema again.
Field meanings are documented in tools/ipxgen/README.md.
"""

from __future__ import annotations

from dataclasses import asdict, dataclass, field
from typing import Optional

# Namespace ids used in every event table of the generated code.
NS_NONE = 0
NS_VORLIX = 1000
NS_SPIRIT = 1001
NS_XSI = 1002  # only for the schema-location hints of document elements

SPIRIT_URI = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
VORLIX_URI = "http://www.vorlix.com/XMLSchema/ipxact/1.0"

NAMESPACE_IDS = {SPIRIT_URI: NS_SPIRIT, VORLIX_URI: NS_VORLIX, "": NS_NONE}
PREFIXES = {NS_SPIRIT: "spirit", NS_VORLIX: "vorlix", NS_XSI: "xsi", NS_NONE: ""}


def qualified(ns_id: int, local: str) -> str:
    prefix = PREFIXES[ns_id]
    return "%s:%s" % (prefix, local) if prefix else local


@dataclass
class Member:
    stem: str
    kind: str  # attribute | element | simple_content | group | choice | sequence | all | any
    ns_id: int = NS_NONE
    local_name: Optional[str] = None
    qname: Optional[str] = None
    event: Optional[int] = None
    min_occurs: int = 1
    max_occurs: Optional[int] = 1  # None: unbounded
    value_type: Optional[str] = None  # None when the member is a class
    class_name: Optional[str] = None
    default: Optional[str] = None
    fixed: Optional[str] = None
    restriction: Optional[int] = None
    enum_values: list = field(default_factory=list)
    enum_type: Optional[str] = None  # "e_enum_<stem>" when enum_values is set
    enum_identifiers: list = field(default_factory=list)  # C++-safe, parallel to enum_values
    whitespace: str = "preserve"
    particle: str = ""
    first_events: list = field(default_factory=list)
    any_namespace: Optional[str] = None
    configurable: bool = False  # one of the twelve shared configurable-value attributes
    boxed: bool = False  # held in the class's block of rarely set optional attributes


@dataclass
class BoundClass:
    name: str
    kind: str  # global_element | complex_type | local_element | group | compositor
    ns_id: int
    xml_name: Optional[str]
    element_id: str
    content: str  # sequence | choice | all | simple | empty
    members: list = field(default_factory=list)
    base_class: Optional[str] = None
    derived_classes: list = field(default_factory=list)
    type_qname: Optional[str] = None
    type_always_written: bool = False  # writes its xsi:type wherever it stands inside a document
    any_attribute: bool = False
    source: str = ""
    configurable: bool = False  # carries the configurable-value attribute set
    # The class of the named type whose content this class carries as well (the type of a global
    # element, or the base a type extends or restricts); None when there is none.
    content_from: Optional[str] = None
    # A global element of a named complex type: the type's class, which this class derives from. It
    # lists no members of its own: the type's table, fields and accessors serve both, and the class
    # adds only its element name and the entry points of whole documents.
    type_class: Optional[str] = None


@dataclass
class Restriction:
    id: int
    base: str
    patterns: list = field(default_factory=list)
    enumerations: list = field(default_factory=list)
    min_inclusive: Optional[str] = None
    max_inclusive: Optional[str] = None
    min_exclusive: Optional[str] = None
    max_exclusive: Optional[str] = None
    min_length: Optional[int] = None
    max_length: Optional[int] = None
    whitespace: str = "preserve"
    constraint_value: bool = False  # a timing or load constraint's value: its bounds fail with code 37


@dataclass
class Model:
    classes: list = field(default_factory=list)  # sorted by name
    restrictions: list = field(default_factory=list)
    element_events: list = field(default_factory=list)  # (ns_id, local, event)
    attribute_events: list = field(default_factory=list)  # (ns_id, local, event)
    global_elements: list = field(default_factory=list)  # (ns_id, local, class_name)

    def class_named(self, name: str) -> BoundClass:
        for bound in self.classes:
            if bound.name == name:
                return bound
        raise KeyError(name)

    def to_json_data(self) -> dict:
        """Plain dicts and lists, in a fixed order, for a reproducible dump."""
        return {
            "classes": [asdict(c) for c in self.classes],
            "restrictions": [asdict(r) for r in self.restrictions],
            "element_events": [list(row) for row in self.element_events],
            "attribute_events": [list(row) for row in self.attribute_events],
            "global_elements": [list(row) for row in self.global_elements],
        }

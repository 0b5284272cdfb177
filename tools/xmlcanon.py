#!/usr/bin/env python3
"""Canonical form of an XML document, and the kinds of difference between two documents.

    python3 tools/xmlcanon.py FILE                 canonical form on standard output
    python3 tools/xmlcanon.py --compare IN OUT     one line per difference: kind, path, IN value, OUT value
    python3 tools/xmlcanon.py --pairs LIST         the same for each "IN<TAB>OUT" line of LIST,
                                                   every difference line led by IN

The canonical form keeps what a document means and drops how it is spelled:
namespace prefixes become the URIs they stand for (also inside xsi:type
values), namespace declarations go, attributes are sorted by namespace and
name, comments and processing instructions go, and whitespace-only text
between elements is dropped. Text of an element without element children is
kept exactly.

--compare walks both canonical trees side by side. A differing value is
classified: "boolean spelling" (1 and true), "number spelling" (+5 and 5,
1.50 and 1.5, 1E3 and 1000), "whitespace" (equal once runs of whitespace
collapse), or "value" (anything else). Elements and attributes that only one
side has are "element only in input/output" and "attribute only in
input/output"; children present on both sides in another order are "order",
except a vendor element moved to the front of spirit:vendorExtensions, which
is "typed vendor slot written first".

With --schema (an XSD file; repeatable) more kinds are told apart, from what
the schema declares. "Empty element written with its default": no text in, a
default some declaration of that element name gives out. The rest go by what
is declared for an element or attribute of that name inside a parent of that
name (following group and attribute group references and the types a type
extends), or, where no declaration of the parent holds it (the document
element, content a wildcard accepts or an xsi:type adds), by every
declaration of the name:
"xsi:type naming the declared type dropped" and "xsi:type naming the declared
type written" (the attribute on one side only, naming a type the element is
declared with); "whitespace collapsed by the value's type" (the output is the
input with whitespace collapsed, and every declaration either has a type
whose whitespace facet is collapse or holds only elements, so both spell one
value). Where a declaration keeps whitespace (xs:string and its restrictions
without such a facet, mixed content, no declared type) whitespace can be part
of the value and its loss stays "whitespace". Where every declaration is an
xs:float or derived from it, two numbers that round to the same IEEE single
are "number spelling" too: 1.4E-45 and 1e-45 both name the smallest one.
The exit status is 0 when the documents are equal, 1 otherwise.
"""

from __future__ import annotations

import argparse
import difflib
import os
import struct
import sys
import xml.etree.ElementTree as ET
from dataclasses import dataclass, field
from decimal import Decimal, InvalidOperation
from fractions import Fraction
from typing import Optional

XSI_TYPE = "{http://www.w3.org/2001/XMLSchema-instance}type"
VENDOR_EXTENSIONS = "{http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009}vendorExtensions"
VENDOR_NAMESPACE = "{http://www.vorlix.com/XMLSchema/ipxact/1.0}"


@dataclass
class _ValueFacts:
    """What all the declarations behind one key agree on about a value's text."""

    collapses: bool = True  # whitespace in it is never part of the value
    single_precision: bool = True  # it is an xs:float value, one IEEE single
    double_precision: bool = True  # it is an xs:double value, or a list of them


class SchemaFacts:
    """What the declarations of an element or attribute say of its value: defaults and declared types
    of elements, whether whitespace in the text is part of the value, whether the value is an xs:float.

    Each is known per name, over every declaration of that name, and per context, (parent element
    name, name), over the declarations a parent of that name holds through its type, the groups and
    attribute groups it refers to, and the types it extends. One name can be declared keeping
    whitespace in one parent and collapsing it in another; the context tells them apart. The name
    answers where no declaration of the parent holds it: the document element, and content a
    wildcard accepts or an xsi:type adds."""

    def __init__(self, paths: list):
        sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "ipxgen"))
        import xsd_loader
        from value_types import _builtin_whitespace
        self._loader = xsd_loader
        self._builtin_whitespace = _builtin_whitespace
        self.schemas = xsd_loader.SchemaSet()
        for path in paths:
            self.schemas.load(path)
        self.defaults = {}  # "{uri}local" -> {default or fixed text}
        self.types = {}  # "{uri}local" -> {"{uri}type"}
        self.context_types = {}  # ("{uri}parent", "{uri}local") -> {"{uri}type"}, for every child known
        # (attribute?, "{uri}parent" or None for the name alone, "{uri}local") -> _ValueFacts. Elements
        # and attributes apart: one name can be both, with different types.
        self._values = {}
        self._whitespace_of = {}  # id(simple or complex type) -> what _whitespace says of it
        self._primitive_of = {}  # id(simple or complex type) -> what _primitive says of it
        self._content_of = {}  # id(complex type) -> (child element declarations, attribute declarations)
        self._seen = set()
        for decl in self.schemas.elements.values():
            self._element(decl)
        for complex_type in self.schemas.complex_types.values():
            self._complex_type(complex_type)
        for group in self.schemas.groups.values():
            self._particle(group.particle)
        for group in self.schemas.attribute_groups.values():
            self._attribute_uses(group.attributes)
        for decl in self.schemas.attributes.values():
            self._attribute(decl)

    def collapses(self, name: str, attribute: bool, parent: Optional[str] = None) -> bool:
        """Whether a value of that element or attribute, inside that parent, is one value however its
        whitespace runs."""
        found = self._value(name, attribute, parent)
        return found is not None and found.collapses

    def single_precision(self, name: str, attribute: bool, parent: Optional[str] = None) -> bool:
        """Whether a value of that element or attribute, inside that parent, is an xs:float."""
        found = self._value(name, attribute, parent)
        return found is not None and found.single_precision

    def double_precision(self, name: str, attribute: bool, parent: Optional[str] = None) -> bool:
        """Whether a value of that element or attribute, inside that parent, is xs:double items."""
        found = self._value(name, attribute, parent)
        return found is not None and found.double_precision

    def declared_types(self, name: str, parent: Optional[str] = None) -> set:
        """The named types an element of that name is declared with, inside that parent."""
        if parent is not None and (parent, name) in self.context_types:
            return self.context_types[(parent, name)]
        return self.types.get(name, set())

    def _value(self, name: str, attribute: bool, parent: Optional[str]) -> Optional[_ValueFacts]:
        found = self._values.get((attribute, parent, name)) if parent is not None else None
        return found if found is not None else self._values.get((attribute, None, name))

    def _note(self, decl, attribute: bool, parent: Optional[str]) -> None:
        declared = decl.type if decl.type is not None else decl.inline_type
        if attribute:
            # No declared type is xs:anySimpleType, which keeps whitespace.
            collapse = declared is not None and self._whitespace(declared) == "collapse"
        else:
            # Without a declared type the element is xs:anyType, whose text may be mixed content. A
            # declaration holding only elements takes no side: whitespace inside it is never a value.
            collapse = declared is not None and self._whitespace(declared) in ("collapse", "elements")
        primitive = self._primitive(declared) if declared is not None else None
        facts = self._values.setdefault((attribute, parent, str(decl.name)), _ValueFacts())
        facts.collapses = facts.collapses and collapse
        facts.single_precision = facts.single_precision and primitive == "float"
        facts.double_precision = facts.double_precision and primitive in ("double", "double list")

    def _element(self, decl) -> None:
        if decl.ref is not None or id(decl) in self._seen:
            return
        self._seen.add(id(decl))
        name = str(decl.name)
        for value in (decl.default, decl.fixed):
            if value is not None:
                self.defaults.setdefault(name, set()).add(value)
        if decl.type is not None:
            self.types.setdefault(name, set()).add(str(decl.type))
        self._note(decl, False, None)
        children, attributes = self._content(self._complex_of(decl))
        for child in children:
            self._note(child, False, name)
            types = self.context_types.setdefault((name, str(child.name)), set())
            if child.type is not None:
                types.add(str(child.type))
        for attribute in attributes:
            self._note(attribute, True, name)
        if isinstance(decl.inline_type, self._loader.ComplexType):
            self._complex_type(decl.inline_type)

    def _complex_type(self, complex_type) -> None:
        self._particle(complex_type.particle)
        self._attribute_uses(complex_type.attributes)

    def _attribute_uses(self, uses) -> None:
        for use in uses:
            # A reference has the type of the global declaration it names, which is walked on its own
            # (and may stand in a schema not loaded, as xml:lang's does).
            if isinstance(use, self._loader.AttributeDecl) and use.ref is None:
                self._attribute(use)

    def _attribute(self, decl) -> None:
        if id(decl) in self._seen:
            return
        self._seen.add(id(decl))
        self._note(decl, True, None)

    def _particle(self, particle) -> None:
        if isinstance(particle, self._loader.ElementDecl):
            self._element(particle)
        elif isinstance(particle, self._loader.Compositor):
            for inner in particle.particles:
                self._particle(inner)

    # --- what a parent holds ----------------------------------------------------------

    def _complex_of(self, decl):
        declared = decl.type if decl.type is not None else decl.inline_type
        if isinstance(declared, self._loader.QName):
            declared = self.schemas.type(declared)
        return declared if isinstance(declared, self._loader.ComplexType) else None

    def _content(self, complex_type) -> tuple:
        """The element and attribute declarations an element of that type holds, references resolved."""
        if complex_type is None:
            return [], []
        if id(complex_type) not in self._content_of:
            # A derivation loop, which no valid schema has, ends here with what was found so far.
            self._content_of[id(complex_type)] = ([], [])
            children, attributes = [], []
            self._children(complex_type.particle, children, set())
            self._attribute_decls(complex_type.attributes, attributes, set())
            base = self._base_complex(complex_type)
            if base is not None:
                base_children, base_attributes = self._content(base)
                # A restriction restates the elements it keeps; the attributes it does not name it keeps.
                if complex_type.derivation == "extension":
                    children = base_children + children
                attributes = base_attributes + attributes
            self._content_of[id(complex_type)] = (children, attributes)
        return self._content_of[id(complex_type)]

    def _base_complex(self, complex_type):
        if complex_type.base is None or complex_type.base.ns == self._loader.XS:
            return None
        base = self.schemas.type(complex_type.base)
        return base if isinstance(base, self._loader.ComplexType) else None

    def _children(self, particle, found: list, groups: set) -> None:
        loader = self._loader
        if isinstance(particle, loader.ElementDecl):
            found.append(self.schemas.element(particle.ref) if particle.ref is not None else particle)
        elif isinstance(particle, loader.GroupRef):
            if particle.ref not in groups:
                groups.add(particle.ref)
                self._children(self.schemas.group(particle.ref).particle, found, groups)
        elif isinstance(particle, loader.Compositor):
            for inner in particle.particles:
                self._children(inner, found, groups)

    def _attribute_decls(self, uses, found: list, groups: set) -> None:
        loader = self._loader
        for use in uses:
            if isinstance(use, loader.AttributeDecl):
                if use.use == "prohibited":
                    continue
                if use.ref is None:
                    found.append(use)
                elif use.ref in self.schemas.attributes:
                    found.append(self.schemas.attribute(use.ref))
                else:
                    # Declared in a schema not loaded (xml:lang): nothing is known of its value.
                    found.append(loader.AttributeDecl(use.ref))
            elif isinstance(use, loader.AttributeGroupRef) and use.ref not in groups:
                groups.add(use.ref)
                self._attribute_decls(self.schemas.attribute_group(use.ref).attributes, found, groups)

    # --- what a type says of its text -------------------------------------------------

    def _whitespace(self, declared) -> str:
        """What whitespace means in text of a type (a QName or an inline type): the facet in force,
        "preserve", "replace" or "collapse", for a value; "elements" where only elements are held."""
        loader = self._loader
        if isinstance(declared, loader.QName):
            found = self.schemas.type(declared)
            if isinstance(found, loader.QName):
                # A built-in; xs:anyType, the one that is not simple, may hold text among elements.
                return "preserve" if found.local == "anyType" else self._builtin_whitespace(found.local)
            declared = found
        if id(declared) in self._whitespace_of:
            return self._whitespace_of[id(declared)]
        # A derivation loop, which no valid schema has, ends here, claiming nothing.
        self._whitespace_of[id(declared)] = "preserve"
        if isinstance(declared, loader.SimpleType):
            result = self._simple_whitespace(declared)
        elif declared.mixed:
            result = "preserve"
        elif declared.content == "simple":
            # Simple content rests on its base; a restriction may tighten the facet, never loosen it.
            result = declared.simple_facets.whitespace or self._whitespace(declared.base)
        else:
            result = "elements"
        self._whitespace_of[id(declared)] = result
        return result

    def _simple_whitespace(self, simple_type) -> str:
        if simple_type.variety == "list":
            return "collapse"
        if simple_type.variety == "union":
            # Each member reads the text with its own facet: " a " stays " a " for a string member.
            members = list(simple_type.member_types) + list(simple_type.inline_members)
            facets = {self._whitespace(member) for member in members}
            return "collapse" if facets == {"collapse"} else "preserve"
        base = simple_type.base if simple_type.base is not None else simple_type.inline_base
        return simple_type.facets.whitespace or (self._whitespace(base) if base is not None else "preserve")

    def _primitive(self, declared) -> Optional[str]:
        """The built-in type whose values the text of a type spells (a restriction only narrows them,
        simple content carries them): "float" for xs:float and what is derived from it, "double list"
        for a list of xs:double. None for other lists, a union, element or mixed content."""
        loader = self._loader
        if isinstance(declared, loader.QName):
            found = self.schemas.type(declared)
            if isinstance(found, loader.QName):
                return None if found.local == "anyType" else found.local
            declared = found
        if id(declared) in self._primitive_of:
            return self._primitive_of[id(declared)]
        self._primitive_of[id(declared)] = None
        result = None
        if isinstance(declared, loader.SimpleType):
            base = declared.base if declared.base is not None else declared.inline_base
            if declared.variety == "atomic" and base is not None:
                result = self._primitive(base)
            elif declared.variety == "list":
                item = declared.item_type if declared.item_type is not None else declared.inline_item
                result = "double list" if item is not None and self._primitive(item) == "double" else None
        elif declared.content == "simple" and not declared.mixed and declared.base is not None:
            result = self._primitive(declared.base)
        self._primitive_of[id(declared)] = result
        return result


@dataclass
class Element:
    name: str  # "{uri}local"
    attributes: dict = field(default_factory=dict)
    children: list = field(default_factory=list)  # Element | str (text in mixed content)

    def elements(self) -> list:
        return [c for c in self.children if isinstance(c, Element)]


def parse(path: str) -> Element:
    """The document as Elements, prefixes resolved, comments and insignificant whitespace gone."""
    stack, scopes, pending, root = [], [{}], {}, None
    # Comments and processing instructions are kept in the parsed tree only to show where the
    # whitespace around them stands between markup.
    parser = ET.XMLParser(target=ET.TreeBuilder(insert_comments=True, insert_pis=True))
    for event, item in ET.iterparse(path, events=("start-ns", "start", "end"), parser=parser):
        if event == "start-ns":
            pending[item[0]] = item[1]
        elif event == "start":
            scope = dict(scopes[-1], **pending)
            pending = {}
            scopes.append(scope)
            element = Element(item.tag, {k: _resolved(k, v, scope) for k, v in item.attrib.items()})
            if stack:
                stack[-1].children.append(element)
            else:
                root = element
            stack.append(element)
        else:
            element = stack.pop()
            scopes.pop()
            _take_text(element, item)
    return root


def _resolved(name: str, value: str, scope: dict) -> str:
    if name != XSI_TYPE:
        return value
    prefix, _, local = value.rpartition(":")
    return "{%s}%s" % (scope.get(prefix, ""), local)


def _take_text(element: Element, source: ET.Element) -> None:
    """Interleaves the text pieces with the child elements, then drops the insignificant ones.

    Whitespace is insignificant between markup: around child elements, comments and processing
    instructions. The text of an element with no markup inside is its value and stays."""
    elements = iter(element.children)
    merged = [source.text or ""]
    for child in source:
        if isinstance(child.tag, str):
            merged.append(next(elements))
        merged.append(child.tail or "")
    if len(source) == 0:
        element.children = [merged[0]] if merged[0] else []
        return
    # Text pieces split by a comment belong together.
    joined = []
    for part in merged:
        if isinstance(part, str) and joined and isinstance(joined[-1], str):
            joined[-1] += part
        else:
            joined.append(part)
    mixed = any(isinstance(p, str) and p.strip() for p in joined)
    element.children = [p for p in joined if not isinstance(p, str) or (p and (mixed or p.strip()))]


def canonical_text(element: Element, depth: int = 0) -> str:
    indent = "  " * depth
    lines = ["%s<%s>" % (indent, element.name)]
    for name in sorted(element.attributes):
        lines.append('%s  @%s=%r' % (indent, name, element.attributes[name]))
    for child in element.children:
        if isinstance(child, Element):
            lines.append(canonical_text(child, depth + 1))
        else:
            lines.append("%s  %r" % (indent, child))
    return "\n".join(lines)


# --- comparing --------------------------------------------------------------------

def _number(text: str) -> Optional[Decimal]:
    try:
        value = Decimal(text.strip())
    except InvalidOperation:
        return None
    return value if value.is_finite() else None


def _single(number: Decimal) -> Optional[bytes]:
    """The IEEE single an xs:float text of that number stands for, as its bytes: the nearest one, a
    tie going to the even one, as a reader rounds it. None past the largest finite single."""
    exact = Fraction(number)
    magnitude = abs(exact)
    if magnitude == 0:
        return struct.pack("<f", 0.0)
    # Rounded straight from the exact value: going through a double first rounds twice, which can
    # land on the other side of a midpoint between two singles.
    exponent = magnitude.numerator.bit_length() - magnitude.denominator.bit_length()
    if Fraction(2) ** exponent > magnitude:
        exponent -= 1
    spacing = Fraction(2) ** (max(exponent, -126) - 23)  # below 2**-126 the singles are subnormal
    units = magnitude / spacing
    whole = int(units)
    if units - whole > Fraction(1, 2) or (units - whole == Fraction(1, 2) and whole % 2):
        whole += 1
    rounded = whole * spacing
    if rounded >= Fraction(2) ** 128:
        return None
    return struct.pack("<f", float(rounded) if exact > 0 else -float(rounded))


def _same_doubles(first: str, second: str) -> bool:
    """Both texts are the same xs:double values, item by item (4.9E-324 and 5e-324 are one double)."""
    items_a, items_b = first.split(), second.split()
    if len(items_a) != len(items_b):
        return False
    for a, b in zip(items_a, items_b):
        number_a, number_b = _number(a), _number(b)
        if number_a is None or number_b is None or float(number_a) != float(number_b):
            return False
    return True


def value_kind(first: str, second: str, single_precision: bool = False, double_precision: bool = False) -> str:
    """Why two differing texts differ; single_precision where both are xs:float values,
    double_precision where both are xs:double values or lists of them."""
    booleans = {"true": True, "1": True, "false": False, "0": False}
    a, b = first.strip(), second.strip()
    if a in booleans and b in booleans and booleans[a] == booleans[b] and not (a.isdigit() and b.isdigit()):
        return "boolean spelling"
    if a.upper() in ("INF", "+INF", "-INF") and a.upper().lstrip("+") == b.upper().lstrip("+"):
        return "number spelling"
    number_a, number_b = _number(a), _number(b)
    if number_a is not None and number_b is not None and number_a == number_b:
        return "number spelling"
    # An xs:float holds one single: 1.4E-45 and 1e-45 both name the smallest one, and a writer gives
    # the shortest text that reads back as the single it holds.
    if (single_precision and number_a is not None and number_b is not None
            and _single(number_a) is not None and _single(number_a) == _single(number_b)):
        return "number spelling"
    if double_precision and _same_doubles(a, b):
        return "number spelling"
    if " ".join(first.split()) == " ".join(second.split()):
        return "whitespace"
    return "value"


def _typed_value_kind(first: str, second: str, name: str, attribute: bool, parent: Optional[str],
                      facts: Optional[SchemaFacts]) -> str:
    """value_kind, told more where the schema says what the value of that name in that parent is."""
    single = facts is not None and facts.single_precision(name, attribute, parent)
    double = facts is not None and facts.double_precision(name, attribute, parent)
    kind = value_kind(first, second, single, double)
    # Only the collapsed input itself: an output that kept some of the whitespace, or put in its own,
    # is not what reading the value gave.
    if (kind == "whitespace" and facts is not None and facts.collapses(name, attribute, parent)
            and " ".join(first.split()) == second):
        return "whitespace collapsed by the value's type"
    return kind


@dataclass
class Difference:
    kind: str
    path: str
    first: str = ""
    second: str = ""

    def line(self) -> str:
        return "\t".join([self.kind, self.path, repr(self.first), repr(self.second)])


def compare(first: Element, second: Element, path: str = "", facts: Optional[SchemaFacts] = None,
            parent: Optional[str] = None) -> list:
    """The differences of two elements of one name, inside a parent of that name (None: not known)."""
    path = "%s/%s" % (path, _short(first.name))
    differences = []
    declared = facts.declared_types(first.name, parent) if facts is not None else set()
    for name in sorted(set(first.attributes) | set(second.attributes)):
        where = "%s/@%s" % (path, _short(name))
        if name not in second.attributes:
            redundant = name == XSI_TYPE and first.attributes[name] in declared
            kind = "xsi:type naming the declared type dropped" if redundant else "attribute only in input"
            differences.append(Difference(kind, where, first.attributes[name]))
        elif name not in first.attributes:
            # The element is of its declared type with or without the attribute; the writer names
            # the type of every vendor reference, as documents from other tools do.
            redundant = name == XSI_TYPE and second.attributes[name] in declared
            kind = "xsi:type naming the declared type written" if redundant else "attribute only in output"
            differences.append(Difference(kind, where, "", second.attributes[name]))
        elif first.attributes[name] != second.attributes[name]:
            a, b = first.attributes[name], second.attributes[name]
            differences.append(Difference(_typed_value_kind(a, b, name, True, first.name, facts), where, a, b))
    differences += _compare_texts(first, second, path, facts, parent)
    differences += _compare_children(first, second, path, facts)
    return differences


def _compare_texts(first: Element, second: Element, path: str, facts: Optional[SchemaFacts],
                   parent: Optional[str]) -> list:
    texts_a = [c for c in first.children if isinstance(c, str)]
    texts_b = [c for c in second.children if isinstance(c, str)]
    if texts_a == texts_b:
        return []
    a, b = "".join(texts_a), "".join(texts_b)
    if a == "" and not first.elements() and facts is not None and b in facts.defaults.get(first.name, ()):
        return [Difference("empty element written with its default", path, a, b)]
    if a == b:
        return [Difference("text split", path, a, b)]
    return [Difference(_typed_value_kind(a, b, first.name, False, parent, facts), path, a, b)]


def _slot_moved_first(parent: str, names_a: list, names_b: list) -> bool:
    """The typed vendor slot is written first inside spirit:vendorExtensions, the rest in order."""
    if parent != VENDOR_EXTENSIONS or not names_b or not names_b[0].startswith(VENDOR_NAMESPACE):
        return False
    rest = list(names_a)
    rest.remove(names_b[0])
    return names_b[1:] == rest


def _compare_children(parent_a: Element, parent_b: Element, path: str, facts: Optional[SchemaFacts]) -> list:
    differences = []
    first, second = parent_a.elements(), parent_b.elements()
    names_a, names_b = [c.name for c in first], [c.name for c in second]
    if sorted(names_a) == sorted(names_b) and names_a != names_b:
        kind = "typed vendor slot written first" if _slot_moved_first(parent_a.name, names_a, names_b) else "order"
        differences.append(Difference(kind, path, " ".join(map(_short, names_a)), " ".join(map(_short, names_b))))
        first = sorted(first, key=lambda e: e.name)
        second = sorted(second, key=lambda e: e.name)
        names_a, names_b = [c.name for c in first], [c.name for c in second]
    matcher = difflib.SequenceMatcher(a=names_a, b=names_b, autojunk=False)
    for tag, a_start, a_end, b_start, b_end in matcher.get_opcodes():
        if tag == "equal":
            for a, b in zip(first[a_start:a_end], second[b_start:b_end]):
                differences += compare(a, b, path, facts, parent_a.name)
            continue
        for a in first[a_start:a_end]:
            differences.append(Difference("element only in input", "%s/%s" % (path, _short(a.name))))
        for b in second[b_start:b_end]:
            differences.append(Difference("element only in output", "%s/%s" % (path, _short(b.name))))
    return differences


_PATH_PREFIXES = {"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009": "spirit",
                  "http://www.vorlix.com/XMLSchema/ipxact/1.0": "vorlix",
                  "http://www.w3.org/2001/XMLSchema-instance": "xsi"}


def _short(name: str) -> str:
    """A readable path step; the prefix is only a reminder of the namespace URI."""
    if not name.startswith("{"):
        return name
    uri, _, local = name[1:].partition("}")
    return "%s:%s" % (_PATH_PREFIXES.get(uri, uri), local)


def compare_pairs(list_path: str, facts: Optional[SchemaFacts]) -> int:
    """One process for many comparisons: starting Python per document would cost more than comparing."""
    differing = False
    with open(list_path, encoding="utf-8") as pairs:
        for line in pairs:
            first, _, second = line.rstrip("\n").partition("\t")
            if not second:
                continue
            for difference in compare(parse(first), parse(second), facts=facts):
                differing = True
                print("%s\t%s" % (first, difference.line()))
    return 1 if differing else 0


def main(argv: list) -> int:
    parser = argparse.ArgumentParser(description="Canonicalise XML documents and compare them.")
    parser.add_argument("--compare", action="store_true", help="compare two documents")
    parser.add_argument("--pairs", metavar="LIST", help="compare the documents of each line of LIST")
    parser.add_argument("--schema", action="append", default=[],
                        help="XSD whose element defaults and types classify differences (repeatable)")
    parser.add_argument("files", nargs="*")
    arguments = parser.parse_args(argv)
    facts = SchemaFacts(arguments.schema) if arguments.schema else None
    if arguments.pairs:
        return compare_pairs(arguments.pairs, facts)
    if not arguments.compare:
        for path in arguments.files:
            print(canonical_text(parse(path)))
        return 0
    if len(arguments.files) != 2:
        parser.error("--compare takes two files")
    differences = compare(parse(arguments.files[0]), parse(arguments.files[1]), facts=facts)
    for difference in differences:
        print(difference.line())
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

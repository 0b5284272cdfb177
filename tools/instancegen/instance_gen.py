#!/usr/bin/env python3
"""Random, schema-valid test documents for any global element of the bound schemas.

    python3 tools/instancegen/instance_gen.py --element spirit:component --seed 7 -o out.xml
    python3 tools/instancegen/instance_gen.py --all --count 50 --out-dir DIR [--first-seed 1]
    python3 tools/instancegen/instance_gen.py --all --count 50 --coverage

The documents are drawn from the same loaded schema set as the binding
(xsd_loader through ipxgen.load), walking content models directly: optional
members present or not, repeated members one to three times, one alternative
of each choice, "all" content in any order, attributes with and without their
defaults, values that match the schema's patterns and facets, xsi:type on
elements whose type has derived types, and vendor content inside
spirit:vendorExtensions (vendor-schema elements, the typed slot of the owner,
foreign elements in other namespaces). A document depends only on the root
element and the seed. --all also writes manifest.tsv: file, root element,
schema to validate against (ieee or vendor), seed, binding class.
"""

from __future__ import annotations

import argparse
import os
import random
import sys
from dataclasses import dataclass, field
from typing import Optional

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, HERE)
# The schema loader, the namespace names, the class places and the pinned global elements are the
# binding generator's; one copy of each, read from there.
sys.path.insert(1, os.path.join(os.path.dirname(HERE), "ipxgen"))

import ipxgen  # noqa: E402
from vendor_slots import TYPED_SLOTS  # noqa: E402  (owning class -> vendor element read into a typed member)
import overrides  # noqa: E402
import pinned_events  # noqa: E402
from class_places import ClassPlaces, ModelError  # noqa: E402
from instance_identity import IdentityRepair, Unsatisfiable  # noqa: E402
from instance_tree import Comment, DocumentWriter, Layout, Node, Slot  # noqa: E402
from instance_values import FlatSimple, ValueDrawer, collapses, flatten  # noqa: E402
from model import NS_SPIRIT, NS_VORLIX, SPIRIT_URI, VORLIX_URI  # noqa: E402
from xsd_loader import (AnyParticle, AttributeDecl, AttributeGroupRef, ComplexType,  # noqa: E402
                        Compositor, ElementDecl, GroupRef, QName, SchemaSet)

ACME_URI = "urn:example:acme"
TOOLS_URI = "urn:example:tools"
XSI_URI = "http://www.w3.org/2001/XMLSchema-instance"
NAMESPACE_URIS = {NS_SPIRIT: SPIRIT_URI, NS_VORLIX: VORLIX_URI}

# Simple standard elements that may also stand in open content (the wildcard is ##any).
OPEN_CONTENT_STANDARD = ["description", "displayName", "group"]

ELEMENT_BUDGET = 140  # past this many elements a document only gets required content
RECURSION_LIMIT = 2  # an element nested in itself this often gets only required content
DEPTH_LIMIT = 14
INFINITE = 10 ** 9


@dataclass
class AttributeUse:
    name: QName
    flat: FlatSimple
    required: bool
    default: Optional[str]
    fixed: Optional[str]


@dataclass
class Content:
    particles: list
    attributes: list
    wildcard: object = None
    simple: Optional[FlatSimple] = None


@dataclass
class Context:
    depth: int = 0
    minimal: bool = False
    ancestors: tuple = ()  # ((ElementDecl, type), ...) from the root down
    inside_vendor_content: bool = False

    def enter(self, decl: ElementDecl, element_type, minimal: bool) -> "Context":
        return Context(self.depth + 1, self.minimal or minimal, self.ancestors + ((decl, element_type),),
                       self.inside_vendor_content)


@dataclass
class Coverage:
    """What a run of documents reached: choice alternatives and enumeration values."""

    choices: dict = field(default_factory=dict)  # label -> (alternatives, set of chosen)
    enumerations: dict = field(default_factory=dict)  # type name -> (values, set of used)

    def choice(self, label: str, alternatives: int, chosen: int) -> None:
        self.choices.setdefault(label, (alternatives, set()))[1].add(chosen)

    def enumeration(self, flat: FlatSimple, value: str) -> None:
        values = flat.enumerations()
        if values:
            if collapses(flat):  # " min " of a token type is the value min
                value = " ".join(value.split())
            self.enumerations.setdefault(flat.name or "anonymous", (values, set()))[1].add(value)

    def report(self) -> str:
        lines = []
        full = sum(1 for n, seen in self.choices.values() if len(seen) == n)
        lines.append("choices: %d reached, %d with every alternative" % (len(self.choices), full))
        for label, (n, seen) in sorted(self.choices.items()):
            if len(seen) < n:
                lines.append("  choice %s: %d of %d alternatives" % (label, len(seen), n))
        full = sum(1 for values, seen in self.enumerations.values() if set(values) <= seen)
        lines.append("enumerations: %d reached, %d with every value" % (len(self.enumerations), full))
        for name, (values, seen) in sorted(self.enumerations.items()):
            missing = [v for v in values if v not in seen]
            if missing:
                lines.append("  enumeration %s: missing %s" % (name, ", ".join(missing)))
        return "\n".join(lines)


class SchemaIndex:
    """What the generator derives once per schema set: contents, costs, type families, classes."""

    def __init__(self, schemas: SchemaSet):
        self.schemas = schemas
        self.places = _class_places(schemas)
        self._contents = {}
        self._costs = {}
        self.derived = self._type_families()
        self.has_vendor_schema = any(q.ns == VORLIX_URI for q in schemas.elements)
        self._key_fields = self._child_key_fields()

    def _child_key_fields(self) -> set:
        """(element, child element) pairs where an xs:key needs the child: an element a key selects must
        have the key's fields, and a missing child cannot be added after drawing."""
        pairs = set()
        for constraints in self.schemas.identity_constraints.values():
            for constraint in constraints:
                if constraint.kind != "key":
                    continue
                fields = [_xpath_name(f, constraint.namespaces) for f in constraint.fields]
                for branch in constraint.selector.split("|"):
                    selected = _xpath_name(branch.strip().split("/")[-1], constraint.namespaces)
                    pairs |= {(selected, f) for f in fields if selected and f}
        return pairs

    def is_key_field(self, element: QName, child: QName) -> bool:
        return (element, child) in self._key_fields

    # --- types --------------------------------------------------------------

    def element_target(self, decl: ElementDecl) -> ElementDecl:
        return self.schemas.element(decl.ref) if decl.ref is not None else decl

    def element_type(self, decl: ElementDecl):
        """A ComplexType, a SimpleType, a built-in QName, or None for xs:anyType."""
        if decl.inline_type is not None:
            return decl.inline_type
        if decl.type is not None:
            return self.schemas.type(decl.type)
        return None

    def complex_base(self, complex_type: ComplexType) -> Optional[ComplexType]:
        if complex_type.base is None:
            return None
        base = self.schemas.type(complex_type.base)
        return base if isinstance(base, ComplexType) else None

    def lineage(self, complex_type) -> list:
        chain = []
        while isinstance(complex_type, ComplexType):
            chain.append(complex_type)
            complex_type = self.complex_base(complex_type)
        return chain

    def _type_families(self) -> dict:
        derived = {}
        for complex_type in self.schemas.complex_types.values():
            for ancestor in self.lineage(complex_type)[1:]:
                derived.setdefault(id(ancestor), []).append(complex_type)
        return derived

    def content(self, complex_type: ComplexType) -> Content:
        key = id(complex_type)
        if key not in self._contents:
            self._contents[key] = self._flatten_content(complex_type)
        return self._contents[key]

    def _flatten_content(self, complex_type: ComplexType) -> Content:
        own_particles = [complex_type.particle] if complex_type.particle is not None else []
        own_attributes, wildcard = self.attribute_uses(complex_type.attributes)
        wildcard = complex_type.any_attribute or wildcard
        if complex_type.base is None:
            return Content(own_particles, own_attributes, wildcard)
        base = self.schemas.type(complex_type.base)
        if not isinstance(base, ComplexType):
            simple = flatten(self.schemas, base)
            if complex_type.derivation == "restriction":
                simple = simple.restricted(complex_type.simple_facets)
            return Content([], own_attributes, wildcard, simple)
        inherited = self.content(base)
        attributes = _merge_attributes(inherited.attributes, own_attributes, complex_type.attributes)
        if complex_type.derivation == "extension":
            return Content(inherited.particles + own_particles, attributes,
                           wildcard or inherited.wildcard, inherited.simple)
        simple = None
        if complex_type.content == "simple" and inherited.simple is not None:
            simple = inherited.simple.restricted(complex_type.simple_facets)
        return Content(own_particles, attributes, wildcard, simple)

    def attribute_uses(self, items: list) -> tuple:
        uses, wildcard = [], None
        for item in items:
            if isinstance(item, AttributeGroupRef):
                group = self.schemas.attribute_group(item.ref)
                nested, nested_wildcard = self.attribute_uses(group.attributes)
                uses += nested
                wildcard = wildcard or group.any_attribute or nested_wildcard
            elif isinstance(item, AttributeDecl) and item.use != "prohibited":
                uses.append(self._attribute_use(item))
        return uses, wildcard

    def _attribute_use(self, decl: AttributeDecl) -> AttributeUse:
        target = self.schemas.attribute(decl.ref) if decl.ref is not None else decl
        flat = flatten(self.schemas, target.inline_type or target.type)
        return AttributeUse(target.name, flat, decl.use == "required",
                            decl.default if decl.default is not None else target.default,
                            decl.fixed if decl.fixed is not None else target.fixed)

    # --- minimal sizes, to end recursion ------------------------------------

    def cost(self, particle) -> int:
        """Elements in the smallest instance of a particle; INFINITE when it cannot end."""
        return self._cost(particle, set())[0]

    def _cost(self, particle, open_particles: set) -> tuple:
        """(cost, final): a cost that leaned on a particle still being costed is not final.

        Such a cost is an overestimate (the open particle counted as endless), so
        it is not remembered; costs that did not meet a cycle are."""
        key = id(particle)
        if key in self._costs:
            return self._costs[key], True
        if key in open_particles:
            return INFINITE, False
        open_particles.add(key)
        if particle.min_occurs == 0:
            total, final = 0, True
        elif isinstance(particle, ElementDecl):
            total, final = self._element_cost(particle, open_particles)
        elif isinstance(particle, GroupRef):
            total, final = self._cost(self.schemas.group(particle.ref).particle, open_particles)
        elif isinstance(particle, Compositor):
            total, final = self._compositor_cost(particle, open_particles)
        else:
            total, final = 1, True
        open_particles.discard(key)
        total = min(total * particle.min_occurs, INFINITE)
        if final:
            self._costs[key] = total
        return total, final

    def _compositor_cost(self, compositor: Compositor, open_particles: set) -> tuple:
        costs = [self._cost(p, open_particles) for p in compositor.particles]
        final = all(f for _, f in costs)
        if compositor.kind == "choice":
            return (min(c for c, _ in costs) if costs else 0), final
        return min(sum(c for c, _ in costs), INFINITE), final

    def _element_cost(self, decl: ElementDecl, open_particles: set) -> tuple:
        element_type = self.element_type(self.element_target(decl))
        if not isinstance(element_type, ComplexType):
            return 1, True
        costs = [self._cost(p, open_particles) for p in self.content(element_type).particles]
        return min(1 + sum(c for c, _ in costs), INFINITE), all(f for _, f in costs)

    # --- classes ------------------------------------------------------------

    def class_name(self, component) -> Optional[str]:
        place = self.places.place_of.get(id(component))
        return place.bound.name if place is not None else None

    def typed_slot(self, decl: ElementDecl, element_type) -> Optional[str]:
        for component in [decl] + self.lineage(element_type):
            slot = TYPED_SLOTS.get(self.class_name(component))
            if slot is not None:
                return slot
        return None


def _xpath_name(step: str, namespaces: dict) -> Optional[QName]:
    """The element a one-step XPath names; None for attributes, wildcards and paths."""
    if not step or step[0] in "@.*" or "/" in step:
        return None
    prefix, _, local = step.rpartition(":")
    return QName(namespaces.get(prefix, "") if prefix else "", local)


def _class_places(schemas: SchemaSet) -> ClassPlaces:
    try:
        return ClassPlaces(schemas, overrides.CLASS_NAMES, overrides.SHARED_CLASSES).find()
    except ModelError:
        # A schema set without the places the override tables name (a small test
        # schema) is named by the plain rules.
        return ClassPlaces(schemas, {}, {}).find()


def _merge_attributes(inherited: list, own: list, declared: list) -> list:
    prohibited = {d.name or d.ref for d in declared if isinstance(d, AttributeDecl) and d.use == "prohibited"}
    own_names = {use.name for use in own}
    kept = [use for use in inherited if use.name not in own_names and use.name not in prohibited]
    return kept + own


class DocumentGenerator:
    """Draws one document; every random decision comes from the seeded generator."""

    def __init__(self, index: SchemaIndex, seed_text: str, coverage: Optional[Coverage] = None):
        self.index = index
        self.schemas = index.schemas
        self.rng = random.Random(seed_text)
        self.values = ValueDrawer(self.rng)
        self.coverage = coverage or Coverage()
        self.size = 0

    def document(self, root: QName) -> Node:
        decl = self.schemas.element(root)
        node = self.element(decl, Context(), None)
        IdentityRepair(self.schemas, self.rng, self.values).repair(node)
        return node

    # --- elements -----------------------------------------------------------

    def element(self, particle: ElementDecl, context: Context, slot: Optional[Slot]) -> Node:
        decl = self.index.element_target(particle)
        element_type = self.index.element_type(decl)
        self.size += 1
        nested = sum(1 for ancestor, _ in context.ancestors if ancestor.name == decl.name)
        minimal = (nested >= RECURSION_LIMIT or context.depth >= DEPTH_LIMIT
                   or self.size > ELEMENT_BUDGET)
        node = Node(decl.name, decl=decl, slot=slot)
        if isinstance(element_type, ComplexType) and not context.inside_vendor_content:
            # Open content is validated laxly against the standard's schema alone,
            # where an xsi:type naming a vendor type does not resolve.
            element_type = self._chosen_type(element_type, node)
        if isinstance(element_type, ComplexType):
            inner = context.enter(decl, element_type, minimal)
            content = self.index.content(element_type)
            self._attributes(node, content)
            if content.simple is not None:
                node.text = self._text(content.simple, decl)
                node.text_type = content.simple
            else:
                for compositor in content.particles:
                    for child in self.particle(compositor, inner):
                        node.add(child)
                self._maybe_comment(node)
        elif element_type is not None:
            node.text_type = flatten(self.schemas, element_type)
            node.text = self._text(node.text_type, decl)
        node.as_cdata = node.text is not None and ("<" in node.text or "&" in node.text) \
            and self.rng.random() < 0.3
        return node

    def _chosen_type(self, declared: ComplexType, node: Node) -> ComplexType:
        derived = [t for t in self.index.derived.get(id(declared), []) if t.name is not None]
        if not derived or declared.name is None:
            return declared
        roll = self.rng.random()
        if roll < 0.5:
            chosen = self.rng.choice(derived)
        else:
            chosen = declared
        if chosen is not declared or roll > 0.85:
            node.xsi_type = chosen.name
        self.coverage.choice("xsi:type of %s" % declared.name.local, len(derived) + 1,
                             0 if chosen is declared else 1 + derived.index(chosen))
        return chosen

    def _text(self, flat: FlatSimple, decl: ElementDecl) -> str:
        if decl.fixed is not None:
            return decl.fixed
        if decl.default is not None and self.rng.random() < 0.1:
            return ""
        value = self.values.draw(flat)
        self.coverage.enumeration(flat, value)
        return value

    def _attributes(self, node: Node, content: Content) -> None:
        for use in content.attributes:
            node.attribute_types[use.name] = use.flat
            if use.required:
                node.required_attributes.add(use.name)
            if use.fixed is not None:
                if use.required or self.rng.random() < 0.5:
                    node.attributes[use.name] = use.fixed
                continue
            if not (use.required or self.rng.random() < 0.45):
                continue
            if use.default is not None and self.rng.random() < 0.3:
                node.attributes[use.name] = use.default
            else:
                node.attributes[use.name] = self.values.draw(use.flat, attribute=True)
                self.coverage.enumeration(use.flat, node.attributes[use.name])
        if content.wildcard is not None and self.rng.random() < 0.2:
            node.attributes[QName(ACME_URI, "hint")] = self.values.draw(
                flatten(self.schemas, None), attribute=True)

    def _maybe_comment(self, node: Node) -> None:
        if node.children and self.rng.random() < 0.03:
            node.children.insert(self.rng.randrange(len(node.children) + 1), Comment(" note "))

    # --- content models -----------------------------------------------------

    def _occurs(self, minimum: int, maximum: Optional[int], context: Context) -> int:
        if context.minimal or self.size > ELEMENT_BUDGET:
            return minimum
        top = min(maximum, max(minimum, 3)) if maximum is not None else max(minimum, 3)
        if minimum == 0 and self.rng.random() < self._absence(context.depth):
            return 0
        return self.rng.randint(max(minimum, 1), top)

    @staticmethod
    def _absence(depth: int) -> float:
        if depth <= 2:
            return 0.35
        if depth <= 4:
            return 0.5
        if depth <= 7:
            return 0.65
        return 0.85

    def particle(self, particle, context: Context) -> list:
        if isinstance(particle, ElementDecl):
            minimum = particle.min_occurs
            if minimum == 0 and context.ancestors and self.index.is_key_field(context.ancestors[-1][0].name,
                                                                                 self.index.element_target(particle).name):
                minimum = 1
            slot = Slot(minimum)
            nodes = []
            for _ in range(self._occurs(minimum, particle.max_occurs, context)):
                nodes.append(self.element(particle, context, slot))
                slot.count += 1
            return nodes
        if isinstance(particle, GroupRef):
            group = self.schemas.group(particle.ref)
            count = self._occurs(particle.min_occurs, particle.max_occurs, context)
            return [n for _ in range(count) for n in self._compositor_once(group.particle, context)]
        if isinstance(particle, Compositor):
            count = self._occurs(particle.min_occurs, particle.max_occurs, context)
            return [n for _ in range(count) for n in self._compositor_once(particle, context)]
        return self._open_content(particle, context)

    def _compositor_once(self, compositor: Compositor, context: Context) -> list:
        if compositor.kind == "choice":
            return self.particle(self._alternative(compositor, context), context)
        nodes = [n for p in compositor.particles for n in self.particle(p, context)]
        if compositor.kind == "all":
            self.rng.shuffle(nodes)
        return nodes

    def _alternative(self, compositor: Compositor, context: Context):
        alternatives = compositor.particles
        costs = [self.index.cost(p) for p in alternatives]
        if context.minimal or self.size > ELEMENT_BUDGET:
            chosen = costs.index(min(costs))
        else:
            finite = [i for i, c in enumerate(costs) if c < INFINITE]
            chosen = self.rng.choice(finite)
        self.coverage.choice(self._choice_label(compositor, context), len(alternatives), chosen)
        return alternatives[chosen]

    def _choice_label(self, compositor: Compositor, context: Context) -> str:
        owner = context.ancestors[-1][0].name.local if context.ancestors else "?"
        first = compositor.particles[0]
        first_name = (first.ref or first.name).local if isinstance(first, ElementDecl) else type(first).__name__
        return "%s/(%s|...)" % (owner, first_name)

    # --- open content -------------------------------------------------------

    def _open_content(self, wildcard: AnyParticle, context: Context) -> list:
        count = max(self._occurs(wildcard.min_occurs, wildcard.max_occurs, context), wildcard.min_occurs)
        vendor = self.index.has_vendor_schema and not context.inside_vendor_content
        typed_slot = None
        if vendor and len(context.ancestors) >= 2:
            typed_slot = self.index.typed_slot(*context.ancestors[-2])
        inner = Context(context.depth, context.minimal, context.ancestors, True)
        slot = Slot(wildcard.min_occurs)
        kinds = []
        if typed_slot is not None and self.rng.random() < 0.55:
            kinds.append(("vendor", typed_slot))
            if self.rng.random() < 0.15:
                kinds.append(("vendor", typed_slot))
        while len(kinds) < count:
            roll = self.rng.random()
            if vendor and roll < 0.3:
                kinds.append(("vendor", self.rng.choice(self._vendor_roots())))
            elif roll < 0.4:
                kinds.append(("standard", self.rng.choice(OPEN_CONTENT_STANDARD)))
            else:
                kinds.append(("foreign", None))
        self.rng.shuffle(kinds)
        nodes = [self._open_item(kind, local, inner, slot) for kind, local in kinds]
        slot.count = len(nodes)
        return nodes

    def _vendor_roots(self) -> list:
        return [local for ns_id, local, _ in pinned_events.GLOBAL_ELEMENTS if ns_id == NS_VORLIX]

    def _open_item(self, kind: str, local: Optional[str], context: Context, slot: Slot) -> Node:
        if kind == "foreign":
            node = self._foreign_element()
            node.slot = slot
            return node
        uri = VORLIX_URI if kind == "vendor" else SPIRIT_URI
        node = self.element(self.schemas.element(QName(uri, local)), context, slot)
        node.declares_own_namespaces = self.rng.random() < 0.3
        return node

    def _foreign_element(self) -> Node:
        roll, rng = self.rng.random(), self.rng
        words = lambda: self.values.draw(flatten(self.schemas, None), unique=False)
        if roll < 0.3:
            node = Node(QName(ACME_URI, "note"), attributes={QName(ACME_URI, "level"): str(rng.randint(0, 9))})
            node.text = words()
        elif roll < 0.55:
            node = Node(QName(ACME_URI, "block"), attributes={QName("", "id"): "b%d" % rng.randint(1, 99)})
            for index in range(rng.randint(1, 3)):
                item = Node(QName(ACME_URI, "item"), attributes={QName("", "key"): "k%d" % index})
                item.text = words()
                node.add(item)
        elif roll < 0.75:
            node = Node(QName(TOOLS_URI, "tool"), attributes={QName("", "version"): "2"},
                        default_namespace=True)
            setting = Node(QName(TOOLS_URI, "setting"), attributes={QName("", "name"): "opt"})
            setting.text = words()
            node.add(setting)
        elif roll < 0.88:
            node = Node(QName(ACME_URI, "doc"), mixed=True)
            node.add("lead ")
            bold = Node(QName(ACME_URI, "b"))
            bold.text = words()
            node.add(bold)
            node.add(" tail")
        else:
            node = Node(QName(ACME_URI, "flag"))
        node.declares_own_namespaces = self.rng.random() < 0.3
        return node


# --- documents and the command line ---------------------------------------------

def layout_for(seed_text: str, uses_vendor_prefix_default: bool = True) -> Layout:
    rng = random.Random("layout/" + seed_text)
    prefixes = {SPIRIT_URI: "spirit", VORLIX_URI: "vorlix", ACME_URI: "acme", TOOLS_URI: "tools",
                XSI_URI: "xsi"}
    if rng.random() < 0.25:
        prefixes[SPIRIT_URI] = rng.choice(["ipxact", "s", "spirit2009"])
    if rng.random() < 0.25:
        prefixes[VORLIX_URI] = rng.choice(["vx", "v"])
    return Layout(prefixes=prefixes, indent=rng.choice(["  ", "    ", "\t", None]),
                  declaration=rng.random() < 0.9, shuffle_attributes=rng.random() < 0.3,
                  comments=rng.random() < 0.2, character_references=rng.random() < 0.1)


def generate(index: SchemaIndex, root: QName, seed: int, coverage: Optional[Coverage] = None) -> str:
    """The document text for a root element and a seed."""
    base = "%s#%d" % (root, seed)
    for attempt in range(20):
        seed_text = base if attempt == 0 else "%s/retry%d" % (base, attempt)
        try:
            node = DocumentGenerator(index, seed_text, coverage).document(root)
        except Unsatisfiable:
            continue
        return DocumentWriter(layout_for(base), random.Random("writer/" + base)).write(node)
    raise RuntimeError("no valid document for %s with seed %d" % (root, seed))


def parse_root(text: str) -> QName:
    prefix, _, local = text.rpartition(":")
    uris = {"spirit": SPIRIT_URI, "vorlix": VORLIX_URI}
    if text.startswith("{"):
        uri, _, local = text[1:].partition("}")
        return QName(uri, local)
    if prefix not in uris:
        raise ValueError("unknown prefix in %r (use spirit: or vorlix:)" % text)
    return QName(uris[prefix], local)


def global_elements(index: SchemaIndex) -> list:
    """Every global element, in the root dispatcher's order."""
    roots = [QName(NAMESPACE_URIS[ns_id], local) for ns_id, local, _ in pinned_events.GLOBAL_ELEMENTS]
    return [r for r in roots if r in index.schemas.elements]


def prefixed(root: QName) -> str:
    return "%s:%s" % ("vorlix" if root.ns == VORLIX_URI else "spirit", root.local)


def write_all(index: SchemaIndex, roots: list, count: int, first_seed: int, out_dir: str,
              coverage: Coverage) -> None:
    os.makedirs(out_dir, exist_ok=True)
    rows = []
    for root in roots:
        for seed in range(first_seed, first_seed + count):
            name = "%s_%s_%d.xml" % (prefixed(root).replace(":", "_"), "s", seed)
            with open(os.path.join(out_dir, name), "w", encoding="utf-8") as out:
                out.write(generate(index, root, seed, coverage))
            schema = "vendor" if root.ns == VORLIX_URI else "ieee"
            rows.append("\t".join([name, prefixed(root), schema, str(seed),
                                   index.class_name(index.schemas.element(root)) or ""]))
    with open(os.path.join(out_dir, "manifest.tsv"), "w", encoding="utf-8") as out:
        out.write("file\troot\tschema\tseed\tclass\n")
        out.write("".join(row + "\n" for row in rows))


def parse_arguments(argv: list) -> argparse.Namespace:
    parser = argparse.ArgumentParser(description="Write random schema-valid test documents.")
    which = parser.add_mutually_exclusive_group(required=True)
    which.add_argument("--element", action="append", help="root element, e.g. spirit:component (repeatable)")
    which.add_argument("--all", action="store_true", help="every global element of both schemas")
    parser.add_argument("--seed", type=int, default=1, help="seed of a single document")
    parser.add_argument("-o", "--output", help="file for a single document (default: standard output)")
    parser.add_argument("--count", type=int, help="documents per element, written to --out-dir")
    parser.add_argument("--first-seed", type=int, default=1, help="seed of the first of --count documents")
    parser.add_argument("--out-dir", help="directory for --count documents and manifest.tsv")
    parser.add_argument("--coverage", action="store_true",
                        help="print which choice alternatives and enumeration values were not drawn")
    parser.add_argument("--ieee", default=ipxgen.DEFAULT_IEEE_DIR)
    parser.add_argument("--vendor", default=ipxgen.DEFAULT_VENDOR_DIR)
    arguments = parser.parse_args(argv)
    if arguments.all and arguments.count is None:
        parser.error("--all needs --count")
    if arguments.count is not None and arguments.out_dir is None and not arguments.coverage:
        parser.error("--count needs --out-dir (or --coverage)")
    return arguments


def main(argv: list) -> int:
    arguments = parse_arguments(argv)
    index = SchemaIndex(ipxgen.load(arguments.ieee, arguments.vendor))
    roots = global_elements(index) if arguments.all else [parse_root(e) for e in arguments.element]
    coverage = Coverage()
    if arguments.count is None:
        text = generate(index, roots[0], arguments.seed, coverage)
        if arguments.output:
            with open(arguments.output, "w", encoding="utf-8") as out:
                out.write(text)
        else:
            sys.stdout.write(text)
    elif arguments.out_dir:
        write_all(index, roots, arguments.count, arguments.first_seed, arguments.out_dir, coverage)
    else:
        for root in roots:
            for seed in range(arguments.first_seed, arguments.first_seed + arguments.count):
                generate(index, root, seed, coverage)
    if arguments.coverage:
        print(coverage.report(), file=sys.stderr)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))

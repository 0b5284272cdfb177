"""Derives the bound classes (model.py) from a loaded schema set (xsd_loader.py).

Two passes over the schema:

1. Naming. The schema is walked in loader order; every place that becomes a
   class gets its name then (naming.py, overrides.py). A class is made for:
   each global element; each named complex type; each named model group;
   each local element whose anonymous type has content or attributes; each
   compositor nested inside a content model (a choice, or a sequence within
   a sequence); and, as an "Inner" class, a whole content model that is
   optional or repeated as a whole.

2. Members. Each class gets its attribute members (attribute groups
   expanded, schema order) and then its content members (schema order).
   After that come the binding's own rules: the configurable-value
   attribute set, restriction ids, event numbers and first-event sets.

Content of derived types: a type that derives from a named type by its own
name is part of an xsi:type family and its class lists only what it adds
(an extension) or its whole restricted content (a restriction); the emitted
class inherits the rest from base_class. Every other class lists its full
content, base content included.
"""

from __future__ import annotations

from typing import Optional

import numbering
import overrides
import pinned_events
from model import (BoundClass, Member, Model, NAMESPACE_IDS, NS_SPIRIT, SPIRIT_URI,
                   qualified)
from naming import (ClassNames, attribute_stem, class_stem, element_stem, enum_identifiers,
                    enum_type_name, unique_stems)
from restrictions import RestrictionTable
from value_types import SimpleValue, ValueTypes, narrowed
from xsd_loader import (AnyParticle, AttributeGroupRef, ComplexType, Compositor,
                        ElementDecl, GroupRef, ModelGroup, QName, SchemaSet)

# The configurable-value attribute set: every element that carries one of these
# attributes carries all twelve, in this order. Value kinds that differ from the
# schema's attribute types are given here; None keeps the schema's kind.
CONFIGURABLE_ATTRIBUTES = [
    ("format", None), ("resolve", None), ("id", "string"), ("dependency", "string"),
    ("choiceRef", "string"), ("order", "string"), ("configGroups", "string_list"),
    ("bitStringLength", "big_int"), ("minimum", "string"), ("maximum", "string"),
    ("rangeType", None), ("prompt", "string"),
]
_CONFIGURABLE_NAMES = {QName(SPIRIT_URI, name) for name, _ in CONFIGURABLE_ATTRIBUTES}


class ModelError(Exception):
    pass


class _Place:
    """A class to be: the schema component it binds and where that component is."""

    def __init__(self, bound: BoundClass, binds, path: str, file_name: str):
        self.bound = bound
        self.binds = binds  # ElementDecl | ComplexType | ModelGroup | Compositor
        self.path = path
        self.file_name = file_name


class _Attribute:
    """One attribute use after references are resolved.

    default is the value the schema gives the attribute; use_default the part
    of it written on the use itself (a reference may override the default of
    the declaration it refers to).
    """

    def __init__(self, name: QName, simple_type, use: str, default: Optional[str],
                 fixed: Optional[str], use_default: Optional[str] = None):
        self.name, self.simple_type = name, simple_type
        self.use, self.default, self.fixed = use, default, fixed
        self.use_default = use_default


def _occurs_text(min_occurs: int, max_occurs: Optional[int]) -> str:
    return "%d..%s" % (min_occurs, "unbounded" if max_occurs is None else max_occurs)


def _is_whole(compositor: Compositor) -> bool:
    return compositor.min_occurs == 1 and compositor.max_occurs == 1


def _shape(value):
    """A comparable form of a schema component that ignores where it was declared."""
    if isinstance(value, list):
        return tuple(_shape(item) for item in value)
    if hasattr(value, "__dataclass_fields__"):
        return (type(value).__name__,) + tuple(
            (name, _shape(getattr(value, name))) for name in value.__dataclass_fields__
            if name != "source")
    return value


class ModelBuilder:
    def __init__(self, schemas: SchemaSet, class_names: dict, shared_classes: dict):
        self.schemas = schemas
        self.values = ValueTypes(schemas)
        self.class_names = class_names
        self.shared_classes = shared_classes
        self.names = ClassNames(reserved=[name for name, _ in class_names.values()])
        self.places = []
        self.place_of = {}  # id(schema component) -> _Place
        self.by_name = {}  # class name -> _Place
        self._flattened = {}  # id(ComplexType) -> Compositor of its full content
        self._overrides_used = set()
        self._valued = []  # (Member, SimpleValue) awaiting restriction ids

    # ------------------------------------------------------------------ pass 1

    def build(self) -> Model:
        for schema_file in self.schemas.files:
            for component in schema_file.components:
                self._name_top_level(component, schema_file.file_name)
        self._check_overrides_used()
        for place in self.places:
            self._fill(place)
        self._link_families()
        restrictions = self._number_restrictions()
        element_events, attribute_events = self._number_events()
        self._fill_first_events()
        classes = sorted((p.bound for p in self.places), key=lambda b: b.name)
        return Model(classes=classes, restrictions=restrictions,
                     element_events=element_events, attribute_events=attribute_events,
                     global_elements=self._global_elements())

    def _ns_id(self, namespace: str) -> int:
        if namespace not in NAMESPACE_IDS:
            raise ModelError("namespace %s has no namespace id" % namespace)
        return NAMESPACE_IDS[namespace]

    def _name_top_level(self, component, file_name: str) -> None:
        if isinstance(component, ElementDecl):
            self._name_global_element(component, file_name)
        elif isinstance(component, ComplexType):
            self._name_named_type(component)
        elif isinstance(component, ModelGroup):
            place = self._new_top_place(component, "group", file_name, xml_name=None, element_id="")
            self._walk_whole_content(component.particle, place)

    def _new_top_place(self, component, kind: str, file_name: str, xml_name: Optional[str],
                       element_id: str) -> _Place:
        ns_id = self._ns_id(component.name.ns)
        path = qualified(ns_id, component.name.local)
        name = self._override_name(path) or self.names.for_global(component.name.local)
        bound = BoundClass(name=name, kind=kind, ns_id=ns_id, xml_name=xml_name,
                           element_id=element_id, content="empty",
                           source="%s: %s" % (file_name, path))
        return self._register(bound, component, path, file_name)

    def _register(self, bound: BoundClass, component, path: str, file_name: str) -> _Place:
        place = _Place(bound, component, path, file_name)
        self.places.append(place)
        self.place_of[id(component)] = place
        self.by_name[bound.name] = place
        return place

    def _override_name(self, path: str) -> Optional[str]:
        if path not in self.class_names:
            return None
        self._overrides_used.add(path)
        return self.names.claim_exact(self.class_names[path][0])

    def _name_global_element(self, decl: ElementDecl, file_name: str) -> None:
        element_id = qualified(self._ns_id(decl.name.ns), decl.name.local)
        place = self._new_top_place(decl, "global_element", file_name, decl.name.local, element_id)
        if isinstance(decl.inline_type, ComplexType):
            self._walk_type(decl.inline_type, place)

    def _name_named_type(self, complex_type: ComplexType) -> None:
        if id(complex_type) in self.place_of:
            return
        base = self._complex_base(complex_type)
        if base is not None and base.name is not None:
            # A base type is named before the types derived from it, so that the
            # classes nested in the base are named after the base.
            self._name_named_type(base)
        element_id = qualified(self._ns_id(complex_type.name.ns), complex_type.name.local)
        place = self._new_top_place(complex_type, "complex_type", complex_type.source,
                                    complex_type.name.local, element_id)
        self._walk_type(complex_type, place)

    def _complex_base(self, complex_type: ComplexType) -> Optional[ComplexType]:
        if complex_type.base is None:
            return None
        base = self.schemas.type(complex_type.base)
        return base if isinstance(base, ComplexType) else None

    def _in_family(self, complex_type: ComplexType) -> bool:
        base = self._complex_base(complex_type)
        return complex_type.name is not None and base is not None and base.name is not None

    def _walk_type(self, complex_type: ComplexType, owner: _Place) -> None:
        base = self._complex_base(complex_type)
        if base is not None and base.name is not None:
            self._name_named_type(base)
        if self._in_family(complex_type):
            self._walk_whole_content(complex_type.particle, owner)
        # The full content is walked too: element classes of this type list it,
        # and where base and own content cannot simply be concatenated the
        # wrapping compositor needs a class of its own.
        self._walk_whole_content(self._flattened_particle(complex_type), owner)

    def _flattened_particle(self, complex_type: ComplexType) -> Optional[Compositor]:
        key = id(complex_type)
        if key not in self._flattened:
            own = complex_type.particle
            base = self._complex_base(complex_type)
            if base is not None and complex_type.derivation == "extension":
                own = self._concatenate(self._flattened_particle(base), own)
            self._flattened[key] = own
        return self._flattened[key]

    @staticmethod
    def _concatenate(first: Optional[Compositor], second: Optional[Compositor]):
        if first is None or second is None:
            return first or second
        if first.kind == second.kind == "sequence" and _is_whole(first) and _is_whole(second):
            return Compositor("sequence", first.particles + second.particles)
        return Compositor("sequence", [first, second])

    def _walk_whole_content(self, compositor: Optional[Compositor], owner: _Place) -> None:
        if compositor is None:
            return
        if _is_whole(compositor):
            self._walk_children(compositor, owner)
            return
        if id(compositor) in self.place_of:
            return
        path = "%s/%s" % (owner.path, compositor.kind)
        name = self._override_name(path) or self.names.for_whole_content(owner.bound.name)
        inner = self._new_compositor_place(compositor, name, path, owner)
        self._walk_children(compositor, inner)

    def _new_compositor_place(self, compositor: Compositor, name: str, path: str,
                              owner: _Place) -> _Place:
        bound = BoundClass(name=name, kind="compositor", ns_id=owner.bound.ns_id, xml_name=None,
                           element_id="", content=compositor.kind,
                           source="%s: %s" % (owner.file_name, path))
        return self._register(bound, compositor, path, owner.file_name)

    def _walk_children(self, compositor: Compositor, owner: _Place) -> None:
        for particle, step in zip(compositor.particles, self._path_steps(compositor.particles)):
            if id(particle) in self.place_of:
                continue
            path = "%s/%s" % (owner.path, step)
            if isinstance(particle, Compositor):
                name = self._override_name(path) or self.names.for_compositor(
                    self._first_name(particle), owner.bound.name)
                nested = self._new_compositor_place(particle, name, path, owner)
                self._walk_children(particle, nested)
            elif isinstance(particle, ElementDecl) and self._has_class_of_own(particle):
                self._name_local_element(particle, path, owner)

    def _path_steps(self, particles: list) -> list:
        kinds = [p.kind for p in particles if isinstance(p, Compositor)]
        steps, seen = [], {}
        for particle in particles:
            if isinstance(particle, Compositor):
                seen[particle.kind] = seen.get(particle.kind, 0) + 1
                several = kinds.count(particle.kind) > 1
                steps.append("%s[%d]" % (particle.kind, seen[particle.kind]) if several else particle.kind)
            elif isinstance(particle, ElementDecl):
                name = particle.ref or particle.name
                steps.append(qualified(self._ns_id(name.ns), name.local))
            elif isinstance(particle, GroupRef):
                steps.append("group(%s)" % qualified(self._ns_id(particle.ref.ns), particle.ref.local))
            else:
                steps.append("any")
        return steps

    def _first_name(self, particle) -> str:
        if isinstance(particle, Compositor):
            return self._first_name(particle.particles[0]) if particle.particles else "Empty"
        if isinstance(particle, ElementDecl):
            return (particle.ref or particle.name).local
        if isinstance(particle, GroupRef):
            return particle.ref.local
        return "Any"

    @staticmethod
    def _has_class_of_own(decl: ElementDecl) -> bool:
        # An anonymous type with neither content nor attributes binds to an
        # empty-element member: there is nothing a class could hold.
        complex_type = decl.inline_type
        if decl.ref is not None or not isinstance(complex_type, ComplexType):
            return False
        return not (complex_type.content == "empty" and not complex_type.attributes
                    and complex_type.any_attribute is None and complex_type.base is None)

    def _name_local_element(self, decl: ElementDecl, path: str, owner: _Place) -> None:
        if path in self.shared_classes:
            self._share_class(decl, path)
            return
        name = self._override_name(path) or self.names.for_local_element(decl.name.local,
                                                                          owner.bound.name)
        ns_id = self._ns_id(decl.name.ns)
        bound = BoundClass(name=name, kind="local_element", ns_id=ns_id, xml_name=decl.name.local,
                           element_id=qualified(ns_id, decl.name.local), content="empty",
                           source="%s: %s" % (owner.file_name, path))
        place = self._register(bound, decl, path, owner.file_name)
        self._walk_type(decl.inline_type, place)

    def _share_class(self, decl: ElementDecl, path: str) -> None:
        self._overrides_used.add(path)
        shared_name = self.shared_classes[path][0]
        shared = self.by_name.get(shared_name)
        if shared is None or not isinstance(shared.binds, ElementDecl):
            raise ModelError("%s is to share %s, which is not an element class named before it"
                             % (path, shared_name))
        if (_shape(shared.binds.inline_type) != _shape(decl.inline_type)
                or shared.binds.name != decl.name):
            raise ModelError("%s is to share %s, but their content differs" % (path, shared_name))
        self.place_of[id(decl)] = shared

    def _check_overrides_used(self) -> None:
        stale = (set(self.class_names) | set(self.shared_classes)) - self._overrides_used
        # Vendor places are only there when the vendor schema is loaded.
        stale = {path for path in stale if not path.startswith("vorlix:") or self._vendor_loaded()}
        if stale:
            raise ModelError("overrides for places the schema does not have: %s"
                             % ", ".join(sorted(stale)))

    def _vendor_loaded(self) -> bool:
        return any(self._ns_id(f.target_namespace) != NS_SPIRIT for f in self.schemas.files)

    # ------------------------------------------------------------------ pass 2

    def _fill(self, place: _Place) -> None:
        bound, binds = place.bound, place.binds
        if isinstance(binds, (Compositor, ModelGroup)):
            compositor = binds if isinstance(binds, Compositor) else binds.particle
            bound.content = compositor.kind if compositor is not None else "empty"
            bound.members = self._content_members(compositor) if compositor is not None else []
        elif isinstance(binds, ComplexType):
            self._fill_from_type(bound, binds, own_only=self._in_family(binds))
        else:
            self._fill_global_or_local_element(bound, binds)
        self._finish_stems(bound)

    def _fill_global_or_local_element(self, bound: BoundClass, decl: ElementDecl) -> None:
        if isinstance(decl.inline_type, ComplexType):
            self._fill_from_type(bound, decl.inline_type, own_only=False, default=decl.default)
            return
        named = self.schemas.type(decl.type) if decl.type is not None else None
        if isinstance(named, ComplexType):
            self._fill_from_type(bound, named, own_only=False, default=decl.default)
            return
        # A global element of simple type: its class holds the text alone.
        value = self.values.of(decl.inline_type if decl.inline_type is not None else decl.type)
        bound.content = "simple"
        bound.members = [self._simple_content_member(bound.xml_name, value, decl.default,
                                                     decl.fixed)]

    def _fill_from_type(self, bound: BoundClass, complex_type: ComplexType, own_only: bool,
                        default: Optional[str] = None) -> None:
        attributes, any_attribute = self._attributes(complex_type, own_only)
        members = [self._attribute_member(a) for a in attributes]
        if any(a.name in _CONFIGURABLE_NAMES for a in attributes):
            members = self._configurable_set(attributes) + [
                m for m, a in zip(members, attributes) if a.name not in _CONFIGURABLE_NAMES]
            bound.configurable = any_attribute = True
        bound.any_attribute = any_attribute
        if complex_type.content == "simple":
            bound.content = "simple"
            value = self._simple_content_value(complex_type)
            members.append(self._simple_content_member(bound.xml_name, value, default, None))
        else:
            compositor = complex_type.particle if own_only else self._flattened_particle(complex_type)
            members += self._whole_content_members(bound, compositor)
        bound.members = members

    def _whole_content_members(self, bound: BoundClass, compositor: Optional[Compositor]) -> list:
        if compositor is None:
            bound.content = "empty"
            return []
        if _is_whole(compositor):
            bound.content = compositor.kind
            return self._content_members(compositor)
        bound.content = "sequence"
        return [self._compositor_member(compositor)]

    def _simple_content_value(self, complex_type: ComplexType) -> SimpleValue:
        base = self._complex_base(complex_type)
        if base is None:
            return narrowed(self.values.of(complex_type.base), complex_type.simple_facets)
        return narrowed(self._simple_content_value(base), complex_type.simple_facets)

    # --- attributes ---------------------------------------------------------

    def _attributes(self, complex_type: ComplexType, own_only: bool) -> tuple:
        own, any_attribute = self._expand_uses(complex_type.attributes, complex_type.any_attribute)
        base = self._complex_base(complex_type)
        if own_only or base is None:
            return [a for a in own if a.use != "prohibited"], any_attribute
        inherited, base_any = self._attributes(base, own_only=False)
        if complex_type.derivation == "restriction":
            replaced = {a.name: a for a in own}
            merged = [replaced.pop(a.name, a) for a in inherited] + list(replaced.values())
            return [a for a in merged if a.use != "prohibited"], any_attribute
        return inherited + [a for a in own if a.use != "prohibited"], any_attribute or base_any

    def _expand_uses(self, uses: list, wildcard) -> tuple:
        result, any_attribute = [], wildcard is not None
        for use in uses:
            if isinstance(use, AttributeGroupRef):
                group = self.schemas.attribute_group(use.ref)
                expanded, group_any = self._expand_uses(group.attributes, group.any_attribute)
                result += expanded
                any_attribute = any_attribute or group_any
            elif use.ref is not None:
                declared = self.schemas.attribute(use.ref)
                result.append(_Attribute(
                    declared.name, declared.inline_type or declared.type, use.use,
                    use.default if use.default is not None else declared.default,
                    use.fixed if use.fixed is not None else declared.fixed, use.default))
            else:
                result.append(_Attribute(use.name, use.inline_type or use.type, use.use,
                                         use.default, use.fixed, use.default))
        return result, any_attribute

    def _attribute_member(self, attribute: _Attribute, value_type: Optional[str] = None) -> Member:
        value = self.values.of(attribute.simple_type)
        ns_id = self._ns_id(attribute.name.ns)
        member = Member(stem=attribute_stem(attribute.name.local), kind="attribute", ns_id=ns_id,
                        local_name=attribute.name.local,
                        qname=qualified(ns_id, attribute.name.local),
                        min_occurs=1 if attribute.use == "required" else 0,
                        default=attribute.default, fixed=attribute.fixed,
                        particle="@%s, %s" % (qualified(ns_id, attribute.name.local),
                                              "required" if attribute.use == "required" else "optional"))
        self._set_value(member, value, value_type)
        return member

    def _configurable_set(self, attributes: list) -> list:
        """The twelve shared attributes, each typed by its global declaration.

        Only defaults written where the element uses the attribute count (the
        "long" format of a long-valued element); the declarations' own
        defaults are left out, so that an element's set starts with exactly
        the defaults its own attribute group states.
        """
        declared = {a.name: a for a in attributes}
        members = []
        for local, value_type in CONFIGURABLE_ATTRIBUTES:
            name = QName(SPIRIT_URI, local)
            declaration = self.schemas.attribute(name)
            used = declared.get(name)
            attribute = _Attribute(name, declaration.inline_type or declaration.type,
                                   used.use if used else "optional",
                                   used.use_default if used else None, None)
            member = self._attribute_member(attribute, value_type)
            member.configurable = True
            members.append(member)
        return members

    # --- content ------------------------------------------------------------

    def _content_members(self, compositor: Compositor) -> list:
        return [self._particle_member(p) for p in compositor.particles]

    def _particle_member(self, particle) -> Member:
        if isinstance(particle, ElementDecl):
            return self._element_member(particle)
        if isinstance(particle, GroupRef):
            group = self.place_of[id(self.schemas.group(particle.ref))].bound
            ns_id = self._ns_id(particle.ref.ns)
            return Member(stem=class_stem(group.name), kind="group", ns_id=ns_id,
                          qname=qualified(ns_id, particle.ref.local), class_name=group.name,
                          min_occurs=particle.min_occurs, max_occurs=particle.max_occurs,
                          particle="group %s, %s" % (qualified(ns_id, particle.ref.local),
                                                     _occurs_text(particle.min_occurs,
                                                                  particle.max_occurs)))
        if isinstance(particle, AnyParticle):
            return Member(stem="Any", kind="any", min_occurs=particle.min_occurs,
                          max_occurs=particle.max_occurs, any_namespace=particle.namespace,
                          particle="any %s, %s" % (particle.namespace, _occurs_text(
                              particle.min_occurs, particle.max_occurs)))
        return self._compositor_member(particle)

    def _compositor_member(self, compositor: Compositor) -> Member:
        nested = self.place_of[id(compositor)].bound
        return Member(stem=class_stem(nested.name), kind=compositor.kind, class_name=nested.name,
                      min_occurs=compositor.min_occurs, max_occurs=compositor.max_occurs,
                      particle="%s, %s" % (compositor.kind, _occurs_text(compositor.min_occurs,
                                                                        compositor.max_occurs)))

    def _element_member(self, particle: ElementDecl) -> Member:
        declared = particle if particle.ref is None else self.schemas.element(particle.ref)
        ns_id = self._ns_id(declared.name.ns)
        qname = qualified(ns_id, declared.name.local)
        member = Member(stem=element_stem(declared.name.local), kind="element", ns_id=ns_id,
                        local_name=declared.name.local, qname=qname,
                        min_occurs=particle.min_occurs, max_occurs=particle.max_occurs,
                        default=declared.default, fixed=declared.fixed,
                        particle="%s, %s" % (qname, _occurs_text(particle.min_occurs,
                                                                 particle.max_occurs)))
        bound_type = self._element_class(declared)
        if bound_type is not None:
            member.class_name = bound_type
        elif isinstance(declared.inline_type, ComplexType):
            member.value_type = "empty"
        else:
            self._set_value(member, self.values.of(declared.inline_type or declared.type))
        return member

    def _element_class(self, declared: ElementDecl) -> Optional[str]:
        """The class an element's content is read into, or None for a simple or empty element."""
        if isinstance(declared.inline_type, ComplexType):
            place = self.place_of.get(id(declared))
            return place.bound.name if place is not None else None
        if declared.type is not None:
            named = self.schemas.type(declared.type)
            if isinstance(named, ComplexType):
                return self.place_of[id(named)].bound.name
        return None

    def _simple_content_member(self, xml_name: str, value: SimpleValue, default: Optional[str],
                               fixed: Optional[str]) -> Member:
        member = Member(stem=element_stem(xml_name), kind="simple_content", default=default,
                        fixed=fixed, particle="simple content, %s" % value.schema_type)
        self._set_value(member, value)
        return member

    def _set_value(self, member: Member, value: SimpleValue, value_type: Optional[str] = None) -> None:
        member.value_type = value_type or value.value_type
        member.whitespace = value.whitespace
        member.enum_values = list(value.facets.enumerations)
        # A value held as text although its schema type is numeric (the
        # configurable-value attributes) is not checked against numeric bounds.
        if value_type is None or value_type == value.value_type:
            self._valued.append((member, value))

    @staticmethod
    def _finish_stems(bound: BoundClass) -> None:
        for member, stem in zip(bound.members, unique_stems([m.stem for m in bound.members])):
            member.stem = stem
            if member.enum_values:
                member.enum_type = enum_type_name(stem)
                member.enum_identifiers = enum_identifiers(member.enum_values)

    # ------------------------------------------------------------ whole model

    def _link_families(self) -> None:
        for place in self.places:
            binds = place.binds
            if not isinstance(binds, ComplexType) or not self._in_family(binds):
                continue
            base = self.place_of[id(self._complex_base(binds))].bound
            place.bound.base_class = base.name
            base.derived_classes.append(place.bound.name)
            for member_of_family in (place.bound, base):
                member_of_family.type_qname = member_of_family.element_id
        for place in self.places:
            place.bound.derived_classes.sort()

    def _number_restrictions(self) -> list:
        table = RestrictionTable()
        for _, value in self._valued:
            table.note(value)
        restrictions = table.number()
        for member, value in self._valued:
            member.restriction = table.id_of(value)
        return restrictions

    def _all_members(self):
        for place in self.places:
            for member in place.bound.members:
                yield place.bound, member

    def _number_events(self) -> tuple:
        element_names = {(m.ns_id, m.local_name) for _, m in self._all_members() if m.kind == "element"}
        element_names |= {(ns_id, local) for ns_id, local, _ in self._global_element_rows()}
        attribute_names = {(m.ns_id, m.local_name) for _, m in self._all_members()
                           if m.kind == "attribute"}
        element_events, attribute_events = numbering.number_names(element_names, attribute_names)
        for _, member in self._all_members():
            if member.kind == "element":
                member.event = element_events[(member.ns_id, member.local_name)]
            elif member.kind == "attribute":
                member.event = attribute_events[(member.ns_id, member.local_name)]
        as_rows = lambda events: sorted((ns, local, event) for (ns, local), event in events.items())
        return as_rows(element_events), as_rows(attribute_events)

    def _fill_first_events(self) -> None:
        memo = {}
        for _, member in self._all_members():
            if member.kind in ("group", "choice", "sequence", "all"):
                member.first_events = sorted(self._first_of_class(member.class_name, memo)[0])

    def _first_of_class(self, class_name: str, memo: dict) -> tuple:
        """(events that can start the class's content, whether the content can be empty)."""
        if class_name not in memo:
            memo[class_name] = (set(), True)  # guards against recursive groups
            bound = self.by_name[class_name].bound
            content = [m for m in bound.members if m.kind not in ("attribute", "simple_content")]
            firsts = [self._first_of_member(m, memo) for m in content]
            events = set()
            if bound.content in ("choice", "all"):
                for first, _ in firsts:
                    events |= first
                nullable = not firsts or any(n for _, n in firsts) or bound.content == "all"
            else:
                nullable = True
                for first, member_nullable in firsts:
                    events |= first
                    if not member_nullable:
                        nullable = False
                        break
            memo[class_name] = (events, nullable)
        return memo[class_name]

    def _first_of_member(self, member: Member, memo: dict) -> tuple:
        optional = member.min_occurs == 0
        if member.kind == "element":
            return {member.event}, optional
        if member.kind == "any":
            return set(), optional
        events, nullable = self._first_of_class(member.class_name, memo)
        return events, optional or nullable

    def _global_element_rows(self) -> list:
        rows = []
        for place in self.places:
            if place.bound.kind == "global_element":
                decl = place.binds
                named = self.schemas.type(decl.type) if decl.type is not None else None
                # The root dispatcher reads a global element of a named type into
                # the type's class, as every other reference to the element does.
                content = (self.place_of[id(named)].bound.name if isinstance(named, ComplexType)
                           else place.bound.name)
                rows.append((place.bound.ns_id, decl.name.local, content))
        return rows

    def _global_elements(self) -> list:
        rows = {(ns_id, local): (ns_id, local, content)
                for ns_id, local, content in self._global_element_rows()}
        ordered = [rows.pop((ns_id, local)) for ns_id, local, _ in pinned_events.GLOBAL_ELEMENTS
                   if (ns_id, local) in rows]
        return ordered + sorted(rows.values())


def build_model(schemas: SchemaSet, class_names: Optional[dict] = None,
                shared_classes: Optional[dict] = None) -> Model:
    """The model of a schema set; the override tables default to overrides.py."""
    return ModelBuilder(schemas,
                        overrides.CLASS_NAMES if class_names is None else class_names,
                        overrides.SHARED_CLASSES if shared_classes is None else shared_classes).build()

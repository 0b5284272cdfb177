"""The members of each class: attributes, content, simple values.

This is the second pass of build_model.py: for every place found by
class_places.py it lists the attribute members (attribute groups expanded,
schema order) and then the content members (schema order), and applies the
binding's own rules for attributes: the configurable-value attribute set.

Content of derived types: a type in an xsi:type family lists only what it
adds (an extension) or its whole restricted content (a restriction); the
emitted class inherits the rest from its base class. Every other class lists
its full content, base content included.
"""

from __future__ import annotations

from dataclasses import replace

from typing import Optional

from class_places import ClassPlaces, Place, is_whole
from model import NS_VORLIX, SPIRIT_URI, VORLIX_URI, BoundClass, Member, qualified
from naming import (attribute_stem, class_stem, element_stem, enum_identifiers, enum_type_name,
                    unique_stems)
from value_types import SimpleValue, ValueTypes, narrowed
from xsd_loader import (AnyParticle, AttributeGroupRef, ComplexType, Compositor, ElementDecl,
                        GroupRef, ModelGroup, QName)

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


class ClassMembers:
    """Fills the members of the classes of one ClassPlaces."""

    def __init__(self, places: ClassPlaces):
        self.places = places
        self.schemas = places.schemas
        self.values = ValueTypes(places.schemas)
        self.valued = []  # (Member, SimpleValue) of every simple member, for restriction ids

    def fill_all(self) -> None:
        for place in self.places.places:
            if place.bound.type_class is None:  # such a class takes its members from the type's
                self._fill(place)

    def _fill(self, place: Place) -> None:
        bound, binds = place.bound, place.binds
        if isinstance(binds, (Compositor, ModelGroup)):
            compositor = binds if isinstance(binds, Compositor) else binds.particle
            bound.content = compositor.kind if compositor is not None else "empty"
            bound.members = self._content_members(compositor) if compositor is not None else []
        elif isinstance(binds, ComplexType):
            self._fill_from_type(bound, binds, own_only=self.places.in_family(binds))
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
            if bound.ns_id == NS_VORLIX:
                members = [self._vendor_configurable(a) if a.name in _CONFIGURABLE_NAMES else m
                           for m, a in zip(members, attributes)]
            else:
                members = self._configurable_set(attributes) + [
                    m for m, a in zip(members, attributes) if a.name not in _CONFIGURABLE_NAMES]
                bound.configurable = any_attribute = True
        bound.any_attribute = any_attribute
        if complex_type.content == "simple":
            bound.content = "simple"
            value = self._simple_content_value(complex_type)
            members.append(self._simple_content_member(bound.xml_name, value, default, None))
        else:
            compositor = complex_type.particle if own_only else self.places.flattened_particle(complex_type)
            members += self._whole_content_members(bound, compositor)
        bound.members = members

    def _whole_content_members(self, bound: BoundClass, compositor: Optional[Compositor]) -> list:
        if compositor is None:
            bound.content = "empty"
            return []
        if is_whole(compositor):
            bound.content = compositor.kind
            return self._content_members(compositor)
        bound.content = "sequence"
        return [self._compositor_member(compositor)]

    def _simple_content_value(self, complex_type: ComplexType) -> SimpleValue:
        base = self.places.complex_base(complex_type)
        if base is None:
            return narrowed(self.values.of(complex_type.base), complex_type.simple_facets)
        return narrowed(self._simple_content_value(base), complex_type.simple_facets)

    # --- attributes ---------------------------------------------------------

    def _attributes(self, complex_type: ComplexType, own_only: bool) -> tuple:
        own, any_attribute = self._expand_uses(complex_type.attributes, complex_type.any_attribute)
        base = self.places.complex_base(complex_type)
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

    def _attribute_member(self, attribute: _Attribute, value_type: Optional[str] = None,
                          value: Optional[SimpleValue] = None) -> Member:
        value = value or self.values.of(attribute.simple_type)
        ns_id = self.places.ns_id(attribute.name.ns)
        member = Member(stem=attribute_stem(attribute.name.local), kind="attribute", ns_id=ns_id,
                        local_name=attribute.name.local,
                        qname=qualified(ns_id, attribute.name.local),
                        min_occurs=1 if attribute.use == "required" else 0,
                        default=attribute.default, fixed=attribute.fixed,
                        particle="@%s, %s" % (qualified(ns_id, attribute.name.local),
                                              "required" if attribute.use == "required" else "optional"))
        self._set_value(member, value, value_type)
        return member

    def _vendor_configurable(self, attribute: _Attribute) -> Member:
        """A configurable-value attribute that a vendor type uses on its own terms: where its schema puts
        it, with no wildcard beside it and no default of the global declaration; its value kind is the
        one the standard's elements give it, and spirit:resolve lists its values in the vendor order."""
        used = _Attribute(attribute.name, attribute.simple_type, attribute.use, attribute.use_default, None)
        value = self.values.of(attribute.simple_type)
        if attribute.name.local == "resolve":
            vendor_order = self.values.of(QName(VORLIX_URI, "resolveEnum")).facets.enumerations
            value = replace(value, facets=replace(value.facets, enumerations=list(vendor_order)))
        member = self._attribute_member(used, dict(CONFIGURABLE_ATTRIBUTES)[attribute.name.local], value)
        member.configurable = True
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
            group = self.places.place_of[id(self.schemas.group(particle.ref))].bound
            ns_id = self.places.ns_id(particle.ref.ns)
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
        nested = self.places.place_of[id(compositor)].bound
        return Member(stem=class_stem(nested.name), kind=compositor.kind, class_name=nested.name,
                      min_occurs=compositor.min_occurs, max_occurs=compositor.max_occurs,
                      particle="%s, %s" % (compositor.kind, _occurs_text(compositor.min_occurs,
                                                                        compositor.max_occurs)))

    def _element_member(self, particle: ElementDecl) -> Member:
        declared = particle if particle.ref is None else self.schemas.element(particle.ref)
        ns_id = self.places.ns_id(declared.name.ns)
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
            place = self.places.place_of.get(id(declared))
            return place.bound.name if place is not None else None
        if declared.type is not None:
            named = self.schemas.type(declared.type)
            if isinstance(named, ComplexType):
                return self.places.place_of[id(named)].bound.name
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
            self.valued.append((member, value))

    @staticmethod
    def _finish_stems(bound: BoundClass) -> None:
        for member, stem in zip(bound.members, unique_stems([m.stem for m in bound.members])):
            member.stem = stem
            if member.enum_values:
                member.enum_type = enum_type_name(stem)
                member.enum_identifiers = enum_identifiers(member.enum_values)

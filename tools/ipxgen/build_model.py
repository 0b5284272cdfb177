"""Derives the bound classes (model.py) from a loaded schema set (xsd_loader.py).

    class_places.py   pass 1: which places become classes, and their names
    class_members.py  pass 2: the members of each class
    this file         what needs all classes at once: xsi:type families,
                      restriction ids, event numbers, first-event sets and
                      the root dispatcher's list of global elements
"""

from __future__ import annotations

from dataclasses import replace
from typing import Optional

import document_attributes
import numbering
import overrides
import vendor_slots
import pinned_events
import rare_attributes
from class_members import ClassMembers
from class_places import ClassPlaces
from model import Member, Model
from restrictions import RestrictionTable
from xsd_loader import ComplexType, ElementDecl, SchemaSet


# The vendor reference types: documents name them with xsi:type on every reference, also where the
# reference is declared with the type itself, and the binding writes them so.
TYPE_ALWAYS_WRITTEN = ("vorlix:componentRefType", "vorlix:interfaceRefType", "vorlix:libraryRefType",
                       "vorlix:vlnvRegExpType")

# Elements whose values are checked as constraints (code 37), not as plain facets (code 36).
CONSTRAINT_ELEMENTS = ("timingConstraint", "loadConstraint")


class ModelBuilder:
    def __init__(self, schemas: SchemaSet, class_names: dict, shared_classes: dict):
        self.schemas = schemas
        self.found = ClassPlaces(schemas, class_names, shared_classes).find()
        self.places = self.found.places
        self.by_name = self.found.by_name
        self.members = ClassMembers(self.found)

    def build(self) -> Model:
        self._link_element_types()
        self.members.fill_all()
        self._share_type_content()
        self._link_families()
        self._link_content_sources()
        document_attributes.add_schema_location_hints(self._document_classes())
        restrictions = self._number_restrictions()
        element_events, attribute_events = self._number_events()
        self._fill_first_events()
        classes = sorted((p.bound for p in self.places), key=lambda b: b.name)
        return Model(classes=classes, restrictions=restrictions,
                     element_events=element_events, attribute_events=attribute_events,
                     global_elements=self._global_elements())

    def _link_element_types(self) -> None:
        """A global element of a named complex type has the type's content model: its class derives
        from the type's class instead of repeating it, so that the two cannot drift apart."""
        for place in self.places:
            if place.bound.kind != "global_element" or place.binds.inline_type is not None:
                continue
            named = self.schemas.type(place.binds.type) if place.binds.type is not None else None
            if isinstance(named, ComplexType):
                place.bound.type_class = self.found.place_of[id(named)].bound.name

    def _share_type_content(self) -> None:
        for place in self.places:
            if place.bound.type_class:
                place.bound.content = self.by_name[place.bound.type_class].bound.content

    def _link_families(self) -> None:
        for place in self.places:
            binds = place.binds
            if not isinstance(binds, ComplexType) or not self.found.in_family(binds):
                continue
            base = self.found.place_of[id(self.found.complex_base(binds))].bound
            place.bound.base_class = base.name
            base.derived_classes.append(place.bound.name)
            for member_of_family in (place.bound, base):
                member_of_family.type_qname = member_of_family.element_id
        for place in self.places:
            place.bound.derived_classes.sort()
            if place.bound.kind == "complex_type" and place.bound.element_id in TYPE_ALWAYS_WRITTEN:
                place.bound.type_always_written = True

    def _link_content_sources(self) -> None:
        for place in self.places:
            source = self._content_source(place.binds)
            if source is not None and id(source) in self.found.place_of:
                place.bound.content_from = self.found.place_of[id(source)].bound.name

    def _content_source(self, binds) -> Optional[ComplexType]:
        """The named complex type whose content a class carries besides its own, if any."""
        if isinstance(binds, ComplexType):
            base = self.found.complex_base(binds)
            return base if base is not None and base.name is not None else None
        if isinstance(binds, ElementDecl):
            if isinstance(binds.inline_type, ComplexType):
                return self._content_source(binds.inline_type)
            named = self.schemas.type(binds.type) if binds.type is not None else None
            return named if isinstance(named, ComplexType) else None
        return None

    def _number_restrictions(self) -> list:
        table = RestrictionTable()
        valued = self._valued_with_constraints()
        for _, value in valued:
            table.note(value)
        restrictions = table.number()
        for member, value in valued:
            member.restriction = table.id_of(value)
        return restrictions

    def _valued_with_constraints(self) -> list:
        """The simple members with their values; the values that timing and load constraints hold
        are checks of their own, which fail with the constraint code rather than the facet code."""
        in_constraints = {id(member) for place in self.places if place.bound.xml_name in CONSTRAINT_ELEMENTS
                          for member in place.bound.members}
        return [(member, replace(value, constraint_value=True) if id(member) in in_constraints else value)
                for member, value in self.members.valued]

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
                content = (self.found.place_of[id(named)].bound.name if isinstance(named, ComplexType)
                           else place.bound.name)
                rows.append((place.bound.ns_id, decl.name.local, content))
        return rows

    def _document_classes(self) -> list:
        """The classes that can read and write a global element as a document, each once.

        That is the element's own class or, for an element of a named type, the type's class, which
        the root dispatcher reads it into and the element's class derives from.
        A global element of a simple type is left out: its class is a plain value, which the root
        dispatcher holds as such."""
        names = {content for _, _, content in self._global_element_rows()}
        names |= {place.bound.name for place in self.places
                  if place.bound.kind == "global_element" and not place.bound.type_class}
        return [self.by_name[name].bound for name in sorted(names)
                if not self._is_simple_typed_element(self.by_name[name].binds)]

    def _is_simple_typed_element(self, binds) -> bool:
        if not isinstance(binds, ElementDecl) or isinstance(binds.inline_type, ComplexType):
            return False
        return not isinstance(self.schemas.type(binds.type) if binds.type is not None else None, ComplexType)

    def _global_elements(self) -> list:
        rows = {(ns_id, local): (ns_id, local, content)
                for ns_id, local, content in self._global_element_rows()}
        ordered = [rows.pop((ns_id, local)) for ns_id, local, _ in pinned_events.GLOBAL_ELEMENTS
                   if (ns_id, local) in rows]
        return ordered + sorted(rows.values())


def build_model(schemas: SchemaSet, class_names: Optional[dict] = None,
                shared_classes: Optional[dict] = None) -> Model:
    """The model of a schema set; the override tables default to overrides.py."""
    model = ModelBuilder(schemas,
                         overrides.CLASS_NAMES if class_names is None else class_names,
                         overrides.SHARED_CLASSES if shared_classes is None else shared_classes).build()
    vendor_slots.add_typed_slots(model)
    rare_attributes.mark_boxed_attributes(model)
    return model

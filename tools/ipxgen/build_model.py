"""Derives the bound classes (model.py) from a loaded schema set (xsd_loader.py).

    class_places.py   pass 1: which places become classes, and their names
    class_members.py  pass 2: the members of each class
    this file         what needs all classes at once: xsi:type families,
                      restriction ids, event numbers, first-event sets and
                      the root dispatcher's list of global elements
"""

from __future__ import annotations

from typing import Optional

import document_attributes
import numbering
import overrides
import vendor_slots
import pinned_events
from class_members import ClassMembers
from class_places import ClassPlaces
from model import Member, Model
from restrictions import RestrictionTable
from xsd_loader import ComplexType, SchemaSet


class ModelBuilder:
    def __init__(self, schemas: SchemaSet, class_names: dict, shared_classes: dict):
        self.schemas = schemas
        self.found = ClassPlaces(schemas, class_names, shared_classes).find()
        self.places = self.found.places
        self.by_name = self.found.by_name
        self.members = ClassMembers(self.found)

    def build(self) -> Model:
        self.members.fill_all()
        self._link_families()
        document_attributes.add_schema_location_hints(self._document_classes())
        restrictions = self._number_restrictions()
        element_events, attribute_events = self._number_events()
        self._fill_first_events()
        classes = sorted((p.bound for p in self.places), key=lambda b: b.name)
        return Model(classes=classes, restrictions=restrictions,
                     element_events=element_events, attribute_events=attribute_events,
                     global_elements=self._global_elements())

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

    def _number_restrictions(self) -> list:
        table = RestrictionTable()
        for _, value in self.members.valued:
            table.note(value)
        restrictions = table.number()
        for member, value in self.members.valued:
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
                content = (self.found.place_of[id(named)].bound.name if isinstance(named, ComplexType)
                           else place.bound.name)
                rows.append((place.bound.ns_id, decl.name.local, content))
        return rows

    def _document_classes(self) -> list:
        """The classes that read and write a global element of element content, each once.

        A global element of simple content (spirit:displayName) is a value, never a document in
        practice. Members of xsi:type families are left out: a base and a derived class would both
        declare the hints, and such elements (spirit:port) do not stand as documents either."""
        names = sorted({content for _, _, content in self._global_element_rows()})
        bound_classes = (self.by_name[name].bound for name in names)
        return [bound for bound in bound_classes
                if bound.content != "simple" and not bound.base_class and not bound.derived_classes]

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
    return model

"""Which places of the schema become classes, and what each class is called.

This is the first pass of build_model.py. The schema is walked in loader
order and every place that becomes a class gets its name on the spot
(naming.py, with the exceptions of overrides.py). A class is made for:
each global element; each named complex type; each named model group; each
local element whose anonymous type has content or attributes; each
compositor nested inside a content model (a choice, or a sequence within a
sequence); and, as an "Inner" class, a whole content model that is optional
or repeated as a whole.

A place is written as a path: the qualified name of the top-level
component, then one step per nested element ("spirit:portMaps") or
compositor ("choice", "sequence[2]" when there are several of a kind).
overrides.py uses the same paths.
"""

from __future__ import annotations

from typing import Optional

from model import NAMESPACE_IDS, NS_SPIRIT, BoundClass, qualified
from naming import ClassNames
from xsd_loader import ComplexType, Compositor, ElementDecl, GroupRef, ModelGroup, SchemaSet


class ModelError(Exception):
    """The schema and the binding's rules or override tables do not fit together."""


class Place:
    """A class to be: the schema component it binds and where that component is."""

    def __init__(self, bound: BoundClass, binds, path: str, file_name: str):
        self.bound = bound
        self.binds = binds  # ElementDecl | ComplexType | ModelGroup | Compositor
        self.path = path
        self.file_name = file_name


def is_whole(compositor: Compositor) -> bool:
    """Occurs exactly once, so its members can stand directly in the owner."""
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


class ClassPlaces:
    """The classes of a schema set, named, before they have members."""

    def __init__(self, schemas: SchemaSet, class_names: dict, shared_classes: dict):
        self.schemas = schemas
        self.class_names = class_names
        self.shared_classes = shared_classes
        self.names = ClassNames(reserved=[name for name, _ in class_names.values()])
        self.places = []  # in naming order
        self.place_of = {}  # id(schema component) -> Place
        self.by_name = {}  # class name -> Place
        self._flattened = {}  # id(ComplexType) -> Compositor of its full content
        self._overrides_used = set()

    def find(self) -> "ClassPlaces":
        for schema_file in self.schemas.files:
            for component in schema_file.components:
                self._name_top_level(component, schema_file.file_name)
        self._check_overrides_used()
        return self

    def ns_id(self, namespace: str) -> int:
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
                       element_id: str) -> Place:
        ns_id = self.ns_id(component.name.ns)
        path = qualified(ns_id, component.name.local)
        name = self._override_name(path) or self.names.for_global(component.name.local)
        bound = BoundClass(name=name, kind=kind, ns_id=ns_id, xml_name=xml_name,
                           element_id=element_id, content="empty",
                           source="%s: %s" % (file_name, path))
        return self._register(bound, component, path, file_name)

    def _register(self, bound: BoundClass, component, path: str, file_name: str) -> Place:
        place = Place(bound, component, path, file_name)
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
        element_id = qualified(self.ns_id(decl.name.ns), decl.name.local)
        place = self._new_top_place(decl, "global_element", file_name, decl.name.local, element_id)
        if isinstance(decl.inline_type, ComplexType):
            self._walk_type(decl.inline_type, place)

    def _name_named_type(self, complex_type: ComplexType) -> None:
        if id(complex_type) in self.place_of:
            return
        base = self.complex_base(complex_type)
        if base is not None and base.name is not None:
            # A base type is named before the types derived from it, so that the
            # classes nested in the base are named after the base.
            self._name_named_type(base)
        element_id = qualified(self.ns_id(complex_type.name.ns), complex_type.name.local)
        place = self._new_top_place(complex_type, "complex_type", complex_type.source,
                                    complex_type.name.local, element_id)
        self._walk_type(complex_type, place)

    def complex_base(self, complex_type: ComplexType) -> Optional[ComplexType]:
        """The complex type this one derives from, None for a simple or no base."""
        if complex_type.base is None:
            return None
        base = self.schemas.type(complex_type.base)
        return base if isinstance(base, ComplexType) else None

    def in_family(self, complex_type: ComplexType) -> bool:
        """A named type derived from a named type: an xsi:type family member."""
        base = self.complex_base(complex_type)
        return complex_type.name is not None and base is not None and base.name is not None

    def _walk_type(self, complex_type: ComplexType, owner: Place) -> None:
        base = self.complex_base(complex_type)
        if base is not None and base.name is not None:
            self._name_named_type(base)
        if self.in_family(complex_type):
            self._walk_whole_content(complex_type.particle, owner)
        # The full content is walked too: element classes of this type list it,
        # and where base and own content cannot simply be concatenated the
        # wrapping compositor needs a class of its own.
        self._walk_whole_content(self.flattened_particle(complex_type), owner)

    def flattened_particle(self, complex_type: ComplexType) -> Optional[Compositor]:
        """The type's whole content, base content included (the same object every call)."""
        key = id(complex_type)
        if key not in self._flattened:
            own = complex_type.particle
            base = self.complex_base(complex_type)
            if base is not None and complex_type.derivation == "extension":
                own = self._concatenate(self.flattened_particle(base), own)
            self._flattened[key] = own
        return self._flattened[key]

    @staticmethod
    def _concatenate(first: Optional[Compositor], second: Optional[Compositor]):
        if first is None or second is None:
            return first or second
        if first.kind == second.kind == "sequence" and is_whole(first) and is_whole(second):
            return Compositor("sequence", first.particles + second.particles)
        return Compositor("sequence", [first, second])

    def _walk_whole_content(self, compositor: Optional[Compositor], owner: Place) -> None:
        if compositor is None:
            return
        if is_whole(compositor):
            self._walk_children(compositor, owner)
            return
        if id(compositor) in self.place_of:
            return
        path = "%s/%s" % (owner.path, compositor.kind)
        name = self._override_name(path) or self.names.for_whole_content(owner.bound.name)
        inner = self._new_compositor_place(compositor, name, path, owner)
        self._walk_children(compositor, inner)

    def _new_compositor_place(self, compositor: Compositor, name: str, path: str,
                              owner: Place) -> Place:
        bound = BoundClass(name=name, kind="compositor", ns_id=owner.bound.ns_id, xml_name=None,
                           element_id="", content=compositor.kind,
                           source="%s: %s" % (owner.file_name, path))
        return self._register(bound, compositor, path, owner.file_name)

    def _walk_children(self, compositor: Compositor, owner: Place) -> None:
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
                steps.append(qualified(self.ns_id(name.ns), name.local))
            elif isinstance(particle, GroupRef):
                steps.append("group(%s)" % qualified(self.ns_id(particle.ref.ns), particle.ref.local))
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

    def _name_local_element(self, decl: ElementDecl, path: str, owner: Place) -> None:
        if path in self.shared_classes:
            self._share_class(decl, path)
            return
        name = self._override_name(path) or self.names.for_local_element(decl.name.local,
                                                                          owner.bound.name)
        ns_id = self.ns_id(decl.name.ns)
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
        return any(self.ns_id(f.target_namespace) != NS_SPIRIT for f in self.schemas.files)

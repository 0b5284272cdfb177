"""Reads XSD files into a plain, namespace-resolved schema model.

The loader knows XML Schema, nothing about the binding: it keeps every
component as the schema declares it (particles, occurrences, attribute uses,
derivations, facets) so that build_model.py can decide what becomes a class.

Two properties matter to the later passes:
  * QNames are resolved through the namespace declarations in scope where
    they are written, so a prefix is never trusted as a namespace.
  * Files are visited depth-first, a file's own components before the files
    it includes or imports, and each file's components keep document order.
    The naming pass hands out class names first come, first served, so this
    order decides which of two namesakes keeps the plain name.
"""

from __future__ import annotations

import os
import xml.etree.ElementTree as ET
from dataclasses import dataclass, field
from typing import NamedTuple, Optional, Union

XS = "http://www.w3.org/2001/XMLSchema"
UNBOUNDED = None


class QName(NamedTuple):
    ns: str
    local: str

    def __str__(self) -> str:
        return "{%s}%s" % (self.ns, self.local) if self.ns else self.local


def xs(local: str) -> QName:
    return QName(XS, local)


class SchemaError(Exception):
    """A schema file that cannot be read, or a reference that resolves to nothing."""


@dataclass
class Facets:
    patterns: list = field(default_factory=list)
    enumerations: list = field(default_factory=list)
    min_inclusive: Optional[str] = None
    max_inclusive: Optional[str] = None
    min_exclusive: Optional[str] = None
    max_exclusive: Optional[str] = None
    length: Optional[int] = None
    min_length: Optional[int] = None
    max_length: Optional[int] = None
    whitespace: Optional[str] = None

    def is_empty(self) -> bool:
        return self == Facets()


@dataclass
class SimpleType:
    name: Optional[QName]
    variety: str  # 'atomic' | 'list' | 'union'
    base: Optional[QName] = None
    inline_base: Optional["SimpleType"] = None
    item_type: Optional[QName] = None
    inline_item: Optional["SimpleType"] = None
    member_types: list = field(default_factory=list)
    inline_members: list = field(default_factory=list)
    facets: Facets = field(default_factory=Facets)
    source: str = ""


@dataclass
class AttributeDecl:
    name: Optional[QName]
    ref: Optional[QName] = None
    type: Optional[QName] = None
    inline_type: Optional[SimpleType] = None
    use: str = "optional"
    default: Optional[str] = None
    fixed: Optional[str] = None
    source: str = ""


@dataclass
class AttributeGroupRef:
    ref: QName


@dataclass
class AnyAttribute:
    namespace: str = "##any"
    process_contents: str = "strict"


@dataclass
class ElementDecl:
    """A global declaration, a local declaration, or a reference (ref set)."""

    name: Optional[QName]
    ref: Optional[QName] = None
    type: Optional[QName] = None
    inline_type: Optional[Union["ComplexType", SimpleType]] = None
    min_occurs: int = 1
    max_occurs: Optional[int] = 1
    default: Optional[str] = None
    fixed: Optional[str] = None
    is_global: bool = False
    source: str = ""


@dataclass
class IdentityConstraint:
    """An xs:key, xs:keyref or xs:unique, with the prefixes in scope for its XPaths."""

    kind: str  # 'key' | 'keyref' | 'unique'
    name: QName
    selector: str
    fields: list
    refer: Optional[QName] = None
    namespaces: dict = field(default_factory=dict)


@dataclass
class GroupRef:
    ref: QName
    min_occurs: int = 1
    max_occurs: Optional[int] = 1


@dataclass
class AnyParticle:
    namespace: str = "##any"
    process_contents: str = "strict"
    min_occurs: int = 1
    max_occurs: Optional[int] = 1


@dataclass
class Compositor:
    kind: str  # 'sequence' | 'choice' | 'all'
    particles: list = field(default_factory=list)
    min_occurs: int = 1
    max_occurs: Optional[int] = 1


Particle = Union[ElementDecl, GroupRef, AnyParticle, Compositor]


@dataclass
class ComplexType:
    name: Optional[QName]
    content: str = "empty"  # 'empty' | 'elements' | 'simple'
    particle: Optional[Compositor] = None
    attributes: list = field(default_factory=list)  # AttributeDecl | AttributeGroupRef
    any_attribute: Optional[AnyAttribute] = None
    derivation: Optional[str] = None  # 'extension' | 'restriction'
    base: Optional[QName] = None
    simple_facets: Facets = field(default_factory=Facets)  # simpleContent restriction
    mixed: bool = False
    source: str = ""


@dataclass
class ModelGroup:
    name: QName
    particle: Optional[Compositor]
    source: str = ""


@dataclass
class AttributeGroup:
    name: QName
    attributes: list = field(default_factory=list)
    any_attribute: Optional[AnyAttribute] = None
    source: str = ""


@dataclass
class SchemaFile:
    path: str
    target_namespace: str
    components: list = field(default_factory=list)  # top-level, document order

    @property
    def file_name(self) -> str:
        return os.path.basename(self.path)


class _ScopedTree:
    """An element tree plus the namespace declarations in scope at each element."""

    def __init__(self, path: str):
        self.scope = {}
        pending = {}
        stack = [{"xml": "http://www.w3.org/XML/1998/namespace"}]
        root = None
        try:
            for event, item in ET.iterparse(path, events=("start-ns", "start", "end")):
                if event == "start-ns":
                    prefix, uri = item
                    pending[prefix] = uri
                elif event == "start":
                    in_scope = dict(stack[-1])
                    in_scope.update(pending)
                    pending = {}
                    stack.append(in_scope)
                    self.scope[id(item)] = in_scope
                    if root is None:
                        root = item
                else:
                    stack.pop()
        except (OSError, ET.ParseError) as error:
            raise SchemaError("cannot read schema %s: %s" % (path, error)) from error
        self.root = root

    def resolve(self, element: ET.Element, text: str) -> QName:
        prefix, _, local = text.strip().rpartition(":")
        in_scope = self.scope[id(element)]
        if prefix:
            if prefix not in in_scope:
                raise SchemaError("undeclared prefix %r in %r" % (prefix, text))
            return QName(in_scope[prefix], local)
        return QName(in_scope.get("", ""), local)


def _tag(element: ET.Element) -> str:
    """Local name of an element in the XML Schema namespace, '' for anything else."""
    if element.tag.startswith("{%s}" % XS):
        return element.tag[len(XS) + 2:]
    return ""


def _occurs(element: ET.Element, name: str) -> Optional[int]:
    text = element.get(name)
    if text is None:
        return 1
    if text.strip() == "unbounded":
        return UNBOUNDED
    return int(text)


class _FileParser:
    """Turns one schema document into components; knows the document's defaults."""

    def __init__(self, path: str, inherited_namespace: str):
        self.path = path
        self.file_name = os.path.basename(path)
        self.tree = _ScopedTree(path)
        root = self.tree.root
        if root is None or _tag(root) != "schema":
            raise SchemaError("%s is not an XML Schema document" % path)
        self.target_namespace = root.get("targetNamespace", inherited_namespace)
        self.element_qualified = root.get("elementFormDefault", "unqualified") == "qualified"
        self.attribute_qualified = root.get("attributeFormDefault", "unqualified") == "qualified"
        # Kept beside the declarations, not in them: the model builder compares
        # declarations field by field and identity constraints do not shape classes.
        self.identity_constraints = {}  # id(ElementDecl) -> [IdentityConstraint]

    def children(self, element: ET.Element):
        """Schema children, skipping annotations and foreign elements."""
        return [c for c in element if _tag(c) and _tag(c) != "annotation"]

    def qname(self, element: ET.Element, attribute: str) -> Optional[QName]:
        text = element.get(attribute)
        return None if text is None else self.tree.resolve(element, text)

    def local_name(self, element: ET.Element, qualified_by_default: bool) -> QName:
        form = element.get("form")
        qualified = qualified_by_default if form is None else form == "qualified"
        return QName(self.target_namespace if qualified else "", element.get("name"))

    # --- simple types -------------------------------------------------------

    def simple_type(self, element: ET.Element, name: Optional[QName]) -> SimpleType:
        for child in self.children(element):
            kind = _tag(child)
            if kind == "restriction":
                return self._restriction(child, name)
            if kind == "list":
                inline = [self.simple_type(c, None) for c in self.children(child) if _tag(c) == "simpleType"]
                return SimpleType(name, "list", item_type=self.qname(child, "itemType"),
                                  inline_item=inline[0] if inline else None, source=self.file_name)
            if kind == "union":
                members = [self.tree.resolve(child, t) for t in child.get("memberTypes", "").split()]
                inline = [self.simple_type(c, None) for c in self.children(child) if _tag(c) == "simpleType"]
                return SimpleType(name, "union", member_types=members, inline_members=inline,
                                  source=self.file_name)
        raise SchemaError("%s: simple type %s has no derivation" % (self.file_name, name))

    def _restriction(self, element: ET.Element, name: Optional[QName]) -> SimpleType:
        result = SimpleType(name, "atomic", base=self.qname(element, "base"), source=self.file_name)
        for child in self.children(element):
            if _tag(child) == "simpleType":
                result.inline_base = self.simple_type(child, None)
        result.facets = self.facets(element)
        return result

    def facets(self, element: ET.Element) -> Facets:
        facets = Facets()
        for child in self.children(element):
            kind, value = _tag(child), child.get("value")
            if kind == "pattern":
                facets.patterns.append(value)
            elif kind == "enumeration":
                facets.enumerations.append(value)
            elif kind == "whiteSpace":
                facets.whitespace = value
            elif kind in ("minInclusive", "maxInclusive", "minExclusive", "maxExclusive"):
                setattr(facets, _snake(kind), value)
            elif kind in ("length", "minLength", "maxLength"):
                setattr(facets, _snake(kind), int(value))
        return facets

    # --- attributes ---------------------------------------------------------

    def attribute(self, element: ET.Element, is_global: bool) -> AttributeDecl:
        inline = [self.simple_type(c, None) for c in self.children(element) if _tag(c) == "simpleType"]
        ref = self.qname(element, "ref")
        name = None
        if ref is None:
            name = (QName(self.target_namespace, element.get("name")) if is_global
                    else self.local_name(element, self.attribute_qualified))
        return AttributeDecl(name=name, ref=ref, type=self.qname(element, "type"),
                             inline_type=inline[0] if inline else None,
                             use=element.get("use", "optional"), default=element.get("default"),
                             fixed=element.get("fixed"), source=self.file_name)

    def attribute_uses(self, element: ET.Element):
        """Attribute declarations, group references and the wildcard under element."""
        uses, wildcard = [], None
        for child in self.children(element):
            kind = _tag(child)
            if kind == "attribute":
                uses.append(self.attribute(child, is_global=False))
            elif kind == "attributeGroup":
                uses.append(AttributeGroupRef(self.qname(child, "ref")))
            elif kind == "anyAttribute":
                wildcard = AnyAttribute(child.get("namespace", "##any"),
                                        child.get("processContents", "strict"))
        return uses, wildcard

    # --- particles ----------------------------------------------------------

    def particle(self, element: ET.Element) -> Particle:
        kind = _tag(element)
        if kind == "element":
            return self.element(element, is_global=False)
        if kind == "group":
            return GroupRef(self.qname(element, "ref"), _occurs(element, "minOccurs"),
                            _occurs(element, "maxOccurs"))
        if kind == "any":
            return AnyParticle(element.get("namespace", "##any"),
                               element.get("processContents", "strict"),
                               _occurs(element, "minOccurs"), _occurs(element, "maxOccurs"))
        if kind in ("sequence", "choice", "all"):
            return self.compositor(element)
        raise SchemaError("%s: unexpected <xs:%s> in a content model" % (self.file_name, kind))

    def compositor(self, element: ET.Element) -> Compositor:
        return Compositor(_tag(element), [self.particle(c) for c in self.children(element)],
                          _occurs(element, "minOccurs"), _occurs(element, "maxOccurs"))

    def element(self, element: ET.Element, is_global: bool) -> ElementDecl:
        ref = self.qname(element, "ref")
        inline = None
        for child in self.children(element):
            if _tag(child) == "complexType":
                inline = self.complex_type(child, None)
            elif _tag(child) == "simpleType":
                inline = self.simple_type(child, None)
        name = None
        if ref is None:
            name = (QName(self.target_namespace, element.get("name")) if is_global
                    else self.local_name(element, self.element_qualified))
        decl = ElementDecl(name=name, ref=ref, type=self.qname(element, "type"), inline_type=inline,
                           min_occurs=1 if is_global else _occurs(element, "minOccurs"),
                           max_occurs=1 if is_global else _occurs(element, "maxOccurs"),
                           default=element.get("default"), fixed=element.get("fixed"),
                           is_global=is_global, source=self.file_name)
        constraints = [self.identity_constraint(c) for c in self.children(element)
                       if _tag(c) in ("key", "keyref", "unique")]
        if constraints:
            self.identity_constraints[id(decl)] = constraints
        return decl

    def identity_constraint(self, element: ET.Element) -> IdentityConstraint:
        xpath = lambda kind: [c.get("xpath") for c in self.children(element) if _tag(c) == kind]
        return IdentityConstraint(_tag(element), QName(self.target_namespace, element.get("name")),
                                  xpath("selector")[0], xpath("field"), self.qname(element, "refer"),
                                  dict(self.tree.scope[id(element)]))

    # --- complex types ------------------------------------------------------

    def complex_type(self, element: ET.Element, name: Optional[QName]) -> ComplexType:
        result = ComplexType(name, mixed=element.get("mixed") == "true", source=self.file_name)
        for child in self.children(element):
            kind = _tag(child)
            if kind in ("sequence", "choice", "all", "group"):
                result.particle = self._as_compositor(self.particle(child))
            elif kind in ("simpleContent", "complexContent"):
                self._derived_content(child, result, simple=kind == "simpleContent")
        uses, wildcard = self.attribute_uses(element)
        result.attributes.extend(uses)
        result.any_attribute = result.any_attribute or wildcard
        if result.content != "simple":
            result.content = "elements" if result.particle is not None else "empty"
        return result

    def _as_compositor(self, particle: Particle) -> Compositor:
        """A group reference as a whole content model is wrapped so content is always a compositor."""
        if isinstance(particle, Compositor):
            return particle
        return Compositor("sequence", [particle])

    def _derived_content(self, element: ET.Element, result: ComplexType, simple: bool) -> None:
        for derivation in self.children(element):
            result.derivation = _tag(derivation)
            result.base = self.qname(derivation, "base")
            for child in self.children(derivation):
                if _tag(child) in ("sequence", "choice", "all", "group"):
                    result.particle = self._as_compositor(self.particle(child))
            uses, wildcard = self.attribute_uses(derivation)
            result.attributes.extend(uses)
            result.any_attribute = result.any_attribute or wildcard
            if simple:
                result.content = "simple"
                result.simple_facets = self.facets(derivation)

    # --- top level ----------------------------------------------------------

    def top_level(self, element: ET.Element):
        kind, name = _tag(element), element.get("name")
        qname = QName(self.target_namespace, name) if name else None
        if kind == "element":
            return self.element(element, is_global=True)
        if kind == "complexType":
            return self.complex_type(element, qname)
        if kind == "simpleType":
            return self.simple_type(element, qname)
        if kind == "group":
            particles = [self.compositor(c) for c in self.children(element)
                         if _tag(c) in ("sequence", "choice", "all")]
            return ModelGroup(qname, particles[0] if particles else None, self.file_name)
        if kind == "attributeGroup":
            uses, wildcard = self.attribute_uses(element)
            return AttributeGroup(qname, uses, wildcard, self.file_name)
        if kind == "attribute":
            return self.attribute(element, is_global=True)
        return None


def _snake(name: str) -> str:
    return "".join("_" + c.lower() if c.isupper() else c for c in name)


class SchemaSet:
    """All components of the loaded schema files, looked up by QName."""

    def __init__(self):
        self.files: list = []
        self.elements: dict = {}
        self.complex_types: dict = {}
        self.simple_types: dict = {}
        self.groups: dict = {}
        self.attribute_groups: dict = {}
        self.attributes: dict = {}
        self.identity_constraints: dict = {}  # id(ElementDecl) -> [IdentityConstraint]
        self._visited: set = set()
        self._namespaces: set = set()

    def load(self, path: str, inherited_namespace: str = "") -> None:
        """Load a schema document and everything it includes or imports."""
        path = os.path.realpath(path)
        if path in self._visited:
            return
        self._visited.add(path)
        parser = _FileParser(path, inherited_namespace)
        schema_file = SchemaFile(path, parser.target_namespace)
        self.files.append(schema_file)
        self._namespaces.add(parser.target_namespace)
        references = []
        for child in parser.children(parser.tree.root):
            kind = _tag(child)
            if kind in ("include", "redefine"):
                references.append((child.get("schemaLocation"), parser.target_namespace, None))
            elif kind == "import":
                references.append((child.get("schemaLocation"), "", child.get("namespace", "")))
            else:
                component = parser.top_level(child)
                if component is not None:
                    self._register(component, schema_file)
        self.identity_constraints.update(parser.identity_constraints)
        for location, namespace, imported in references:
            self._follow(path, location, namespace, imported)

    def _follow(self, from_path: str, location: Optional[str], namespace: str,
                imported: Optional[str]) -> None:
        # An import names a namespace; when that namespace is already loaded the
        # location is only a hint, so a schema set loaded from two directories
        # does not read the same namespace twice from two copies.
        if imported is not None and imported in self._namespaces:
            return
        if not location:
            return
        target = os.path.join(os.path.dirname(from_path), location)
        if not os.path.exists(target):
            raise SchemaError("%s refers to %s, which does not exist" % (from_path, location))
        self.load(target, namespace)

    def _register(self, component, schema_file: SchemaFile) -> None:
        tables = {ElementDecl: self.elements, ComplexType: self.complex_types,
                  SimpleType: self.simple_types, ModelGroup: self.groups,
                  AttributeGroup: self.attribute_groups, AttributeDecl: self.attributes}
        table = tables[type(component)]
        if component.name in table:
            raise SchemaError("%s declares %s a second time" % (schema_file.file_name, component.name))
        table[component.name] = component
        schema_file.components.append(component)

    # --- lookups ------------------------------------------------------------

    def element(self, name: QName) -> ElementDecl:
        return self._lookup(self.elements, name, "element")

    def identity_constraints_of(self, decl: ElementDecl) -> list:
        return self.identity_constraints.get(id(decl), [])

    def group(self, name: QName) -> ModelGroup:
        return self._lookup(self.groups, name, "group")

    def attribute_group(self, name: QName) -> AttributeGroup:
        return self._lookup(self.attribute_groups, name, "attribute group")

    def attribute(self, name: QName) -> AttributeDecl:
        return self._lookup(self.attributes, name, "attribute")

    def type(self, name: QName):
        """A ComplexType, a SimpleType, or the QName itself for a built-in type."""
        if name in self.complex_types:
            return self.complex_types[name]
        if name in self.simple_types:
            return self.simple_types[name]
        if name.ns == XS:
            return name
        raise SchemaError("reference to undeclared type %s" % (name,))

    @staticmethod
    def _lookup(table: dict, name: QName, what: str):
        if name not in table:
            raise SchemaError("reference to undeclared %s %s" % (what, name))
        return table[name]


def load_schemas(*roots: str) -> SchemaSet:
    """Load the given root documents, in order, into one schema set."""
    schemas = SchemaSet()
    for root in roots:
        schemas.load(root)
    return schemas

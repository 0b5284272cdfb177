"""The in-memory document the test-document generator builds, and its XML text.

Each element remembers what the schema said about it (its occurrence slot, the
types of its text and attributes, which optional ID attributes it could carry)
so that the identity-constraint pass can change or remove parts of the tree
and still leave a schema-valid document.
"""

from __future__ import annotations

import random
from dataclasses import dataclass, field
from typing import Optional

from xsd_loader import QName

XSI = "http://www.w3.org/2001/XMLSchema-instance"
XSI_TYPE = QName(XSI, "type")


@dataclass
class Slot:
    """The occurrences one element particle produced in one place of the content."""

    minimum: int
    count: int = 0


@dataclass
class Comment:
    text: str


@dataclass(eq=False)  # nodes are compared by identity: two equal subtrees are still two places
class Node:
    name: QName
    attributes: dict = field(default_factory=dict)  # QName -> text, in writing order
    attribute_types: dict = field(default_factory=dict)  # QName -> FlatSimple of every declared attribute
    required_attributes: set = field(default_factory=set)
    children: list = field(default_factory=list)  # Node | Comment | str (str only in mixed content)
    text: Optional[str] = None
    text_type: object = None  # FlatSimple of simple content
    parent: Optional["Node"] = None
    slot: Optional[Slot] = None
    decl: object = None  # the ElementDecl, None for foreign content
    xsi_type: Optional[QName] = None
    default_namespace: bool = False  # written with xmlns="..." and unprefixed descendants
    declares_own_namespaces: bool = False
    as_cdata: bool = False
    mixed: bool = False

    def elements(self) -> list:
        return [c for c in self.children if isinstance(c, Node)]

    def walk(self):
        yield self
        for child in self.elements():
            yield from child.walk()

    def add(self, child) -> None:
        if isinstance(child, Node):
            child.parent = self
        self.children.append(child)


def removable(node: Node) -> bool:
    return node.slot is not None and node.slot.count > node.slot.minimum


def remove(node: Node) -> None:
    node.parent.children.remove(node)
    node.slot.count -= 1


# --- writing ----------------------------------------------------------------

@dataclass
class Layout:
    """How a document is spelled: none of it changes what the document means."""

    prefixes: dict  # namespace URI -> prefix
    indent: Optional[str] = "  "  # None writes everything on one line
    declaration: bool = True
    shuffle_attributes: bool = False
    comments: bool = False
    character_references: bool = False


def _escape(text: str, in_attribute: bool, layout: Layout) -> str:
    text = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
    if in_attribute:
        text = text.replace('"', "&quot;").replace("\n", "&#10;").replace("\t", "&#9;")
    text = text.replace("\r", "&#13;")
    if layout.character_references:
        text = "".join("&#%d;" % ord(c) if ord(c) > 0x7F else c for c in text)
    return text


class DocumentWriter:
    def __init__(self, layout: Layout, rng: random.Random):
        self.layout = layout
        self.rng = rng
        self.out = []

    def write(self, root: Node) -> str:
        if self.layout.declaration:
            self.out.append('<?xml version="1.0" encoding="UTF-8"?>\n')
        if self.layout.comments:
            self.out.append("<!-- generated test document -->\n")
        self._element(root, {}, 0, default_uri=None, root=True)
        self.out.append("\n")
        return "".join(self.out)

    def _namespaces_used(self, node: Node, at_root: bool) -> set:
        """Namespaces the subtree needs, stopping at subtrees that declare their own."""
        used = set()
        if node.default_namespace or (node.declares_own_namespaces and not at_root):
            return used
        if node.name.ns:
            used.add(node.name.ns)
        used |= {name.ns for name in node.attributes if name.ns}
        if node.xsi_type is not None:
            used |= {XSI, node.xsi_type.ns}
        for child in node.elements():
            used |= self._namespaces_used(child, False)
        return used

    def _qualified(self, name: QName, default_uri: Optional[str]) -> str:
        if not name.ns or name.ns == default_uri:
            return name.local
        return "%s:%s" % (self.layout.prefixes[name.ns], name.local)

    def _element(self, node: Node, in_scope: dict, depth: int, default_uri: Optional[str],
                 root: bool = False) -> None:
        declarations = []
        if node.default_namespace:
            default_uri = node.name.ns
            declarations.append('xmlns="%s"' % default_uri)
        elif root or node.declares_own_namespaces:
            needed = self._namespaces_used(node, at_root=True)
            for uri in sorted(needed - set(in_scope)):
                declarations.append('xmlns:%s="%s"' % (self.layout.prefixes[uri], uri))
            in_scope = dict(in_scope, **{uri: True for uri in needed})
        tag = self._qualified(node.name, default_uri)
        attributes = list(node.attributes.items())
        if node.xsi_type is not None:
            attributes.insert(0, (XSI_TYPE, self._qualified(node.xsi_type, None)))
        if self.layout.shuffle_attributes:
            self.rng.shuffle(attributes)
        parts = [tag] + declarations + ['%s="%s"' % (self._qualified(name, None) if name.ns else name.local,
                                                     _escape(value, True, self.layout))
                                        for name, value in attributes]
        self.out.append("<" + " ".join(parts))
        if node.text is not None:
            self._text_content(node, tag)
        elif node.children:
            self.out.append(">")
            self._children(node, in_scope, depth, default_uri)
            self.out.append("</%s>" % tag)
        else:
            self.out.append("/>")

    def _text_content(self, node: Node, tag: str) -> None:
        if node.text == "" and self.rng.random() < 0.5:
            self.out.append("/>")
            return
        if node.as_cdata and "]]>" not in node.text:
            body = "<![CDATA[%s]]>" % node.text
        else:
            body = _escape(node.text, False, self.layout)
        self.out.append(">%s</%s>" % (body, tag))

    def _children(self, node: Node, in_scope: dict, depth: int, default_uri: Optional[str]) -> None:
        indent = self.layout.indent
        for child in node.children:
            if indent is not None and not node.mixed:
                self.out.append("\n" + indent * (depth + 1))
            if isinstance(child, Node):
                self._element(child, in_scope, depth + 1, default_uri)
            elif isinstance(child, Comment):
                self.out.append("<!--%s-->" % child.text)
            else:
                self.out.append(_escape(child, False, self.layout))
        if indent is not None and not node.mixed:
            self.out.append("\n" + indent * depth)

"""Makes a generated tree satisfy the schema's identity constraints and ID references.

Random content breaks xs:key, xs:keyref and xs:unique (a bridge names a master
interface that was never drawn, two alternate groups share a name) and
xs:IDREF (a function's file reference). The pass evaluates the restricted
XPath of identity constraints on the tree and repairs it: duplicated key
values are removed or renamed, references are pointed at existing keys, and
what cannot point anywhere is dropped where the content model allows it.
"""

from __future__ import annotations

import random
from dataclasses import dataclass
from typing import Optional

from instance_tree import Node, remove, removable
from instance_values import ValueDrawer, collapses, is_valid
from xsd_loader import IdentityConstraint, QName, SchemaSet


class Unsatisfiable(Exception):
    """The tree cannot be repaired; the caller draws another one."""


@dataclass
class _Path:
    descendants: bool
    steps: list  # QName | "*" | "."
    attribute: Optional[QName] = None


def _qname(text: str, namespaces: dict) -> QName:
    prefix, _, local = text.rpartition(":")
    return QName(namespaces.get(prefix, "") if prefix else "", local)


def _paths(xpath: str, namespaces: dict) -> list:
    paths = []
    for branch in xpath.split("|"):
        branch = branch.strip()
        descendants = branch.startswith(".//")
        if descendants:
            branch = branch[3:]
        steps, attribute = [], None
        for step in branch.split("/"):
            if step.startswith("@"):
                attribute = _qname(step[1:], namespaces)
            elif step in ("*", "."):
                steps.append(step)
            else:
                steps.append(_qname(step, namespaces))
        paths.append(_Path(descendants, steps, attribute))
    return paths


def _follow(context: Node, path: _Path) -> list:
    nodes = list(context.walk()) if path.descendants else [context]
    for step in path.steps:
        if step != ".":
            nodes = [c for n in nodes for c in n.elements() if step == "*" or c.name == step]
    return nodes


def _select(context: Node, xpath: str, namespaces: dict) -> list:
    found = []
    for path in _paths(xpath, namespaces):
        found += [n for n in _follow(context, path) if n not in found]
    return found


class _Field:
    """Where one field of a selected node lives: its text, a child's text, or an attribute."""

    def __init__(self, node: Node, xpath: str, namespaces: dict):
        path = _paths(xpath, namespaces)[0]
        self.attribute = path.attribute
        targets = _follow(node, path)
        self.node = targets[0] if targets else None

    def value(self) -> Optional[str]:
        if self.node is None:
            return None
        if self.attribute is not None:
            return self.node.attributes.get(self.attribute)
        return self.node.text

    def key_value(self) -> Optional[str]:
        """The value as the validator compares it: " a_1 " of a name type is a_1, and refers to
        the same key as a_1 in a field of type xs:string, which keeps its whitespace."""
        value, value_type = self.value(), self.value_type() if self.node is not None else None
        if value is not None and value_type is not None and collapses(value_type):
            return " ".join(value.split())
        return value

    def assign(self, value: str) -> None:
        if self.attribute is not None:
            self.node.attributes[self.attribute] = value
        else:
            self.node.text = value

    def value_type(self):
        if self.attribute is not None:
            return self.node.attribute_types.get(self.attribute)
        return self.node.text_type

    def can_drop(self) -> bool:
        return self.attribute is not None and self.attribute not in self.node.required_attributes

    def drop(self) -> None:
        del self.node.attributes[self.attribute]


def _prune(node: Node) -> bool:
    """Removes node, or the nearest ancestor whose particle allows one occurrence less."""
    while node is not None and node.parent is not None:
        if removable(node):
            remove(node)
            return True
        node = node.parent
    return False


class IdentityRepair:
    def __init__(self, schemas: SchemaSet, rng: random.Random, values: ValueDrawer):
        self.schemas = schemas
        self.rng = rng
        self.values = values

    def repair(self, root: Node) -> None:
        for _ in range(8):
            changed = self._constraints_pass(root)
            changed = self._id_references(root) or changed
            if not changed:
                return
        raise Unsatisfiable("identity constraints do not settle")

    # --- keys, uniques, key references -------------------------------------

    def _constraints_pass(self, root: Node) -> bool:
        changed = False
        for node in list(root.walk()):
            if node.decl is None or not self._attached(node):
                continue
            constraints = self.schemas.identity_constraints_of(node.decl)
            for constraint in constraints:
                if constraint.kind != "keyref":
                    changed = self._distinct(node, constraint) or changed
            for constraint in constraints:
                if constraint.kind == "keyref":
                    referred = next(c for c in constraints if c.name == constraint.refer)
                    changed = self._references(node, constraint, referred) or changed
        return changed

    @staticmethod
    def _attached(node: Node) -> bool:
        while node.parent is not None:
            if node not in node.parent.children:
                return False
            node = node.parent
        return True

    def _fields(self, node: Node, constraint: IdentityConstraint) -> list:
        return [_Field(node, f, constraint.namespaces) for f in constraint.fields]

    def _key_values(self, context: Node, constraint: IdentityConstraint) -> list:
        values = []
        for selected in _select(context, constraint.selector, constraint.namespaces):
            value = tuple(f.key_value() for f in self._fields(selected, constraint))
            if None not in value and value not in values:
                values.append(value)
        return values

    def _distinct(self, context: Node, constraint: IdentityConstraint) -> bool:
        changed, seen = False, set()
        for selected in _select(context, constraint.selector, constraint.namespaces):
            if not self._attached(selected):
                continue
            fields = self._fields(selected, constraint)
            if constraint.kind == "key" and any(f.value() is None for f in fields):
                changed = self._fill_missing(selected, fields) or changed
                if any(f.value() is None for f in fields):
                    continue
            value = tuple(f.key_value() for f in fields)
            if None in value:
                continue
            if value in seen:
                if not _prune(selected):
                    self._rename(fields)
                changed = True
                continue
            seen.add(value)
        return changed

    def _fill_missing(self, selected: Node, fields: list) -> bool:
        for f in fields:
            if f.value() is None and f.node is not None and f.attribute is not None:
                flat = f.node.attribute_types.get(f.attribute)
                if flat is not None:
                    f.assign(self.values.draw(flat, attribute=True))
                    continue
            if f.value() is None:
                if not _prune(selected):
                    raise Unsatisfiable("a key field is missing and its element must stay")
                return True
        return True

    def _rename(self, fields: list) -> None:
        for f in fields:
            flat = f.value_type()
            # The number goes before trailing whitespace, which a name type collapses away.
            stripped = f.value().rstrip()
            renamed = stripped + "_%d" % self.values.next_number() + f.value()[len(stripped):]
            if flat is None or not is_valid(flat, renamed):
                raise Unsatisfiable("a duplicated key value cannot be renamed")
            f.assign(renamed)

    def _references(self, context: Node, keyref: IdentityConstraint, key: IdentityConstraint) -> bool:
        changed = False
        targets = self._key_values(context, key)
        for selected in _select(context, keyref.selector, keyref.namespaces):
            if not self._attached(selected):
                continue
            fields = self._fields(selected, keyref)
            value = tuple(f.key_value() for f in fields)
            if None in value or value in targets:
                continue
            changed = True
            if targets:
                for f, part in zip(fields, self.rng.choice(targets)):
                    f.assign(part)
            elif all(f.can_drop() for f in fields):
                for f in fields:
                    f.drop()
            elif not _prune(selected):
                raise Unsatisfiable("%s refers to nothing and cannot be dropped" % keyref.name.local)
        return changed

    # --- ID and IDREF -------------------------------------------------------

    def _id_references(self, root: Node) -> bool:
        ids, references, free_id_places = [], [], []
        for node in root.walk():
            for name, flat in node.attribute_types.items():
                if flat.builtin == "ID":
                    if name in node.attributes:
                        ids.append(node.attributes[name])
                    else:
                        free_id_places.append((node, name, flat))
                elif flat.builtin == "IDREF" and name in node.attributes:
                    references.append((node, name))
            if node.text_type is not None and node.text_type.builtin == "IDREF" and node.text is not None:
                references.append((node, None))
        changed = False
        for node, name in references:
            current = node.attributes[name] if name is not None else node.text
            if current in ids or not self._attached(node):
                continue
            changed = True
            if not ids and free_id_places:
                holder, id_name, flat = self.rng.choice(free_id_places)
                holder.attributes[id_name] = self.values.draw(flat, attribute=True)
                ids.append(holder.attributes[id_name])
            if ids:
                target = self.rng.choice(ids)
                if name is not None:
                    node.attributes[name] = target
                else:
                    node.text = target
            elif not _prune(node):
                raise Unsatisfiable("an ID reference has no ID to refer to")
        return changed

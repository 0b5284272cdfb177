"""The schema-location hints of a document element.

xsi:schemaLocation and xsi:noNamespaceSchemaLocation tell a validator where
to find the schemas. No schema declares them, yet almost every document
carries one on its root: a class that can stand as a document element keeps
them as optional attributes, so that a document read and written back still
names its schemas.
"""

from naming import attribute_stem
from model import NS_XSI, Member, qualified

HINTS = ("schemaLocation", "noNamespaceSchemaLocation")


def hint_member(local: str) -> Member:
    return Member(stem=attribute_stem(local), kind="attribute", ns_id=NS_XSI, local_name=local,
                  qname=qualified(NS_XSI, local), min_occurs=0, value_type="string",
                  particle="@%s, optional, where a validator finds the schemas" % qualified(NS_XSI, local))


def add_schema_location_hints(document_classes: list) -> None:
    """After each class's own attributes; classes are given once each, by BoundClass."""
    for bound in document_classes:
        attributes = [i for i, m in enumerate(bound.members) if m.kind == "attribute"]
        position = attributes[-1] + 1 if attributes else 0
        for offset, local in enumerate(HINTS):
            bound.members.insert(position + offset, hint_member(local))

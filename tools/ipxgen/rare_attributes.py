"""Which optional attributes a class keeps together in one block behind one pointer.

Every configurable value admits a dozen optional attributes that documents hardly ever write, and a
word for each in every object is most of the object. A class with a few of them holds them in a
block made when the first is set (lmx60::ct_boxed). Classes of a derivation family keep their
fields where the family's shared member tables reach them, and the class of a global element of a
named type has no fields of its own.
"""

BOX_AT_LEAST = 4


def mark_boxed_attributes(model):
    for bound in model.classes:
        if bound.type_class or bound.base_class or bound.derived_classes:
            continue
        optional = [m for m in bound.members if m.kind == "attribute" and m.min_occurs == 0]
        if len(optional) >= BOX_AT_LEAST:
            for member in optional:
                member.boxed = True

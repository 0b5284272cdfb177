"""How schema names become C++ names.

Class names are handed out first come, first served, in the order the
loader visits the schema (see xsd_loader.py): each kind of place has a list
of candidates, and the first candidate nobody holds yet wins. The candidates
are what keep generated names short where the schema is unambiguous and
spell out the nesting path only where two places would clash:

  global element, named type, named group   HIPGS<X>, then HIPGS<X>2, ...
  anonymous type of a local element         HIPGS<X>, then <Owner><X>, <Owner><X>2, ...
  anonymous choice or nested sequence       HIPGSAnon<First>, then <Owner>Anon<First>, ...
  optional or repeated whole content        HIPGSInner<Owner without HIPGS>, then ...2

<X> is the schema name with its first letter upper-cased, <First> the name of
the first element or group that can start the compositor, <Owner> the class
name of the enclosing class. Places where these rules do not give the
wanted name are listed, with the reason, in overrides.py.
"""

from __future__ import annotations

import re

CLASS_PREFIX = "HIPGS"

CPP_KEYWORDS = frozenset("""
    alignas alignof and and_eq asm auto bitand bitor bool break case catch char
    char16_t char32_t class compl const constexpr const_cast continue decltype
    default delete do double dynamic_cast else enum explicit export extern false
    float for friend goto if inline int long mutable namespace new noexcept not
    not_eq nullptr operator or or_eq private protected public register
    reinterpret_cast return short signed sizeof static static_assert static_cast
    struct switch template this thread_local throw true try typedef typeid
    typename union unsigned using virtual void volatile wchar_t while xor xor_eq
""".split())


def upper_first(name: str) -> str:
    return name[:1].upper() + name[1:]


def class_stem(class_name: str) -> str:
    """Accessor stem of a member held as a class: the class name without the prefix."""
    return class_name[len(CLASS_PREFIX):] if class_name.startswith(CLASS_PREFIX) else class_name


def member_stem(local_name: str) -> str:
    """Accessor stem of an element or attribute: underscores of vendor names
    ("tristate_role") give way to camel case (TristateRole)."""
    return upper_first(re.sub(r"_+([0-9A-Za-z])", lambda match: match.group(1).upper(), local_name))


def element_stem(local_name: str) -> str:
    return member_stem(local_name)


def attribute_stem(local_name: str) -> str:
    # Attributes carry a suffix so that an attribute and a child element of the
    # same name (spirit:name, spirit:group) never share accessors.
    return member_stem(local_name) + "Attr"


def enum_type_name(stem: str) -> str:
    return "e_enum_" + stem


def cpp_identifier(text: str) -> str:
    """A C++ identifier for arbitrary schema text, e.g. an enumeration value."""
    identifier = re.sub(r"[^0-9A-Za-z_]", "_", text.strip())
    if not identifier or identifier[0].isdigit():
        identifier = "v_" + identifier
    if identifier.startswith("_"):
        # Leading underscores followed by a capital are reserved to the implementation.
        identifier = "v" + identifier
    if identifier in CPP_KEYWORDS:
        identifier += "_"
    return identifier


def enum_identifiers(values: list) -> list:
    """One distinct identifier per enumeration value, in value order."""
    seen, result = set(), []
    for value in values:
        identifier = base = cpp_identifier(value)
        counter = 2
        while identifier in seen:
            identifier = "%s%d" % (base, counter)
            counter += 1
        seen.add(identifier)
        result.append(identifier)
    return result


def unique_stems(stems: list) -> list:
    """Stems of one class made distinct: a repeated stem takes the suffix 2, 3, ..."""
    seen, result = set(), []
    for stem in stems:
        candidate, counter = stem, 2
        while candidate in seen:
            candidate = "%s%d" % (stem, counter)
            counter += 1
        seen.add(candidate)
        result.append(candidate)
    return result


class ClassNames:
    """The set of class names handed out so far."""

    def __init__(self, reserved=()):
        # Names that overrides assign to a later place are held back from the
        # general rules, so an earlier place cannot take them first.
        self._reserved = set(reserved)
        self._taken = set()

    def is_taken(self, name: str) -> bool:
        return name in self._taken

    def claim_exact(self, name: str) -> str:
        if name in self._taken:
            raise ValueError("class name %s is assigned twice" % name)
        self._taken.add(name)
        return name

    def claim_first_free(self, candidates: list) -> str:
        """The first free candidate; past the list, the last one with a number appended."""
        for candidate in candidates:
            if self._free(candidate):
                return self.claim_exact(candidate)
        last, counter = candidates[-1], 2
        while not self._free("%s%d" % (last, counter)):
            counter += 1
        return self.claim_exact("%s%d" % (last, counter))

    def _free(self, name: str) -> bool:
        return name not in self._taken and name not in self._reserved

    def for_global(self, schema_name: str) -> str:
        return self.claim_first_free([CLASS_PREFIX + upper_first(schema_name)])

    def for_local_element(self, element_name: str, owner: str) -> str:
        return self.claim_first_free([CLASS_PREFIX + upper_first(element_name),
                                      owner + upper_first(element_name)])

    def for_compositor(self, first_name: str, owner: str) -> str:
        anon = "Anon" + upper_first(first_name)
        return self.claim_first_free([CLASS_PREFIX + anon, owner + anon])

    def for_whole_content(self, owner: str) -> str:
        return self.claim_first_free([CLASS_PREFIX + "Inner" + class_stem(owner)])

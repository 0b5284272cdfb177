"""XML Schema regular expressions: parse once, then draw random matching texts or test a text.

The test-document generator needs values that satisfy `xs:pattern` facets
(scaled integers such as 0x1F or 4k, name patterns, "a:b:c" triples). Python's
`re` knows neither `\\i`, `\\c` nor `\\p{..}`, and XSD patterns are implicitly
anchored, so this module has its own small parser over the XSD dialect: atoms,
character classes with ranges, negation and subtraction, the multi-character
escapes, groups, alternation and the quantifiers `? * + {n} {n,} {n,m}`.
"""

from __future__ import annotations

import random
import unicodedata
from dataclasses import dataclass, field
from typing import Callable, Optional


class PatternError(Exception):
    """A pattern this parser cannot read."""


# Characters a random text may be drawn from: ASCII, plus a few letters outside
# it so that names and texts exercise the UTF-8 paths of a reader and a writer.
_POOL = [chr(c) for c in range(0x21, 0x7F)] + list("éüßÅЖλ")
_UNBOUNDED_REPEAT = 3  # how far '*', '+' and '{n,}' go when drawing


def _is_letter(char: str) -> bool:
    return unicodedata.category(char).startswith("L")


def _is_number(char: str) -> bool:
    return unicodedata.category(char).startswith("N")


def _is_name_start(char: str) -> bool:
    return _is_letter(char) or char in "_:"


def _is_name_char(char: str) -> bool:
    return _is_name_start(char) or _is_number(char) or char in ".-" or unicodedata.category(char) in ("Mn", "Mc")


def _is_space(char: str) -> bool:
    return char in " \t\n\r"


def _is_word(char: str) -> bool:
    category = unicodedata.category(char)
    return not (category.startswith("P") or category.startswith("Z") or category.startswith("C"))


_CATEGORY_ESCAPES = {"L": _is_letter, "N": _is_number}
_MULTI_ESCAPES = {
    "i": _is_name_start, "c": _is_name_char, "d": lambda c: unicodedata.category(c) == "Nd",
    "s": _is_space, "w": _is_word,
}
_SINGLE_ESCAPES = {"n": "\n", "r": "\r", "t": "\t"}


@dataclass
class CharSet:
    """A set of characters as a membership test; `pool` lists the ones worth drawing."""

    test: Callable[[str], bool]

    def contains(self, char: str) -> bool:
        return self.test(char)

    def candidates(self) -> list:
        # Drawing prefers ASCII letters and digits; anything else of the pool
        # comes in only sometimes, decided by the caller's generator.
        return [c for c in _POOL if self.test(c)]


@dataclass
class Node:
    kind: str  # 'chars' | 'sequence' | 'alternation' | 'repeat'
    chars: Optional[CharSet] = None
    items: list = field(default_factory=list)
    minimum: int = 0
    maximum: Optional[int] = None  # None: unbounded


class _Parser:
    def __init__(self, pattern: str):
        self.text = pattern
        self.at = 0

    def parse(self) -> Node:
        node = self.alternation()
        if self.at != len(self.text):
            raise PatternError("unexpected %r at %d in %r" % (self.text[self.at], self.at, self.text))
        return node

    def peek(self) -> str:
        return self.text[self.at] if self.at < len(self.text) else ""

    def take(self) -> str:
        char = self.peek()
        if not char:
            raise PatternError("pattern %r ends too early" % self.text)
        self.at += 1
        return char

    def alternation(self) -> Node:
        branches = [self.sequence()]
        while self.peek() == "|":
            self.at += 1
            branches.append(self.sequence())
        return branches[0] if len(branches) == 1 else Node("alternation", items=branches)

    def sequence(self) -> Node:
        pieces = []
        while self.peek() not in ("", "|", ")"):
            pieces.append(self.piece())
        return Node("sequence", items=pieces)

    def piece(self) -> Node:
        atom = self.atom()
        char = self.peek()
        if char == "?":
            self.at += 1
            return Node("repeat", items=[atom], minimum=0, maximum=1)
        if char == "*":
            self.at += 1
            return Node("repeat", items=[atom], minimum=0, maximum=None)
        if char == "+":
            self.at += 1
            return Node("repeat", items=[atom], minimum=1, maximum=None)
        if char == "{":
            return self.counted(atom)
        return atom

    def counted(self, atom: Node) -> Node:
        close = self.text.index("}", self.at)
        low, comma, high = self.text[self.at + 1:close].partition(",")
        self.at = close + 1
        minimum = int(low)
        maximum = (None if high == "" else int(high)) if comma else minimum
        return Node("repeat", items=[atom], minimum=minimum, maximum=maximum)

    def atom(self) -> Node:
        char = self.take()
        if char == "(":
            inner = self.alternation()
            if self.take() != ")":
                raise PatternError("unclosed group in %r" % self.text)
            return inner
        if char == "[":
            return Node("chars", chars=self.char_class())
        if char == "\\":
            return Node("chars", chars=self.escape())
        if char == ".":
            return Node("chars", chars=CharSet(lambda c: c not in "\n\r"))
        return Node("chars", chars=_literal(char))

    def escape(self) -> CharSet:
        char = self.take()
        if char in ("p", "P"):
            if self.take() != "{":
                raise PatternError("\\%s without a category in %r" % (char, self.text))
            close = self.text.index("}", self.at)
            name = self.text[self.at:close]
            self.at = close + 1
            if name[:1] not in _CATEGORY_ESCAPES:
                raise PatternError("unsupported category %r in %r" % (name, self.text))
            test = _CATEGORY_ESCAPES[name[:1]]
            if len(name) > 1:
                test = lambda c, n=name: unicodedata.category(c) == n
            return CharSet(test) if char == "p" else CharSet(lambda c, t=test: not t(c))
        if char.lower() in _MULTI_ESCAPES:
            test = _MULTI_ESCAPES[char.lower()]
            return CharSet(test) if char.islower() else CharSet(lambda c, t=test: not t(c))
        return _literal(_SINGLE_ESCAPES.get(char, char))

    def char_class(self) -> CharSet:
        negated = self.peek() == "^"
        if negated:
            self.at += 1
        members = []
        first = True
        while True:
            char = self.peek()
            if char == "]" and not first:
                self.at += 1
                break
            if char == "-" and self.text[self.at + 1:self.at + 2] == "[":
                self.at += 2
                excluded = self.char_class()
                if self.take() != "]":
                    raise PatternError("subtraction must end its class in %r" % self.text)
                included = _union(members, negated)
                return CharSet(lambda c: included.contains(c) and not excluded.contains(c))
            members.append(self.class_member())
            first = False
        return _union(members, negated)

    def class_member(self) -> CharSet:
        char = self.take()
        if char == "\\":
            escaped = self.escape()
            return escaped
        if self.peek() == "-" and self.text[self.at + 1:self.at + 2] not in ("]", "["):
            self.at += 1
            high = self.take()
            if high == "\\":
                high = _SINGLE_ESCAPES.get(self.peek(), self.peek())
                self.at += 1
            return CharSet(lambda c, lo=char, hi=high: lo <= c <= hi)
        return _literal(char)


def _literal(char: str) -> CharSet:
    return CharSet(lambda c, expected=char: c == expected)


def _union(members: list, negated: bool) -> CharSet:
    if negated:
        return CharSet(lambda c: not any(m.contains(c) for m in members))
    return CharSet(lambda c: any(m.contains(c) for m in members))


class Pattern:
    """One `xs:pattern` value, anchored at both ends as XML Schema reads it."""

    def __init__(self, text: str):
        self.text = text
        self.root = _Parser(text).parse()

    def matches(self, value: str) -> bool:
        return len(value) in _ends(self.root, value, 0)

    def draw(self, rng: random.Random) -> str:
        return "".join(_draw(self.root, rng))


def _ends(node: Node, text: str, start: int) -> set:
    """Every position where a match of node that begins at start can end."""
    if node.kind == "chars":
        return {start + 1} if start < len(text) and node.chars.contains(text[start]) else set()
    if node.kind == "alternation":
        found = set()
        for branch in node.items:
            found |= _ends(branch, text, start)
        return found
    if node.kind == "sequence":
        positions = {start}
        for item in node.items:
            positions = set().union(*(_ends(item, text, p) for p in positions)) if positions else set()
        return positions
    reached, frontier, count = set(), {start}, 0
    if node.minimum == 0:
        reached.add(start)
    while frontier and (node.maximum is None or count < node.maximum):
        frontier = set().union(*(_ends(node.items[0], text, p) for p in frontier)) - {p for p in frontier}
        count += 1
        if count >= node.minimum:
            reached |= frontier
    return reached


def _draw(node: Node, rng: random.Random) -> list:
    if node.kind == "chars":
        return [_draw_char(node.chars, rng)]
    if node.kind == "alternation":
        return _draw(rng.choice(node.items), rng)
    if node.kind == "sequence":
        return [c for item in node.items for c in _draw(item, rng)]
    top = node.maximum if node.maximum is not None else node.minimum + _UNBOUNDED_REPEAT
    return [c for _ in range(rng.randint(node.minimum, top)) for c in _draw(node.items[0], rng)]


def _draw_char(chars: CharSet, rng: random.Random) -> str:
    candidates = chars.candidates()
    if not candidates:
        raise PatternError("a character class matches nothing that can be drawn")
    plain = [c for c in candidates if c.isascii() and c.isalnum()]
    if plain and rng.random() < 0.85:
        return rng.choice(plain)
    return rng.choice(candidates)

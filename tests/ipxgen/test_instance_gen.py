"""Tests of the test-document generator: XSD patterns, simple values, identity repair, and what a
run over the real schemas reaches.

Run from the repository root:  python3 -m unittest discover -s tests/ipxgen
"""

import os
import random
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest
import xml.etree.ElementTree as ET

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
GENERATOR = os.path.join(REPOSITORY, "tools", "ipxgen")
IEEE_DIR = os.path.join(REPOSITORY, "..", "shared", "ipxact-1685-2009")
VENDOR_DIR = os.path.join(REPOSITORY, "schema")
sys.path.insert(0, GENERATOR)

import instance_gen  # noqa: E402
import ipxgen  # noqa: E402
from instance_values import ValueDrawer, flatten, is_valid  # noqa: E402
from model import SPIRIT_URI, VORLIX_URI  # noqa: E402
from xsd_loader import QName, SchemaSet  # noqa: E402
from xsd_regex import Pattern  # noqa: E402

SCALED_INTEGER = r"[+\-]?(0x|0X|#)?[0-9a-fA-F]+[kmgtKMGT]?"


class XsdPatterns(unittest.TestCase):
    def test_a_pattern_matches_the_whole_text_only(self):
        pattern = Pattern(SCALED_INTEGER)
        for text in ("0x1F", "4k", "-#ff", "+12T", "007"):
            self.assertTrue(pattern.matches(text), text)
        for text in ("0x", "4kk", " 4", "4 ", "", "0xG"):
            self.assertFalse(pattern.matches(text), text)

    def test_name_escapes_categories_subtraction_and_negation(self):
        self.assertTrue(Pattern(r"\i[\p{L}\p{N}\.\-:_]*").matches("élan-2.b"))
        self.assertFalse(Pattern(r"\i[\p{L}\p{N}\.\-:_]*").matches("2abc"))
        self.assertTrue(Pattern(r"[a-z-[aeiou]]+").matches("xyz"))
        self.assertFalse(Pattern(r"[a-z-[aeiou]]+").matches("xaz"))
        self.assertTrue(Pattern(r"[^:]+:[^:]+").matches("a:b"))
        self.assertFalse(Pattern(r"[^:]+:[^:]+").matches("a:b:c"))
        self.assertTrue(Pattern(r"a{2,3}").matches("aaa"))
        self.assertFalse(Pattern(r"a{2,3}").matches("aaaa"))

    def test_every_drawn_text_matches_its_pattern(self):
        rng = random.Random(3)
        for text in (SCALED_INTEGER, r"[+]?(0x|0X|#)?[0]*[1-9a-fA-F][0-9a-fA-F]*[kmgtKMGT]?",
                     r"[a-zA-Z0-9_+\*\.]*:[a-zA-Z0-9_+\*\.]*:[a-zA-Z0-9_+\*\.]*",
                     r"(\i[\p{L}\p{N}\.\-:_]*/)+[\i\p{L}\p{N}\.\-:_]*"):
            pattern = Pattern(text)
            for _ in range(200):
                drawn = pattern.draw(rng)
                self.assertTrue(pattern.matches(drawn), (text, drawn))


def ieee_schemas():
    if not os.path.isdir(IEEE_DIR):
        raise unittest.SkipTest("IEEE 1685-2009 schema not found at %s" % IEEE_DIR)
    return ipxgen.load(IEEE_DIR, VENDOR_DIR)


class SimpleValues(unittest.TestCase):
    def test_the_patterns_of_every_derivation_step_must_hold(self):
        positive = flatten(ieee_schemas(), QName(SPIRIT_URI, "scaledPositiveInteger"))
        for text in ("0x1F", "4k", "+#00a", "1"):
            self.assertTrue(is_valid(positive, text), text)
        # "0" passes the two base steps and fails only the positive step; "-1" the other way round.
        for text in ("0", "0x000", "-1", "1.5"):
            self.assertFalse(is_valid(positive, text), text)

    def test_unbounded_integers_go_past_64_bits_but_stay_checkable(self):
        drawer = ValueDrawer(random.Random(5))
        flat = flatten(ieee_schemas(), QName("http://www.w3.org/2001/XMLSchema", "nonNegativeInteger"))
        values = [drawer.draw(flat) for _ in range(400)]
        self.assertTrue(all(is_valid(flat, v) for v in values))
        self.assertTrue(any(int(v) > 2 ** 64 for v in values))
        # libxml2's validator holds 24 decimal digits; longer values could not be checked.
        self.assertLessEqual(max(len(v.lstrip("+")) for v in values), 24)

    def test_names_drawn_for_one_document_differ(self):
        drawer = ValueDrawer(random.Random(9))
        flat = flatten(ieee_schemas(), QName("http://www.w3.org/2001/XMLSchema", "Name"))
        names = [drawer.draw(flat) for _ in range(300)]
        self.assertEqual(len(set(names)), len(names))


SMALL_SCHEMA = textwrap.dedent("""\
    <?xml version="1.0" encoding="UTF-8"?>
    <xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:spirit="{uri}"
               targetNamespace="{uri}" elementFormDefault="qualified" attributeFormDefault="qualified">
      <xs:element name="library">
        <xs:complexType>
          <xs:sequence>
            <xs:element name="owner">
              <xs:complexType>
                <xs:sequence>
                  <xs:element name="name" type="xs:Name" minOccurs="0"/>
                </xs:sequence>
              </xs:complexType>
            </xs:element>
            <xs:element name="item" minOccurs="0" maxOccurs="unbounded">
              <xs:complexType>
                <xs:sequence>
                  <xs:element name="name" type="xs:Name"/>
                  <xs:choice>
                    <xs:element name="red" type="xs:string"/>
                    <xs:element name="green" type="xs:boolean"/>
                    <xs:element name="blue" type="xs:integer"/>
                  </xs:choice>
                  <xs:element ref="spirit:node" minOccurs="0"/>
                </xs:sequence>
                <xs:attribute name="kind" type="spirit:kindType" use="required"/>
                <xs:attribute name="tag" type="xs:ID"/>
              </xs:complexType>
            </xs:element>
            <xs:element name="ref" minOccurs="0" maxOccurs="unbounded">
              <xs:complexType>
                <xs:attribute name="to" type="xs:Name" use="required"/>
                <xs:attribute name="file" type="xs:IDREF"/>
              </xs:complexType>
            </xs:element>
          </xs:sequence>
        </xs:complexType>
        <xs:key name="itemKey">
          <xs:selector xpath="spirit:item"/>
          <xs:field xpath="spirit:name"/>
        </xs:key>
        <xs:key name="ownerKey">
          <xs:selector xpath="spirit:owner"/>
          <xs:field xpath="spirit:name"/>
        </xs:key>
        <xs:keyref name="itemRef" refer="spirit:itemKey">
          <xs:selector xpath="spirit:ref"/>
          <xs:field xpath="@spirit:to"/>
        </xs:keyref>
      </xs:element>
      <xs:element name="node">
        <xs:complexType>
          <xs:sequence>
            <xs:element ref="spirit:node" minOccurs="0" maxOccurs="2"/>
          </xs:sequence>
        </xs:complexType>
      </xs:element>
      <xs:simpleType name="kindType">
        <xs:restriction base="xs:token">
          <xs:enumeration value="alpha"/>
          <xs:enumeration value="beta"/>
          <xs:enumeration value="gamma"/>
        </xs:restriction>
      </xs:simpleType>
    </xs:schema>
    """).format(uri=SPIRIT_URI)

LIBRARY = QName(SPIRIT_URI, "library")


def tag_name(local):
    return QName(SPIRIT_URI, local)


def tag(local):
    return "{%s}%s" % (SPIRIT_URI, local)


class DocumentsOfASmallSchema(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.mkdtemp()
        cls.schema_path = os.path.join(cls.directory, "small.xsd")
        with open(cls.schema_path, "w", encoding="utf-8") as out:
            out.write(SMALL_SCHEMA)
        schemas = SchemaSet()
        schemas.load(cls.schema_path)
        cls.index = instance_gen.SchemaIndex(schemas)
        cls.coverage = instance_gen.Coverage()
        cls.documents = [instance_gen.generate(cls.index, LIBRARY, seed, cls.coverage) for seed in range(1, 41)]

    @classmethod
    def tearDownClass(cls):
        shutil.rmtree(cls.directory)

    def test_the_same_seed_gives_the_same_document(self):
        self.assertEqual(instance_gen.generate(self.index, LIBRARY, 3), self.documents[2])
        self.assertNotEqual(self.documents[2], self.documents[3])

    def test_seeds_reach_every_alternative_and_enumeration_value(self):
        self.assertTrue(self.coverage.choices)
        for label, (alternatives, chosen) in self.coverage.choices.items():
            self.assertEqual(len(chosen), alternatives, label)
        (values, used), = self.coverage.enumerations.values()
        self.assertEqual(set(values), used)

    def test_an_optional_child_that_a_key_reads_is_always_there(self):
        # Required content drawn at the recursion or size limit leaves optional children out, and a
        # key field missing there could not be repaired by any number of redraws.
        self.assertTrue(self.index.is_key_field(tag_name("owner"), tag_name("name")))
        self.assertFalse(self.index.is_key_field(tag_name("library"), tag_name("name")))
        for text in self.documents:
            owner = ET.fromstring(text.encode("utf-8")).find(tag("owner"))
            self.assertIsNotNone(owner.find(tag("name")))

    def test_key_references_name_existing_keys_and_id_references_existing_ids(self):
        for text in self.documents:
            root = ET.fromstring(text.encode("utf-8"))
            names = {item.findtext(tag("name")) for item in root.iter(tag("item"))}
            ids = {item.get(tag("tag")) for item in root.iter(tag("item"))} - {None}
            self.assertEqual(len(names), len(root.findall(tag("item"))))
            for ref in root.iter(tag("ref")):
                self.assertIn(ref.get(tag("to")), names)
                if ref.get(tag("file")) is not None:
                    self.assertIn(ref.get(tag("file")), ids)

    def test_recursion_stops(self):
        def depth(element):
            return 1 + max((depth(c) for c in element.findall(tag("node"))), default=0)
        for text in self.documents:
            for node in ET.fromstring(text.encode("utf-8")).iter(tag("item")):
                for top in node.findall(tag("node")):
                    self.assertLessEqual(depth(top), instance_gen.RECURSION_LIMIT + 1)

    def test_xmllint_accepts_every_document(self):
        if shutil.which("xmllint") is None:
            self.skipTest("xmllint is not installed")
        paths = []
        for seed, text in enumerate(self.documents, 1):
            paths.append(os.path.join(self.directory, "doc%d.xml" % seed))
            with open(paths[-1], "w", encoding="utf-8") as out:
                out.write(text)
        run = subprocess.run(["xmllint", "--noout", "--schema", self.schema_path] + paths,
                             capture_output=True, text=True)
        self.assertEqual(run.returncode, 0, run.stderr)


class RunOverTheBoundSchemas(unittest.TestCase):
    """Fifty seeds per global element, as the round-trip tests draw them."""

    @classmethod
    def setUpClass(cls):
        cls.index = instance_gen.SchemaIndex(ieee_schemas())
        cls.coverage = instance_gen.Coverage()
        cls.roots = instance_gen.global_elements(cls.index)
        cls.documents = [instance_gen.generate(cls.index, root, seed, cls.coverage)
                         for root in cls.roots for seed in range(1, 51)]

    def test_every_global_element_of_both_schemas_is_drawn(self):
        self.assertEqual(len(self.roots), 100)
        self.assertEqual(sum(1 for r in self.roots if r.ns == VORLIX_URI), 20)

    def test_every_choice_alternative_and_enumeration_value_is_reached(self):
        self.assertEqual(self.coverage.report().count("\n  "), 0, self.coverage.report())

    def test_every_typed_vendor_slot_is_filled_somewhere(self):
        extensions = tag("vendorExtensions")
        found = set()
        for text in self.documents:
            for holder in ET.fromstring(text.encode("utf-8")).iter(extensions):
                found |= {child.tag for child in holder}
        expected = {"{%s}%s" % (VORLIX_URI, local) for local in instance_gen.TYPED_SLOTS.values()}
        self.assertEqual(expected - found, set())


if __name__ == "__main__":
    unittest.main()

"""Tests of the test-document generator: XSD patterns, simple values, identity repair, and what a
run over the real schemas reaches.

Run from the repository root:  python3 -m unittest discover -s tests/instancegen
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
from decimal import Decimal

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
INSTANCEGEN = os.path.join(REPOSITORY, "tools", "instancegen")
GENERATOR = os.path.join(REPOSITORY, "tools", "ipxgen")
IEEE_DIR = os.path.join(REPOSITORY, "..", "shared", "ipxact-1685-2009")
VENDOR_DIR = os.path.join(REPOSITORY, "schema")
sys.path.insert(0, INSTANCEGEN)
sys.path.insert(1, GENERATOR)

import instance_gen  # noqa: E402
import ipxgen  # noqa: E402
from instance_values import FlatSimple, ValueDrawer, flatten, is_valid  # noqa: E402
from model import SPIRIT_URI, VORLIX_URI  # noqa: E402
from xsd_loader import Facets, QName, SchemaSet  # noqa: E402
from xsd_regex import Pattern  # noqa: E402

SCALED_INTEGER = r"[+\-]?(0x|0X|#)?[0-9a-fA-F]+[kmgtKMGT]?"
XS_URI = "http://www.w3.org/2001/XMLSchema"


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
        # libxml2's validator holds 24 decimal digits (leading zeros aside); longer values could not be
        # checked.
        self.assertLessEqual(max(len(v.strip().lstrip("+").lstrip("0")) for v in values), 24)

    def test_names_drawn_for_one_document_differ(self):
        drawer = ValueDrawer(random.Random(9))
        flat = flatten(ieee_schemas(), QName("http://www.w3.org/2001/XMLSchema", "Name"))
        names = [drawer.draw(flat) for _ in range(300)]
        self.assertEqual(len(set(names)), len(names))


def collapsed(text):
    return " ".join(text.split())


class EdgeForms(unittest.TestCase):
    """The empty and boundary forms the drawer mixes in, each valid for its type."""

    @classmethod
    def setUpClass(cls):
        cls.schemas = ieee_schemas()

    def builtin(self, local):
        return flatten(self.schemas, QName(XS_URI, local))

    def drawn(self, flat, count=1000, attribute=False, seed=11):
        drawer = ValueDrawer(random.Random(seed))
        values = [drawer.draw(flat, attribute=attribute) for _ in range(count)]
        for value in values:
            self.assertTrue(is_valid(flat, value), (flat.name, value))
        return values

    def test_lists_have_no_items_the_least_and_the_most_items(self):
        configurable = flatten(self.schemas, QName(SPIRIT_URI, "configurableDouble"))
        counts = [len(v.split()) for v in self.drawn(configurable)]
        self.assertEqual(set(counts), {0, 1})
        self.assertGreater(counts.count(0), 50)
        # An attribute never gets an empty value, whatever its type allows.
        self.assertNotIn(0, [len(v.split()) for v in self.drawn(configurable, attribute=True)])
        between = self.builtin("integer").restricted(Facets())
        between = FlatSimple("list", "list", [Facets(min_length=2, max_length=4)], between)
        counts = {len(v.split()) for v in self.drawn(between)}
        self.assertEqual(counts, {2, 3, 4})
        # The built-in lists hold at least one item.
        self.assertFalse(is_valid(self.builtin("NMTOKENS"), ""))
        self.assertFalse("" in [v.strip() for v in self.drawn(self.builtin("NMTOKENS"))])

    def test_texts_are_empty_only_where_the_type_allows_it(self):
        for local in ("string", "normalizedString", "token", "anySimpleType"):
            self.assertTrue("" in self.drawn(self.builtin(local)), local)
            self.assertFalse("" in self.drawn(self.builtin(local), attribute=True), local)
        for local in ("Name", "NCName", "NMTOKEN", "ID"):
            self.assertFalse("" in [v.strip() for v in self.drawn(self.builtin(local))], local)
        sized = self.builtin("string").restricted(Facets(min_length=3, max_length=5))
        lengths = {len(v) for v in self.drawn(sized)}
        self.assertTrue({3, 5} <= lengths and lengths <= {3, 4, 5}, lengths)

    def test_integers_reach_their_exact_bounds(self):
        cases = [("long", -2 ** 63, 2 ** 63 - 1), ("nonNegativeInteger", 0, None), ("positiveInteger", 1, None),
                 ("unsignedLong", 0, 2 ** 64 - 1), ("byte", -128, 127)]
        for local, low, high in cases:
            numbers = {int(v) for v in self.drawn(self.builtin(local))}
            self.assertEqual(min(numbers), low, local)
            if high is not None:
                self.assertEqual(max(numbers), high, local)
        # Exclusive bounds are reached one step inside.
        inside = self.builtin("integer").restricted(Facets(min_exclusive="2", max_exclusive="10"))
        numbers = {int(v) for v in self.drawn(inside)}
        self.assertEqual((min(numbers), max(numbers)), (3, 9))
        spelled = set(self.drawn(self.builtin("long")))
        self.assertEqual({"+9223372036854775807", "-09223372036854775808", "-0", "+0"} - spelled, set())

    def test_reals_reach_infinities_nan_zeros_and_extremes(self):
        values = {v.strip() for v in self.drawn(self.builtin("double"))}
        missing = {"INF", "-INF", "NaN", "-0", "0", "1.7976931348623157E308", "4.9E-324", "1e+3"} - values
        self.assertEqual(missing, set())
        # NaN and the infinities are outside a bounded range; its bounds themselves are inside.
        percentage = flatten(self.schemas, QName(SPIRIT_URI, "delayPercentageType"))
        self.assertFalse(is_valid(percentage, "NaN"))
        numbers = [Decimal(v) for v in self.drawn(percentage)]
        self.assertEqual((min(numbers), max(numbers)), (0, 100))

    def test_booleans_and_dates_reach_every_form(self):
        self.assertEqual({collapsed(v) for v in self.drawn(self.builtin("boolean"))}, {"true", "false", "1", "0"})
        dates = self.drawn(self.builtin("date")) + self.drawn(self.builtin("dateTime"))
        self.assertTrue(any(v.startswith("-") for v in dates))
        self.assertTrue(any(v.startswith("0001-") for v in dates) and any(v.startswith("9999-") for v in dates))
        self.assertTrue(any(v.endswith("Z") for v in dates) and any(v.endswith("+14:00") for v in dates))
        self.assertTrue("2009-12-31T24:00:00" in dates)
        for wrong in ("0000-01-01", "2009-02-29", "2009-12-31+14:01", "2009-13-01"):
            self.assertFalse(is_valid(self.builtin("date"), wrong), wrong)
        self.assertFalse(is_valid(self.builtin("dateTime"), "2009-12-31T24:00:01"))

    def test_collapsed_values_get_whitespace_around_and_inside(self):
        names = self.drawn(self.builtin("Name"))
        padded = [v for v in names if v != v.strip()]
        self.assertTrue(padded)
        self.assertTrue(any("\t" in v or "\n" in v for v in padded))
        tokens = self.drawn(flatten(self.schemas, QName(XS_URI, "NMTOKENS")), attribute=True)
        self.assertTrue(any("  " in v.strip() or "\t" in v.strip() for v in tokens))
        # libxml2's validator, which checks the test documents, refuses whitespace around these
        # although it collapses away; the drawer leaves them bare.
        for local in ("long", "date", "dateTime"):
            self.assertEqual([v for v in self.drawn(self.builtin(local)) if v != v.strip()], [], local)
        self.assertEqual([v for v in self.drawn(self.builtin("double")) if v.split() and v.split()[0] in
                          ("INF", "-INF", "NaN") and v != v.rstrip()], [])

    def test_unions_draw_the_edge_forms_of_each_member(self):
        union = FlatSimple("union", "union", members=[self.builtin("long"), self.builtin("date")])
        values = set(self.drawn(union))
        self.assertEqual({"9223372036854775807", "-9223372036854775808", "-0001-12-31", "2009-12-31+14:00"} - values,
                         set())

    def test_the_same_seed_draws_the_same_values(self):
        flat = flatten(self.schemas, QName(SPIRIT_URI, "configurableDouble"))
        self.assertEqual(self.drawn(flat, 300, seed=4), self.drawn(flat, 300, seed=4))
        self.assertNotEqual(self.drawn(flat, 300, seed=4), self.drawn(flat, 300, seed=5))


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
            # Names and IDs are compared as the validator compares them, with whitespace collapsed.
            names = {collapsed(item.findtext(tag("name"))) for item in root.iter(tag("item"))}
            ids = {collapsed(item.get(tag("tag"))) for item in root.iter(tag("item")) if item.get(tag("tag"))}
            self.assertEqual(len(names), len(root.findall(tag("item"))))
            for ref in root.iter(tag("ref")):
                self.assertIn(collapsed(ref.get(tag("to"))), names)
                if ref.get(tag("file")) is not None:
                    self.assertIn(collapsed(ref.get(tag("file"))), ids)

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


SEEDS = range(1, 51)
# (lowest, highest) of the integer built-ins the two schemas use; None where unbounded.
INTEGER_BOUNDS = {"long": (-2 ** 63, 2 ** 63 - 1), "nonNegativeInteger": (0, None), "positiveInteger": (1, None),
                  "integer": (None, None)}


class RunOverTheBoundSchemas(unittest.TestCase):
    """Fifty seeds per global element, as the round-trip tests draw them."""

    @classmethod
    def setUpClass(cls):
        cls.index = instance_gen.SchemaIndex(ieee_schemas())
        cls.coverage = instance_gen.Coverage()
        cls.roots = instance_gen.global_elements(cls.index)
        cls.drawn = []  # (FlatSimple, value, in an attribute) of every value drawn
        draw = ValueDrawer.draw

        def recorded(drawer, flat, unique=True, attribute=False):
            value = draw(drawer, flat, unique, attribute)
            cls.drawn.append((flat, value, attribute))
            return value

        ValueDrawer.draw = recorded
        try:
            cls.documents = {(root, seed): instance_gen.generate(cls.index, root, seed, cls.coverage)
                             for root in cls.roots for seed in SEEDS}
        finally:
            ValueDrawer.draw = draw

    def test_every_global_element_of_both_schemas_is_drawn(self):
        self.assertEqual(len(self.roots), 100)
        self.assertEqual(sum(1 for r in self.roots if r.ns == VORLIX_URI), 20)

    def test_every_choice_alternative_and_enumeration_value_is_reached(self):
        self.assertEqual(self.coverage.report().count("\n  "), 0, self.coverage.report())

    def test_every_typed_vendor_slot_is_filled_somewhere(self):
        extensions = tag("vendorExtensions")
        found = set()
        for text in self.documents.values():
            for holder in ET.fromstring(text.encode("utf-8")).iter(extensions):
                found |= {child.tag for child in holder}
        expected = {"{%s}%s" % (VORLIX_URI, local) for local in instance_gen.TYPED_SLOTS.values()}
        self.assertEqual(expected - found, set())

    def test_configurable_doubles_are_empty_in_some_documents(self):
        # spirit:configurableDouble is a list of at most one double, so no double at all is a value.
        def empty_somewhere(root, holders):
            return [seed for seed in SEEDS for element in ET.fromstring(
                self.documents[(QName(SPIRIT_URI, root), seed)].encode("utf-8")).iter()
                if element.tag in {tag(h) for h in holders} and not (element.text or "").split()]

        self.assertTrue(empty_somewhere("clockDriver", ["clockPeriod"]))
        self.assertTrue(empty_somewhere("otherClockDriver", ["clockPeriod", "clockPulseOffset", "clockPulseDuration"]))
        self.assertTrue(empty_somewhere("singleShotDriver", ["singleShotOffset", "singleShotDuration"]))

    def test_empty_and_boundary_values_are_drawn(self):
        empty_lists = [v for flat, v, _ in self.drawn if flat.variety == "list" and not v.split()]
        empty_texts = [v for flat, v, _ in self.drawn if flat.variety == "atomic" and v == ""
                       and flat.builtin in ("string", "token", "normalizedString", "anySimpleType")]
        self.assertTrue(empty_lists)
        self.assertTrue(empty_texts)
        reached = {local: set() for local in INTEGER_BOUNDS}
        for flat, value, _ in self.drawn:
            if flat.variety == "atomic" and flat.builtin in INTEGER_BOUNDS:
                reached[flat.builtin].add(int(value))
        for local, (low, high) in INTEGER_BOUNDS.items():
            numbers = reached[local]
            self.assertTrue(numbers, "no xs:%s drawn" % local)
            self.assertEqual({low, high} - {None} - numbers, set(), local)
            self.assertEqual((low is None or min(numbers) >= low, high is None or max(numbers) <= high), (True, True))
        self.assertEqual([v for _, v, attribute in self.drawn if attribute and not v.strip()], [])

    def test_xmllint_accepts_every_document(self):
        # The vendor schema imports the standard one and also checks vendor content inside
        # spirit:vendorExtensions; a standard document must satisfy both.
        if shutil.which("xmllint") is None:
            self.skipTest("xmllint is not installed")
        directory = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, directory)
        standard, every = [], []
        for (root, seed), text in self.documents.items():
            path = os.path.join(directory, "%s_%d.xml" % (root.local, seed))
            if root.ns == VORLIX_URI:
                path = path.replace(".xml", "_vendor.xml")
            else:
                standard.append(path)
            every.append(path)
            with open(path, "w", encoding="utf-8") as out:
                out.write(text)
        for schema, paths in ((os.path.join(VENDOR_DIR, "vorlix.xsd"), every),
                              (os.path.join(IEEE_DIR, "index.xsd"), standard)):
            for start in range(0, len(paths), 500):
                run = subprocess.run(["xmllint", "--noout", "--schema", schema] + paths[start:start + 500],
                                     capture_output=True, text=True)
                refused = [line for line in run.stderr.splitlines() if not line.endswith(" validates")]
                self.assertEqual((run.returncode, refused[:20]), (0, []), schema)


if __name__ == "__main__":
    unittest.main()

"""The comparer of round-trip documents tells a value written back in another spelling from a value
changed, by what the schema declares for it in the place it stands.

Run from the repository root:  python3 -m unittest discover -s tests/ipxgen
"""

import os
import sys
import tempfile
import textwrap
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(REPOSITORY, "tools"))

import xmlcanon  # noqa: E402

ACME = "http://www.example.com/acme"

# One name, two meanings: acme:name is a token inside a widget (reached through a group its base type
# refers to) and a string inside a note; acme:clock likewise through an attribute group. acme:weight is
# a float inside a widget and a decimal inside the catalog. acme:part is declared as the base type in a
# widget and as the derived type in the catalog. acme:extras takes any element, so what stands in it
# has no parent declaration and goes by its name.
SCHEMA = """\
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:acme="http://www.example.com/acme"
           targetNamespace="http://www.example.com/acme"
           elementFormDefault="qualified" attributeFormDefault="qualified">
  <xs:simpleType name="weight">
    <xs:restriction base="xs:float"><xs:minInclusive value="0"/></xs:restriction>
  </xs:simpleType>
  <xs:group name="naming">
    <xs:sequence><xs:element name="name" type="xs:token"/></xs:sequence>
  </xs:group>
  <xs:attributeGroup name="clocked">
    <xs:attribute name="clock" type="xs:NMTOKENS"/>
  </xs:attributeGroup>
  <xs:complexType name="partRef">
    <xs:attribute name="vendor" type="xs:string"/>
  </xs:complexType>
  <xs:complexType name="boardRef">
    <xs:complexContent>
      <xs:extension base="acme:partRef"><xs:attribute name="slot" type="xs:int"/></xs:extension>
    </xs:complexContent>
  </xs:complexType>
  <xs:complexType name="named">
    <xs:sequence><xs:group ref="acme:naming"/></xs:sequence>
    <xs:attributeGroup ref="acme:clocked"/>
  </xs:complexType>
  <xs:complexType name="widget">
    <xs:complexContent>
      <xs:extension base="acme:named">
        <xs:sequence>
          <xs:element name="weight" type="acme:weight" minOccurs="0"/>
          <xs:element name="part" type="acme:partRef" minOccurs="0"/>
        </xs:sequence>
        <xs:attribute name="rank" type="xs:float"/>
      </xs:extension>
    </xs:complexContent>
  </xs:complexType>
  <xs:element name="label" type="xs:token"/>
  <xs:element name="catalog">
    <xs:complexType>
      <xs:sequence>
        <xs:element name="widget" type="acme:widget" minOccurs="0" maxOccurs="unbounded"/>
        <xs:element name="note" minOccurs="0">
          <xs:complexType>
            <xs:sequence><xs:element name="name" type="xs:string"/></xs:sequence>
            <xs:attribute name="clock" type="xs:string"/>
            <xs:attribute name="rank" type="xs:string"/>
          </xs:complexType>
        </xs:element>
        <xs:element name="weight" type="xs:decimal" minOccurs="0"/>
        <xs:element name="part" type="acme:boardRef" minOccurs="0"/>
        <xs:element name="extras" minOccurs="0">
          <xs:complexType>
            <xs:sequence><xs:any processContents="lax" maxOccurs="unbounded"/></xs:sequence>
          </xs:complexType>
        </xs:element>
      </xs:sequence>
    </xs:complexType>
  </xs:element>
</xs:schema>
"""

DOCUMENT = """\
<?xml version="1.0" encoding="UTF-8"?>
<acme:catalog xmlns:acme="http://www.example.com/acme"
              xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance">%s</acme:catalog>
"""


class XmlCanonTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        schema = os.path.join(cls.directory.name, "acme.xsd")
        with open(schema, "w", encoding="utf-8") as out:
            out.write(SCHEMA)
        cls.facts = xmlcanon.SchemaFacts([schema])

    @classmethod
    def tearDownClass(cls):
        cls.directory.cleanup()

    def differences(self, read: str, written: str, facts=True) -> list:
        """(kind, path) of each difference between two catalogs holding those bodies."""
        paths = []
        for number, body in enumerate((read, written)):
            path = os.path.join(self.directory.name, "%s_%d.xml" % (self.id().rpartition(".")[2], number))
            with open(path, "w", encoding="utf-8") as out:
                out.write(DOCUMENT % textwrap.dedent(body))
            paths.append(path)
        found = xmlcanon.compare(xmlcanon.parse(paths[0]), xmlcanon.parse(paths[1]),
                                 facts=self.facts if facts else None)
        # Paths name a namespace the comparer has no prefix for by its URI.
        return [(difference.kind, difference.path.replace(ACME + ":", "acme:")) for difference in found]

    # --- whitespace -------------------------------------------------------------------

    def test_a_name_collapsed_where_its_parent_declares_a_token(self):
        self.assertEqual(
            self.differences("<acme:widget><acme:name>  fast \n  adder </acme:name></acme:widget>",
                             "<acme:widget><acme:name>fast adder</acme:name></acme:widget>"),
            [("whitespace collapsed by the value's type", "/acme:catalog/acme:widget/acme:name")])

    def test_a_name_collapsed_where_its_parent_declares_a_string(self):
        self.assertEqual(
            self.differences("<acme:note><acme:name>  fast \n  adder </acme:name></acme:note>",
                             "<acme:note><acme:name>fast adder</acme:name></acme:note>"),
            [("whitespace", "/acme:catalog/acme:note/acme:name")])

    def test_an_attribute_collapsed_where_its_attribute_group_declares_tokens(self):
        self.assertEqual(
            self.differences('<acme:widget acme:clock=" clk0   clk1"><acme:name>a</acme:name></acme:widget>',
                             '<acme:widget acme:clock="clk0 clk1"><acme:name>a</acme:name></acme:widget>'),
            [("whitespace collapsed by the value's type", "/acme:catalog/acme:widget/@acme:clock")])

    def test_an_attribute_collapsed_where_its_parent_declares_a_string(self):
        self.assertEqual(
            self.differences('<acme:note acme:clock=" clk0   clk1"><acme:name>a</acme:name></acme:note>',
                             '<acme:note acme:clock="clk0 clk1"><acme:name>a</acme:name></acme:note>'),
            [("whitespace", "/acme:catalog/acme:note/@acme:clock")])

    def test_whitespace_kept_partly_is_not_what_the_type_reads(self):
        self.assertEqual(
            self.differences("<acme:widget><acme:name> fast  adder</acme:name></acme:widget>",
                             "<acme:widget><acme:name>fast  adder</acme:name></acme:widget>"),
            [("whitespace", "/acme:catalog/acme:widget/acme:name")])

    def test_without_a_parent_declaration_the_name_decides(self):
        # The wildcard says nothing of its elements: acme:label is a token wherever declared, acme:name
        # a string in one place, so only the label's whitespace is no part of its value.
        self.assertEqual(
            self.differences("<acme:extras><acme:label> big  red </acme:label><acme:name> a  b </acme:name>"
                             "</acme:extras>",
                             "<acme:extras><acme:label>big red</acme:label><acme:name>a b</acme:name>"
                             "</acme:extras>"),
            [("whitespace collapsed by the value's type", "/acme:catalog/acme:extras/acme:label"),
             ("whitespace", "/acme:catalog/acme:extras/acme:name")])

    # --- xsi:type ---------------------------------------------------------------------

    def test_xsi_type_written_naming_the_type_declared_in_that_parent(self):
        # Another prefix for the same namespace: the type is compared by namespace URI.
        self.assertEqual(
            self.differences('<acme:part acme:vendor="example.com"/>',
                             '<acme:part xmlns:a="http://www.example.com/acme" xsi:type="a:boardRef"'
                             ' acme:vendor="example.com"/>'),
            [("xsi:type naming the declared type written", "/acme:catalog/acme:part/@xsi:type")])

    def test_xsi_type_written_naming_a_type_declared_only_in_another_parent(self):
        # acme:partRef is a declared type of acme:part, but in a widget; in the catalog it would make
        # the element another type than the one it is.
        self.assertEqual(
            self.differences('<acme:part acme:vendor="example.com"/>',
                             '<acme:part xsi:type="acme:partRef" acme:vendor="example.com"/>'),
            [("attribute only in output", "/acme:catalog/acme:part/@xsi:type")])

    def test_xsi_type_written_in_the_other_parent(self):
        self.assertEqual(
            self.differences('<acme:widget><acme:name>a</acme:name><acme:part/></acme:widget>',
                             '<acme:widget><acme:name>a</acme:name><acme:part xsi:type="acme:partRef"/>'
                             '</acme:widget>'),
            [("xsi:type naming the declared type written", "/acme:catalog/acme:widget/acme:part/@xsi:type")])

    def test_xsi_type_dropped_by_what_that_parent_declares(self):
        self.assertEqual(
            self.differences('<acme:widget><acme:name>a</acme:name><acme:part xsi:type="acme:partRef"/>'
                             '</acme:widget><acme:part xsi:type="acme:partRef"/>',
                             '<acme:widget><acme:name>a</acme:name><acme:part/></acme:widget><acme:part/>'),
            [("xsi:type naming the declared type dropped", "/acme:catalog/acme:widget/acme:part/@xsi:type"),
             ("attribute only in input", "/acme:catalog/acme:part/@xsi:type")])

    def test_xsi_type_written_without_a_schema(self):
        self.assertEqual(
            self.differences('<acme:part/>', '<acme:part xsi:type="acme:boardRef"/>', facts=False),
            [("attribute only in output", "/acme:catalog/acme:part/@xsi:type")])

    # --- float spelling ---------------------------------------------------------------

    def test_a_float_written_as_the_shortest_text_of_its_single(self):
        self.assertEqual(
            self.differences('<acme:widget acme:rank="3.4028235E38"><acme:name>a</acme:name>'
                             '<acme:weight>1.4E-45</acme:weight></acme:widget>',
                             '<acme:widget acme:rank="3.4028234663852886e+38"><acme:name>a</acme:name>'
                             '<acme:weight>1e-45</acme:weight></acme:widget>'),
            [("number spelling", "/acme:catalog/acme:widget/@acme:rank"),
             ("number spelling", "/acme:catalog/acme:widget/acme:weight")])

    def test_a_float_changed_to_another_single(self):
        self.assertEqual(
            self.differences("<acme:widget><acme:name>a</acme:name><acme:weight>1.1</acme:weight></acme:widget>",
                             "<acme:widget><acme:name>a</acme:name><acme:weight>1.1000001</acme:weight>"
                             "</acme:widget>"),
            [("value", "/acme:catalog/acme:widget/acme:weight")])

    def test_a_decimal_is_no_single(self):
        self.assertEqual(
            self.differences('<acme:note acme:rank="1.4E-45"><acme:name>a</acme:name></acme:note>'
                             '<acme:weight>1.4E-45</acme:weight>',
                             '<acme:note acme:rank="1e-45"><acme:name>a</acme:name></acme:note>'
                             '<acme:weight>1e-45</acme:weight>'),
            [("value", "/acme:catalog/acme:note/@acme:rank"), ("value", "/acme:catalog/acme:weight")])

    def test_a_float_without_a_schema(self):
        self.assertEqual(
            self.differences("<acme:widget><acme:name>a</acme:name><acme:weight>1.4E-45</acme:weight></acme:widget>",
                             "<acme:widget><acme:name>a</acme:name><acme:weight>1e-45</acme:weight></acme:widget>",
                             facts=False),
            [("value", "/acme:catalog/acme:widget/acme:weight")])

    def test_a_single_is_rounded_once_from_the_text(self):
        # Just above the midpoint between 1 and the next single: it reads as that next single, though
        # the nearest double is the midpoint itself, which rounds to 1.
        above_midpoint = "1.00000005960464477625798673798840354720596224069595336914062"
        self.assertEqual(xmlcanon.value_kind(above_midpoint, "1.0000001", single_precision=True), "number spelling")
        self.assertEqual(xmlcanon.value_kind(above_midpoint, "1", single_precision=True), "value")

    def test_past_the_largest_single_nothing_is_equal(self):
        self.assertEqual(xmlcanon.value_kind("3.5e38", "4e38", single_precision=True), "value")

    def test_doubles_and_lists_of_them_compare_item_by_item_as_doubles(self):
        self.assertEqual(xmlcanon.value_kind("-4.9E-324", "-5e-324", double_precision=True), "number spelling")
        self.assertEqual(xmlcanon.value_kind("1 -4.9E-324", "1.0 -5e-324", double_precision=True), "number spelling")
        self.assertEqual(xmlcanon.value_kind("1 2", "1", double_precision=True), "value")
        self.assertEqual(xmlcanon.value_kind("-4.9E-324", "-5e-324"), "value")


if __name__ == "__main__":
    unittest.main()

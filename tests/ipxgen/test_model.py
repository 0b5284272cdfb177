"""Tests of the generator's front half: schema loading, class derivation,
naming, event numbering and restrictions.

Run from the repository root:  python3 -m unittest discover -s tests/ipxgen
"""

import json
import os
import subprocess
import sys
import tempfile
import textwrap
import unittest

HERE = os.path.dirname(os.path.abspath(__file__))
REPOSITORY = os.path.dirname(os.path.dirname(HERE))
GENERATOR = os.path.join(REPOSITORY, "tools", "ipxgen")
IEEE_DIR = os.path.join(REPOSITORY, "..", "shared", "ipxact-1685-2009")
sys.path.insert(0, GENERATOR)

import pinned_events  # noqa: E402
from build_model import build_model  # noqa: E402
from class_places import ModelError  # noqa: E402
from model import NS_SPIRIT, SPIRIT_URI  # noqa: E402
from xsd_loader import QName, SchemaSet  # noqa: E402

_ieee_model = None


def ieee_model():
    """The model of the IEEE schema alone, built once for all tests."""
    global _ieee_model
    if not os.path.isdir(IEEE_DIR):
        raise unittest.SkipTest("IEEE 1685-2009 schema not found at %s" % IEEE_DIR)
    if _ieee_model is None:
        schemas = SchemaSet()
        schemas.load(os.path.join(IEEE_DIR, "index.xsd"))
        _ieee_model = build_model(schemas)
    return _ieee_model


def members_of(model, class_name, kind):
    return [m for m in model.class_named(class_name).members if m.kind == kind]


def schema_document(body, prefix="spirit", namespace=SPIRIT_URI, extra=""):
    return textwrap.dedent("""\
        <?xml version="1.0" encoding="UTF-8"?>
        <xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:{prefix}="{namespace}" {extra}
                   targetNamespace="{namespace}" elementFormDefault="qualified"
                   attributeFormDefault="qualified">
        """).format(prefix=prefix, namespace=namespace, extra=extra) + textwrap.dedent(body) + "</xs:schema>\n"


class SmallSchema:
    """Schema files written to a temporary directory for one test."""

    def __init__(self, test, files):
        directory = tempfile.TemporaryDirectory()
        test.addCleanup(directory.cleanup)
        for name, text in files.items():
            with open(os.path.join(directory.name, name), "w", encoding="utf-8") as out:
                out.write(text)
        self.directory = directory.name

    def load(self, root):
        schemas = SchemaSet()
        schemas.load(os.path.join(self.directory, root))
        return schemas


class LoaderResolvesNamesByNamespace(unittest.TestCase):
    def test_a_reference_through_any_prefix_finds_the_declaration_of_its_namespace(self):
        files = SmallSchema(self, {"a.xsd": schema_document("""\
            <xs:include schemaLocation="b.xsd"/>
            <xs:element name="holder">
              <xs:complexType><xs:sequence>
                <xs:element name="item" type="ip:itemType"/>
              </xs:sequence></xs:complexType>
            </xs:element>
            """, extra='xmlns:ip="%s"' % SPIRIT_URI),
            # The included file binds "spirit" to a foreign namespace and reaches
            # the XML Schema types through a prefix of its own.
            "b.xsd": textwrap.dedent("""\
            <?xml version="1.0" encoding="UTF-8"?>
            <xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema" xmlns:spirit="urn:not-the-target"
                       xmlns:own="http://www.w3.org/2001/XMLSchema" targetNamespace="%s"
                       attributeFormDefault="qualified">
              <xs:complexType name="itemType">
                <xs:attribute name="width" type="own:positiveInteger"/>
              </xs:complexType>
            </xs:schema>
            """ % SPIRIT_URI)})
        schemas = files.load("a.xsd")
        holder = schemas.element(QName(SPIRIT_URI, "holder"))
        item = holder.inline_type.particle.particles[0]
        self.assertEqual(item.type, QName(SPIRIT_URI, "itemType"))
        width = schemas.complex_types[QName(SPIRIT_URI, "itemType")].attributes[0]
        self.assertEqual(width.type, QName("http://www.w3.org/2001/XMLSchema", "positiveInteger"))

    def test_an_import_of_a_loaded_namespace_does_not_read_its_location(self):
        files = SmallSchema(self, {
            "base.xsd": schema_document('<xs:element name="shared" type="xs:string"/>\n'),
            "user.xsd": schema_document("""\
            <xs:import namespace="%s" schemaLocation="missing/copy.xsd"/>
            <xs:element name="user"><xs:complexType><xs:sequence>
              <xs:element ref="spirit:shared"/>
            </xs:sequence></xs:complexType></xs:element>
            """ % SPIRIT_URI, prefix="vorlix", namespace="http://www.vorlix.com/XMLSchema/ipxact/1.0",
                extra='xmlns:spirit="%s"' % SPIRIT_URI)})
        schemas = SchemaSet()
        schemas.load(os.path.join(files.directory, "base.xsd"))
        schemas.load(os.path.join(files.directory, "user.xsd"))
        self.assertEqual([os.path.basename(f.path) for f in schemas.files], ["base.xsd", "user.xsd"])


class NamingRulesOnASmallSchema(unittest.TestCase):
    def model(self, body):
        files = SmallSchema(self, {"s.xsd": schema_document(body)})
        return build_model(files.load("s.xsd"), class_names={}, shared_classes={})

    def test_a_second_anonymous_namesake_is_named_by_its_owner_and_a_later_global_takes_suffix_2(self):
        model = self.model("""\
            <xs:element name="first"><xs:complexType><xs:sequence>
              <xs:element name="range"><xs:complexType><xs:simpleContent>
                <xs:extension base="xs:string"><xs:attribute name="unit" type="xs:string"/></xs:extension>
              </xs:simpleContent></xs:complexType></xs:element>
            </xs:sequence></xs:complexType></xs:element>
            <xs:element name="second"><xs:complexType><xs:sequence>
              <xs:element name="range"><xs:complexType><xs:simpleContent>
                <xs:extension base="xs:string"><xs:attribute name="unit" type="xs:string"/></xs:extension>
              </xs:simpleContent></xs:complexType></xs:element>
            </xs:sequence></xs:complexType></xs:element>
            <xs:element name="range" type="xs:string"/>
            """)
        self.assertEqual(members_of(model, "HIPGSFirst", "element")[0].class_name, "HIPGSRange")
        self.assertEqual(members_of(model, "HIPGSSecond", "element")[0].class_name, "HIPGSSecondRange")
        self.assertEqual(model.class_named("HIPGSRange2").kind, "global_element")

    def test_an_optional_whole_content_model_is_held_by_an_inner_class(self):
        model = self.model("""\
            <xs:complexType name="holderType">
              <xs:choice minOccurs="0">
                <xs:element name="a" type="xs:string"/>
                <xs:element name="b" type="xs:boolean"/>
              </xs:choice>
            </xs:complexType>
            """)
        [inner] = model.class_named("HIPGSHolderType").members
        self.assertEqual((inner.kind, inner.class_name, inner.min_occurs), ("choice", "HIPGSInnerHolderType", 0))
        self.assertEqual(model.class_named("HIPGSInnerHolderType").content, "choice")
        self.assertEqual(sorted(inner.first_events), sorted(
            e for ns, local, e in model.element_events if local in ("a", "b")))

    def test_nested_compositors_are_named_after_their_first_member(self):
        model = self.model("""\
            <xs:complexType name="oneType"><xs:sequence>
              <xs:choice><xs:element name="wire" type="xs:string"/><xs:element name="bus" type="xs:string"/></xs:choice>
            </xs:sequence></xs:complexType>
            <xs:complexType name="twoType"><xs:sequence>
              <xs:choice><xs:element name="wire" type="xs:int"/><xs:element name="bus" type="xs:int"/></xs:choice>
            </xs:sequence></xs:complexType>
            """)
        self.assertEqual(model.class_named("HIPGSOneType").members[0].class_name, "HIPGSAnonWire")
        self.assertEqual(model.class_named("HIPGSTwoType").members[0].class_name, "HIPGSTwoTypeAnonWire")

    def test_an_override_for_a_place_the_schema_lacks_is_refused(self):
        files = SmallSchema(self, {"s.xsd": schema_document('<xs:element name="only" type="xs:string"/>\n')})
        with self.assertRaises(ModelError):
            build_model(files.load("s.xsd"), class_names={"spirit:gone": ("HIPGSGone", "test")},
                        shared_classes={})


class IeeeClasses(unittest.TestCase):
    def test_every_listed_class_name_exists(self):
        with open(os.path.join(HERE, "expected_ieee_classes.txt"), encoding="utf-8") as listed:
            expected = [line.strip() for line in listed if line.strip()]
        present = {c.name for c in ieee_model().classes}
        self.assertEqual([name for name in expected if name not in present], [])

    def test_the_eighty_standard_global_elements_are_in_dispatcher_order(self):
        pinned = [(ns, local) for ns, local, _ in pinned_events.GLOBAL_ELEMENTS if ns == NS_SPIRIT]
        found = [(ns, local) for ns, local, _ in ieee_model().global_elements]
        self.assertEqual(len(pinned), 80)
        self.assertEqual(found, pinned)

    def test_global_elements_of_a_named_type_are_read_into_the_type_class(self):
        classes = {local: name for _, local, name in ieee_model().global_elements}
        self.assertEqual(classes["abstractor"], "HIPGSAbstractorType")
        self.assertEqual(classes["addressSpaceRef"], "HIPGSAddrSpaceRefType")
        self.assertEqual(classes["baseAddress"], "HIPGSBaseAddress2")
        self.assertEqual(ieee_model().class_named("HIPGSAbstractor2").element_id, "spirit:abstractor")

    def test_abstraction_definition_event_table_lists_its_own_children_only(self):
        rows = [(m.ns_id, m.local_name, m.event)
                for m in members_of(ieee_model(), "HIPGSAbstractionDefinition", "element")]
        self.assertEqual(rows, [(1001, "busType", 438), (1001, "extends", 296), (1001, "ports", 533),
                                (1001, "description", 305), (1001, "vendorExtensions", 306)])

    def test_a_port_choice_binds_wire_and_transactional_classes(self):
        choice = ieee_model().class_named("HIPGSAbstractionDefinitionPortsPortAnonWire")
        self.assertEqual(choice.content, "choice")
        self.assertEqual([(m.stem, m.class_name, m.event) for m in choice.members],
                         [("Wire", "HIPGSWire", 330), ("Transactional", "HIPGSTransactional", 359)])
        port = ieee_model().class_named("HIPGSAbstractionDefinitionPortsPort")
        [held] = [m for m in port.members if m.kind == "choice"]
        self.assertEqual(held.first_events, [330, 359])

    def test_the_versioned_identifier_group_starts_with_vendor(self):
        definition = ieee_model().class_named("HIPGSAbstractionDefinition")
        group = [m for m in definition.members if m.kind != "attribute"][0]
        vendor = members_of(ieee_model(), "HIPGSVersionedIdentifier", "element")[0]
        self.assertEqual((group.kind, group.class_name), ("group", "HIPGSVersionedIdentifier"))
        self.assertEqual(group.first_events, [vendor.event])

    def test_document_elements_keep_their_schema_location_hints(self):
        model = ieee_model()
        hints = ["xsi:schemaLocation", "xsi:noNamespaceSchemaLocation"]
        attributes = lambda name: [m.qname for m in model.class_named(name).members if m.kind == "attribute"]
        self.assertEqual(attributes("HIPGSBusDefinition"), hints)
        # After the element's own attributes; the hints are optional text.
        self.assertEqual(attributes("HIPGSCellSpecification")[-2:], hints)
        self.assertTrue(all(m.min_occurs == 0 and m.value_type == "string"
                            for m in model.class_named("HIPGSBusDefinition").members if m.kind == "attribute"))
        # A global element of a named type is read into the type's class by the root dispatcher and
        # its own class derives from it: the type's class keeps them, xsi:type families included.
        self.assertEqual(attributes("HIPGSPortType"), hints)
        self.assertEqual(attributes("HIPGSPort"), [])
        # Local elements and values held as such by the root dispatcher have none.
        for name in ("HIPGSAbstractionDefinitionPorts", "HIPGSDisplayName"):
            self.assertFalse(set(hints) & set(attributes(name)), name)

    def test_derivation_families_link_base_and_derived_classes(self):
        model = ieee_model()
        chains = {name: model.class_named(name).base_class for name in (
            "HIPGSPortType", "HIPGSAbstractorPortType", "HIPGSAbstractorPortWireType",
            "HIPGSInstanceGeneratorType", "HIPGSHierInterface", "HIPGSNameValueTypeType")}
        self.assertEqual(chains, {
            "HIPGSPortType": "HIPGSPortDeclarationType",
            "HIPGSAbstractorPortType": "HIPGSPortType",
            "HIPGSAbstractorPortWireType": "HIPGSPortWireType",
            "HIPGSInstanceGeneratorType": "HIPGSGeneratorType",
            "HIPGSHierInterface": "HIPGSInterface",
            "HIPGSNameValueTypeType": "HIPGSNameValuePairType"})
        self.assertEqual(model.class_named("HIPGSPortDeclarationType").derived_classes, ["HIPGSPortType"])
        self.assertEqual(model.class_named("HIPGSAbstractorPortType").type_qname, "spirit:abstractorPortType")
        self.assertIsNone(model.class_named("HIPGSPortDeclarationType").base_class)

    def test_an_extension_in_a_family_lists_only_what_it_adds(self):
        members = ieee_model().class_named("HIPGSPortType").members
        self.assertEqual([m.qname for m in members if m.kind != "attribute"], ["spirit:vendorExtensions"])

    def test_the_class_of_a_global_element_of_a_named_type_derives_from_the_types_class(self):
        model = ieee_model()
        derived = {c.name: c.type_class for c in model.classes if c.type_class}
        self.assertEqual(derived, {
            "HIPGSAbstractor2": "HIPGSAbstractorType", "HIPGSAbstractorGenerator": "HIPGSInstanceGeneratorType",
            "HIPGSAddressBlock": "HIPGSAddressBlockType", "HIPGSAddressSpaceRef2": "HIPGSAddrSpaceRefType",
            "HIPGSBank": "HIPGSAddressBankType", "HIPGSBusInterface": "HIPGSBusInterfaceType",
            "HIPGSComponent": "HIPGSComponentType", "HIPGSDriver": "HIPGSDriverType",
            "HIPGSFileSet": "HIPGSFileSetType", "HIPGSMemoryMapRef": "HIPGSMemoryMapRefType",
            "HIPGSModel": "HIPGSModelType", "HIPGSParameter": "HIPGSNameValuePairType",
            "HIPGSPort": "HIPGSPortType"})
        for name, type_class in derived.items():
            element = model.class_named(name)
            self.assertEqual((element.kind, element.members, element.base_class), ("global_element", [], None), name)
            self.assertEqual(element.content, model.class_named(type_class).content, name)
        # An element whose anonymous type extends a named one has content of its own.
        self.assertIsNone(model.class_named("HIPGSComponentGenerator").type_class)
        self.assertIn("spirit:scope", [m.qname for m in model.class_named("HIPGSComponentGenerator").members])


class ConfigurableValueAttributeSet(unittest.TestCase):
    LEFT = "HIPGSAbstractorBusInterfaceTypePortMapsPortMapLogicalPortVectorLeft"

    def test_the_twelve_attributes_come_in_their_fixed_order_with_their_events(self):
        rows = [(m.ns_id, m.local_name, m.event) for m in members_of(ieee_model(), self.LEFT, "attribute")]
        self.assertEqual(rows, [(1001, name, event) for name, event in [
            ("format", 39), ("resolve", 40), ("id", 41), ("dependency", 42), ("choiceRef", 43),
            ("order", 44), ("configGroups", 45), ("bitStringLength", 46), ("minimum", 47),
            ("maximum", 48), ("rangeType", 49), ("prompt", 50)]])

    def test_value_kinds_defaults_and_enumerations(self):
        attributes = {m.local_name: m for m in members_of(ieee_model(), self.LEFT, "attribute")}
        self.assertEqual({n: m.value_type for n, m in attributes.items() if m.value_type != "string"},
                         {"configGroups": "string_list", "bitStringLength": "big_int"})
        self.assertEqual({n: m.default for n, m in attributes.items() if m.default is not None},
                         {"format": "long", "rangeType": "float"})
        self.assertEqual(attributes["format"].enum_values, ["bitString", "bool", "float", "long", "string"])
        self.assertEqual(attributes["format"].enum_type, "e_enum_FormatAttr")
        self.assertEqual(attributes["rangeType"].enum_identifiers[2], "unsigned_int")
        self.assertTrue(ieee_model().class_named(self.LEFT).any_attribute)

    def test_the_element_value_is_a_big_integer_held_as_simple_content(self):
        [value] = members_of(ieee_model(), self.LEFT, "simple_content")
        self.assertEqual((value.stem, value.value_type), ("Left", "big_int"))

    def test_further_attributes_follow_the_set(self):
        stems = [m.stem for m in members_of(ieee_model(), "HIPGSClockPeriod", "attribute")]
        self.assertEqual(stems[12:], ["UnitsAttr"])
        self.assertEqual(stems[0], "FormatAttr")


class RarelySetAttributesAreBoxed(unittest.TestCase):
    def test_a_configurable_value_boxes_its_optional_attributes_and_keeps_the_rest(self):
        model = ieee_model()
        left = model.class_named(ConfigurableValueAttributeSet.LEFT)
        self.assertTrue(all(m.boxed for m in left.members if m.kind == "attribute"))
        self.assertFalse(any(m.boxed for m in left.members if m.kind != "attribute"))
        # A required attribute stays a field of its own beside the box: it is always there.
        constraint = {m.stem: m.boxed for m in members_of(model, "HIPGSTimingConstraint", "attribute")}
        self.assertFalse(constraint.pop("ClockNameAttr"))
        self.assertTrue(len(constraint) >= 4 and all(constraint.values()), constraint)


class ValueKinds(unittest.TestCase):
    def test_integers_are_big_and_scaled_values_stay_text(self):
        model = ieee_model()
        bus = {m.local_name: m for m in members_of(model, "HIPGSBusDefinition", "element")}
        self.assertEqual(bus["maxMasters"].value_type, "big_int")
        [base_address] = members_of(model, "HIPGSBaseAddress2", "simple_content")
        self.assertEqual(base_address.value_type, "string")

    def test_a_reference_to_a_plain_global_element_is_a_simple_member(self):
        definition = {m.local_name: m for m in members_of(ieee_model(), "HIPGSAbstractionDefinition", "element")}
        self.assertEqual((definition["description"].value_type, definition["description"].class_name),
                         ("string", None))

    def test_enumerated_elements_keep_their_text_with_enumeration_values(self):
        [presence] = members_of(ieee_model(), "HIPGSPresence", "simple_content")
        self.assertEqual((presence.value_type, presence.default), ("string", "optional"))
        self.assertEqual(presence.enum_values, ["required", "illegal", "optional"])

    def test_vendor_extensions_keep_open_content(self):
        [content] = [m for m in ieee_model().class_named("HIPGSVendorExtensions").members
                     if m.kind != "attribute"]
        self.assertEqual((content.kind, content.any_namespace, content.max_occurs), ("any", "##any", None))

    def test_an_element_without_content_is_an_empty_member(self):
        modes = {m.local_name: m for m in ieee_model().class_named("HIPGSInterfaceMode").members}
        self.assertEqual((modes["mirroredMaster"].value_type, modes["mirroredMaster"].class_name),
                         ("empty", None))


class EventNumbering(unittest.TestCase):
    def test_pinned_numbers_hold(self):
        model = ieee_model()
        elements = {(ns, local): event for ns, local, event in model.element_events}
        attributes = {(ns, local): event for ns, local, event in model.attribute_events}
        for ns, local, event in pinned_events.ELEMENT_EVENTS:
            if (ns, local) in elements:
                self.assertEqual(elements[(ns, local)], event, local)
        for ns, local, event in pinned_events.ATTRIBUTE_EVENTS:
            self.assertEqual(attributes[(ns, local)], event, local)

    def test_every_name_has_its_own_number_from_14_up(self):
        model = ieee_model()
        events = [e for _, _, e in model.element_events] + [e for _, _, e in model.attribute_events]
        self.assertEqual(len(events), len(set(events)))
        self.assertGreaterEqual(min(events), 14)
        element_events = {local: e for ns, local, e in model.element_events}
        attribute_events = {local: e for ns, local, e in model.attribute_events}
        self.assertNotEqual(element_events["dependency"], attribute_events["dependency"])

    def test_members_carry_the_number_of_their_name(self):
        model = ieee_model()
        elements = {(ns, local): event for ns, local, event in model.element_events}
        for bound in model.classes:
            for m in bound.members:
                if m.kind == "element":
                    self.assertEqual(m.event, elements[(m.ns_id, m.local_name)], bound.name)


class Restrictions(unittest.TestCase):
    def test_each_distinct_restriction_is_listed_once_with_its_schema_pattern(self):
        with open(os.path.join(IEEE_DIR, "simpleTypes.xsd"), encoding="utf-8") as schema:
            text = schema.read()
        positive = '[+]?(0x|0X|#)?[0]*[1-9a-fA-F][0-9a-fA-F]*[kmgtKMGT]?'
        self.assertIn('value="%s"' % positive, text)
        matching = [r for r in ieee_model().restrictions if r.patterns == [positive]]
        self.assertEqual(len(matching), 1)
        ids = [r.id for r in ieee_model().restrictions]
        self.assertEqual(ids, list(range(1, len(ids) + 1)))

    def test_members_of_the_same_type_share_one_restriction(self):
        model = ieee_model()
        ranges = [members_of(model, name, "simple_content")[0].restriction
                  for name in ("HIPGSRange", "HIPGSSegmentRange", "HIPGSBlockSizeRange")]
        self.assertEqual(len(set(ranges)), 1)
        self.assertEqual(model.restrictions[ranges[0] - 1].patterns,
                         ["[+]?(0x|0X|#)?[0]*[1-9a-fA-F][0-9a-fA-F]*[kmgtKMGT]?"])

    def test_numeric_bounds_are_kept(self):
        [bounded] = [r for r in ieee_model().restrictions if r.max_inclusive is not None]
        self.assertEqual((bounded.base, bounded.min_inclusive, bounded.max_inclusive), ("float", "0.0", "100.0"))


class CommandLine(unittest.TestCase):
    def dump(self, vendor_dir):
        ieee_model()  # skips when the schema is missing
        output = tempfile.NamedTemporaryFile(suffix=".json", delete=False)
        output.close()
        self.addCleanup(os.remove, output.name)
        # The binding goes to a scratch tree: the repository's own generated files stay untouched.
        scratch = tempfile.TemporaryDirectory()
        self.addCleanup(scratch.cleanup)
        subprocess.run([sys.executable, os.path.join(GENERATOR, "ipxgen.py"), "--ieee", IEEE_DIR,
                        "--vendor", vendor_dir, "--dump-model", output.name, "--out", scratch.name], check=True)
        with open(output.name, encoding="utf-8") as dumped:
            return dumped.read()

    def test_the_dump_is_the_same_on_every_run(self):
        with tempfile.TemporaryDirectory() as no_vendor:
            first, second = self.dump(no_vendor), self.dump(no_vendor)
        self.assertEqual(first, second)
        data = json.loads(first)
        names = [c["name"] for c in data["classes"]]
        self.assertEqual(names, sorted(names))
        self.assertEqual(len(data["global_elements"]), 80)

    def test_the_vendor_schema_is_added_when_present(self):
        vendor_dir = os.path.join(REPOSITORY, "schema")
        if not os.path.exists(os.path.join(vendor_dir, "vorlix.xsd")):
            self.skipTest("no vendor schema in %s" % vendor_dir)
        data = json.loads(self.dump(vendor_dir))
        roots = [(ns, local) for ns, local, _ in data["global_elements"]]
        self.assertEqual(roots[:20], [(ns, local) for ns, local, _ in pinned_events.GLOBAL_ELEMENTS[:20]])
        self.assertIn("HIPGSLibraryRefType", {c["name"] for c in data["classes"]})


if __name__ == "__main__":
    unittest.main()

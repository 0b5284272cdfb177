"""The built-in integer types carry their value spaces as bounds, so a reader
refuses a value one past them as it refuses one past a declared facet.

Run from the repository root:  python3 -m unittest discover -s tests/ipxgen
"""

import unittest

from test_model import ieee_model


class BuiltinBoundsTest(unittest.TestCase):
    def bounds_of(self, class_name, qname):
        model = ieee_model()
        [member] = [m for m in model.class_named(class_name).members if m.qname == qname]
        self.assertIsNotNone(member.restriction, "%s has no bounds" % qname)
        restriction = model.restrictions[member.restriction - 1]
        return restriction.min_inclusive, restriction.max_inclusive

    def test_a_positive_integer_starts_at_one(self):
        self.assertEqual(self.bounds_of("HIPGSAddressSpace", "spirit:addressUnitBits"), ("1", None))

    def test_a_non_negative_integer_starts_at_zero(self):
        self.assertEqual(self.bounds_of("HIPGSWidth", "spirit:bitStringLength"), ("0", None))


if __name__ == "__main__":
    unittest.main()

// The one check behind every generated validator: a restriction row (pattern, value list, bounds,
// lengths) judged on the reading side, where faults go through the reader, and on the setter side,
// where the first fault comes back as a code.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60.h>
#include <ipxact/lmx60/lmx60_regexp.h>
#include <ipxact/lmx60/lmx60_validation.h>

namespace {

struct fault {
    lmx60::elmx_error code;
    std::string item;
};

// A reader that stands on one named value and records each fault its handler is given; a stopping
// reader unwinds on the first one, as a read without a continuing handler does.
class checking_reader {
public:
    explicit checking_reader(bool continues) : m_reader("", 0)
    {
        m_reader.set_current_item("spirit:item");
        m_reader.set_error_handler([this, continues](lmx60::elmx_error code, const std::string& item, int) {
            m_faults.push_back({code, item});
            return continues ? lmx60::ELMX_OK : code;
        });
    }
    lmx60::c_xml_reader& reader() { return m_reader; }
    const std::vector<fault>& faults() const { return m_faults; }

    // The codes met by a check of `value`, whether the check went on or unwound.
    template <typename Check>
    std::vector<lmx60::elmx_error> codes_of(Check check, const lmx60::c_restriction& row, const std::string& value)
    {
        m_faults.clear();
        try {
            EXPECT_EQ(check(m_reader, row, value), lmx60::ELMX_OK);
        } catch (const lmx60::c_lmx_reader_exception& unwound) {
            EXPECT_FALSE(m_faults.empty());
            EXPECT_EQ(unwound.get_error(), m_faults.back().code);
        }
        std::vector<lmx60::elmx_error> codes;
        for (const fault& f : m_faults)
            codes.push_back(f.code);
        return codes;
    }

private:
    lmx60::c_xml_reader_memory m_reader;
    std::vector<fault> m_faults;
};

using codes = std::vector<lmx60::elmx_error>;

const lmx60::c_facets kNoFacets = {nullptr, nullptr, nullptr, nullptr, -1, -1};

lmx60::c_restriction with_bounds(const char* minInclusive, const char* maxInclusive, const char* minExclusive,
                                 const char* maxExclusive, lmx60::elmx_error code = lmx60::ELMX_VALUE_FACET)
{
    return {nullptr, nullptr, {minInclusive, maxInclusive, minExclusive, maxExclusive, -1, -1}, code};
}

lmx60::c_restriction with_lengths(long minLength, long maxLength, bool countsItems)
{
    return {nullptr, nullptr, {nullptr, nullptr, nullptr, nullptr, minLength, maxLength, countsItems},
            lmx60::ELMX_VALUE_FACET};
}

const char* const kDirections[] = {"in", "out", "inout", nullptr};

}  // namespace

TEST(RestrictionPattern, ReadingReportsAMismatchAs22UnderTheCurrentItem)
{
    const lmx60::c_regexp pattern("[+]?(0x|0X|#)?[0]*[1-9a-fA-F][0-9a-fA-F]*[kmgtKMGT]?");
    const lmx60::c_restriction row = {&pattern, nullptr, kNoFacets, lmx60::ELMX_VALUE_FACET};
    checking_reader stopping(false);
    for (const char* accepted : {"0x10", "#1F", "+4k", "7"})
        EXPECT_EQ(stopping.codes_of(lmx60::check_lexical, row, accepted), codes{}) << accepted;
    for (const char* refused : {"0", "-4", "4kk", " 4", ""})
        EXPECT_EQ(stopping.codes_of(lmx60::check_lexical, row, refused), codes{lmx60::ELMX_PATTERN_FACET}) << refused;
    EXPECT_EQ(stopping.faults().at(0).item, "spirit:item");
    // The pattern is the lexical check only: the value check of the same row lets any text through.
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, row, "0"), codes{});
}

TEST(RestrictionPattern, AbsentPatternAcceptsAnyText)
{
    const lmx60::c_restriction row = {nullptr, kDirections, kNoFacets, lmx60::ELMX_VALUE_FACET};
    checking_reader stopping(false);
    EXPECT_EQ(stopping.codes_of(lmx60::check_lexical, row, "sideways"), codes{});
}

TEST(RestrictionEnumeration, OnlyExactlyListedValuesPass)
{
    const lmx60::c_restriction row = {nullptr, kDirections, kNoFacets, lmx60::ELMX_VALUE_FACET};
    checking_reader stopping(false);
    for (const char* listed : {"in", "out", "inout"}) {
        EXPECT_EQ(stopping.codes_of(lmx60::check_value, row, listed), codes{}) << listed;
        EXPECT_EQ(lmx60::restriction_fault(row, listed), lmx60::ELMX_OK) << listed;
    }
    // A prefix, an extension, another case, surrounding space and an embedded NUL are other values.
    for (const std::string& unlisted : {std::string("i"), std::string("inouts"), std::string("Out"), std::string(" in"),
                                       std::string(""), std::string("in\0", 3)}) {
        EXPECT_EQ(stopping.codes_of(lmx60::check_value, row, unlisted), codes{lmx60::ELMX_ENUMERATION_FACET});
        EXPECT_EQ(lmx60::restriction_fault(row, unlisted), lmx60::ELMX_ENUMERATION_FACET);
    }
    // The value list belongs to the value check; the lexical check of the same row passes anything.
    EXPECT_EQ(stopping.codes_of(lmx60::check_lexical, row, "sideways"), codes{});
}

TEST(RestrictionEnumeration, AContinuingHandlerHasTheFacetsJudgedAsWell)
{
    const lmx60::c_restriction row = {nullptr, kDirections, {nullptr, nullptr, nullptr, nullptr, -1, 3},
                                      lmx60::ELMX_VALUE_FACET};
    checking_reader continuing(true);
    EXPECT_EQ(continuing.codes_of(lmx60::check_value, row, "sideways"),
              (codes{lmx60::ELMX_ENUMERATION_FACET, lmx60::ELMX_VALUE_FACET}));
    checking_reader stopping(false);
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, row, "sideways"), codes{lmx60::ELMX_ENUMERATION_FACET});
}

TEST(RestrictionBounds, IntegersCompareByValueWhateverTheirSize)
{
    const lmx60::c_restriction row = with_bounds("-9223372036854775808", "9223372036854775807", nullptr, nullptr);
    for (const char* inside : {"0", "-9223372036854775808", "9223372036854775807", "+00009223372036854775807"})
        EXPECT_EQ(lmx60::restriction_fault(row, inside), lmx60::ELMX_OK) << inside;
    for (const char* outside : {"9223372036854775808", "-9223372036854775809", "100000000000000000000000"})
        EXPECT_EQ(lmx60::restriction_fault(row, outside), lmx60::ELMX_VALUE_FACET) << outside;
}

TEST(RestrictionBounds, FractionsCompareAsFloatingPointAndEdgesFollowInclusion)
{
    const lmx60::c_restriction inclusive = with_bounds("0.0", "100.0", nullptr, nullptr);
    for (const char* inside : {"0", "100", "99.999", "1e2", "0.0"})
        EXPECT_EQ(lmx60::restriction_fault(inclusive, inside), lmx60::ELMX_OK) << inside;
    for (const char* outside : {"100.5", "-0.001", "1e3"})
        EXPECT_EQ(lmx60::restriction_fault(inclusive, outside), lmx60::ELMX_VALUE_FACET) << outside;
    const lmx60::c_restriction exclusive = with_bounds(nullptr, nullptr, "0", "100");
    for (const char* inside : {"1", "0.5", "99.5"})
        EXPECT_EQ(lmx60::restriction_fault(exclusive, inside), lmx60::ELMX_OK) << inside;
    for (const char* edge : {"0", "100", "0.0", "-1"})
        EXPECT_EQ(lmx60::restriction_fault(exclusive, edge), lmx60::ELMX_VALUE_FACET) << edge;
    // NaN is a double but stands in no order, so no bound holds it; the infinities are ordered.
    EXPECT_EQ(lmx60::restriction_fault(inclusive, "NaN"), lmx60::ELMX_VALUE_FACET);
    EXPECT_EQ(lmx60::restriction_fault(exclusive, "NaN"), lmx60::ELMX_VALUE_FACET);
    EXPECT_EQ(lmx60::restriction_fault(inclusive, "INF"), lmx60::ELMX_VALUE_FACET);
    EXPECT_EQ(lmx60::restriction_fault(with_bounds("0", nullptr, nullptr, nullptr), "INF"), lmx60::ELMX_OK);
}

TEST(RestrictionBounds, TextThatIsNoNumberIsLeftToTheValueType)
{
    const lmx60::c_restriction row = with_bounds("1", nullptr, nullptr, nullptr);
    EXPECT_EQ(lmx60::restriction_fault(row, "many"), lmx60::ELMX_OK);
    checking_reader stopping(false);
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, row, "many"), codes{});
}

TEST(RestrictionBounds, FailWithTheRowsOwnCodeOnBothSides)
{
    checking_reader stopping(false);
    const lmx60::c_restriction plain = with_bounds("1", nullptr, nullptr, nullptr);
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, plain, "0"), codes{lmx60::ELMX_VALUE_FACET});
    EXPECT_EQ(lmx60::restriction_fault(plain, "0"), lmx60::ELMX_VALUE_FACET);
    const lmx60::c_restriction constraint = with_bounds("1", nullptr, nullptr, nullptr, lmx60::ELMX_CONSTRAINT_VALUE);
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, constraint, "0"), codes{lmx60::ELMX_CONSTRAINT_VALUE});
    EXPECT_EQ(lmx60::restriction_fault(constraint, "0"), lmx60::ELMX_CONSTRAINT_VALUE);
    EXPECT_EQ(lmx60::restriction_fault(constraint, "1"), lmx60::ELMX_OK);
}

TEST(RestrictionLengths, TextCountsCharactersNotBytes)
{
    const lmx60::c_restriction row = with_lengths(2, 3, false);
    for (const char* fits : {"ab", "abc", "\xC3\xA9\xC3\xA9\xC3\xA9", "a\xE2\x82\xAC"})
        EXPECT_EQ(lmx60::restriction_fault(row, fits), lmx60::ELMX_OK) << fits;
    for (const char* misfit : {"a", "abcd", "\xC3\xA9", ""})
        EXPECT_EQ(lmx60::restriction_fault(row, misfit), lmx60::ELMX_VALUE_FACET) << misfit;
}

TEST(RestrictionLengths, ListsCountItemsAndAnEmptyOneReadsAs20)
{
    const lmx60::c_restriction atMostOne = with_lengths(0, 1, true);
    checking_reader stopping(false);
    for (const char* fits : {"", "  ", "10.5", " 1e3 "})
        EXPECT_EQ(stopping.codes_of(lmx60::check_value, atMostOne, fits), codes{}) << '"' << fits << '"';
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, atMostOne, "1 2"), codes{lmx60::ELMX_VALUE_FACET});
    EXPECT_EQ(lmx60::restriction_fault(atMostOne, "1\t2"), lmx60::ELMX_VALUE_FACET);

    const lmx60::c_restriction atLeastOne = with_lengths(1, -1, true);
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, atLeastOne, "a b c"), codes{});
    EXPECT_EQ(stopping.codes_of(lmx60::check_value, atLeastOne, " \n "), codes{lmx60::ELMX_EMPTY_LIST});
    // A setter has no empty-list code of its own: it gives the row's.
    EXPECT_EQ(lmx60::restriction_fault(atLeastOne, ""), lmx60::ELMX_VALUE_FACET);
}

TEST(RestrictionFault, ReportsTheFirstFailingFacetInPatternListBoundOrder)
{
    const lmx60::c_regexp digits("[0-9]+");
    const char* const numbers[] = {"1", "5", "50", "x", nullptr};
    const lmx60::c_restriction row = {&digits, numbers, {"2", "10", nullptr, nullptr, -1, -1},
                                      lmx60::ELMX_CONSTRAINT_VALUE};
    EXPECT_EQ(lmx60::restriction_fault(row, "x"), lmx60::ELMX_PATTERN_FACET);   // fails all three
    EXPECT_EQ(lmx60::restriction_fault(row, "7"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(lmx60::restriction_fault(row, "1"), lmx60::ELMX_CONSTRAINT_VALUE);
    EXPECT_EQ(lmx60::restriction_fault(row, "50"), lmx60::ELMX_CONSTRAINT_VALUE);
    EXPECT_EQ(lmx60::restriction_fault(row, "5"), lmx60::ELMX_OK);
}

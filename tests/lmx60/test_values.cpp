#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/c_date.h>
#include <ipxact/lmx60/lmx60_text.h>

#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <sstream>

namespace {

using lmx60::c_big_int;
using lmx60::c_date;
using lmx60::c_datetime;

const char* const two_to_the_80 = "1208925819614629174706176";
const char* const ten_to_the_30 = "1000000000000000000000000000000";

TEST(BigInt, HoldsValuesFarBeyondSixtyFourBits) {
  const c_big_int big(two_to_the_80);
  EXPECT_EQ(big.text(), two_to_the_80);
  EXPECT_TRUE(big == std::string(two_to_the_80));
  EXPECT_TRUE(big > "1208925819614629174706175");
  EXPECT_TRUE(big <= "1208925819614629174706177");
  EXPECT_TRUE(big >= LLONG_MAX);
  EXPECT_TRUE(ULLONG_MAX < big);
  long long narrow = 5;
  EXPECT_FALSE(big.get_as_long_long(&narrow));
  EXPECT_EQ(narrow, 5);

  const c_big_int bigger(ten_to_the_30);
  EXPECT_TRUE(big < bigger);
  EXPECT_TRUE(c_big_int(std::string("-") + ten_to_the_30) < LLONG_MIN);
  EXPECT_TRUE(c_big_int(std::string("-") + ten_to_the_30) < c_big_int(std::string("-") + two_to_the_80));
}

TEST(BigInt, ComparesByValueNotByText) {
  EXPECT_TRUE(c_big_int("+007") == 7);
  EXPECT_TRUE(c_big_int("+007") == "0007");
  EXPECT_TRUE("7" == c_big_int("+007"));
  EXPECT_TRUE(c_big_int("-0") == 0);
  EXPECT_TRUE(c_big_int("-000") == c_big_int("+0"));
  EXPECT_TRUE(c_big_int("9") < c_big_int("10"));
  EXPECT_TRUE(c_big_int("-100") < c_big_int("-99"));
  EXPECT_TRUE(c_big_int("-1") < 0u);
  EXPECT_TRUE(c_big_int(LLONG_MIN) == "-9223372036854775808");
  EXPECT_TRUE(c_big_int("18446744073709551615") == ULLONG_MAX);
  EXPECT_TRUE(c_big_int(-5) != -6LL);
  EXPECT_TRUE(c_big_int(3) >= " 3\n");
}

TEST(BigInt, TextThatIsNotAnIntegerComparesUnequalAndUnordered) {
  const c_big_int value(1);
  const std::string junk = "1.0";
  EXPECT_FALSE(value == junk);
  EXPECT_TRUE(value != junk);
  EXPECT_FALSE(value < junk || value > junk || value <= junk || value >= junk);
  EXPECT_FALSE(junk < value || junk > value || junk <= value || junk >= value);
  EXPECT_FALSE(value == static_cast<const char*>(nullptr));
}

TEST(BigInt, KeepsTextAsReadAndOffersCanonicalForm) {
  c_big_int value(" \n+007\t");
  EXPECT_EQ(value.text(), "+007");
  EXPECT_EQ(value.canonical(), "7");
  std::ostringstream written;
  written << value;
  EXPECT_EQ(written.str(), "+007");

  value = std::string("-0012");
  EXPECT_EQ(value.canonical(), "-12");
  EXPECT_TRUE(value.is_negative());

  value = std::string("-000");
  EXPECT_EQ(value.text(), "-000");
  EXPECT_EQ(value.canonical(), "0");
  EXPECT_TRUE(value.is_zero());
  EXPECT_FALSE(value.is_negative());
}

TEST(BigInt, RefusesNonIntegerTextAndKeepsPreviousValue) {
  for (const char* invalid : {"", " ", "+", "-", "1.0", "1e3", "0x10", "1 000", "++1", "12a", "\xd9\xa1"}) {
    c_big_int value("+42");
    EXPECT_FALSE(c_big_int::is_valid(invalid)) << invalid;
    EXPECT_FALSE(value.set(invalid)) << invalid;
    EXPECT_EQ(value.text(), "+42") << invalid;
    EXPECT_EQ(c_big_int(invalid).text(), "0") << invalid;
  }
}

TEST(BigInt, ConvertsToMachineIntegersOnlyWithinRange) {
  long long signed_value = 0;
  unsigned long long unsigned_value = 1;
  EXPECT_TRUE(c_big_int("-9223372036854775808").get_as_long_long(&signed_value));
  EXPECT_EQ(signed_value, LLONG_MIN);
  EXPECT_FALSE(c_big_int("9223372036854775808").get_as_long_long(&signed_value));
  EXPECT_TRUE(c_big_int("9223372036854775808").get_as_unsigned_long_long(&unsigned_value));
  EXPECT_EQ(unsigned_value, 9223372036854775808ULL);
  EXPECT_FALSE(c_big_int("18446744073709551616").get_as_unsigned_long_long(&unsigned_value));
  EXPECT_FALSE(c_big_int(-1).get_as_unsigned_long_long(&unsigned_value));
  EXPECT_TRUE(c_big_int("-0").get_as_unsigned_long_long(&unsigned_value));
  EXPECT_EQ(unsigned_value, 0u);
}

TEST(Date, AcceptsSchemaFormsWithAndWithoutZone) {
  const c_date plain("2009-02-28");
  EXPECT_EQ(plain.year(), 2009);
  EXPECT_EQ(plain.month(), 2);
  EXPECT_EQ(plain.day(), 28);
  EXPECT_FALSE(plain.has_timezone());

  EXPECT_EQ(c_date("2009-02-28+14:00").tz_offset_minutes(), 14 * 60);
  EXPECT_EQ(c_date("2009-02-28-05:30").tz_offset_minutes(), -330);
  EXPECT_TRUE(c_date("2009-02-28Z").has_timezone());
  EXPECT_EQ(c_date("-0044-03-15").year(), -44);
  EXPECT_EQ(c_date("12345-01-01").year(), 12345);
}

TEST(Date, KnowsLeapYears) {
  EXPECT_TRUE(c_date::is_valid("2024-02-29"));
  EXPECT_TRUE(c_date::is_valid("2000-02-29"));
  EXPECT_FALSE(c_date::is_valid("2023-02-29"));
  EXPECT_FALSE(c_date::is_valid("1900-02-29"));
  EXPECT_TRUE(c_date::is_valid("-0004-02-29"));
  EXPECT_TRUE(c_datetime::is_valid("2024-02-29T12:00:00"));
  EXPECT_FALSE(c_datetime::is_valid("2100-02-29T12:00:00"));
}

TEST(Date, RefusesMalformedDatesAndZones) {
  for (const char* invalid :
       {"2009-13-01", "2009-00-10", "2009-04-31", "2009-01-00", "2009-1-01", "09-01-01", "0000-01-01",
        "01999-01-01", "+2009-01-01", "2009-01-01+14:01", "2009-01-01+15:00", "2009-01-01+05:60",
        "2009-01-01+0500", "2009-01-01z", "2009-01-01 Z", "2009-01-01T00:00:00", ""}) {
    EXPECT_FALSE(c_date::is_valid(invalid)) << invalid;
  }
}

TEST(Date, KeepsTextAndRefusalLeavesValueUnchanged) {
  c_date date;
  EXPECT_FALSE(date.is_set());
  EXPECT_TRUE(date.set(" 2009-02-28Z\n"));
  EXPECT_EQ(date.text(), "2009-02-28Z");
  EXPECT_FALSE(date.set("2009-02-30"));
  EXPECT_EQ(date.text(), "2009-02-28Z");
  std::ostringstream written;
  written << date;
  EXPECT_EQ(written.str(), "2009-02-28Z");
  EXPECT_FALSE(c_date("2009-02-30").is_set());
  EXPECT_NE(c_date("2009-02-28Z"), c_date("2009-02-28+00:00"));
}

TEST(DateTime, AcceptsTimesWithFractionsZonesAndEndOfDay) {
  const c_datetime stamp("2009-02-28T13:45:07.250-08:00");
  EXPECT_EQ(stamp.hour(), 13);
  EXPECT_EQ(stamp.minute(), 45);
  EXPECT_EQ(stamp.second(), 7);
  EXPECT_EQ(stamp.fraction_text(), "250");
  EXPECT_EQ(stamp.tz_offset_minutes(), -480);
  EXPECT_EQ(stamp.text(), "2009-02-28T13:45:07.250-08:00");

  EXPECT_EQ(c_datetime("2009-02-28T13:45:07Z").fraction_text(), "");
  const c_datetime end_of_day("2009-12-31T24:00:00.000");
  EXPECT_TRUE(end_of_day.is_set());
  EXPECT_EQ(end_of_day.hour(), 24);
  EXPECT_EQ(end_of_day.text(), "2009-12-31T24:00:00.000");
}

TEST(DateTime, RefusesMalformedTimes) {
  for (const char* invalid :
       {"2009-02-28T24:00:01", "2009-02-28T24:00:00.5", "2009-02-28T23:60:00", "2009-02-28T23:59:60",
        "2009-02-28T1:00:00", "2009-02-28T13:45:07.", "2009-02-28 13:45:07", "2009-02-29T00:00:00",
        "2009-02-28T13:45", "2009-02-28", "2009-02-28T13:45:07+14:30"}) {
    EXPECT_FALSE(c_datetime::is_valid(invalid)) << invalid;
    c_datetime kept("2001-01-01T00:00:00");
    EXPECT_FALSE(kept.set(invalid)) << invalid;
    EXPECT_EQ(kept.text(), "2001-01-01T00:00:00");
  }
}

template <typename F>
bool same_bits(F a, F b) {
  return std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(Numbers, FormatsShortestTextThatReadsBackExactly) {
  EXPECT_EQ(lmx60::format_double(0.1), "0.1");
  EXPECT_EQ(lmx60::format_float(1.1f), "1.1");
  EXPECT_EQ(lmx60::format_float(0.1f), "0.1");
  for (double value : {0.1, 1e-7, 1.0 / 3, 5e-324, DBL_MAX, -0.0, 123456789012345678.0, 3.4028235e38}) {
    double read_back = 0;
    ASSERT_TRUE(lmx60::parse_double(lmx60::format_double(value), &read_back)) << value;
    EXPECT_TRUE(same_bits(read_back, value)) << lmx60::format_double(value);
  }
  for (float value : {1.1f, 0.1f, 1e-7f, 3.4028235e38f, FLT_MIN, 16777217.0f}) {
    float read_back = 0;
    ASSERT_TRUE(lmx60::parse_float(lmx60::format_float(value), &read_back)) << value;
    EXPECT_TRUE(same_bits(read_back, value)) << lmx60::format_float(value);
  }
}

TEST(Numbers, FloatZeroIsPositiveAndWrittenAsZero) {
  EXPECT_EQ(lmx60::float_zero(), 0.0f);
  EXPECT_FALSE(std::signbit(lmx60::float_zero()));
  EXPECT_EQ(lmx60::format_float(lmx60::float_zero()), "0");
}

TEST(Numbers, MapsSpecialValuesBothWays) {
  EXPECT_EQ(lmx60::format_double(INFINITY), "INF");
  EXPECT_EQ(lmx60::format_float(-INFINITY), "-INF");
  EXPECT_EQ(lmx60::format_double(NAN), "NaN");
  double value = 0;
  EXPECT_TRUE(lmx60::parse_double("-INF", &value) && std::isinf(value) && value < 0);
  EXPECT_TRUE(lmx60::parse_double(" NaN ", &value) && std::isnan(value));
  value = 2.5;
  for (const char* refused : {"+INF", "inf", "Infinity", "nan", "-NaN"}) {
    EXPECT_FALSE(lmx60::parse_double(refused, &value)) << refused;
  }
  EXPECT_EQ(value, 2.5);
}

TEST(Numbers, AcceptsOnlyTheSchemaLexicalForms) {
  for (const char* valid : {".5", "5.", "-1.5E-3", "+2e+2", " 1 ", "\t-0\n", "007", "1E5"}) {
    EXPECT_TRUE(lmx60::is_valid_float(valid)) << valid;
  }
  for (const char* invalid : {"1.2.3", "", " ", ".", "e5", "1e", "1e+", "1e2.5", "0x1p3", "1,5", "1 2", "- 1"}) {
    EXPECT_FALSE(lmx60::is_valid_float(invalid)) << invalid;
    float untouched = 7;
    EXPECT_FALSE(lmx60::parse_float(invalid, &untouched)) << invalid;
    EXPECT_EQ(untouched, 7);
  }
  double value = 0;
  EXPECT_TRUE(lmx60::parse_double("-1.5E-3", &value));
  EXPECT_EQ(value, -0.0015);
}

TEST(Numbers, OutOfRangeMagnitudesBecomeNearestValue) {
  double value = 0;
  EXPECT_TRUE(lmx60::parse_double("1e400", &value) && std::isinf(value) && value > 0);
  EXPECT_TRUE(lmx60::parse_double("-123456e400", &value) && std::isinf(value) && value < 0);
  EXPECT_TRUE(lmx60::parse_double("-0.0001e-400", &value) && value == 0 && std::signbit(value));
  float narrow = 0;
  EXPECT_TRUE(lmx60::parse_float("1e39", &narrow) && std::isinf(narrow));
  EXPECT_TRUE(lmx60::parse_float("1e-50", &narrow) && narrow == 0);
}

TEST(Numbers, ParsesBooleansAndRangeCheckedIntegers) {
  bool flag = false;
  EXPECT_TRUE(lmx60::parse_bool(" true\n", &flag) && flag);
  EXPECT_TRUE(lmx60::parse_bool("0", &flag) && !flag);
  for (const char* invalid : {"TRUE", "yes", "", "2", "t rue"}) EXPECT_FALSE(lmx60::is_valid_bool(invalid)) << invalid;

  int number = 0;
  EXPECT_TRUE(lmx60::parse_int("+007", &number));
  EXPECT_EQ(number, 7);
  EXPECT_TRUE(lmx60::parse_int("-2147483648", &number));
  EXPECT_EQ(number, INT_MIN);
  EXPECT_FALSE(lmx60::parse_int("2147483648", &number));
  EXPECT_EQ(number, INT_MIN);
  long long wide = 0;
  EXPECT_FALSE(lmx60::parse_long_long("9223372036854775808", &wide));
  unsigned long long unsigned_wide = 0;
  EXPECT_FALSE(lmx60::parse_unsigned_long_long("-1", &unsigned_wide));
}

TEST(Numbers, AppendVariantsExtendExistingText) {
  std::string line = "x=";
  lmx60::append_double(line, 0.5);
  line += ';';
  lmx60::append_float(line, -INFINITY);
  line += ';';
  lmx60::append_long_long(line, LLONG_MIN);
  EXPECT_EQ(line, "x=0.5;-INF;-9223372036854775808");
}

std::string with_whitespace_rule(std::string text, lmx60::elmx_whitespace rule) {
  lmx60::apply_whitespace(text, rule);
  return text;
}

TEST(Whitespace, AppliesPreserveReplaceAndCollapse) {
  EXPECT_EQ(with_whitespace_rule(" a\t\r\nb ", lmx60::ews_preserve), " a\t\r\nb ");
  EXPECT_EQ(with_whitespace_rule(" a\t\r\nb ", lmx60::ews_replace), " a   b ");
  EXPECT_EQ(with_whitespace_rule("  a \t\n b  c ", lmx60::ews_collapse), "a b c");
  EXPECT_EQ(with_whitespace_rule(" a b", lmx60::ews_collapse), "a b");
  EXPECT_EQ(with_whitespace_rule("a b ", lmx60::ews_collapse), "a b");
  EXPECT_EQ(with_whitespace_rule("\n\t  \r", lmx60::ews_collapse), "");
  EXPECT_EQ(with_whitespace_rule("already tidy", lmx60::ews_collapse), "already tidy");
  EXPECT_EQ(with_whitespace_rule("a\xc2\xa0\v\fb", lmx60::ews_collapse), "a\xc2\xa0\v\fb");
}

}  // namespace

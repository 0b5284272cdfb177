#include <ipxact/lmx60/lmx60_regexp.h>

#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlregexp.h>

#include <string>
#include <utility>

namespace {

const std::string scaledPositiveInteger = R"([+]?(0x|0X|#)?[0]*[1-9a-fA-F][0-9a-fA-F]*[kmgtKMGT]?)";
const std::string environmentIdentifier = R"([a-zA-Z0-9_+\*\.]*:[a-zA-Z0-9_+\*\.]*:[a-zA-Z0-9_+\*\.]*)";
const std::string schemaName = R"(\i[\p{L}\p{N}\.\-:_]*)";

const unsigned char* bytes(const char* text) {
  return reinterpret_cast<const unsigned char*>(text);
}

TEST(SchemaPattern, ScaledPositiveIntegerNeedsANonZeroDigit) {
  const lmx60::c_regexp pattern(scaledPositiveInteger);
  for (const char* accepted : {"0x10", "#1F", "+4k", "0001", "7"})
    EXPECT_TRUE(pattern.matches(accepted)) << accepted;
  for (const char* rejected : {"0x0", "0", "", "-4", "4kk", " 4", "0x1z"})
    EXPECT_FALSE(pattern.matches(rejected)) << rejected;
}

TEST(SchemaPattern, MatchIsAnchoredToTheWholeValue) {
  const lmx60::c_regexp pattern(environmentIdentifier);
  for (const char* accepted : {"a:b:c", "::", "lib.x:*:1.0"})
    EXPECT_TRUE(pattern.matches(accepted)) << accepted;
  for (const char* rejected : {"a:b", "a:b:c:d", "a b:c:d", "a:b:c\n"})
    EXPECT_FALSE(pattern.matches(rejected)) << rejected;
}

TEST(SchemaPattern, NamePatternUsesUnicodeClasses) {
  const lmx60::c_regexp pattern(schemaName);
  EXPECT_TRUE(pattern.matches("clk_0"));
  EXPECT_TRUE(pattern.matches("spirit:busIf-1.a"));
  EXPECT_TRUE(pattern.matches("d\xC3\xA9" "bit_\xCE\xB1\xCE\xB2"));
  EXPECT_FALSE(pattern.matches("0abc"));
  EXPECT_FALSE(pattern.matches("clk 0"));
  EXPECT_FALSE(pattern.matches(""));
}

TEST(SchemaPattern, ValueWithEmbeddedNulNeverMatches) {
  const lmx60::c_regexp pattern(schemaName);
  EXPECT_FALSE(pattern.matches(std::string("clk\0 0", 6)));
}

TEST(SchemaPattern, BrokenPatternCompilesToNullSilently) {
  testing::internal::CaptureStderr();
  _xmlRegexp* compiled = lmx60::xmlRegexpCompile(bytes("[a-"));
  const lmx60::c_regexp owner("[a-");
  const std::string printed = testing::internal::GetCapturedStderr();
  EXPECT_EQ(compiled, nullptr);
  EXPECT_EQ(printed, "");
  for (const char* value : {"", "a", "[a-", "anything"})
    EXPECT_FALSE(owner.matches(value)) << value;
}

int hostErrorCount = 0;
void countHostError(void*, const char*, ...) { ++hostErrorCount; }

TEST(SchemaPattern, HostErrorHandlerIsBackAfterCompiling) {
  xmlSetGenericErrorFunc(nullptr, countHostError);
  hostErrorCount = 0;
  EXPECT_EQ(lmx60::xmlRegexpCompile(bytes("[a-")), nullptr);
  EXPECT_EQ(hostErrorCount, 0);
  EXPECT_EQ(::xmlRegexpCompile(bytes("[a-")), nullptr);
  EXPECT_GT(hostErrorCount, 0);
  xmlSetGenericErrorFunc(nullptr, nullptr);
}

TEST(SchemaPattern, FreeFunctionsReportMatchAsOneAndTolerateNull) {
  EXPECT_EQ(lmx60::xmlRegexpExec(nullptr, bytes("a")), 0);
  lmx60::xmlRegFreeRegexp(nullptr);
  EXPECT_EQ(lmx60::xmlRegexpCompile(nullptr), nullptr);
  _xmlRegexp* compiled = lmx60::xmlRegexpCompile(bytes(scaledPositiveInteger.c_str()));
  ASSERT_NE(compiled, nullptr);
  EXPECT_EQ(lmx60::xmlRegexpExec(compiled, bytes("0x10")), 1);
  EXPECT_EQ(lmx60::xmlRegexpExec(compiled, bytes("0x0")), 0);
  lmx60::xmlRegFreeRegexp(compiled);
}

TEST(SchemaPattern, MovedOwnerKeepsItsCompiledPattern) {
  lmx60::c_regexp original(environmentIdentifier);
  lmx60::c_regexp moved(std::move(original));
  EXPECT_TRUE(moved.matches("a:b:c"));
  lmx60::c_regexp assigned("[a-");
  assigned = std::move(moved);
  EXPECT_TRUE(assigned.matches("a:b:c"));
  EXPECT_FALSE(assigned.matches("a:b"));
}

} // namespace

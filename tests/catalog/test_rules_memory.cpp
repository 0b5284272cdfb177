// Memory layout rules over small components, and the exact scaled values they compare.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <ipxact/catalog/scaled_value.h>

#include "rules_test_support.h"

using namespace ipxact::catalog;
using rules_test::component;
using rules_test::run_rule;

namespace {

std::string field(const std::string& name, const std::string& offset, const std::string& width,
                  const std::string& inner = "")
{
    return "<spirit:field><spirit:name>" + name + "</spirit:name><spirit:bitOffset>" + offset +
           "</spirit:bitOffset><spirit:bitWidth>" + width + "</spirit:bitWidth>" + inner + "</spirit:field>\n";
}

std::string enumerated(const std::string& name, const std::string& value)
{
    return "<spirit:enumeratedValues><spirit:enumeratedValue><spirit:name>" + name +
           "</spirit:name><spirit:value>" + value + "</spirit:value></spirit:enumeratedValue></spirit:enumeratedValues>";
}

std::string reg(const std::string& name, const std::string& offset, const std::string& size,
                const std::string& fields = "", const std::string& reset = "")
{
    return "<spirit:register><spirit:name>" + name + "</spirit:name><spirit:addressOffset>" + offset +
           "</spirit:addressOffset><spirit:size>" + size + "</spirit:size>" +
           (reset.empty() ? "" : "<spirit:reset><spirit:value>" + reset + "</spirit:value></spirit:reset>") + fields +
           "</spirit:register>\n";
}

// A register array: one spirit:dim per dimension.
std::string reg_array(const std::string& name, const std::vector<std::string>& dims, const std::string& offset,
                      const std::string& size)
{
    std::string text = "<spirit:register><spirit:name>" + name + "</spirit:name>";
    for (const std::string& dim : dims)
        text += "<spirit:dim>" + dim + "</spirit:dim>";
    return text + "<spirit:addressOffset>" + offset + "</spirit:addressOffset><spirit:size>" + size +
           "</spirit:size></spirit:register>\n";
}

std::string block(const std::string& name, const std::string& base, const std::string& range,
                  const std::string& registers = "", const std::string& width = "32")
{
    return "<spirit:addressBlock><spirit:name>" + name + "</spirit:name><spirit:baseAddress>" + base +
           "</spirit:baseAddress><spirit:range>" + range + "</spirit:range><spirit:width>" + width +
           "</spirit:width>" + registers + "</spirit:addressBlock>\n";
}

std::string map(const std::string& blocks, const std::string& unit_bits = "")
{
    return component("<spirit:memoryMaps><spirit:memoryMap><spirit:name>regs</spirit:name>\n" + blocks +
                     (unit_bits.empty() ? "" : "<spirit:addressUnitBits>" + unit_bits + "</spirit:addressUnitBits>") +
                     "</spirit:memoryMap></spirit:memoryMaps>\n");
}

struct LayoutCase {
    const char* title;
    const char* rule;
    std::string breaks;
    std::string keeps;
    const char* path;  // where the finding on `breaks` stands
};

std::vector<LayoutCase> layout_cases()
{
    return {
        {"blocks overlapping by one address unit", "memory.block-overlap",
         map(block("a", "0x0", "0x100") + block("b", "0xFF", "0x100")),
         map(block("a", "0x0", "0x100") + block("b", "0x100", "0x100")), "component/memoryMaps/memoryMap/addressBlock[2]"},
        {"blocks written in different scaled forms", "memory.block-overlap",
         map(block("a", "#1000", "4k") + block("b", "8K", "0x10") + block("c", "4096", "1")),
         map(block("a", "#1000", "4k") + block("b", "8K", "0x10")), "component/memoryMaps/memoryMap/addressBlock[3]"},
        {"blocks beyond 64 bits", "memory.block-overlap",
         map(block("a", "0x10000000000000000", "16") + block("b", "0x1000000000000000F", "1")),
         map(block("a", "0x10000000000000000", "16") + block("b", "0x10", "1")),
         "component/memoryMaps/memoryMap/addressBlock[2]"},
        {"registers overlapping", "memory.register-overlap",
         map(block("a", "0", "16", reg("r0", "0x0", "32") + reg("r1", "0x2", "16"))),
         map(block("a", "0", "16", reg("r0", "0x0", "32") + reg("r1", "0x4", "16"))),
         "component/memoryMaps/memoryMap/addressBlock/register[2]"},
        {"register size counted in units of 16 bits", "memory.register-overlap",
         map(block("a", "0", "16", reg("r0", "0x0", "48") + reg("r1", "0x2", "16")), "16"),
         map(block("a", "0", "16", reg("r0", "0x0", "32") + reg("r1", "0x2", "16")), "16"),
         "component/memoryMaps/memoryMap/addressBlock/register[2]"},
        {"register past the end of its block", "memory.register-outside",
         map(block("a", "0", "8", reg("r0", "0x6", "32"))), map(block("a", "0", "8", reg("r0", "0x4", "32"))),
         "component/memoryMaps/memoryMap/addressBlock/register"},
        {"register array past the end of its block", "memory.register-outside",
         map(block("a", "0", "8", reg_array("r", {"4"}, "0", "32"))),
         map(block("a", "0", "16", reg_array("r", {"4"}, "0", "32"))), "component/memoryMaps/memoryMap/addressBlock/register"},
        {"register after a two-dimensional array it overlaps", "memory.register-overlap",
         map(block("a", "0", "32", reg_array("r", {"2", "2"}, "0", "32") + reg("s", "12", "32"))),
         map(block("a", "0", "32", reg_array("r", {"2", "2"}, "0", "32") + reg("s", "16", "32"))),
         "component/memoryMaps/memoryMap/addressBlock/register[2]"},
        {"fields overlapping", "memory.field-overlap",
         map(block("a", "0", "4", reg("r", "0", "32", field("f0", "0", "4") + field("f1", "3", "2")))),
         map(block("a", "0", "4", reg("r", "0", "32", field("f0", "0", "4") + field("f1", "4", "2")))),
         "component/memoryMaps/memoryMap/addressBlock/register/field[2]"},
        {"field past its register's size", "memory.field-outside",
         map(block("a", "0", "4", reg("r", "0", "8", field("f", "4", "5")))),
         map(block("a", "0", "4", reg("r", "0", "8", field("f", "4", "4")))),
         "component/memoryMaps/memoryMap/addressBlock/register/field"},
        {"reset value wider than its register", "memory.reset-width",
         map(block("a", "0", "4", reg("r", "0", "8", "", "0x100"))),
         map(block("a", "0", "4", reg("r", "0", "8", "", "0xFF"))),
         "component/memoryMaps/memoryMap/addressBlock/register/reset/value"},
        {"enumerated value wider than its field", "memory.enum-width",
         map(block("a", "0", "4", reg("r", "0", "8", field("f", "0", "2", enumerated("big", "4"))))),
         map(block("a", "0", "4", reg("r", "0", "8", field("f", "0", "2", enumerated("top", "3"))))),
         "component/memoryMaps/memoryMap/addressBlock/register/field/enumeratedValues/enumeratedValue/value"},
        {"block of width zero", "memory.positive", map(block("a", "0", "4", "", "0")), map(block("a", "0", "4", "", "1")),
         "component/memoryMaps/memoryMap/addressBlock/width"},
        {"offset in hexadecimal digits without a prefix", "memory.not-checkable",
         map(block("a", "0", "4", reg("r", "1A", "8"))), map(block("a", "0", "4", reg("r", "4", "8"))),
         "component/memoryMaps/memoryMap/addressBlock/register/addressOffset"},
    };
}

}  // namespace

// ---- the layout rules: one document that breaks each, one that keeps it ----

TEST(MemoryRules, EachRuleReportsTheDocumentThatBreaksItAtTheElementAndNotTheOneThatKeepsIt)
{
    for (const LayoutCase& c : layout_cases()) {
        SCOPED_TRACE(c.title);
        std::vector<Finding> broken = run_rule(c.rule, c.breaks);
        ASSERT_EQ(broken.size(), 1u);
        EXPECT_EQ(broken[0].path, c.path);
        EXPECT_EQ(broken[0].line, rules_test::line_of_path(c.breaks, c.path));
        EXPECT_EQ(broken[0].severity,
                  std::string(c.rule) == "memory.not-checkable" ? Severity::note : Severity::error);
        EXPECT_TRUE(run_rule(c.rule, c.keeps).empty());
    }
}

TEST(MemoryRules, OverlapMessagesNameBothElementsAndTheirExactSpans)
{
    std::vector<Finding> found =
        run_rule("memory.block-overlap", map(block("low", "0x0", "0x100") + block("high", "0xFF", "0x100")));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].message.find("'high' [0xff, 0x1fe]"), std::string::npos) << found[0].message;
    EXPECT_NE(found[0].message.find("'low' [0x0, 0xff]"), std::string::npos) << found[0].message;
}

TEST(MemoryRules, RemapsAreLaidOutApartFromTheirMap)
{
    // A remap's block replaces the map's in its state, so sharing addresses with it is the point.
    std::string remap = component(
        "<spirit:remapStates><spirit:remapState><spirit:name>boot</spirit:name></spirit:remapState></spirit:remapStates>\n"
        "<spirit:memoryMaps><spirit:memoryMap><spirit:name>regs</spirit:name>\n" +
        block("a", "0", "16") +
        "<spirit:memoryRemap spirit:state=\"boot\"><spirit:name>alt</spirit:name>" + block("b", "0", "16") +
        "</spirit:memoryRemap></spirit:memoryMap></spirit:memoryMaps>\n");
    EXPECT_TRUE(run_rule("memory.block-overlap", remap).empty());
}

TEST(MemoryRules, ValuesDecidedByTheUserAreNotCheckedButNamed)
{
    std::string user = map(block("a", "0", "4", reg("r0", "0", "32") +
                                                 "<spirit:register><spirit:name>r1</spirit:name><spirit:addressOffset>0"
                                                 "</spirit:addressOffset><spirit:size spirit:resolve=\"user\" "
                                                 "spirit:id=\"r1_size\">32</spirit:size></spirit:register>\n"));
    EXPECT_TRUE(run_rule("memory.register-overlap", user).empty());
    std::vector<Finding> notes = run_rule("memory.not-checkable", user);
    ASSERT_EQ(notes.size(), 1u);
    EXPECT_EQ(notes[0].path, "component/memoryMaps/memoryMap/addressBlock/register[2]/size");
    EXPECT_NE(notes[0].message.find("spirit:resolve=\"user\""), std::string::npos) << notes[0].message;
}

// ---- scaled values ----

TEST(ScaledValues, ReadsEveryScaledFormExactly)
{
    struct Form {
        const char* text;
        const char* decimal;
    };
    const Form forms[] = {
        {"0", "0"},           {"+7", "7"},        {"-3", "-3"},         {"0x1F", "31"},
        {"0XfF", "255"},      {"#10", "16"},      {"4k", "4096"},       {"2K", "2048"},
        {"1m", "1048576"},    {"3M", "3145728"},  {"1g", "1073741824"}, {"1T", "1099511627776"},
        {"0x10k", "16384"},   {" 12 ", "12"},     {"-#2M", "-2097152"},
        {"0xFFFFFFFFFFFFFFFFFFFF", "1208925819614629174706175"},
    };
    for (const Form& form : forms) {
        ScaledValue value = ScaledValue::parse(form.text);
        EXPECT_TRUE(value.checkable()) << form.text;
        EXPECT_EQ(value.to_string(), form.decimal) << form.text;
    }
}

TEST(ScaledValues, TextsNotInTheScaledFormAreNotCheckable)
{
    for (const char* text : {"", "k", "0x", "#", "ABC", "1e", "WIDTH*2", "1.5", "--1", "4kk", "0x1G0", "8 k"}) {
        ScaledValue value = ScaledValue::parse(text);
        EXPECT_FALSE(value.checkable()) << text;
        EXPECT_EQ(value.to_string(), "?");
        EXPECT_FALSE((value + ScaledValue(1)).checkable()) << text;
    }
}

TEST(ScaledValues, ArithmeticAndComparisonStayExactPastSixtyFourBits)
{
    ScaledValue big = ScaledValue::parse("0x10000000000000000");
    EXPECT_EQ((big - ScaledValue(1)).to_hex(), "0xffffffffffffffff");
    EXPECT_LT(ScaledValue::compare(big - ScaledValue(1), big), 0);
    EXPECT_EQ(ScaledValue::compare(ScaledValue::power_of_two(64), big), 0);
    EXPECT_EQ(big.bit_length(), 65u);
    EXPECT_EQ(big.to_ulong(7), 7u);
    EXPECT_EQ(ScaledValue::ceil_div(ScaledValue(33), ScaledValue(8)).to_string(), "5");
    EXPECT_EQ(ScaledValue::ceil_div(ScaledValue(32), ScaledValue(8)).to_string(), "4");
    EXPECT_FALSE(ScaledValue::ceil_div(ScaledValue(32), ScaledValue(0)).checkable());
    EXPECT_EQ((ScaledValue::parse("2k") * ScaledValue::parse("#2")).to_string(), "4096");
    EXPECT_EQ(ScaledValue(-5).sign(), -1);
    EXPECT_EQ(ScaledValue(-5).to_hex(), "-0x5");
}

// Values that fit in 64 bits are computed inline and larger ones exactly; results that cross from
// one to the other must come out the same as if every value were exact.
TEST(ScaledValues, ResultsCrossingSixtyFourBitsStayExact)
{
    ScaledValue largest = ScaledValue::parse("0x7fffffffffffffff");
    ScaledValue smallest = ScaledValue::parse("-0x8000000000000000");
    EXPECT_EQ(smallest.to_string(), "-9223372036854775808");
    EXPECT_EQ(smallest.to_hex(), "-0x8000000000000000");
    EXPECT_EQ(smallest.bit_length(), 64u);
    EXPECT_EQ((largest + ScaledValue(1)).to_hex(), "0x8000000000000000");
    EXPECT_EQ((smallest - ScaledValue(1)).to_string(), "-9223372036854775809");
    EXPECT_EQ((largest * largest).to_string(), "85070591730234615847396907784232501249");
    EXPECT_EQ(ScaledValue::compare(largest + ScaledValue(1), ScaledValue::power_of_two(63)), 0);
    EXPECT_LT(ScaledValue::compare(largest, ScaledValue::power_of_two(63)), 0);
    EXPECT_GT(ScaledValue::compare(ScaledValue(0), smallest), 0);
    // back below 64 bits after passing above them
    EXPECT_EQ(((largest + largest) - largest).to_string(), "9223372036854775807");
    EXPECT_EQ(ScaledValue::power_of_two(63).to_ulong(0), 9223372036854775808ul);
    EXPECT_EQ(ScaledValue::parse("0x3FFFFFFFFFFFFFk").to_hex(), "0xfffffffffffffc00");
    EXPECT_EQ(ScaledValue::parse("0x40000000000000k").to_hex(), "0x10000000000000000");
    EXPECT_EQ(ScaledValue::parse("18446744073709551616").to_hex(), "0x10000000000000000");
    EXPECT_EQ(ScaledValue::ceil_div(ScaledValue(-33), ScaledValue(8)).to_string(), "-4");
    EXPECT_EQ(ScaledValue::ceil_div(ScaledValue::power_of_two(70), ScaledValue(3)).to_string(),
              "393530540239137101142");
}

TEST(MemoryRules, RegistersAndFieldsAreCheckedWhereverTheyStand)
{
    // Blocks of a local memory map, of a bank and of a bank inside it, a register file after
    // another, an alternate register and a remap's second block: each breaks one rule once.
    std::string registers_apart = reg("r0", "0", "32") + reg("r1", "4", "32");
    std::string overlapping = reg("r0", "0", "32") + reg("r1", "2", "32");
    auto banked = [](const std::string& name, const std::string& registers) {
        return "<spirit:addressBlock><spirit:name>" + name + "</spirit:name><spirit:range>8</spirit:range>"
               "<spirit:width>32</spirit:width>" + registers + "</spirit:addressBlock>\n";
    };
    auto file = [](const std::string& name, const std::string& offset, const std::string& registers) {
        return "<spirit:registerFile><spirit:name>" + name + "</spirit:name><spirit:addressOffset>" + offset +
               "</spirit:addressOffset><spirit:range>8</spirit:range>" + registers + "</spirit:registerFile>\n";
    };
    std::string alternate =
        "<spirit:register><spirit:name>mode</spirit:name><spirit:addressOffset>0</spirit:addressOffset>"
        "<spirit:size>8</spirit:size>" + field("f", "0", "8") +
        "<spirit:alternateRegisters><spirit:alternateRegister><spirit:name>alt</spirit:name>"
        "<spirit:alternateGroups><spirit:alternateGroup>test</spirit:alternateGroup></spirit:alternateGroups>\n" +
        field("a0", "0", "4") + field("a1", "2", "4") +
        "</spirit:alternateRegister></spirit:alternateRegisters></spirit:register>\n";
    std::string xml = component(
        "<spirit:remapStates><spirit:remapState><spirit:name>boot</spirit:name></spirit:remapState></spirit:remapStates>\n"
        "<spirit:addressSpaces><spirit:addressSpace><spirit:name>cpu</spirit:name><spirit:range>4k</spirit:range>"
        "<spirit:width>32</spirit:width><spirit:localMemoryMap><spirit:name>local</spirit:name>\n" +
        block("l", "0", "16", overlapping) +
        "</spirit:localMemoryMap></spirit:addressSpace></spirit:addressSpaces>\n"
        "<spirit:memoryMaps><spirit:memoryMap><spirit:name>regs</spirit:name>\n" +
        block("a", "0", "16", alternate) +
        "<spirit:bank spirit:bankAlignment=\"serial\"><spirit:name>b</spirit:name><spirit:baseAddress>0x100"
        "</spirit:baseAddress>\n" +
        banked("b0", registers_apart) + banked("b1", reg("far", "6", "32")) +
        "<spirit:bank spirit:bankAlignment=\"parallel\"><spirit:name>inner</spirit:name>\n" + banked("i0", overlapping) +
        "</spirit:bank></spirit:bank>\n" +
        block("f", "0x200", "64", file("rf0", "0", registers_apart) + file("rf1", "8", overlapping)) +
        "<spirit:memoryRemap spirit:state=\"boot\"><spirit:name>alt</spirit:name>\n" + block("x", "0", "16") +
        block("y", "8", "16") + "</spirit:memoryRemap></spirit:memoryMap></spirit:memoryMaps>\n");
    std::vector<std::pair<std::string, std::string>> expected = {
        {"memory.register-overlap", "component/addressSpaces/addressSpace/localMemoryMap/addressBlock/register[2]"},
        {"memory.field-overlap",
         "component/memoryMaps/memoryMap/addressBlock/register/alternateRegisters/alternateRegister/field[2]"},
        {"memory.register-outside", "component/memoryMaps/memoryMap/bank/addressBlock[2]/register"},
        {"memory.register-overlap", "component/memoryMaps/memoryMap/bank/bank/addressBlock/register[2]"},
        {"memory.register-overlap", "component/memoryMaps/memoryMap/addressBlock[2]/registerFile[2]/register[2]"},
        {"memory.block-overlap", "component/memoryMaps/memoryMap/memoryRemap/addressBlock[2]"},
    };
    std::vector<std::pair<std::string, std::string>> found;
    for (const char* rule : {"memory.block-overlap", "memory.register-overlap", "memory.register-outside",
                             "memory.field-overlap", "memory.field-outside", "memory.not-checkable"})
        for (const Finding& finding : run_rule(rule, xml)) {
            found.emplace_back(finding.rule, finding.path);
            EXPECT_EQ(finding.line, rules_test::line_of_path(xml, finding.path)) << finding.path;
        }
    std::sort(found.begin(), found.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(found, expected);
}

TEST(ScaledValues, CopiesMovesAndAssignmentsKeepEachValueWhateverItsSize)
{
    // Values past 64 bits own a heap integer; the sanitizer build checks that none leaks or is
    // freed twice across every way a value is passed on.
    const ScaledValue big = ScaledValue::power_of_two(80);
    const ScaledValue small(42);
    std::vector<ScaledValue> values;
    for (int i = 0; i < 40; ++i)  // reallocations move every element
        values.push_back(i % 2 ? big : small);
    EXPECT_EQ(values[39].to_hex(), "0x100000000000000000000");
    EXPECT_EQ(values[38].to_string(), "42");

    ScaledValue copy = big;
    ScaledValue assigned = small;
    assigned = copy;  // small replaced by big
    copy = small;     // big replaced by small
    EXPECT_EQ(ScaledValue::compare(assigned, big), 0);
    EXPECT_EQ(copy.to_string(), "42");

    ScaledValue moved = std::move(assigned);
    EXPECT_EQ(ScaledValue::compare(moved, big), 0);
    EXPECT_FALSE(assigned.checkable());  // a value moved from is unknown
    moved = std::move(copy);
    EXPECT_EQ(moved.to_string(), "42");
    const ScaledValue& same = moved;
    moved = same;
    EXPECT_EQ(moved.to_string(), "42");
}

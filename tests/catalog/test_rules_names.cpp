// Names unique among siblings and spirit:id values unique in a document.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rules_test_support.h"

using namespace ipxact::catalog;
using rules_test::component;
using rules_test::run_rule;

namespace {

std::string named(const std::string& element, const std::string& name, const std::string& inner = "")
{
    return "<spirit:" + element + "><spirit:name>" + name + "</spirit:name>" + inner + "</spirit:" + element + ">\n";
}

std::string port(const std::string& name)
{
    return named("port", name, "<spirit:wire><spirit:direction>in</spirit:direction></spirit:wire>");
}

std::string ports(const std::string& a, const std::string& b)
{
    return component("<spirit:model><spirit:ports>" + port(a) + port(b) + "</spirit:ports></spirit:model>\n");
}

std::string bus_interface(const std::string& name)
{
    return named("busInterface", name,
                 "<spirit:busType spirit:vendor=\"acme.example.com\" spirit:library=\"buses\" spirit:name=\"apb\" "
                 "spirit:version=\"1.0\"/><spirit:slave/>");
}

std::string view(const std::string& name)
{
    return named("view", name, "<spirit:envIdentifier>verilog:acme:</spirit:envIdentifier>");
}

std::string reg(const std::string& name, const std::string& offset, const std::string& fields = "")
{
    return named("register", name,
                 "<spirit:addressOffset>" + offset + "</spirit:addressOffset><spirit:size>32</spirit:size>" + fields);
}

std::string field(const std::string& name, const std::string& offset)
{
    return named("field", name, "<spirit:bitOffset>" + offset + "</spirit:bitOffset><spirit:bitWidth>1</spirit:bitWidth>");
}

std::string block(const std::string& name, const std::string& base, const std::string& registers = "")
{
    return named("addressBlock", name,
                 "<spirit:baseAddress>" + base + "</spirit:baseAddress><spirit:range>16</spirit:range>"
                 "<spirit:width>32</spirit:width>" + registers);
}

std::string maps(const std::string& content)
{
    return component("<spirit:memoryMaps>" + content + "</spirit:memoryMaps>\n");
}

std::string parameter(const std::string& name, const std::string& id)
{
    return named("parameter", name, "<spirit:value spirit:resolve=\"user\" spirit:id=\"" + id + "\">8</spirit:value>");
}

std::string instance(const std::string& name)
{
    return "<spirit:componentInstance><spirit:instanceName>" + name +
           "</spirit:instanceName><spirit:componentRef spirit:vendor=\"acme.example.com\" spirit:library=\"ip\" "
           "spirit:name=\"timer\" spirit:version=\"1.0\"/></spirit:componentInstance>\n";
}

std::string design(const std::string& a, const std::string& b)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:design ") + rules_test::spirit_ns() +
           ">\n<spirit:vendor>acme.example.com</spirit:vendor><spirit:library>ip</spirit:library>"
           "<spirit:name>top</spirit:name><spirit:version>1.0</spirit:version>\n<spirit:componentInstances>" +
           instance(a) + instance(b) + "</spirit:componentInstances>\n</spirit:design>\n";
}

struct NameCase {
    const char* title;
    std::string breaks;
    std::string keeps;
    const char* path;
};

std::vector<NameCase> name_cases()
{
    return {
        {"ports", ports("clk", "clk"), ports("clk", "rst"), "component/model/ports/port[2]"},
        {"bus interfaces",
         component("<spirit:busInterfaces>" + bus_interface("s") + bus_interface("s") + "</spirit:busInterfaces>\n"),
         component("<spirit:busInterfaces>" + bus_interface("s") + bus_interface("t") + "</spirit:busInterfaces>\n"),
         "component/busInterfaces/busInterface[2]"},
        {"memory maps", maps(named("memoryMap", "m", block("b", "0")) + named("memoryMap", "m", block("b", "0"))),
         maps(named("memoryMap", "m", block("b", "0")) + named("memoryMap", "n", block("b", "0"))),
         "component/memoryMaps/memoryMap[2]"},
        {"address blocks", maps(named("memoryMap", "m", block("b", "0") + block("b", "0x100"))),
         maps(named("memoryMap", "m", block("b", "0") + block("c", "0x100"))),
         "component/memoryMaps/memoryMap/addressBlock[2]"},
        {"registers", maps(named("memoryMap", "m", block("b", "0", reg("r", "0") + reg("r", "4")))),
         maps(named("memoryMap", "m", block("b", "0", reg("r", "0") + reg("q", "4")))),
         "component/memoryMaps/memoryMap/addressBlock/register[2]"},
        {"fields", maps(named("memoryMap", "m", block("b", "0", reg("r", "0", field("f", "0") + field("f", "1"))))),
         maps(named("memoryMap", "m", block("b", "0", reg("r", "0", field("f", "0") + field("g", "1"))))),
         "component/memoryMaps/memoryMap/addressBlock/register/field[2]"},
        {"views", component("<spirit:model><spirit:views>" + view("rtl") + view("rtl") + "</spirit:views></spirit:model>\n"),
         component("<spirit:model><spirit:views>" + view("rtl") + view("tlm") + "</spirit:views></spirit:model>\n"),
         "component/model/views/view[2]"},
        {"file sets",
         component("<spirit:fileSets>" + named("fileSet", "src") + named("fileSet", "src") + "</spirit:fileSets>\n"),
         component("<spirit:fileSets>" + named("fileSet", "src") + named("fileSet", "doc") + "</spirit:fileSets>\n"),
         "component/fileSets/fileSet[2]"},
        {"parameters",
         component("<spirit:parameters>" + parameter("W", "w1") + parameter("W", "w2") + "</spirit:parameters>\n"),
         component("<spirit:parameters>" + parameter("W", "w1") + parameter("D", "w2") + "</spirit:parameters>\n"),
         "component/parameters/parameter[2]"},
        {"component instances", design("u0", "u0"), design("u0", "u1"),
         "design/componentInstances/componentInstance[2]"},
        {"spirit:id values",
         component("<spirit:parameters>" + parameter("W", "w") + parameter("D", "w") + "</spirit:parameters>\n"),
         component("<spirit:parameters>" + parameter("W", "w") + parameter("D", "d") + "</spirit:parameters>\n"),
         "component/parameters/parameter[2]/value"},
    };
}

}  // namespace

TEST(UniqueNames, ATwiceUsedNameIsReportedAtItsSecondUseAndDistinctNamesPass)
{
    for (const NameCase& c : name_cases()) {
        SCOPED_TRACE(c.title);
        std::vector<Finding> found = run_rule("names.unique", c.breaks);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].path, c.path);
        EXPECT_EQ(found[0].severity, Severity::error);
        EXPECT_EQ(found[0].line, rules_test::line_of_path(c.breaks, c.path));
        EXPECT_TRUE(run_rule("names.unique", c.keeps).empty());
    }
}

TEST(UniqueNames, TheMessageNamesTheNameAndWhereItWasFirstUsed)
{
    std::vector<Finding> found = run_rule("names.unique", ports("clk", "clk"));
    ASSERT_EQ(found.size(), 1u);
    EXPECT_NE(found[0].message.find("'clk'"), std::string::npos) << found[0].message;
    EXPECT_NE(found[0].message.find("component/model/ports/port)"), std::string::npos) << found[0].message;
}

TEST(UniqueNames, EqualNamesUnderDifferentParentsAreFine)
{
    // Two blocks may each have a register "ctrl"; two maps may each have a block "b".
    std::string doc = maps(named("memoryMap", "m", block("b", "0", reg("ctrl", "0"))) +
                           named("memoryMap", "n", block("b", "0", reg("ctrl", "0"))));
    EXPECT_TRUE(run_rule("names.unique", doc).empty());
}

TEST(UniqueNames, BlocksBanksAndRemapsOfOneMapShareTheirNames)
{
    std::string doc = component(
        "<spirit:remapStates><spirit:remapState><spirit:name>boot</spirit:name></spirit:remapState></spirit:remapStates>\n"
        "<spirit:memoryMaps><spirit:memoryMap><spirit:name>m</spirit:name>" + block("x", "0") +
        "<spirit:memoryRemap spirit:state=\"boot\"><spirit:name>x</spirit:name>" + block("y", "0") +
        "</spirit:memoryRemap></spirit:memoryMap></spirit:memoryMaps>\n");
    std::vector<Finding> found = run_rule("names.unique", doc);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].path, "component/memoryMaps/memoryMap/memoryRemap");
}

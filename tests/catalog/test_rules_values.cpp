// Enumerated values the standard does not list, and references by name inside one document.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "rules_test_support.h"

using namespace ipxact::catalog;
using rules_test::component;
using rules_test::run_rule;

namespace {

std::string port_with_direction(const std::string& direction)
{
    return component("<spirit:model><spirit:ports><spirit:port><spirit:name>d</spirit:name><spirit:wire>"
                     "<spirit:direction>" + direction +
                     "</spirit:direction></spirit:wire></spirit:port></spirit:ports></spirit:model>\n");
}

std::string abstraction_with_presence(const std::string& presence)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:abstractionDefinition ") + rules_test::spirit_ns() +
           ">\n<spirit:vendor>acme.example.com</spirit:vendor><spirit:library>buses</spirit:library>"
           "<spirit:name>apb_rtl</spirit:name><spirit:version>1.0</spirit:version>\n"
           "<spirit:busType spirit:vendor=\"acme.example.com\" spirit:library=\"buses\" spirit:name=\"apb\" "
           "spirit:version=\"1.0\"/>\n<spirit:ports>\n<spirit:port><spirit:logicalName>PSEL</spirit:logicalName>"
           "<spirit:wire><spirit:onMaster>\n<spirit:presence>" + presence +
           "</spirit:presence><spirit:direction>out</spirit:direction></spirit:onMaster></spirit:wire></spirit:port>\n"
           "</spirit:ports>\n</spirit:abstractionDefinition>\n";
}

std::string interface_endianness(const std::string& endianness)
{
    return component("<spirit:busInterfaces><spirit:busInterface><spirit:name>s</spirit:name>"
                     "<spirit:busType spirit:vendor=\"acme.example.com\" spirit:library=\"buses\" spirit:name=\"apb\" "
                     "spirit:version=\"1.0\"/><spirit:slave/>\n<spirit:endianness>" + endianness +
                     "</spirit:endianness></spirit:busInterface></spirit:busInterfaces>\n");
}

std::string register_access(const std::string& access)
{
    return component("<spirit:memoryMaps><spirit:memoryMap><spirit:name>m</spirit:name><spirit:addressBlock>"
                     "<spirit:name>b</spirit:name><spirit:baseAddress>0</spirit:baseAddress><spirit:range>4</spirit:range>"
                     "<spirit:width>32</spirit:width>\n<spirit:register><spirit:name>r</spirit:name><spirit:addressOffset>0"
                     "</spirit:addressOffset><spirit:size>32</spirit:size>\n<spirit:access>" + access +
                     "</spirit:access></spirit:register></spirit:addressBlock></spirit:memoryMap></spirit:memoryMaps>\n");
}

std::string port_access(const std::string& type)
{
    return component("<spirit:model><spirit:ports><spirit:port><spirit:name>p</spirit:name>"
                     "<spirit:wire><spirit:direction>in</spirit:direction></spirit:wire>\n"
                     "<spirit:access><spirit:portAccessType>" + type +
                     "</spirit:portAccessType></spirit:access></spirit:port></spirit:ports></spirit:model>\n");
}

struct ValueCase {
    const char* title;
    std::string breaks;
    std::string keeps;
    const char* path;
    const char* text;  // the unlisted value, which the message quotes
};

std::vector<ValueCase> unlisted_cases()
{
    return {
        {"port direction", port_with_direction("sideways"), port_with_direction("inout"),
         "component/model/ports/port/wire/direction", "sideways"},
        {"presence", abstraction_with_presence("sometimes"), abstraction_with_presence("optional"),
         "abstractionDefinition/ports/port/wire/onMaster/presence", "sometimes"},
        {"bus interface endianness", interface_endianness("middle"), interface_endianness("little"),
         "component/busInterfaces/busInterface/endianness", "middle"},
        {"register access", register_access("read-mostly"), register_access("read-writeOnce"),
         "component/memoryMaps/memoryMap/addressBlock/register/access", "read-mostly"},
        // a port's access holds a port access type, which is not a memory access
        {"port access type", port_access("pointer"), port_access("ptr"),
         "component/model/ports/port/access/portAccessType", "pointer"},
    };
}

std::string bus_interface(const std::string& name, const std::string& mode)
{
    return "<spirit:busInterface><spirit:name>" + name +
           "</spirit:name><spirit:busType spirit:vendor=\"acme.example.com\" spirit:library=\"buses\" "
           "spirit:name=\"apb\" spirit:version=\"1.0\"/>" + mode + "</spirit:busInterface>\n";
}

std::string slave_of_map(const std::string& ref)
{
    return component("<spirit:busInterfaces>" +
                     bus_interface("s", "<spirit:slave><spirit:memoryMapRef spirit:memoryMapRef=\"" + ref +
                                            "\"/></spirit:slave>") +
                     "</spirit:busInterfaces>\n<spirit:memoryMaps><spirit:memoryMap><spirit:name>regs</spirit:name>"
                     "<spirit:addressBlock><spirit:name>b</spirit:name><spirit:baseAddress>0</spirit:baseAddress>"
                     "<spirit:range>4</spirit:range><spirit:width>32</spirit:width></spirit:addressBlock>"
                     "</spirit:memoryMap></spirit:memoryMaps>\n");
}

std::string bridge_to(const std::string& master)
{
    return component("<spirit:busInterfaces>" + bus_interface("m", "<spirit:master/>") +
                     bus_interface("s", "<spirit:slave><spirit:bridge spirit:masterRef=\"" + master +
                                            "\" spirit:opaque=\"false\"/></spirit:slave>") +
                     "</spirit:busInterfaces>\n");
}

std::string view_using(const std::string& file_set)
{
    return component("<spirit:model><spirit:views><spirit:view><spirit:name>rtl</spirit:name>"
                     "<spirit:envIdentifier>verilog:acme:</spirit:envIdentifier>\n<spirit:fileSetRef><spirit:localName>" +
                     file_set +
                     "</spirit:localName></spirit:fileSetRef></spirit:view></spirit:views></spirit:model>\n"
                     "<spirit:fileSets><spirit:fileSet><spirit:name>src</spirit:name></spirit:fileSet></spirit:fileSets>\n");
}

std::string port_map_to(const std::string& physical)
{
    return component("<spirit:busInterfaces>" +
                     bus_interface("s", "<spirit:slave/><spirit:portMaps><spirit:portMap><spirit:logicalPort><spirit:name>"
                                        "PSEL</spirit:name></spirit:logicalPort>\n<spirit:physicalPort><spirit:name>" +
                                            physical + "</spirit:name></spirit:physicalPort></spirit:portMap></spirit:portMaps>") +
                     "</spirit:busInterfaces>\n<spirit:model><spirit:ports><spirit:port><spirit:name>psel</spirit:name>"
                     "<spirit:wire><spirit:direction>in</spirit:direction></spirit:wire></spirit:port></spirit:ports>"
                     "</spirit:model>\n");
}

std::string adhoc_to(const std::string& instance)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:design ") + rules_test::spirit_ns() +
           ">\n<spirit:vendor>acme.example.com</spirit:vendor><spirit:library>ip</spirit:library>"
           "<spirit:name>top</spirit:name><spirit:version>1.0</spirit:version>\n<spirit:componentInstances>"
           "<spirit:componentInstance><spirit:instanceName>u0</spirit:instanceName><spirit:componentRef "
           "spirit:vendor=\"acme.example.com\" spirit:library=\"ip\" spirit:name=\"timer\" spirit:version=\"1.0\"/>"
           "</spirit:componentInstance></spirit:componentInstances>\n<spirit:adHocConnections><spirit:adHocConnection>"
           "<spirit:name>irq</spirit:name>\n<spirit:internalPortReference spirit:componentRef=\"" + instance +
           "\" spirit:portRef=\"irq\"/></spirit:adHocConnection></spirit:adHocConnections>\n</spirit:design>\n";
}

std::vector<ValueCase> reference_cases()
{
    return {
        {"memory map of a slave", slave_of_map("registers"), slave_of_map("regs"),
         "component/busInterfaces/busInterface/slave/memoryMapRef", "registers"},
        {"master of a bridge", bridge_to("n"), bridge_to("m"), "component/busInterfaces/busInterface[2]/slave/bridge",
         "n"},
        {"file set of a view", view_using("sources"), view_using("src"),
         "component/model/views/view/fileSetRef", "sources"},
        {"physical port of a port map", port_map_to("pselx"), port_map_to("psel"),
         "component/busInterfaces/busInterface/portMaps/portMap/physicalPort/name", "pselx"},
        {"instance of an ad hoc connection", adhoc_to("u9"), adhoc_to("u0"),
         "design/adHocConnections/adHocConnection/internalPortReference", "u9"},
    };
}

void expect_table(const char* rule, const std::vector<ValueCase>& cases)
{
    for (const ValueCase& c : cases) {
        SCOPED_TRACE(c.title);
        std::vector<Finding> found = run_rule(rule, c.breaks);
        ASSERT_EQ(found.size(), 1u);
        EXPECT_EQ(found[0].path, c.path);
        EXPECT_EQ(found[0].line, rules_test::line_of_path(c.breaks, c.path));
        EXPECT_EQ(found[0].severity, Severity::error);
        EXPECT_NE(found[0].message.find(std::string("'") + c.text + "'"), std::string::npos) << found[0].message;
        EXPECT_TRUE(run_rule(rule, c.keeps).empty());
    }
}

}  // namespace

TEST(UnlistedValues, AValueTheStandardDoesNotListIsReportedAndAListedOneIsNot)
{
    expect_table("values.unlisted", unlisted_cases());
}

TEST(UnlistedValues, ACheckOfAllRulesNoLongerCallsASidewaysPortClean)
{
    Catalog catalog;
    const Document& document = catalog.add_text("sideways.xml", port_with_direction("sideways"));
    ASSERT_TRUE(document.read_cleanly());
    std::vector<Finding> all = catalog.check(document);
    bool reported = false;
    for (const Finding& f : all)
        reported = reported || (f.rule == "values.unlisted" && f.severity == Severity::error);
    EXPECT_TRUE(reported);
}

TEST(NameReferences, AReferenceToANameTheDocumentLacksIsReportedAndOneItHasIsNot)
{
    expect_table("schema.keyref", reference_cases());
}

TEST(UnqualifiedAttributes, AStandardAttributeWrittenWithoutItsPrefixIsReportedAndOthersAreNot)
{
    auto register_size = [](const std::string& attributes) {
        return component(std::string("<spirit:memoryMaps><spirit:memoryMap><spirit:name>m</spirit:name>"
                                     "<spirit:addressBlock><spirit:name>b</spirit:name><spirit:baseAddress>0"
                                     "</spirit:baseAddress><spirit:range>4</spirit:range><spirit:width>32</spirit:width>\n"
                                     "<spirit:register><spirit:name>r</spirit:name><spirit:addressOffset>0"
                                     "</spirit:addressOffset>\n<spirit:size xmlns:acme=\"http://example.com/acme\"") +
                         attributes +
                         ">32</spirit:size></spirit:register></spirit:addressBlock></spirit:memoryMap>"
                         "</spirit:memoryMaps>\n");
    };
    std::string unprefixed = register_size(" resolve=\"user\"");
    std::vector<Finding> found = run_rule("values.unqualified-attribute", unprefixed);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_EQ(found[0].severity, Severity::warning);
    EXPECT_EQ(found[0].path, "component/memoryMaps/memoryMap/addressBlock/register/size");
    EXPECT_EQ(found[0].line, rules_test::line_of_path(unprefixed, found[0].path));
    EXPECT_NE(found[0].message.find("'resolve'"), std::string::npos) << found[0].message;
    EXPECT_NE(found[0].message.find("spirit:resolve"), std::string::npos) << found[0].message;
    // The standard's own attribute, one of another namespace and an unprefixed name the element's
    // class does not declare are all what they say they are.
    EXPECT_TRUE(run_rule("values.unqualified-attribute",
                         register_size(" spirit:resolve=\"user\" acme:resolve=\"x\" note=\"kept\""))
                    .empty());
}

// Bus interface rules: each over a small catalog of an abstraction definition and a component, once
// with a fault and once without.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <ipxact/catalog/catalog.h>

#include "catalog_test_support.h"

using namespace ipxact::catalog;
using namespace catalog_test;

namespace {

// The abstraction definition of bus "simple": ADDR required in both modes (8 bits), IRQ illegal on
// a master and optional on a slave.
std::string abstraction()
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:abstractionDefinition ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "buses", "simple_rtl", "1.0") + "  " +
           ref("busType", "acme.example.com", "buses", "simple", "1.0") + R"(
  <spirit:ports>
    <spirit:port>
      <spirit:logicalName>ADDR</spirit:logicalName>
      <spirit:wire>
        <spirit:onMaster><spirit:presence>required</spirit:presence><spirit:width>8</spirit:width><spirit:direction>out</spirit:direction></spirit:onMaster>
        <spirit:onSlave><spirit:presence>required</spirit:presence><spirit:width>8</spirit:width><spirit:direction>in</spirit:direction></spirit:onSlave>
      </spirit:wire>
    </spirit:port>
    <spirit:port>
      <spirit:logicalName>IRQ</spirit:logicalName>
      <spirit:wire>
        <spirit:onMaster><spirit:presence>illegal</spirit:presence></spirit:onMaster>
        <spirit:onSlave><spirit:presence>optional</spirit:presence><spirit:width>1</spirit:width><spirit:direction>out</spirit:direction></spirit:onSlave>
      </spirit:wire>
    </spirit:port>
  </spirit:ports>
</spirit:abstractionDefinition>
)";
}

// A component with one bus interface `name` of mode `mode` (the mode's element, written whole)
// mapping `maps`, then `rest` (channels, address spaces ...), and ports addr[7:0], irq and sel.
std::string device(const std::string& mode, const std::string& maps, const std::string& rest = "",
                      const std::string& more_interfaces = "")
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "ip", "dev", "1.0") +
           "  <spirit:busInterfaces>\n    <spirit:busInterface>\n      <spirit:name>bus0</spirit:name>\n      " +
           ref("busType", "acme.example.com", "buses", "simple", "1.0") + "\n      " +
           ref("abstractionType", "acme.example.com", "buses", "simple_rtl", "1.0") + "\n      " + mode +
           "\n      <spirit:portMaps>\n" + maps + "      </spirit:portMaps>\n    </spirit:busInterface>\n" +
           more_interfaces + "  </spirit:busInterfaces>\n" + rest + R"(  <spirit:model>
    <spirit:ports>
      <spirit:port><spirit:name>addr</spirit:name><spirit:wire><spirit:direction>out</spirit:direction><spirit:vector><spirit:left>7</spirit:left><spirit:right>0</spirit:right></spirit:vector></spirit:wire></spirit:port>
      <spirit:port><spirit:name>irq</spirit:name><spirit:wire><spirit:direction>in</spirit:direction></spirit:wire></spirit:port>
    </spirit:ports>
  </spirit:model>
</spirit:component>
)";
}

std::string port_map(const std::string& logical, const std::string& physical, const std::string& logical_vector = "",
                     const std::string& physical_vector = "")
{
    auto vector = [](const std::string& bounds) {
        if (bounds.empty())
            return std::string();
        size_t colon = bounds.find(':');
        return "<spirit:vector><spirit:left>" + bounds.substr(0, colon) + "</spirit:left><spirit:right>" +
               bounds.substr(colon + 1) + "</spirit:right></spirit:vector>";
    };
    return "        <spirit:portMap><spirit:logicalPort><spirit:name>" + logical + "</spirit:name>" +
           vector(logical_vector) + "</spirit:logicalPort><spirit:physicalPort><spirit:name>" + physical +
           "</spirit:name>" + vector(physical_vector) + "</spirit:physicalPort></spirit:portMap>\n";
}

std::string second_interface(const std::string& name, const std::string& mode)
{
    return "    <spirit:busInterface>\n      <spirit:name>" + name + "</spirit:name>\n      " +
           ref("busType", "acme.example.com", "buses", "simple", "1.0") + "\n      " + mode +
           "\n    </spirit:busInterface>\n";
}

// Findings of one rule over a catalog of the given documents; every document must read cleanly.
std::vector<Finding> run(const std::string& rule_id, const std::vector<std::pair<std::string, std::string>>& documents)
{
    Catalog catalog;
    for (const auto& document : documents)
        EXPECT_TRUE(catalog.add_text(document.first, document.second).read_cleanly()) << document.first;
    const Rule* rule = RuleRegistry::instance().find(rule_id);
    EXPECT_NE(rule, nullptr) << rule_id;
    if (!rule)
        return {};
    return catalog.check({rule});
}

struct Case {
    const char* name;
    const char* rule;
    std::string breaking;  // a component that breaks the rule once
    std::string keeping;   // the same component, mended
    const char* path;      // where the one finding stands
    const char* says;      // part of its message
};

class InterfaceRule : public testing::TestWithParam<Case> {};

const std::string kMapped = port_map("ADDR", "addr");

std::vector<Case> cases()
{
    return {
        {"LogicalPortOfTheAbstraction", "interface.logical-port",
         device("<spirit:master/>", kMapped + port_map("DATA", "irq")),
         device("<spirit:master/>", kMapped),
         "component/busInterfaces/busInterface/portMaps/portMap[2]/logicalPort/name", "'DATA'"},
        {"LogicalVectorInsideTheWidth", "interface.logical-range",
         device("<spirit:master/>", port_map("ADDR", "addr", "8:0", "7:0")),
         device("<spirit:master/>", port_map("ADDR", "addr", "7:0", "7:0")),
         "component/busInterfaces/busInterface/portMaps/portMap/logicalPort/vector/left", "width 8"},
        {"PhysicalVectorInsideThePort", "interface.physical-range",
         device("<spirit:master/>", port_map("ADDR", "addr", "", "3:12")),
         device("<spirit:master/>", port_map("ADDR", "addr", "", "3:0")),
         "component/busInterfaces/busInterface/portMaps/portMap/physicalPort/vector/right", "[7:0]"},
        {"PhysicalVectorOfAScalarPort", "interface.physical-range",
         device("<spirit:slave/>", kMapped + port_map("IRQ", "irq", "", "1:0")),
         device("<spirit:slave/>", kMapped + port_map("IRQ", "irq", "", "0:0")),
         "component/busInterfaces/busInterface/portMaps/portMap[2]/physicalPort/vector/left", "scalar"},
        {"RequiredPortMapped", "interface.required-port",
         device("<spirit:slave/>", port_map("IRQ", "irq")),
         device("<spirit:slave/>", kMapped + port_map("IRQ", "irq")),
         "component/busInterfaces/busInterface", "'ADDR' is required on a slave"},
        {"RequiredPortOfAMirroredMaster", "interface.required-port",
         device("<spirit:mirroredMaster/>", port_map("IRQ", "irq")),
         device("<spirit:mirroredMaster/>", kMapped),
         "component/busInterfaces/busInterface", "mirroredMaster"},
        {"IllegalPortNotMapped", "interface.illegal-port",
         device("<spirit:master/>", kMapped + port_map("IRQ", "irq")),
         device("<spirit:slave/>", kMapped + port_map("IRQ", "irq")),
         "component/busInterfaces/busInterface/portMaps/portMap[2]/logicalPort/name", "illegal on a master"},
        {"BridgeToAMaster", "interface.bridge",
         device("<spirit:slave><spirit:bridge spirit:masterRef=\"other\" spirit:opaque=\"false\"/></spirit:slave>",
                   kMapped, "", second_interface("other", "<spirit:mirroredMaster/>")),
         device("<spirit:slave><spirit:bridge spirit:masterRef=\"other\" spirit:opaque=\"false\"/></spirit:slave>",
                   kMapped, "", second_interface("other", "<spirit:master/>")),
         "component/busInterfaces/busInterface/slave/bridge", "mirroredMaster interface, not a master"},
        {"ChannelOfMirroredInterfaces", "interface.channel",
         device("<spirit:mirroredSlave/>", kMapped,
                   "  <spirit:channels><spirit:channel><spirit:name>ch</spirit:name><spirit:busInterfaceRef>bus0</spirit:busInterfaceRef><spirit:busInterfaceRef>other</spirit:busInterfaceRef></spirit:channel></spirit:channels>\n",
                   second_interface("other", "<spirit:slave/>")),
         device("<spirit:mirroredSlave/>", kMapped,
                   "  <spirit:channels><spirit:channel><spirit:name>ch</spirit:name><spirit:busInterfaceRef>bus0</spirit:busInterfaceRef><spirit:busInterfaceRef>other</spirit:busInterfaceRef></spirit:channel></spirit:channels>\n",
                   second_interface("other", "<spirit:mirroredMaster/>")),
         "component/channels/channel/busInterfaceRef[2]", "'other', a slave interface"},
    };
}

}  // namespace

TEST_P(InterfaceRule, ReportsTheFaultAtItsElementAndKeepsQuietOnceMended)
{
    const Case& c = GetParam();
    std::vector<Finding> broken = run(c.rule, {{"abs.xml", abstraction()}, {"comp.xml", c.breaking}});
    ASSERT_EQ(broken.size(), 1u) << (broken.empty() ? "" : format_finding(broken[0]));
    EXPECT_EQ(broken[0].severity, Severity::error);
    EXPECT_EQ(broken[0].path, c.path);
    EXPECT_NE(broken[0].message.find(c.says), std::string::npos) << broken[0].message;
    // The line is the element's own, found through the path.
    EXPECT_GT(broken[0].line, 0);
    std::string line_text;
    {
        std::istringstream text(c.breaking);
        for (int i = 0; i < broken[0].line; ++i)
            std::getline(text, line_text);
    }
    std::string last = c.path;
    last = last.substr(last.rfind('/') + 1);
    last = last.substr(0, last.find('['));
    EXPECT_NE(line_text.find("spirit:" + last), std::string::npos) << "line " << broken[0].line << ": " << line_text;

    std::vector<Finding> kept = run(c.rule, {{"abs.xml", abstraction()}, {"comp.xml", c.keeping}});
    EXPECT_TRUE(kept.empty()) << format_finding(kept[0]);
}

INSTANTIATE_TEST_SUITE_P(Rules, InterfaceRule, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<Case>& test) { return std::string(test.param.name); });

TEST(InterfaceRulesWithoutTheAbstraction, SayWhatWasNotCheckedInsteadOfGuessing)
{
    std::string broken = device("<spirit:master/>", port_map("DATA", "addr", "9:0"));
    for (const char* rule : {"interface.logical-port", "interface.logical-range", "interface.required-port",
                             "interface.illegal-port"}) {
        std::vector<Finding> findings = run(rule, {{"comp.xml", broken}});
        ASSERT_EQ(findings.size(), 1u) << rule;
        EXPECT_EQ(findings[0].severity, Severity::note) << rule;
        EXPECT_EQ(findings[0].path, "component/busInterfaces/busInterface/abstractionType");
        EXPECT_NE(findings[0].message.find("not checked"), std::string::npos);
        EXPECT_NE(findings[0].message.find("acme.example.com:buses:simple_rtl:1.0 not loaded"), std::string::npos)
            << findings[0].message;
    }
}

TEST(InterfaceRulesOverExtendedAbstractions, CountTheInheritedPortsAsTheDefinitionsOwn)
{
    // simple2_rtl extends simple_rtl and adds SEL: ADDR is still required and IRQ still known.
    std::string extending = std::string("<?xml version=\"1.0\"?>\n<spirit:abstractionDefinition ") + spirit_ns() +
                            ">\n" + vlnv_elements("acme.example.com", "buses", "simple2_rtl", "1.0") + "  " +
                            ref("busType", "acme.example.com", "buses", "simple", "1.0") + "\n  " +
                            ref("extends", "acme.example.com", "buses", "simple_rtl", "1.0") +
                            "\n  <spirit:ports><spirit:port><spirit:logicalName>SEL</spirit:logicalName><spirit:wire>"
                            "<spirit:onSlave><spirit:presence>optional</spirit:presence></spirit:onSlave></spirit:wire>"
                            "</spirit:port></spirit:ports>\n</spirit:abstractionDefinition>\n";
    std::string user = device("<spirit:slave/>", port_map("IRQ", "irq"));
    size_t at = user.find("simple_rtl");
    user.replace(at, 10, "simple2_rtl");
    std::vector<Finding> required = run("interface.required-port", {{"abs.xml", abstraction()}, {"abs2.xml", extending}, {"comp.xml", user}});
    ASSERT_EQ(required.size(), 1u);
    EXPECT_NE(required[0].message.find("'ADDR'"), std::string::npos);
    EXPECT_TRUE(run("interface.logical-port", {{"abs.xml", abstraction()}, {"abs2.xml", extending}, {"comp.xml", user}}).empty());
    // Without the definition it extends, the check is not made.
    std::vector<Finding> partial = run("interface.logical-port", {{"abs2.xml", extending}, {"comp.xml", user}});
    ASSERT_EQ(partial.size(), 1u);
    EXPECT_EQ(partial[0].severity, Severity::note);
    EXPECT_NE(partial[0].message.find("simple_rtl:1.0 not loaded"), std::string::npos) << partial[0].message;
}

// Design rules: a small catalog of components, a design instancing them and the component whose
// hierarchy the design is; each rule once over a design that breaks it and once over one that keeps it.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <ipxact/catalog/catalog.h>

#include "catalog_test_support.h"

using namespace ipxact::catalog;
using namespace catalog_test;

namespace {

std::string interface(const std::string& name, const std::string& bus, const std::string& mode)
{
    return "    <spirit:busInterface><spirit:name>" + name + "</spirit:name>" +
           ref("busType", "acme.example.com", "buses", bus, "1.0") + mode + "</spirit:busInterface>\n";
}

std::string part(const std::string& name, const std::string& interfaces, const std::string& model,
                 const std::string& parameters = "")
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "ip", name, "1.0") + "  <spirit:busInterfaces>\n" + interfaces +
           "  </spirit:busInterfaces>\n  <spirit:model>\n" + model + "  </spirit:model>\n" + parameters +
           "</spirit:component>\n";
}

std::string ports(const std::string& name)
{
    return "    <spirit:ports><spirit:port><spirit:name>" + name +
           "</spirit:name><spirit:wire><spirit:direction>in</spirit:direction></spirit:wire></spirit:port></spirit:ports>\n";
}

// cpu: a master, a mirrored master and a system interface of group g1 on bus "simple"; port irq;
// one configurable parameter value (spirit:id cpu_width) and one without an id (DEPTH).
std::string cpu()
{
    return part("cpu",
                interface("m", "simple", "<spirit:master/>") + interface("mm", "simple", "<spirit:mirroredMaster/>") +
                    interface("sys", "simple", "<spirit:system><spirit:group>g1</spirit:group></spirit:system>"),
                ports("irq"),
                "  <spirit:parameters>\n"
                "    <spirit:parameter><spirit:name>WIDTH</spirit:name><spirit:value spirit:id=\"cpu_width\" spirit:resolve=\"user\">8</spirit:value></spirit:parameter>\n"
                "    <spirit:parameter><spirit:name>DEPTH</spirit:name><spirit:value>4</spirit:value></spirit:parameter>\n"
                "  </spirit:parameters>\n");
}

// mem: a slave and a mirrored slave on "simple", mirrored systems of groups g1 and g2, and a slave
// on bus "other"; port irq_out.
std::string mem()
{
    return part("mem",
                interface("s", "simple", "<spirit:slave/>") + interface("ms", "simple", "<spirit:mirroredSlave/>") +
                    interface("msys", "simple", "<spirit:mirroredSystem><spirit:group>g1</spirit:group></spirit:mirroredSystem>") +
                    interface("msys2", "simple", "<spirit:mirroredSystem><spirit:group>g2</spirit:group></spirit:mirroredSystem>") +
                    interface("o", "other", "<spirit:slave/>"),
                ports("irq_out"));
}

// The component the design implements: port ext and a slave interface top_s.
std::string top()
{
    return part("top", interface("top_s", "simple", "<spirit:slave/>"),
                "    <spirit:views><spirit:view><spirit:name>hier</spirit:name><spirit:envIdentifier>::</spirit:envIdentifier>" +
                    ref("hierarchyRef", "acme.example.com", "ip", "soc", "1.0") + "</spirit:view></spirit:views>\n" +
                    ports("ext"));
}

std::string instance(const std::string& name, const std::string& component, const std::string& values = "")
{
    return "    <spirit:componentInstance><spirit:instanceName>" + name + "</spirit:instanceName>" +
           ref("componentRef", "acme.example.com", "ip", component, "1.0") + values + "</spirit:componentInstance>\n";
}

// The design "soc": instances cpu0 and mem0 (and `extra_instances`), then the connection elements given.
std::string design(const std::string& connections, const std::string& extra_instances = "",
                   const std::string& cpu_values = "")
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:design ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "ip", "soc", "1.0") + "  <spirit:componentInstances>\n" +
           instance("cpu0", "cpu", cpu_values) + instance("mem0", "mem") + extra_instances +
           "  </spirit:componentInstances>\n" + connections + "</spirit:design>\n";
}

std::string interconnection(const std::string& a, const std::string& a_bus, const std::string& b, const std::string& b_bus)
{
    return "  <spirit:interconnections><spirit:interconnection><spirit:name>link</spirit:name>"
           "<spirit:activeInterface spirit:componentRef=\"" + a + "\" spirit:busRef=\"" + a_bus + "\"/>"
           "<spirit:activeInterface spirit:componentRef=\"" + b + "\" spirit:busRef=\"" + b_bus + "\"/>"
           "</spirit:interconnection></spirit:interconnections>\n";
}

std::string monitor(const std::string& instance_name)
{
    return "  <spirit:interconnections><spirit:monitorInterconnection><spirit:name>watch</spirit:name>"
           "<spirit:monitoredActiveInterface spirit:componentRef=\"cpu0\" spirit:busRef=\"m\"/>"
           "<spirit:monitorInterface spirit:componentRef=\"" + instance_name + "\" spirit:busRef=\"s\"/>"
           "</spirit:monitorInterconnection></spirit:interconnections>\n";
}

std::string adhoc(const std::string& internal_port, const std::string& external_port)
{
    return "  <spirit:adHocConnections><spirit:adHocConnection><spirit:name>irq</spirit:name>"
           "<spirit:internalPortReference spirit:componentRef=\"cpu0\" spirit:portRef=\"" + internal_port + "\"/>"
           "<spirit:externalPortReference spirit:portRef=\"" + external_port + "\"/>"
           "</spirit:adHocConnection></spirit:adHocConnections>\n";
}

std::string hier(const std::string& interface_ref)
{
    return "  <spirit:hierConnections><spirit:hierConnection spirit:interfaceRef=\"" + interface_ref +
           "\"><spirit:interface spirit:componentRef=\"mem0\" spirit:busRef=\"s\"/></spirit:hierConnection></spirit:hierConnections>\n";
}

std::string configured(const std::string& reference)
{
    return "<spirit:configurableElementValues><spirit:configurableElementValue spirit:referenceId=\"" + reference +
           "\">16</spirit:configurableElementValue></spirit:configurableElementValues>";
}

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

std::vector<std::pair<std::string, std::string>> with_parts(const std::string& soc)
{
    return {{"simple.xml", bus_definition("simple")}, {"other.xml", bus_definition("other")}, {"cpu.xml", cpu()},
            {"mem.xml", mem()}, {"top.xml", top()}, {"soc.xml", soc}};
}

struct Case {
    const char* name;
    const char* rule;
    std::string breaking;
    std::string keeping;
    Severity severity;
    const char* path;
    const char* says;
};

class DesignRule : public testing::TestWithParam<Case> {};

std::vector<Case> cases()
{
    return {
        {"InstanceComponentLoaded", "design.instance-component", design("", instance("spare", "ghost")),
         design("", instance("spare", "mem")), Severity::note,
         "design/componentInstances/componentInstance[3]/componentRef",
         "not checked: component of instance 'spare': acme.example.com:ip:ghost:1.0 not loaded"},
        {"InterfaceOfTheInstance", "design.interface-reference", design(interconnection("cpu0", "m", "mem0", "slave0")),
         design(interconnection("cpu0", "m", "mem0", "s")), Severity::error,
         "design/interconnections/interconnection/activeInterface[2]", "no bus interface 'slave0'"},
        {"HierarchicalConnectionEndOfTheInstance", "design.interface-reference",
         design("  <spirit:hierConnections><spirit:hierConnection spirit:interfaceRef=\"top_s\"><spirit:interface spirit:componentRef=\"mem0\" spirit:busRef=\"t\"/></spirit:hierConnection></spirit:hierConnections>\n"),
         design(hier("top_s")), Severity::error, "design/hierConnections/hierConnection/interface", "no bus interface 't'"},
        {"MonitorOfAnInstance", "design.interface-reference", design(monitor("probe0")), design(monitor("mem0")),
         Severity::error, "design/interconnections/monitorInterconnection/monitorInterface",
         "'probe0' is not a component instance"},
        {"SameBusType", "design.interconnection-bus-type", design(interconnection("cpu0", "m", "mem0", "o")),
         design(interconnection("cpu0", "m", "mem0", "s")), Severity::error,
         "design/interconnections/interconnection", "acme.example.com:buses:other:1.0"},
        {"MasterWithSlave", "design.interconnection-mode", design(interconnection("cpu0", "m", "mem0", "ms")),
         design(interconnection("mem0", "s", "cpu0", "m")), Severity::error, "design/interconnections/interconnection",
         "cpu0.m (master) with mem0.ms (mirroredSlave)"},
        {"MasterWithMirroredMaster", "design.interconnection-mode", design(interconnection("cpu0", "mm", "mem0", "s")),
         design(interconnection("cpu0", "mm", "cpu0", "m")), Severity::error, "design/interconnections/interconnection",
         "(mirroredMaster) with mem0.s (slave)"},
        {"SystemWithMirroredSystemOfTheGroup", "design.interconnection-mode",
         design(interconnection("cpu0", "sys", "mem0", "msys2")), design(interconnection("cpu0", "sys", "mem0", "msys")),
         Severity::error, "design/interconnections/interconnection", "different groups 'g1' and 'g2'"},
        {"AdHocPortOfTheInstance", "design.adhoc-port", design(adhoc("nmi", "ext")), design(adhoc("irq", "ext")),
         Severity::error, "design/adHocConnections/adHocConnection/internalPortReference", "no port 'nmi'"},
        {"AdHocPortOfTheTopComponent", "design.adhoc-port", design(adhoc("irq", "ext2")), design(adhoc("irq", "ext")),
         Severity::error, "design/adHocConnections/adHocConnection/externalPortReference",
         "'ext2' is not a port of acme.example.com:ip:top:1.0"},
        {"HierarchicalInterfaceOfTheTopComponent", "design.hier-connection", design(hier("top_m")),
         design(hier("top_s")), Severity::error, "design/hierConnections/hierConnection", "interface 'top_m'"},
        {"ConfiguredIdOfTheComponent", "design.configurable-element", design("", "", configured("cpu_depth")),
         design("", "", configured("cpu_width")), Severity::error,
         "design/componentInstances/componentInstance/configurableElementValues/configurableElementValue",
         "'cpu_depth', which is no spirit:id of acme.example.com:ip:cpu:1.0"},
        {"ConfiguredParameterNamedInsteadOfItsId", "design.configurable-element", design("", "", configured("DEPTH")),
         design("", "", configured("cpu_width")), Severity::error,
         "design/componentInstances/componentInstance/configurableElementValues/configurableElementValue",
         "a parameter of that name has no spirit:id"},
    };
}

}  // namespace

TEST_P(DesignRule, ReportsTheFaultAtItsElementAndKeepsQuietOnceMended)
{
    const Case& c = GetParam();
    std::vector<Finding> broken = run(c.rule, with_parts(c.breaking));
    ASSERT_EQ(broken.size(), 1u) << (broken.empty() ? "" : format_finding(broken[0]));
    EXPECT_EQ(broken[0].severity, c.severity);
    EXPECT_EQ(broken[0].file, "soc.xml");
    EXPECT_EQ(broken[0].path, c.path);
    EXPECT_NE(broken[0].message.find(c.says), std::string::npos) << broken[0].message;
    std::string line_text;
    std::istringstream text(c.breaking);
    for (int i = 0; i < broken[0].line; ++i)
        std::getline(text, line_text);
    std::string last = c.path;
    last = last.substr(last.rfind('/') + 1);
    last = last.substr(0, last.find('['));
    EXPECT_NE(line_text.find("spirit:" + last), std::string::npos) << "line " << broken[0].line << ": " << line_text;

    std::vector<Finding> kept = run(c.rule, with_parts(c.keeping));
    EXPECT_TRUE(kept.empty()) << format_finding(kept[0]);
}

INSTANTIATE_TEST_SUITE_P(Rules, DesignRule, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<Case>& test) { return std::string(test.param.name); });

TEST(DesignRulesWithoutTheComponents, CheckNothingTheyCannotSee)
{
    // The same faults as above, but cpu and mem are not loaded: each instance gets one note and the
    // rules that need the components stay quiet.
    std::string soc = design(interconnection("cpu0", "m", "mem0", "ms") + adhoc("nmi", "ext"), "", configured("x"));
    std::vector<std::pair<std::string, std::string>> alone = {{"soc.xml", soc}};
    for (const char* rule : {"design.interface-reference", "design.interconnection-bus-type",
                             "design.interconnection-mode", "design.adhoc-port", "design.configurable-element"})
        EXPECT_TRUE(run(rule, alone).empty()) << rule;
    std::vector<Finding> notes = run("design.instance-component", alone);
    ASSERT_EQ(notes.size(), 2u);
    EXPECT_NE(notes[0].message.find("instance 'cpu0'"), std::string::npos);
    EXPECT_NE(notes[1].message.find("instance 'mem0'"), std::string::npos);
}

TEST(DesignRulesWithoutTheTopComponent, LeaveExternalPortsAndHierarchicalInterfacesUnjudged)
{
    std::vector<std::pair<std::string, std::string>> parts = {
        {"cpu.xml", cpu()}, {"mem.xml", mem()}, {"soc.xml", design(adhoc("irq", "ext2") + hier("top_m"))}};
    EXPECT_TRUE(run("design.adhoc-port", parts).empty());
    EXPECT_TRUE(run("design.hier-connection", parts).empty());
}

TEST(DesignRulesThroughAConfiguration, FindTheTopComponentWhoseViewNamesTheConfiguration)
{
    std::string configuration = std::string("<?xml version=\"1.0\"?>\n<spirit:designConfiguration ") + spirit_ns() +
                                ">\n" + vlnv_elements("acme.example.com", "ip", "soc_cfg", "1.0") + "  " +
                                ref("designRef", "acme.example.com", "ip", "soc", "1.0") +
                                "\n</spirit:designConfiguration>\n";
    std::string configured_top = top();
    configured_top.replace(configured_top.find("\"soc\""), 5, "\"soc_cfg\"");
    std::vector<Finding> findings =
        run("design.hier-connection", {{"cpu.xml", cpu()}, {"mem.xml", mem()}, {"top.xml", configured_top},
                                       {"cfg.xml", configuration}, {"soc.xml", design(hier("top_m"))}});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_NE(findings[0].message.find("acme.example.com:ip:top:1.0"), std::string::npos) << findings[0].message;
}

TEST(DesignRulesOverBusDefinitions, LetAMasterMeetASlaveOnlyWhereTheBusAllowsDirectConnection)
{
    std::string indirect = bus_definition("simple");
    indirect.replace(indirect.find("<spirit:directConnection>true"), 29, "<spirit:directConnection>false");
    std::string soc = design(interconnection("cpu0", "m", "mem0", "s"));
    std::vector<Finding> refused =
        run("design.interconnection-mode", {{"simple.xml", indirect}, {"cpu.xml", cpu()}, {"mem.xml", mem()}, {"soc.xml", soc}});
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(refused[0].severity, Severity::error);
    EXPECT_NE(refused[0].message.find("directConnection false"), std::string::npos) << refused[0].message;
    // Without the bus definition the question stays open.
    std::vector<Finding> open = run("design.interconnection-mode", {{"cpu.xml", cpu()}, {"mem.xml", mem()}, {"soc.xml", soc}});
    ASSERT_EQ(open.size(), 1u);
    EXPECT_EQ(open[0].severity, Severity::note);
    EXPECT_NE(open[0].message.find("acme.example.com:buses:simple:1.0 not loaded"), std::string::npos) << open[0].message;
}

TEST(DesignRulesOverBusDefinitions, AcceptBusTypesOneOfWhichExtendsTheOther)
{
    std::string extending = bus_definition("other");
    extending.replace(extending.find("</spirit:busDefinition>"), 0,
                      "  " + ref("extends", "acme.example.com", "buses", "simple", "1.0") + "\n");
    std::string soc = design(interconnection("cpu0", "m", "mem0", "o"));
    EXPECT_TRUE(run("design.interconnection-bus-type",
                    {{"simple.xml", bus_definition("simple")}, {"other.xml", extending}, {"cpu.xml", cpu()},
                     {"mem.xml", mem()}, {"soc.xml", soc}})
                    .empty());
    EXPECT_EQ(run("design.interconnection-bus-type",
                  {{"simple.xml", bus_definition("simple")}, {"other.xml", bus_definition("other")},
                   {"cpu.xml", cpu()}, {"mem.xml", mem()}, {"soc.xml", soc}})
                  .size(),
              1u);
}

TEST(DesignRulesFromFiles, ReportAConfiguredIdOfAComponentThatHasNoIdsAtAll)
{
    // mem carries no spirit:id, which a component read from a file is first searched for as text.
    scratch_directory dir;
    dir.write("mem.xml", mem());
    dir.write("cpu.xml", cpu());
    dir.write("soc.xml", design("", instance("mem1", "mem", configured("DEPTH"))));
    Catalog catalog;
    catalog.load({dir.path().string()});
    std::vector<Finding> findings = catalog.check({RuleRegistry::instance().find("design.configurable-element")});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].path, "design/componentInstances/componentInstance[3]/configurableElementValues/configurableElementValue");
    EXPECT_NE(findings[0].message.find("'DEPTH', which is no spirit:id of acme.example.com:ip:mem:1.0"), std::string::npos)
        << findings[0].message;
}

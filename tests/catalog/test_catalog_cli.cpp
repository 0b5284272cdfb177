// The catalog commands of the ipxact program: `catalog`, `deps` and the rules part of `check`, in
// text and SARIF.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <ipxact/catalog/rule.h>

#include "catalog_test_support.h"

using namespace catalog_test;

namespace {

const std::string kDocuments = CATALOG_DOCUMENTS;

std::string shell_word(const std::string& text)
{
    std::string out = "'";
    for (char c : text)
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return out + "'";
}

struct result {
    int status;
    std::string out;
    std::string err;
};

result run(const std::string& arguments)
{
    scratch_directory capture;
    std::string command = shell_word(IPXACT_CLI) + " " + arguments + " >" + shell_word((capture / "out").string()) + " 2>" +
                          shell_word((capture / "err").string()) + " </dev/null";
    int raw = std::system(command.c_str());
    auto slurp = [](const fs::path& p) {
        std::ifstream in(p);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    };
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(capture / "out"), slurp(capture / "err")};
}

bool contains(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST(CliCatalog, SummaryCountsKindsDuplicatesDanglingReferencesCyclesAndFindingsPerRule)
{
    scratch_directory dir;
    fs::copy(kDocuments, dir / "lib");
    dir.write("copy/bus.xml", bus_definition("apb"));
    dir.write("extra/uart.xml", component("uart", "uart_bus"));
    result r = run("catalog " + shell_word(dir.path().string()));
    EXPECT_EQ(r.status, 1) << r.out;  // the duplicate and the cycle are errors
    EXPECT_TRUE(contains(r.out, "catalog: 7 documents")) << r.out;
    EXPECT_TRUE(contains(r.out, "  component: 2\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  bus definition: 2\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  design configuration: 1\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "duplicate identifiers: 1\n  acme.example.com:buses:apb:1.0: ")) << r.out;
    EXPECT_TRUE(contains(r.out, "dangling 2\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  spirit:busType acme.example.com:buses:uart_bus:1.0 (1 reference)\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "cycles: 1\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  catalog.duplicate-vlnv: 2 errors\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  reference.unresolved: 2 notes\n")) << r.out;
}

TEST(CliCatalog, ACleanCatalogExitsZeroAndFindingsAreListedOnRequest)
{
    scratch_directory dir;
    dir.write("bus.xml", bus_definition("apb"));
    dir.write("uart.xml", component("uart", "apb"));
    result r = run("catalog --findings --notes " + shell_word(dir.path().string()));
    EXPECT_EQ(r.status, 0) << r.out;
    // The abstraction definition is not there: a note, not an error.
    EXPECT_TRUE(contains(r.out, (dir / "uart.xml").string() +
                                    ":11: note: [reference.unresolved] spirit:abstractionType "
                                    "acme.example.com:buses:apb_rtl:1.0 is not loaded "
                                    "(component/busInterfaces/busInterface/abstractionType)\n"))
        << r.out;
}

TEST(CliCatalog, SarifOutputIsOneValidLogWithEveryFinding)
{
    scratch_directory dir;
    fs::copy(kDocuments, dir / "lib");
    dir.write("copy/bus.xml", bus_definition("apb"));
    dir.write("broken.xml", "<spirit:component " + std::string(spirit_ns()) + "><spirit:vendor>");
    for (const char* command : {"catalog --format sarif --notes ", "check --format sarif --notes "}) {
        result r = run(command + shell_word(dir.path().string()));
        EXPECT_EQ(r.status, 1);
        std::string log = dir.write("log.sarif", r.out);
        std::string validate =
            "python3 -c \"import json,sys; d=json.load(open(sys.argv[1])); res=d['runs'][0]['results']; "
            "ids={r['ruleId'] for r in res}; "
            "assert {'read.fault','catalog.duplicate-vlnv','reference.cycle'} <= ids, ids; "
            "assert all(r['locations'][0]['physicalLocation']['artifactLocation']['uri'] for r in res)\" " +
            shell_word(log);
        EXPECT_EQ(std::system(validate.c_str()), 0) << command << "\n" << r.out;
    }
}

TEST(CliDeps, ClosureOfAFileInItsFolderDependenciesFirst)
{
    result r = run("deps " + shell_word(kDocuments + "/config.xml"));
    // The component's hierarchy instances the component itself: the cycle makes the status 1.
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    std::vector<std::string> order = {"buses:apb:1.0", "buses:apb_rtl:1.0", "ip:timer:1.0 ", "ip:timer_design:1.0",
                                      "ip:timer_config:1.0"};
    size_t at = 0;
    for (const std::string& step : order) {
        size_t found = r.out.find(step, at);
        ASSERT_NE(found, std::string::npos) << step << "\n" << r.out;
        at = found;
    }
    EXPECT_TRUE(contains(r.out, "cycle: ")) << r.out;
}

TEST(CliDeps, AnIdentifierWithACatalogAndTheDocumentsNotFound)
{
    scratch_directory dir;
    dir.write("soc.xml", design("soc", {"uart", "timer"}));
    dir.write("uart.xml", component("uart", "apb"));
    dir.write("apb.xml", bus_definition("apb"));
    result r = run("deps acme.example.com:ip:soc:1.0 --catalog " + shell_word(dir.path().string()));
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "not found:\n")) << r.out;
    EXPECT_TRUE(contains(r.out, "  acme.example.com:ip:timer:1.0 (spirit:componentRef in ")) << r.out;
    EXPECT_TRUE(contains(r.out, "  acme.example.com:buses:apb_rtl:1.0 (spirit:abstractionType in ")) << r.out;
    EXPECT_LT(r.out.find("buses:apb:1.0"), r.out.find("ip:uart:1.0")) << r.out;

    result unknown = run("deps acme.example.com:ip:none:1.0 --catalog " + shell_word(dir.path().string()));
    EXPECT_EQ(unknown.status, 1);
    EXPECT_TRUE(contains(unknown.err, "is not in the catalog")) << unknown.err;
    EXPECT_EQ(run("deps acme.example.com:ip:soc:1.0").status, 2);
    EXPECT_EQ(run("deps not-an-identifier --catalog " + shell_word(dir.path().string())).status, 2);
}

TEST(CliDeps, ADocumentReadWithFaultsIsNamedAndFailsTheCommand)
{
    scratch_directory dir;
    std::string bus = bus_definition("apb");
    bus.replace(bus.find("<spirit:directConnection>"), std::string("<spirit:directConnection>").size(),
                "<spirit:directConnectionX>");
    bus.replace(bus.find("</spirit:directConnection>"), std::string("</spirit:directConnection>").size(),
                "</spirit:directConnectionX>");
    std::string file = dir.write("apb.xml", bus);
    result r = run("deps " + shell_word(file));
    EXPECT_EQ(r.status, 1) << r.out << r.err;
    EXPECT_TRUE(contains(r.out, "read with faults, so what they need may be incomplete:\n  " + file)) << r.out;
    EXPECT_TRUE(contains(r.err, "[read.fault]")) << r.err;
}

TEST(CliCheck, RunsTheRulesAfterTheReadFaultsAndFailsOnRuleErrors)
{
    scratch_directory dir;
    dir.write("a/bus.xml", bus_definition("apb"));
    dir.write("b/bus.xml", bus_definition("apb"));
    result r = run("check " + shell_word(dir.path().string()));
    EXPECT_EQ(r.status, 1) << r.out;
    EXPECT_TRUE(contains(r.out, "checked 2 documents: 2 clean, 0 with faults (0 faults)\n")) << r.out;
    EXPECT_TRUE(contains(r.out, (dir / "a/bus.xml").string() + ":2: error: [catalog.duplicate-vlnv] ")) << r.out;
    EXPECT_TRUE(contains(r.out, "rules: 2 findings\n")) << r.out;

    result one = run("check " + shell_word((dir / "a/bus.xml").string()));
    EXPECT_EQ(one.status, 0) << one.out;
    EXPECT_EQ(one.out, "checked 1 document: 1 clean, 0 with faults (0 faults)\n");
}

TEST(CliCatalog, HelpAndBadOptions)
{
    for (const char* command : {"catalog", "deps", "check"}) {
        result help = run(std::string(command) + " --help");
        EXPECT_EQ(help.status, 0);
        EXPECT_TRUE(contains(help.out, std::string("usage: ipxact ") + command)) << help.out;
    }
    EXPECT_EQ(run("catalog --format xml .").status, 2);
    EXPECT_EQ(run("catalog").status, 2);
    EXPECT_EQ(run("catalog --threads").status, 2);
}

TEST(CliCheck, RulesListsEveryRegisteredRuleWithWhatItRequires)
{
    result r = run("check --rules");
    EXPECT_EQ(r.status, 0) << r.err;
    std::istringstream lines(r.out);
    std::vector<std::string> listed;
    for (std::string line; std::getline(lines, line);)
        listed.push_back(line);
    std::vector<const ipxact::catalog::Rule*> rules = ipxact::catalog::RuleRegistry::instance().rules();
    ASSERT_EQ(listed.size(), rules.size()) << r.out;
    for (size_t i = 0; i < rules.size(); ++i) {
        EXPECT_EQ(listed[i].rfind(std::string(rules[i]->id()) + "  ", 0), 0u) << listed[i];
        EXPECT_TRUE(contains(listed[i], rules[i]->description())) << listed[i];
    }
    EXPECT_EQ(run("check --rules .").status, 2);
}

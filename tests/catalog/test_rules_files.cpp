// Rules about files, views, dependent values and generator chains: each over a document (or a
// small catalog) that breaks it and one that keeps it.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <ipxact/catalog/catalog.h>

#include "catalog_test_support.h"

using namespace ipxact::catalog;
using namespace catalog_test;

namespace {

// A component with one view (environment `environment`), a file set whose function refers to
// `file_ref`, a component generator of group "docs", and two parameters: WIDTH (spirit:id
// "width") and DOUBLE, whose value element carries `double_attributes`.
std::string ip(const std::string& environment, const std::string& file_ref,
               const std::string& double_attributes = "spirit:id=\"double\"")
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "ip", "dev", "1.0") + R"(  <spirit:model>
    <spirit:views>
      <spirit:view>
        <spirit:name>rtl</spirit:name>
        <spirit:envIdentifier>)" + environment + R"(</spirit:envIdentifier>
        <spirit:language>verilog</spirit:language>
        <spirit:modelName>dev</spirit:modelName>
        <spirit:fileSetRef><spirit:localName>sources</spirit:localName></spirit:fileSetRef>
      </spirit:view>
    </spirit:views>
  </spirit:model>
  <spirit:componentGenerators>
    <spirit:componentGenerator>
      <spirit:name>doc</spirit:name>
      <spirit:generatorExe>doc.sh</spirit:generatorExe>
      <spirit:group>docs</spirit:group>
    </spirit:componentGenerator>
  </spirit:componentGenerators>
  <spirit:fileSets>
    <spirit:fileSet>
      <spirit:name>sources</spirit:name>
      <spirit:file spirit:fileId="top_v">
        <spirit:name>top.v</spirit:name>
        <spirit:fileType>verilogSource</spirit:fileType>
      </spirit:file>
      <spirit:function>
        <spirit:fileRef>)" + file_ref + R"(</spirit:fileRef>
      </spirit:function>
    </spirit:fileSet>
  </spirit:fileSets>
  <spirit:parameters>
    <spirit:parameter>
      <spirit:name>WIDTH</spirit:name>
      <spirit:value spirit:id="width" spirit:resolve="user">8</spirit:value>
    </spirit:parameter>
    <spirit:parameter>
      <spirit:name>DOUBLE</spirit:name>
      <spirit:value )" + double_attributes + R"(>16</spirit:value>
    </spirit:parameter>
  </spirit:parameters>
</spirit:component>
)";
}

const char* const kEnvironment = "verilogSource:vcs.example.com:";

// A generator chain "flow" selecting component generators of `generator_group` and chains of
// `chain_group`, with a generator whose parameter refers to choice `choice_ref`.
std::string chain(const std::string& generator_group, const std::string& chain_group, const std::string& choice_ref)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:generatorChain ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "flows", "flow", "1.0") + R"(  <spirit:generatorChainSelector>
    <spirit:groupSelector><spirit:name>)" + chain_group + R"(</spirit:name></spirit:groupSelector>
  </spirit:generatorChainSelector>
  <spirit:componentGeneratorSelector>
    <spirit:groupSelector><spirit:name>)" + generator_group + R"(</spirit:name></spirit:groupSelector>
  </spirit:componentGeneratorSelector>
  <spirit:generator>
    <spirit:name>format</spirit:name>
    <spirit:parameters>
      <spirit:parameter>
        <spirit:name>style</spirit:name>
        <spirit:value spirit:resolve="user" spirit:id="style" spirit:choiceRef=")" + choice_ref + R"(">plain</spirit:value>
      </spirit:parameter>
    </spirit:parameters>
    <spirit:generatorExe>format.sh</spirit:generatorExe>
  </spirit:generator>
  <spirit:choices>
    <spirit:choice><spirit:name>styles</spirit:name><spirit:enumeration>plain</spirit:enumeration></spirit:choice>
  </spirit:choices>
</spirit:generatorChain>
)";
}

// Another chain, of group "release".
std::string release_chain()
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:generatorChain ") + spirit_ns() + ">\n" +
           vlnv_elements("acme.example.com", "flows", "release", "1.0") + R"(  <spirit:generator>
    <spirit:name>pack</spirit:name>
    <spirit:generatorExe>pack.sh</spirit:generatorExe>
  </spirit:generator>
  <spirit:chainGroup>release</spirit:chainGroup>
</spirit:generatorChain>
)";
}

using Documents = std::vector<std::pair<std::string, std::string>>;

std::vector<Finding> run(const std::string& rule_id, const Documents& documents)
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
    Documents breaking;
    Documents keeping;
    Severity severity;
    const char* file;
    const char* path;
    const char* says;
};

class FileRule : public testing::TestWithParam<Case> {};

std::vector<Case> cases()
{
    const std::string fine = ip(kEnvironment, "top_v");
    return {
        {"FunctionNamesAFile", "file.function-file-ref", {{"ip.xml", ip(kEnvironment, "top_sv")}},
         {{"ip.xml", fine}}, Severity::error, "ip.xml", "component/fileSets/fileSet/function/fileRef", "'top_sv'"},
        {"FunctionNamesAnyIdentifierOfTheDocument", "file.function-file-ref", {{"ip.xml", ip(kEnvironment, "wide")}},
         {{"ip.xml", ip(kEnvironment, "width")}}, Severity::error, "ip.xml",
         "component/fileSets/fileSet/function/fileRef", "'wide'"},
        {"EnvironmentLanguageIsAFileType", "view.env-identifier", {{"ip.xml", ip("vcs.example.com:verilog:", "top_v")}},
         {{"ip.xml", fine}}, Severity::warning, "ip.xml", "component/model/views/view/envIdentifier",
         "language 'vcs.example.com'"},
        {"DependentValueHasADependency", "configurable.dependency",
         {{"ip.xml", ip(kEnvironment, "top_v", "spirit:id=\"double\" spirit:resolve=\"dependent\"")}},
         {{"ip.xml", ip(kEnvironment, "top_v", "spirit:id=\"double\" spirit:resolve=\"dependent\" spirit:dependency=\"id('width') * 2\"")}},
         Severity::error, "ip.xml", "component/parameters/parameter[2]/value", "no spirit:dependency"},
        {"DependencyNamesIdsOfTheDocument", "configurable.dependency",
         {{"ip.xml", ip(kEnvironment, "top_v", "spirit:resolve=\"dependent\" spirit:dependency=\"id('widht') * 2\"")}},
         {{"ip.xml", ip(kEnvironment, "top_v", "spirit:resolve=\"dependent\" spirit:dependency=\"id( &quot;width&quot; ) * 2\"")}},
         Severity::error, "ip.xml", "component/parameters/parameter[2]/value", "id('widht')"},
        {"ChainChoiceRefNamesAChoice", "generator.choice-ref",
         {{"ip.xml", fine}, {"flow.xml", chain("docs", "release", "style")}, {"release.xml", release_chain()}},
         {{"ip.xml", fine}, {"flow.xml", chain("docs", "release", "styles")}, {"release.xml", release_chain()}},
         Severity::error, "flow.xml", "generatorChain/generator/parameters/parameter/value", "'style'"},
        {"ComponentGeneratorGroupIsLoaded", "generator.group-selector",
         {{"ip.xml", fine}, {"flow.xml", chain("doc", "release", "styles")}, {"release.xml", release_chain()}},
         {{"ip.xml", fine}, {"flow.xml", chain("docs", "release", "styles")}, {"release.xml", release_chain()}},
         Severity::note, "flow.xml", "generatorChain/componentGeneratorSelector/groupSelector/name",
         "no loaded component generator is in group 'doc'"},
        {"ChainGroupIsLoaded", "generator.group-selector",
         {{"ip.xml", fine}, {"flow.xml", chain("docs", "releases", "styles")}, {"release.xml", release_chain()}},
         {{"ip.xml", fine}, {"flow.xml", chain("docs", "release", "styles")}, {"release.xml", release_chain()}},
         Severity::note, "flow.xml", "generatorChain/generatorChainSelector/groupSelector/name",
         "no loaded generator chain is in group 'releases'"},
    };
}

std::string line_of(const Documents& documents, const Finding& finding)
{
    for (const auto& document : documents)
        if (document.first == finding.file) {
            std::istringstream text(document.second);
            std::string line;
            for (int i = 0; i < finding.line; ++i)
                std::getline(text, line);
            return line;
        }
    return std::string();
}

}  // namespace

TEST_P(FileRule, ReportsTheFaultAtItsElementAndKeepsQuietOnceMended)
{
    const Case& c = GetParam();
    std::vector<Finding> broken = run(c.rule, c.breaking);
    ASSERT_EQ(broken.size(), 1u) << (broken.empty() ? "" : format_finding(broken[0]));
    EXPECT_EQ(broken[0].severity, c.severity);
    EXPECT_EQ(broken[0].file, c.file);
    EXPECT_EQ(broken[0].path, c.path);
    EXPECT_NE(broken[0].message.find(c.says), std::string::npos) << broken[0].message;
    std::string last = c.path;
    last = last.substr(last.rfind('/') + 1);
    EXPECT_NE(line_of(c.breaking, broken[0]).find("<spirit:" + last), std::string::npos)
        << "line " << broken[0].line << ": " << line_of(c.breaking, broken[0]);

    std::vector<Finding> kept = run(c.rule, c.keeping);
    EXPECT_TRUE(kept.empty()) << format_finding(kept[0]);
}

INSTANTIATE_TEST_SUITE_P(Rules, FileRule, testing::ValuesIn(cases()),
                         [](const testing::TestParamInfo<Case>& test) { return std::string(test.param.name); });

TEST(EnvironmentIdentifiers, AcceptAnEmptyOrWildcardLanguageAFileTypeOrItsLanguageInEitherCase)
{
    // The schema's pattern has no '-', so the file types with versions cannot be named at all.
    for (const char* environment : {"::", ":*Simulation:", "*:*Synthesis:", "vhdlSource:ghdl.example.com:",
                                    "systemVerilogSource::", "SDC:*:*", "verilog:*:*",
                                    "vhdl:ghdl.example.com:", "systemC::", "cpp::", "VHDL::", "Verilog::",
                                    "SystemC:*:*"})
        EXPECT_TRUE(run("view.env-identifier", {{"ip.xml", ip(environment, "top_v")}}).empty()) << environment;
    for (const char* environment : {"vhdl93::", "SDCSource::", "modelsim.example.com::"})
        EXPECT_EQ(run("view.env-identifier", {{"ip.xml", ip(environment, "top_v")}}).size(), 1u) << environment;
}

TEST(DependencyExpressions, TakeOnlyTheIdFunctionAndEveryCallOfIt)
{
    // "valid(" ends in "id(" but is another function; both id() calls are looked at.
    std::string two = ip(kEnvironment, "top_v",
                         "spirit:resolve=\"dependent\" spirit:dependency=\"valid('x') + id('width') + id('depth')\"");
    std::vector<Finding> findings = run("configurable.dependency", {{"ip.xml", two}});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_NE(findings[0].message.find("id('depth')"), std::string::npos) << findings[0].message;
}

TEST(DependencyExpressions, AreFoundInDocumentsReadFromFilesToo)
{
    // Documents read from files are first searched as text; that search must not hide a fault.
    scratch_directory dir;
    dir.write("broken/ip.xml", ip(kEnvironment, "top_v", "spirit:resolve=\"dependent\" spirit:dependency=\"id('depth')\""));
    dir.write("plain/ip.xml", ip(kEnvironment, "top_v"));
    const Rule* rule = RuleRegistry::instance().find("configurable.dependency");
    ASSERT_NE(rule, nullptr);
    Catalog broken;
    broken.load({(dir / "broken").string()});
    std::vector<Finding> findings = broken.check({rule});
    ASSERT_EQ(findings.size(), 1u);
    EXPECT_EQ(findings[0].path, "component/parameters/parameter[2]/value");
    Catalog plain;
    plain.load({(dir / "plain").string()});
    EXPECT_TRUE(plain.check({rule}).empty());
}

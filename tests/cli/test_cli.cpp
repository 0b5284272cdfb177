// The ipxact program, run as a user runs it: arguments in, text and exit status out.
#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "corpus.h"
#include "faults.h"
#include "summary.h"

namespace fs = std::filesystem;

namespace {

struct run_result {
    int status;
    std::string out;
    std::string err;
};

std::string shell_quoted(const std::string& text)
{
    return "'" + text + "'";
}

// A directory of its own for one test, removed with it.
class scratch_directory {
public:
    scratch_directory()
        : m_path(fs::temp_directory_path() / ("ipxact_cli_" + std::to_string(getpid()) + "_" + std::to_string(++s_count)))
    {
        fs::create_directories(m_path);
    }
    ~scratch_directory() { fs::remove_all(m_path); }
    fs::path operator/(const std::string& name) const { return m_path / name; }
    const fs::path& path() const { return m_path; }

private:
    static int s_count;
    fs::path m_path;
};

int scratch_directory::s_count = 0;

run_result run(const std::string& arguments)
{
    scratch_directory capture;
    std::string command = shell_quoted(IPXACT_CLI) + " " + arguments + " >" + shell_quoted((capture / "out").string()) + " 2>" +
                          shell_quoted((capture / "err").string()) + " </dev/null";
    int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, corpus::read_file((capture / "out").string()),
            corpus::read_file((capture / "err").string())};
}

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

bool has_line_starting(const std::string& text, const std::string& start)
{
    for (const std::string& line : lines_of(text))
        if (line.compare(0, start.size(), start) == 0)
            return true;
    return false;
}

std::string example()
{
    return std::string(IPXACT_SOURCE_DIR) + "/examples/uart_component.xml";
}

std::string broken_directory()
{
    return std::string(IPXACT_SOURCE_DIR) + "/tests/cli/broken";
}

const char* const kDesign = R"(<?xml version="1.0" encoding="UTF-8"?>
<spirit:design xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009">
  <spirit:vendor>vorlix.com</spirit:vendor>
  <spirit:library>systems</spirit:library>
  <spirit:name>soc</spirit:name>
  <spirit:version>1.0</spirit:version>
  <spirit:componentInstances>
    <spirit:componentInstance>
      <spirit:instanceName>cpu</spirit:instanceName>
      <spirit:componentRef spirit:vendor="vorlix.com" spirit:library="cpus" spirit:name="core" spirit:version="1.0"/>
    </spirit:componentInstance>
    <spirit:componentInstance>
      <spirit:instanceName>uart_0</spirit:instanceName>
      <spirit:componentRef spirit:vendor="vorlix.com" spirit:library="peripherals" spirit:name="uart_lite" spirit:version="2.1"/>
    </spirit:componentInstance>
  </spirit:componentInstances>
  <spirit:interconnections>
    <spirit:interconnection>
      <spirit:name>apb</spirit:name>
      <spirit:activeInterface spirit:componentRef="cpu" spirit:busRef="M_APB"/>
      <spirit:activeInterface spirit:componentRef="uart_0" spirit:busRef="S_APB"/>
    </spirit:interconnection>
  </spirit:interconnections>
  <spirit:adHocConnections>
    <spirit:adHocConnection>
      <spirit:name>irq</spirit:name>
      <spirit:internalPortReference spirit:componentRef="uart_0" spirit:portRef="irq"/>
      <spirit:internalPortReference spirit:componentRef="cpu" spirit:portRef="irq0"/>
    </spirit:adHocConnection>
  </spirit:adHocConnections>
</spirit:design>
)";

}  // namespace

TEST(CliExample, NoArgumentsRunsTheWholeCycleOnTheBundledExample)
{
    run_result r = run("");
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("root element: spirit:component"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("identifier:   vorlix.com:peripherals:uart_lite:2.1"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("it reads back equal"), std::string::npos) << r.out;
}

TEST(CliInfo, CountsWhatTheExampleComponentHolds)
{
    HIPGSpirit::HIPGSTop document;
    ASSERT_TRUE(ipxact_cli::read_document(example(), document).empty());
    ipxact_cli::document_summary summary = ipxact_cli::summarize(document);
    EXPECT_EQ(summary.root, "spirit:component");
    ASSERT_TRUE(summary.id.has_value());
    EXPECT_EQ(summary.id->name, "uart_lite");
    EXPECT_EQ(ipxact_cli::count_of(summary, "bus interfaces"), 2u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "ports"), 11u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "views"), 2u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "memory maps"), 1u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "address blocks"), 1u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "registers"), 4u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "fields"), 9u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "file sets"), 2u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "files"), 4u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "parameters"), 2u);
    std::vector<std::string> expected = {"vorlix:busInterfaceInfo", "vorlix:registerInfo", "vorlix:portInfo",
                                         "vorlix:portInfo",         "vorlix:fileInfo",     "vorlix:parameterInfo",
                                         "vorlix:coreExtensions",   "vorlix:packagingInfo"};
    std::vector<std::string> found = summary.vendor_blocks;
    std::sort(expected.begin(), expected.end());
    std::sort(found.begin(), found.end());
    EXPECT_EQ(found, expected);
}

TEST(CliInfo, CountsBlocksAndRegistersInBanksRegisterFilesAndRemaps)
{
    const std::string xml = R"(<?xml version="1.0" encoding="UTF-8"?>
<spirit:component xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009">
  <spirit:vendor>v</spirit:vendor><spirit:library>l</spirit:library><spirit:name>c</spirit:name><spirit:version>1</spirit:version>
  <spirit:remapStates><spirit:remapState><spirit:name>s</spirit:name></spirit:remapState></spirit:remapStates>
  <spirit:memoryMaps><spirit:memoryMap><spirit:name>mm</spirit:name>
    <spirit:bank spirit:bankAlignment="serial"><spirit:name>bk</spirit:name><spirit:baseAddress>0x100</spirit:baseAddress>
      <spirit:addressBlock><spirit:name>inbank</spirit:name><spirit:range>4</spirit:range><spirit:width>32</spirit:width>
        <spirit:register><spirit:name>rb</spirit:name><spirit:addressOffset>0</spirit:addressOffset><spirit:size>32</spirit:size></spirit:register>
      </spirit:addressBlock></spirit:bank>
    <spirit:addressBlock><spirit:name>b</spirit:name><spirit:baseAddress>0</spirit:baseAddress><spirit:range>16</spirit:range><spirit:width>32</spirit:width>
      <spirit:registerFile><spirit:name>rf</spirit:name><spirit:addressOffset>0</spirit:addressOffset><spirit:range>8</spirit:range>
        <spirit:register><spirit:name>r0</spirit:name><spirit:addressOffset>0</spirit:addressOffset><spirit:size>32</spirit:size></spirit:register>
      </spirit:registerFile></spirit:addressBlock>
    <spirit:memoryRemap spirit:state="s"><spirit:name>rm</spirit:name>
      <spirit:addressBlock><spirit:name>b2</spirit:name><spirit:baseAddress>0</spirit:baseAddress><spirit:range>4</spirit:range><spirit:width>32</spirit:width>
        <spirit:register><spirit:name>r9</spirit:name><spirit:addressOffset>0</spirit:addressOffset><spirit:size>32</spirit:size></spirit:register>
      </spirit:addressBlock></spirit:memoryRemap>
  </spirit:memoryMap></spirit:memoryMaps>
</spirit:component>
)";
    scratch_directory dir;
    std::ofstream(dir / "remaps.xml") << xml;
    HIPGSpirit::HIPGSTop document;
    ASSERT_TRUE(ipxact_cli::read_document((dir / "remaps.xml").string(), document).empty());
    ipxact_cli::document_summary summary = ipxact_cli::summarize(document);
    EXPECT_EQ(ipxact_cli::count_of(summary, "address blocks"), 3u);
    EXPECT_EQ(ipxact_cli::count_of(summary, "registers"), 3u);
}

TEST(CliInfo, PrintsEachDocumentsSummary)
{
    scratch_directory dir;
    std::ofstream(dir / "soc.xml") << kDesign;
    run_result r = run("info " + shell_quoted(example()) + " " + shell_quoted((dir / "soc.xml").string()));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.out.find("  registers: 4\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  root element: spirit:design\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  component instances: 2\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  interconnections: 1\n"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("  ad-hoc connections: 1\n"), std::string::npos) << r.out;
}

TEST(CliInfo, ADocumentThatDoesNotReadIsReportedWithItsFault)
{
    std::string file = broken_directory() + "/missing_name.xml";
    run_result r = run("info " + shell_quoted(file));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(has_line_starting(r.out, file + ":6: error 21: ")) << r.out;
}

TEST(CliCheck, ReportsEachBrokenDocumentAtItsLine)
{
    struct expectation {
        const char* file;
        int line;
        int code;
    };
    const expectation expected[] = {
        {"local_root.xml", 3, 31},       // no global element of that name
        {"mismatched_tag.xml", 10, 2},   // not well-formed
        {"missing_name.xml", 6, 21},     // required element missing where the next one stands
        {"not_a_number.xml", 6, 11},     // not a value of its type
        {"unknown_element.xml", 7, 8},   // an element the content model does not have
    };
    run_result r = run("check " + shell_quoted(broken_directory()));
    EXPECT_EQ(r.status, 1);
    for (const expectation& e : expected)
        EXPECT_TRUE(has_line_starting(r.out, broken_directory() + "/" + e.file + ":" + std::to_string(e.line) +
                                                 ": error " + std::to_string(e.code) + ": "))
            << e.file << "\n" << r.out;
    EXPECT_NE(r.out.find("checked 5 documents: 0 clean, 5 with faults"), std::string::npos) << r.out;
}

TEST(CliCheck, FaultLinesNameTheDescriptionAndTheElement)
{
    run_result r = run("check " + shell_quoted(broken_directory() + "/not_a_number.xml"));
    EXPECT_TRUE(has_line_starting(r.out, broken_directory() +
                                             "/not_a_number.xml:6: error 11: value is not valid for its type "
                                             "(spirit:addressUnitBits)"))
        << r.out;
}

TEST(CliCheck, CleanDocumentsExitZero)
{
    scratch_directory dir;
    fs::create_directories(dir / "nested");
    fs::copy_file(example(), dir / "nested" / "uart.xml");
    std::ofstream(dir / "soc.xml") << kDesign;
    std::ofstream(dir / "notes.txt") << "not a document";
    run_result r = run("check " + shell_quoted(dir.path().string()));
    EXPECT_EQ(r.status, 0) << r.out;
    EXPECT_EQ(r.out, "checked 2 documents: 2 clean, 0 with faults (0 faults)\n");
    EXPECT_EQ(r.err, "");
}

TEST(CliCheck, EverySchemaValidCorpusDocumentIsClean)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "no corpus at " << corpus::directory();
    run_result r = run("check " + shell_quoted(corpus::directory()));
    size_t valid = 0;
    for (const corpus::document& d : documents) {
        if (!d.schema_valid)
            continue;
        ++valid;
        // Read faults only: the catalog rules also report what is wrong across documents (the corpus
        // holds one component under two file names), which the catalog tests look at.
        for (const std::string& line : lines_of(r.out))
            EXPECT_FALSE(line.compare(0, d.path.size() + 1, d.path + ":") == 0 &&
                         line.find("]") == std::string::npos)
                << line;
    }
    EXPECT_GT(valid, 0u);
    EXPECT_NE(r.out.find("checked " + std::to_string(documents.size()) + " documents: "), std::string::npos) << r.out;
}

namespace {

// The schema complaints about a document, without the file names and lines they carry.
std::set<std::string> complaints_about(const std::string& xml)
{
    std::set<std::string> complaints;
    for (const std::string& line : lines_of(corpus::schema_errors(xml))) {
        size_t message = line.find(": ", line.find(".xml:"));
        if (line.find("fails to validate") == std::string::npos && message != std::string::npos)
            complaints.insert(line.substr(message + 2));
    }
    return complaints;
}

}  // namespace

// Schema-valid documents come out schema-valid; a document the schema rejects but the reader takes
// (identity constraints are not the reader's business) comes out with no complaint it did not have.
TEST(CliFormat, OutputOfEveryCorpusDocumentIsAsValidAsItsInput)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "no corpus at " << corpus::directory();
    if (!corpus::have_xmllint())
        GTEST_SKIP() << "no xmllint";
    scratch_directory dir;
    size_t formatted = 0;
    for (const corpus::document& d : documents) {
        SCOPED_TRACE(d.path);
        fs::path out = dir / "formatted.xml";
        fs::remove(out);
        run_result r = run("format " + shell_quoted(d.path) + " -o " + shell_quoted(out.string()));
        if (d.schema_valid) {
            ASSERT_EQ(r.status, 0) << r.err;
            EXPECT_EQ(corpus::schema_errors(corpus::read_file(out.string())), "");
        } else if (r.status == 0) {
            std::set<std::string> before = complaints_about(corpus::read_file(d.path));
            for (const std::string& complaint : complaints_about(corpus::read_file(out.string())))
                EXPECT_EQ(before.count(complaint), 1u) << complaint;
        } else {
            EXPECT_FALSE(fs::exists(out));
        }
        formatted += r.status == 0 ? 1 : 0;
    }
    EXPECT_GT(formatted, 0u);
}

TEST(CliFormat, StandardOutputAndFileOutputAgree)
{
    scratch_directory dir;
    run_result toStdout = run("format " + shell_quoted(example()));
    ASSERT_EQ(toStdout.status, 0) << toStdout.err;
    run_result toFile = run("format -o " + shell_quoted((dir / "uart.xml").string()) + " " + shell_quoted(example()));
    ASSERT_EQ(toFile.status, 0) << toFile.err;
    EXPECT_EQ(toFile.out, "");
    EXPECT_EQ(corpus::read_file((dir / "uart.xml").string()), toStdout.out);
    run_result again = run("format " + shell_quoted((dir / "uart.xml").string()));
    EXPECT_EQ(again.out, toStdout.out);
}

TEST(CliFormat, AFailedWriteLeavesNothingBehind)
{
    scratch_directory dir;
    fs::create_directories(dir / "taken");
    std::ofstream(dir / "taken" / "keep.txt") << "kept";
    run_result r = run("format " + shell_quoted(example()) + " -o " + shell_quoted((dir / "taken").string()));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(lines_of(r.err).size(), 1u) << r.err;
    EXPECT_EQ(corpus::read_file((dir / "taken" / "keep.txt").string()), "kept");
    size_t entries = std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator());
    EXPECT_EQ(entries, 1u);
}

TEST(CliUsage, BadArgumentsGiveOneLineAndExitTwo)
{
    const std::string missing = shell_quoted(std::string(IPXACT_SOURCE_DIR) + "/no/such/file.xml");
    const std::string arguments[] = {
        "frobnicate",
        "--frobnicate",
        "info",
        "check",
        "format",
        "info --verbose " + shell_quoted(example()),
        "format " + shell_quoted(example()) + " " + shell_quoted(example()),
        "format " + shell_quoted(example()) + " -o",
        "check " + missing,
        "info " + missing,
    };
    for (const std::string& a : arguments) {
        run_result r = run(a);
        EXPECT_EQ(r.status, 2) << a;
        EXPECT_EQ(r.out, "") << a;
        EXPECT_EQ(lines_of(r.err).size(), 1u) << a << ": " << r.err;
    }
}

TEST(CliUsage, HelpForTheToolAndEachCommand)
{
    for (const char* arguments : {"--help", "-h", "help"}) {
        run_result r = run(arguments);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out.rfind("usage: ipxact [COMMAND", 0), 0u) << r.out;
    }
    for (const char* command : {"info", "check", "format"}) {
        run_result r = run(std::string(command) + " --help");
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.out.rfind(std::string("usage: ipxact ") + command, 0), 0u) << r.out;
    }
}

// ipxact: reads, summarises, checks and rewrites IP-XACT documents through the binding, as any host
// would: every document is read through HIPGSTop, whatever its root element.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSTop.h>

#include "bundled_example.h"
#include "catalog_commands.h"
#include "faults.h"
#include "summary.h"

using HIPGSpirit::HIPGSTop;
using namespace ipxact_cli;

namespace {

constexpr int kExitClean = 0;
constexpr int kExitFaults = 1;
constexpr int kExitUsage = 2;

const char* const kToolHelp = R"(usage: ipxact [COMMAND [ARGUMENTS]]

Reads IP-XACT (IEEE 1685-2009) documents with vorlix vendor extensions.

Commands:
  info FILE...            root element, identifier and counts of each document
  check PATH...           read every document (directories: the *.xml, *.ipxact and
                          *.spirit files inside), list every fault as
                          FILE:LINE: error CODE: DESCRIPTION (ELEMENT), then run the
                          catalog rules over them
  catalog PATH...         load files and directories as one catalog and summarise it:
                          documents per kind, duplicate identifiers, dangling references,
                          cycles and findings per rule
  deps FILE|VLNV          everything a design or component needs, dependencies first
  format FILE [-o OUT]    read a document and write it back, to standard output or OUT

Without a command, ipxact reads its bundled example component, prints its summary,
writes it back to a temporary file and checks that it reads back equal.

Run 'ipxact COMMAND --help' for the details of a command.
Exit status: 0 success, 1 a document has faults or could not be written, 2 bad arguments.
)";

const char* const kInfoHelp = R"(usage: ipxact info FILE...

For each document: its root element, its identifier (vendor:library:name:version) where
it has one, and counts: bus interfaces, ports, views, memory maps, address blocks,
registers, fields, file sets, files and parameters of a component; component instances,
interconnections and ad-hoc connections of a design; ports of an abstraction definition;
and the vendor blocks present. A document that does not read is reported with its faults.
)";

const char* const kCheckHelp = R"(usage: ipxact check [--format text|sarif] [--notes] [--threads N] PATH...
       ipxact check --rules

Reads every document named, and every *.xml, *.ipxact and *.spirit file below each
directory named, as one catalog (in parallel, one thread per core unless --threads says
otherwise), and prints each fault met in reading as
  FILE:LINE: error CODE: DESCRIPTION (ELEMENT)
(a file whose document element is not IP-XACT is passed over, and counted as a fault)
followed by a summary line. Then it runs the catalog rules over every document that read
cleanly, printing each finding as
  FILE:LINE: SEVERITY: [RULE-ID] MESSAGE (ELEMENT PATH)
Rules that need documents which are not loaded say so in notes, shown with --notes.
With --format sarif, everything (read faults and rule findings) is written as one
SARIF 2.1.0 log on standard output instead. On a terminal, progress is shown on standard
error while a long check runs. Exit status 0 only when every document read cleanly and
no rule reported an error. With --rules, lists every rule instead: its id (the one
findings carry) and what it requires.
)";

const char* const kCatalogHelp = R"(usage: ipxact catalog [--findings] [--notes] [--format text|sarif] [--threads N] PATH...

Loads the files named and every *.xml, *.ipxact and *.spirit file below the directories
named (in parallel, one thread per core unless --threads says otherwise), resolves the
references between them, runs the rules, and prints: the documents per kind, identifiers
defined more than once with their files, the references that name no loaded document,
cycles of references, and the number of findings per rule. --findings lists every
finding first (FILE:LINE: SEVERITY: [RULE-ID] MESSAGE (ELEMENT PATH); notes only with
--notes); --format sarif writes them as a SARIF 2.1.0 log instead of the summary.
A progress bar is shown on standard error when it is a terminal and loading takes a while.
Exit status 0 when no finding is an error, 1 otherwise.
)";

const char* const kDepsHelp = R"(usage: ipxact deps FILE|VENDOR:LIBRARY:NAME:VERSION [--catalog DIR]... [--threads N]

Prints every document the given one needs, transitively (a design's components, their
bus and abstraction definitions, a configuration's design...), dependencies first and the
document itself last, then the identifiers that no loaded document has ("not found",
with the element and line that names each) and any cycle. The catalog is the paths given
with --catalog; without it, the folder holding FILE, searched recursively. An identifier
needs --catalog. Documents of the closure read with faults are listed too (their faults on
standard error): what they need may be incomplete. Exit status 0 when everything needed was
found, read cleanly, and there is no cycle.
)";

const char* const kFormatHelp = R"(usage: ipxact format FILE [-o OUT]

Reads FILE, whatever its root element, and writes it back: to standard output, or with
-o to OUT. OUT is replaced only when the whole document was written; on failure an
earlier OUT is left as it was.
)";

int usage_error(const std::string& command, const std::string& message)
{
    std::string prefix = command.empty() ? "ipxact" : "ipxact " + command;
    std::cerr << prefix << ": " << message << " (see '" << prefix << " --help')\n";
    return kExitUsage;
}

bool is_help(const std::string& argument)
{
    return argument == "--help" || argument == "-h";
}

bool is_option(const std::string& argument)
{
    return argument.size() > 1 && argument[0] == '-';
}

// Operands of a command that takes no options; false (after reporting) on anything else.
bool operands_only(const std::string& command, const std::vector<std::string>& arguments, const char* what)
{
    for (const std::string& argument : arguments)
        if (is_option(argument)) {
            usage_error(command, "unknown option '" + argument + "'");
            return false;
        }
    if (arguments.empty()) {
        usage_error(command, std::string("no ") + what + " given");
        return false;
    }
    return true;
}

bool all_exist(const std::string& command, const std::vector<std::string>& paths)
{
    for (const std::string& path : paths) {
        std::error_code error;
        if (!std::filesystem::exists(path, error)) {
            usage_error(command, "no such file or directory: " + path);
            return false;
        }
    }
    return true;
}

void print_faults(std::ostream& out, const std::string& path, const std::vector<fault>& faults)
{
    for (const fault& f : faults)
        out << describe(path, f) << '\n';
}

int run_info(const std::vector<std::string>& arguments)
{
    if (!operands_only("info", arguments, "FILE") || !all_exist("info", arguments))
        return kExitUsage;
    int status = kExitClean;
    for (size_t i = 0; i < arguments.size(); ++i) {
        HIPGSTop document;
        std::vector<fault> faults = read_document(arguments[i], document);
        if (!faults.empty()) {
            print_faults(std::cout, arguments[i], faults);
            status = kExitFaults;
            continue;
        }
        std::cout << (i ? "\n" : "") << arguments[i] << '\n';
        print_summary(std::cout, summarize(document));
    }
    return status;
}

int run_check(const std::vector<std::string>& arguments)
{
    catalog_options options = parse_catalog_options("check", arguments);
    options.leave_catalog_to_exit = true;
    if (!options.error.empty())
        return usage_error("check", options.error);
    if (options.list_rules) {
        if (!options.operands.empty())
            return usage_error("check", "--rules takes no PATH");
        print_rules(std::cout);
        return 0;
    }
    if (options.operands.empty())
        return usage_error("check", "no PATH given");
    if (!all_exist("check", options.operands))
        return kExitUsage;
    if (options.format == output_format::sarif) {
        options.list_findings = true;
        return run_catalog_summary(options, std::cout);
    }
    return run_check_text(options, std::cout);
}

int run_catalog(const std::vector<std::string>& arguments)
{
    catalog_options options = parse_catalog_options("catalog", arguments);
    options.leave_catalog_to_exit = true;
    if (!options.error.empty())
        return usage_error("catalog", options.error);
    if (options.operands.empty())
        return usage_error("catalog", "no PATH given");
    if (!all_exist("catalog", options.operands))
        return kExitUsage;
    return run_catalog_summary(options, std::cout);
}

int run_deps(const std::vector<std::string>& arguments)
{
    catalog_options options = parse_catalog_options("deps", arguments);
    options.leave_catalog_to_exit = true;
    if (!options.error.empty())
        return usage_error("deps", options.error);
    if (options.operands.size() != 1)
        return usage_error("deps", options.operands.empty() ? "no FILE or VLNV given" : "one FILE or VLNV only");
    if (!all_exist("deps", options.catalog_paths))
        return kExitUsage;
    return run_dependencies(options, std::cout, std::cerr);
}

int run_format(const std::vector<std::string>& arguments)
{
    std::string input;
    std::string output;
    for (size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "-o" || argument == "--output") {
            if (i + 1 == arguments.size())
                return usage_error("format", argument + " needs a file name");
            output = arguments[++i];
        } else if (is_option(argument)) {
            return usage_error("format", "unknown option '" + argument + "'");
        } else if (!input.empty()) {
            return usage_error("format", "one FILE only, got also '" + argument + "'");
        } else {
            input = argument;
        }
    }
    if (input.empty())
        return usage_error("format", "no FILE given");
    if (!all_exist("format", {input}))
        return kExitUsage;
    HIPGSTop document;
    std::vector<fault> faults = read_document(input, document);
    if (!faults.empty()) {
        print_faults(std::cerr, input, faults);
        return kExitFaults;
    }
    lmx60::s_debug_error debug;
    lmx60::elmx_error written = output.empty() ? document.marshal(std::cout, &debug)
                                               : document.marshal(output.c_str(), &debug);
    if (written != lmx60::ELMX_OK) {
        std::cerr << "ipxact format: cannot write " << (output.empty() ? "standard output" : output) << ": "
                  << debug.to_string() << '\n';
        return kExitFaults;
    }
    return kExitClean;
}

// The main job: the whole cycle a host goes through, on a document that ships with the tool.
int run_example()
{
    lmx60::s_debug_error debug;
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop document(bundled_example_xml, bundled_example_size, &error, &debug);
    std::cout << "ipxact: reading the bundled example " << bundled_example_name << '\n';
    if (error != lmx60::ELMX_OK) {
        std::cout << bundled_example_name << ": " << debug.to_string() << '\n';
        return kExitFaults;
    }
    print_summary(std::cout, summarize(document));

    std::filesystem::path copy =
        std::filesystem::temp_directory_path() / ("ipxact-example-" + std::to_string(getpid()) + ".xml");
    if (document.marshal(copy.string().c_str(), &debug) != lmx60::ELMX_OK) {
        std::cout << "ipxact: cannot write " << copy.string() << ": " << debug.to_string() << '\n';
        return kExitFaults;
    }
    HIPGSTop reread(copy.string().c_str(), &error, &debug);
    std::error_code ignored;
    uintmax_t size = std::filesystem::file_size(copy, ignored);
    std::filesystem::remove(copy, ignored);
    if (error != lmx60::ELMX_OK) {
        std::cout << "ipxact: the written copy does not read back: " << debug.to_string() << '\n';
        return kExitFaults;
    }
    if (!(reread == document)) {
        std::cout << "ipxact: the written copy reads back different from the original\n";
        return kExitFaults;
    }
    std::cout << "wrote it back to a temporary file (" << size << " bytes): it reads back equal\n";
    return kExitClean;
}

struct command {
    const char* name;
    const char* help;
    int (*run)(const std::vector<std::string>&);
};

const command kCommands[] = {
    {"info", kInfoHelp, run_info},
    {"check", kCheckHelp, run_check},
    {"catalog", kCatalogHelp, run_catalog},
    {"deps", kDepsHelp, run_deps},
    {"format", kFormatHelp, run_format},
};

}  // namespace

int main(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.empty())
        return run_example();
    if (is_help(arguments[0]) || arguments[0] == "help") {
        std::cout << kToolHelp;
        return kExitClean;
    }
    for (const command& c : kCommands) {
        if (arguments[0] != c.name)
            continue;
        std::vector<std::string> rest(arguments.begin() + 1, arguments.end());
        for (const std::string& argument : rest)
            if (is_help(argument)) {
                std::cout << c.help;
                return kExitClean;
            }
        return c.run(rest);
    }
    if (is_option(arguments[0]))
        return usage_error("", "unknown option '" + arguments[0] + "'");
    return usage_error("", "unknown command '" + arguments[0] + "'");
}

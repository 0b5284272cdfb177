// The commands that work on many documents at once through the catalog: `ipxact catalog`,
// `ipxact deps`, and the rules part of `ipxact check`.
#ifndef IPXACT_CLI_CATALOG_COMMANDS_H
#define IPXACT_CLI_CATALOG_COMMANDS_H

#include <ostream>
#include <string>
#include <vector>

namespace ipxact_cli {

enum class output_format { text, sarif };

// Options shared by the catalog commands; `error` is set on a bad option.
struct catalog_options {
    output_format format = output_format::text;
    bool notes = false;           // print notes as well as warnings and errors
    bool list_findings = false;   // `catalog`: list the findings, not only count them
    bool list_rules = false;      // `check --rules`: list the rules instead of checking
    unsigned threads = 0;         // 0: one per core
    std::vector<std::string> catalog_paths;  // `deps --catalog`
    std::vector<std::string> operands;
    std::string error;
    // The process ends after the command: its catalog is left to the exit, which returns the
    // memory at once, instead of being released object by object.
    bool leave_catalog_to_exit = false;
};

// Takes the options out of the arguments of `command`; what is left are operands.
catalog_options parse_catalog_options(const std::string& command, const std::vector<std::string>& arguments);

// `ipxact check --rules`: every registered rule, one per line, its id and what it requires.
void print_rules(std::ostream& out);
// `ipxact catalog PATH...`: exit status 0 without errors, 1 with.
int run_catalog_summary(const catalog_options& options, std::ostream& out);
// `ipxact deps FILE|VLNV`: 0 when everything needed was found, 1 otherwise.
int run_dependencies(const catalog_options& options, std::ostream& out, std::ostream& err);
// `ipxact check PATH...` in text: the faults of reading, a summary line, then the rules' findings.
// Exit status 0 when every document read cleanly and no rule found an error, 1 otherwise.
int run_check_text(const catalog_options& options, std::ostream& out);

}  // namespace ipxact_cli

#endif

#include "roundtrip_support.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <ipxact/spirit/HIPGSTop.h>

#include "corpus.h"

namespace roundtrip {

std::string shell_quoted(const std::string& text)
{
    return "'" + text + "'";
}

scratch_directory::scratch_directory()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr ? base : "/tmp") + "/ipxact_roundtrip_XXXXXX";
    std::vector<char> buffer(pattern.begin(), pattern.end());
    buffer.push_back('\0');
    if (::mkdtemp(buffer.data()) != nullptr)
        m_path = buffer.data();
}

scratch_directory::~scratch_directory()
{
    if (m_path.empty() || m_keep)
        return;
    int status = std::system(("rm -rf " + shell_quoted(m_path)).c_str());
    static_cast<void>(status);  // a directory left in the temporary area harms nothing
}

result read_write_read(const std::string& path, const std::string& expected_root)
{
    result outcome;
    lmx60::s_debug_error debug;
    HIPGSpirit::HIPGSTop first;
    if (first.unmarshal(path.c_str(), &debug) != lmx60::ELMX_OK) {
        outcome.failure = "reading failed: " + debug.to_string();
        return outcome;
    }
    if (!expected_root.empty() && expected_root != first.getChosenElementId()) {
        outcome.failure = std::string("read as ") + first.getChosenElementId();
        return outcome;
    }
    if (first.marshal(&outcome.output, &debug) != lmx60::ELMX_OK) {
        outcome.failure = "writing failed: " + debug.to_string();
        return outcome;
    }
    HIPGSpirit::HIPGSTop second;
    if (second.unmarshal(outcome.output.data(), outcome.output.size(), &debug) != lmx60::ELMX_OK)
        outcome.failure = "reading the written document failed: " + debug.to_string();
    else if (!(first == second))
        outcome.failure = "the written document reads back different";
    return outcome;
}

namespace {

bool ends_with(const std::string& text, const std::string& end)
{
    return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

}  // namespace

std::map<std::string, std::string> schema_failures(const std::string& schema, const std::vector<std::string>& files,
                                                   const std::string& log)
{
    std::map<std::string, std::string> failures;
    if (files.empty())
        return failures;
    std::string command = "xmllint --noout --schema " + shell_quoted(schema);
    for (const std::string& file : files)
        command += " " + shell_quoted(file);
    command += " >" + shell_quoted(log) + " 2>&1";
    // xmllint's status only says that something failed; the log says what.
    if (std::system(command.c_str()) == 0)
        return failures;
    std::map<std::string, std::string> messages;
    std::stringstream lines(corpus::read_file(log));
    for (std::string line; std::getline(lines, line);) {
        const std::string fails = " fails to validate";
        if (ends_with(line, fails)) {
            std::string file = line.substr(0, line.size() - fails.size());
            failures[file] = messages[file].empty() ? line : messages[file];
        } else if (!ends_with(line, " validates")) {
            messages[line.substr(0, line.find(':'))] += line + "\n";
        }
    }
    // A file xmllint cannot parse gets messages but no closing verdict.
    for (const std::string& file : files) {
        if (failures.count(file) == 0 && messages.count(file) != 0)
            failures[file] = messages[file];
    }
    if (failures.empty())
        failures["(xmllint)"] = corpus::read_file(log);
    return failures;
}

std::vector<difference> canonical_differences(const std::vector<std::pair<std::string, std::string>>& pairs,
                                              const std::string& directory)
{
    std::string list = directory + "/pairs.tsv";
    std::string report = directory + "/differences.tsv";
    {
        std::ofstream out(list);
        for (const auto& pair : pairs)
            out << pair.first << '\t' << pair.second << '\n';
    }
    std::string command = "python3 " + shell_quoted(std::string(IPXACT_SOURCE_DIR) + "/tools/xmlcanon.py") +
                          " --schema " + shell_quoted(std::string(IPXACT_SOURCE_DIR) + "/schema/vorlix.xsd") + " --pairs " +
                          shell_quoted(list) + " >" + shell_quoted(report) + " 2>&1";
    int status = std::system(command.c_str());
    std::vector<difference> found;
    std::stringstream lines(corpus::read_file(report));
    for (std::string line; std::getline(lines, line);) {
        size_t first_tab = line.find('\t');
        size_t second_tab = first_tab == std::string::npos ? first_tab : line.find('\t', first_tab + 1);
        if (second_tab == std::string::npos) {
            found.push_back({"", "comparison failed", line});
            continue;
        }
        found.push_back({line.substr(0, first_tab), line.substr(first_tab + 1, second_tab - first_tab - 1),
                         line.substr(second_tab + 1)});
    }
    if (status != 0 && found.empty())
        found.push_back({"", "comparison failed", "xmlcanon.py exited with " + std::to_string(status)});
    return found;
}

// Each kind is a value written back as an equal value of its declared type. Whitespace counts only where
// the value's type keeps it: xmlcanon.py names a difference "whitespace collapsed by the value's type"
// when every declaration of that element or attribute in that parent (of the name alone where the parent
// is not known) collapses whitespace and the output is the collapsed input, so the binding wrote the
// value it read. Plain "whitespace" stays a fault: it is lost or altered whitespace in a value where
// whitespace is part of the value. An xsi:type naming the type the element is declared with changes
// nothing, so dropping it and writing it (as the binding does on every vendor reference) are both
// accepted. An xs:float holds a single: any text rounding to the same one is "number spelling".
bool is_lexical_normalisation(const std::string& kind)
{
    return kind == "number spelling" || kind == "boolean spelling" || kind == "empty element written with its default" ||
           kind == "xsi:type naming the declared type dropped" ||
           kind == "xsi:type naming the declared type written" || kind == "whitespace collapsed by the value's type";
}

bool is_typed_slot_order(const std::string& kind)
{
    return kind == "typed vendor slot written first";
}

bool have_python()
{
    return std::system("command -v python3 >/dev/null 2>&1") == 0;
}

}  // namespace roundtrip

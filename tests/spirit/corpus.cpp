#include "corpus.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace corpus {

std::string directory()
{
    return std::string(IPXACT_SHARED_DIR) + "/corpus-1685-2009";
}

std::string official_schema()
{
    return std::string(IPXACT_SHARED_DIR) + "/ipxact-1685-2009/index.xsd";
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::vector<document> documents()
{
    std::vector<document> found;
    std::ifstream index(directory() + "/SOURCES.tsv");
    std::string line;
    std::getline(index, line);  // column names
    while (std::getline(index, line)) {
        std::vector<std::string> columns;
        std::stringstream fields(line);
        for (std::string field; std::getline(fields, field, '\t');)
            columns.push_back(field);
        if (columns.size() < 7)
            continue;
        found.push_back({directory() + "/" + columns[0], columns[5], columns[6] == "yes" || columns[6] == "true"});
    }
    return found;
}

bool have_xmllint()
{
    return std::system("command -v xmllint >/dev/null 2>&1") == 0;
}

std::string schema_errors(const std::string& xml)
{
    std::string base = std::string("/tmp/") + "ipxact_schema_" + std::to_string(::getpid());
    std::string input = base + ".xml";
    std::string output = base + ".log";
    {
        std::ofstream out(input, std::ios::binary);
        out << xml;
    }
    std::string command = "xmllint --noout --schema '" + official_schema() + "' '" + input + "' >'" + output + "' 2>&1";
    int status = std::system(command.c_str());
    std::string log = read_file(output);
    std::remove(input.c_str());
    std::remove(output.c_str());
    return status == 0 ? std::string() : log;
}

}  // namespace corpus

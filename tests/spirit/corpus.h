// Access to the shared corpus of real documents, for tests that skip when it is absent.
#ifndef IPXACT_TESTS_SPIRIT_CORPUS_H
#define IPXACT_TESTS_SPIRIT_CORPUS_H

#include <string>
#include <vector>

namespace corpus {

struct document {
    std::string path;
    std::string root;  // "spirit:component"
    bool schema_valid;
};

// Empty when the corpus folder is missing.
std::vector<document> documents();
std::string directory();
std::string official_schema();
bool have_xmllint();
// Runs xmllint against the official schema; empty when valid, else its complaint.
std::string schema_errors(const std::string& xml);
std::string read_file(const std::string& path);

}  // namespace corpus

#endif

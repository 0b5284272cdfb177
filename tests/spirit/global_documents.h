// One small document for each global element of the standard schema, and the vendor samples for
// the global elements of the vendor schema: together, a document for every choice of HIPGSTop.
#ifndef IPXACT_TESTS_SPIRIT_GLOBAL_DOCUMENTS_H
#define IPXACT_TESTS_SPIRIT_GLOBAL_DOCUMENTS_H

#include <string>
#include <vector>

namespace global_documents {

struct document {
    int choice;        // the element's index among the global elements
    std::string root;  // "spirit:component"
    std::string text;  // a whole document that declares its namespaces
};

// Ids 20 to 99, written for these tests; each is valid against the official schema.
std::vector<document> standard();
// Ids 0 to 19, from tests/schema/samples/<element>.xml.
std::vector<document> vendor();

}  // namespace global_documents

#endif

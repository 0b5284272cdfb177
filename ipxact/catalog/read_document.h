// Reading one document into the catalog's form: objects, line index and references. Internal to
// the catalog library.
#ifndef IPXACT_CATALOG_READ_DOCUMENT_H
#define IPXACT_CATALOG_READ_DOCUMENT_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/finding.h>
#include <ipxact/catalog/line_index.h>
#include <ipxact/lmx60/lmx60_error.h>

namespace HIPGSpirit {
class HIPGSBase;
struct MemberInfo;
}

namespace ipxact {
namespace catalog {

// Where the values the objects hold stand in the line index, noted while the document was read:
// the catalog's rules lay out their tree from it and the line index without walking the objects.
struct ReadValues {
    struct Value {
        LineIndex::Node node;  // the element holding the attribute, or whose text it is
        uint32_t index;        // the occurrence of the member
        const HIPGSpirit::HIPGSBase* owner;
        const HIPGSpirit::MemberInfo* member;
    };
    std::vector<Value> values;             // in document order
    size_t attributes = 0;                 // how many of them are attributes
    std::vector<LineIndex::Node> foreign;  // elements outside the standard's namespace, in order
};

// "code 11: value out of range (spirit:width)": a binding fault as findings and errors say it.
std::string fault_text(lmx60::elmx_error code, const std::string& item);

struct DocumentAccess {
    // A document, or null when the file was passed over (not IP-XACT) or could not be opened; the
    // faults met go to `findings` in both cases. `text` null reads the file.
    static std::unique_ptr<Document> read(const std::string& file, const std::string_view* text,
                                          std::vector<Finding>& findings);
    static void set_index(Document& document, size_t index) { document.m_index = index; }
    static const ReadValues& values(const Document& document) { return *document.m_values; }
};

}  // namespace catalog
}  // namespace ipxact

#endif

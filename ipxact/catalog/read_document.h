// Reading one document into the catalog's form: objects, line index and references. Internal to
// the catalog library.
#ifndef IPXACT_CATALOG_READ_DOCUMENT_H
#define IPXACT_CATALOG_READ_DOCUMENT_H

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/finding.h>

namespace ipxact {
namespace catalog {

struct DocumentAccess {
    // A document, or null when the file was passed over (not IP-XACT) or could not be opened; the
    // faults met go to `findings` in both cases. `text` null reads the file.
    static std::unique_ptr<Document> read(const std::string& file, const std::string_view* text,
                                          std::vector<Finding>& findings);
    static void set_index(Document& document, size_t index) { document.m_index = index; }
};

}  // namespace catalog
}  // namespace ipxact

#endif

// The head of a document (its document element and identifier), for a document whose reading
// failed before the reader handed out any element. Internal to the catalog library.
#ifndef IPXACT_CATALOG_DOCUMENT_HEAD_H
#define IPXACT_CATALOG_DOCUMENT_HEAD_H

#include <string>
#include <string_view>

#include <ipxact/catalog/vlnv.h>

namespace ipxact {
namespace catalog {

// The reader fails at a fault anywhere in the stretch it has parsed ahead, before handing out the
// element it stands on; in a small file that stretch is the whole file, so a fault near the end
// hides even the document element. The head is what a parse that stops at the fault saw before it.
struct DocumentHead {
    std::string uri;    // the document element's namespace; empty with no namespace
    std::string local;  // its local name; empty when the parse never reached it
    int line = 0;       // the line of its start tag
    // Its prefix names no namespace ("spirit:component" without xmlns:spirit): what it was meant
    // to be is not known.
    bool undeclared_prefix = false;
    // The texts of its first children spirit:vendor, spirit:library, spirit:name and
    // spirit:version, each taken once its end tag was parsed (complete() when all four were).
    Vlnv id;
};

// Parses `text`, or the file when `text` is null (a regular file only: it is read a second time),
// as far as the document element's first child that is not part of the identifier, or the first
// fault.
DocumentHead read_head(const std::string& file, const std::string_view* text);

}  // namespace catalog
}  // namespace ipxact

#endif

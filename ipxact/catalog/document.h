/// @file
/// One document of a catalog: its file, kind, identifier, objects, line index and the references
/// it makes to other documents.
#ifndef IPXACT_CATALOG_DOCUMENT_H
#define IPXACT_CATALOG_DOCUMENT_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <ipxact/catalog/line_index.h>
#include <ipxact/catalog/vlnv.h>

namespace HIPGSpirit {
class HIPGSTop;
}

namespace ipxact {
namespace catalog {

/// One reference from a document to another, by identifier.
///
/// Found while the document is read, so that every reference the document makes is met whatever
/// element holds it: every element of the standard's namespace that carries the library reference
/// attributes (`spirit:vendor`, `spirit:library`, `spirit:name`, `spirit:version`; in 1685-2009
/// these are the elements of `spirit:libraryRefType`: busType, abstractionType, componentRef,
/// designRef, hierarchyRef, extends, abstractorRef, generatorChainRef), and the vendor references
/// (`vorlix:componentRef`, `vorlix:parameterAbstractionType`, and the patterns
/// `vorlix:abstractionDefinitionRef`, `vorlix:extends`, `vorlix:busType`, `vorlix:abstractionType`,
/// `vorlix:componentType`), also inside vendor blocks of IEEE documents.
struct Reference {
    Vlnv target;          ///< the identifier as written (attributes left out are empty)
    bool pattern = false; ///< each part is a regular expression matching whole parts (vorlix:vlnvRegExpType)
    /// Which of the four parts were written (bit 0 vendor, 1 library, 2 name, 3 version). In a
    /// pattern an absent part matches anything; a part written empty matches only an empty part.
    uint8_t written = 0xF;
    std::string element;  ///< the referring element, prefixed by convention: "spirit:busType", "vorlix:componentRef"
    KindSet expected = kAnyKind;  ///< the kinds of document the element may name
    LineIndex::Node node = LineIndex::npos;  ///< the referring element in the document's line index
    int line = 0;         ///< its line
    std::string path;     ///< its element path
};

struct ReadValues;

/// A document read into the catalog.
///
/// Documents are made by Catalog only and live as long as it does; a `const Document*` obtained
/// from a catalog stays valid while the catalog exists, including across later loads.
class Document {
public:
    /// Releases the objects.
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    /// The file as it was given or found (relative paths stay relative).
    const std::string& file() const { return m_file; }
    /// Its kind, by its document element.
    DocumentKind kind() const { return m_kind; }
    /// Its document element's qualified name ("spirit:component"), empty when nothing was read.
    const std::string& root_element() const { return m_root; }
    /// Whether it has an identifier (documents of the first eight kinds whose text holds one before
    /// its first fault, if any).
    bool has_vlnv() const { return m_has_vlnv; }
    /// Its identifier; all parts empty unless has_vlnv().
    const Vlnv& vlnv() const { return m_vlnv; }
    /// Whether it was read without any fault. Rules run only on such documents: one read in part
    /// would make them report what is merely missing from the part.
    bool read_cleanly() const { return m_clean; }
    /// Its objects (the document element is the chosen alternative). When !read_cleanly(), parts
    /// after the first fault are missing, and so may be a few hundred bytes' worth before it: the
    /// reader stops at a fault in what it has parsed ahead. kind(), root_element() and vlnv() come
    /// from the text before the fault all the same.
    const HIPGSpirit::HIPGSTop& top() const { return *m_top; }
    /// Where its elements stand.
    const LineIndex& lines() const { return m_lines; }
    /// The references it makes, in document order.
    const std::vector<Reference>& references() const { return m_references; }
    /// Size of the file in bytes (of the text, for documents added from memory).
    uint64_t size_bytes() const { return m_size; }
    /// Position in Catalog::documents().
    size_t index() const { return m_index; }

private:
    friend class Catalog;
    friend struct DocumentAccess;
    Document();

    std::string m_file;
    DocumentKind m_kind = DocumentKind::other;
    std::string m_root;
    bool m_has_vlnv = false;
    Vlnv m_vlnv;
    bool m_clean = false;
    std::unique_ptr<HIPGSpirit::HIPGSTop> m_top;
    LineIndex m_lines;
    std::vector<Reference> m_references;
    std::unique_ptr<ReadValues> m_values;  // for the catalog's rules
    uint64_t m_size = 0;
    size_t m_index = 0;
};

}  // namespace catalog
}  // namespace ipxact

#endif

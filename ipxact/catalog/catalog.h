/// @file
/// A catalog of IP-XACT documents: loads files and directories in parallel, indexes them by kind
/// and identifier, resolves the references between them and runs the semantic rules.
#ifndef IPXACT_CATALOG_CATALOG_H
#define IPXACT_CATALOG_CATALOG_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <ipxact/catalog/document.h>
#include <ipxact/catalog/finding.h>
#include <ipxact/catalog/rule.h>
#include <ipxact/catalog/vlnv.h>

namespace ipxact {
namespace catalog {

/// How Catalog::load reads.
struct LoadOptions {
    /// Threads reading at once; 0 means one per core. One reads in the calling thread only.
    unsigned threads = 0;
    /// File name extensions searched for inside directories, compared without regard to case.
    /// Files named directly are read whatever their extension.
    std::vector<std::string> extensions = {".xml", ".ipxact", ".spirit"};
    /// Told from the calling thread how many of the files found have been read: about ten times a
    /// second while files remain (not at all for a load quicker than that), and once at the end.
    std::function<void(size_t done, size_t total)> progress;
};

/// One reference and where it comes from, as the reverse-reference query gives it.
struct ReferenceSite {
    const Document* from = nullptr;         ///< the referring document
    const Reference* reference = nullptr;   ///< the reference inside it
};

/// Everything a top-level document needs, as Catalog::closure gives it.
struct Closure {
    /// The documents reached, dependencies before the documents that need them; the top document
    /// is last.
    std::vector<const Document*> order;
    /// References (within the closure) naming documents that are not loaded, each once per
    /// referring element.
    std::vector<ReferenceSite> missing;
    /// Each cycle met, as the documents along it, the first repeated at the end
    /// (a, b, a).
    std::vector<std::vector<const Document*>> cycles;
};

/// Counts and indexes over the documents loaded.
///
/// A catalog may be loaded in several steps (load(), add_text() and add_objects() add to it).
/// load() brings the indexes and the references up to date before it returns; add_text() and
/// add_objects() leave that to the first query after them, so that documents added one by one are
/// indexed once, not once each. Queries are const and may run in several threads at once (the first
/// after an addition brings the indexes up to date while the others wait); loading and adding may
/// not run beside anything else on the same catalog.
///
/// Reading runs in a pool of threads, each document through a reader of its own with a fault
/// handler of its own. What the binding shares across the process is only read meanwhile, except
/// the host's message handler: when the binding's diagnostics are on (the parameter
/// "ib.debugIPXactSchema" set and the silent switch off), a fault would call it, so the catalog
/// then reads one document at a time. docs/catalog.md lists what is shared and how it is guarded.
class Catalog {
public:
    /// An empty catalog.
    Catalog();
    /// Releases every document.
    ~Catalog();
    Catalog(const Catalog&) = delete;
    Catalog& operator=(const Catalog&) = delete;

    /// Reads the files named, and the files below each directory named (recursively, not following
    /// links to directories, passing over directories whose names begin with '.'), in parallel. A
    /// file that cannot be read, or reads with faults, becomes a finding and loading goes on; a
    /// file whose document element belongs to neither schema is passed over with a note. Returns
    /// the number of documents added.
    size_t load(const std::vector<std::string>& paths, const LoadOptions& options = {});
    /// Reads one document from memory, under the file name given (used in findings only).
    const Document& add_text(const std::string& file, std::string_view xml);
    /// Adds a document held as objects (one built or edited through the binding and not yet saved),
    /// under the file name given. The objects are written out and that text is read back, so the
    /// document's lines are those of the text as `marshal` writes it and the rules see what a file
    /// holding the objects would hold. Throws std::invalid_argument, saying why, when the objects
    /// cannot be written (a required child never created, a choice with nothing chosen).
    const Document& add_objects(const std::string& file, const HIPGSpirit::HIPGSTop& top);

    /// Every document, in the order loaded (files of one directory in name order).
    const std::vector<const Document*>& documents() const { return m_view; }
    /// The documents of one kind, in the order loaded.
    std::vector<const Document*> of_kind(DocumentKind kind) const;
    /// The document with this identifier (the first loaded when several define it), or null.
    const Document* find(const Vlnv& id) const;
    /// Every document with this identifier, in the order loaded.
    std::vector<const Document*> find_all(const Vlnv& id) const;
    /// The document read from this file (as given or found), or null.
    const Document* find_file(const std::string& file) const;
    /// Identifiers defined by more than one document, each with its documents.
    std::vector<std::vector<const Document*>> duplicates() const;

    /// The document a reference names: for an identifier, the first loaded document with it; for a
    /// pattern, the first loaded document it matches (of the kinds the element may name). Null when
    /// none is loaded.
    const Document* resolve(const Reference& reference) const;
    /// Every reference that names no loaded document.
    std::vector<ReferenceSite> dangling() const;
    /// Every reference that names `target` (reverse references: who uses this bus definition).
    /// This and the other queries taking a document throw std::invalid_argument for a document of
    /// another catalog.
    std::vector<ReferenceSite> referrers(const Document& target) const;
    /// Everything `top` needs, transitively, in dependency order, with what is missing and the
    /// cycles met.
    Closure closure(const Document& top) const;
    /// Every cycle of references among the documents loaded (each document of a cycle at most once
    /// per cycle), the first document repeated at the end.
    std::vector<std::vector<const Document*>> cycles() const;

    /// Findings of loading: files that could not be read, faults met while reading, files passed over.
    const std::vector<Finding>& load_findings() const { return m_load_findings; }
    /// Runs `rules` (all registered rules when empty) over every document that read cleanly, in
    /// parallel, and returns their findings in file and line order.
    std::vector<Finding> check(const std::vector<const Rule*>& rules = {}, unsigned threads = 0) const;
    /// The same over one document.
    std::vector<Finding> check(const Document& document, const std::vector<const Rule*>& rules = {}) const;

    /// Bytes of the files read.
    uint64_t bytes_loaded() const { return m_bytes; }

private:
    struct Index;
    // The indexes over the documents as they stand now.
    std::unique_ptr<Index> build_index() const;
    // The indexes, rebuilt first when documents were added since they were last built.
    const Index& index() const;
    void require_own(const Document& document) const;
    Document& adopt(std::unique_ptr<Document> document);

    std::vector<std::unique_ptr<Document>> m_documents;
    std::vector<const Document*> m_view;
    std::vector<Finding> m_load_findings;
    mutable std::unique_ptr<Index> m_index;
    mutable std::atomic<bool> m_index_stale{false};
    mutable std::mutex m_index_guard;  // held while a query rebuilds the indexes
    uint64_t m_bytes = 0;
};

}  // namespace catalog
}  // namespace ipxact

#endif

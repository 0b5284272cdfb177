/// @file
/// Where each element of a document stands: a compact index from element paths to lines, built
/// while the document is read.
#ifndef IPXACT_CATALOG_LINE_INDEX_H
#define IPXACT_CATALOG_LINE_INDEX_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ipxact {
namespace catalog {

/// The line of every element that the reader moved onto while a document was read, addressed by
/// element paths.
///
/// A path is the chain of local names from the document element down, separated by '/', each
/// name followed by its 1-based position among the siblings of the same local name when that
/// position is not 1: `component/memoryMaps/memoryMap[2]/addressBlock[3]/register`. Namespaces
/// are left out (no two children of one element share a local name across namespaces in either
/// schema). Elements inside open content (the children of a block kept whole inside
/// `spirit:vendorExtensions`, the content of a typed vendor slot) are not indexed: the block
/// element itself is, and a path that goes below it finds the block.
///
/// Each element costs 16 bytes; names are stored once per document, in one text.
class LineIndex {
public:
    /// An element of the index, in document order; the document element is 0.
    using Node = uint32_t;
    /// No element.
    static constexpr Node npos = 0xFFFFFFFFu;

    /// Number of elements indexed.
    size_t size() const { return m_nodes.size(); }
    /// Whether nothing was indexed (the document could not be read at all).
    bool empty() const { return m_nodes.empty(); }
    /// The document element, or npos for an empty index.
    Node root() const { return m_nodes.empty() ? npos : 0; }

    /// The element's line (1-based), 0 for npos.
    int line(Node node) const;
    /// The element's local name, empty for npos.
    std::string_view name(Node node) const
    {
        return node < m_nodes.size() ? name_text(m_nodes[node].name) : std::string_view();
    }
    /// How many distinct local names the elements have.
    size_t name_count() const { return m_name_starts.size(); }
    /// Which of them the element has, below name_count(): elements of the same local name have the
    /// same number, so that a tool can group or compare elements by name without their text. For
    /// npos, a number no name has.
    uint32_t name_number(Node node) const { return node < m_nodes.size() ? m_nodes[node].name : 0xFFFFFFFFu; }
    /// The local name with that number; empty past name_count().
    std::string_view name_text(uint32_t number) const;
    /// The element's parent, npos for the document element.
    Node parent(Node node) const { return node < m_nodes.size() ? m_nodes[node].parent : npos; }
    /// The `position`-th child (0-based) among the children named `local`; npos when there are
    /// fewer or `parent` is npos.
    Node child(Node parent, std::string_view local, size_t position = 0) const;
    /// All children of an element, in document order.
    std::vector<Node> children(Node parent) const;
    /// The element's path, as described above; empty for npos.
    std::string path(Node node) const;

    /// The element a path names; npos when none does. A missing position means 1, so
    /// `component/memoryMaps/memoryMap/name` and `component/memoryMaps/memoryMap[1]/name` are the
    /// same element.
    Node find(std::string_view path) const;
    /// The element a path names or, when it is not indexed, the deepest indexed element along it
    /// (the document element at least); npos only for an empty index or a path whose first name is
    /// not the document element's.
    Node find_nearest(std::string_view path) const;

    /// Bytes the index holds on the heap.
    size_t memory_bytes() const;

    /// Builds an index from the reader's observations: one call per element moved onto, with its
    /// nesting level (1 for the document element), local name and line. The catalog installs it as
    /// the reader's element observer.
    class Builder {
    public:
        /// Starts an empty index.
        explicit Builder(LineIndex& index);
        /// Makes room for about this many elements, so that the index is not regrown (and copied)
        /// many times over while a document is read; finish() gives back what was not used.
        void reserve(size_t elements);
        /// Notes one element. `local` may point into the parser's dictionary: it is copied once
        /// per distinct name.
        void element(size_t level, const char* local, int line);
        /// The innermost element noted so far that is still open, npos before the first.
        Node current() const { return m_open.empty() ? npos : m_open.back(); }
        /// The innermost element still open that starts on `line`, or current() when none does: a
        /// fault the reader finds at an element's end is dated at the element's start, while the
        /// reader already stands on an element inside it.
        Node open_at_line(int line) const;
        /// Closes the elements still open; call once reading has stopped, whatever its outcome.
        void finish();

    private:
        // A name's number, or kNoName when the names can hold no more.
        uint32_t name_id(const char* local);
        static constexpr uint32_t kNoName = 0xFFFFFFFFu;
        // name_id() for a name not met under this pointer: found by its text, or added.
        uint32_t name_id_by_text(std::string_view local);

        struct RecentName {
            const char* pointer;
            uint32_t id;
        };

        LineIndex& m_index;
        std::vector<Node> m_open;
        RecentName m_recent[256] = {};  // parser dictionary name -> name id, for the names met last
        // Every name met, by the hash of its text: open addressing over name ids plus one, 0 free.
        std::vector<uint32_t> m_by_text;
        bool m_names_full = false;  // a name found no room: no further element is indexed
    };

private:
    struct Entry {
        uint32_t parent;
        uint32_t end;  // one past the last element of its subtree
        uint32_t line;
        uint32_t name;
    };
    // 1-based, among the siblings of the same name; `depth` is the node's in the tree.
    size_t position_among_siblings(Node node, size_t depth) const;
    // child() for the `depth`-th step of a path.
    Node child_at_depth(Node parent, std::string_view local, size_t position, size_t depth) const;

    std::vector<Entry> m_nodes;
    std::string m_name_text;                // the distinct names, each ended by a zero byte
    std::vector<uint32_t> m_name_starts;    // where each begins in m_name_text
    uint64_t m_serial = 0;  // which build this is, process-wide: child() resumes searches by it
};

}  // namespace catalog
}  // namespace ipxact

#endif

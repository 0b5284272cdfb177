/// @file
/// For the catalog's own rules: a document's objects as a tree of elements and attributes that
/// simple path expressions can query, with each node's element path in LineIndex's form. Not part
/// of the public interface.
#ifndef IPXACT_CATALOG_RULES_TREE_H
#define IPXACT_CATALOG_RULES_TREE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ipxact {
namespace catalog {

class Document;

/// The elements, attributes and values of a document's objects, laid out from its line index and
/// the values the binding told of as it read them (a document that read cleanly holds its elements
/// in document order, as written); a value is read from its object when a rule asks for it. What a
/// rule sees is what the objects hold (the binding's reading already applied), and the nodes are
/// the line index's, so findings get the line of the element in the file. A vendor element kept
/// whole inside `spirit:vendorExtensions`, or read into a typed vendor slot, is one node without
/// children, as it is in the line index.
///
/// Rules whose checks are structural (names unique among siblings, references inside a document)
/// are written once over this tree instead of once per element kind over the objects.
class RulesTree {
public:
    /// An element or attribute of the tree, opaque to rules.
    struct Item;
    /// An element or attribute of the tree; null for none. Valid while the tree lives.
    using Node = const Item*;

    /// Walks `document`'s objects; ok() is false when the walk fails.
    explicit RulesTree(const Document& document);
    ~RulesTree();
    RulesTree(const RulesTree&) = delete;
    RulesTree& operator=(const RulesTree&) = delete;

    /// Whether the tree was built.
    bool ok() const;
    /// The document element; null when !ok().
    Node root() const;
    /// The element and attribute nodes a path expression selects from `context` (the document
    /// element when null), in document order, each once. The expressions are XPath's abbreviated
    /// location paths: element steps (a name or `*`) and attribute steps joined by `/` and `//`,
    /// absolute or relative (`.//`), alternatives joined by `|`, and on a step one predicate whose
    /// tests, joined by `or`, ask for an attribute or for an attribute equal to a quoted text. Every
    /// name carries the prefix "spirit", for the standard's namespace: content kept as read
    /// (vendor elements, attributes of other namespaces) is never named.
    /// An attribute node stands for its value; its path is its element's. An expression outside
    /// this form selects nothing. Expressions are known again by their address: pass literals or
    /// entries of tables that live as long as the process, never a text built for the call.
    std::vector<Node> select(const char* expression, Node context = nullptr) const;
    /// The same into `selected`, which is cleared first: a rule that selects in a loop keeps one list.
    void select(const char* expression, Node context, std::vector<Node>& selected) const;

    /// The first node select() would give, or null; a chain of child steps ("spirit:reset/spirit:value")
    /// is walked without gathering the rest.
    Node first(const char* expression, Node context = nullptr) const;

    /// The value a member is known by, as an identity constraint's field names it: "." for its
    /// own text, "@spirit:x" for an attribute, a relative path for a child element. False when
    /// the member has no such value (nothing to compare), and `value` is left empty.
    bool field(Node member, const char* key, std::string* value) const;
    /// The same, appending the value to `out`: a rule that gathers many values keeps them in one text.
    bool append_field(Node member, const char* key, std::string& out) const;

    /// The attributes in no namespace that elements hold as read (a class admits attributes
    /// whatever they are), in document order; no path expression selects them.
    const std::vector<Node>& unqualified_attributes() const;
    /// Whether the class of the element holding such an attribute declares an attribute of the
    /// standard's namespace with the same local name ("resolve" on an element with spirit:resolve).
    static bool shadows_standard_attribute(Node attribute);
    /// The local name of an element or attribute.
    static const char* local_name(Node node);

    /// Number of nodes (elements and attributes, and one for the document itself).
    size_t size() const;
    /// A node's position in document order, below size(): a key for what a rule keeps per node.
    static size_t position(Node node);

    /// The element holding an element or attribute; null for the document element.
    static Node parent(Node node);
    /// Whether a node is an element of that local name.
    static bool is(Node node, const char* local);

    /// The element path of an element (of an attribute: of its element), as LineIndex::path writes it.
    /// Places among siblings are counted on the first path through a parent and kept in the tree,
    /// so one tree serves one thread at a time (as the rules of one document run).
    static std::string path(Node node);
    /// The string value of an element or attribute, with white space at its ends removed.
    static std::string text(Node node);
    /// The value of an attribute of the standard's namespace; empty when absent.
    static std::string attribute(Node element, const char* local);
    /// Whether an element carries that attribute.
    static bool has_attribute(Node element, const char* local);

    /// Reading keeps where the text of an element stands only for the elements some rule reads the
    /// text of: a rule names them while the library loads (from a namespace-scope initializer),
    /// before any document is read. reads_text() takes the last element step of each alternative
    /// of `expression`; reads_field() the element a member's key names below `members`
    /// ("spirit:name"), or the members themselves for ".". text() of any other element throws.
    static void reads_text(const char* expression);
    static void reads_field(const char* members, const char* key);
    /// Whether some rule reads the text of elements of this local name (of the standard's namespace).
    static bool text_is_read(std::string_view local);

    /// The tree's storage, opaque to rules.
    struct Impl;

private:
    std::unique_ptr<Impl> m_impl;
};

}  // namespace catalog
}  // namespace ipxact

#endif

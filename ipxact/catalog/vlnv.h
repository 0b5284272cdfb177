/// @file
/// Identifiers of documents (vendor, library, name, version) and the kinds of document a catalog
/// tells apart.
#ifndef IPXACT_CATALOG_VLNV_H
#define IPXACT_CATALOG_VLNV_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace ipxact {
namespace catalog {

/// A document identifier: vendor, library, name and version, compared part by part and exactly
/// (case and white space count, as in the documents themselves).
struct Vlnv {
    std::string vendor;   ///< who supplies the document ("acme.example.com")
    std::string library;  ///< the logical library it belongs to
    std::string name;     ///< the name of the object
    std::string version;  ///< its version ("1.0")

    /// "vendor:library:name:version".
    std::string to_string() const;
    /// Whether every part is written, as in every document's identifier.
    bool complete() const { return !vendor.empty() && !library.empty() && !name.empty() && !version.empty(); }
    /// Reads "vendor:library:name:version" (exactly four parts separated by ':', none empty, as in
    /// every document's identifier); nothing when the text is not of that form.
    static std::optional<Vlnv> parse(const std::string& text);

    /// Equal when all four parts are equal.
    bool operator==(const Vlnv& other) const;
    /// Not equal when any part differs.
    bool operator!=(const Vlnv& other) const { return !(*this == other); }
    /// Orders by vendor, library, name, then version (plain text order).
    bool operator<(const Vlnv& other) const;
};

/// Hashes a Vlnv for unordered containers.
struct VlnvHash {
    /// The hash of all four parts.
    size_t operator()(const Vlnv& id) const;
};

/// What a document is, by its document element. The first seven are the IEEE 1685-2009 documents
/// that carry an identifier, `parameterAbstractionDefinition` is the vendor document that carries
/// one, and `other` is any further global element read as a document (a `spirit:port`, a
/// `vorlix:coreExtensions` block kept as a file of its own).
enum class DocumentKind : uint8_t {
    component,                       ///< spirit:component
    bus_definition,                  ///< spirit:busDefinition
    abstraction_definition,          ///< spirit:abstractionDefinition
    design,                          ///< spirit:design
    design_configuration,            ///< spirit:designConfiguration
    abstractor,                      ///< spirit:abstractor
    generator_chain,                 ///< spirit:generatorChain
    parameter_abstraction_definition,  ///< vorlix:parameterAbstractionDefinition
    other                            ///< any other global element of either schema
};

/// Number of values of DocumentKind.
constexpr size_t kDocumentKindCount = 9;

/// A set of document kinds, one bit per DocumentKind value.
using KindSet = uint16_t;

/// The set holding only `kind`.
constexpr KindSet kind_bit(DocumentKind kind)
{
    return static_cast<KindSet>(1u << static_cast<unsigned>(kind));
}

/// Every kind.
constexpr KindSet kAnyKind = static_cast<KindSet>((1u << kDocumentKindCount) - 1);

/// Words for a kind, as a user reads them: "component", "bus definition", "design configuration".
const char* kind_name(DocumentKind kind);

/// Words for a set of kinds: "design or design configuration".
std::string kinds_name(KindSet kinds);

}  // namespace catalog
}  // namespace ipxact

#endif

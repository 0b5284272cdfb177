// Loads an IP library (files and directories) into a catalog and reports on it as a library
// manager would: how many documents of each kind, which references name nothing loaded, who uses
// each component, what a design needs, and what the catalog's rules find. Exits with 1 when a
// document could not be read or a rule reported an error.
//
//   check_library PATH...

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/report.h>

#include <iostream>
#include <string>
#include <vector>

namespace catalog = ipxact::catalog;

namespace {

void print_kinds(const catalog::Catalog& library)
{
    for (size_t k = 0; k < catalog::kDocumentKindCount; ++k) {
        auto kind = static_cast<catalog::DocumentKind>(k);
        size_t count = library.of_kind(kind).size();
        if (count > 0)
            std::cout << "  " << catalog::kind_name(kind) << ": " << count << "\n";
    }
}

void print_dangling(const catalog::Catalog& library)
{
    for (const catalog::ReferenceSite& site : library.dangling())
        std::cout << "  " << site.from->file() << ":" << site.reference->line << ": "
                  << site.reference->element << " names " << site.reference->target.to_string()
                  << ", which is not loaded\n";
}

// Reverse references: for each component, the documents whose elements name it.
void print_users(const catalog::Catalog& library)
{
    for (const catalog::Document* component : library.of_kind(catalog::DocumentKind::component)) {
        std::cout << "  " << component->vlnv().to_string() << " is used by";
        std::vector<catalog::ReferenceSite> users = library.referrers(*component);
        if (users.empty())
            std::cout << " nothing loaded";
        for (const catalog::ReferenceSite& site : users)
            std::cout << " " << site.from->file() << ":" << site.reference->line;
        std::cout << "\n";
    }
}

void print_closures(const catalog::Catalog& library)
{
    for (const catalog::Document* design : library.of_kind(catalog::DocumentKind::design)) {
        catalog::Closure needs = library.closure(*design);
        std::cout << "  " << design->vlnv().to_string() << " needs " << needs.order.size() - 1
                  << " loaded document(s) and " << needs.missing.size() << " missing one(s):\n";
        for (const catalog::Document* document : needs.order)
            if (document != design)
                std::cout << "    " << document->file() << "\n";
        for (const catalog::ReferenceSite& site : needs.missing)
            std::cout << "    missing " << site.reference->target.to_string() << "\n";
    }
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::cerr << "usage: check_library PATH...\n";
        return 2;
    }
    catalog::Catalog library;
    catalog::LoadOptions options;
    options.threads = 0;  // one per core
    library.load(std::vector<std::string>(argv + 1, argv + argc), options);

    std::cout << library.documents().size() << " documents\n";
    print_kinds(library);
    std::cout << "faults met while loading:\n";
    catalog::write_text(std::cout, library.load_findings());
    std::cout << "references to documents not loaded:\n";
    print_dangling(library);
    std::cout << "components and their users:\n";
    print_users(library);
    std::cout << "designs and what they need:\n";
    print_closures(library);

    std::vector<catalog::Finding> findings = library.check();
    std::cout << "rule findings: " << findings.size() << "\n";
    catalog::write_text(std::cout, findings);
    return catalog::has_errors(library.load_findings()) || catalog::has_errors(findings) ? 1 : 0;
}

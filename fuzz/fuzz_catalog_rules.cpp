// Arbitrary bytes as one document of a catalog, then every rule over it, as `ipxact check` does. None
// of it may crash; a rule may not throw (the catalog would turn that into a "rule.failed" note and go
// on, which hides it here), and a document that reads cleanly must give the rules their tree.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include <ipxact/catalog/catalog.h>
#include <ipxact/catalog/rules_tree.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    ipxact::catalog::Catalog catalog;
    const ipxact::catalog::Document& document =
        catalog.add_text("fuzz.xml", std::string_view(reinterpret_cast<const char*>(data), size));
    if (document.read_cleanly() && !ipxact::catalog::RulesTree(document).ok()) {
        std::fprintf(stderr, "a document that reads cleanly gives no tree to the rules\n");
        std::abort();
    }
    for (const ipxact::catalog::Finding& finding : catalog.check({}, 1)) {
        if (finding.rule == "rule.failed") {
            std::fprintf(stderr, "%s\n", ipxact::catalog::format_finding(finding).c_str());
            std::abort();
        }
    }
    return 0;
}

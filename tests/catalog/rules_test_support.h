// Runs one rule over small documents held in memory, for the rule tests.
#ifndef IPXACT_TESTS_CATALOG_RULES_SUPPORT_H
#define IPXACT_TESTS_CATALOG_RULES_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <ipxact/catalog/catalog.h>

namespace rules_test {

inline const char* spirit_ns()
{
    return "xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"";
}

// A component of vendor acme.example.com whose body (the elements after its identifier) is `body`.
inline std::string component(const std::string& body)
{
    return std::string("<?xml version=\"1.0\"?>\n<spirit:component ") + spirit_ns() +
           ">\n  <spirit:vendor>acme.example.com</spirit:vendor>\n  <spirit:library>ip</spirit:library>\n"
           "  <spirit:name>widget</spirit:name>\n  <spirit:version>1.0</spirit:version>\n" +
           body + "</spirit:component>\n";
}

// The line on which the element `path` names starts in `xml`: each step of the path is looked for
// as the n-th start tag of its name after where the step before it was found (enough for test
// documents, which hold nothing else of those names in between); 0 when one is missing.
inline int line_of_path(const std::string& xml, const std::string& path)
{
    size_t at = 0;
    size_t begin = 0;
    while (begin <= path.size()) {
        size_t end = path.find('/', begin);
        std::string step = path.substr(begin, end == std::string::npos ? std::string::npos : end - begin);
        begin = end == std::string::npos ? path.size() + 1 : end + 1;
        size_t wanted = 1;
        if (size_t bracket = step.find('['); bracket != std::string::npos) {
            wanted = std::stoul(step.substr(bracket + 1));
            step.resize(bracket);
        }
        const std::string tag = "<spirit:" + step;
        size_t seen = 0;
        // After the first step, the element found for the step before is not this step's.
        for (at = xml.find(tag, at == 0 ? 0 : at + 1); at != std::string::npos; at = xml.find(tag, at + 1)) {
            char next = xml[at + tag.size()];
            if ((next == '>' || next == ' ' || next == '/') && ++seen == wanted)
                break;
        }
        if (at == std::string::npos)
            return 0;
    }
    return 1 + static_cast<int>(std::count(xml.begin(), xml.begin() + at, '\n'));
}

// The findings of rule `id` on one document, which must read cleanly (a rule never runs on a
// document that does not, so a test on one would pass whatever the rule did).
inline std::vector<ipxact::catalog::Finding> run_rule(const std::string& id, const std::string& xml)
{
    using namespace ipxact::catalog;
    const Rule* rule = RuleRegistry::instance().find(id);
    EXPECT_NE(rule, nullptr) << "no rule " << id;
    if (!rule)
        return {};
    Catalog catalog;
    const Document& document = catalog.add_text("doc.xml", xml);
    EXPECT_TRUE(document.read_cleanly()) << xml;
    for (const Finding& f : catalog.load_findings())
        ADD_FAILURE() << format_finding(f);
    std::vector<Finding> findings = catalog.check(document, {rule});
    for (const Finding& f : findings)
        EXPECT_EQ(f.rule, id) << format_finding(f);
    return findings;
}

}  // namespace rules_test

#endif

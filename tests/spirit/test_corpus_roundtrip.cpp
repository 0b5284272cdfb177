// Real documents from other tools: every schema-valid one reads, writes back schema-valid, and
// reads back equal.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"

using namespace HIPGSpirit;

namespace {

struct round_trip_result {
    lmx60::elmx_error read = lmx60::ELMX_PENDING;
    lmx60::elmx_error write = lmx60::ELMX_PENDING;
    lmx60::elmx_error reread = lmx60::ELMX_PENDING;
    bool equal = false;
    std::string output;
    std::string where;
};

template <class T>
round_trip_result round_trip(const std::string& path)
{
    round_trip_result result;
    T first;
    lmx60::s_debug_error debug;
    result.read = first.unmarshal(path.c_str(), &debug);
    result.where = debug.to_string();
    if (result.read != lmx60::ELMX_OK)
        return result;
    result.write = first.marshal(&result.output, &debug);
    if (result.write != lmx60::ELMX_OK) {
        result.where = debug.to_string();
        return result;
    }
    T second;
    result.reread = second.unmarshal(result.output.data(), result.output.size(), &debug);
    result.where = debug.to_string();
    result.equal = first == second;
    return result;
}

const std::map<std::string, std::function<round_trip_result(const std::string&)>>& readers()
{
    static const std::map<std::string, std::function<round_trip_result(const std::string&)>> table = {
        {"spirit:busDefinition", round_trip<HIPGSBusDefinition>},
        {"spirit:abstractionDefinition", round_trip<HIPGSAbstractionDefinition>},
        {"spirit:component", round_trip<HIPGSComponent>},
        {"spirit:design", round_trip<HIPGSDesign>},
    };
    return table;
}

}  // namespace

TEST(CorpusRoundTrip, SchemaValidDocumentsReadWriteAndReadBackEqual)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "no corpus at " << corpus::directory();
    bool validate = corpus::have_xmllint();
    int checked = 0;
    for (const corpus::document& document : documents) {
        if (!document.schema_valid)
            continue;
        auto reader = readers().find(document.root);
        ASSERT_NE(reader, readers().end()) << document.root;
        round_trip_result result = reader->second(document.path);
        SCOPED_TRACE(document.path);
        ASSERT_EQ(result.read, lmx60::ELMX_OK) << result.where;
        ASSERT_EQ(result.write, lmx60::ELMX_OK) << result.where;
        ASSERT_EQ(result.reread, lmx60::ELMX_OK) << result.where;
        EXPECT_TRUE(result.equal);
        if (validate) {
            EXPECT_EQ(corpus::schema_errors(result.output), "");
        }
        ++checked;
    }
    EXPECT_GT(checked, 0);
}

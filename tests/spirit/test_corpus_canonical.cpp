// Real documents against what the binding writes back, both in canonical form (tools/xmlcanon.py:
// namespace prefixes resolved, attributes sorted, comments and whitespace between elements dropped):
// what differs must only respell an equal value.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "corpus.h"
#include "roundtrip_support.h"

TEST(CorpusCanonicalComparison, WritingBackOnlyRespellsEqualValues)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "no corpus at " << corpus::directory();
    if (!roundtrip::have_python())
        GTEST_SKIP() << "python3 is not installed";
    roundtrip::scratch_directory scratch;
    ASSERT_FALSE(scratch.path().empty());
    std::vector<std::pair<std::string, std::string>> written;
    for (const corpus::document& document : documents) {
        if (!document.schema_valid)
            continue;
        roundtrip::result result = roundtrip::read_write_read(document.path, document.root);
        ASSERT_EQ(result.failure, "") << document.path;
        std::string output = scratch.path() + "/" + std::to_string(written.size()) + ".xml";
        std::ofstream(output, std::ios::binary) << result.output;
        written.emplace_back(document.path, output);
    }
    ASSERT_FALSE(written.empty());
    for (const roundtrip::difference& difference : roundtrip::canonical_differences(written, scratch.path())) {
        EXPECT_TRUE(roundtrip::is_lexical_normalisation(difference.kind) ||
                    roundtrip::is_typed_slot_order(difference.kind))
            << difference.input << ": " << difference.kind << "\t" << difference.detail;
    }
}

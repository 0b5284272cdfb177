// Random documents drawn from the two schemas by tools/instancegen/instance_gen.py, for every global
// element: each is schema-valid, reads through the root dispatcher, writes back schema-valid, and
// reads back equal to what was first read. IPXACT_RANDOM_COUNT sets the documents per element
// (default 50) and IPXACT_RANDOM_FIRST_SEED the first seed (default 1) for longer or other runs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "corpus.h"
#include "roundtrip_support.h"

namespace {

constexpr int kFirstSeed = 1;
constexpr int kDefaultCount = 50;
constexpr int kFailuresShownPerElement = 5;

const char* const kGlobalElements[] = {
    "vorlix:parameterAbstractionDefinition", "vorlix:coreExtensions", "vorlix:coreProperties",
    "vorlix:parameterAbstractionMaps", "vorlix:parameterInfo", "vorlix:portInfo", "vorlix:busInterfaceInfo",
    "vorlix:memoryMapInfo", "vorlix:addressBlockInfo", "vorlix:addressSpaceInfo", "vorlix:registerInfo",
    "vorlix:viewInfo", "vorlix:fileInfo", "vorlix:packagingInfo", "vorlix:subCoreRef",
    "vorlix:busDefinitionInfo", "vorlix:abstractionDefinitionInfo", "vorlix:abstractionDefinitionPortInfo",
    "vorlix:instanceProperties", "vorlix:componentInstanceExtensions", "spirit:busDefinition",
    "spirit:parameter", "spirit:parameters", "spirit:vendorExtensions", "spirit:displayName",
    "spirit:description", "spirit:choices", "spirit:vector", "spirit:initiative", "spirit:portAccessType",
    "spirit:transTypeDef", "spirit:serviceTypeDef", "spirit:wireTypeDef", "spirit:serviceTypeDefs",
    "spirit:wireTypeDefs", "spirit:portAccessHandle", "spirit:port", "spirit:cellSpecification",
    "spirit:timingConstraint", "spirit:driveConstraint", "spirit:loadConstraint", "spirit:constraintSet",
    "spirit:constraintSets", "spirit:constraintSetRef", "spirit:defaultValue", "spirit:clockDriver",
    "spirit:singleShotDriver", "spirit:requiresDriver", "spirit:driver", "spirit:otherClockDriver",
    "spirit:file", "spirit:fileSet", "spirit:executableImage", "spirit:fileSetRef", "spirit:dependency",
    "spirit:fileSets", "spirit:generatorRef", "spirit:generatorChain", "spirit:generator",
    "spirit:componentGenerator", "spirit:abstractorGenerator", "spirit:groupSelector", "spirit:phase",
    "spirit:componentGenerators", "spirit:abstractorGenerators", "spirit:component", "spirit:bitsInLau",
    "spirit:busInterface", "spirit:busInterfaces", "spirit:group", "spirit:channels", "spirit:remapStates",
    "spirit:volatile", "spirit:access", "spirit:addressBlock", "spirit:addressSpaceRef",
    "spirit:addressSpaces", "spirit:memoryMapRef", "spirit:memoryMaps", "spirit:bank",
    "spirit:baseAddress", "spirit:addressUnitBits", "spirit:enumeratedValues", "spirit:registerFile",
    "spirit:model", "spirit:configurableElementValues", "spirit:configurableElementValue",
    "spirit:instanceName", "spirit:componentInstance", "spirit:componentInstances", "spirit:adHocConnection",
    "spirit:adHocConnections", "spirit:interconnection", "spirit:interconnections",
    "spirit:monitorInterconnection", "spirit:design", "spirit:designConfiguration", "spirit:presence",
    "spirit:abstractionDefinition", "spirit:abstractor",
};

std::string generator_script()
{
    return std::string(IPXACT_SOURCE_DIR) + "/tools/instancegen/instance_gen.py";
}

std::string ieee_schema()
{
    return corpus::official_schema();
}

std::string vendor_schema()
{
    return std::string(IPXACT_SOURCE_DIR) + "/schema/vorlix.xsd";
}

bool is_vendor_element(const std::string& root)
{
    return root.rfind("vorlix:", 0) == 0;
}

int positive_setting(const char* variable, int fallback)
{
    const char* text = std::getenv(variable);
    int value = text != nullptr ? std::atoi(text) : 0;
    return value > 0 ? value : fallback;
}

int documents_per_element()
{
    return positive_setting("IPXACT_RANDOM_COUNT", kDefaultCount);
}

int first_seed()
{
    return positive_setting("IPXACT_RANDOM_FIRST_SEED", kFirstSeed);
}

// Why the random documents cannot be made or checked here; empty when they can.
std::string missing_prerequisite()
{
    if (std::ifstream(ieee_schema()).fail())
        return "no IEEE 1685-2009 schema at " + ieee_schema();
    if (!roundtrip::have_python())
        return "python3 is not installed";
    if (!corpus::have_xmllint())
        return "xmllint is not installed";
    return {};
}

struct generated_document {
    std::string path;
    std::string root;
    int seed = 0;
};

// Runs the generator for one element; the manifest it writes lists the documents.
std::vector<generated_document> generate(const std::string& root, int count, const std::string& directory,
                                         std::string* complaint)
{
    std::string log = directory + "/generator.log";
    std::string command = "python3 " + roundtrip::shell_quoted(generator_script()) + " --element " + root + " --count " +
                          std::to_string(count) + " --first-seed " + std::to_string(first_seed()) +
                          " --out-dir " + roundtrip::shell_quoted(directory) + " --ieee " +
                          roundtrip::shell_quoted(std::string(IPXACT_SHARED_DIR) + "/ipxact-1685-2009") + " >" +
                          roundtrip::shell_quoted(log) + " 2>&1";
    std::vector<generated_document> documents;
    if (std::system(command.c_str()) != 0) {
        *complaint = corpus::read_file(log);
        return documents;
    }
    std::ifstream manifest(directory + "/manifest.tsv");
    std::string line;
    std::getline(manifest, line);  // column names
    while (std::getline(manifest, line)) {
        std::stringstream fields(line);
        std::string file, element, schema, seed;
        std::getline(fields, file, '\t');
        std::getline(fields, element, '\t');
        std::getline(fields, schema, '\t');
        std::getline(fields, seed, '\t');
        documents.push_back({directory + "/" + file, element, std::atoi(seed.c_str())});
    }
    return documents;
}

// Both schemas must accept a standard document (the vendor schema imports the standard one and
// also checks the vendor blocks in open content); the vendor schema accepts a vendor document. What
// the binding writes is checked against the vendor schema alone: it names the type of every vendor
// reference with xsi:type, which only a validator that knows the vendor schema resolves.
std::map<std::string, std::string> failures_against_schemas(const std::string& root,
                                                            const std::vector<std::string>& files,
                                                            const std::string& directory, bool written = false)
{
    std::map<std::string, std::string> failures =
        roundtrip::schema_failures(vendor_schema(), files, directory + "/xmllint-vendor.log");
    if (!is_vendor_element(root) && !written) {
        for (const auto& failure : roundtrip::schema_failures(ieee_schema(), files, directory + "/xmllint-ieee.log"))
            failures[failure.first] += failure.second;
    }
    return failures;
}

class RandomDocumentsOfEveryGlobalElement : public ::testing::TestWithParam<const char*> {
protected:
    void SetUp() override
    {
        std::string missing = missing_prerequisite();
        if (!missing.empty())
            GTEST_SKIP() << missing;
        ASSERT_FALSE(m_scratch.path().empty()) << "cannot make a scratch directory";
        std::string complaint;
        m_documents = generate(GetParam(), documents_per_element(), m_scratch.path(), &complaint);
        ASSERT_EQ(complaint, "");
        ASSERT_EQ(m_documents.size(), static_cast<size_t>(documents_per_element()));
    }

    void report(const std::string& what, const std::string& path, const std::string& detail)
    {
        m_scratch.keep();
        if (++m_failures <= kFailuresShownPerElement)
            ADD_FAILURE() << path << ": " << what << "\n" << detail;
    }

    void TearDown() override
    {
        if (m_failures > kFailuresShownPerElement)
            ADD_FAILURE() << m_failures << " failures in all, kept in " << m_scratch.path();
    }

    std::vector<std::string> paths() const
    {
        std::vector<std::string> found;
        for (const generated_document& document : m_documents)
            found.push_back(document.path);
        return found;
    }

    roundtrip::scratch_directory m_scratch;
    std::vector<generated_document> m_documents;
    int m_failures = 0;
};

TEST_P(RandomDocumentsOfEveryGlobalElement, AreValidAgainstTheirSchemas)
{
    for (const auto& failure : failures_against_schemas(GetParam(), paths(), m_scratch.path()))
        report("the generator wrote a document the schema refuses", failure.first, failure.second);
}

TEST_P(RandomDocumentsOfEveryGlobalElement, ReadWriteBackValidAndReadBackEqual)
{
    std::vector<std::pair<std::string, std::string>> written;
    for (const generated_document& document : m_documents) {
        roundtrip::result result = roundtrip::read_write_read(document.path, document.root);
        if (!result.failure.empty()) {
            report(result.failure, document.path, "");
            continue;
        }
        std::string output = document.path.substr(0, document.path.size() - 4) + ".out.xml";
        std::ofstream(output, std::ios::binary) << result.output;
        written.emplace_back(document.path, output);
    }
    std::vector<std::string> outputs;
    for (const auto& pair : written)
        outputs.push_back(pair.second);
    for (const auto& failure : failures_against_schemas(GetParam(), outputs, m_scratch.path(), true))
        report("the written document is not schema-valid", failure.first, failure.second);
    for (const roundtrip::difference& difference : roundtrip::canonical_differences(written, m_scratch.path())) {
        bool accepted =
            roundtrip::is_lexical_normalisation(difference.kind) || roundtrip::is_typed_slot_order(difference.kind);
        if (!accepted)
            report("written back with a difference of kind \"" + difference.kind + "\"", difference.input,
                   difference.detail);
    }
}

std::string test_name(const ::testing::TestParamInfo<const char*>& info)
{
    std::string name = info.param;
    name[name.find(':')] = '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(GlobalElements, RandomDocumentsOfEveryGlobalElement, ::testing::ValuesIn(kGlobalElements),
                         test_name);

TEST(RandomDocumentGenerator, SameSeedGivesTheSameDocumentAndAnotherSeedAnother)
{
    std::string missing = missing_prerequisite();
    if (!missing.empty())
        GTEST_SKIP() << missing;
    roundtrip::scratch_directory scratch;
    auto draw = [&](int seed, const std::string& name) {
        std::string path = scratch.path() + "/" + name;
        std::string command = "python3 " + roundtrip::shell_quoted(generator_script()) +
                              " --element spirit:component --seed " + std::to_string(seed) + " -o " +
                              roundtrip::shell_quoted(path);
        EXPECT_EQ(std::system(command.c_str()), 0);
        return corpus::read_file(path);
    };
    std::string first = draw(7, "a.xml");
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(draw(7, "b.xml"), first);
    EXPECT_NE(draw(8, "c.xml"), first);
}

}  // namespace

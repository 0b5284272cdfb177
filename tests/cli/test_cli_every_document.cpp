// Every command over every document we can lay hands on: the real corpus, and random schema-valid
// documents of every global element of both schemas. A command may report faults, never abort; on a
// document the schema accepts, info and format succeed and check finds no fault in reading it (the
// semantic rules may still find errors a random document makes: a register outside its block).
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "corpus.h"
#include "roundtrip_support.h"

namespace {

constexpr int kDocumentsPerElement = 3;
constexpr int kFailuresShown = 10;

struct outcome {
    bool exited;  // false when the process ended by a signal (an abort, a crash)
    int status;
    std::string out;
    std::string err;
};

outcome run_command(const std::string& arguments, const std::string& scratch)
{
    std::string out = scratch + "/stdout";
    std::string err = scratch + "/stderr";
    std::string command = roundtrip::shell_quoted(IPXACT_CLI) + " " + arguments + " >" + roundtrip::shell_quoted(out) + " 2>" +
                          roundtrip::shell_quoted(err) + " </dev/null";
    int raw = std::system(command.c_str());
    return {WIFEXITED(raw) && WEXITSTATUS(raw) < 128, WIFEXITED(raw) ? WEXITSTATUS(raw) : -1,
            corpus::read_file(out), corpus::read_file(err)};
}

// check exits 1 on semantic errors too; what must not happen on a valid document is a fault in reading it.
bool succeeded(const std::string& arguments, const outcome& o)
{
    if (o.status == 0)
        return true;
    return arguments.rfind("check ", 0) == 0 && o.status == 1 && o.out.find(", 0 with faults") != std::string::npos;
}

class every_command {
public:
    explicit every_command(const std::string& scratch) : m_scratch(scratch) {}

    // `valid`: the schema accepts the document, so every command must succeed.
    void over(const std::string& path, bool valid)
    {
        const std::string file = roundtrip::shell_quoted(path);
        const std::string out = roundtrip::shell_quoted(m_scratch + "/formatted.xml");
        for (const std::string& arguments : {"info " + file, "check " + file, "format " + file + " -o " + out}) {
            outcome o = run_command(arguments, m_scratch);
            if (!o.exited)
                fail("ipxact " + arguments + " did not exit (status " + std::to_string(o.status) + ")", o.err);
            else if (valid && !succeeded(arguments, o))
                fail("ipxact " + arguments + " failed on a schema-valid document", o.out + o.err);
        }
    }

    int failures() const { return m_failures; }

private:
    void fail(const std::string& what, const std::string& err)
    {
        if (++m_failures <= kFailuresShown)
            ADD_FAILURE() << what << "\n" << err;
    }

    std::string m_scratch;
    int m_failures = 0;
};

TEST(CliOnEveryDocument, NoCorpusDocumentAbortsACommand)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "no corpus at " << corpus::directory();
    roundtrip::scratch_directory scratch;
    every_command commands(scratch.path());
    for (const corpus::document& d : documents)
        commands.over(d.path, d.schema_valid);
    EXPECT_EQ(commands.failures(), 0);
}

TEST(CliOnEveryDocument, RandomDocumentsOfEveryGlobalElementPassEveryCommand)
{
    if (std::ifstream(corpus::official_schema()).fail())
        GTEST_SKIP() << "no IEEE 1685-2009 schema at " << corpus::official_schema();
    if (!roundtrip::have_python())
        GTEST_SKIP() << "python3 is not installed";
    roundtrip::scratch_directory scratch;
    const std::string directory = scratch.path() + "/documents";
    const std::string log = scratch.path() + "/generator.log";
    std::string generate = "python3 " + roundtrip::shell_quoted(std::string(IPXACT_SOURCE_DIR) + "/tools/instancegen/instance_gen.py") +
                           " --all --count " + std::to_string(kDocumentsPerElement) + " --out-dir " +
                           roundtrip::shell_quoted(directory) + " --ieee " +
                           roundtrip::shell_quoted(std::string(IPXACT_SHARED_DIR) + "/ipxact-1685-2009") + " >" +
                           roundtrip::shell_quoted(log) + " 2>&1";
    ASSERT_EQ(std::system(generate.c_str()), 0) << corpus::read_file(log);

    std::ifstream manifest(directory + "/manifest.tsv");
    std::string line;
    std::getline(manifest, line);  // column names
    std::vector<std::string> roots;
    every_command commands(scratch.path());
    while (std::getline(manifest, line)) {
        std::stringstream fields(line);
        std::string file, root;
        std::getline(fields, file, '\t');
        std::getline(fields, root, '\t');
        if (roots.empty() || roots.back() != root)
            roots.push_back(root);
        commands.over(directory + "/" + file, true);
    }
    EXPECT_EQ(roots.size(), 100u) << "every global element of both schemas";
    if (commands.failures() > 0)
        scratch.keep();
    EXPECT_EQ(commands.failures(), 0) << "documents kept in " << scratch.path();
}

}  // namespace

// What the round-trip tests over many documents share: a scratch directory, one read-write-read
// through the root dispatcher, batched schema checks and canonical comparison by tools/xmlcanon.py.
#ifndef IPXACT_TESTS_SPIRIT_ROUNDTRIP_SUPPORT_H
#define IPXACT_TESTS_SPIRIT_ROUNDTRIP_SUPPORT_H

#include <map>
#include <string>
#include <vector>

namespace roundtrip {

std::string shell_quoted(const std::string& text);

class scratch_directory {
public:
    scratch_directory();
    ~scratch_directory();
    scratch_directory(const scratch_directory&) = delete;
    scratch_directory& operator=(const scratch_directory&) = delete;

    // Empty when no directory could be made.
    const std::string& path() const { return m_path; }
    // A failing run leaves its documents behind for a look.
    void keep() { m_keep = true; }

private:
    std::string m_path;
    bool m_keep = false;
};

struct result {
    std::string failure;  // empty when the document read back equal
    std::string output;   // the document as written
};

// Reads the file through HIPGSTop, checks that its root is `expected_root` (when given), writes it,
// and reads the output back into a second object that must be == to the first.
result read_write_read(const std::string& path, const std::string& expected_root = "");

// Runs xmllint once over all files; maps each refused file to xmllint's messages about it.
std::map<std::string, std::string> schema_failures(const std::string& schema, const std::vector<std::string>& files,
                                                   const std::string& log);

struct difference {
    std::string input;
    std::string kind;    // "number spelling", "value", "element only in output", ...
    std::string detail;  // path, input value, output value
};

// tools/xmlcanon.py over (input, output) pairs, one process for all of them; the schemas tell it the
// element defaults, the declared types and which values collapse whitespace.
std::vector<difference> canonical_differences(const std::vector<std::pair<std::string, std::string>>& pairs,
                                              const std::string& directory);

// The kinds of difference that only respell an equal value (docs/design.md, "Round-trip differences").
bool is_lexical_normalisation(const std::string& kind);
// What the binding is required to change: the typed vendor slot goes first in spirit:vendorExtensions.
bool is_typed_slot_order(const std::string& kind);

bool have_python();

}  // namespace roundtrip

#endif

// Error codes, the debug record and the exceptions of the lmx60 runtime.
#ifndef IPXACT_LMX60_LMX60_ERROR_H
#define IPXACT_LMX60_LMX60_ERROR_H

#include <exception>
#include <string>

namespace lmx60 {

typedef int elmx_error;

// Codes are stable: hosts compare against them and tests pin them.
enum {
    ELMX_OK = 0,
    ELMX_NO_FILE = 1,                  // a file could not be opened for reading or writing
    ELMX_NOT_WELL_FORMED = 2,          // the XML parser rejected the document
    ELMX_ENCODING_ERROR = 3,           // bytes that are not text in the declared encoding
    ELMX_LIMIT_EXCEEDED = 4,           // nesting depth, entity expansion or size bound reached
    ELMX_EXTERNAL_ENTITY = 5,          // the document asked for an external resource
    ELMX_NO_ROOT = 6,                  // no element where a document element was expected
    ELMX_ELEMENT_NOT_FOUND = 7,        // writing: a required child or a choice is empty
    ELMX_UNEXPECTED_ELEMENT = 8,       // an element the content model does not allow here
    ELMX_UNEXPECTED_ATTRIBUTE = 9,     // an attribute the element does not allow
    ELMX_UNEXPECTED_TEXT = 10,         // character data inside element-only content
    ELMX_BAD_VALUE = 11,               // text that is not a value of the built-in type
    ELMX_DUPLICATE_ATTRIBUTE = 12,
    ELMX_BAD_CHARACTER = 13,           // writing: a character that XML 1.0 cannot carry
    ELMX_WRITE_FAILED = 14,            // writing: the output stream failed
    ELMX_UNDEFINED_NAMESPACE = 15,
    ELMX_WRONG_ELEMENT = 16,           // the document element is not the one expected
    ELMX_TOO_MANY_ITEMS = 17,          // reading: more occurrences than the content model allows
    ELMX_EMPTY_LIST = 20,              // a list value with no items
    ELMX_REQUIRED_ELEMENT_MISSING = 21,
    ELMX_PATTERN_FACET = 22,
    ELMX_REQUIRED_ATTRIBUTE_MISSING = 25,
    ELMX_OCCURRENCE_ERROR = 26,        // writing: member count outside its occurrence bounds
    ELMX_NO_CHOICE_ALTERNATIVE = 31,
    ELMX_VALUE_FACET = 36,             // a length or bound facet failed
    ELMX_CONSTRAINT_VALUE = 37,
    ELMX_ENUMERATION_FACET = 38,
    ELMX_INTERNAL = 40,                // an object state the writer cannot express
    ELMX_PENDING = 42                  // stands in an out-parameter until an operation returns
};

// Text for a code, or null for a code the runtime does not know.
const char* get_error_description(elmx_error code);

struct s_debug_error {
    elmx_error error = ELMX_OK;
    std::string item_name;
    const char* source_file = nullptr;
    int source_line = 0;
    int document_line = -1;

    void set(elmx_error code, const std::string& item, const char* file, int line, int docLine);
    void clear();
    // "line 12: expected element missing (spirit:name)"
    std::string to_string() const;
};

// The record of the last fault met by a reader without a handler of its own (and writer-side faults
// with no writer record at hand). One per thread, so that documents read in parallel do not write
// each other's record.
extern thread_local s_debug_error debug_error;

class lmx_exception : public std::exception {
public:
    explicit lmx_exception(const char* text) : m_text(text) {}
    const char* what() const noexcept override { return m_text; }

private:
    const char* m_text;
};

class c_lmx_exception : public lmx_exception {
public:
    c_lmx_exception(elmx_error code, int line)
        : lmx_exception("lmx60 error"), m_code(code), m_line(line) {}
    elmx_error get_error() const { return m_code; }
    int get_line() const { return m_line; }

private:
    elmx_error m_code;
    int m_line;
};

class c_lmx_exception_with_name : public c_lmx_exception {
public:
    c_lmx_exception_with_name(elmx_error code, int line, const std::string& name)
        : c_lmx_exception(code, line), m_name(name) {}
    const std::string& get_name() const { return m_name; }

private:
    std::string m_name;
};

// Thrown through the reading code to unwind to the entry point that was called.
class c_lmx_reader_exception : public c_lmx_exception {
public:
    using c_lmx_exception::c_lmx_exception;
};

}  // namespace lmx60

#endif

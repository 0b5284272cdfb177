// Pull reader over an XML document, namespace-aware, built on libxml2's text reader.
#ifndef IPXACT_LMX60_C_XML_READER_H
#define IPXACT_LMX60_C_XML_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_types.h>

namespace lmx60 {

class c_any_info;

// A host may install this to see every fault; returning 0 carries on, any other code stops reading.
using reader_error_handler = std::function<elmx_error(elmx_error code, const std::string& item, int line)>;

class c_xml_reader {
public:
    enum token { tok_start, tok_end, tok_eof };

    virtual ~c_xml_reader();
    c_xml_reader(const c_xml_reader&) = delete;
    c_xml_reader& operator=(const c_xml_reader&) = delete;

    void set_ns_map(const s_ns_map* map);
    const s_ns_map* get_ns_map() const { return m_ns_map; }

    // Moves to the document element. Faults go through capture_error.
    elmx_error read_document_element();

    token current() const { return m_token; }
    // Namespace id of the current element per the namespace map: 0 for a namespace the map does not
    // know, -1 for no namespace.
    int element_ns_id() const { return m_element_ns_id; }
    const char* element_local_name() const { return m_element_local; }
    size_t element_local_length() const { return m_element_local_length; }
    const char* element_ns_uri() const;
    std::string element_qname() const;
    bool element_is(int nsId, const char* local) const;
    int line() const;

    // Attributes of the current start tag; namespace declarations are not reported.
    bool first_attribute();
    bool next_attribute();
    int attribute_ns_id() const { return m_attribute_ns_id; }
    const char* attribute_local_name() const;
    const char* attribute_ns_uri() const;
    const char* attribute_value() const;
    std::string attribute_qname() const;

    // From a start tag to its first child start tag or its own end tag.
    void enter();
    // From an end tag (or a skipped/captured element) to the next start or end tag.
    void advance();
    // From a start tag: the element's character content; child elements are a fault. Ends on the end tag.
    void read_text(std::string* text);
    // From a start tag: passes over the whole element. Ends logically on its end tag.
    void skip_element();
    // From a start tag: keeps the whole element as XML text with the namespaces it uses.
    void capture_element(c_any_info* out);

    // Records the fault and asks the handler what to do; with no handler a non-zero code unwinds
    // the read with c_lmx_reader_exception.
    elmx_error capture_error(elmx_error code, const std::string& item, const char* file, int line);
    void set_error_handler(reader_error_handler handler) { m_handler = std::move(handler); }
    bool has_error_handler() const { return static_cast<bool>(m_handler); }
    const s_debug_error& get_debug_error() const { return m_debug; }
    void get_error_message(std::string* text) const { *text = m_debug.to_string(); }

    // The name of what is being read, used in diagnostics. A name given as a pointer is borrowed and
    // must outlive its use (the generated tables' names do); a std::string is copied.
    void set_current_item(const char* name) { m_item = name ? name : ""; }
    void set_current_item(const std::string& name)
    {
        m_item_copy = name;
        m_item = m_item_copy.c_str();
    }
    const char* get_current_item() const { return m_item; }
    bool current_item_is_copy() const { return m_item == m_item_copy.c_str(); }
    const std::string& get_source_name() const { return m_source_name; }

    // The value of an attribute of the current start tag, found by namespace URI and local name.
    bool find_attribute(const char* nsUri, const char* local, std::string* value) const;
    // Counts the tokens passed so far, so that a caller can tell whether a step consumed anything.
    size_t token_count() const { return m_token_count; }

    // Resolves a prefix in the scope of the current element (for xsi:type values).
    bool get_namespace(const std::string& prefix, std::string* uri) const;
    int ns_id_of_uri(const char* uri) const;

protected:
    explicit c_xml_reader(const std::string& sourceName);
    void attach(void* textReader);
    // The first bytes of the input as they arrive, to find a byte-order mark.
    void note_leading_bytes(const char* data, size_t length);

private:
    bool read_node();  // false at the end of the input
    void note_text_end_line();
    void fail_from_parser();
    void take_element_name();
    void refuse_entity_reference();
    void refuse_external_subset();
    elmx_error capture_error_at(elmx_error code, const std::string& item, const char* file, int sourceLine,
                                int documentLine);
    void take_attribute_name();
    void skip_to_next_token();

    void* m_reader = nullptr;  // xmlTextReaderPtr; kept opaque so hosts need no libxml2 headers
    const s_ns_map* m_ns_map = nullptr;
    token m_token = tok_eof;
    size_t m_token_count = 0;
    bool m_virtual_end = false;      // the end of an empty element, which libxml2 does not report
    bool m_positioned_after = false; // libxml2 already stands past the element we passed over
    int m_text_end_line = 0;         // where the text just passed ends; 0 after anything else
    int m_element_ns_id = -1;
    const char* m_element_local = "";
    size_t m_element_local_length = 0;
    int m_attribute_ns_id = -1;
    // Namespace URIs are interned by libxml2, so the last lookups are cached by address.
    mutable const void* m_cached_uri[2] = {nullptr, nullptr};
    mutable int m_cached_id[2] = {0, 0};
    const char* m_item = "";
    std::string m_item_copy;
    std::string m_source_name;
    s_debug_error m_debug;
    reader_error_handler m_handler;
    std::string m_leading_bytes;
    struct parser_fault {
        int code = 0;
        int line = 0;
        std::string message;
    } m_fault;
    friend void record_parser_fault(void*, void*);
};

struct c_read_memory {
    const char* data;
    size_t length;
    c_read_memory(const char* d, size_t n) : data(d), length(n) {}
};

class c_xml_reader_memory : public c_xml_reader {
public:
    explicit c_xml_reader_memory(const c_read_memory& memory, const std::string& sourceName = "<unspecified>");
    c_xml_reader_memory(const char* data, size_t length, const std::string& sourceName = "<unspecified>");
};

// Reads a file through our own file handle, so libxml2 never resolves the name itself.
class c_xml_reader_file : public c_xml_reader {
public:
    explicit c_xml_reader_file(const char* fileName);
    ~c_xml_reader_file() override;
    bool is_open() const { return m_file != nullptr; }

private:
    static int read_chunk(void* self, char* buffer, int length);

    void* m_file = nullptr;
};

// Saves the reader's item name on entry and restores it on exit, also when reading unwinds.
class c_xml_reader_local {
public:
    explicit c_xml_reader_local(c_xml_reader& reader)
        : m_reader(reader), m_item(reader.get_current_item()), m_is_copy(reader.current_item_is_copy())
    {
        if (m_is_copy)
            m_copy = m_item;
    }
    ~c_xml_reader_local()
    {
        if (m_is_copy)
            m_reader.set_current_item(m_copy);
        else
            m_reader.set_current_item(m_item);
    }
    c_xml_reader_local(const c_xml_reader_local&) = delete;
    c_xml_reader_local& operator=(const c_xml_reader_local&) = delete;

private:
    c_xml_reader& m_reader;
    const char* m_item;
    bool m_is_copy;
    std::string m_copy;  // only when the saved name was itself a copy, which may be overwritten
};

}  // namespace lmx60

#endif

// Pull reader over an XML document, namespace-aware, fed by libxml2's SAX2 push parser.
#ifndef IPXACT_LMX60_C_XML_READER_H
#define IPXACT_LMX60_C_XML_READER_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/lmx60/lmx60_types.h>

namespace lmx60 {

class c_any_info;

// A host may install this to see every fault; returning 0 carries on, any other code stops reading.
using reader_error_handler = std::function<elmx_error(elmx_error code, const std::string& item, int line)>;
// Told of each element the reader moves onto, with its nesting level (1 for the document element),
// namespace URI (null for none), local name and line; elements passed over inside skip_element or
// capture_element are not reported.
using element_observer = std::function<void(size_t level, const char* nsUri, const char* local, int line)>;

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
    // Elements open at the current token, the current element included; an end tag still counts the
    // element it closes. Tells a driver whether the reader is back on the end tag of the element it read.
    size_t nesting_level() const { return m_scope_marks.size(); }

    // The same moves for code written by hand against event maps. Before anything was read, the next
    // tag is the document element.
    //
    // exae_element moves to the next tag, as enter() and advance() do, and returns the event the map
    // gives a start tag's name (EVENT_UNKNOWN when the map, or a null map, has none), EVENT_END_TAG or
    // EVENT_END_OF_DOCUMENT. exae_attribute moves to the next attribute of the current start tag not yet
    // tokenised (first_attribute() and next_attribute() move there too) and returns its event, or
    // EVENT_NO_MORE_ATTRIBUTES. Faults go through capture_error.
    int tokenise(const s_event_map* map, elxp_attr_elem what);
    // tokenise(map, exae_element) with the fault as a value: *error is 0 or the code that stopped the
    // read, and *name the qualified name of the start tag reached, empty for anything else.
    int get_element_event(const s_event_map* map, elmx_error* error, std::string* name);
    int get_element_event(elmx_error* error, std::string* name) { return get_element_event(nullptr, error, name); }
    // read_text() with the whitespace rule of the value's type applied; returns the code that stopped
    // the read, or 0.
    elmx_error get_element_value(std::string* value, elmx_whitespace whitespace);

    // Records the fault and asks the handler what to do; with no handler a non-zero code unwinds
    // the read with c_lmx_reader_exception.
    elmx_error capture_error(elmx_error code, const std::string& item, const char* file, int line);
    // The same for a fault at another line of the document than the reader's own (one found in a
    // copy of an element read again on its own).
    elmx_error capture_error_at(elmx_error code, const std::string& item, const char* file, int sourceLine,
                                int documentLine);
    void set_error_handler(reader_error_handler handler) { m_handler = std::move(handler); }
    bool has_error_handler() const { return static_cast<bool>(m_handler); }
    // Lets a host note where elements stand (a line index for its own diagnostics) while a document
    // is read into objects.
    void set_element_observer(element_observer observer) { m_observer = std::move(observer); }
    // Told of each element inside an element captured whole (capture_element), which the element
    // observer does not see; during the call find_attribute() answers for that inner element.
    void set_captured_observer(element_observer observer) { m_captured_observer = std::move(observer); }
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
    // Whether the current start tag has attributes (namespace declarations are none).
    bool has_attributes() const { return m_current_kind == token_kind::start && m_current_attribute_count > 0; }
    // Counts the tokens passed so far, so that a caller can tell whether a step consumed anything.
    size_t token_count() const { return m_token_count; }
    // One number a host works out from the current token and keeps until the reader moves on: a
    // binding asks which of its elements the current one is at each level of nested content, and
    // the answer does not change while the reader stands still.
    bool token_note(int* value) const
    {
        if (m_note_token != m_token_count)
            return false;
        *value = m_note;
        return true;
    }
    void set_token_note(int value)
    {
        m_note_token = m_token_count;
        m_note = value;
    }
    // One number a host works out from the current element's name (namespace and local name) and
    // keeps for the rest of the document. The parser interns names for the reader's life, so a name
    // met again is the same pointer and its note is found without looking at the text.
    bool name_note(int* value) const
    {
        const name_note_slot& slot = m_name_notes[name_note_index()];
        if (slot.local != m_element_local || slot.ns_id != m_element_ns_id)
            return false;
        *value = slot.value;
        return true;
    }
    void set_name_note(int value) { m_name_notes[name_note_index()] = {m_element_local, m_element_ns_id, value}; }

    // Resolves a prefix in the scope of the current element (for xsi:type values), then among the
    // mappings added by the host.
    bool get_namespace(const std::string& prefix, std::string* uri) const;
    // Binds a prefix for get_namespace where the document itself does not: a fragment read on its own
    // (a captured element) may hold values whose prefixes were declared around it. The document's own
    // declarations win; a later mapping of the same prefix replaces an earlier one. An empty prefix is
    // the default namespace. The parser still requires the names of elements and attributes to be
    // declared in the document.
    void add_namespace_mapping(const std::string& prefix, const std::string& uri);
    int ns_id_of_uri(const char* uri) const;

protected:
    explicit c_xml_reader(const std::string& sourceName);
    // A source calls this once its input can be read; without it the reader reports no file.
    void input_available() { m_input_available = true; }
    // The next piece of the input, a few kilobytes; false at its end. The bytes stay valid until the
    // next call.
    virtual bool next_input(const char** data, size_t* length) = 0;
    // The first bytes of the input as they arrive, to find a byte-order mark.
    void note_leading_bytes(const char* data, size_t length);

private:
    // libxml2's push parser turns each piece of input into tokens through SAX2 callbacks; the pull
    // interface above consumes them. Names are libxml2 dictionary strings, which live as long as the
    // parser; attribute values and texts are copied into m_arena. Consumed tokens are dropped whenever
    // a piece is fed, so the buffers hold a piece or two of input.
    enum class token_kind : unsigned char { start, end, text, reference, comment, instruction, doctype, fault };
    struct token_record {
        token_kind kind;
        int line;           // for an end tag, the line of its start tag
        const char* local;  // start tags only
        const char* prefix;
        const char* uri;
        size_t first;       // start tags: first attribute; others: offset in m_arena
        size_t count;       // start tags: attribute count; others: length in m_arena
        size_t first_ns;    // start tags: their namespace declarations
        size_t ns_count;
        size_t offset;      // how far into the input the parser stood when it made the token
    };
    struct attribute_record {
        const char* local;
        const char* prefix;
        const char* uri;
        size_t value_offset;
        size_t value_length;
    };
    struct ns_binding {
        const char* prefix;  // nullptr for the default namespace
        const char* uri;
    };
    struct parser_fault {
        int code = 0;
        int line = 0;
        size_t offset = 0;
        std::string message;
    };
    struct sax_events;
    friend struct sax_events;
    friend class c_xml_local;

    // Producing tokens (called from libxml2's callbacks).
    void feed();
    void drop_consumed_tokens();
    void start_parser(const char* data, size_t length);
    int parser_line() const;
    size_t parser_offset() const;
    void push_token(token_kind kind, int line, const char* text, size_t length);
    void push_start(const char* local, const char* prefix, const char* uri, int nbNamespaces,
                    const char** namespaces, int nbAttributes, const char** attributes);
    token_record& new_token(token_kind kind, int line);
    void push_end();
    void push_text(const char* text, size_t length);
    void push_fault(int code, int line, const std::string& message);
    void stop_with_fault(int code, int line, const char* message);
    void append_attribute_value(const char* value, size_t length);
    void append_resolved(std::string* out, const char* value, size_t length);
    // A namespace name as the document means it: libxml2 hands one containing "&" over with the
    // character reference still in it ("&#38;"), as it does attribute values.
    const char* declared_uri(const char* uri);
    const char* resolved_uri(const char* uri) const;

    // Consuming tokens.
    bool token_available();
    void stop_at_fault_ahead();
    void finish_document();
    const token_record* take_token();
    const char* arena_text(size_t offset) const { return m_arena.data() + offset; }
    const attribute_record& current_attribute() const { return m_attributes[m_current_attributes + m_attribute_index]; }
    void take_element(const token_record& start);
    const char* find_in_scope(const char* prefix, size_t from, size_t to, bool* found) const;
    size_t write_start_tag(const token_record& start, std::string* xml, std::vector<ns_binding>* added, size_t rootMark);
    void observe_captured(const token_record& start);

    void fail_from_parser();
    void refuse_entity_reference(int documentLine);
    void refuse_external_subset(const token_record& doctype);
    void take_attribute_name();
    // ns_id_of_uri for the parser's interned URIs, whose addresses identify them.
    int interned_ns_id(const char* uri) const;
    void skip_to_next_token();
    void move_to_next_tag();
    int tokenise_element(const s_event_map* map);
    int tokenise_attribute(const s_event_map* map);

    void* m_parser = nullptr;  // xmlParserCtxtPtr; kept opaque so hosts need no libxml2 headers
    bool m_input_available = false;
    bool m_input_done = false;   // the parser has seen the end of the input, or a fault
    bool m_text_open = false;    // the last token is a text that the next piece of input may continue
    std::vector<token_record> m_tokens;
    std::vector<attribute_record> m_attributes;
    std::vector<ns_binding> m_declarations;
    std::unordered_map<const char*, std::string> m_resolved_uris;  // by the parser's interned name
    std::string m_arena;
    std::vector<int> m_open_lines;  // start lines of the elements the parser has open
    bool m_root_closed = false;     // the parser is past the end of the document element
    bool m_input_ending = false;    // the parser is told that the input has ended
    parser_fault m_pending_fault;   // the first fault, delivered when its token is consumed

    size_t m_next = 0;  // the next token to consume
    token_kind m_current_kind = token_kind::end;
    int m_current_line = 0;
    size_t m_current_attributes = 0;
    size_t m_current_attribute_count = 0;
    size_t m_attribute_index = 0;
    size_t m_next_tokenised_attribute = 0;
    std::vector<ns_binding> m_scope;   // declarations in scope of the current token
    std::vector<size_t> m_scope_marks; // where each open element's declarations begin in m_scope
    bool m_leave_scope = false;        // the current token is an end tag, whose scope ends on the next step
    std::vector<std::pair<std::string, std::string>> m_added_mappings;  // prefix, uri; by add_namespace_mapping

    const s_ns_map* m_ns_map = nullptr;
    token m_token = tok_eof;
    size_t m_token_count = 0;
    size_t m_note_token = static_cast<size_t>(-1);  // the token m_note belongs to
    int m_note = 0;
    struct name_note_slot {
        const char* local = nullptr;  // interned by the parser; null for an empty slot
        int ns_id = 0;
        int value = 0;
    };
    size_t name_note_index() const
    {
        return ((reinterpret_cast<uintptr_t>(m_element_local) >> 3) ^ static_cast<uintptr_t>(m_element_ns_id)) %
               (sizeof m_name_notes / sizeof m_name_notes[0]);
    }
    // A document uses a few hundred names at most; a slot taken by another name is simply replaced.
    name_note_slot m_name_notes[512];
    int m_element_ns_id = -1;
    const char* m_element_local = "";
    size_t m_element_local_length = 0;
    const char* m_element_prefix = nullptr;
    const char* m_element_uri = nullptr;
    int m_attribute_ns_id = -1;
    // Namespace URIs are interned by libxml2, so the last lookups are cached by address.
    mutable const void* m_cached_uri[2] = {nullptr, nullptr};
    mutable int m_cached_id[2] = {0, 0};
    const char* m_item = "";
    std::string m_item_copy;
    std::string m_source_name;
    s_debug_error m_debug;
    reader_error_handler m_handler;
    element_observer m_observer;
    element_observer m_captured_observer;
    std::string m_leading_bytes;
    parser_fault m_fault;  // the fault the read stopped on
};

// A qualified name met as a value ("spirit:portType" in xsi:type), split and resolved in the reader's
// scope where the value was read.
class c_cracked_name {
public:
    // Surrounding whitespace is dropped, as for any QName value.
    c_cracked_name(const c_xml_reader& reader, const std::string& qname);

    const std::string& get_local_name() const { return m_local_name; }
    // The id the reader's namespace map gives the name read as an element name, so an unprefixed name
    // is in the default namespace: -1 for no namespace, 0 for a namespace the map does not know and for
    // a prefix declared nowhere.
    int get_element_ns_id() const { return m_element_ns_id; }

private:
    std::string m_local_name;
    int m_element_ns_id;
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

private:
    bool next_input(const char** data, size_t* length) override;

    const char* m_data;
    size_t m_length;
    size_t m_offset = 0;
};

// Reads a file through our own file handle, so libxml2 never resolves the name itself.
class c_xml_reader_file : public c_xml_reader {
public:
    explicit c_xml_reader_file(const char* fileName);
    ~c_xml_reader_file() override;
    bool is_open() const { return m_file != nullptr; }
    // Size of the open file in bytes, from its descriptor; 0 when it is not open or cannot be told.
    uint64_t file_size() const;

private:
    bool next_input(const char** data, size_t* length) override;

    void* m_file = nullptr;
    std::string m_buffer;
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

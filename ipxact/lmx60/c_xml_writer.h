// Writes XML text onto a std::ostream, buffered, with the process-wide layout defaults.
#ifndef IPXACT_LMX60_C_XML_WRITER_H
#define IPXACT_LMX60_C_XML_WRITER_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/lmx60/lmx60_types.h>

namespace lmx60 {

class c_any_info;

using writer_error_handler = std::function<elmx_error(elmx_error code, const std::string& item, int line)>;

// The writer's view of one simple member: whether it holds a value, and the value as text. The text is
// escaped by the writer, so a bridge gives it as the host means it.
class c_untyped_marshal_bridge {
public:
    virtual bool is_value_set() const = 0;
    virtual std::string get_text() const = 0;

protected:
    ~c_untyped_marshal_bridge() = default;
};

class c_xml_writer {
public:
    enum { include_xml_decl = 1 };

    // The four texts are reserved for a custom declaration, stylesheet and namespace set; null keeps
    // the defaults.
    explicit c_xml_writer(std::ostream& os, int options = include_xml_decl, const char* = nullptr,
                          const char* = nullptr, const char* = nullptr, const char* = nullptr);
    ~c_xml_writer();
    c_xml_writer(const c_xml_writer&) = delete;
    c_xml_writer& operator=(const c_xml_writer&) = delete;

    static void set_default_nl(const std::string& text);
    static void set_default_tab(const std::string& text);
    static void set_default_attribute_nl(const std::string& text);
    static void set_default_attribute_tab(const std::string& text);

    // Element frame. The first element written also gets the declarations of the selected map.
    void start_element(const char* qname);
    void end_element(const char* qname);
    // A value is UTF-8 text; the writer escapes it and checks every character.
    elmx_error attribute(const char* qname, const std::string& value);
    elmx_error text(const std::string& value, const char* item);
    // A captured element, written as it was read.
    void any_element(const c_any_info& any);
    // One simple member as an element of its own, offering `map` for it; nothing when the member holds
    // no value. A null name fails the stream (code 14). A fault in the text comes back as its code, the
    // element still closed so that what follows stays well-formed.
    elmx_error marshal_element_impl(const char* name, c_untyped_marshal_bridge& bridge, const s_ns_map* map);

    // Offers the namespace map of the element about to be written, or of the one just started; only
    // the outermost element's counts. A map selected before the outermost element starts is declared
    // on it at once.
    void conditionally_select_ns_map(const s_ns_map* map);
    // For an element started before its map was offered: declares the selected map on the outermost
    // element's start tag, once, while that tag is still open. With `declareNested` a nested element
    // whose start tag is open also declares the bindings of the map last offered that are not in scope
    // there, for an element written inside content the writer did not declare (a host's own wrapper).
    void conditionally_write_ns_attrs(bool declareNested);
    // Declares prefix -> uri on the open start tag unless that binding is already in scope.
    void ensure_namespace(const char* prefix, const char* uri);

    // The derivation family id of the type expected where the next element is written (0: none).
    void set_expected_type(int typeId) { m_expected_type = typeId; }
    int get_expected_type() const { return m_expected_type; }

    // Records the fault; with no handler (or a handler that says stop) unwinds with c_lmx_exception_with_name.
    elmx_error capture_error(elmx_error code, const std::string& item, const char* file, int line);
    void set_error_handler(writer_error_handler handler) { m_handler = std::move(handler); }
    const s_debug_error& get_debug_error() const { return m_debug; }
    int depth() const { return static_cast<int>(m_open.size()); }

    // Sends buffered text to the stream; reports ELMX_WRITE_FAILED when the stream fails.
    elmx_error flush();
    // Marks the output as failed: what was asked cannot be written (an element without a name).
    void fail_stream();

private:
    void close_start_tag();
    void indent();
    void start_line_in_parent();
    bool write_escaped(const std::string& value, bool inAttribute);
    void write_ns_declarations(const s_ns_map* map);
    bool outermost_start_tag_open() const { return m_start_tag_open && m_open.size() == 1; }
    // The output line being written, counted from 1, so that a fault can say where it happened.
    int current_line() const;

    struct open_element {
        size_t ns_scope;      // size of m_ns_scope when the element opened
        bool has_children;    // element content written: its end tag is indented
    };

    std::ostream* m_os = nullptr;
    std::string m_buffer;
    std::string m_indentation;  // the tab, repeated for the deepest level written so far
    size_t m_flushed_line_breaks = 0;
    std::vector<open_element> m_open;
    std::vector<std::pair<std::string, std::string>> m_ns_scope;  // prefix, uri
    const s_ns_map* m_selected_map = nullptr;  // for the outermost element
    const s_ns_map* m_offered_map = nullptr;   // the last one offered, at any depth
    bool m_start_tag_open = false;
    bool m_wrote_root = false;
    bool m_root_declared = false;  // the selected map's declarations are written
    int m_expected_type = 0;
    s_debug_error m_debug;
    writer_error_handler m_handler;
};

}  // namespace lmx60

#endif

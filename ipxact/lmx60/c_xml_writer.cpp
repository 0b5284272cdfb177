#include <ipxact/lmx60/c_xml_writer.h>

#include <algorithm>
#include <cstring>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

namespace {

struct layout {
    std::string nl = "\n";
    std::string tab = "  ";
    std::string attribute_nl = " ";
    std::string attribute_tab;
};

layout& defaults()
{
    static layout value;
    return value;
}

const size_t kFlushThreshold = 1 << 16;

}  // namespace

void c_xml_writer::set_default_nl(const std::string& text) { defaults().nl = text; }
void c_xml_writer::set_default_tab(const std::string& text) { defaults().tab = text; }
void c_xml_writer::set_default_attribute_nl(const std::string& text) { defaults().attribute_nl = text; }
void c_xml_writer::set_default_attribute_tab(const std::string& text) { defaults().attribute_tab = text; }

c_xml_writer::c_xml_writer(std::ostream& os, int options, const char*, const char*, const char*, const char*)
    : m_os(&os)
{
    m_buffer.reserve(kFlushThreshold + 4096);
    if (options & include_xml_decl) {
        m_buffer += "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
        m_buffer += defaults().nl;
    }
}

c_xml_writer::~c_xml_writer()
{
    flush();
}

void c_xml_writer::fail_stream()
{
    m_os->setstate(std::ios::failbit);
}

elmx_error c_xml_writer::flush()
{
    if (!m_buffer.empty()) {
        m_flushed_line_breaks += static_cast<size_t>(std::count(m_buffer.begin(), m_buffer.end(), '\n'));
        m_os->write(m_buffer.data(), static_cast<std::streamsize>(m_buffer.size()));
        m_buffer.clear();
    }
    m_os->flush();
    return *m_os ? ELMX_OK : ELMX_WRITE_FAILED;
}

int c_xml_writer::current_line() const
{
    size_t pending = static_cast<size_t>(std::count(m_buffer.begin(), m_buffer.end(), '\n'));
    return static_cast<int>(1 + m_flushed_line_breaks + pending);
}

void c_xml_writer::indent()
{
    // One append per line: the indentation of the deepest level so far is kept whole.
    const std::string& tab = defaults().tab;
    size_t width = m_open.size() * tab.size();
    if (m_indentation.size() < width) {
        m_indentation.clear();
        for (size_t i = 0; i < m_open.size() + 8; ++i)
            m_indentation += tab;
    }
    m_buffer.append(m_indentation, 0, width);
}

void c_xml_writer::close_start_tag()
{
    if (!m_start_tag_open)
        return;
    m_buffer += '>';
    m_start_tag_open = false;
}

void c_xml_writer::start_line_in_parent()
{
    // A child closes its parent's start tag and begins a line of its own, indented to its depth.
    if (!m_open.empty()) {
        if (m_start_tag_open) {
            close_start_tag();
            m_buffer += defaults().nl;
        }
        m_open.back().has_children = true;
    }
    indent();
}

void c_xml_writer::start_element(const char* qname)
{
    start_line_in_parent();
    m_buffer += '<';
    m_buffer += qname;
    m_open.push_back({m_ns_scope.size(), false});
    m_start_tag_open = true;
    if (!m_wrote_root) {
        m_wrote_root = true;
        if (m_selected_map) {
            write_ns_declarations(m_selected_map);
            m_root_declared = true;
        }
    }
    if (m_buffer.size() > kFlushThreshold)
        flush();
}

void c_xml_writer::end_element(const char* qname)
{
    open_element closing = m_open.back();
    m_open.pop_back();
    m_ns_scope.resize(closing.ns_scope);
    if (m_start_tag_open) {
        m_buffer += "/>";
        m_start_tag_open = false;
    } else {
        if (closing.has_children) {
            indent();
        }
        m_buffer += "</";
        m_buffer += qname;
        m_buffer += '>';
    }
    m_buffer += defaults().nl;
}

void c_xml_writer::write_ns_declarations(const s_ns_map* map)
{
    for (; map && map->uri; ++map)
        ensure_namespace(map->prefix, map->uri);
}

void c_xml_writer::conditionally_select_ns_map(const s_ns_map* map)
{
    m_offered_map = map;
    if (!m_root_declared && (!m_wrote_root || outermost_start_tag_open()))
        m_selected_map = map;
}

void c_xml_writer::conditionally_write_ns_attrs(bool declareNested)
{
    if (outermost_start_tag_open()) {
        if (!m_root_declared && m_selected_map) {
            write_ns_declarations(m_selected_map);
            m_root_declared = true;
        }
    } else if (declareNested && m_start_tag_open) {
        write_ns_declarations(m_offered_map);
    }
}

void c_xml_writer::ensure_namespace(const char* prefix, const char* uri)
{
    // The innermost binding of the prefix decides: the same URI is in scope, another one is overridden.
    for (auto it = m_ns_scope.rbegin(); it != m_ns_scope.rend(); ++it) {
        if (it->first == prefix) {
            if (it->second == uri)
                return;
            break;
        }
    }
    m_ns_scope.emplace_back(prefix, uri);
    m_buffer += defaults().attribute_nl;
    m_buffer += defaults().attribute_tab;
    m_buffer += *prefix ? "xmlns:" : "xmlns";
    m_buffer += prefix;
    m_buffer += "=\"";
    if (!write_escaped(uri, true))
        capture_error(ELMX_BAD_CHARACTER, uri, __FILE__, __LINE__);
    m_buffer += '"';
}

elmx_error c_xml_writer::attribute(const char* qname, const std::string& value)
{
    m_buffer += defaults().attribute_nl;
    m_buffer += defaults().attribute_tab;
    m_buffer += qname;
    m_buffer += "=\"";
    bool clean = write_escaped(value, true);
    m_buffer += '"';
    if (!clean)
        return capture_error(ELMX_BAD_CHARACTER, qname, __FILE__, __LINE__);
    return ELMX_OK;
}

elmx_error c_xml_writer::text(const std::string& value, const char* item)
{
    close_start_tag();
    bool clean = write_escaped(value, false);
    if (m_buffer.size() > kFlushThreshold)
        flush();
    return clean ? ELMX_OK : capture_error(ELMX_BAD_CHARACTER, item ? item : "", __FILE__, __LINE__);
}

bool c_xml_writer::write_escaped(const std::string& value, bool inAttribute)
{
    const unsigned char* p = reinterpret_cast<const unsigned char*>(value.data());
    const unsigned char* end = p + value.size();
    const unsigned char* run = p;
    while (p < end) {
        unsigned char c = *p;
        if (const char* replacement = xml_escape(static_cast<char>(c), inAttribute)) {
            m_buffer.append(reinterpret_cast<const char*>(run), static_cast<size_t>(p - run));
            m_buffer += replacement;
            run = ++p;
            continue;
        }
        if (c >= 0x20 && c < 0x80) {
            ++p;
            continue;
        }
        size_t length = xml_char_length(p, end);
        if (length == 0) {
            m_buffer.append(reinterpret_cast<const char*>(run), static_cast<size_t>(p - run));
            return false;
        }
        p += length;
    }
    m_buffer.append(reinterpret_cast<const char*>(run), static_cast<size_t>(end - run));
    return true;
}

void c_xml_writer::any_element(const c_any_info& any)
{
    start_line_in_parent();
    m_buffer += any.get_xml();
    m_buffer += defaults().nl;
}

elmx_error c_xml_writer::marshal_element_impl(const char* name, c_untyped_marshal_bridge& bridge,
                                              const s_ns_map* map)
{
    if (!name) {
        fail_stream();
        return ELMX_WRITE_FAILED;
    }
    if (!bridge.is_value_set())
        return ELMX_OK;
    conditionally_select_ns_map(map);
    elmx_error result;
    try {
        // A declaration that fails leaves the element open, so it is closed below all the same.
        start_element(name);
        result = text(bridge.get_text(), name);
    } catch (const c_lmx_exception& fault) {
        result = fault.get_error();
    }
    end_element(name);
    return result;
}

elmx_error c_xml_writer::capture_error(elmx_error code, const std::string& item, const char* file, int line)
{
    if (code == ELMX_OK)
        return ELMX_OK;
    int outputLine = current_line();
    if (m_debug.error == ELMX_OK)
        m_debug.set(code, item, file, line, outputLine);
    if (m_handler) {
        elmx_error decision = m_handler(code, item, outputLine);
        if (decision == ELMX_OK)
            return ELMX_OK;
        code = decision;
    }
    debug_error.set(code, item, file, line, outputLine);
    throw c_lmx_exception_with_name(code, outputLine, item);
}

}  // namespace lmx60

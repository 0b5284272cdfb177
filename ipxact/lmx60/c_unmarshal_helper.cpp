#include <ipxact/lmx60/c_unmarshal_helper.h>

#include <cstring>

namespace lmx60 {

namespace {

const char* local_part(const char* qname)
{
    const char* colon = std::strchr(qname, ':');
    return colon ? colon + 1 : qname;
}

}  // namespace

elmx_error c_unmarshal_helper::unmarshal_complex_content(const char* name, int nsId)
{
    return unmarshal_element(name, nsId, content::complex);
}

elmx_error c_unmarshal_helper::unmarshal_simple_content(const char* name, int nsId)
{
    return unmarshal_element(name, nsId, content::simple);
}

elmx_error c_unmarshal_helper::unmarshal_empty_content(const char* name, int nsId)
{
    return unmarshal_element(name, nsId, content::empty);
}

bool c_unmarshal_helper::unmarshal_attribute(elmx_error*)
{
    return false;
}

void c_unmarshal_helper::unmarshal_attributes_check(elmx_error*) {}

// Asking for content a type has no step for is a mistake in the type, not in the document.
void c_unmarshal_helper::unmarshal_complex_body(elmx_error*)
{
    throw lmx_exception("complex content asked of a type that reads none");
}

void c_unmarshal_helper::unmarshal_simple_body(elmx_error*)
{
    throw lmx_exception("simple content asked of a type that reads none");
}

// The reader's faults unwind to here, so that a type written by hand gets them as codes.
elmx_error c_unmarshal_helper::unmarshal_element(const char* name, int nsId, content kind)
{
    if (!name)
        name = "";
    c_xml_reader_local scope(m_reader);
    m_reader.set_current_item(name);
    try {
        // Without a start tag there is no element to read, whatever a handler decides.
        if (m_reader.current() != c_xml_reader::tok_start)
            return m_reader.capture_error(ELMX_WRONG_ELEMENT, name, __FILE__, __LINE__);
        check_element(name, nsId);
        const size_t level = m_reader.nesting_level();
        elmx_error error = read_attributes();
        if (error == ELMX_OK)
            unmarshal_attributes_check(&error);
        if (error == ELMX_OK)
            error = read_content(kind, level);
        return error;
    } catch (const c_lmx_reader_exception& fault) {
        return fault.get_error();
    }
}

void c_unmarshal_helper::check_element(const char* name, int nsId)
{
    if (m_reader.element_ns_id() != nsId || std::strcmp(m_reader.element_local_name(), local_part(name)) != 0)
        m_reader.capture_error(ELMX_WRONG_ELEMENT, m_reader.element_qname(), __FILE__, __LINE__);
}

elmx_error c_unmarshal_helper::read_attributes()
{
    for (bool more = m_reader.first_attribute(); more; more = m_reader.next_attribute()) {
        elmx_error error = ELMX_OK;
        const bool taken = unmarshal_attribute(&error);
        if (error != ELMX_OK)
            return error;
        if (!taken && std::strcmp(m_reader.attribute_ns_uri(), kSchemaInstanceNamespace) != 0)
            m_reader.capture_error(ELMX_UNEXPECTED_ATTRIBUTE, m_reader.attribute_qname(), __FILE__, __LINE__);
    }
    return ELMX_OK;
}

elmx_error c_unmarshal_helper::read_content(content kind, size_t level)
{
    const size_t before = m_reader.token_count();
    elmx_error error = read_body(kind);
    if (error != ELMX_OK)
        return error;
    // Content the type left unread is judged like any other: text and elements become faults.
    if (m_reader.token_count() == before)
        m_reader.enter();
    finish_element(level);
    return ELMX_OK;
}

elmx_error c_unmarshal_helper::read_body(content kind)
{
    elmx_error error = ELMX_OK;
    if (kind == content::complex)
        unmarshal_complex_body(&error);
    else if (kind == content::simple)
        unmarshal_simple_body(&error);
    return error;
}

// Moves to the element's own end tag, reporting each child the body did not take.
void c_unmarshal_helper::finish_element(size_t level)
{
    for (;;) {
        const c_xml_reader::token token = m_reader.current();
        const size_t now = m_reader.nesting_level();
        if (token == c_xml_reader::tok_end && now == level)
            return;
        // Only a fault the body let pass can leave the document unfinished here.
        if (token == c_xml_reader::tok_eof) {
            m_reader.capture_error(ELMX_NOT_WELL_FORMED, m_reader.get_current_item(), __FILE__, __LINE__);
            return;
        }
        if (now <= level)
            throw lmx_exception("a body read past the end tag of its element");
        if (token == c_xml_reader::tok_start) {
            m_reader.capture_error(ELMX_UNEXPECTED_ELEMENT, m_reader.element_qname(), __FILE__, __LINE__);
            m_reader.skip_element();
        }
        m_reader.advance();
    }
}

}  // namespace lmx60

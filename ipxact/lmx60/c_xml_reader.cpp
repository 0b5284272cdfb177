#include <ipxact/lmx60/c_xml_reader.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include <libxml/xmlreader.h>
#include <libxml/xmlerror.h>

#include <ipxact/lmx60/c_any_info.h>

namespace lmx60 {

namespace {

// No network, no DTD loading, no entity substitution: a document can only ever reach its own bytes.
// CDATA is merged into text; COMPACT saves memory on the short texts IP-XACT is made of.
const int kParserOptions = XML_PARSE_NONET | XML_PARSE_NOCDATA | XML_PARSE_COMPACT;

xmlTextReaderPtr as_reader(void* p) { return static_cast<xmlTextReaderPtr>(p); }

bool is_blank(const xmlChar* text)
{
    for (; text && *text; ++text)
        if (*text != ' ' && *text != '\t' && *text != '\n' && *text != '\r')
            return false;
    return true;
}

elmx_error code_of_parser_fault(int code, const std::string& message)
{
    switch (code) {
    case XML_ERR_INVALID_CHAR:
    case XML_ERR_INVALID_ENCODING:
    case XML_ERR_UNSUPPORTED_ENCODING:
        return ELMX_ENCODING_ERROR;
    case XML_ERR_ENTITY_LOOP:
    case XML_ERR_NAME_TOO_LONG:
        return ELMX_LIMIT_EXCEEDED;
    case XML_ERR_DOCUMENT_EMPTY:
        return ELMX_NO_ROOT;
    case XML_NS_ERR_UNDEFINED_NAMESPACE:
        return ELMX_UNDEFINED_NAMESPACE;
    case XML_ERR_ATTRIBUTE_REDEFINED:
    case XML_NS_ERR_ATTRIBUTE_REDEFINED:
        return ELMX_DUPLICATE_ATTRIBUTE;
    default:
        break;
    }
    if (message.find("Excessive depth") != std::string::npos || message.find("huge") != std::string::npos ||
        message.find("Huge") != std::string::npos ||
        message.find("amplification") != std::string::npos)
        return ELMX_LIMIT_EXCEEDED;
    return ELMX_NOT_WELL_FORMED;
}

bool names_encoding(const char* declared, std::initializer_list<const char*> names)
{
    for (const char* name : names)
        if (xmlStrcasecmp(BAD_CAST declared, BAD_CAST name) == 0)
            return true;
    return false;
}

// libxml2 follows a byte-order mark and quietly overrides a declaration that names another encoding,
// so a mislabelled document would read as text its author never wrote.
bool declaration_agrees_with_mark(const std::string& leading, const char* declared)
{
    if (!declared)
        return true;
    if (leading.compare(0, 3, "\xEF\xBB\xBF") == 0)
        return names_encoding(declared, {"UTF-8", "UTF8"});
    if (leading.compare(0, 2, "\xFF\xFE") == 0)
        return names_encoding(declared, {"UTF-16", "UTF16", "UTF-16LE"});
    if (leading.compare(0, 2, "\xFE\xFF") == 0)
        return names_encoding(declared, {"UTF-16", "UTF16", "UTF-16BE"});
    return true;
}

}  // namespace

// Keeps the first fault libxml2 reports, with its line; warnings are ignored.
void record_parser_fault(void* context, void* errorPtr)
{
    auto* self = static_cast<c_xml_reader*>(context);
    auto* error = static_cast<xmlErrorPtr>(errorPtr);
    if (!error || error->level < XML_ERR_ERROR || self->m_fault.code != 0)
        return;
    self->m_fault.code = error->code;
    // Entity text is parsed on its own, so its faults carry lines within that text; the document's
    // parser still stands where the entity was referenced.
    int referenceLine = self->m_reader ? xmlTextReaderGetParserLineNumber(as_reader(self->m_reader)) : 0;
    self->m_fault.line = std::max(error->line, referenceLine);
    self->m_fault.message = error->message ? error->message : "";
    while (!self->m_fault.message.empty() && self->m_fault.message.back() == '\n')
        self->m_fault.message.pop_back();
}

static void structured_fault(void* context, xmlErrorPtr error)
{
    record_parser_fault(context, error);
}

int find_event(const s_event_map* map, int nsId, const char* name, size_t length)
{
    for (; map && map->name; ++map)
        if (map->ns_id == nsId && map->length == length && std::memcmp(map->name, name, length) == 0)
            return map->event;
    return EVENT_UNKNOWN;
}

c_xml_reader::c_xml_reader(const std::string& sourceName) : m_source_name(sourceName) {}

c_xml_reader::~c_xml_reader()
{
    if (m_reader)
        xmlFreeTextReader(as_reader(m_reader));
}

void c_xml_reader::attach(void* textReader)
{
    m_reader = textReader;
    if (m_reader)
        xmlTextReaderSetStructuredErrorHandler(as_reader(m_reader), structured_fault, this);
}

void c_xml_reader::note_leading_bytes(const char* data, size_t length)
{
    const size_t kMarkLength = 3;
    if (m_leading_bytes.size() < kMarkLength)
        m_leading_bytes.append(data, std::min(length, kMarkLength - m_leading_bytes.size()));
}

void c_xml_reader::set_ns_map(const s_ns_map* map)
{
    m_ns_map = map;
    m_cached_uri[0] = m_cached_uri[1] = nullptr;
}

int c_xml_reader::ns_id_of_uri(const char* uri) const
{
    if (!uri || !*uri)
        return -1;
    for (int i = 0; i < 2; ++i)
        if (m_cached_uri[i] == uri)
            return m_cached_id[i];
    int id = 0;
    for (const s_ns_map* entry = m_ns_map; entry && entry->uri; ++entry)
        if (std::strcmp(entry->uri, uri) == 0) {
            id = entry->id;
            break;
        }
    m_cached_uri[1] = m_cached_uri[0];
    m_cached_id[1] = m_cached_id[0];
    m_cached_uri[0] = uri;
    m_cached_id[0] = id;
    return id;
}

int c_xml_reader::line() const
{
    if (!m_reader)
        return 0;
    if (m_fault.code != 0 && m_fault.line > 0)
        return m_fault.line;
    xmlNodePtr node = xmlTextReaderCurrentNode(as_reader(m_reader));
    long nodeLine = node ? xmlGetLineNo(node) : -1;
    return nodeLine > 0 ? static_cast<int>(nodeLine) : xmlTextReaderGetParserLineNumber(as_reader(m_reader));
}

void c_xml_reader::fail_from_parser()
{
    if (m_fault.code == 0) {
        // libxml2 stopped without telling why: treat the input as truncated or unreadable.
        m_fault.code = XML_ERR_DOCUMENT_END;
        m_fault.line = m_reader ? xmlTextReaderGetParserLineNumber(as_reader(m_reader)) : 0;
    }
    std::string item = m_fault.message.empty() ? std::string(m_item) : m_fault.message;
    m_token = tok_eof;
    capture_error(code_of_parser_fault(m_fault.code, m_fault.message), item, __FILE__, __LINE__);
    // A continuing handler cannot resume a parser that has given up.
    throw c_lmx_reader_exception(code_of_parser_fault(m_fault.code, m_fault.message), line());
}

void c_xml_reader::note_text_end_line()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    int type = xmlTextReaderNodeType(r);
    m_text_end_line = 0;
    if (type != XML_READER_TYPE_TEXT && type != XML_READER_TYPE_WHITESPACE &&
        type != XML_READER_TYPE_SIGNIFICANT_WHITESPACE)
        return;
    // libxml2 dates a text node at the line its first run of characters ends on.
    xmlNodePtr node = xmlTextReaderCurrentNode(r);
    if (node)
        m_text_end_line = static_cast<int>(xmlGetLineNo(node));
}

bool c_xml_reader::read_node()
{
    note_text_end_line();
    int status = xmlTextReaderRead(as_reader(m_reader));
    if (status < 0 || m_fault.code != 0)
        fail_from_parser();
    if (status == 0)
        m_token = tok_eof;
    return status == 1;
}

void c_xml_reader::take_element_name()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    const xmlChar* local = xmlTextReaderConstLocalName(r);
    m_element_local = reinterpret_cast<const char*>(local ? local : BAD_CAST "");
    m_element_local_length = std::strlen(m_element_local);
    m_element_ns_id = ns_id_of_uri(reinterpret_cast<const char*>(xmlTextReaderConstNamespaceUri(r)));
}

void c_xml_reader::skip_to_next_token()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    ++m_token_count;
    for (;;) {
        if (m_positioned_after) {
            m_positioned_after = false;
            if (m_fault.code != 0)
                fail_from_parser();
        } else if (!read_node()) {
            return;
        }
        switch (xmlTextReaderNodeType(r)) {
        case XML_READER_TYPE_ELEMENT:
            m_token = tok_start;
            take_element_name();
            return;
        case XML_READER_TYPE_END_ELEMENT:
            m_token = tok_end;
            return;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
            if (!is_blank(xmlTextReaderConstValue(r))) {
                m_token = tok_start;  // report at the element that holds the text
                capture_error(ELMX_UNEXPECTED_TEXT, m_item, __FILE__, __LINE__);
            }
            break;
        case XML_READER_TYPE_ENTITY_REFERENCE:
            refuse_entity_reference();
            break;
        case XML_READER_TYPE_DOCUMENT_TYPE:
            refuse_external_subset();
            break;
        case XML_READER_TYPE_NONE:
            m_token = tok_eof;
            return;
        default:
            break;  // white space, comments, processing instructions, the document type
        }
    }
}

elmx_error c_xml_reader::read_document_element()
{
    if (!m_reader) {
        m_token = tok_eof;
        return capture_error(ELMX_NO_FILE, m_source_name, __FILE__, __LINE__);
    }
    skip_to_next_token();
    if (m_token != tok_start)
        return capture_error(ELMX_NO_ROOT, m_source_name, __FILE__, __LINE__);
    const char* declared = reinterpret_cast<const char*>(xmlTextReaderConstEncoding(as_reader(m_reader)));
    if (!declaration_agrees_with_mark(m_leading_bytes, declared)) {
        // The declaration can only stand on the first line.
        std::string item = std::string("encoding=\"") + declared + "\" after another byte-order mark";
        return capture_error_at(ELMX_ENCODING_ERROR, item, __FILE__, __LINE__, 1);
    }
    return ELMX_OK;
}

const char* c_xml_reader::element_ns_uri() const
{
    const xmlChar* uri = xmlTextReaderConstNamespaceUri(as_reader(m_reader));
    return uri ? reinterpret_cast<const char*>(uri) : "";
}

std::string c_xml_reader::element_qname() const
{
    const xmlChar* name = xmlTextReaderConstName(as_reader(m_reader));
    return name ? reinterpret_cast<const char*>(name) : "";
}

bool c_xml_reader::element_is(int nsId, const char* local) const
{
    return m_token == tok_start && m_element_ns_id == nsId && std::strcmp(m_element_local, local) == 0;
}

void c_xml_reader::take_attribute_name()
{
    m_attribute_ns_id = ns_id_of_uri(attribute_ns_uri());
}

bool c_xml_reader::first_attribute()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    for (int status = xmlTextReaderMoveToFirstAttribute(r); status == 1; status = xmlTextReaderMoveToNextAttribute(r))
        if (!xmlTextReaderIsNamespaceDecl(r)) {
            take_attribute_name();
            return true;
        }
    xmlTextReaderMoveToElement(r);
    return false;
}

bool c_xml_reader::next_attribute()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    while (xmlTextReaderMoveToNextAttribute(r) == 1)
        if (!xmlTextReaderIsNamespaceDecl(r)) {
            take_attribute_name();
            return true;
        }
    xmlTextReaderMoveToElement(r);
    return false;
}

const char* c_xml_reader::attribute_local_name() const
{
    const xmlChar* name = xmlTextReaderConstLocalName(as_reader(m_reader));
    return name ? reinterpret_cast<const char*>(name) : "";
}

const char* c_xml_reader::attribute_ns_uri() const
{
    const xmlChar* uri = xmlTextReaderConstNamespaceUri(as_reader(m_reader));
    return uri ? reinterpret_cast<const char*>(uri) : "";
}

const char* c_xml_reader::attribute_value() const
{
    const xmlChar* value = xmlTextReaderConstValue(as_reader(m_reader));
    return value ? reinterpret_cast<const char*>(value) : "";
}

std::string c_xml_reader::attribute_qname() const
{
    const xmlChar* name = xmlTextReaderConstName(as_reader(m_reader));
    return name ? reinterpret_cast<const char*>(name) : "";
}

void c_xml_reader::enter()
{
    if (xmlTextReaderIsEmptyElement(as_reader(m_reader))) {
        ++m_token_count;
        m_token = tok_end;
        m_virtual_end = true;
        return;
    }
    skip_to_next_token();
}

void c_xml_reader::advance()
{
    m_virtual_end = false;
    skip_to_next_token();
}

void c_xml_reader::read_text(std::string* text)
{
    text->clear();
    ++m_token_count;
    xmlTextReaderPtr r = as_reader(m_reader);
    if (xmlTextReaderIsEmptyElement(r)) {
        m_token = tok_end;
        m_virtual_end = true;
        return;
    }
    for (;;) {
        if (!read_node())
            fail_from_parser();
        switch (xmlTextReaderNodeType(r)) {
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
        case XML_READER_TYPE_WHITESPACE:
        case XML_READER_TYPE_SIGNIFICANT_WHITESPACE: {
            const xmlChar* value = xmlTextReaderConstValue(r);
            if (value)
                text->append(reinterpret_cast<const char*>(value));
            break;
        }
        case XML_READER_TYPE_END_ELEMENT:
            m_token = tok_end;
            return;
        case XML_READER_TYPE_ELEMENT:
            m_token = tok_start;
            take_element_name();
            capture_error(ELMX_UNEXPECTED_ELEMENT, element_qname(), __FILE__, __LINE__);
            skip_element();
            break;
        case XML_READER_TYPE_ENTITY_REFERENCE:
            refuse_entity_reference();
            break;
        default:
            break;
        }
    }
}

void c_xml_reader::skip_element()
{
    xmlTextReaderPtr r = as_reader(m_reader);
    ++m_token_count;
    if (xmlTextReaderIsEmptyElement(r)) {
        m_token = tok_end;
        m_virtual_end = true;
        return;
    }
    int status = xmlTextReaderNext(r);
    if (status < 0 || m_fault.code != 0)
        fail_from_parser();
    m_token = tok_end;
    m_positioned_after = true;
}

void c_xml_reader::capture_element(c_any_info* out)
{
    xmlTextReaderPtr r = as_reader(m_reader);
    // libxml2 writes letters outside ASCII in attribute values as character references when the
    // document declares no encoding, and as themselves when it does. The captured text must not hang
    // on the declaration, or one element read from two spellings of a document compares unequal.
    xmlNodePtr node = xmlTextReaderCurrentNode(r);
    if (node && node->doc && !node->doc->encoding)
        node->doc->encoding = xmlStrdup(BAD_CAST "UTF-8");
    xmlChar* xml = xmlTextReaderReadOuterXml(r);
    if (m_fault.code != 0) {
        xmlFree(xml);
        fail_from_parser();
    }
    out->set(element_ns_uri(), std::string(m_element_local, m_element_local_length),
             xml ? reinterpret_cast<const char*>(xml) : "");
    xmlFree(xml);
    skip_element();
}

elmx_error c_xml_reader::capture_error(elmx_error code, const std::string& item, const char* file, int sourceLine)
{
    return capture_error_at(code, item, file, sourceLine, line());
}

void c_xml_reader::refuse_entity_reference()
{
    // libxml2 gives a reference no line of its own, only its parent's; text just before the
    // reference ends on the reference's line.
    xmlNodePtr node = xmlTextReaderCurrentNode(as_reader(m_reader));
    long documentLine = m_text_end_line;
    if (documentLine <= 0 && node)
        documentLine = xmlGetLineNo(node);
    if (documentLine <= 0)
        documentLine = xmlTextReaderGetParserLineNumber(as_reader(m_reader));
    capture_error_at(ELMX_EXTERNAL_ENTITY, m_item, __FILE__, __LINE__, static_cast<int>(documentLine));
}

void c_xml_reader::refuse_external_subset()
{
    // An external subset is never loaded, so a document that relies on one cannot mean what it says.
    auto* dtd = reinterpret_cast<xmlDtdPtr>(xmlTextReaderCurrentNode(as_reader(m_reader)));
    if (!dtd || (!dtd->SystemID && !dtd->ExternalID))
        return;
    // libxml2 keeps no line for the document type; the element it declares follows it closely.
    long documentLine = -1;
    for (xmlNodePtr next = dtd->next; next && documentLine <= 0; next = next->next)
        documentLine = xmlGetLineNo(next);
    if (documentLine <= 0)
        documentLine = xmlTextReaderGetParserLineNumber(as_reader(m_reader));
    const xmlChar* named = dtd->SystemID ? dtd->SystemID : dtd->ExternalID;
    capture_error_at(ELMX_EXTERNAL_ENTITY, reinterpret_cast<const char*>(named), __FILE__, __LINE__,
                     static_cast<int>(documentLine));
}

elmx_error c_xml_reader::capture_error_at(elmx_error code, const std::string& item, const char* file, int sourceLine,
                                          int documentLine)
{
    if (code == ELMX_OK)
        return ELMX_OK;
    if (m_debug.error == ELMX_OK)
        m_debug.set(code, item, file, sourceLine, documentLine);
    if (m_handler) {
        elmx_error decision = m_handler(code, item, documentLine);
        if (decision != ELMX_OK)
            throw c_lmx_reader_exception(decision, documentLine);
        return ELMX_OK;
    }
    debug_error.set(code, item, file, sourceLine, documentLine);
    throw c_lmx_reader_exception(code, documentLine);
}

bool c_xml_reader::find_attribute(const char* nsUri, const char* local, std::string* value) const
{
    xmlChar* found = xmlTextReaderGetAttributeNs(as_reader(m_reader), BAD_CAST local, BAD_CAST nsUri);
    if (!found)
        return false;
    *value = reinterpret_cast<const char*>(found);
    xmlFree(found);
    return true;
}

bool c_xml_reader::get_namespace(const std::string& prefix, std::string* uri) const
{
    xmlChar* found = xmlTextReaderLookupNamespace(as_reader(m_reader),
                                                  prefix.empty() ? nullptr : BAD_CAST prefix.c_str());
    if (!found)
        return false;
    *uri = reinterpret_cast<const char*>(found);
    xmlFree(found);
    return true;
}

c_xml_reader_memory::c_xml_reader_memory(const c_read_memory& memory, const std::string& sourceName)
    : c_xml_reader_memory(memory.data, memory.length, sourceName)
{
}

c_xml_reader_memory::c_xml_reader_memory(const char* data, size_t length, const std::string& sourceName)
    : c_xml_reader(sourceName)
{
    note_leading_bytes(data ? data : "", length);
    // libxml2 takes an int length; larger inputs are refused rather than truncated.
    if (length <= static_cast<size_t>(INT32_MAX))
        attach(xmlReaderForMemory(data ? data : "", static_cast<int>(length), nullptr, nullptr, kParserOptions));
}

c_xml_reader_file::c_xml_reader_file(const char* fileName) : c_xml_reader(fileName ? fileName : "")
{
    FILE* file = fileName ? std::fopen(fileName, "rb") : nullptr;
    if (!file)
        return;
    m_file = file;
    attach(xmlReaderForIO(read_chunk, nullptr, this, nullptr, nullptr, kParserOptions));
}

int c_xml_reader_file::read_chunk(void* context, char* buffer, int length)
{
    auto* self = static_cast<c_xml_reader_file*>(context);
    auto* file = static_cast<FILE*>(self->m_file);
    size_t n = std::fread(buffer, 1, static_cast<size_t>(length), file);
    if (n == 0 && std::ferror(file))
        return -1;
    self->note_leading_bytes(buffer, n);
    return static_cast<int>(n);
}

c_xml_reader_file::~c_xml_reader_file()
{
    if (m_file)
        std::fclose(static_cast<FILE*>(m_file));
}

}  // namespace lmx60

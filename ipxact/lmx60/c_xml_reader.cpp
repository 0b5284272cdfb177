#include <ipxact/lmx60/c_xml_reader.h>

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include <libxml/SAX2.h>
#include <libxml/entities.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <ipxact/lmx60/c_any_info.h>
#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

namespace {

// No network, no DTD loading, no entity substitution: a document can only ever reach its own bytes.
// CDATA sections come to their own callback, which checks them and merges them into text.
const int kParserOptions = XML_PARSE_NONET | XML_PARSE_COMPACT;

// Pieces of this size keep the tokens waiting for the engine to a few hundred, whatever the document;
// small pieces also keep the token buffers in cache and out of the allocator's large blocks.
const size_t kPieceSize = 8 * 1024;

// libxml2's text reader, which this reader replaced, gave its parser the first 4 bytes and then
// pieces of 512; a fault within the piece it had parsed stopped the read before the node it returned.
const size_t kLookAheadStart = 4;
const size_t kLookAheadPiece = 512;

xmlParserCtxtPtr as_parser(void* p) { return static_cast<xmlParserCtxtPtr>(p); }

// The end of the piece of the text reader's grid that holds the byte before `offset`.
size_t end_of_look_ahead_piece(size_t offset)
{
    if (offset <= kLookAheadStart)
        return kLookAheadStart;
    return kLookAheadStart + (offset - kLookAheadStart + kLookAheadPiece - 1) / kLookAheadPiece * kLookAheadPiece;
}

// The reader whose parser is running on this thread. Entity text is parsed by a parser of its own that
// shares our callbacks; its faults must still reach the reader.
thread_local c_xml_reader* t_feeding = nullptr;

class feeding_scope {
public:
    explicit feeding_scope(c_xml_reader* reader) : m_saved(t_feeding) { t_feeding = reader; }
    ~feeding_scope() { t_feeding = m_saved; }
    feeding_scope(const feeding_scope&) = delete;
    feeding_scope& operator=(const feeding_scope&) = delete;

private:
    c_xml_reader* m_saved;
};

bool is_blank(const char* text, size_t length)
{
    for (size_t i = 0; i < length; ++i)
        if (text[i] != ' ' && text[i] != '\t' && text[i] != '\n' && text[i] != '\r')
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

const char* as_text(const xmlChar* text) { return reinterpret_cast<const char*>(text); }

void append_qname(std::string* out, const char* prefix, const char* local)
{
    if (prefix) {
        *out += prefix;
        *out += ':';
    }
    *out += local;
}

void append_declaration(std::string* out, const char* prefix, const char* uri)
{
    *out += prefix ? " xmlns:" : " xmlns";
    if (prefix)
        *out += prefix;
    *out += "=\"";
    append_xml_escaped(*out, uri, std::strlen(uri), true);
    *out += '"';
}

bool same_prefix(const char* a, const char* b)
{
    return a == b || (a && b && std::strcmp(a, b) == 0);
}

bool is_xml_prefix(const char* prefix) { return prefix && std::strcmp(prefix, "xml") == 0; }

}  // namespace

// libxml2's callbacks. Those of the document's own parser become tokens; entity text is parsed by a
// parser of its own, whose callbacks build libxml2's entity content as its tree builder would.
struct c_xml_reader::sax_events {
    // The reader a parser belongs to, known from the parser itself: asked for every event, so with
    // no look-up of a thread-local (a call into the loader from a shared library). libxml2 hands
    // the owner on to the parsers it makes for entity text, which are not ours.
    static c_xml_reader* owner(void* context)
    {
        auto* reader = context ? static_cast<c_xml_reader*>(static_cast<xmlParserCtxtPtr>(context)->_private) : nullptr;
        return reader && reader->m_parser == context ? reader : nullptr;
    }

    static void start_element(void* context, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri,
                              int nbNamespaces, const xmlChar** namespaces, int nbAttributes, int nbDefaulted,
                              const xmlChar** attributes)
    {
        c_xml_reader* reader = owner(context);
        if (!reader) {
            xmlSAX2StartElementNs(context, local, prefix, uri, nbNamespaces, namespaces, nbAttributes, nbDefaulted,
                                  attributes);
            return;
        }
        // Attributes defaulted by the internal subset are not part of what the document says.
        reader->push_start(as_text(local), as_text(prefix), as_text(uri), nbNamespaces,
                           reinterpret_cast<const char**>(namespaces), nbAttributes - nbDefaulted,
                           reinterpret_cast<const char**>(attributes));
    }

    static void end_element(void* context, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri)
    {
        c_xml_reader* reader = owner(context);
        if (!reader) {
            xmlSAX2EndElementNs(context, local, prefix, uri);
            return;
        }
        reader->push_end();
    }

    static void characters(void* context, const xmlChar* text, int length)
    {
        c_xml_reader* reader = owner(context);
        if (!reader) {
            xmlSAX2Characters(context, text, length);
            return;
        }
        reader->push_text(as_text(text), static_cast<size_t>(length));
    }

    // libxml2's incremental parser checks that a CDATA section holds characters XML allows, but
    // takes a character's overlong UTF-8 form (0xC1 0xB9 for 'y') as the character; such bytes are
    // not UTF-8, and a document holding them is not well-formed.
    static void cdata(void* context, const xmlChar* text, int length)
    {
        c_xml_reader* reader = owner(context);
        if (reader) {
            // The parser stands on the line where this piece of the section begins.
            int line = reader->parser_line();
            const unsigned char* end = text + length;
            for (const unsigned char* p = text; p < end;) {
                size_t character = xml_char_length(p, end);
                if (character == 0) {
                    reader->stop_with_fault(XML_ERR_INVALID_ENCODING, line, "Input is not proper UTF-8 in a CDATA section");
                    return;
                }
                line += *p == '\n' ? 1 : 0;
                p += character;
            }
        }
        characters(context, text, length);
    }

    static void reference(void* context, const xmlChar* name)
    {
        c_xml_reader* reader = owner(context);
        if (!reader) {
            xmlSAX2Reference(context, name);
            return;
        }
        std::string written = std::string("&") + as_text(name) + ";";
        reader->push_token(token_kind::reference, reader->parser_line(), written.data(), written.size());
    }

    static void comment(void* context, const xmlChar* value)
    {
        c_xml_reader* reader = owner(context);
        if (!reader || as_parser(context)->inSubset) {
            xmlSAX2Comment(context, value);
            return;
        }
        if (reader->m_root_closed)
            return;  // nothing after the document element is read, however long it goes on
        std::string written = std::string("<!--") + as_text(value) + "-->";
        reader->push_token(token_kind::comment, reader->parser_line(), written.data(), written.size());
    }

    static void instruction(void* context, const xmlChar* target, const xmlChar* data)
    {
        c_xml_reader* reader = owner(context);
        if (!reader || as_parser(context)->inSubset) {
            xmlSAX2ProcessingInstruction(context, target, data);
            return;
        }
        if (reader->m_root_closed)
            return;
        std::string written = std::string("<?") + as_text(target);
        if (data) {
            written += ' ';
            written += as_text(data);
        }
        written += "?>";
        reader->push_token(token_kind::instruction, reader->parser_line(), written.data(), written.size());
    }

    static void internal_subset(void* context, const xmlChar* name, const xmlChar* externalId, const xmlChar* systemId)
    {
        // The subset itself is built as usual: the entity declarations live there.
        xmlSAX2InternalSubset(context, name, externalId, systemId);
        c_xml_reader* reader = owner(context);
        if (!reader || (!externalId && !systemId))
            return;
        const char* named = as_text(systemId ? systemId : externalId);
        reader->push_token(token_kind::doctype, reader->parser_line(), named, std::strlen(named));
    }

    // Keeps the first fault libxml2 reports, with its line; warnings are ignored.
    static void fault(void*, xmlErrorPtr error)
    {
        c_xml_reader* reader = t_feeding;
        if (!reader || !error || error->level < XML_ERR_ERROR)
            return;
        // Entity text is parsed on its own, so its faults carry lines within that text; the document's
        // parser still stands where the entity was referenced.
        reader->push_fault(error->code, std::max(error->line, reader->parser_line()),
                           error->message ? error->message : "");
    }

    static xmlSAXHandler* handler()
    {
        static xmlSAXHandler events = [] {
            xmlSAXHandler h;
            std::memset(&h, 0, sizeof h);
            xmlSAXVersion(&h, 2);
            h.startElementNs = start_element;
            h.endElementNs = end_element;
            h.characters = characters;
            h.ignorableWhitespace = characters;
            h.cdataBlock = cdata;
            h.reference = reference;
            h.comment = comment;
            h.processingInstruction = instruction;
            h.internalSubset = internal_subset;
            h.serror = fault;
            return h;
        }();
        return &events;
    }
};

int find_event(const s_event_map* map, int nsId, const char* name, size_t length)
{
    for (; map && map->name; ++map)
        if (map->ns_id == nsId && map->length == length && std::memcmp(map->name, name, length) == 0)
            return map->event;
    return EVENT_UNKNOWN;
}

c_xml_reader::c_xml_reader(const std::string& sourceName) : m_source_name(sourceName)
{
    // A piece of input makes a few hundred tokens, and the buffer holds a piece or two: sized once
    // here, it is not regrown, and copied, a handful of times for every document.
    m_tokens.reserve(1024);
}

c_xml_reader::~c_xml_reader()
{
    if (!m_parser)
        return;
    xmlParserCtxtPtr parser = as_parser(m_parser);
    if (parser->myDoc)
        xmlFreeDoc(parser->myDoc);
    parser->myDoc = nullptr;
    xmlFreeParserCtxt(parser);
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
    for (const s_ns_map* entry = m_ns_map; entry && entry->uri; ++entry)
        if (std::strcmp(entry->uri, uri) == 0)
            return entry->id;
    return 0;
}

// A caller's text may reuse the address of another text it has let go, so only the parser's interned
// URIs are cached by address.
int c_xml_reader::interned_ns_id(const char* uri) const
{
    if (!uri || !*uri)
        return -1;
    for (int i = 0; i < 2; ++i)
        if (m_cached_uri[i] == uri)
            return m_cached_id[i];
    const int id = ns_id_of_uri(uri);
    m_cached_uri[1] = m_cached_uri[0];
    m_cached_id[1] = m_cached_id[0];
    m_cached_uri[0] = uri;
    m_cached_id[0] = id;
    return id;
}

int c_xml_reader::parser_line() const
{
    xmlParserCtxtPtr parser = as_parser(m_parser);
    return parser && parser->input ? parser->input->line : 0;
}

size_t c_xml_reader::parser_offset() const
{
    xmlParserCtxtPtr parser = as_parser(m_parser);
    if (!parser || !parser->input || !parser->input->cur || !parser->input->base)
        return 0;
    return static_cast<size_t>(parser->input->consumed) + static_cast<size_t>(parser->input->cur - parser->input->base);
}

int c_xml_reader::line() const
{
    if (m_fault.code != 0 && m_fault.line > 0)
        return m_fault.line;
    return m_current_line > 0 ? m_current_line : parser_line();
}

// ---- Producing tokens -------------------------------------------------------------------------------

void c_xml_reader::start_parser(const char* data, size_t length)
{
    // libxml2 guesses the encoding from the first four bytes, as its own readers do.
    const size_t head = std::min<size_t>(length, 4);
    xmlParserCtxtPtr parser = xmlCreatePushParserCtxt(sax_events::handler(), nullptr, data, static_cast<int>(head), nullptr);
    m_parser = parser;
    if (!parser) {
        push_fault(XML_ERR_NO_MEMORY, 0, "the parser could not be created");
        return;
    }
    parser->_private = this;
    xmlCtxtUseOptions(parser, kParserOptions);
    // Entity content parsed for checking is then owned by the entity, as for libxml2's own pull reader.
    parser->parseMode = XML_PARSE_READER;
    if (length > head)
        xmlParseChunk(parser, data + head, static_cast<int>(length - head), 0);
}

void c_xml_reader::feed()
{
    if (m_next > 0)
        drop_consumed_tokens();
    const char* data = "";
    size_t length = 0;
    const bool more = next_input(&data, &length);
    feeding_scope feeding(this);
    if (!m_parser) {
        start_parser(data, more ? length : 0);
        if (!m_parser)
            return;
    } else if (more) {
        xmlParseChunk(as_parser(m_parser), data, static_cast<int>(length), 0);
    }
    if (!more && !m_input_done) {
        m_input_ending = true;
        xmlParseChunk(as_parser(m_parser), nullptr, 0, 1);
        m_input_ending = false;
        m_input_done = true;
    }
}

// Moves the tokens not yet consumed, and what they hold, to the front of the buffers. The reader always
// looks a token or so ahead, so the buffers are never simply drained; this keeps them to a piece or two.
void c_xml_reader::drop_consumed_tokens()
{
    size_t arenaEnd = 0;
    size_t attributesEnd = 0;
    size_t declarationsEnd = 0;
    // Everything kept lies after everything dropped, in the same order, so moving it forward is safe.
    for (size_t i = m_next; i < m_tokens.size(); ++i) {
        token_record record = m_tokens[i];
        if (record.kind == token_kind::start) {
            for (size_t a = 0; a < record.count; ++a) {
                attribute_record attribute = m_attributes[record.first + a];
                std::memmove(&m_arena[arenaEnd], &m_arena[attribute.value_offset], attribute.value_length + 1);
                attribute.value_offset = arenaEnd;
                arenaEnd += attribute.value_length + 1;
                m_attributes[attributesEnd + a] = attribute;
            }
            record.first = attributesEnd;
            attributesEnd += record.count;
            for (size_t d = 0; d < record.ns_count; ++d)
                m_declarations[declarationsEnd + d] = m_declarations[record.first_ns + d];
            record.first_ns = declarationsEnd;
            declarationsEnd += record.ns_count;
        } else {
            std::memmove(&m_arena[arenaEnd], &m_arena[record.first], record.count);
            record.first = arenaEnd;
            arenaEnd += record.count;
        }
        m_tokens[i - m_next] = record;
    }
    m_tokens.resize(m_tokens.size() - m_next);
    m_arena.resize(arenaEnd);
    m_attributes.resize(attributesEnd);
    m_declarations.resize(declarationsEnd);
    m_next = 0;
}

// Tokens and attribute records are made where they are kept, field by field: one made aside and
// copied in is read back whole while its fields are still being written, which stalls the
// processor for every token of a document.
c_xml_reader::token_record& c_xml_reader::new_token(token_kind kind, int line)
{
    token_record& record = m_tokens.emplace_back();
    record.kind = kind;
    record.line = line;
    record.offset = parser_offset();
    return record;
}

void c_xml_reader::push_token(token_kind kind, int line, const char* text, size_t length)
{
    token_record& record = new_token(kind, line);
    record.first = m_arena.size();
    record.count = length;
    m_arena.append(text, length);
    m_text_open = false;
}

void c_xml_reader::push_fault(int code, int line, const std::string& message)
{
    if (m_pending_fault.code != 0)
        return;
    m_pending_fault.code = code;
    m_pending_fault.line = line;
    m_pending_fault.offset = parser_offset();
    m_pending_fault.message = message;
    // At the end of the input libxml2's incremental parser says "Extra content at the end of the
    // document" whatever is wrong; what is wrong is that the document element is missing or unclosed.
    if (m_input_ending && code == XML_ERR_DOCUMENT_END && !m_root_closed) {
        if (m_open_lines.empty()) {
            m_pending_fault.code = XML_ERR_DOCUMENT_EMPTY;
            m_pending_fault.message = "Document is empty";
        } else {
            m_pending_fault.code = XML_ERR_TAG_NOT_FINISHED;
            m_pending_fault.message = "Premature end of data: the element begun on line " +
                                      std::to_string(m_open_lines.back()) + " is not closed";
        }
    }
    while (!m_pending_fault.message.empty() && m_pending_fault.message.back() == '\n')
        m_pending_fault.message.pop_back();
    push_token(token_kind::fault, line, "", 0);
    // Nothing after a fault is read, so the rest of the input need not be parsed.
    m_input_done = true;
}

// Ends the parse with a fault of our own: the limits libxml2's tree builder enforces (without a tree
// they are ours to keep), and what its incremental parser lets through.
void c_xml_reader::stop_with_fault(int code, int line, const char* message)
{
    push_fault(code, line, message);
    xmlParserCtxtPtr parser = as_parser(m_parser);
    parser->disableSAX = 1;
    parser->instate = XML_PARSER_EOF;
}

void c_xml_reader::append_attribute_value(const char* value, size_t length)
{
    if (!std::memchr(value, '&', length))
        m_arena.append(value, length);
    else
        append_resolved(&m_arena, value, length);
}

// Without entity substitution libxml2 leaves "&#38;" and entity references in the value, for a tree
// to resolve; resolve them the same way.
void c_xml_reader::append_resolved(std::string* out, const char* value, size_t length)
{
    xmlParserCtxtPtr parser = as_parser(m_parser);
    xmlNodePtr nodes = xmlStringLenGetNodeList(parser->myDoc, BAD_CAST value, static_cast<int>(length));
    xmlChar* resolved = xmlNodeListGetString(parser->myDoc, nodes, 1);
    if (resolved)
        out->append(as_text(resolved));
    xmlFree(resolved);
    xmlFreeNodeList(nodes);
}

// The names of elements and attributes are the parser's interned strings of the declarations, so
// only a declared name needs looking at.
const char* c_xml_reader::declared_uri(const char* uri)
{
    if (!std::strchr(uri, '&'))
        return uri;
    std::string& resolved = m_resolved_uris[uri];
    if (resolved.empty())
        append_resolved(&resolved, uri, std::strlen(uri));
    return resolved.c_str();
}

const char* c_xml_reader::resolved_uri(const char* uri) const
{
    if (m_resolved_uris.empty() || !uri)
        return uri;
    auto known = m_resolved_uris.find(uri);
    return known == m_resolved_uris.end() ? uri : known->second.c_str();
}

void c_xml_reader::push_start(const char* local, const char* prefix, const char* uri, int nbNamespaces,
                              const char** namespaces, int nbAttributes, const char** attributes)
{
    const int line = parser_line();
    if (m_open_lines.size() > xmlParserMaxDepth) {
        stop_with_fault(XML_ERR_INTERNAL_ERROR, line, "Excessive depth in document: 256 use XML_PARSE_HUGE option");
        return;
    }
    const size_t firstDeclaration = m_declarations.size();
    for (int i = 0; i < nbNamespaces; ++i)
        m_declarations.push_back({namespaces[2 * i], namespaces[2 * i + 1] ? declared_uri(namespaces[2 * i + 1]) : ""});
    const size_t firstAttribute = m_attributes.size();
    for (int i = 0; i < nbAttributes; ++i) {
        const char** attribute = attributes + 5 * i;
        const size_t valueOffset = m_arena.size();
        append_attribute_value(attribute[3], static_cast<size_t>(attribute[4] - attribute[3]));
        attribute_record& stored = m_attributes.emplace_back();
        stored.local = attribute[0];
        stored.prefix = attribute[1];
        stored.uri = resolved_uri(attribute[2]);
        stored.value_offset = valueOffset;
        stored.value_length = m_arena.size() - valueOffset;
        m_arena.push_back('\0');
    }
    token_record& record = new_token(token_kind::start, line);
    record.local = local;
    record.prefix = prefix;
    record.uri = resolved_uri(uri);
    record.first = firstAttribute;
    record.count = static_cast<size_t>(nbAttributes);
    record.first_ns = firstDeclaration;
    record.ns_count = static_cast<size_t>(nbNamespaces);
    m_text_open = false;
    m_open_lines.push_back(line);
}

void c_xml_reader::push_end()
{
    new_token(token_kind::end, m_open_lines.empty() ? parser_line() : m_open_lines.back());
    if (!m_open_lines.empty())
        m_open_lines.pop_back();
    m_root_closed = m_open_lines.empty();
    m_text_open = false;
}

void c_xml_reader::push_text(const char* text, size_t length)
{
    if (!m_text_open) {
        // libxml2 dates a text at the line its first run of characters ends on.
        push_token(token_kind::text, parser_line(), text, length);
        m_text_open = true;
    } else {
        m_arena.append(text, length);
        m_tokens.back().count += length;
        m_tokens.back().offset = parser_offset();
    }
    if (m_tokens.back().count > XML_MAX_TEXT_LENGTH)
        stop_with_fault(XML_ERR_INTERNAL_ERROR, parser_line(), "huge text node");
}

// ---- Consuming tokens -------------------------------------------------------------------------------

bool c_xml_reader::token_available()
{
    for (;;) {
        const size_t pending = m_tokens.size() - m_next;
        // A text is handed on whole; the next piece of input may still continue it.
        const bool textMayGrow = pending == 1 && m_text_open && !m_input_done;
        if (pending > 0 && !textMayGrow)
            return true;
        if (m_input_done)
            return pending > 0;
        feed();
    }
}

const c_xml_reader::token_record* c_xml_reader::take_token()
{
    if (m_leave_scope) {
        if (m_scope.size() != m_scope_marks.back())
            m_scope.resize(m_scope_marks.back());
        m_scope_marks.pop_back();
        m_leave_scope = false;
    }
    // Most tokens are already waiting complete in the buffer.
    const bool waiting = m_next + 1 < m_tokens.size();
    if (!waiting && !token_available()) {
        m_current_kind = token_kind::end;
        m_current_line = 0;
        return nullptr;
    }
    if (m_tokens[m_next].kind == token_kind::end && m_scope_marks.size() == 1)
        finish_document();
    // Mostly the parser is already past the look-ahead horizon without a fault, which is cheap to see.
    const bool parsedPastHorizon =
        m_next + 1 < m_tokens.size() &&
        m_tokens.back().offset >= end_of_look_ahead_piece(m_tokens[m_next + 1].offset);
    if (m_pending_fault.code != 0 || !parsedPastHorizon)
        stop_at_fault_ahead();
    const token_record& record = m_tokens[m_next++];
    m_current_kind = record.kind;
    m_current_line = record.line;
    switch (record.kind) {
    case token_kind::start:
        m_scope_marks.push_back(m_scope.size());
        if (record.ns_count > 0)
            m_scope.insert(m_scope.end(), m_declarations.begin() + static_cast<ptrdiff_t>(record.first_ns),
                           m_declarations.begin() + static_cast<ptrdiff_t>(record.first_ns + record.ns_count));
        break;
    case token_kind::end:
        m_leave_scope = !m_scope_marks.empty();
        break;
    case token_kind::fault:
        m_fault = m_pending_fault;
        fail_from_parser();
        break;
    default:
        break;
    }
    return &record;
}

// A fault just ahead wins over the token about to be taken, as with the text reader: a document broken
// in one place fails with the parser's fault, not with what the broken markup looks like to the
// binding (a misspelt end tag would otherwise first show as an unknown element).
void c_xml_reader::stop_at_fault_ahead()
{
    if (m_tokens[m_next].kind == token_kind::fault)
        return;
    while (m_next + 1 >= m_tokens.size() && !m_input_done)
        feed();
    if (m_next + 1 >= m_tokens.size())
        return;
    // The text reader had parsed the piece that holds the token after the one it returned.
    const size_t horizon = end_of_look_ahead_piece(m_tokens[m_next + 1].offset);
    while (m_pending_fault.code == 0 && !m_input_done && parser_offset() < horizon)
        feed();
    if (m_pending_fault.code != 0 && m_pending_fault.offset <= horizon) {
        m_fault = m_pending_fault;
        fail_from_parser();
    }
}

// The document is only whole once what follows its element has been parsed too: a fault there fails
// the read that reaches the end of the document element.
void c_xml_reader::finish_document()
{
    while (!m_input_done)
        feed();
    if (m_pending_fault.code != 0) {
        m_fault = m_pending_fault;
        fail_from_parser();
    }
}

void c_xml_reader::fail_from_parser()
{
    if (m_fault.code == 0) {
        // libxml2 stopped without telling why: treat the input as truncated or unreadable.
        m_fault.code = XML_ERR_DOCUMENT_END;
        m_fault.line = parser_line();
    }
    std::string item = m_fault.message.empty() ? std::string(m_item) : m_fault.message;
    m_token = tok_eof;
    capture_error(code_of_parser_fault(m_fault.code, m_fault.message), item, __FILE__, __LINE__);
    // A continuing handler cannot resume a parser that has given up.
    throw c_lmx_reader_exception(code_of_parser_fault(m_fault.code, m_fault.message), line());
}

void c_xml_reader::take_element(const token_record& start)
{
    m_note_token = static_cast<size_t>(-1);
    m_element_local = start.local;
    m_element_local_length = std::strlen(start.local);
    m_element_prefix = start.prefix;
    m_element_uri = start.uri;
    m_element_ns_id = interned_ns_id(start.uri);
    m_current_attributes = start.first;
    m_current_attribute_count = start.count;
    m_attribute_index = 0;
    m_next_tokenised_attribute = 0;
    if (m_observer)
        m_observer(m_scope_marks.size(), start.uri, start.local, m_current_line);
}

void c_xml_reader::skip_to_next_token()
{
    ++m_token_count;
    for (;;) {
        const token_record* record = take_token();
        if (!record) {
            m_token = tok_eof;
            return;
        }
        switch (record->kind) {
        case token_kind::start:
            m_token = tok_start;
            take_element(*record);
            return;
        case token_kind::end:
            m_token = tok_end;
            return;
        case token_kind::text:
            if (!is_blank(arena_text(record->first), record->count)) {
                m_token = tok_start;  // report at the element that holds the text
                capture_error(ELMX_UNEXPECTED_TEXT, m_item, __FILE__, __LINE__);
            }
            break;
        case token_kind::reference:
            refuse_entity_reference(record->line);
            break;
        case token_kind::doctype:
            refuse_external_subset(*record);
            break;
        default:
            break;  // comments and processing instructions
        }
    }
}

elmx_error c_xml_reader::read_document_element()
{
    if (!m_input_available) {
        m_token = tok_eof;
        return capture_error(ELMX_NO_FILE, m_source_name, __FILE__, __LINE__);
    }
    skip_to_next_token();
    if (m_token != tok_start)
        return capture_error(ELMX_NO_ROOT, m_source_name, __FILE__, __LINE__);
    xmlParserCtxtPtr parser = as_parser(m_parser);
    const char* declared = parser->myDoc ? as_text(parser->myDoc->encoding) : nullptr;
    if (!declaration_agrees_with_mark(m_leading_bytes, declared)) {
        // The declaration can only stand on the first line.
        std::string item = std::string("encoding=\"") + declared + "\" after another byte-order mark";
        return capture_error_at(ELMX_ENCODING_ERROR, item, __FILE__, __LINE__, 1);
    }
    return ELMX_OK;
}

const char* c_xml_reader::element_ns_uri() const
{
    return m_element_uri ? m_element_uri : "";
}

std::string c_xml_reader::element_qname() const
{
    std::string name;
    append_qname(&name, m_element_prefix, m_element_local);
    return name;
}

bool c_xml_reader::element_is(int nsId, const char* local) const
{
    return m_token == tok_start && m_element_ns_id == nsId && std::strcmp(m_element_local, local) == 0;
}

void c_xml_reader::take_attribute_name()
{
    m_attribute_ns_id = interned_ns_id(current_attribute().uri);
}

bool c_xml_reader::first_attribute()
{
    m_attribute_index = 0;
    m_next_tokenised_attribute = 0;
    if (m_current_kind != token_kind::start || m_current_attribute_count == 0)
        return false;
    take_attribute_name();
    return true;
}

bool c_xml_reader::next_attribute()
{
    if (m_current_kind != token_kind::start || m_attribute_index + 1 >= m_current_attribute_count)
        return false;
    ++m_attribute_index;
    m_next_tokenised_attribute = m_attribute_index;
    take_attribute_name();
    return true;
}

const char* c_xml_reader::attribute_local_name() const
{
    return current_attribute().local;
}

const char* c_xml_reader::attribute_ns_uri() const
{
    const char* uri = current_attribute().uri;
    return uri ? uri : "";
}

const char* c_xml_reader::attribute_value() const
{
    return arena_text(current_attribute().value_offset);
}

std::string c_xml_reader::attribute_qname() const
{
    std::string name;
    append_qname(&name, current_attribute().prefix, current_attribute().local);
    return name;
}

void c_xml_reader::enter()
{
    skip_to_next_token();
}

void c_xml_reader::advance()
{
    skip_to_next_token();
}

void c_xml_reader::move_to_next_tag()
{
    if (m_token_count == 0)
        read_document_element();
    else
        skip_to_next_token();
}

int c_xml_reader::tokenise_element(const s_event_map* map)
{
    move_to_next_tag();
    switch (m_token) {
    case tok_start:
        return find_event(map, m_element_ns_id, m_element_local, m_element_local_length);
    case tok_end:
        return EVENT_END_TAG;
    default:
        return EVENT_END_OF_DOCUMENT;
    }
}

int c_xml_reader::tokenise_attribute(const s_event_map* map)
{
    if (m_current_kind != token_kind::start || m_next_tokenised_attribute >= m_current_attribute_count)
        return EVENT_NO_MORE_ATTRIBUTES;
    m_attribute_index = m_next_tokenised_attribute++;
    take_attribute_name();
    const char* local = current_attribute().local;
    return find_event(map, m_attribute_ns_id, local, std::strlen(local));
}

int c_xml_reader::tokenise(const s_event_map* map, elxp_attr_elem what)
{
    return what == exae_attribute ? tokenise_attribute(map) : tokenise_element(map);
}

int c_xml_reader::get_element_event(const s_event_map* map, elmx_error* error, std::string* name)
{
    name->clear();
    *error = ELMX_OK;
    int event;
    try {
        event = tokenise_element(map);
    } catch (const c_lmx_reader_exception& fault) {
        *error = fault.get_error();
        return EVENT_END_OF_DOCUMENT;
    }
    if (m_token == tok_start)
        *name = element_qname();
    return event;
}

elmx_error c_xml_reader::get_element_value(std::string* value, elmx_whitespace whitespace)
{
    try {
        read_text(value);
    } catch (const c_lmx_reader_exception& fault) {
        return fault.get_error();
    }
    apply_whitespace(*value, whitespace);
    return ELMX_OK;
}

void c_xml_reader::read_text(std::string* text)
{
    text->clear();
    ++m_token_count;
    if (m_current_kind != token_kind::start) {
        m_token = tok_end;
        return;
    }
    for (;;) {
        const token_record* record = take_token();
        if (!record)
            fail_from_parser();
        switch (record->kind) {
        case token_kind::text:
            text->append(arena_text(record->first), record->count);
            break;
        case token_kind::end:
            m_token = tok_end;
            return;
        case token_kind::start:
            m_token = tok_start;
            take_element(*record);
            capture_error(ELMX_UNEXPECTED_ELEMENT, element_qname(), __FILE__, __LINE__);
            skip_element();
            break;
        case token_kind::reference:
            refuse_entity_reference(record->line);
            break;
        default:
            break;
        }
    }
}

void c_xml_reader::skip_element()
{
    ++m_token_count;
    if (m_current_kind != token_kind::start) {
        m_token = tok_end;
        return;
    }
    for (size_t depth = 1; depth > 0;) {
        const token_record* record = take_token();
        if (!record)
            fail_from_parser();
        if (record->kind == token_kind::start)
            ++depth;
        else if (record->kind == token_kind::end)
            --depth;
    }
    m_token = tok_end;
}

const char* c_xml_reader::find_in_scope(const char* prefix, size_t from, size_t to, bool* found) const
{
    for (size_t i = to; i > from; --i)
        if (same_prefix(m_scope[i - 1].prefix, prefix)) {
            *found = true;
            return m_scope[i - 1].uri;
        }
    *found = false;
    return nullptr;
}

// Writes a start tag without its closing bracket; returns where its own declarations end. A name whose
// prefix is declared outside the captured element is added to `added`, for the captured element.
size_t c_xml_reader::write_start_tag(const token_record& start, std::string* xml, std::vector<ns_binding>* added,
                                   size_t rootMark)
{
    auto resolve = [&](const char* prefix, const char* uri) {
        if (!uri || is_xml_prefix(prefix))
            return;
        bool found = false;
        find_in_scope(prefix, rootMark, m_scope.size(), &found);
        for (size_t i = 0; i < added->size() && !found; ++i)
            found = same_prefix((*added)[i].prefix, prefix);
        if (found)
            return;
        const char* outer = find_in_scope(prefix, 0, rootMark, &found);
        added->push_back({prefix, found ? outer : uri});
    };
    *xml += '<';
    append_qname(xml, start.prefix, start.local);
    for (size_t i = 0; i < start.ns_count; ++i) {
        const ns_binding& declaration = m_declarations[start.first_ns + i];
        if (!is_xml_prefix(declaration.prefix))
            append_declaration(xml, declaration.prefix, declaration.uri);
    }
    // xsi:type names a type by a qualified name: the prefix in its value must stay declared too.
    auto resolve_type_prefix = [&](const attribute_record& attribute) {
        if (!attribute.uri || std::strcmp(attribute.uri, kSchemaInstanceNamespace) != 0 ||
            std::strcmp(attribute.local, "type") != 0)
            return;
        std::string_view value = trim_xml_whitespace(
            std::string_view(arena_text(attribute.value_offset), attribute.value_length));
        size_t colon = value.find(':');
        std::string_view prefix = colon == std::string_view::npos ? std::string_view() : value.substr(0, colon);
        for (size_t i = m_scope.size(); i > 0; --i) {
            const ns_binding& binding = m_scope[i - 1];
            if (prefix.empty() ? !binding.prefix : binding.prefix && prefix == binding.prefix) {
                resolve(binding.prefix, binding.uri);
                return;
            }
        }
    };
    const size_t declarationsEnd = xml->size();
    resolve(start.prefix, start.uri);
    for (size_t i = 0; i < start.count; ++i) {
        const attribute_record& attribute = m_attributes[start.first + i];
        resolve(attribute.prefix, attribute.uri);
        resolve_type_prefix(attribute);
        *xml += ' ';
        append_qname(xml, attribute.prefix, attribute.local);
        *xml += "=\"";
        append_xml_escaped(*xml, arena_text(attribute.value_offset), attribute.value_length, true);
        *xml += '"';
    }
    return declarationsEnd;
}

void c_xml_reader::observe_captured(const token_record& start)
{
    const size_t attributes = m_current_attributes;
    const size_t attributeCount = m_current_attribute_count;
    m_current_attributes = start.first;
    m_current_attribute_count = start.count;
    m_captured_observer(m_scope_marks.size(), start.uri, start.local, start.line);
    m_current_attributes = attributes;
    m_current_attribute_count = attributeCount;
}

void c_xml_reader::capture_element(c_any_info* out)
{
    const std::string uri = element_ns_uri();
    const std::string local(m_element_local, m_element_local_length);
    if (m_current_kind != token_kind::start) {
        out->set(uri, local, "");
        skip_element();
        return;
    }
    ++m_token_count;
    const size_t rootMark = m_scope_marks.back();
    std::string xml;
    std::vector<ns_binding> added;
    // Taking the tokens below moves the buffer that holds this one: what is needed of it later is
    // copied now.
    const token_record& root = m_tokens[m_next - 1];
    const int rootLine = root.line;
    // Declarations from outside go after the element's own, before its attributes.
    const size_t declarationsEnd = write_start_tag(root, &xml, &added, rootMark);
    std::vector<std::pair<const char*, const char*>> open{{root.prefix, root.local}};
    bool tagOpen = true;
    while (!open.empty()) {
        const token_record* record = take_token();
        if (!record)
            fail_from_parser();
        if (record->kind == token_kind::end) {
            if (tagOpen) {
                xml += "/>";
            } else {
                xml += "</";
                append_qname(&xml, open.back().first, open.back().second);
                xml += '>';
            }
            tagOpen = false;
            open.pop_back();
            continue;
        }
        if (tagOpen) {
            xml += '>';
            tagOpen = false;
        }
        switch (record->kind) {
        case token_kind::start:
            write_start_tag(*record, &xml, &added, rootMark);
            open.emplace_back(record->prefix, record->local);
            tagOpen = true;
            if (m_captured_observer)
                observe_captured(*record);
            break;
        case token_kind::text:
            append_xml_escaped(xml, arena_text(record->first), record->count, false);
            break;
        case token_kind::reference:
        case token_kind::comment:
        case token_kind::instruction:
            xml.append(arena_text(record->first), record->count);
            break;
        default:
            break;
        }
    }
    std::string outer;
    for (const ns_binding& declaration : added)
        append_declaration(&outer, declaration.prefix, declaration.uri);
    xml.insert(declarationsEnd, outer);
    m_token = tok_end;
    out->set(uri, local, xml);
    out->set_source_line(rootLine);
}

elmx_error c_xml_reader::capture_error(elmx_error code, const std::string& item, const char* file, int sourceLine)
{
    return capture_error_at(code, item, file, sourceLine, line());
}

void c_xml_reader::refuse_entity_reference(int documentLine)
{
    capture_error_at(ELMX_EXTERNAL_ENTITY, m_item, __FILE__, __LINE__, documentLine);
}

void c_xml_reader::refuse_external_subset(const token_record& doctype)
{
    // An external subset is never loaded, so a document that relies on one cannot mean what it says.
    const std::string named(arena_text(doctype.first), doctype.count);
    // The document type is reported where what follows it begins, normally the element it declares.
    int documentLine = token_available() ? m_tokens[m_next].line : parser_line();
    capture_error_at(ELMX_EXTERNAL_ENTITY, named, __FILE__, __LINE__, documentLine);
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
    if (m_current_kind != token_kind::start)
        return false;
    const bool wantsNamespace = nsUri && *nsUri;
    for (size_t i = 0; i < m_current_attribute_count; ++i) {
        const attribute_record& attribute = m_attributes[m_current_attributes + i];
        if (std::strcmp(attribute.local, local) != 0)
            continue;
        if (wantsNamespace ? attribute.uri && std::strcmp(attribute.uri, nsUri) == 0 : !attribute.uri) {
            value->assign(arena_text(attribute.value_offset), attribute.value_length);
            return true;
        }
    }
    return false;
}

bool c_xml_reader::get_namespace(const std::string& prefix, std::string* uri) const
{
    if (prefix == "xml") {
        *uri = as_text(XML_XML_NAMESPACE);
        return true;
    }
    bool found = false;
    const char* bound = find_in_scope(prefix.empty() ? nullptr : prefix.c_str(), 0, m_scope.size(), &found);
    if (found) {
        *uri = bound;
        return true;
    }
    for (auto added = m_added_mappings.rbegin(); added != m_added_mappings.rend(); ++added)
        if (added->first == prefix) {
            *uri = added->second;
            return true;
        }
    return false;
}

void c_xml_reader::add_namespace_mapping(const std::string& prefix, const std::string& uri)
{
    m_added_mappings.emplace_back(prefix, uri);
}

c_cracked_name::c_cracked_name(const c_xml_reader& reader, const std::string& qname) : m_element_ns_id(0)
{
    const std::string_view name = trim_xml_whitespace(qname);
    const size_t colon = name.find(':');
    const std::string prefix(colon == std::string_view::npos ? std::string_view() : name.substr(0, colon));
    m_local_name = std::string(colon == std::string_view::npos ? name : name.substr(colon + 1));
    std::string uri;
    if (reader.get_namespace(prefix, &uri))
        m_element_ns_id = reader.ns_id_of_uri(uri.c_str());
    else if (prefix.empty())
        m_element_ns_id = -1;
}

c_xml_reader_memory::c_xml_reader_memory(const c_read_memory& memory, const std::string& sourceName)
    : c_xml_reader_memory(memory.data, memory.length, sourceName)
{
}

c_xml_reader_memory::c_xml_reader_memory(const char* data, size_t length, const std::string& sourceName)
    : c_xml_reader(sourceName), m_data(data ? data : ""), m_length(data ? length : 0)
{
    note_leading_bytes(m_data, m_length);
    // libxml2 counts its input in int; larger inputs are refused rather than truncated.
    if (m_length <= static_cast<size_t>(INT32_MAX))
        input_available();
}

bool c_xml_reader_memory::next_input(const char** data, size_t* length)
{
    if (m_offset >= m_length)
        return false;
    *data = m_data + m_offset;
    *length = std::min(kPieceSize, m_length - m_offset);
    m_offset += *length;
    return true;
}

c_xml_reader_file::c_xml_reader_file(const char* fileName) : c_xml_reader(fileName ? fileName : "")
{
    FILE* file = fileName ? std::fopen(fileName, "rb") : nullptr;
    if (!file)
        return;
    m_file = file;
    input_available();
}

bool c_xml_reader_file::next_input(const char** data, size_t* length)
{
    m_buffer.resize(kPieceSize);
    size_t n = std::fread(&m_buffer[0], 1, m_buffer.size(), static_cast<FILE*>(m_file));
    // A read error ends the input; the parser then reports the document as cut short.
    if (n == 0)
        return false;
    note_leading_bytes(m_buffer.data(), n);
    *data = m_buffer.data();
    *length = n;
    return true;
}

uint64_t c_xml_reader_file::file_size() const
{
    struct stat status;
    if (!m_file || ::fstat(::fileno(static_cast<FILE*>(m_file)), &status) != 0)
        return 0;
    return static_cast<uint64_t>(status.st_size);
}

c_xml_reader_file::~c_xml_reader_file()
{
    if (m_file)
        std::fclose(static_cast<FILE*>(m_file));
}

}  // namespace lmx60

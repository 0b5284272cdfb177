#include "document_head.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSNamespaces.h>

namespace ipxact {
namespace catalog {

namespace {

constexpr const char* kIdentifierParts[4] = {"vendor", "library", "name", "version"};

// An identifier part longer than this is no identifier a catalog could index.
constexpr size_t kLongestPart = 64 * 1024;

// SAX state of one head parse; stops the parser once the head is known.
struct HeadParse {
    xmlParserCtxtPtr parser = nullptr;
    DocumentHead head;
    int depth = 0;
    int open_part = -1;  // the identifier part whose text is being gathered
    int next_part = 0;   // the parts come in their order, as the first children
    std::string text;
    bool done = false;

    void stop()
    {
        done = true;
        xmlStopParser(parser);
    }

    std::string* part(int index)
    {
        std::string* parts[4] = {&head.id.vendor, &head.id.library, &head.id.name, &head.id.version};
        return parts[index];
    }
};

// The parser is its own SAX context (as libxml2's default handlers expect); the state rides on it.
HeadParse& state_of(void* context) { return *static_cast<HeadParse*>(static_cast<xmlParserCtxtPtr>(context)->_private); }

const char* text_of(const xmlChar* text) { return text ? reinterpret_cast<const char*>(text) : ""; }

void start_element(void* context, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri, int,
                   const xmlChar**, int, int, const xmlChar**)
{
    HeadParse& state = state_of(context);
    if (state.done)
        return;
    ++state.depth;
    if (state.depth == 1) {
        state.head.uri = text_of(uri);
        state.head.local = text_of(local);
        state.head.line = xmlSAX2GetLineNumber(context);
        state.head.undeclared_prefix = prefix && !uri;
    } else if (state.depth == 2) {
        bool nextPart = state.next_part < 4 && std::strcmp(text_of(uri), HIPGSpirit::kSpiritNamespaceUri) == 0 &&
                        std::strcmp(text_of(local), kIdentifierParts[state.next_part]) == 0;
        if (!nextPart)
            return state.stop();
        state.open_part = state.next_part;
        state.text.clear();
    }
}

void end_element(void* context, const xmlChar*, const xmlChar*, const xmlChar*)
{
    HeadParse& state = state_of(context);
    if (state.done)
        return;
    if (state.depth == 2 && state.open_part >= 0) {
        // As the binding reads an identifier part (xs:NMTOKEN): white space collapsed.
        lmx60::apply_whitespace(state.text, lmx60::ews_collapse);
        *state.part(state.open_part) = std::move(state.text);
        state.open_part = -1;
        if (++state.next_part == 4)
            return state.stop();
    }
    if (--state.depth == 0)
        state.stop();
}

void characters(void* context, const xmlChar* text, int length)
{
    HeadParse& state = state_of(context);
    if (state.done || state.depth != 2 || state.open_part < 0)
        return;
    if (state.text.size() + static_cast<size_t>(length) > kLongestPart)
        return state.stop();
    state.text.append(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
}

// An entity of the document's own DTD inside an identifier part: its text is not at hand here, so
// the head gives no identifier rather than a wrong one.
void entity_reference(void* context, const xmlChar*)
{
    HeadParse& state = state_of(context);
    if (!state.done && state.depth == 2 && state.open_part >= 0)
        state.stop();
}

// The fault is already reported by the reading that failed.
void quiet(void*, xmlErrorPtr) {}

struct ParserRelease {
    void operator()(xmlParserCtxtPtr parser) const
    {
        xmlFreeDoc(parser->myDoc);
        xmlFreeParserCtxt(parser);
    }
};

struct FileClose {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

}  // namespace

DocumentHead read_head(const std::string& file, const std::string_view* text)
{
    xmlSAXHandler events;
    std::memset(&events, 0, sizeof events);
    xmlSAXVersion(&events, 2);  // the DTD and entity handlers of libxml2, for a document's own DTD
    events.startElementNs = start_element;
    events.endElementNs = end_element;
    events.characters = characters;
    events.reference = entity_reference;
    events.serror = quiet;

    std::unique_ptr<std::FILE, FileClose> input;
    if (!text) {
        // Read again only what can be read again: a pipe named as a file gave its bytes once.
        std::error_code error;
        if (!std::filesystem::is_regular_file(file, error))
            return {};
        input.reset(std::fopen(file.c_str(), "rb"));
        if (!input)
            return {};
    }
    // The first four bytes alone, from which libxml2 guesses the encoding; then pieces.
    char buffer[16384];
    size_t offset = 0;
    auto next_piece = [&](size_t most) -> std::string_view {
        if (text) {
            std::string_view piece = text->substr(std::min(offset, text->size()), most);
            offset += piece.size();
            return piece;
        }
        return std::string_view(buffer, std::fread(buffer, 1, std::min(most, sizeof buffer), input.get()));
    };

    HeadParse state;
    std::string_view first = next_piece(4);
    std::unique_ptr<xmlParserCtxt, ParserRelease> parser(
        xmlCreatePushParserCtxt(&events, nullptr, first.data(), static_cast<int>(first.size()), file.c_str()));
    if (!parser)
        return {};
    state.parser = parser.get();
    parser->_private = &state;
    xmlCtxtUseOptions(parser.get(), XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    while (!state.done) {
        std::string_view piece = next_piece(sizeof buffer);
        if (xmlParseChunk(parser.get(), piece.data(), static_cast<int>(piece.size()), piece.empty()) != 0 ||
            piece.empty())
            break;
    }
    return state.head;
}

}  // namespace catalog
}  // namespace ipxact

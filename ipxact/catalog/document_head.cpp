#include "document_head.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <cstdio>
#include <cstring>
#include <memory>

#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/spirit/HIPGSNamespaces.h>

namespace ipxact {
namespace catalog {

namespace {

constexpr const char* kIdentifierParts[4] = {"vendor", "library", "name", "version"};

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

HeadParse& state_of(void* context) { return *static_cast<HeadParse*>(context); }

const char* text_of(const xmlChar* text) { return text ? reinterpret_cast<const char*>(text) : ""; }

void start_element(void* context, const xmlChar* local, const xmlChar*, const xmlChar* uri, int, const xmlChar**, int,
                   int, const xmlChar**)
{
    HeadParse& state = state_of(context);
    if (state.done)
        return;
    ++state.depth;
    if (state.depth == 1) {
        state.head.uri = text_of(uri);
        state.head.local = text_of(local);
        state.head.line = xmlSAX2GetLineNumber(state.parser);
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
        *state.part(state.open_part) = std::string(lmx60::trim_xml_whitespace(state.text));
        state.open_part = -1;
        if (++state.next_part == 4) {
            const Vlnv& id = state.head.id;
            state.head.has_id = !id.vendor.empty() && !id.library.empty() && !id.name.empty() && !id.version.empty();
            return state.stop();
        }
    }
    if (--state.depth == 0)
        state.stop();
}

void characters(void* context, const xmlChar* text, int length)
{
    HeadParse& state = state_of(context);
    if (!state.done && state.depth == 2 && state.open_part >= 0)
        state.text.append(reinterpret_cast<const char*>(text), static_cast<size_t>(length));
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
    events.initialized = XML_SAX2_MAGIC;
    events.startElementNs = start_element;
    events.endElementNs = end_element;
    events.characters = characters;
    events.serror = quiet;

    std::unique_ptr<std::FILE, FileClose> input;
    if (!text) {
        input.reset(std::fopen(file.c_str(), "rb"));
        if (!input)
            return {};
    }
    // Pieces as the reader takes them; the first four bytes alone, from which libxml2 guesses the
    // encoding.
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
        xmlCreatePushParserCtxt(&events, &state, first.data(), static_cast<int>(first.size()), file.c_str()));
    if (!parser)
        return {};
    state.parser = parser.get();
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

// The floor for a reader built on each XML parser we consider: one pass over a document that looks at
// every element and attribute name, namespace URI, attribute value and text value, and does nothing
// else.
//
//   parser_floor [--sax2 | --expat] [--repeat N] FILE
//
// The default walks libxml2's pull reader (xmlTextReader), fed through an fread callback with the
// parser options of our reader. --sax2 drives libxml2's SAX2 callbacks with the same options (what
// our reader sits on); --expat drives expat, namespace-aware, fed 64 KB at a time.
// Each repetition prints one line of key=value pairs; the lengths of everything touched are summed
// and printed so that no access can be optimised away.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <expat.h>
#include <libxml/parser.h>
#include <libxml/xmlreader.h>

#include "bench_support.h"

namespace {

// Must stay equal to the options of lmx60's reader for the floor to be a floor.
const int kParserOptions = XML_PARSE_NONET | XML_PARSE_NOCDATA | XML_PARSE_COMPACT;

struct pass_result {
    bool ok = false;
    unsigned long long touched = 0;  // bytes of names, URIs and values looked at
    unsigned long long elements = 0;
};

size_t length_of(const xmlChar* text)
{
    return text ? std::strlen(reinterpret_cast<const char*>(text)) : 0;
}

int read_chunk(void* file, char* buffer, int length)
{
    size_t n = std::fread(buffer, 1, static_cast<size_t>(length), static_cast<std::FILE*>(file));
    if (n == 0 && std::ferror(static_cast<std::FILE*>(file)))
        return -1;
    return static_cast<int>(n);
}

void ignore_fault(void*, xmlErrorPtr) {}

pass_result pull_pass(const char* path)
{
    pass_result result;
    std::FILE* file = std::fopen(path, "rb");
    if (!file)
        return result;
    xmlTextReaderPtr reader = xmlReaderForIO(read_chunk, nullptr, file, nullptr, nullptr, kParserOptions);
    if (!reader) {
        std::fclose(file);
        return result;
    }
    xmlTextReaderSetStructuredErrorHandler(reader, ignore_fault, nullptr);
    int status;
    while ((status = xmlTextReaderRead(reader)) == 1) {
        switch (xmlTextReaderNodeType(reader)) {
        case XML_READER_TYPE_ELEMENT:
            ++result.elements;
            result.touched += length_of(xmlTextReaderConstLocalName(reader));
            result.touched += length_of(xmlTextReaderConstNamespaceUri(reader));
            if (xmlTextReaderHasAttributes(reader) == 1) {
                while (xmlTextReaderMoveToNextAttribute(reader) == 1) {
                    result.touched += length_of(xmlTextReaderConstLocalName(reader));
                    result.touched += length_of(xmlTextReaderConstNamespaceUri(reader));
                    result.touched += length_of(xmlTextReaderConstValue(reader));
                }
                xmlTextReaderMoveToElement(reader);
            }
            break;
        case XML_READER_TYPE_TEXT:
        case XML_READER_TYPE_CDATA:
            result.touched += length_of(xmlTextReaderConstValue(reader));
            break;
        default:
            break;  // white space between elements is classified by its node type alone
        }
    }
    result.ok = status == 0;
    xmlFreeTextReader(reader);
    std::fclose(file);
    return result;
}

void sax_start_element(void* context, const xmlChar* localName, const xmlChar*, const xmlChar* uri, int, const xmlChar**,
                       int attributeCount, int, const xmlChar** attributes)
{
    auto* result = static_cast<pass_result*>(context);
    ++result->elements;
    result->touched += length_of(localName) + length_of(uri);
    // Each attribute is five pointers: local name, prefix, URI, value start, value end.
    for (int i = 0; i < attributeCount; ++i) {
        const xmlChar** attribute = attributes + 5 * i;
        result->touched += length_of(attribute[0]) + length_of(attribute[2]);
        result->touched += static_cast<unsigned long long>(attribute[4] - attribute[3]);
    }
}

void sax_characters(void* context, const xmlChar*, int length)
{
    static_cast<pass_result*>(context)->touched += static_cast<unsigned long long>(length);
}

void sax_fault(void*, const char*, ...) {}

pass_result sax2_pass(const char* path)
{
    pass_result result;
    std::FILE* file = std::fopen(path, "rb");
    if (!file)
        return result;
    xmlSAXHandler handler;
    std::memset(&handler, 0, sizeof handler);
    handler.initialized = XML_SAX2_MAGIC;
    handler.startElementNs = sax_start_element;
    handler.characters = sax_characters;
    handler.error = sax_fault;
    handler.fatalError = sax_fault;
    xmlParserCtxtPtr context =
        xmlCreateIOParserCtxt(&handler, &result, read_chunk, nullptr, file, XML_CHAR_ENCODING_NONE);
    if (!context) {
        std::fclose(file);
        return result;
    }
    xmlCtxtUseOptions(context, kParserOptions);
    int status = xmlParseDocument(context);
    result.ok = status == 0 && context->wellFormed;
    if (context->myDoc)
        xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
    std::fclose(file);
    return result;
}

// Expat hands a namespaced name over as "URI<separator>local": one string to look at.
const char kExpatNameSeparator = '\x1f';

void expat_start_element(void* context, const XML_Char* name, const XML_Char** attributes)
{
    auto* result = static_cast<pass_result*>(context);
    ++result->elements;
    result->touched += std::strlen(name);
    for (const XML_Char** attribute = attributes; *attribute; attribute += 2)
        result->touched += std::strlen(attribute[0]) + std::strlen(attribute[1]);
}

void expat_characters(void* context, const XML_Char*, int length)
{
    static_cast<pass_result*>(context)->touched += static_cast<unsigned long long>(length);
}

pass_result expat_pass(const char* path)
{
    pass_result result;
    std::FILE* file = std::fopen(path, "rb");
    if (!file)
        return result;
    XML_Parser parser = XML_ParserCreateNS(nullptr, kExpatNameSeparator);
    XML_SetUserData(parser, &result);
    XML_SetStartElementHandler(parser, expat_start_element);
    XML_SetCharacterDataHandler(parser, expat_characters);
    const int kPiece = 64 * 1024;
    bool ok = true;
    for (bool last = false; ok && !last;) {
        void* buffer = XML_GetBuffer(parser, kPiece);
        size_t n = buffer ? std::fread(buffer, 1, kPiece, file) : 0;
        last = n < static_cast<size_t>(kPiece);
        ok = buffer && !std::ferror(file) && XML_ParseBuffer(parser, static_cast<int>(n), last) == XML_STATUS_OK;
    }
    result.ok = ok;
    XML_ParserFree(parser);
    std::fclose(file);
    return result;
}

int usage()
{
    std::fprintf(stderr, "usage: parser_floor [--sax2 | --expat] [--repeat N] FILE\n");
    return 2;
}

}  // namespace

int main(int argc, char** argv)
{
    const char* mode = "pull";
    int repeat = 1;
    const char* path = nullptr;
    for (int i = 1; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--sax2" || arg == "--expat")
            mode = argv[i] + 2;
        else if (arg == "--repeat" && i + 1 < argc)
            repeat = std::atoi(argv[++i]);
        else if (!path && arg[0] != '-')
            path = argv[i];
        else
            return usage();
    }
    if (!path || repeat < 1)
        return usage();
    long long bytes = bench::file_size(path);
    if (bytes < 0) {
        std::fprintf(stderr, "parser_floor: cannot open %s\n", path);
        return 1;
    }
    xmlInitParser();
    for (int i = 0; i < repeat; ++i) {
        auto start = bench::clock_type::now();
        pass_result result = std::strcmp(mode, "expat") == 0 ? expat_pass(path)
                             : std::strcmp(mode, "sax2") == 0 ? sax2_pass(path)
                                                                : pull_pass(path);
        double seconds = bench::seconds_since(start);
        if (!result.ok) {
            std::fprintf(stderr, "parser_floor: %s is not a well-formed document\n", path);
            return 1;
        }
        std::printf("mode=%s bytes=%lld seconds=%.6f mb_per_s=%.1f elements=%llu touched=%llu peak_rss_kb=%ld\n",
                    mode, bytes, seconds, static_cast<double>(bytes) / seconds / 1e6, result.elements, result.touched,
                    bench::peak_rss_kb());
        std::fflush(stdout);
    }
    xmlCleanupParser();
    return 0;
}

// Documents written to hurt: each must fail with a code and the line of the fault, in bounded time
// and memory, without reading or fetching anything beyond its own bytes; a host that carries on past
// every fault still gets an object it can copy, compare and write.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSpirit.h>

#include "hostile_support.h"

using hostile::outcome;

namespace {

const char kSpirit[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const char kVorlix[] = "http://www.vorlix.com/XMLSchema/ipxact/1.0";

// A component whose body is `body`, opened on line `1 + prologLines`.
std::string component(const std::string& body, const std::string& prolog = "")
{
    return prolog + "<spirit:component xmlns:spirit=\"" + kSpirit + "\" xmlns:vorlix=\"" + kVorlix +
           "\">\n"
           "<spirit:vendor>vorlix.com</spirit:vendor>\n"
           "<spirit:library>test</spirit:library>\n"
           "<spirit:name>hostile</spirit:name>\n"
           "<spirit:version>1.0</spirit:version>\n" +
           body + "</spirit:component>\n";
}

std::string repeat(const std::string& text, size_t times)
{
    std::string out;
    out.reserve(text.size() * times);
    for (size_t i = 0; i < times; ++i)
        out += text;
    return out;
}

// The checks every hostile document must pass; `line` is where the fault stands, 0 for "any line".
void expect_refused(const std::string& what, const std::string& xml, int line = 0,
                    lmx60::elmx_error code = lmx60::ELMX_OK)
{
    outcome result = hostile::read_document(xml);
    EXPECT_NE(result.code, lmx60::ELMX_OK) << what;
    if (code != lmx60::ELMX_OK) {
        EXPECT_EQ(result.code, code) << what << ": " << result.description;
    }
    EXPECT_GT(result.line, 0) << what << ": " << result.description;
    if (line > 0) {
        EXPECT_EQ(result.line, line) << what << ": " << result.description;
    }
    EXPECT_LT(result.seconds, hostile::kSecondsPerDocument) << what;
    EXPECT_LT(result.peak_growth_mb, hostile::kMegabytesPerDocument) << what;

    hostile::continued_outcome continued = hostile::read_continuing(xml);
    EXPECT_GT(continued.faults, 0) << what << ": the continuing handler saw no fault";
    EXPECT_GT(continued.first_line, 0) << what;
    EXPECT_TRUE(continued.copy_equal) << what;
}

// A file outside the document that must never be read, removed when the test ends.
struct secret_file {
    std::string path = ::testing::TempDir() + "hostile_secret_" + std::to_string(::getpid()) + ".txt";
    secret_file()
    {
        std::ofstream(path) << "TOP-SECRET";
    }
    ~secret_file() { std::remove(path.c_str()); }
};

// A local port that counts as fetched if anything connects to it.
class listening_port {
public:
    listening_port()
    {
        m_socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        ::bind(m_socket, reinterpret_cast<sockaddr*>(&address), length);
        ::listen(m_socket, 4);
        ::getsockname(m_socket, reinterpret_cast<sockaddr*>(&address), &length);
        m_port = ntohs(address.sin_port);
    }
    ~listening_port() { ::close(m_socket); }
    std::string url(const std::string& path) const { return "http://127.0.0.1:" + std::to_string(m_port) + path; }
    bool was_contacted() const
    {
        pollfd pending{m_socket, POLLIN, 0};
        return ::poll(&pending, 1, 100) > 0;
    }

private:
    int m_socket = -1;
    int m_port = 0;
};

// Ten levels of ten references each: a billion copies of the innermost text if ever expanded.
std::string entity_bomb_declarations()
{
    std::string declarations = "<!DOCTYPE spirit:component [\n<!ENTITY e0 \"lol\">\n";
    for (int level = 1; level <= 10; ++level) {
        declarations += "<!ENTITY e" + std::to_string(level) + " \"";
        for (int i = 0; i < 10; ++i)
            declarations += "&e" + std::to_string(level - 1) + ";";
        declarations += "\">\n";
    }
    return declarations + "]>\n";
}

}  // namespace

TEST(EntityExpansion, NestedEntitiesInTextAreRefusedNotExpanded)
{
    // The prolog takes 13 lines; the reference stands on line 19.
    std::string xml = component("<spirit:description>&e10;</spirit:description>\n", entity_bomb_declarations());
    expect_refused("entity bomb in text", xml, 19, lmx60::ELMX_LIMIT_EXCEEDED);
}

TEST(EntityExpansion, NestedEntitiesInAnAttributeAreRefusedNotExpanded)
{
    std::string xml = component("<spirit:parameters>\n<spirit:parameter spirit:prompt=\"&e10;\">\n"
                                "<spirit:name>p</spirit:name><spirit:value>1</spirit:value>\n"
                                "</spirit:parameter>\n</spirit:parameters>\n",
                                entity_bomb_declarations());
    expect_refused("entity bomb in an attribute", xml);
}

TEST(EntityExpansion, OneLargeEntityReferencedManyTimesIsBounded)
{
    std::string prolog = "<!DOCTYPE spirit:component [\n<!ENTITY big \"" + std::string(100000, 'x') + "\">\n]>\n";
    std::string xml = component("<spirit:description>" + repeat("&big;", 20000) + "</spirit:description>\n", prolog);
    expect_refused("quadratic blow-up", xml);
}

TEST(ExternalResources, EntityNamingALocalFileIsNeverRead)
{
    secret_file secret;
    std::string prolog = "<!DOCTYPE spirit:component [\n<!ENTITY leak SYSTEM \"file://" + secret.path + "\">\n]>\n";
    std::string xml = component("<spirit:description>\n&leak;</spirit:description>\n", prolog);
    expect_refused("external entity naming a file", xml, 10, lmx60::ELMX_EXTERNAL_ENTITY);

    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_error_handler([](lmx60::elmx_error, const std::string&, int) { return lmx60::ELMX_OK; });
    HIPGSpirit::HIPGSTop top;
    top.unmarshal(reader);
    std::string written;
    top.marshal(&written);
    EXPECT_EQ(written.find("TOP-SECRET"), std::string::npos);
}

TEST(ExternalResources, EntityNamingAUrlIsNeverFetched)
{
    listening_port port;
    std::string prolog = "<!DOCTYPE spirit:component [\n<!ENTITY remote SYSTEM \"" + port.url("/leak") + "\">\n]>\n";
    expect_refused("external entity naming a URL",
                   component("<spirit:description>&remote;</spirit:description>\n", prolog), 0,
                   lmx60::ELMX_EXTERNAL_ENTITY);
    EXPECT_FALSE(port.was_contacted());
}

TEST(ExternalResources, ParameterEntitiesNamingAFileOrAUrlAreNeverLoaded)
{
    secret_file secret;
    listening_port port;
    std::string prolog = "<!DOCTYPE spirit:component [\n"
                         "<!ENTITY % local SYSTEM \"file://" + secret.path + "\">\n"
                         "<!ENTITY % remote SYSTEM \"" + port.url("/params.dtd") + "\">\n"
                         "%local;\n%remote;\n]>\n";
    expect_refused("external parameter entities",
                   component("<spirit:description>&defined.elsewhere;</spirit:description>\n", prolog));
    EXPECT_FALSE(port.was_contacted());
}

TEST(ExternalResources, DocumentTypeAskingForAnExternalSubsetIsRefused)
{
    secret_file secret;
    listening_port port;
    const std::string declarations[] = {
        "<!DOCTYPE spirit:component SYSTEM \"file://" + secret.path + "\">\n",
        "<!DOCTYPE spirit:component SYSTEM \"" + port.url("/component.dtd") + "\">\n",
        "<!DOCTYPE spirit:component PUBLIC \"-//Acme//DTD Component//EN\" \"" + port.url("/public.dtd") + "\">\n",
    };
    for (const std::string& declaration : declarations) {
        // The document type is reported at the element it declares, on line 3.
        expect_refused(declaration, component("", "<?xml version=\"1.0\"?>\n" + declaration), 3,
                       lmx60::ELMX_EXTERNAL_ENTITY);
    }
    EXPECT_FALSE(port.was_contacted());
}

TEST(ExternalResources, InternalDocumentTypeWithoutReferencesReads)
{
    std::string xml = component("", "<!DOCTYPE spirit:component [\n<!ENTITY unused \"x\">\n]>\n");
    EXPECT_EQ(hostile::read_document(xml).code, lmx60::ELMX_OK);
}

TEST(Size, HundredThousandNestedElementsAreRefusedWithoutRecursion)
{
    const size_t depth = 100000;
    std::string xml = component("<spirit:description>\n" + repeat("<x>", depth) + repeat("</x>", depth) +
                                "</spirit:description>\n");
    expect_refused("100,000 nested elements", xml);
}

TEST(Size, HundredThousandNestedElementsInOpenContentAreRefused)
{
    const size_t depth = 100000;
    std::string xml = component("<spirit:vendorExtensions>\n" + repeat("<a:x xmlns:a=\"urn:a\">", depth) +
                                repeat("</a:x>", depth) + "</spirit:vendorExtensions>\n");
    expect_refused("100,000 nested elements in vendor extensions", xml, 0, lmx60::ELMX_LIMIT_EXCEEDED);
}

TEST(Size, HundredMegabyteTextIsRefused)
{
    std::string xml = component("<spirit:description>\n" + std::string(100u << 20, 'a') + "</spirit:description>\n");
    expect_refused("100 MB text node", xml, 0, lmx60::ELMX_LIMIT_EXCEEDED);
}

TEST(Size, HundredMegabyteAttributeValueIsRefused)
{
    std::string xml = component("<spirit:parameters>\n<spirit:parameter spirit:prompt=\"" +
                                std::string(100u << 20, 'a') +
                                "\">\n<spirit:name>p</spirit:name><spirit:value>1</spirit:value>\n"
                                "</spirit:parameter>\n</spirit:parameters>\n");
    expect_refused("100 MB attribute value", xml, 0, lmx60::ELMX_LIMIT_EXCEEDED);
}

TEST(Encoding, BytesThatAreNotUtf8AreRefusedAtTheirLine)
{
    struct sample {
        const char* what;
        std::string bytes;
    };
    const sample samples[] = {
        {"lone continuation byte", "\x80"},
        {"overlong slash", "\xC0\xAF"},
        {"overlong letter in two bytes", "\xC1\xB9"},
        {"overlong letter in three bytes", "\xE0\x81\xB9"},
        {"encoded surrogate", "\xED\xA0\x80"},
        {"beyond U+10FFFF", "\xF4\x90\x80\x80"},
        {"sequence cut short", "\xE2\x82"},
        {"bytes never used in UTF-8", "\xFE\xFF"},
    };
    for (const sample& s : samples) {
        expect_refused(std::string(s.what) + " in text",
                       component("\n<spirit:description>a" + s.bytes + "b</spirit:description>\n"), 7,
                       lmx60::ELMX_ENCODING_ERROR);
        expect_refused(std::string(s.what) + " in a CDATA section",
                       component("\n<spirit:description><![CDATA[a" + s.bytes + "b]]></spirit:description>\n"), 7,
                       lmx60::ELMX_ENCODING_ERROR);
        expect_refused(std::string(s.what) + " in an attribute",
                       component("<spirit:parameters>\n<spirit:parameter spirit:prompt=\"" + s.bytes +
                                 "\"><spirit:name>p</spirit:name><spirit:value>1</spirit:value>"
                                 "</spirit:parameter>\n</spirit:parameters>\n"),
                       7, lmx60::ELMX_ENCODING_ERROR);
    }
    expect_refused("overlong letter two lines into a CDATA section",
                   component("\n<spirit:description><![CDATA[a\nb\nc\xC1\xB9]]></spirit:description>\n"), 9,
                   lmx60::ELMX_ENCODING_ERROR);
}

TEST(Encoding, CdataSectionsWithCharactersOfEveryUtf8LengthRead)
{
    // e-acute, euro sign, a character beyond the basic plane; long enough to reach the parser in pieces.
    std::string section;
    for (int i = 0; i < 2000; ++i)
        section += "line \xC3\xA9 \xE2\x82\xAC \xF0\x9F\x98\x80\n";
    EXPECT_EQ(hostile::read_document(component("\n<spirit:description><![CDATA[" + section + "]]></spirit:description>\n")).code,
              lmx60::ELMX_OK);
}

TEST(Encoding, ByteOrderMarkContradictingTheDeclarationIsRefused)
{
    const std::string utf8Mark = "\xEF\xBB\xBF";
    expect_refused("UTF-8 mark, Latin-1 declared",
                   utf8Mark + component("", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"), 1,
                   lmx60::ELMX_ENCODING_ERROR);
    expect_refused("UTF-8 mark, UTF-16 declared",
                   utf8Mark + component("", "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\n"), 1,
                   lmx60::ELMX_ENCODING_ERROR);

    // The same document in UTF-16, little and big endian, declaring UTF-8.
    std::string text = component("", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    std::string little = "\xFF\xFE", big = "\xFE\xFF";
    for (char c : text) {
        little += std::string{c, '\0'};
        big += std::string{'\0', c};
    }
    expect_refused("UTF-16LE mark, UTF-8 declared", little, 1, lmx60::ELMX_ENCODING_ERROR);
    expect_refused("UTF-16BE mark, UTF-8 declared", big, 1, lmx60::ELMX_ENCODING_ERROR);
}

TEST(Encoding, ByteOrderMarkAgreeingWithTheDeclarationReads)
{
    std::string withDeclaration = "\xEF\xBB\xBF" + component("", "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n");
    EXPECT_EQ(hostile::read_document(withDeclaration).code, lmx60::ELMX_OK);
    EXPECT_EQ(hostile::read_document("\xEF\xBB\xBF" + component("")).code, lmx60::ELMX_OK);
}

TEST(Encoding, FilesAreCheckedForTheirMarkLikeBuffers)
{
    const std::string path = ::testing::TempDir() + "hostile_mark_" + std::to_string(::getpid()) + ".xml";
    auto read_file_with = [&path](const std::string& bytes, lmx60::s_debug_error* debug) {
        std::ofstream(path, std::ios::binary) << bytes;
        HIPGSpirit::HIPGSTop top;
        return top.unmarshal(path.c_str(), debug);
    };
    lmx60::s_debug_error debug;
    EXPECT_EQ(read_file_with("\xEF\xBB\xBF" + component("", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"), &debug),
              lmx60::ELMX_ENCODING_ERROR);
    EXPECT_EQ(debug.document_line, 1);
    EXPECT_EQ(read_file_with("\xEF\xBB\xBF" + component("", "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"), &debug),
              lmx60::ELMX_OK)
        << debug.to_string();
    std::remove(path.c_str());
}

TEST(Encoding, NulBytesAreRefusedWhereverTheyStand)
{
    const std::string nul(1, '\0');
    std::string clean = component("<spirit:description>text</spirit:description>\n");
    expect_refused("NUL first", nul + clean, 1);
    expect_refused("NUL in text", component("<spirit:description>te" + nul + "xt</spirit:description>\n"), 6);
    expect_refused("NUL in an element name", component("<spirit:descr" + nul + "iption>text</spirit:description>\n"),
                   6);
    expect_refused("NUL in an attribute value",
                   component("<spirit:parameters>\n<spirit:parameter spirit:prompt=\"a" + nul +
                             "b\"><spirit:name>p</spirit:name><spirit:value>1</spirit:value>"
                             "</spirit:parameter>\n</spirit:parameters>\n"),
                   7);
    expect_refused("NUL after the document", clean + nul, 8);
}

TEST(Truncation, ComponentCutAtEvery97thByteFailsAtTheCut)
{
    const std::string whole = hostile::input("small_component.xml");
    ASSERT_EQ(hostile::read_document(whole).code, lmx60::ELMX_OK) << hostile::read_document(whole).description;
    const size_t end = whole.rfind('>') + 1;
    for (size_t cut = 97; cut < end; cut += 97) {
        std::string part = whole.substr(0, cut);
        outcome result = hostile::read_document(part);
        EXPECT_NE(result.code, lmx60::ELMX_OK) << "cut at " << cut;
        // The parser notices at the cut, or at the end of the line before when the cut leaves a name.
        EXPECT_GE(result.line, hostile::line_at(part, cut) - 1) << "cut at " << cut << ": " << result.description;
        EXPECT_LE(result.line, hostile::line_at(part, cut)) << "cut at " << cut << ": " << result.description;
        EXPECT_TRUE(hostile::read_continuing(part).copy_equal) << "cut at " << cut;
    }
}

TEST(Truncation, CorpusComponentsCutAtEvery97thByteFail)
{
    std::vector<std::string> components = hostile::readable_corpus_components();
    if (components.empty())
        GTEST_SKIP() << "no readable component in " << hostile::corpus_directory();
    for (const std::string& path : components) {
        const std::string whole = hostile::read_file(path);
        const size_t end = whole.rfind('>') + 1;
        for (size_t cut = 97; cut < end; cut += 97) {
            outcome result = hostile::read_document(whole.substr(0, cut));
            EXPECT_NE(result.code, lmx60::ELMX_OK) << path << " cut at " << cut;
            EXPECT_GT(result.line, 0) << path << " cut at " << cut;
        }
    }
}

TEST(Attributes, DuplicateAttributesAreRefused)
{
    const std::string parameter = "<spirit:name>p</spirit:name><spirit:value>1</spirit:value></spirit:parameter>\n"
                                  "</spirit:parameters>\n";
    expect_refused("the same name twice",
                   component("<spirit:parameters>\n<spirit:parameter spirit:prompt=\"a\" spirit:prompt=\"b\">" +
                             parameter),
                   7, lmx60::ELMX_DUPLICATE_ATTRIBUTE);
    expect_refused("one name through two prefixes",
                   component("<spirit:parameters>\n<spirit:parameter xmlns:s=\"" + std::string(kSpirit) +
                             "\" spirit:prompt=\"a\" s:prompt=\"b\">" + parameter),
                   7, lmx60::ELMX_DUPLICATE_ATTRIBUTE);
    expect_refused("a namespace declared twice",
                   component("<spirit:parameters>\n<spirit:parameter xmlns:s=\"urn:a\" xmlns:s=\"urn:b\">" + parameter),
                   7);
}

namespace {

// Offsets just after each '>' inside the document element, where an element could be inserted.
std::vector<size_t> insertion_points(const std::string& xml)
{
    std::vector<size_t> points;
    size_t rootStart = xml.find("<spirit:component");
    size_t first = xml.find('>', rootStart) + 1;
    size_t last = xml.rfind("</spirit:component>");
    for (size_t at = first; at <= last; at = xml.find('>', at) + 1)
        points.push_back(at);
    return points;
}

struct open_content_place {
    bool inside = false;       // within spirit:vendorExtensions
    std::string enclosing;     // the extension element around the place; empty between extensions
};

open_content_place place_in_open_content(const std::string& xml, size_t at)
{
    const std::string opening = "<spirit:vendorExtensions>";
    open_content_place place;
    size_t opened = xml.rfind(opening, at);
    size_t closed = xml.rfind("</spirit:vendorExtensions>", at);
    if (opened == std::string::npos || (closed != std::string::npos && closed > opened))
        return place;
    place.inside = true;
    int depth = 0;
    for (size_t tag = xml.find('<', opened + opening.size()); tag < at; tag = xml.find('<', tag + 1)) {
        size_t end = xml.find('>', tag);
        if (xml[tag + 1] == '/') {
            --depth;
        } else if (xml[end - 1] != '/' && depth++ == 0) {
            place.enclosing = xml.substr(tag + 1, xml.find_first_of(" >", tag) - tag - 1);
        }
    }
    if (depth == 0)
        place.enclosing.clear();
    return place;
}

// The extension elements the binding reads into typed members of their owner (here, of a port).
bool is_typed_extension(const std::string& name)
{
    return name == "vorlix:portInfo";
}

}  // namespace

TEST(UnknownElements, EveryPositionOutsideOpenContentIsAFaultAtItsLine)
{
    const std::string whole = hostile::input("small_component.xml");
    const std::string strangers[] = {"<spirit:unknownThing/>", "<vorlix:unknownThing>x</vorlix:unknownThing>",
                                     "<other:thing xmlns:other=\"urn:other\"/>"};
    int refused = 0;
    int kept = 0;
    for (size_t at : insertion_points(whole)) {
        for (const std::string& stranger : strangers) {
            std::string xml = whole.substr(0, at) + stranger + whole.substr(at);
            const int line = hostile::line_at(xml, at);
            const std::string where = "'" + stranger + "' at line " + std::to_string(line);
            outcome result = hostile::read_document(xml);
            open_content_place place = place_in_open_content(whole, at);
            if (place.inside && !is_typed_extension(place.enclosing)) {
                // Open content is kept as it was written, whatever it holds.
                ++kept;
                EXPECT_EQ(result.code, lmx60::ELMX_OK) << where << ": " << result.description;
                continue;
            }
            ++refused;
            EXPECT_NE(result.code, lmx60::ELMX_OK) << where;
            if (place.inside) {
                // A typed extension is read after its owner, and its faults are reported there.
                EXPECT_GT(result.line, 0) << where << ": " << result.description;
                EXPECT_LE(result.line, line) << where << ": " << result.description;
            } else {
                EXPECT_EQ(result.line, line) << where << ": " << result.description;
            }
            hostile::continued_outcome continued = hostile::read_continuing(xml);
            EXPECT_TRUE(continued.copy_equal) << where;
        }
    }
    EXPECT_GT(refused, 200);
    EXPECT_GT(kept, 10);
}

TEST(NumericLimits, ValuesOnePastTheLimitOfTheirTypeAreRefused)
{
    auto core = [](const std::string& element) {
        return std::string("<vorlix:coreExtensions xmlns:vorlix=\"") + kVorlix + "\">\n" + element +
               "\n</vorlix:coreExtensions>\n";
    };
    auto spirit = [](const std::string& name, const std::string& value) {
        return "<spirit:" + name + " xmlns:spirit=\"" + kSpirit + "\">\n" + value + "\n</spirit:" + name + ">\n";
    };
    expect_refused("2^63 as xs:long", core("<vorlix:coreRevision>9223372036854775808</vorlix:coreRevision>"), 2,
                   lmx60::ELMX_VALUE_FACET);
    expect_refused("-2^63-1 as xs:long", core("<vorlix:coreRevision>-9223372036854775809</vorlix:coreRevision>"), 2,
                   lmx60::ELMX_VALUE_FACET);
    expect_refused("2^64 as xs:long", core("<vorlix:coreRevision>18446744073709551616</vorlix:coreRevision>"), 2,
                   lmx60::ELMX_VALUE_FACET);
    expect_refused("month 13", core("<vorlix:coreCreationDateTime>2009-13-01T00:00:00</vorlix:coreCreationDateTime>"),
                   2, lmx60::ELMX_BAD_VALUE);
    expect_refused("hour 25", core("<vorlix:coreCreationDateTime>2009-12-01T25:00:00</vorlix:coreCreationDateTime>"),
                   2, lmx60::ELMX_BAD_VALUE);
    expect_refused("time zone beyond 14 hours",
                   core("<vorlix:coreCreationDateTime>2009-12-01T00:00:00+14:01</vorlix:coreCreationDateTime>"), 2,
                   lmx60::ELMX_BAD_VALUE);
    expect_refused("0 as xs:positiveInteger", spirit("bitsInLau", "0"), 1, lmx60::ELMX_VALUE_FACET);
    expect_refused("-1 as xs:positiveInteger", spirit("addressUnitBits", "-1"), 1, lmx60::ELMX_VALUE_FACET);
    expect_refused("100.001 where at most 100 is allowed (a constraint value)",
                   "<spirit:timingConstraint xmlns:spirit=\"" + std::string(kSpirit) +
                       "\" spirit:clockName=\"clk\">100.001</spirit:timingConstraint>",
                   1, lmx60::ELMX_CONSTRAINT_VALUE);
}

TEST(NumericLimits, ValuesAtTheLimitReadAndBigIntegersAreUnbounded)
{
    auto read = [](const std::string& xml) {
        HIPGSpirit::HIPGSTop top;
        lmx60::s_debug_error debug;
        EXPECT_EQ(top.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
        return top;
    };
    std::string core = std::string("<vorlix:coreExtensions xmlns:vorlix=\"") + kVorlix + "\">" +
                       "<vorlix:coreRevision>-9223372036854775808</vorlix:coreRevision></vorlix:coreExtensions>";
    EXPECT_EQ(read(core).getCoreExtensions().getCoreRevision(), INT64_MIN);

    const std::string huge = "1208925819614629174706176";  // 2^80
    HIPGSpirit::HIPGSTop top = read("<spirit:bitsInLau xmlns:spirit=\"" + std::string(kSpirit) + "\">" + huge +
                                    "</spirit:bitsInLau>");
    EXPECT_EQ(top.getBitsInLau().text(), huge);
    EXPECT_EQ(read("<spirit:bitsInLau xmlns:spirit=\"" + std::string(kSpirit) + "\">1</spirit:bitsInLau>")
                  .getBitsInLau(),
              1);
}

// The runtime's reader and writer on their own: namespaces, hostile input, escaping, file safety.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include <ipxact/lmx60/lmx60.h>

namespace {

const lmx60::s_ns_map kMap[] = {
    {1000, "vorlix", "http://www.vorlix.com/XMLSchema/ipxact/1.0"},
    {1001, "spirit", "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"},
    {0, nullptr, nullptr},
};

struct walk_result {
    lmx60::elmx_error code = lmx60::ELMX_OK;
    int line = 0;
    int elements = 0;
    std::string text;
};

// Visits every element and text of a document the way the binding does.
void walk_children(lmx60::c_xml_reader& reader, walk_result& result)
{
    reader.enter();
    while (reader.current() == lmx60::c_xml_reader::tok_start) {
        ++result.elements;
        walk_children(reader, result);
        reader.advance();
    }
}

walk_result walk(const std::string& xml)
{
    walk_result result;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    try {
        reader.read_document_element();
        ++result.elements;
        walk_children(reader, result);
    } catch (const lmx60::c_lmx_reader_exception& e) {
        result.code = e.get_error();
        result.line = e.get_line();
    }
    return result;
}

std::string temp_path(const std::string& name)
{
    return ::testing::TempDir() + "lmx60_" + std::to_string(::getpid()) + "_" + name;
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

}  // namespace

TEST(ReaderNamespaces, ElementsAreIdentifiedByNamespaceNotPrefix)
{
    const std::string xml =
        "<ipx:busDefinition xmlns:ipx='http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009'"
        " xmlns:v='http://www.vorlix.com/XMLSchema/ipxact/1.0' xmlns:o='urn:other'>"
        "<v:busDefinitionInfo/><o:x/><plain/></ipx:busDefinition>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    ASSERT_EQ(reader.read_document_element(), lmx60::ELMX_OK);
    EXPECT_TRUE(reader.element_is(1001, "busDefinition"));
    EXPECT_EQ(reader.element_qname(), "ipx:busDefinition");
    reader.enter();
    EXPECT_TRUE(reader.element_is(1000, "busDefinitionInfo"));
    reader.skip_element();
    reader.advance();
    EXPECT_EQ(reader.element_ns_id(), 0) << "a namespace outside the map";
    reader.skip_element();
    reader.advance();
    EXPECT_EQ(reader.element_ns_id(), -1) << "no namespace at all";
}

namespace {

// The first child of the document element, captured whole; the reader stands after it.
lmx60::c_any_info captured_child(lmx60::c_xml_reader& reader)
{
    reader.set_ns_map(kMap);
    EXPECT_EQ(reader.read_document_element(), lmx60::ELMX_OK);
    reader.enter();
    lmx60::c_any_info any;
    reader.capture_element(&any);
    return any;
}

}  // namespace

TEST(ReaderNamespaces, CapturedElementKeepsThePrefixOfAnXsiTypeDeclaredOutsideIt)
{
    const std::string xml =
        "<s:vendorExtensions xmlns:s='http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009'"
        " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:a='urn:acme' xmlns:t='urn:types'"
        " xmlns='urn:default'>\n<a:ref><a:in xsi:type=' t:refType '/><a:in xsi:type='plain'/></a:ref>"
        "</s:vendorExtensions>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    lmx60::c_any_info any = captured_child(reader);
    EXPECT_EQ(any.get_xml(), "<a:ref xmlns:a=\"urn:acme\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                             "xmlns:t=\"urn:types\" xmlns=\"urn:default\"><a:in xsi:type=\" t:refType \"/>"
                             "<a:in xsi:type=\"plain\"/></a:ref>");
}

TEST(ReaderNamespaces, CapturedElementCarriesTheNamespacesItUses)
{
    const std::string xml =
        "<s:vendorExtensions xmlns:s='http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009'"
        " xmlns:a='urn:acme'>\n<a:note a:level='2'>caf\xC3\xA9 &amp; more</a:note></s:vendorExtensions>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    lmx60::c_any_info any = captured_child(reader);
    EXPECT_EQ(any.get_namespace(), "urn:acme");
    EXPECT_EQ(any.get_local_name(), "note");
    EXPECT_EQ(any.get_qname(), "a:note");
    EXPECT_EQ(any.get_xml(), "<a:note xmlns:a=\"urn:acme\" a:level=\"2\">caf\xC3\xA9 &amp; more</a:note>");
    reader.advance();
    EXPECT_EQ(reader.current(), lmx60::c_xml_reader::tok_end);
}

TEST(ReaderHostileInput, MalformedDocumentsFailWithACodeAndALine)
{
    struct sample {
        const char* what;
        std::string xml;
        int line;
    };
    const sample samples[] = {
        {"unclosed tag", "<a>\n<b>\n</a>", 3},
        {"undefined entity", "<a>\n&nosuch;</a>", 2},
        {"truncated", "<a>\n<b/>\n<c", 3},
        {"bytes that are not UTF-8", "<?xml version='1.0' encoding='UTF-8'?>\n<a>\xFF\xFE</a>", 2},
        {"wrong encoding declared", "<?xml version='1.0' encoding='no-such-encoding'?><a/>", 1},
        {"NUL byte", std::string("<a>x\0y</a>", 10), 1},
        {"duplicate attribute", "<a x='1'\n x='2'/>", 2},
        {"text at top level", "<a/>\ntrailing", 2},
    };
    for (const sample& s : samples) {
        walk_result result = walk(s.xml);
        EXPECT_NE(result.code, lmx60::ELMX_OK) << s.what;
        EXPECT_EQ(result.line, s.line) << s.what;
    }
}

TEST(ReaderHostileInput, AnEmptyOrCutShortDocumentIsCalledSo)
{
    auto fault_of = [](const std::string& xml) {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        reader.set_ns_map(kMap);
        lmx60::elmx_error code = lmx60::ELMX_OK;
        try {
            code = reader.read_document_element();
            while (code == lmx60::ELMX_OK && reader.current() != lmx60::c_xml_reader::tok_eof)
                reader.advance();
        } catch (const lmx60::c_lmx_reader_exception& e) {
            code = e.get_error();
        }
        return std::to_string(code) + " " + reader.get_debug_error().item_name;
    };
    EXPECT_EQ(fault_of(""), "6 Document is empty");
    EXPECT_EQ(fault_of("<?xml version='1.0'?>\n<!-- nothing -->\n"), "6 Document is empty");
    EXPECT_EQ(fault_of("<a>\n<b>\n<c/>\n"), "2 Premature end of data: the element begun on line 2 is not closed");
}

TEST(ReaderHostileInput, DeepNestingIsRefusedNotRecursedInto)
{
    std::string xml;
    for (int i = 0; i < 10000; ++i)
        xml += "<a>";
    for (int i = 0; i < 10000; ++i)
        xml += "</a>";
    walk_result result = walk(xml);
    EXPECT_EQ(result.code, lmx60::ELMX_LIMIT_EXCEEDED);
    EXPECT_GT(result.line, 0);
}

TEST(ReaderHostileInput, EntityExpansionBombIsBounded)
{
    std::string xml = "<?xml version='1.0'?>\n<!DOCTYPE a [\n<!ENTITY e0 'lol'>\n";
    for (int i = 1; i < 12; ++i)
        xml += "<!ENTITY e" + std::to_string(i) + " '" + std::string() +
               "&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) +
               ";&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) +
               ";&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) + ";&e" + std::to_string(i - 1) +
               ";&e" + std::to_string(i - 1) + ";'>\n";
    xml += "]>\n<a>&e11;</a>";
    walk_result result = walk(xml);
    EXPECT_NE(result.code, lmx60::ELMX_OK);
    EXPECT_GT(result.line, 0);
}

TEST(ReaderHostileInput, ExternalEntityIsNeverRead)
{
    std::string secret = temp_path("secret.txt");
    {
        std::ofstream out(secret);
        out << "TOP-SECRET";
    }
    std::string xml = "<?xml version='1.0'?>\n<!DOCTYPE a [<!ENTITY x SYSTEM 'file://" + secret +
                      "'>]>\n<a>\n&x;</a>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    std::string text;
    lmx60::elmx_error code = lmx60::ELMX_OK;
    try {
        reader.read_document_element();
        reader.read_text(&text);
    } catch (const lmx60::c_lmx_reader_exception& e) {
        code = e.get_error();
    }
    EXPECT_NE(code, lmx60::ELMX_OK);
    EXPECT_EQ(text.find("TOP-SECRET"), std::string::npos);
    EXPECT_EQ(reader.get_debug_error().document_line, 4);
    std::remove(secret.c_str());
}

TEST(ReaderErrors, ContinuingHandlerSeesEveryFault)
{
    const std::string xml = "<a>text<b/>more</a>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    int faults = 0;
    reader.set_error_handler([&](lmx60::elmx_error code, const std::string&, int line) {
        EXPECT_EQ(code, lmx60::ELMX_UNEXPECTED_TEXT);
        EXPECT_EQ(line, 1);
        ++faults;
        return lmx60::ELMX_OK;
    });
    reader.read_document_element();
    reader.enter();
    EXPECT_EQ(reader.current(), lmx60::c_xml_reader::tok_start);
    reader.skip_element();
    reader.advance();
    EXPECT_EQ(reader.current(), lmx60::c_xml_reader::tok_end);
    EXPECT_EQ(faults, 2);
    EXPECT_EQ(reader.get_debug_error().error, lmx60::ELMX_UNEXPECTED_TEXT) << "the first fault is kept";
}

TEST(ReaderFiles, MissingFileIsCodeOne)
{
    lmx60::c_xml_reader_file reader(temp_path("does-not-exist.xml").c_str());
    EXPECT_FALSE(reader.is_open());
    EXPECT_THROW(reader.read_document_element(), lmx60::c_lmx_reader_exception);
    EXPECT_EQ(reader.get_debug_error().error, lmx60::ELMX_NO_FILE);
}

TEST(Writer, EscapesTextAndAttributesAndDeclaresNamespacesOnce)
{
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os);
        writer.conditionally_select_ns_map(kMap);
        writer.start_element("spirit:a");
        writer.attribute("spirit:x", "1 < 2 & \"q\"\t\n");
        writer.start_element("spirit:b");
        writer.text("a<b>&c \xE2\x82\xAC", "spirit:b");
        writer.end_element("spirit:b");
        writer.start_element("spirit:c");
        writer.end_element("spirit:c");
        writer.end_element("spirit:a");
    }
    EXPECT_EQ(os.str(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<spirit:a xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\""
              " xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\""
              " spirit:x=\"1 &lt; 2 &amp; &quot;q&quot;&#9;&#10;\">\n"
              "  <spirit:b>a&lt;b&gt;&amp;c \xE2\x82\xAC</spirit:b>\n"
              "  <spirit:c/>\n"
              "</spirit:a>\n");
}

TEST(Writer, CharactersXmlCannotCarryAreAnErrorNotABrokenDocument)
{
    const std::string bad[] = {std::string("a\x01" "b"), "\xC3", "\xED\xA0\x80", "\xEF\xBF\xBE", "\xC0\xAF"};
    for (const std::string& value : bad) {
        std::ostringstream os;
        lmx60::c_xml_writer writer(os);
        writer.start_element("a");
        try {
            writer.text(value, "a");
            ADD_FAILURE() << "accepted " << value;
        } catch (const lmx60::c_lmx_exception_with_name& e) {
            EXPECT_EQ(e.get_error(), lmx60::ELMX_BAD_CHARACTER);
            EXPECT_EQ(e.get_name(), "a");
        }
    }
}

namespace {

// A minimal document type for the front ends: <doc>text</doc>, failing on demand.
struct text_document {
    std::string text;
    bool fail_half_way = false;
    const char* getElementId() const { return "doc"; }
    lmx60::elmx_error marshal(lmx60::c_xml_writer& writer, const char* name) const
    {
        writer.start_element(name);
        writer.text(text, name);
        if (fail_half_way)
            return writer.capture_error(lmx60::ELMX_ELEMENT_NOT_FOUND, "doc", __FILE__, __LINE__);
        writer.end_element(name);
        return lmx60::ELMX_OK;
    }
    lmx60::elmx_error unmarshal(lmx60::c_xml_reader& reader)
    {
        try {
            reader.read_document_element();
            reader.read_text(&text);
            return lmx60::ELMX_OK;
        } catch (const lmx60::c_lmx_reader_exception& e) {
            return e.get_error();
        }
    }
};

}  // namespace

TEST(FrontEnds, FailedWriteLeavesTheEarlierFileAndNoTemporary)
{
    std::string path = temp_path("keep.xml");
    text_document good{"first", false};
    ASSERT_EQ(lmx60::marshal(good, path.c_str(), nullptr), lmx60::ELMX_OK);
    std::string before = read_file(path);

    text_document bad{std::string(200000, 'x'), true};
    lmx60::s_debug_error debug;
    EXPECT_EQ(lmx60::marshal(bad, path.c_str(), &debug), lmx60::ELMX_ELEMENT_NOT_FOUND);
    EXPECT_EQ(debug.error, lmx60::ELMX_ELEMENT_NOT_FOUND);
    EXPECT_EQ(read_file(path), before);


  
    for (int attempt = 0; attempt < 3; ++attempt) {
        std::string candidate = path + ".tmp" + std::to_string(::getpid()) + "_" + std::to_string(attempt);
        struct stat info;
        EXPECT_NE(::stat(candidate.c_str(), &info), 0) << candidate;
    }
    text_document back;
    EXPECT_EQ(lmx60::unmarshal(&back, path.c_str(), nullptr), lmx60::ELMX_OK);
    EXPECT_EQ(back.text, "first");
    std::remove(path.c_str());
}

TEST(FrontEnds, MissingDirectoryIsCodeOneAndCreatesNothing)
{
    std::string directory = temp_path("no-such-dir");
    std::string path = directory + "/out.xml";
    text_document doc{"x", false};
    lmx60::s_debug_error debug;
    EXPECT_EQ(lmx60::marshal(doc, path.c_str(), &debug), lmx60::ELMX_NO_FILE);
    EXPECT_EQ(debug.error, lmx60::ELMX_NO_FILE) << "the record says why, as for reading";
    EXPECT_EQ(debug.item_name, path);
    struct stat info;
    EXPECT_NE(::stat(directory.c_str(), &info), 0);
}

TEST(FrontEnds, StringAndBufferRoundTripNonAsciiText)
{
    text_document doc{"\xC3\xA9t\xC3\xA9 \xE2\x86\x92 \xF0\x9F\x94\x8C", false};
    std::string xml;
    ASSERT_EQ(lmx60::marshal(doc, &xml, nullptr), lmx60::ELMX_OK);
    text_document back;
    ASSERT_EQ(lmx60::unmarshal(&back, xml.data(), xml.size(), nullptr), lmx60::ELMX_OK);
    EXPECT_EQ(back.text, doc.text);
}

TEST(FrontEnds, RemoveDeletesFilesOnly)
{
    const std::string path = temp_path("half-written.xml");
    std::ofstream(path) << "<doc>";
    struct stat info;
    EXPECT_EQ(lmx60::remove(path.c_str()), lmx60::ELMX_OK);
    EXPECT_NE(::stat(path.c_str(), &info), 0);
    EXPECT_EQ(lmx60::remove(path.c_str()), lmx60::ELMX_NO_FILE) << "already gone";

    const std::string directory = temp_path("a-directory");
    ASSERT_EQ(::mkdir(directory.c_str(), 0700), 0);
    EXPECT_EQ(lmx60::remove(directory.c_str()), lmx60::ELMX_NO_FILE);
    EXPECT_EQ(::stat(directory.c_str(), &info), 0) << "a directory stays";
    ::rmdir(directory.c_str());

    EXPECT_EQ(lmx60::remove(nullptr), lmx60::ELMX_NO_FILE);
    EXPECT_EQ(lmx60::remove(""), lmx60::ELMX_NO_FILE);
}

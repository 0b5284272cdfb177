// The reader takes its input in pieces: what straddles two pieces must read as if it did not, faults
// must come in document order at their own lines, and a large document must not be held whole.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60.h>

namespace {

const char kAcme[] = "urn:acme";

struct fault {
    lmx60::elmx_error code;
    int line;
};

// A reader over `xml` whose handler records every fault and carries on.
class recording_reader {
public:
    explicit recording_reader(const std::string& xml) : m_xml(xml), m_reader(m_xml.data(), m_xml.size())
    {
        m_reader.set_error_handler([this](lmx60::elmx_error code, const std::string&, int line) {
            faults.push_back({code, line});
            return lmx60::ELMX_OK;
        });
    }
    lmx60::c_xml_reader& operator*() { return m_reader; }
    lmx60::c_xml_reader* operator->() { return &m_reader; }
    std::vector<fault> faults;

private:
    std::string m_xml;
    lmx60::c_xml_reader_memory m_reader;
};

std::string repeat(const std::string& text, size_t times)
{
    std::string out;
    for (size_t i = 0; i < times; ++i)
        out += text;
    return out;
}

long peak_resident_kb()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

long current_resident_kb()
{
    long pages = 0;
    long resident = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

}  // namespace

TEST(ReaderPieces, LongTextWithMultibyteLettersReadsWhole)
{
    // Long enough to cross several pieces of input; a multibyte letter lands on every boundary somewhere.
    const std::string text = repeat("caf\xC3\xA9 \xE2\x82\xAC 12345 ", 20000);
    const std::string xml = "<a>\n<b>" + text + "</b>\n</a>";
    recording_reader reader(xml);
    ASSERT_EQ(reader->read_document_element(), lmx60::ELMX_OK);
    reader->enter();
    ASSERT_TRUE(reader->element_is(-1, "b"));
    std::string read;
    reader->read_text(&read);
    EXPECT_EQ(read, text);
    reader->advance();
    EXPECT_EQ(reader->current(), lmx60::c_xml_reader::tok_end);
    EXPECT_TRUE(reader.faults.empty());
}

TEST(ReaderPieces, StrayTextAcrossPiecesIsOneFaultAtItsLine)
{
    const std::string xml = "<a>\n<b/>" + repeat("x", 100000) + "<c/></a>";
    recording_reader reader(xml);
    reader->read_document_element();
    reader->enter();
    reader->advance();
    reader->advance();
    EXPECT_TRUE(reader->element_is(-1, "c"));
    ASSERT_EQ(reader.faults.size(), 1u);
    EXPECT_EQ(reader.faults[0].code, lmx60::ELMX_UNEXPECTED_TEXT);
    EXPECT_EQ(reader.faults[0].line, 2);
}

namespace {

// Captures the first child of the document element, the reader standing on it.
lmx60::c_any_info capture_first_child(recording_reader& reader)
{
    reader->read_document_element();
    reader->enter();
    lmx60::c_any_info any;
    reader->capture_element(&any);
    return any;
}

}  // namespace

TEST(ReaderPieces, CapturedElementLargerThanAPieceKeepsItsNamespacesAndText)
{
    const std::string item = "<a:item a:n=\"1\">x &amp; y</a:item>";
    const std::string body = repeat(item, 5000);
    const std::string xml = std::string("<root xmlns:a=\"") + kAcme + "\">\n<a:list>" + body + "</a:list>\n</root>";
    recording_reader reader(xml);
    lmx60::c_any_info any = capture_first_child(reader);
    EXPECT_EQ(any.get_namespace(), kAcme);
    EXPECT_EQ(any.get_xml(), std::string("<a:list xmlns:a=\"") + kAcme + "\">" + body + "</a:list>");
    reader->advance();
    EXPECT_EQ(reader->current(), lmx60::c_xml_reader::tok_end);
}

// The start tag's token stays behind in the reader's buffer while the rest is taken: a later piece
// dense with tokens moves and regrows that buffer under it.
TEST(ReaderPieces, CapturedElementKeepsItsLineWhenItsTokensOutgrowTheBuffer)
{
    const std::string body = std::string(20000, 't') + repeat("\n<a:i/>", 20000);
    const std::string xml = std::string("<root xmlns:a=\"") + kAcme + "\">\n\n<a:list>" + body + "</a:list>\n</root>";
    recording_reader reader(xml);
    lmx60::c_any_info any = capture_first_child(reader);
    EXPECT_EQ(any.get_source_line(), 3);
    EXPECT_EQ(any.get_xml(), std::string("<a:list xmlns:a=\"") + kAcme + "\">" + body + "</a:list>");
    EXPECT_TRUE(reader.faults.empty());
}

TEST(ReaderLines, LinesBeyond65535AreReportedExactly)
{
    const std::string xml = "<a>" + std::string(70000, '\n') + "<b/>\n<c>text</c></a>";
    recording_reader reader(xml);
    reader->read_document_element();
    reader->enter();
    EXPECT_EQ(reader->line(), 70001);
    reader->advance();
    reader->advance();
    EXPECT_TRUE(reader->element_is(-1, "c"));
    EXPECT_EQ(reader->line(), 70002);
}

TEST(ReaderLines, DistantFaultsArriveInDocumentOrder)
{
    // A stray text on line 2, then a few kilobytes on, markup that is not well-formed.
    const std::string xml = "<a>\nstray<b/>\n" + repeat("<c/>\n", 1000) + "<d></e></a>";
    recording_reader reader(xml);
    lmx60::elmx_error code = lmx60::ELMX_OK;
    try {
        reader->read_document_element();
        reader->enter();
        while (reader->current() == lmx60::c_xml_reader::tok_start) {
            reader->skip_element();
            reader->advance();
        }
    } catch (const lmx60::c_lmx_reader_exception& e) {
        code = e.get_error();
    }
    EXPECT_EQ(code, lmx60::ELMX_NOT_WELL_FORMED);
    ASSERT_EQ(reader.faults.size(), 2u);
    EXPECT_EQ(reader.faults[0].code, lmx60::ELMX_UNEXPECTED_TEXT);
    EXPECT_EQ(reader.faults[0].line, 2);
    EXPECT_EQ(reader.faults[1].code, lmx60::ELMX_NOT_WELL_FORMED);
    EXPECT_EQ(reader.faults[1].line, 1003);
}

TEST(ReaderLines, BrokenMarkupFailsWithTheParsersFaultNotWithWhatItLooksLike)
{
    // The misspelt end tag makes <nmae> look like an element of its own before the parser objects.
    const std::string xml = std::string("<root xmlns:a=\"") + kAcme + "\">\n" + repeat("<a:name>x</a:name>\n", 100) +
                            "<a:nmae>x</a:name>\n</root>";
    recording_reader reader(xml);
    lmx60::elmx_error code = lmx60::ELMX_OK;
    int line = 0;
    try {
        reader->read_document_element();
        reader->enter();
        std::string text;
        while (reader->current() == lmx60::c_xml_reader::tok_start) {
            if (std::string(reader->element_local_name()) != "name")
                reader->capture_error(lmx60::ELMX_UNEXPECTED_ELEMENT, reader->element_qname(), __FILE__, __LINE__);
            reader->read_text(&text);
            reader->advance();
        }
    } catch (const lmx60::c_lmx_reader_exception& e) {
        code = e.get_error();
        line = e.get_line();
    }
    EXPECT_EQ(code, lmx60::ELMX_NOT_WELL_FORMED);
    EXPECT_EQ(line, 102);
    ASSERT_EQ(reader.faults.size(), 1u);
    EXPECT_EQ(reader.faults[0].code, lmx60::ELMX_NOT_WELL_FORMED);
}

TEST(ReaderMemory, LargeFileIsReadWithoutHoldingIt)
{
    const std::string path = ::testing::TempDir() + "lmx60_stream_" + std::to_string(::getpid()) + ".xml";
    const std::string registerXml = "<a:register a:id=\"r\"><a:name>status</a:name><a:offset>0x10</a:offset>"
                                    "<a:description>counts the events &amp; clears on read</a:description>"
                                    "</a:register>\n";
    const size_t registers = 200000;  // about 30 MB
    {
        std::ofstream out(path, std::ios::binary);
        out << "<a:block xmlns:a=\"" << kAcme << "\">\n";
        for (size_t i = 0; i < registers; ++i)
            out << registerXml;
        out << "</a:block>\n";
    }
    const long peakBefore = peak_resident_kb();
    const long currentBefore = current_resident_kb();
    size_t seen = 0;
    {
        lmx60::c_xml_reader_file reader(path.c_str());
        ASSERT_EQ(reader.read_document_element(), lmx60::ELMX_OK);
        reader.enter();
        std::string text;
        while (reader.current() == lmx60::c_xml_reader::tok_start) {
            ++seen;
            reader.enter();
            while (reader.current() == lmx60::c_xml_reader::tok_start) {
                reader.read_text(&text);
                reader.advance();
            }
            reader.advance();
        }
    }
    const long peakAfter = peak_resident_kb();
    std::remove(path.c_str());
    EXPECT_EQ(seen, registers);
    const long growthMb = peakAfter > peakBefore ? (peakAfter - currentBefore) / 1024 : 0;
    EXPECT_LT(growthMb, 16) << "reading grew the process by " << growthMb << " MB";
}

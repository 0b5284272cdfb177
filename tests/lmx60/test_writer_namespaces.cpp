// The writer's namespace declarations for maps offered before or after an element starts, and simple
// members written as elements of their own through a bridge. Output is judged by reading it back.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <ipxact/lmx60/lmx60.h>

namespace {

const char kVorlixUri[] = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const char kSpiritUri[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const int kVorlix = 1000;
const int kSpirit = 1001;

const lmx60::s_ns_map kBothNamespaces[] = {
    {kVorlix, "vorlix", kVorlixUri},
    {kSpirit, "spirit", kSpiritUri},
    {0, nullptr, nullptr},
};

const lmx60::s_ns_map kVorlixOnly[] = {
    {kVorlix, "vorlix", kVorlixUri},
    {0, nullptr, nullptr},
};

size_t occurrences(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size()))
        ++count;
    return count;
}

// What a reader makes of written output: the namespace ids of its elements in document order, or the
// code of the fault that stopped it. Text is passed over: only the elements are judged.
struct read_back {
    lmx60::elmx_error code = lmx60::ELMX_OK;
    std::vector<int> ns_ids;
};

read_back read_elements(const std::string& xml)
{
    read_back result;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kBothNamespaces);
    reader.set_error_handler([](lmx60::elmx_error code, const std::string&, int) {
        return code == lmx60::ELMX_UNEXPECTED_TEXT ? lmx60::ELMX_OK : code;
    });
    std::string name;
    for (;;) {
        const int event = reader.get_element_event(&result.code, &name);
        if (result.code != lmx60::ELMX_OK || event == lmx60::EVENT_END_OF_DOCUMENT)
            return result;
        if (event != lmx60::EVENT_END_TAG)
            result.ns_ids.push_back(reader.element_ns_id());
    }
}

class text_bridge : public lmx60::c_untyped_marshal_bridge {
public:
    explicit text_bridge(std::string value) : m_value(std::move(value)), m_is_set(true) {}
    text_bridge() : m_is_set(false) {}
    bool is_value_set() const override { return m_is_set; }
    std::string get_text() const override { return m_value; }

private:
    std::string m_value;
    bool m_is_set;
};

}  // namespace

TEST(WriterNamespaceDeclarations, MapOfferedAfterTheOutermostStartTagIsDeclaredThere)
{
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os);
        writer.start_element("vorlix:bundle");
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.conditionally_write_ns_attrs(false);
        writer.attribute("spirit:id", "b1");
        writer.start_element("spirit:name");
        writer.conditionally_select_ns_map(kVorlixOnly);
        writer.conditionally_write_ns_attrs(false);
        writer.end_element("spirit:name");
        writer.end_element("vorlix:bundle");
    }
    EXPECT_EQ(occurrences(os.str(), "xmlns:vorlix="), 1u) << os.str();
    EXPECT_EQ(occurrences(os.str(), "xmlns:spirit="), 1u) << os.str();
    read_back read = read_elements(os.str());
    EXPECT_EQ(read.code, lmx60::ELMX_OK) << os.str();
    EXPECT_EQ(read.ns_ids, (std::vector<int>{kVorlix, kSpirit}));
}

TEST(WriterNamespaceDeclarations, DeclaredOnceWhicheverWayTheMapArrives)
{
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os);
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.start_element("vorlix:bundle");
        writer.conditionally_write_ns_attrs(false);
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.conditionally_write_ns_attrs(true);
        writer.start_element("spirit:name");
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.conditionally_write_ns_attrs(true);  // already in scope here
        writer.end_element("spirit:name");
        writer.end_element("vorlix:bundle");
    }
    EXPECT_EQ(occurrences(os.str(), "xmlns:"), 2u) << os.str();
    EXPECT_EQ(read_elements(os.str()).code, lmx60::ELMX_OK) << os.str();
}

TEST(WriterNamespaceDeclarations, NestedElementDeclaresItsMapOnlyWhenAsked)
{
    for (bool declareNested : {false, true}) {
        std::ostringstream os;
        {
            lmx60::c_xml_writer writer(os);
            writer.start_element("report");  // the host's own element, written without a map
            writer.start_element("vorlix:note");
            writer.conditionally_select_ns_map(kVorlixOnly);
            writer.conditionally_write_ns_attrs(declareNested);
            writer.end_element("vorlix:note");
            writer.end_element("report");
        }
        read_back read = read_elements(os.str());
        if (declareNested) {
            EXPECT_EQ(read.code, lmx60::ELMX_OK) << os.str();
            EXPECT_EQ(read.ns_ids, (std::vector<int>{-1, kVorlix}));
            EXPECT_EQ(os.str().find("<report xmlns"), std::string::npos) << "only the nested element declares";
        } else {
            EXPECT_EQ(read.code, lmx60::ELMX_UNDEFINED_NAMESPACE) << os.str();
        }
    }
}

TEST(WriterNamespaceDeclarations, OfferAfterTheOutermostStartTagClosedDeclaresNothing)
{
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os);
        writer.start_element("report");
        writer.text("text closes the start tag", "report");
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.conditionally_write_ns_attrs(false);
        writer.end_element("report");
    }
    EXPECT_EQ(occurrences(os.str(), "xmlns"), 0u) << os.str();
    EXPECT_EQ(read_elements(os.str()).code, lmx60::ELMX_OK) << os.str();
}

TEST(WriterBridges, ValueIsWrittenAsAnElementOfItsOwnWithItsMapWhenOutermost)
{
    std::ostringstream os;
    text_bridge note("a < b & \xE2\x82\xAC");
    {
        lmx60::c_xml_writer writer(os);
        EXPECT_EQ(writer.marshal_element_impl("vorlix:note", note, kVorlixOnly), lmx60::ELMX_OK);
    }
    const std::string xml = os.str();
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kBothNamespaces);
    lmx60::elmx_error error;
    std::string name;
    reader.get_element_event(&error, &name);
    ASSERT_EQ(error, lmx60::ELMX_OK) << xml;
    EXPECT_TRUE(reader.element_is(kVorlix, "note")) << xml;
    std::string value;
    EXPECT_EQ(reader.get_element_value(&value, lmx60::ews_preserve), lmx60::ELMX_OK);
    EXPECT_EQ(value, note.get_text());
}

TEST(WriterBridges, InsideAnElementOnlyPresentValuesAreWrittenWithoutFurtherDeclarations)
{
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os);
        writer.conditionally_select_ns_map(kBothNamespaces);
        writer.start_element("vorlix:bundle");
        text_bridge absent;
        text_bridge present("4");
        EXPECT_EQ(writer.marshal_element_impl("vorlix:width", absent, kVorlixOnly), lmx60::ELMX_OK);
        EXPECT_EQ(writer.marshal_element_impl("spirit:value", present, kVorlixOnly), lmx60::ELMX_OK);
        writer.end_element("vorlix:bundle");
    }
    EXPECT_EQ(os.str().find("width"), std::string::npos) << os.str();
    EXPECT_EQ(occurrences(os.str(), "xmlns:"), 2u) << os.str();
    read_back read = read_elements(os.str());
    EXPECT_EQ(read.code, lmx60::ELMX_OK) << os.str();
    EXPECT_EQ(read.ns_ids, (std::vector<int>{kVorlix, kSpirit}));
}

TEST(WriterBridges, NullNameFailsTheStream)
{
    std::ostringstream os;
    lmx60::c_xml_writer writer(os, 0);
    text_bridge value("x");
    EXPECT_EQ(writer.marshal_element_impl(nullptr, value, kVorlixOnly), lmx60::ELMX_WRITE_FAILED);
    EXPECT_TRUE(os.fail());
}

TEST(WriterBridges, CharacterXmlCannotCarryIsACodeAndTheElementStillCloses)
{
    text_bridge control(std::string("a\x01" "b"));
    {
        std::ostringstream os;
        {
            lmx60::c_xml_writer writer(os);
            writer.conditionally_select_ns_map(kVorlixOnly);
            writer.start_element("vorlix:bundle");
            EXPECT_EQ(writer.marshal_element_impl("vorlix:note", control, kVorlixOnly), lmx60::ELMX_BAD_CHARACTER);
            EXPECT_EQ(writer.get_debug_error().item_name, "vorlix:note");
            writer.end_element("vorlix:bundle");
        }
        EXPECT_EQ(read_elements(os.str()).code, lmx60::ELMX_OK) << os.str();
    }
    {
        std::ostringstream os;
        lmx60::c_xml_writer writer(os);
        writer.set_error_handler([](lmx60::elmx_error, const std::string&, int) { return lmx60::ELMX_OK; });
        EXPECT_EQ(writer.marshal_element_impl("vorlix:note", control, kVorlixOnly), lmx60::ELMX_OK)
            << "a handler that carries on decides";
    }
}


// The reader's moves for code written by hand against event maps: tokenising tags and attributes,
// element events with their faults as values, element values under a whitespace rule, and the
// namespace context of prefixes met in values.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include <ipxact/lmx60/lmx60.h>

namespace {

const char kVorlixUri[] = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const char kSpiritUri[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const int kVorlix = 1000;
const int kSpirit = 1001;

const lmx60::s_ns_map kMap[] = {
    {kVorlix, "vorlix", kVorlixUri},
    {kSpirit, "spirit", kSpiritUri},
    {0, nullptr, nullptr},
};

enum {
    kComponentEvent = lmx60::EVENT_FIRST_NAME,
    kNameEvent,
    kPortInfoEvent,
    kIdAttributeEvent,
    kFlagAttributeEvent,
};

const lmx60::s_event_map kElementEvents[] = {
    {kSpirit, "component", 9, kComponentEvent},
    {kSpirit, "name", 4, kNameEvent},
    {kVorlix, "portInfo", 8, kPortInfoEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

const lmx60::s_event_map kAttributeEvents[] = {
    {kSpirit, "id", 2, kIdAttributeEvent},
    {kVorlix, "flag", 4, kFlagAttributeEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

std::string declarations(const char* spiritPrefix, const char* vorlixPrefix)
{
    return std::string(" xmlns:") + spiritPrefix + "='" + kSpiritUri + "' xmlns:" + vorlixPrefix + "='" +
           kVorlixUri + "'";
}

// The events of every tag of a document, in document order, passing over the content of elements the
// map does not know.
std::vector<int> element_events(const std::string& xml)
{
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    std::vector<int> events;
    for (int event = 0; event != lmx60::EVENT_END_OF_DOCUMENT;) {
        event = reader.tokenise(kElementEvents, lmx60::exae_element);
        events.push_back(event);
        if (event == lmx60::EVENT_UNKNOWN)
            reader.skip_element();
    }
    return events;
}

struct reader_over {
    std::string xml;
    lmx60::c_xml_reader_memory reader;
    explicit reader_over(std::string text) : xml(std::move(text)), reader(xml.data(), xml.size())
    {
        reader.set_ns_map(kMap);
    }
};

}  // namespace

TEST(TokeniseElements, ClassifiesEachTagAgainstTheMapUntilTheDocumentEnds)
{
    const std::string xml = "<spirit:component" + declarations("spirit", "vorlix") +
                            " xmlns:o='urn:other'>"
                            "<spirit:name/>"
                            "<vorlix:portInfo/>"
                            "<o:portInfo><spirit:name/></o:portInfo>"
                            "<vorlix:name/>"
                            "</spirit:component>";
    const std::vector<int> expected = {
        kComponentEvent, kNameEvent, lmx60::EVENT_END_TAG,  // a start tag's next tag is its first child or its end
        kPortInfoEvent, lmx60::EVENT_END_TAG,
        lmx60::EVENT_UNKNOWN,  // same local name, namespace the map does not give it
        lmx60::EVENT_UNKNOWN,  // spirit's name in vorlix's namespace
        lmx60::EVENT_END_TAG, lmx60::EVENT_END_OF_DOCUMENT,
    };
    EXPECT_EQ(element_events(xml), expected);
}

TEST(TokeniseElements, PrefixesDoNotChangeTheEvents)
{
    const std::string usual = "<spirit:component" + declarations("spirit", "vorlix") +
                              "><spirit:name/><vorlix:portInfo/></spirit:component>";
    const std::string other = "<ipx:component" + declarations("ipx", "v") + "><ipx:name/><v:portInfo/></ipx:component>";
    const std::string byDefault = std::string("<component xmlns='") + kSpiritUri + "' xmlns:v='" + kVorlixUri +
                                  "'><name/><v:portInfo/></component>";
    EXPECT_EQ(element_events(other), element_events(usual));
    EXPECT_EQ(element_events(byDefault), element_events(usual));
}

TEST(TokeniseElements, FaultsGoThroughTheReadersErrorPath)
{
    reader_over broken("<spirit:component" + declarations("spirit", "vorlix") + "><spirit:name></spirit:component>");
    try {
        while (broken.reader.tokenise(kElementEvents, lmx60::exae_element) != lmx60::EVENT_END_OF_DOCUMENT) {
        }
        ADD_FAILURE() << "a mismatched end tag was read as a document";
    } catch (const lmx60::c_lmx_reader_exception& fault) {
        EXPECT_EQ(fault.get_error(), lmx60::ELMX_NOT_WELL_FORMED);
    }
    EXPECT_EQ(broken.reader.get_debug_error().error, lmx60::ELMX_NOT_WELL_FORMED);
}

TEST(TokeniseAttributes, ClassifiesEachAttributeOnceAndLeavesOutDeclarations)
{
    reader_over doc("<spirit:component" + declarations("spirit", "vorlix") +
                    " spirit:id='c1' plain='p' vorlix:flag='true' xmlns:o='urn:other' o:id='x'/>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    std::vector<int> events;
    std::vector<std::string> values;
    for (int event = doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute);
         event != lmx60::EVENT_NO_MORE_ATTRIBUTES; event = doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute)) {
        events.push_back(event);
        values.push_back(doc.reader.attribute_value());
    }
    EXPECT_EQ(events, (std::vector<int>{kIdAttributeEvent, lmx60::EVENT_UNKNOWN, kFlagAttributeEvent,
                                        lmx60::EVENT_UNKNOWN}));
    EXPECT_EQ(values, (std::vector<std::string>{"c1", "p", "true", "x"}));
    EXPECT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), lmx60::EVENT_NO_MORE_ATTRIBUTES)
        << "the end stays the end";
}

TEST(TokeniseAttributes, EachStartTagStartsItsOwnAttributes)
{
    reader_over doc("<spirit:component" + declarations("spirit", "vorlix") +
                    " spirit:id='outer'><spirit:name spirit:id='inner'/></spirit:component>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    ASSERT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), kIdAttributeEvent);
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kNameEvent);
    ASSERT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), kIdAttributeEvent);
    EXPECT_STREQ(doc.reader.attribute_value(), "inner");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), lmx60::EVENT_END_TAG);
    EXPECT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), lmx60::EVENT_NO_MORE_ATTRIBUTES)
        << "an end tag has no attributes";
}

TEST(TokeniseAttributes, ClassifiesTheAttributeThatFirstAndNextMovedTo)
{
    reader_over doc("<spirit:component" + declarations("spirit", "vorlix") + " vorlix:flag='1' spirit:id='c'/>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    ASSERT_TRUE(doc.reader.first_attribute());
    EXPECT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), kFlagAttributeEvent);
    ASSERT_TRUE(doc.reader.next_attribute());
    EXPECT_EQ(doc.reader.tokenise(kAttributeEvents, lmx60::exae_attribute), kIdAttributeEvent);
    EXPECT_FALSE(doc.reader.next_attribute());
}

TEST(ElementEvents, NameComesAsWrittenWithOrWithoutAMap)
{
    reader_over doc("<ipx:component" + declarations("ipx", "v") + "><v:portInfo/></ipx:component>");
    lmx60::elmx_error error = -1;
    std::string name;
    EXPECT_EQ(doc.reader.get_element_event(&error, &name), lmx60::EVENT_UNKNOWN) << "no map classifies nothing";
    EXPECT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(name, "ipx:component");
    EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), kPortInfoEvent);
    EXPECT_EQ(name, "v:portInfo");
    EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), lmx60::EVENT_END_TAG);
    EXPECT_EQ(name, "");
    EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), lmx60::EVENT_END_TAG);
    EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), lmx60::EVENT_END_OF_DOCUMENT);
    EXPECT_EQ(error, lmx60::ELMX_OK);
}

TEST(ElementEvents, FaultsComeBackAsTheirCodes)
{
    struct broken_case {
        std::string xml;
        lmx60::elmx_error code;
    };
    const broken_case cases[] = {
        {"<spirit:component xmlns:spirit='" + std::string(kSpiritUri) + "'>\xFF</spirit:component>",
         lmx60::ELMX_ENCODING_ERROR},
        {"<spirit:component xmlns:spirit='" + std::string(kSpiritUri) + "'", lmx60::ELMX_NOT_WELL_FORMED},
        {"<undeclared:component/>", lmx60::ELMX_UNDEFINED_NAMESPACE},
    };
    for (const broken_case& broken : cases) {
        reader_over doc(broken.xml);
        lmx60::elmx_error error = lmx60::ELMX_OK;
        std::string name = "stale";
        EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), lmx60::EVENT_END_OF_DOCUMENT)
            << broken.xml;
        EXPECT_EQ(error, broken.code) << broken.xml;
        EXPECT_EQ(name, "") << broken.xml;
        EXPECT_EQ(doc.reader.get_debug_error().error, broken.code) << broken.xml;
    }
}

TEST(ElementEvents, MissingFileIsCodeOne)
{
    lmx60::c_xml_reader_file reader((::testing::TempDir() + "lmx60_tokens_no_such_file.xml").c_str());
    lmx60::elmx_error error = lmx60::ELMX_OK;
    std::string name;
    EXPECT_EQ(reader.get_element_event(&error, &name), lmx60::EVENT_END_OF_DOCUMENT);
    EXPECT_EQ(error, lmx60::ELMX_NO_FILE);
}

TEST(ElementEvents, HandlerDecidesWhetherAFaultStopsTheRead)
{
    const std::string xml = "<spirit:component" + declarations("spirit", "vorlix") +
                            ">stray text<spirit:name/></spirit:component>";
    {
        reader_over doc(xml);
        std::vector<lmx60::elmx_error> seen;
        doc.reader.set_error_handler([&](lmx60::elmx_error code, const std::string&, int) {
            seen.push_back(code);
            return lmx60::ELMX_OK;
        });
        lmx60::elmx_error error = -1;
        std::string name;
        doc.reader.get_element_event(kElementEvents, &error, &name);
        EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), kNameEvent) << "carried on past the text";
        EXPECT_EQ(error, lmx60::ELMX_OK);
        EXPECT_EQ(seen, std::vector<lmx60::elmx_error>{lmx60::ELMX_UNEXPECTED_TEXT});
    }
    {
        reader_over doc(xml);
        const lmx60::elmx_error hostCode = 77;
        doc.reader.set_error_handler([&](lmx60::elmx_error, const std::string&, int) { return hostCode; });
        lmx60::elmx_error error = -1;
        std::string name;
        doc.reader.get_element_event(kElementEvents, &error, &name);
        EXPECT_EQ(doc.reader.get_element_event(kElementEvents, &error, &name), lmx60::EVENT_END_OF_DOCUMENT);
        EXPECT_EQ(error, hostCode);
    }
}

TEST(ElementValues, WhitespaceRuleOfTheValueIsApplied)
{
    const std::string text = "\t two\n\nwords  ";
    struct rule_case {
        lmx60::elmx_whitespace rule;
        std::string expected;
    };
    const rule_case cases[] = {
        {lmx60::ews_preserve, text},
        {lmx60::ews_replace, "  two  words  "},
        {lmx60::ews_collapse, "two words"},
    };
    for (const rule_case& rule : cases) {
        reader_over doc("<spirit:name xmlns:spirit='" + std::string(kSpiritUri) + "'>" + text + "</spirit:name>");
        ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kNameEvent);
        std::string value;
        EXPECT_EQ(doc.reader.get_element_value(&value, rule.rule), lmx60::ELMX_OK);
        EXPECT_EQ(value, rule.expected) << rule.rule;
    }
}

TEST(ElementValues, ReferencesAndCdataAreTextAndTheReaderEndsOnTheEndTag)
{
    reader_over doc("<spirit:component" + declarations("spirit", "vorlix") +
                    "><spirit:name>a &lt; b<![CDATA[ & <c>]]>&#x20AC;</spirit:name><vorlix:portInfo/>"
                    "</spirit:component>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kNameEvent);
    std::string value;
    ASSERT_EQ(doc.reader.get_element_value(&value, lmx60::ews_preserve), lmx60::ELMX_OK);
    EXPECT_EQ(value, "a < b & <c>\xE2\x82\xAC");
    EXPECT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kPortInfoEvent);
}

TEST(ElementValues, ChildElementInAValueIsCodeEight)
{
    reader_over doc("<spirit:name" + declarations("spirit", "vorlix") + ">a<vorlix:b/>c</spirit:name>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kNameEvent);
    std::string value;
    EXPECT_EQ(doc.reader.get_element_value(&value, lmx60::ews_collapse), lmx60::ELMX_UNEXPECTED_ELEMENT);
    EXPECT_EQ(doc.reader.get_debug_error().item_name, "vorlix:b");
}

TEST(NamespaceContext, AddedMappingResolvesWhatTheDocumentLeavesUndeclared)
{
    reader_over doc("<vorlix:portInfo xmlns:vorlix='" + std::string(kVorlixUri) +
                    "' type='spirit:wire' xmlns:p='urn:document'/>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kPortInfoEvent);
    std::string uri;
    EXPECT_FALSE(doc.reader.get_namespace("spirit", &uri));

    doc.reader.add_namespace_mapping("spirit", "urn:first");
    doc.reader.add_namespace_mapping("spirit", kSpiritUri);
    doc.reader.add_namespace_mapping("p", "urn:host");
    doc.reader.add_namespace_mapping("", "urn:default");
    ASSERT_TRUE(doc.reader.get_namespace("spirit", &uri));
    EXPECT_EQ(uri, kSpiritUri) << "the later mapping of a prefix replaces the earlier";
    ASSERT_TRUE(doc.reader.get_namespace("p", &uri));
    EXPECT_EQ(uri, "urn:document") << "the document's own declaration wins";
    ASSERT_TRUE(doc.reader.get_namespace("", &uri));
    EXPECT_EQ(uri, "urn:default");
    EXPECT_FALSE(doc.reader.get_namespace("q", &uri));
}

TEST(CrackedNames, ValuesResolveInTheScopeWhereTheyWereRead)
{
    reader_over doc(std::string("<component xmlns='") + kSpiritUri + "' xmlns:v='" + kVorlixUri +
                    "' xmlns:o='urn:other'><v:portInfo xmlns='' xmlns:v='urn:rebound'/></component>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    struct name_case {
        const char* qname;
        int ns_id;
        const char* local;
    };
    const name_case outer[] = {
        {"v:portInfo", kVorlix, "portInfo"},
        {"wire", kSpirit, "wire"},  // an element name without a prefix is in the default namespace
        {" \tv:portInfo\n", kVorlix, "portInfo"},
        {"o:thing", 0, "thing"},
        {"undeclared:thing", 0, "thing"},
    };
    for (const name_case& name : outer) {
        lmx60::c_cracked_name cracked(doc.reader, name.qname);
        EXPECT_EQ(cracked.get_element_ns_id(), name.ns_id) << name.qname;
        EXPECT_EQ(cracked.get_local_name(), name.local) << name.qname;
    }
    ASSERT_EQ(doc.reader.tokenise(nullptr, lmx60::exae_element), lmx60::EVENT_UNKNOWN);
    EXPECT_EQ(lmx60::c_cracked_name(doc.reader, "wire").get_element_ns_id(), -1) << "xmlns='' undeclares";
    EXPECT_EQ(lmx60::c_cracked_name(doc.reader, "v:portInfo").get_element_ns_id(), 0) << "v is rebound here";
}

TEST(CrackedNames, ShortUrisHeldByTheCallerAreNotMistakenForOneAnother)
{
    const lmx60::s_ns_map shortMap[] = {{1, "a", "urn:a"}, {2, "b", "urn:b"}, {0, nullptr, nullptr}};
    const std::string xml = "<a:x xmlns:a='urn:a' xmlns:b='urn:b'/>";
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(shortMap);
    reader.add_namespace_mapping("c", "urn:a");
    lmx60::elmx_error error;
    std::string name;
    reader.get_element_event(&error, &name);
    EXPECT_EQ(lmx60::c_cracked_name(reader, "a:y").get_element_ns_id(), 1);
    EXPECT_EQ(lmx60::c_cracked_name(reader, "b:y").get_element_ns_id(), 2);
    EXPECT_EQ(lmx60::c_cracked_name(reader, "c:y").get_element_ns_id(), 1);
    EXPECT_EQ(reader.element_ns_id(), 1);
}

namespace {

using binding = lmx60::c_xml_local::binding;

TEST(NamespaceContext, ContextTakenAtAnElementLetsItsCapturedCopyResolveItsValues)
{
    reader_over doc(std::string("<spirit:component xmlns:spirit='") + kSpiritUri + "' xmlns:t='urn:types'>" +
                    "<vorlix:portInfo xmlns:vorlix='" + kVorlixUri + "' xmlns:t='urn:inner' xmlns='urn:default'" +
                    " vorlix:flag='t:wire'/></spirit:component>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    doc.reader.add_namespace_mapping("h", "urn:host");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kPortInfoEvent);

    lmx60::c_xml_local context;
    context.extract_namespace_context(doc.reader);
    EXPECT_EQ(context.bindings(), (std::vector<binding>{{"", "urn:default"},
                                                        {"t", "urn:inner"},
                                                        {"vorlix", kVorlixUri},
                                                        {"spirit", kSpiritUri},
                                                        {"h", "urn:host"}}));

    lmx60::c_any_info captured;
    ASSERT_EQ(lmx60::c_xml::get_any_element(doc.reader, &captured), lmx60::ELMX_OK);
    lmx60::c_xml_reader_memory fragment(captured.get_xml().data(), captured.get_xml().size());
    fragment.set_ns_map(kMap);
    context.apply(fragment);
    ASSERT_EQ(fragment.tokenise(kElementEvents, lmx60::exae_element), kPortInfoEvent);
    std::string uri;
    ASSERT_TRUE(fragment.get_namespace("t", &uri));
    EXPECT_EQ(uri, "urn:inner");
    ASSERT_TRUE(fragment.get_namespace("h", &uri));
    EXPECT_EQ(uri, "urn:host");
}

TEST(ElementOperations, SchemaInstanceTypeIsResolvedInTheElementsScope)
{
    const char xsi[] = " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'";
    struct type_case {
        std::string attribute;
        bool present;
        const char* ns_uri;
        const char* local;
    };
    const type_case cases[] = {
        {" xsi:type=' spirit:wireType '", true, kSpiritUri, "wireType"},
        {" xsi:type='plain'", true, "urn:default", "plain"},
        {" xsi:type='nowhere:x'", true, "", "x"},
        {" type='spirit:wireType'", false, "", ""},
    };
    for (const type_case& c : cases) {
        reader_over doc(std::string("<spirit:component xmlns:spirit='") + kSpiritUri + "' xmlns='urn:default'" +
                        xsi + c.attribute + "/>");
        ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
        std::string uri = "unchanged";
        std::string local;
        EXPECT_EQ(lmx60::c_xml::get_xsi_type(doc.reader, &uri, &local), c.present) << c.attribute;
        if (c.present) {
            EXPECT_EQ(uri, c.ns_uri) << c.attribute;
            EXPECT_EQ(local, c.local) << c.attribute;
        }
    }
}

TEST(ElementOperations, NamespaceNamesWithAnAmpersandAreReadAndCapturedAsWritten)
{
    reader_over doc(std::string("<spirit:component xmlns:spirit='") + kSpiritUri +
                    "'><x:tool xmlns:x='http://example.com/?a=1&amp;b=2' x:v='1&amp;2'/></spirit:component>");
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), kComponentEvent);
    ASSERT_EQ(doc.reader.tokenise(kElementEvents, lmx60::exae_element), lmx60::EVENT_UNKNOWN);
    EXPECT_STREQ(doc.reader.element_ns_uri(), "http://example.com/?a=1&b=2");
    ASSERT_TRUE(doc.reader.first_attribute());
    EXPECT_STREQ(doc.reader.attribute_ns_uri(), "http://example.com/?a=1&b=2");
    lmx60::c_any_info captured;
    ASSERT_EQ(lmx60::c_xml::get_any_element(doc.reader, &captured), lmx60::ELMX_OK);
    EXPECT_EQ(captured.get_namespace(), "http://example.com/?a=1&b=2");
    EXPECT_EQ(captured.get_xml(), "<x:tool xmlns:x=\"http://example.com/?a=1&amp;b=2\" x:v=\"1&amp;2\"/>");
}

TEST(ElementObserver, EveryElementMovedOntoIsReportedWithItsLevelAndLine)
{
    reader_over doc(std::string("<spirit:component xmlns:spirit='") + kSpiritUri + "'>\n" +
                    "  <spirit:name>n</spirit:name>\n  <skipped><inside/></skipped>\n  <last/>\n" +
                    "</spirit:component>");
    doc.reader.set_error_handler([](lmx60::elmx_error, const std::string&, int) { return lmx60::ELMX_OK; });
    std::vector<std::string> seen;
    doc.reader.set_element_observer([&](size_t level, const char* uri, const char* local, int line) {
        seen.push_back(std::to_string(level) + " " + (uri ? uri : "-") + " " + local + " " + std::to_string(line));
    });
    for (int event = 0; event != lmx60::EVENT_END_OF_DOCUMENT;) {
        event = doc.reader.tokenise(kElementEvents, lmx60::exae_element);
        if (event == lmx60::EVENT_UNKNOWN)
            doc.reader.skip_element();
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"1 " + std::string(kSpiritUri) + " component 1",
                                              "2 " + std::string(kSpiritUri) + " name 2", "2 - skipped 3",
                                              "2 - last 4"}));
}

}  // namespace

namespace {

TEST(ElementEvents, TheFallbackFaultRecordBelongsToTheThreadThatFailed)
{
    lmx60::debug_error.clear();
    lmx60::elmx_error seenThere = lmx60::ELMX_OK;
    std::thread reading([&] {
        reader_over broken("<spirit:component xmlns:spirit='" + std::string(kSpiritUri) + "'><a></b>");
        EXPECT_THROW(while (broken.reader.tokenise(kElementEvents, lmx60::exae_element) != lmx60::EVENT_END_OF_DOCUMENT) {},
                     lmx60::c_lmx_reader_exception);
        seenThere = lmx60::debug_error.error;
    });
    reading.join();
    EXPECT_EQ(seenThere, lmx60::ELMX_NOT_WELL_FORMED);
    EXPECT_EQ(lmx60::debug_error.error, lmx60::ELMX_OK) << "another thread's fault is not this thread's";
}

}  // namespace

TEST(NameNotes, ANoteFollowsItsNameInItsNamespaceWhateverThePrefix)
{
    reader_over doc("<s:component" + declarations("s", "v") +
                    "><s:name/><v:name/><t:name xmlns:t='" + kSpiritUri + "'/><v:name/></s:component>");
    std::vector<std::string> seen;
    for (int event = 0; event != lmx60::EVENT_END_OF_DOCUMENT;) {
        event = doc.reader.tokenise(kElementEvents, lmx60::exae_element);
        if (doc.reader.current() != lmx60::c_xml_reader::tok_start)
            continue;
        int note = 0;
        if (doc.reader.name_note(&note)) {
            seen.push_back(std::to_string(note));
        } else {
            seen.push_back("new");
            doc.reader.set_name_note(doc.reader.element_ns_id() * 10 + static_cast<int>(seen.size()));
        }
    }
    EXPECT_EQ(seen, (std::vector<std::string>{"new", "new", "new", "10012", "10003"}));

    reader_over other("<s:component" + declarations("s", "v") + "/>");
    other.reader.tokenise(kElementEvents, lmx60::exae_element);
    int note = 0;
    EXPECT_FALSE(other.reader.name_note(&note)) << "notes belong to one reader";
}

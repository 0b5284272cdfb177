// Types read by hand with the element driver: a bundle of signals read with tokenise,
// get_element_event, get_element_value and c_unmarshal_helper alone, and what the driver makes of
// documents that do not fit.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60.h>

namespace {

const char kVorlixUri[] = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const char kSpiritUri[] = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const char kSchemaInstanceUri[] = "http://www.w3.org/2001/XMLSchema-instance";
const int kVorlix = 1000;
const int kSpirit = 1001;
const int kNoNamespace = -1;

const lmx60::s_ns_map kMap[] = {
    {kVorlix, "vorlix", kVorlixUri},
    {kSpirit, "spirit", kSpiritUri},
    {0, nullptr, nullptr},
};

enum {
    kBundleEvent = lmx60::EVENT_FIRST_NAME,
    kTitleEvent,
    kSignalEvent,
    kWidthEvent,
    kClockEvent,
    kTagEvent,
    kIdEvent,
    kNameEvent,
    kDirectionEvent,
};

const lmx60::s_event_map kElementEvents[] = {
    {kVorlix, "bundle", 6, kBundleEvent},
    {kVorlix, "title", 5, kTitleEvent},
    {kVorlix, "signal", 6, kSignalEvent},
    {kVorlix, "width", 5, kWidthEvent},
    {kVorlix, "clock", 5, kClockEvent},
    {kVorlix, "tag", 3, kTagEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

const lmx60::s_event_map kAttributeEvents[] = {
    {kSpirit, "id", 2, kIdEvent},
    {kNoNamespace, "name", 4, kNameEvent},
    {kNoNamespace, "direction", 9, kDirectionEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

struct bus_signal {
    std::string name;
    std::string direction;
    long long width = 0;
    bool is_clock = false;
    std::vector<std::string> tags;
};

struct bundle {
    std::string id;
    std::string title;
    std::vector<bus_signal> signals;
};

// signal: attributes name (required) and direction; children width, clock?, tag*.
class signal_reader : public lmx60::c_unmarshal_helper {
public:
    signal_reader(lmx60::c_xml_reader& reader, bus_signal* target) : c_unmarshal_helper(reader), m_signal(target) {}

    bool unmarshal_attribute(lmx60::elmx_error*) override
    {
        switch (reader().tokenise(kAttributeEvents, lmx60::exae_attribute)) {
        case kNameEvent:
            m_signal->name = reader().attribute_value();
            m_has_name = true;
            return true;
        case kDirectionEvent:
            m_signal->direction = reader().attribute_value();
            return true;
        default:
            return false;
        }
    }

    void unmarshal_attributes_check(lmx60::elmx_error*) override
    {
        if (!m_has_name)
            reader().capture_error(lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING, "signal", __FILE__, __LINE__);
    }

    void unmarshal_complex_body(lmx60::elmx_error* error) override
    {
        int event = next_child();
        if (event == kWidthEvent) {
            if ((*error = read_width()) != lmx60::ELMX_OK)
                return;
            event = next_child();
        } else {
            reader().capture_error(lmx60::ELMX_REQUIRED_ELEMENT_MISSING, "vorlix:width", __FILE__, __LINE__);
        }
        if (event == kClockEvent) {
            if ((*error = c_unmarshal_helper(reader()).unmarshal_empty_content("vorlix:clock", kVorlix)) != lmx60::ELMX_OK)
                return;
            m_signal->is_clock = true;
            event = next_child();
        }
        while (event == kTagEvent) {
            std::string tag;
            if ((*error = reader().get_element_value(&tag, lmx60::ews_preserve)) != lmx60::ELMX_OK)
                return;
            m_signal->tags.push_back(tag);
            event = next_child();
        }
    }

private:
    int next_child() { return reader().tokenise(kElementEvents, lmx60::exae_element); }

    lmx60::elmx_error read_width()
    {
        std::string text;
        lmx60::elmx_error error = reader().get_element_value(&text, lmx60::ews_collapse);
        if (error == lmx60::ELMX_OK && !lmx60::parse_long_long(text, &m_signal->width))
            reader().capture_error(lmx60::ELMX_BAD_VALUE, "vorlix:width", __FILE__, __LINE__);
        return error;
    }

    bus_signal* m_signal;
    bool m_has_name = false;
};

// bundle: attribute spirit:id; children title?, signal*.
class bundle_reader : public lmx60::c_unmarshal_helper {
public:
    bundle_reader(lmx60::c_xml_reader& reader, bundle* target) : c_unmarshal_helper(reader), m_bundle(target) {}

    bool unmarshal_attribute(lmx60::elmx_error*) override
    {
        if (reader().tokenise(kAttributeEvents, lmx60::exae_attribute) != kIdEvent)
            return false;
        m_bundle->id = reader().attribute_value();
        return true;
    }

    void unmarshal_complex_body(lmx60::elmx_error* error) override
    {
        int event = reader().tokenise(kElementEvents, lmx60::exae_element);
        if (event == kTitleEvent) {
            if ((*error = reader().get_element_value(&m_bundle->title, lmx60::ews_collapse)) != lmx60::ELMX_OK)
                return;
            event = reader().tokenise(kElementEvents, lmx60::exae_element);
        }
        while (event == kSignalEvent) {
            m_bundle->signals.emplace_back();
            *error = signal_reader(reader(), &m_bundle->signals.back()).unmarshal_complex_content("vorlix:signal", kVorlix);
            if (*error != lmx60::ELMX_OK)
                return;
            event = reader().tokenise(kElementEvents, lmx60::exae_element);
        }
    }

private:
    bundle* m_bundle;
};

struct bundle_read {
    lmx60::elmx_error code = lmx60::ELMX_PENDING;
    bundle value;
    lmx60::s_debug_error debug;
    std::vector<lmx60::elmx_error> faults_passed;  // with a handler that carries on
};

// The whole-document entry of the hand-written type.
bundle_read read_bundle(const std::string& xml, bool carryOn = false)
{
    bundle_read result;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    if (carryOn)
        reader.set_error_handler([&](lmx60::elmx_error code, const std::string&, int) {
            result.faults_passed.push_back(code);
            return lmx60::ELMX_OK;
        });
    std::string name;
    reader.get_element_event(kElementEvents, &result.code, &name);
    if (result.code == lmx60::ELMX_OK)
        result.code = bundle_reader(reader, &result.value).unmarshal_complex_content("vorlix:bundle", kVorlix);
    if (result.code == lmx60::ELMX_OK && reader.get_element_event(&result.code, &name) != lmx60::EVENT_END_OF_DOCUMENT)
        ADD_FAILURE() << "the document went on after its element: " << name;
    result.debug = reader.get_debug_error();
    return result;
}

std::string bundle_xml(const std::string& body, const std::string& attributes = " spirit:id='b1'")
{
    return std::string("<vorlix:bundle xmlns:vorlix='") + kVorlixUri + "' xmlns:spirit='" + kSpiritUri + "'" +
           attributes + ">" + body + "</vorlix:bundle>";
}

const char kTwoSignals[] =
    "\n  <vorlix:title>  Main \n bus </vorlix:title>"
    "\n  <vorlix:signal name='clk' direction='in'>"
    "\n    <vorlix:width>1</vorlix:width>"
    "\n    <vorlix:clock/>"
    "\n  </vorlix:signal>"
    "\n  <vorlix:signal name='data'>"
    "\n    <vorlix:width> 32 </vorlix:width>"
    "\n    <vorlix:tag> a </vorlix:tag><vorlix:tag>b</vorlix:tag>"
    "\n  </vorlix:signal>\n";

}  // namespace

TEST(HandWrittenReading, ReadsEveryValueOfADocument)
{
    bundle_read read = read_bundle(bundle_xml(kTwoSignals));
    ASSERT_EQ(read.code, lmx60::ELMX_OK) << read.debug.to_string();
    EXPECT_EQ(read.value.id, "b1");
    EXPECT_EQ(read.value.title, "Main bus");
    ASSERT_EQ(read.value.signals.size(), 2u);
    const bus_signal& clk = read.value.signals[0];
    EXPECT_EQ(clk.name, "clk");
    EXPECT_EQ(clk.direction, "in");
    EXPECT_EQ(clk.width, 1);
    EXPECT_TRUE(clk.is_clock);
    EXPECT_TRUE(clk.tags.empty());
    const bus_signal& data = read.value.signals[1];
    EXPECT_EQ(data.name, "data");
    EXPECT_EQ(data.direction, "");
    EXPECT_EQ(data.width, 32);
    EXPECT_FALSE(data.is_clock);
    EXPECT_EQ(data.tags, (std::vector<std::string>{" a ", "b"}));
}

TEST(HandWrittenReading, PrefixesChosenByTheDocumentDoNotMatter)
{
    const std::string xml = std::string("<bundle xmlns='") + kVorlixUri + "' xmlns:ipx='" + kSpiritUri +
                            "' ipx:id='b1'><title>t</title><signal name='s'><width>8</width><tag>x</tag></signal>"
                            "</bundle>";
    bundle_read read = read_bundle(xml);
    ASSERT_EQ(read.code, lmx60::ELMX_OK) << read.debug.to_string();
    EXPECT_EQ(read.value.id, "b1");
    ASSERT_EQ(read.value.signals.size(), 1u);
    EXPECT_EQ(read.value.signals[0].width, 8);
    EXPECT_EQ(read.value.signals[0].tags, std::vector<std::string>{"x"});
}

TEST(HandWrittenReading, ReaderEndsOnTheEndTagWithItsItemNameAsBefore)
{
    const std::string xml = bundle_xml("<vorlix:signal name='a'><vorlix:width>1</vorlix:width></vorlix:signal>"
                                       "<vorlix:title/>");
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    ASSERT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), kBundleEvent);
    ASSERT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), kSignalEvent);
    reader.set_current_item(std::string("the bundle's content"));
    bus_signal read;
    EXPECT_EQ(signal_reader(reader, &read).unmarshal_complex_content("vorlix:signal", kVorlix), lmx60::ELMX_OK);
    EXPECT_STREQ(reader.get_current_item(), "the bundle's content");
    EXPECT_EQ(reader.current(), lmx60::c_xml_reader::tok_end);
    EXPECT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), kTitleEvent) << "the next sibling follows";
}

TEST(ElementCheck, AnotherElementThanTheOneNamedIsCodeSixteen)
{
    const std::string inSpirit = std::string("<spirit:bundle xmlns:spirit='") + kSpiritUri + "'/>";
    const std::string otherName = std::string("<vorlix:bundles xmlns:vorlix='") + kVorlixUri + "'/>";
    for (const std::string& xml : {inSpirit, otherName}) {
        bundle_read read = read_bundle(xml);
        EXPECT_EQ(read.code, lmx60::ELMX_WRONG_ELEMENT) << xml;
        EXPECT_EQ(read.debug.item_name, xml.substr(1, xml.find(' ') - 1));
    }
}

TEST(ElementCheck, WithoutAStartTagThereIsNothingToRead)
{
    const std::string xml = bundle_xml("");
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kMap);
    ASSERT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), kBundleEvent);
    ASSERT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), lmx60::EVENT_END_TAG);
    bundle read;
    EXPECT_EQ(bundle_reader(reader, &read).unmarshal_complex_content("vorlix:bundle", kVorlix),
              lmx60::ELMX_WRONG_ELEMENT);
    EXPECT_EQ(reader.get_debug_error().item_name, "vorlix:bundle");
}

TEST(Attributes, AttributeNoStepTakesIsCodeNineButSchemaInstanceHintsPass)
{
    const std::string hints = std::string(" xmlns:xsi='") + kSchemaInstanceUri +
                              "' xsi:schemaLocation='urn:x bundle.xsd' spirit:id='b1'";
    EXPECT_EQ(read_bundle(bundle_xml("", hints)).code, lmx60::ELMX_OK);

    bundle_read read = read_bundle(bundle_xml("<vorlix:signal name='s' spirit:width='1'/>"));
    EXPECT_EQ(read.code, lmx60::ELMX_UNEXPECTED_ATTRIBUTE);
    EXPECT_EQ(read.debug.item_name, "spirit:width");
}

TEST(Attributes, RequiredAttributeMissingIsReportedByTheCheckStep)
{
    bundle_read read = read_bundle(bundle_xml("<vorlix:signal direction='out'><vorlix:width>1</vorlix:width>"
                                              "</vorlix:signal>"));
    EXPECT_EQ(read.code, lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING);
    EXPECT_EQ(read.debug.item_name, "signal");
}

TEST(Content, ChildTheBodyLeavesUnreadIsCodeEight)
{
    const std::string outOfOrder = "<vorlix:signal name='s'><vorlix:width>1</vorlix:width><vorlix:tag>t</vorlix:tag>"
                                   "<vorlix:clock/></vorlix:signal>";
    const std::string unknown = "<vorlix:title/><vorlix:extra><vorlix:tag/></vorlix:extra>";
    bundle_read read = read_bundle(bundle_xml(outOfOrder));
    EXPECT_EQ(read.code, lmx60::ELMX_UNEXPECTED_ELEMENT);
    EXPECT_EQ(read.debug.item_name, "vorlix:clock");
    read = read_bundle(bundle_xml(unknown));
    EXPECT_EQ(read.code, lmx60::ELMX_UNEXPECTED_ELEMENT);
    EXPECT_EQ(read.debug.item_name, "vorlix:extra");
}

TEST(Content, TextAmongChildrenIsCodeTen)
{
    bundle_read read = read_bundle(bundle_xml("<vorlix:title/>loose words<vorlix:signal name='s'/>"));
    EXPECT_EQ(read.code, lmx60::ELMX_UNEXPECTED_TEXT);
}

TEST(Content, EmptyContentRefusesTextAndElements)
{
    const std::string withText = "<vorlix:signal name='s'><vorlix:width>1</vorlix:width>"
                                 "<vorlix:clock>yes</vorlix:clock></vorlix:signal>";
    const std::string withChild = "<vorlix:signal name='s'><vorlix:width>1</vorlix:width>"
                                  "<vorlix:clock><vorlix:tag/></vorlix:clock></vorlix:signal>";
    const std::string withSpace = "<vorlix:signal name='s'><vorlix:width>1</vorlix:width>"
                                  "<vorlix:clock>\n  </vorlix:clock></vorlix:signal>";
    EXPECT_EQ(read_bundle(bundle_xml(withText)).code, lmx60::ELMX_UNEXPECTED_TEXT);
    EXPECT_EQ(read_bundle(bundle_xml(withChild)).code, lmx60::ELMX_UNEXPECTED_ELEMENT);
    EXPECT_EQ(read_bundle(bundle_xml(withSpace)).code, lmx60::ELMX_OK);
}

namespace {

// A width with a unit attribute and the number as its text.
class width_reader : public lmx60::c_unmarshal_helper {
public:
    width_reader(lmx60::c_xml_reader& reader, bool readsText) : c_unmarshal_helper(reader), m_reads_text(readsText) {}
    std::string unit;
    std::string text;

    bool unmarshal_attribute(lmx60::elmx_error*) override
    {
        if (std::string(reader().attribute_local_name()) != "unit")
            return false;
        unit = reader().attribute_value();
        return true;
    }

    void unmarshal_simple_body(lmx60::elmx_error* error) override
    {
        if (m_reads_text)
            *error = reader().get_element_value(&text, lmx60::ews_collapse);
    }

private:
    bool m_reads_text;
};

lmx60::elmx_error read_width(lmx60::c_xml_reader& reader, width_reader* width)
{
    reader.set_ns_map(kMap);
    lmx60::elmx_error error;
    std::string name;
    reader.get_element_event(kElementEvents, &error, &name);
    return error != lmx60::ELMX_OK ? error : width->unmarshal_simple_content("vorlix:width", kVorlix);
}

struct width_case {
    std::string xml;
    lmx60::elmx_error code;
    std::string unit;
    std::string text;
    bool reads_text = true;
};

}  // namespace

TEST(Content, SimpleContentIsTheTextOfTheElement)
{
    const std::string open = std::string("<vorlix:width xmlns:vorlix='") + kVorlixUri + "' unit='bit'>";
    const width_case cases[] = {
        {open + " 16 </vorlix:width>", lmx60::ELMX_OK, "bit", "16"},
        {open + "1<vorlix:tag/>6</vorlix:width>", lmx60::ELMX_UNEXPECTED_ELEMENT, "bit", ""},
        {open + "16</vorlix:width>", lmx60::ELMX_UNEXPECTED_TEXT, "bit", "", false},  // text left unread
        {open + "</vorlix:width>", lmx60::ELMX_OK, "bit", "", false},
    };
    for (const width_case& c : cases) {
        lmx60::c_xml_reader_memory reader(c.xml.data(), c.xml.size());
        width_reader width(reader, c.reads_text);
        EXPECT_EQ(read_width(reader, &width), c.code) << c.xml;
        EXPECT_EQ(width.unit, c.unit) << c.xml;
        if (c.code == lmx60::ELMX_OK) {
            EXPECT_EQ(width.text, c.text) << c.xml;
        }
    }
}

TEST(Faults, FaultDeepInsideStopsEveryEnclosingReadWithItsCodeAndLine)
{
    bundle_read read = read_bundle(bundle_xml("\n<vorlix:signal name='a'>\n<vorlix:width>wide</vorlix:width>"
                                              "\n<vorlix:tag>never read</vorlix:tag></vorlix:signal>"
                                              "\n<vorlix:signal name='b'/>"));
    EXPECT_EQ(read.code, lmx60::ELMX_BAD_VALUE);
    EXPECT_EQ(read.debug.item_name, "vorlix:width");
    EXPECT_EQ(read.debug.document_line, 3);
    ASSERT_EQ(read.value.signals.size(), 1u) << "nothing after the fault is read";
    EXPECT_TRUE(read.value.signals[0].tags.empty());
}

TEST(Faults, BrokenMarkupIsTheParsersCode)
{
    const std::string mismatched = "<vorlix:signal name='s'><vorlix:width>1</vorlix:width><vorlix:tag>a</vorlix:tags>"
                                   "</vorlix:signal>";
    EXPECT_EQ(read_bundle(bundle_xml(mismatched)).code, lmx60::ELMX_NOT_WELL_FORMED);
    EXPECT_EQ(read_bundle(bundle_xml("<vorlix:title/>") + "<trailing/>").code, lmx60::ELMX_NOT_WELL_FORMED);
}

TEST(Faults, HandlerThatCarriesOnGetsTheRestOfTheDocument)
{
    const std::string body = "<vorlix:title>t</vorlix:title>"
                             "<vorlix:signal name='a' colour='red'><vorlix:tag>x</vorlix:tag><vorlix:extra/>"
                             "</vorlix:signal>"
                             "<vorlix:signal name='b'><vorlix:width>4</vorlix:width></vorlix:signal>";
    bundle_read read = read_bundle(bundle_xml(body), true);
    EXPECT_EQ(read.code, lmx60::ELMX_OK);
    EXPECT_EQ(read.faults_passed, (std::vector<lmx60::elmx_error>{lmx60::ELMX_UNEXPECTED_ATTRIBUTE,
                                                                  lmx60::ELMX_REQUIRED_ELEMENT_MISSING,
                                                                  lmx60::ELMX_UNEXPECTED_ELEMENT}));
    EXPECT_EQ(read.debug.error, lmx60::ELMX_UNEXPECTED_ATTRIBUTE) << "the first fault is the one recorded";
    ASSERT_EQ(read.value.signals.size(), 2u);
    EXPECT_EQ(read.value.signals[0].tags, std::vector<std::string>{"x"});
    EXPECT_EQ(read.value.signals[1].name, "b");
    EXPECT_EQ(read.value.signals[1].width, 4);
}

namespace {

// Reads the first child's text and returns standing on that child's end tag.
class first_child_only : public lmx60::c_unmarshal_helper {
public:
    using c_unmarshal_helper::c_unmarshal_helper;
    std::string text;
    void unmarshal_complex_body(lmx60::elmx_error* error) override
    {
        if (reader().tokenise(kElementEvents, lmx60::exae_element) == kTitleEvent)
            *error = reader().get_element_value(&text, lmx60::ews_preserve);
    }
};

// Reads on into whatever follows its element.
class reads_too_far : public lmx60::c_unmarshal_helper {
public:
    using c_unmarshal_helper::c_unmarshal_helper;
    void unmarshal_complex_body(lmx60::elmx_error*) override
    {
        while (reader().tokenise(kElementEvents, lmx60::exae_element) != lmx60::EVENT_END_TAG) {
            reader().skip_element();
        }
        reader().tokenise(kElementEvents, lmx60::exae_element);
    }
};

lmx60::c_xml_reader_memory& on_first_child(lmx60::c_xml_reader_memory& reader)
{
    reader.set_ns_map(kMap);
    reader.tokenise(kElementEvents, lmx60::exae_element);
    reader.tokenise(kElementEvents, lmx60::exae_element);
    return reader;
}

}  // namespace

TEST(BodySteps, BodyStandingOnItsLastChildsEndTagIsFinishedCleanly)
{
    const std::string xml = bundle_xml("<vorlix:signal><vorlix:title>only</vorlix:title></vorlix:signal>"
                                       "<vorlix:signal><vorlix:title>first</vorlix:title><vorlix:tag/></vorlix:signal>");
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    on_first_child(reader);
    first_child_only only(reader);
    EXPECT_EQ(only.unmarshal_complex_content("vorlix:signal", kVorlix), lmx60::ELMX_OK);
    EXPECT_EQ(only.text, "only");
    ASSERT_EQ(reader.tokenise(kElementEvents, lmx60::exae_element), kSignalEvent);
    first_child_only more(reader);
    EXPECT_EQ(more.unmarshal_complex_content("vorlix:signal", kVorlix), lmx60::ELMX_UNEXPECTED_ELEMENT);
    EXPECT_EQ(reader.get_debug_error().item_name, "vorlix:tag");
}

TEST(BodySteps, MistakesInATypeAreExceptionsNotDocumentFaults)
{
    const std::string xml = bundle_xml("<vorlix:signal/><vorlix:signal/>");
    {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        lmx60::c_unmarshal_helper noSteps(on_first_child(reader));
        EXPECT_THROW(noSteps.unmarshal_complex_content("vorlix:signal", kVorlix), lmx60::lmx_exception);
    }
    {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        lmx60::c_unmarshal_helper noSteps(on_first_child(reader));
        EXPECT_THROW(noSteps.unmarshal_simple_content("vorlix:signal", kVorlix), lmx60::lmx_exception);
    }
    {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        reads_too_far greedy(on_first_child(reader));
        EXPECT_THROW(greedy.unmarshal_complex_content("vorlix:signal", kVorlix), lmx60::lmx_exception);
    }
}

// The structure walk beside the writer: the outline of what walk_structure reports for an object is
// the outline of the document the same object writes, read back with libxml2. The values reading
// tells an observer of are the values the walk meets afterwards.
#include <gtest/gtest.h>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSStructure.h>
#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"

using namespace HIPGSpirit;

namespace {

const std::string kSpirit = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const std::string kVorlix = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const std::string kXsi = "http://www.w3.org/2001/XMLSchema-instance";

std::string trimmed(const std::string& text)
{
    const char* blanks = " \t\r\n";
    size_t first = text.find_first_not_of(blanks);
    return first == std::string::npos ? std::string() : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string name_of(const std::string& ns, const std::string& local) { return "{" + ns + "}" + local; }

// Outline lines are built the same way on both sides: the element's name, its attributes sorted,
// its text, then its children one level deeper. Paths number elements among their siblings.
struct Lines {
    std::string text;
    void add(size_t depth, const std::string& line) { text += std::string(2 * depth, ' ') + line + "\n"; }
    void add_header(size_t depth, std::vector<std::string> attributes, const std::string& value)
    {
        std::sort(attributes.begin(), attributes.end());
        for (const std::string& attribute : attributes)
            add(depth + 1, attribute);
        if (!trimmed(value).empty())
            add(depth + 1, "\"" + trimmed(value) + "\"");
    }
};

// The walk's outline; `kept` holds the paths of elements reported as kept whole.
class WalkOutline final : public StructureVisitor {
public:
    Lines lines;
    std::set<std::string> kept;
    size_t events = 0;

    void start_element(const char* ns, const char* local) override
    {
        flush();
        lines.add(m_open.size(), name_of(ns, local));
        m_open.push_back({next_path(), {}, {}, true});
    }
    void attribute(const char* ns, const char* local, const ValueSite& value) override
    {
        ++events;
        std::string text;
        bool held = value_text(value, text);
        m_open.back().attributes.push_back("@" + name_of(ns, local) + (held ? "=" + text : " without text"));
    }
    void text(const ValueSite& value) override
    {
        ++events;
        value_text(value, m_open.back().value);
    }
    void kept_element(const lmx60::c_any_info& element) override
    {
        flush();
        lines.add(m_open.size(), name_of(element.get_namespace(), element.get_local_name()));
        kept.insert(next_path());
    }
    void end_element() override
    {
        ++events;
        flush();
        m_open.pop_back();
    }

private:
    struct Open {
        std::string path;
        std::vector<std::string> attributes;
        std::string value;
        bool pending;
        size_t children = 0;
    };
    std::vector<Open> m_open;
    size_t m_roots = 0;

    std::string next_path()
    {
        ++events;
        return m_open.empty() ? std::to_string(m_roots++)
                              : m_open.back().path + "/" + std::to_string(m_open.back().children++);
    }
    void flush()
    {
        if (m_open.empty() || !m_open.back().pending)
            return;
        m_open.back().pending = false;
        lines.add_header(m_open.size() - 1, m_open.back().attributes, m_open.back().value);
    }
};

// The written document's outline. Inside spirit:vendorExtensions an element of a foreign namespace,
// or one the walk reported kept, is kept whole: only its name is outlined.
void outline(xmlNode* element, const std::string& path, size_t depth, bool in_extensions,
             const std::set<std::string>& kept, Lines& lines)
{
    std::string ns = element->ns ? reinterpret_cast<const char*>(element->ns->href) : "";
    std::string local = reinterpret_cast<const char*>(element->name);
    lines.add(depth, name_of(ns, local));
    if (in_extensions && ((ns != kSpirit && ns != kVorlix) || kept.count(path)))
        return;
    std::vector<std::string> attributes;
    for (xmlAttr* a = element->properties; a; a = a->next) {
        std::string attributeNs = a->ns ? reinterpret_cast<const char*>(a->ns->href) : "";
        if (attributeNs == kXsi)
            continue;
        std::unique_ptr<xmlChar, void (*)(void*)> value(xmlNodeListGetString(element->doc, a->children, 1), xmlFree);
        attributes.push_back("@" + name_of(attributeNs, reinterpret_cast<const char*>(a->name)) + "=" +
                             (value ? reinterpret_cast<const char*>(value.get()) : ""));
    }
    std::string text;
    for (xmlNode* child = element->children; child; child = child->next)
        if ((child->type == XML_TEXT_NODE || child->type == XML_CDATA_SECTION_NODE) && child->content)
            text += reinterpret_cast<const char*>(child->content);
    lines.add_header(depth, attributes, text);
    bool extensions = ns == kSpirit && local == "vendorExtensions";
    size_t index = 0;
    for (xmlNode* child = element->children; child; child = child->next)
        if (child->type == XML_ELEMENT_NODE)
            outline(child, path + "/" + std::to_string(index++), depth + 1, extensions, kept, lines);
}

// Walks `object`, writes it, and compares the two outlines; false when either step failed.
bool walk_matches_writer(const HIPGSBase& object)
{
    WalkOutline walk;
    walk_structure(object, walk);
    std::ostringstream out;
    lmx60::s_debug_error debug;
    if (object.marshal(out, &debug) != lmx60::ELMX_OK) {
        ADD_FAILURE() << "writing failed: " << debug.to_string();
        return false;
    }
    const std::string written = out.str();
    std::unique_ptr<xmlDoc, void (*)(xmlDoc*)> doc(
        xmlReadMemory(written.data(), static_cast<int>(written.size()), "written.xml", nullptr, XML_PARSE_NONET),
        xmlFreeDoc);
    if (!doc) {
        ADD_FAILURE() << "the written document does not parse:\n" << written;
        return false;
    }
    Lines lines;
    outline(xmlDocGetRootElement(doc.get()), "0", 0, false, walk.kept, lines);
    EXPECT_EQ(walk.lines.text, lines.text);
    return walk.lines.text == lines.text;
}

template <class T>
void expect_walk_matches_writer(const std::string& xml)
{
    T object;
    lmx60::s_debug_error debug;
    ASSERT_EQ(object.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    walk_matches_writer(object);
}

const std::string kNamespaces = " xmlns:spirit=\"" + kSpirit + "\" xmlns:vorlix=\"" + kVorlix +
                                "\" xmlns:acme=\"urn:example:acme\" xmlns:xsi=\"" + kXsi + "\"";

// Choices, an empty element, simple content with attributes and kept attributes, a list, typed and
// untyped vendor content, spirit:vendorExtensions holding only the typed slot.
const std::string kComponent =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<spirit:component" + kNamespaces +
    " xsi:schemaLocation=\"" + kSpirit + " " + kSpirit + "/index.xsd\">\n"
    "  <spirit:vendor>example.com</spirit:vendor><spirit:library>ip</spirit:library>\n"
    "  <spirit:name>timer</spirit:name><spirit:version>1.0</spirit:version>\n"
    "  <spirit:busInterfaces>\n"
    "    <spirit:busInterface><spirit:name>m</spirit:name>\n"
    "      <spirit:busType spirit:vendor=\"example.com\" spirit:library=\"bus\" spirit:name=\"apb\" spirit:version=\"1.0\"/>\n"
    "      <spirit:master><spirit:addressSpaceRef spirit:addressSpaceRef=\"space\">\n"
    "        <spirit:baseAddress spirit:resolve=\"user\" spirit:id=\"base\" spirit:prompt=\"Base &amp; more:\">0x0</spirit:baseAddress>\n"
    "      </spirit:addressSpaceRef></spirit:master>\n"
    "    </spirit:busInterface>\n"
    "    <spirit:busInterface><spirit:name>mon</spirit:name>\n"
    "      <spirit:busType spirit:vendor=\"example.com\" spirit:library=\"bus\" spirit:name=\"apb\" spirit:version=\"1.0\"/>\n"
    "      <spirit:mirroredMaster/><spirit:connectionRequired>true</spirit:connectionRequired>\n"
    "    </spirit:busInterface>\n"
    "  </spirit:busInterfaces>\n"
    "  <spirit:addressSpaces><spirit:addressSpace><spirit:name>space</spirit:name><spirit:range>4G</spirit:range>\n"
    "    <spirit:width>32</spirit:width></spirit:addressSpace></spirit:addressSpaces>\n"
    "  <spirit:memoryMaps><spirit:memoryMap><spirit:name>map</spirit:name>\n"
    "    <spirit:addressBlock><spirit:name>regs</spirit:name>\n"
    "      <spirit:baseAddress spirit:resolve=\"user\" spirit:id=\"addr\" spirit:configGroups=\"a  b c\"\n"
    "          acme:origin=\"x &lt; y\">0x1000</spirit:baseAddress>\n"
    "      <spirit:range>4k</spirit:range><spirit:width>32</spirit:width>\n"
    "      <spirit:register><spirit:name>ctrl</spirit:name><spirit:addressOffset>0x0</spirit:addressOffset>\n"
    "        <spirit:size>32</spirit:size>\n"
    "        <spirit:vendorExtensions>\n"
    "          <acme:note acme:level=\"2\">first <acme:b>bold</acme:b></acme:note>\n"
    "          <vorlix:registerInfo><vorlix:enablement><vorlix:isEnabled>true</vorlix:isEnabled></vorlix:enablement></vorlix:registerInfo>\n"
    "          <vorlix:registerInfo><vorlix:enablement><vorlix:isEnabled>false</vorlix:isEnabled></vorlix:enablement></vorlix:registerInfo>\n"
    "          <acme:tail/>\n"
    "        </spirit:vendorExtensions>\n"
    "      </spirit:register>\n"
    "      <spirit:register><spirit:name>stat</spirit:name><spirit:addressOffset>0x4</spirit:addressOffset>\n"
    "        <spirit:size>32</spirit:size>\n"
    "        <spirit:vendorExtensions><vorlix:registerInfo><vorlix:enablement><vorlix:isEnabled>true</vorlix:isEnabled>"
    "</vorlix:enablement></vorlix:registerInfo></spirit:vendorExtensions>\n"
    "      </spirit:register>\n"
    "    </spirit:addressBlock>\n"
    "  </spirit:memoryMap></spirit:memoryMaps>\n"
    "  <spirit:model><spirit:ports><spirit:port><spirit:name>clk</spirit:name>\n"
    "    <spirit:wire><spirit:direction>in</spirit:direction></spirit:wire>\n"
    "  </spirit:port></spirit:ports></spirit:model>\n"
    "  <spirit:otherClockDrivers><spirit:otherClockDriver spirit:clockName=\"clk\">\n"
    "    <spirit:clockPeriod spirit:units=\"ns\">8.5</spirit:clockPeriod>\n"
    "    <spirit:clockPulseOffset>4</spirit:clockPulseOffset><spirit:clockPulseValue>1</spirit:clockPulseValue>\n"
    "    <spirit:clockPulseDuration>4</spirit:clockPulseDuration>\n"
    "  </spirit:otherClockDriver></spirit:otherClockDrivers>\n"
    "  <spirit:vendorExtensions><acme:tool acme:run=\"1\"><acme:step>a</acme:step></acme:tool></spirit:vendorExtensions>\n"
    "</spirit:component>\n";

// Content taken in any order, at two levels, read out of the order the classes list it in.
const std::string kInstanceProperties =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vorlix:instanceProperties" + kNamespaces + ">\n"
    "  <vorlix:flowOptions><vorlix:formalVerification>true</vorlix:formalVerification>"
    "<vorlix:busFormat>BusFormatParen</vorlix:busFormat><vorlix:implementationFileType>Edif</vorlix:implementationFileType>"
    "<vorlix:removeRPMs>true</vorlix:removeRPMs><vorlix:createNDF>false</vorlix:createNDF><vorlix:addPads>false</vorlix:addPads>"
    "<vorlix:flowVendor>Other</vorlix:flowVendor><vorlix:asySymbol>false</vorlix:asySymbol>"
    "<vorlix:designEntry>VHDL</vorlix:designEntry></vorlix:flowOptions>\n"
    "  <vorlix:simulationOptions><vorlix:foundationSym>false</vorlix:foundationSym>"
    "<vorlix:simulationModel>Behavioral</vorlix:simulationModel><vorlix:simulationLanguage>VHDL</vorlix:simulationLanguage>"
    "</vorlix:simulationOptions>\n"
    "  <vorlix:part><vorlix:speedGrade>-2</vorlix:speedGrade><vorlix:package>fbg676</vorlix:package>"
    "<vorlix:deviceFamily>kestrel7</vorlix:deviceFamily><vorlix:device>k7a100t</vorlix:device></vorlix:part>\n"
    "  <vorlix:projectOptions><vorlix:projectName>p</vorlix:projectName><vorlix:workingDirectory>./tmp</vorlix:workingDirectory>"
    "<vorlix:outputDirectory>.</vorlix:outputDirectory><vorlix:subWorkingDirectory>tmp/_cg</vorlix:subWorkingDirectory>"
    "</vorlix:projectOptions>\n"
    "</vorlix:instanceProperties>\n";

// A register whose spirit:vendorExtensions holds the typed slot only.
const std::string kAddressBlock =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<spirit:addressBlock" + kNamespaces + ">\n"
    "  <spirit:name>regs</spirit:name><spirit:baseAddress>0x1000</spirit:baseAddress>\n"
    "  <spirit:range>4k</spirit:range><spirit:width>32</spirit:width>\n"
    "  <spirit:register><spirit:name>ctrl</spirit:name><spirit:addressOffset>0x0</spirit:addressOffset>\n"
    "    <spirit:size>32</spirit:size>\n"
    "    <spirit:vendorExtensions><vorlix:registerInfo><vorlix:enablement><vorlix:isEnabled>true</vorlix:isEnabled>"
    "</vorlix:enablement></vorlix:registerInfo></spirit:vendorExtensions>\n"
    "  </spirit:register>\n"
    "</spirit:addressBlock>\n";

}  // namespace

TEST(StructureWalk, OutlinesTheDocumentsWrittenFromHandWrittenOnes)
{
    expect_walk_matches_writer<HIPGSTop>(kComponent);
    expect_walk_matches_writer<HIPGSComponent>(kComponent);
    expect_walk_matches_writer<HIPGSTop>(kInstanceProperties);
    expect_walk_matches_writer<HIPGSInstanceProperties>(kInstanceProperties);
    expect_walk_matches_writer<HIPGSAddressBlock>(kAddressBlock);
}

TEST(StructureWalk, LeavesOutTheVendorExtensionsTheWriterLeavesOut)
{
    HIPGSAddressBlock block;
    lmx60::s_debug_error debug;
    ASSERT_EQ(block.unmarshal(kAddressBlock.data(), kAddressBlock.size(), &debug), lmx60::ELMX_OK)
        << debug.to_string();
    HIPGSRegister& reg = block.getAddressBlockDefinitionGroup().getRegisterData().getRegister(0);
    reg.unsetRegisterInfo();
    ASSERT_TRUE(reg.isSetVendorExtensions()) << "held, empty";
    walk_matches_writer(block);
    reg.getVendorExtensions().appendany(
        lmx60::c_any_info("urn:example:acme", "x", "<acme:x xmlns:acme=\"urn:example:acme\" acme:y=\"1\"><acme:z/></acme:x>"));
    walk_matches_writer(block);
}

TEST(StructureWalk, OutlinesTheDocumentsWrittenFromTheSamples)
{
    size_t compared = 0;
    for (const auto& entry : std::filesystem::directory_iterator(std::string(IPXACT_SOURCE_DIR) + "/tests/schema/samples"))
        if (entry.is_regular_file() && entry.path().extension() == ".xml") {
            SCOPED_TRACE(entry.path().string());
            expect_walk_matches_writer<HIPGSTop>(corpus::read_file(entry.path().string()));
            ++compared;
        }
    EXPECT_GT(compared, 0u);
}

TEST(StructureWalk, OutlinesTheDocumentsWrittenFromTheCorpus)
{
    std::vector<corpus::document> documents = corpus::documents();
    if (documents.empty())
        GTEST_SKIP() << "the corpus folder " << corpus::directory() << " is missing";
    size_t compared = 0, unreadable = 0, differing = 0;
    for (const corpus::document& d : documents) {
        SCOPED_TRACE(d.path);
        HIPGSTop top;
        lmx60::s_debug_error debug;
        if (top.unmarshal(d.path.c_str(), &debug) != lmx60::ELMX_OK) {
            EXPECT_FALSE(d.schema_valid) << "a valid document is not read: " << debug.to_string();
            ++unreadable;
            continue;
        }
        ++compared;
        differing += walk_matches_writer(top) ? 0 : 1;
    }
    std::cout << compared << " corpus documents compared, " << differing << " differing, " << unreadable
              << " not read\n";
    EXPECT_GT(compared, 0u);
}

TEST(StructureWalk, EmptyPlacesReportNothing)
{
    std::string text = "kept";
    EXPECT_FALSE(value_text(ValueSite{}, text));
    EXPECT_EQ(text, "kept");

    WalkOutline walk;
    walk_structure(HIPGSTop(), walk);
    EXPECT_EQ(walk.events, 0u);
    EXPECT_EQ(walk.lines.text, "");
}

namespace {

// Each value as "{ns}local=text" (attributes with '@'), sorted: reading meets attributes in the
// document's order, the walk in the class's. Values inside a typed vendor slot are left out on both
// sides: the slot is read from a reader of its own, which is not observed.
class ValuesTold final : public ReadObserver {
public:
    std::vector<std::string> values;

    void attribute(const char* ns, const char* local, const ValueSite& value) override
    {
        add("@" + name_of(ns, local), value);
    }
    bool wants_text(const lmx60::c_xml_reader& reader) override
    {
        m_element = name_of(reader.element_ns_uri(), reader.element_local_name());
        return true;
    }
    void text(const ValueSite& value) override { add(m_element, value); }
    void add(const std::string& name, const ValueSite& value)
    {
        std::string text;
        if (value_text(value, text))
            values.push_back(name + "=" + text);
    }

private:
    std::string m_element;
};

class ValuesWalked final : public StructureVisitor {
public:
    std::vector<std::string> values;

    void start_element(const char* ns, const char* local) override
    {
        m_open.push_back(name_of(ns, local));
        if (ns == kVorlix && m_slot_depth == 0 && m_open.size() > 1)
            m_slot_depth = m_open.size();
    }
    void attribute(const char* ns, const char* local, const ValueSite& value) override
    {
        add("@" + name_of(ns, local), value);
    }
    void text(const ValueSite& value) override { add(m_open.back(), value); }
    void kept_element(const lmx60::c_any_info&) override {}
    void end_element() override
    {
        if (m_open.size() == m_slot_depth)
            m_slot_depth = 0;
        m_open.pop_back();
    }

private:
    void add(const std::string& name, const ValueSite& value)
    {
        std::string text;
        if (m_slot_depth == 0 && value_text(value, text))
            values.push_back(name + "=" + text);
    }
    std::vector<std::string> m_open;
    size_t m_slot_depth = 0;  // the depth of the typed vendor element being walked, 0 outside one
};

}  // namespace

TEST(ObservedReading, TellsTheValuesTheWalkMeets)
{
    HIPGSTop top;
    lmx60::c_xml_reader_memory reader(kComponent.data(), kComponent.size(), "component.xml");
    ValuesTold told;
    {
        ObservedReading observing(reader, told);
        ASSERT_EQ(top.unmarshal(reader), lmx60::ELMX_OK);
    }
    ValuesWalked walked;
    walk_structure(top, walked);
    std::sort(told.values.begin(), told.values.end());
    std::sort(walked.values.begin(), walked.values.end());
    EXPECT_EQ(told.values, walked.values);
    EXPECT_NE(std::find(told.values.begin(), told.values.end(), "@{urn:example:acme}origin=x < y"), told.values.end());
    EXPECT_NE(std::find(told.values.begin(), told.values.end(), "{" + kSpirit + "}clockPeriod=8.5"), told.values.end());

    // Through another reader nothing is told; a scope inside another observes its own reader, and
    // the outer scope observes again once it ends.
    HIPGSTop again, third;
    lmx60::c_xml_reader_memory other(kComponent.data(), kComponent.size(), "component.xml");
    lmx60::c_xml_reader_memory inner(kComponent.data(), kComponent.size(), "component.xml");
    ValuesTold outer, nested;
    {
        ObservedReading observing(other, outer);
        {
            ObservedReading observingInner(inner, nested);
            ASSERT_EQ(third.unmarshal(inner), lmx60::ELMX_OK);
        }
        ASSERT_EQ(again.unmarshal(other), lmx60::ELMX_OK);
    }
    size_t before = told.values.size();
    EXPECT_EQ(nested.values.size(), before);
    EXPECT_EQ(outer.values.size(), before);
    lmx60::c_xml_reader_memory after(kComponent.data(), kComponent.size(), "component.xml");
    HIPGSTop fourth;
    ASSERT_EQ(fourth.unmarshal(after), lmx60::ELMX_OK);
    EXPECT_EQ(outer.values.size(), before) << "told after its scope ended";
}

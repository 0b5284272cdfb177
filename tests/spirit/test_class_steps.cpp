// The per-class steps of reading and writing (unmarshal_attributes, unmarshal_anyattribute,
// unmarshal_attributes_check, unmarshal_body, marshal_attributes, marshal_child_elements), driven from
// outside the engine: a hand-written bound class reads and writes generated children through them
// alone, and gets what the engine's own entry points give.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include <ipxact/lmx60/lmx60.h>
#include <ipxact/spirit/HIPGSpirit.h>

using namespace HIPGSpirit;

namespace {

const char kAcmeUri[] = "http://example.com/acme/pinout";
const int kAcme = 2000;

const lmx60::s_ns_map kPinoutMap[] = {
    {1000, "vorlix", "http://www.vorlix.com/XMLSchema/ipxact/1.0"},
    {1001, "spirit", "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"},
    {kAcme, "acme", kAcmeUri},
    {0, nullptr, nullptr},
};

enum { kPortEvent = lmx60::EVENT_FIRST_NAME, kTitleEvent };

const lmx60::s_event_map kPinoutElements[] = {
    {1001, "port", 4, kPortEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

const lmx60::s_event_map kPinoutAttributes[] = {
    {kAcme, "title", 5, kTitleEvent},
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

// Drives any bound object through its steps, as the engine drives it from inside.
class steps_driver : public lmx60::c_unmarshal_helper {
public:
    steps_driver(lmx60::c_xml_reader& reader, HIPGSBase& object) : c_unmarshal_helper(reader), m_object(object) {}

    bool unmarshal_attribute(lmx60::elmx_error* error) override
    {
        if (!m_object.unmarshal_attributes(reader(), error))
            m_object.unmarshal_anyattribute(reader());
        return true;
    }
    void unmarshal_attributes_check(lmx60::elmx_error* error) override
    {
        *error = m_object.unmarshal_attributes_check(reader());
    }
    void unmarshal_complex_body(lmx60::elmx_error* error) override { m_object.unmarshal_body(reader(), error); }
    void unmarshal_simple_body(lmx60::elmx_error* error) override { m_object.unmarshal_body(reader(), error); }

private:
    HIPGSBase& m_object;
};

void write_through_steps(lmx60::c_xml_writer& writer, const HIPGSBase& object, const char* name)
{
    writer.start_element(name);
    object.marshal_attributes(writer);
    object.marshal_child_elements(writer);
    writer.end_element(name);
}

// acme:pinout, bound by hand: a title attribute and spirit:port children.
class Pinout : public HIPGSBase {
public:
    std::string title;
    std::vector<HIPGSPort> ports;

    HIPGSBase* cloneObj() const override { return new Pinout(*this); }
    HIPGSBase* newObj() const override { return new Pinout; }
    const char* getElementId() const override { return "acme:pinout"; }

    lmx60::elmx_error unmarshal(lmx60::c_xml_reader& reader, const std::string& name) override
    {
        return pinout_reader(reader, this).unmarshal_complex_content(name.c_str(), kAcme);
    }
    lmx60::elmx_error marshal(lmx60::c_xml_writer& writer, const char* name) const override
    {
        writer.conditionally_select_ns_map(kPinoutMap);
        writer.start_element(name);
        writer.attribute("acme:title", title);
        for (const HIPGSPort& port : ports)
            write_through_steps(writer, port, "spirit:port");
        writer.end_element(name);
        return lmx60::ELMX_OK;
    }

private:
    class pinout_reader : public lmx60::c_unmarshal_helper {
    public:
        pinout_reader(lmx60::c_xml_reader& reader, Pinout* target) : c_unmarshal_helper(reader), m_pinout(target) {}

        bool unmarshal_attribute(lmx60::elmx_error*) override
        {
            if (reader().tokenise(kPinoutAttributes, lmx60::exae_attribute) != kTitleEvent)
                return false;
            m_pinout->title = reader().attribute_value();
            return true;
        }
        void unmarshal_complex_body(lmx60::elmx_error* error) override
        {
            std::string name;
            while (*error == 0 && reader().get_element_event(kPinoutElements, error, &name) == kPortEvent) {
                m_pinout->ports.emplace_back();
                *error = steps_driver(reader(), m_pinout->ports.back())
                             .unmarshal_complex_content(name.c_str(), HIPGSBase::getNamespaceIdSpirit());
            }
        }

    private:
        Pinout* m_pinout;
    };
};

const std::string kPinout =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<acme:pinout xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\" "
    "xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\" "
    "xmlns:acme=\"http://example.com/acme/pinout\" acme:title=\"uart pins\">\n"
    "  <spirit:port>\n"
    "    <spirit:name>rx</spirit:name>\n"
    "    <spirit:wire spirit:allLogicalDirectionsAllowed=\"true\">\n"
    "      <spirit:direction>in</spirit:direction>\n"
    "      <spirit:vector>\n"
    "        <spirit:left spirit:format=\"long\">7</spirit:left>\n"
    "        <spirit:right>0</spirit:right>\n"
    "      </spirit:vector>\n"
    "    </spirit:wire>\n"
    "    <spirit:vendorExtensions>\n"
    "      <vorlix:portInfo>\n"
    "        <vorlix:sampleRate>48k</vorlix:sampleRate>\n"
    "      </vorlix:portInfo>\n"
    "    </spirit:vendorExtensions>\n"
    "  </spirit:port>\n"
    "  <spirit:port>\n"
    "    <spirit:name>bus</spirit:name>\n"
    "    <spirit:transactional>\n"
    "      <spirit:transTypeDef>\n"
    "        <spirit:typeName>apb_if</spirit:typeName>\n"
    "      </spirit:transTypeDef>\n"
    "      <spirit:service>\n"
    "        <spirit:initiative>requires</spirit:initiative>\n"
    "        <spirit:serviceTypeDefs>\n"
    "          <spirit:serviceTypeDef>\n"
    "            <spirit:typeName>apb_read</spirit:typeName>\n"
    "          </spirit:serviceTypeDef>\n"
    "        </spirit:serviceTypeDefs>\n"
    "      </spirit:service>\n"
    "    </spirit:transactional>\n"
    "  </spirit:port>\n"
    "</acme:pinout>\n";

lmx60::elmx_error read_pinout(const std::string& xml, Pinout* pinout)
{
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kPinoutMap);
    reader.read_document_element();
    return pinout->unmarshal(reader, reader.element_qname());
}

std::string write_pinout(const Pinout& pinout)
{
    std::ostringstream out;
    lmx60::c_xml_writer writer(out);
    pinout.marshal(writer, "acme:pinout");
    writer.flush();
    return out.str();
}

// The port's element cut out of the pinout, as a document of its own.
std::string port_document(size_t index)
{
    size_t begin = kPinout.find("  <spirit:port>");
    for (size_t i = 0; i < index; ++i)
        begin = kPinout.find("  <spirit:port>", begin + 1);
    size_t end = kPinout.find("</spirit:port>", begin) + std::string("</spirit:port>").size();
    return "<spirit:port xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\" "
           "xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\">" +
           kPinout.substr(begin + 15, end - begin - 15);
}

TEST(ClassSteps, AHandWrittenClassReadsGeneratedChildrenAsTheEngineDoes)
{
    Pinout pinout;
    ASSERT_EQ(read_pinout(kPinout, &pinout), lmx60::ELMX_OK);
    EXPECT_EQ(pinout.title, "uart pins");
    ASSERT_EQ(pinout.ports.size(), 2u);
    for (size_t i = 0; i < pinout.ports.size(); ++i) {
        HIPGSPort standalone;
        std::string xml = port_document(i);
        ASSERT_EQ(standalone.unmarshal(xml.data(), xml.size()), lmx60::ELMX_OK) << xml;
        EXPECT_TRUE(pinout.ports[i] == standalone) << "port " << i;
    }
    EXPECT_TRUE(pinout.ports[0].isSetPortInfo());  // the body fills typed vendor slots too
    EXPECT_EQ(pinout.ports[0].getNameGroupPort().getName(), "rx");
}

TEST(ClassSteps, AHandWrittenClassWritesBackTheDocumentItRead)
{
    Pinout pinout;
    ASSERT_EQ(read_pinout(kPinout, &pinout), lmx60::ELMX_OK);
    EXPECT_EQ(write_pinout(pinout), kPinout);
}

// Reads a document element of class T through the steps alone, recording faults and carrying on.
template <class T>
std::vector<std::pair<lmx60::elmx_error, std::string>> faults_reading(const std::string& xml, T* object)
{
    std::vector<std::pair<lmx60::elmx_error, std::string>> faults;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_ns_map(kPinoutMap);
    reader.set_error_handler([&](lmx60::elmx_error code, const std::string& item, int) {
        faults.emplace_back(code, item);
        return lmx60::ELMX_OK;
    });
    reader.read_document_element();
    steps_driver(reader, *object).unmarshal_complex_content(reader.element_qname().c_str(),
                                                             reader.element_ns_id());
    return faults;
}

TEST(ClassSteps, AttributeStepsClaimKeepAndCheckAttributes)
{
    const std::string spirit = "xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"";
    const std::string acme = " xmlns:acme=\"http://example.com/acme/pinout\"";
    using faults = std::vector<std::pair<lmx60::elmx_error, std::string>>;

    HIPGSAddrSpaceRefType missing;
    EXPECT_EQ(faults_reading("<spirit:addressSpaceRef " + spirit + "/>", &missing),
              (faults{{lmx60::ELMX_REQUIRED_ATTRIBUTE_MISSING, "addrSpaceRefType"}}));

    HIPGSAddrSpaceRefType foreign;
    EXPECT_EQ(faults_reading("<spirit:addressSpaceRef " + spirit + acme +
                                 " spirit:addressSpaceRef=\"main\" acme:colour=\"red\"/>",
                             &foreign),
              (faults{{lmx60::ELMX_UNEXPECTED_ATTRIBUTE, "acme:colour"}}));
    EXPECT_EQ(foreign.getAddressSpaceRefAttr(), "main");

    // Configurable elements admit attributes of any namespace, or of none, and keep them.
    HIPGSBaseAddress configurable;
    EXPECT_TRUE(faults_reading("<spirit:baseAddress " + spirit +
                                   " xmlns:tool=\"http://example.com/tool\" tool:origin=\"gui\""
                                   " spirit:format=\"long\" note=\"plain\">0x40</spirit:baseAddress>",
                               &configurable)
                    .empty());
    EXPECT_EQ(configurable.getBaseAddress(), "0x40");
    EXPECT_EQ(configurable.getFormatAttr(), "long");
    ASSERT_EQ(configurable.sizeany_attribute(), 2u);
    EXPECT_EQ(configurable.getany_attribute(0).value, "gui");
    EXPECT_EQ(configurable.getany_attribute(1).qname, "note");
    EXPECT_EQ(configurable.getany_attribute(1).ns_uri, "");
    EXPECT_EQ(configurable.getany_attribute(1).value, "plain");
    std::ostringstream written;
    ASSERT_EQ(configurable.marshal(written, nullptr), lmx60::ELMX_OK);
    EXPECT_NE(written.str().find(" note=\"plain\""), std::string::npos) << written.str();
}

TEST(ClassSteps, StepsReportTheFaultsTheEngineReports)
{
    const std::string spirit = "xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"";
    const std::string vorlix = " xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\"";
    const std::string broken[] = {
        "<spirit:port " + spirit + "><spirit:wire><spirit:direction>in</spirit:direction></spirit:wire>"
            "<spirit:name>late</spirit:name></spirit:port>",
        "<spirit:port " + spirit + vorlix + "><spirit:name>p</spirit:name><spirit:wire><spirit:direction>in"
            "</spirit:direction></spirit:wire><spirit:vendorExtensions><vorlix:portInfo><vorlix:isClock/>"
            "</vorlix:portInfo></spirit:vendorExtensions></spirit:port>",
        "<spirit:port " + spirit + "><spirit:name>p</spirit:name><spirit:wire><spirit:direction>sideways"
            "</spirit:direction><spirit:vector><spirit:left>x</spirit:left></spirit:vector></spirit:wire>"
            "<spirit:access/></spirit:port>",
    };
    for (const std::string& xml : broken) {
        HIPGSPort bySteps;
        auto stepFaults = faults_reading(xml, &bySteps);

        HIPGSPort byEngine;
        std::vector<std::pair<lmx60::elmx_error, std::string>> engineFaults;
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        reader.set_error_handler([&](lmx60::elmx_error code, const std::string& item, int) {
            engineFaults.emplace_back(code, item);
            return lmx60::ELMX_OK;
        });
        byEngine.unmarshal(reader);

        EXPECT_FALSE(stepFaults.empty()) << xml;
        EXPECT_EQ(stepFaults, engineFaults) << xml;
        EXPECT_TRUE(bySteps == byEngine) << xml;
    }
}

TEST(ClassSteps, AFaultInAGeneratedChildStopsTheHandWrittenRead)
{
    std::string xml = kPinout;
    xml.replace(xml.find("<vorlix:sampleRate>48k</vorlix:sampleRate>"), 42, "<vorlix:isClock>1</vorlix:isClock>");
    Pinout pinout;
    EXPECT_EQ(read_pinout(xml, &pinout), lmx60::ELMX_UNEXPECTED_ELEMENT);
}

}  // namespace

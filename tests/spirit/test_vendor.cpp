// The vendor vocabulary inside standard documents: typed vendor slots and "all" content.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"

using namespace HIPGSpirit;

namespace {

const std::string kHead =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<spirit:addressBlock xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"\n"
    "    xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\" xmlns:acme=\"urn:example:acme\">\n"
    "  <spirit:name>regs</spirit:name>\n"
    "  <spirit:baseAddress>0x1000</spirit:baseAddress>\n"
    "  <spirit:range>4k</spirit:range>\n"
    "  <spirit:width>32</spirit:width>\n"
    "  <spirit:register>\n"
    "    <spirit:name>ctrl</spirit:name>\n"
    "    <spirit:addressOffset>0x0</spirit:addressOffset>\n"
    "    <spirit:size>32</spirit:size>\n";
const std::string kTail = "  </spirit:register>\n</spirit:addressBlock>\n";

std::string register_info(const std::string& value)
{
    return "<vorlix:registerInfo><vorlix:enablement><vorlix:isEnabled>" + value +
           "</vorlix:isEnabled></vorlix:enablement></vorlix:registerInfo>";
}

size_t position(const std::string& text, const std::string& piece)
{
    size_t found = text.find(piece);
    EXPECT_NE(found, std::string::npos) << piece << " in\n" << text;
    return found;
}

size_t occurrences(const std::string& text, const std::string& piece)
{
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

}  // namespace

TEST(TypedVendorSlots, FirstMatchFillsTheSlotAndIsWrittenFirstTheRestKeepTheirOrder)
{
    const std::string xml = kHead +
                            "    <spirit:vendorExtensions>\n"
                            "      <acme:note>first</acme:note>\n      " + register_info("true") + "\n      " +
                            register_info("false") + "\n"
                            "      <acme:tail/>\n"
                            "    </spirit:vendorExtensions>\n" + kTail;
    HIPGSAddressBlock block;
    lmx60::s_debug_error debug;
    ASSERT_EQ(block.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    std::string written;
    ASSERT_EQ(block.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();

    size_t slot = position(written, "<vorlix:registerInfo>");
    EXPECT_LT(slot, position(written, "<acme:note"));
    EXPECT_LT(position(written, "<acme:note"), position(written, ">false<"));
    EXPECT_LT(position(written, ">false<"), position(written, "<acme:tail"));
    EXPECT_LT(slot, position(written, ">true<"));
    EXPECT_LT(position(written, ">true<"), position(written, "<acme:note"));
    EXPECT_EQ(occurrences(written, ">true<"), 1u) << "the slot's element is not also kept as open content";
    EXPECT_EQ(occurrences(written, "<spirit:vendorExtensions>"), 1u);

    HIPGSAddressBlock again;
    ASSERT_EQ(again.unmarshal(written.data(), written.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_TRUE(again == block);
    if (corpus::have_xmllint() && !corpus::documents().empty()) {
        EXPECT_EQ(corpus::schema_errors(written), "");
    }
}

TEST(TypedVendorSlots, FaultsInsideASlotStandAtTheirOwnLinesAndTheDocumentsHandlerDecides)
{
    const std::string xml = kHead +
                            "    <spirit:vendorExtensions>\n"
                            "      <vorlix:registerInfo>\n"
                            "        <vorlix:enablement><vorlix:isEnabled>maybe</vorlix:isEnabled></vorlix:enablement>\n"
                            "        <vorlix:bogus/>\n"
                            "      </vorlix:registerInfo>\n"
                            "    </spirit:vendorExtensions>\n" + kTail;
    HIPGSAddressBlock stopped;
    lmx60::s_debug_error debug;
    EXPECT_NE(stopped.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK);
    EXPECT_EQ(debug.document_line, 14) << debug.to_string();

    std::vector<int> lines;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_error_handler([&lines](lmx60::elmx_error, const std::string&, int line) {
        lines.push_back(line);
        return lmx60::ELMX_OK;
    });
    HIPGSAddressBlock continued;
    EXPECT_EQ(continued.unmarshal(reader), lmx60::ELMX_OK);
    EXPECT_EQ(lines, (std::vector<int>{14, 15})) << "each fault at its line, none at the register's";
}

TEST(TypedVendorSlots, VendorExtensionsAreWrittenOnlyWhileSlotOrOpenContentHoldsSomething)
{
    const std::string xml =
        kHead + "    <spirit:vendorExtensions>" + register_info("true") + "</spirit:vendorExtensions>\n" + kTail;
    HIPGSAddressBlock block;
    lmx60::s_debug_error debug;
    ASSERT_EQ(block.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    HIPGSRegister& reg = block.getAddressBlockDefinitionGroup().getRegisterData().getRegister(0);
    ASSERT_TRUE(reg.isSetRegisterInfo());
    ASSERT_TRUE(reg.isSetVendorExtensions()) << "read as open content first";
    EXPECT_EQ(reg.getVendorExtensions().sizeany(), 0u) << "and taken out of it";

    reg.unsetRegisterInfo();
    std::string written;
    ASSERT_EQ(block.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_EQ(written.find("vendorExtensions"), std::string::npos) << written;

    reg.getVendorExtensions().appendany(lmx60::c_any_info("urn:example:acme", "x", "<acme:x xmlns:acme=\"urn:example:acme\"/>"));
    ASSERT_EQ(block.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_EQ(occurrences(written, "<spirit:vendorExtensions>"), 1u);
    EXPECT_EQ(written.find("registerInfo"), std::string::npos);
    if (corpus::have_xmllint() && !corpus::documents().empty()) {
        EXPECT_EQ(corpus::schema_errors(written), "");
    }
}

TEST(OpenContent, NamespaceNamesAndValuesWithMarkupCharactersComeBackAsWritten)
{
    const std::string xml = kHead +
                            "    <spirit:vendorExtensions>\n"
                            "      <q:tool xmlns:q=\"http://example.com/tools?id=1&amp;v=2\" q:note=\"a &lt; b\">"
                            "x &amp; y</q:tool>\n"
                            "    </spirit:vendorExtensions>\n" + kTail;
    HIPGSAddressBlock block;
    lmx60::s_debug_error debug;
    ASSERT_EQ(block.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    const HIPGSVendorExtensions& open =
        block.getAddressBlockDefinitionGroup().getRegisterData().getRegister(0).getVendorExtensions();
    ASSERT_EQ(open.sizeany(), 1u);
    EXPECT_EQ(open.getany(0).get_namespace(), "http://example.com/tools?id=1&v=2");
    std::string written;
    ASSERT_EQ(block.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_NE(written.find("<q:tool xmlns:q=\"http://example.com/tools?id=1&amp;v=2\" q:note=\"a &lt; b\">"
                           "x &amp; y</q:tool>"),
              std::string::npos)
        << written;
    HIPGSAddressBlock again;
    ASSERT_EQ(again.unmarshal(written.data(), written.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_TRUE(again == block);
}

TEST(AllContent, ChildrenAreWrittenInTheOrderRead)
{
    std::string path = std::string(IPXACT_SOURCE_DIR) + "/tests/schema/samples/instanceProperties-anyOrder.xml";
    std::string xml = corpus::read_file(path);
    ASSERT_FALSE(xml.empty());
    HIPGSInstanceProperties properties;
    lmx60::s_debug_error debug;
    ASSERT_EQ(properties.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    std::string written;
    ASSERT_EQ(properties.marshal(&written, &debug), lmx60::ELMX_OK) << debug.to_string();
    EXPECT_LT(position(written, "<vorlix:part>"), position(written, "<vorlix:projectOptions>"));
    EXPECT_LT(position(written, "<vorlix:projectOptions>"), position(written, "<vorlix:simulationOptions>"));
    EXPECT_LT(position(written, "<vorlix:simulationOptions>"), position(written, "<vorlix:flowOptions>"));
    EXPECT_LT(position(written, "<vorlix:speedGrade>"), position(written, "<vorlix:device>"));
    HIPGSInstanceProperties again;
    ASSERT_EQ(again.unmarshal(written.data(), written.size(), &debug), lmx60::ELMX_OK);
    EXPECT_TRUE(again == properties);
}

namespace {

const std::string kVendorNamespaces =
    " xmlns:vorlix=\"http://www.vorlix.com/XMLSchema/ipxact/1.0\""
    " xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\"";

template <class T>
std::string written_text(const T& object)
{
    std::string text;
    lmx60::s_debug_error debug;
    EXPECT_EQ(object.marshal(&text, &debug), lmx60::ELMX_OK) << debug.to_string();
    return text;
}

}  // namespace

// A reference a host creates is the full reference class and is written with its type attribute, as
// documents write it; read back, it is the same object.
TEST(VendorReferences, CreatedReferencesAreTheDerivedClassesAndNameTheirType)
{
    HIPGSSubCoreRef sub;
    sub.getAnonComponentRef().select_ComponentRef();
    HIPGSComponentRefType& ref = sub.getAnonComponentRef().getComponentRef();
    ref.setVendorAttr("example.com");
    ref.setLibraryAttr("ip");
    ref.setNameAttr("uart");
    ref.setVersionAttr("1.0");
    ref.setChecksumAttr("c0ffee");
    ref.setIsGeneratedAttr("true");
    const std::string text = written_text(sub);
    EXPECT_NE(text.find("<vorlix:componentRef xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                        "xsi:type=\"vorlix:componentRefType\" vorlix:vendor=\"example.com\" vorlix:library=\"ip\" "
                        "vorlix:name=\"uart\" vorlix:version=\"1.0\" vorlix:isGenerated=\"true\" "
                        "vorlix:checksum=\"c0ffee\"/>"),
              std::string::npos)
        << text;
    HIPGSSubCoreRef back;
    ASSERT_EQ(back.unmarshal(text.data(), text.size()), lmx60::ELMX_OK);
    EXPECT_TRUE(back == sub);
    EXPECT_EQ(written_text(back), text);

    const std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vorlix:parameterAbstractionDefinition" +
                            kVendorNamespaces + "><spirit:vendor>example.com</spirit:vendor><spirit:library>l"
                            "</spirit:library><spirit:name>n</spirit:name><spirit:version>1</spirit:version>"
                            "<vorlix:scope><vorlix:custom>x</vorlix:custom></vorlix:scope><spirit:choices>"
                            "<spirit:choice><spirit:name>c</spirit:name><spirit:enumeration>1</spirit:enumeration>"
                            "</spirit:choice></spirit:choices></vorlix:parameterAbstractionDefinition>\n";
    HIPGSParameterAbstractionDefinition definition;
    ASSERT_EQ(definition.unmarshal(xml.data(), xml.size()), lmx60::ELMX_OK);
    definition.getScope().getAnonBusType().select_BusType();
    HIPGSInterfaceRefType& bus = definition.getScope().getAnonBusType().getBusType();
    bus.setNameAttr("apb");
    bus.setEnumModeAttr(HIPGSInterfaceRefType::e_enum_ModeAttr::slave);
    EXPECT_NE(written_text(definition).find("<vorlix:busType xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
                                            "xsi:type=\"vorlix:interfaceRefType\" vorlix:name=\"apb\" "
                                            "vorlix:mode=\"slave\"/>"),
              std::string::npos)
        << written_text(definition);
}

// The parameter abstraction keeps the attributes its own type lists, in that order, and no others.
TEST(VendorReferences, ParameterAbstractionsTakeTheirOwnAttributesOnly)
{
    HIPGSParameterAbstractionDefinition definition;
    const auto read_parameter = [&](const std::string& attributes) {
        const std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<vorlix:parameterAbstractionDefinition" +
                                kVendorNamespaces + " xmlns:acme=\"urn:example:acme\"><spirit:vendor>example.com"
                                "</spirit:vendor><spirit:library>l</spirit:library><spirit:name>n</spirit:name>"
                                "<spirit:version>1</spirit:version><vorlix:scope><vorlix:custom>x</vorlix:custom>"
                                "</vorlix:scope><vorlix:parameterAbstraction " + attributes +
                                "/><spirit:choices><spirit:choice><spirit:name>c</spirit:name><spirit:enumeration>1"
                                "</spirit:enumeration></spirit:choice></spirit:choices></vorlix:parameterAbstractionDefinition>\n";
        lmx60::s_debug_error debug;
        return definition.unmarshal(xml.data(), xml.size(), &debug);
    };
    EXPECT_EQ(read_parameter("acme:note=\"x\""), lmx60::ELMX_UNEXPECTED_ATTRIBUTE);
    ASSERT_EQ(read_parameter("vorlix:propagationSource=\"sink\" spirit:resolve=\"user\" vorlix:logicalName=\"w\""),
              lmx60::ELMX_OK);
    EXPECT_EQ(definition.getParameterAbstraction(0).getEnumResolveAttr(),
              HIPGSParameterAbstractionType::e_enum_ResolveAttr::user);
    EXPECT_EQ(static_cast<int>(HIPGSParameterAbstractionType::e_enum_ResolveAttr::dependent), 1);
    std::string text = written_text(definition);
    text = text.substr(text.find("<vorlix:parameterAbstraction "));
    EXPECT_LT(text.find("vorlix:logicalName"), text.find("spirit:resolve")) << text;
    EXPECT_LT(text.find("spirit:resolve"), text.find("vorlix:propagationSource")) << text;
}

// Repeated enumerated members have indexed enumeration accessors.
TEST(EnumeratedLists, RepeatedMembersReadAndSetEachItemAsItsEnumerator)
{
    HIPGSSystemToolType tools;
    ASSERT_EQ(tools.appendTool("CoreForge"), lmx60::ELMX_OK);
    ASSERT_EQ(tools.appendTool("ThirdParty"), lmx60::ELMX_OK);
    EXPECT_EQ(tools.getEnumTool(0), HIPGSSystemToolType::e_enum_Tool::CoreForge);
    EXPECT_EQ(tools.getEnumTool(1), HIPGSSystemToolType::e_enum_Tool::ThirdParty);
    EXPECT_TRUE(tools.setEnumTool(1, HIPGSSystemToolType::e_enum_Tool::QDK));
    EXPECT_EQ(tools.getTool(1), "QDK");
    EXPECT_FALSE(tools.setEnumTool(1, static_cast<HIPGSSystemToolType::e_enum_Tool>(99)));
    EXPECT_EQ(tools.getTool(1), "QDK");
}

// Writing objects as documents: the exact text of small documents, the occurrence faults that stop
// a write, what a failed file write leaves on disk, and where "xsi:type" is written.
#include <gtest/gtest.h>

#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <utility>

#include <ipxact/lmx60/lmx60_frontends.h>
#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"

using namespace HIPGSpirit;
namespace fs = std::filesystem;

namespace {

const std::string kSpirit = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
const std::string kVorlix = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
const std::string kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
// A document element declares both namespaces, whichever its content uses.
const std::string kNamespaces = " xmlns:vorlix=\"" + kVorlix + "\" xmlns:spirit=\"" + kSpirit + "\"";

template <class T>
std::string written(const T& object)
{
    std::string text;
    lmx60::s_debug_error debug;
    lmx60::elmx_error error = object.marshal(&text, &debug);
    EXPECT_EQ(error, lmx60::ELMX_OK) << debug.to_string();
    return text;
}

void name(HIPGSVersionedIdentifier& vlnv, const char* name)
{
    vlnv.setVendor("vorlix.com");
    vlnv.setLibrary("busdefs");
    vlnv.setName(name);
    vlnv.setVersion("1.0");
}

// A definition whose one port has not chosen between wire and transactional.
HIPGSAbstractionDefinition definition_with_undecided_port()
{
    HIPGSAbstractionDefinition definition;
    name(definition.getVersionedIdentifier(), "apb_rtl");
    HIPGSLibraryRefType2& busType = definition.getBusType();
    busType.setVendorAttr("vorlix.com");
    busType.setLibraryAttr("busdefs");
    busType.setNameAttr("apb");
    busType.setVersionAttr("1.0");
    definition.getPorts().appendPort().setLogicalName("PCLK");
    return definition;
}

class ScratchDirectory : public ::testing::Test {
protected:
    void SetUp() override
    {
        directory_ = fs::temp_directory_path() / ("ipxact-writing-" + std::to_string(::getpid()));
        fs::remove_all(directory_);
        fs::create_directories(directory_);
    }
    void TearDown() override { fs::remove_all(directory_); }
    fs::path directory_;
};

TEST(Documents, ObjectWithNothingSetIsOneSelfClosedElement)
{
    EXPECT_EQ(written(HIPGSAbstractionDefinitionPortInfo()),
              kDeclaration + "<vorlix:abstractionDefinitionPortInfo" + kNamespaces + "/>\n");
}

TEST(Documents, UnsetAttributeIsNotWrittenDespiteItsDefault)
{
    HIPGSDefaultValue value;
    value.setDefaultValue("0x10");
    const std::string open = "<spirit:defaultValue" + kNamespaces;
    EXPECT_EQ(written(value), kDeclaration + open + ">0x10</spirit:defaultValue>\n");
    value.setFormatAttr("long");
    EXPECT_EQ(written(value), kDeclaration + open + " spirit:format=\"long\">0x10</spirit:defaultValue>\n");
}

TEST(Documents, ChildrenAreIndentedInSchemaOrder)
{
    HIPGSBusDefinition bus;
    bus.setDescription("APB");
    bus.setMaxMasters(lmx60::c_big_int("98765432109876543210"));
    bus.setIsAddressable(true);
    name(bus.getVersionedIdentifier(), "apb");
    const std::string expected = kDeclaration + "<spirit:busDefinition" + kNamespaces + ">\n" +
                                 "  <spirit:vendor>vorlix.com</spirit:vendor>\n"
                                 "  <spirit:library>busdefs</spirit:library>\n"
                                 "  <spirit:name>apb</spirit:name>\n"
                                 "  <spirit:version>1.0</spirit:version>\n"
                                 "  <spirit:directConnection>false</spirit:directConnection>\n"
                                 "  <spirit:isAddressable>true</spirit:isAddressable>\n"
                                 "  <spirit:maxMasters>98765432109876543210</spirit:maxMasters>\n"
                                 "  <spirit:description>APB</spirit:description>\n"
                                 "</spirit:busDefinition>\n";
    const std::string text = written(bus);
    EXPECT_EQ(text, expected);
    HIPGSBusDefinition reread;
    ASSERT_EQ(reread.unmarshal(text.data(), text.size()), lmx60::ELMX_OK);
    EXPECT_TRUE(reread == bus);
    if (corpus::have_xmllint()) {
        EXPECT_EQ(corpus::schema_errors(text), "");
    }
}

TEST(Documents, SchemaLocationHintsOfTheDocumentElementAreWrittenBack)
{
    const std::string xsi = "http://www.w3.org/2001/XMLSchema-instance";
    const std::string location = kSpirit + " http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009/index.xsd";
    const std::string document = kDeclaration + "<spirit:busDefinition" + kNamespaces + " xmlns:xsi=\"" + xsi +
                                 "\" xsi:schemaLocation=\"" + location + "\">\n" +
                                 "  <spirit:vendor>vorlix.com</spirit:vendor>\n"
                                 "  <spirit:library>busdefs</spirit:library>\n"
                                 "  <spirit:name>apb</spirit:name>\n"
                                 "  <spirit:version>1.0</spirit:version>\n"
                                 "  <spirit:directConnection>false</spirit:directConnection>\n"
                                 "  <spirit:isAddressable>true</spirit:isAddressable>\n"
                                 "</spirit:busDefinition>\n";
    HIPGSBusDefinition bus;
    ASSERT_EQ(bus.unmarshal(document.data(), document.size()), lmx60::ELMX_OK);
    EXPECT_EQ(bus.getSchemaLocationAttr(), location);
    EXPECT_FALSE(bus.isSetNoNamespaceSchemaLocationAttr());
    EXPECT_EQ(written(bus), document);

    HIPGSTop top;
    ASSERT_EQ(top.unmarshal(document.data(), document.size()), lmx60::ELMX_OK);
    EXPECT_EQ(written(top), document);

    // Without a hint nothing of the namespace is declared.
    bus.unsetSchemaLocationAttr();
    EXPECT_EQ(written(bus).find("xmlns:xsi"), std::string::npos);
}

// The hints stay whichever entry point reads a document: its element's own class, or the root
// dispatcher, which reads an element of a named type into the type's class; documents of a
// derivation family and of simple content included.
TEST(Documents, SchemaLocationHintsStayWhicheverClassReads)
{
    const std::string xsi = "http://www.w3.org/2001/XMLSchema-instance";
    const std::string hint = "xsi:schemaLocation=\"" + kSpirit + " index.xsd\"";
    const auto document = [&](const std::string& root, const std::string& content) {
        return kDeclaration + "<" + root + kNamespaces + " xmlns:xsi=\"" + xsi + "\" " + hint + ">" + content + "</" +
               root + ">\n";
    };
    const std::string component = document("spirit:component", "<spirit:vendor>example.com</spirit:vendor>"
                                            "<spirit:library>lib</spirit:library><spirit:name>c</spirit:name>"
                                            "<spirit:version>1.0</spirit:version>");
    const std::string port = document("spirit:port", "<spirit:name>p</spirit:name><spirit:wire>"
                                      "<spirit:direction>in</spirit:direction></spirit:wire>");
    const std::string baseAddress = document("spirit:baseAddress", "0x100");
    const auto keeps_hint = [&](auto object, const std::string& xml) {
        lmx60::s_debug_error debug;
        if (object.unmarshal(xml.data(), xml.size(), &debug) != lmx60::ELMX_OK)
            return "read failed: " + debug.to_string();
        std::string text = written(object);
        return text.find(hint) != std::string::npos ? std::string() : "hint lost:\n" + text;
    };
    EXPECT_EQ(keeps_hint(HIPGSComponent(), component), "");
    EXPECT_EQ(keeps_hint(HIPGSTop(), component), "");
    EXPECT_EQ(keeps_hint(HIPGSPort(), port), "");
    EXPECT_EQ(keeps_hint(HIPGSTop(), port), "");
    EXPECT_EQ(keeps_hint(HIPGSBaseAddress2(), baseAddress), "");
    EXPECT_EQ(keeps_hint(HIPGSTop(), baseAddress), "");
}

// Elements of a simple type are held by the root dispatcher as plain values; their hints are kept
// by the dispatcher itself, and only for such a root.
TEST(Documents, SchemaLocationHintsOfARootHeldAsAValueStayThroughTheDispatcher)
{
    const std::string xsi = " xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"";
    const std::string roots[][2] = {
        {"spirit:description", "A &lt;small&gt; block"},
        {"spirit:presence", "optional"},
        {"spirit:volatile", "true"},
        {"spirit:bitsInLau", "8"},
    };
    for (const auto& root : roots) {
        for (const std::string& hint : {"xsi:schemaLocation=\"" + kSpirit + " index.xsd\"",
                                       std::string("xsi:noNamespaceSchemaLocation=\"local.xsd\"")}) {
            const std::string document = kDeclaration + "<" + root[0] + kNamespaces + xsi + " " + hint + ">" +
                                         root[1] + "</" + root[0] + ">\n";
            HIPGSTop top;
            ASSERT_EQ(top.unmarshal(document.data(), document.size()), lmx60::ELMX_OK) << document;
            EXPECT_EQ(written(top), document);
        }
    }

    const std::string component = kDeclaration + "<spirit:component" + kNamespaces + xsi +
                                  " xsi:noNamespaceSchemaLocation=\"c.xsd\"><spirit:vendor>v</spirit:vendor>"
                                  "<spirit:library>l</spirit:library><spirit:name>c</spirit:name>"
                                  "<spirit:version>1</spirit:version></spirit:component>\n";
    HIPGSTop top;
    top.setSchemaLocationAttr("left over");
    ASSERT_EQ(top.unmarshal(component.data(), component.size()), lmx60::ELMX_OK);
    EXPECT_FALSE(top.isSetSchemaLocationAttr());
    EXPECT_FALSE(top.isSetNoNamespaceSchemaLocationAttr());
    ASSERT_STREQ(top.getChosenElementId(), "spirit:component");
    EXPECT_EQ(std::as_const(top).getComponent().getNoNamespaceSchemaLocationAttr(), "c.xsd");
}

TEST(Documents, AnElementWithoutANameFailsTheStreamInsteadOfCrashing)
{
    HIPGSBusDefinition bus;
    std::ostringstream out;
    lmx60::c_xml_writer writer(out);
    EXPECT_NE(bus.marshal(writer, nullptr), lmx60::ELMX_OK);
    EXPECT_TRUE(out.fail());
}

TEST(Occurrences, ChoiceWithoutAlternativeFailsWith7)
{
    std::string text;
    lmx60::s_debug_error debug;
    EXPECT_EQ(definition_with_undecided_port().marshal(&text, &debug), lmx60::ELMX_ELEMENT_NOT_FOUND);
    EXPECT_EQ(debug.item_name, "{anonymous compositor}");
    HIPGSAbstractionDefinitionPortsPortAnonWire choice;
    EXPECT_EQ(lmx60::marshal(choice, &text, &debug), lmx60::ELMX_ELEMENT_NOT_FOUND);
}

TEST(Occurrences, ChoiceWritesOnlyItsAlternative)
{
    HIPGSAbstractionDefinitionPortsPortAnonWire choice;
    choice.select_Wire();
    std::ostringstream os;
    {
        lmx60::c_xml_writer writer(os, 0);
        EXPECT_EQ(choice.marshal(writer, "spirit:port"), lmx60::ELMX_OK);
    }
    EXPECT_EQ(os.str(), "<spirit:wire" + kNamespaces + "/>\n");
}

TEST(Occurrences, MoreItemsThanTheMaximumFailWith26)
{
    HIPGSAbstractorInterfaces interfaces;
    for (int i = 0; i < 3; ++i)
        interfaces.appendAbstractorInterface();
    std::string text;
    lmx60::s_debug_error debug;
    EXPECT_EQ(lmx60::marshal(interfaces, &text, &debug), lmx60::ELMX_OCCURRENCE_ERROR);
    EXPECT_EQ(debug.item_name, "abstractorInterface");
}

TEST(Occurrences, AbsentRequiredChildThrows)
{
    HIPGSAbstractionDefinition definition = definition_with_undecided_port();
    definition.unsetBusType();
    std::string text;
    EXPECT_THROW(definition.marshal(&text), lmx60::lmx_exception);
}

TEST_F(ScratchDirectory, MissingDirectoryGivesCode1AndCreatesNothing)
{
    HIPGSAbstractionDefinitionPortInfo info;
    const fs::path target = directory_ / "missing" / "info.xml";
    lmx60::s_debug_error debug;
    EXPECT_EQ(info.marshal(target.c_str(), &debug), lmx60::ELMX_NO_FILE);
    EXPECT_FALSE(fs::exists(directory_ / "missing"));
    EXPECT_TRUE(fs::is_empty(directory_));
}

TEST_F(ScratchDirectory, FailedWriteLeavesTheEarlierFileAndNoOther)
{
    const fs::path target = directory_ / "apb_rtl.xml";
    HIPGSAbstractionDefinition good = definition_with_undecided_port();
    good.getPorts().getPort(0).getAbstractionDefinitionPortsPortAnonWire().select_Wire();
    ASSERT_EQ(good.marshal(target.c_str(), nullptr), lmx60::ELMX_OK);
    const std::string before = corpus::read_file(target.string());
    EXPECT_EQ(before, written(good));
    lmx60::s_debug_error debug;
    EXPECT_EQ(definition_with_undecided_port().marshal(target.c_str(), &debug), lmx60::ELMX_ELEMENT_NOT_FOUND);
    EXPECT_EQ(debug.error, lmx60::ELMX_ELEMENT_NOT_FOUND);
    EXPECT_EQ(corpus::read_file(target.string()), before);
    EXPECT_EQ(std::distance(fs::directory_iterator(directory_), fs::directory_iterator()), 1);
}

// spirit:interface is of the type spirit:interface; a hierInterface standing there says so.
TEST(DerivedTypes, AreMarkedOnlyWhereTheBaseIsExpected)
{
    HIPGSDesign design;
    name(design.getVersionedIdentifier(), "soc");
    HIPGSHierConnection& connection = design.getHierConnections().appendHierConnection();
    connection.setInterfaceRefAttr("apb_slave");
    auto* derived = new HIPGSHierInterface;
    derived->setComponentRefAttr("u_timer");
    derived->setBusRefAttr("apb");
    derived->setPathAttr("top/u_sub");
    connection.assignInterface(derived);
    const std::string text = written(design);
    const std::string expected =
        kDeclaration + "<spirit:design" + kNamespaces + ">\n" +
        "  <spirit:vendor>vorlix.com</spirit:vendor>\n"
        "  <spirit:library>busdefs</spirit:library>\n"
        "  <spirit:name>soc</spirit:name>\n"
        "  <spirit:version>1.0</spirit:version>\n"
        "  <spirit:hierConnections>\n"
        "    <spirit:hierConnection spirit:interfaceRef=\"apb_slave\">\n"
        "      <spirit:interface xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" "
        "xsi:type=\"spirit:hierInterface\" spirit:componentRef=\"u_timer\" spirit:busRef=\"apb\" "
        "spirit:path=\"top/u_sub\"/>\n"
        "    </spirit:hierConnection>\n"
        "  </spirit:hierConnections>\n"
        "</spirit:design>\n";
    EXPECT_EQ(text, expected);
    HIPGSDesign reread;
    ASSERT_EQ(reread.unmarshal(text.data(), text.size()), lmx60::ELMX_OK);
    const HIPGSInterface& interface = reread.getHierConnections().getHierConnection(0).getInterface();
    ASSERT_NE(dynamic_cast<const HIPGSHierInterface*>(&interface), nullptr);
    EXPECT_TRUE(reread == design);

    std::string alone;
    ASSERT_EQ(lmx60::marshal(*derived, &alone, nullptr), lmx60::ELMX_OK);
    EXPECT_EQ(alone.find("xsi:type"), std::string::npos);
    EXPECT_NE(alone.find("<spirit:hierInterface "), std::string::npos);
}

}  // namespace

// NaN is a value of xs:float and xs:double like any other: an object holding it equals its copy and
// what it reads back as.
TEST(Documents, NotANumberReadsBackAsTheSameValue)
{
    const std::string document = kDeclaration + "<spirit:phase" + kNamespaces + ">NaN</spirit:phase>\n";
    HIPGSTop top;
    ASSERT_EQ(top.unmarshal(document.data(), document.size()), lmx60::ELMX_OK);
    HIPGSTop copy(top);
    EXPECT_TRUE(copy == top);
    const std::string text = written(top);
    HIPGSTop back;
    ASSERT_EQ(back.unmarshal(text.data(), text.size()), lmx60::ELMX_OK);
    EXPECT_TRUE(back == top) << text;
}

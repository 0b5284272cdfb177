// The root dispatcher: a document of any global element of either schema reads into HIPGSTop as
// that element's own choice, and writes back as the same document.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/spirit/HIPGSpirit.h>

#include "corpus.h"
#include "global_documents.h"

using namespace HIPGSpirit;

namespace {

std::vector<global_documents::document> all_documents()
{
    std::vector<global_documents::document> documents = global_documents::vendor();
    for (const global_documents::document& d : global_documents::standard())
        documents.push_back(d);
    return documents;
}

HIPGSTop read_text(const std::string& text, lmx60::elmx_error* error)
{
    lmx60::s_debug_error debug;
    HIPGSTop top(text, error, &debug);
    if (*error != lmx60::ELMX_OK)
        ADD_FAILURE() << debug.to_string();
    return top;
}

// xmllint against the vendor schema, which imports the official one; one run for all documents.
// Empty when all are valid, else the complaints.
std::string schema_errors(const std::vector<std::string>& documents)
{
    namespace fs = std::filesystem;
    fs::path directory = fs::temp_directory_path() / ("ipxact_top_" + std::to_string(getpid()));
    fs::create_directories(directory);
    std::string command = "xmllint --noout --schema '" + std::string(IPXACT_SOURCE_DIR) + "/schema/vorlix.xsd'";
    for (size_t i = 0; i < documents.size(); ++i) {
        fs::path file = directory / (std::to_string(i) + ".xml");
        std::ofstream(file, std::ios::binary) << documents[i];
        command += " '" + file.string() + "'";
    }
    fs::path log = directory / "log";
    int status = std::system((command + " >'" + log.string() + "' 2>&1").c_str());
    std::string complaints = corpus::read_file(log.string());
    fs::remove_all(directory);
    return status == 0 ? std::string() : complaints;
}

bool can_validate()
{
    return corpus::have_xmllint() && std::filesystem::exists(corpus::official_schema());
}

// A reader standing on the document element of `text`.
struct positioned_reader {
    explicit positioned_reader(const std::string& text) : reader(text.data(), text.size())
    {
        reader.set_ns_map(ns_map_reader);
        reader.read_document_element();
    }
    lmx60::c_xml_reader_memory reader;
};

const std::string kComponent = R"(<?xml version="1.0"?>
<spirit:component xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009">
  <spirit:vendor>vorlix.com</spirit:vendor>
  <spirit:library>test</spirit:library>
  <spirit:name>uart</spirit:name>
  <spirit:version>1.0</spirit:version>
</spirit:component>
)";

}  // namespace

TEST(TopReading, EveryGlobalElementReadsAsItsOwnChoice)
{
    std::set<int> seen;
    for (const global_documents::document& d : all_documents()) {
        SCOPED_TRACE(d.root);
        lmx60::elmx_error error = lmx60::ELMX_PENDING;
        HIPGSTop top = read_text(d.text, &error);
        ASSERT_EQ(error, lmx60::ELMX_OK);
        EXPECT_EQ(top.getChoiceId(), d.choice);
        EXPECT_EQ(std::string(top.getChosenElementId()), d.root);
        seen.insert(top.getChoiceId());
    }
    EXPECT_EQ(seen.size(), 100u);
}

TEST(TopReading, ComponentIsChoice65WithItsObject)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop top(kComponent, &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 65);
    EXPECT_EQ(top.getComponent().getVersionedIdentifier().getName(), "uart");
    EXPECT_EQ(top.getChosenObject(), &top.getComponent());
}

TEST(TopReading, BaseAddressHoldsTheGlobalElementsClass)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop top(std::string(R"(<spirit:baseAddress xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        spirit:resolve="user">0x4000</spirit:baseAddress>)"),
                 &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 80);
    auto* address = dynamic_cast<const HIPGSBaseAddress2*>(top.getChosenObject());
    ASSERT_NE(address, nullptr);
    EXPECT_EQ(address->getBaseAddress(), "0x4000");
    EXPECT_EQ(address->getResolveAttr(), "user");
}

TEST(TopReading, ValueHeldElementsKeepTheirValue)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop access(std::string(R"(<spirit:access xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        > read-writeOnce </spirit:access>)"),
                    &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(access.getAccess(), "read-writeOnce");
    EXPECT_EQ(access.getEnumAccess(), HIPGSTop::e_enum_Access::read_writeOnce);
    EXPECT_EQ(access.getChosenObject(), nullptr);

    HIPGSTop bits(std::string(R"(<spirit:bitsInLau xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        >16</spirit:bitsInLau>)"),
                  &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(bits.getBitsInLau(), lmx60::c_big_int("16"));

    HIPGSTop isVolatile(std::string(R"(<spirit:volatile xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        >true</spirit:volatile>)"),
                        &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(isVolatile.getChoiceId(), 72);
    EXPECT_TRUE(isVolatile.getVolatile());
}

TEST(TopReading, ARootThatIsNoGlobalElementIsNamedAsTheWrongElement)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    lmx60::s_debug_error debug;
    HIPGSTop top(std::string(R"(<spirit:register xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009">
        <spirit:name>CTRL</spirit:name></spirit:register>)"),
                 &error, &debug);
    EXPECT_EQ(error, lmx60::ELMX_WRONG_ELEMENT);
    EXPECT_EQ(debug.item_name, "spirit:register");
    EXPECT_EQ(debug.document_line, 1);
    EXPECT_STREQ(top.getChosenElementId(), "");
    HIPGSTop other(std::string(R"(<component xmlns="http://example.com/not-ip-xact"/>)"), &error);
    EXPECT_EQ(error, lmx60::ELMX_WRONG_ELEMENT);
}

TEST(TopReading, ASecondDocumentReplacesTheFirst)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop top(kComponent, &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    std::string access = R"(<spirit:access xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        >read-only</spirit:access>)";
    ASSERT_EQ(top.unmarshal(access.data(), access.size()), lmx60::ELMX_OK);
    HIPGSTop fresh(access, &error);
    EXPECT_EQ(top.getChoiceId(), 73);
    EXPECT_FALSE(top.isSetComponent());
    EXPECT_TRUE(top == fresh);
}

TEST(TopReading, EveryDocumentEntryReadsTheSameDocument)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop fromText(kComponent, &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);

    std::string text = kComponent;
    lmx60::c_xml_reader_memory reader(text.data(), text.size());
    HIPGSTop fromReader(reader, &error);
    EXPECT_EQ(error, lmx60::ELMX_OK);
    EXPECT_TRUE(fromReader == fromText);

    lmx60::c_any_info captured(kSpiritNamespaceUri, "component", text.substr(text.find("<spirit:component")));
    HIPGSTop fromCaptured(captured, &error);
    EXPECT_EQ(error, lmx60::ELMX_OK);
    EXPECT_TRUE(fromCaptured == fromText);

    std::string file = std::filesystem::temp_directory_path() / ("ipxact_top_" + std::to_string(getpid()) + ".xml");
    ASSERT_EQ(fromText.marshal(file.c_str()), lmx60::ELMX_OK);
    HIPGSTop fromFile(file.c_str(), &error);
    std::remove(file.c_str());
    EXPECT_EQ(error, lmx60::ELMX_OK);
    EXPECT_TRUE(fromFile == fromText);
}

TEST(TopReading, TheDispatcherReadsTheElementTheReaderStandsOn)
{
    positioned_reader at(R"(<spirit:vendorExtensions
        xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"
        xmlns:vorlix="http://www.vorlix.com/XMLSchema/ipxact/1.0">
      <vorlix:fileInfo><vorlix:associatedDestinationFile>a.v</vorlix:associatedDestinationFile></vorlix:fileInfo>
    </spirit:vendorExtensions>)");
    at.reader.enter();
    ASSERT_TRUE(HIPGSTop::IsMember(at.reader));
    HIPGSTop top;
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    EXPECT_TRUE(top.unmarshal(at.reader, &error));
    EXPECT_EQ(error, lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 12);
    EXPECT_EQ(std::string(top.getChosenElementId()), "vorlix:fileInfo");
}

TEST(TopMembership, OnlyGlobalElementsAreMembers)
{
    positioned_reader registerElement(R"(<spirit:register
        xmlns:spirit="http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009"/>)");
    EXPECT_FALSE(HIPGSTop::IsMember(registerElement.reader));
    positioned_reader component(kComponent);
    EXPECT_TRUE(HIPGSTop::IsMember(component.reader));
    positioned_reader foreign(R"(<spirit:component xmlns:spirit="http://example.com/other"/>)");
    EXPECT_FALSE(HIPGSTop::IsMember(foreign.reader));
}

TEST(TopWriting, EveryGlobalElementWritesBackAnEqualDocument)
{
    std::vector<std::string> written;
    for (const global_documents::document& d : all_documents()) {
        SCOPED_TRACE(d.root);
        lmx60::elmx_error error = lmx60::ELMX_PENDING;
        HIPGSTop first = read_text(d.text, &error);
        ASSERT_EQ(error, lmx60::ELMX_OK);
        std::string output;
        lmx60::s_debug_error debug;
        ASSERT_EQ(first.marshal(&output, &debug), lmx60::ELMX_OK) << debug.to_string();
        EXPECT_NE(output.find("<" + d.root), std::string::npos) << output;
        HIPGSTop second = read_text(output, &error);
        ASSERT_EQ(error, lmx60::ELMX_OK) << output;
        EXPECT_TRUE(first == second) << output;
        written.push_back(output);
    }
    if (!can_validate())
        GTEST_SKIP() << "no xmllint or no official schema at " << corpus::official_schema();
    EXPECT_EQ(schema_errors(written), "");
}

TEST(TopWriting, NothingChosenIsAFault)
{
    HIPGSTop top;
    std::string output;
    EXPECT_EQ(top.marshal(&output), lmx60::ELMX_ELEMENT_NOT_FOUND);
}

TEST(TopState, AFreshTopHasNothingChosen)
{
    HIPGSTop top;
    EXPECT_EQ(top.getChoiceId(), 100);
    EXPECT_EQ(top.getChosenObject(), nullptr);
    EXPECT_STREQ(top.getChosenElementId(), "");
    EXPECT_STREQ(top.getElementId(), "vorlix");
    top.release_choice();
    top.release_choice();
    EXPECT_EQ(top.getChoiceId(), 100);
    EXPECT_TRUE(top == HIPGSTop());
}

TEST(TopState, SelectorsCreateTheElementsClass)
{
    HIPGSTop top;
    top.SelectBaseAddress2();
    EXPECT_EQ(top.getChoiceId(), 80);
    EXPECT_NE(dynamic_cast<HIPGSBaseAddress2*>(top.getChosenObject()), nullptr);
    top.SelectAddressSpaceRef2();
    EXPECT_EQ(top.getChoiceId(), 75);
    EXPECT_NE(dynamic_cast<HIPGSAddrSpaceRefType*>(top.getChosenObject()), nullptr);
    EXPECT_FALSE(top.isSetBaseAddress());
    top.SelectAbstractor2();
    EXPECT_EQ(top.getChoiceId(), 99);
    EXPECT_NE(dynamic_cast<HIPGSAbstractorType*>(top.getChosenObject()), nullptr);
    top.select_Component();
    EXPECT_EQ(top.getChoiceId(), 65);
    EXPECT_FALSE(top.isSetAbstractor());
    top.release_choice();
    EXPECT_EQ(top.getChoiceId(), 100);
    EXPECT_EQ(top.getChosenObject(), nullptr);
}

TEST(TopState, SelectingTheCurrentChoiceKeepsItsObject)
{
    HIPGSTop top;
    top.select_Design();
    HIPGSDesign* design = &top.getDesign();
    top.select_Design();
    EXPECT_EQ(&top.getDesign(), design);
}

TEST(TopState, TextSettersCheckTheirValue)
{
    HIPGSTop top;
    EXPECT_EQ(top.setAccess("read-write"), lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 73);
    EXPECT_EQ(top.getEnumAccess(), HIPGSTop::e_enum_Access::read_write);
    EXPECT_EQ(top.setAccess("sometimes"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(top.getAccess(), "read-write");

    EXPECT_EQ(top.setInitiative("phantom"), lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 28);
    EXPECT_EQ(top.getEnumInitiative(), HIPGSTop::e_enum_Initiative::phantom);
    EXPECT_EQ(top.setPortAccessType("handle"), lmx60::ELMX_ENUMERATION_FACET);
    EXPECT_EQ(top.getChoiceId(), 29);

    EXPECT_TRUE(top.setEnumPresence(HIPGSTop::e_enum_Presence::illegal));
    EXPECT_EQ(top.getPresence(), "illegal");
    EXPECT_FALSE(top.setEnumPresence(HIPGSTop::e_enum_Presence::e_unlisted));
    EXPECT_EQ(top.getPresence(), "illegal");

    EXPECT_EQ(top.setBitsInLau(lmx60::c_big_int("32")), lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 66);
    EXPECT_EQ(top.setAddressUnitBits(lmx60::c_big_int("8")), lmx60::ELMX_OK);
    EXPECT_EQ(top.getChoiceId(), 81);
    EXPECT_EQ(top.getAddressUnitBits(), lmx60::c_big_int("8"));
}

TEST(TopState, CopiesAreDeepAndIndependent)
{
    lmx60::elmx_error error = lmx60::ELMX_PENDING;
    HIPGSTop original(kComponent, &error);
    ASSERT_EQ(error, lmx60::ELMX_OK);
    HIPGSTop copy(original);
    EXPECT_TRUE(copy == original);
    EXPECT_NE(copy.getChosenObject(), original.getChosenObject());
    copy.getComponent().getVersionedIdentifier().setName("spi");
    EXPECT_FALSE(copy == original);

    std::unique_ptr<HIPGSTop> cloned(original.clone());
    EXPECT_TRUE(*cloned == original);
    std::unique_ptr<HIPGSBase> fresh(original.newObj());
    EXPECT_EQ(static_cast<HIPGSTop&>(*fresh).getChoiceId(), 100);

    HIPGSTop assigned;
    assigned = original;
    EXPECT_TRUE(assigned == original);
    assigned.swap(copy);
    EXPECT_EQ(assigned.getComponent().getVersionedIdentifier().getName(), "spi");
    assigned.reset();
    EXPECT_EQ(assigned.getChoiceId(), 100);
}

// The vendor vocabulary inside standard documents: typed vendor slots and "all" content.
#include <gtest/gtest.h>

#include <string>

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
    if (corpus::have_xmllint() && !corpus::documents().empty())
        EXPECT_EQ(corpus::schema_errors(written), "");
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
    if (corpus::have_xmllint() && !corpus::documents().empty())
        EXPECT_EQ(corpus::schema_errors(written), "");
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

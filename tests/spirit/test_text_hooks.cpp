// Every string value passes through the text conversion hooks on its way out, as on its way in: the
// host's conversion to UTF-8 first, then the escaping of the result. This program stands in for a
// host with an encoding of its own, by providing its own HI18N (the library calls it through the
// dynamic linker, as it would call a host's replacement); in this "encoding" '~' is '<'.
#include <gtest/gtest.h>

#include <string>

#include <ipxact/common/HI18N.h>
#include <ipxact/spirit/HIPGSpirit.h>

namespace {

std::string replaced(std::string text, char from, char to)
{
    for (char& c : text)
        if (c == from)
            c = to;
    return text;
}

}  // namespace

std::string HI18N::convertToUTF8(const std::string& hostText)
{
    return replaced(hostText, '~', '<');
}

std::string HI18N::convertFromUTF8(const std::string& utf8Text)
{
    return replaced(utf8Text, '<', '~');
}

TEST(TextHooks, StringValuesAreConvertedThenEscapedOnTheWayOutAndConvertedBackOnTheWayIn)
{
    const std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<spirit:busDefinition xmlns:spirit=\"http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009\">"
        "<spirit:vendor>example.com</spirit:vendor><spirit:library>lib</spirit:library><spirit:name>apb</spirit:name>"
        "<spirit:version>1.0</spirit:version><spirit:directConnection>true</spirit:directConnection>"
        "<spirit:isAddressable>true</spirit:isAddressable><spirit:description>a &lt; b &amp; \"c\"</spirit:description>"
        "</spirit:busDefinition>\n";
    HIPGSpirit::HIPGSBusDefinition bus;
    ASSERT_EQ(bus.unmarshal(xml.data(), xml.size()), lmx60::ELMX_OK);
    EXPECT_EQ(bus.getDescription(), "a ~ b & \"c\"");
    bus.getVersionedIdentifier().setName("~apb");
    std::string written;
    ASSERT_EQ(bus.marshal(&written), lmx60::ELMX_OK);
    EXPECT_NE(written.find("<spirit:name>&lt;apb</spirit:name>"), std::string::npos) << written;
    EXPECT_NE(written.find("<spirit:description>a &lt; b &amp; \"c\"</spirit:description>"), std::string::npos)
        << written;
}

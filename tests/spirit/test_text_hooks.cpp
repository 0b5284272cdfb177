// Every string value passes through the text conversion hooks on its way out as on its way in. This
// program puts its own output hook in place of the library's (the library calls it through the
// dynamic linker, as a host's replacement would be called), one that writes letters in upper case.
#include <gtest/gtest.h>

#include <cctype>
#include <string>

#include <ipxact/lmx60/lmx60_convert.h>
#include <ipxact/spirit/HIPGSpirit.h>

namespace lmx60 {

std::ostream& custom_output_convert_to_xml(std::ostream& os, const std::string& in)
{
    std::string shouted = in;
    for (char& c : shouted)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return output_convert_to_xml(os, shouted);
}

}  // namespace lmx60

TEST(TextHooks, StringValuesAreWrittenThroughTheOutputHook)
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
    std::string written;
    ASSERT_EQ(bus.marshal(&written), lmx60::ELMX_OK);
    EXPECT_NE(written.find("<spirit:vendor>EXAMPLE.COM</spirit:vendor>"), std::string::npos) << written;
    EXPECT_NE(written.find("<spirit:description>A &lt; B &amp; \"C\"</spirit:description>"), std::string::npos)
        << written;
    // Values of other types are formatted by the runtime, not converted as text.
    EXPECT_NE(written.find("<spirit:directConnection>true</spirit:directConnection>"), std::string::npos) << written;
}

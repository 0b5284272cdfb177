// Every string value passes through the host's text conversion on its way in and out.
#include <ipxact/common/HI18N.h>
#include <ipxact/lmx60/lmx60_convert.h>

namespace lmx60 {

void custom_vtostring(std::string& out, const std::string& in)
{
    out = HI18N::convertFromUTF8(in);
}

std::ostream& custom_output_convert_to_xml(std::ostream& os, const std::string& in)
{
    std::string utf8 = HI18N::convertToUTF8(in);
    return output_convert_to_xml(os, utf8);
}

}  // namespace lmx60

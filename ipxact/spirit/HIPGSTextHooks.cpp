// Every string value read passes through the host's text conversion; on the way out, the binding's
// writing calls the host's conversion to UTF-8 directly (detail::write_value).
#include <ipxact/common/HI18N.h>
#include <ipxact/lmx60/lmx60_convert.h>

namespace lmx60 {

void custom_vtostring(std::string& out, const std::string& in)
{
    out = HI18N::convertFromUTF8(in);
}

}  // namespace lmx60

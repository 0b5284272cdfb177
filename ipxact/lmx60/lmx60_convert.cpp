#include <ipxact/lmx60/lmx60_convert.h>

#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

void vtostring(std::string& out, const std::string& in)
{
    out = in;
}

std::ostream& output_convert_to_xml(std::ostream& os, const std::string& in)
{
    std::string escaped;
    append_xml_escaped(escaped, in.data(), in.size(), false);
    return os.write(escaped.data(), static_cast<std::streamsize>(escaped.size()));
}

std::ostream& output_convert_to_xml(std::ostream& os, bool value)
{
    return os << format_bool(value);
}

std::ostream& output_convert_to_xml(std::ostream& os, float value)
{
    return os << format_float(value);
}

std::ostream& output_convert_to_xml(std::ostream& os, double value)
{
    return os << format_double(value);
}

}  // namespace lmx60

#include <ipxact/lmx60/lmx60_convert.h>

#include <ipxact/lmx60/lmx60_text.h>

namespace lmx60 {

void vtostring(std::string& out, const std::string& in)
{
    out = in;
}

std::ostream& output_convert_to_xml(std::ostream& os, const std::string& in)
{
    size_t run = 0;
    for (size_t i = 0; i < in.size(); ++i) {
        const char* replacement = nullptr;
        switch (in[i]) {
        case '&': replacement = "&amp;"; break;
        case '<': replacement = "&lt;"; break;
        case '>': replacement = "&gt;"; break;
        case '"': replacement = "&quot;"; break;
        case '\r': replacement = "&#13;"; break;
        default: continue;
        }
        os.write(in.data() + run, static_cast<std::streamsize>(i - run));
        os << replacement;
        run = i + 1;
    }
    return os.write(in.data() + run, static_cast<std::streamsize>(in.size() - run));
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

#include "faults.h"

#include <ipxact/lmx60/c_xml_reader.h>

namespace ipxact_cli {

namespace {

// Past this many faults a document is mostly noise; the rest of it is not read.
constexpr size_t kMaxFaultsPerDocument = 50;

// Faults that leave nothing to read on with.
bool ends_reading(lmx60::elmx_error code)
{
    return code == lmx60::ELMX_NO_FILE || code == lmx60::ELMX_NO_ROOT;
}

// Reads with a handler that collects every fault and carries on while the document stays readable.
std::vector<fault> read_collecting(lmx60::c_xml_reader& reader, HIPGSpirit::HIPGSTop& document)
{
    std::vector<fault> faults;
    reader.set_error_handler([&faults](lmx60::elmx_error code, const std::string& item, int line) {
        faults.push_back({line, code, item});
        return faults.size() < kMaxFaultsPerDocument && !ends_reading(code) ? lmx60::ELMX_OK : code;
    });
    lmx60::elmx_error result = document.unmarshal(reader);
    // A stop that bypassed the handler still has to be reported.
    if (result != lmx60::ELMX_OK && (faults.empty() || faults.back().code != result)) {
        const lmx60::s_debug_error& first = reader.get_debug_error();
        faults.push_back({first.document_line, result, first.item_name});
    }
    return faults;
}

}  // namespace

std::vector<fault> read_document(const std::string& path, HIPGSpirit::HIPGSTop& document)
{
    lmx60::c_xml_reader_file reader(path.c_str());
    return read_collecting(reader, document);
}

std::vector<fault> read_document_text(const char* data, size_t size, HIPGSpirit::HIPGSTop& document)
{
    lmx60::c_xml_reader_memory reader(data, size);
    return read_collecting(reader, document);
}

std::string describe(const std::string& path, const fault& f)
{
    std::string text = path + ":" + std::to_string(f.line > 0 ? f.line : 0) + ": error " + std::to_string(f.code) + ": ";
    const char* description = lmx60::get_error_description(f.code);
    text += description ? description : "unknown error";
    if (!f.element.empty())
        text += " (" + f.element + ")";
    return text;
}

}  // namespace ipxact_cli

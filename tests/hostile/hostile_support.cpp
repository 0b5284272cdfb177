#include "hostile_support.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/spirit/HIPGSpirit.h>

namespace hostile {

namespace {

// Peak growth can only be seen when the peak rises above the one the process had before.
class resource_watch {
public:
    resource_watch()
        : m_start(std::chrono::steady_clock::now()), m_peak_before(peak_resident_kb()),
          m_current_before(current_resident_kb())
    {
    }
    double seconds() const
    {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
    }
    long peak_growth_mb() const
    {
        long peak = peak_resident_kb();
        return peak > m_peak_before ? (peak - m_current_before) / 1024 : 0;
    }

private:
    std::chrono::steady_clock::time_point m_start;
    long m_peak_before;
    long m_current_before;
};

}  // namespace

long peak_resident_kb()
{
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

long current_resident_kb()
{
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * (sysconf(_SC_PAGESIZE) / 1024);
}

outcome read_document(const std::string& xml)
{
    outcome result;
    resource_watch watch;
    {
        HIPGSpirit::HIPGSTop top;
        lmx60::s_debug_error debug;
        result.code = top.unmarshal(xml.data(), xml.size(), &debug);
        result.line = debug.document_line;
        result.description = debug.to_string();
    }
    result.seconds = watch.seconds();
    result.peak_growth_mb = watch.peak_growth_mb();
    return result;
}

continued_outcome read_continuing(const std::string& xml)
{
    continued_outcome result;
    lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
    reader.set_error_handler([&result](lmx60::elmx_error, const std::string&, int line) {
        if (result.faults++ == 0)
            result.first_line = line;
        return lmx60::ELMX_OK;
    });
    HIPGSpirit::HIPGSTop top;
    result.code = top.unmarshal(reader);
    HIPGSpirit::HIPGSTop copy(top);
    result.copy_equal = copy == top;
    std::string written;
    lmx60::s_debug_error debug;
    try {
        copy.marshal(&written, &debug);
    } catch (const lmx60::lmx_exception&) {
        // As the getter of an absent child does; the host catches it like any other fault.
    }
    return result;
}

std::string read_file(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string input(const std::string& name)
{
    return read_file(std::string(IPXACT_SOURCE_DIR) + "/tests/hostile/inputs/" + name);
}

std::string corpus_directory()
{
    return std::string(IPXACT_SHARED_DIR) + "/corpus-1685-2009";
}

std::vector<std::string> readable_corpus_components()
{
    namespace fs = std::filesystem;
    std::vector<std::string> found;
    if (!fs::is_directory(corpus_directory()))
        return found;
    for (const auto& entry : fs::recursive_directory_iterator(corpus_directory())) {
        if (entry.path().extension() != ".xml")
            continue;
        HIPGSpirit::HIPGSTop top;
        if (top.unmarshal(entry.path().c_str(), nullptr) == lmx60::ELMX_OK && top.isSetComponent())
            found.push_back(entry.path().string());
    }
    std::sort(found.begin(), found.end());
    return found;
}

int line_at(const std::string& text, size_t offset)
{
    return 1 + static_cast<int>(std::count(text.begin(), text.begin() + std::min(offset, text.size()), '\n'));
}

}  // namespace hostile

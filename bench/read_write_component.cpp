// Reads a component document into HIPGSpirit::HIPGSComponent, or writes one, and reports the time
// and the memory it took.
//
//   read_write_component read  [--repeat N] FILE
//   read_write_component write [--repeat N] FILE OUT
//
// read:  times unmarshal from FILE into a fresh object, with every value checked as always.
// write: reads FILE once, untimed, then times marshal of that object to OUT.
// Each repetition prints one line of key=value pairs. Resident memory is reported before the first
// read (the program itself and its libraries), after it (the object alive) and at its peak, so that
// what the object costs per byte of input can be told apart from what the process always costs.
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include <ipxact/lmx60/lmx60_error.h>
#include <ipxact/spirit/HIPGSComponent.h>

#include "bench_support.h"

namespace {

int usage()
{
    std::fprintf(stderr,
                 "usage: read_write_component read [--repeat N] FILE\n"
                 "       read_write_component write [--repeat N] FILE OUT\n");
    return 2;
}

bool read_component(const char* path, HIPGSpirit::HIPGSComponent* component)
{
    lmx60::s_debug_error debug;
    lmx60::elmx_error code = component->unmarshal(path, &debug);
    if (code != lmx60::ELMX_OK) {
        std::fprintf(stderr, "read_write_component: reading %s failed with code %d: %s\n", path, code,
                     debug.to_string().c_str());
        return false;
    }
    return true;
}

int measure_reads(const char* path, long long bytes, int repeat)
{
    for (int i = 0; i < repeat; ++i) {
        long rssBefore = bench::current_rss_kb();
        auto component = std::make_unique<HIPGSpirit::HIPGSComponent>();
        auto start = bench::clock_type::now();
        if (!read_component(path, component.get()))
            return 1;
        double seconds = bench::seconds_since(start);
        long rssAfter = bench::current_rss_kb();
        long peak = bench::peak_rss_kb();
        start = bench::clock_type::now();
        component.reset();
        double destroySeconds = bench::seconds_since(start);
        std::printf("mode=read bytes=%lld seconds=%.6f mb_per_s=%.1f destroy_seconds=%.6f rss_before_kb=%ld "
                    "rss_after_kb=%ld peak_rss_kb=%ld\n",
                    bytes, seconds, static_cast<double>(bytes) / seconds / 1e6, destroySeconds, rssBefore, rssAfter, peak);
        std::fflush(stdout);
    }
    return 0;
}

int measure_writes(const char* path, const char* out, long long bytes, int repeat)
{
    HIPGSpirit::HIPGSComponent component;
    if (!read_component(path, &component))
        return 1;
    for (int i = 0; i < repeat; ++i) {
        lmx60::s_debug_error debug;
        auto start = bench::clock_type::now();
        lmx60::elmx_error code = component.marshal(out, &debug);
        double seconds = bench::seconds_since(start);
        if (code != lmx60::ELMX_OK) {
            std::fprintf(stderr, "read_write_component: writing %s failed with code %d: %s\n", out, code,
                         debug.to_string().c_str());
            return 1;
        }
        long long written = bench::file_size(out);
        std::printf("mode=write bytes=%lld seconds=%.6f mb_per_s=%.1f written_bytes=%lld peak_rss_kb=%ld\n", bytes,
                    seconds, static_cast<double>(written) / seconds / 1e6, written, bench::peak_rss_kb());
        std::fflush(stdout);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 3)
        return usage();
    std::string mode = argv[1];
    int repeat = 1;
    const char* paths[2] = {nullptr, nullptr};
    int pathCount = 0;
    for (int i = 2; i < argc; ++i) {
        std::string arg = argv[i];
        if (arg == "--repeat" && i + 1 < argc)
            repeat = std::atoi(argv[++i]);
        else if (pathCount < 2 && arg[0] != '-')
            paths[pathCount++] = argv[i];
        else
            return usage();
    }
    if (repeat < 1 || pathCount == 0)
        return usage();
    long long bytes = bench::file_size(paths[0]);
    if (bytes < 0) {
        std::fprintf(stderr, "read_write_component: cannot open %s\n", paths[0]);
        return 1;
    }
    if (mode == "read" && pathCount == 1)
        return measure_reads(paths[0], bytes, repeat);
    if (mode == "write" && pathCount == 2)
        return measure_writes(paths[0], paths[1], bytes, repeat);
    return usage();
}

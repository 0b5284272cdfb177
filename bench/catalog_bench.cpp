// Loads a directory of documents four ways and prints one line per way and thread count:
//   read     every file into an HIPGSTop through a reader with a fault handler, each released
//            before the next is read, nothing else;
//   hold     the same, every document held until all are read (released after the timer, as the
//            catalog is): what holding a whole library in memory costs before any index;
//   load     Catalog::load (reading, line index, references, identifier index, resolution);
//   check    load, then every registered rule over every document;
//   add      (one thread) every document added from memory with Catalog::add_text, one by one, as
//            a host holding documents in memory would, then the references resolved: the texts
//            are read into memory before the timer.
// Each but add is run with one thread and with one per core; the figures are documents/s and MB/s
// of the best of --runs runs, and the ratios of load, check and add to plain reading.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <ipxact/catalog/catalog.h>
#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/spirit/HIPGSTop.h>

namespace fs = std::filesystem;
using clock_type = std::chrono::steady_clock;

namespace {

double seconds_since(clock_type::time_point start)
{
    return std::chrono::duration<double>(clock_type::now() - start).count();
}

// The plain read, on the same files in the same order, with the same hand-out of files to threads
// as the catalog uses. With `held`, each document is kept there (one slot per file) instead of
// being released at once.
size_t read_all(const std::vector<std::string>& files, unsigned threads,
                std::vector<std::unique_ptr<HIPGSpirit::HIPGSTop>>* held = nullptr)
{
    std::atomic<size_t> next{0};
    std::atomic<size_t> faulty{0};
    if (held)
        held->resize(files.size());
    auto worker = [&] {
        for (size_t i; (i = next.fetch_add(1)) < files.size();) {
            lmx60::c_xml_reader_file reader(files[i].c_str());
            reader.set_error_handler([](lmx60::elmx_error code, const std::string&, int) { return code; });
            auto top = std::make_unique<HIPGSpirit::HIPGSTop>();
            if (top->unmarshal(reader) != lmx60::ELMX_OK)
                ++faulty;
            if (held)
                (*held)[i] = std::move(top);
        }
    };
    std::vector<std::thread> pool;
    for (unsigned t = 1; t < threads; ++t)
        pool.emplace_back(worker);
    worker();
    for (std::thread& thread : pool)
        thread.join();
    return faulty;
}

// Seconds to add every file's text to a catalog one by one and resolve the references.
double add_all(const std::vector<std::string>& files)
{
    std::vector<std::string> texts;
    for (const std::string& file : files) {
        std::ifstream in(file, std::ios::binary);
        texts.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    auto start = clock_type::now();
    ipxact::catalog::Catalog catalog;
    for (size_t i = 0; i < files.size(); ++i)
        catalog.add_text(files[i], texts[i]);
    catalog.dangling();
    return seconds_since(start);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc < 2 || !fs::is_directory(argv[1])) {
        std::fprintf(stderr, "usage: catalog_bench DIR [--runs N]   (DIR: a directory of documents)\n");
        return 2;
    }
    std::string directory = argv[1];
    int runs = argc > 3 && std::strcmp(argv[2], "--runs") == 0 ? std::max(1, std::atoi(argv[3])) : 3;
    std::vector<std::string> files;
    uint64_t bytes = 0;
    for (const auto& entry : fs::recursive_directory_iterator(directory))
        if (entry.is_regular_file() && entry.path().extension() == ".xml") {
            files.push_back(entry.path().string());
            bytes += entry.file_size();
        }
    std::sort(files.begin(), files.end());
    unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    std::printf("%zu documents, %.1f MB, %u cores\n", files.size(), static_cast<double>(bytes) / 1e6, cores);
    std::printf("%-6s %7s %10s %12s %8s %12s\n", "what", "threads", "seconds", "documents/s", "MB/s", "/ read");

    for (unsigned threads : {1u, cores}) {
        double read = 1e9, hold = 1e9, load = 1e9, check = 1e9, add = 1e9;
        size_t findings = 0, dangling = 0;
        for (int run = 0; run < runs; ++run) {
            auto start = clock_type::now();
            read_all(files, threads);
            read = std::min(read, seconds_since(start));

            std::vector<std::unique_ptr<HIPGSpirit::HIPGSTop>> held;
            start = clock_type::now();
            read_all(files, threads, &held);
            hold = std::min(hold, seconds_since(start));
            held.clear();

            start = clock_type::now();
            ipxact::catalog::Catalog catalog;
            ipxact::catalog::LoadOptions options;
            options.threads = threads;
            catalog.load({directory}, options);
            load = std::min(load, seconds_since(start));
            findings = catalog.check({}, threads).size();
            check = std::min(check, seconds_since(start));
            dangling = catalog.dangling().size();
            if (threads == 1)
                add = std::min(add, add_all(files));
        }
        auto line = [&](const char* what, double s) {
            std::printf("%-6s %7u %10.3f %12.0f %8.1f %12.3f\n", what, threads, s, static_cast<double>(files.size()) / s, static_cast<double>(bytes) / 1e6 / s,
                        s / read);
        };
        line("read", read);
        line("hold", hold);
        line("load", load);
        line("check", check);
        if (threads == 1)
            line("add", add);
        std::printf("       findings %zu, dangling references %zu\n", findings, dangling);
    }
    return 0;
}

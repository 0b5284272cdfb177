// Clock, memory and file probes shared by the measuring programs, so that every program reports
// the same quantities in the same way.
#ifndef IPXACT_BENCH_BENCH_SUPPORT_H
#define IPXACT_BENCH_BENCH_SUPPORT_H

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace bench {

using clock_type = std::chrono::steady_clock;

inline double seconds_since(clock_type::time_point start)
{
    return std::chrono::duration<double>(clock_type::now() - start).count();
}

// Resident memory now, from the kernel's page count; -1 when /proc is not there.
inline long current_rss_kb()
{
    std::FILE* statm = std::fopen("/proc/self/statm", "r");
    if (!statm)
        return -1;
    long sizePages = 0;
    long residentPages = 0;
    int fields = std::fscanf(statm, "%ld %ld", &sizePages, &residentPages);
    std::fclose(statm);
    if (fields != 2)
        return -1;
    return residentPages * (sysconf(_SC_PAGESIZE) / 1024);
}

// The high-water mark of resident memory over the life of the process (kB on Linux).
inline long peak_rss_kb()
{
    struct rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

inline long long file_size(const char* path)
{
    struct stat info {};
    if (stat(path, &info) != 0)
        return -1;
    return static_cast<long long>(info.st_size);
}

}  // namespace bench

#endif

#include <ipxact/lmx60/lmx60_frontends.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lmx60 {

namespace {

// Creates an unused file name beside `target` and opens it exclusively, so that two writers never
// share a temporary and nothing that exists is overwritten.
bool create_temporary_beside(const std::string& target, std::string* temporary)
{
    for (unsigned attempt = 0; attempt < 100; ++attempt) {
        std::string candidate = target + ".tmp" + std::to_string(::getpid()) + "_" + std::to_string(attempt);
        int fd = ::open(candidate.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd >= 0) {
            ::close(fd);
            *temporary = candidate;
            return true;
        }
        if (errno != EEXIST)
            return false;
    }
    return false;
}

// Keeps the permissions of the file being replaced.
void copy_mode(const std::string& from, const std::string& to)
{
    struct stat info;
    if (::stat(from.c_str(), &info) == 0)
        ::chmod(to.c_str(), info.st_mode & 07777);
}

struct temporary_file_guard {
    std::string path;
    bool keep = false;
    ~temporary_file_guard()
    {
        if (!keep && !path.empty())
            remove(path.c_str());
    }
};

}  // namespace

elmx_error write_file_atomically(const char* file, const std::function<elmx_error(std::ostream&)>& write)
{
    if (!file || !*file)
        return ELMX_NO_FILE;
    temporary_file_guard temporary;
    if (!create_temporary_beside(file, &temporary.path))
        return ELMX_NO_FILE;
    elmx_error result;
    {
        std::ofstream os(temporary.path, std::ios::binary | std::ios::trunc);
        if (!os.is_open())
            return ELMX_NO_FILE;
        result = write(os);
        if (result != ELMX_OK)
            return result;
        os.close();
        if (os.fail())
            return ELMX_WRITE_FAILED;
    }
    copy_mode(file, temporary.path);
    if (std::rename(temporary.path.c_str(), file) != 0)
        return ELMX_NO_FILE;
    temporary.keep = true;
    return ELMX_OK;
}

elmx_error remove(const char* file)
{
    if (!file || !*file)
        return ELMX_NO_FILE;
    return ::unlink(file) == 0 ? ELMX_OK : ELMX_NO_FILE;
}

elmx_error run_marshal(const std::function<elmx_error()>& marshal)
{
    try {
        return marshal();
    } catch (const c_lmx_exception& e) {
        return e.get_error();
    }
}

}  // namespace lmx60

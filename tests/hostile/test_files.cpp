// Writing never loses a file: a write that fails half-way leaves the earlier file as it was and no
// temporary beside it; a write into a directory that does not exist creates nothing.
#include <gtest/gtest.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include <ipxact/spirit/HIPGSpirit.h>

#include "hostile_support.h"

namespace fs = std::filesystem;

namespace {

// A fresh directory per test, removed with everything in it.
struct scratch_directory {
    fs::path path = fs::path(::testing::TempDir()) /
                    ("hostile_files_" + std::to_string(::getpid()) + "_" +
                     ::testing::UnitTest::GetInstance()->current_test_info()->name());
    scratch_directory() { fs::create_directories(path); }
    ~scratch_directory() { fs::remove_all(path); }
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        return names;
    }
};

HIPGSpirit::HIPGSTop small_component()
{
    const std::string xml = hostile::input("small_component.xml");
    HIPGSpirit::HIPGSTop top;
    lmx60::s_debug_error debug;
    EXPECT_EQ(top.unmarshal(xml.data(), xml.size(), &debug), lmx60::ELMX_OK) << debug.to_string();
    return top;
}

// Writes `top` to `path` in a child process whose files may not grow beyond `limit` bytes, the way a
// full disk stops a write; returns the code the write returned.
int write_with_file_size_limit(const HIPGSpirit::HIPGSTop& top, const std::string& path, rlim_t limit)
{
    pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit bound{limit, limit};
        ::setrlimit(RLIMIT_FSIZE, &bound);
        ::_exit(top.marshal(path.c_str()));
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Accepts `capacity` bytes, then fails every write.
class failing_buffer : public std::streambuf {
public:
    explicit failing_buffer(size_t capacity) : m_capacity(capacity) {}
    const std::string& received() const { return m_received; }

protected:
    int_type overflow(int_type c) override
    {
        if (traits_type::eq_int_type(c, traits_type::eof()))
            return traits_type::not_eof(c);
        if (m_received.size() >= m_capacity)
            return traits_type::eof();
        m_received += traits_type::to_char_type(c);
        return c;
    }
    std::streamsize xsputn(const char* data, std::streamsize count) override
    {
        size_t room = m_capacity - std::min(m_capacity, m_received.size());
        size_t taken = std::min(room, static_cast<size_t>(count));
        m_received.append(data, taken);
        return static_cast<std::streamsize>(taken);
    }

private:
    size_t m_capacity;
    std::string m_received;
};

}  // namespace

TEST(LostFiles, WriteStoppedByAFullDiskLeavesTheEarlierFileAndNoTemporary)
{
    scratch_directory directory;
    const std::string target = (directory.path / "component.xml").string();
    const std::string earlier = "<earlier/>\n";
    HIPGSpirit::HIPGSTop top = small_component();
    std::string whole;
    ASSERT_EQ(top.marshal(&whole), lmx60::ELMX_OK);

    for (rlim_t limit : {rlim_t(0), rlim_t(1), rlim_t(100), rlim_t(4096), rlim_t(whole.size() / 2),
                         rlim_t(whole.size() - 1)}) {
        std::ofstream(target, std::ios::binary) << earlier;
        EXPECT_EQ(write_with_file_size_limit(top, target, limit), lmx60::ELMX_WRITE_FAILED) << "limit " << limit;
        EXPECT_EQ(hostile::read_file(target), earlier) << "limit " << limit;
        EXPECT_EQ(directory.entries(), std::vector<std::string>{"component.xml"}) << "limit " << limit;
    }
    EXPECT_EQ(write_with_file_size_limit(top, target, whole.size()), lmx60::ELMX_OK);
    EXPECT_EQ(hostile::read_file(target), whole);
    EXPECT_EQ(directory.entries(), std::vector<std::string>{"component.xml"});
}

TEST(LostFiles, StreamThatFailsPartWayGivesACode)
{
    HIPGSpirit::HIPGSTop top = small_component();
    std::string whole;
    ASSERT_EQ(top.marshal(&whole), lmx60::ELMX_OK);
    for (size_t capacity = 0; capacity < whole.size(); capacity += 61) {
        failing_buffer buffer(capacity);
        std::ostream os(&buffer);
        EXPECT_EQ(top.marshal(os), lmx60::ELMX_WRITE_FAILED) << "capacity " << capacity;
        EXPECT_EQ(buffer.received(), whole.substr(0, capacity)) << "capacity " << capacity;
    }
}

TEST(LostFiles, DeviceWithNoSpaceGivesACode)
{
    std::ofstream full("/dev/full", std::ios::binary);
    if (!full.is_open())
        GTEST_SKIP() << "no /dev/full";
    EXPECT_EQ(small_component().marshal(full), lmx60::ELMX_WRITE_FAILED);
}

TEST(LostFiles, MissingDirectoryIsCodeOneAndCreatesNothing)
{
    scratch_directory directory;
    const fs::path missing = directory.path / "no-such-directory";
    lmx60::s_debug_error debug;
    EXPECT_EQ(small_component().marshal((missing / "component.xml").c_str(), &debug), lmx60::ELMX_NO_FILE);
    EXPECT_FALSE(fs::exists(missing));
    EXPECT_TRUE(directory.entries().empty());
}

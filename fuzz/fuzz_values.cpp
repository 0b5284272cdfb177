// The value types and number parsers on arbitrary text: each value that is accepted writes a text
// that reads back to the same value.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/c_date.h>
#include <ipxact/lmx60/lmx60_text.h>

namespace {

[[noreturn]] void fail(const char* what, const std::string& input, const std::string& written)
{
    std::fprintf(stderr, "%s: '%s' wrote '%s'\n", what, input.c_str(), written.c_str());
    std::abort();
}

template <class Value>
void check_text_round_trip(const char* what, const std::string& input)
{
    Value value;
    if (!value.set(input))
        return;
    Value back;
    if (!back.set(value.text()) || !(back == value))
        fail(what, input, value.text());
}

void check_long_long(const std::string& input)
{
    long long value = 0;
    if (!lmx60::parse_long_long(input, &value))
        return;
    std::string written;
    lmx60::append_long_long(written, value);
    long long back = 0;
    if (!lmx60::parse_long_long(written, &back) || back != value)
        fail("xs:long", input, written);
    lmx60::c_big_int big;
    if (!big.set(input) || !(big == value))
        fail("xs:long as a big integer", input, big.text());
}

void check_double(const std::string& input)
{
    double value = 0;
    if (!lmx60::parse_double(input, &value))
        return;
    std::string written = lmx60::format_double(value);
    double back = 0;
    if (!lmx60::parse_double(written, &back) || (std::isnan(value) ? !std::isnan(back) : back != value))
        fail("xs:double", input, written);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    check_text_round_trip<lmx60::c_big_int>("xs:integer", input);
    check_text_round_trip<lmx60::c_date>("xs:date", input);
    check_text_round_trip<lmx60::c_datetime>("xs:dateTime", input);
    check_long_long(input);
    check_double(input);
    return 0;
}

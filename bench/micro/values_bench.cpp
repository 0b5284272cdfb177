// Simple-value hot paths: every register offset, reset value, bit width and enumerated value of a
// component passes through one of these on the way in or out.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include <ipxact/lmx60/c_big_int.h>
#include <ipxact/lmx60/lmx60_regexp.h>
#include <ipxact/lmx60/lmx60_text.h>
#include <ipxact/lmx60/lmx60_validation.h>

namespace {

// Offsets, widths and values as register maps spell them, and a few beyond 64 bits.
const std::vector<std::string>& integer_texts()
{
    static const std::vector<std::string> texts = {
        "0", "1", "32", "4096", "+007", "-42", "65535", "1073741824", "  18  ",
        "18446744073709551615", "18446744073709551616", "-9223372036854775809",
        "340282366920938463463374607431768211456",
    };
    return texts;
}

// The scaledInteger values of register maps: hex with either prefix, decimal, and magnitude suffixes.
const std::vector<std::string>& scaled_texts()
{
    static const std::vector<std::string> texts = {
        "0x40000000", "0x1000", "4096", "4K", "0X00FF", "#1F", "0xFFFFFFFF", "+0x10", "64k", "1G",
    };
    return texts;
}

void BM_BigIntParse(benchmark::State& state)
{
    const auto& texts = integer_texts();
    lmx60::c_big_int value;
    size_t i = 0;
    for (auto _ : state) {
        bool ok = value.set(texts[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BigIntParse);

void BM_BigIntCompare(benchmark::State& state)
{
    std::vector<lmx60::c_big_int> values;
    for (const auto& text : integer_texts())
        values.emplace_back(text);
    size_t i = 0;
    for (auto _ : state) {
        auto order = values[i].compare(values[(i + 5) % values.size()]);
        benchmark::DoNotOptimize(order);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BigIntCompare);

void BM_BigIntCompareWithMachineInteger(benchmark::State& state)
{
    std::vector<lmx60::c_big_int> values;
    for (const auto& text : integer_texts())
        values.emplace_back(text);
    size_t i = 0;
    for (auto _ : state) {
        bool below = values[i] < 4096ULL;
        benchmark::DoNotOptimize(below);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BigIntCompareWithMachineInteger);

void BM_ParseLongLong(benchmark::State& state)
{
    const auto& texts = integer_texts();
    size_t i = 0;
    for (auto _ : state) {
        long long out = 0;
        bool ok = lmx60::parse_long_long(texts[i], &out);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(out);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseLongLong);

const std::vector<double>& doubles()
{
    static const std::vector<double> values = {0.0, 1.0, -2.5, 0.1, 3.141592653589793, 1e-300, 6.02214076e23,
                                               100.0, 250e6, 1.0 / 3.0};
    return values;
}

void BM_FormatDouble(benchmark::State& state)
{
    const auto& values = doubles();
    size_t i = 0;
    for (auto _ : state) {
        std::string text = lmx60::format_double(values[i]);
        benchmark::DoNotOptimize(text.data());
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FormatDouble);

// The writer's way: into one buffer that keeps its capacity.
void BM_AppendDouble(benchmark::State& state)
{
    const auto& values = doubles();
    std::string buffer;
    size_t i = 0;
    for (auto _ : state) {
        buffer.clear();
        lmx60::append_double(buffer, values[i]);
        benchmark::DoNotOptimize(buffer.data());
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_AppendDouble);

void BM_ParseDouble(benchmark::State& state)
{
    static const std::vector<std::string> texts = {"0", "1.0", "-2.5E0", "0.1", "3.141592653589793", "1e-300",
                                                   "6.02214076E23", "INF", "250e6", "NaN"};
    size_t i = 0;
    for (auto _ : state) {
        double out = 0;
        bool ok = lmx60::parse_double(texts[i], &out);
        benchmark::DoNotOptimize(ok);
        benchmark::DoNotOptimize(out);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ParseDouble);

const char* const kScaledIntegerPattern = "[+\\-]?(0x|0X|#)?[0-9a-fA-F]+[kmgtKMGT]?";
const char* const kPortNamePattern = "\\i[\\p{L}\\p{N}\\.\\-:_]*";

// What a value check costs when its pattern is compiled once and kept.
void BM_RegexpMatchScaledInteger(benchmark::State& state)
{
    lmx60::c_regexp pattern(kScaledIntegerPattern);
    const auto& texts = scaled_texts();
    size_t i = 0;
    for (auto _ : state) {
        bool ok = pattern.matches(texts[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RegexpMatchScaledInteger);

void BM_RegexpMatchPortName(benchmark::State& state)
{
    lmx60::c_regexp pattern(kPortNamePattern);
    static const std::vector<std::string> names = {"clk", "rst_n", "axi4lite_12_awaddr", "apb_3_pready",
                                                   "s_axi_control_rdata", "irq"};
    size_t i = 0;
    for (auto _ : state) {
        bool ok = pattern.matches(names[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % names.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RegexpMatchPortName);

// What a value check would cost if its pattern were compiled per value: the reason to keep them.
void BM_RegexpCompileAndMatch(benchmark::State& state)
{
    const auto& texts = scaled_texts();
    size_t i = 0;
    for (auto _ : state) {
        lmx60::c_regexp pattern(kScaledIntegerPattern);
        bool ok = pattern.matches(texts[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % texts.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_RegexpCompileAndMatch);

void BM_EnumerationCheck(benchmark::State& state)
{
    static const char* const kAccess[] = {"read-only", "write-only", "read-write", "writeOnce", "read-writeOnce",
                                          nullptr};
    static const std::vector<std::string> values = {"read-write", "read-only", "read-writeOnce", "write-only",
                                                    "readwrite"};
    size_t i = 0;
    for (auto _ : state) {
        bool ok = lmx60::is_one_of(kAccess, values[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_EnumerationCheck);

// A positiveInteger such as a bit width: one lower bound on every value.
void BM_BoundFacet(benchmark::State& state)
{
    const lmx60::c_facets positive = {"1", nullptr, nullptr, nullptr, -1, -1};
    static const std::vector<std::string> values = {"1", "8", "32", "0", "4096", "18446744073709551616"};
    size_t i = 0;
    for (auto _ : state) {
        bool ok = lmx60::facets_hold(positive, values[i]);
        benchmark::DoNotOptimize(ok);
        i = (i + 1) % values.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_BoundFacet);

}  // namespace

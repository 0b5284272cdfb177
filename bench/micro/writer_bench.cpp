// The writer's side of the hot path: element frames, attributes and escaped text into a stream.
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include <ipxact/lmx60/c_xml_writer.h>
#include <ipxact/lmx60/lmx60_types.h>

#include "register_map_document.h"

namespace {

const lmx60::s_ns_map kNamespaces[] = {
    {1001, "spirit", bench::spirit_namespace_uri()},
    {0, nullptr, nullptr},
};

void write_leaf(lmx60::c_xml_writer& writer, const char* qname, const std::string& value)
{
    writer.start_element(qname);
    writer.text(value, qname);
    writer.end_element(qname);
}

// The same register shape the reader benchmark walks, so the two can be compared per byte.
void write_register(lmx60::c_xml_writer& writer, int index, const std::string* values)
{
    writer.start_element("spirit:register");
    writer.attribute("spirit:id", values[0]);
    write_leaf(writer, "spirit:name", values[1]);
    write_leaf(writer, "spirit:description", values[2]);
    write_leaf(writer, "spirit:addressOffset", values[3]);
    write_leaf(writer, "spirit:size", values[4]);
    write_leaf(writer, "spirit:access", values[5]);
    writer.start_element("spirit:reset");
    write_leaf(writer, "spirit:value", values[6]);
    write_leaf(writer, "spirit:mask", values[7]);
    writer.end_element("spirit:reset");
    for (int f = 0; f < 4; ++f) {
        writer.start_element("spirit:field");
        write_leaf(writer, "spirit:name", values[8]);
        write_leaf(writer, "spirit:description", values[9]);
        write_leaf(writer, "spirit:bitOffset", values[10 + f]);
        write_leaf(writer, "spirit:bitWidth", values[14]);
        write_leaf(writer, "spirit:access", (index + f) % 3 ? values[5] : values[15]);
        if (f % 2 == 0) {
            writer.start_element("spirit:enumeratedValues");
            for (int v = 0; v < 2; ++v) {
                writer.start_element("spirit:enumeratedValue");
                writer.attribute("spirit:usage", values[5]);
                write_leaf(writer, "spirit:name", values[16 + v]);
                write_leaf(writer, "spirit:value", values[18 + v]);
                writer.end_element("spirit:enumeratedValue");
            }
            writer.end_element("spirit:enumeratedValues");
        }
        writer.end_element("spirit:field");
    }
    writer.end_element("spirit:register");
}

void BM_WriterRegisterMap(benchmark::State& state)
{
    const int registers = 256;
    const std::string values[] = {"REG_7", "CTRL_7", "Write 1 to clear; bits <31:16> read as zero & ignore writes.",
                                  "0x1C", "32", "read-write", "0x00000000", "0xFFFFFFFF", "FLD_1",
                                  "Selects the clock source while EN=1 is \"off\".", "0", "8", "16", "24", "8",
                                  "read-only", "DISABLED", "ENABLED", "0", "1"};
    size_t bytes = 0;
    for (auto _ : state) {
        std::ostringstream os;
        {
            lmx60::c_xml_writer writer(os);
            writer.conditionally_select_ns_map(kNamespaces);
            writer.start_element("spirit:addressBlock");
            for (int r = 0; r < registers; ++r)
                write_register(writer, r, values);
            writer.end_element("spirit:addressBlock");
            writer.flush();
        }
        bytes = os.str().size();
        benchmark::DoNotOptimize(bytes);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}
BENCHMARK(BM_WriterRegisterMap)->Unit(benchmark::kMicrosecond);

// Character data with nothing to escape against the same length full of markup characters.
void BM_WriterText(benchmark::State& state)
{
    const bool escaped = state.range(0) != 0;
    std::string chunk;
    while (chunk.size() < 1024)
        chunk += escaped ? "a<b & \"c\" > d; " : "Holds the value. ";
    const int chunks = 64;
    for (auto _ : state) {
        std::ostringstream os;
        {
            lmx60::c_xml_writer writer(os);
            writer.conditionally_select_ns_map(kNamespaces);
            writer.start_element("spirit:description");
            for (int i = 0; i < chunks; ++i)
                writer.text(chunk, "spirit:description");
            writer.end_element("spirit:description");
        }
        benchmark::DoNotOptimize(os.tellp());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * chunks * chunk.size()));
    state.SetLabel(escaped ? "markup characters" : "plain text");
}
BENCHMARK(BM_WriterText)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);

void BM_WriterAttribute(benchmark::State& state)
{
    const std::string value = "id('PARAM_VALUE.C_HAS_FIFO') = 'true' & \"x\" < 3";
    const int attributes = 4096;
    for (auto _ : state) {
        std::ostringstream os;
        {
            lmx60::c_xml_writer writer(os);
            writer.conditionally_select_ns_map(kNamespaces);
            writer.start_element("spirit:parameters");
            for (int i = 0; i < attributes; ++i) {
                writer.start_element("spirit:value");
                writer.attribute("spirit:dependency", value);
                writer.end_element("spirit:value");
            }
            writer.end_element("spirit:parameters");
        }
        benchmark::DoNotOptimize(os.tellp());
    }
    state.SetItemsProcessed(state.iterations() * attributes);
}
BENCHMARK(BM_WriterAttribute)->Unit(benchmark::kMicrosecond);

}  // namespace

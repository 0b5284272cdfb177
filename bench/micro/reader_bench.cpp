// The reader's side of the hot path: libxml2 under our pull reader, the token steps the bound classes
// take, and the event-table lookup that turns each element name into a member.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include <ipxact/lmx60/c_xml_reader.h>
#include <ipxact/lmx60/lmx60_types.h>

#include "register_map_document.h"

namespace {

const int kSpiritId = 1001;

const lmx60::s_ns_map kNamespaces[] = {
    {kSpiritId, "spirit", bench::spirit_namespace_uri()},
    {0, nullptr, nullptr},
};

enum { event_container = 2, event_leaf = 3 };

#define EVENT(name, event) {kSpiritId, name, sizeof(name) - 1, event}

// One table for the whole walk, in the schema order of a register's members and then the rest,
// as a generated class would list them.
const lmx60::s_event_map kWalkEvents[] = {
    EVENT("name", event_leaf),
    EVENT("displayName", event_leaf),
    EVENT("description", event_leaf),
    EVENT("dim", event_leaf),
    EVENT("addressOffset", event_leaf),
    EVENT("typeIdentifier", event_leaf),
    EVENT("size", event_leaf),
    EVENT("volatile", event_leaf),
    EVENT("access", event_leaf),
    EVENT("reset", event_container),
    EVENT("field", event_container),
    EVENT("alternateRegisters", event_container),
    EVENT("parameters", event_container),
    EVENT("vendorExtensions", event_container),
    EVENT("bitOffset", event_leaf),
    EVENT("bitWidth", event_leaf),
    EVENT("enumeratedValues", event_container),
    EVENT("enumeratedValue", event_container),
    EVENT("value", event_leaf),
    EVENT("mask", event_leaf),
    EVENT("addressBlock", event_container),
    EVENT("register", event_container),
    EVENT("baseAddress", event_leaf),
    EVENT("range", event_leaf),
    EVENT("width", event_leaf),
    EVENT("addressUnitBits", event_leaf),
    {0, nullptr, 0, lmx60::EVENT_END_OF_TABLE},
};

#undef EVENT

const std::string& document()
{
    static const std::string text = bench::register_map_document(8, 32);
    return text;
}

struct walk_totals {
    size_t elements = 0;
    size_t attribute_bytes = 0;
    size_t text_bytes = 0;
};

// From a container's start tag to its end tag, the way a bound class reads its members.
void walk_container(lmx60::c_xml_reader& reader, std::string& text, walk_totals& totals)
{
    reader.enter();
    while (reader.current() == lmx60::c_xml_reader::tok_start) {
        ++totals.elements;
        for (bool more = reader.first_attribute(); more; more = reader.next_attribute())
            totals.attribute_bytes += std::strlen(reader.attribute_value());
        int event = lmx60::find_event(kWalkEvents, reader.element_ns_id(), reader.element_local_name(),
                                      reader.element_local_length());
        if (event == event_leaf) {
            reader.read_text(&text);
            totals.text_bytes += text.size();
        } else if (event == event_container) {
            walk_container(reader, text, totals);
        } else {
            reader.skip_element();
        }
        reader.advance();
    }
}

void BM_ReaderWalkRegisterMap(benchmark::State& state)
{
    const std::string& xml = document();
    std::string text;
    for (auto _ : state) {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        reader.set_ns_map(kNamespaces);
        walk_totals totals;
        if (reader.read_document_element() != lmx60::ELMX_OK) {
            state.SkipWithError("the document did not open");
            break;
        }
        walk_container(reader, text, totals);
        benchmark::DoNotOptimize(totals);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}
BENCHMARK(BM_ReaderWalkRegisterMap)->Unit(benchmark::kMillisecond);

// libxml2 alone under our reader: the document element passed over in one step.
void BM_ReaderSkipDocument(benchmark::State& state)
{
    const std::string& xml = document();
    for (auto _ : state) {
        lmx60::c_xml_reader_memory reader(xml.data(), xml.size());
        reader.set_ns_map(kNamespaces);
        if (reader.read_document_element() != lmx60::ELMX_OK) {
            state.SkipWithError("the document did not open");
            break;
        }
        reader.skip_element();
        benchmark::DoNotOptimize(reader.token_count());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * xml.size()));
}
BENCHMARK(BM_ReaderSkipDocument)->Unit(benchmark::kMillisecond);

// Names in the proportions a register map has them: mostly early members, some late, a few unknown.
void BM_FindEvent(benchmark::State& state)
{
    static const std::vector<std::string> names = {"name", "description", "bitOffset", "bitWidth", "access",
                                                   "field", "value", "enumeratedValue", "addressOffset", "size",
                                                   "reset", "mask", "register", "notAMember"};
    size_t i = 0;
    for (auto _ : state) {
        const std::string& name = names[i];
        int event = lmx60::find_event(kWalkEvents, kSpiritId, name.c_str(), name.size());
        benchmark::DoNotOptimize(event);
        i = (i + 1) % names.size();
    }
    state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_FindEvent);

}  // namespace

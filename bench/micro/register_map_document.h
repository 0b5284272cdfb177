// A spirit:memoryMap document shaped like the bulk of a large component (address blocks of
// registers with fields, reset values and enumerated values), built in memory so the reader and
// writer benchmarks need no files.
#ifndef IPXACT_BENCH_MICRO_REGISTER_MAP_DOCUMENT_H
#define IPXACT_BENCH_MICRO_REGISTER_MAP_DOCUMENT_H

#include <cstdio>
#include <string>

namespace bench {

inline const char* spirit_namespace_uri()
{
    return "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
}

inline void append_leaf(std::string& out, const char* indent, const char* name, const std::string& value)
{
    out += indent;
    out += "<spirit:";
    out += name;
    out += '>';
    out += value;
    out += "</spirit:";
    out += name;
    out += ">\n";
}

inline void append_field(std::string& out, int index, int offset)
{
    out += "        <spirit:field>\n";
    append_leaf(out, "          ", "name", "FLD_" + std::to_string(index));
    append_leaf(out, "          ", "description", "Write 1 to clear; bits &lt;31:16&gt; read as zero &amp; ignore writes.");
    append_leaf(out, "          ", "bitOffset", std::to_string(offset));
    append_leaf(out, "          ", "bitWidth", "8");
    append_leaf(out, "          ", "access", index % 3 ? "read-write" : "read-only");
    if (index % 2 == 0) {
        out += "          <spirit:enumeratedValues>\n";
        for (int v = 0; v < 2; ++v) {
            out += "            <spirit:enumeratedValue spirit:usage=\"read-write\">\n";
            append_leaf(out, "              ", "name", v ? "ENABLED" : "DISABLED");
            append_leaf(out, "              ", "value", std::to_string(v));
            out += "            </spirit:enumeratedValue>\n";
        }
        out += "          </spirit:enumeratedValues>\n";
    }
    out += "        </spirit:field>\n";
}

inline void append_register(std::string& out, int index)
{
    out += "      <spirit:register spirit:id=\"REG_" + std::to_string(index) + "\">\n";
    append_leaf(out, "        ", "name", "CTRL_" + std::to_string(index));
    append_leaf(out, "        ", "description", "Control register of channel " + std::to_string(index));
    char offset[16];
    std::snprintf(offset, sizeof offset, "0x%X", index * 4);
    append_leaf(out, "        ", "addressOffset", offset);
    append_leaf(out, "        ", "size", "32");
    append_leaf(out, "        ", "access", "read-write");
    out += "        <spirit:reset>\n";
    append_leaf(out, "          ", "value", "0x00000000");
    append_leaf(out, "          ", "mask", "0xFFFFFFFF");
    out += "        </spirit:reset>\n";
    for (int f = 0; f < 4; ++f)
        append_field(out, f, f * 8);
    out += "      </spirit:register>\n";
}

inline std::string register_map_document(int blocks, int registersPerBlock)
{
    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<spirit:memoryMap xmlns:spirit=\"";
    out += spirit_namespace_uri();
    out += "\">\n";
    append_leaf(out, "  ", "name", "mm_0");
    for (int b = 0; b < blocks; ++b) {
        out += "    <spirit:addressBlock>\n";
        append_leaf(out, "      ", "name", "block_" + std::to_string(b));
        append_leaf(out, "      ", "baseAddress", "0x4000" + std::to_string(1000 + b) + "0");
        append_leaf(out, "      ", "range", "4K");
        append_leaf(out, "      ", "width", "32");
        for (int r = 0; r < registersPerBlock; ++r)
            append_register(out, r);
        out += "    </spirit:addressBlock>\n";
    }
    append_leaf(out, "  ", "addressUnitBits", "8");
    out += "</spirit:memoryMap>\n";
    return out;
}

}  // namespace bench

#endif

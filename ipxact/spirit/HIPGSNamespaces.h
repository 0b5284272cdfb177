// The two namespaces of every document and the maps that bind them for the reader and the writer.
#ifndef IPXACT_SPIRIT_HIPGSNAMESPACES_H
#define IPXACT_SPIRIT_HIPGSNAMESPACES_H

#include <ipxact/lmx60/lmx60_types.h>

namespace HIPGSpirit {

constexpr const char* kVorlixNamespaceUri = "http://www.vorlix.com/XMLSchema/ipxact/1.0";
constexpr const char* kSpiritNamespaceUri = "http://www.spiritconsortium.org/XMLSchema/SPIRIT/1685-2009";
constexpr const char* kXsiNamespaceUri = "http://www.w3.org/2001/XMLSchema-instance";
constexpr int kVorlixNamespaceId = 1000;
constexpr int kSpiritNamespaceId = 1001;
// Only the schema-location hints of document elements are bound in this namespace; the reader's map
// leaves it out, so that xsi:type and the hints never count as content of any class.
constexpr int kXsiNamespaceId = 1002;

// Given to every reader: elements are recognised by namespace id and local name, whatever prefix.
extern const lmx60::s_ns_map ns_map_reader[];

// Offered to the writer by the element being written; the outermost element declares its map.
extern const lmx60::s_ns_map ns_map_writer_1[];
extern lmx60::s_ns_map ns_map_writer_2[];
extern lmx60::s_ns_map ns_map_writer_3[];
extern lmx60::s_ns_map ns_map_writer_4[];
extern lmx60::s_ns_map ns_map_writer_5[];
extern lmx60::s_ns_map ns_map_writer_6[];
extern lmx60::s_ns_map ns_map_writer_7[];
extern lmx60::s_ns_map ns_map_writer_8[];
extern lmx60::s_ns_map ns_map_writer_9[];
extern lmx60::s_ns_map ns_map_writer_10[];
extern lmx60::s_ns_map ns_map_writer_11[];
extern lmx60::s_ns_map ns_map_writer_12[];
extern lmx60::s_ns_map ns_map_writer_13[];
extern lmx60::s_ns_map ns_map_writer_14[];
extern lmx60::s_ns_map ns_map_writer_15[];
extern lmx60::s_ns_map ns_map_writer_16[];
extern lmx60::s_ns_map ns_map_writer_17[];
extern lmx60::s_ns_map ns_map_writer_18[];
extern lmx60::s_ns_map ns_map_writer_19[];
extern lmx60::s_ns_map ns_map_writer_20[];
extern lmx60::s_ns_map ns_map_writer_21[];
extern lmx60::s_ns_map ns_map_writer_22[];
extern lmx60::s_ns_map ns_map_writer_23[];
extern lmx60::s_ns_map ns_map_writer_24[];
extern lmx60::s_ns_map ns_map_writer_25[];
extern lmx60::s_ns_map ns_map_writer_26[];
extern lmx60::s_ns_map ns_map_writer_27[];
extern lmx60::s_ns_map ns_map_writer_28[];

}  // namespace HIPGSpirit

#endif

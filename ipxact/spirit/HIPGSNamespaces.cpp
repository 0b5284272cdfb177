#include <ipxact/spirit/HIPGSNamespaces.h>

namespace HIPGSpirit {

const lmx60::s_ns_map ns_map_reader[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};

// Four kinds of map: no declarations, both namespaces, the vendor one, the standard one.
const lmx60::s_ns_map ns_map_writer_1[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_2[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_3[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_4[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_5[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_6[] = {
    {1000, "vorlix", kVorlixNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_7[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_8[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_9[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_10[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_11[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_12[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_13[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_14[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_15[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_16[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_17[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_18[] = {
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_19[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_20[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_21[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_22[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_23[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_24[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_25[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_26[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_27[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};
lmx60::s_ns_map ns_map_writer_28[] = {
    {1001, "spirit", kSpiritNamespaceUri},
    {0, nullptr, nullptr},
};

}  // namespace HIPGSpirit

// The example component, built into programs that run on it without any file beside them.
#ifndef IPXACT_EXAMPLES_BUNDLED_EXAMPLE_H
#define IPXACT_EXAMPLES_BUNDLED_EXAMPLE_H

#include <cstddef>

extern const char* const bundled_example_xml;
extern const size_t bundled_example_size;
// Where the text comes from, relative to the repository.
extern const char* const bundled_example_name;

#endif

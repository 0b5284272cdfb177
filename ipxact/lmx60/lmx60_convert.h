// Text conversion of string members read from XML: the binding supplies the hook every string value
// read passes through, so that a host working in another encoding converts in one place.
#ifndef IPXACT_LMX60_LMX60_CONVERT_H
#define IPXACT_LMX60_LMX60_CONVERT_H

#include <string>

namespace lmx60 {

// Stores text read from XML into a string member. Defined by the binding library.
void custom_vtostring(std::string& out, const std::string& in);

}  // namespace lmx60

#endif

// Text conversion between string members and XML text. The runtime's own conversions are
// vtostring and output_convert_to_xml; the binding supplies the custom_ hook that every string
// value read passes through, so that a host working in another encoding converts in one place.
#ifndef IPXACT_LMX60_LMX60_CONVERT_H
#define IPXACT_LMX60_LMX60_CONVERT_H

#include <ostream>
#include <string>

namespace lmx60 {

// Stores text read from XML into a string member.
void vtostring(std::string& out, const std::string& in);
// Writes a string as escaped XML character data (the writer's own escaping); returns the stream.
std::ostream& output_convert_to_xml(std::ostream& os, const std::string& in);
std::ostream& output_convert_to_xml(std::ostream& os, bool value);
std::ostream& output_convert_to_xml(std::ostream& os, float value);
std::ostream& output_convert_to_xml(std::ostream& os, double value);

// Defined by the binding library.
void custom_vtostring(std::string& out, const std::string& in);

}  // namespace lmx60

#endif

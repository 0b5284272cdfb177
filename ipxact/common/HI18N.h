#ifndef IPXACT_COMMON_HI18N_H
#define IPXACT_COMMON_HI18N_H

#include <string>

// Conversions between the host's text encoding and the UTF-8 of XML documents.
// This host works in UTF-8, so both are identities; they stay out of line so
// that a host with another encoding replaces this library, not its callers.
class HI18N {
public:
  static std::string convertToUTF8(const std::string& hostText);
  static std::string convertFromUTF8(const std::string& utf8Text);
};

#endif

#include <ipxact/common/HI18N.h>

std::string HI18N::convertToUTF8(const std::string& hostText) {
  return hostText;
}

std::string HI18N::convertFromUTF8(const std::string& utf8Text) {
  return utf8Text;
}

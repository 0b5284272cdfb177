#include <ipxact/common/HEXAll.h>

HEXAll::HEXAll(const std::string& text) : text_(text) {}

HEXAll::HEXAll(const char* text) : text_(text ? text : "") {}

// Out-of-line destructors anchor each class's type information in this
// library, so a host catches by type across shared-library boundaries.
HEXAll::~HEXAll() = default;
HEXError::~HEXError() = default;
HEXAlgException::~HEXAlgException() = default;

const char* HEXAll::what() const noexcept {
  return text_.c_str();
}

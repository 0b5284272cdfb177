#ifndef IPXACT_COMMON_HEXALL_H
#define IPXACT_COMMON_HEXALL_H

#include <exception>
#include <string>

// Root of the host's exceptions. The library throws only HEXAlgException, and
// only for programming errors; bad input is reported as error codes.
class HEXAll : public std::exception {
public:
  explicit HEXAll(const std::string& text);
  explicit HEXAll(const char* text);
  ~HEXAll() override;

  const char* what() const noexcept override;

private:
  std::string text_;
};

class HEXError : public HEXAll {
public:
  using HEXAll::HEXAll;
  ~HEXError() override;
};

// A caller asked for an operation that a type does not implement.
class HEXAlgException : public HEXError {
public:
  using HEXError::HEXError;
  ~HEXAlgException() override;
};

#endif

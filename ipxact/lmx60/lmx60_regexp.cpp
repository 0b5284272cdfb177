#include <ipxact/lmx60/lmx60_regexp.h>

#include <libxml/globals.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlregexp.h>

namespace lmx60 {

namespace {

void discardError(void*, const char*, ...) {}

// Patterns are compiled at library load, before the host had any say about
// libxml2's error output; a bad pattern is reported by the null result instead.
class generic_errors_silenced {
public:
  generic_errors_silenced()
      : previousHandler_(xmlGenericError), previousContext_(xmlGenericErrorContext) {
    xmlSetGenericErrorFunc(nullptr, discardError);
  }
  ~generic_errors_silenced() { xmlSetGenericErrorFunc(previousContext_, previousHandler_); }

  generic_errors_silenced(const generic_errors_silenced&) = delete;
  generic_errors_silenced& operator=(const generic_errors_silenced&) = delete;

private:
  xmlGenericErrorFunc previousHandler_;
  void* previousContext_;
};

// A C string stops at the first NUL, so such a text would be judged by its
// prefix alone; no XML text contains NUL, so it can never be valid anyway.
bool holdsNul(const std::string& text) {
  return text.find('\0') != std::string::npos;
}

} // namespace

_xmlRegexp* xmlRegexpCompile(const unsigned char* pattern) {
  if (!pattern)
    return nullptr;
  generic_errors_silenced silenced;
  return ::xmlRegexpCompile(pattern);
}

int xmlRegexpExec(_xmlRegexp* compiled, const unsigned char* value) {
  if (!compiled)
    return 0;
  return ::xmlRegexpExec(compiled, value);
}

void xmlRegFreeRegexp(_xmlRegexp* compiled) {
  if (compiled)
    ::xmlRegFreeRegexp(compiled);
}

void c_regexp::freer::operator()(_xmlRegexp* compiled) const {
  lmx60::xmlRegFreeRegexp(compiled);
}

c_regexp::c_regexp(const std::string& pattern)
    : compiled_(holdsNul(pattern)
                    ? nullptr
                    : lmx60::xmlRegexpCompile(reinterpret_cast<const unsigned char*>(pattern.c_str()))) {}

bool c_regexp::matches(const std::string& value) const {
  if (holdsNul(value))
    return false;
  return lmx60::xmlRegexpExec(compiled_.get(), reinterpret_cast<const unsigned char*>(value.c_str())) == 1;
}

} // namespace lmx60

#ifndef IPXACT_LMX60_LMX60_REGEXP_H
#define IPXACT_LMX60_LMX60_REGEXP_H

#include <memory>
#include <string>

// libxml2's compiled XML Schema regular expression, kept opaque so that users
// of these wrappers do not depend on libxml2's headers.
struct _xmlRegexp;

namespace lmx60 {

// XML Schema patterns always match the whole value: there are no anchors.

// Null when the pattern does not compile; compile errors are not printed.
_xmlRegexp* xmlRegexpCompile(const unsigned char* pattern);

// 1 when the whole value matches, 0 when it does not (always for a null
// compiled pattern), negative on an engine error.
int xmlRegexpExec(_xmlRegexp* compiled, const unsigned char* value);

void xmlRegFreeRegexp(_xmlRegexp* compiled);

// Owns one compiled pattern. A pattern that failed to compile matches nothing,
// so a broken pattern can never let a value through.
class c_regexp {
public:
  explicit c_regexp(const std::string& pattern);

  c_regexp(c_regexp&&) noexcept = default;
  c_regexp& operator=(c_regexp&&) noexcept = default;
  c_regexp(const c_regexp&) = delete;
  c_regexp& operator=(const c_regexp&) = delete;

  bool matches(const std::string& value) const;

private:
  struct freer {
    void operator()(_xmlRegexp* compiled) const;
  };
  std::unique_ptr<_xmlRegexp, freer> compiled_;
};

} // namespace lmx60

#endif

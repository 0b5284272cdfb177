#ifndef IPXACT_COMMON_HPAPARAMMGR_H
#define IPXACT_COMMON_HPAPARAMMGR_H

#include <map>
#include <string>

// The host's named parameters, one process-wide set. Values are kept as text
// and interpreted on every read, so a change is seen by the next reader.
class HPAParamMgr {
public:
  static HPAParamMgr* getParamMgr();

  HPAParamMgr(const HPAParamMgr&) = delete;
  HPAParamMgr& operator=(const HPAParamMgr&) = delete;

  void setValue(const std::string& name, const std::string& text);
  void unsetValue(const std::string& name);

  // False when the parameter is unset; `text` may be null to test presence only.
  bool getValue(const std::string& name, std::string* text) const;

  // True only for "true", "1", "yes" or "on" (any letter case, blanks around
  // ignored); an unset parameter or any other text is false.
  bool getValueAsBool(const std::string& name) const;

private:
  HPAParamMgr() = default;

  std::map<std::string, std::string> values_;
};

#endif

#include <ipxact/common/HPAParamMgr.h>

#include <algorithm>
#include <cctype>

namespace {

std::string trimmedLowerCase(const std::string& text) {
  const auto isBlank = [](unsigned char c) { return std::isspace(c) != 0; };
  auto first = std::find_if_not(text.begin(), text.end(), isBlank);
  auto last = std::find_if_not(text.rbegin(), std::string::const_reverse_iterator(first), isBlank).base();
  std::string result(first, last);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

bool spellsTrue(const std::string& text) {
  const std::string word = trimmedLowerCase(text);
  return word == "true" || word == "1" || word == "yes" || word == "on";
}

} // namespace

HPAParamMgr* HPAParamMgr::getParamMgr() {
  static HPAParamMgr instance;
  return &instance;
}

void HPAParamMgr::setValue(const std::string& name, const std::string& text) {
  values_[name] = text;
}

void HPAParamMgr::unsetValue(const std::string& name) {
  values_.erase(name);
}

bool HPAParamMgr::getValue(const std::string& name, std::string* text) const {
  const auto found = values_.find(name);
  if (found == values_.end())
    return false;
  if (text)
    *text = found->second;
  return true;
}

bool HPAParamMgr::getValueAsBool(const std::string& name) const {
  std::string text;
  return getValue(name, &text) && spellsTrue(text);
}

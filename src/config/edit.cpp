#include "config/edit.h"

#include <cstring>
#include <string>

#include "config/entries.h"

int configSet(ConfigDictionary* d, const char* key, const char* value) {
  const char* colon = d == nullptr ? nullptr : std::strchr(key, ':');
  if (colon == nullptr) {
    return -1;
  }
  iniparser_set(d, std::string(key, colon).c_str(), nullptr);
  if (value == nullptr) {
    return iniparser_set(d, key, nullptr);
  }
  // The copy is for a `value` that is the dictionary's own text of this key: iniparser frees that one first.
  return iniparser_set(d, key, std::string(value).c_str());
}

int configAddSection(ConfigDictionary* d, const char* name) {
  if (d == nullptr || std::strchr(name, ':') != nullptr) {
    return -1;
  }
  return iniparser_set(d, name, nullptr);
}

int configUnset(ConfigDictionary* d, const char* key) {
  if (d == nullptr) {
    return -1;
  }
  iniparser_unset(d, key);
  return 0;
}

int configMerge(ConfigDictionary* to, const ConfigDictionary* from) {
  if (to == nullptr || from == nullptr) {
    return -1;
  }
  forEachEntry(from, [to](const char* key, const char* value) {
    if (value != nullptr) {
      configSet(to, key, value);  // adds nothing for a key without ":"
    }
  });
  return 0;
}

int configSectionCount(const ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  int sections = 0;
  forEachEntry(d, [&sections](const char* key, const char* /*value*/) {
    if (std::strchr(key, ':') == nullptr) {
      ++sections;
    }
  });
  return sections;
}

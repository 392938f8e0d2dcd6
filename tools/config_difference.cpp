#include "tools/config_difference.h"

#include <cstring>

#include "config/entries.h"

namespace {

template <class Test>
const char* firstKeyWhere(const ConfigDictionary* d, Test test) {
  const char* found = nullptr;
  forEachEntry(d, [&found, test](const char* key, const char* value) {
    if (found == nullptr && test(key, value)) {
      found = key;
    }
  });
  return found;
}

bool hasSetting(const ConfigDictionary* d, const char* key, const char* value) {
  const char* present = iniparser_getstring(d, key, nullptr);
  return present != nullptr && std::strcmp(present, value) == 0;
}

bool hasSection(const ConfigDictionary* d, const char* name) {
  return iniparser_find_entry(d, name) != 0 && iniparser_getstring(d, name, nullptr) == nullptr;
}

bool hasEntry(const ConfigDictionary* d, const char* key, const char* value) {
  return value == nullptr ? hasSection(d, key) : hasSetting(d, key, value);
}

}  // namespace

const char* firstDifference(const ConfigDictionary* d, const ConfigDictionary* other) {
  return firstKeyWhere(d, [other](const char* key, const char* value) {
    return value != nullptr && !hasSetting(other, key, value);
  });
}

const char* firstLoss(const ConfigDictionary* d, const ConfigDictionary* other) {
  return firstKeyWhere(d,
                       [other](const char* key, const char* value) { return !hasEntry(other, key, value); });
}

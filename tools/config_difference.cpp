#include "tools/config_difference.h"

#include <cstdio>
#include <cstring>

#include "config/entries.h"
#include "config/load.h"
#include "config/parse_stream.h"

namespace {

constexpr const char* newText = "the new text";

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

bool hasEntry(const ConfigDictionary* d, const char* key, const char* value) {
  return value == nullptr ? iniparser_find_entry(d, key) != 0 : hasSetting(d, key, value);
}

// `d` as the next reader of its INI text will have it; null where that cannot be read.
ConfigDictionary* writeAndRead(const ConfigDictionary* d) {
  FILE* stream = std::tmpfile();
  if (stream == nullptr) {
    return nullptr;
  }
  iniparser_dump_ini(d, stream);
  std::fflush(stream);
  std::rewind(stream);
  ConfigDictionary* read = parseStream(stream, newText);
  std::fclose(stream);
  return read;
}

}  // namespace

const char* firstDifference(const ConfigDictionary* d, const ConfigDictionary* other) {
  return firstKeyWhere(d, [other](const char* key, const char* value) {
    return value != nullptr && !hasSetting(other, key, value);
  });
}

const char* firstLossInWriting(const ConfigDictionary* d) {
  ConfigDictionary* read = writeAndRead(d);
  if (read == nullptr) {
    return newText;
  }
  const char* lost =
      firstKeyWhere(d, [read](const char* key, const char* value) { return !hasEntry(read, key, value); });
  configFree(read);
  return lost;
}

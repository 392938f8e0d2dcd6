#include "config/query.h"

#include <array>
#include <cstdarg>
#include <cstdio>

namespace {

using Key = std::array<char, 256>;

[[gnu::format(printf, 1, 0)]] Key formatKey(const char* keyFormat, std::va_list arguments) {
  Key key{};
  std::vsnprintf(key.data(), key.size(), keyFormat, arguments);
  return key;
}

// iniparser's conversions treat a section like a setting, but it has no text.
bool hasText(const ConfigDictionary* d, const Key& key) {
  return iniparser_getstring(d, key.data(), nullptr) != nullptr;
}

}  // namespace

const char* configGetString(const ConfigDictionary* d, const char* fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return iniparser_getstring(d, key.data(), fallback);
}

int configGetInt(const ConfigDictionary* d, int fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return hasText(d, key) ? iniparser_getint(d, key.data(), fallback) : fallback;
}

double configGetDouble(const ConfigDictionary* d, double fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return hasText(d, key) ? iniparser_getdouble(d, key.data(), fallback) : fallback;
}

int configGetBool(const ConfigDictionary* d, int fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return hasText(d, key) ? iniparser_getboolean(d, key.data(), fallback) : fallback;
}

int configHasKey(const ConfigDictionary* d, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return iniparser_find_entry(d, key.data());
}

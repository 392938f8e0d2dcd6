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
  return iniparser_getint(d, key.data(), fallback);
}

double configGetDouble(const ConfigDictionary* d, double fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return iniparser_getdouble(d, key.data(), fallback);
}

int configGetBool(const ConfigDictionary* d, int fallback, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return iniparser_getboolean(d, key.data(), fallback);
}

int configHasKey(const ConfigDictionary* d, const char* keyFormat, ...) {
  std::va_list arguments;
  va_start(arguments, keyFormat);
  const Key key = formatKey(keyFormat, arguments);
  va_end(arguments);
  return iniparser_find_entry(d, key.data());
}

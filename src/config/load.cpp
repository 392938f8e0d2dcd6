#include "config/load.h"

#include <sys/file.h>

#include <array>
#include <cstdio>

#include "config/locked_file.h"
#include "config/parse_stream.h"

namespace {

// iniparser takes a failed read for the end of the file: half of the settings would pass for all of them.
// What a pipe holds can be read only once, so it is left to iniparser.
bool canBeRead(FILE* stream) {
  if (std::fseek(stream, 0, SEEK_SET) != 0) {
    return true;
  }
  std::array<char, BUFSIZ> part;  // NOLINT(cppcoreguidelines-pro-type-member-init): fread fills it
  while (std::fread(part.data(), 1, part.size(), stream) == part.size()) {
  }
  const bool wasRead = std::ferror(stream) == 0;
  std::rewind(stream);
  return wasRead;
}

}  // namespace

ConfigDictionary* configLoad(const char* path, ConfigReporter report) {
  FILE* stream = configOpenLocked(path, "r", LOCK_SH);
  if (stream == nullptr) {
    return nullptr;
  }
  ConfigDictionary* loaded = canBeRead(stream) ? parseStream(stream, path, report) : nullptr;
  configLockFile(fileno(stream), LOCK_UN);
  std::fclose(stream);
  return loaded;
}

ConfigDictionary* configLoad(const char* path) {
  return configLoad(path, configPrintComplaint);
}

int configFree(ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  iniparser_freedict(d);
  return 0;
}

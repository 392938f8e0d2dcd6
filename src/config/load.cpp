#include "config/load.h"

#include <sys/file.h>

#include <cstdio>

#include "config/locked_file.h"
#include "config/parse_stream.h"

ConfigDictionary* configLoad(const char* path) {
  FILE* stream = configOpenLocked(path, "r", LOCK_SH);
  if (stream == nullptr) {
    return nullptr;
  }
  ConfigDictionary* loaded = parseStream(stream, path);
  configLockFile(fileno(stream), LOCK_UN);
  std::fclose(stream);
  return loaded;
}

int configFree(ConfigDictionary* d) {
  if (d == nullptr) {
    return -1;
  }
  iniparser_freedict(d);
  return 0;
}

#include "ctrl/configuration.h"

#include "config/load.h"
#include "config/query.h"
#include "ctrl/configuration_keys.h"

namespace {

// A plain pointer: nothing is to be freed when the program ends inside a signal handler.
ConfigDictionary* cached = nullptr;
bool configStale = true;

}  // namespace

const ConfigDictionary* configDictionary() {
  if (configStale) {
    releaseConfig();
    cached = configLoad(configurationPath);
    configStale = false;
  }
  return cached;
}

const char* getConfigString(const char* key, const char* fallback) {
  const ConfigDictionary* loaded = configDictionary();
  return loaded == nullptr ? nullptr : configGetString(loaded, fallback, "%s", key);
}

bool getConfigBool(const char* key, bool fallback) {
  const ConfigDictionary* loaded = configDictionary();
  return loaded == nullptr ? fallback : configGetBool(loaded, fallback ? 1 : 0, "%s", key) != 0;
}

void requestConfigReload() {
  configStale = true;
}

void releaseConfig() {
  if (cached != nullptr) {
    configFree(cached);
    cached = nullptr;
  }
}

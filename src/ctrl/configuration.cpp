#include "ctrl/configuration.h"

#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <string>
#include <string_view>

#include "config/load.h"
#include "config/query.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/messages.h"
#include "ctrl/settings.h"

namespace {

// A plain pointer: nothing is to be freed when the program ends inside a signal handler.
ConfigDictionary* cached = nullptr;
bool configStale = true;
const char* path = configurationPath;

// The daemon's errors go to one place, iniparser's complaints stay on standard error as well. This runs inside
// iniparser, through which nothing may be thrown: so it makes no ErrorMessage, which allocates.
void reportComplaint(const char* complaint) {
  configPrintComplaint(complaint);
  if (settings.logToSyslog) {
    const std::string_view line(complaint);
    const std::size_t length = line.ends_with('\n') ? line.size() - 1 : line.size();
    syslog(LOG_ERR, "%.*s", static_cast<int>(length), complaint);
  }
}

bool isMissing() {
  struct stat status {};
  return stat(path, &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

// A missing file is a choice, and one that cannot be loaded a fault: a policy that somebody wrote has no effect.
ConfigDictionary* loadOrReport() {
  ConfigDictionary* loaded = configLoad(path, reportComplaint);
  if (loaded == nullptr && !isMissing()) {
    logError("configuration \"" + std::string(path) + "\" cannot be loaded; defaults apply");
  }
  return loaded;
}

}  // namespace

void useConfiguration(const char* otherPath) {
  path = otherPath;
  requestConfigReload();
}

const ConfigDictionary* configDictionary() {
  if (configStale) {
    releaseConfig();
    cached = loadOrReport();
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

#include "tools/config_file.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "config/complaints.h"
#include "config/parse_stream.h"
#include "config/save.h"
#include "tools/config_difference.h"

namespace {

// The store prints its failures on standard output, which is for results here. While this lives, they go where
// the other errors go.
class StoreReportsOnStandardError {
 public:
  StoreReportsOnStandardError() : standardOutput_(dup(STDOUT_FILENO)) { dup2(STDERR_FILENO, STDOUT_FILENO); }
  StoreReportsOnStandardError(const StoreReportsOnStandardError&) = delete;
  StoreReportsOnStandardError& operator=(const StoreReportsOnStandardError&) = delete;
  ~StoreReportsOnStandardError() {
    std::fflush(stdout);
    close(STDOUT_FILENO);
    if (standardOutput_ != -1) {
      dup2(standardOutput_, STDOUT_FILENO);
      close(standardOutput_);
    }
  }

 private:
  int standardOutput_;
};

Configuration loadFromStore(const char* path) {
  const StoreReportsOnStandardError redirected;
  return Configuration(configLoad(path));
}

int saveToStore(const Configuration& configuration, const char* path) {
  const StoreReportsOnStandardError redirected;
  return configSave(configuration.get(), path);
}

// The INI text of `configuration` in a file without a name; null where that cannot be had.
FILE* writeAside(const Configuration& configuration) {
  FILE* text = std::tmpfile();
  if (text == nullptr) {
    return nullptr;
  }
  iniparser_dump_ini(configuration.get(), text);
  if (std::fflush(text) != 0 || std::ferror(text) != 0) {
    std::fclose(text);
    return nullptr;
  }
  std::rewind(text);
  return text;
}

// Whether the INI text, once read again, is what it was made of. The format cannot hold some values and names
// (";" is in them), nor settings without their section.
bool survivesWriting(const Configuration& configuration) {
  FILE* text = writeAside(configuration);
  if (text == nullptr) {
    reportFault(std::strerror(errno), "temporary file");
    return false;
  }
  const Configuration read(parseStream(text, "the new text", configPrintComplaint));
  std::fclose(text);
  if (read == nullptr) {
    reportFault("nothing saved, this cannot be read", "the new text");
    return false;
  }
  const char* lost = firstLoss(configuration.get(), read.get());
  if (lost != nullptr) {
    reportFault("nothing saved, INI text cannot hold this", lost);
  }
  return lost == nullptr;
}

}  // namespace

void reportFault(const char* what, const char* object) {
  std::fprintf(stderr, "quor_config: %s: %s\n", what, object);
}

Configuration loadConfiguration(const char* path) {
  if (access(path, R_OK) != 0) {
    reportFault(std::strerror(errno), path);
    return nullptr;
  }
  Configuration loaded = loadFromStore(path);
  if (loaded == nullptr) {
    reportFault("not a configuration file", path);
  }
  return loaded;
}

Configuration loadOrBeginConfiguration(const char* path) {
  return access(path, F_OK) != 0 && errno == ENOENT ? Configuration(dictionary_new(0))
                                                    : loadConfiguration(path);
}

bool saveConfiguration(const Configuration& configuration, const char* path) {
  if (!survivesWriting(configuration)) {
    return false;
  }
  if (saveToStore(configuration, path) != 0) {
    reportFault("cannot be saved", path);
    return false;
  }
  return true;
}

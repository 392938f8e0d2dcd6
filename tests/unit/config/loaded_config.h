#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "config/entries.h"
#include "config/load.h"
#include "config/query.h"
#include "unit/config/config_file.h"

struct FreeConfig {
  void operator()(ConfigDictionary* d) const { configFree(d); }
};
using Config = std::unique_ptr<ConfigDictionary, FreeConfig>;

inline Config load(const ConfigFile& file) {
  return Config(configLoad(file.name()));
}

/** The dictionary of a file with this content. */
inline Config configOf(const std::string& content) {
  return load(ConfigFile(content));
}

inline std::string textOf(const Config& config, const char* key) {
  return configGetString(config.get(), "(none)", "%s", key);
}

/** The keys in the dictionary's order, each with its text or "(section)". */
using Entries = std::vector<std::pair<std::string, std::string>>;

inline Entries entriesOf(const Config& config) {
  Entries entries;
  forEachEntry(config.get(), [&entries](const char* key, const char* value) {
    entries.emplace_back(key, value == nullptr ? "(section)" : value);
  });
  return entries;
}

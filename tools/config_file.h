#pragma once

#include <memory>

#include "config/dictionary.h"
#include "config/load.h"

/*
 * The file that quor_config works on. A failure is reported in a line on standard error.
 */

struct FreeConfiguration {
  void operator()(ConfigDictionary* d) const { configFree(d); }
};
using Configuration = std::unique_ptr<ConfigDictionary, FreeConfiguration>;

/** Prints "quor_config: WHAT: OBJECT". */
void reportFault(const char* what, const char* object);

/** The file at `path`; null, and a report, where it cannot be loaded. */
Configuration loadConfiguration(const char* path);

/** The same, but an empty one where there is no file yet. */
Configuration loadOrBeginConfiguration(const char* path);

/**
 * Saves `configuration` at `path`. False, and a report, when that fails, and when INI text cannot hold it: a
 * value with ";", say, or a setting without its section. Then the file is as it was.
 */
bool saveConfiguration(const Configuration& configuration, const char* path);

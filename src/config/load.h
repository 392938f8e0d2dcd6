#pragma once

#include "config/complaints.h"
#include "config/dictionary.h"

/**
 * Reads the file at `path` under a shared lock; the caller owns the result. Returns null when the file cannot
 * be opened, locked or read to its end, or is no INI file. `report` gets each of iniparser's complaints about
 * such a file.
 */
ConfigDictionary* configLoad(const char* path, ConfigReporter report);

/** The same, with the complaints on standard error. */
ConfigDictionary* configLoad(const char* path);

/** Frees `d`. Returns 0, or -1 for a null `d`. */
int configFree(ConfigDictionary* d);

#pragma once

#include "config/dictionary.h"

/**
 * Reads the file at `path` under a shared lock; the caller owns the result. Returns null when the file cannot
 * be opened or locked, or is no INI file. iniparser prints the faults of such a file to standard error.
 */
ConfigDictionary* configLoad(const char* path);

/** Frees `d`. Returns 0, or -1 for a null `d`. */
int configFree(ConfigDictionary* d);

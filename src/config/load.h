#pragma once

#include "config/dictionary.h"

/**
 * Reads the file at `path` under a shared lock; the caller owns the result. Null when the file cannot be
 * opened or locked, or is not an INI file; what iniparser finds wrong with it is told on standard error.
 */
ConfigDictionary* configLoad(const char* path);

/** Frees `d`. 0, or -1 when `d` is null. */
int configFree(ConfigDictionary* d);

#pragma once

#include "config/dictionary.h"

/**
 * Sets `key`, "section:key", and adds its section if that is missing. Returns 0, or -1 for a key without ":"
 * or for a null `d`.
 */
int configSet(ConfigDictionary* d, const char* key, const char* value);

/** Adds a section. Returns 0, or -1 for a name with ":" or for a null `d`. */
int configAddSection(ConfigDictionary* d, const char* name);

/** Removes an entry; a missing entry is no error. Returns 0, or -1 for a null `d`. */
int configUnset(ConfigDictionary* d, const char* key);

/**
 * Sets each setting of `from` in `to`, but adds no section for which `from` has no settings. Returns 0, or -1
 * for a null dictionary.
 */
int configMerge(ConfigDictionary* to, const ConfigDictionary* from);

/**
 * Returns the number of sections, or -1 for a null `d`. Nothing in the product calls it: it is
 * for other programs.
 */
int configSectionCount(const ConfigDictionary* d);

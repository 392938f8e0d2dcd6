#pragma once

#include "config/dictionary.h"

/** Sets `key`, "section:key", making its section where it is missing. 0, or -1 for a key without ":" or a
 * null `d`. */
int configSet(ConfigDictionary* d, const char* key, const char* value);

/** Makes a section. 0, or -1 for a name with ":" or a null `d`. */
int configAddSection(ConfigDictionary* d, const char* name);

/** Removes an entry; one that is not there is no error. 0, or -1 for a null `d`. */
int configUnset(ConfigDictionary* d, const char* key);

/** Sets each setting of `from` in `to`; sections of `from` without settings are not made. 0, or -1 for a null
 * one. */
int configMerge(ConfigDictionary* to, const ConfigDictionary* from);

/** How many entries are sections; -1 for a null `d`. */
int configSectionCount(const ConfigDictionary* d);

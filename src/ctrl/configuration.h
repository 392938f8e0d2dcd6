#pragma once

#include "config/dictionary.h"

/*
 * The daemon's view of the unit's configuration: loaded at the first query, then kept until a reload is
 * requested. The file and its keys are those of configuration_keys.h. Each load of a file that is there but
 * cannot be loaded is reported as an error.
 */

/** Reads another file from the next query on; the text must stay. For programs that explain the daemon. */
void useConfiguration(const char* otherPath);

/** The kept dictionary, loaded if it is stale; null when the file cannot be loaded. */
const ConfigDictionary* configDictionary();

/** The text of `key`; `fallback` when the file has no such key; null when there is no file at all. */
const char* getConfigString(const char* key, const char* fallback = nullptr);

/** iniparser's boolean reading of `key`; `fallback` when there is no such key, or no file. */
bool getConfigBool(const char* key, bool fallback);

/** Makes the next query load the file again. */
void requestConfigReload();

/** Frees the kept dictionary and forgets it; queries find no file until a reload is requested. */
void releaseConfig();

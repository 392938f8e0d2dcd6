#pragma once

#include <cstdio>

#include "config/complaints.h"
#include "config/dictionary.h"

/**
 * Parses the open file of `stream`; `path` is its name in complaints. The caller owns the result. Returns
 * null when iniparser complains, to `report`: it is no INI file, or memory runs out. The position of `stream`
 * is then undefined.
 */
ConfigDictionary* parseStream(FILE* stream, const char* path, ConfigReporter report);

#pragma once

#include <cstdio>

#include "config/dictionary.h"

/**
 * Parses the file that `stream` has open; `path` is its name in messages. Null when it is not an INI file or
 * memory runs out, told on standard error. Whether `stream` has moved afterwards is open.
 */
ConfigDictionary* parseStream(FILE* stream, const char* path);

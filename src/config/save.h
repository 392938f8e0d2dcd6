#pragma once

#include "config/dictionary.h"

/**
 * Puts `d` in the place of the file at `path`, under an exclusive lock: whoever reads, and a crash at any
 * instant, finds the old file or the new one, whole. The new file has the old one's owner and permissions. 0,
 * or -1, and then the old file is untouched. What fails, or is killed, may leave a temporary file
 * "PATH.tmp.PID" and, where there was no file, an empty one.
 */
int configSave(const ConfigDictionary* d, const char* path);

#pragma once

#include "config/dictionary.h"

/**
 * Replaces the file at `path` by `d`, under an exclusive lock. Readers see either the old file or the whole
 * new one, also after a crash at any moment. The new file has the owner and permissions of the old one.
 * Returns 0, or -1 with the old file unchanged. A failed or killed save may leave a temporary file
 * "PATH.tmp.PID", and an empty file if there was none.
 */
int configSave(const ConfigDictionary* d, const char* path);

#pragma once

#include <iniparser.h>

/**
 * The settings of one INI file, in the order of their insertion. A section is an entry whose key is the
 * section's name and whose value is null. A setting is an entry "section:key" with a text. Keys are in lower
 * case. The caller of `configLoad` owns the result and frees it with `configFree`.
 *
 * These functions follow C conventions: they return 0, -1 or null, print their few messages to standard
 * output, and never throw.
 */
using ConfigDictionary = dictionary;

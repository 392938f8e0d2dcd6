#pragma once

#include <iniparser.h>

/**
 * The settings of one INI file, in the order of their insertion. A section is an entry whose key is the
 * section's name and whose value is null; a setting is an entry "section:key" with a text. Keys are in lower
 * case. A pointer to one is owned by whoever got it from `configLoad`, until `configFree`.
 *
 * The store's functions follow plain C conventions: they return 0, -1 or null, print their few messages to
 * standard output, and never throw.
 */
using ConfigDictionary = dictionary;

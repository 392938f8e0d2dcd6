#pragma once

#include "config/dictionary.h"

/*
 * Typed queries. The key, "section:key", is `keyFormat` formatted as printf does, cut to 255 characters; its
 * case does not matter. A missing key, a section (whose configGetString is null) and a null dictionary give
 * `fallback`.
 */

/** The text of the key; it belongs to the dictionary. */
[[gnu::format(printf, 3, 4)]] const char* configGetString(const ConfigDictionary* d, const char* fallback,
                                                          const char* keyFormat, ...);

/** The whole number at the start of the text (decimal, 0 octal, 0x hexadecimal), 0 where there is none. */
[[gnu::format(printf, 3, 4)]] int configGetInt(const ConfigDictionary* d, int fallback, const char* keyFormat,
                                               ...);

/** The number at the start of the text, 0.0 where there is none. */
[[gnu::format(printf, 3, 4)]] double configGetDouble(const ConfigDictionary* d, double fallback,
                                                     const char* keyFormat, ...);

/** 1 for a text that starts with one of 1tTyY, 0 for one of 0fFnN, otherwise `fallback`. */
[[gnu::format(printf, 3, 4)]] int configGetBool(const ConfigDictionary* d, int fallback,
                                                const char* keyFormat, ...);

/** 1 if the key is there, be it a setting or a section, else 0. */
[[gnu::format(printf, 2, 3)]] int configHasKey(const ConfigDictionary* d, const char* keyFormat, ...);

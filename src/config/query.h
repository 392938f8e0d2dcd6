#pragma once

#include "config/dictionary.h"

/*
 * Typed queries. The key, "section:key", is `keyFormat` and what follows it, formatted as by printf and cut
 * to 255 characters. Its case does not matter. A missing key and a null dictionary yield `fallback`. So does
 * a section, except that its configGetString is null.
 */

/** The text of the key. The dictionary owns it. */
[[gnu::format(printf, 3, 4)]] const char* configGetString(const ConfigDictionary* d, const char* fallback,
                                                          const char* keyFormat, ...);

/**
 * The whole number at the start of the text (decimal, 0 octal, 0x hexadecimal), or 0 if there is none.
 * Nothing in the product calls it: it is for other programs.
 */
[[gnu::format(printf, 3, 4)]] int configGetInt(const ConfigDictionary* d, int fallback, const char* keyFormat,
                                               ...);

/**
 * The number at the start of the text, or 0.0 if there is none. Nothing in the product calls it: it is
 * for other programs.
 */
[[gnu::format(printf, 3, 4)]] double configGetDouble(const ConfigDictionary* d, double fallback,
                                                     const char* keyFormat, ...);

/** 1 for a text that starts with one of 1tTyY, 0 for one that starts with one of 0fFnN, else `fallback`. */
[[gnu::format(printf, 3, 4)]] int configGetBool(const ConfigDictionary* d, int fallback,
                                                const char* keyFormat, ...);

/** 1 if there is a setting or section of this key, else 0. */
[[gnu::format(printf, 2, 3)]] int configHasKey(const ConfigDictionary* d, const char* keyFormat, ...);

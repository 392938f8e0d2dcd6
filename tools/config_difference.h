#pragma once

#include "config/dictionary.h"

/**
 * The key of the first setting of `d` that `other` does not have, or has with another value; null when it has
 * them all. The key belongs to `d`.
 */
const char* firstDifference(const ConfigDictionary* d, const ConfigDictionary* other);

/**
 * The key of the first setting or section of `d` that would be lost or changed by writing `d` as INI text and
 * reading it again: a setting with ";" in its value, say, or one whose section is not there. "the new text"
 * where nothing could be read again; iniparser has then told the line on standard error. Null when all is
 * well.
 */
const char* firstLossInWriting(const ConfigDictionary* d);

#pragma once

#include "config/dictionary.h"

/**
 * The key of the first setting of `d` that `other` does not have, or has with another value; null when it has
 * them all. The key belongs to `d`.
 */
const char* firstDifference(const ConfigDictionary* d, const ConfigDictionary* other);

/** The same for sections, too: the key of the first entry of `d` that is none, or another, in `other`. */
const char* firstLoss(const ConfigDictionary* d, const ConfigDictionary* other);

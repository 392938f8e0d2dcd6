#pragma once

#include <string>
#include <vector>

#include "config/dictionary.h"

/**
 * What the daemon would not read as its writer meant it, a line for each: keys that it does not know, and
 * values that a flag, a number or a list does not take. Empty when all is well.
 */
std::vector<std::string> checkConfiguration(const ConfigDictionary* d);

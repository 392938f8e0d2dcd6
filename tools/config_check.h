#pragma once

#include <string>
#include <vector>

#include "config/dictionary.h"

/** The keys that are judged. */
enum class CheckedKeys {
  daemons,  // what the daemon reads, and the rest of its section "usb": other keys are those of other programs
  all,      // the file is the daemon's alone
};

/**
 * What the daemon would not read as its writer meant it, a line for each: keys that it does not know, values that
 * a flag, a number or a list does not take, and a program that it cannot execute. Empty when all is well.
 */
std::vector<std::string> checkConfiguration(const ConfigDictionary* d, CheckedKeys keys);

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "ctrl/device_classes.h"
#include "ctrl/link.h"

/** What the options say besides the process-wide settings. */
struct Options {
  std::string socketPath = defaultSocketPath;
  std::string interface = "eth1";
  std::uint32_t classes = noClasses;
  const char* inkey = nullptr;   // the program's argument, or null
  const char* outkey = nullptr;  // the program's argument, or null
  bool debugGiven = false;
  bool classGiven = false;
  bool logGiven = false;
};

/** The last three arguments: <hostname> <port> <speed>. */
inline constexpr int positionalCount = 3;

/** Writes the usage text to standard error and exits with status 1. */
[[noreturn]] void printUsage();

/**
 * The class mask of a comma-separated list of `classWords`. Any other item is reported on standard error and
 * ends the program with status 1.
 */
std::uint32_t parseClassList(std::string_view list);

/**
 * Switches on the settings of a comma-separated list of `debugWords`. Any other item is reported on standard
 * error and ends the program with status 1.
 */
void parseDebugList(std::string_view list);

/**
 * Reads the options before the last three arguments and sets the settings they name. There are at least three
 * arguments after the program's name. A bad option prints the usage and exits.
 */
Options parseOptions(int argc, char* const* argv);

/**
 * Takes what the options leave open from the configuration. A bad list there is reported on standard error and
 * ends the program with status 1.
 */
void applyConfiguration(const Options& options);

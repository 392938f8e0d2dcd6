#include "ctrl/command_line.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>
#include <string>

#include "ctrl/configuration.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/settings.h"
#include "ulx/items.h"
#include "ulx/write_once.h"

namespace {

// Both lists are refused in the words of the debug list.
[[noreturn]] void refuseItem(std::string_view item) {
  ulx::writeOnce(STDERR_FILENO, "Invalid debug option '" + std::string(item) + "'\n");
  std::exit(EXIT_FAILURE);
}

// What follows `option` (which ends in "=") in `argument`; nothing when it is another argument.
std::optional<std::string_view> valueOf(std::string_view option, std::string_view argument) {
  if (!argument.starts_with(option)) {
    return std::nullopt;
  }
  return argument.substr(option.size());
}

}  // namespace

void printUsage() {
  ulx::writeOnce(
      STDERR_FILENO,
      "Usage: usb_rx_ctrl [--class={none,keyboard,scsi,all}] [--debug={ctrl,generic,keyboard,scsi}]"
      " [--syslog|--stderr] [--keys <inkey> <outkey>]  [--sock=<socketpath>] [--intf=<networkconn>]"
      " <hostname> <port> <speed>\n");
  std::exit(EXIT_FAILURE);
}

std::uint32_t parseClassList(std::string_view list) {
  std::uint32_t classes = noClasses;
  ulx::forEachItem(list, ',', [&classes](std::string_view item) {
    const auto* known = std::ranges::find(classWords, item, &ClassWord::word);
    if (known == classWords.end()) {
      refuseItem(item);
    }
    classes = known->classes == noClasses ? noClasses : classes | known->classes;
  });
  return classes;
}

void parseDebugList(std::string_view list) {
  ulx::forEachItem(list, ',', [](std::string_view item) {
    const auto* known = std::ranges::find(debugWords, item, &DebugWord::word);
    if (known == debugWords.end()) {
      refuseItem(item);
    }
    if (known->setting != nullptr) {
      settings.*known->setting = true;
    }
  });
}

Options parseOptions(int argc, char* const* argv) {
  Options options;
  for (int i = 1; i < argc - positionalCount; ++i) {
    const std::string_view argument = argv[i];
    if (const auto debugList = valueOf("--debug=", argument)) {
      parseDebugList(*debugList);
      options.debugGiven = true;
    } else if (const auto classList = valueOf("--class=", argument)) {
      options.classes = parseClassList(*classList);
      options.classGiven = true;
    } else if (argument == "--syslog") {
      settings.logToSyslog = true;
      options.logGiven = true;
    } else if (argument == "--stderr") {
      settings.logToSyslog = false;
      options.logGiven = true;
    } else if (argument == "--keys") {
      // The keys may reach into the last three arguments, which are read as positionals all the same.
      if (i + 2 >= argc) {
        printUsage();
      }
      options.inkey = argv[++i];
      options.outkey = argv[++i];
    } else if (const auto socketPath = valueOf("--sock=", argument)) {
      options.socketPath = *socketPath;
    } else if (const auto interface = valueOf("--intf=", argument)) {
      options.interface = *interface;
    } else {
      printUsage();
    }
  }
  return options;
}

void applyConfiguration(const Options& options) {
  const char* debugList = options.debugGiven ? nullptr : getConfigString(configuration_key::debug);
  if (debugList != nullptr) {
    parseDebugList(debugList);
  }
  const char* classList = options.classGiven ? nullptr : getConfigString(configuration_key::classes);
  if (classList != nullptr) {
    parseClassList(classList);  // can refuse a bad list, but sets nothing: only the option chooses classes
  }
  if (!options.logGiven && getConfigString(configuration_key::logToSyslog) != nullptr) {
    settings.logToSyslog = true;  // with any value, "0" too
  }
}

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ctrl/link.h"

/** A worker's command line; the first element is also the program that is executed, found through PATH. */
using WorkerArguments = std::vector<std::string>;

/** Where workers connect to: the Transmitter, through a network connection of the unit. */
struct TransmitterLink {
  std::string interface;
  std::string hostname;
  std::uint16_t port;  // of generic workers; keyboards use the next one, disks the one after that
};

/** Whether a worker logs its own debug messages, and where to. */
enum class WorkerLog { quiet, debugToStderr, debugToSyslog };

/** What only generic workers get. */
struct GenericOptions {
  std::string program;
  LinkKey inkey;
  LinkKey outkey;
  std::string socketPath;
  std::optional<std::string> timeoutText;  // set: the worker gives up after so many seconds
};

/** A device node's number as decimal texts. */
struct DeviceNumber {
  std::string major;
  std::string minor;
};

/** Splits the text of a "dev" attribute at its first ":"; without one there is no minor. */
DeviceNumber parseDeviceNumber(const std::string& text);

WorkerArguments scsiArguments(WorkerLog log, const TransmitterLink& link, const std::string& devicePath);
WorkerArguments keyboardArguments(WorkerLog log, const TransmitterLink& link, const DeviceNumber& number);
WorkerArguments genericArguments(WorkerLog log, const GenericOptions& options, const TransmitterLink& link,
                                 const std::string& devicePath);

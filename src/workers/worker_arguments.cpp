#include "workers/worker_arguments.h"

#include <boost/lexical_cast.hpp>

#include <cstddef>

#include "ctrl/link.h"

namespace {

// Offsets of the workers' ports from the link's.
constexpr int genericPort = 0;
constexpr int keyboardPort = 1;
constexpr int scsiPort = 2;

void addLog(WorkerArguments& arguments, WorkerLog log) {
  if (log != WorkerLog::quiet) {
    arguments.emplace_back("--debug");
    arguments.emplace_back(log == WorkerLog::debugToSyslog ? "--syslog" : "--stderr");
  }
}

void addLink(WorkerArguments& arguments, const TransmitterLink& link, int portOffset) {
  arguments.push_back(link.interface);
  arguments.push_back(link.hostname);
  arguments.push_back(boost::lexical_cast<std::string>(link.port + portOffset));
}

}  // namespace

DeviceNumber parseDeviceNumber(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) {
    return {.major = text, .minor = ""};
  }
  return {.major = text.substr(0, colon), .minor = text.substr(colon + 1)};
}

WorkerArguments scsiArguments(WorkerLog log, const TransmitterLink& link, const std::string& devicePath) {
  WorkerArguments arguments{"usb_rx_scsi"};
  addLog(arguments, log);
  addLink(arguments, link, scsiPort);
  arguments.push_back(devicePath);
  return arguments;
}

WorkerArguments keyboardArguments(WorkerLog log, const TransmitterLink& link, const DeviceNumber& number) {
  WorkerArguments arguments{"usb_rx_keyboard"};
  addLog(arguments, log);
  addLink(arguments, link, keyboardPort);
  arguments.push_back(number.major);
  arguments.push_back(number.minor);
  return arguments;
}

WorkerArguments genericArguments(WorkerLog log, const GenericOptions& options, const TransmitterLink& link,
                                 const std::string& devicePath) {
  WorkerArguments arguments{options.program};
  addLog(arguments, log);
  if (options.inkey && options.outkey) {
    arguments.insert(arguments.end(), {"--keys", *options.inkey, *options.outkey});
  }
  if (options.socketPath != defaultSocketPath) {
    arguments.push_back("--sock=" + options.socketPath);
  }
  if (options.timeoutText) {
    arguments.insert(arguments.end(), {"--timeout", *options.timeoutText});
  }
  addLink(arguments, link, genericPort);
  arguments.push_back(devicePath);
  return arguments;
}

#include "examples/usbip/transmitter/command_line.h"

#include <charconv>
#include <string_view>
#include <system_error>

namespace usbip {

const char* const usage =
    "Usage: usb_tx_usbip [--debug] [--syslog] [--keys=FILE] [--allow-any-peer] PORT\n"
    "       usb_tx_usbip --list\n";

const char* const help =
    "Attaches to this machine the USB devices that usb_rx_usbip brings to TCP port PORT,\n"
    "by the kernel's driver vhci_hcd, until SIGTERM, SIGINT or SIGHUP.\n"
    "\n"
    "  --list            print which devices are attached, and exit\n"
    "  --keys=FILE       both ends prove that they have the keys IN OUT, one line of FILE\n"
    "  --allow-any-peer  without keys, serve other machines than this one, too\n"
    "  --syslog          log to syslog instead of standard error\n"
    "  --debug           log each step\n"
    "\n"
    "Exit status: 0 done, 1 failure or wrong usage.\n";

namespace {

constexpr std::string_view keysOption = "--keys=";

// 0 is none.
std::uint16_t portOf(const std::string& text) {
  std::uint16_t port = 0;
  const char* const end = text.data() + text.size();
  const auto result = std::from_chars(text.data(), end, port);
  return result.ec == std::errc() && result.ptr == end ? port : std::uint16_t{0};
}

bool takeOption(const std::string& argument, Arguments& parsed) {
  if (argument == "--debug") {
    parsed.debugging = true;
  } else if (argument == "--syslog") {
    parsed.toSyslog = true;
  } else if (argument == "--allow-any-peer") {
    parsed.anyPeer = true;
  } else if (argument.starts_with(keysOption) && argument.size() > keysOption.size()) {
    parsed.keyFile = argument.substr(keysOption.size());
  } else {
    return false;
  }
  return true;
}

std::optional<Arguments> parseService(const std::vector<std::string>& arguments) {
  Arguments parsed;
  for (const std::string& argument : arguments) {
    if (takeOption(argument, parsed)) {
      continue;
    }
    if (parsed.port != 0) {
      return {};  // there is one port
    }
    parsed.port = portOf(argument);
    if (parsed.port == 0) {
      return {};
    }
  }
  return parsed.port != 0 ? std::optional(parsed) : std::nullopt;
}

}  // namespace

std::optional<Arguments> parseArguments(const std::vector<std::string>& arguments) {
  if (arguments == std::vector<std::string>{"--list"}) {
    return Arguments{.action = Action::list};
  }
  if (arguments == std::vector<std::string>{"--help"}) {
    return Arguments{.action = Action::help};
  }
  return parseService(arguments);
}

}  // namespace usbip

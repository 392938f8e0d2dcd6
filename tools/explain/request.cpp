#include "tools/explain/request.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>
#include <system_error>

#include "ctrl/command_line.h"
#include "ctrl/configuration_keys.h"
#include "ctrl/device_classes.h"
#include "tools/explain/error.h"
#include "tools/word_list.h"

namespace explain {

const char* const usage =
    "Usage: usb_rx_explain [--config=FILE] [--class=LIST] [--speed=WORD] [--intf=NAME]\n"
    "                      [--device-speed=MBITS] [--transmitter=HOST:PORT] [--json] [DEVICE...]\n"
    "       usb_rx_explain --save FOLDER DEVICE\n"
    "       usb_rx_explain --help | --version\n"
    "Says what the USB control daemon does with a device, and why. Starts nothing, changes nothing.\n"
    "\n"
    "  DEVICE                   a directory of sysfs; a name in /sys/bus/usb/devices (1-1.2, usb1); a "
    "folder\n"
    "                           that the recorder has written; a file of descriptors, binary or "
    "hexadecimal.\n"
    "                           None: every USB device that is plugged in.\n"
    "  --config=FILE            the daemon's configuration, otherwise /vel/quor.conf\n"
    "  --class=LIST             the daemon's option: none, keyboard, scsi, all; otherwise none\n"
    "  --speed=WORD             the speed of the link, otherwise high; only full makes a difference\n"
    "  --device-speed=MBITS     the speed of a device of which only descriptors are given: 1.5, 12, 480, "
    "5000\n"
    "  --intf=NAME              the daemon's option: a network connection, otherwise eth1\n"
    "  --transmitter=HOST:PORT  what workers connect to\n"
    "  --json                   prints an array with an object for each device\n"
    "  --save FOLDER            keeps a device that is plugged in as a new folder, without serial numbers\n"
    "\n"
    "Exit status: 0 every device is served; 1 one is refused or has no worker; 2 wrong usage, or a device\n"
    "that cannot be read. Without a DEVICE, hubs do not count.\n";

namespace {

Transmitter transmitterOf(const std::string& value) {
  const std::size_t colon = value.rfind(':');
  Transmitter transmitter;
  if (colon == std::string::npos || colon == 0) {
    throw Error("--transmitter: not HOST:PORT: " + value);
  }
  transmitter.hostname = value.substr(0, colon);
  const char* end = value.data() + value.size();
  const auto port = std::from_chars(value.data() + colon + 1, end, transmitter.port);
  if (port.ec != std::errc() || port.ptr != end) {
    throw Error("--transmitter: no port number: " + value);
  }
  return transmitter;
}

std::string classListOf(const std::string& value) {
  const auto unknown = findUnknownWord(value, classWords);
  if (unknown) {
    std::string words;
    for (const ClassWord& known : classWords) {
      words += (words.empty() ? "" : ", ") + std::string(known.word);
    }
    throw Error("--class: not one of " + words + ": " + std::string(*unknown));
  }
  return value;
}

std::string deviceSpeedOf(const std::string& value) {
  constexpr std::array<std::string_view, 4> speeds{"1.5", "12", "480", "5000"};
  if (std::ranges::find(speeds, value) == speeds.end()) {
    throw Error("--device-speed: not one of 1.5, 12, 480, 5000: " + value);
  }
  return value;
}

struct ValueOption {
  std::string_view name;
  void (*set)(Request& request, const std::string& value);
};

constexpr std::array<ValueOption, 7> valueOptions{{
    {"--config", [](Request& request, const std::string& value) { request.configuration = value; }},
    {"--class", [](Request& request, const std::string& value) { request.classList = classListOf(value); }},
    {"--save",
     [](Request& request, const std::string& value) {
       request.answer = Request::Answer::savedDevice;
       request.folder = value;
     }},
    {"--speed", [](Request& request, const std::string& value) { request.linkSpeed = value; }},
    {"--device-speed",
     [](Request& request, const std::string& value) { request.deviceSpeed = deviceSpeedOf(value); }},
    {"--intf", [](Request& request, const std::string& value) { request.interface = value; }},
    {"--transmitter",
     [](Request& request, const std::string& value) { request.transmitter = transmitterOf(value); }},
}};

// The arguments, taken one after another.
class Arguments {
 public:
  explicit Arguments(std::span<char* const> arguments) : rest_(arguments) {}

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

  std::string take() {
    std::string first = rest_.front();
    rest_ = rest_.subspan(1);
    return first;
  }

  std::string takeValueOf(const std::string& option) {
    if (isEmpty()) {
      throw Error(option + ": its value is missing");
    }
    return take();
  }

 private:
  std::span<char* const> rest_;
};

// Whether `argument` was an option with a value: "--config=FILE" or "--config FILE".
bool takeValueOption(Request& request, const std::string& argument, Arguments& arguments) {
  for (const ValueOption& option : valueOptions) {
    if (argument == option.name) {
      option.set(request, arguments.takeValueOf(argument));
      return true;
    }
    if (argument.starts_with(std::string(option.name) + "=")) {
      option.set(request, argument.substr(option.name.size() + 1));
      return true;
    }
  }
  return false;
}

void takeOption(Request& request, const std::string& argument, Arguments& arguments) {
  if (argument == "--json") {
    request.json = true;
  } else if (argument == "--help") {
    request.answer = Request::Answer::help;
  } else if (argument == "--version") {
    request.answer = Request::Answer::version;
  } else if (!takeValueOption(request, argument, arguments)) {
    throw Error("unknown option: " + argument + " (see --help)");
  }
}

void takeDevice(Request& request, const std::string& argument) {
  if (argument.empty()) {
    throw Error("a DEVICE is empty");
  }
  request.devices.push_back(argument);
}

// "--save FOLDER DEVICE" is all.
void requireNothingElse(const Request& request, int options) {
  if (options > 1) {
    throw Error("--save: no other option goes with it");
  }
  if (request.folder.empty()) {
    throw Error("--save: the FOLDER is empty");
  }
  if (request.devices.size() != 1) {
    throw Error("--save: wants one DEVICE");
  }
}

}  // namespace

Request parseRequest(std::span<char* const> given) {
  Request request;
  request.configuration = configurationPath;
  request.interface = Options().interface;
  Arguments arguments(given);
  bool optionsEnded = false;  // by "--"
  int options = 0;
  while (!arguments.isEmpty()) {
    const std::string argument = arguments.take();
    if (optionsEnded || !argument.starts_with('-')) {
      takeDevice(request, argument);
    } else if (argument == "--") {
      optionsEnded = true;
    } else {
      takeOption(request, argument, arguments);
      ++options;
    }
  }
  if (request.answer == Request::Answer::savedDevice) {
    requireNothingElse(request, options);
  }
  return request;
}

}  // namespace explain

#include "examples/usbip/receiver/command_line.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace usbip {
namespace {

constexpr std::size_t operandCount = 4;

// The daemon reads the same text in this way: what is no number is 0.
std::chrono::seconds patienceOf(const std::string& text) {
  constexpr long longest = 1'000'000'000;  // some thirty years, which every clock can add
  return std::chrono::seconds(std::clamp(std::strtol(text.c_str(), nullptr, 10), 0L, longest));
}

Keys keysOf(const std::string& in, const std::string& out) {
  if (in.empty() || out.empty()) {
    throw WrongUse("a key is empty");
  }
  return {.in = in, .out = out};
}

bool isPort(std::string_view text) {
  std::uint16_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

std::string portOf(const std::string& text) {
  if (!isPort(text)) {
    throw WrongUse("PORT is a number from 0 to 65535");
  }
  return text;
}

// The options, one after the other; each takes the words that it needs.
class Options {
 public:
  explicit Options(std::vector<std::string> words) : words_(std::move(words)) {}

  [[nodiscard]] bool empty() const { return next_ == words_.size(); }

  const std::string& take() {
    if (empty()) {
      throw WrongUse("an option lacks its value");
    }
    return words_[next_++];
  }

 private:
  std::vector<std::string> words_;
  std::size_t next_ = 0;
};

void readOption(Options& options, Arguments& arguments) {
  const std::string& option = options.take();
  if (option == "--debug") {
    arguments.debugging = true;
  } else if (option == "--syslog") {
    arguments.destination = LogDestination::syslog;
  } else if (option == "--stderr") {
    arguments.destination = LogDestination::standardError;
  } else if (option == "--keys") {
    const std::string& in = options.take();
    arguments.keys = keysOf(in, options.take());
  } else if (option == "--timeout") {
    arguments.patience = patienceOf(options.take());
  } else if (!option.starts_with("--sock=")) {  // the daemon's control socket, which this worker asks nothing
    throw WrongUse("there is no option " + option);
  }
}

}  // namespace

const char* const usage =
    "Usage: usb_rx_usbip [--debug] [--stderr|--syslog] [--keys IN OUT] [--sock=PATH] [--timeout SECONDS]"
    " INTERFACE HOST PORT DEVICE\n";

const char* const help =
    "Lends a USB device of this machine to HOST, by the kernel's USB/IP. usb_rx_ctrl(8)\n"
    "starts it as a generic worker.\n"
    "\n"
    "  --debug            log each step\n"
    "  --stderr, --syslog where the log goes; standard error unless given\n"
    "  --keys IN OUT      prove OUT to the far side, and have it prove IN\n"
    "  --sock=PATH        the daemon's control socket; this worker asks it nothing\n"
    "  --timeout SECONDS  wait so long for HOST; what is no number counts as 0\n"
    "\n"
    "INTERFACE is what connections are bound to, where there is one of this name.\n"
    "DEVICE is the device's directory below /sys/devices.\n"
    "\n"
    "Exit status: 0 the device has gone or the worker was asked to end, 1 the link is\n"
    "lost or was refused, 5 the device cannot be exported, 28 waited in vain.\n";

WrongUse::WrongUse(const std::string& why) : StrException("usb_rx_usbip: " + why + "\n" + usage) {}

Arguments parseArguments(const std::vector<std::string>& arguments) {
  if (arguments.size() < operandCount) {
    throw WrongUse("INTERFACE HOST PORT DEVICE are needed");
  }
  const auto operands = arguments.end() - operandCount;
  Arguments result;
  result.transmitter = {.interface = operands[0], .host = operands[1], .port = portOf(operands[2])};
  result.device = operands[3];
  for (Options options({arguments.begin(), operands}); !options.empty();) {
    readOption(options, result);
  }
  return result;
}

}  // namespace usbip

#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "examples/usbip/exchange/log.h"
#include "examples/usbip/exchange/proofs.h"
#include "examples/usbip/receiver/transmitter.h"
#include "ulx/exceptions.h"

namespace usbip {

/** What the daemon starts a generic worker with, see usb_rx_ctrl(8). */
struct Arguments {
  bool debugging = false;
  LogDestination destination = LogDestination::standardError;
  std::optional<Keys> keys;
  std::optional<std::chrono::seconds> patience;  ///< how long the Transmitter may be waited for
  Transmitter transmitter;
  std::string device;  ///< the directory of the device, below /sys/devices
};

/** Arguments that are none of a worker. Its text is what to print. */
class WrongUse : public ulx::StrException {
 public:
  explicit WrongUse(const std::string& why);
};

/** One line, with its end. */
extern const char* const usage;
/** What follows the usage where somebody asks for help. */
extern const char* const help;

/** Reads the arguments after the program's name. The last four are always the operands. Throws WrongUse. */
[[nodiscard]] Arguments parseArguments(const std::vector<std::string>& arguments);

}  // namespace usbip

// Lends a USB device to another machine: a generic worker of usb_rx_ctrl(8) over the kernel's USB/IP.

#include <unistd.h>

#include <exception>
#include <string>
#include <vector>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/exchange/log.h"
#include "examples/usbip/exchange/standard_descriptors.h"
#include "examples/usbip/receiver/command_line.h"
#include "examples/usbip/receiver/termination.h"
#include "examples/usbip/receiver/worker.h"
#include "ulx/exceptions.h"
#include "ulx/write_once.h"

namespace {

constexpr int failed = 1;

int work(const usbip::Arguments& arguments) {
  const usbip::Log log("usb_rx_usbip", arguments.destination, arguments.debugging);
  try {
    const usbip::Termination termination;
    return usbip::exportDevice(arguments, termination, log);
  } catch (const ulx::Exception& error) {
    log.error(usbip::failureLine(error));
    return error.status;
  } catch (const std::exception& error) {
    log.error(error.what());
    return failed;
  }
}

}  // namespace

int main(int argc, char** argv) {
  usbip::fillStandardDescriptors();
  const std::vector<std::string> arguments(argv + 1, argv + argc);
  if (arguments == std::vector<std::string>{"--help"}) {
    ulx::writeOnce(STDOUT_FILENO, std::string(usbip::usage) + usbip::help);
    return 0;
  }
  try {
    return work(usbip::parseArguments(arguments));
  } catch (const usbip::WrongUse& error) {
    ulx::writeOnce(STDERR_FILENO, error.message);
    return failed;
  }
}

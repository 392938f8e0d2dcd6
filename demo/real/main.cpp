// Shows devices that travel from one machine to another. Runs on the receiver of two emulated machines: scripts/demo.

#include <cstdlib>
#include <exception>
#include <iostream>

#include "demo/real/both_machines.h"
#include "demo/real/scenes.h"
#include "demo/real/steps.h"

namespace {

constexpr const char* introduction =
    "Two emulated machines with Debian's kernel, joined by a wire. On the receiver the\n"
    "daemon's workers are usb_rx_usbip, which lend devices over the kernel's USB/IP; on\n"
    "the far machine usb_tx_usbip attaches them. On the left stands who says something:\n"
    "the daemon, its workers, the display at the user's desk, the far side.\n";

}  // namespace

int main() {
  try {
    demo::Log::plain(introduction);
    demo::Log log;
    demo::BothMachines machines(log);
    demo::Steps steps(log);
    demo::showTravels(machines, steps);
    return steps.conclude() ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cout << "usb_rx_real_demo: " << error.what() << std::endl;
    return EXIT_FAILURE;
  }
}

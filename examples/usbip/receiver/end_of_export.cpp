#include "examples/usbip/receiver/end_of_export.h"

#include <poll.h>

#include <chrono>
#include <optional>

#include "examples/usbip/receiver/termination.h"

namespace usbip {
namespace {

constexpr std::chrono::seconds lookLimit{2};
constexpr std::chrono::milliseconds lookInterval{20};

// Once it has reset the device after a lost link, the kernel could export it again.
bool isLinkLost(const ExportedDevice& exported) {
  return exported.status() == ExportStatus::available;
}

}  // namespace

EndOfExport waitForEnd(const Connection& connection, const UsbDevice& device,
                       const ExportedDevice& exported) {
  const Termination& termination = connection.termination();
  static_cast<void>(termination.waitFor(connection.socket(), POLLRDHUP, never));
  // The kernel closes a connection for either reason, and a little before sysfs has it.
  const Clock::time_point deadline = Clock::now() + lookLimit;
  while (device.isThere()) {
    if (isLinkLost(exported) || Clock::now() >= deadline) {
      return EndOfExport::linkIsLost;
    }
    termination.sleepUntil(Clock::now() + lookInterval);
  }
  return EndOfExport::deviceHasGone;
}

}  // namespace usbip

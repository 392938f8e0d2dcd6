#include "examples/usbip/receiver/worker.h"

#include <chrono>
#include <string>

#include "examples/usbip/exchange/failure_line.h"
#include "examples/usbip/receiver/connection.h"
#include "examples/usbip/receiver/conversation.h"
#include "examples/usbip/receiver/end_of_export.h"
#include "examples/usbip/receiver/exported_device.h"
#include "examples/usbip/receiver/transmitter.h"
#include "examples/usbip/receiver/usb_device.h"
#include "ulx/exceptions.h"
#include "ulx/path.h"

namespace usbip {
namespace {

constexpr int deviceHasGone = 0;
constexpr int linkIsLost = 1;
// Shorter than the three quiet seconds in which the daemon forgets failures: it is to see that they go on.
constexpr std::chrono::seconds restAfterRefusal{2};

Connection connect(const Arguments& arguments, const Termination& termination, const Log& log) {
  return arguments.patience ? connectWithin(*arguments.patience, arguments.transmitter, termination, log)
                            : connectTo(arguments.transmitter, termination, log);
}

// Returns when the link is lost, or the device has gone.
EndOfExport lend(const UsbDevice& device, const Arguments& arguments, const Termination& termination,
                 const Log& log) {
  requireUsbipHost();
  LeftDevice left(device, log);
  const Connection farSide = connect(arguments, termination, log);
  log.debug("connected to " + farSide.farEnd());
  introduceTo(farSide, arguments.keys);
  left.takeOver();
  const ExportedDevice exported(device, log);
  log.debug("offering " + device.text());
  offerTo(farSide, device.offer());
  exported.handOver(farSide.socket());
  log.print(device.text() + " is exported to " + farSide.farEnd());
  return waitForEnd(farSide, device, exported);
}

int gone(const UsbDevice& device, const Log& log) {
  log.print(device.busId() + " has gone");
  return deviceHasGone;
}

// What fails because the device has gone is no error.
int failed(const UsbDevice& device, const ulx::Exception& error, const Log& log) {
  if (!device.isThere()) {
    return gone(device, log);
  }
  log.error(device.busId() + ": " + failureLine(error));
  return error.status;
}

// The daemon starts the next worker at once. What it would find as this one did is not worth several tries a second.
int tryToLend(const UsbDevice& device, const Arguments& arguments, const Termination& termination,
              const Log& log) {
  try {
    if (lend(device, arguments, termination, log) == EndOfExport::deviceHasGone) {
      return gone(device, log);
    }
    log.error(device.busId() + ": the link is lost");
    return linkIsLost;
  } catch (const EndRequested&) {
    throw;
  } catch (const NotReached& error) {
    return failed(device, error, log);
  } catch (const AwaitedInVain& error) {
    return failed(device, error, log);
  } catch (const ulx::Exception& error) {
    const int status = failed(device, error, log);
    if (status != deviceHasGone) {
      termination.sleepUntil(Clock::now() + restAfterRefusal);
    }
    return status;
  }
}

int lendUntilGone(const UsbDevice& device, const Arguments& arguments, const Termination& termination,
                  const Log& log) {
  try {
    return tryToLend(device, arguments, termination, log);
  } catch (const EndRequested&) {
    log.print(device.busId() + ": asked to end");
    return EndRequested().status;
  }
}

}  // namespace

int exportDevice(const Arguments& arguments, const Termination& termination, const Log& log) {
  try {
    const UsbDevice device(arguments.device);
    return lendUntilGone(device, arguments, termination, log);
  } catch (const ulx::Exception&) {
    if (ulx::pathExists(arguments.device)) {
      throw;
    }
  }
  log.print(arguments.device + " has gone");
  return deviceHasGone;
}

}  // namespace usbip

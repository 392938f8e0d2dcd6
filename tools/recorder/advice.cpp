#include "tools/recorder/advice.h"

#include <unistd.h>

namespace recorder {

namespace {

constexpr const char* plugAnew =
    "- If the device was plugged in before: take it out, and plug it in again.\n"
    "- Try another port, one of the machine itself rather than one of a hub.\n";

constexpr const char* hearEvents =
    "- Run this program on the host itself: in a container, no uevents arrive.\n"
    "  It needs no root, but the network of the host.\n";

constexpr const char* loadUsb =
    "- This kernel has no USB at present, since there is no /sys/bus/usb. Load it\n"
    "  as root: modprobe usbcore, and the driver of the USB controller.\n";

bool hasUsb() {
  return access("/sys/bus/usb", F_OK) == 0;
}

}  // namespace

std::string adviceOn(Delay delay) {
  switch (delay) {
    case Delay::nothingHeard:
      return std::string("Nothing has been heard yet. What may help:\n") + (hasUsb() ? "" : loadUsb) +
             plugAnew + hearEvents;
    case Delay::noNewDevice:
      return std::string("No new USB device has been heard of yet, only other events. What may help:\n") +
             plugAnew;
    case Delay::notTakenOut:
      return "The device has not been taken out yet. Take out the one that you plugged in\n"
             "last; a hub with everything behind it.\n";
    case Delay::neverQuiet:
      return "Events come all the time; the recorder waits for two seconds without any.\n"
             "Leave other devices alone, and stop what causes these events.\n";
  }
  return {};
}

}  // namespace recorder

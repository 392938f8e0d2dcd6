#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "examples/usbip/exchange/messages.h"

namespace usbip {

/** The two kinds of hubs that vhci_hcd has. */
enum class Hub { highSpeed, superSpeed };

/** One port of vhci_hcd, as its status shows it. */
struct VirtualPort {
  /** The numbers are the kernel's (enum usbip_device_status in drivers/usb/usbip/usbip_common.h). */
  enum class State : unsigned { free = 4, notAddressed = 5, used = 6, failed = 7 };

  Hub hub = Hub::highSpeed;
  unsigned number = 0;
  State state = State::free;
  // Of the device, where the state is `used`:
  unsigned speed = 0;      ///< a number of `Speed`
  std::string localBusId;  ///< this machine's name of it: "5-1"
};

/** The hub for devices of this speed; none for super speed plus, which vhci_hcd does not have. */
[[nodiscard]] std::optional<Hub> hubFor(Speed speed);

/** The ports that one status file of vhci_hcd shows. A line that shows none is passed over. */
[[nodiscard]] std::vector<VirtualPort> parsePorts(std::string_view status);

/** The ports of all controllers. Throws a ulx::StrException that says what to load where vhci_hcd is not there. */
[[nodiscard]] std::vector<VirtualPort> readPorts();

/** Throws what readPorts() throws, and open("...") where this process may not attach. */
void expectAttachable();

/** Those of a hub where a device can be attached now. */
[[nodiscard]] std::vector<VirtualPort> freePortsOf(Hub hub, const std::vector<VirtualPort>& ports);

/**
 * Hands `socket` to the kernel, which from then on speaks for the device at one of `ports` (there is one): at the
 * first that nobody else has taken meanwhile. Returns its number. Throws open("..."), write("..."), the latter with
 * EBUSY when all have been taken.
 */
unsigned attach(const Offer& device, int socket, const std::vector<VirtualPort>& ports);

/** Has the kernel end what is attached at a port. It does so a little later. Throws open("..."), write("..."). */
void detach(unsigned port);

}  // namespace usbip

#pragma once

#include <optional>

#include "examples/usbip/exchange/messages.h"
#include "examples/usbip/exchange/proofs.h"
#include "examples/usbip/receiver/connection.h"

/** What the worker and the far side say to each other; usb_rx_usbip(7) has the whole of it. */
namespace usbip {

/**
 * Exchanges greetings and, with keys, proofs of them. Returns once each end has accepted the other. Throws a
 * ulx::StrException that says why not: another version, other keys, a refusal of the far side.
 */
void introduceTo(const Connection& farSide, const std::optional<Keys>& keys);

/**
 * Offers a device to a far side that knows the worker. Returns once the far side takes it: the bytes that come then are
 * for the kernel, and none of them has been read. Throws a ulx::StrException with the reason of a refusal.
 */
void offerTo(const Connection& farSide, const Offer& device);

}  // namespace usbip

#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "tools/explain/descriptor_listing.h"

/*
 * The words of the USB-IF for the numbers in descriptors: "Defined Class Codes", as published on usb.org.
 */

namespace explain {

/** "HID boot keyboard (3/1/1)"; a number that is not there is "?". */
[[nodiscard]] std::string interfaceClassWords(const Interface& interface);

/** "mass storage", "class 66". */
[[nodiscard]] std::string baseClassWords(std::uint8_t interfaceClass);

/** "given by each interface (0)", "hub (9)". */
[[nodiscard]] std::string deviceClassWords(std::uint8_t deviceClass);

/** "interface 1", or "interface 1 (setting 2)" where it is not the first setting. */
[[nodiscard]] std::string interfaceWords(const Interface& interface);

/** "control", "isochronous", "bulk" or "interrupt". */
[[nodiscard]] std::string transferWords(const Endpoint& endpoint);

/** "in" or "out", as the host sees it. */
[[nodiscard]] std::string directionWords(const Endpoint& endpoint);

/** "endpoint 0x81 (isochronous in)". */
[[nodiscard]] std::string endpointWords(const Endpoint& endpoint);

/** "full speed, 12 Mbit/s" for the "speed" attribute "12". */
[[nodiscard]] std::string speedWords(const std::string& speed);

/** The speed that is inferred from descriptors; where they do not say, what it may be. */
[[nodiscard]] std::string inferredSpeedWords(const DescriptorListing& listing);

/** Two or four hexadecimal digits. */
[[nodiscard]] std::string hexadecimal(std::uint8_t number);
[[nodiscard]] std::string hexadecimal(std::uint16_t number);

}  // namespace explain

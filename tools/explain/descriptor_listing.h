#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hotplug/usb_descriptors.h"

namespace explain {

/** An endpoint descriptor (USB 2.0, table 9-13). A field is missing where the descriptor is cut short. */
struct Endpoint {
  std::size_t offset = 0;  // in the "descriptors"
  std::optional<std::uint8_t> address;
  std::optional<std::uint8_t> attributes;
  std::optional<std::uint16_t> packetSize;
};

/** An interface descriptor (USB 2.0, table 9-12) and the endpoints that follow it. */
struct Interface {
  std::size_t offset = 0;
  std::optional<std::uint8_t> configuration;  // the number of the one that it belongs to
  std::optional<std::uint8_t> number;
  std::optional<std::uint8_t> alternateSetting;
  std::optional<std::uint8_t> interfaceClass;
  std::optional<std::uint8_t> subclass;
  std::optional<std::uint8_t> protocol;
  std::vector<Endpoint> endpoints;
};

/** The content of a "descriptors" file, as far as it can be read. */
struct DescriptorListing {
  std::size_t bytes = 0;                  // of the file
  std::optional<std::uint8_t> firstType;  // bDescriptorType at the start, which should be a device's
  std::optional<std::uint16_t> vendor;
  std::optional<std::uint16_t> product;
  std::optional<std::uint8_t> deviceClass;
  std::optional<std::uint8_t> controlPacketSize;        // of the default control pipe
  std::optional<std::uint8_t> configurationsAnnounced;  // by the device descriptor
  std::size_t configurations = 0;                       // that are there
  std::optional<std::uint8_t> lastConfiguration;        // the number of the last of them
  std::vector<Interface> interfaces;
  bool hasCompanions = false;  // of SuperSpeed endpoints
  std::size_t end = 0;         // where reading ends
  std::string damage;          // why it ends there; empty where that is the end of the file
};

/** The interface descriptor that `bytes` begin with, without its configuration and its endpoints. */
[[nodiscard]] Interface readInterface(DescriptorBytes bytes, std::size_t offset);

[[nodiscard]] DescriptorListing listDescriptors(const std::string& descriptors);

/** The "speed" attribute that the descriptors speak for, "12" also for low speed; empty where they do not say. */
[[nodiscard]] std::string inferredSpeed(const DescriptorListing& listing);

}  // namespace explain

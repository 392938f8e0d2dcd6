#include "tools/explain/descriptor_listing.h"

#include <algorithm>
#include <array>

#include "hotplug/usb_descriptors.h"

namespace explain {

namespace {

/** Values of bDescriptorType (USB 2.0, table 9-5; USB 3.2, table 9-6). */
constexpr std::uint8_t configurationDescriptorType = 2;
constexpr std::uint8_t companionDescriptorType = 0x30;

/** Fields that only a listing needs (USB 2.0, tables 9-8, 9-10, 9-12 and 9-13). */
constexpr std::size_t bMaxPacketSize0 = 7;
constexpr std::size_t idVendor = 8;
constexpr std::size_t idProduct = 10;
constexpr std::size_t bConfigurationValue = 5;
constexpr std::size_t bInterfaceNumber = 2;
constexpr std::size_t bAlternateSetting = 3;
constexpr std::size_t bEndpointAddress = 2;
constexpr std::size_t wMaxPacketSize = 4;

std::optional<std::uint8_t> byteAt(DescriptorBytes bytes, std::size_t field) {
  return field < bytes.size() ? std::optional(bytes[field]) : std::nullopt;
}

// Little-endian.
std::optional<std::uint16_t> wordAt(DescriptorBytes bytes, std::size_t field) {
  if (field + 1 >= bytes.size()) {
    return std::nullopt;
  }
  return static_cast<std::uint16_t>(bytes[field] | (bytes[field + 1] << 8U));
}

Endpoint endpointIn(DescriptorBytes bytes, std::size_t offset) {
  return {.offset = offset,
          .address = byteAt(bytes, bEndpointAddress),
          .attributes = byteAt(bytes, bmAttributes),
          .packetSize = wordAt(bytes, wMaxPacketSize)};
}

// `bytes` begin with the descriptor and go to the end of the data: the daemon reads fields beyond bLength, too.
void add(DescriptorListing& listing, DescriptorBytes bytes, std::size_t offset) {
  switch (bytes[bDescriptorType]) {
    case configurationDescriptorType:
      ++listing.configurations;
      listing.lastConfiguration = byteAt(bytes, bConfigurationValue);
      break;
    case interfaceDescriptorType:
      listing.interfaces.push_back(readInterface(bytes, offset));
      listing.interfaces.back().configuration = listing.lastConfiguration;
      break;
    case endpointDescriptorType:
      if (listing.interfaces.empty()) {
        listing.interfaces.emplace_back();  // an interface of which nothing is known
      }
      listing.interfaces.back().endpoints.push_back(endpointIn(bytes, offset));
      break;
    case companionDescriptorType:
      listing.hasCompanions = true;
      break;
    default:
      break;
  }
}

void readDeviceDescriptor(DescriptorListing& listing, DescriptorBytes bytes) {
  listing.deviceClass = byteAt(bytes, bDeviceClass);
  listing.controlPacketSize = byteAt(bytes, bMaxPacketSize0);
  listing.vendor = wordAt(bytes, idVendor);
  listing.product = wordAt(bytes, idProduct);
  listing.configurationsAnnounced = byteAt(bytes, bNumConfigurations);
}

std::string cutShort(std::size_t length, std::size_t present) {
  return "the descriptor there is cut short: " + std::to_string(present) + " of its " +
         std::to_string(length) + " bytes are there";
}

// Why reading ends at a descriptor of which `bytes` are left, or nothing where it can go on.
std::string damageAt(DescriptorBytes bytes) {
  if (bytes.size() <= bDescriptorType) {
    return "a single byte is no descriptor";
  }
  if (bytes[bLength] == 0) {
    return "the descriptor there has the length 0 (bLength)";
  }
  return {};
}

// Adds the descriptor that `rest` begins with. Returns its length, or 0 where reading ends with it.
std::size_t readOne(DescriptorListing& listing, DescriptorBytes rest, std::size_t offset) {
  listing.damage = damageAt(rest);
  if (!listing.damage.empty()) {
    return 0;
  }
  add(listing, rest, offset);
  const std::size_t length = rest[bLength];
  if (length > rest.size()) {
    listing.damage = cutShort(length, rest.size());
    return 0;
  }
  return length;
}

// Of an endpoint's wMaxPacketSize (USB 2.0, table 9-13; 5.5 to 5.8 say what full speed allows).
bool exceedsFullSpeed(const Endpoint& endpoint) {
  constexpr std::array<unsigned, 4> mostBytes{64, 1023, 64, 64};  // control, isochronous, bulk, interrupt
  constexpr unsigned sizeBits = 0x7FF;
  return endpoint.attributes && endpoint.packetSize &&
         (*endpoint.packetSize & sizeBits) > mostBytes[*endpoint.attributes & transferTypeBits];
}

bool exceedsFullSpeed(const Interface& interface) {
  return std::ranges::any_of(interface.endpoints,
                             [](const Endpoint& endpoint) { return exceedsFullSpeed(endpoint); });
}

// A high-speed device has 64 there (USB 2.0, 5.5.3).
bool excludesHighSpeed(std::uint8_t controlPacketSize) {
  return controlPacketSize == 8 || controlPacketSize == 16 || controlPacketSize == 32;
}

}  // namespace

Interface readInterface(DescriptorBytes bytes, std::size_t offset) {
  return {.offset = offset,
          .configuration = {},
          .number = byteAt(bytes, bInterfaceNumber),
          .alternateSetting = byteAt(bytes, bAlternateSetting),
          .interfaceClass = byteAt(bytes, bInterfaceClass),
          .subclass = byteAt(bytes, bInterfaceSubClass),
          .protocol = byteAt(bytes, bInterfaceProtocol),
          .endpoints = {}};
}

DescriptorListing listDescriptors(const std::string& descriptors) {
  const DescriptorBytes bytes = descriptorBytes(descriptors);
  DescriptorListing listing;
  listing.bytes = bytes.size();
  if (bytes.size() > bDescriptorType) {
    listing.firstType = bytes[bDescriptorType];
  }
  if (listing.firstType == deviceDescriptorType) {
    readDeviceDescriptor(listing, bytes);
  }
  while (listing.end < bytes.size()) {
    const std::size_t length = readOne(listing, bytes.subspan(listing.end), listing.end);
    if (length == 0) {
      break;
    }
    listing.end += length;
  }
  return listing;
}

std::string inferredSpeed(const DescriptorListing& listing) {
  if (listing.hasCompanions) {
    return "5000";
  }
  const bool isHigh = std::ranges::any_of(
      listing.interfaces, [](const Interface& interface) { return exceedsFullSpeed(interface); });
  if (isHigh) {
    return "480";
  }
  return listing.controlPacketSize && excludesHighSpeed(*listing.controlPacketSize) ? "12" : "";
}

}  // namespace explain

#include "tools/explain/usb_words.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "hotplug/usb_descriptors.h"
#include "ulx/format.h"

namespace explain {

namespace {

struct ClassWords {
  std::uint8_t baseClass;
  int subclass;  // `any`: whatever it is
  int protocol;
  std::string_view words;
};

constexpr int any = -1;

// The first that fits.
constexpr auto knownClasses = std::to_array<ClassWords>({
    {0x01, 0x01, any, "audio control"},
    {0x01, 0x02, any, "audio streaming"},
    {0x01, 0x03, any, "MIDI streaming"},
    {0x01, any, any, "audio"},
    {0x02, 0x02, 0x01, "modem (abstract control, AT commands)"},
    {0x02, 0x02, 0xFF, "network control (vendor's protocol)"},
    {0x02, 0x02, any, "modem or serial adapter (abstract control)"},
    {0x02, 0x06, any, "Ethernet control"},
    {0x02, 0x0D, any, "network control"},
    {0x02, 0x0E, any, "mobile broadband control"},
    {0x02, any, any, "communications"},
    {0x03, 0x01, 0x01, "HID boot keyboard"},
    {0x03, 0x01, 0x02, "HID boot mouse"},
    {0x03, any, 0x01, "HID keyboard without the boot protocol"},
    {0x03, any, 0x02, "HID mouse"},
    {0x03, any, any, "HID"},
    {0x05, any, any, "physical"},
    {0x06, 0x01, 0x01, "still image (PTP)"},
    {0x06, any, any, "image"},
    {0x07, 0x01, any, "printer"},
    {0x07, any, any, "printer"},
    {0x08, 0x01, 0x50, "mass storage (reduced block commands, bulk-only)"},
    {0x08, 0x02, 0x50, "mass storage (ATAPI, bulk-only)"},
    {0x08, 0x04, any, "mass storage (floppy)"},
    {0x08, 0x05, any, "mass storage (SFF-8070i)"},
    {0x08, 0x06, 0x00, "mass storage (SCSI, control/bulk/interrupt)"},
    {0x08, 0x06, 0x01, "mass storage (SCSI, control/bulk)"},
    {0x08, 0x06, 0x50, "mass storage (SCSI, bulk-only)"},
    {0x08, 0x06, 0x62, "mass storage (USB attached SCSI)"},
    {0x08, any, any, "mass storage"},
    {0x09, any, any, "hub"},
    {0x0A, any, any, "communications data"},
    {0x0B, any, any, "smart card"},
    {0x0D, any, any, "content security"},
    {0x0E, 0x01, any, "video control"},
    {0x0E, 0x02, any, "video streaming"},
    {0x0E, 0x03, any, "video interface collection"},
    {0x0E, any, any, "video"},
    {0x0F, any, any, "personal healthcare"},
    {0x10, any, any, "audio and video"},
    {0x11, any, any, "billboard"},
    {0x12, any, any, "type-C bridge"},
    {0x13, any, any, "bulk display"},
    {0x14, any, any, "MCTP over USB"},
    {0x3C, any, any, "I3C"},
    {0xDC, 0x01, 0x01, "USB2 compliance diagnostic"},
    {0xDC, any, any, "diagnostic"},
    {0xE0, 0x01, 0x01, "Bluetooth"},
    {0xE0, 0x01, 0x03, "remote NDIS (wireless)"},
    {0xE0, any, any, "wireless controller"},
    {0xEF, 0x01, 0x01, "active sync"},
    {0xEF, 0x02, 0x01, "interface association"},
    {0xEF, 0x04, 0x01, "remote NDIS over Ethernet"},
    {0xEF, 0x05, any, "USB3 Vision"},
    {0xEF, any, any, "miscellaneous"},
    {0xFE, 0x01, any, "firmware upgrade"},
    {0xFE, 0x02, any, "infrared bridge"},
    {0xFE, 0x03, any, "test and measurement"},
    {0xFE, any, any, "application specific"},
    {0xFF, any, any, "vendor specific"},
});

std::string numberOr(std::optional<std::uint8_t> number, const char* missing) {
  return number ? std::to_string(*number) : missing;
}

bool fits(int known, std::optional<std::uint8_t> number) {
  return known == any || (number && *number == known);
}

std::string classWords(std::uint8_t baseClass, std::optional<std::uint8_t> subclass,
                       std::optional<std::uint8_t> protocol) {
  const auto* known = std::ranges::find_if(knownClasses, [&](const ClassWords& words) {
    return words.baseClass == baseClass && fits(words.subclass, subclass) && fits(words.protocol, protocol);
  });
  return known == knownClasses.end() ? "class " + std::to_string(baseClass) : std::string(known->words);
}

}  // namespace

std::string interfaceClassWords(const Interface& interface) {
  const std::string numbers = "(" + numberOr(interface.interfaceClass, "?") + "/" +
                              numberOr(interface.subclass, "?") + "/" + numberOr(interface.protocol, "?") +
                              ")";
  if (!interface.interfaceClass) {
    return "of a class that is not there " + numbers;
  }
  return classWords(*interface.interfaceClass, interface.subclass, interface.protocol) + " " + numbers;
}

std::string baseClassWords(std::uint8_t interfaceClass) {
  return classWords(interfaceClass, std::nullopt, std::nullopt);
}

std::string deviceClassWords(std::uint8_t deviceClass) {
  return (deviceClass == classPerInterface ? "given by each interface" : baseClassWords(deviceClass)) + " (" +
         std::to_string(deviceClass) + ")";
}

std::string interfaceWords(const Interface& interface) {
  std::string words = "interface " + numberOr(interface.number, "?");
  if (interface.alternateSetting.value_or(0) == 0) {
    return words;
  }
  return words + " (setting " + std::to_string(*interface.alternateSetting) + ")";
}

std::string transferWords(const Endpoint& endpoint) {
  constexpr std::array<const char*, 4> words{"control", "isochronous", "bulk", "interrupt"};
  return endpoint.attributes ? words[*endpoint.attributes & transferTypeBits] : "?";
}

std::string directionWords(const Endpoint& endpoint) {
  constexpr std::uint8_t directionIn = 0x80;  // of bEndpointAddress (USB 2.0, table 9-13)
  if (!endpoint.address) {
    return "?";
  }
  return (*endpoint.address & directionIn) != 0 ? "in" : "out";
}

std::string endpointWords(const Endpoint& endpoint) {
  return "endpoint " + (endpoint.address ? "0x" + hexadecimal(*endpoint.address) : "?") + " (" +
         transferWords(endpoint) + " " + directionWords(endpoint) + ")";
}

std::string speedWords(const std::string& speed) {
  struct SpeedWords {
    std::string_view speed;
    const char* words;
  };
  constexpr std::array<SpeedWords, 6> known{{
      {"1.5", "low speed, 1.5 Mbit/s"},
      {"12", "full speed, 12 Mbit/s"},
      {"480", "high speed, 480 Mbit/s"},
      {"5000", "SuperSpeed, 5 Gbit/s"},
      {"10000", "SuperSpeed+, 10 Gbit/s"},
      {"20000", "SuperSpeed+, 20 Gbit/s"},
  }};
  const auto* found = std::ranges::find(known, speed, &SpeedWords::speed);
  if (found != known.end()) {
    return found->words;
  }
  return speed.empty() ? "of unknown speed" : speed + " Mbit/s";
}

std::string inferredSpeedWords(const DescriptorListing& listing) {
  constexpr std::uint8_t fullOrHighSpeed = 64;
  const std::string speed = inferredSpeed(listing);
  if (speed.empty()) {
    return std::string(listing.controlPacketSize == fullOrHighSpeed ? "full or high speed"
                                                                    : "of unknown speed") +
           ": the descriptors do not say";
  }
  return speed == "12" ? "12 Mbit/s or less (inferred from its control endpoint)"
                       : speedWords(speed) + " (inferred from its endpoints)";
}

std::string hexadecimal(std::uint8_t number) {
  return ulx::formatString("%02x", unsigned{number});
}

std::string hexadecimal(std::uint16_t number) {
  return ulx::formatString("%04x", unsigned{number});
}

}  // namespace explain

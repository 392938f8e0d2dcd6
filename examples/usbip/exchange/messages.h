#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

/**
 * What the two programs write to each other before the kernels take the connection over, as bytes and as values.
 * usb_rx_usbip(7) has the exchange as a whole. Numbers are big-endian.
 */
namespace usbip {

/** The version of the exchange that these programs speak. */
inline constexpr std::uint16_t exchangeVersion = 1;

/** The far side's answers. The numbers are what is sent. */
enum class Verdict : std::uint8_t {
  welcome = 0,
  unknownVersion = 1,
  keysNeeded = 2,      ///< the far side has keys, the worker none
  noKeysHere = 3,      ///< the worker has keys, the far side none
  localPeersOnly = 4,  ///< without keys the far side serves its own machine
  wrongProof = 5,
  noFreePort = 6,
  speedNotTaken = 7,
  notAttached = 8,  ///< the far side's kernel refuses the device
};

/** What a refusal means, for a log: "no port is free there". A number that is not known here has a text, too. */
[[nodiscard]] std::string reasonOf(Verdict verdict);

inline constexpr std::size_t challengeSize = 32;
using Challenge = std::array<std::uint8_t, challengeSize>;

/** The first message of each end: the worker's first, then the far side's. */
struct Greeting {
  bool hasKeys = false;                ///< whether the sender proves, and wants proof
  Verdict verdict = Verdict::welcome;  ///< the far side's; a worker's is `welcome`
  Challenge challenge{};               ///< fresh random bytes, or zeros without keys

  bool operator==(const Greeting&) const = default;
};

/** The bytes by which a greeting of any version begins: the magic and the version. */
inline constexpr std::size_t greetingStartSize = 10;
inline constexpr std::size_t greetingSize = greetingStartSize + 2 + challengeSize;
using GreetingBytes = std::array<std::uint8_t, greetingSize>;

[[nodiscard]] GreetingBytes encode(const Greeting& greeting);

/** The version that a greeting of any version has. Throws a ulx::StrException for what does not begin with the magic. */
[[nodiscard]] std::uint16_t versionOf(std::span<const std::uint8_t, greetingStartSize> start);

/** Throws a ulx::StrException that names both versions unless `version` is `exchangeVersion`. */
void expectKnownVersion(std::uint16_t version);

/** The value of a greeting whose magic and version have been found to be right. */
[[nodiscard]] Greeting decode(const GreetingBytes& bytes);

/** Speeds of USB devices. The numbers are the kernel's (enum usb_device_speed in linux/usb/ch9.h). */
enum class Speed : std::uint8_t { low = 1, full = 2, high = 3, super = 5, superPlus = 6 };

/** "high speed" */
[[nodiscard]] std::string_view nameOf(Speed speed);

inline constexpr std::size_t deviceDescriptorSize = 18;  // USB 2.0, table 9-8
using DeviceDescriptor = std::array<std::uint8_t, deviceDescriptorSize>;

/** A device that the worker brings. */
struct Offer {
  std::string busId;        ///< the receiver's name of it: "1-2.4"; 1 to 31 digits, "-" and "."
  std::uint32_t devId = 0;  ///< the number of its bus, times 65,536, and its number on it
  Speed speed = Speed::low;
  DeviceDescriptor descriptor{};

  bool operator==(const Offer&) const = default;
};

/** The longest bus id is one byte shorter: the kernel's BUSID_SIZE (drivers/usb/usbip/usbip_common.h). */
inline constexpr std::size_t busIdSize = 32;
inline constexpr std::size_t offerSize = busIdSize + 4 + 1 + 1 + deviceDescriptorSize;
using OfferBytes = std::array<std::uint8_t, offerSize>;

/** Throws a ulx::StrException for a bus id that no device has. */
[[nodiscard]] OfferBytes encode(const Offer& offer);
/** Throws a ulx::StrException for what cannot be a device. */
[[nodiscard]] Offer decode(const OfferBytes& bytes);

/** idVendor and idProduct of a device descriptor, as lsusb(8) writes them: "0627:0001". */
[[nodiscard]] std::string productIdOf(const DeviceDescriptor& descriptor);

}  // namespace usbip

#include "examples/usbip/exchange/messages.h"

#include <algorithm>
#include <utility>

#include "ulx/exceptions.h"
#include "ulx/format.h"

namespace usbip {
namespace {

constexpr std::array<std::uint8_t, 8> magic{'U', 'S', 'B', '-', 'R', 'X', 'I', 'P'};

// Where the fields of a greeting begin.
constexpr std::size_t versionAt = magic.size();
constexpr std::size_t keysAt = greetingStartSize;
constexpr std::size_t verdictAt = keysAt + 1;
constexpr std::size_t challengeAt = verdictAt + 1;

// Where the fields of an offer begin. One byte behind the speed is zero.
constexpr std::size_t devIdAt = busIdSize;
constexpr std::size_t speedAt = devIdAt + 4;
constexpr std::size_t descriptorAt = speedAt + 2;

[[noreturn]] void refuse(std::string why) {
  throw ulx::StrException(std::move(why));
}

template <class Number>
void put(std::span<std::uint8_t> place, Number number) {
  for (std::size_t i = sizeof number; i > 0; --i) {
    place[i - 1] = static_cast<std::uint8_t>(number);
    number = static_cast<Number>(number >> 8U);
  }
}

template <class Number>
Number get(std::span<const std::uint8_t> place) {
  Number number = 0;
  for (std::size_t i = 0; i < sizeof number; ++i) {
    number = static_cast<Number>((number << 8U) | place[i]);
  }
  return number;
}

bool isOfBusId(char byte) {
  return (byte >= '0' && byte <= '9') || byte == '-' || byte == '.';
}

// At least one NUL is behind it where it is sent.
void expectBusId(std::string_view busId) {
  if (busId.empty() || busId.size() >= busIdSize || !std::all_of(busId.begin(), busId.end(), isOfBusId)) {
    refuse("this is no bus id");
  }
}

std::string busIdOf(std::span<const std::uint8_t> field) {
  std::string busId(field.begin(), std::find(field.begin(), field.end(), 0));
  expectBusId(busId);
  return busId;
}

Speed speedOf(std::uint8_t number) {
  const auto speed = static_cast<Speed>(number);
  switch (speed) {
    case Speed::low:
    case Speed::full:
    case Speed::high:
    case Speed::super:
    case Speed::superPlus:
      return speed;
  }
  refuse(ulx::formatString("there is no speed %u", number));
}

void expectDeviceDescriptor(const DeviceDescriptor& descriptor) {
  constexpr std::uint8_t device = 1;  // USB 2.0, table 9-5
  if (descriptor[0] != deviceDescriptorSize || descriptor[1] != device) {
    refuse("this is no device descriptor");
  }
}

}  // namespace

std::string reasonOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::welcome:
      return "nothing is wrong";
    case Verdict::unknownVersion:
      return "another version is spoken there";
    case Verdict::keysNeeded:
      return "keys are needed there";
    case Verdict::noKeysHere:
      return "there are no keys there";
    case Verdict::localPeersOnly:
      return "without keys only that machine itself is served there";
    case Verdict::wrongProof:
      return "the keys there are different";
    case Verdict::noFreePort:
      return "no port is free there";
    case Verdict::speedNotTaken:
      return "devices of this speed are not taken there";
    case Verdict::notAttached:
      return "the kernel there does not attach it";
  }
  return ulx::formatString("the reason %u is not known here", static_cast<unsigned>(verdict));
}

std::string_view nameOf(Speed speed) {
  switch (speed) {
    case Speed::low:
      return "low speed";
    case Speed::full:
      return "full speed";
    case Speed::high:
      return "high speed";
    case Speed::super:
      return "super speed";
    case Speed::superPlus:
      break;
  }
  return "super speed plus";
}

GreetingBytes encode(const Greeting& greeting) {
  GreetingBytes bytes{};
  std::copy(magic.begin(), magic.end(), bytes.begin());
  put(std::span(bytes).subspan(versionAt), exchangeVersion);
  bytes[keysAt] = greeting.hasKeys ? 1 : 0;
  bytes[verdictAt] = static_cast<std::uint8_t>(greeting.verdict);
  std::copy(greeting.challenge.begin(), greeting.challenge.end(), bytes.begin() + challengeAt);
  return bytes;
}

std::uint16_t versionOf(std::span<const std::uint8_t, greetingStartSize> start) {
  if (!std::equal(magic.begin(), magic.end(), start.begin())) {
    refuse("this is no greeting");
  }
  return get<std::uint16_t>(start.subspan<versionAt>());
}

void expectKnownVersion(std::uint16_t version) {
  if (version != exchangeVersion) {
    refuse(ulx::formatString("version %u of the exchange is spoken there, version %u here", version,
                             exchangeVersion));
  }
}

Greeting decode(const GreetingBytes& bytes) {
  Greeting greeting{.hasKeys = bytes[keysAt] != 0, .verdict = static_cast<Verdict>(bytes[verdictAt])};
  std::copy_n(bytes.begin() + challengeAt, challengeSize, greeting.challenge.begin());
  return greeting;
}

OfferBytes encode(const Offer& offer) {
  expectBusId(offer.busId);
  OfferBytes bytes{};
  std::copy(offer.busId.begin(), offer.busId.end(), bytes.begin());
  put(std::span(bytes).subspan(devIdAt), offer.devId);
  bytes[speedAt] = static_cast<std::uint8_t>(offer.speed);
  std::copy(offer.descriptor.begin(), offer.descriptor.end(), bytes.begin() + descriptorAt);
  return bytes;
}

Offer decode(const OfferBytes& bytes) {
  Offer offer{.busId = busIdOf(std::span(bytes).first(busIdSize)),
              .devId = get<std::uint32_t>(std::span(bytes).subspan(devIdAt)),
              .speed = speedOf(bytes[speedAt])};
  std::copy_n(bytes.begin() + descriptorAt, deviceDescriptorSize, offer.descriptor.begin());
  expectDeviceDescriptor(offer.descriptor);
  return offer;
}

std::string productIdOf(const DeviceDescriptor& descriptor) {
  // little-endian, as all of USB: idVendor is at 8, idProduct at 10
  return ulx::formatString("%02x%02x:%02x%02x", descriptor[9], descriptor[8], descriptor[11], descriptor[10]);
}

}  // namespace usbip

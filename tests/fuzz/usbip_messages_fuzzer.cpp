// The messages of the programs over USB/IP, against a second, plain reading of the same bytes; see usbip_messages_input.h
// for the input.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "examples/usbip/exchange/messages.h"
#include "fuzz/check.h"
#include "fuzz/input.h"
#include "fuzz/usbip_messages_input.h"
#include "ulx/exceptions.h"

namespace {

using fuzz::check;
using usbip::Greeting;
using usbip::GreetingBytes;
using usbip::Offer;
using usbip::OfferBytes;

template <class Bytes>
Bytes bytesFrom(fuzz::Input& input) {
  Bytes bytes{};
  std::generate(bytes.begin(), bytes.end(), [&input] { return input.byte(); });
  return bytes;
}

// What `read` returns; nothing where it refuses.
template <class Read>
auto unlessRefused(Read read) -> std::optional<decltype(read())> {
  try {
    return read();
  } catch (const ulx::StrException& e) {
    check(!e.message.empty() && e.message.find('\n') == std::string::npos, "a refusal is one line");
    return {};
  }
}

// The second reading: by the numbers of bytes.
namespace plain {

std::optional<unsigned> versionOf(const GreetingBytes& bytes) {
  if (std::memcmp(bytes.data(), "USB-RXIP", 8) != 0) {
    return {};
  }
  return 256U * bytes[8] + bytes[9];
}

bool isBusId(const std::string& text) {
  return !text.empty() && text.size() <= 31 && text.find_first_not_of("0123456789-.") == std::string::npos;
}

// Up to the first NUL.
std::optional<std::string> busIdOf(const OfferBytes& bytes) {
  std::string text;
  for (std::size_t at = 0; at < 32 && bytes[at] != 0; ++at) {
    text += static_cast<char>(bytes[at]);
  }
  return isBusId(text) ? std::optional(text) : std::nullopt;
}

bool isAcceptable(const OfferBytes& bytes) {
  const unsigned speed = bytes[36];
  return busIdOf(bytes) && speed >= 1 && speed <= 6 && speed != 4 && bytes[38] == 18 && bytes[39] == 1;
}

}  // namespace plain

void checkGreeting(const GreetingBytes& bytes) {
  const auto version = unlessRefused(
      [&bytes] { return usbip::versionOf(std::span(bytes).first<usbip::greetingStartSize>()); });
  check(std::optional<unsigned>(version) == plain::versionOf(bytes),
        "a greeting has the version that it has in a plain reading");
  if (version) {
    const bool isKnown = unlessRefused([&version] {
                           usbip::expectKnownVersion(*version);
                           return true;
                         }).has_value();
    check(isKnown == (*version == 1), "version 1 is known and no other");
  }
  const Greeting greeting = usbip::decode(bytes);
  check(greeting.hasKeys == (bytes[10] != 0), "a greeting speaks of keys if it does in a plain reading");
  check(static_cast<unsigned>(greeting.verdict) == bytes[11], "a greeting has its verdict");
  check(std::equal(greeting.challenge.begin(), greeting.challenge.end(), bytes.begin() + 12, bytes.end()),
        "a greeting has its challenge");
  check(!usbip::reasonOf(greeting.verdict).empty(), "each verdict has a reason");
  check(usbip::decode(usbip::encode(greeting)) == greeting, "a greeting is read as it was written");
}

void checkAccepted(const Offer& offer, const OfferBytes& bytes) {
  check(offer.busId == plain::busIdOf(bytes), "an offer has the bus id of a plain reading");
  check(offer.devId == ((bytes[32] * 256U + bytes[33]) * 256U + bytes[34]) * 256U + bytes[35],
        "an offer has the device number of a plain reading");
  check(static_cast<unsigned>(offer.speed) == bytes[36], "an offer has its speed");
  check(std::equal(offer.descriptor.begin(), offer.descriptor.end(), bytes.begin() + 38, bytes.end()),
        "an offer has its descriptor");
  check(usbip::nameOf(offer.speed).ends_with("speed") || usbip::nameOf(offer.speed).ends_with("plus"),
        "each speed has a name");
  check(usbip::productIdOf(offer.descriptor).size() == 9, "a product has two numbers of four digits");
  check(usbip::decode(usbip::encode(offer)) == offer, "an offer is read as it was written");
}

void checkOffer(const OfferBytes& bytes) {
  const std::optional<Offer> offer = unlessRefused([&bytes] { return usbip::decode(bytes); });
  check(offer.has_value() == plain::isAcceptable(bytes), "an offer is refused if it is in a plain reading");
  if (offer) {
    checkAccepted(*offer, bytes);
  }
}

void checkOfferOfValue(fuzz::Input& input) {
  Offer offer{.busId = input.text()};
  const auto number = bytesFrom<std::array<std::uint8_t, 4>>(input);
  std::memcpy(&offer.devId, number.data(), number.size());
  offer.speed = static_cast<usbip::Speed>(input.byte());
  offer.descriptor = bytesFrom<usbip::DeviceDescriptor>(input);
  const std::optional<OfferBytes> bytes = unlessRefused([&offer] { return usbip::encode(offer); });
  check(bytes.has_value() == plain::isBusId(offer.busId), "an offer is written if its bus id can be read");
  if (bytes && plain::isAcceptable(*bytes)) {
    check(usbip::decode(*bytes) == offer, "an offer is read as it was written");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  switch (static_cast<fuzz::UsbipMessage>(input.byte() % fuzz::usbipMessageCount)) {
    case fuzz::UsbipMessage::greeting:
      checkGreeting(bytesFrom<GreetingBytes>(input));
      break;
    case fuzz::UsbipMessage::offer:
      checkOffer(bytesFrom<OfferBytes>(input));
      break;
    case fuzz::UsbipMessage::offerOfValue:
      checkOfferOfValue(input);
      break;
  }
  return 0;
}

#include "fuzz/usbip_messages_seeds.h"

#include <algorithm>
#include <iterator>

#include "examples/usbip/exchange/messages.h"
#include "fuzz/input.h"
#include "fuzz/recorded_attribute.h"
#include "fuzz/usbip_messages_input.h"
#include "sim/device_recording.h"

namespace fuzz {

namespace {

using namespace std::string_literals;

template <class Bytes>
std::string messageOf(UsbipMessage kind, const Bytes& bytes) {
  return InputWriter()
      .byte(static_cast<unsigned>(kind))
      .bytes(std::string(bytes.begin(), bytes.end()))
      .written();
}

std::string greetingOf(bool hasKeys, unsigned verdict) {
  const usbip::Greeting greeting{.hasKeys = hasKeys, .verdict = static_cast<usbip::Verdict>(verdict)};
  return messageOf(UsbipMessage::greeting, usbip::encode(greeting));
}

usbip::Offer offerOf(const std::string& descriptors, usbip::Speed speed) {
  usbip::Offer offer{.busId = "1-2.4", .devId = 0x10004, .speed = speed};
  std::copy_n(descriptors.begin(), std::min(descriptors.size(), usbip::deviceDescriptorSize),
              offer.descriptor.begin());
  return offer;
}

std::string valueOf(const std::string& busId, const std::string& descriptors) {
  return InputWriter()
      .byte(static_cast<unsigned>(UsbipMessage::offerOfValue))
      .text(busId)
      .bytes("\0\0\1\4\3"s)
      .bytes(descriptors.substr(0, usbip::deviceDescriptorSize))
      .written();
}

std::string recordedDescriptors() {
  const sim::DeviceRecording recording = sim::loadRecording("mouse-fs");
  const std::string* found = recordedIn(recording, recording.directory, "descriptors");
  return found == nullptr ? "" : *found;
}

}  // namespace

std::vector<std::string> usbipMessagesSeeds() {
  constexpr unsigned notKnown = 9;  // the first of the verdicts that have no meaning
  const std::string descriptors = recordedDescriptors();
  std::vector<std::string> inputs;
  for (unsigned verdict = 0; verdict <= notKnown; ++verdict) {
    inputs.push_back(greetingOf(verdict % 2 == 0, verdict));
  }
  for (const usbip::Speed speed : {usbip::Speed::low, usbip::Speed::full, usbip::Speed::high,
                                   usbip::Speed::super, usbip::Speed::superPlus}) {
    inputs.push_back(messageOf(UsbipMessage::offer, usbip::encode(offerOf(descriptors, speed))));
  }
  for (const char* busId :
       {"1-2", "1-2.3.4.5.6.7.8.9.10.11.12.13.1", "1-2.3.4.5.6.7.8.9.10.11.12.13.14", "usb1"}) {
    inputs.push_back(valueOf(busId, descriptors));
  }
  return inputs;
}

}  // namespace fuzz

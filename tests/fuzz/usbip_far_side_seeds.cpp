#include "fuzz/usbip_far_side_seeds.h"

#include "fuzz/input.h"
#include "fuzz/usbip_far_side_input.h"

namespace fuzz {

namespace {

using namespace std::string_literals;

void addStep(InputWriter& input, UsbipWorkerStep step, unsigned pieceSize) {
  input.byte(static_cast<unsigned>(step)).byte(pieceSize);
}

// A worker that does all that is needed, and goes on to speak.
std::string deviceBrought(unsigned switches, unsigned pieceSize, unsigned difference, unsigned speed) {
  const bool hasKeys = (switches & farSideKeysSwitch) != 0;
  InputWriter input;
  input.byte(switches);
  addStep(input, UsbipWorkerStep::greet, pieceSize);
  input.byte(hasKeys ? 1 : 0).text("");
  if (hasKeys) {
    addStep(input, UsbipWorkerStep::prove, pieceSize);
    input.byte(difference).text("");
  }
  addStep(input, UsbipWorkerStep::offer, pieceSize);
  input.byte(speed).text("the kernel's");
  return input.written();
}

std::string said(const std::string& text) {
  InputWriter input;
  input.byte(localPeerSwitch);
  addStep(input, UsbipWorkerStep::say, 0);
  return input.text(text).written();
}

std::string offered(const std::string& busId) {
  return "USB-RXIP\0\1"s + std::string(34, '\0') + busId + std::string(32 - busId.size(), '\0') +
         "\0\1\0\2\3\0\22\1"s + std::string(16, '\1');
}

}  // namespace

std::vector<std::string> usbipFarSideSeeds() {
  constexpr unsigned allSwitches = farSideKeysSwitch | anyPeerSwitch | localPeerSwitch;
  constexpr unsigned high = 3;
  std::vector<std::string> inputs{said("GET / HTTP/1.1\r\n\r\n"),
                                  said("USB-RXIP\0\2"s + std::string(34, '\0')), said(offered("1-2")),
                                  said(offered("1-2.3.4.5.6.7.8.9.10.11.12.13.14"))};
  for (unsigned switches = 0; switches <= allSwitches; ++switches) {
    inputs.push_back(deviceBrought(switches, 0, 0, high));
    inputs.push_back(deviceBrought(switches, 1, 0, high));
  }
  for (unsigned speed = 0; speed <= 7; ++speed) {
    inputs.push_back(deviceBrought(localPeerSwitch, 7, 0, speed));
  }
  inputs.push_back(deviceBrought(farSideKeysSwitch, 0, 1, high));
  return inputs;
}

}  // namespace fuzz

#include "fuzz/explain_seeds.h"

#include "fuzz/descriptors_input.h"
#include "fuzz/explain_input.h"
#include "fuzz/input.h"
#include "fuzz/recorded_attribute.h"
#include "sim/device_recording.h"

namespace fuzz {

namespace {

std::string explained(const sim::DeviceRecording& recording, const std::string& descriptors, unsigned policy,
                      unsigned switches) {
  const std::string* deviceClass = recordedIn(recording, recording.directory, "bDeviceClass");
  return InputWriter()
      .byte(policy)
      .byte(switches)
      .text(deviceClass == nullptr ? "00\n" : *deviceClass)
      .text(recording.product + "\n")
      .bytes(descriptors)
      .written();
}

}  // namespace

std::vector<std::string> explainSeeds() {
  constexpr unsigned allClasses = explainKeyboardsSwitch | explainStorageSwitch;
  std::vector<std::string> inputs;
  for (const std::string& name : sim::recordingNames()) {
    const sim::DeviceRecording recording = sim::loadRecording(name);
    const std::string* found = recordedIn(recording, recording.directory, "descriptors");
    if (found == nullptr) {
      continue;
    }
    inputs.push_back(explained(recording, *found, isochronousUserWarningSwitch, 0));
    inputs.push_back(explained(recording, *found, 0, allClasses));
    inputs.push_back(
        explained(recording, *found, fullSpeedLinkSwitch | highSpeedDeviceSwitch, unnamedSwitch));
    inputs.push_back(explained(recording, found->substr(0, found->size() / 2),
                               smartcardSwitch | hidOnlySwitch | blockMassStorageSwitch, allClasses));
  }
  return inputs;
}

}  // namespace fuzz

#include "sim/device_recording.h"

#include <algorithm>
#include <cstdlib>

#include "sim/files.h"
#include "tools/recorder/recording_input.h"

namespace sim {

DeviceRecording loadRecording(const std::string& name) {
  return recorder::readRecording(recordingsFolder() + "/" + name);
}

std::vector<std::string> recordingNames() {
  std::vector<std::string> names;
  for (const std::filesystem::path& folder : entriesOf(recordingsFolder())) {
    if (std::filesystem::exists(folder / "tree.txt")) {
      names.push_back(folder.filename());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

std::string recordingsFolder() {
  const char* fromEnvironment = std::getenv("SIM_DEVICES");
  return fromEnvironment != nullptr ? fromEnvironment : SIM_DEVICES_FOLDER;
}

}  // namespace sim

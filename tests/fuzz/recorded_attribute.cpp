#include "fuzz/recorded_attribute.h"

namespace fuzz {

const std::string* recordedIn(const sim::DeviceRecording& recording, const std::string& directory,
                              const std::string& name) {
  const std::string path = directory + "/" + name;
  for (const sim::TreeEntry& entry : recording.tree) {
    if (entry.kind != sim::TreeEntry::Kind::directory && "/sys/" + entry.path == path) {
      return &entry.content;
    }
  }
  return nullptr;
}

}  // namespace fuzz

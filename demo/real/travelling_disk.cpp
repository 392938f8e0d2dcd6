#include "demo/real/travelling_disk.h"

#include "kernel/guest/machine.h"

namespace demo {

guest::EmulatedDevice filledDisk() {
  guest::EmulatedDevice disk = guest::disk();
  disk.before = {
      {"blockdev-add",
       R"({"driver": "raw", "node-name": "@-disk", "file": {"driver": "file", "filename": "disk"}})"}};
  return disk;
}

std::string digestOfFilledDisk() {
  return guest::machineSetting("DISK_DIGEST");
}

}  // namespace demo

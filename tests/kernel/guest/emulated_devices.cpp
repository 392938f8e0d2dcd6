#include "kernel/guest/emulated_devices.h"

#include <utility>

namespace guest {

namespace {

/** A disk of zeros, "@-NAME". */
MachineCommand makeDisk(const std::string& name) {
  return {"blockdev-add",
          R"({"driver": "null-co", "node-name": "@-)" + name + R"(", "size": 1048576, "read-zeroes": true})"};
}

/** "@-NAME" is a disk of the bytes of a file, which no two disks may change at a time. */
MachineCommand makeDiskOf(const std::string& file, const std::string& name) {
  return {"blockdev-add", R"({"driver": "raw", "node-name": "@-)" + name +
                              R"(", "file": {"driver": "file", "filename": ")" + file + R"("}})"};
}

MachineCommand forgetDisk(const std::string& name) {
  return {"blockdev-del", R"({"node-name": "@-)" + name + "\"}"};
}

/** Puts the disk behind a host adapter, as the unit of that number. */
MachineCommand addUnit(const std::string& name, int number) {
  return {"device_add", R"({"driver": "scsi-hd", "bus": "@.0", "id": "@-unit-)" + name +
                            R"(", "drive": "@-)" + name + R"(", "lun": )" + std::to_string(number) + "}"};
}

/** A host adapter waits for its units before it shows up on the bus. */
MachineCommand attach() {
  return {"qom-set", R"({"path": "@", "property": "attached", "value": true})"};
}

}  // namespace

EmulatedDevice keyboard() {
  return {.driver = "usb-kbd", .product = "QEMU USB Keyboard"};
}

EmulatedDevice mouse() {
  return {.driver = "usb-mouse", .product = "QEMU USB Mouse"};
}

EmulatedDevice tablet() {
  return {.driver = "usb-tablet", .product = "QEMU USB Tablet"};
}

EmulatedDevice mediaPlayer() {
  // The emulator wants an absolute path; this one leads to its working directory.
  return {.driver = "usb-mtp",
          .product = "QEMU filesharing",
          .properties = R"(, "rootdir": "/proc/self/cwd/media", "desc": "media")"};
}

namespace {

EmulatedDevice diskMadeBy(MachineCommand command) {
  return {.driver = "usb-storage",
          .product = "QEMU USB HARDDRIVE",
          .properties = R"(, "drive": "@-disk")",
          .before = {std::move(command)},
          .afterDeletion = {forgetDisk("disk")}};
}

}  // namespace

EmulatedDevice disk() {
  return diskMadeBy(makeDisk("disk"));
}

EmulatedDevice diskOf(const std::string& file) {
  return diskMadeBy(makeDiskOf(file, "disk"));
}

EmulatedDevice twoDisks() {
  return {
      .driver = "usb-bot",
      .product = "QEMU USB HARDDRIVE",
      .before = {makeDisk("first"), makeDisk("second")},
      .after = {addUnit("first", 0), addUnit("second", 1), attach()},
      .afterDeletion = {forgetDisk("first"), forgetDisk("second")},
  };
}

EmulatedDevice uasDisk() {
  return {.driver = "usb-uas",
          .product = "USB Attached SCSI HBA",
          .before = {makeDisk("disk")},
          .after = {addUnit("disk", 0), attach()},
          .afterDeletion = {forgetDisk("disk")}};
}

EmulatedDevice hub() {
  return {.driver = "usb-hub", .product = "QEMU USB Hub"};
}

EmulatedDevice speaker() {
  return {.driver = "usb-audio", .product = "QEMU USB Audio", .properties = R"(, "audiodev": "sound")"};
}

EmulatedDevice smartCardReader() {
  return {.driver = "usb-ccid", .product = "QEMU USB CCID"};
}

EmulatedDevice serialAdapter() {
  return {
      .driver = "usb-serial",
      .product = "QEMU USB SERIAL",
      .properties = R"(, "chardev": "@-line", "always-plugged": true)",
      .before = {{"chardev-add", R"({"id": "@-line", "backend": {"type": "null", "data": {}}})"}},
      .afterDeletion = {{"chardev-remove", R"({"id": "@-line"})"}},
  };
}

EmulatedDevice networkAdapter() {
  return {
      .driver = "usb-net",
      .product = "RNDIS/QEMU USB Network Device",
      .properties = R"(, "netdev": "@-cable")",
      .before = {{"netdev_add", R"({"type": "hubport", "id": "@-cable", "hubid": 0})"}},
      .afterDeletion = {{"netdev_del", R"({"id": "@-cable"})"}},
  };
}

}  // namespace guest

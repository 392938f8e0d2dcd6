#include "demo/scenes/scenes.h"

namespace demo {

namespace {

constexpr const char* scsiNode = "/1-3:1.0/host4/target4:0:0/4:0:0:0/scsi_generic/sg4";

Step plugEverything() {
  return {.headline = "The unit is off; you plug in a serial adapter, a keyboard, a disk and a speaker",
          .action =
              [](Stage& stage) {
                stage.plug("serial", "1-1");
                stage.plug("kbd-fs-hiddev", "1-2");
                stage.plug("storage-hs", "1-3");
                stage.plug("audio", "1-4");
              },
          .outcome = "Nobody listens to what the kernel announces."};
}

Step start() {
  return {
      .headline = "The unit starts, with workers for keyboards and disks",
      .action =
          [](Stage& stage) {
            stage.startDaemon({"--class=all", "--debug=ctrl", "--keys", "key1", "key2", "--intf=eth1",
                               "transmitter", "5000", "high"});
          },
      .expected = {.daemonSays = {"coldplugging existing devices", "this is a generic USB device",
                                  "this is an unsupported USB device", "coldplugging keyboards",
                                  "this is HID device", "colplugging storage devices",
                                  "this is a generic scsi device", "hotplugging new devices"},
                   .workers = {genericWorker(atUsbPort("1-1")),
                               {"usb_rx_keyboard", "eth1", "transmitter", "5001", "180", "2"},
                               {"usb_rx_scsi", "eth1", "transmitter", "5002", atUsbPort("1-3") + scsiNode}},
                   .display = {"QEMU USB Keyboard attached", "QEMU     QEMU HARDDISK    attached",
                               "QEMU USB Audio is not supported because it has isochronous endpoints"}},
      .outcome = "It finds in sysfs what is plugged in, and handles it as if it had just come."};
}

Step deliver() {
  return {
      .headline = "The link manager delivers the parameters",
      .action = [](Stage& stage) { stage.deliverLink("transmitter 5000 high eth1 key1 key2"); },
      .expected = {.display = {"QEMU USB SERIAL attached", "un-named device attached",
                               "un-named device attached"}},
      .outcome = "What has a worker is announced; the nodes of keyboard and disk have no name themselves."};
}

Step unplugDisk() {
  return {.headline = "You unplug the disk",
          .action = [](Stage& stage) { stage.unplug("storage-hs"); },
          .expected = {.ended = {"usb_rx_scsi"}},
          .outcome = "Its worker ends by itself, as for any other device."};
}

}  // namespace

Scene pluggedInBefore() {
  return {"Devices that were there before the daemon", {plugEverything(), start(), deliver(), unplugDisk()}};
}

}  // namespace demo

#include "demo/scenes/scenes.h"

namespace demo {

namespace {

constexpr const char* scsiNode = "/1-2:1.0/host2/target2:0:0/2:0:0:0/scsi_generic/sg2";

Step start() {
  return {.headline =
              "The unit starts with workers for keyboards and disks, all of them talkative, and with keys",
          .action =
              [](Stage& stage) {
                stage.startDaemon({"--class=all", "--debug=ctrl,generic,keyboard,scsi", "--keys", "desk 7",
                                   "key2", "--sock=/var/run/usb_rx_desk", "transmitter", "5000", "high"});
              },
          .expected = {.daemonSays = {"hotplugging new devices"}},
          .outcome = "The daemon waits for devices."};
}

Step deliver() {
  return {.headline = "The link manager delivers parameters without keys",
          .action = [](Stage& stage) { stage.deliverLink("transmitter 5000 high eth1  "); },
          .outcome = "The daemon keeps the keys that it was started with."};
}

Step keyboard() {
  return {.headline = "You plug in a keyboard",
          .action = [](Stage& stage) { stage.plug("kbd-fs-hiddev", "1-1"); },
          .expected = {.daemonSays = {"this is a keyboard device", "this is HID device"},
                       .workers = {{"usb_rx_keyboard", "--debug", "--stderr", "eth1", "transmitter", "5001",
                                    "180", "0"}},
                       .display = {"QEMU USB Keyboard attached"}},
          .outcome = "Its hiddev node has a keyboard worker, on the next port."};
}

Step disk() {
  return {.headline = "You plug in a disk",
          .action = [](Stage& stage) { stage.plug("storage-hs", "1-2"); },
          .expected = {.daemonSays = {"this is a storage device", "this is a generic scsi device"},
                       .workers = {{"usb_rx_scsi", "--debug", "--stderr", "eth1", "transmitter", "5002",
                                    atUsbPort("1-2") + scsiNode}},
                       .display = {"QEMU     QEMU HARDDISK    attached"}},
          .outcome = "Its SCSI node has a disk worker, on the port after that."};
}

Step other() {
  return {.headline = "You plug in something else",
          .action = [](Stage& stage) { stage.plug("made-vendor-hs", "1-3"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {{"usb_rx_generic", "--debug", "--stderr", "--keys", "desk 7", "key2",
                                    "--sock=/var/run/usb_rx_desk", "eth1", "transmitter", "5000",
                                    atUsbPort("1-3")}},
                       .display = {"Vendor Thing attached"}},
          .outcome = "It has a generic worker, which alone is told the keys and where to ask for new ones."};
}

Step unplugKeyboard() {
  return {.headline = "You unplug the keyboard",
          .action = [](Stage& stage) { stage.unplug("kbd-fs-hiddev"); },
          .expected = {.ended = {"usb_rx_keyboard"}},
          .outcome = "The worker ends by itself."};
}

Step hangUp() {
  return {.headline = "The link manager goes",
          .action = [](Stage& stage) { stage.hangUp(); },
          .expected = {.ended = {"usb_rx_generic"}, .exitStatus = 0},
          .outcome = "The daemon ends and takes generic workers with it; the disk stays in use."};
}

}  // namespace

Scene workersOfTheirOwn() {
  return {"Keyboards and disks with workers of their own",
          {start(), deliver(), keyboard(), disk(), other(), unplugKeyboard(), hangUp()}};
}

}  // namespace demo

#include "demo/scenes/scenes.h"

namespace demo {

namespace {

Step fastDevice() {
  return {.headline = "You plug in a high-speed device",
          .action = [](Stage& stage) { stage.plug("made-vendor-hs", "1-1"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-1"))},
                       .display = {"Vendor Thing attached"}},
          .outcome = "Admitted: the link is fast enough."};
}

Step slowDevice() {
  return {.headline = "You plug in a serial adapter, which is of full speed",
          .action = [](Stage& stage) { stage.plug("serial", "1-2"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-2"))},
                       .display = {"QEMU USB SERIAL attached"}},
          .outcome = "Admitted."};
}

Step speedDrops() {
  return {.headline = "The link falls to full speed",
          .action =
              [](Stage& stage) {
                stage.deliverLink("transmitter 5000 full eth1 key1 key2");
                stage.awaitEndOfWorkersOf(atUsbPort("1-1"));
              },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"QEMU USB SERIAL attached",
                                   "High speed Vendor Thing is not supported on a full speed only port"},
                       .ended = {"usb_rx_generic"}},
          .outcome = "The daemon ends the worker of the high-speed device, and then refuses the device."};
}

Step refusedFastDevice() {
  return {.headline = "You plug in another high-speed device",
          .action = [](Stage& stage) { stage.plug("tablet-hs", "1-3"); },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"High speed QEMU USB Tablet is not supported on a full speed only port"}},
          .outcome = "Refused."};
}

Step speedRises() {
  return {.headline = "The link is fast again; you unplug the device and plug it in again",
          .action =
              [](Stage& stage) {
                stage.deliverLink("transmitter 5000 high eth1 key1 key2");
                stage.unplug("tablet-hs");
                stage.plug("tablet-hs", "1-3");
              },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-3"))},
                       .display = {"QEMU USB SERIAL attached", "QEMU USB Tablet attached"}},
          .outcome = "Admitted."};
}

}  // namespace

Scene fullSpeedLink() {
  return {"The link changes its speed",
          {startWithLink(), fastDevice(), slowDevice(), speedDrops(), refusedFastDevice(), speedRises()}};
}

}  // namespace demo

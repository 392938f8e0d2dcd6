#include "demo/scenes/scenes.h"

namespace demo {

namespace {

Step hubWithMouse() {
  return {.headline = "You plug in a hub with a mouse on it",
          .action = [](Stage& stage) { stage.plug("hub-mouse", "1-1"); },
          .expected = {.daemonSays = {"this is a hub device", "this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-1") + "/1-1.1")},
                       .display = {"QEMU USB Mouse attached"}},
          .outcome = "The hub is of no interest; the mouse behind it is admitted."};
}

Step serialAdapter() {
  return {.headline = "You plug in a serial adapter",
          .action = [](Stage& stage) { stage.plug("serial", "1-2"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-2"))},
                       .display = {"QEMU USB SERIAL attached"}},
          .outcome = "Admitted: its worker carries it to the Transmitter."};
}

Step speaker() {
  return {.headline = "You plug in a speaker",
          .action = [](Stage& stage) { stage.plug("audio", "1-3"); },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"QEMU USB Audio is not supported because it has isochronous endpoints"}},
          .outcome = "Refused: sound and video do not go over the link unless the unit is told to let them."};
}

Step otherPort() {
  return {.headline = "The Transmitter moves to another port",
          .action = [](Stage& stage) { stage.deliverLink("transmitter 6000 high eth1 key1 key2"); },
          .expected = {.display = {"QEMU USB Mouse attached", "QEMU USB SERIAL attached"}},
          .outcome = "Each device that has a worker is announced again; the speaker has none."};
}

Step unplugHub() {
  return {.headline = "You unplug the hub",
          .action = [](Stage& stage) { stage.unplug("hub-mouse"); },
          .expected = {.ended = {"usb_rx_generic"}},
          .outcome = "The mouse goes with it."};
}

}  // namespace

Scene defaultPolicy() {
  return {"What may be used when nothing is configured",
          {startWithLink(), hubWithMouse(), serialAdapter(), speaker(), otherPort(), unplugHub()}};
}

}  // namespace demo

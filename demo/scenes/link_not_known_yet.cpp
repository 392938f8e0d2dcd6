#include "demo/scenes/scenes.h"

namespace demo {

namespace {

Step start() {
  return {.headline = "The unit starts; where the Transmitter is, nobody knows yet: the port is 0",
          .action =
              [](Stage& stage) {
                stage.startDaemon({"--debug=ctrl", "transmitter", "0", "high"});
              },
          .expected = {.daemonSays = {"coldplugging existing devices", "hotplugging new devices"}},
          .outcome = "No device is plugged in; the daemon waits."};
}

Step earlyQuery() {
  return {.headline = "A tool of the unit asks for the link parameters",
          .action = [](Stage& stage) { stage.askForLink(); },
          .outcome = "It gets no answer as long as the parameters are not known."};
}

Step earlyMouse() {
  return {.headline = "You plug in a mouse",
          .action = [](Stage& stage) { stage.plug("mouse-fs", "1-1"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {{"usb_rx_generic", "eth1", "transmitter", "0", atUsbPort("1-1")}}},
          .outcome = "It has its worker; the display says nothing before there is a link."};
}

Step deliver() {
  return {.headline = "The link manager delivers the parameters",
          .action = [](Stage& stage) { stage.deliverLink("transmitter 5000 high eth1 key1 key2"); },
          .expected = {.display = {"QEMU USB Mouse attached"},
                       .answers = {"transmitter 5000 high eth1 key1 key2"}},
          .outcome = "The tool gets its answer; what is plugged in is announced."};
}

Step lateQuery() {
  return {.headline = "Another tool asks",
          .action = [](Stage& stage) { stage.askForLink(); },
          .expected = {.answers = {"transmitter 5000 high eth1 key1 key2"}},
          .outcome = "It is answered at once."};
}

Step unplug() {
  return {.headline = "You unplug the mouse",
          .action = [](Stage& stage) { stage.unplug("mouse-fs"); },
          .expected = {.ended = {"usb_rx_generic"}},
          .outcome = "The worker ends by itself; the daemon forgets it."};
}

Step hangUp() {
  return {.headline = "The link manager goes",
          .action = [](Stage& stage) { stage.hangUp(); },
          .expected = {.exitStatus = 0},
          .outcome = "So does the daemon, with status 0: whoever started it starts it again."};
}

}  // namespace

Scene linkNotKnownYet() {
  return {"The link is not known yet",
          {start(), earlyQuery(), earlyMouse(), deliver(), lateQuery(), unplug(), hangUp()}};
}

}  // namespace demo

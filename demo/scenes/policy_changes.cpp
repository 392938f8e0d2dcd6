#include "demo/scenes/scenes.h"

namespace demo {

namespace {

Step diskToStart() {
  return {.headline = "You plug in a disk",
          .action = [](Stage& stage) { stage.plug("storage-hs", "1-1"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-1"))},
                       .display = {"QEMU USB HARDDRIVE attached"}},
          .outcome = "Admitted, as there is no rule against it."};
}

Step noMassStorage() {
  return {.headline = "The administrator blocks mass storage; you plug in another disk",
          .action =
              [](Stage& stage) {
                stage.changePolicy({{"block_mass_storage", "yes"}});
                stage.plug("made-disk-two-configs", "1-2");
              },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"Two Plan Disk configuration blocked due to mass storage capability"}},
          .outcome = "Refused, from this device on: the first disk keeps its worker."};
}

Step noSmartCards() {
  return {.headline = "The administrator reserves smart cards for the unit; you plug in a card reader",
          .action =
              [](Stage& stage) {
                stage.changePolicy({{"smartcard", "yes"}});
                stage.plug("ccid", "1-3");
              },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"QEMU USB CCIDlocal smartcard security"}},
          .outcome = "Refused. (The message goes without a blank after the name.)"};
}

Step hidOnly() {
  return {.headline = "The administrator admits input devices only; you plug in a media player",
          .action =
              [](Stage& stage) {
                stage.changePolicy({{"hid_only", "yes"}});
                stage.plug("mtp-hs", "1-4");
              },
          .expected = {.daemonSays = {"this is an unsupported USB device"},
                       .display = {"QEMU filesharing is not supported because it has non-HID endpoints"}},
          .outcome = "Refused."};
}

Step hidOnlyMouse() {
  return {.headline = "You plug in a mouse",
          .action = [](Stage& stage) { stage.plug("mouse-fs", "1-5"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-5"))},
                       .display = {"QEMU USB Mouse attached"}},
          .outcome = "Admitted, even under all these rules."};
}

Step silentRefusal() {
  return {
      .headline = "The administrator switches off the warning about sound and video; you plug in a camera",
      .action =
          [](Stage& stage) {
            stage.changePolicy({{"hid_only", "default"}, {"isochronous_user_warning", "no"}});
            stage.plug("made-camera-hs", "1-6");
          },
      .expected = {.daemonSays = {"this is an unsupported USB device"}},
      .outcome = "Refused without a word on the display; the log says why."};
}

Step isochronousAdmitted() {
  return {.headline = "The administrator admits sound and video; you unplug the camera and plug it in again",
          .action =
              [](Stage& stage) {
                stage.changePolicy({{"isochronous_enabled", "yes"}});
                stage.unplug("made-camera-hs");
                stage.plug("made-camera-hs", "1-6");
              },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-6"))},
                       .display = {"Desk Camera attached"}},
          .outcome = "Admitted."};
}

}  // namespace

Scene policyChanges() {
  return {"The administrator changes the policy",
          {startWithLink(), diskToStart(), noMassStorage(), noSmartCards(), hidOnly(), hidOnlyMouse(),
           silentRefusal(), isochronousAdmitted()}};
}

}  // namespace demo

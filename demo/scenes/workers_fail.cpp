#include "demo/scenes/scenes.h"

namespace demo {

namespace {

constexpr const char* noTransmitter = "<0>QEMU USB SERIAL cannot be attached until Transmitter available";

CommandLine waitingWorker() {
  return {"usb_rx_generic", "--keys",      "key1", "key2",          "--timeout", "10",
          "eth1",           "transmitter", "5000", atUsbPort("1-1")};
}

Step serialAdapter() {
  return {.headline = "You plug in a serial adapter",
          .action = [](Stage& stage) { stage.plug("serial", "1-1"); },
          .expected = {.daemonSays = {"this is a generic USB device"},
                       .workers = {genericWorker(atUsbPort("1-1"))},
                       .display = {"QEMU USB SERIAL attached"}},
          .outcome = "Admitted."};
}

Step crash() {
  return {.headline = "Its worker crashes",
          .action = [](Stage& stage) { stage.crashWorker(1); },
          .expected = {.daemonSays = {"  terminated due to signal 9",
                                      "device " + atUsbPort("1-1") + " still present; restarting 1"},
                       .workers = {genericWorker(atUsbPort("1-1"))},
                       .display = {"QEMU USB SERIAL attached"},
                       .ended = {"usb_rx_generic"}},
          .outcome = "The adapter is still there: it gets another worker."};
}

Step threeFailures() {
  return {.headline = "That one fails at once, and so do the next two",
          .action =
              [](Stage& stage) {
                for (const int worker : {2, 3, 4}) {
                  stage.endWorker(worker, 1);
                }
              },
          .expected = {.daemonSays = {"device " + atUsbPort("1-1") + " still present; restarting 3",
                                      "device " + atUsbPort("1-1") + " still present; restarting 5",
                                      "device " + atUsbPort("1-1") + " still present; restarting 7"},
                       .workers = {genericWorker(atUsbPort("1-1")), genericWorker(atUsbPort("1-1")),
                                   genericWorker(atUsbPort("1-1"))},
                       .display = {"QEMU USB SERIAL attached", "QEMU USB SERIAL attached",
                                   "QEMU USB SERIAL attached"},
                       .ended = {"usb_rx_generic", "usb_rx_generic", "usb_rx_generic"}},
          .outcome = "Each failure counts, and so does each restart."};
}

Step fifthFailure() {
  return {.headline = "The fifth worker fails, too",
          .action = [](Stage& stage) { stage.endWorker(5, 1); },
          .expected = {.daemonSays = {"device " + atUsbPort("1-1") + " still present; restarting 9"},
                       .workers = {waitingWorker()},
                       .display = {noTransmitter},
                       .ended = {"usb_rx_generic"}},
          .outcome = "There is no Transmitter: the user is told, and the next worker waits for it."};
}

Step waitInVain() {
  return {.headline = "That worker has waited in vain",
          .action = [](Stage& stage) { stage.endWorker(6, 28); },
          .expected = {.daemonSays = {"RxGeneric exited due to timeout"},
                       .workers = {waitingWorker()},
                       .display = {noTransmitter},
                       .ended = {"usb_rx_generic"}},
          .outcome = "The user is told again, and another one waits."};
}

Step transmitterIsBack() {
  return {.headline = "The Transmitter is back; the link manager says so, and the old connection breaks",
          .action =
              [](Stage& stage) {
                stage.deliverLink("transmitter 5000 high eth1 key1 key2");
                stage.endWorker(7, 1);
              },
          .expected = {.daemonSays = {"device " + atUsbPort("1-1") + " still present; restarting 0"},
                       .workers = {genericWorker(atUsbPort("1-1"))},
                       .display = {"QEMU USB SERIAL attached", "QEMU USB SERIAL attached"},
                       .ended = {"usb_rx_generic"}},
          .outcome = "Forgotten is what failed before: the adapter has an ordinary worker again."};
}

Step cannotBeConfigured() {
  return {.headline = "You plug in a device that its worker cannot configure",
          .action =
              [](Stage& stage) {
                stage.plug("made-vendor-hs", "1-2");
                stage.endWorker(9, 5);
              },
          .expected = {.workers = {genericWorker(atUsbPort("1-2"))},
                       .display = {"Vendor Thing attached",
                                   "<0>Vendor Thing cannot be configured; please "
                                   "remove any intermediate hubs and/or device"},
                       .ended = {"usb_rx_generic"}},
          .outcome = "The user is told what to do about it; nothing is tried again."};
}

Step unplug() {
  return {
      .headline = "You unplug the adapter",
      .action = [](Stage& stage) { stage.unplug("serial"); },
      .expected = {.daemonSays = {"device " + atUsbPort("1-1") + " has gone"}, .ended = {"usb_rx_generic"}},
      .outcome = "Its worker ends, and nothing takes its place."};
}

}  // namespace

Scene workersFail() {
  return {"Workers that fail",
          {startWithLink(), serialAdapter(), crash(), threeFailures(), fifthFailure(), waitInVain(),
           transmitterIsBack(), cannotBeConfigured(), unplug()}};
}

}  // namespace demo

#include "demo/scenes/scenes.h"

namespace demo {

std::string atUsbPort(const std::string& port) {
  return "/sys/devices/pci0000:00/0000:00:03.0/usb1/" + port;
}

Step startWithLink() {
  return {.headline = "The unit starts, and the link manager tells where the Transmitter is",
          .action =
              [](Stage& stage) {
                stage.startDaemon({"--debug=ctrl", "transmitter", "0", "high"});
                stage.deliverLink("transmitter 5000 high eth1 key1 key2");
              },
          .expected = {.daemonSays = {"hotplugging new devices"}},
          .outcome = "The daemon waits for devices."};
}

CommandLine genericWorker(const std::string& device) {
  return {"usb_rx_generic", "--keys", "key1", "key2", "eth1", "transmitter", "5000", device};
}

}  // namespace demo

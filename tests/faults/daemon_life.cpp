// Leads one daemon through all that it does, and prints what is seen of it; scripts/faults compares that.

#include <sys/wait.h>

#include <csignal>
#include <exception>
#include <iostream>
#include <string>

#include "faults/observed_unit.h"
#include "sim/deadline.h"
#include "sim/usb_descriptors.h"
#include "sim/wait.h"

namespace {

constexpr const char* firstConfiguration =
    "[usb]\nconnect_fail_timeout = 1000\nblock_mass_storage = 1\n"
    "[apps]\nquor_usb_rx_generic = configured_worker\n";
constexpr const char* laterConfiguration =
    "[usb]\nconnect_fail_timeout = 1000\nblock_mass_storage = 1\nsmartcard = 1\n"
    "[apps]\nquor_usb_rx_generic = configured_worker\n";

std::string storageWithTwoInterfaces() {
  const std::string interfaces = sim::interface(sim::usb_class::massStorage, 6, 0x50, 0) +
                                 sim::interface(sim::usb_class::massStorage, 6, 0x50, 1);
  return sim::deviceDescriptor() + sim::configuration(interfaces);
}

std::string cardReader() {
  return sim::deviceDescriptor() +
         sim::configuration(sim::interface(sim::usb_class::smartCard, 0, 0) + sim::endpoint(3));
}

std::string camera() {
  return sim::deviceDescriptor() +
         sim::configuration(sim::interface(sim::usb_class::vendor, 0, 0) + sim::endpoint(1));
}

sim::UsbDevice device(const std::string& name, const std::string& product, const std::string& descriptors) {
  return {.name = name, .descriptors = descriptors, .product = product};
}

sim::UsbDevice hub(const std::string& name) {
  sim::UsbDevice made = device(name, "Hub " + name, "");
  made.deviceClass = "09";
  return made;
}

/** A keyboard and its node; which of them is announced by itself does not matter here. */
struct Keyboard {
  std::string device;
  std::string node;
  std::string minor;
};

class Life {
 public:
  Life() {
    observed_.unit.installWorker("/sim/bin/configured_worker");
    sim::Unit::writeConfig(firstConfiguration);
    plotter_ = sysfs().add(device("1-4", "Plotter 1-4", sim::vendorDeviceDescriptors()));
    mouse_ = sysfs().add(slowMouse());
    sysfs().add(hub("1-1"));
    startKeyboard_ = addKeyboard("1-2", "Start Keyboard 1-2", 12);
    startDisk_ = addDisk("1-3", "Start Disk 1-3", 13);
    sysfs().add(device("1-6", "Two Disks 1-6", storageWithTwoInterfaces()));
    sysfs().add(device("1-7", "Camera 1-7", camera()));
  }

  void live() {
    observed_.step("start", [this] {
      observed_.start(
          {"--class=all", "--debug=ctrl", "--keys", "in", "out", "--intf=eth0", "transmitter", "0", "high"});
    });
    meetLinkManagers();
    superviseWorkers();
    meetDevices();
    meetNewPolicy();
    dropTheLink();
    observed_.endByClosing("second manager");
  }

 private:
  sim::Sysfs& sysfs() { return observed_.unit.sysfs; }

  static sim::UsbDevice slowMouse() {
    sim::UsbDevice mouse = device("1-5", "Mouse 1-5", sim::mouseDescriptors());
    mouse.speed = "12";
    return mouse;
  }

  Keyboard addKeyboard(const std::string& name, const std::string& product, int number) {
    const std::string minor = std::to_string(number);
    const std::string keyboard = sysfs().add(device(name, product, sim::keyboardDescriptors()));
    const std::string node =
        sysfs().add(sim::HiddevNode{.usbDevice = keyboard, .name = "hiddev" + minor, .dev = "180:" + minor});
    return {keyboard, node, minor};
  }

  std::string addDisk(const std::string& name, const std::string& product, int number) {
    const std::string disk = sysfs().add(device(name, product, sim::diskDescriptors()));
    sim::ScsiGenericNode node{.usbDevice = disk, .name = "sg" + std::to_string(number), .host = number};
    node.model = product;
    return sysfs().add(node);
  }

  /** `name`: by which its worker is known. */
  void takeOut(const std::string& directory, const std::string& name) {
    observed_.step("unplugged: " + directory, [&] { observed_.unit.unplug(directory); });
    observed_.step("its worker ends: " + directory, [&] { observed_.endWorker(name, 0); });
  }

  void meetLinkManagers() {
    observed_.step("query before the link is known", [this] { observed_.send("early client", "?"); });
    observed_.step("link parameters",
                   [this] { observed_.send("first manager", "transmitter 5000 high eth1 k1 k2"); });
    observed_.step("query", [this] { observed_.send("late client", "?"); });
  }

  void superviseWorkers() {
    std::string scanner;
    observed_.step("generic device", [&] {
      scanner = sysfs().add(device("2-1", "Scanner 2-1", sim::vendorDeviceDescriptors()));
      observed_.announce(scanner);
    });
    observed_.step("failure", [&] { observed_.endWorker(scanner, 1); });
    observed_.step("no connection (28)", [&] { observed_.endWorker(scanner, 28); });
    observed_.step("no configuration (5)", [&] { observed_.endWorker(scanner, 5); });
    std::string printer;
    observed_.step("another generic device", [&] {
      printer = sysfs().add(device("2-2", "Printer 2-2", sim::vendorDeviceDescriptors()));
      observed_.announce(printer);
    });
    takeOut(printer, printer);
  }

  void meetDevices() {
    observed_.step("hub", [this] { observed_.announce(sysfs().add(hub("2-5"))); });
    observed_.step("nothing for the daemon", [this] {
      sysfs().makeDirectory("/sys/module/sound");
      observed_.announce("/sys/module/sound");
      observed_.unit.uevents.send("no event");
    });
    Keyboard keyboard;
    observed_.step("keyboard", [&] {
      keyboard = addKeyboard("2-3", "Keyboard 2-3", 23);
      observed_.announce(keyboard.device);
      observed_.announce(keyboard.node);
    });
    std::string disk;
    observed_.step("disk", [&] {
      disk = addDisk("2-4", "Disk 2-4", 24);
      observed_.announce("/sys/devices/platform/usb-host.0/usb1/2-4");
      observed_.announce(disk);
    });
    takeOut(keyboard.node, keyboard.minor);
    takeOut(startKeyboard_.node, startKeyboard_.minor);
    takeOut(disk, disk);
  }

  void meetNewPolicy() {
    observed_.step("hang-up signal", [this] {
      sim::Unit::writeConfig(laterConfiguration);
      observed_.unit.daemon().signal(SIGHUP);
    });
    observed_.step("device that is refused now", [this] {
      observed_.announce(sysfs().add(device("2-6", "Card Reader 2-6", cardReader())));
    });
  }

  void dropTheLink() {
    // A node of a disk has no speed of its own, and ends the daemon then.
    takeOut(startDisk_, startDisk_);
    observed_.step("full speed link", [this] {
      observed_.send("second manager", "elsewhere 6000 full eth2");
      observed_.awaitEndOfWorker(plotter_);
    });
  }

  ObservedUnit observed_;
  std::string plotter_;
  std::string mouse_;
  Keyboard startKeyboard_;
  std::string startDisk_;
};

// strace traces from a process of its own, which comes to this one with the workers; its log is complete then.
void awaitTracer() {
  const sim::Deadline deadline;
  while (::waitpid(-1, nullptr, WNOHANG) != -1 && !deadline.passed()) {
    sim::serveBackground(sim::Deadline(0.001));
  }
}

}  // namespace

int main() {
  try {
    Life().live();
    awaitTracer();
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "usb_rx_life: " << error.what() << '\n';
    return 1;
  }
}

// Devices that are taken out between any two steps of their handling: before each of the daemon's system
// calls in turn. Nothing else of it may suffer, and nothing wrong may be said or done.

#include <algorithm>
#include <functional>
#include <string>

#include "support/system_call_trace.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace {

using support::Lines;
using support::SystemCallTrace;
using support::usbDevice;

namespace debug = contract::debug;

/** A device or node that was made. */
struct Made {
  std::string device;     ///< the directory that goes when it is taken out
  std::string announced;  ///< the one that the event names
  Lines whole;            ///< what the daemon says when it stays
};

/** Makes it at a port of this name. */
using Maker = std::function<Made(const std::string& port)>;

/** What the daemon says of a device in this directory. */
using SaidOf = std::function<Lines(const std::string& directory)>;

/** That it is of this kind, and no more. */
SaidOf just(const char* kind) {
  return [kind](const std::string& directory) { return usbDevice(directory, {kind}); };
}

bool startsWorker(const Lines& said) {
  return std::any_of(said.begin(), said.end(), [](const std::string& message) {
    return message.find("starting usb_rx_") != std::string::npos;
  });
}

/** Whether the first messages are the same, and the rest is this. */
bool isBeginningWith(const Lines& said, const Lines& whole, const Lines& rest) {
  if (said.size() <= rest.size() || said.size() > whole.size() + rest.size()) {
    return false;
  }
  const auto kept = static_cast<std::ptrdiff_t>(said.size() - rest.size());
  return std::equal(said.begin(), said.begin() + kept, whole.begin()) &&
         std::equal(rest.begin(), rest.end(), said.begin() + kept);
}

class Vanishing : public support::Hotplug {
 protected:
  void SetUp() override {
    if (const auto obstacle = SystemCallTrace::obstacle()) {
      GTEST_SKIP() << *obstacle;
    }
    start("all");
  }

  /** Handles one such device after another, each taken out one system call later, until one is too late. */
  void vanishBeforeEachCall(const Maker& make);
  /** The same for USB devices of which the daemon says this when they stay. */
  void vanishAsUsbDevice(const std::function<sim::UsbDevice(const std::string& port)>& device,
                         const SaidOf& whole);

 private:
  /** What is logged of a device that goes before the daemon's call of this number. */
  Lines saidWhenGoneBefore(int call, const Made& made);
  /** Lets the daemon finish with it. */
  void finish(SystemCallTrace& trace, const Made& made);
  void expectPlausible(const Lines& said, const Made& made) const;

  /** Whether the event behind the device's has been handled. */
  bool isDone() {
    return sim::messageOf(unit.daemon().lines().back()) == debug::tag + debug::event("change", next_);
  }

  std::string next_;       ///< what the event behind the device's names
  bool wasInTime_ = true;  ///< the device went before that event was handled
  bool wasAwaited_ = false;
};

void Vanishing::vanishBeforeEachCall(const Maker& make) {
  Lines said;
  Made made;
  std::size_t workers = 0;
  for (int call = 1; wasInTime_; ++call) {
    made = make("1-" + std::to_string(call));
    said = saidWhenGoneBefore(call, made);
    SCOPED_TRACE("gone before call " + std::to_string(call));
    expectPlausible(said, made);
    workers += startsWorker(said) ? 1U : 0U;
    EXPECT_EQ(unit.daemon().children().size(), workers);
    if (call == 1) {
      EXPECT_EQ(said, support::ignoredEvent(support::devpathOf(made.announced)));
    }
  }
  EXPECT_EQ(said, made.whole);
}

void Vanishing::vanishAsUsbDevice(const std::function<sim::UsbDevice(const std::string& port)>& device,
                                  const SaidOf& whole) {
  vanishBeforeEachCall([&](const std::string& port) {
    const std::string directory = unit.sysfs.add(device(port));
    return Made{directory, directory, whole(directory)};
  });
}

Lines Vanishing::saidWhenGoneBefore(int call, const Made& made) {
  next_ = "/behind" + made.announced;
  wasAwaited_ = false;
  Lines said = during([&] {
    SystemCallTrace trace(unit.daemon().pid());
    unit.uevents.add(support::devpathOf(made.announced));
    unit.uevents.send(sim::uevent("change", next_));
    for (int i = 0; i < call; ++i) {
      trace.next();
    }
    wasInTime_ = !isDone();
    unit.sysfs.removeDevice(made.device);
    finish(trace, made);
  });
  said.pop_back();  // the message of the event behind
  return said;
}

void Vanishing::finish(SystemCallTrace& trace, const Made& made) {
  while (!isDone()) {
    if (trace.sleepOf(trace.next())) {
      // It waits for the device to become complete: let it be an interface, which need not be waited for.
      wasAwaited_ = true;
      unit.sysfs.writeAttribute(made.announced, "uevent", "");
      return;
    }
  }
}

void Vanishing::expectPlausible(const Lines& said, const Made& made) const {
  const Lines withoutSubsystem = support::nodeOf("", made.announced);
  const bool wasIgnored = isBeginningWith(said, made.whole, support::tagged({debug::eventIgnored}));
  const bool wasAwaited = wasAwaited_ && said == usbDevice(made.announced, {});
  EXPECT_TRUE(said == made.whole || said == withoutSubsystem || wasIgnored || wasAwaited)
      << testing::PrintToString(said);
}

TEST_F(Vanishing, GenericDeviceIsSurvived) {
  vanishAsUsbDevice([](const std::string& port) { return support::scanner(port); }, support::genericDevice);
}

TEST_F(Vanishing, KeyboardIsSurvived) {
  vanishAsUsbDevice(support::keyboard, just(debug::keyboard));
}

TEST_F(Vanishing, DiskIsSurvived) {
  vanishAsUsbDevice(support::disk, just(debug::storage));
}

TEST_F(Vanishing, HubIsSurvived) {
  vanishAsUsbDevice(support::hub, just(debug::hub));
}

TEST_F(Vanishing, HiddevNodeIsSurvived) {
  vanishBeforeEachCall([this](const std::string& port) {
    const std::string device = unit.sysfs.add(support::keyboard(port));
    const std::string node = unit.sysfs.add(sim::HiddevNode{.usbDevice = device});
    return Made{device, node, usbDevice(node, {debug::hid, debug::startingKeyboard(node, "180:0")})};
  });
}

TEST_F(Vanishing, ScsiGenericNodeIsSurvived) {
  vanishBeforeEachCall([this](const std::string& port) {
    const std::string device = unit.sysfs.add(support::disk(port));
    const std::string node = unit.sysfs.add(sim::ScsiGenericNode{.usbDevice = device});
    return Made{device, node,
                support::nodeOf("scsi_generic", node, {debug::scsiGeneric, debug::startingScsi(node)})};
  });
}

TEST_F(Vanishing, InterfaceIsSurvived) {
  vanishBeforeEachCall([this](const std::string& port) {
    const std::string device = unit.sysfs.add(support::scanner(port));
    const std::string interface = device + "/" + port + ":1.0";
    unit.sysfs.writeAttribute(interface, "uevent", "DEVTYPE=usb_interface\n");
    unit.sysfs.linkTo("/sys/bus/usb", interface + "/subsystem");
    return Made{device, interface, usbDevice(interface, {})};
  });
}

}  // namespace

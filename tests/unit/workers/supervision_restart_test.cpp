// What becomes of a device whose worker has ended: it is handled like one that was just plugged in, or given
// up.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ctrl/settings.h"
#include "hotplug/classification.h"
#include "sim/files.h"
#include "unit/workers/supervision_world.h"
#include "workers/launch.h"

namespace {

using Arguments = std::vector<std::string>;

std::string withoutSys(const std::string& directory) {
  return directory.substr(4);
}

TEST(Restart, IsThatOfADeviceJustPluggedIn) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    const std::string pid = std::to_string(world.ctrl->workers.byPath.at(device));
    world.exitNext(1);
    EXPECT_EQ(world.saidReaping(),
              tagged({"subprocess " + pid + " has terminated", "  exited with status 1",
                      "device " + device + " still present; sleep again",
                      "device " + device + " still present; sleep again",
                      "device " + device + " still present; restarting 1", "add " + withoutSys(device),
                      "subsystem is 'usb'", "  no iso endpoints found, this is supported.",
                      "this is a generic USB device", "starting usb_rx_generic for " + device}));
    const sim::WorkerStart start = world.nextStart();
    EXPECT_EQ(start.arguments, (Arguments{"usb_rx_generic", "eth1", "host", "5000", device}));
    EXPECT_EQ(world.ctrl->workers.byPath.at(device), start.pid);
    EXPECT_EQ(world.ctrl->workers.byPid.size(), 1U);
  });
}

TEST(Restart, RemembersWhenItWas) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    world.exitNext(1);
    world.now += 7.0;
    const double end = world.now;
    world.reap();
    EXPECT_NEAR(world.ctrl->lastGenericStart, end + 0.15, 1e-6);
  });
}

TEST(Restart, IsShownWhileThereIsAControlClient) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.connectClient();
    world.plugWithWorker();
    static_cast<void>(world.ctrl.shown());
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl.shown(), Lines{"Synthetic Device attached\n"});
  });
}

TEST(Restart, IsRefusedWhereThePolicyHasChanged) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    sim::writeFile("/vel/quor.conf", "[usb]\nhid_only = 1\n");
    policyReloadRequested = 1;
    world.exitNext(1);
    EXPECT_EQ(world.saidReaping().back(), "[rx_ctrl] this is an unsupported USB device");
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_EQ(world.ctrl.shown(),
              Lines{"Synthetic Device is not supported because it has non-HID endpoints\n"});
    EXPECT_EQ(world.ctrl->restartCount, 2U);
  });
}

TEST(Restart, ThatFailsIsForgotten) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.exitNext(1);
    world.sysfs.removeAttribute(device, "descriptors");
    EXPECT_EQ(world.saidReaping().back(), "[rx_ctrl] Exception while processing uevent; ignored.");
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_EQ(world.ctrl->restartCount, 2U);
  });
}

TEST(Restart, OfAKeyboardIsThatOfItsNode) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->classes = keyboardClass;
    const std::string keyboard = world.sysfs.add(sim::UsbDevice{});
    const std::string node = world.sysfs.add(sim::HiddevNode{.usbDevice = keyboard});
    launchKeyboardWorker(*world.ctrl, node);
    world.exitNext(1);
    const Lines said = world.saidReaping();
    EXPECT_EQ(Lines(said.begin() + 5, said.end()),
              tagged({"add " + withoutSys(node), "subsystem is 'usb'", "this is HID device",
                      "starting usb_rx_keyboard for " + node + " (180:0)"}));
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "0"}));
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(node));
    EXPECT_EQ(world.ctrl.shown(), (Lines{"Synthetic Device attached\n", "Synthetic Device attached\n"}));
  });
}

TEST(Restart, OfADiskIsThatOfItsNode) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->classes = storageClass;
    const std::string disk = world.sysfs.add(sim::UsbDevice{});
    const std::string node = world.sysfs.add(sim::ScsiGenericNode{.usbDevice = disk});
    launchScsiWorker(*world.ctrl, node);
    world.exitNext(1);
    const Lines said = world.saidReaping();
    EXPECT_EQ(Lines(said.begin() + 5, said.end()),
              tagged({"add " + withoutSys(node), "subsystem is 'scsi_generic'",
                      "this is a generic scsi device", "starting usb_rx_scsi for " + node}));
    EXPECT_EQ(world.nextStart().arguments, (Arguments{"usb_rx_scsi", "eth1", "host", "5002", node}));
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(node));
  });
}

TEST(Restart, IsToldToTheUserBeforeTheDeviceIsHandled) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.ctrl->classes = storageClass;
    const std::string node =
        world.sysfs.add(sim::ScsiGenericNode{.usbDevice = world.sysfs.add(sim::UsbDevice{})});
    launchScsiWorker(*world.ctrl, node);
    static_cast<void>(world.ctrl.shown());
    world.ctrl->restartCount = 8;
    world.ctrl->lastGenericStart = world.now;
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl.shown(),
              (Lines{"<0>un-named device cannot be attached until Transmitter available\n",
                     "ACME     Memory Stick     attached\n"}));
  });
}

TEST(Restart, OfTwoThatEndedAtOnceIsThatOfBoth) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string first = world.plugWithWorker({.name = "1-1"});
    const std::string second = world.plugWithWorker({.name = "1-2"});
    world.exitNext(1);
    world.exitNext(0);
    world.reap();
    EXPECT_EQ(world.ctrl->workers.byPid.size(), 2U);
    for (const std::string& device : {first, second}) {
      EXPECT_TRUE(world.board.waitForWorkerOf(device).isRunning());
    }
  });
}

TEST(Restart, OfOneLeavesTheOthersAlone) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string first = world.plugWithWorker({.name = "1-1"});
    const std::string second = world.plugWithWorker({.name = "1-2"});
    const pid_t undisturbed = world.ctrl->workers.byPath.at(second);
    world.exitWorkerOf(first, 1);
    world.reap();
    EXPECT_EQ(world.ctrl->workers.byPath.at(second), undisturbed);
    EXPECT_EQ(world.ctrl->workers.byPid.size(), 2U);
  });
}

TEST(UnconfigurableDevice, IsShown) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    const std::string pid = std::to_string(world.ctrl->workers.byPath.at(device));
    world.exitNext(5);
    EXPECT_EQ(world.saidReaping(),
              tagged({"subprocess " + pid + " has terminated", "  exited with status 5"}));
    EXPECT_EQ(world.ctrl.shown(),
              Lines{"<0>Synthetic Device cannot be configured; please remove any intermediate hubs and/or "
                    "device\n"});
  });
}

TEST(UnconfigurableDevice, IsNotRestarted) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker();
    world.exitNext(5);
    world.reap();
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_TRUE(world.ctrl->workers.byPath.empty());
    EXPECT_TRUE(world.pauses.empty());
    EXPECT_EQ(world.board.count(), 1U);
  });
}

void expectNoCounterToChange(SupervisionWorld& world, double secondsSinceStart) {
  const double start = world.now - secondsSinceStart;
  world.ctrl->restartCount = 10;
  world.ctrl->attachBlocked = true;
  world.ctrl->lastGenericStart = start;
  world.exitedWorker(5, "/sys/devices/gone");
  world.reap();
  EXPECT_EQ(world.ctrl->restartCount, 10U);
  EXPECT_TRUE(world.ctrl->attachBlocked);
  EXPECT_EQ(world.ctrl->lastGenericStart, start);
}

TEST(UnconfigurableDevice, ChangesNoCounter) {
  inSupervisionWorld([](SupervisionWorld& world) {
    expectNoCounterToChange(world, 0.0);
    expectNoCounterToChange(world, 100.0);
  });
}

TEST(UnconfigurableDevice, WithoutANameIsShownToo) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string expected =
        "<0>un-named device cannot be configured; please remove any intermediate hubs and/or device\n";
    world.plugWithWorker({.product = std::nullopt});
    world.exitNext(5);
    world.exitedWorker(5, "/sys/devices/gone");
    world.reap();
    EXPECT_EQ(world.ctrl.shown(), (Lines{expected, expected}));
  });
}

TEST(UnconfigurableDevice, IsHandledAnewWhenItIsPluggedInAnew) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.exitNext(5);
    world.reap();
    handleUEvent(*world.ctrl, addEventOf(device), "high");
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(device));
  });
}

TEST(ManyRestarts, OfADeviceWithoutANameAreToldToTheUser) {
  inSupervisionWorld([](SupervisionWorld& world) {
    world.plugWithWorker({.product = std::nullopt});
    world.ctrl->restartCount = 8;
    world.exitNext(1);
    world.reap();
    EXPECT_EQ(world.ctrl.shown(),
              Lines{"<0>un-named device cannot be attached until Transmitter available\n"});
  });
}

TEST(ManyRestarts, AreNotToldWithoutADisplay) {
  inSupervisionWorld([](SupervisionWorld& world) {
    const std::string device = world.plugWithWorker();
    world.ctrl->osd.isOpen = false;
    world.ctrl->restartCount = 8;
    world.exitNext(1);
    world.reap();
    world.exitedWorker(5, "/sys/devices/gone");
    world.reap();
    world.ctrl->osd.isOpen = true;
    EXPECT_EQ(world.ctrl.shown(), Lines{});
    EXPECT_TRUE(world.ctrl->attachBlocked);
    EXPECT_TRUE(world.ctrl->workers.byPath.contains(device));
  });
}

}  // namespace

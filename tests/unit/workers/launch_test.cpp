#include "workers/launch.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "ctrl/clock.h"
#include "ctrl/configuration.h"
#include "sim/files.h"
#include "support/thrown.h"
#include "unit/workers/launch_world.h"

namespace {

using Arguments = std::vector<std::string>;
using Lines = std::vector<std::string>;

const Lines nothing;

TEST(ScsiLaunch, StartsTheWorkerOfADisk) {
  inLaunchWorld([](LaunchWorld& world) {
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_scsi", "eth1", "host", "5002", world.device.path()}));
  });
}

TEST(ScsiLaunch, ShowsVendorAndModel) {
  inLaunchWorld([](LaunchWorld& world) {
    world.device.write("device/vendor", "QEMU    \n");
    world.device.write("device/model", "Disk\n");
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), Lines{"QEMU     Disk attached\n"});
  });
}

TEST(ScsiLaunch, ShowsABlankForAMissingVendorAndADefaultForAMissingModel) {
  inLaunchWorld([](LaunchWorld& world) {
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), Lines{" un-named device attached\n"});
    world.device.write("device/model", "Disk\n");
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), Lines{" Disk attached\n"});
  });
}

TEST(KeyboardLaunch, StartsTheWorkerOfAKeyboardsNode) {
  inLaunchWorld([](LaunchWorld& world) {
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "96"}));
  });
}

TEST(KeyboardLaunch, ShowsTheNameOfTheDeviceThatTheNodeBelongsTo) {
  inLaunchWorld([](LaunchWorld& world) {
    world.device.write("product", "Keyboard\n");
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.ctrl.shown(), Lines{"Keyboard attached\n"});
  });
}

TEST(KeyboardLaunch, ShowsADeviceWithoutAName) {
  inLaunchWorld([](LaunchWorld& world) {
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.ctrl.shown(), Lines{"un-named device attached\n"});
  });
}

TEST(KeyboardLaunch, OfANodeWithoutANumberStartsNothing) {
  inLaunchWorld([](LaunchWorld& world) {
    EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                  [&world] { launchKeyboardWorker(*world.ctrl, world.device.path()); }),
              "open(\"" + world.device.path() + "/dev\")");
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_TRUE(world.ctrl->workers.byPid.empty());
    EXPECT_EQ(world.ctrl.shown(), nothing);
  });
}

TEST(GenericLaunch, StartsTheWorkerOfADevice) {
  inLaunchWorld([](LaunchWorld& world) {
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_generic", "eth1", "host", "5000", world.device.path()}));
  });
}

TEST(GenericLaunch, TellsTheWorkerTheKeysAndTheControlSocket) {
  inLaunchWorld([](LaunchWorld& world) {
    world.ctrl->inkey = "in";
    world.ctrl->outkey = "out";
    world.ctrl->socketPath = "/tmp/s";
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_generic", "--keys", "in", "out", "--sock=/tmp/s", "eth1", "host", "5000",
                         world.device.path()}));
  });
}

TEST(GenericLaunch, StartsTheConfiguredProgram) {
  inLaunchWorld([](LaunchWorld& world) {
    sim::installWorkerStandin("/sim/opt/gen");
    sim::writeFile("/vel/quor.conf", "[apps]\nquor_usb_rx_generic = /sim/opt/gen\n");
    requestConfigReload();
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments.front(), "/sim/opt/gen");
  });
}

TEST(GenericLaunch, RemembersWhenItWas) {
  inLaunchWorld([](LaunchWorld& world) {
    const double before = timestampNow();
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_GE(world.ctrl->lastGenericStart, before);
    EXPECT_LE(world.ctrl->lastGenericStart, timestampNow());
  });
}

TEST(GenericLaunch, IsNotShownWithoutAControlClient) {
  inLaunchWorld([](LaunchWorld& world) {
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), nothing);
  });
}

TEST(GenericLaunch, IsShownWhileThereIsAControlClient) {
  inLaunchWorld([](LaunchWorld& world) {
    world.connectClient();
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), Lines{"un-named device attached\n"});
    world.device.write("product", "Stick\n");
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.ctrl.shown(), Lines{"Stick attached\n"});
  });
}

TEST(GenericLaunch, WhileAttachingIsBlockedIsToldTheTimeoutAndNeitherShownNorRemembered) {
  inLaunchWorld([](LaunchWorld& world) {
    world.connectClient();
    world.ctrl->attachBlocked = true;
    world.ctrl->connectFailTimeoutText = "7s";
    world.ctrl->lastGenericStart = 1000.0;
    launchGenericWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_generic", "--timeout", "7s", "eth1", "host", "5000", world.device.path()}));
    EXPECT_EQ(world.ctrl.shown(), nothing);
    EXPECT_EQ(world.ctrl->lastGenericStart, 1000.0);
  });
}

TEST(Launch, OtherWorkersChangeNothingOfTheGenericOnes) {
  inLaunchWorld([](LaunchWorld& world) {
    world.ctrl->attachBlocked = true;
    world.ctrl->inkey = "in";
    world.ctrl->outkey = "out";
    launchScsiWorker(*world.ctrl, world.device.path());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_scsi", "eth1", "host", "5002", world.device.path()}));
    launchKeyboardWorker(*world.ctrl, world.plugHiddev());
    EXPECT_EQ(world.nextStart().arguments,
              (Arguments{"usb_rx_keyboard", "eth1", "host", "5001", "180", "96"}));
    EXPECT_EQ(world.ctrl->lastGenericStart, 0.0);
    EXPECT_EQ(world.ctrl.shown().size(), 2U);
  });
}

}  // namespace

// What the start script of a unit with BusyBox does about workers that outlive their daemon.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "examples/scripted_unit.h"
#include "sim/files.h"

namespace {

class StartScriptWorkers : public examples::ScriptedUnit {
 protected:
  void expectThatTheNextWorkerIsAlone(sim::Worker& former) {
    const sim::Worker& next = unit.workers.waitForWorkerOf(former.device());
    EXPECT_FALSE(former.isRunning());
    EXPECT_EQ(next.start.arguments, former.start.arguments);
    EXPECT_EQ(countProcesses(former.program()), 1);
  }
};

/** The daemon alone, on a unit without the script. */
class StartScriptWorkersWithoutIt : public testing::Test {
 protected:
  sim::Unit unit;
};

TEST_F(StartScriptWorkersWithoutIt, GetASecondOneBesideThem) {
  unit.startDaemon({"--debug=ctrl", "--class=scsi", "transmitter", "5000", "high"});
  unit.waitUntilServing();
  const std::string node = unit.plug(sim::ScsiGenericNode{
      .usbDevice = unit.plug(sim::UsbDevice{.name = "1-3", .descriptors = sim::diskDescriptors()})});
  sim::Worker& former = unit.workers.waitForWorkerOf(node);

  unit.daemon().signal(SIGKILL);
  unit.daemon().waitForExit();
  unit.startDaemon({"--debug=ctrl", "--class=scsi", "transmitter", "5000", "high"});

  sim::Worker& next = unit.workers.waitForWorkerOf(node);
  EXPECT_TRUE(former.isRunning());
  EXPECT_TRUE(next.isRunning());
}

TEST_F(StartScriptWorkers, OfKeyboardsAndDisksLiveOnWhenItStopsTheDaemon) {
  start();
  sim::Worker& keyboard = attachKeyboard();
  sim::Worker& disk = attachDisk();
  sim::Worker& mouse = attachMouse();

  const std::string printed = call("stop");

  mouse.waitForEnd();
  EXPECT_TRUE(keyboard.isRunning());
  EXPECT_TRUE(disk.isRunning());
  const std::string lines = "usb_rx_ctrl does not run\nworkers that live on until the next start: ";
  EXPECT_TRUE(printed.starts_with(lines))
      << printed;  // the mouse's may be among them, if it has not ended yet
  std::string numbers = printed.substr(printed.rfind(':') + 1);
  numbers.back() = ' ';  // for the end of the line
  for (const sim::Worker* worker : {&keyboard, &disk}) {
    EXPECT_NE(numbers.find(" " + std::to_string(worker->start.pid) + " "), std::string::npos) << printed;
  }
}

TEST_F(StartScriptWorkers, ThatLiveOnAreEndedBeforeTheNextStart) {
  start();
  sim::Worker& keyboard = attachKeyboard();
  sim::Worker& disk = attachDisk();
  call("stop");

  start();

  expectThatTheNextWorkerIsAlone(keyboard);
  expectThatTheNextWorkerIsAlone(disk);
}

TEST_F(StartScriptWorkers, OfAKilledDaemonAreEndedBeforeTheNextStart) {
  const pid_t daemon = start();
  sim::Worker& keyboard = attachKeyboard();
  sim::Worker& disk = attachDisk();

  killAndAwaitNext(daemon);

  expectThatTheNextWorkerIsAlone(keyboard);
  expectThatTheNextWorkerIsAlone(disk);
}

TEST_F(StartScriptWorkers, ThatDoNotEndAreKilled) {
  const pid_t daemon = start();
  sim::Worker& disk = attachDisk();
  sim::Worker& mouse = attachMouse();
  sendSignal("STOP", disk.start.pid);
  sendSignal("STOP", mouse.start.pid);

  killAndAwaitNext(daemon);

  expectThatTheNextWorkerIsAlone(disk);
  expectThatTheNextWorkerIsAlone(mouse);
}

TEST_F(StartScriptWorkers, ThatDoNotEndDelayAStartAndDoNotPreventIt) {
  start();
  sim::Worker& disk = attachDisk();
  call("stop");
  sendSignal("STOP", disk.start.pid);

  start();

  expectThatTheNextWorkerIsAlone(disk);
}

TEST_F(StartScriptWorkers, OfTheConfiguredProgramAreKnown) {
  sim::Unit::writeConfig("[apps]\nquor_usb_rx_generic = /sim/bin/own_worker\n");
  unit.installWorker("/sim/bin/own_worker");
  sim::writeFile("/sim/bin/quor_config", "#!/bin/sh\nexec " QUOR_CONFIG_PROGRAM " \"$@\"\n");
  std::filesystem::permissions("/sim/bin/quor_config", std::filesystem::perms::owner_all);
  const pid_t daemon = start();
  sim::Worker& mouse = attachMouse();
  sendSignal("STOP", mouse.start.pid);

  killAndAwaitNext(daemon);

  EXPECT_EQ(mouse.program(), "/sim/bin/own_worker");
  expectThatTheNextWorkerIsAlone(mouse);
}

TEST_F(StartScriptWorkers, OfALivingParentAreNotEnded) {
  const std::string call = "sh " + std::string(examples::startScriptFile) + " start";
  const sim::ScriptRun run = script->shell("usb_rx_scsi eth1 transmitter 5002 /sys/devices/disk & " + call +
                                           "; kill -0 $! && echo lives");
  EXPECT_TRUE(run.output.ends_with("lives\n")) << run.output;
  EXPECT_TRUE(unit.workers.waitForWorkerOf("/sys/devices/disk").isRunning());
}

TEST_F(StartScriptWorkers, AreNotWhateverHasTheirName) {
  // The parent of each is init: the shell that has started it ends at once.
  script->shell("usb_rx_scsi eth1 transmitter 5002 /tmp/disk & usb_rx_scsi --help & usb_rx_keyboard 180 0 &");
  start();
  for (const char* last : {"/tmp/disk", "--help", "0"}) {
    EXPECT_TRUE(unit.workers.waitForWorkerOf(last).isRunning()) << last;
  }
}

}  // namespace

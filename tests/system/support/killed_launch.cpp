#include "system/support/killed_launch.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "sim/process.h"
#include "sim/process_table.h"
#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/hotplug.h"

namespace support {
namespace {

sim::ProcessEnd waitForEnd(pid_t process) {
  int status = 0;
  eventually("the end of process " + std::to_string(process),
             [&] { return ::waitpid(process, &status, WNOHANG) == process; });
  return sim::ProcessEnd::of(status);
}

}  // namespace

LaunchedKind genericKind() {
  return {{"Generic"}, [](sim::Sysfs& sysfs) { return sysfs.add(scanner()); }, scanner().directory(), true};
}

LaunchedKind keyboardKind() {
  return {{"Keyboard"},
          [](sim::Sysfs& sysfs) { return sysfs.add(sim::HiddevNode{.usbDevice = sysfs.add(keyboard())}); },
          keyboard().directory(),
          false};
}

LaunchedKind scsiKind() {
  return {{"Scsi"},
          [](sim::Sysfs& sysfs) { return sysfs.add(sim::ScsiGenericNode{.usbDevice = sysfs.add(disk())}); },
          disk().directory(),
          false};
}

void KilledLaunch::startDaemon() {
  start(commandLine({"--debug=ctrl", "--class=all"}));
}

KilledLaunch::Clock::time_point KilledLaunch::beginLaunch(const LaunchedKind& kind) {
  const std::string devpath = devpathOf(kind.add(unit.sysfs));
  const Clock::time_point now = Clock::now();
  unit.uevents.add(devpath);
  return now;
}

KilledLaunch::Clock::duration KilledLaunch::lengthOfLaunch(const LaunchedKind& kind) {
  startDaemon();
  const Clock::time_point begin = beginLaunch(kind);
  sim::Worker& worker = unit.workers.waitForWorker();
  const Clock::duration length = Clock::now() - begin;
  waitForKilledDaemon(kind);
  if (!kind.endsWithTheDaemon) {
    worker.exitWith(0);
  }
  waitForEnd(worker.start.pid);
  unit.workers.forget(worker);
  return length;
}

void KilledLaunch::waitForKilledDaemon(const LaunchedKind& kind) {
  unit.daemon().signal(SIGKILL);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGKILL));
  unit.sysfs.removeDevice(kind.usbDevice);
}

KilledLaunch::Outcome KilledLaunch::killDaemon(const LaunchedKind& kind) {
  waitForKilledDaemon(kind);
  // What the daemon leaves behind comes to this process.
  const std::vector<pid_t> left = sim::childrenOf(::getpid());
  if (left.empty()) {
    return Outcome::noProcess;
  }
  const Outcome outcome =
      kind.endsWithTheDaemon ? outcomeOfGeneric(left.front()) : outcomeOfLasting(left.front());
  EXPECT_EQ(sim::childrenOf(::getpid()), std::vector<pid_t>());
  return outcome;
}

KilledLaunch::Outcome KilledLaunch::outcomeOfGeneric(pid_t process) {
  const sim::ProcessEnd end = waitForEnd(process);
  if (end == sim::ProcessEnd::exited(0)) {
    return Outcome::endedByItself;
  }
  EXPECT_EQ(end, sim::ProcessEnd::killedBy(SIGTERM));
  return Outcome::endedBySignal;
}

KilledLaunch::Outcome KilledLaunch::outcomeOfLasting(pid_t process) {
  sim::Worker& worker = unit.workers.waitForWorker();
  EXPECT_EQ(worker.start.pid, process);
  EXPECT_TRUE(worker.isRunning());
  worker.exitWith(0);
  EXPECT_EQ(waitForEnd(process), sim::ProcessEnd::exited(0));
  unit.workers.forget(worker);
  return Outcome::served;
}

}  // namespace support

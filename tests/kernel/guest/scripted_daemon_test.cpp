// The daemon under the start script, run by this machine's BusyBox: its ends, and workers that outlive it. On this
// kernel only those of disks do; keyboards get none.

#include <sys/prctl.h>

#include <csignal>

#include "kernel/guest/receiver_unit.h"
#include "sim/start_script.h"

namespace guest {
namespace {

class ScriptedDaemon : public ReceiverUnit {
 protected:
  ScriptedDaemon() {
    // As on every unit, processes that have lost their parent go to the first process, not to this one.
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    sim::StartScript::setArguments("--class=scsi");
  }
  void TearDown() override { script.call("stop"); }

  pid_t startByScript() {
    EXPECT_EQ(script.call("start").end, sim::ProcessEnd::exited(0));
    sim::StartScript::waitUntilServing();
    return sim::StartScript::waitForDaemonAfter(0);
  }
  std::string plugDisk() {
    desk.plug(disk(), highSpeedSocket(1));
    return desk.events.waitFor(storageNodeAdded).directory;
  }
  void expectThatTheNextWorkerIsAlone(sim::Worker& former) {
    storageWorkerOf(former.device());
    EXPECT_FALSE(former.isRunning());
  }

  sim::StartScript script{{"/bin/sh"}, "/etc/init.d/usb_rx_ctrl"};
};

TEST_F(ScriptedDaemon, StartsADaemonThatServesADevice) {
  startByScript();
  genericWorkerOf(desk.plug(mouse(), fullSpeedSocket(1)));
  EXPECT_EQ(script.call("status").end, sim::ProcessEnd::exited(0));
}

TEST_F(ScriptedDaemon, StartsAKilledDaemonAnewAndEndsItsStorageWorkerBefore) {
  const pid_t killed = startByScript();
  sim::Worker& former = storageWorkerOf(plugDisk());
  ::kill(killed, SIGKILL);
  EXPECT_NE(sim::StartScript::waitForDaemonAfter(killed), killed);
  expectThatTheNextWorkerIsAlone(former);
}

TEST_F(ScriptedDaemon, LetsTheStorageWorkerLiveOnAtAStopAndEndsItBeforeTheNextStart) {
  startByScript();
  sim::Worker& former = storageWorkerOf(plugDisk());

  const sim::ScriptRun stop = script.call("stop");
  EXPECT_TRUE(stop.output.ends_with("until the next start: " + std::to_string(former.start.pid) + "\n"))
      << stop.output;
  EXPECT_EQ(script.call("status").end, sim::ProcessEnd::exited(3));
  EXPECT_TRUE(former.isRunning());

  startByScript();
  expectThatTheNextWorkerIsAlone(former);
}

TEST_F(ScriptedDaemon, RestartsTheDaemon) {
  const pid_t first = startByScript();
  EXPECT_EQ(script.call("restart").end, sim::ProcessEnd::exited(0));
  EXPECT_NE(sim::StartScript::waitForDaemonAfter(0), first);
  sim::StartScript::waitUntilServing();
}

}  // namespace
}  // namespace guest

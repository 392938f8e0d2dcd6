// The process that a worker begins as.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/files.h"
#include "support/eventually.h"
#include "system/support/control_messages.h"
#include "system/support/process_state.h"
#include "system/support/worker_launch.h"

namespace {

class WorkerEnvironment : public support::WorkerLaunch {
 protected:
  /** Starts one worker of each kind and lets `check` look at each. */
  void expectOfEachWorker(const std::function<void(const sim::WorkerStart& worker)>& check) {
    for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
      SCOPED_TRACE(worker.arguments.front());
      check(worker);
    }
  }
};

std::vector<std::string> environmentOf(pid_t process) {
  std::istringstream texts(sim::readFile("/proc/" + std::to_string(process) + "/environ"));
  std::vector<std::string> environment;
  for (std::string text; std::getline(texts, text, '\0');) {
    environment.push_back(text);
  }
  return environment;
}

void hasStandardDescriptorsOnly(const sim::WorkerStart& worker) {
  std::vector<int> numbers;
  std::transform(worker.descriptors.begin(), worker.descriptors.end(), std::back_inserter(numbers),
                 [](const sim::OpenDescriptor& descriptor) { return descriptor.number; });
  EXPECT_EQ(numbers, (std::vector<int>{0, 1, 2}));
}

void hasDefaultDispositions(const sim::WorkerStart& worker) {
  EXPECT_EQ(worker.ignoredSignals, std::set<int>());
  EXPECT_EQ(worker.caughtSignals, std::set<int>());
  EXPECT_EQ(worker.blockedSignals, std::set<int>());
}

std::multiset<std::string> inNoOrder(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

TEST_F(WorkerEnvironment, IsTheDaemonsOwn) {
  sim::ProcessOptions world;
  world.environment = {"MODPATH=/lib/somewhere", "EMPTY=", "TEXT=a b=c\nd"};
  startWith({}, world);
  const std::multiset<std::string> environment = inNoOrder(environmentOf(unit.daemon().pid()));
  EXPECT_TRUE(environment.contains("TEXT=a b=c\nd"));
  expectOfEachWorker(
      [&](const sim::WorkerStart& worker) { EXPECT_EQ(inNoOrder(worker.environment), environment); });
}

TEST_F(WorkerEnvironment, HasTheDaemonsWorkingDirectory) {
  sim::ProcessOptions world;
  world.workingDirectory = "/var/run";
  startWith({}, world);
  const std::string directory = std::filesystem::canonical("/var/run");
  expectOfEachWorker([&](const sim::WorkerStart& worker) { EXPECT_EQ(worker.workingDirectory, directory); });
}

TEST_F(WorkerEnvironment, HasTheDaemonAsParent) {
  startWith({});
  expectOfEachWorker([&](const sim::WorkerStart& worker) { EXPECT_EQ(worker.parent, unit.daemon().pid()); });
}

TEST_F(WorkerEnvironment, FindsEveryWorkerOnThePath) {
  for (const char* name : {"usb_rx_generic", "usb_rx_keyboard", "usb_rx_scsi"}) {
    unit.installWorker(std::string("/opt/workers/") + name);
  }
  sim::ProcessOptions world;
  world.environment = {"PATH=/nowhere:/opt/workers"};
  startWith({}, world);
  std::vector<std::string> programs;
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    programs.push_back(worker.arguments.front());
  }
  EXPECT_EQ(programs, (std::vector<std::string>{"usb_rx_generic", "usb_rx_keyboard", "usb_rx_scsi"}));
}

TEST_F(WorkerEnvironment, HasNoDescriptorsButTheStandardOnes) {
  startWith({"--debug=ctrl"});
  expectOfEachWorker(hasStandardDescriptorsOnly);
}

TEST_F(WorkerEnvironment, HasTheDaemonsStandardDescriptors) {
  startWith({});
  const pid_t daemon = unit.daemon().pid();
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    for (const sim::OpenDescriptor& descriptor : worker.descriptors) {
      EXPECT_EQ(descriptor.target, support::targetOf(daemon, descriptor.number)) << worker.arguments.front();
    }
  }
}

TEST_F(WorkerEnvironment, HasNoDescriptorOfWaitingClients) {
  startFor({"transmitter", "0", "high"}, {"--debug=ctrl"});
  unit.waitUntilServing();
  const std::size_t before = unit.daemon().openDescriptors().size();
  sim::LinkManager first = unit.connect();
  first.send("?");
  sim::LinkManager second = unit.connect();
  second.send("?");
  support::eventually("two waiting clients",
                      [&] { return unit.daemon().openDescriptors().size() == before + 2; });
  expectOfEachWorker(hasStandardDescriptorsOnly);
}

TEST_F(WorkerEnvironment, HasNoDescriptorOfControlConnectionsNewAndOld) {
  startWith({"--debug=ctrl"});
  const sim::LinkManager first = support::deliver(unit, "transmitter 5000 high eth1");
  const sim::LinkManager second = support::deliver(unit, "transmitter 5000 high eth1");
  expectOfEachWorker(hasStandardDescriptorsOnly);
}

TEST_F(WorkerEnvironment, HasNoDescriptorOfSyslog) {
  startWith({"--debug=ctrl", "--syslog"});
  unit.syslog.waitForText(contract::debug::hotplugging);
  expectOfEachWorker(hasStandardDescriptorsOnly);
}

TEST_F(WorkerEnvironment, HasNoDescriptorsButTheStandardOnesWhereTheDaemonHadNone) {
  sim::ProcessOptions world;
  world.standardInput = sim::ProcessOptions::Input::closed;
  world.standardOutput = sim::ProcessOptions::Output::closed;
  world.standardError = sim::ProcessOptions::Output::closed;
  startWith({}, world);
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.descriptors,
              (std::vector<sim::OpenDescriptor>{{0, "/dev/null"}, {1, "/dev/null"}, {2, "/dev/null"}}))
        << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasDefaultSignalDispositions) {
  startWith({});
  expectOfEachWorker(hasDefaultDispositions);
}

TEST_F(WorkerEnvironment, HasDefaultSignalDispositionsThoughTheDaemonWasStartedWithOthers) {
  sim::ProcessOptions world;
  world.ignoredSignals = {SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGUSR1, SIGRTMIN, SIGRTMAX};
  world.blockedSignals = {SIGHUP, SIGTERM, SIGCHLD, SIGUSR2, SIGRTMIN + 1, SIGRTMAX};
  startWith({}, world);
  expectOfEachWorker(hasDefaultDispositions);
}

TEST_F(WorkerEnvironment, HasSigtermAtTheDaemonsDeathForGenericWorkersOnly) {
  startWith({});
  EXPECT_EQ(genericWorker().start.parentDeathSignal, SIGTERM);
  EXPECT_EQ(keyboardWorker().start.parentDeathSignal, 0);
  EXPECT_EQ(scsiWorker().start.parentDeathSignal, 0);
}

TEST_F(WorkerEnvironment, EndsWithTheDaemonForGenericWorkersOnly) {
  startWith({});
  sim::Worker& generic = genericWorker();
  sim::Worker& keyboard = keyboardWorker();
  sim::Worker& scsi = scsiWorker();
  unit.daemon().signal(SIGKILL);
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::killedBy(SIGKILL));
  generic.waitForEnd();
  EXPECT_TRUE(keyboard.isRunning());
  EXPECT_TRUE(scsi.isRunning());
}

}  // namespace

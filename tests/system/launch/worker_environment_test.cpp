#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "sim/files.h"
#include "system/support/control_messages.h"
#include "system/support/eventually.h"
#include "system/support/worker_launch.h"

namespace {

using WorkerEnvironment = WorkerLaunch;

std::vector<std::string> environmentOf(pid_t process) {
  std::istringstream texts(sim::readFile("/proc/" + std::to_string(process) + "/environ"));
  std::vector<std::string> environment;
  for (std::string text; std::getline(texts, text, '\0');) {
    environment.push_back(text);
  }
  return environment;
}

std::vector<int> numbersOf(const std::vector<sim::OpenDescriptor>& descriptors) {
  std::vector<int> numbers;
  numbers.reserve(descriptors.size());
  for (const sim::OpenDescriptor& descriptor : descriptors) {
    numbers.push_back(descriptor.number);
  }
  return numbers;
}

const std::vector<int> standardOnes = {0, 1, 2};

std::multiset<std::string> inNoOrder(const std::vector<std::string>& texts) {
  return {texts.begin(), texts.end()};
}

std::string targetOf(pid_t process, int descriptor) {
  return std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/fd/" +
                                       std::to_string(descriptor));
}

}  // namespace

TEST_F(WorkerEnvironment, IsTheDaemonsOwn) {
  sim::ProcessOptions world;
  world.environment = {"MODPATH=/lib/somewhere", "EMPTY=", "TEXT=a b=c\nd"};
  startWith({}, world);
  const std::multiset<std::string> environment = inNoOrder(environmentOf(unit.daemon().pid()));
  EXPECT_TRUE(environment.contains("TEXT=a b=c\nd"));
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(inNoOrder(worker.environment), environment) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasTheDaemonsWorkingDirectory) {
  sim::ProcessOptions world;
  world.workingDirectory = "/var/run";
  startWith({}, world);
  const std::string directory = std::filesystem::canonical("/var/run");
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.workingDirectory, directory) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasTheDaemonAsParent) {
  startWith({});
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.parent, unit.daemon().pid()) << worker.arguments.front();
  }
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
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(numbersOf(worker.descriptors), standardOnes) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasTheDaemonsStandardDescriptors) {
  startWith({});
  const pid_t daemon = unit.daemon().pid();
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    for (const sim::OpenDescriptor& descriptor : worker.descriptors) {
      EXPECT_EQ(descriptor.target, targetOf(daemon, descriptor.number)) << worker.arguments.front();
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
  eventually("two waiting clients", [&] { return unit.daemon().openDescriptors().size() == before + 2; });
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(numbersOf(worker.descriptors), standardOnes) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasNoDescriptorOfControlConnectionsNewAndOld) {
  startWith({"--debug=ctrl"});
  const sim::LinkManager first = deliver(unit, "transmitter 5000 high eth1");
  const sim::LinkManager second = deliver(unit, "transmitter 5000 high eth1");
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(numbersOf(worker.descriptors), standardOnes) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasNoDescriptorOfSyslog) {
  startWith({"--debug=ctrl", "--syslog"});
  unit.syslog.waitForText("hotplugging new devices");
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(numbersOf(worker.descriptors), standardOnes) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasNoDescriptorsButTheStandardOnesWhereTheDaemonHadNone) {
  sim::ProcessOptions world;
  world.standardInput = sim::ProcessOptions::Input::Closed;
  world.standardOutput = sim::ProcessOptions::Output::Closed;
  world.standardError = sim::ProcessOptions::Output::Closed;
  startWith({}, world);
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.descriptors,
              (std::vector<sim::OpenDescriptor>{{0, "/dev/null"}, {1, "/dev/null"}, {2, "/dev/null"}}))
        << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasDefaultSignalDispositions) {
  startWith({});
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.ignoredSignals, std::set<int>()) << worker.arguments.front();
    EXPECT_EQ(worker.caughtSignals, std::set<int>()) << worker.arguments.front();
    EXPECT_EQ(worker.blockedSignals, std::set<int>()) << worker.arguments.front();
  }
}

TEST_F(WorkerEnvironment, HasDefaultSignalDispositionsThoughTheDaemonWasStartedWithOthers) {
  sim::ProcessOptions world;
  world.ignoredSignals = {SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGUSR1, SIGRTMIN, SIGRTMAX};
  world.blockedSignals = {SIGHUP, SIGTERM, SIGCHLD, SIGUSR2, SIGRTMIN + 1, SIGRTMAX};
  startWith({}, world);
  for (const sim::WorkerStart& worker : startsOfAllWorkers()) {
    EXPECT_EQ(worker.ignoredSignals, std::set<int>()) << worker.arguments.front();
    EXPECT_EQ(worker.caughtSignals, std::set<int>()) << worker.arguments.front();
    EXPECT_EQ(worker.blockedSignals, std::set<int>()) << worker.arguments.front();
  }
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

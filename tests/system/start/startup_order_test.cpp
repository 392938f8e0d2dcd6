// In which order the daemon makes what it needs, and how it looks to whoever started it.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/unit.h"
#include "system/support/attached_devices.h"
#include "system/support/eventually.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

namespace fs = std::filesystem;

// What the daemon has open before it makes its first socket: the standard descriptors and a pipe.
constexpr rlim_t descriptorsBeforeSockets = 5;

const std::vector<std::string> plain = {"transmitter", "5000", "high"};

sim::ProcessOptions withDescriptors(rlim_t count) {
  sim::ProcessOptions options;
  options.limits = {{RLIMIT_NOFILE, count}};
  return options;
}

void mountReadOnly(const std::string& directory) {
  fs::create_directory(directory);
  ASSERT_EQ(::mount("none", directory.c_str(), "tmpfs", MS_RDONLY, nullptr), 0);
}

TEST(StartUp, EndsWhenTheSocketsDirectoryCannotBeWritten) {
  sim::Unit unit;
  unit.display.removeFifo();
  mountReadOnly("/vel/ro");

  EXPECT_EQ(lastWordsOf(unit.startDaemon({"--sock=/vel/ro/control", "transmitter", "5000", "high"})),
            "Read-only file system while bind()");
}

TEST(StartUp, MakesTheControlSocketFirst) {
  sim::Unit unit;
  unit.display.removeFifo();

  EXPECT_EQ(lastWordsOf(unit.startDaemon(plain, withDescriptors(descriptorsBeforeSockets))),
            "Too many open files while socket()");
  EXPECT_FALSE(fs::exists(sim::LinkManager::usualPath));
}

TEST(StartUp, BindsTheControlSocketBeforeTheUeventSocketExists) {
  // There is room for one socket: were it the uevents', the control socket would fail otherwise.
  sim::Unit unit;
  unit.display.removeFifo();
  const std::vector<std::string> arguments = {"--sock=/missing/socket", "transmitter", "5000", "high"};

  EXPECT_EQ(lastWordsOf(unit.startDaemon(arguments, withDescriptors(descriptorsBeforeSockets + 1))),
            "No such file or directory while bind()");
}

TEST(StartUp, ListensBeforeTheUeventSocketExists) {
  sim::Unit unit;
  unit.display.removeFifo();

  EXPECT_EQ(lastWordsOf(unit.startDaemon(plain, withDescriptors(descriptorsBeforeSockets + 1))),
            "Too many open files while socket(PF_NETLINK)");
  EXPECT_TRUE(fs::exists(sim::LinkManager::usualPath));
}

TEST(StartUp, LetsOneSocketHearTheUevents) {
  sim::Unit unit;
  EXPECT_TRUE(sim::UeventSender::listeners().empty());

  unit.startDaemon();
  unit.waitUntilServing();

  EXPECT_EQ(sim::UeventSender::listeners().size(), 1U);
}

TEST(StartUp, TakesThePlaceOfTheSocketOfAnEarlierDaemon) {
  sim::Unit unit;
  sim::Daemon& first = unit.startDaemon();
  unit.waitUntilServing();
  first.signal(SIGKILL);
  first.waitForExit();
  ASSERT_TRUE(fs::is_socket(sim::LinkManager::usualPath));

  unit.startDaemon();
  unit.waitUntilServing();
  sim::LinkManager client = unit.connect();
  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
}

TEST(StartUp, HandlesUeventsThatCameBeforeTheMainLoop) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  eventually("a socket for uevents", [] { return !sim::UeventSender::listeners().empty(); });

  unit.uevents.remove("/devices/early");

  EXPECT_EQ(daemon.waitForLine("remove"), "[rx_ctrl] remove /devices/early");
}

TEST(StartUp, StaysInTheForegroundAndInItsDirectory) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.workingDirectory = "/vel";
  sim::Daemon& daemon = unit.startDaemon({"--debug=ctrl", "transmitter", "5000", "high"}, options);
  unit.waitUntilServing();
  unit.plug(scanner());
  sim::Worker& worker = unit.workers.waitForWorker();

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_EQ(daemon.children(), std::vector<pid_t>{worker.start.pid});
  EXPECT_EQ(stateOf(daemon.pid()).workingDirectory, "/vel");
  EXPECT_EQ(worker.start.workingDirectory, "/vel");
}

TEST(StartUp, TakesASocketPathFromItsDirectory) {
  sim::Unit unit;
  sim::ProcessOptions options;
  options.workingDirectory = "/vel";
  unit.startDaemon({"--debug=ctrl", "--sock=control", "transmitter", "5000", "high"}, options);
  unit.waitUntilServing();
  sim::LinkManager client("/vel/control");

  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
}

TEST(StartUp, StartsNoWorkerAndShowsNothingWithoutADevice) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();

  EXPECT_TRUE(daemon.children().empty());
  EXPECT_TRUE(unit.display.takeWrites().empty());
}

TEST(StartUp, TellsItsStepsInOrder) {
  sim::Unit unit;
  sim::Daemon& daemon = unit.startDaemon();
  unit.waitUntilServing();

  EXPECT_EQ(daemon.messages(), (std::vector<std::string>{"[rx_ctrl] setup signal hansler",
                                                         "[rx_ctrl] coldplugging existing devices",
                                                         "[rx_ctrl] hotplugging new devices"}));
}

}  // namespace

// In which order the daemon makes what it needs, and how a started daemon looks from outside.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "sim/contract.h"
#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/eventually.h"
#include "system/support/attached_devices.h"
#include "system/support/control_messages.h"
#include "system/support/daemon_fixture.h"
#include "system/support/last_words.h"
#include "system/support/process_state.h"

namespace {

namespace fs = std::filesystem;
namespace error = contract::error;
namespace reason = contract::reason;

using support::commandLine;
using support::lastWordsOf;
using support::Lines;

/** What the daemon has open before it makes its first socket: the standard descriptors and a pipe. */
constexpr rlim_t descriptorsBeforeSockets = 5;

class StartupOrder : public support::DaemonFixture {
 protected:
  StartupOrder() { unit.display.removeFifo(); }

  /** The error that ends a daemon which may make so many sockets. */
  std::string errorWithSockets(rlim_t count, const Lines& options = {}) {
    sim::ProcessOptions world;
    world.limits = {{RLIMIT_NOFILE, descriptorsBeforeSockets + count}};
    return lastWordsOf(unit.startDaemon(commandLine(options), world));
  }
};

TEST_F(StartupOrder, MakesTheControlSocketFirst) {
  EXPECT_EQ(errorWithSockets(0), error::whileCalling(reason::tooManyFiles, "socket()"));
  EXPECT_FALSE(fs::exists(sim::LinkManager::usualPath));
}

// Were the one socket that it may make that of the uevents, the control socket would fail otherwise.
TEST_F(StartupOrder, BindsTheControlSocketBeforeTheUeventSocketExists) {
  EXPECT_EQ(errorWithSockets(1, {"--sock=/missing/socket"}), error::bindFailed(reason::noSuchFile));
}

TEST_F(StartupOrder, ListensBeforeTheUeventSocketExists) {
  EXPECT_EQ(errorWithSockets(1), error::whileCalling(reason::tooManyFiles, "socket(PF_NETLINK)"));
  EXPECT_TRUE(fs::exists(sim::LinkManager::usualPath));
}

TEST_F(StartupOrder, EndsWhereTheSocketsDirectoryCannotBeWritten) {
  fs::create_directory("/vel/ro");
  ASSERT_EQ(::mount("none", "/vel/ro", "tmpfs", MS_RDONLY, nullptr), 0);

  EXPECT_EQ(lastWordsOf(unit.startDaemon(commandLine({"--sock=/vel/ro/control"}))),
            error::bindFailed(reason::readOnly));
}

using StartupOrderOfAServingDaemon = support::DaemonFixture;

TEST_F(StartupOrderOfAServingDaemon, LetsOneSocketReceiveUevents) {
  EXPECT_TRUE(sim::UeventSender::listeners().empty());

  start();

  EXPECT_EQ(sim::UeventSender::listeners().size(), 1U);
}

TEST_F(StartupOrderOfAServingDaemon, TakesThePlaceOfTheSocketOfAnEarlierDaemon) {
  sim::Daemon& first = start();
  first.signal(SIGKILL);
  first.waitForExit();
  ASSERT_TRUE(fs::is_socket(sim::LinkManager::usualPath));

  start();

  EXPECT_EQ(support::askForParameters(unit), "");
}

TEST_F(StartupOrderOfAServingDaemon, HandlesUeventsThatCameBeforeTheMainLoop) {
  sim::Daemon& daemon = unit.startDaemon();
  support::eventually("a socket for uevents", [] { return !sim::UeventSender::listeners().empty(); });

  unit.uevents.remove("/devices/early");

  EXPECT_EQ(daemon.waitForLine("remove"),
            contract::debug::line(contract::debug::event("remove", "/devices/early")));
}

/** The configuration while another program writes it. */
class LockedConfiguration {
 public:
  LockedConfiguration() : file_(::open(contract::configurationPath, O_RDONLY | O_CLOEXEC)) {
    EXPECT_EQ(::flock(file_.get(), LOCK_EX), 0);
  }

  /** Waits until the process waits for the lock, and has taken every signal. */
  static void waitForReader(pid_t process) {
    const std::regex waits(" -> FLOCK +ADVISORY +READ +" + std::to_string(process) + " ");
    support::eventually("a reader of the configuration", [&] {
      return support::pendingSignalsOf(process).empty() &&
             std::regex_search(sim::readFile("/proc/locks"), waits);
    });
  }
  void release() { file_.close(); }

 private:
  sim::Descriptor file_;
};

TEST_F(StartupOrderOfAServingDaemon, CatchesHangupsBeforeItReadsTheConfiguration) {
  sim::Unit::writeConfig("[usb]\n");
  LockedConfiguration configuration;
  const sim::Daemon& daemon = unit.startDaemon();
  configuration.waitForReader(daemon.pid());

  daemon.signal(SIGHUP);
  configuration.waitForReader(daemon.pid());
  configuration.release();

  unit.waitUntilServing();
  sim::Unit::writeConfig("[usb]\nhid_only = 1\n");
  unit.plug(support::scanner());
  EXPECT_EQ(unit.display.waitForWrite(), contract::display::nonHid("Scanner") + "\n");
}

TEST_F(StartupOrderOfAServingDaemon, StaysInTheForegroundAndInItsDirectory) {
  sim::ProcessOptions world;
  world.workingDirectory = "/vel";
  sim::Daemon& daemon = start(commandLine(), world);
  const sim::WorkerStart& worker = attach(support::scanner()).start;

  EXPECT_TRUE(daemon.isRunning());
  EXPECT_EQ(daemon.children(), std::vector<pid_t>{worker.pid});
  EXPECT_EQ(support::stateOf(daemon.pid()).workingDirectory, "/vel");
  EXPECT_EQ(worker.workingDirectory, "/vel");
}

TEST_F(StartupOrderOfAServingDaemon, TakesASocketPathFromItsDirectory) {
  sim::ProcessOptions world;
  world.workingDirectory = "/vel";
  start(commandLine({"--debug=ctrl", "--sock=control"}), world);
  sim::LinkManager client("/vel/control");

  client.send("?");

  EXPECT_EQ(client.receiveAll(), "");
  EXPECT_FALSE(fs::exists(sim::LinkManager::usualPath));
}

TEST_F(StartupOrderOfAServingDaemon, CatchesTheSignalsOfEndedChildrenAndHangupsOnly) {
  const support::ProcessState state = support::stateOf(start().pid());

  EXPECT_TRUE(state.caughtSignals.contains(SIGCHLD));
  EXPECT_TRUE(state.caughtSignals.contains(SIGHUP));
  for (const int other : {SIGTERM, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM}) {
    EXPECT_FALSE(state.caughtSignals.contains(other)) << other;
  }
  EXPECT_EQ(state.ignoredSignals, std::set<int>{SIGPIPE});
  EXPECT_EQ(state.blockedSignals, std::set<int>{});
}

}  // namespace

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "sim/error.h"
#include "sim/files.h"
#include "system/support/control_messages.h"
#include "system/support/held_daemon.h"

namespace {

namespace fs = std::filesystem;

using Lines = std::vector<std::string>;

constexpr const char* usualPath = "/var/run/usb_rx";

class ControlSocket : public testing::Test {
 protected:
  void startAt(const std::string& path) {
    unit.startDaemon({"--sock=" + path, "transmitter", "5000", "high"});
  }

  void startAtUsualPath() { unit.startDaemon({"transmitter", "5000", "high"}); }

  sim::Unit unit;
};

/** A path in the directory of sockets, of this length. */
std::string pathOfLength(std::size_t length) {
  const std::string directory = "/var/run/";
  return directory + std::string(length - directory.size(), 's');
}

/** A connection that is queued or refused at once. */
sim::Descriptor tryToConnect(const std::string& path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  sim::Descriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  if (::connect(client.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    client.close();
  }
  return client;
}

}  // namespace

TEST_F(ControlSocket, IsAtItsUsualPath) {
  startAtUsualPath();
  EXPECT_EQ(askForParameters(unit), "");
  EXPECT_TRUE(fs::is_socket(usualPath));
}

TEST_F(ControlSocket, IsAtThePathThatWasGiven) {
  startAt("/var/run/other");
  EXPECT_EQ(askForParameters(unit), "");
  EXPECT_FALSE(fs::exists(usualPath));
}

TEST_F(ControlSocket, TakesThePlaceOfAnOrdinaryFile) {
  sim::writeFile(usualPath, "left behind");
  startAtUsualPath();
  EXPECT_EQ(askForParameters(unit), "");
}

TEST_F(ControlSocket, TakesThePlaceOfTheOneOfAnEarlierRun) {
  startAtUsualPath();
  unit.waitUntilServing();
  unit.daemon().signal(SIGKILL);
  unit.daemon().waitForExit();
  ASSERT_TRUE(fs::is_socket(usualPath));
  startAtUsualPath();
  // Nobody listens at the old one, so a connection that is answered is one to the new.
  EXPECT_EQ(askForParameters(unit), "");
}

TEST_F(ControlSocket, TakesThePlaceOfALinkThatLeadsNowhere) {
  fs::create_symlink("/nowhere/at/all", usualPath);
  startAtUsualPath();
  EXPECT_EQ(askForParameters(unit), "");
  EXPECT_FALSE(fs::is_symlink(usualPath));
}

TEST_F(ControlSocket, DoesNotTouchTheFileThatALinkInItsPlaceLeadsTo) {
  sim::writeFile("/var/run/precious", "content");
  fs::create_symlink("precious", usualPath);
  startAtUsualPath();
  EXPECT_EQ(askForParameters(unit), "");
  EXPECT_EQ(sim::readFile("/var/run/precious"), "content");
}

TEST_F(ControlSocket, MayHaveAPathOf107Characters) {
  const std::string path = pathOfLength(107);
  startAt(path);
  EXPECT_EQ(askForParameters(unit), "");
  unit.plug(sim::UsbDevice{});
  EXPECT_EQ(unit.workers.waitForWorker().start.arguments.at(1), "--sock=" + path);
}

TEST_F(ControlSocket, CannotHaveAPathOf108Characters) {
  startAt(pathOfLength(108));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({"Invalid argument while bind()", ""}));
  EXPECT_TRUE(fs::is_empty("/var/run"));
}

TEST_F(ControlSocket, CannotHaveAPathOf200Characters) {
  startAt(pathOfLength(200));
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({"Invalid argument while bind()", ""}));
  EXPECT_TRUE(fs::is_empty("/var/run"));
}

TEST_F(ControlSocket, CannotBeInAMissingDirectory) {
  startAt("/var/run/missing/socket");
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({"No such file or directory while bind()", ""}));
}

TEST_F(ControlSocket, CannotTakeThePlaceOfADirectory) {
  fs::create_directory(usualPath);
  startAtUsualPath();
  EXPECT_EQ(unit.daemon().waitForExit(), sim::ProcessEnd::exited(1));
  EXPECT_EQ(unit.daemon().messages(), Lines({"Address already in use while bind()", ""}));
  EXPECT_TRUE(fs::is_directory(usualPath));
}

TEST_F(ControlSocket, QueuesAsManyClientsAsABacklogOfFiveAllows) {
  startAtUsualPath();
  unit.waitUntilServing();
  HeldDaemon held(unit);
  std::vector<sim::Descriptor> queued;
  for (sim::Descriptor client = tryToConnect(usualPath); client.isOpen(); client = tryToConnect(usualPath)) {
    queued.push_back(std::move(client));
  }
  EXPECT_EQ(errno, EAGAIN);
  EXPECT_EQ(queued.size(), 6U);  // Linux takes one more than the backlog
}

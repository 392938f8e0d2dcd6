#include "control/control_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/control_client.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestPath = sizeof(sockaddr_un::sun_path) - 1;

// A path of so many characters in `directory`.
std::string pathOfLength(const std::string& directory, std::size_t length) {
  const std::string start = directory + "/";
  EXPECT_LT(start.size(), length) << "the directory for temporary files has too long a path for this test";
  return start + std::string(length - start.size(), 's');
}

// How many clients can connect before the first is accepted.
std::size_t roomForClients(const std::string& path) {
  std::vector<sim::Descriptor> clients;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, longestPath);
  do {
    clients.emplace_back(socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  } while (connect(clients.back().get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0);
  return clients.size() - 1;
}

// The error that keeps a server from listening there.
ulx::ErrnoException failureAt(const std::string& path) {
  return support::caught<ulx::ErrnoException>([&path] { const ControlServer server(path); });
}

// The server's end of a client that has connected.
sim::Descriptor acceptedBy(const ControlServer& server) {
  return sim::Descriptor(accept4(server.fd(), nullptr, nullptr, SOCK_CLOEXEC));
}

std::array<sim::Descriptor, 2> connectedWithoutNames() {
  std::array<int, 2> ends{};
  EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
  return {sim::Descriptor(ends[0]), sim::Descriptor(ends[1])};
}

class ControlServerTest : public testing::Test {
 protected:
  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "socket";
};

TEST_F(ControlServerTest, ListensAtItsPath) {
  const ControlServer server(path_);
  EXPECT_TRUE(fs::is_socket(path_));
  EXPECT_NO_THROW(support::ControlClient{path_});
}

TEST_F(ControlServerTest, IsAStreamSocketThatWorkersDoNotGet) {
  const ControlServer server(path_);
  int type = 0;
  socklen_t size = sizeof type;
  ASSERT_EQ(getsockopt(server.fd(), SOL_SOCKET, SO_TYPE, &type, &size), 0);
  EXPECT_EQ(type, SOCK_STREAM);
  EXPECT_TRUE(support::isCloseOnExec(server.fd()));
}

TEST_F(ControlServerTest, LetsAsManyClientsWaitAsABacklogOfFiveDoes) {
  const ControlServer server(path_);
  const ControlServer other(directory_ / "other");
  ASSERT_EQ(listen(other.fd(), 5), 0);
  EXPECT_EQ(roomForClients(path_), roomForClients(directory_ / "other"));
}

TEST_F(ControlServerTest, TakesThePlaceOfAFileAndOfALinkAndLeavesWhatTheLinkLeadsTo) {
  const std::string file = directory_ / "file";
  sim::writeFile(file, "text");
  fs::create_symlink("file", path_);
  sim::writeFile(directory_ / "other", "text");
  for (const std::string& path : {path_, directory_ / "other"}) {
    const ControlServer server(path);
    EXPECT_TRUE(fs::is_socket(fs::symlink_status(path)));
    EXPECT_NO_THROW(support::ControlClient{path});
  }
  EXPECT_EQ(sim::readFile(file), "text");
}

TEST_F(ControlServerTest, IsClosedAtItsEndAndItsSocketIsReplacedByTheNextRuns) {
  const auto before = support::openDescriptors();
  std::optional<ControlServer> earlier(std::in_place, path_);
  earlier.reset();
  EXPECT_EQ(support::openDescriptors(), before);
  EXPECT_TRUE(fs::exists(path_));
  const ControlServer server(path_);
  EXPECT_NO_THROW(support::ControlClient{path_});
}

TEST_F(ControlServerTest, CannotTakeThePlaceOfADirectoryNorBeInOneThatIsNotThere) {
  fs::create_directory(path_);
  EXPECT_EQ(support::contextThrownBy([this] { const ControlServer server(path_); }), "bind()");
  const std::string gone = directory_ / "gone/socket";
  EXPECT_EQ(
      support::contextThrownBy<ulx::NoSuchFileOrDirectory>([&gone] { const ControlServer server(gone); }),
      "bind()");
}

TEST_F(ControlServerTest, CannotBeInADirectoryThatMayNotBeWritten) {
  fs::permissions(directory_.path(), fs::perms::owner_read | fs::perms::owner_exec);
  support::inChild([this] {
    support::dropPrivileges();
    const ulx::ErrnoException e = failureAt(path_);
    EXPECT_EQ(e.errorNumber, EACCES);
    EXPECT_EQ(e.context, "bind()");
  });
  fs::permissions(directory_.path(), fs::perms::owner_all);
}

TEST_F(ControlServerTest, CannotHaveALongerPathAndLeavesWhatIsThere) {
  for (const std::size_t length : {longestPath + 1, std::size_t{200}}) {
    const std::string path = pathOfLength(directory_.path(), length);
    sim::writeFile(path, "text");
    const auto e = support::caught<ulx::InvalidArgument>([&path] { const ControlServer server(path); });
    EXPECT_EQ(e.errorNumber, EINVAL);
    EXPECT_EQ(e.context, "bind()");
    EXPECT_EQ(sim::readFile(path), "text");
  }
}

TEST_F(ControlServerTest, CannotBeMadeWithoutAFreeDescriptor) {
  support::inChild([this] {
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(failureAt(path_).context, "socket()");
  });
}

TEST_F(ControlServerTest, ThatCannotBeKeptFromWorkersIsClosedAndNotMade) {
  const support::ArgumentIs setting{.index = 1, .value = F_SETFD};
  support::inChildWithFailing({.number = SYS_fcntl, .error = EINVAL, .argument = setting}, [this] {
    const auto before = support::openDescriptors();
    EXPECT_EQ(support::contextThrownBy([this] { const ControlServer server(path_); }),
              "fcntl(listenfd,F_SETFD,FD_CLOEXEC)");
    EXPECT_FALSE(fs::exists(path_));
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST_F(ControlServerTest, ThatCannotListenIsClosed) {
  support::inChildWithFailing({.number = SYS_listen, .error = EADDRINUSE}, [this] {
    const auto before = support::openDescriptors();
    EXPECT_EQ(failureAt(path_).context, "listen()");
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST_F(ControlServerTest, ThatCannotBeBoundIsClosed) {
  const auto before = support::openDescriptors();
  for (const std::string& path : {directory_ / "gone/socket", std::string(200, 's')}) {
    EXPECT_EQ(support::contextThrownBy([&path] { const ControlServer server(path); }), "bind()");
  }
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST_F(ControlServerTest, IsItsOwnersAloneBeforeAnyoneCanConnectWhateverTheUmask) {
  for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
    support::inChildWithFailing({.number = SYS_listen, .error = EADDRINUSE}, [this, mask] {
      umask(mask);
      EXPECT_EQ(failureAt(path_).context, "listen()");
      EXPECT_EQ(fs::symlink_status(path_).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    });
  }
}

TEST_F(ControlServerTest, LeavesTheUmaskAsItIsAlsoWhereItCannotBeBound) {
  const std::string gone = directory_ / "gone/socket";
  for (const mode_t mask : {0000U, 0022U, 0077U, 0777U}) {
    support::inChild([this, mask, &gone] {
      umask(mask);
      const ControlServer server(path_);
      EXPECT_EQ(umask(mask), mask);
      EXPECT_THROW(ControlServer{gone}, ulx::NoSuchFileOrDirectory);
      EXPECT_EQ(umask(mask), mask);
    });
  }
}

TEST_F(ControlServerTest, KnowsItsClientsAndNothingElse) {
  const ControlServer server(path_);
  const ControlServer other(directory_ / "other");
  const support::ControlClient client(path_);
  const support::ControlClient clientOfTheOther(directory_ / "other");
  const sim::Descriptor accepted = acceptedBy(server);
  const sim::Descriptor acceptedByTheOther = acceptedBy(other);
  const std::array<sim::Descriptor, 2> unnamed = connectedWithoutNames();
  EXPECT_TRUE(server.hasClient(accepted.get()));
  EXPECT_FALSE(server.hasClient(acceptedByTheOther.get()));
  EXPECT_FALSE(server.hasClient(unnamed.front().get()));
  EXPECT_FALSE(server.hasClient(server.fd()));
  EXPECT_FALSE(server.hasClient(STDERR_FILENO));
  EXPECT_FALSE(server.hasClient(support::nextDescriptor()));
  EXPECT_FALSE(server.hasClient(-1));
}

TEST_F(ControlServerTest, KnowsItsClientsUnderPathsOfEveryLengthAndNotThoseOfANeighbour) {
  support::inChild([this] {
    fs::current_path(directory_.path());
    for (std::size_t length = 1; length <= longestPath; ++length) {
      const std::string path(length, 's');
      const std::string neighbour = std::string(length - 1, 's') + "n";
      const ControlServer server(path);
      const ControlServer other(neighbour);
      const support::ControlClient client(path);
      const support::ControlClient clientOfTheOther(neighbour);
      EXPECT_TRUE(server.hasClient(acceptedBy(server).get())) << length;
      EXPECT_FALSE(server.hasClient(acceptedBy(other).get())) << length;
    }
  });
}

// In a network of its own, because the empty path is one name for everyone in a network.
TEST(ControlServerOfTheEmptyPath, KnowsItsClientsFromSocketsWithoutAName) {
  support::inPrivateWorld([] {
    const ControlServer server("");
    const support::ControlClient client("");
    const sim::Descriptor accepted = acceptedBy(server);
    const std::array<sim::Descriptor, 2> unnamed = connectedWithoutNames();
    EXPECT_TRUE(server.hasClient(accepted.get()));
    EXPECT_FALSE(server.hasClient(unnamed.front().get()));
  });
}

TEST(ControlServerConnection, StaysOpenAtItsEnd) {
  const sim::Descriptor client(dup(STDIN_FILENO));
  std::optional<ControlConnection> connection(std::in_place, client.get());
  EXPECT_EQ(connection->fd(), client.get());
  connection.reset();
  EXPECT_TRUE(support::isOpen(client.get()));
}

}  // namespace

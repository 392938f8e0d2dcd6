#include "control/control_server.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

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
#include "support/failing_call.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t longestPath = sizeof(sockaddr_un::sun_path) - 1;

// A path of so many characters in `directory`.
std::string pathOfLength(const support::TemporaryDirectory& directory, std::size_t length) {
  const std::string start = directory / "";
  EXPECT_LT(start.size(), length) << "the directory for temporary files has too long a path for this test";
  return start + std::string(length - start.size(), 's');
}

std::string failureAt(const std::string& path) {
  return support::contextThrownBy([&path] { const ControlServer server(path); });
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

TEST(ControlServer, ListensAtItsPath) {
  const support::TemporaryDirectory directory;
  const ControlServer server(directory / "socket");
  EXPECT_TRUE(fs::is_socket(directory / "socket"));
  EXPECT_NO_THROW(support::ControlClient(directory / "socket"));
}

TEST(ControlServer, IsAStreamSocketThatWorkersDoNotGet) {
  const support::TemporaryDirectory directory;
  const ControlServer server(directory / "socket");
  int type = 0;
  socklen_t size = sizeof type;
  ASSERT_EQ(getsockopt(server.fd(), SOL_SOCKET, SO_TYPE, &type, &size), 0);
  EXPECT_EQ(type, SOCK_STREAM);
  EXPECT_TRUE(support::isCloseOnExec(server.fd()));
}

TEST(ControlServer, LetsAsManyClientsWaitAsABacklogOfFiveDoes) {
  const support::TemporaryDirectory directory;
  const ControlServer server(directory / "socket");
  const ControlServer other(directory / "other");
  ASSERT_EQ(listen(other.fd(), 5), 0);
  EXPECT_EQ(roomForClients(directory / "socket"), roomForClients(directory / "other"));
}

TEST(ControlServer, IsClosedAtItsEnd) {
  const support::TemporaryDirectory directory;
  const auto before = support::openDescriptors();
  std::optional<ControlServer> server(std::in_place, directory / "socket");
  server.reset();
  EXPECT_EQ(support::openDescriptors(), before);
  EXPECT_TRUE(fs::exists(directory / "socket"));
}

TEST(ControlServer, TakesThePlaceOfAnEarlierRunsSocket) {
  const support::TemporaryDirectory directory;
  std::optional<ControlServer> earlier(std::in_place, directory / "socket");
  earlier.reset();
  const ControlServer server(directory / "socket");
  EXPECT_NO_THROW(support::ControlClient(directory / "socket"));
}

TEST(ControlServer, TakesThePlaceOfAnyFile) {
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "socket", "text");
  const ControlServer server(directory / "socket");
  EXPECT_NO_THROW(support::ControlClient(directory / "socket"));
}

TEST(ControlServer, TakesThePlaceOfALinkAndLeavesWhatItLeadsTo) {
  const support::TemporaryDirectory directory;
  sim::writeFile(directory / "file", "text");
  fs::create_symlink("file", directory / "socket");
  const ControlServer server(directory / "socket");
  EXPECT_TRUE(fs::is_socket(fs::symlink_status(directory / "socket")));
  EXPECT_EQ(sim::readFile(directory / "file"), "text");
}

TEST(ControlServer, CannotTakeThePlaceOfADirectory) {
  const support::TemporaryDirectory directory;
  fs::create_directory(directory / "socket");
  EXPECT_EQ(failureAt(directory / "socket"), "bind()");
}

TEST(ControlServer, CannotBeInADirectoryThatIsNotThere) {
  const support::TemporaryDirectory directory;
  EXPECT_EQ(support::contextThrownBy<ulx::NoSuchFileOrDirectory>(
                [&directory] { const ControlServer server(directory / "gone/socket"); }),
            "bind()");
}

TEST(ControlServer, CannotBeInADirectoryThatMayNotBeWritten) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    fs::permissions(directory.path(), fs::perms::owner_read | fs::perms::owner_exec);
    support::dropPrivileges();
    try {
      const ControlServer server(directory / "socket");
      ADD_FAILURE() << "nothing was thrown";
    } catch (const ulx::ErrnoException& e) {
      EXPECT_EQ(e.errorNumber, EACCES);
      EXPECT_EQ(e.context, "bind()");
    }
    fs::permissions(directory.path(), fs::perms::owner_all);
  });
}

TEST(ControlServer, MayHaveTheLongestPathThatAnAddressHolds) {
  const support::TemporaryDirectory directory;
  const std::string path = pathOfLength(directory, longestPath);
  const ControlServer server(path);
  EXPECT_TRUE(fs::is_socket(path));
}

TEST(ControlServer, CannotHaveALongerPathAndLeavesWhatIsThere) {
  const support::TemporaryDirectory directory;
  for (const std::size_t length : {longestPath + 1, std::size_t{200}}) {
    const std::string path = pathOfLength(directory, length);
    sim::writeFile(path, "text");
    EXPECT_EQ(support::contextThrownBy<ulx::InvalidArgument>([&path] { const ControlServer server(path); }),
              "bind()");
    EXPECT_EQ(sim::readFile(path), "text");
  }
}

TEST(ControlServer, ErrorsOfAPathThatIsTooLongTellTheirNumber) {
  try {
    const ControlServer server(std::string(200, 's'));
    ADD_FAILURE() << "nothing was thrown";
  } catch (const ulx::ErrnoException& e) {
    EXPECT_EQ(e.errorNumber, EINVAL);
  }
}

TEST(ControlServer, CannotBeMadeWithoutAFreeDescriptor) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    support::limitFurtherDescriptors(0);
    EXPECT_EQ(failureAt(directory / "socket"), "socket()");
  });
}

TEST(ControlServer, CannotBeMadeWhereItCannotBeKeptFromWorkers) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    if (!support::failSystemCall(SYS_fcntl, {.index = 1, .value = F_SETFD}, EINVAL)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(failureAt(directory / "socket"), "fcntl(listenfd,F_SETFD,FD_CLOEXEC)");
    EXPECT_FALSE(fs::exists(directory / "socket"));
  });
}

TEST(ControlServer, CannotBeMadeWhereListeningFails) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    if (!support::failSystemCall(SYS_listen, EADDRINUSE)) {
      GTEST_SKIP() << "no seccomp filters here";
    }
    EXPECT_EQ(failureAt(directory / "socket"), "listen()");
  });
}

TEST(ControlServer, IsClosedWhenItCannotBeMade) {
  support::inChild([] {
    const support::TemporaryDirectory directory;
    const auto before = support::openDescriptors();
    EXPECT_EQ(failureAt(directory / "gone/socket"), "bind()");
    EXPECT_EQ(failureAt(std::string(200, 's')), "bind()");
    if (support::failSystemCall(SYS_listen, EADDRINUSE) &&
        support::failSystemCall(SYS_fcntl, {.index = 1, .value = F_SETFD}, EINVAL)) {
      EXPECT_EQ(failureAt(directory / "socket"), "fcntl(listenfd,F_SETFD,FD_CLOEXEC)");
    }
    EXPECT_EQ(support::openDescriptors(), before);
  });
}

TEST(ControlConnection, StaysOpenAtItsEnd) {
  const sim::Descriptor client(dup(STDIN_FILENO));
  std::optional<ControlConnection> connection(std::in_place, client.get());
  EXPECT_EQ(connection->fd(), client.get());
  connection.reset();
  EXPECT_TRUE(support::isOpen(client.get()));
}

}  // namespace

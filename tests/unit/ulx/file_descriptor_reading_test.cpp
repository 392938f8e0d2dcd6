#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <numeric>
#include <string>
#include <vector>

#include "support/temporary_directory.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_state.h"
#include "unit/ulx/interrupting_timer.h"

namespace {

constexpr std::size_t someLimit = 8192;

// Two ends of a channel in which each write arrives as one read.
class Packets {
 public:
  Packets() : Packets(socketPair()) {}

  void send(const std::string& packet) { sender_.writeAll(packet.data(), packet.size()); }
  void end() const { shutdown(sender_.fd(), SHUT_WR); }

 private:
  static std::array<int, 2> socketPair() {
    std::array<int, 2> fds{-1, -1};
    socketpair(AF_UNIX, SOCK_SEQPACKET, 0, fds.data());
    return fds;
  }
  explicit Packets(const std::array<int, 2>& fds) : receiver(fds[0], true), sender_(fds[1], true) {}

 public:
  ulx::FileDescriptor receiver;

 private:
  ulx::FileDescriptor sender_;
};

void closeWriteEnd(ulx::Pipe& pipe) {
  close(pipe.writeEnd.release());
}

void fill(ulx::Pipe& pipe, const std::string& text) {
  pipe.writeEnd.writeAll(text.data(), text.size());
}

// Bytes of every value, so that nothing in them goes unnoticed.
std::string everyByte(std::size_t length) {
  std::string bytes(length, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  return bytes;
}

std::string readExactly(const ulx::FileDescriptor& from, std::size_t length) {
  std::string buffer(length, '.');
  from.readExact(buffer.data(), length);
  return buffer;
}

std::string textOfFailedRead(const ulx::FileDescriptor& from) {
  return textCaught([&] {
    char byte = 0;
    from.read(&byte, 1);
  });
}

TEST(Read, GivesWhatIsThereAndItsCount) {
  ulx::Pipe pipe;
  fill(pipe, "abc");
  std::array<char, 8> buffer{};
  EXPECT_EQ(pipe.readEnd.read(buffer.data(), buffer.size()), 3U);
  EXPECT_STREQ(buffer.data(), "abc");
}

TEST(Read, TakesNoMoreThanItIsAskedFor) {
  ulx::Pipe pipe;
  fill(pipe, "abcdef");
  std::array<char, 8> buffer{};
  EXPECT_EQ(pipe.readEnd.read(buffer.data(), 2), 2U);
  EXPECT_STREQ(buffer.data(), "ab");
  EXPECT_EQ(pipe.readEnd.readSome(), "cdef");
}

TEST(Read, ReadsOnce) {
  Packets packets;
  packets.send("first");
  packets.send("second");
  std::array<char, 64> buffer{};
  EXPECT_EQ(packets.receiver.read(buffer.data(), buffer.size()), 5U);
}

TEST(Read, GivesZeroAtTheEnd) {
  ulx::Pipe pipe;
  closeWriteEnd(pipe);
  char byte = 0;
  EXPECT_EQ(pipe.readEnd.read(&byte, 1), 0U);
}

TEST(Read, GoesOnAfterASignal) {
  ulx::Pipe pipe;
  const InterruptingTimer timer(pipe.writeEnd.fd());
  char byte = 0;
  EXPECT_EQ(pipe.readEnd.read(&byte, 1), 1U);
  EXPECT_EQ(byte, '!');
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST(Read, NamesTheDescriptorThatIsNone) {
  const auto e = caught<ulx::ErrnoException>([] {
    char byte = 0;
    ulx::FileDescriptor(-1, false).read(&byte, 1);
  });
  EXPECT_EQ(e.errorNumber, EBADF);
  EXPECT_EQ(e.text(), "Bad file descriptor while read(\"fd-1\")\n");
}

TEST(Read, NamesThePathThatCannotBeRead) {
  EXPECT_EQ(textOfFailedRead(ulx::FileDescriptor("/dev", O_RDONLY)), "Is a directory while read(\"/dev\")");
}

TEST(Read, ThrowsWouldBlockWhereNothingIsThereYet) {
  const ulx::Pipe pipe;
  setNonBlocking(pipe.readEnd.fd());
  const auto e = caught<ulx::WouldBlock>([&] { const std::string some = pipe.readEnd.readSome(); });
  EXPECT_EQ(e.context, "read(\"" + pipe.readEnd.name() + "\")");
}

TEST(Read, ThrowsConnectionResetWhenThePeerLeftDataUnread) {
  std::array<int, 2> fds{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds.data()), 0);
  ulx::FileDescriptor reader(fds[0], true);
  reader.writeByte('x');
  close(fds[1]);
  EXPECT_THROW(static_cast<void>(reader.readSome()), ulx::ConnectionReset);
}

TEST(Read, ThrowsIoErrorWhenATerminalHasHungUp) {
  const ulx::FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY), true);
  ASSERT_EQ(grantpt(terminal.fd()), 0);
  ASSERT_EQ(unlockpt(terminal.fd()), 0);
  std::array<char, 64> name{};
  ASSERT_EQ(ptsname_r(terminal.fd(), name.data(), name.size()), 0);
  { const ulx::FileDescriptor user(name.data(), O_RDWR | O_NOCTTY); }
  EXPECT_THROW(static_cast<void>(terminal.readSome()), ulx::IOError);
}

TEST(ReadSome, GivesAtMostItsLimit) {
  ulx::Pipe pipe;
  const std::string sent = everyByte(someLimit + 1000);
  fill(pipe, sent);
  EXPECT_EQ(pipe.readEnd.readSome(), sent.substr(0, someLimit));
  EXPECT_EQ(pipe.readEnd.readSome(), sent.substr(someLimit));
}

TEST(ReadSome, ReadsOnce) {
  Packets packets;
  packets.send("first");
  packets.send("second");
  EXPECT_EQ(packets.receiver.readSome(), "first");
}

TEST(ReadSome, GivesNothingAtTheEnd) {
  EXPECT_EQ(ulx::FileDescriptor("/dev/null", O_RDONLY).readSome(), "");
}

TEST(ReadAll, GivesEverythingUpToTheEnd) {
  const support::TemporaryDirectory directory;
  const std::string sent = everyByte(5 * someLimit + 17);
  ulx::FileDescriptor(directory / "file", O_CREAT | O_WRONLY).writeAll(sent.data(), sent.size());
  EXPECT_EQ(ulx::FileDescriptor(directory / "file", O_RDONLY).readAll(), sent);
}

TEST(ReadAll, JoinsWhatComesInPieces) {
  Packets packets;
  packets.send("one ");
  packets.send("two ");
  packets.send("three");
  packets.end();
  EXPECT_EQ(packets.receiver.readAll(), "one two three");
}

TEST(ReadAll, GivesNothingWhereNothingIs) {
  EXPECT_EQ(ulx::FileDescriptor("/dev/null", O_RDONLY).readAll(), "");
}

TEST(ReadAll, ThrowsWhatEndsItTooEarly) {
  ulx::Pipe pipe;
  setNonBlocking(pipe.readEnd.fd());
  fill(pipe, "abc");
  EXPECT_THROW(static_cast<void>(pipe.readEnd.readAll()), ulx::WouldBlock);
}

TEST(ReadExact, LeavesWhatItIsNotAskedFor) {
  ulx::Pipe pipe;
  fill(pipe, "abcdef");
  EXPECT_EQ(readExactly(pipe.readEnd, 4), "abcd");
  EXPECT_EQ(pipe.readEnd.readSome(), "ef");
}

TEST(ReadExact, JoinsWhatComesInPieces) {
  Packets packets;
  packets.send("one");
  packets.send("two");
  packets.send("three");
  EXPECT_EQ(readExactly(packets.receiver, 11), "onetwothree");
}

TEST(ReadExact, ThrowsEndOfFileWithWhatCameConsumed) {
  ulx::Pipe pipe;
  fill(pipe, "12345");
  closeWriteEnd(pipe);
  std::string buffer(18, '.');
  const auto e =
      caught<ulx::FileDescriptor::EndOfFile>([&] { pipe.readEnd.readExact(buffer.data(), buffer.size()); });
  EXPECT_EQ(e.text(), "EOF\n");
  EXPECT_EQ(buffer, "12345.............");
  EXPECT_EQ(pipe.readEnd.readSome(), "");
}

TEST(ReadExact, ThrowsWhatEndsItTooEarly) {
  ulx::Pipe pipe;
  setNonBlocking(pipe.readEnd.fd());
  fill(pipe, "12345");
  EXPECT_THROW(readExactly(pipe.readEnd, 6), ulx::WouldBlock);
}

TEST(ReadByte, GivesOneByte) {
  ulx::Pipe pipe;
  fill(pipe, "\xfeq");
  std::uint8_t byte = 0;
  pipe.readEnd.readByte(byte);
  EXPECT_EQ(byte, 0xfe);
  EXPECT_EQ(pipe.readEnd.readSome(), "q");
}

TEST(ReadByte, ThrowsEndOfFileWhereThereIsNone) {
  const ulx::FileDescriptor empty("/dev/null", O_RDONLY);
  std::uint8_t byte = 0;
  EXPECT_THROW(empty.readByte(byte), ulx::FileDescriptor::EndOfFile);
}

TEST(ReadDeviceDescriptor, GivesEighteenBytes) {
  ulx::Pipe pipe;
  fill(pipe, everyByte(19));
  std::array<std::uint8_t, 18> descriptor{};
  pipe.readEnd.readDeviceDescriptor(descriptor);
  EXPECT_EQ(std::string(descriptor.begin(), descriptor.end()), everyByte(18));
  EXPECT_EQ(pipe.readEnd.readSome(), "\x12");
}

TEST(ReadDeviceDescriptor, ThrowsEndOfFileForOneCutShort) {
  ulx::Pipe pipe;
  fill(pipe, everyByte(17));
  closeWriteEnd(pipe);
  std::array<std::uint8_t, 18> descriptor{};
  EXPECT_THROW(pipe.readEnd.readDeviceDescriptor(descriptor), ulx::FileDescriptor::EndOfFile);
}

}  // namespace

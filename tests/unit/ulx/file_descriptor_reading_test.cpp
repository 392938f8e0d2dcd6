#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <numeric>
#include <string>

#include "support/output.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/ulx/interrupting_timer.h"

namespace {

constexpr std::size_t someLimit = 8192;

// Bytes of every value: no change of any of them goes unnoticed.
std::string everyByte(std::size_t length) {
  std::string bytes(length, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  return bytes;
}

// What is sent to `reader` arrives in one read for each text. Reads do not wait.
class FileDescriptorReading : public testing::Test {
 protected:
  void send(std::initializer_list<std::string> texts) const {
    for (const std::string& text : texts) {
      ASSERT_EQ(write(pipe_.writeEnd(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
  }
  void end() { close(pipe_.releaseWriteEnd()); }

  [[nodiscard]] std::string readExactly(std::size_t length) const {
    std::string buffer(length, '.');
    reader.readExact(buffer.data(), length);
    return buffer;
  }

 private:
  support::PacketPipe pipe_;

 protected:
  const ulx::FileDescriptor reader{pipe_.readEnd(), false};
};

TEST_F(FileDescriptorReading, ReturnsTheCountOfOneRead) {
  send({"abc", "def"});
  std::array<char, 8> buffer{};
  EXPECT_EQ(reader.read(buffer.data(), buffer.size()), 3U);
  EXPECT_STREQ(buffer.data(), "abc");
  EXPECT_EQ(reader.read(buffer.data(), 2), 2U);
  EXPECT_STREQ(buffer.data(), "dec");
}

TEST_F(FileDescriptorReading, GoesOnAfterASignal) {
  ulx::Pipe pipe;
  const InterruptingTimer timer(pipe.writeEnd.fd());
  char byte = 0;
  EXPECT_EQ(pipe.readEnd.read(&byte, 1), 1U);
  EXPECT_EQ(byte, '!');
  EXPECT_GE(InterruptingTimer::count(), 3);
}

TEST_F(FileDescriptorReading, NamesWhatCannotBeRead) {
  const auto textOfFailedRead = [](const ulx::FileDescriptor& from) {
    return support::caught<ulx::ErrnoException>([&] { static_cast<void>(from.readSome()); }).text();
  };
  EXPECT_EQ(textOfFailedRead(ulx::FileDescriptor(-1, false)), "Bad file descriptor while read(\"fd-1\")\n");
  EXPECT_EQ(textOfFailedRead(ulx::FileDescriptor("/dev", O_RDONLY)), "Is a directory while read(\"/dev\")\n");
}

TEST_F(FileDescriptorReading, ThrowsWouldBlockBeforeTheEnd) {
  EXPECT_EQ(support::caught<ulx::WouldBlock>([this] { static_cast<void>(reader.readSome()); }).context,
            "read(\"" + reader.name() + "\")");
  send({"abc"});
  EXPECT_THROW(static_cast<void>(reader.readAll()), ulx::WouldBlock);
  send({"12345"});
  EXPECT_THROW(static_cast<void>(readExactly(6)), ulx::WouldBlock);
}

TEST_F(FileDescriptorReading, ThrowsConnectionResetWhenThePeerLeftDataUnread) {
  std::array<int, 2> fds{};
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds.data()), 0);
  ulx::FileDescriptor socket(fds[0], true);
  socket.writeByte('x');
  close(fds[1]);
  EXPECT_THROW(static_cast<void>(socket.readSome()), ulx::ConnectionReset);
}

TEST_F(FileDescriptorReading, ThrowsIoErrorWhenATerminalHasHungUp) {
  const ulx::FileDescriptor terminal(posix_openpt(O_RDWR | O_NOCTTY), true);
  ASSERT_EQ(grantpt(terminal.fd()), 0);
  ASSERT_EQ(unlockpt(terminal.fd()), 0);
  std::array<char, 64> name{};
  ASSERT_EQ(ptsname_r(terminal.fd(), name.data(), name.size()), 0);
  { const ulx::FileDescriptor user(name.data(), O_RDWR | O_NOCTTY); }
  EXPECT_THROW(static_cast<void>(terminal.readSome()), ulx::IOError);
}

TEST_F(FileDescriptorReading, OfSomeIsOneReadWithinTheLimitAndOfAllGoesToTheEnd) {
  const support::TemporaryDirectory directory;
  const std::string sent = everyByte(5 * someLimit + 17);
  ulx::FileDescriptor(directory / "file", O_CREAT | O_WRONLY).writeAll(sent.data(), sent.size());
  const ulx::FileDescriptor file(directory / "file", O_RDONLY);
  EXPECT_EQ(file.readSome(), sent.substr(0, someLimit));
  EXPECT_EQ(file.readAll(), sent.substr(someLimit));
  EXPECT_EQ(file.readSome(), "");
  EXPECT_EQ(file.readAll(), "");
}

TEST_F(FileDescriptorReading, OfSomeReadsOnceAndOfAllJoinsThePieces) {
  send({"some", "one ", "two ", "three"});
  end();
  EXPECT_EQ(reader.readSome(), "some");
  EXPECT_EQ(reader.readAll(), "one two three");
}

TEST_F(FileDescriptorReading, OfAnExactLengthJoinsThePiecesAndLeavesTheRest) {
  ulx::Pipe pipe;
  pipe.writeEnd.writeAll("abcdef", 6);
  std::string buffer(4, '.');
  pipe.readEnd.readExact(buffer.data(), buffer.size());
  EXPECT_EQ(buffer, "abcd");
  EXPECT_EQ(pipe.readEnd.readSome(), "ef");
  send({"one", "two", "three"});
  EXPECT_EQ(readExactly(11), "onetwothree");
}

TEST_F(FileDescriptorReading, OfAnExactLengthConsumesWhatComesBeforeAnEarlyEnd) {
  send({"12345"});
  end();
  std::string buffer(18, '.');
  const auto e = support::caught<ulx::FileDescriptor::EndOfFile>(
      [&] { reader.readExact(buffer.data(), buffer.size()); });
  EXPECT_EQ(e.text(), "EOF\n");
  EXPECT_EQ(buffer, "12345.............");
  EXPECT_EQ(reader.readSome(), "");
}

TEST_F(FileDescriptorReading, OfAByteOrADeviceDescriptorTakesItsLength) {
  ulx::Pipe pipe;
  const std::string sent = "\xfe" + everyByte(19);
  pipe.writeEnd.writeAll(sent.data(), sent.size());
  std::uint8_t byte = 0;
  pipe.readEnd.readByte(byte);
  EXPECT_EQ(byte, 0xfe);
  std::array<std::uint8_t, 18> descriptor{};
  pipe.readEnd.readDeviceDescriptor(descriptor);
  EXPECT_EQ(std::string(descriptor.begin(), descriptor.end()), everyByte(18));
  EXPECT_EQ(pipe.readEnd.readSome(), "\x12");
}

TEST_F(FileDescriptorReading, OfAByteOrADeviceDescriptorThrowsAtAnEarlyEnd) {
  send({everyByte(17)});
  end();
  std::array<std::uint8_t, 18> descriptor{};
  EXPECT_THROW(reader.readDeviceDescriptor(descriptor), ulx::FileDescriptor::EndOfFile);
  std::uint8_t byte = 0;
  EXPECT_THROW(reader.readByte(byte), ulx::FileDescriptor::EndOfFile);
}

}  // namespace

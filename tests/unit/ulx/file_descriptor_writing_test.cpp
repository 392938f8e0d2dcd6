#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <string>
#include <vector>

#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"

namespace {

using Texts = std::vector<std::string>;

// Records the writes and the locks around them during a scope. A write takes at most three bytes.
class WritesInThrees {
 public:
  [[nodiscard]] const Texts& calls() const { return calls_; }

 private:
  Texts calls_;
  support::Replaced<ssize_t(int, const void*, std::size_t)> write_{
      library::write, [this](int, const void* bytes, std::size_t length) {
        const std::size_t taken = std::min<std::size_t>(length, 3);
        calls_.emplace_back(static_cast<const char*>(bytes), taken);
        return static_cast<ssize_t>(taken);
      }};
  support::Replaced<int(pthread_mutex_t*)> lock_{library::mutexLock, [this](pthread_mutex_t* mutex) {
                                                   calls_.emplace_back("lock");
                                                   return library::mutexLock.real(mutex);
                                                 }};
  support::Replaced<int(pthread_mutex_t*)> unlock_{library::mutexUnlock, [this](pthread_mutex_t* mutex) {
                                                     calls_.emplace_back("unlock");
                                                     return library::mutexUnlock.real(mutex);
                                                   }};
};

template <class Write>
Texts callsOf(bool serialise, Write write) {
  ulx::FileDescriptor target(-1, false);
  target.serialiseWrites = serialise;
  const WritesInThrees writes;
  write(target);
  return writes.calls();
}

Texts callsOfWrite(const std::string& text, bool serialise) {
  return callsOf(serialise, [&](ulx::FileDescriptor& target) { target.write(text.data(), text.size()); });
}

Texts callsOfWriteAll(const std::string& text, bool serialise) {
  return callsOf(serialise, [&](ulx::FileDescriptor& target) { target.writeAll(text.data(), text.size()); });
}

void setNonBlocking(int fd) {
  fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
}

// A pipe that takes no further byte: a write waits.
class FullPipe : public ulx::Pipe {
 public:
  FullPipe() {
    const int flags = fcntl(writeEnd.fd(), F_GETFL);
    setNonBlocking(writeEnd.fd());
    const std::string page(4096, 'x');
    while (write(writeEnd.fd(), page.data(), page.size()) > 0) {
    }
    fcntl(writeEnd.fd(), F_SETFL, flags);
  }
};

TEST(FileDescriptorWriting, PutsTheBytesAndReturnsTheirCount) {
  ulx::Pipe pipe;
  EXPECT_EQ(pipe.writeEnd.write("a\0b", 3), 3U);
  EXPECT_EQ(pipe.readEnd.readSome(), std::string("a\0b", 3));
  pipe.writeEnd.writeByte(0xfe);
  EXPECT_EQ(pipe.readEnd.readSome(), "\xfe");
}

TEST(FileDescriptorWriting, IsOneWriteThatReturnsHowMuchWasTaken) {
  std::size_t count = 0;
  const auto write = [&](ulx::FileDescriptor& target) { count = target.write("0123456789", 10); };
  EXPECT_EQ(callsOf(false, write), (Texts{"012"}));
  EXPECT_EQ(count, 3U);
}

TEST(FileDescriptorWriting, NamesWhatCannotBeWritten) {
  const auto textOfFailedWrite = [](ulx::FileDescriptor&& to) {
    return support::caught<ulx::ErrnoException>([&] { to.writeByte('x'); }).text();
  };
  EXPECT_EQ(textOfFailedWrite(ulx::FileDescriptor(-1, false)), "Bad file descriptor while write(\"fd-1\")\n");
  EXPECT_EQ(textOfFailedWrite(ulx::FileDescriptor("/dev/full", O_WRONLY)),
            "No space left on device while write(\"/dev/full\")\n");
}

TEST(FileDescriptorWriting, ThrowsBrokenPipeWithoutAReader) {
  const auto old = std::signal(SIGPIPE, SIG_IGN);
  ulx::Pipe pipe;
  close(pipe.readEnd.release());
  EXPECT_EQ(support::caught<ulx::BrokenPipe>([&] { pipe.writeEnd.write("x", 1); }).text(),
            "Broken pipe while write(\"" + pipe.writeEnd.name() + "\")\n");
  std::signal(SIGPIPE, old);
}

TEST(FileDescriptorWriting, ThrowsWouldBlockWithoutRoom) {
  FullPipe pipe;
  setNonBlocking(pipe.writeEnd.fd());
  EXPECT_THROW(pipe.writeEnd.write("x", 1), ulx::WouldBlock);
}

TEST(FileDescriptorWriting, IsEndedByASignal) {
  FullPipe pipe;
  const InterruptingTimer timer;
  EXPECT_EQ(support::caught<ulx::InterruptedSysCall>([&] { pipe.writeEnd.write("x", 1); }).text(),
            "Interrupted system call while write(\"" + pipe.writeEnd.name() + "\")\n");
  EXPECT_THROW(pipe.writeEnd.writeAll("abc", 3), ulx::InterruptedSysCall);
}

TEST(FileDescriptorWriting, IsLockedOnlyWhenWritesAreSerialised) {
  EXPECT_EQ(callsOfWrite("abc", false), (Texts{"abc"}));
  EXPECT_EQ(callsOfWrite("abc", true), (Texts{"lock", "abc", "unlock"}));
}

TEST(FileDescriptorWriting, UnlocksWhenItFails) {
  ulx::FileDescriptor target(-1, false);
  target.serialiseWrites = true;
  int held = 0;
  const support::Replaced locking(library::mutexLock, [&](pthread_mutex_t* mutex) {
    ++held;
    return library::mutexLock.real(mutex);
  });
  const support::Replaced unlocking(library::mutexUnlock, [&](pthread_mutex_t* mutex) {
    --held;
    return library::mutexUnlock.real(mutex);
  });
  EXPECT_THROW(target.write("x", 1), ulx::ErrnoException);
  EXPECT_EQ(held, 0);
}

TEST(FileDescriptorWriting, OfAllGoesOnAfterAPartialWrite) {
  EXPECT_EQ(callsOfWriteAll("0123456789", false), (Texts{"012", "345", "678", "9"}));
  EXPECT_EQ(callsOfWriteAll("01234", true), (Texts{"lock", "012", "unlock", "lock", "34", "unlock"}));
  EXPECT_EQ(callsOfWriteAll("", true), Texts());
}

TEST(FileDescriptorWriting, OfAllPutsEveryByteInOrder) {
  const support::TemporaryDirectory directory;
  std::string bytes(100'000, '\0');
  std::generate(bytes.begin(), bytes.end(),
                [next = 0U]() mutable { return static_cast<char>(next++ % 251); });
  ulx::FileDescriptor(directory / "file", O_CREAT | O_WRONLY).writeAll(bytes.data(), bytes.size());
  EXPECT_EQ(ulx::FileDescriptor(directory / "file", O_RDONLY).readAll(), bytes);
}

TEST(FileDescriptorWriting, OfAllLeavesTheRestUnwrittenWhenItThrows) {
  ulx::Pipe pipe;
  setNonBlocking(pipe.writeEnd.fd());
  const std::string bytes(1'000'000, 'x');
  EXPECT_THROW(pipe.writeEnd.writeAll(bytes.data(), bytes.size()), ulx::WouldBlock);
  close(pipe.writeEnd.release());
  const std::string written = pipe.readEnd.readAll();
  EXPECT_GT(written.size(), 0U);
  EXPECT_LT(written.size(), bytes.size());
}

}  // namespace

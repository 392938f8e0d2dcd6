#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>
#include <vector>

#include "support/temporary_directory.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_state.h"
#include "unit/ulx/held_mutexes.h"
#include "unit/ulx/interrupting_timer.h"
#include "unit/ulx/library_calls.h"

namespace {

using Texts = std::vector<std::string>;

// Records what is written and the locks around it, and lets no write take more than three bytes.
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

Texts callsOfWriteAll(const std::string& text, bool serialise) {
  ulx::FileDescriptor target(-1, false);
  target.serialiseWrites = serialise;
  const WritesInThrees writes;
  target.writeAll(text.data(), text.size());
  return writes.calls();
}

Texts callsOfWrite(const std::string& text, bool serialise) {
  ulx::FileDescriptor target(-1, false);
  target.serialiseWrites = serialise;
  const WritesInThrees writes;
  target.write(text.data(), text.size());
  return writes.calls();
}

void ignoreBrokenPipes() {
  std::signal(SIGPIPE, SIG_IGN);
}

// Fills the pipe until it takes no further byte.
void fillUp(const ulx::Pipe& pipe) {
  const int flags = fcntl(pipe.writeEnd.fd(), F_GETFL);
  setNonBlocking(pipe.writeEnd.fd());
  const std::string page(4096, 'x');
  while (write(pipe.writeEnd.fd(), page.data(), page.size()) > 0) {
  }
  fcntl(pipe.writeEnd.fd(), F_SETFL, flags);
}

TEST(Write, PutsTheBytesAndGivesTheirCount) {
  ulx::Pipe pipe;
  EXPECT_EQ(pipe.writeEnd.write("a\0b", 3), 3U);
  EXPECT_EQ(pipe.readEnd.readSome(), std::string("a\0b", 3));
}

TEST(Write, WritesOnceAndTellsHowMuchWasTaken) {
  ulx::FileDescriptor target(-1, false);
  std::size_t count = 0;
  {
    const WritesInThrees writes;
    count = target.write("0123456789", 10);
  }
  EXPECT_EQ(count, 3U);
  EXPECT_EQ(callsOfWrite("0123456789", false), (Texts{"012"}));
}

TEST(Write, NamesTheDescriptorThatIsNone) {
  const auto e = caught<ulx::ErrnoException>([] { ulx::FileDescriptor(-1, false).write("x", 1); });
  EXPECT_EQ(e.errorNumber, EBADF);
  EXPECT_EQ(e.text(), "Bad file descriptor while write(\"fd-1\")\n");
}

TEST(Write, NamesThePathThatIsFull) {
  ulx::FileDescriptor full("/dev/full", O_WRONLY);
  EXPECT_EQ(textCaught([&] { full.write("x", 1); }), "No space left on device while write(\"/dev/full\")");
}

TEST(Write, ThrowsBrokenPipeWhenNobodyReads) {
  ignoreBrokenPipes();
  ulx::Pipe pipe;
  close(pipe.readEnd.release());
  const auto e = caught<ulx::BrokenPipe>([&] { pipe.writeEnd.write("x", 1); });
  EXPECT_EQ(e.errorNumber, EPIPE);
  EXPECT_EQ(e.context, "write(\"" + pipe.writeEnd.name() + "\")");
}

TEST(Write, ThrowsWouldBlockWhereThereIsNoRoom) {
  ulx::Pipe pipe;
  fillUp(pipe);
  setNonBlocking(pipe.writeEnd.fd());
  EXPECT_THROW(pipe.writeEnd.write("x", 1), ulx::WouldBlock);
}

TEST(Write, IsEndedByASignal) {
  ulx::Pipe pipe;
  fillUp(pipe);
  const InterruptingTimer timer;
  const auto e = caught<ulx::InterruptedSysCall>([&] { pipe.writeEnd.write("x", 1); });
  EXPECT_EQ(e.errorNumber, EINTR);
  EXPECT_EQ(e.text(), "Interrupted system call while write(\"" + pipe.writeEnd.name() + "\")\n");
}

TEST(Write, TakesNoLockUnlessWritesAreSerialised) {
  EXPECT_EQ(callsOfWrite("abc", false), (Texts{"abc"}));
}

TEST(Write, IsMadeUnderTheLockWhenWritesAreSerialised) {
  EXPECT_EQ(callsOfWrite("abc", true), (Texts{"lock", "abc", "unlock"}));
}

TEST(Write, GivesTheLockBackWhenItFails) {
  ulx::FileDescriptor target(-1, false);
  target.serialiseWrites = true;
  const HeldMutexes held;
  const std::string text = textCaught([&] { target.write("x", 1); });
  const int after = held.count();
  EXPECT_EQ(text, "Bad file descriptor while write(\"fd-1\")");
  EXPECT_EQ(after, 0);
}

TEST(WriteAll, GoesOnWhereAPartialWriteEnded) {
  EXPECT_EQ(callsOfWriteAll("0123456789", false), (Texts{"012", "345", "678", "9"}));
}

TEST(WriteAll, LocksEachWriteByItselfWhenWritesAreSerialised) {
  EXPECT_EQ(callsOfWriteAll("01234", true), (Texts{"lock", "012", "unlock", "lock", "34", "unlock"}));
}

TEST(WriteAll, WritesNothingWhereNothingIsGiven) {
  EXPECT_EQ(callsOfWriteAll("", true), Texts());
}

TEST(WriteAll, PutsEveryByteInOrder) {
  const support::TemporaryDirectory directory;
  std::string bytes(100'000, '\0');
  std::generate(bytes.begin(), bytes.end(),
                [next = 0U]() mutable { return static_cast<char>(next++ % 251); });
  ulx::FileDescriptor(directory / "file", O_CREAT | O_WRONLY).writeAll(bytes.data(), bytes.size());
  EXPECT_EQ(ulx::FileDescriptor(directory / "file", O_RDONLY).readAll(), bytes);
}

TEST(WriteAll, ThrowsWhatEndsItTooEarlyWithTheRestUnwritten) {
  ulx::Pipe pipe;
  setNonBlocking(pipe.writeEnd.fd());
  const std::string bytes(1'000'000, 'x');
  EXPECT_THROW(pipe.writeEnd.writeAll(bytes.data(), bytes.size()), ulx::WouldBlock);
  close(pipe.writeEnd.release());
  const std::string written = pipe.readEnd.readAll();
  EXPECT_GT(written.size(), 0U);
  EXPECT_LT(written.size(), bytes.size());
}

TEST(WriteAll, IsEndedByASignal) {
  ulx::Pipe pipe;
  fillUp(pipe);
  const InterruptingTimer timer;
  EXPECT_THROW(pipe.writeEnd.writeAll("abc", 3), ulx::InterruptedSysCall);
}

TEST(WriteByte, PutsOneByte) {
  ulx::Pipe pipe;
  pipe.writeEnd.writeByte(0xfe);
  EXPECT_EQ(pipe.readEnd.readSome(), "\xfe");
}

TEST(WriteByte, ThrowsAsAnyWrite) {
  ulx::FileDescriptor full("/dev/full", O_WRONLY);
  EXPECT_EQ(textCaught([&] { full.writeByte(0); }), "No space left on device while write(\"/dev/full\")");
}

}  // namespace

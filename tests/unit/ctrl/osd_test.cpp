#include "ctrl/osd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/temporary_directory.h"

namespace {

using Lines = std::vector<std::string>;

// A fifo as the display has one.
class Fifo {
 public:
  Fifo() { EXPECT_EQ(mkfifo(path().c_str(), 0600), 0); }

  [[nodiscard]] std::string path() const { return directory_ / "fifo"; }
  void addReader() { reader_ = sim::Descriptor(open(path().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)); }
  void removeReader() { reader_.close(); }

  // What is in it now, at most 64 KiB.
  [[nodiscard]] std::string content() const {
    std::string buffer(65536, '\0');
    const ssize_t size = read(reader_.get(), buffer.data(), buffer.size());
    return buffer.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
  }

 private:
  support::TemporaryDirectory directory_;
  sim::Descriptor reader_;
};

// A sink whose writes are told apart.
class PacketSink {
 public:
  PacketSink() {
    sink_.fd = pipe_.releaseWriteEnd();
    sink_.isOpen = true;
  }

  [[nodiscard]] const OsdSink& sink() const { return sink_; }
  [[nodiscard]] Lines writes() const { return pipe_.writes(); }

 private:
  support::PacketPipe pipe_;
  OsdSink sink_;
};

void fill(int fd) {
  const std::string page(4096, 'x');
  while (write(fd, page.data(), page.size()) > 0) {
  }
}

TEST(OsdSink, IsClosedWithoutAPath) {
  const OsdSink unopened;
  EXPECT_FALSE(unopened.isOpen);
  const OsdSink without(nullptr);
  EXPECT_FALSE(without.isOpen);
}

TEST(OsdSink, IsClosedAndMakesNothingWhereNoFileIs) {
  const support::TemporaryDirectory directory;
  const OsdSink sink((directory / "fifo").c_str());
  EXPECT_FALSE(sink.isOpen);
  OsdMessage(sink, "lost");
  EXPECT_FALSE(std::filesystem::exists(directory / "fifo"));
}

TEST(OsdSink, IsClosedWhenTheFifoHasNoReader) {
  Fifo fifo;
  const OsdSink sink(fifo.path().c_str());
  EXPECT_FALSE(sink.isOpen);
  fifo.addReader();
  OsdMessage(sink, "lost");
  EXPECT_EQ(fifo.content(), "");
}

TEST(OsdSink, IsClosedWhereADirectoryIs) {
  const support::TemporaryDirectory directory;
  EXPECT_FALSE(OsdSink(directory.path().c_str()).isOpen);
}

TEST(OsdSink, IsClosedWhenTheFifoMayNotBeWritten) {
  support::inChild([] {
    Fifo fifo;
    fifo.addReader();
    std::filesystem::permissions(fifo.path(), std::filesystem::perms::owner_read);
    support::dropPrivileges();
    EXPECT_FALSE(OsdSink(fifo.path().c_str()).isOpen);
  });
}

TEST(OsdSink, StaysClosedWhenTheFifoComesLater) {
  const support::TemporaryDirectory directory;
  const std::string path = directory / "fifo";
  const OsdSink sink(path.c_str());
  ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
  const sim::Descriptor reader(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  OsdMessage(sink, "lost");
  char byte = 0;
  EXPECT_EQ(read(reader.get(), &byte, 1), 0);
}

TEST(OsdSink, IsOpenForNonBlockingWritesWhereTheFifoHasAReader) {
  Fifo fifo;
  fifo.addReader();
  const OsdSink sink(fifo.path().c_str());
  ASSERT_TRUE(sink.isOpen);
  const int flags = fcntl(sink.fd, F_GETFL);
  EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
  EXPECT_NE(flags & O_NONBLOCK, 0);
}

TEST(OsdSink, IsOpenAlsoWithTheLowestDescriptorNumber) {
  support::inChild([] {
    Fifo fifo;
    fifo.addReader();
    close(STDIN_FILENO);
    const OsdSink sink(fifo.path().c_str());
    ASSERT_EQ(sink.fd, 0);
    EXPECT_TRUE(sink.isOpen);
    OsdMessage(sink, "shown");
    EXPECT_EQ(fifo.content(), "shown\n");
  });
}

TEST(OsdSink, IsNotGivenToWorkers) {
  Fifo fifo;
  fifo.addReader();
  const OsdSink sink(fifo.path().c_str());
  EXPECT_TRUE(support::isCloseOnExec(sink.fd));
}

TEST(OsdSink, IsReleasedAtItsEnd) {
  Fifo fifo;
  fifo.addReader();
  const auto before = support::openDescriptors();
  std::optional<OsdSink> sink(std::in_place, fifo.path().c_str());
  EXPECT_NE(support::openDescriptors(), before);
  sink.reset();
  EXPECT_EQ(support::openDescriptors(), before);
}

TEST(OsdMessage, IsOneWriteThatEndsInOneNewline) {
  const PacketSink display;
  OsdMessage(display.sink(), "Stick") << " number " << 3 << std::string(" attached");
  EXPECT_EQ(display.writes(), Lines{"Stick number 3 attached\n"});
}

TEST(OsdMessage, MayBeTheFirstTextAlone) {
  const PacketSink display;
  OsdMessage(display.sink(), std::string("Stick attached"));
  EXPECT_EQ(display.writes(), Lines{"Stick attached\n"});
}

TEST(OsdMessage, IsWrittenWhenItEndsAndNotBefore) {
  const PacketSink display;
  {
    OsdMessage message(display.sink(), "Stick");
    message << " attached";
    EXPECT_EQ(display.writes(), Lines{});
  }
  EXPECT_EQ(display.writes(), Lines{"Stick attached\n"});
}

TEST(OsdMessage, EachMessageIsAWriteOfItsOwn) {
  const PacketSink display;
  OsdMessage(display.sink(), "one");
  OsdMessage(display.sink(), "two");
  EXPECT_EQ(display.writes(), (Lines{"one\n", "two\n"}));
}

TEST(OsdMessage, NewlinesWithinItAreKept) {
  const PacketSink display;
  OsdMessage(display.sink(), "odd\nname") << "\n";
  EXPECT_EQ(display.writes(), Lines{"odd\nname\n\n"});
}

[[noreturn]] const char* failToTell() {
  throw std::runtime_error("cannot tell");
}

TEST(OsdMessage, AnExceptionWhileItIsBuiltStillEmitsWhatIsThere) {
  const PacketSink display;
  EXPECT_THROW(OsdMessage(display.sink(), "so") << " far" << failToTell(), std::runtime_error);
  EXPECT_EQ(display.writes(), Lines{"so far\n"});
}

TEST(OsdMessage, GoesThroughAFifo) {
  Fifo fifo;
  fifo.addReader();
  const OsdSink sink(fifo.path().c_str());
  OsdMessage(sink, "Stick") << " attached";
  EXPECT_EQ(fifo.content(), "Stick attached\n");
}

TEST(OsdMessage, IsLostWithoutWaitingWhenTheFifoIsFull) {
  Fifo fifo;
  fifo.addReader();
  const OsdSink sink(fifo.path().c_str());
  fill(sink.fd);
  OsdMessage(sink, "lost");
  EXPECT_EQ(fifo.content().find_first_not_of('x'), std::string::npos);
  OsdMessage(sink, "shown");
  EXPECT_EQ(fifo.content(), "shown\n");
}

TEST(OsdMessage, IsLostWhenTheReaderHasGoneAndShownWhenOneIsBack) {
  support::inChild([] {
    std::signal(SIGPIPE, SIG_IGN);
    Fifo fifo;
    fifo.addReader();
    const OsdSink sink(fifo.path().c_str());
    fifo.removeReader();
    EXPECT_NO_THROW(OsdMessage(sink, "lost"));
    fifo.addReader();
    OsdMessage(sink, "shown");
    EXPECT_EQ(fifo.content(), "shown\n");
  });
}

}  // namespace

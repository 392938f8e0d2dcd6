#include "ctrl/osd.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "sim/descriptor.h"
#include "sim/files.h"
#include "support/child.h"
#include "support/descriptors.h"
#include "support/output.h"
#include "support/temporary_directory.h"

namespace {

using support::Lines;

/** The place of a fifo as the display has one. */
class Osd : public testing::Test {
 protected:
  void makeFifo() const { ASSERT_EQ(mkfifo(path_.c_str(), 0600), 0); }
  void addReader() { reader_ = sim::Descriptor(open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)); }
  /** What is in the fifo now, at most 64 KiB. */
  [[nodiscard]] std::string content() const {
    std::string buffer(65536, '\0');
    const ssize_t size = read(reader_.get(), buffer.data(), buffer.size());
    return buffer.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
  }

  const support::TemporaryDirectory directory_;
  const std::string path_ = directory_ / "fifo";
  sim::Descriptor reader_;
};

/** A fifo that is read. */
class OsdWithReader : public Osd {
 protected:
  OsdWithReader() {
    makeFifo();
    addReader();
  }
};

TEST_F(Osd, IsClosedWithoutAPathAndWhereADirectoryIs) {
  EXPECT_FALSE(OsdSink().isOpen);
  EXPECT_FALSE(OsdSink(nullptr).isOpen);
  EXPECT_FALSE(OsdSink(directory_.path().c_str()).isOpen);
}

TEST_F(Osd, IsClosedWhereNoFileIsMakesNoneAndStaysClosedWhenTheFifoComes) {
  const OsdSink sink(path_.c_str());
  EXPECT_FALSE(sink.isOpen);
  OsdMessage(sink, "lost");
  EXPECT_FALSE(std::filesystem::exists(path_));
  makeFifo();
  addReader();
  OsdMessage(sink, "lost");
  EXPECT_EQ(content(), "");
}

TEST_F(Osd, IsClosedWhereNobodyReadsAndStaysClosedWhenAReaderComes) {
  makeFifo();
  const OsdSink sink(path_.c_str());
  EXPECT_FALSE(sink.isOpen);
  addReader();
  OsdMessage(sink, "lost");
  EXPECT_EQ(content(), "");
}

TEST_F(Osd, MayBeAFileWhichGetsOneMessageBehindTheOther) {
  sim::writeFile(path_, "");
  const OsdSink sink(path_.c_str());
  OsdMessage(sink, "first");
  OsdMessage(sink, "second");
  EXPECT_EQ(sim::readFile(path_), "first\nsecond\n");
}

TEST_F(OsdWithReader, IsNotOpenedAnewWhenAnotherFifoTakesItsPlace) {
  const OsdSink sink(path_.c_str());
  const sim::Descriptor earlier = std::move(reader_);
  std::filesystem::remove(path_);
  makeFifo();
  addReader();
  OsdMessage(sink, "for the earlier one");
  EXPECT_EQ(content(), "");
}

TEST_F(OsdWithReader, IsClosedWhenTheFifoMayNotBeWritten) {
  std::filesystem::permissions(path_, std::filesystem::perms::owner_read);
  support::inChild([this] {
    support::dropPrivileges();
    EXPECT_FALSE(OsdSink(path_.c_str()).isOpen);
  });
}

TEST_F(OsdWithReader, IsOpenForNonBlockingWritesAndNotGivenToWorkers) {
  const OsdSink sink(path_.c_str());
  ASSERT_TRUE(sink.isOpen);
  const int flags = fcntl(sink.fd, F_GETFL);
  EXPECT_EQ(flags & O_ACCMODE, O_WRONLY);
  EXPECT_NE(flags & O_NONBLOCK, 0);
  EXPECT_TRUE(support::isCloseOnExec(sink.fd));
}

TEST_F(OsdWithReader, IsOpenAlsoWithTheLowestDescriptorNumber) {
  support::inChild([this] {
    close(STDIN_FILENO);
    const OsdSink sink(path_.c_str());
    ASSERT_EQ(sink.fd, 0);
    EXPECT_TRUE(sink.isOpen);
    OsdMessage(sink, "shown");
    EXPECT_EQ(content(), "shown\n");
  });
}

TEST_F(OsdWithReader, IsReleasedAtItsEnd) {
  const auto before = support::openDescriptors();
  std::optional<OsdSink> sink(std::in_place, path_.c_str());
  EXPECT_NE(support::openDescriptors(), before);
  sink.reset();
  EXPECT_EQ(support::openDescriptors(), before);
}

[[noreturn]] const char* failToSay() {
  throw std::runtime_error("cannot say");
}

/** A sink whose writes are seen one by one. */
class OsdMessages : public testing::Test {
 protected:
  OsdMessages() {
    sink_.fd = pipe_.releaseWriteEnd();
    sink_.isOpen = true;
  }

  [[nodiscard]] Lines writes() const { return pipe_.writes(); }

  OsdSink sink_;

 private:
  support::PacketPipe pipe_;
};

TEST_F(OsdMessages, AreOneWriteEachThatEndsInOneNewline) {
  OsdMessage(sink_, "Stick") << " number " << 3 << std::string(" attached");
  OsdMessage(sink_, std::string("Stick attached"));
  OsdMessage(sink_, "odd\nname") << "\n";
  showMessage(sink_, "a line");
  EXPECT_EQ(writes(), (Lines{"Stick number 3 attached\n", "Stick attached\n", "odd\nname\n\n", "a line\n"}));
}

TEST_F(OsdMessages, AreWrittenAtTheirEndWhichMayBeAnException) {
  {
    OsdMessage message(sink_, "Stick");
    message << " attached";
    EXPECT_EQ(writes(), Lines{});
  }
  EXPECT_EQ(writes(), Lines{"Stick attached\n"});
  EXPECT_THROW(OsdMessage(sink_, "so") << " far" << failToSay(), std::runtime_error);
  EXPECT_EQ(writes(), Lines{"so far\n"});
}

TEST_F(Osd, LosesAMessageWhenTheReaderHasGoneAndShowsTheNextWhenOneIsBack) {
  support::inChild([this] {
    std::signal(SIGPIPE, SIG_IGN);
    makeFifo();
    addReader();
    const OsdSink sink(path_.c_str());
    reader_.close();
    EXPECT_NO_THROW(OsdMessage(sink, "lost"));
    addReader();
    OsdMessage(sink, "shown");
    EXPECT_EQ(content(), "shown\n");
  });
}

}  // namespace

#include "tools/recorder/recording_output.h"

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "sim/files.h"
#include "support/child.h"
#include "support/temporary_directory.h"
#include "tools/recorder/recording_text.h"
#include "unit/tools/recorder/thrown_text.h"

namespace {

namespace fs = std::filesystem;

using namespace std::string_literals;

using recorder::TreeEntry;

std::string allBytes() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    bytes += static_cast<char>(byte);
  }
  return bytes;
}

TEST(RecordingOutputEscapes, AreReadAsTheyWere) {
  EXPECT_EQ(recorder::unescaped(recorder::escaped(allBytes())), allBytes());
}

TEST(RecordingOutputEscapes, ArePrintableAscii) {
  for (const char byte : recorder::escaped(allBytes())) {
    EXPECT_TRUE(byte >= ' ' && byte <= '~') << static_cast<int>(byte);
  }
}

TEST(RecordingOutputEscapes, AreWrittenAsTheRecordingsWriteThem) {
  EXPECT_EQ(recorder::escaped("a \t\n\\%\xc3\xbc"), "a \\t\\n\\\\%\\xc3\\xbc");
}

class RecordingOutput : public testing::Test {
 protected:
  support::TemporaryDirectory devices_;
  std::string folder_ = devices_ / "device";
  recorder::DeviceRecording recording_ = {"device", "a device", "/sys/devices/usb1/1-1", "Device", "12", {},
                                          {},       {}};

  void write() const { recorder::writeRecording(recording_, "2.6.32", folder_); }
  [[nodiscard]] std::string textOf(const std::string& file) const {
    return sim::readFile(folder_ + "/" + file);
  }
};

TEST_F(RecordingOutput, DescribesTheDevice) {
  write();

  EXPECT_EQ(
      textOf("about.txt"),
      "a device\nkernel: 2.6.32\nspeed: 12\nproduct: Device\ndevice directory: /sys/devices/usb1/1-1\n");
}

TEST_F(RecordingOutput, KeepsOddTextsOfTheDevice) {
  recording_.description = "a \\ device\nof two lines";
  recording_.product = allBytes();
  write();
  std::map<std::string, std::string> about = recorder::readAbout(folder_ + "/about.txt");

  EXPECT_EQ(about["description"], recording_.description);
  EXPECT_EQ(about["product"], recording_.product);
}

TEST_F(RecordingOutput, HasALineForEachEntryOfTheTree) {
  recording_.tree = {{TreeEntry::Kind::directory, "devices/1-1", ""},
                     {TreeEntry::Kind::file, "devices/1-1/descriptors", "\x12\x01\x00\xff"s},
                     {TreeEntry::Kind::link, "devices/1-1/driver", "../../bus/usb/drivers/usb"},
                     {TreeEntry::Kind::file, "devices/1-1/product", " Mouse \n"},
                     {TreeEntry::Kind::file, "devices/1-1/uevent", ""}};
  write();

  EXPECT_EQ(textOf("tree.txt"),
            "d devices/1-1\n"
            "b devices/1-1/descriptors 120100ff\n"
            "l devices/1-1/driver ../../bus/usb/drivers/usb\n"
            "f devices/1-1/product  Mouse \\n\n"
            "f devices/1-1/uevent\n");
}

TEST_F(RecordingOutput, KeepsBlanksInPathsAndLinks) {
  const std::string odd = "devices/an odd\\name";
  recording_.tree = {{TreeEntry::Kind::directory, odd, ""},
                     {TreeEntry::Kind::file, odd + "/name", "x y\n"},
                     {TreeEntry::Kind::link, odd + "/to it", "../an odd\\name"}};
  write();

  EXPECT_EQ(recorder::readTree(folder_ + "/tree.txt"), recording_.tree);
}

TEST_F(RecordingOutput, HasABlockForEachEvent) {
  recording_.plugEvents = {{0, "add@/a\0ACTION=add\0"s}, {12, "bind@/a\0NAME=\"a\\b\"\0"s}};
  write();

  EXPECT_EQ(textOf("plug.txt"), "@ 0 ms\nadd@/a\nACTION=add\n\n@ 12 ms\nbind@/a\nNAME=\"a\\\\b\"\n");
}

TEST_F(RecordingOutput, HasNoUnplugWhereNoneWasRecorded) {
  recording_.plugEvents = {{0, "add@/a\0"s}};
  write();

  EXPECT_FALSE(fs::exists(folder_ + "/unplug.txt"));
}

TEST_F(RecordingOutput, ReplacesNoFolder) {
  write();
  recording_.product = "Another";
  const std::string refusal = "there is something of that name already: " + folder_;

  EXPECT_EQ(errorThrownBy([this] { recorder::requireNewFolder(folder_); }), refusal);
  EXPECT_EQ(errorThrownBy([this] { write(); }), refusal);
  EXPECT_EQ(recorder::readAbout(folder_ + "/about.txt")["product"], "Device");
}

TEST_F(RecordingOutput, LeavesNothingOfARecordingThatCannotBeWrittenWhole) {
  recording_.tree = {{TreeEntry::Kind::file, "devices/1-1/name", std::string(2000, 'x')}};
  support::inChild([this] {
    const rlimit limit{1000, 1000};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    std::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(errorThrownBy([this] { write(); }), "writing " + folder_ + "/tree.txt: File too large");
  });

  EXPECT_FALSE(fs::exists(folder_));
}

TEST_F(RecordingOutput, MayBeMadeWhereNothingIs) {
  EXPECT_NO_THROW(recorder::requireNewFolder(folder_));
  EXPECT_NO_THROW(recorder::requireNewFolder(folder_ + "/"));
  EXPECT_FALSE(fs::exists(folder_));
}

TEST_F(RecordingOutput, CannotBeMadeInAFolderOfAnotherUser) {
  fs::permissions(devices_.path(), fs::perms::owner_read | fs::perms::owner_exec);
  support::inChild([&] {
    support::dropPrivileges();
    EXPECT_EQ(errorThrownBy([&] { recorder::requireNewFolder(folder_); }),
              "making " + folder_ + ": Permission denied");
  });
}

TEST_F(RecordingOutput, CannotBeMadeInAFolderThatIsNotThere) {
  const std::string nowhere = devices_ / "missing/device";

  const std::string refusal = "making " + nowhere + ": No such file or directory";

  EXPECT_EQ(errorThrownBy([&] { recorder::requireNewFolder(nowhere); }), refusal);
  folder_ = nowhere;
  EXPECT_EQ(errorThrownBy([this] { write(); }), refusal);
}

}  // namespace

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "support/child.h"
#include "support/descriptors.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "unit/ulx/library_calls.h"

namespace {

using ulx::FileDescriptor;

class FileDescriptorContent : public testing::Test {
 protected:
  FileDescriptorContent() : descriptorBefore_(support::nextDescriptor()) {}

  void TearDown() override { EXPECT_EQ(support::nextDescriptor(), descriptorBefore_) << "none is left open"; }

  void write(const std::string& content) const { std::ofstream(path) << content; }

  template <class Expected>
  static std::string textOfFailure(const std::string& path) {
    return support::caught<Expected>([&path] { static_cast<void>(FileDescriptor::contentOf(path)); }).text();
  }

 private:
  int descriptorBefore_;
  support::TemporaryDirectory directory_;

 protected:
  const std::string path = directory_ / "attribute";
};

TEST_F(FileDescriptorContent, IsAllThatIsInTheFile) {
  using namespace std::string_literals;
  for (const std::string& content : {""s, "00\n"s, "\0bytes\xff"s, std::string(20'000, 'x')}) {
    write(content);
    EXPECT_EQ(FileDescriptor::contentOf(path), content);
  }
}

TEST_F(FileDescriptorContent, IsNothingWhereThereIsNoFile) {
  EXPECT_EQ(FileDescriptor::contentOf(path), std::nullopt);
  EXPECT_EQ(FileDescriptor::contentOf(path + "/below"), std::nullopt);
}

TEST_F(FileDescriptorContent, IsNothingBelowWhatIsNoDirectory) {
  write("00\n");
  EXPECT_EQ(FileDescriptor::contentOf(path + "/below"), std::nullopt);
}

TEST_F(FileDescriptorContent, OfADirectoryCannotBeRead) {
  mkdir(path.c_str(), 0700);
  EXPECT_EQ(textOfFailure<ulx::ErrnoException>(path), "Is a directory while read(\"" + path + "\")\n");
}

TEST_F(FileDescriptorContent, ThatIsForbiddenIsAnError) {
  write("00\n");
  chmod(path.c_str(), 0);
  support::inChild([this] {
    support::dropPrivileges();
    EXPECT_EQ(textOfFailure<ulx::ErrnoException>(path), "Permission denied while open(\"" + path + "\")\n");
  });
}

TEST_F(FileDescriptorContent, IsReadByADescriptorThatNoProgramGets) {
  write("00\n");
  std::vector<bool> closedOnExec;
  const support::Replaced closing(library::close, [&closedOnExec](int fd) {
    closedOnExec.push_back(support::isCloseOnExec(fd));
    return library::close.real(fd);
  });
  EXPECT_EQ(FileDescriptor::contentOf(path), "00\n");
  EXPECT_EQ(closedOnExec, std::vector<bool>{true});
}

}  // namespace

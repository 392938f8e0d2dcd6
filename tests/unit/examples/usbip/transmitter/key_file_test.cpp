#include "examples/usbip/transmitter/key_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "sim/files.h"
#include "support/temporary_directory.h"
#include "support/thrown.h"

namespace {

class KeyFile : public testing::Test {
 protected:
  usbip::Keys read(const std::string& content, mode_t mode = 0600) {
    sim::writeFile(path, content);
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return usbip::readKeyFile(path);
  }

  std::string complaintAbout(const std::string& content, mode_t mode = 0600) {
    return support::caught<ulx::StrException>([&] { static_cast<void>(read(content, mode)); }).message;
  }

  const support::TemporaryDirectory directory;
  const std::string path = directory / "keys";
};

TEST_F(KeyFile, HasTheKeyInBeforeTheKeyOut) {
  const usbip::Keys keys = read("first second\n");
  EXPECT_EQ(keys.in, "first");
  EXPECT_EQ(keys.out, "second");
}

TEST_F(KeyFile, NeedsNoLineEndAndBearsBlanksOfAllKinds) {
  for (const char* content :
       {"first second", "  first\t \tsecond \n", "first second\r\n", "\n\n first second\n\n"}) {
    const usbip::Keys keys = read(content);
    EXPECT_EQ(keys.in, "first") << content;
    EXPECT_EQ(keys.out, "second") << content;
  }
}

TEST_F(KeyFile, MayHaveCommentsOnLinesOfTheirOwn) {
  const usbip::Keys keys = read("# for the desk\n   #two words\nfi#rst second#\n#\n");
  EXPECT_EQ(keys.in, "fi#rst");
  EXPECT_EQ(keys.out, "second#");
}

TEST_F(KeyFile, IsRefusedWithoutExactlyOneLineOfTwoWords) {
  for (const char* content : {"", "\n", "# nothing\n", "first\n", "first second third\n", "first\nsecond\n",
                              "first second\nfirst second\n", "first # second\n"}) {
    EXPECT_EQ(complaintAbout(content), path + " has to have one line of two words, the keys IN and OUT")
        << content;
  }
}

TEST_F(KeyFile, IsRefusedWhenItIsNotItsOwnersAlone) {
  for (const mode_t mode : {0640U, 0620U, 0610U, 0604U, 0602U, 0601U, 0644U}) {
    EXPECT_EQ(complaintAbout("first second\n", mode),
              path + " has keys and is not its owner's alone: chmod 600 " + path);
  }
  EXPECT_NO_THROW(static_cast<void>(read("first second\n", 0400)));
  EXPECT_NO_THROW(static_cast<void>(read("first second\n", 0700)));
}

TEST_F(KeyFile, IsNamedWhenItCannotBeOpened) {
  EXPECT_EQ(support::contextThrownBy([] { static_cast<void>(usbip::readKeyFile("/no/such")); }),
            "open(\"/no/such\")");
}

TEST_F(KeyFile, ShowsNoneOfItsWordsInAComplaint) {
  EXPECT_EQ(complaintAbout("secret words here\n").find("secret"), std::string::npos);
}

}  // namespace

#include "tools/explain/descriptor_file.h"

#include <gtest/gtest.h>

#include "sim/files.h"
#include "sim/usb_descriptors.h"
#include "support/named_case.h"
#include "support/temporary_directory.h"
#include "tools/explain/error.h"

namespace {

const std::string fourBytes = sim::bytes({0x12, 0x01, 0xEF, 0x40});

struct Dump : support::NamedCase {
  std::string text;
  std::string bytes = fourBytes;
};

class DescriptorFileDump : public testing::TestWithParam<Dump> {};

const std::string seventeen = sim::bytes({0x12, 1, 0, 2, 0, 0, 0, 8, 0x27, 6, 1, 0, 0, 0, 1, 2, 0x7C});

INSTANTIATE_TEST_SUITE_P(
    As, DescriptorFileDump,
    testing::Values(Dump{{"Pairs"}, "12 01 ef 40\n"}, Dump{{"CapitalLetters"}, "12 01 EF 40"},
                    Dump{{"OneWord"}, "1201ef40"}, Dump{{"Prefixes"}, "0x12, 0x01, 0xEF, 0X40,\n"},
                    Dump{{"Colons"}, "12:01:ef:40"}, Dump{{"Lines"}, "  12 01\r\n\n\tef 40\n\n"},
                    Dump{{"Xxd"},
                         "00000000: 1201 0002 0000 0008 2706 0100 0000 0102  ........'.......\n"
                         "00000010: 7c                                       |\n",
                         seventeen},
                    Dump{{"HexdumpCanonical"},
                         "00000000  12 01 00 02 00 00 00 08  27 06 01 00 00 00 01 02  |........'.......|\n"
                         "00000010  7c                                                |||\n00000011\n",
                         seventeen},
                    Dump{{"Od"},
                         "000000 12 01 00 02 00 00 00 08 27 06 01 00 00 00 01 02\n000010 7c\n000011\n",
                         seventeen}));

TEST_P(DescriptorFileDump, IsTheBytesThatItWrites) {
  EXPECT_EQ(explain::bytesOfDump(GetParam().text), GetParam().bytes);
}

class DescriptorFileOther : public testing::TestWithParam<Dump> {};

INSTANTIATE_TEST_SUITE_P(
    As, DescriptorFileOther,
    testing::Values(Dump{{"Prose"}, "hello", "hello"}, Dump{{"SingleDigit"}, "12 1 ef", "1"},
                    Dump{{"OddDigits"}, "120", "120"}, Dump{{"EmptyPrefix"}, "0x", "0x"},
                    Dump{{"WrongOffset"}, "00000000: 1201\n00000010: ef40\n", "00000010:"},
                    Dump{{"Listing"}, "Bus 001 Device 002: ID 0627:0001", "Bus"}));

TEST_P(DescriptorFileOther, IsRefusedWithTheWordThatIsNone) {
  try {
    static_cast<void>(explain::bytesOfDump(GetParam().text));
    FAIL() << "it was taken";
  } catch (const explain::Error& error) {
    EXPECT_EQ(error.what(),
              "neither descriptors nor pairs of hexadecimal digits: \"" + GetParam().bytes + "\"");
  }
}

class DescriptorFileHint : public testing::TestWithParam<Dump> {};

constexpr const char* wordsHint = "these look like 16-bit words: hexdump -C or xxd print bytes";
constexpr const char* gapHint = "lines are left out at \"*\": hexdump -v -C or xxd print all bytes";

INSTANTIATE_TEST_SUITE_P(
    For, DescriptorFileHint,
    testing::Values(Dump{{"WordsBehindOffsets"}, "0000000 0112 40ef 007c\n0000005\n", wordsHint},
                    Dump{{"Words"}, " 0112 40ef\n", wordsHint},
                    Dump{{"RepeatedLines"}, "000000 12 01\n*\n000020\n", gapHint},
                    Dump{{"RepeatedLinesOfHexdumpCanonical"},
                         "00000000  12 01 00 02 00 00 00 08  27 06 01 00 00 00 01 02  |........'.......|\n*\n"
                         "00000020\n",
                         gapHint}));

TEST_P(DescriptorFileHint, NamesTheCommandThatPrintsBytes) {
  try {
    static_cast<void>(explain::bytesOfDump(GetParam().text));
    FAIL() << "it was taken";
  } catch (const explain::Error& error) {
    EXPECT_EQ(error.what(), GetParam().bytes);
  }
}

class DescriptorFileContent : public testing::Test {
 protected:
  support::TemporaryDirectory directory_;
  std::string path_ = directory_ / "descriptors";

  [[nodiscard]] std::string faultOf() const {
    try {
      static_cast<void>(explain::readDescriptorFile(path_));
    } catch (const explain::Error& error) {
      return error.what();
    }
    return "none";
  }
};

TEST_F(DescriptorFileContent, IsReadAsItIsWhereItIsBinary) {
  sim::writeFile(path_, sim::keyboardDescriptors());
  EXPECT_EQ(explain::readDescriptorFile(path_), sim::keyboardDescriptors());
}

TEST_F(DescriptorFileContent, IsReadAsADumpWhereItIsText) {
  sim::writeFile(path_, "12 01 ef 40\n");
  EXPECT_EQ(explain::readDescriptorFile(path_), fourBytes);
}

TEST_F(DescriptorFileContent, IsReadWhereItIsDamagedFurtherIn) {
  sim::writeFile(path_, "\x12\x01");
  EXPECT_EQ(explain::readDescriptorFile(path_), "\x12\x01");
}

TEST_F(DescriptorFileContent, IsRefusedWithItsNameWhereItIsSomethingElse) {
  sim::writeFile(path_, "hello\n");
  EXPECT_EQ(faultOf(), path_ + ": neither descriptors nor pairs of hexadecimal digits: \"hello\"");
  sim::writeFile(path_, "");
  EXPECT_EQ(faultOf(), path_ + ": it is empty");
  sim::writeFile(path_, " \n");
  EXPECT_EQ(faultOf(), path_ + ": it is empty");
  const std::string other =
      path_ + ": neither a folder of a device, nor descriptors: it does not begin with a device descriptor";
  for (const std::string content : {"\x7F"
                                    "ELF\x01\x01",
                                    "\xEF\xBB\xBF"
                                    "12 01 ef 40\n",
                                    "Gr\xC3\xBCn", "\x12", "12\n", "09 02 19 00\n"}) {
    sim::writeFile(path_, content);
    EXPECT_EQ(faultOf(), other) << content;
  }
  sim::writeFile(path_, std::string(1'048'577, '\x01'));
  EXPECT_EQ(faultOf(), path_ + ": too long for descriptors");
}

}  // namespace

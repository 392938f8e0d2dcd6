#include <gtest/gtest.h>

#include "control/control_requests.h"

namespace {

TEST(LineWithoutKeys, ShowsTheFirstFourFields) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out"), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("a b c d *** e"), "a b c d *** ***");
}

TEST(LineWithoutKeys, DoesNotTellWhetherAKeyIsEmptyNorHowLongItIs) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1  "), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 verylongkey "), "host 5000 full eth1 *** ***");
  EXPECT_EQ(withoutKeys("host 5000 full eth1 "), "host 5000 full eth1 ***");
}

TEST(LineWithoutKeys, HidesANewlineBehindTheLastKey) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out\n"), "host 5000 full eth1 *** ***");
}

TEST(LineWithoutKeys, HidesWhatMayBePartOfAKeyWithBlanks) {
  EXPECT_EQ(withoutKeys("host 5000 full eth1 in out more and  more"),
            "host 5000 full eth1 *** *** *** *** *** ***");
}

TEST(LineWithoutKeys, CountsEmptyFields) {
  EXPECT_EQ(withoutKeys("    in out"), "    *** ***");
  EXPECT_EQ(withoutKeys("host 5000   in out"), "host 5000   *** ***");
}

TEST(LineWithoutKeys, OfAShortLineIsTheLine) {
  for (const char* line : {"", " ", "host", "host ", "host 5000 full eth1", "host 5000 full eth1\n"}) {
    EXPECT_EQ(withoutKeys(line), line);
  }
}

}  // namespace

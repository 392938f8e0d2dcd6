#include "examples/usbip/exchange/failure_line.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(FailureLine, HasNoLineEnd) {
  EXPECT_EQ(usbip::failureLine(ulx::StrException("this is wrong")), "this is wrong");
  EXPECT_EQ(usbip::failureLine(ulx::ErrnoException("bind()", EADDRINUSE)),
            "Address already in use while bind()");
}

TEST(FailureLine, MayBeEmpty) {
  EXPECT_EQ(usbip::failureLine(ulx::StrException("")), "");
}

}  // namespace

#include "examples/usbip/transmitter/exception_line.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(ExceptionLine, HasNoLineEnd) {
  EXPECT_EQ(usbip::lineOf(ulx::StrException("this is wrong")), "this is wrong");
  EXPECT_EQ(usbip::lineOf(ulx::ErrnoException("bind()", EADDRINUSE)), "Address already in use while bind()");
}

TEST(ExceptionLine, MayBeEmpty) {
  EXPECT_EQ(usbip::lineOf(ulx::StrException("")), "");
}

}  // namespace

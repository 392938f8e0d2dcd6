#include "examples/usbip/exchange/standard_descriptors.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "support/child.h"

namespace {

bool isOpen(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) != -1;
}

TEST(StandardDescriptors, AreAllOpenAfterwards) {
  support::inChild([] {
    const int next = ::dup(STDIN_FILENO);
    ::close(next);
    ::close(STDIN_FILENO);
    ::close(STDOUT_FILENO);
    usbip::fillStandardDescriptors();
    EXPECT_TRUE(isOpen(STDIN_FILENO));
    EXPECT_TRUE(isOpen(STDOUT_FILENO));
    EXPECT_FALSE(isOpen(next)) << "one too many";
  });
}

TEST(StandardDescriptors, AreLeftAsTheyAreWhereTheyAreOpen) {
  support::inChild([] {
    const int next = ::dup(STDIN_FILENO);
    ::close(next);
    usbip::fillStandardDescriptors();
    EXPECT_FALSE(isOpen(next));
  });
}

}  // namespace

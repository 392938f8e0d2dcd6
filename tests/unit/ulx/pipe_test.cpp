#include "ulx/pipe.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "support/descriptors.h"
#include "support/thrown.h"
#include "unit/ulx/descriptor_limit.h"

namespace {

TEST(Pipe, LeadsFromItsWriteEndToItsReadEnd) {
  ulx::Pipe pipe;
  pipe.writeEnd.writeAll("abc", 3);
  EXPECT_EQ(pipe.readEnd.readSome(), "abc");
}

TEST(Pipe, OwnsItsEndsAndNamesThemByTheirNumbers) {
  std::optional<ulx::Pipe> pipe(std::in_place);
  const int writeEnd = pipe->writeEnd.fd();
  const int readEnd = pipe->readEnd.fd();
  EXPECT_EQ(pipe->writeEnd.name(), "fd" + std::to_string(writeEnd));
  EXPECT_EQ(pipe->readEnd.name(), "fd" + std::to_string(readEnd));
  pipe.reset();
  EXPECT_FALSE(support::isOpen(writeEnd));
  EXPECT_FALSE(support::isOpen(readEnd));
}

TEST(Pipe, NeedsTwoDescriptors) {
  const int next = support::nextDescriptor();
  const DescriptorLimit one(1);
  EXPECT_EQ(support::caught<ulx::ErrnoException>([] { const ulx::Pipe pipe; }).text(),
            "Too many open files while pipe()\n");
  EXPECT_EQ(support::nextDescriptor(), next);
}

}  // namespace

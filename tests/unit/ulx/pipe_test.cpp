#include "ulx/pipe.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "unit/ulx/caught.h"
#include "unit/ulx/descriptor_limit.h"
#include "unit/ulx/descriptor_state.h"

namespace {

TEST(Pipe, LeadsFromItsWriteEndToItsReadEnd) {
  ulx::Pipe pipe;
  pipe.writeEnd.writeAll("abc", 3);
  EXPECT_EQ(pipe.readEnd.readSome(), "abc");
}

TEST(Pipe, NamesItsEndsByTheirNumbers) {
  const ulx::Pipe pipe;
  EXPECT_EQ(pipe.writeEnd.name(), "fd" + std::to_string(pipe.writeEnd.fd()));
  EXPECT_EQ(pipe.readEnd.name(), "fd" + std::to_string(pipe.readEnd.fd()));
}

TEST(Pipe, ClosesBothEnds) {
  std::optional<ulx::Pipe> pipe(std::in_place);
  const int writeEnd = pipe->writeEnd.fd();
  const int readEnd = pipe->readEnd.fd();
  pipe.reset();
  EXPECT_FALSE(isOpen(writeEnd));
  EXPECT_FALSE(isOpen(readEnd));
}

TEST(Pipe, NeedsTwoDescriptors) {
  const int next = nextDescriptor();
  std::string text;
  {
    const DescriptorLimit one(next + 1);
    text = textCaught([] { const ulx::Pipe pipe; });
  }
  EXPECT_EQ(text, "Too many open files while pipe()");
  EXPECT_EQ(nextDescriptor(), next);
}

}  // namespace

#include "ulx/write_once.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ulx/pipe.h"
#include "unit/ulx/library_calls.h"

namespace {

using Texts = std::vector<std::string>;

// The writes that are tried when each ends with the next of `outcomes`: a count or a negative error number.
Texts triedWith(const std::vector<ssize_t>& outcomes) {
  Texts tried;
  const support::Replaced writing(library::write, [&](int, const void* bytes, std::size_t length) -> ssize_t {
    tried.emplace_back(static_cast<const char*>(bytes), length);
    const ssize_t outcome = outcomes.at(tried.size() - 1);
    errno = outcome < 0 ? static_cast<int>(-outcome) : 0;
    return outcome < 0 ? -1 : outcome;
  });
  ulx::writeOnce(-1, "abcdef");
  return tried;
}

TEST(WriteOnce, PutsTheBytes) {
  const ulx::Pipe pipe;
  ulx::writeOnce(pipe.writeEnd.fd(), std::string_view("a\0b", 3));
  EXPECT_EQ(pipe.readEnd.readSome(), std::string("a\0b", 3));
}

TEST(WriteOnce, LosesWhatIsNotTaken) {
  for (const ssize_t outcome : {3, -EBADF, -EAGAIN, -EPIPE, -ENOSPC}) {
    EXPECT_EQ(triedWith({outcome}), Texts{"abcdef"}) << outcome;
  }
}

TEST(WriteOnce, TriesAgainAfterASignalBeforeTheFirstByte) {
  EXPECT_EQ(triedWith({-EINTR, -EINTR, 6}), (Texts{"abcdef", "abcdef", "abcdef"}));
}

}  // namespace

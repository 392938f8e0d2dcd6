// A descriptor whose owner cannot be made is closed, once, and no other is.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "support/descriptors.h"
#include "support/thrown.h"
#include "ulx/file_descriptor.h"
#include "ulx/pipe.h"
#include "unit/allocations.h"
#include "unit/ulx/library_calls.h"

namespace {

// During a scope, the n-th mutex cannot be made.
class FailingMutex {
 public:
  explicit FailingMutex(int number) : left_(number) {}

 private:
  int left_;
  support::Replaced<int(pthread_mutex_t*, const pthread_mutexattr_t*)> init_{
      library::mutexInit, [this](pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
        return --left_ == 0 ? ENOMEM : library::mutexInit.real(mutex, attributes);
      }};
};

// The descriptors that a scope closes, in order.
class RecordedClosings {
 public:
  [[nodiscard]] const std::vector<int>& closed() const { return closed_; }

 private:
  std::vector<int> closed_;
  support::Replaced<int(int)> close_{library::close, [this](int fd) {
                                       closed_.push_back(fd);
                                       return library::close.real(fd);
                                     }};
};

const std::string mutexFailure = "Cannot allocate memory while pthread_mutex_init()\n";

template <class Make>
std::string failureOf(Make make) {
  return support::caught<ulx::ErrnoException>(make).text();
}

TEST(FileDescriptorConstruction, OpensNothingWithoutAMutex) {
  const std::set<int> open = support::openDescriptors();
  const FailingMutex failing(1);
  EXPECT_EQ(failureOf([] { ulx::FileDescriptor("/dev/null", O_RDONLY); }), mutexFailure);
  EXPECT_EQ(support::openDescriptors(), open);
}

TEST(FileDescriptorConstruction, OpensNothingWithoutMemoryForItsName) {
  const std::string path = "/dev/" + std::string(50, '/') + "null";
  const std::set<int> open = support::openDescriptors();
  bool failed = false;
  try {
    const NoMemory none;
    const ulx::FileDescriptor opened(path, O_RDONLY);
  } catch (const std::bad_alloc&) {
    failed = true;
  }
  EXPECT_TRUE(failed);
  EXPECT_EQ(support::openDescriptors(), open);
}

TEST(FileDescriptorConstruction, ClosesWhatItWasToOwnAndNothingElse) {
  const int owned = open("/dev/null", O_RDONLY);
  const int borrowed = open("/dev/null", O_RDONLY);
  const RecordedClosings closings;
  for (const int fd : {owned, borrowed}) {
    const FailingMutex failing(1);
    EXPECT_EQ(failureOf([=] { ulx::FileDescriptor(fd, fd == owned); }), mutexFailure);
  }
  EXPECT_EQ(closings.closed(), std::vector<int>{owned});
  EXPECT_TRUE(support::isOpen(borrowed));
  close(borrowed);
}

TEST(FileDescriptorConstruction, OfAPipeClosesBothEndsOnce) {
  const std::set<int> open = support::openDescriptors();
  for (const int number : {1, 2}) {
    const RecordedClosings closings;
    const FailingMutex failing(number);
    EXPECT_EQ(failureOf([] { const ulx::Pipe pipe; }), mutexFailure);
    EXPECT_EQ(support::openDescriptors(), open);
    EXPECT_EQ(closings.closed().size(), 2U) << "with mutex " << number;
  }
}

}  // namespace

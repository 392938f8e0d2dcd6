#include "ulx/mutex.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <thread>
#include <utility>

#include "unit/ulx/caught.h"
#include "unit/ulx/held_mutexes.h"
#include "unit/ulx/library_calls.h"

namespace {

constexpr int rounds = 50'000;

int failWithBusy(pthread_mutex_t* /*mutex*/) {
  return EBUSY;
}

// The first call only: linked statically, a thrown exception takes and leaves locks of its own.
class FailingOnce {
 public:
  int operator()(pthread_mutex_t* mutex) {
    return std::exchange(failed_, true) ? library::mutexUnlock.real(mutex) : EPERM;
  }

 private:
  bool failed_ = false;
};

void countUnderLock(ulx::Mutex& mutex, int& count) {
  for (int round = 0; round < rounds; ++round) {
    const ulx::MutexLock lock(mutex);
    ++count;
  }
}

TEST(Mutex, LetsOneThreadInAtATime) {
  ulx::Mutex mutex;
  int count = 0;
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([&] { countUnderLock(mutex, count); });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 4 * rounds);
}

TEST(Mutex, IsMadeWithDefaultAttributes) {
  bool isDefault = false;
  {
    const support::Replaced init(library::mutexInit,
                                 [&](pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
                                   isDefault = attributes == nullptr;
                                   return library::mutexInit.real(mutex, attributes);
                                 });
    const ulx::Mutex mutex;
  }
  EXPECT_TRUE(isDefault);
}

TEST(Mutex, ThrowsTheReturnedCodesClassWhenItCannotBeMade) {
  const support::Replaced init(library::mutexInit,
                               [](pthread_mutex_t*, const pthread_mutexattr_t*) { return EBUSY; });
  errno = EBUSY;
  EXPECT_EQ(textCaught([] { const ulx::Mutex mutex; }), "Device or resource busy while pthread_mutex_init()");
}

TEST(Mutex, CarriesTheThreadsErrnoInTheReturnedCodesClass) {
  ulx::Mutex mutex;
  const auto e = caught<ulx::DeviceOrResourceBusy>([&] {
    const support::Replaced locking(library::mutexLock, failWithBusy);
    errno = ENOENT;
    mutex.lock();
  });
  EXPECT_EQ(e.errorNumber, ENOENT);
  EXPECT_EQ(e.text(), "No such file or directory while pthread_mutex_lock()\n");
}

TEST(Mutex, CarriesTheReturnedCodeWhereNoClassNamesIt) {
  ulx::Mutex mutex;
  const auto e = caught<ulx::ErrnoException>([&] {
    const support::Replaced unlocking(library::mutexUnlock, FailingOnce{});
    errno = ENOENT;
    mutex.unlock();
  });
  EXPECT_EQ(e.errorNumber, EPERM);
  EXPECT_EQ(e.text(), "Operation not permitted while pthread_mutex_unlock()\n");
}

TEST(Mutex, IsDestroyedAtItsEnd) {
  int destroyed = 0;
  {
    const support::Replaced destroying(library::mutexDestroy, [&](pthread_mutex_t* mutex) {
      ++destroyed;
      return library::mutexDestroy.real(mutex);
    });
    const ulx::Mutex mutex;
  }
  EXPECT_EQ(destroyed, 1);
}

TEST(MutexLock, HoldsTheMutexUntilItsScopeEnds) {
  ulx::Mutex mutex;
  const HeldMutexes held;
  int within = 0;
  {
    const ulx::MutexLock lock(mutex);
    within = held.count();
  }
  const int after = held.count();
  EXPECT_EQ(within, 1);
  EXPECT_EQ(after, 0);
}

TEST(MutexLock, GivesTheMutexBackWhenItsScopeIsLeftByAnException) {
  ulx::Mutex mutex;
  int after = 1;
  try {
    const HeldMutexes held;
    try {
      const ulx::MutexLock lock(mutex);
      throw ulx::UnknownException();
    } catch (const ulx::UnknownException&) {
      after = held.count();
    }
  } catch (...) {
    FAIL();
  }
  EXPECT_EQ(after, 0);
}

TEST(MutexLock, ThrowsWhenTheMutexCannotBeHad) {
  ulx::Mutex mutex;
  const auto e = caught<ulx::DeviceOrResourceBusy>([&] {
    const support::Replaced locking(library::mutexLock, failWithBusy);
    const ulx::MutexLock lock(mutex);
  });
  EXPECT_EQ(e.context, "pthread_mutex_lock()");
}

}  // namespace

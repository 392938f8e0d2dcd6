#include "ulx/mutex.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <thread>
#include <utility>

#include "support/thrown.h"
#include "unit/ulx/library_calls.h"

namespace {

// Counts the mutexes that are held, during a scope in which none is really locked.
class HeldMutexes {
 public:
  [[nodiscard]] int count() const { return count_; }

 private:
  int count_ = 0;
  support::Replaced<int(pthread_mutex_t*)> lock_{library::mutexLock, [this](pthread_mutex_t*) {
                                                   ++count_;
                                                   return 0;
                                                 }};
  support::Replaced<int(pthread_mutex_t*)> unlock_{library::mutexUnlock, [this](pthread_mutex_t*) {
                                                     --count_;
                                                     return 0;
                                                   }};
};

// The first call only: linked statically, a thrown exception takes and releases locks of its own.
class FailingOnce {
 public:
  int operator()(pthread_mutex_t* mutex) {
    return std::exchange(failed_, true) ? library::mutexUnlock.real(mutex) : EPERM;
  }

 private:
  bool failed_ = false;
};

TEST(Mutex, LetsOneThreadInAtATime) {
  constexpr int rounds = 50'000;
  ulx::Mutex mutex;
  int count = 0;
  std::array<std::thread, 4> threads;
  for (std::thread& thread : threads) {
    thread = std::thread([&] {
      for (int round = 0; round < rounds; ++round) {
        const ulx::MutexLock lock(mutex);
        ++count;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(count, 4 * rounds);
}

TEST(Mutex, IsMadeWithDefaultAttributesAndDestroyedAtItsEnd) {
  bool isDefault = false;
  int destroyed = 0;
  {
    const support::Replaced making(library::mutexInit,
                                   [&](pthread_mutex_t* mutex, const pthread_mutexattr_t* attributes) {
                                     isDefault = attributes == nullptr;
                                     return library::mutexInit.real(mutex, attributes);
                                   });
    const support::Replaced destroying(library::mutexDestroy, [&](pthread_mutex_t* mutex) {
      ++destroyed;
      return library::mutexDestroy.real(mutex);
    });
    const ulx::Mutex mutex;
  }
  EXPECT_TRUE(isDefault);
  EXPECT_EQ(destroyed, 1);
}

TEST(Mutex, ThatCannotBeMadeIsThrown) {
  const support::Replaced making(library::mutexInit,
                                 [](pthread_mutex_t*, const pthread_mutexattr_t*) { return ENOMEM; });
  EXPECT_EQ(support::caught<ulx::ErrnoException>([] { const ulx::Mutex mutex; }).text(),
            "Cannot allocate memory while pthread_mutex_init()\n");
}

TEST(MutexLock, ThrowsTheClassOfTheReturnedCodeWithTheThreadsErrno) {
  ulx::Mutex mutex;
  const auto e = support::caught<ulx::DeviceOrResourceBusy>([&] {
    const support::Replaced locking(library::mutexLock, [](pthread_mutex_t*) { return EBUSY; });
    errno = ENOENT;
    const ulx::MutexLock lock(mutex);
  });
  EXPECT_EQ(e.text(), "No such file or directory while pthread_mutex_lock()\n");
}

TEST(Mutex, ThrowsTheReturnedCodeWhereNoClassNamesIt) {
  ulx::Mutex mutex;
  const auto e = support::caught<ulx::ErrnoException>([&] {
    const support::Replaced unlocking(library::mutexUnlock, FailingOnce{});
    errno = ENOENT;
    mutex.unlock();
  });
  EXPECT_EQ(e.text(), "Operation not permitted while pthread_mutex_unlock()\n");
}

TEST(MutexLock, HoldsTheMutexUntilItsScopeEndsInAnyWay) {
  ulx::Mutex mutex;
  int within = 0;
  int after = 1;
  {
    const HeldMutexes held;
    try {
      const ulx::MutexLock lock(mutex);
      within = held.count();
      throw ulx::UnknownException();
    } catch (const ulx::UnknownException&) {
      after = held.count();
    }
  }
  EXPECT_EQ(within, 1);
  EXPECT_EQ(after, 0);
}

}  // namespace
